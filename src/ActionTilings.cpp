#include "ActionTilings.h"

#include <algorithm>
#include <limits>

#include "Allocation.h"

ActionTilings::ActionTilings(int numberOfTilings,
                             const std::list<Types::TILINGS_VAR_STRUCT>& varList)
    : Tilings(numberOfTilings, varList), ACTIONS(0) {}

ActionTilings::ActionTilings(State* aStatePtr, int numberOfActions, FILE* file)
    : Tilings(aStatePtr, file), ACTIONS(numberOfActions) {}

ActionTilings::~ActionTilings() = default;

void ActionTilings::create(State* aStatePtr, int numberOfActions) {
  ACTIONS = numberOfActions;
  if (numberOfActions < 1) {
    QUARNEL_ERROR("ACTIONS[" << numberOfActions << "] <= 0");
  }
  layOut(aStatePtr, numberOfActions, QUARNEL_PLACE);
}

const long long ActionTilings::shiftOf(int actionIndex) const {
  return static_cast<long long>(actionIndex) * TILINGS;
}

const bool ActionTilings::checkActionIndex(int actionIndex,
                                           const QuarnelUtility::Place& place) const {
  const bool known = actionIndex >= 0 && actionIndex < ACTIONS;
  if (!known) {
    QUARNEL_ERROR_AT(place,
                     "actionIndex[" << actionIndex << "] out of bounds [ 0, " << ACTIONS << ")");
  }
  return known;
}

void ActionTilings::accumulatingTraces(double VALUE, int actionIndex) {
  accumulateTraces(VALUE, shiftOf(actionIndex), QUARNEL_PLACE);
}

void ActionTilings::replacingTraces(double VALUE, int actionIndex) {
  const QuarnelUtility::Place place = QUARNEL_PLACE;
  if (!checkTraces(place)) {
    return;
  }
  for (int t = 0; t < TILINGS; ++t) {
    replaceTrace(activeTile(t), VALUE, actionIndex, place);
  }
}

void ActionTilings::replaceTrace(int tile, double VALUE, int actionIndex,
                                 const QuarnelUtility::Place& place) {
  for (int b = 0; b < ACTIONS; ++b) {
    const int index = behind(tile, shiftOf(b));
    if (index == -1) {
      return;
    }
    if (b == actionIndex) {
      setTrace(index, VALUE, place);
    } else {
      clearTrace(index);
    }
  }
}

void ActionTilings::storeActiveTiles(int actionIndex) {
  storeTiles(shiftOf(actionIndex), QUARNEL_PLACE);
}

const double ActionTilings::getActionValue(int actionIndex) const {
  if (!checkWeights(QUARNEL_PLACE)) {
    return std::numeric_limits<double>::max();
  }
  checkActionIndex(actionIndex, QUARNEL_PLACE);
  return sumActiveWeights(shiftOf(actionIndex));
}

void ActionTilings::storeEpisodeState(int actionIndex) {
  rememberTiles(shiftOf(actionIndex), QUARNEL_PLACE);
}

void ActionTilings::setActiveActionValue(int actionIndex, double actionValue) {
  if (!checkWeights(QUARNEL_PLACE)) {
    return;
  }
  checkActionIndex(actionIndex, QUARNEL_PLACE);
  for (int t = 0; t < TILINGS; ++t) {
    const int index = behind(activeTile(t), shiftOf(actionIndex));
    if (index != -1) {
      weights[index] = actionValue;
    }
  }
}

void ActionTilings::setActionValue(int actionIndex, double actionValue) {
  if (!checkWeights(QUARNEL_PLACE)) {
    return;
  }
  checkActionIndex(actionIndex, QUARNEL_PLACE);
  // A run of weights for the action's tilings at `first`, and one in every block behind it.
  const long long first = static_cast<long long>(actionIndex) * TILINGS;
  const long long block = static_cast<long long>(ACTIONS) * TILINGS;
  const long long stride = block > 0 ? block : std::numeric_limits<long long>::max();
  for (long long i = std::max(first, 0LL); i < ARRAY_SIZE; ++i) {
    if ((i - first) % stride < TILINGS) {
      weights[i] = actionValue;
    }
  }
}

const bool ActionTilings::removeAction(int actionIndex) {
  if (ACTIONS == 1) {
    QUARNEL_ERROR("ACTIONS == 1 --> Can not remove last action!");
    return false;
  }
  if (!checkWeights(QUARNEL_PLACE) || !checkActionIndex(actionIndex, QUARNEL_PLACE)) {
    return false;
  }
  const long long size = countWeights(ACTIONS - 1);
  if (size < 0 || size > ARRAY_SIZE) {
    // Only a damaged file brings tiles that don't go with the number of weights.
    QUARNEL_ERROR("the tiles make " << size << " weights for " << ACTIONS - 1
                                    << " actions --> ARRAY_SIZE is only " << ARRAY_SIZE << "!");
    return false;
  }
  double* const survivors = Allocation::zeroes<double>(size, QUARNEL_PLACE);
  if (survivors == nullptr) {
    return false;
  }
  copyWeightsWithout(actionIndex, survivors, static_cast<int>(size));
  --ACTIONS;
  layOutStrides(ACTIONS);
  layOutOffsets();
  ARRAY_SIZE = static_cast<int>(size);
  delete[] weights;
  weights = survivors;
  discardTraces();
  std::fill_n(activeTiles, TILINGS, -1);
  episodeIndexHistorySet.clear();
  return true;
}

void ActionTilings::copyWeightsWithout(int actionIndex, double* survivors, int size) const {
  int next = 0;
  for (int i = 0; TILINGS > 0 && i < ARRAY_SIZE && next < size; ++i) {
    if (i / TILINGS % ACTIONS != actionIndex) {
      survivors[next] = weights[i];
      ++next;
    }
  }
}

void ActionTilings::discardTraces() {
  // Only what the next update would use first is discarded; the stored tiles survive the traces.
  if (traceStorage == Types::ARRAY && eTraces != nullptr) {
    delete[] eTraces;
    eTraces = nullptr;
  } else if (traceStorage == Types::MAP && !eTracesMap.empty()) {
    clearTraceMap();
  } else {
    releaseStoredTiles();
  }
}
