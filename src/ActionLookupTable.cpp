#include "ActionLookupTable.h"

#include <algorithm>
#include <limits>

#include "Allocation.h"
#include "WrapAround.h"

ActionLookupTable::ActionLookupTable(State* aStatePtr)
    : ActionValueFunction(aStatePtr), LookupTable(aStatePtr) {
  // Tables start at zero, whatever constant an earlier value function was given.
  setValue(0.0);
  setInitWeightsFunctionPtr(getValue);
}

ActionLookupTable::ActionLookupTable(const std::string& fileName)
    : ActionValueFunction(nullptr), LookupTable(nullptr) {
  setValue(0.0);
  setInitWeightsFunctionPtr(getValue);
  ActionValueFunction::load(fileName);
}

ActionLookupTable::~ActionLookupTable() = default;

void ActionLookupTable::create() {
  if (ACTIONS < 1) {
    QUARNEL_ERROR("No actions registered! --> Register actions first!");
    return;
  }
  layOut(ACTIONS);
  initWeights(initWeightsFunctionPtr);
}

void ActionLookupTable::initWeights(const double (*initFunctionPtr)()) {
  LookupTable::initWeights(initFunctionPtr);
}

void ActionLookupTable::initEligibilityTraces() { LookupTable::initEligibilityTraces(); }

void ActionLookupTable::updateWeights(double ALPHA, double DELTA) {
  LookupTable::updateWeights(ALPHA, DELTA);
}

void ActionLookupTable::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  LookupTable::updateEligibilityTraces(GAMMA, LAMBDA);
}

const int ActionLookupTable::cellOf(int actionIndex) const {
  return WrapAround::add(activeIndex, actionIndex);
}

void ActionLookupTable::accumulatingTraces(double VALUE) {
  accumulateTrace(cellOf(activeActionIndex), VALUE, QUARNEL_PLACE);
}

void ActionLookupTable::replacingTraces(double VALUE) {
  if (!checkTraces(QUARNEL_PLACE) || activeIndex == -1 || ACTIONS < 1) {
    return;
  }
  if (traceStorage == Types::ARRAY) {
    // Kept on purpose: every action in turn writes the active pair's own cell, so the last action
    // decides.
    const bool lastAction = activeActionIndex == ACTIONS - 1;
    setTrace(cellOf(activeActionIndex), lastAction ? VALUE : 0.0, QUARNEL_PLACE);
    return;
  }
  for (int i = 0; i < ACTIONS; ++i) {
    if (i == activeActionIndex) {
      setTrace(cellOf(i), VALUE, QUARNEL_PLACE);
    } else {
      eTracesMap.erase(cellOf(i));
    }
  }
}

void ActionLookupTable::checkWeightLimit() {
  LookupTable::checkWeightLimit(minWeightLimit, maxWeightLimit);
}

const double ActionLookupTable::getMinWeight() const { return LookupTable::getMinWeight(); }

const double ActionLookupTable::getAvgWeight(bool abs) const {
  return LookupTable::getAvgWeight(abs);
}

const double ActionLookupTable::getMaxWeight() const { return LookupTable::getMaxWeight(); }

void ActionLookupTable::setState() { LookupTable::setState(); }

void ActionLookupTable::storeState() {
  storeActiveIndex(activeActionIndex);
  storeEpisodeState(activeActionIndex);
}

void ActionLookupTable::storeActiveIndex(int actionIndex) {
  storedActiveIndex = activeIndex == -1 ? -1 : cellOf(actionIndex);
}

void ActionLookupTable::storeEpisodeState(int actionIndex) {
  if (activeIndex != -1) {
    rememberCell(cellOf(actionIndex));
  }
}

void ActionLookupTable::initEpisodeStateHistory() { LookupTable::initEpisodeStateHistory(); }

void ActionLookupTable::valueEpisode(double amount) { LookupTable::valueEpisode(amount); }

const int ActionLookupTable::save(FILE* file) const { return LookupTable::save(file); }

const int ActionLookupTable::load(FILE* file) {
  setStatePtr(statePtr);
  return LookupTable::load(file);
}

const bool ActionLookupTable::checkActionIndex(int actionIndex,
                                               const QuarnelUtility::Place& place) const {
  if (actionIndex >= 0 && actionIndex < ACTIONS) {
    return true;
  }
  QUARNEL_ERROR_AT(place,
                   "actionIndex[" << actionIndex << "] out of bounds [ 0, " << ACTIONS << ")");
  return false;
}

const double ActionLookupTable::getActionValue(int actionIndex) const {
  if (!checkWeights(QUARNEL_PLACE)) {
    return std::numeric_limits<double>::max();
  }
  checkActionIndex(actionIndex, QUARNEL_PLACE);
  // A state without a cell looks best to the greedy choice, so it is explored.
  return activeIndex == -1 ? std::numeric_limits<double>::max() : readWeight(cellOf(actionIndex));
}

void ActionLookupTable::setActiveActionValue(int actionIndex, double actionValue) {
  if (!checkWeights(QUARNEL_PLACE)) {
    return;
  }
  checkActionIndex(actionIndex, QUARNEL_PLACE);
  if (activeIndex != -1) {
    writeWeight(cellOf(actionIndex), actionValue);
  }
}

void ActionLookupTable::setActionValue(int actionIndex, double actionValue) {
  if (!checkWeights(QUARNEL_PLACE)) {
    return;
  }
  checkActionIndex(actionIndex, QUARNEL_PLACE);
  if (ACTIONS < 1) {
    writeWeight(actionIndex, actionValue);
    return;
  }
  // Cells below zero do not exist, so the walk starts at the first one that does.
  const long long first =
      actionIndex >= 0 ? actionIndex : (actionIndex % ACTIONS + ACTIONS) % ACTIONS;
  for (long long cell = first; cell < ARRAY_SIZE; cell += ACTIONS) {
    weights[cell] = actionValue;
  }
}

void ActionLookupTable::removeAction(int actionIndex) {
  if (ACTIONS == 1) {
    QUARNEL_ERROR("ACTIONS == 1 --> Can not remove last action!");
    return;
  }
  if (!checkWeights(QUARNEL_PLACE) || !checkActionIndex(actionIndex, QUARNEL_PLACE)) {
    return;
  }
  double* const survivors = copyWeightsWithout(actionIndex);
  if (survivors == nullptr) {
    return;
  }
  // Kept on purpose: a removal leaves place values and a size of zero, so the table counts no cells
  // until create().
  std::fill_n(indexOffset, indexOffsetSize, 0);
  ARRAY_SIZE = 0;
  --ACTIONS;
  delete[] weights;
  weights = survivors;
  if (traceStorage == Types::ARRAY) {
    delete[] eTraces;
    eTraces = nullptr;
  } else if (traceStorage == Types::MAP) {
    clearTraceMap();
  }
  activeIndex = -1;
  storedActiveIndex = -1;
  episodeIndexHistorySet.clear();
}

double* ActionLookupTable::copyWeightsWithout(int actionIndex) const {
  int survivors = 0;
  for (int cell = 0; cell < ARRAY_SIZE; ++cell) {
    survivors += cell % ACTIONS != actionIndex ? 1 : 0;
  }
  double* const copy = Allocation::array<double>(survivors, QUARNEL_PLACE);
  if (copy != nullptr) {
    int next = 0;
    for (int cell = 0; cell < ARRAY_SIZE; ++cell) {
      if (cell % ACTIONS != actionIndex) {
        copy[next] = weights[cell];
        ++next;
      }
    }
  }
  return copy;
}
