#ifndef QUARNEL_BENCH_DRAW_H
#define QUARNEL_BENCH_DRAW_H

#include <cstdlib>

/// Numbers drawn from libc's generator, which the library draws from as well.
namespace Draw {

/// @return a number in [0, 1).
inline const double unit() { return std::rand() / 2147483648.0; }

/// @return one of the numbers from 0 to count - 1, all with the same probability.
inline const int index(int count) { return static_cast<int>(unit() * count); }

}  // namespace Draw

#endif
