#ifndef QUARNEL_EXAMPLES_CART_POLE_H
#define QUARNEL_EXAMPLES_CART_POLE_H

#include <array>

#include "common/Control.h"

/// A cart on a track that is pushed to the left or to the right, so that the pole on it, which
/// turns on a hinge, stays upright and the cart stays on the track.
///
/// Source: Barto, Sutton and Anderson, Neuronlike adaptive elements that can solve difficult
/// learning control problems, 1983, without friction; the limits are those in common use.
class CartPole {
 public:
  static constexpr double FAILURE_POSITION = 2.4;
  static constexpr double FAILURE_ANGLE = 12.0 * Control::PI / 180.0;

  /// A push to the left, a push to the right.
  static constexpr int ACTIONS = 2;

  /// An episode that lasts so long is broken off, as a success.
  static constexpr int STEP_LIMIT = 500;

  /// The speeds have no limits; these are hardly exceeded while the pole is balanced.
  static constexpr std::array<Control::Variable, 4> VARIABLES = {
      {{"position", -FAILURE_POSITION, FAILURE_POSITION},
       {"velocity", -2.0, 2.0},
       {"angle", -FAILURE_ANGLE, FAILURE_ANGLE},
       {"angular velocity", -2.0, 2.0}}};

  /// Position in m, velocity in m/s, the pole's angle in rad from upright to the right, and its
  /// velocity in rad/s.
  using Motion = std::array<double, 4>;

  /// Starts near the middle and near upright, all four numbers in [-0.05, 0.05).
  void reset(const Control::Uniform& uniform);

  void place(const Motion& newMotion) { motion = newMotion; }

  /// @param action from 0 to ACTIONS - 1.
  void step(int action);

  const Motion& getMotion() const { return motion; }

  /// @return the motion, cut off at the ranges of the variables.
  const Motion getObservation() const;

  /// @return the reward of the last step: every step counts.
  const double getReward() const { return 1.0; }

  /// @return true where the pole has fallen or the cart has left the track.
  const bool isAtEnd() const;

 private:
  Motion motion = {};
};

#endif
