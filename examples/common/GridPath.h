#ifndef QUARNEL_EXAMPLES_GRID_PATH_H
#define QUARNEL_EXAMPLES_GRID_PATH_H

#include <string>
#include <vector>

#include "common/Grid.h"

/// A walk through a grid world.
struct GridPath {
  struct Step {
    Grid::Cell cell;  ///< Where the step starts.
    Grid::MOVE move;
  };

  std::vector<Step> steps;
  bool arrived = false;  ///< True where the last step leads to the goal.
};

/// @return true where both walks make the same moves from the same cells.
const bool operator==(const GridPath& a, const GridPath& b);

/// @return the picture of a world without a walk, a line for every row.
template <class World>
std::vector<std::string> drawWorld() {
  std::vector<std::string> picture;
  for (int row = 0; row < World::ROWS; ++row) {
    std::string line;
    for (int column = 0; column < World::COLUMNS; ++column) {
      line += World::symbol({row, column});
    }
    picture.push_back(line);
  }
  return picture;
}

/// Prints a world with a walk on standard output: an arrow in every cell shows the move made there.
///
/// @param picture as `drawWorld()` gives it.
void printPath(std::vector<std::string> picture, const GridPath& path);

#endif
