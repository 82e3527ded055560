#ifndef QUARNEL_BENCH_GRID_H
#define QUARNEL_BENCH_GRID_H

#include <algorithm>
#include <array>

#include "workloads/Parameters.h"

/// A room of 100 x 100 cells, from its middle to a corner; every step costs 1.
class Grid {
 public:
  static constexpr int SIZE = 100;
  static constexpr int ACTIONS = 4;

  /// Decides how many traces live: about a quarter of the steps of an episode, since values start
  /// above all true ones and so drive the walker to where it has not been.
  static constexpr int STEP_LIMIT = 585;

  static constexpr Parameters PARAMETERS = {0.1, 0.9, 0.95, 0.1};

  void reset() {
    x = SIZE / 2;
    y = SIZE / 2;
    steps = 0;
  }

  /// Goes right, left, up or down; a wall stops the walker.
  void step(int action) {
    constexpr std::array<int, ACTIONS> DX = {1, -1, 0, 0};
    constexpr std::array<int, ACTIONS> DY = {0, 0, 1, -1};
    const auto a = static_cast<std::size_t>(action);
    x = std::clamp(x + DX[a], 0, SIZE - 1);
    y = std::clamp(y + DY[a], 0, SIZE - 1);
    ++steps;
  }

  const int getX() const { return x; }
  const int getY() const { return y; }
  const double getReward() const { return -1.0; }
  const bool isAtEnd() const { return (x == SIZE - 1 && y == SIZE - 1) || steps == STEP_LIMIT; }

 private:
  int x = SIZE / 2;
  int y = SIZE / 2;
  int steps = 0;
};

#endif
