#ifndef QUARNEL_VAR_VALUES_INT_H
#define QUARNEL_VAR_VALUES_INT_H

#include "VarValues.h"

/// An integer state variable: a value and the range it moves in.
///
/// The setters store what they are given; nothing here keeps the value within the range, and a
/// table or tiling meets a value outside it with a report of its own.
class VarValuesInt : public VarValues {
 public:
  /// The value starts at the middle of the range, (min + max) / 2 truncated toward zero.
  ///
  /// @param newName the variable's name.
  /// @param newMinValue lower end of the range; expected not to lie above the upper end.
  /// @param newMaxValue upper end of the range.
  VarValuesInt(const std::string& newName, int newMinValue, int newMaxValue);

  /// Reads the variable from a file with `load()`. A failed read has been reported and leaves the
  /// fields that were not reached at an empty name and zeros.
  explicit VarValuesInt(FILE* file);

  ~VarValuesInt() override;

  VarValuesInt(const VarValuesInt&);
  VarValuesInt& operator=(const VarValuesInt&);

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

  const int getValue() const { return value; }
  const int getMinValue() const { return minValue; }
  const int getMaxValue() const { return maxValue; }

  void setValue(int newValue) { value = newValue; }
  void setMinValue(int newMinValue) { minValue = newMinValue; }
  void setMaxValue(int newMaxValue) { maxValue = newMaxValue; }

 protected:
  int value;
  int minValue;
  int maxValue;
};

#endif
