#ifndef QUARNEL_BENCH_PRODUCT_READABLE_H
#define QUARNEL_BENCH_PRODUCT_READABLE_H

#include <cstddef>

#include "workloads/Digest.h"

/// A table or a group of tilings that tells the digest of its weights.
template <typename Representation>
class Readable : public Representation {
 public:
  using Representation::Representation;

  const std::uint64_t getDigest() const {
    Digest digest;
    digest.add(Representation::weights, static_cast<std::size_t>(Representation::ARRAY_SIZE));
    return digest.get();
  }
};

#endif
