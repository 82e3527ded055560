#include "common/GridPath.h"

#include <algorithm>
#include <cstddef>
#include <iostream>

namespace {

const bool isSameStep(const GridPath::Step& a, const GridPath::Step& b) {
  return a.cell == b.cell && a.move == b.move;
}

const char arrow(Grid::MOVE move) {
  switch (move) {
    case Grid::UP:
      return '^';
    case Grid::RIGHT:
      return '>';
    case Grid::DOWN:
      return 'v';
    case Grid::LEFT:
      return '<';
  }
  return '?';
}

}  // namespace

const bool operator==(const GridPath& a, const GridPath& b) {
  return a.arrived == b.arrived &&
         std::equal(a.steps.begin(), a.steps.end(), b.steps.begin(), b.steps.end(), isSameStep);
}

void printPath(std::vector<std::string> picture, const GridPath& path) {
  for (const GridPath::Step& step : path.steps) {
    char& symbol = picture[static_cast<std::size_t>(step.cell.row)]
                          [static_cast<std::size_t>(step.cell.column)];
    if (symbol != 'S') {
      symbol = arrow(step.move);
    }
  }
  for (const std::string& line : picture) {
    std::cout << "   ";
    for (const char symbol : line) {
      std::cout << ' ' << symbol;
    }
    std::cout << '\n';
  }
  std::cout << std::flush;
}
