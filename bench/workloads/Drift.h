#ifndef QUARNEL_BENCH_DRIFT_H
#define QUARNEL_BENCH_DRIFT_H

#include <algorithm>
#include <array>
#include <cstddef>

#include "workloads/Draw.h"
#include "workloads/Parameters.h"

/// Real variables in [-1, 1] that drift one after the other, at random. After 50 steps the episode
/// ends with the reward (x + 1) / 2, where x is the first variable, so that values lie in (0, 1).
template <int VARIABLES>
class Drift {
 public:
  static constexpr int STEP_LIMIT = 50;
  static constexpr Parameters PARAMETERS = {0.1, 0.9, 1.0, 0.0};

  void reset() {
    for (double& variable : variables) {
      variable = 2.0 * Draw::unit() - 1.0;
    }
    next = 0;
    steps = 0;
  }

  void step() {
    double& variable = variables[next];
    variable = std::clamp(variable + 0.4 * Draw::unit() - 0.2, -1.0, 1.0);
    next = next + 1 < variables.size() ? next + 1 : 0;
    ++steps;
  }

  const std::array<double, VARIABLES>& getVariables() const { return variables; }
  const double getReward() const { return isAtEnd() ? (variables[0] + 1.0) / 2.0 : 0.0; }
  const bool isAtEnd() const { return steps == STEP_LIMIT; }

 private:
  std::array<double, VARIABLES> variables = {};
  std::size_t next = 0;
  int steps = 0;
};

#endif
