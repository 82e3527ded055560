#ifndef QUARNEL_BENCH_TRAINING_H
#define QUARNEL_BENCH_TRAINING_H

#include <cstdint>

/// A learner in its environment, fresh from its constructor. The library's and the hand-written one
/// of the same workload draw the same random numbers and learn the same bits.
class Training {
 public:
  virtual ~Training() = default;

  /// Learns for a number of whole episodes.
  virtual void learn(int episodes) = 0;

  /// @return the number of steps taken so far.
  virtual const std::int64_t getSteps() const = 0;

  /// @return the digest of all weights.
  virtual const std::uint64_t getDigest() const = 0;

  /// @return the mean number of live traces over all steps; 0.0 where nobody counts them.
  virtual const double getMeanTraces() const { return 0.0; }
};

#endif
