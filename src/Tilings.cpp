#include "Tilings.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "Allocation.h"
#include "BinaryFile.h"
#include "Rounding.h"
#include "WeightArray.h"
#include "WrapAround.h"

namespace {

// A value so far outside its circle that it takes more steps to bring it back has no tile.
const int CIRCLE_STEPS = 1000000;

const int NO_TILE = -1;

// A group without variables has no shifts, and believes its number of tilings up to here.
const int TRUSTED_TILINGS = 64;

// The variables with their widths, tiles and strides.
const long long VARIABLE_BYTES =
    sizeof(Types::TILINGS_VAR_STRUCT) + sizeof(double) + 2 * sizeof(int);

// What follows the sizes in a block: the variables, then a shift for each tiling and variable.
const long long layoutBytes(int tilings, int dimensions) {
  const long long perVariable =
      VARIABLE_BYTES + static_cast<long long>(tilings) * static_cast<long long>(sizeof(double));
  return WrapAround::multiplySaturated(dimensions, perVariable);
}

const bool mayHoldLayout(FILE* file, int tilings, int dimensions) {
  if (tilings < 0 || dimensions < 0) {
    return false;
  }
  if (dimensions == 0 && tilings > TRUSTED_TILINGS) {
    // At least a weight for each of them follows.
    return BinaryFile::remainingBytes(file) / static_cast<long long>(sizeof(double)) >= tilings;
  }
  return BinaryFile::mayHold(file, layoutBytes(tilings, dimensions), 1);
}

// Hands out what a stream that can't tell its size has held, or reads the file.
class LayoutReader {
 public:
  LayoutReader(FILE* newFile, const QuarnelUtility::Place& newPlace)
      : file(newFile), place(newPlace), position(0), ahead(false) {}

  // Reads a layout before there are arrays for it, where the file can't tell that it is there.
  const bool readAhead(long long bytes) {
    ahead = BinaryFile::remainingBytes(file) < 0;
    return !ahead || BinaryFile::readGrowing(file, arrived, static_cast<std::size_t>(bytes), place);
  }

  template <typename Item>
  const bool read(Item* items, int count) {
    const auto length = static_cast<std::size_t>(count);
    if (!ahead) {
      return BinaryFile::readItems(file, items, sizeof(Item), length, place);
    }
    if (length > 0) {
      std::memcpy(items, &arrived[position], length * sizeof(Item));
    }
    position += length * sizeof(Item);
    return true;
  }

 private:
  FILE* file;
  const QuarnelUtility::Place& place;
  std::vector<char> arrived;
  std::size_t position;
  bool ahead;
};

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
      storedSize(0),
      readings(nullptr) {
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
  readings = Allocation::array<Reading>(DIMENSIONS, QUARNEL_PLACE);
  activeTiles = Allocation::array<int>(TILINGS, QUARNEL_PLACE);
  tileOffset = Allocation::zeroes<double*>(TILINGS, QUARNEL_PLACE);
  bool complete = vars != nullptr && tiles != nullptr && tileWidth != nullptr &&
                  indexOffset != nullptr && readings != nullptr && activeTiles != nullptr &&
                  tileOffset != nullptr;
  for (int t = 0; complete && DIMENSIONS > 0 && t < TILINGS; ++t) {
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
  delete[] readings;
  readings = nullptr;
  delete[] indexOffset;
  indexOffset = nullptr;
  delete[] activeTiles;
  activeTiles = nullptr;
  delete[] weights;
  weights = nullptr;
  delete[] eTraces;
  eTraces = nullptr;
}

void Tilings::layOut(State* aStatePtr, int actions, const QuarnelUtility::Place& place) {
  statePtr = aStatePtr;
  delete[] weights;
  weights = nullptr;
  delete[] eTraces;
  eTraces = nullptr;
  ARRAY_SIZE = 0;
  if (statePtr == nullptr) {
    QUARNEL_ERROR_AT(place, "statePtr == 0");
    return;
  }
  for (int d = 0; d < DIMENSIONS; ++d) {
    if (!layOutVariable(d, place)) {
      return;
    }
  }
  if (TILINGS < 1) {
    QUARNEL_ERROR_AT(place, "a group of " << TILINGS << " tilings --> needs at least 1!");
    return;
  }
  if (!checkStrides(actions, place)) {
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

const bool Tilings::layOutVariable(int d, const QuarnelUtility::Place& place) {
  const unsigned int id = vars[d].id;
  const double wished = vars[d].resolution;
  const double min = statePtr->getMinValueDbl(id);
  const double max = statePtr->getMaxValueDbl(id);
  const double range = max - min;
  const double count = std::ceil(range / (TILINGS * wished));
  const int extra = vars[d].tileType == Types::WRAP ? 1 : 0;
  // A range of one point needs no tile; anything wider that comes out without one has overflowed.
  const bool countable =
      count <= std::numeric_limits<int>::max() - extra && (count >= 1.0 || range == 0.0);
  if (!(TILINGS > 0 && wished > 0.0 && range >= 0.0 && countable)) {
    QUARNEL_ERROR_AT(place, "Variable with id = " << id << ": no tiles of resolution " << wished
                                                  << " in the range [" << min << ", " << max
                                                  << "] for " << TILINGS << " tilings!");
    return false;
  }
  const int whole = static_cast<int>(count);
  tiles[d] = whole + extra;
  // A whole number of tiles spans the range exactly, so the resolution wished for gives way.
  vars[d].resolution = range / (static_cast<double>(whole) * TILINGS);
  tileWidth[d] = range / whole;
  return true;
}

const bool Tilings::checkStrides(int actions, const QuarnelUtility::Place& place) const {
  long long stride = WrapAround::multiplySaturated(TILINGS, actions);
  if (!Allocation::isCount(stride)) {
    QUARNEL_ERROR_AT(place, TILINGS << " tilings make " << stride << " weights for " << actions
                                    << " actions --> no array can hold them!");
    return false;
  }
  for (int d = DIMENSIONS - 1; d >= 0; --d) {
    stride = WrapAround::multiplySaturated(stride, tiles[d]);
    if (!Allocation::isCount(stride)) {
      const unsigned int id = vars[d].id;
      QUARNEL_ERROR_AT(place,
                       "Variable with id = " << id << ": " << tiles[d] << " tiles in the range ["
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
  for (int d = 0; d < DIMENSIONS && tilings > 0; ++d) {
    readings[d].known = false;
  }
  const QuarnelUtility::Place place = QUARNEL_PLACE;
  for (int t = 0; t < tilings; ++t) {
    const int index = findTile(t, place);
    activeTiles[t] = index;
    if (index >= ARRAY_SIZE || index < NO_TILE) {
      reportOutOfBounds(index, place);
    }
  }
}

void Tilings::reportOutOfBounds(int index, const QuarnelUtility::Place& place) {
  QUARNEL_ERROR_AT(place, "index out ouf bounds --> " << index);
}

void Tilings::reportTileType(int d, const QuarnelUtility::Place& place) const {
  QUARNEL_ERROR_AT(
      place, "Unknown Tiletype[" << vars[d].tileType << "] for Variable with id = " << vars[d].id);
}

void Tilings::readVariable(int d) const {
  const unsigned int id = vars[d].id;
  const double value = statePtr->getValueDbl(id);
  const double min = statePtr->getMinValueDbl(id);
  const double max = statePtr->getMaxValueDbl(id);
  // A variable that is not there is reported for every tiling that asks.
  readings[d] = {statePtr->isRealVariable(id),
                 vars[d].tileType,
                 indexOffset[d],
                 WrapAround::subtract(tiles[d], 1),
                 value,
                 min,
                 max,
                 value - min,
                 tileWidth[d]};
}

inline const int Tilings::findTile(int tiling, const QuarnelUtility::Place& place) const {
  const double* const shifts = tileOffset[tiling];
  const int dimensions = DIMENSIONS;
  int index = tiling;
  const Reading* reading = readings;
  for (int d = 0; d < dimensions && index != NO_TILE; ++d, ++reading) {
    if (!reading->known) {
      readVariable(d);
    }
    int number = 0;
    if (!tileNumber(d, *reading, shifts[d], place, number)) {
      return NO_TILE;
    }
    index = WrapAround::add(index, WrapAround::multiply(number, reading->stride));
  }
  return index;
}

inline const bool Tilings::tileNumber(int d, const Reading& reading, double shift,
                                      const QuarnelUtility::Place& place, int& number) const {
  switch (reading.tileType) {
    case Types::CLIP:
      // A shifted value below the range has no tile, one above it has the last.
      if (reading.value - shift < reading.min) {
        return false;
      }
      number = Rounding::floorToInt((reading.distance - shift) / reading.width);
      number = std::min(std::max(number, 0), reading.lastTile);
      return true;
    case Types::CIRCLE: {
      double position = reading.value - shift;
      if ((position < reading.min || position > reading.max) &&
          !wrapIntoCircle(d, position, place)) {
        return false;
      }
      number = Rounding::floorToInt((position - reading.min) / reading.width);
      return true;
    }
    case Types::WRAP:
      // Shifted the other way than the other two: the extra tile takes the top of the range.
      number = Rounding::floorToInt((reading.distance + shift) / reading.width);
      return true;
    default:
      reportTileType(d, place);
      return true;
  }
}

const bool Tilings::wrapIntoCircle(int d, double& position,
                                   const QuarnelUtility::Place& place) const {
  const double min = readings[d].min;
  const double max = readings[d].max;
  const double range = max - min;
  int stepsLeft = CIRCLE_STEPS;
  const auto move = [&](double distance) {
    const double before = position;
    position += distance;
    --stepsLeft;
    return position != before && stepsLeft >= 0;
  };
  // Clearly hopeless cases are not tried; at the border only the steps themselves can tell.
  const double turns = (position < min ? min - position : position - max) / range;
  bool moves = !(range <= 0.0) && !(turns > CIRCLE_STEPS + 2.0);
  while (moves && position < min) {
    moves = move(range);
  }
  while (moves && position > max) {
    moves = move(-range);
  }
  if (!moves) {
    QUARNEL_ERROR_AT(place, "Variable with id = " << vars[d].id << ": " << CIRCLE_STEPS
                                                  << " steps don't bring the value "
                                                  << readings[d].value << " into the circle ["
                                                  << min << ", " << max << "]!");
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
    const int stored = std::min(storedSize, TILINGS);
    for (int t = 0; t < stored; ++t) {
      const int index = storedActiveIndices[t];
      if (isTile(index)) {
        weights[index] += step;
      }
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

const double Tilings::sumActiveWeights(long long shift) const {
  double sum = 0.0;
  const int tilings = activeTiles != nullptr && weights != nullptr ? TILINGS : 0;
  const auto size = static_cast<unsigned long long>(std::max(ARRAY_SIZE, 0));
  for (int t = 0; t < tilings; ++t) {
    // Numbers below zero become huge ones. Both the tile and the weight behind it must exist.
    const auto tile = static_cast<unsigned long long>(activeTiles[t]);
    const auto index = tile + static_cast<unsigned long long>(shift);
    if (tile < size && index < size) {
      sum += weights[index];
    }
  }
  return sum;
}

void Tilings::storeTiles(long long shift, const QuarnelUtility::Place& place) {
  if (storedSize != TILINGS) {
    releaseStoredTiles();
  }
  if (storedActiveIndices == nullptr) {
    storedActiveIndices = Allocation::array<int>(TILINGS, place);
    storedSize = storedActiveIndices != nullptr ? TILINGS : 0;
  }
  const int stored = storedSize;
  for (int t = 0; t < stored; ++t) {
    storedActiveIndices[t] = activeTiles != nullptr ? behind(activeTiles[t], shift) : NO_TILE;
  }
}

void Tilings::releaseStoredTiles() {
  delete[] storedActiveIndices;
  storedActiveIndices = nullptr;
  storedSize = 0;
}

void Tilings::rememberTiles(long long shift, const QuarnelUtility::Place& place) {
  for (int t = 0; t < TILINGS; ++t) {
    const int index = behind(activeTile(t), shift);
    if (index != NO_TILE) {
      WeightArray::remember(episodeIndexHistorySet, index, place);
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

void Tilings::accumulateTraces(double VALUE, long long shift, const QuarnelUtility::Place& place) {
  if (!checkTraces(place)) {
    return;
  }
  for (int t = 0; t < TILINGS; ++t) {
    const int index = behind(activeTile(t), shift);
    if (index == NO_TILE) {
      continue;
    }
    if (traceStorage == Types::MAP) {
      WeightArray::addToTrace(eTracesMap, index, VALUE, place);
    } else {
      eTraces[index] += VALUE;
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
  LayoutReader reader(file, place);
  if (!reader.readAhead(layoutBytes(TILINGS, DIMENSIONS))) {
    TILINGS = 0;
    DIMENSIONS = 0;
    return false;
  }
  allocateMemory();
  if (activeTiles == nullptr) {
    return false;
  }
  bool complete = reader.read(vars, DIMENSIONS) && reader.read(tileWidth, DIMENSIONS) &&
                  reader.read(tiles, DIMENSIONS) && reader.read(indexOffset, DIMENSIONS);
  for (int t = 0; complete && t < TILINGS; ++t) {
    complete = reader.read(tileOffset[t], DIMENSIONS);
  }
  return complete;
}
