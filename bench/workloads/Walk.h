#ifndef QUARNEL_BENCH_WALK_H
#define QUARNEL_BENCH_WALK_H

#include <algorithm>

#include "workloads/Draw.h"
#include "workloads/Parameters.h"

/// A random walk over 1,000 states from their middle, with an end on either side, worth -1 on the
/// left and 1 on the right. A step goes to any state up to 100 away.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, example 9.1.
class Walk {
 public:
  static constexpr int STATES = 1000;
  static constexpr int REACH = 100;
  static constexpr Parameters PARAMETERS = {0.05, 0.9, 1.0, 0.0};

  void reset() { position = STATES / 2; }

  void step() {
    const int drawn = Draw::index(2 * REACH);
    // No step stays where it is.
    const int distance = drawn < REACH ? drawn - REACH : drawn - REACH + 1;
    position = std::clamp(position + distance, 0, STATES + 1);
  }

  /// @return where the walker is: 0 is the left end, STATES + 1 the right one.
  const int getPosition() const { return position; }
  const double getReward() const {
    return position == 0 ? -1.0 : position == STATES + 1 ? 1.0 : 0.0;
  }
  const bool isAtEnd() const { return position == 0 || position == STATES + 1; }

 private:
  int position = STATES / 2;
};

#endif
