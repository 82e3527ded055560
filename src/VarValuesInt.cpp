#include "VarValuesInt.h"

#include "BinaryFile.h"
#include "WrapAround.h"

namespace {

// Both ends may be near the limits of an int, where their sum wraps around.
const int middle(int minValue, int maxValue) { return WrapAround::add(minValue, maxValue) / 2; }

}  // namespace

VarValuesInt::VarValuesInt(const std::string& newName, int newMinValue, int newMaxValue)
    : VarValues(newName),
      value(middle(newMinValue, newMaxValue)),
      minValue(newMinValue),
      maxValue(newMaxValue) {}

VarValuesInt::VarValuesInt(FILE* file)
    : VarValues(std::string()), value(0), minValue(0), maxValue(0) {
  VarValuesInt::load(file);
}

// Here and not in the header, so that the library exports them.
VarValuesInt::VarValuesInt(const VarValuesInt&) = default;
VarValuesInt& VarValuesInt::operator=(const VarValuesInt&) = default;
VarValuesInt::~VarValuesInt() = default;

const int VarValuesInt::save(FILE* file) const {
  if (!saveNameLength(file, QUARNEL_PLACE)) {
    return -1;
  }
  if (!saveNameText(file, QUARNEL_PLACE)) {
    return -1;
  }
  if (!BinaryFile::write(file, minValue, QUARNEL_PLACE)) {
    return -1;
  }
  return BinaryFile::write(file, maxValue, QUARNEL_PLACE) ? 0 : -1;
}

const int VarValuesInt::load(FILE* file) {
  unsigned int nameLength = 0;
  if (!BinaryFile::read(file, nameLength, QUARNEL_PLACE)) {
    return -1;
  }
  if (!loadNameText(file, nameLength, QUARNEL_PLACE)) {
    return -1;
  }
  if (!BinaryFile::read(file, minValue, QUARNEL_PLACE)) {
    return -1;
  }
  if (!BinaryFile::read(file, maxValue, QUARNEL_PLACE)) {
    return -1;
  }
  value = middle(minValue, maxValue);
  return 0;
}
