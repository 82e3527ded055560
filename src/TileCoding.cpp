#include "TileCoding.h"

#include <algorithm>
#include <limits>

#include "Allocation.h"
#include "BinaryFile.h"
#include "NamedFile.h"
#include "WrapAround.h"

namespace {

// Up to this count a block is followed whatever the file holds: the groups' own reports then tell
// what is missing. A larger count that the file can't hold is no count.
const int TRUSTED_GROUPS = 1024;

// The smallest block of a group: its three sizes and the storage of its traces.
const int SMALLEST_BLOCK = 4 * sizeof(int);

}  // namespace

TileCoding::TileCoding() : numberOfTilings(0) {}

TileCoding::~TileCoding() { TileCoding::freeMemory(); }

void TileCoding::freeMemory() {
  for (const Tilings* const tilings : tilingPtrList) {
    delete tilings;
  }
  tilingPtrList.clear();
  numberOfTilings = 0;
}

const bool TileCoding::checkNew(const Tilings* tilingPtr,
                                const QuarnelUtility::Place& place) const {
  if (tilingPtr == nullptr) {
    QUARNEL_ERROR_AT(place, "tilingPtr == 0");
    return false;
  }
  const auto found = std::find(tilingPtrList.begin(), tilingPtrList.end(), tilingPtr);
  if (found != tilingPtrList.end()) {
    QUARNEL_ERROR_AT(place, "a group of tilings is registered only once!");
  }
  return found == tilingPtrList.end();
}

void TileCoding::append(Tilings* tilingPtr) {
  if (Allocation::succeeds([&] { tilingPtrList.push_back(tilingPtr); }, "a group of tilings",
                           QUARNEL_PLACE)) {
    numberOfTilings = WrapAround::add(numberOfTilings, tilingPtr->getNumberOfTilings());
  } else {
    delete tilingPtr;
  }
}

void TileCoding::clampWeights(double minWeight, double maxWeight) {
  if (minWeight <= std::numeric_limits<double>::lowest() &&
      maxWeight >= std::numeric_limits<double>::max()) {
    return;
  }
  for (Tilings* const tilings : tilingPtrList) {
    tilings->checkWeightLimit(minWeight, maxWeight);
  }
}

void TileCoding::initWeights(const double (*initFunctionPtr)()) {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->initWeights(initFunctionPtr);
  }
}

void TileCoding::initEligibilityTraces() {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->initEligibilityTraces();
  }
}

void TileCoding::updateWeights(double ALPHA, double DELTA) {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->updateWeights(ALPHA / numberOfTilings, DELTA);
  }
}

void TileCoding::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->updateEligibilityTraces(GAMMA, LAMBDA);
  }
}

void TileCoding::setTraceStorage(Types::TRACE_STORAGE newTraceStorage) {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->setTraceStorage(newTraceStorage);
  }
}

const double TileCoding::getMinWeight() const {
  double min = std::numeric_limits<double>::max();
  for (const Tilings* const tilings : tilingPtrList) {
    const double groupMin = tilings->getMinWeight();
    min = groupMin < min ? groupMin : min;
  }
  return min;
}

const double TileCoding::getAvgWeight(bool abs) const {
  double sum = 0.0;
  int count = 0;
  for (const Tilings* const tilings : tilingPtrList) {
    sum += tilings->getWeightSum(abs, count);
  }
  return sum / count;
}

const double TileCoding::getMaxWeight() const {
  double max = std::numeric_limits<double>::lowest();
  for (const Tilings* const tilings : tilingPtrList) {
    const double groupMax = tilings->getMaxWeight();
    max = groupMax > max ? groupMax : max;
  }
  return max;
}

void TileCoding::setState() {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->activateTiles();
  }
}

void TileCoding::initEpisodeStateHistory() {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->initEpisodeStateHistory();
  }
}

void TileCoding::valueEpisode(double amount) {
  for (Tilings* const tilings : tilingPtrList) {
    tilings->valueEpisode(amount);
  }
}

const int TileCoding::save(FILE* file) const {
  if (!BinaryFile::write(file, static_cast<int>(tilingPtrList.size()), QUARNEL_PLACE,
                         NamedFile::SEPARATOR)) {
    return -1;
  }
  for (const Tilings* const tilings : tilingPtrList) {
    if (const int status = tilings->save(file)) {
      QUARNEL_ERROR("Tiling::save returned " << status);
      return -1;
    }
  }
  return 0;
}

const bool TileCoding::loadGroupCount(FILE* file, int& count,
                                      const QuarnelUtility::Place& place) const {
  if (!BinaryFile::read(file, count, place, NamedFile::SEPARATOR)) {
    return false;
  }
  if (count > TRUSTED_GROUPS && !BinaryFile::mayHold(file, count, SMALLEST_BLOCK)) {
    BinaryFile::refuseCount(file, place, NamedFile::SEPARATOR);
    return false;
  }
  return true;
}

const bool TileCoding::groupFollows(FILE* file, int group,
                                    const QuarnelUtility::Place& place) const {
  // A stream that can't tell its size shows only at its end that there were too few.
  const bool follows = group < TRUSTED_GROUPS || (std::feof(file) == 0 && std::ferror(file) == 0);
  if (!follows) {
    BinaryFile::refuseCount(file, place, NamedFile::SEPARATOR);
  }
  return follows;
}
