#ifndef QUARNEL_EXAMPLES_SUMMARY_H
#define QUARNEL_EXAMPLES_SUMMARY_H

#include <string>

/// The mean of a figure over many runs, with its standard error and its range.
class Summary {
 public:
  void add(double number);

  /// Prints a line "name: mean +- standard error (smallest .. largest)" on standard output, or
  /// "name: number" where there is only one; nothing where there is none.
  void print(const std::string& name) const;

  const double getMean() const;

  /// @return the standard error of the mean; 0 where there are fewer than two numbers.
  const double getStandardError() const;

  /// @return the largest number; 0 where there is none.
  const double getLargest() const { return largest; }

  friend const bool operator==(const Summary& a, const Summary& b);

 private:
  int count = 0;
  double mean = 0.0;
  double squares = 0.0;
  double smallest = 0.0;
  double largest = 0.0;
};

#endif
