#include "cliff_walking/CliffWalking.h"

#include <algorithm>

void CliffWalking::reset() {
  cell = START;
  reward = 0.0;
}

void CliffWalking::move(Grid::MOVE direction) {
  const Grid::Cell target = Grid::neighbour(cell, direction);
  cell.row = std::clamp(target.row, 0, ROWS - 1);
  cell.column = std::clamp(target.column, 0, COLUMNS - 1);
  reward = -1.0;
  if (isCliff(cell)) {
    cell = START;
    reward = -100.0;
  }
}

const bool CliffWalking::isCliff(const Grid::Cell& cell) {
  return cell.row == START.row && cell.column > START.column && cell.column < GOAL.column;
}

const char CliffWalking::symbol(const Grid::Cell& cell) {
  return cell == START ? 'S' : cell == GOAL ? 'G' : isCliff(cell) ? 'C' : '.';
}
