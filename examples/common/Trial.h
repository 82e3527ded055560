#ifndef QUARNEL_EXAMPLES_TRIAL_H
#define QUARNEL_EXAMPLES_TRIAL_H

#include <iomanip>
#include <iostream>

#include "common/Summary.h"

/// What an agent that has stopped learning comes to from many starts.
struct Trial {
  static constexpr int STARTS = 100;

  Summary steps;
  Summary returns;

  /// Goes on with a line on standard output.
  void print() const {
    std::cout << std::fixed << std::setprecision(1) << "from " << STARTS
              << " starts: " << steps.getMean() << " steps on average, " << steps.getLargest()
              << " at most; return " << returns.getMean() << ".\n"
              << std::defaultfloat;
  }
};

/// @return true where two trials went the same way.
inline const bool operator==(const Trial& a, const Trial& b) {
  return a.steps == b.steps && a.returns == b.returns;
}

#endif
