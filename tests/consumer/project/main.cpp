// A corridor of five cells; the way out is on the right.

#include <quarnel/ActionLookupTable.h>
#include <quarnel/Watkins.h>

#include <algorithm>

namespace {

constexpr int LAST_CELL = 4;
constexpr int LEFT = 0;
constexpr int RIGHT = 1;

class Corridor : public Watkins {
 public:
  Corridor() : Watkins("consumer.conf") {
    auto* const state = new State;
    cellId = state->registerVariable("cell", 0, LAST_CELL);
    auto* const table = new ActionLookupTable(state);
    table->registerAction(new AbstractAction);
    table->registerAction(new AbstractAction);
    table->create();
    avfPtr = table;
  }

  // Whether it has learnt to go right in the first cell.
  bool learn() {
    controlLoop();
    setInitialState();
    avfPtr->setState();
    return avfPtr->getActionValue(RIGHT) > avfPtr->getActionValue(LEFT);
  }

 protected:
  void setInitialState() override { enter(0); }
  void takeAction() override {
    enter(std::max(0, cell + (avfPtr->getActiveActionIndex() == RIGHT ? 1 : -1)));
  }
  const bool observeState() override { return cell != LAST_CELL; }
  const double calculateReward() override { return -1.0; }
  void finishEpisode() override { continueLearning = episodes < 100; }

 private:
  void enter(int newCell) {
    cell = newCell;
    avfPtr->getStatePtr()->setValueInt(cellId, cell);
  }

  unsigned int cellId = 0;
  int cell = 0;
};

}  // namespace

int main() { return Corridor().learn() ? 0 : 1; }
