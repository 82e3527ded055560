#include "common/Summary.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>

void Summary::add(double number) {
  smallest = count == 0 ? number : std::min(smallest, number);
  largest = count == 0 ? number : std::max(largest, number);
  ++count;
  // Welford's sums, which lose nothing where the spread is small beside the mean.
  const double distance = number - mean;
  mean += distance / count;
  squares += distance * (number - mean);
}

void Summary::print(const std::string& name) const {
  if (count == 0) {
    return;
  }
  std::cout << std::setprecision(4) << name << ": " << getMean();
  if (count > 1) {
    std::cout << " +- " << std::setprecision(2) << getStandardError() << std::setprecision(4)
              << " (" << smallest << " .. " << largest << ")";
  }
  std::cout << std::endl;
}

const double Summary::getMean() const { return mean; }

const double Summary::getStandardError() const {
  return count < 2 ? 0.0 : std::sqrt(squares / (count - 1) / count);
}

const bool operator==(const Summary& a, const Summary& b) {
  return a.count == b.count && a.mean == b.mean && a.squares == b.squares &&
         a.smallest == b.smallest && a.largest == b.largest;
}
