#include "VarValuesDouble.h"

#include "BinaryFile.h"

namespace {

const double middle(double minValue, double maxValue) { return (minValue + maxValue) * 0.5; }

}  // namespace

VarValuesDouble::VarValuesDouble(const std::string& newName, double newMinValue, double newMaxValue)
    : VarValues(newName),
      value(middle(newMinValue, newMaxValue)),
      minValue(newMinValue),
      maxValue(newMaxValue) {}

VarValuesDouble::VarValuesDouble(FILE* file)
    : VarValues(std::string()), value(0), minValue(0), maxValue(0) {
  VarValuesDouble::load(file);
}

// Here and not in the header, so that the library exports them.
VarValuesDouble::VarValuesDouble(const VarValuesDouble&) = default;
VarValuesDouble& VarValuesDouble::operator=(const VarValuesDouble&) = default;
VarValuesDouble::~VarValuesDouble() = default;

const int VarValuesDouble::save(FILE* file) const {
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

const int VarValuesDouble::load(FILE* file) {
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
