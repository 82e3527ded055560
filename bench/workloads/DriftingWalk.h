#ifndef QUARNEL_BENCH_DRIFTING_WALK_H
#define QUARNEL_BENCH_DRIFTING_WALK_H

#include "workloads/Draw.h"
#include "workloads/Parameters.h"

/// A walk over 1,000 states in steps of 1, three of four to the right, from near the left end: it
/// visits nearly all states, so that the mean number of live traces is half as many.
class DriftingWalk {
 public:
  static constexpr int STATES = 1000;
  static constexpr int START = 60;
  static constexpr Parameters PARAMETERS = {0.05, 0.9, 1.0, 0.0};

  void reset() { position = START; }
  void step() { position += Draw::index(4) == 0 ? -1 : 1; }

  /// @return where the walker is: 0 is the left end, STATES + 1 the right one.
  const int getPosition() const { return position; }
  const double getReward() const {
    return position == 0 ? -1.0 : position == STATES + 1 ? 1.0 : 0.0;
  }
  const bool isAtEnd() const { return position == 0 || position == STATES + 1; }

 private:
  int position = START;
};

#endif
