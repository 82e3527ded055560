#ifndef QUARNEL_BENCH_HANDWRITTEN_CHOICE_H
#define QUARNEL_BENCH_HANDWRITTEN_CHOICE_H

#include <limits>

#include "workloads/Draw.h"

/// An action and its value.
struct Choice {
  int action;
  double value;

  /// With probability epsilon any action, otherwise the best one, ties broken at random.
  ///
  /// @param valueOf gives the value of an action.
  template <int ACTIONS, typename ValueOf>
  static const Choice make(double epsilon, const ValueOf& valueOf) {
    if (epsilon > Draw::unit()) {
      const int action = Draw::index(ACTIONS);
      return {action, valueOf(action)};
    }
    int tied[ACTIONS] = {};
    int ties = 0;
    double best = std::numeric_limits<double>::lowest();
    for (int i = 0; i < ACTIONS; ++i) {
      const double value = valueOf(i);
      if (value > best) {
        best = value;
        ties = 0;
      }
      if (value == best) {
        tied[ties] = i;
        ++ties;
      }
    }
    return {tied[Draw::index(ties)], best};
  }
};

#endif
