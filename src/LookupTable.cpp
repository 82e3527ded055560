#include "LookupTable.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "Allocation.h"
#include "BinaryFile.h"
#include "WrapAround.h"

namespace {

const char* const NO_WEIGHTS = "weights == 0 --> Maybe forgot to call create?";
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
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return;
  }
  if (initFunctionPtr == nullptr) {
    QUARNEL_ERROR("initFunctionPtr == 0");
    return;
  }
  for (int i = 0; i < ARRAY_SIZE; ++i) {
    weights[i] = initFunctionPtr();
  }
}

void LookupTable::initEligibilityTraces() {
  switch (traceStorage) {
    case Types::ARRAY:
      if (eTraces == nullptr) {
        eTraces = allocateMemoryWeights();
      }
      if (eTraces != nullptr) {
        std::fill_n(eTraces, ARRAY_SIZE, 0.0);
      }
      break;
    case Types::MAP:
      eTracesMap.clear();
      break;
    default:
      QUARNEL_ERROR("Unknown traceStorage = " << traceStorage);
  }
}

void LookupTable::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  const double decay = LAMBDA * GAMMA;
  switch (traceStorage) {
    case Types::ARRAY:
      if (eTraces == nullptr) {
        QUARNEL_ERROR("traceStorage == ARRAY and eTraces == 0"
                      << " --> Set traceStorage to MAP or call initEligibilityTraces before calling"
                      << " updateEligibilityTraces!");
        return;
      }
      for (int i = 0; i < ARRAY_SIZE; ++i) {
        eTraces[i] *= decay;
      }
      break;
    case Types::MAP:
      for (auto& entry : eTracesMap) {
        entry.second *= decay;
      }
      break;
    default:
      QUARNEL_ERROR("Unknown traceStorage = " << traceStorage);
  }
}

void LookupTable::updateWeights(double ALPHA, double DELTA) {
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return;
  }
  const double step = DELTA * ALPHA;
  switch (traceStorage) {
    case Types::ARRAY:
      if (eTraces == nullptr && storedActiveIndex == -1) {
        QUARNEL_ERROR("traceStorage == ARRAY and eTraces == 0 and storedActiveIndex == -1"
                      << " --> Set traceStorage to MAP"
                      << " or call initEligibilityTraces or storeState before calling"
                      << " updateWeights!");
        return;
      }
      updateFromArray(step);
      break;
    case Types::MAP:
      if (eTracesMap.empty() && storedActiveIndex == -1) {
        QUARNEL_ERROR("traceStorage == MAP and eTracesMap == empty and storedActiveIndex == -1"
                      << " --> Set traceStorage to ARRAY"
                      << " or call initEligibilityTraces or storeState before calling"
                      << " updateWeights!");
        return;
      }
      updateFromMap(step);
      break;
    default:
      QUARNEL_ERROR("Unknown traceStorage = " << traceStorage);
  }
}

void LookupTable::updateFromArray(double step) {
  if (eTraces == nullptr) {
    addToWeight(storedActiveIndex, step);
    return;
  }
  for (int i = 0; i < ARRAY_SIZE; ++i) {
    weights[i] += eTraces[i] * step;
  }
}

void LookupTable::updateFromMap(double step) {
  if (eTracesMap.empty()) {
    addToWeight(storedActiveIndex, step);
    return;
  }
  for (const auto& entry : eTracesMap) {
    addToWeight(entry.first, entry.second * step);
  }
}

void LookupTable::checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) {
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return;
  }
  for (int i = 0; i < ARRAY_SIZE; ++i) {
    // A comparison with NaN is false, so these two forms turn NaN into MIN_WEIGHT.
    const double raised = weights[i] > MIN_WEIGHT ? weights[i] : MIN_WEIGHT;
    weights[i] = MAX_WEIGHT > raised ? raised : MAX_WEIGHT;
  }
}

const double LookupTable::getMinWeight() const {
  double min = std::numeric_limits<double>::max();
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return min;
  }
  for (int i = 0; i < ARRAY_SIZE; ++i) {
    if (min > weights[i]) {
      min = weights[i];
    }
  }
  return min;
}

const double LookupTable::getAvgWeight(bool abs) const {
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return 0.0;
  }
  double sum = 0.0;
  for (int i = 0; i < ARRAY_SIZE; ++i) {
    sum += abs ? std::fabs(weights[i]) : weights[i];
  }
  return sum / ARRAY_SIZE;
}

const double LookupTable::getMaxWeight() const {
  double max = std::numeric_limits<double>::lowest();
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return max;
  }
  for (int i = 0; i < ARRAY_SIZE; ++i) {
    if (weights[i] > max) {
      max = weights[i];
    }
  }
  return max;
}

void LookupTable::initEpisodeStateHistory() { episodeIndexHistorySet.clear(); }

void LookupTable::valueEpisode(double amount) {
  if (episodeIndexHistorySet.empty()) {
    QUARNEL_ERROR("episodeIndexHistorySet is empty! "
                  << "Did you forget to set ValueFunction::episodeStateHistory to true?");
    return;
  }
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
    return;
  }
  for (const int index : episodeIndexHistorySet) {
    addToWeight(index, amount);
  }
}

void LookupTable::rememberCell(int index) {
  Allocation::succeeds([&] { episodeIndexHistorySet.insert(index); }, "a visited cell",
                       QUARNEL_PLACE);
}

const bool LookupTable::checkArrayTraces(const QuarnelUtility::Place& place) const {
  if (eTraces != nullptr) {
    return true;
  }
  // The remedy names updateWeights here as well: that is the call a trace is set for.
  QUARNEL_ERROR_AT(place, "traceStorage == ARRAY and eTraces == 0"
                              << " --> Set traceStorage to MAP or call initEligibilityTraces before"
                              << " calling updateWeights!");
  return false;
}

void LookupTable::setArrayTrace(int index, double VALUE) {
  if (isCell(index)) {
    eTraces[index] = VALUE;
  }
}

void LookupTable::setMapTrace(int index, double VALUE, const QuarnelUtility::Place& place) {
  Allocation::succeeds([&] { eTracesMap[index] = VALUE; }, "a trace", place);
}

void LookupTable::accumulateTrace(int index, double VALUE, const QuarnelUtility::Place& place) {
  switch (traceStorage) {
    case Types::ARRAY:
      if (checkArrayTraces(place) && activeIndex != -1 && isCell(index)) {
        eTraces[index] += VALUE;
      }
      break;
    case Types::MAP:
      if (activeIndex != -1) {
        const auto found = eTracesMap.find(index);
        setMapTrace(index, found == eTracesMap.end() ? VALUE : found->second + VALUE, place);
      }
      break;
    default:
      QUARNEL_ERROR_AT(place, "Unknown traceStorage = " << traceStorage);
  }
}

void LookupTable::layOut(int cellsPerState) {
  freeMemory();
  ARRAY_SIZE = 0;
  LookupTable::allocateMemory();
  if (indexOffset == nullptr) {
    return;
  }
  int nextPlaceValue = cellsPerState;
  long long cells = cellsPerState;
  for (unsigned int i = indexOffsetSize; i-- > 0;) {
    const int max = statePtr->getMaxValueInt(i);
    const int min = statePtr->getMinValueInt(i);
    indexOffset[i] = nextPlaceValue;
    nextPlaceValue = WrapAround::add(
        nextPlaceValue, WrapAround::multiply(WrapAround::subtract(max, min), nextPlaceValue));
    cells = WrapAround::multiplySaturated(cells, static_cast<long long>(max) - min + 1);
  }
  // The place values above wrap around; a table that would not hold every combination is refused.
  if (cells < 0 || cells > std::numeric_limits<int>::max()) {
    Allocation::reportFailure<double>(cells, QUARNEL_PLACE);
    return;
  }
  ARRAY_SIZE = static_cast<int>(cells);
  weights = allocateMemoryWeights();
}

void LookupTable::allocateMemory() {
  if (statePtr == nullptr) {
    QUARNEL_ERROR(NO_STATE);
    return;
  }
  const unsigned int variables = numberOfVariables();
  indexOffset = Allocation::array<int>(variables, QUARNEL_PLACE);
  indexOffsetSize = indexOffset != nullptr ? variables : 0;
  std::fill_n(indexOffset, indexOffsetSize, 0);
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
  if (weights == nullptr) {
    QUARNEL_ERROR(NO_WEIGHTS);
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
  const bool loaded =
      BinaryFile::read(file, traceStorage, QUARNEL_PLACE) && loadPlaceValues(file, QUARNEL_PLACE) &&
      BinaryFile::read(file, cells, QUARNEL_PLACE) && loadWeights(file, cells, QUARNEL_PLACE);
  return loaded ? 0 : -1;
}

const bool LookupTable::loadPlaceValues(FILE* file, const QuarnelUtility::Place& place) {
  allocateMemory();
  return indexOffset != nullptr &&
         BinaryFile::readItems(file, indexOffset, sizeof(int), indexOffsetSize, place);
}

const bool LookupTable::loadWeights(FILE* file, int cells, const QuarnelUtility::Place& place) {
  const auto count = static_cast<std::size_t>(std::max(cells, 0));
  if (cells < 0 || !BinaryFile::mayHold(file, cells, sizeof(double))) {
    BinaryFile::reportErrno(place);
    return false;
  }
  if (BinaryFile::remainingBytes(file) >= 0) {
    ARRAY_SIZE = cells;
    weights = allocateMemoryWeights();
    return weights != nullptr && BinaryFile::readItems(file, weights, sizeof(double), count, place);
  }
  std::vector<double> arrived;
  if (!BinaryFile::readGrowing(file, arrived, count, place)) {
    return false;
  }
  ARRAY_SIZE = cells;
  weights = allocateMemoryWeights();
  if (weights != nullptr) {
    std::copy(arrived.begin(), arrived.end(), weights);
  }
  return weights != nullptr;
}
