#ifndef QUARNEL_EXAMPLES_WINDY_GRIDWORLD_H
#define QUARNEL_EXAMPLES_WINDY_GRIDWORLD_H

#include "common/Grid.h"

/// A grid over which a wind blows: a move ends as many cells higher as the wind of the column that
/// it starts from is strong. The edges hold the walker back.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, example 6.5.
class WindyGridworld {
 public:
  static constexpr int ROWS = 7;
  static constexpr int COLUMNS = 10;
  static constexpr Grid::Cell START = {3, 0};
  static constexpr Grid::Cell GOAL = {3, 7};

  /// Length of the shortest way from the start to the goal.
  static constexpr int OPTIMUM = 15;

  /// Puts the walker at the start.
  void reset() { cell = START; }

  /// Makes a move, with the wind.
  void move(Grid::MOVE direction);

  /// @return where the walker is.
  const Grid::Cell& getCell() const { return cell; }

  /// @return the reward of the last move: every step costs the same.
  const double getReward() const { return -1.0; }

  const bool isAtGoal() const { return cell == GOAL; }

  /// @param column from 0 to COLUMNS - 1.
  /// @return by how many cells the wind of a column lifts the walker.
  static const int getWind(int column);

  /// @return the character that stands for a cell in a picture.
  static const char symbol(const Grid::Cell& cell);

 private:
  Grid::Cell cell = START;
};

#endif
