// Learns the windy gridworld and saves the values to the file that the argument names. The program
// is compiled in several ways, which must all write the same bytes.

#include <quarnel/AbstractAction.h>
#include <quarnel/ActionLookupTable.h>
#include <quarnel/State.h>
#include <quarnel/Watkins.h>

#include <cstdio>
#include <string>

#include "windy_gridworld/WindyGridworld.h"

namespace {

constexpr int EPISODES = 500;

class Walker : public Watkins {
 public:
  explicit Walker(const std::string& configuration) : Watkins(configuration) {
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
  void writeState() {
    avfPtr->getStatePtr()->setValueInt(rowId, world.getCell().row);
    avfPtr->getStatePtr()->setValueInt(columnId, world.getCell().column);
  }

  WindyGridworld world;
  unsigned int rowId = 0;
  unsigned int columnId = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: train VALUE_FILE\n", stderr);
    return 2;
  }
  const std::string valueFile = argv[1];
  Walker learner(valueFile + ".conf");
  learner.controlLoop();
  return learner.save(valueFile) == 0 ? 0 : 1;
}
