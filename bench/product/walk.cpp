#include "workloads/Walk.h"

#include <quarnel/StateLookupTable.h>
#include <quarnel/TD.h>

#include "product/Agent.h"
#include "product/Readable.h"
#include "workloads/DriftingWalk.h"
#include "workloads/Workloads.h"

namespace {

/// Builds the state of a walk, which has to be complete before the table.
template <typename World>
State* makeState() {
  auto* const state = new State;
  // The two ends are positions too.
  state->registerVariable("position", 0, World::STATES + 1);
  return state;
}

/// TD on a walk, over a table.
template <typename World>
class WalkAgent final : public Agent<TD> {
 public:
  explicit WalkAgent(TRACE_TYPE traces)
      : Agent(World::PARAMETERS, traces),
        state(makeState<World>()),
        table(new Readable<StateLookupTable>(state)) {
    svfPtr = table;
  }

  const std::uint64_t getDigest() const override { return table->getDigest(); }

 protected:
  void setInitialState() override {
    world.reset();
    show();
  }

  void takeAction() override { world.step(); }

  const bool observeState() override {
    show();
    return !world.isAtEnd();
  }

  const double calculateReward() override { return world.getReward(); }

 private:
  void show() { state->setValueInt(0, world.getPosition()); }

  World world;
  State* state;
  Readable<StateLookupTable>* table;
};

}  // namespace

std::unique_ptr<Training> makeWalkMap() { return std::make_unique<WalkAgent<Walk>>(ACCUMULATING); }

std::unique_ptr<Training> makeLongWalkMap() {
  return std::make_unique<WalkAgent<DriftingWalk>>(REPLACING);
}
