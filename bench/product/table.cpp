#include <quarnel/ActionLookupTable.h>
#include <quarnel/Sarsa.h>

#include "product/Agent.h"
#include "product/Readable.h"
#include "workloads/Grid.h"
#include "workloads/Workloads.h"

namespace {

/// Sarsa in the grid, over a table.
class GridAgent final : public Agent<Sarsa> {
 public:
  GridAgent(TRACE_TYPE traces, Types::TRACE_STORAGE storage)
      : Agent(Grid::PARAMETERS, traces),
        state(new State),
        table(new Readable<ActionLookupTable>(state)) {
    xId = state->registerVariable("x", 0, Grid::SIZE - 1);
    yId = state->registerVariable("y", 0, Grid::SIZE - 1);
    for (int i = 0; i < Grid::ACTIONS; ++i) {
      table->registerAction(new AbstractAction);
    }
    table->create();
    table->setTraceStorage(storage);
    table->setEpisodeStateHistory(traces == NONE);
    avfPtr = table;
  }

  const std::uint64_t getDigest() const override { return table->getDigest(); }

 protected:
  void setInitialState() override {
    grid.reset();
    show();
  }

  void takeAction() override { grid.step(table->getActiveActionIndex()); }

  const bool observeState() override {
    show();
    return !grid.isAtEnd();
  }

  const double calculateReward() override { return grid.getReward(); }

 private:
  void show() {
    state->setValueInt(xId, grid.getX());
    state->setValueInt(yId, grid.getY());
  }

  Grid grid;
  State* state;
  Readable<ActionLookupTable>* table;
  unsigned int xId;
  unsigned int yId;
};

}  // namespace

std::unique_ptr<Training> makeTableMap() {
  return std::make_unique<GridAgent>(REPLACING, Types::MAP);
}

std::unique_ptr<Training> makeTable() { return std::make_unique<GridAgent>(NONE, Types::MAP); }

std::unique_ptr<Training> makeTableArray() {
  return std::make_unique<GridAgent>(REPLACING, Types::ARRAY);
}
