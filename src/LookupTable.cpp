#include "LookupTable.h"

#include <algorithm>

#include "Allocation.h"
#include "BinaryFile.h"
#include "WeightArray.h"
#include "WrapAround.h"

namespace {

const char* const NOTHING_TO_UPDATE =
    " or call initEligibilityTraces or storeState before calling updateWeights!";
const char* const NO_STATE = "statePtr == 0";

}  // namespace

LookupTable::LookupTable(State* state)
    : traceStorage(Types::MAP),
      ARRAY_SIZE(0),
      weights(nullptr),
      eTraces(nullptr),
      indexOffset(nullptr),
      activeIndex(-1),
      storedActiveIndex(-1),
      statePtr(state),
      indexOffsetSize(0) {}

LookupTable::~LookupTable() { LookupTable::freeMemory(); }

const unsigned int LookupTable::numberOfVariables() const {
  return statePtr != nullptr ? statePtr->getNumberOfVariables() : 0;
}

const int LookupTable::placeValue(unsigned int variable) const {
  return variable < indexOffsetSize ? indexOffset[variable] : 0;
}

void LookupTable::calculateActiveIndex() {
  if (statePtr == nullptr) {
    QUARNEL_ERROR(NO_STATE);
    activeIndex = -1;
    return;
  }
  activeIndex = 0;
  for (unsigned int i = 0; i < numberOfVariables(); ++i) {
    const int distance =
        WrapAround::subtract(statePtr->getValueInt(i), statePtr->getMinValueInt(i));
    activeIndex = WrapAround::add(activeIndex, WrapAround::multiply(distance, placeValue(i)));
  }
  if (!isCell(activeIndex)) {
    QUARNEL_ERROR("index (" << activeIndex << ") out ouf bounds --> [0, " << ARRAY_SIZE << ")");
    activeIndex = -1;
  }
}

void LookupTable::setState() { calculateActiveIndex(); }

void LookupTable::initWeights(const double (*initFunctionPtr)()) {
  WeightArray::initialise(weights, ARRAY_SIZE, initFunctionPtr, QUARNEL_PLACE);
}

void LookupTable::initEligibilityTraces() {
  if (traceStorage == Types::ARRAY && eTraces == nullptr) {
    eTraces = allocateMemoryWeights();
  }
  WeightArray::clearTraces(traceStorage, eTraces, ARRAY_SIZE, eTracesMap, QUARNEL_PLACE);
}

void LookupTable::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  WeightArray::decayTraces(traceStorage, eTraces, ARRAY_SIZE, eTracesMap, LAMBDA * GAMMA,
                           QUARNEL_PLACE);
}

void LookupTable::updateWeights(double ALPHA, double DELTA) {
  if (!checkWeights(QUARNEL_PLACE)) {
    return;
  }
  const double step = DELTA * ALPHA;
  switch (traceStorage) {
    case Types::ARRAY:
      if (eTraces != nullptr) {
        WeightArray::addTraces(weights, ARRAY_SIZE, eTraces, step);
      } else if (storedActiveIndex != -1) {
        WeightArray::add(weights, ARRAY_SIZE, storedActiveIndex, step);
      } else {
        QUARNEL_ERROR("traceStorage == ARRAY and eTraces == 0 and storedActiveIndex == -1"
                      << " --> Set traceStorage to MAP" << NOTHING_TO_UPDATE);
      }
      break;
    case Types::MAP:
      if (!eTracesMap.empty()) {
        WeightArray::addTraces(weights, ARRAY_SIZE, eTracesMap, step);
      } else if (storedActiveIndex != -1) {
        WeightArray::add(weights, ARRAY_SIZE, storedActiveIndex, step);
      } else {
        QUARNEL_ERROR("traceStorage == MAP and eTracesMap == empty and storedActiveIndex == -1"
                      << " --> Set traceStorage to ARRAY" << NOTHING_TO_UPDATE);
      }
      break;
    default:
      QUARNEL_ERROR("Unknown traceStorage = " << traceStorage);
  }
}

void LookupTable::checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) {
  if (checkWeights(QUARNEL_PLACE)) {
    WeightArray::clamp(weights, ARRAY_SIZE, MIN_WEIGHT, MAX_WEIGHT);
  }
}

const double LookupTable::getMinWeight() const {
  return WeightArray::minimum(weights, checkWeights(QUARNEL_PLACE) ? ARRAY_SIZE : 0);
}

const double LookupTable::getAvgWeight(bool abs) const {
  return checkWeights(QUARNEL_PLACE) ? WeightArray::sum(weights, ARRAY_SIZE, abs) / ARRAY_SIZE
                                     : 0.0;
}

const double LookupTable::getMaxWeight() const {
  return WeightArray::maximum(weights, checkWeights(QUARNEL_PLACE) ? ARRAY_SIZE : 0);
}

void LookupTable::initEpisodeStateHistory() { episodeIndexHistorySet.clear(); }

void LookupTable::valueEpisode(double amount) {
  WeightArray::valueEpisode(weights, ARRAY_SIZE, episodeIndexHistorySet, amount, QUARNEL_PLACE);
}

void LookupTable::rememberCell(int index) {
  WeightArray::remember(episodeIndexHistorySet, index, QUARNEL_PLACE);
}

const bool LookupTable::checkWeights(const QuarnelUtility::Place& place) const {
  return WeightArray::check(weights, place);
}

const bool LookupTable::checkTraces(const QuarnelUtility::Place& place) const {
  return WeightArray::checkTraces(traceStorage, eTraces, place);
}

void LookupTable::setTrace(int index, double VALUE, const QuarnelUtility::Place& place) {
  if (traceStorage == Types::MAP) {
    WeightArray::setTrace(eTracesMap, index, VALUE, place);
  } else if (eTraces != nullptr && isCell(index)) {
    eTraces[index] = VALUE;
  }
}

void LookupTable::accumulateTrace(int index, double VALUE, const QuarnelUtility::Place& place) {
  if (!checkTraces(place) || activeIndex == -1) {
    return;
  }
  if (traceStorage == Types::MAP) {
    WeightArray::addToTrace(eTracesMap, index, VALUE, place);
  } else {
    WeightArray::add(eTraces, ARRAY_SIZE, index, VALUE);
  }
}

void LookupTable::layOut(int cellsPerState) {
  freeMemory();
  ARRAY_SIZE = 0;
  LookupTable::allocateMemory();
  if (indexOffset == nullptr) {
    return;
  }
  long long cells = cellsPerState;
  for (unsigned int i = 0; i < indexOffsetSize; ++i) {
    indexOffset[i] = WrapAround::multiply(cellsBehind(i), cellsPerState);
  }
  for (unsigned int i = 0; i < indexOffsetSize; ++i) {
    const long long max = statePtr->getMaxValueInt(i);
    const long long min = statePtr->getMinValueInt(i);
    cells = WrapAround::multiplySaturated(cells, max - min + 1);
  }
  // The place values above wrap around; a table that would not hold every combination is refused.
  if (!Allocation::isCount(cells)) {
    Allocation::reportFailure<double>(cells, QUARNEL_PLACE);
    return;
  }
  ARRAY_SIZE = static_cast<int>(cells);
  weights = allocateMemoryWeights();
  if (weights != nullptr) {
    // Even an initialiser that sets nothing leaves numbers.
    std::fill_n(weights, ARRAY_SIZE, 0.0);
  }
}

const int LookupTable::cellsBehind(unsigned int variable) const {
  int cells = 1;
  for (unsigned int j = variable + 1; j < indexOffsetSize; ++j) {
    const int max = statePtr->getMaxValueInt(j);
    const int min = statePtr->getMinValueInt(j);
    cells = WrapAround::add(cells, WrapAround::multiply(WrapAround::subtract(max, min), cells));
  }
  return cells;
}

void LookupTable::allocateMemory() {
  if (statePtr == nullptr) {
    QUARNEL_ERROR(NO_STATE);
    return;
  }
  const unsigned int variables = numberOfVariables();
  indexOffset = Allocation::zeroes<int>(variables, QUARNEL_PLACE);
  indexOffsetSize = indexOffset != nullptr ? variables : 0;
}

double* LookupTable::allocateMemoryWeights() {
  return Allocation::array<double>(ARRAY_SIZE, QUARNEL_PLACE);
}

void LookupTable::freeMemory() {
  delete[] indexOffset;
  indexOffset = nullptr;
  indexOffsetSize = 0;
  delete[] weights;
  weights = nullptr;
  delete[] eTraces;
  eTraces = nullptr;
}

const int LookupTable::save(FILE* file) const {
  if (!BinaryFile::write(file, traceStorage, QUARNEL_PLACE) ||
      !savePlaceValues(file, QUARNEL_PLACE) ||
      !BinaryFile::write(file, ARRAY_SIZE, QUARNEL_PLACE)) {
    return -1;
  }
  if (!checkWeights(QUARNEL_PLACE)) {
    return -1;
  }
  const auto cells = static_cast<std::size_t>(std::max(ARRAY_SIZE, 0));
  return BinaryFile::writeItems(file, weights, sizeof(double), cells, QUARNEL_PLACE) ? 0 : -1;
}

const bool LookupTable::savePlaceValues(FILE* file, const QuarnelUtility::Place& place) const {
  // A reader takes one for each variable of the state, also of those registered too late for this
  // table.
  for (unsigned int i = 0; i < numberOfVariables(); ++i) {
    if (!BinaryFile::write(file, placeValue(i), place)) {
      return false;
    }
  }
  return true;
}

const int LookupTable::load(FILE* file) {
  freeMemory();
  int cells = 0;
  const bool loaded = BinaryFile::read(file, traceStorage, QUARNEL_PLACE) &&
                      loadPlaceValues(file, QUARNEL_PLACE) &&
                      BinaryFile::read(file, cells, QUARNEL_PLACE) &&
                      WeightArray::load(
                          file, cells, ARRAY_SIZE, weights,
                          [this] { return allocateMemoryWeights(); }, QUARNEL_PLACE);
  return loaded ? 0 : -1;
}

const bool LookupTable::loadPlaceValues(FILE* file, const QuarnelUtility::Place& place) {
  allocateMemory();
  return indexOffset != nullptr &&
         BinaryFile::readItems(file, indexOffset, sizeof(int), indexOffsetSize, place);
}
