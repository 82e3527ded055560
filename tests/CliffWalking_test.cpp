#include "cliff_walking/CliffWalking.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace {

using CellKey = std::pair<int, int>;

const std::vector<Grid::MOVE> ALL_MOVES = {Grid::UP, Grid::RIGHT, Grid::DOWN, Grid::LEFT};

CellKey keyOf(const CliffWalking& world) { return {world.getCell().row, world.getCell().column}; }

// Every cell that can be reached, the world with the walker there, and the length of the way.
struct Reached {
  CliffWalking world;
  int distance;
};

std::map<CellKey, Reached> searchFromStart() {
  CliffWalking start;
  std::map<CellKey, Reached> reached = {{keyOf(start), {start, 0}}};
  std::deque<CellKey> frontier = {keyOf(start)};
  while (!frontier.empty()) {
    const Reached from = reached.at(frontier.front());
    frontier.pop_front();
    for (const Grid::MOVE move : ALL_MOVES) {
      CliffWalking next = from.world;
      next.move(move);
      if (reached.insert({keyOf(next), {next, from.distance + 1}}).second) {
        frontier.push_back(keyOf(next));
      }
    }
  }
  return reached;
}

CliffWalking at(int row, int column) { return searchFromStart().at({row, column}).world; }

CellKey cellAfter(CliffWalking world, Grid::MOVE move) {
  world.move(move);
  return keyOf(world);
}

double rewardAfter(CliffWalking world, Grid::MOVE move) {
  world.move(move);
  return world.getReward();
}

}  // namespace

TEST(CliffWalking, HasFourRowsAndTwelveColumns) {
  EXPECT_EQ(CliffWalking::ROWS, 4);
  EXPECT_EQ(CliffWalking::COLUMNS, 12);
}

TEST(CliffWalking, StartsInTheBottomLeftCorner) {
  EXPECT_EQ(keyOf(CliffWalking()), CellKey(3, 0));
  EXPECT_EQ(CliffWalking().getReward(), 0.0);
}

TEST(CliffWalking, ResetPutsTheWalkerBackToTheStartWithoutAReward) {
  CliffWalking world = at(2, 5);
  world.reset();
  EXPECT_EQ(keyOf(world), CellKey(3, 0));
  EXPECT_EQ(world.getReward(), 0.0);
}

TEST(CliffWalking, MovesByOneCell) {
  const CliffWalking world = at(1, 5);
  EXPECT_EQ(cellAfter(world, Grid::UP), CellKey(0, 5));
  EXPECT_EQ(cellAfter(world, Grid::RIGHT), CellKey(1, 6));
  EXPECT_EQ(cellAfter(world, Grid::DOWN), CellKey(2, 5));
  EXPECT_EQ(cellAfter(world, Grid::LEFT), CellKey(1, 4));
}

TEST(CliffWalking, EveryStepOnTheGroundCostsOne) {
  for (const auto& [cell, reached] : searchFromStart()) {
    for (const Grid::MOVE move : ALL_MOVES) {
      const bool offTheCliff =
          (cell.first == 2 && move == Grid::DOWN && cell.second >= 1 && cell.second <= 10) ||
          (cell == CellKey(3, 0) && move == Grid::RIGHT) ||
          (cell == CellKey(3, 11) && move == Grid::LEFT);
      EXPECT_EQ(rewardAfter(reached.world, move), offTheCliff ? -100.0 : -1.0)
          << "move " << move << " from " << cell.first << ", " << cell.second;
    }
  }
}

TEST(CliffWalking, AStepOffEveryCellOfTheCliffsEdgeEndsAtTheStart) {
  for (int column = 1; column <= 10; ++column) {
    EXPECT_EQ(cellAfter(at(2, column), Grid::DOWN), CellKey(3, 0)) << "column " << column;
  }
  EXPECT_EQ(cellAfter(at(3, 0), Grid::RIGHT), CellKey(3, 0));
}

TEST(CliffWalking, AStepOffTheCliffIsNotTheEnd) {
  CliffWalking world;
  world.move(Grid::RIGHT);
  EXPECT_FALSE(world.isAtGoal());
}

TEST(CliffWalking, TheRewardIsThatOfTheLastStepOnly) {
  CliffWalking world;
  world.move(Grid::RIGHT);
  ASSERT_EQ(world.getReward(), -100.0);
  world.move(Grid::UP);
  EXPECT_EQ(world.getReward(), -1.0);
}

TEST(CliffWalking, TheTopEdgeHoldsTheWalkerBack) {
  for (int column = 0; column < 12; ++column) {
    EXPECT_EQ(cellAfter(at(0, column), Grid::UP), CellKey(0, column));
  }
}

TEST(CliffWalking, TheBottomEdgeHoldsTheWalkerBack) {
  EXPECT_EQ(cellAfter(at(3, 0), Grid::DOWN), CellKey(3, 0));
  EXPECT_EQ(rewardAfter(at(3, 0), Grid::DOWN), -1.0);
  EXPECT_EQ(cellAfter(at(3, 11), Grid::DOWN), CellKey(3, 11));
}

TEST(CliffWalking, TheLeftEdgeHoldsTheWalkerBack) {
  for (int row = 0; row < 4; ++row) {
    EXPECT_EQ(cellAfter(at(row, 0), Grid::LEFT), CellKey(row, 0));
  }
}

TEST(CliffWalking, TheRightEdgeHoldsTheWalkerBack) {
  for (int row = 0; row < 4; ++row) {
    EXPECT_EQ(cellAfter(at(row, 11), Grid::RIGHT), CellKey(row, 11));
  }
}

TEST(CliffWalking, EveryMoveFromEveryCellGoesWhereTheRulesSay) {
  const std::map<Grid::MOVE, CellKey> shift = {
      {Grid::UP, {-1, 0}}, {Grid::RIGHT, {0, 1}}, {Grid::DOWN, {1, 0}}, {Grid::LEFT, {0, -1}}};
  const std::map<CellKey, Reached> cells = searchFromStart();
  // All but the ten cells of the cliff.
  EXPECT_EQ(cells.size(), 38u);
  for (const auto& [cell, reached] : cells) {
    for (const Grid::MOVE move : ALL_MOVES) {
      int row = cell.first + shift.at(move).first;
      row = row < 0 ? 0 : row > 3 ? 3 : row;
      int column = cell.second + shift.at(move).second;
      column = column < 0 ? 0 : column > 11 ? 11 : column;
      if (row == 3 && column >= 1 && column <= 10) {
        column = 0;
      }
      EXPECT_EQ(cellAfter(reached.world, move), CellKey(row, column))
          << "move " << move << " from " << cell.first << ", " << cell.second;
    }
  }
}

TEST(CliffWalking, OnlyTheBottomRowBetweenStartAndGoalIsTheCliff) {
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 12; ++column) {
      EXPECT_EQ(CliffWalking::isCliff({row, column}), row == 3 && column >= 1 && column <= 10)
          << row << ", " << column;
    }
  }
}

TEST(CliffWalking, OnlyTheBottomRightCornerIsTheGoal) {
  for (const auto& [cell, reached] : searchFromStart()) {
    EXPECT_EQ(reached.world.isAtGoal(), cell == CellKey(3, 11));
  }
}

TEST(CliffWalking, NoWayToTheGoalIsShorterThanThirteenSteps) {
  EXPECT_EQ(searchFromStart().at({3, 11}).distance, 13);
  EXPECT_EQ(CliffWalking::OPTIMUM, 13);
}

TEST(CliffWalking, APictureShowsStartGoalAndCliff) {
  EXPECT_EQ(CliffWalking::symbol({3, 0}), 'S');
  EXPECT_EQ(CliffWalking::symbol({3, 11}), 'G');
  EXPECT_EQ(CliffWalking::symbol({3, 1}), 'C');
  EXPECT_EQ(CliffWalking::symbol({3, 10}), 'C');
  EXPECT_EQ(CliffWalking::symbol({2, 5}), '.');
}
