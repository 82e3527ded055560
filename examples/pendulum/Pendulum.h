#ifndef QUARNEL_EXAMPLES_PENDULUM_H
#define QUARNEL_EXAMPLES_PENDULUM_H

#include <array>

#include "common/Control.h"

/// A rod on a hinge with a motor that is too weak to lift it at once: it has to swing up and to be
/// held there.
///
/// Source: the swing-up task with the constants and the cost in common use; described by Doya,
/// Reinforcement learning in continuous time and space, 2000.
class Pendulum {
 public:
  static constexpr double MOST_TURNING = 8.0;

  /// A torque of -2, 0 or +2.
  static constexpr int ACTIONS = 3;

  /// The task has no end: every episode is broken off here.
  static constexpr int STEP_LIMIT = 200;

  static constexpr std::array<Control::Variable, 2> VARIABLES = {
      {{"angle", -Control::PI, Control::PI}, {"angular velocity", -MOST_TURNING, MOST_TURNING}}};

  /// Starts at any angle, with a speed in [-1, 1).
  void reset(const Control::Uniform& uniform);

  /// @param newAngle in [-pi, pi), from upright.
  /// @param newTurning the angular velocity, in rad/s.
  void place(double newAngle, double newTurning);

  /// @param action from 0 to ACTIONS - 1.
  void step(int action);

  /// @return angle in [-pi, pi) and angular velocity.
  const std::array<double, 2> getObservation() const { return {angle, turning}; }

  /// @return the reward of the last step: the less, the farther from upright and from rest it
  /// started, and the larger its torque.
  const double getReward() const { return reward; }

  const bool isAtEnd() const { return false; }

 private:
  double angle = -Control::PI;
  double turning = 0.0;
  double reward = 0.0;
};

#endif
