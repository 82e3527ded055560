#include <quarnel/ActionTileCoding.h>
#include <quarnel/Sarsa.h>

#include "product/Agent.h"
#include "product/Readable.h"
#include "workloads/MountainCar.h"
#include "workloads/Workloads.h"

namespace {

/// Sarsa in the mountain car, over a group of tilings.
class CarAgent final : public Agent<Sarsa> {
 public:
  CarAgent(TRACE_TYPE traces, Types::TRACE_STORAGE storage)
      : Agent(MountainCar::PARAMETERS, traces), state(new State) {
    positionId =
        state->registerVariable("position", MountainCar::MIN_POSITION, MountainCar::MAX_POSITION);
    velocityId =
        state->registerVariable("velocity", MountainCar::MIN_VELOCITY, MountainCar::MAX_VELOCITY);
    auto* const tileCoding = new ActionTileCoding(state);
    for (int i = 0; i < MountainCar::ACTIONS; ++i) {
      tileCoding->registerAction(new AbstractAction);
    }
    const int shifts = MountainCar::TILES * MountainCar::TILINGS;
    tilings = new Readable<ActionTilings>(
        MountainCar::TILINGS,
        std::list<Types::TILINGS_VAR_STRUCT>{
            {positionId, (MountainCar::MAX_POSITION - MountainCar::MIN_POSITION) / shifts,
             Types::WRAP},
            {velocityId, (MountainCar::MAX_VELOCITY - MountainCar::MIN_VELOCITY) / shifts,
             Types::WRAP}});
    tileCoding->registerTiling(tilings);
    tileCoding->setTraceStorage(storage);
    avfPtr = tileCoding;
  }

  const std::uint64_t getDigest() const override { return tilings->getDigest(); }

 protected:
  void setInitialState() override {
    car.reset();
    show();
  }

  void takeAction() override { car.step(avfPtr->getActiveActionIndex()); }

  const bool observeState() override {
    show();
    return !car.isAtEnd();
  }

  const double calculateReward() override { return car.getReward(); }

 private:
  void show() {
    state->setValueDbl(positionId, car.getPosition());
    state->setValueDbl(velocityId, car.getVelocity());
  }

  MountainCar car;
  State* state;
  Readable<ActionTilings>* tilings;
  unsigned int positionId;
  unsigned int velocityId;
};

}  // namespace

std::unique_ptr<Training> makeTilesMap() {
  return std::make_unique<CarAgent>(REPLACING, Types::MAP);
}

std::unique_ptr<Training> makeTiles() { return std::make_unique<CarAgent>(NONE, Types::MAP); }

std::unique_ptr<Training> makeTilesArray() {
  return std::make_unique<CarAgent>(REPLACING, Types::ARRAY);
}
