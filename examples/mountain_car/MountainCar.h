#ifndef QUARNEL_EXAMPLES_MOUNTAIN_CAR_H
#define QUARNEL_EXAMPLES_MOUNTAIN_CAR_H

#include <array>

#include "common/Control.h"

/// A car in a valley that has to reach the top of the right hill. Its engine is weaker than
/// gravity, so it has to gain speed on the left hill first.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, example 10.1.
class MountainCar {
 public:
  /// Full throttle backwards, none, full throttle forwards.
  static constexpr int ACTIONS = 3;

  /// An episode that lasts so long is broken off.
  static constexpr int STEP_LIMIT = 5000;

  static constexpr std::array<Control::Variable, 2> VARIABLES = {
      {{"position", -1.2, 0.5}, {"velocity", -0.07, 0.07}}};

  /// Puts the car, at rest, somewhere in [-0.6, -0.4).
  void reset(const Control::Uniform& uniform) { place(-0.6 + 0.2 * uniform(), 0.0); }

  /// Puts the car to a position with a velocity, both within their ranges.
  void place(double newPosition, double newVelocity);

  /// @param action from 0 to ACTIONS - 1.
  void step(int action);

  /// @return position and velocity; a position beyond the goal counts as the goal.
  const std::array<double, 2> getObservation() const { return {position, velocity}; }

  /// @return the reward of the last step: every step costs the same.
  const double getReward() const { return -1.0; }

  /// @return true at the goal, the right end of the range.
  const bool isAtEnd() const { return position >= VARIABLES[0].max; }

 private:
  double position = -0.5;
  double velocity = 0.0;
};

#endif
