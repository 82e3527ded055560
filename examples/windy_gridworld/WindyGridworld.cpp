#include "windy_gridworld/WindyGridworld.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr std::array<int, WindyGridworld::COLUMNS> WIND = {0, 0, 0, 1, 1, 1, 2, 2, 1, 0};

}  // namespace

void WindyGridworld::move(Grid::MOVE direction) {
  const Grid::Cell target = Grid::neighbour(cell, direction);
  // The wind of the column that is left counts, not that of the column entered.
  cell.row = std::clamp(target.row - getWind(cell.column), 0, ROWS - 1);
  cell.column = std::clamp(target.column, 0, COLUMNS - 1);
}

const int WindyGridworld::getWind(int column) { return WIND[static_cast<std::size_t>(column)]; }

const char WindyGridworld::symbol(const Grid::Cell& cell) {
  return cell == START ? 'S' : cell == GOAL ? 'G' : '.';
}
