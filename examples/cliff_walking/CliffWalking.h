#ifndef QUARNEL_EXAMPLES_CLIFF_WALKING_H
#define QUARNEL_EXAMPLES_CLIFF_WALKING_H

#include "common/Grid.h"

/// A grid with a cliff along its bottom row, between the start and the goal: who steps off it is
/// back at the start, and it costs a hundred steps' reward. The edges hold the walker back.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, example 6.6.
class CliffWalking {
 public:
  static constexpr int ROWS = 4;
  static constexpr int COLUMNS = 12;
  static constexpr Grid::Cell START = {3, 0};
  static constexpr Grid::Cell GOAL = {3, 11};

  /// Length of the shortest way from the start to the goal.
  static constexpr int OPTIMUM = 13;

  /// Puts the walker at the start.
  void reset();

  /// Makes a move; off the cliff it ends at the start.
  void move(Grid::MOVE direction);

  /// @return where the walker is.
  const Grid::Cell& getCell() const { return cell; }

  /// @return the reward of the last move; 0 where there was none yet.
  const double getReward() const { return reward; }

  const bool isAtGoal() const { return cell == GOAL; }

  /// @return true where there is no ground.
  static const bool isCliff(const Grid::Cell& cell);

  /// @return the character that stands for a cell in a picture.
  static const char symbol(const Grid::Cell& cell);

 private:
  Grid::Cell cell = START;
  double reward = 0.0;
};

#endif
