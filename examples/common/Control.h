#ifndef QUARNEL_EXAMPLES_CONTROL_H
#define QUARNEL_EXAMPLES_CONTROL_H

#include <cmath>
#include <functional>

/// What worlds with a continuous state have in common.
namespace Control {

/// A variable that the agent sees, and its range.
struct Variable {
  const char* name;
  double min;
  double max;
};

/// Where a world takes the chance of its starts from: numbers that are even over [0, 1).
using Uniform = std::function<double()>;

constexpr double PI = 3.14159265358979323846;

/// @return the same direction as an angle in [-pi, pi).
inline const double wrapAngle(double angle) {
  const double wrapped = std::remainder(angle, 2.0 * PI);
  return wrapped < PI ? wrapped : -PI;
}

}  // namespace Control

#endif
