#include "windy_gridworld/WindyGridworld.h"

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace {

using CellKey = std::pair<int, int>;

const std::vector<Grid::MOVE> ALL_MOVES = {Grid::UP, Grid::RIGHT, Grid::DOWN, Grid::LEFT};

// The book's figure: the numbers below the columns.
const std::array<int, 10> WIND_OF_COLUMNS = {0, 0, 0, 1, 1, 1, 2, 2, 1, 0};

CellKey keyOf(const WindyGridworld& world) { return {world.getCell().row, world.getCell().column}; }

// Every cell that can be reached, the world with the walker there, and the length of the way.
struct Reached {
  WindyGridworld world;
  int distance;
};

std::map<CellKey, Reached> searchFromStart() {
  WindyGridworld start;
  std::map<CellKey, Reached> reached = {{keyOf(start), {start, 0}}};
  std::deque<CellKey> frontier = {keyOf(start)};
  while (!frontier.empty()) {
    const Reached from = reached.at(frontier.front());
    frontier.pop_front();
    for (const Grid::MOVE move : ALL_MOVES) {
      WindyGridworld next = from.world;
      next.move(move);
      if (reached.insert({keyOf(next), {next, from.distance + 1}}).second) {
        frontier.push_back(keyOf(next));
      }
    }
  }
  return reached;
}

WindyGridworld after(const std::vector<Grid::MOVE>& moves) {
  WindyGridworld world;
  for (const Grid::MOVE move : moves) {
    world.move(move);
  }
  return world;
}

WindyGridworld at(int row, int column) { return searchFromStart().at({row, column}).world; }

CellKey cellAfter(WindyGridworld world, Grid::MOVE move) {
  world.move(move);
  return keyOf(world);
}

}  // namespace

TEST(WindyGridworld, HasSevenRowsAndTenColumns) {
  EXPECT_EQ(WindyGridworld::ROWS, 7);
  EXPECT_EQ(WindyGridworld::COLUMNS, 10);
}

TEST(WindyGridworld, StartsInTheFourthRowAtTheLeftEdge) {
  EXPECT_EQ(keyOf(WindyGridworld()), CellKey(3, 0));
}

TEST(WindyGridworld, ResetPutsTheWalkerBackToTheStart) {
  WindyGridworld world = after({Grid::RIGHT, Grid::UP});
  ASSERT_EQ(keyOf(world), CellKey(2, 1));
  world.reset();
  EXPECT_EQ(keyOf(world), CellKey(3, 0));
}

TEST(WindyGridworld, EveryColumnHasItsWind) {
  for (int column = 0; column < 10; ++column) {
    EXPECT_EQ(WindyGridworld::getWind(column), WIND_OF_COLUMNS[static_cast<std::size_t>(column)])
        << "column " << column;
  }
}

TEST(WindyGridworld, MovesByOneCellWhereThereIsNoWind) {
  const WindyGridworld world = after({Grid::RIGHT});
  EXPECT_EQ(cellAfter(world, Grid::UP), CellKey(2, 1));
  EXPECT_EQ(cellAfter(world, Grid::RIGHT), CellKey(3, 2));
  EXPECT_EQ(cellAfter(world, Grid::DOWN), CellKey(4, 1));
  EXPECT_EQ(cellAfter(world, Grid::LEFT), CellKey(3, 0));
}

TEST(WindyGridworld, AWindOfOneLiftsEveryMoveByOneCell) {
  const WindyGridworld world = at(3, 3);
  EXPECT_EQ(cellAfter(world, Grid::UP), CellKey(1, 3));
  EXPECT_EQ(cellAfter(world, Grid::RIGHT), CellKey(2, 4));
  EXPECT_EQ(cellAfter(world, Grid::DOWN), CellKey(3, 3));
  EXPECT_EQ(cellAfter(world, Grid::LEFT), CellKey(2, 2));
}

TEST(WindyGridworld, AWindOfTwoLiftsEveryMoveByTwoCells) {
  const WindyGridworld world = at(3, 7);
  EXPECT_EQ(cellAfter(world, Grid::UP), CellKey(0, 7));
  EXPECT_EQ(cellAfter(world, Grid::RIGHT), CellKey(1, 8));
  EXPECT_EQ(cellAfter(world, Grid::DOWN), CellKey(2, 7));
  EXPECT_EQ(cellAfter(world, Grid::LEFT), CellKey(1, 6));
}

TEST(WindyGridworld, TheWindOfTheColumnThatIsLeftCounts) {
  // "If you are one cell to the right of the goal, then the action left takes you to the cell just
  // above the goal."
  EXPECT_EQ(cellAfter(at(3, 8), Grid::LEFT), CellKey(2, 7));
  EXPECT_EQ(cellAfter(at(3, 2), Grid::RIGHT), CellKey(3, 3));
}

TEST(WindyGridworld, TheTopEdgeHoldsTheWalkerBack) {
  EXPECT_EQ(cellAfter(at(0, 0), Grid::UP), CellKey(0, 0));
  EXPECT_EQ(cellAfter(at(0, 3), Grid::UP), CellKey(0, 3));
  EXPECT_EQ(cellAfter(at(0, 3), Grid::DOWN), CellKey(0, 3));
  EXPECT_EQ(cellAfter(at(0, 6), Grid::RIGHT), CellKey(0, 7));
  EXPECT_EQ(cellAfter(at(0, 6), Grid::DOWN), CellKey(0, 6));
}

TEST(WindyGridworld, TheWindBlowsNoFurtherThanTheTopEdge) {
  EXPECT_EQ(cellAfter(at(1, 7), Grid::RIGHT), CellKey(0, 8));
  EXPECT_EQ(cellAfter(at(2, 7), Grid::UP), CellKey(0, 7));
}

TEST(WindyGridworld, TheBottomEdgeHoldsTheWalkerBack) {
  EXPECT_EQ(cellAfter(at(6, 0), Grid::DOWN), CellKey(6, 0));
  EXPECT_EQ(cellAfter(at(6, 9), Grid::DOWN), CellKey(6, 9));
}

TEST(WindyGridworld, TheLeftEdgeHoldsTheWalkerBack) {
  for (int row = 0; row < 7; ++row) {
    EXPECT_EQ(cellAfter(at(row, 0), Grid::LEFT), CellKey(row, 0));
  }
}

TEST(WindyGridworld, TheRightEdgeHoldsTheWalkerBack) {
  for (int row = 0; row < 7; ++row) {
    EXPECT_EQ(cellAfter(at(row, 9), Grid::RIGHT), CellKey(row, 9));
  }
}

TEST(WindyGridworld, EveryMoveFromEveryCellGoesWhereTheRulesSay) {
  const std::map<Grid::MOVE, CellKey> shift = {
      {Grid::UP, {-1, 0}}, {Grid::RIGHT, {0, 1}}, {Grid::DOWN, {1, 0}}, {Grid::LEFT, {0, -1}}};
  for (const auto& [cell, reached] : searchFromStart()) {
    for (const Grid::MOVE move : ALL_MOVES) {
      int row = cell.first + shift.at(move).first;
      row -= WIND_OF_COLUMNS[static_cast<std::size_t>(cell.second)];
      row = row < 0 ? 0 : row > 6 ? 6 : row;
      int column = cell.second + shift.at(move).second;
      column = column < 0 ? 0 : column > 9 ? 9 : column;
      EXPECT_EQ(cellAfter(reached.world, move), CellKey(row, column))
          << "move " << move << " from " << cell.first << ", " << cell.second;
    }
  }
}

TEST(WindyGridworld, EveryStepCostsOne) {
  WindyGridworld world = at(4, 8);
  EXPECT_EQ(world.getReward(), -1.0);
  world.move(Grid::LEFT);
  ASSERT_TRUE(world.isAtGoal());
  EXPECT_EQ(world.getReward(), -1.0);
}

TEST(WindyGridworld, OnlyOneCellIsTheGoal) {
  for (const auto& [cell, reached] : searchFromStart()) {
    EXPECT_EQ(reached.world.isAtGoal(), cell == CellKey(3, 7));
  }
}

TEST(WindyGridworld, NoWayToTheGoalIsShorterThanFifteenSteps) {
  EXPECT_EQ(searchFromStart().at({3, 7}).distance, 15);
  EXPECT_EQ(WindyGridworld::OPTIMUM, 15);
}

TEST(WindyGridworld, APictureShowsStartAndGoal) {
  EXPECT_EQ(WindyGridworld::symbol({3, 0}), 'S');
  EXPECT_EQ(WindyGridworld::symbol({3, 7}), 'G');
  EXPECT_EQ(WindyGridworld::symbol({0, 0}), '.');
  EXPECT_EQ(WindyGridworld::symbol({6, 9}), '.');
}
