#ifndef QUARNEL_VECTOR_LOOPS_H
#define QUARNEL_VECTOR_LOOPS_H

#include <cstddef>

// No part of the interface.
#pragma GCC visibility push(hidden)
/// Loops over arrays of numbers, compiled for several widths of vectors, of which the widest that the
/// processor has is taken when the library is loaded. Every width gives the same bits, since no
/// multiplication is fused with an addition. Arrays of one call don't overlap.
namespace VectorLoops {

/// numbers[i] *= factor
void scale(double* numbers, std::size_t size, double factor);

/// sums[i] += numbers[i] * factor
void addScaled(double* sums, const double* numbers, std::size_t size, double factor);

/// sums[i] += factor * (0.0 + numbers[i] * innerFactor)
void addScaledSums(double* sums, const double* numbers, std::size_t size, double factor,
                   double innerFactor);

/// traces[i] = decay * traces[i] + numbers[i] * factor
void decayAndAdd(double* traces, const double* numbers, std::size_t size, double decay,
                 double factor);

}  // namespace VectorLoops
#pragma GCC visibility pop

#endif
