#include "ActionValueFunction.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>

#include "Allocation.h"
#include "BinaryFile.h"
#include "NamedFile.h"
#include "RandomDraw.h"
#include "Rounding.h"
#include "WrapAround.h"

namespace {

// A file may name this many actions whatever else it holds; more must fit into the rest of it.
const int TRUSTED_ACTIONS = 65536;

// One of the indices below `count`, all with the same probability; -1 when there is none.
const int drawIndex(int count) {
  const int index = std::max(Rounding::floorToInt(RandomDraw::unit() * count), 0);
  return index < count ? index : WrapAround::subtract(count, 1);
}

const bool mayHoldActions(FILE* file, int actions) {
  if (actions <= TRUSTED_ACTIONS) {
    return actions >= 0;
  }
  return actions <= BinaryFile::remainingBytes(file) / static_cast<std::int64_t>(sizeof(double));
}

}  // namespace

ActionValueFunction::ActionValueFunction(State* aStatePtr)
    : ValueFunction(aStatePtr),
      ACTIONS(0),
      activeActionIndex(-1),
      actionValues(nullptr),
      actionValuesSize(0) {}

ActionValueFunction::~ActionValueFunction() {
  delete[] actionValues;
  deleteActions(registeredActions.size());
}

void ActionValueFunction::registerAction(const AbstractAction* actionPtr) {
  if (ACTIONS == std::numeric_limits<int>::max()) {
    QUARNEL_ERROR("Cannot register more than " << ACTIONS << " actions!");
    return;
  }
  if (Allocation::succeeds([&] { registeredActions.push_back(actionPtr); }, "an action",
                           QUARNEL_PLACE)) {
    ++ACTIONS;
  }
}

void ActionValueFunction::unregisterAction(const AbstractAction* actionPtr) {
  for (std::size_t i = 0; i < registeredActions.size(); ++i) {
    if (registeredActions[i] == actionPtr) {
      unregisterAt(static_cast<int>(i));
      return;
    }
  }
}

void ActionValueFunction::unregisterAction(int actionIndex) {
  if (!isActionIndex(actionIndex)) {
    QUARNEL_ERROR("actionIndex " << actionIndex << " out of bounds [0, " << ACTIONS << ")");
    return;
  }
  unregisterAt(actionIndex);
}

void ActionValueFunction::unregisterAt(int actionIndex) {
  registeredActions.erase(registeredActions.begin() + actionIndex);
  removeAction(actionIndex);
  // Also after a removal that lowered ACTIONS itself: see the header.
  --ACTIONS;
}

void ActionValueFunction::setAction(int actionIndex, const AbstractAction* actionPtr) {
  if (!isActionIndex(actionIndex)) {
    QUARNEL_ERROR("actionIndex " << actionIndex << " out of bounds [0, " << ACTIONS << ")");
    return;
  }
  const AbstractAction* const replaced = registeredActions[static_cast<std::size_t>(actionIndex)];
  registeredActions[static_cast<std::size_t>(actionIndex)] = actionPtr;
  // An action may be registered more than once, and goes with its last entry.
  if (std::find(registeredActions.begin(), registeredActions.end(), replaced) ==
      registeredActions.end()) {
    delete replaced;
  }
}

const double ActionValueFunction::setGreedyActionIndex() {
  const int actions = std::max(ACTIONS, 0);
  std::array<int, 64> few;
  std::unique_ptr<int[]> many;
  if (static_cast<std::size_t>(actions) > few.size()) {
    many.reset(Allocation::array<int>(actions, QUARNEL_PLACE));
    if (many == nullptr) {
      activeActionIndex = -1;
      return std::numeric_limits<double>::lowest();
    }
  }
  int* const tied = many != nullptr ? many.get() : few.data();
  int ties = 0;
  double best = std::numeric_limits<double>::lowest();
  for (int i = 0; i < actions; ++i) {
    const double actionValue = getActionValue(i);
    if (actionValue > best) {
      best = actionValue;
      ties = 0;
    }
    if (actionValue == best) {
      tied[ties] = i;
      ++ties;
    }
  }
  const int drawn = drawIndex(ties);
  activeActionIndex = drawn < 0 ? drawn : tied[drawn];
  return best;
}

const double ActionValueFunction::setRandomActionIndex() {
  activeActionIndex = drawIndex(ACTIONS);
  return getActionValue(activeActionIndex);
}

const double ActionValueFunction::setSoftMaxActionIndex(double TEMPERATURE) {
  if (actionValues == nullptr) {
    actionValues = Allocation::array<double>(ACTIONS, QUARNEL_PLACE);
    actionValuesSize = actionValues != nullptr ? ACTIONS : 0;
  }
  double min = std::numeric_limits<double>::max();
  double max = std::numeric_limits<double>::lowest();
  for (int i = 0; i < ACTIONS; ++i) {
    const double actionValue = getActionValue(i);
    rememberValue(i, actionValue);
    if (actionValue < min) {
      min = actionValue;
    }
    if (actionValue > max) {
      max = actionValue;
    }
  }
  activeActionIndex =
      max - min == 0.0 ? drawIndex(ACTIONS) : drawSoftMaxIndex(min, (max - min) * TEMPERATURE);
  return getActionValue(activeActionIndex);
}

const int ActionValueFunction::drawSoftMaxIndex(double minActionValue, double scale) {
  double sum = 0.0;
  for (int i = 0; i < ACTIONS; ++i) {
    rememberValue(i, std::exp((rememberedValue(i) - minActionValue) / scale));
    sum += rememberedValue(i);
  }
  const int drawn = std::rand();
  double cumulative = 0.0;
  for (int i = 0; i < ACTIONS; ++i) {
    cumulative += rememberedValue(i) / sum * 2147483647.0;
    if (cumulative > drawn) {
      return i;
    }
  }
  return ACTIONS;
}

const double ActionValueFunction::rememberedValue(int actionIndex) const {
  return actionIndex < actionValuesSize ? actionValues[actionIndex] : 0.0;
}

void ActionValueFunction::rememberValue(int actionIndex, double actionValue) {
  if (actionIndex < actionValuesSize) {
    actionValues[actionIndex] = actionValue;
  }
}

const int ActionValueFunction::save(const std::string& fileName) const {
  FILE* const file = NamedFile::open(fileName, "w+", QUARNEL_PLACE);
  if (file == nullptr) {
    return -1;
  }
  const bool saved = NamedFile::saveState(file, statePtr, QUARNEL_PLACE) &&
                     BinaryFile::write(file, ACTIONS, QUARNEL_PLACE, NamedFile::SEPARATOR) &&
                     NamedFile::succeeded(save(file), "saving valuefunction failed", QUARNEL_PLACE);
  if (!saved) {
    std::fclose(file);
    return -1;
  }
  return NamedFile::close(file, QUARNEL_PLACE);
}

const int ActionValueFunction::load(const std::string& fileName) {
  FILE* const file = NamedFile::open(fileName, "r", QUARNEL_PLACE);
  if (file == nullptr) {
    return -1;
  }
  const bool loaded =
      NamedFile::loadState(file, statePtr, QUARNEL_PLACE) &&
      loadNumberOfActions(file, QUARNEL_PLACE) &&
      NamedFile::succeeded(load(file), "loading valuefunction failed", QUARNEL_PLACE);
  if (!loaded) {
    std::fclose(file);
    return -1;
  }
  return NamedFile::close(file, QUARNEL_PLACE);
}

const bool ActionValueFunction::loadNumberOfActions(FILE* file,
                                                    const QuarnelUtility::Place& place) {
  deleteActions(static_cast<std::size_t>(std::max(ACTIONS, 0)));
  int actions = 0;
  if (!BinaryFile::read(file, actions, place, NamedFile::SEPARATOR)) {
    return false;
  }
  if (!mayHoldActions(file, actions)) {
    BinaryFile::reportErrno(place, NamedFile::SEPARATOR);
    return false;
  }
  if (!Allocation::succeeds(
          [&] { registeredActions.assign(static_cast<std::size_t>(actions), nullptr); },
          "the actions", place)) {
    return false;
  }
  ACTIONS = actions;
  return true;
}

void ActionValueFunction::deleteActions(std::size_t count) {
  const auto begin = registeredActions.begin();
  const auto end = begin + static_cast<std::ptrdiff_t>(std::min(count, registeredActions.size()));
  // An action may be registered more than once, and is deleted once.
  std::sort(begin, end, std::less<>());
  std::for_each(begin, std::unique(begin, end),
                [](const AbstractAction* action) { delete action; });
  registeredActions.clear();
}
