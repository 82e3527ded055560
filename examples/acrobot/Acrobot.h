#ifndef QUARNEL_EXAMPLES_ACROBOT_H
#define QUARNEL_EXAMPLES_ACROBOT_H

#include <array>

#include "common/Control.h"

/// Two links that hang from a bar like a gymnast; a motor turns only the joint between them. The
/// lower end has to swing up to a link's length above the bar.
///
/// Source: Sutton, Generalization in reinforcement learning: successful examples using sparse
/// coarse coding, 1996; Sutton and Barto, Reinforcement Learning, 1st edition, section 11.3. The
/// integration is the common one: a step is one of Runge and Kutta's, of fourth order.
class Acrobot {
 public:
  static constexpr double MOST_TURNING_1 = 4.0 * Control::PI;
  static constexpr double MOST_TURNING_2 = 9.0 * Control::PI;

  /// A torque of -1, 0 or +1 at the joint.
  static constexpr int ACTIONS = 3;

  /// An episode that lasts so long is broken off.
  static constexpr int STEP_LIMIT = 500;

  static constexpr std::array<Control::Variable, 4> VARIABLES = {
      {{"angle of the upper link", -Control::PI, Control::PI},
       {"angle of the lower link", -Control::PI, Control::PI},
       {"angular velocity of the upper link", -MOST_TURNING_1, MOST_TURNING_1},
       {"angular velocity of the lower link", -MOST_TURNING_2, MOST_TURNING_2}}};

  /// The upper link's angle from hanging and the lower link's from the upper one, in rad, and their
  /// velocities in rad/s.
  using Motion = std::array<double, 4>;

  /// Starts nearly hanging, nearly at rest, all four numbers in [-0.1, 0.1).
  void reset(const Control::Uniform& uniform);

  void place(const Motion& newMotion) { motion = newMotion; }

  /// @param action from 0 to ACTIONS - 1.
  void step(int action);

  /// @return the motion, with angles in [-pi, pi).
  const Motion& getObservation() const { return motion; }

  /// @return the reward of the last step: every step but the last of all costs the same.
  const double getReward() const { return isAtEnd() ? 0.0 : -1.0; }

  /// @return how high the lower end is above the bar, in lengths of a link, from -2 to 2.
  const double getHeight() const;

  /// @return true where the lower end is high enough.
  const bool isAtEnd() const { return getHeight() > 1.0; }

  /// @return kinetic and potential energy, which stays the same without torque but for errors of
  /// the integration.
  const double getEnergy() const;

 private:
  Motion motion = {};
};

#endif
