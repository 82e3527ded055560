#ifndef QUARNEL_WRAP_AROUND_H
#define QUARNEL_WRAP_AROUND_H

#include <limits>

// No part of the interface.
#pragma GCC visibility push(hidden)
/// Integer arithmetic in two's complement. Ranges, counts and indices come from files and callers;
/// where a result does not fit an `int` it wraps around, and the checks that follow catch it.
namespace WrapAround {

inline const int add(int a, int b) {
  return static_cast<int>(static_cast<unsigned int>(a) + static_cast<unsigned int>(b));
}

inline const int subtract(int a, int b) {
  return static_cast<int>(static_cast<unsigned int>(a) - static_cast<unsigned int>(b));
}

inline const int multiply(int a, int b) {
  return static_cast<int>(static_cast<unsigned int>(a) * static_cast<unsigned int>(b));
}

/// @return the product; the largest or smallest number where it lies beyond.
inline const long long multiplySaturated(long long a, long long b) {
  long long product = 0;
  if (__builtin_mul_overflow(a, b, &product)) {
    return (a < 0) == (b < 0) ? std::numeric_limits<long long>::max()
                              : std::numeric_limits<long long>::min();
  }
  return product;
}

}  // namespace WrapAround
#pragma GCC visibility pop

#endif
