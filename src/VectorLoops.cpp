#include "VectorLoops.h"

// The choice is made by the loader, as glibc's can; GCC's sanitizers are not ready yet by then.
#if defined(__x86_64__) && defined(__GLIBC__) && defined(__OPTIMIZE__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define QUARNEL_WIDE_VECTORS __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define QUARNEL_WIDE_VECTORS
#endif

namespace VectorLoops {

QUARNEL_WIDE_VECTORS
void scale(double* numbers, std::size_t size, double factor) {
  for (std::size_t i = 0; i < size; ++i) {
    numbers[i] *= factor;
  }
}

QUARNEL_WIDE_VECTORS
void addScaled(double* __restrict sums, const double* __restrict numbers, std::size_t size,
               double factor) {
  for (std::size_t i = 0; i < size; ++i) {
    sums[i] += numbers[i] * factor;
  }
}

QUARNEL_WIDE_VECTORS
void addScaledSums(double* __restrict sums, const double* __restrict numbers, std::size_t size,
                   double factor, double innerFactor) {
  for (std::size_t i = 0; i < size; ++i) {
    // The zero is where a sum starts; it makes a difference for -0.0.
    sums[i] += factor * (0.0 + numbers[i] * innerFactor);
  }
}

QUARNEL_WIDE_VECTORS
void decayAndAdd(double* __restrict traces, const double* __restrict numbers, std::size_t size,
                 double decay, double factor) {
  for (std::size_t i = 0; i < size; ++i) {
    traces[i] = decay * traces[i] + numbers[i] * factor;
  }
}

}  // namespace VectorLoops
