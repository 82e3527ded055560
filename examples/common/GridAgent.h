#ifndef QUARNEL_EXAMPLES_GRID_AGENT_H
#define QUARNEL_EXAMPLES_GRID_AGENT_H

#include <quarnel/AbstractAction.h>
#include <quarnel/ActionLookupTable.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "common/Grid.h"
#include "common/GridPath.h"
#include "common/Options.h"
#include "common/ReportingAgent.h"
#include "common/ValueFile.h"

/// A move as an action of the library.
class MoveAction : public AbstractAction {
 public:
  explicit MoveAction(Grid::MOVE newMove) : move(newMove) {}

  const Grid::MOVE move;
};

/// An agent that learns its way through a grid world. It sees its row and column and chooses among
/// four moves.
///
/// @tparam Learner `Watkins` or `Sarsa`.
/// @tparam World a grid world such as `WindyGridworld`.
template <class Learner, class World>
class GridAgent : public ReportingAgent<Learner> {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param seed seed of the random numbers.
  GridAgent(const Options& newOptions, unsigned int seed) : ReportingAgent<Learner>(newOptions) {
    State* const state = new State;
    rowId = state->registerVariable("row", 0, World::ROWS - 1);
    columnId = state->registerVariable("column", 0, World::COLUMNS - 1);
    ActionLookupTable* const table = new ActionLookupTable(state);
    for (int i = 0; i < Grid::MOVES; ++i) {
      table->registerAction(new MoveAction(static_cast<Grid::MOVE>(i)));
    }
    table->create();
    avfPtr = table;
    // The learner's constructor has seeded the generator with 1.
    std::srand(seed);
  }

  /// Saves what has been learnt. @return false after a message on standard error.
  const bool save(const std::string& fileName) const { return saveValues(*avfPtr, fileName); }

  /// Replaces what has been learnt. @return false after a message on standard error; the agent is
  /// then not to be used.
  const bool load(const std::string& fileName) {
    if (!loadValues(*avfPtr, fileName)) {
      return false;
    }
    if (avfPtr->getNumberOfActions() != Grid::MOVES) {
      std::cerr << "'" << fileName << "' holds the values of other actions" << std::endl;
      return false;
    }
    // A file holds values, not actions.
    for (int i = 0; i < Grid::MOVES; ++i) {
      avfPtr->setAction(i, new MoveAction(static_cast<Grid::MOVE>(i)));
    }
    return true;
  }

  /// Walks from the start by the best move of every cell, the first of several, and learns nothing.
  ///
  /// @return the walk; it is broken off where it goes in circles.
  GridPath walkGreedily() {
    GridPath path;
    World walk;
    // Each cell has one best move, so a walk of more steps than cells has come round in a circle.
    const std::size_t cells = World::ROWS * World::COLUMNS;
    while (!walk.isAtGoal() && path.steps.size() < cells) {
      const Grid::MOVE move = bestMove(walk.getCell());
      path.steps.push_back({walk.getCell(), move});
      walk.move(move);
    }
    path.arrived = walk.isAtGoal();
    return path;
  }

 protected:
  void setInitialState() override {
    world.reset();
    show(world.getCell());
  }

  void takeAction() override {
    world.move(static_cast<const MoveAction*>(avfPtr->getActiveAction())->move);
  }

  const bool observeState() override {
    show(world.getCell());
    return !world.isAtGoal();
  }

  const double calculateReward() override { return this->earn(world.getReward()); }

 private:
  // A template has to name what it uses of its base.
  using Learner::avfPtr;

  void show(const Grid::Cell& cell) {
    avfPtr->getStatePtr()->setValueInt(rowId, cell.row);
    avfPtr->getStatePtr()->setValueInt(columnId, cell.column);
  }

  const Grid::MOVE bestMove(const Grid::Cell& cell) {
    show(cell);
    avfPtr->setState();
    int best = 0;
    for (int i = 1; i < Grid::MOVES; ++i) {
      if (avfPtr->getActionValue(i) > avfPtr->getActionValue(best)) {
        best = i;
      }
    }
    return static_cast<Grid::MOVE>(best);
  }

  World world;
  unsigned int rowId;
  unsigned int columnId;
};

#endif
