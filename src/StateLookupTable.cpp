#include "StateLookupTable.h"

#include <limits>

StateLookupTable::StateLookupTable(State* state) : StateValueFunction(state), LookupTable(state) {
  // Tables start at zero, whatever constant an earlier value function was given.
  setValue(0.0);
  setInitWeightsFunctionPtr(getValue);
  layOut(1);
  LookupTable::initWeights(initWeightsFunctionPtr);
}

StateLookupTable::StateLookupTable(const std::string& fileName)
    : StateValueFunction(nullptr), LookupTable(nullptr) {
  setValue(0.0);
  setInitWeightsFunctionPtr(getValue);
  StateValueFunction::load(fileName);
}

StateLookupTable::~StateLookupTable() = default;

void StateLookupTable::initWeights(const double (*initFunctionPtr)()) {
  LookupTable::initWeights(initFunctionPtr);
}

void StateLookupTable::initEligibilityTraces() { LookupTable::initEligibilityTraces(); }

void StateLookupTable::updateWeights(double ALPHA, double DELTA) {
  LookupTable::updateWeights(ALPHA, DELTA);
}

void StateLookupTable::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  LookupTable::updateEligibilityTraces(GAMMA, LAMBDA);
}

void StateLookupTable::accumulatingTraces(double VALUE) {
  accumulateTrace(activeIndex, VALUE, QUARNEL_PLACE);
}

void StateLookupTable::replacingTraces(double VALUE) {
  if (checkTraces(QUARNEL_PLACE) && activeIndex != -1) {
    setTrace(activeIndex, VALUE, QUARNEL_PLACE);
  }
}

void StateLookupTable::checkWeightLimit() {
  LookupTable::checkWeightLimit(minWeightLimit, maxWeightLimit);
}

const double StateLookupTable::getMinWeight() const { return LookupTable::getMinWeight(); }

const double StateLookupTable::getAvgWeight(bool abs) const {
  return LookupTable::getAvgWeight(abs);
}

const double StateLookupTable::getMaxWeight() const { return LookupTable::getMaxWeight(); }

void StateLookupTable::setState() { LookupTable::setState(); }

void StateLookupTable::storeState() {
  storeActiveIndex();
  storeEpisodeState();
}

void StateLookupTable::initEpisodeStateHistory() { LookupTable::initEpisodeStateHistory(); }

void StateLookupTable::valueEpisode(double amount) { LookupTable::valueEpisode(amount); }

const int StateLookupTable::save(FILE* file) const { return LookupTable::save(file); }

const int StateLookupTable::load(FILE* file) {
  setStatePtr(statePtr);
  return LookupTable::load(file);
}

const double StateLookupTable::getStateValue() const {
  return checkWeights(QUARNEL_PLACE) ? readWeight(activeIndex) : std::numeric_limits<double>::max();
}

void StateLookupTable::storeActiveIndex() { storedActiveIndex = activeIndex; }

void StateLookupTable::storeEpisodeState() {
  if (activeIndex != -1) {
    rememberCell(activeIndex);
  }
}
