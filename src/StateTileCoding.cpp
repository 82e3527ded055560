#include "StateTileCoding.h"

#include <new>

#include "Allocation.h"

namespace {

// registerTiling() and load() let in no other groups.
StateTilings* group(Tilings* tilings) { return static_cast<StateTilings*>(tilings); }

const StateTilings* group(const Tilings* tilings) {
  return static_cast<const StateTilings*>(tilings);
}

}  // namespace

StateTileCoding::StateTileCoding(State* aStatePtr) : StateValueFunction(aStatePtr) {
  // Values start at zero, whatever constant an earlier value function was given.
  setValue(0.0);
  setInitWeightsFunctionPtr(getValue);
}

StateTileCoding::StateTileCoding(const std::string& fileName) : StateValueFunction(nullptr) {
  StateValueFunction::load(fileName);
}

StateTileCoding::~StateTileCoding() = default;

void StateTileCoding::registerTiling(StateTilings* stateTilingPtr) {
  if (!checkNew(stateTilingPtr, QUARNEL_PLACE)) {
    return;
  }
  stateTilingPtr->create(statePtr);
  stateTilingPtr->initWeights(initWeightsFunctionPtr);
  append(stateTilingPtr);
}

void StateTileCoding::initWeights(const double (*initFunctionPtr)()) {
  TileCoding::initWeights(initFunctionPtr);
}

void StateTileCoding::initEligibilityTraces() { TileCoding::initEligibilityTraces(); }

void StateTileCoding::updateWeights(double ALPHA, double DELTA) {
  TileCoding::updateWeights(ALPHA, DELTA);
}

void StateTileCoding::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  TileCoding::updateEligibilityTraces(GAMMA, LAMBDA);
}

void StateTileCoding::accumulatingTraces(double VALUE) {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->accumulatingTraces(VALUE);
  }
  recordVisit();
}

void StateTileCoding::replacingTraces(double VALUE) {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->replacingTraces(VALUE);
  }
  recordVisit();
}

void StateTileCoding::recordVisit() {
  if (!episodeStateHistory) {
    return;
  }
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->storeEpisodeState();
  }
}

void StateTileCoding::checkWeightLimit() { clampWeights(minWeightLimit, maxWeightLimit); }

const double StateTileCoding::getMinWeight() const { return TileCoding::getMinWeight(); }

const double StateTileCoding::getAvgWeight(bool abs) const { return TileCoding::getAvgWeight(abs); }

const double StateTileCoding::getMaxWeight() const { return TileCoding::getMaxWeight(); }

void StateTileCoding::setState() { TileCoding::setState(); }

void StateTileCoding::storeState() {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->storeActiveTiles();
  }
  recordVisit();
}

void StateTileCoding::initEpisodeStateHistory() { TileCoding::initEpisodeStateHistory(); }

void StateTileCoding::valueEpisode(double amount) { TileCoding::valueEpisode(amount); }

const int StateTileCoding::save(FILE* file) const { return TileCoding::save(file); }

const int StateTileCoding::load(FILE* file) {
  freeMemory();
  int count = 0;
  if (!loadGroupCount(file, count, QUARNEL_PLACE)) {
    return -1;
  }
  for (int i = 0; i < count; ++i) {
    if (!groupFollows(file, i, QUARNEL_PLACE)) {
      return -1;
    }
    StateTilings* const tilings = new (std::nothrow) StateTilings(statePtr, file);
    if (tilings == nullptr) {
      Allocation::reportFailure<StateTilings>(1, QUARNEL_PLACE);
      return -1;
    }
    append(tilings);
  }
  return 0;
}

const double StateTileCoding::getStateValue() const {
  double sum = 0.0;
  for (const Tilings* const tilings : tilingPtrList) {
    sum += group(tilings)->getStateValue();
  }
  return sum;
}
