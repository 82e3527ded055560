#ifndef QUARNEL_BENCH_MOUNTAIN_CAR_H
#define QUARNEL_BENCH_MOUNTAIN_CAR_H

#include <algorithm>
#include <cmath>

#include "workloads/Draw.h"
#include "workloads/Parameters.h"

/// A weak car in a valley, under 10 tilings of 10 x 10 tiles; every step costs 1.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, example 10.1.
class MountainCar {
 public:
  static constexpr int ACTIONS = 3;
  static constexpr int STEP_LIMIT = 1000;
  static constexpr int TILINGS = 10;
  static constexpr int TILES = 10;
  static constexpr double MIN_POSITION = -1.2;
  static constexpr double MAX_POSITION = 0.5;
  static constexpr double MIN_VELOCITY = -0.07;
  static constexpr double MAX_VELOCITY = 0.07;

  static constexpr Parameters PARAMETERS = {0.5, 0.9, 1.0, 0.1};

  void reset() {
    position = -0.6 + 0.2 * Draw::unit();
    velocity = 0.0;
    steps = 0;
  }

  /// Full throttle backwards, none, full throttle forwards.
  void step(int action) {
    velocity += 0.001 * (action - 1) - 0.0025 * std::cos(3.0 * position);
    velocity = std::clamp(velocity, MIN_VELOCITY, MAX_VELOCITY);
    position = std::min(position + velocity, MAX_POSITION);
    if (position < MIN_POSITION) {
      position = MIN_POSITION;
      velocity = 0.0;
    }
    ++steps;
  }

  const double getPosition() const { return position; }
  const double getVelocity() const { return velocity; }
  const double getReward() const { return -1.0; }
  const bool isAtEnd() const { return position >= MAX_POSITION || steps == STEP_LIMIT; }

 private:
  double position = 0.0;
  double velocity = 0.0;
  int steps = 0;
};

#endif
