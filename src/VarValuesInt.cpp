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

VarValuesInt::~VarValuesInt() = default;

const int VarValuesInt::save(FILE* file) const {
  const bool saved = saveNameLength(file, QUARNEL_PLACE) && saveNameText(file, QUARNEL_PLACE) &&
                     BinaryFile::write(file, minValue, QUARNEL_PLACE) &&
                     BinaryFile::write(file, maxValue, QUARNEL_PLACE);
  return saved ? 0 : -1;
}

const int VarValuesInt::load(FILE* file) {
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
