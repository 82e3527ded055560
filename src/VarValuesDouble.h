#ifndef QUARNEL_VAR_VALUES_DOUBLE_H
#define QUARNEL_VAR_VALUES_DOUBLE_H

#include "VarValues.h"

/// A real state variable: a value and the range it moves in.
///
/// The setters store what they are given; nothing here keeps the value within the range, and a
/// table or tiling meets a value outside it with a report of its own.
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
  explicit VarValuesDouble(FILE* file);

  ~VarValuesDouble() override;

  VarValuesDouble(const VarValuesDouble&);
  VarValuesDouble& operator=(const VarValuesDouble&);

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

  const double getValue() const { return value; }
  const double getMinValue() const { return minValue; }
  const double getMaxValue() const { return maxValue; }

  void setValue(double newValue) { value = newValue; }
  void setMinValue(double newMinValue) { minValue = newMinValue; }
  void setMaxValue(double newMaxValue) { maxValue = newMaxValue; }

 protected:
  double value;
  double minValue;
  double maxValue;
};

#endif
