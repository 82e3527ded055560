#include "cart_pole/CartPole.h"

#include <algorithm>
#include <cmath>

namespace {

const double GRAVITY = 9.8;
const double CART_MASS = 1.0;
const double POLE_MASS = 0.1;
const double TOTAL_MASS = CART_MASS + POLE_MASS;
const double HALF_LENGTH = 0.5;
const double FORCE = 10.0;
const double TIME_STEP = 0.02;

}  // namespace

void CartPole::reset(const Control::Uniform& uniform) {
  for (double& number : motion) {
    number = -0.05 + 0.1 * uniform();
  }
}

void CartPole::step(int action) {
  auto& [position, velocity, angle, turning] = motion;
  const double force = action == 1 ? FORCE : -FORCE;
  const double sine = std::sin(angle);
  const double cosine = std::cos(angle);
  const double push = (force + POLE_MASS * HALF_LENGTH * turning * turning * sine) / TOTAL_MASS;
  const double inertia = HALF_LENGTH * (4.0 / 3.0 - POLE_MASS * cosine * cosine / TOTAL_MASS);
  const double turningChange = (GRAVITY * sine - cosine * push) / inertia;
  const double velocityChange =
      push - POLE_MASS * HALF_LENGTH * turningChange * cosine / TOTAL_MASS;
  // The speeds before the step move the cart and the pole.
  position += TIME_STEP * velocity;
  velocity += TIME_STEP * velocityChange;
  angle += TIME_STEP * turning;
  turning += TIME_STEP * turningChange;
}

const CartPole::Motion CartPole::getObservation() const {
  Motion observation;
  for (std::size_t i = 0; i < motion.size(); ++i) {
    observation[i] = std::clamp(motion[i], VARIABLES[i].min, VARIABLES[i].max);
  }
  return observation;
}

const bool CartPole::isAtEnd() const {
  return std::abs(motion[0]) > FAILURE_POSITION || std::abs(motion[2]) > FAILURE_ANGLE;
}
