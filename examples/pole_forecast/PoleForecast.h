#ifndef QUARNEL_EXAMPLES_POLE_FORECAST_H
#define QUARNEL_EXAMPLES_POLE_FORECAST_H

#include <array>
#include <vector>

#include "cart_pole/CartPole.h"
#include "common/Control.h"

/// The pole on the cart, steered by somebody who is careless: will it stay up for a while?
///
/// Half of the pushes are at random, the others go to the side to which the pole will lean. The
/// cart's track has no end here, and without friction the pole does not feel where the cart is and
/// how fast it goes: the pole's angle and its angular velocity are all that counts.
class PoleForecast {
 public:
  /// The pole has stayed up when it is up after so many steps, of 0.02 s each.
  static constexpr int STEPS = 50;

  /// The probability that a push is at random.
  static constexpr double CARELESSNESS = 0.5;

  /// How fast the pole turns at the start, at most.
  static constexpr double FASTEST_START = 1.5;

  /// Angular velocities have no limits; where the pole stays up, these are hardly exceeded.
  static constexpr std::array<Control::Variable, 3> VARIABLES = {
      {{"angle", -CartPole::FAILURE_ANGLE, CartPole::FAILURE_ANGLE},
       {"angular velocity", -2.0, 2.0},
       {"steps left", 0.0, STEPS}}};

  /// Starts with any angle below the limit and any angular velocity up to FASTEST_START, all equally
  /// likely.
  void reset(const Control::Uniform& uniform);

  /// Starts with an angle and an angular velocity.
  ///
  /// @param stepsLeft how long the pole is to stay up.
  void place(double angle, double angularVelocity, int stepsLeft = STEPS);

  /// Pushes the cart.
  void step(const Control::Uniform& uniform);

  /// @return angle, angular velocity and steps left, cut off at the ranges of the variables.
  const std::array<double, 3> getObservation() const;

  /// @return true where the pole has fallen.
  const bool isDown() const;

  /// @return true where the pole has fallen or no step is left.
  const bool isAtEnd() const { return stepsLeft == 0 || isDown(); }

  /// @return the reward of the step that led here: 1 where the pole has stayed up to the end.
  const double getReward() const { return stepsLeft == 0 && !isDown() ? 1.0 : 0.0; }

  /// A start, and the probability that the pole stays up from there on.
  struct Question {
    double angle;
    double angularVelocity;
    double truth;
  };

  /// The starts are so many angles by so many angular velocities.
  static constexpr int ANGLES = 7;
  static constexpr int VELOCITIES = 7;

  /// @return the same starts every time, angle by angle, evenly spread over all that `reset()`
  /// draws. The truth is the share of 2,000 attempts, with a standard error of at most 0.0112.
  static const std::vector<Question>& getQuestions();

  /// @return the RMS error, over all questions, of one and the same answer to all of them, where
  /// that is the best.
  static const double getErrorOfConstant();

 private:
  CartPole world;
  int stepsLeft = STEPS;
};

#endif
