#include "pendulum/Pendulum.h"

#include <algorithm>
#include <cmath>

namespace {

const double GRAVITY = 10.0;
const double MASS = 1.0;
const double LENGTH = 1.0;
const double TORQUE = 2.0;
const double TIME_STEP = 0.05;

}  // namespace

void Pendulum::reset(const Control::Uniform& uniform) {
  const double newAngle = Control::PI * (2.0 * uniform() - 1.0);
  place(newAngle, 2.0 * uniform() - 1.0);
}

void Pendulum::place(double newAngle, double newTurning) {
  angle = newAngle;
  turning = newTurning;
  reward = 0.0;
}

void Pendulum::step(int action) {
  const double torque = TORQUE * (action - 1);
  reward = -(angle * angle + 0.1 * turning * turning + 0.001 * torque * torque);
  turning += TIME_STEP *
             (1.5 * GRAVITY / LENGTH * std::sin(angle) + 3.0 / (MASS * LENGTH * LENGTH) * torque);
  turning = std::clamp(turning, -MOST_TURNING, MOST_TURNING);
  angle = Control::wrapAngle(angle + TIME_STEP * turning);
}
