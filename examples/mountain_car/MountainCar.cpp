#include "mountain_car/MountainCar.h"

#include <algorithm>
#include <cmath>

void MountainCar::place(double newPosition, double newVelocity) {
  position = newPosition;
  velocity = newVelocity;
}

void MountainCar::step(int action) {
  const auto& [positions, velocities] = VARIABLES;
  velocity += 0.001 * (action - 1) - 0.0025 * std::cos(3.0 * position);
  velocity = std::clamp(velocity, velocities.min, velocities.max);
  position = std::min(position + velocity, positions.max);
  // The left end stops the car.
  if (position < positions.min) {
    position = positions.min;
    velocity = 0.0;
  }
}
