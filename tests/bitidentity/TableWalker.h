#ifndef QUARNEL_TESTS_BITIDENTITY_TABLE_WALKER_H
#define QUARNEL_TESTS_BITIDENTITY_TABLE_WALKER_H

#include <quarnel/AbstractAction.h>
#include <quarnel/ActionLookupTable.h>
#include <quarnel/State.h>
#include <quarnel/Watkins.h>

#include <string>

#include "windy_gridworld/WindyGridworld.h"

/// Learns the windy gridworld in a table.
class TableWalker : public Watkins {
 public:
  explicit TableWalker(const std::string& configuration) : Watkins(configuration) {
    ACTION_SELECTION = EPSILON_GREEDY;
    auto* const state = new State;
    rowId = state->registerVariable("row", 0, WindyGridworld::ROWS - 1);
    columnId = state->registerVariable("column", 0, WindyGridworld::COLUMNS - 1);
    auto* const table = new ActionLookupTable(state);
    for (int i = 0; i < Grid::MOVES; ++i) {
      table->registerAction(new AbstractAction);
    }
    table->create();
    avfPtr = table;
  }

  const int save(const std::string& fileName) const { return avfPtr->save(fileName); }

 protected:
  void setInitialState() override {
    world.reset();
    writeState();
  }

  void takeAction() override {
    world.move(static_cast<Grid::MOVE>(avfPtr->getActiveActionIndex()));
  }

  const bool observeState() override {
    writeState();
    return !world.isAtGoal();
  }

  const double calculateReward() override { return world.getReward(); }

  void finishEpisode() override { continueLearning = episodes < EPISODES; }

 private:
  static constexpr int EPISODES = 500;

  void writeState() {
    avfPtr->getStatePtr()->setValueInt(rowId, world.getCell().row);
    avfPtr->getStatePtr()->setValueInt(columnId, world.getCell().column);
  }

  WindyGridworld world;
  unsigned int rowId = 0;
  unsigned int columnId = 0;
};

#endif
