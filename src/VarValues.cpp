#include "VarValues.h"

#include "Allocation.h"
#include "BinaryFile.h"

VarValues::VarValues(const std::string& newName) { setName(newName); }

// Here and not in the header, so that the library exports them.
VarValues::VarValues(const VarValues&) = default;
VarValues& VarValues::operator=(const VarValues&) = default;
VarValues::~VarValues() = default;

void VarValues::setName(const std::string& newName) {
  Allocation::succeeds([&] { name = newName; }, "a name", QUARNEL_PLACE);
}

const bool VarValues::saveNameLength(FILE* file, const QuarnelUtility::Place& place) const {
  return BinaryFile::write(file, static_cast<unsigned int>(name.size()), place);
}

const bool VarValues::saveNameText(FILE* file, const QuarnelUtility::Place& place) const {
  return BinaryFile::writeItems(file, name.data(), 1, static_cast<unsigned int>(name.size()),
                                place);
}

const bool VarValues::loadNameText(FILE* file, unsigned int length,
                                   const QuarnelUtility::Place& place) {
  std::string text;
  const bool complete = BinaryFile::readGrowing(file, text, length, place);
  if (complete) {
    name.swap(text);
  }
  return complete;
}
