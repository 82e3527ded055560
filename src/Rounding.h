#ifndef QUARNEL_ROUNDING_H
#define QUARNEL_ROUNDING_H

#include <limits>

// No part of the interface.
#pragma GCC visibility push(hidden)
/// Real numbers to whole ones, without a call of the mathematical library.
namespace Rounding {

/// @return the largest int not above the number; the nearest int for a number beyond all of them,
///   and 0 for what is not a number.
inline const int floorToInt(double number) {
  if (!(number > std::numeric_limits<int>::min())) {
    return number <= std::numeric_limits<int>::min() ? std::numeric_limits<int>::min() : 0;
  }
  if (number >= std::numeric_limits<int>::max()) {
    return std::numeric_limits<int>::max();
  }
  const int towardsZero = static_cast<int>(number);
  return towardsZero > number ? towardsZero - 1 : towardsZero;
}

}  // namespace Rounding
#pragma GCC visibility pop

#endif
