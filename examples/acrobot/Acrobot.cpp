#include "acrobot/Acrobot.h"

#include <algorithm>
#include <cmath>

namespace {

using Motion = Acrobot::Motion;

// Both links are alike: mass, length and moment of inertia are 1, the centre is in the middle.
const double GRAVITY = 9.8;
const double CENTRE = 0.5;
const double TIME_STEP = 0.2;

// The inertia of the upper link with the lower one, and of the lower one as the upper one feels it.
double inertia(double angle2) {
  return CENTRE * CENTRE + 1.0 + CENTRE * CENTRE + 2.0 * CENTRE * std::cos(angle2) + 2.0;
}

double coupling(double angle2) { return CENTRE * CENTRE + CENTRE * std::cos(angle2) + 1.0; }

Motion change(const Motion& motion, double torque) {
  const auto& [angle1, angle2, turning1, turning2] = motion;
  const double d1 = inertia(angle2);
  const double d2 = coupling(angle2);
  const double phi2 = CENTRE * GRAVITY * std::sin(angle1 + angle2);
  const double phi1 = -CENTRE * turning2 * turning2 * std::sin(angle2) -
                      2.0 * CENTRE * turning2 * turning1 * std::sin(angle2) +
                      (CENTRE + 1.0) * GRAVITY * std::sin(angle1) + phi2;
  const double change2 =
      (torque + d2 / d1 * phi1 - CENTRE * turning1 * turning1 * std::sin(angle2) - phi2) /
      (CENTRE * CENTRE + 1.0 - d2 * d2 / d1);
  return {turning1, turning2, -(d2 * change2 + phi1) / d1, change2};
}

Motion moved(Motion motion, const Motion& direction, double time) {
  for (std::size_t i = 0; i < motion.size(); ++i) {
    motion[i] += time * direction[i];
  }
  return motion;
}

}  // namespace

void Acrobot::reset(const Control::Uniform& uniform) {
  for (double& number : motion) {
    number = -0.1 + 0.2 * uniform();
  }
}

void Acrobot::step(int action) {
  const double torque = action - 1;
  const Motion k1 = change(motion, torque);
  const Motion k2 = change(moved(motion, k1, TIME_STEP / 2.0), torque);
  const Motion k3 = change(moved(motion, k2, TIME_STEP / 2.0), torque);
  const Motion k4 = change(moved(motion, k3, TIME_STEP), torque);
  for (std::size_t i = 0; i < motion.size(); ++i) {
    motion[i] += TIME_STEP / 6.0 * (k1[i] + 2.0 * k2[i] + 2.0 * k3[i] + k4[i]);
  }
  auto& [angle1, angle2, turning1, turning2] = motion;
  angle1 = Control::wrapAngle(angle1);
  angle2 = Control::wrapAngle(angle2);
  turning1 = std::clamp(turning1, -MOST_TURNING_1, MOST_TURNING_1);
  turning2 = std::clamp(turning2, -MOST_TURNING_2, MOST_TURNING_2);
}

const double Acrobot::getHeight() const {
  return -std::cos(motion[0]) - std::cos(motion[0] + motion[1]);
}

const double Acrobot::getEnergy() const {
  const auto& [angle1, angle2, turning1, turning2] = motion;
  const double kinetic = inertia(angle2) * turning1 * turning1 / 2.0 +
                         coupling(angle2) * turning1 * turning2 +
                         (CENTRE * CENTRE + 1.0) * turning2 * turning2 / 2.0;
  const double potential =
      -(CENTRE + 1.0) * GRAVITY * std::cos(angle1) - CENTRE * GRAVITY * std::cos(angle1 + angle2);
  return kinetic + potential;
}
