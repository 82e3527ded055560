#ifndef QUARNEL_RANDOM_DRAW_H
#define QUARNEL_RANDOM_DRAW_H

#include <cstdlib>

// No part of the interface.
#pragma GCC visibility push(hidden)
/// Numbers drawn from libc's generator. How many are drawn, and when, is part of the behaviour: one
/// stream serves the whole process.
namespace RandomDraw {

/// @return a number in [0, 1), a multiple of 2^-31. The scaling is exact.
inline const double unit() { return std::rand() / 2147483648.0; }

}  // namespace RandomDraw
#pragma GCC visibility pop

#endif
