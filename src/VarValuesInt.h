#ifndef QUARNEL_VAR_VALUES_INT_H
#define QUARNEL_VAR_VALUES_INT_H

#include "VarValues.h"

/// An integer state variable: a value and the range it moves in.
///
/// The setters store what they are given; nothing here keeps the value within the range. Outside it
/// a table reports, or takes the cell of another state.
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
  ///
  /// @param file open for reading, at a record of this kind.
  explicit VarValuesInt(FILE* file);

  ~VarValuesInt() override;

  /// Copies name, value and range.
  VarValuesInt(const VarValuesInt&);

  /// Copies name, value and range. @return this variable.
  VarValuesInt& operator=(const VarValuesInt&);

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

  /// @return the current value.
  const int getValue() const { return value; }

  /// @return the lower end of the range.
  const int getMinValue() const { return minValue; }

  /// @return the upper end of the range.
  const int getMaxValue() const { return maxValue; }

  /// @param newValue replaces the value, whether or not it lies in the range.
  void setValue(int newValue) { value = newValue; }

  /// @param newMinValue replaces the lower end of the range; the value stays.
  void setMinValue(int newMinValue) { minValue = newMinValue; }

  /// @param newMaxValue replaces the upper end of the range; the value stays.
  void setMaxValue(int newMaxValue) { maxValue = newMaxValue; }

 protected:
  int value;     ///< The current value, in the application's units.
  int minValue;  ///< Lower end of the range.
  int maxValue;  ///< Upper end of the range.
};

#endif
