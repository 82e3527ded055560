#include "ActionTileCoding.h"

#include <new>

#include "Allocation.h"

namespace {

// registerTiling() and load() let in no other groups.
ActionTilings* group(Tilings* tilings) { return static_cast<ActionTilings*>(tilings); }

const ActionTilings* group(const Tilings* tilings) {
  return static_cast<const ActionTilings*>(tilings);
}

}  // namespace

ActionTileCoding::ActionTileCoding(State* aStatePtr) : ActionValueFunction(aStatePtr) {
  // Values start at zero, whatever constant an earlier value function was given.
  setValue(0.0);
  setInitWeightsFunctionPtr(getValue);
}

ActionTileCoding::ActionTileCoding(const std::string& fileName) : ActionValueFunction(nullptr) {
  ActionValueFunction::load(fileName);
}

ActionTileCoding::~ActionTileCoding() = default;

void ActionTileCoding::registerTiling(ActionTilings* actionTilingPtr) {
  if (!checkNew(actionTilingPtr, QUARNEL_PLACE)) {
    return;
  }
  actionTilingPtr->create(statePtr, ACTIONS);
  actionTilingPtr->initWeights(initWeightsFunctionPtr);
  append(actionTilingPtr);
}

void ActionTileCoding::initWeights(const double (*initFunctionPtr)()) {
  TileCoding::initWeights(initFunctionPtr);
}

void ActionTileCoding::initEligibilityTraces() { TileCoding::initEligibilityTraces(); }

void ActionTileCoding::updateWeights(double ALPHA, double DELTA) {
  TileCoding::updateWeights(ALPHA, DELTA);
}

void ActionTileCoding::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  TileCoding::updateEligibilityTraces(GAMMA, LAMBDA);
}

void ActionTileCoding::accumulatingTraces(double VALUE) {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->accumulatingTraces(VALUE, activeActionIndex);
  }
  recordVisit();
}

void ActionTileCoding::replacingTraces(double VALUE) {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->replacingTraces(VALUE, activeActionIndex);
  }
  recordVisit();
}

void ActionTileCoding::recordVisit() {
  if (!episodeStateHistory) {
    return;
  }
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->storeEpisodeState(activeActionIndex);
  }
}

void ActionTileCoding::checkWeightLimit() { clampWeights(minWeightLimit, maxWeightLimit); }

const double ActionTileCoding::getMinWeight() const { return TileCoding::getMinWeight(); }

const double ActionTileCoding::getAvgWeight(bool abs) const {
  return TileCoding::getAvgWeight(abs);
}

const double ActionTileCoding::getMaxWeight() const { return TileCoding::getMaxWeight(); }

void ActionTileCoding::setState() { TileCoding::setState(); }

void ActionTileCoding::storeState() {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->storeActiveTiles(activeActionIndex);
  }
  recordVisit();
}

void ActionTileCoding::initEpisodeStateHistory() { TileCoding::initEpisodeStateHistory(); }

void ActionTileCoding::valueEpisode(double amount) { TileCoding::valueEpisode(amount); }

const int ActionTileCoding::save(FILE* file) const { return TileCoding::save(file); }

const int ActionTileCoding::load(FILE* file) {
  freeMemory();
  int count = 0;
  if (!loadGroupCount(file, count, QUARNEL_PLACE)) {
    return -1;
  }
  for (int i = 0; i < count; ++i) {
    if (!groupFollows(file, i, QUARNEL_PLACE)) {
      return -1;
    }
    ActionTilings* const tilings = new (std::nothrow) ActionTilings(statePtr, ACTIONS, file);
    if (tilings == nullptr) {
      Allocation::reportFailure<ActionTilings>(1, QUARNEL_PLACE);
      return -1;
    }
    append(tilings);
  }
  return 0;
}

const double ActionTileCoding::getActionValue(int actionIndex) const {
  double sum = 0.0;
  for (const Tilings* const tilings : tilingPtrList) {
    sum += group(tilings)->getActionValue(actionIndex);
  }
  return sum;
}

void ActionTileCoding::setActionValue(int actionIndex, double actionValue) {
  for (Tilings* const tilings : tilingPtrList) {
    group(tilings)->setActionValue(actionIndex, actionValue);
  }
}

void ActionTileCoding::removeAction(int actionIndex) {
  for (Tilings* const tilings : tilingPtrList) {
    if (!group(tilings)->removeAction(actionIndex)) {
      QUARNEL_ERROR("Action could not be removed!");
    }
  }
}
