#ifndef QUARNEL_VAR_VALUES_DOUBLE_H
#define QUARNEL_VAR_VALUES_DOUBLE_H

#include "VarValues.h"

/// A real state variable: a value and the range it moves in.
///
/// The setters store what they are given; nothing here keeps the value within the range. Outside it
/// tilings wrap, clip or report, as their `Types::TILE_TYPE` says.
class VarValuesDouble : public VarValues {
 public:
  /// The value starts at the middle of the range, (min + max) * 0.5.
  ///
  /// @param newName the variable's name.
  /// @param newMinValue lower end of the range; expected not to lie above the upper end.
  /// @param newMaxValue upper end of the range.
  VarValuesDouble(const std::string& newName, double newMinValue, double newMaxValue);

  /// Reads the variable from a file with `load()`. A failed read has been reported and leaves the
  /// fields that were not reached at an empty name and zeros.
  ///
  /// @param file open for reading, at a record of this kind.
  explicit VarValuesDouble(FILE* file);

  ~VarValuesDouble() override;

  /// Copies name, value and range.
  VarValuesDouble(const VarValuesDouble&);

  /// Copies name, value and range. @return this variable.
  VarValuesDouble& operator=(const VarValuesDouble&);

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

  /// @return the current value.
  const double getValue() const { return value; }

  /// @return the lower end of the range.
  const double getMinValue() const { return minValue; }

  /// @return the upper end of the range.
  const double getMaxValue() const { return maxValue; }

  /// @param newValue replaces the value, whether or not it lies in the range.
  void setValue(double newValue) { value = newValue; }

  /// @param newMinValue replaces the lower end of the range; the value stays.
  void setMinValue(double newMinValue) { minValue = newMinValue; }

  /// @param newMaxValue replaces the upper end of the range; the value stays.
  void setMaxValue(double newMaxValue) { maxValue = newMaxValue; }

 protected:
  double value;     ///< The current value, in the application's units.
  double minValue;  ///< Lower end of the range.
  double maxValue;  ///< Upper end of the range.
};

#endif
