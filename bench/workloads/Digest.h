#ifndef QUARNEL_BENCH_DIGEST_H
#define QUARNEL_BENCH_DIGEST_H

#include <cstddef>
#include <cstdint>

/// The 64-bit FNV-1a digest of numbers, bit for bit: 0.0 and -0.0 differ.
class Digest {
 public:
  void add(const double* numbers, std::size_t count) {
    // Bytes of any object may be read through a pointer to unsigned char.
    const auto* const bytes = reinterpret_cast<const unsigned char*>(numbers);
    for (std::size_t i = 0; i < count * sizeof(double); ++i) {
      value = (value ^ bytes[i]) * 1099511628211U;
    }
  }

  const std::uint64_t get() const { return value; }

 private:
  std::uint64_t value = 14695981039346656037U;
};

#endif
