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

VarValuesDouble::~VarValuesDouble() = default;

const int VarValuesDouble::save(FILE* file) const {
  const bool saved = saveNameLength(file, QUARNEL_PLACE) && saveNameText(file, QUARNEL_PLACE) &&
                     BinaryFile::write(file, minValue, QUARNEL_PLACE) &&
                     BinaryFile::write(file, maxValue, QUARNEL_PLACE);
  return saved ? 0 : -1;
}

const int VarValuesDouble::load(FILE* file) {
  unsigned int nameLength = 0;
  const bool loaded = BinaryFile::read(file, nameLength, QUARNEL_PLACE) &&
                      loadNameText(file, nameLength, QUARNEL_PLACE) &&
                      BinaryFile::read(file, minValue, QUARNEL_PLACE) &&
                      BinaryFile::read(file, maxValue, QUARNEL_PLACE);
  if (!loaded) {
    return -1;
  }
  value = middle(minValue, maxValue);
  return 0;
}
