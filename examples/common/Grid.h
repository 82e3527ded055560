#ifndef QUARNEL_EXAMPLES_GRID_H
#define QUARNEL_EXAMPLES_GRID_H

/// What worlds made of square cells have in common.
namespace Grid {

/// A cell: row 0 is the top row, column 0 the leftmost column.
struct Cell {
  int row;
  int column;
};

inline const bool operator==(const Cell& a, const Cell& b) {
  return a.row == b.row && a.column == b.column;
}

/// The moves, in the order of their action indices.
enum MOVE : int { UP = 0, RIGHT = 1, DOWN = 2, LEFT = 3 };

constexpr int MOVES = 4;

/// @return the cell that a move leads to on an endless grid.
inline Cell neighbour(const Cell& cell, MOVE move) {
  switch (move) {
    case UP:
      return {cell.row - 1, cell.column};
    case RIGHT:
      return {cell.row, cell.column + 1};
    case DOWN:
      return {cell.row + 1, cell.column};
    case LEFT:
      return {cell.row, cell.column - 1};
  }
  return cell;
}

}  // namespace Grid

#endif
