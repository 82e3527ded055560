#include "Tilings.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Allocation.h"
#include "BinaryFile.h"
#include "WeightArray.h"
#include "WrapAround.h"

namespace {

// A value so far outside its circle that it takes more steps to bring it back has no tile.
const int CIRCLE_STEPS = 1000000;

const int NO_TILE = -1;

// Towards the nearest int; a tile that is not a number counts as the first.
const int saturate(double number) {
  if (std::isnan(number)) {
    return 0;
  }
  const double lowest = std::numeric_limits<int>::min();
  const double highest = std::numeric_limits<int>::max();
  return static_cast<int>(std::min(std::max(number, lowest), highest));
}

// A stream that can't tell its size is believed up to so many shifts of tilings.
const long long TRUSTED_OFFSETS = 1 << 20;

// A group without variables has no shifts, and believes its number of tilings up to here.
const int TRUSTED_TILINGS = 1024;

// What follows the sizes in a block: the variables with their widths, tiles and strides, then a
// shift for each tiling and variable. A group without variables has at least a weight a tiling.
const bool mayHoldLayout(FILE* file, int tilings, int dimensions) {
  if (tilings < 0 || dimensions < 0) {
    return false;
  }
  const long long variableBytes =
      static_cast<long long>(dimensions) *
      static_cast<long long>(sizeof(Types::TILINGS_VAR_STRUCT) + sizeof(double) + 2 * sizeof(int));
  const long long offsets = static_cast<long long>(tilings) * std::max(dimensions, 1);
  const std::int64_t remaining = BinaryFile::remainingBytes(file);
  if (dimensions == 0 && tilings <= TRUSTED_TILINGS) {
    return true;
  }
  if (remaining < 0) {
    return dimensions <= TRUSTED_OFFSETS && offsets <= TRUSTED_OFFSETS;
  }
  return variableBytes <= remaining &&
         offsets <= (remaining - variableBytes) / static_cast<long long>(sizeof(double));
}

// The weight that lies `shift` behind an active tile; none behind none.
const int shifted(int index, int shift) {
  return index != NO_TILE ? WrapAround::add(index, shift) : NO_TILE;
}

}  // namespace

Tilings::Tilings(int numberOfTilings, const std::list<Types::TILINGS_VAR_STRUCT>& varList)
    : TILINGS(numberOfTilings),
      DIMENSIONS(static_cast<int>(varList.size())),
      traceStorage(Types::MAP),
      vars(nullptr),
      tiles(nullptr),
      tileWidth(nullptr),
      indexOffset(nullptr),
      activeTiles(nullptr),
      storedActiveIndices(nullptr),
      tileOffset(nullptr),
      ARRAY_SIZE(0),
      weights(nullptr),
      eTraces(nullptr),
      statePtr(nullptr),
      storedSize(0) {
  Tilings::allocateMemory();
  if (vars != nullptr) {
    std::copy(varList.begin(), varList.end(), vars);
  }
}

Tilings::Tilings(State* aStatePtr, FILE* file)
    : Tilings(0, std::list<Types::TILINGS_VAR_STRUCT>()) {
  statePtr = aStatePtr;
  Tilings::load(file);
}

Tilings::~Tilings() {
  Tilings::freeMemory();
  delete[] storedActiveIndices;
}

void Tilings::allocateMemory() {
  vars = Allocation::array<Types::TILINGS_VAR_STRUCT>(DIMENSIONS, QUARNEL_PLACE);
  tiles = Allocation::zeroes<int>(DIMENSIONS, QUARNEL_PLACE);
  tileWidth = Allocation::zeroes<double>(DIMENSIONS, QUARNEL_PLACE);
  indexOffset = Allocation::zeroes<int>(DIMENSIONS, QUARNEL_PLACE);
  activeTiles = Allocation::array<int>(TILINGS, QUARNEL_PLACE);
  tileOffset = Allocation::zeroes<double*>(TILINGS, QUARNEL_PLACE);
  bool complete = vars != nullptr && tiles != nullptr && tileWidth != nullptr &&
                  indexOffset != nullptr && activeTiles != nullptr && tileOffset != nullptr;
  for (int t = 0; complete && t < TILINGS; ++t) {
    tileOffset[t] = Allocation::zeroes<double>(DIMENSIONS, QUARNEL_PLACE);
    complete = tileOffset[t] != nullptr;
  }
  if (!complete) {
    // A group is whole or has no tilings: no later call then meets half a layout.
    Tilings::freeMemory();
    TILINGS = 0;
    DIMENSIONS = 0;
    return;
  }
  std::fill_n(activeTiles, TILINGS, NO_TILE);
}

double* Tilings::allocateMemoryWeights() {
  return Allocation::array<double>(ARRAY_SIZE, QUARNEL_PLACE);
}

void Tilings::freeMemory() {
  for (int t = 0; tileOffset != nullptr && t < TILINGS; ++t) {
    delete[] tileOffset[t];
  }
  delete[] tileOffset;
  tileOffset = nullptr;
  delete[] vars;
  vars = nullptr;
  delete[] tileWidth;
  tileWidth = nullptr;
  delete[] tiles;
  tiles = nullptr;
  delete[] indexOffset;
  indexOffset = nullptr;
  delete[] activeTiles;
  activeTiles = nullptr;
  delete[] weights;
  weights = nullptr;
  delete[] eTraces;
  eTraces = nullptr;
}

void Tilings::layOut(State* aStatePtr, int actions) {
  statePtr = aStatePtr;
  delete[] weights;
  weights = nullptr;
  delete[] eTraces;
  eTraces = nullptr;
  ARRAY_SIZE = 0;
  if (statePtr == nullptr) {
    QUARNEL_ERROR("statePtr == 0");
    return;
  }
  if (TILINGS < 1 || vars == nullptr) {
    QUARNEL_ERROR("a group of " << TILINGS << " tilings --> needs at least 1!");
    return;
  }
  for (int d = 0; d < DIMENSIONS; ++d) {
    if (!layOutVariable(d)) {
      return;
    }
  }
  if (!checkStrides(actions)) {
    return;
  }
  layOutOffsets();
  layOutStrides(actions);
  ARRAY_SIZE = static_cast<int>(countWeights(actions));
  weights = allocateMemoryWeights();
  if (weights == nullptr) {
    ARRAY_SIZE = 0;
    return;
  }
  // Even an initialiser that sets nothing leaves numbers.
  std::fill_n(weights, ARRAY_SIZE, 0.0);
}

const bool Tilings::layOutVariable(int d) {
  const unsigned int id = vars[d].id;
  const double wished = vars[d].resolution;
  const double min = statePtr->getMinValueDbl(id);
  const double max = statePtr->getMaxValueDbl(id);
  const double range = max - min;
  const double count = std::ceil(range / (TILINGS * wished));
  const int extra = vars[d].tileType == Types::WRAP ? 1 : 0;
  if (!(wished > 0.0 && range >= 0.0 && count <= std::numeric_limits<int>::max() - extra)) {
    QUARNEL_ERROR("Variable with id = " << id << ": no tiles of resolution " << wished
                                        << " in the range [" << min << ", " << max << "] for "
                                        << TILINGS << " tilings!");
    return false;
  }
  const int whole = static_cast<int>(count);
  tiles[d] = whole + extra;
  // A whole number of tiles spans the range exactly, so the resolution wished for gives way.
  vars[d].resolution = range / (static_cast<double>(whole) * TILINGS);
  tileWidth[d] = range / whole;
  return true;
}

const bool Tilings::checkStrides(int actions) const {
  long long stride = WrapAround::multiplySaturated(TILINGS, actions);
  if (!Allocation::isCount(stride)) {
    QUARNEL_ERROR(TILINGS << " tilings make " << stride << " weights for " << actions
                          << " actions --> no array can hold them!");
    return false;
  }
  for (int d = DIMENSIONS - 1; d >= 0; --d) {
    stride = WrapAround::multiplySaturated(stride, tiles[d]);
    if (!Allocation::isCount(stride)) {
      const unsigned int id = vars[d].id;
      QUARNEL_ERROR("Variable with id = " << id << ": " << tiles[d] << " tiles in the range ["
                                          << statePtr->getMinValueDbl(id) << ", "
                                          << statePtr->getMaxValueDbl(id) << "] make " << stride
                                          << " weights --> no array can hold them!");
      return false;
    }
  }
  return true;
}

void Tilings::layOutOffsets() {
  for (int t = 0; t < TILINGS; ++t) {
    for (int d = 0; d < DIMENSIONS; ++d) {
      tileOffset[t][d] = vars[d].resolution * t;
    }
  }
}

const long long Tilings::countWeights(int actions) const {
  long long size = WrapAround::multiplySaturated(TILINGS, actions);
  for (int d = 0; d < DIMENSIONS; ++d) {
    size = WrapAround::multiplySaturated(size, tiles[d]);
  }
  return size;
}

void Tilings::layOutStrides(int actions) {
  int stride = WrapAround::multiply(TILINGS, actions);
  for (int d = DIMENSIONS - 1; d >= 0; --d) {
    indexOffset[d] = stride;
    stride = WrapAround::multiply(stride, tiles[d]);
  }
}

void Tilings::activateTiles() {
  const int tilings = activeTiles != nullptr ? TILINGS : 0;
  if (statePtr == nullptr) {
    QUARNEL_ERROR("statePtr == 0");
    std::fill_n(activeTiles, tilings, NO_TILE);
    return;
  }
  for (int t = 0; t < tilings; ++t) {
    activeTiles[t] = findTile(t, QUARNEL_PLACE);
    if (activeTiles[t] >= ARRAY_SIZE || activeTiles[t] < NO_TILE) {
      QUARNEL_ERROR("index out ouf bounds --> " << activeTiles[t]);
    }
  }
}

const int Tilings::findTile(int tiling, const QuarnelUtility::Place& place) const {
  int index = tiling;
  for (int d = 0; d < DIMENSIONS && index != NO_TILE; ++d) {
    int number = 0;
    if (!tileNumber(d, tileOffset[tiling][d], place, number)) {
      return NO_TILE;
    }
    index = WrapAround::add(index, WrapAround::multiply(number, indexOffset[d]));
  }
  return index;
}

const bool Tilings::tileNumber(int d, double shift, const QuarnelUtility::Place& place,
                               int& number) const {
  const unsigned int id = vars[d].id;
  const double value = statePtr->getValueDbl(id);
  const double min = statePtr->getMinValueDbl(id);
  const double max = statePtr->getMaxValueDbl(id);
  switch (vars[d].tileType) {
    case Types::CLIP:
      // A shifted value below the range has no tile, one above it has the last.
      if (value - shift < min) {
        return false;
      }
      number = saturate(std::floor((value - min - shift) / tileWidth[d]));
      number = std::min(std::max(number, 0), WrapAround::subtract(tiles[d], 1));
      return true;
    case Types::CIRCLE: {
      double position = value - shift;
      if (!wrapIntoCircle(d, position, min, max, place)) {
        return false;
      }
      number = saturate(std::floor((position - min) / tileWidth[d]));
      return true;
    }
    case Types::WRAP:
      // Shifted the other way than the other two: the extra tile takes the top of the range.
      number = saturate(std::floor((value - min + shift) / tileWidth[d]));
      return true;
    default:
      QUARNEL_ERROR_AT(
          place, "Unknown Tiletype[" << vars[d].tileType << "] for Variable with id = " << id);
      return true;
  }
}

const bool Tilings::wrapIntoCircle(int d, double& position, double min, double max,
                                   const QuarnelUtility::Place& place) const {
  const double range = max - min;
  const double start = position;
  int stepsLeft = CIRCLE_STEPS;
  const auto move = [&](double distance) {
    const double before = position;
    position += distance;
    --stepsLeft;
    return position != before && stepsLeft >= 0;
  };
  bool moves = true;
  while (moves && position < min) {
    moves = move(range);
  }
  while (moves && position > max) {
    moves = move(-range);
  }
  if (!moves) {
    QUARNEL_ERROR_AT(place, "Variable with id = " << vars[d].id << ": the value " << start
                                                  << " never comes into the circle [" << min << ", "
                                                  << max << "]");
  }
  return moves;
}

const int Tilings::activeTile(int tiling) const {
  return activeTiles != nullptr && isTile(activeTiles[tiling]) ? activeTiles[tiling] : NO_TILE;
}

const bool Tilings::checkWeights(const QuarnelUtility::Place& place) const {
  return WeightArray::check(weights, place);
}

void Tilings::initWeights(const double (*initFunctionPtr)()) {
  WeightArray::initialise(weights, ARRAY_SIZE, initFunctionPtr, QUARNEL_PLACE);
}

void Tilings::checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) {
  if (checkWeights(QUARNEL_PLACE)) {
    WeightArray::clamp(weights, ARRAY_SIZE, MIN_WEIGHT, MAX_WEIGHT);
  }
}

const double Tilings::getMinWeight() const {
  return WeightArray::minimum(weights, checkWeights(QUARNEL_PLACE) ? ARRAY_SIZE : 0);
}

const double Tilings::getMaxWeight() const {
  return WeightArray::maximum(weights, checkWeights(QUARNEL_PLACE) ? ARRAY_SIZE : 0);
}

const double Tilings::getWeightSum(bool abs, int& weightCount) const {
  if (!checkWeights(QUARNEL_PLACE)) {
    return 0.0;
  }
  weightCount = WrapAround::add(weightCount, ARRAY_SIZE);
  return WeightArray::sum(weights, ARRAY_SIZE, abs);
}

void Tilings::initEligibilityTraces() {
  if (traceStorage == Types::ARRAY && eTraces == nullptr) {
    eTraces = allocateMemoryWeights();
  }
  WeightArray::clearTraces(traceStorage, eTraces, ARRAY_SIZE, eTracesMap, QUARNEL_PLACE);
}

void Tilings::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  WeightArray::decayTraces(traceStorage, eTraces, ARRAY_SIZE, eTracesMap, GAMMA * LAMBDA,
                           QUARNEL_PLACE);
}

void Tilings::updateWeights(double ALPHA, double DELTA) {
  if (!checkWeights(QUARNEL_PLACE)) {
    return;
  }
  const double step = ALPHA * DELTA;
  if (traceStorage == Types::ARRAY && eTraces != nullptr) {
    WeightArray::addTraces(weights, ARRAY_SIZE, eTraces, step);
  } else if (traceStorage == Types::MAP && !eTracesMap.empty()) {
    WeightArray::addTraces(weights, ARRAY_SIZE, eTracesMap, step);
  } else if (storedActiveIndices != nullptr) {
    // A group that is loaded may have fewer tilings than were stored.
    for (int t = 0; t < std::min(storedSize, TILINGS); ++t) {
      WeightArray::add(weights, ARRAY_SIZE, storedActiveIndices[t], step);
    }
  } else {
    reportNothingToUpdate(QUARNEL_PLACE);
  }
}

void Tilings::reportNothingToUpdate(const QuarnelUtility::Place& place) const {
  const char* const remedy =
      " or call initEligibilityTraces or storeState before calling updateWeights!";
  switch (traceStorage) {
    case Types::ARRAY:
      QUARNEL_ERROR_AT(place, "traceStorage == ARRAY and eTraces == 0 and storedActiveIndices == 0"
                                  << " --> Set traceStorage to MAP" << remedy);
      break;
    case Types::MAP:
      QUARNEL_ERROR_AT(place,
                       "traceStorage == MAP and eTracesMap == empty and storedActiveIndices == 0"
                           << " --> Set traceStorage to ARRAY" << remedy);
      break;
    default:
      QUARNEL_ERROR_AT(place, "Unknown traceStorage = " << traceStorage);
  }
}

void Tilings::initEpisodeStateHistory() { episodeIndexHistorySet.clear(); }

void Tilings::valueEpisode(double amount) {
  WeightArray::valueEpisode(weights, ARRAY_SIZE, episodeIndexHistorySet, amount, QUARNEL_PLACE);
}

const double Tilings::sumActiveWeights(int shift) const {
  double sum = 0.0;
  for (int t = 0; t < TILINGS; ++t) {
    const int index = shifted(activeTile(t), shift);
    if (weights != nullptr && isTile(index)) {
      sum += weights[index];
    }
  }
  return sum;
}

void Tilings::storeTiles(int shift) {
  if (storedSize != TILINGS) {
    releaseStoredTiles();
  }
  if (storedActiveIndices == nullptr) {
    storedActiveIndices = Allocation::array<int>(TILINGS, QUARNEL_PLACE);
    storedSize = storedActiveIndices != nullptr ? TILINGS : 0;
  }
  for (int t = 0; t < storedSize; ++t) {
    storedActiveIndices[t] = shifted(activeTile(t), shift);
  }
}

void Tilings::releaseStoredTiles() {
  delete[] storedActiveIndices;
  storedActiveIndices = nullptr;
  storedSize = 0;
}

void Tilings::rememberTiles(int shift) {
  for (int t = 0; t < TILINGS; ++t) {
    if (activeTile(t) != NO_TILE) {
      WeightArray::remember(episodeIndexHistorySet, shifted(activeTile(t), shift), QUARNEL_PLACE);
    }
  }
}

const bool Tilings::checkTraces(const QuarnelUtility::Place& place) const {
  return WeightArray::checkTraces(traceStorage, eTraces, place);
}

void Tilings::setTrace(int index, double VALUE, const QuarnelUtility::Place& place) {
  if (traceStorage == Types::MAP) {
    WeightArray::setTrace(eTracesMap, index, VALUE, place);
  } else if (eTraces != nullptr && isTile(index)) {
    eTraces[index] = VALUE;
  }
}

void Tilings::clearTrace(int index) {
  if (traceStorage == Types::MAP) {
    eTracesMap.erase(index);
  } else if (eTraces != nullptr && isTile(index)) {
    eTraces[index] = 0.0;
  }
}

void Tilings::accumulateTraces(double VALUE, int shift, const QuarnelUtility::Place& place) {
  if (!checkTraces(place)) {
    return;
  }
  for (int t = 0; t < TILINGS; ++t) {
    const int index = shifted(activeTile(t), shift);
    if (activeTile(t) == NO_TILE) {
      continue;
    }
    if (traceStorage == Types::MAP) {
      WeightArray::addToTrace(eTracesMap, index, VALUE, place);
    } else {
      WeightArray::add(eTraces, ARRAY_SIZE, index, VALUE);
    }
  }
}

const int Tilings::save(FILE* file) const {
  const auto dimensions = static_cast<std::size_t>(std::max(DIMENSIONS, 0));
  const bool laidOut =
      BinaryFile::write(file, TILINGS, QUARNEL_PLACE) &&
      BinaryFile::write(file, DIMENSIONS, QUARNEL_PLACE) &&
      BinaryFile::write(file, traceStorage, QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, vars, sizeof(*vars), dimensions, QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, tileWidth, sizeof(*tileWidth), dimensions, QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, tiles, sizeof(*tiles), dimensions, QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, indexOffset, sizeof(*indexOffset), dimensions, QUARNEL_PLACE) &&
      saveOffsets(file, QUARNEL_PLACE) && BinaryFile::write(file, ARRAY_SIZE, QUARNEL_PLACE);
  if (!laidOut || !checkWeights(QUARNEL_PLACE)) {
    return -1;
  }
  const auto size = static_cast<std::size_t>(std::max(ARRAY_SIZE, 0));
  return BinaryFile::writeItems(file, weights, sizeof(double), size, QUARNEL_PLACE) ? 0 : -1;
}

const bool Tilings::saveOffsets(FILE* file, const QuarnelUtility::Place& place) const {
  for (int t = 0; t < TILINGS; ++t) {
    const double* const offsets = tileOffset != nullptr ? tileOffset[t] : nullptr;
    if (!BinaryFile::writeItems(file, offsets, sizeof(double), static_cast<std::size_t>(DIMENSIONS),
                                place)) {
      return false;
    }
  }
  return true;
}

const int Tilings::load(FILE* file) {
  freeMemory();
  int size = 0;
  const bool loaded = loadSizes(file, QUARNEL_PLACE) && loadLayout(file, QUARNEL_PLACE) &&
                      BinaryFile::read(file, size, QUARNEL_PLACE) &&
                      WeightArray::load(
                          file, size, ARRAY_SIZE, weights,
                          [this] { return allocateMemoryWeights(); }, QUARNEL_PLACE);
  return loaded ? 0 : -1;
}

const bool Tilings::loadSizes(FILE* file, const QuarnelUtility::Place& place) {
  TILINGS = 0;
  DIMENSIONS = 0;
  int tilings = 0;
  int dimensions = 0;
  if (!BinaryFile::read(file, tilings, place) || !BinaryFile::read(file, dimensions, place) ||
      !BinaryFile::read(file, traceStorage, place)) {
    return false;
  }
  if (!mayHoldLayout(file, tilings, dimensions)) {
    BinaryFile::refuseCount(file, place);
    return false;
  }
  TILINGS = tilings;
  DIMENSIONS = dimensions;
  return true;
}

const bool Tilings::loadLayout(FILE* file, const QuarnelUtility::Place& place) {
  allocateMemory();
  if (activeTiles == nullptr) {
    return false;
  }
  const auto dimensions = static_cast<std::size_t>(DIMENSIONS);
  bool complete = BinaryFile::readItems(file, vars, sizeof(*vars), dimensions, place) &&
                  BinaryFile::readItems(file, tileWidth, sizeof(*tileWidth), dimensions, place) &&
                  BinaryFile::readItems(file, tiles, sizeof(*tiles), dimensions, place) &&
                  BinaryFile::readItems(file, indexOffset, sizeof(*indexOffset), dimensions, place);
  for (int t = 0; complete && t < TILINGS; ++t) {
    complete = BinaryFile::readItems(file, tileOffset[t], sizeof(double), dimensions, place);
  }
  return complete;
}
