#include <fcntl.h>
#include <gmock/gmock.h>
#include <quarnel/ActionValueFunction.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Draws.h"
#include "support/FailingNew.h"
#include "support/FakeValueFunctions.h"
#include "support/Files.h"
#include "support/ForcedDraws.h"
#include "support/NamedFiles.h"
#include "support/Reports.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const double LOWEST = -1.7976931348623157e308;
const double HIGHEST = 1.7976931348623157e308;
const double INFINITE = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
const int INT_HIGHEST = std::numeric_limits<int>::max();
const int INT_LOWEST = std::numeric_limits<int>::min();

class CountedAction : public AbstractAction {
 public:
  explicit CountedAction(int& newDeletions) : deletions(&newDeletions) {}
  CountedAction(const CountedAction&) = delete;
  CountedAction& operator=(const CountedAction&) = delete;
  ~CountedAction() override { ++*deletions; }

 private:
  int* deletions;
};

/// Asks for no memory itself, so that what fails is the library's.
class FrugalValueFunction : public FakeActionValueFunction {
 public:
  using FakeActionValueFunction::FakeActionValueFunction;
  using FakeActionValueFunction::load;

  const double getActionValue(int actionIndex) const override { return actionIndex; }
  const int load(FILE* /*file*/) override { return 0; }
};

/// Actions of which each knows whether it was deleted.
class ActionValueFunctionTest : public testing::Test {
 protected:
  /// Makes an action and registers it.
  const AbstractAction* add(std::size_t id) {
    const AbstractAction* const action = make(id);
    function->registerAction(action);
    return action;
  }

  void add(std::initializer_list<std::size_t> ids) {
    for (const std::size_t id : ids) {
      add(id);
    }
  }

  const AbstractAction* make(std::size_t id) {
    actions[id] = new CountedAction(deletions[id]);
    return actions[id];
  }

  std::vector<int> deletions = std::vector<int>(5, 0);
  std::vector<const AbstractAction*> actions = std::vector<const AbstractAction*>(5, nullptr);
  Reports reports;
  std::unique_ptr<FakeActionValueFunction> function =
      std::make_unique<FakeActionValueFunction>(newState());
};

std::string outOfBounds(const std::string& place, int actionIndex, int actions) {
  return "ActionValueFunction::" + place + ": actionIndex " + std::to_string(actionIndex) +
         " out of bounds [0, " + std::to_string(actions) + ")";
}

TEST_F(ActionValueFunctionTest, AddsActionsToTheInterface) {
  EXPECT_TRUE((std::is_base_of_v<ValueFunction, ActionValueFunction>));
  EXPECT_TRUE(std::is_abstract_v<ActionValueFunction>);
  EXPECT_TRUE(std::has_virtual_destructor_v<ActionValueFunction>);
}

TEST_F(ActionValueFunctionTest, StartsWithoutActions) {
  EXPECT_EQ(function->getNumberOfActions(), 0);
  EXPECT_EQ(function->getActiveActionIndex(), -1);
  EXPECT_THAT(function->registeredActions, IsEmpty());
  EXPECT_EQ(function->actionValues, nullptr);
}

TEST_F(ActionValueFunctionTest, HoldsTheStateItIsBuiltOn) {
  State* const state = newState();
  EXPECT_EQ(FakeActionValueFunction(state).getStatePtr(), state);
  EXPECT_EQ(FakeActionValueFunction(nullptr).getStatePtr(), nullptr);
}

TEST_F(ActionValueFunctionTest, ForwardsEveryActionOperationToOverrides) {
  struct Override : FakeActionValueFunction {
    using FakeActionValueFunction::FakeActionValueFunction;
    void registerAction(const AbstractAction* /*actionPtr*/) override { note("register"); }
    void unregisterAction(const AbstractAction* /*actionPtr*/) override { note("by pointer"); }
    void unregisterAction(int actionIndex) override { note("by index ", actionIndex); }
    void setAction(int actionIndex, const AbstractAction* /*actionPtr*/) override {
      note("set ", actionIndex);
    }
    const double setGreedyActionIndex() override { return 1.0; }
    const double setRandomActionIndex() override { return 2.0; }
    const double setSoftMaxActionIndex(double TEMPERATURE) override { return TEMPERATURE; }
  } override(nullptr);
  ActionValueFunction& interface = override;
  interface.registerAction(nullptr);
  interface.unregisterAction(nullptr);
  interface.unregisterAction(3);
  interface.setAction(4, nullptr);
  EXPECT_EQ(interface.setGreedyActionIndex(), 1.0);
  EXPECT_EQ(interface.setRandomActionIndex(), 2.0);
  EXPECT_EQ(interface.setSoftMaxActionIndex(3.0), 3.0);
  EXPECT_EQ(interface.getActionValue(0), FakeActionValueFunction::NO_VALUE);
  EXPECT_THAT(override.calls,
              ElementsAre("register", "by pointer", "by index 3", "set 4", "getActionValue(0)"));
}

TEST_F(ActionValueFunctionTest, RegistersActionsInOrderWithoutTheRepresentation) {
  add({0, 1, 2});
  EXPECT_EQ(function->getNumberOfActions(), 3);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1], actions[2]));
  EXPECT_EQ(function->getAction(0), actions[0]);
  EXPECT_EQ(function->getAction(1), actions[1]);
  EXPECT_EQ(function->getAction(2), actions[2]);
  EXPECT_EQ(function->getActiveActionIndex(), -1);
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionValueFunctionTest, RegistersNullAndTheSameActionAgain) {
  function->registerAction(nullptr);
  add(0);
  function->registerAction(actions[0]);
  function->registerAction(nullptr);
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_THAT(function->registeredActions, ElementsAre(nullptr, actions[0], actions[0], nullptr));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionValueFunctionTest, CountsNoFurtherThanAnIntegerReaches) {
  function->ACTIONS = INT_HIGHEST - 1;
  function->registerAction(nullptr);
  EXPECT_EQ(function->ACTIONS, INT_HIGHEST);
  EXPECT_EQ(reports.errorText(), "");
  function->registerAction(nullptr);
  EXPECT_EQ(function->ACTIONS, INT_HIGHEST);
  EXPECT_EQ(function->registeredActions.size(), 1U);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::registerAction: "
                          "Cannot register more than 2147483647 actions!"));
}

TEST_F(ActionValueFunctionTest, LeavesAnActionToTheCallerWhereThereIsNoMemoryToRegisterIt) {
  const AbstractAction stranger;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    function->registerAction(&stranger);
  }
  EXPECT_EQ(function->getNumberOfActions(), 0);
  EXPECT_THAT(function->registeredActions, IsEmpty());
  const std::vector<std::string> errors = withPlaces(reports.takeErrors());
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_THAT(errors[0], testing::StartsWith(
                             "ActionValueFunction::registerAction: Can not allocate memory for "));
}

TEST_F(ActionValueFunctionTest, ErasesAnActionBeforeTheRepresentationRemovesItFromTheOldCount) {
  add({0, 1, 2});
  function->unregisterAction(actions[1]);
  EXPECT_THAT(function->calls, ElementsAre("removeAction(1) of 3, 2 registered"));
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[2]));
  EXPECT_EQ(reports.errorText(), "");
  delete actions[1];
}

TEST_F(ActionValueFunctionTest, ErasesByIndexInTheSameOrder) {
  add({0, 1, 2});
  function->unregisterAction(0);
  EXPECT_THAT(function->calls, ElementsAre("removeAction(0) of 3, 2 registered"));
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[1], actions[2]));
  function->unregisterAction(1);
  EXPECT_THAT(function->calls, ElementsAre("removeAction(0) of 3, 2 registered",
                                           "removeAction(1) of 2, 1 registered"));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[1]));
  EXPECT_EQ(reports.errorText(), "");
  delete actions[0];
  delete actions[2];
}

TEST_F(ActionValueFunctionTest, GivesAnUnregisteredActionBackToTheCaller) {
  add({0, 1});
  function->unregisterAction(actions[0]);
  function->unregisterAction(0);
  function.reset();
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
  delete actions[0];
  delete actions[1];
}

TEST_F(ActionValueFunctionTest, UnregistersTheFirstOfEqualEntries) {
  add({0, 1});
  function->registerAction(actions[0]);
  function->unregisterAction(actions[0]);
  EXPECT_THAT(function->calls, ElementsAre("removeAction(0) of 3, 2 registered"));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[1], actions[0]));
}

TEST_F(ActionValueFunctionTest, UnregistersTheFirstNullForNull) {
  add(0);
  function->registerAction(nullptr);
  add(1);
  function->registerAction(nullptr);
  const AbstractAction* const nothing = nullptr;
  function->unregisterAction(nothing);
  EXPECT_THAT(function->calls, ElementsAre("removeAction(1) of 4, 3 registered"));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1], nullptr));
}

TEST_F(ActionValueFunctionTest, IgnoresAnActionThatIsNotRegistered) {
  add({0, 1});
  const AbstractAction stranger;
  const AbstractAction* const nothing = nullptr;
  function->unregisterAction(&stranger);
  function->unregisterAction(nothing);
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1]));
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionValueFunctionTest, ReportsAnIndexToUnregisterThatIsOutOfBounds) {
  add({0, 1, 2});
  for (const int index : {INT_LOWEST, -1, 3, 4, 5, INT_HIGHEST}) {
    function->unregisterAction(index);
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre(outOfBounds("unregisterAction", index, 3)));
  }
  EXPECT_EQ(function->getNumberOfActions(), 3);
  EXPECT_EQ(function->registeredActions.size(), 3U);
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(ActionValueFunctionTest, ReportsEveryIndexToUnregisterWhereThereIsNoAction) {
  function->unregisterAction(0);
  EXPECT_EQ(reports.errors(), messages({"actionIndex 0 out of bounds [0, 0)"}));
}

TEST_F(ActionValueFunctionTest, LosesTwoOfItsCountWhereTheRepresentationCountsTheRemovalToo) {
  function->removes = true;
  add({0, 1, 2, 3});
  function->unregisterAction(actions[1]);
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[2], actions[3]));
  function->unregisterAction(0);
  EXPECT_EQ(function->getNumberOfActions(), 0);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[2], actions[3]));
  EXPECT_THAT(function->calls, ElementsAre("removeAction(1) of 4, 3 registered",
                                           "removeAction(0) of 2, 2 registered"));
  delete actions[0];
  delete actions[1];
}

TEST_F(ActionValueFunctionTest, LosesOneOfItsCountWhereTheRepresentationRefusesTheRemoval) {
  add({0, 1});
  function->unregisterAction(actions[1]);
  EXPECT_EQ(function->getNumberOfActions(), 1);
  EXPECT_EQ(function->registeredActions.size(), 1U);
  function->unregisterAction(0);
  EXPECT_EQ(function->getNumberOfActions(), 0);
  EXPECT_THAT(function->registeredActions, IsEmpty());
  delete actions[0];
  delete actions[1];
}

TEST_F(ActionValueFunctionTest, TellsIndicesByTheCountAndPointersByTheRegistry) {
  function->removes = true;
  add({0, 1, 2});
  function->unregisterAction(actions[0]);
  ASSERT_EQ(function->getNumberOfActions(), 1);
  function->unregisterAction(1);
  EXPECT_THAT(withPlaces(reports.takeErrors()), ElementsAre(outOfBounds("unregisterAction", 1, 1)));
  EXPECT_EQ(function->registeredActions.size(), 2U);
  function->unregisterAction(actions[2]);
  EXPECT_EQ(function->getNumberOfActions(), -1);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[1]));
  function->unregisterAction(0);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre(outOfBounds("unregisterAction", 0, -1)));
  delete actions[0];
  delete actions[2];
}

TEST_F(ActionValueFunctionTest, PutsAnActionInTheEmptyPlaceAtAnIndex) {
  function->registerAction(nullptr);
  function->registerAction(nullptr);
  function->setAction(0, make(0));
  function->setAction(1, make(1));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1]));
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionValueFunctionTest, DeletesTheActionThatAnotherReplaces) {
  add({0, 1});
  function->setAction(1, make(2));
  EXPECT_THAT(deletions, ElementsAre(0, 1, 0, 0, 0));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[2]));
  function->setAction(0, nullptr);
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
  EXPECT_EQ(function->getAction(0), nullptr);
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->calls, IsEmpty());
}

TEST_F(ActionValueFunctionTest, KeepsAnActionThatIsPutBackInItsPlace) {
  add(0);
  function->setAction(0, actions[0]);
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(function->getAction(0), actions[0]);
}

TEST_F(ActionValueFunctionTest, ReportsAnIndexToSetThatIsOutOfBounds) {
  add({0, 1, 2});
  const AbstractAction stranger;
  for (const int index : {INT_LOWEST, -1, 3, 4, INT_HIGHEST}) {
    function->setAction(index, &stranger);
    EXPECT_THAT(withPlaces(reports.takeErrors()), ElementsAre(outOfBounds("setAction", index, 3)));
  }
  EXPECT_EQ(function->getNumberOfActions(), 3);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1], actions[2]));
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(ActionValueFunctionTest, ReportsAnIndexToSetBeyondTheCountThoughRegistered) {
  function->removes = true;
  add({0, 1, 2});
  function->unregisterAction(actions[0]);
  const AbstractAction stranger;
  function->setAction(1, &stranger);
  EXPECT_THAT(withPlaces(reports.takeErrors()), ElementsAre(outOfBounds("setAction", 1, 1)));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[1], actions[2]));
  delete actions[0];
}

TEST_F(ActionValueFunctionTest, GivesNoActionForAnIndexWithoutOne) {
  EXPECT_EQ(function->getAction(0), nullptr);
  add({0, 1});
  for (const int index : {INT_LOWEST, -1, 2, 3, INT_HIGHEST}) {
    EXPECT_EQ(function->getAction(index), nullptr) << index;
  }
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionValueFunctionTest, GivesTheActiveActionOnceThereIsOne) {
  add({0, 1});
  EXPECT_EQ(function->getActiveAction(), nullptr);
  function->activeActionIndex = 1;
  EXPECT_EQ(function->getActiveActionIndex(), 1);
  EXPECT_EQ(function->getActiveAction(), actions[1]);
  function->activeActionIndex = 2;
  EXPECT_EQ(function->getActiveAction(), nullptr);
}

TEST_F(ActionValueFunctionTest, DeletesItsActionsInTheEnd) {
  add({0, 1});
  function->registerAction(nullptr);
  add(2);
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
  function.reset();
  EXPECT_THAT(deletions, ElementsAre(1, 1, 1, 0, 0));
}

TEST_F(ActionValueFunctionTest, DeletesRegisteredActionsBeyondTheCountToo) {
  function->removes = true;
  add({0, 1, 2});
  function->unregisterAction(actions[0]);
  ASSERT_EQ(function->getNumberOfActions(), 1);
  function.reset();
  EXPECT_THAT(deletions, ElementsAre(0, 1, 1, 0, 0));
  delete actions[0];
}

TEST_F(ActionValueFunctionTest, DeletesAnActionThatIsRegisteredTwiceOnce) {
  add({0, 1});
  function->registerAction(actions[0]);
  function.reset();
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
}

TEST_F(ActionValueFunctionTest, DeletesAReplacedActionWithItsLastEntry) {
  add({0, 1});
  function->registerAction(actions[0]);
  function->setAction(0, make(2));
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
  function->setAction(2, make(3));
  EXPECT_THAT(deletions, ElementsAre(1, 0, 0, 0, 0));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[2], actions[1], actions[3]));
}

/// A value function that has an action for every value.
class SelectionTest : public testing::Test {
 protected:
  void setValues(const std::vector<double>& values) {
    function.values = values;
    function.ACTIONS = static_cast<int>(values.size());
    function.calls.clear();
  }

  double greedyOn(int number) {
    const ForcedDraws draws{number};
    return function.setGreedyActionIndex();
  }

  double randomOn(int number) {
    const ForcedDraws draws{number};
    return function.setRandomActionIndex();
  }

  double softMaxOn(int number, double TEMPERATURE) {
    const ForcedDraws draws{number};
    return function.setSoftMaxActionIndex(TEMPERATURE);
  }

  int softMaxIndexOn(int number, double TEMPERATURE) {
    softMaxOn(number, TEMPERATURE);
    return function.getActiveActionIndex();
  }

  Reports reports;
  FakeActionValueFunction function{nullptr};
};

using GreedyTest = SelectionTest;
using RandomTest = SelectionTest;
using SoftMaxTest = SelectionTest;

const std::vector<std::vector<double>> VALUES = {
    {0.0},
    {-3.5},
    {1.0, 1.0},
    {0.25, 0.5, 0.5},
    {0.5, 0.25, 0.5, 0.125},
    {0.1, 0.2, 0.3, 0.4, 0.5},
    {5.0, 4.0, 3.0, 2.0, 1.0, 0.0, -1.0},
    {-1e-300, 1e-300},
    {1e300, -1e300, 1e300},
    std::vector<double>(1000, 0.75),
};

int plainIndex(int number, int count) {
  const double scaled = std::floor(number / 2147483648.0 * count);
  return static_cast<int>(std::min(std::max(scaled, 0.0), count - 1.0));
}

int plainGreedy(const std::vector<double>& values, int number) {
  const double best = *std::max_element(values.begin(), values.end());
  std::vector<int> tied;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i] == best) {
      tied.push_back(static_cast<int>(i));
    }
  }
  return tied[static_cast<std::size_t>(plainIndex(number, static_cast<int>(tied.size())))];
}

// The running sums that the drawn number is compared with. Only so many values are remembered as
// there were actions in the first choice.
std::vector<double> plainCumulatives(const std::vector<double>& values, double TEMPERATURE,
                                     std::size_t remembered) {
  const double min = *std::min_element(values.begin(), values.end());
  const double max = *std::max_element(values.begin(), values.end());
  const double scale = (max - min) * TEMPERATURE;
  std::vector<double> weights;
  double sum = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    weights.push_back(i < remembered ? std::exp((values[i] - min) / scale) : 0.0);
    sum += weights.back();
  }
  std::vector<double> cumulatives;
  double cumulative = 0.0;
  for (const double weight : weights) {
    // The product is kept in memory, so that no compiler rounds product and sum at once.
    const volatile double share = weight / sum * 2147483647.0;
    cumulative += share;
    cumulatives.push_back(cumulative);
  }
  return cumulatives;
}

int plainSoftMax(const std::vector<double>& values, double TEMPERATURE, int number) {
  const auto [min, max] = std::minmax_element(values.begin(), values.end());
  const int count = static_cast<int>(values.size());
  if (*max - *min == 0.0) {
    return plainIndex(number, count);
  }
  int index = 0;
  for (const double cumulative : plainCumulatives(values, TEMPERATURE, values.size())) {
    if (cumulative > number) {
      return index;
    }
    ++index;
  }
  return count;
}

std::vector<std::string> valueQueries(int actions) {
  std::vector<std::string> calls;
  for (int i = 0; i < actions; ++i) {
    calls.push_back("getActionValue(" + std::to_string(i) + ")");
  }
  return calls;
}

TEST_F(GreedyTest, AsksForEveryValueOnceInOrder) {
  setValues({3.0, 1.0, 2.0});
  greedyOn(0);
  EXPECT_EQ(function.calls, valueQueries(3));
}

TEST_F(GreedyTest, ChoosesTheGreatestValueWhereverItStands) {
  for (int best = 0; best < 3; ++best) {
    std::vector<double> values = {-2.0, -2.0, -2.0};
    values[static_cast<std::size_t>(best)] = -1.5;
    setValues(values);
    EXPECT_EQ(greedyOn(2147483647), -1.5);
    EXPECT_EQ(function.getActiveActionIndex(), best);
  }
}

TEST_F(GreedyTest, ReturnsTheValueWithoutAskingForItAgain) {
  setValues({3.0, 1.0});
  EXPECT_EQ(greedyOn(0), 3.0);
  EXPECT_EQ(function.calls.size(), 2U);
}

TEST_F(GreedyTest, DrawsOnceEvenForASingleGreatestValue) {
  setValues({0.5, 2.0, 1.0});
  EXPECT_EQ(countDraws([&] { function.setGreedyActionIndex(); }), 1);
  EXPECT_EQ(function.getActiveActionIndex(), 1);
}

TEST_F(GreedyTest, BreaksATieOfTwoInTheMiddleOfTheDraws) {
  setValues({1.0, 0.0, 1.0});
  for (const int number : {0, 1, 1073741823}) {
    EXPECT_EQ(greedyOn(number), 1.0);
    EXPECT_EQ(function.getActiveActionIndex(), 0) << number;
  }
  for (const int number : {1073741824, 1073741825, 2147483646, 2147483647}) {
    EXPECT_EQ(greedyOn(number), 1.0);
    EXPECT_EQ(function.getActiveActionIndex(), 2) << number;
  }
}

TEST_F(GreedyTest, BreaksATieOfThreeAtTheThirdsOfTheDraws) {
  setValues({0.0, 1.0, 1.0, 1.0});
  const std::vector<int> numbers = {0, 715827882, 715827883, 1431655765, 1431655766, 2147483647};
  const std::vector<int> indices = {1, 1, 2, 2, 3, 3};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    greedyOn(numbers[i]);
    EXPECT_EQ(function.getActiveActionIndex(), indices[i]) << numbers[i];
  }
}

TEST_F(GreedyTest, ForgetsTheTiesOfASmallerValue) {
  setValues({1.0, 1.0, 2.0});
  greedyOn(0);
  EXPECT_EQ(function.getActiveActionIndex(), 2);
}

TEST_F(GreedyTest, ChoosesByTheStreamOfDraws) {
  for (const std::vector<double>& values : VALUES) {
    for (unsigned int seed = 1; seed <= 20; ++seed) {
      setValues(values);
      const int expected = plainGreedy(values, draw(seed, 0));
      double value = 0.0;
      EXPECT_EQ(countDraws([&] { value = function.setGreedyActionIndex(); }, seed), 1);
      EXPECT_EQ(function.getActiveActionIndex(), expected) << "seed " << seed;
      EXPECT_EQ(value, *std::max_element(values.begin(), values.end())) << "seed " << seed;
    }
  }
}

TEST_F(GreedyTest, NeverTakesWhatIsNotANumber) {
  setValues({NOT_A_NUMBER, -5.0, NOT_A_NUMBER, -5.0, NOT_A_NUMBER});
  EXPECT_EQ(greedyOn(0), -5.0);
  EXPECT_EQ(function.getActiveActionIndex(), 1);
  EXPECT_EQ(greedyOn(2147483647), -5.0);
  EXPECT_EQ(function.getActiveActionIndex(), 3);
}

TEST_F(GreedyTest, TakesThePositiveInfinity) {
  setValues({HIGHEST, INFINITE, 0.0, INFINITE});
  EXPECT_EQ(greedyOn(2147483647), INFINITE);
  EXPECT_EQ(function.getActiveActionIndex(), 3);
}

TEST_F(GreedyTest, TakesTheLowestFiniteValueButNotTheNegativeInfinity) {
  setValues({-INFINITE, LOWEST, -INFINITE, LOWEST, -INFINITE});
  EXPECT_EQ(greedyOn(1073741823), LOWEST);
  EXPECT_EQ(function.getActiveActionIndex(), 1);
  EXPECT_EQ(greedyOn(1073741824), LOWEST);
  EXPECT_EQ(function.getActiveActionIndex(), 3);
}

TEST_F(GreedyTest, TiesBothZerosAndReturnsTheFirst) {
  setValues({-0.0, 0.0});
  EXPECT_TRUE(std::signbit(greedyOn(2147483647)));
  EXPECT_EQ(function.getActiveActionIndex(), 1);
  setValues({0.0, -0.0});
  EXPECT_FALSE(std::signbit(greedyOn(2147483647)));
  EXPECT_EQ(function.getActiveActionIndex(), 1);
}

TEST_F(GreedyTest, ChoosesNothingWhereNoValueCanBeCompared) {
  const std::vector<std::vector<double>> lists = {
      {}, {NOT_A_NUMBER}, {-INFINITE}, {-INFINITE, NOT_A_NUMBER, -INFINITE}};
  for (const std::vector<double>& values : lists) {
    setValues(values);
    function.activeActionIndex = 3;
    EXPECT_EQ(greedyOn(2147483647), LOWEST);
    EXPECT_EQ(function.getActiveActionIndex(), -1);
    EXPECT_EQ(function.calls, valueQueries(static_cast<int>(values.size())));
  }
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(GreedyTest, ChoosesNothingWhereTheCountFellBelowZero) {
  function.ACTIONS = -1;
  EXPECT_EQ(greedyOn(2147483647), LOWEST);
  EXPECT_EQ(function.getActiveActionIndex(), -1);
  EXPECT_THAT(function.calls, IsEmpty());
}

TEST_F(GreedyTest, ChoosesNothingOrRightlyWhereMemoryIsShort) {
  FrugalValueFunction frugal(nullptr);
  frugal.ACTIONS = 3;
  bool failed = true;
  for (int call = 1; failed; ++call) {
    double value = 0.0;
    const ForcedDraws draws{0};
    {
      const FailingNew memory(FailingNew::ONE, call);
      value = frugal.setGreedyActionIndex();
      failed = memory.failed();
    }
    EXPECT_EQ(frugal.getActiveActionIndex(), failed ? -1 : 2);
    EXPECT_EQ(value, failed ? LOWEST : 2.0);
    EXPECT_EQ(reports.errors().size(), failed ? 1U : 0U);
  }
}

TEST_F(RandomTest, AsksOnlyForTheValueItChose) {
  setValues({3.0, 1.0, 2.0});
  EXPECT_EQ(randomOn(1073741824), 1.0);
  EXPECT_EQ(function.getActiveActionIndex(), 1);
  EXPECT_THAT(function.calls, ElementsAre("getActionValue(1)"));
}

TEST_F(RandomTest, DividesTheDrawsEvenly) {
  setValues({0.0, 1.0, 2.0});
  const std::vector<int> numbers = {0, 715827882, 715827883, 1431655765, 1431655766, 2147483647};
  const std::vector<int> indices = {0, 0, 1, 1, 2, 2};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    EXPECT_EQ(randomOn(numbers[i]), indices[i]) << numbers[i];
    EXPECT_EQ(function.getActiveActionIndex(), indices[i]) << numbers[i];
  }
}

TEST_F(RandomTest, ChoosesByTheStreamOfDraws) {
  for (const std::vector<double>& values : VALUES) {
    for (unsigned int seed = 1; seed <= 20; ++seed) {
      setValues(values);
      const int expected = plainIndex(draw(seed, 0), static_cast<int>(values.size()));
      double value = 0.0;
      EXPECT_EQ(countDraws([&] { value = function.setRandomActionIndex(); }, seed), 1);
      EXPECT_EQ(function.getActiveActionIndex(), expected) << "seed " << seed;
      EXPECT_EQ(value, values[static_cast<std::size_t>(expected)]) << "seed " << seed;
    }
  }
}

TEST_F(RandomTest, DrawsBelowTheGreatestCountToo) {
  function.ACTIONS = INT_HIGHEST;
  EXPECT_EQ(randomOn(0), FakeActionValueFunction::NO_VALUE);
  EXPECT_EQ(function.getActiveActionIndex(), 0);
  randomOn(2147483647);
  EXPECT_EQ(function.getActiveActionIndex(), 2147483646);
  // 2^30 / 2^31 * (2^31 - 1) = 2^30 - 0.5
  randomOn(1073741824);
  EXPECT_EQ(function.getActiveActionIndex(), 1073741823);
}

TEST_F(RandomTest, AsksForTheValueBeforeTheFirstWhereThereIsNoAction) {
  for (const int number : {0, 1073741824, 2147483647}) {
    setValues({});
    function.activeActionIndex = 3;
    EXPECT_EQ(randomOn(number), FakeActionValueFunction::NO_VALUE);
    EXPECT_EQ(function.getActiveActionIndex(), -1) << number;
    EXPECT_THAT(function.calls, ElementsAre("getActionValue(-1)"));
  }
}

TEST_F(RandomTest, ClampsFromBothSidesWhereTheCountFellBelowZero) {
  function.ACTIONS = -1;
  randomOn(0);
  EXPECT_EQ(function.getActiveActionIndex(), -2);
  randomOn(2147483647);
  EXPECT_EQ(function.getActiveActionIndex(), -2);
}

TEST_F(SoftMaxTest, AsksForEveryValueInOrderAndThenForTheChosenOne) {
  setValues({3.0, 1.0, 2.0});
  EXPECT_EQ(softMaxOn(0, 1.0), 3.0);
  std::vector<std::string> expected = valueQueries(3);
  expected.emplace_back("getActionValue(0)");
  EXPECT_EQ(function.calls, expected);
}

TEST_F(SoftMaxTest, ReturnsTheValueAskedForLast) {
  struct Changing : FakeActionValueFunction {
    using FakeActionValueFunction::FakeActionValueFunction;
    const double getActionValue(int actionIndex) const override {
      return actionIndex + 10.0 * static_cast<double>(++queries);
    }
    mutable int queries = 0;
  } changing(nullptr);
  changing.ACTIONS = 2;
  const ForcedDraws draws{0};
  EXPECT_EQ(changing.setSoftMaxActionIndex(1.0), 30.0);
}

TEST_F(SoftMaxTest, ScalesTheValuesByTheirRange) {
  setValues({2.0, 6.0, 4.0});
  softMaxOn(0, 0.5);
  // (6 - 2) * 0.5 = 2 divides the distances 0, 4 and 2 from the smallest value.
  volatile double one = 1.0;
  EXPECT_EQ(function.actionValues[0], 1.0);
  EXPECT_EQ(function.actionValues[1], std::exp(one + one));
  EXPECT_EQ(function.actionValues[2], std::exp(one));
}

TEST_F(SoftMaxTest, ChoosesAlikeWhereValuesDifferByAScaleAndAnOffset) {
  setValues({2.0, 6.0, 4.0});
  softMaxOn(0, 0.5);
  const std::vector<double> weights(function.actionValues, function.actionValues + 3);
  setValues({-1024.0, 3072.0, 1024.0});
  softMaxOn(0, 0.5);
  EXPECT_EQ(std::vector<double>(function.actionValues, function.actionValues + 3), weights);
}

TEST_F(SoftMaxTest, ChoosesByTheStreamOfDraws) {
  for (const std::vector<double>& values : VALUES) {
    for (const double temperature : {0.05, 0.5, 1.0, 20.0}) {
      FakeActionValueFunction fresh(nullptr);
      fresh.values = values;
      fresh.ACTIONS = static_cast<int>(values.size());
      for (unsigned int seed = 1; seed <= 20; ++seed) {
        const int expected = plainSoftMax(values, temperature, draw(seed, 0));
        double value = 0.0;
        EXPECT_EQ(countDraws([&] { value = fresh.setSoftMaxActionIndex(temperature); }, seed), 1);
        EXPECT_EQ(fresh.getActiveActionIndex(), expected) << "seed " << seed;
        EXPECT_EQ(value, values[static_cast<std::size_t>(expected)]) << "seed " << seed;
      }
    }
  }
}

TEST_F(SoftMaxTest, ComparesTheDrawWithTheRunningSums) {
  const std::vector<double> values = {0.1, 0.7, -0.4, 0.3, 0.2};
  setValues(values);
  for (const double temperature : {0.1, 1.0, 7.0}) {
    const std::vector<double> sums = plainCumulatives(values, temperature, values.size());
    for (int i = 0; i < 4; ++i) {
      const double sum = sums[static_cast<std::size_t>(i)];
      ASSERT_NE(sum, std::floor(sum));
      EXPECT_EQ(softMaxIndexOn(static_cast<int>(sum), temperature), i);
      EXPECT_EQ(softMaxIndexOn(static_cast<int>(sum) + 1, temperature), i + 1);
    }
  }
}

TEST_F(SoftMaxTest, HalvesTheDrawsBetweenTwoAtEndlessHeat) {
  setValues({1.0, 2.0});
  // Both weights are 1, and each takes 0.5 * 2147483647 = 1073741823.5.
  EXPECT_EQ(softMaxIndexOn(0, INFINITE), 0);
  EXPECT_EQ(softMaxIndexOn(1073741823, INFINITE), 0);
  EXPECT_EQ(softMaxIndexOn(1073741824, INFINITE), 1);
  EXPECT_EQ(softMaxIndexOn(2147483646, INFINITE), 1);
}

TEST_F(SoftMaxTest, ChoosesOnePastTheLastWhereTheRunningSumStaysBelowTheDraw) {
  setValues({1.0, 2.0});
  EXPECT_EQ(softMaxOn(2147483647, INFINITE), FakeActionValueFunction::NO_VALUE);
  EXPECT_EQ(function.getActiveActionIndex(), 2);
  EXPECT_EQ(function.calls.back(), "getActionValue(2)");
}

TEST_F(SoftMaxTest, PassesOverASumThatOnlyEqualsTheDraw) {
  // The greater value weighs exp(-1000) = 0 at this temperature.
  setValues({2.0, 1.0});
  EXPECT_EQ(softMaxOn(0, -0.001), 1.0);
  EXPECT_EQ(function.actionValues[0], 0.0);
  EXPECT_EQ(function.actionValues[1], 1.0);
  EXPECT_EQ(function.getActiveActionIndex(), 1);
}

TEST_F(SoftMaxTest, FavoursTheGreatestValueInTheCold) {
  setValues({0.0, 1.0, 0.5});
  EXPECT_EQ(softMaxIndexOn(1, 0.01), 1);
  EXPECT_EQ(softMaxIndexOn(2147483646, 0.01), 1);
}

TEST_F(SoftMaxTest, ChoosesEvenlyAmongEqualValuesAsTheRandomRuleDoes) {
  setValues({0.75, 0.75, 0.75});
  for (const int number : {0, 715827882, 715827883, 1431655765, 1431655766, 2147483647}) {
    randomOn(number);
    const int expected = function.getActiveActionIndex();
    function.calls.clear();
    EXPECT_EQ(softMaxOn(number, 1.0), 0.75);
    EXPECT_EQ(function.getActiveActionIndex(), expected) << number;
    EXPECT_EQ(function.calls.back(), "getActionValue(" + std::to_string(expected) + ")");
    EXPECT_EQ(function.calls.size(), 4U);
  }
}

TEST_F(SoftMaxTest, ChoosesEvenlyBetweenBothZeros) {
  setValues({-0.0, 0.0});
  EXPECT_EQ(softMaxIndexOn(1073741823, 1.0), 0);
  EXPECT_EQ(softMaxIndexOn(1073741824, 1.0), 1);
}

TEST_F(SoftMaxTest, LeavesEqualValuesAsTheyAre) {
  setValues({0.75, 0.75});
  softMaxOn(0, 1.0);
  EXPECT_EQ(function.actionValues[0], 0.75);
  EXPECT_EQ(function.actionValues[1], 0.75);
}

TEST_F(SoftMaxTest, TakesTheOnlyActionAtAnyTemperature) {
  setValues({-4.5});
  for (const double temperature : {0.0, 1.0, -1.0, INFINITE, NOT_A_NUMBER}) {
    EXPECT_EQ(softMaxOn(2147483647, temperature), -4.5);
    EXPECT_EQ(function.getActiveActionIndex(), 0) << temperature;
  }
}

TEST_F(SoftMaxTest, ChoosesOnePastTheLastWhereWeightsAreNotNumbers) {
  struct Case {
    std::vector<double> values;
    double temperature;
  };
  const std::vector<Case> cases = {
      // A range or a scale of which no weight can be made.
      {{1.0, 2.0, 3.0}, 0.0},
      {{1.0, 2.0, 3.0}, NOT_A_NUMBER},
      {{NOT_A_NUMBER, NOT_A_NUMBER}, 1.0},
      {{LOWEST, HIGHEST}, 1.0},
      // Infinities are no equal values: the range is measured from the greatest finite numbers.
      {{1.0, INFINITE}, 1.0},
      {{-INFINITE, 1.0}, 1.0},
      {{INFINITE, INFINITE}, 1.0},
      {{-INFINITE, -INFINITE}, 1.0},
      // A sum that is infinite or not a number.
      {{1.0, 2.0, 3.0}, 0.001},
      {{1.0, NOT_A_NUMBER, 3.0}, 1.0},
  };
  for (const Case& each : cases) {
    setValues(each.values);
    const int actions = function.ACTIONS;
    EXPECT_EQ(softMaxOn(0, each.temperature), FakeActionValueFunction::NO_VALUE);
    EXPECT_EQ(function.getActiveActionIndex(), actions) << testing::PrintToString(each.values);
  }
}

TEST_F(SoftMaxTest, AllocatesItsArrayAtTheFirstChoiceOnly) {
  setValues({1.0, 2.0});
  greedyOn(0);
  randomOn(0);
  EXPECT_EQ(function.actionValues, nullptr);
  softMaxOn(0, 1.0);
  const double* const array = function.actionValues;
  EXPECT_NE(array, nullptr);
  setValues({1.0, 2.0, 3.0, 4.0});
  softMaxOn(0, 1.0);
  EXPECT_EQ(function.actionValues, array);
  setValues({1.0});
  softMaxOn(0, 1.0);
  EXPECT_EQ(function.actionValues, array);
}

TEST_F(SoftMaxTest, AllocatesItsArrayForEqualValuesToo) {
  setValues({1.0, 1.0});
  softMaxOn(0, 1.0);
  const double* const array = function.actionValues;
  EXPECT_NE(array, nullptr);
  setValues({1.0, 2.0, 3.0});
  EXPECT_EQ(softMaxIndexOn(2147483647, INFINITE), 3);
  EXPECT_EQ(function.actionValues, array);
}

TEST_F(SoftMaxTest, GivesNoWeightToActionsRegisteredAfterTheFirstChoice) {
  setValues({0.0, 1.0});
  softMaxOn(0, 1.0);
  const std::vector<double> grown = {0.0, 1.0, 100.0};
  setValues(grown);
  const std::vector<double> sums = plainCumulatives(grown, 1.0, 2);
  EXPECT_EQ(softMaxIndexOn(static_cast<int>(sums[0]), 1.0), 0);
  EXPECT_EQ(softMaxIndexOn(static_cast<int>(sums[0]) + 1, 1.0), 1);
  EXPECT_EQ(softMaxIndexOn(2147483640, 1.0), 1);
}

TEST_F(SoftMaxTest, TakesTheRangeFromActionsRegisteredAfterTheFirstChoiceToo) {
  setValues({0.0, 1.0});
  softMaxOn(0, 1.0);
  setValues({0.0, 2.0, 4.0});
  softMaxOn(0, 0.5);
  // (4 - 0) * 0.5 = 2 divides the distance 2.
  volatile double one = 1.0;
  EXPECT_EQ(function.actionValues[0], 1.0);
  EXPECT_EQ(function.actionValues[1], std::exp(one));
}

TEST_F(SoftMaxTest, DrawsAmongAllActionsWhereValuesAreEqualWheneverRegistered) {
  setValues({1.0, 1.0});
  softMaxOn(0, 1.0);
  setValues({1.0, 1.0, 1.0});
  EXPECT_EQ(softMaxOn(2147483647, 1.0), 1.0);
  EXPECT_EQ(function.getActiveActionIndex(), 2);
}

TEST_F(SoftMaxTest, ChoosesAmongTheRestAfterARemoval) {
  setValues({0.0, 1.0, 2.0});
  softMaxOn(0, 1.0);
  setValues({0.0, 1.0});
  EXPECT_EQ(softMaxIndexOn(1073741823, INFINITE), 0);
  EXPECT_EQ(softMaxIndexOn(1073741824, INFINITE), 1);
  EXPECT_EQ(softMaxIndexOn(2147483647, INFINITE), 2);
}

TEST_F(SoftMaxTest, ChoosesIndexZeroWithoutActions) {
  setValues({});
  EXPECT_EQ(softMaxOn(1073741824, 1.0), FakeActionValueFunction::NO_VALUE);
  EXPECT_EQ(function.getActiveActionIndex(), 0);
  EXPECT_THAT(function.calls, ElementsAre("getActionValue(0)"));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(SoftMaxTest, RemembersNothingForGoodAfterAFirstChoiceWithoutActions) {
  setValues({});
  softMaxOn(0, 1.0);
  setValues({1.0, 2.0});
  EXPECT_EQ(softMaxIndexOn(0, 1.0), 2);
  setValues({2.0, 2.0});
  EXPECT_EQ(softMaxIndexOn(2147483647, 1.0), 1);
}

TEST_F(SoftMaxTest, ReportsAnArrayThatThereIsNoMemoryFor) {
  FrugalValueFunction frugal(nullptr);
  frugal.ACTIONS = 3;
  double value = 0.0;
  {
    const ForcedDraws draws{0};
    const FailingNew memory(FailingNew::ONE, 1);
    value = frugal.setSoftMaxActionIndex(1.0);
  }
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::setSoftMaxActionIndex: "
                          "Can not allocate memory for 3 entries of 8 bytes!"));
  EXPECT_EQ(frugal.actionValues, nullptr);
  EXPECT_EQ(frugal.getActiveActionIndex(), 3);
  EXPECT_EQ(value, 3.0);
  const ForcedDraws draws{0};
  EXPECT_EQ(frugal.setSoftMaxActionIndex(1.0), 0.0);
  EXPECT_NE(frugal.actionValues, nullptr);
}

TEST_F(SoftMaxTest, ReportsACountBelowZeroAsMemoryThatCannotBeHad) {
  function.ACTIONS = -1;
  EXPECT_EQ(softMaxIndexOn(0, 1.0), -1);
  EXPECT_EQ(function.actionValues, nullptr);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::setSoftMaxActionIndex: "
                          "Can not allocate memory for -1 entries of 8 bytes!"));
  EXPECT_THAT(function.calls, ElementsAre("getActionValue(-1)"));
  setValues({1.0, 2.0});
  EXPECT_EQ(softMaxIndexOn(1073741824, INFINITE), 1);
  EXPECT_EQ(reports.errorText(), "");
}

const std::string FOUR_ACTIONS("\x04\0\0\0", 4);

/// The registry's fixture with a folder for the file.
class ActionFileTest : public ActionValueFunctionTest {
 protected:
  int loadFile(const std::string& content) {
    writeFile(fileName, content);
    errno = 0;
    return function->load(fileName);
  }

  TemporaryDirectory directory;
  std::string fileName = directory.file("values");
};

std::string rangeOf(const State& state) {
  return std::to_string(state.getMinValueInt(0)) + " to " + std::to_string(state.getMaxValueInt(0));
}

// A state whose record has the layout of newState() and other content.
State* newOtherState() {
  auto* const state = new State();
  state->registerVariable("y", 10, 20);
  return state;
}

std::string errnoZero(const std::string& separator) { return errnoMessage(0, separator); }

TEST_F(ActionFileTest, SavesTheStateTheCountAndTheBlockAndNothingElse) {
  add({0, 1, 2});
  function->block = std::string("b\0l\xff", 4);
  const ActionValueFunction& interface = *function;
  EXPECT_EQ(interface.save(fileName), 0);
  EXPECT_EQ(readFile(fileName),
            STATE_RECORD + std::string("\x03\0\0\0", 4) + std::string("b\0l\xff", 4));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(ActionFileTest, SavesTheCountInFourBytesLowestFirst) {
  function->ACTIONS = 0x01020304;
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + "\x04\x03\x02\x01" + "block");
}

TEST_F(ActionFileTest, SavesACountOfZeroAndOneThatFellBelow) {
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + std::string(4, '\0') + "block");
  function->ACTIONS = -1;
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + "\xff\xff\xff\xff" + "block");
}

TEST_F(ActionFileTest, SavesTheCountAsRemovalsLeftIt) {
  function->removes = true;
  add({0, 1, 2});
  function->unregisterAction(actions[0]);
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + std::string("\x01\0\0\0", 4) + "block");
  delete actions[0];
}

TEST_F(ActionFileTest, AsksForTheBlockOnceBehindTheCount) {
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_THAT(function->calls, ElementsAre("save at 25"));
}

TEST_F(ActionFileTest, ReplacesTheWholeOfAnOlderFile) {
  writeFile(fileName, std::string(1000, 'o'));
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + std::string(4, '\0') + "block");
}

TEST_F(ActionFileTest, KeepsItsActionsWhileSaving) {
  add({0, 1});
  function->activeActionIndex = 1;
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1]));
  EXPECT_EQ(function->getActiveActionIndex(), 1);
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
}

TEST_F(ActionFileTest, OpensTheFileForReadingTooWhileSaving) {
  int access = -1;
  function->visitor = [&](FILE* file) { access = fcntl(fileno(file), F_GETFL) & O_ACCMODE; };
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(access, O_RDWR);
}

TEST_F(ActionFileTest, OpensTheFileOnlyForReadingWhileLoading) {
  int access = -1;
  function->visitor = [&](FILE* file) { access = fcntl(fileno(file), F_GETFL) & O_ACCMODE; };
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_EQ(access, O_RDONLY);
}

TEST_F(ActionFileTest, LoadsTheStateIntoTheOneItHasTheCountAndTheBlock) {
  function = std::make_unique<FakeActionValueFunction>(newOtherState());
  State* const state = function->getStatePtr();
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_EQ(function->getStatePtr(), state);
  EXPECT_EQ(state->getNumberOfVariables(), 1U);
  EXPECT_EQ(state->getVariableId("x"), 0U);
  EXPECT_EQ(rangeOf(*state), "-3 to 7");
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_EQ(function->block, "BLOCK");
  EXPECT_THAT(function->calls, ElementsAre("load at 25"));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(ActionFileTest, LoadsNoActionObjects) {
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_THAT(function->registeredActions, ElementsAre(nullptr, nullptr, nullptr, nullptr));
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(function->getAction(i), nullptr);
  }
}

TEST_F(ActionFileTest, TakesActionsBackAfterLoading) {
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  function->setAction(3, make(0));
  function->setAction(0, make(1));
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[1], nullptr, nullptr, actions[0]));
  EXPECT_EQ(reports.errorText(), "");
  function->setAction(4, nullptr);
  EXPECT_THAT(withPlaces(reports.takeErrors()), ElementsAre(outOfBounds("setAction", 4, 4)));
  function.reset();
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
}

TEST_F(ActionFileTest, DeletesTheActionsItHadWhenLoading) {
  add({0, 1});
  function->registerAction(nullptr);
  add(2);
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_THAT(deletions, ElementsAre(1, 1, 1, 0, 0));
}

TEST_F(ActionFileTest, DeletesAnActionThatIsRegisteredTwiceOnceWhenLoading) {
  add({0, 1});
  function->registerAction(actions[0]);
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
}

TEST_F(ActionFileTest, DeletesOnlyActionsBelowTheOldCountWhenLoading) {
  function->removes = true;
  add({0, 1, 2});
  function->unregisterAction(actions[0]);
  ASSERT_EQ(function->getNumberOfActions(), 1);
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_THAT(deletions, ElementsAre(0, 1, 0, 0, 0));
  EXPECT_THAT(function->registeredActions, ElementsAre(nullptr, nullptr, nullptr, nullptr));
  delete actions[0];
  delete actions[2];
}

TEST_F(ActionFileTest, DeletesAnActionBelowTheOldCountThoughItIsRegisteredBeyondToo) {
  function->removes = true;
  add({0, 1});
  function->registerAction(actions[0]);
  function->unregisterAction(actions[1]);
  ASSERT_EQ(function->getNumberOfActions(), 1);
  ASSERT_THAT(function->registeredActions, ElementsAre(actions[0], actions[0]));
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_THAT(deletions, ElementsAre(1, 0, 0, 0, 0));
  delete actions[1];
}

TEST_F(ActionFileTest, KeepsTheActiveIndexAndTheSoftMaxArrayWhenLoading) {
  add({0, 1});
  function->values = {1.0, 2.0};
  function->setSoftMaxActionIndex(1.0);
  function->activeActionIndex = 3;
  const double* const array = function->actionValues;
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_EQ(function->getActiveActionIndex(), 3);
  EXPECT_EQ(function->actionValues, array);
  function->values = {1.0, 2.0, 3.0, 4.0};
  const ForcedDraws draws{2147483647};
  function->setSoftMaxActionIndex(INFINITE);
  EXPECT_EQ(function->getActiveActionIndex(), 4);
}

TEST_F(ActionFileTest, ShowsTheRepresentationTheNewCountAndEmptyPlaces) {
  add(0);
  int count = -1;
  std::size_t places = 0;
  function->visitor = [&](FILE* /*file*/) {
    count = function->ACTIONS;
    places = function->registeredActions.size();
  };
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_EQ(count, 4);
  EXPECT_EQ(places, 4U);
}

TEST_F(ActionFileTest, LoadsWhatItSaved) {
  add({0, 1, 2});
  const std::string block("\0\n\r\x1a\xff", 5);
  function->block = block;
  EXPECT_EQ(function->save(fileName), 0);
  function->block = "other";
  EXPECT_EQ(function->load(fileName), 0);
  EXPECT_EQ(function->block, block);
  EXPECT_EQ(function->save(directory.file("again")), 0);
  EXPECT_EQ(readFile(directory.file("again")), readFile(fileName));
}

TEST_F(ActionFileTest, LeavesUnreadWhatFollowsTheBlock) {
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK and more"), 0);
  EXPECT_EQ(function->block, "BLOCK");
}

TEST_F(ActionFileTest, LoadsFromAFileThatCannotTellItsSize) {
  ASSERT_EQ(mkfifo(fileName.c_str(), 0600), 0);
  const int writer = open(fileName.c_str(), O_RDWR);
  const std::string content = STATE_RECORD + std::string("\0\0\x01\0", 4) + "BLOCK";
  ASSERT_EQ(write(writer, content.data(), content.size()), static_cast<ssize_t>(content.size()));
  EXPECT_EQ(function->load(fileName), 0);
  close(writer);
  EXPECT_EQ(function->getNumberOfActions(), 65536);
  EXPECT_EQ(function->block, "BLOCK");
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionFileTest, MakesTheStateFromTheFileWhereItHasNone) {
  function = std::make_unique<FakeActionValueFunction>(nullptr);
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), 0);
  ASSERT_NE(function->getStatePtr(), nullptr);
  EXPECT_EQ(function->getStatePtr()->getVariableId("x"), 0U);
  EXPECT_EQ(rangeOf(*function->getStatePtr()), "-3 to 7");
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_EQ(function->block, "BLOCK");
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionFileTest, LeavesItToTheNewStateToReportItsDamage) {
  function = std::make_unique<FakeActionValueFunction>(nullptr);
  EXPECT_EQ(loadFile(STATE_RECORD.substr(0, 7)), -1);
  ASSERT_NE(function->getStatePtr(), nullptr);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("State::load: " + errnoZero("  -->  "),
                          "ActionValueFunction::load: " + errnoZero(" --> ")));
}

TEST_F(ActionFileTest, GoesOnToTheCountBehindAStateOfUnknownKind) {
  EXPECT_EQ(loadFile(std::string("\0\0\0\0\0\0\0\0", 8) + FOUR_ACTIONS + "BLOCK"), 0);
  EXPECT_EQ(function->getStatePtr()->getNumberOfVariables(), 0U);
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_EQ(function->block, "BLOCK");
  EXPECT_THAT(withPlaces(reports.takeErrors()), ElementsAre("State::load: Undef VarType: 0"));
}

TEST_F(ActionFileTest, FindsNoCountBehindANameThatTheFileCuts) {
  // Eight bytes of name are announced and four are there, which are none of the count's.
  EXPECT_EQ(loadFile(std::string("\x01\0\0\0\x01\0\0\0\x08\0\0\0\0\0\0\0", 16)), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("VarValuesInt::load: " + errnoZero("  -->  "),
                          "ActionValueFunction::load: " + errnoZero(" --> ")));
  EXPECT_THAT(function->calls, IsEmpty());
}

TEST_F(ActionFileTest, FailsToSaveIntoAMissingFolder) {
  EXPECT_EQ(function->save(directory.file("missing/values")), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::save: errno = 2 --> No such file or directory"));
  EXPECT_THAT(function->calls, IsEmpty());
}

TEST_F(ActionFileTest, FailsToSaveOntoAFolder) {
  EXPECT_EQ(function->save(directory.file("")), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::save: " + errnoMessage(EISDIR, " --> ")));
  EXPECT_THAT(function->calls, IsEmpty());
}

TEST_F(ActionFileTest, FailsToLoadAMissingFileAndChangesNothing) {
  add({0, 1});
  EXPECT_EQ(function->load(fileName), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::load: errno = 2 --> No such file or directory"));
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1]));
  EXPECT_EQ(rangeOf(*function->getStatePtr()), "-3 to 7");
  EXPECT_NE(access(fileName.c_str(), F_OK), 0);
}

TEST_F(ActionFileTest, MakesNoStateFromAMissingFile) {
  function = std::make_unique<FakeActionValueFunction>(nullptr);
  EXPECT_EQ(function->load(fileName), -1);
  EXPECT_EQ(function->getStatePtr(), nullptr);
}

TEST_F(ActionFileTest, FailsToSaveWithoutAState) {
  function = std::make_unique<FakeActionValueFunction>(nullptr);
  EXPECT_EQ(function->save(fileName), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::save: saving state failed"));
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(openHandles(fileName), 0);
}

TEST_F(ActionFileTest, FailsWhereTheStateCannotBeSavedAndClosesTheFile) {
  function = std::make_unique<FakeActionValueFunction>(newStateOf(heldBackBytes() * 2));
  const int handles = openHandles(FULL_DEVICE);
  EXPECT_EQ(function->save(FULL_DEVICE), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("VarValuesInt::save: " + errnoMessage(ENOSPC, "  -->  "),
                          "ActionValueFunction::save: saving state failed"));
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(openHandles(FULL_DEVICE), handles);
}

TEST_F(ActionFileTest, FailsWhereTheCountCannotBeSavedAndClosesTheFile) {
  const int handles = openHandles(FULL_DEVICE);
  for (std::size_t room = 0; room < 4; ++room) {
    function = std::make_unique<FakeActionValueFunction>(newStateOf(heldBackBytes() - room));
    EXPECT_EQ(function->save(FULL_DEVICE), -1) << room;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("ActionValueFunction::save: errno = 28 --> No space left on device"));
    EXPECT_THAT(function->calls, IsEmpty());
    EXPECT_EQ(openHandles(FULL_DEVICE), handles);
  }
}

TEST_F(ActionFileTest, FailsWhereTheBlockCannotBeSavedAndClosesTheFile) {
  function = std::make_unique<FakeActionValueFunction>(newStateOf(heldBackBytes() - 4));
  const int handles = openHandles(FULL_DEVICE);
  EXPECT_EQ(function->save(FULL_DEVICE), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::save: saving valuefunction failed"));
  EXPECT_EQ(function->calls.size(), 1U);
  EXPECT_EQ(openHandles(FULL_DEVICE), handles);
}

TEST_F(ActionFileTest, FailsToSaveWhereOnlyClosingFails) {
  const int handles = openHandles(FULL_DEVICE);
  EXPECT_EQ(function->save(FULL_DEVICE), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::save: errno = 28 --> No space left on device"));
  EXPECT_EQ(function->calls.size(), 1U);
  EXPECT_EQ(openHandles(FULL_DEVICE), handles);
}

TEST_F(ActionFileTest, TakesEveryStatusButZeroForAFailureToSave) {
  for (const int status : {-1, 1, 2, INT_LOWEST}) {
    function->status = status;
    EXPECT_EQ(function->save(fileName), -1) << status;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("ActionValueFunction::save: saving valuefunction failed"));
    EXPECT_EQ(openHandles(fileName), 0);
    // What was written so far is not removed.
    EXPECT_EQ(readFile(fileName), STATE_RECORD + std::string(4, '\0') + "block");
  }
}

TEST_F(ActionFileTest, FailsWhereTheStateCannotBeReadAndKeepsItsActions) {
  add({0, 1});
  const std::string folder = directory.file("folder");
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  EXPECT_EQ(function->load(folder), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("State::load: " + errnoMessage(EISDIR, "  -->  "),
                          "ActionValueFunction::load: loading state failed"));
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->registeredActions, ElementsAre(actions[0], actions[1]));
  EXPECT_THAT(deletions, ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(openHandles(folder), 0);
}

TEST_F(ActionFileTest, HasDeletedItsActionsWhereTheCountCannotBeRead) {
  add({0, 1});
  EXPECT_EQ(loadFile(STATE_RECORD + std::string("\x04\0\0", 3)), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::load: errno = 0 --> Success"));
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
  EXPECT_THAT(function->registeredActions, IsEmpty());
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->calls, IsEmpty());
  EXPECT_EQ(openHandles(fileName), 0);
}

TEST_F(ActionFileTest, ReachesNoActionBelowTheCountThatALoadLeftWithoutPlaces) {
  add({0, 1});
  EXPECT_EQ(loadFile(STATE_RECORD), -1);
  reports.errorText();
  const AbstractAction stranger;
  EXPECT_EQ(function->getAction(0), nullptr);
  function->setAction(0, &stranger);
  function->unregisterAction(0);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre(outOfBounds("setAction", 0, 2), outOfBounds("unregisterAction", 0, 2)));
  EXPECT_THAT(function->registeredActions, IsEmpty());
  EXPECT_EQ(function->getNumberOfActions(), 2);
  EXPECT_THAT(function->calls, IsEmpty());
}

TEST_F(ActionFileTest, TakesEveryStatusButZeroForAFailureToLoad) {
  for (const int status : {-1, 1, 2, INT_LOWEST}) {
    function->status = status;
    EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), -1) << status;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("ActionValueFunction::load: loading valuefunction failed"));
    EXPECT_EQ(openHandles(fileName), 0);
  }
}

TEST_F(ActionFileTest, KeepsWhatItReadBeforeAFailure) {
  function = std::make_unique<FakeActionValueFunction>(newOtherState());
  add({0, 1});
  function->status = -1;
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), -1);
  EXPECT_EQ(rangeOf(*function->getStatePtr()), "-3 to 7");
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_THAT(function->registeredActions, ElementsAre(nullptr, nullptr, nullptr, nullptr));
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
  EXPECT_EQ(function->block, "BLOCK");
}

TEST_F(ActionFileTest, FailsToLoadWhereOnlyClosingFails) {
  function->visitor = [](FILE* file) { close(fileno(file)); };
  EXPECT_EQ(loadFile(STATE_RECORD + FOUR_ACTIONS + "BLOCK"), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("ActionValueFunction::load: errno = 9 --> Bad file descriptor"));
  EXPECT_EQ(function->getNumberOfActions(), 4);
  EXPECT_EQ(function->block, "BLOCK");
}

TEST_F(ActionFileTest, ClosesItsFileAfterSuccess) {
  EXPECT_EQ(function->save(fileName), 0);
  EXPECT_EQ(openHandles(fileName), 0);
  EXPECT_EQ(function->load(fileName), 0);
  EXPECT_EQ(openHandles(fileName), 0);
}

TEST_F(ActionFileTest, LoadsACountOfZero) {
  add({0, 1});
  EXPECT_EQ(loadFile(STATE_RECORD + std::string(4, '\0') + "BLOCK"), 0);
  EXPECT_EQ(function->getNumberOfActions(), 0);
  EXPECT_THAT(function->registeredActions, IsEmpty());
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
}

TEST_F(ActionFileTest, TakesACountBelowZeroForAShortRead) {
  for (const int count : {-1, -2, INT_LOWEST}) {
    add({0, 1});
    EXPECT_EQ(loadFile(STATE_RECORD + bytes(count) + "BLOCK"), -1) << count;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("ActionValueFunction::load: errno = 0 --> Success"));
    EXPECT_THAT(function->calls, IsEmpty());
    EXPECT_THAT(function->registeredActions, IsEmpty());
    EXPECT_GE(function->getNumberOfActions(), 0);
  }
  EXPECT_THAT(deletions, ElementsAre(3, 3, 0, 0, 0));
}

TEST_F(ActionFileTest, FollowsACountUpTo65536WhateverTheFileHolds) {
  for (const int count : {65535, 65536}) {
    function->block = "";
    EXPECT_EQ(loadFile(STATE_RECORD + bytes(count)), 0) << count;
    EXPECT_EQ(function->getNumberOfActions(), count);
    EXPECT_EQ(function->registeredActions.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(function->getAction(count - 1), nullptr);
    EXPECT_EQ(reports.errorText(), "");
  }
}

TEST_F(ActionFileTest, TakesAGreaterCountThatTheFileCannotHoldForAShortRead) {
  add({0, 1});
  for (const int count : {65537, 65538, 1000000, INT_HIGHEST - 1, INT_HIGHEST}) {
    EXPECT_EQ(loadFile(STATE_RECORD + bytes(count) + "BLOCK"), -1) << count;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("ActionValueFunction::load: errno = 0 --> Success"));
    EXPECT_THAT(function->calls, IsEmpty());
    EXPECT_THAT(function->registeredActions, IsEmpty());
    EXPECT_EQ(function->getNumberOfActions(), 2);
    EXPECT_EQ(openHandles(fileName), 0);
  }
  EXPECT_THAT(deletions, ElementsAre(1, 1, 0, 0, 0));
}

TEST_F(ActionFileTest, BelievesAGreaterCountThatTheFileHoldsAtEightBytesAnAction) {
  const int count = 65537;
  const std::size_t size = 65537 * 8;
  function->block = "";
  EXPECT_EQ(loadFile(STATE_RECORD + bytes(count) + std::string(size - 1, 'b')), -1);
  EXPECT_EQ(reports.errors(), messages({"errno = 0 --> Success"}));
  EXPECT_EQ(loadFile(STATE_RECORD + bytes(count) + std::string(size, 'b')), 0);
  EXPECT_EQ(function->getNumberOfActions(), count);
  EXPECT_EQ(function->registeredActions.size(), 65537U);
  EXPECT_THAT(function->calls, ElementsAre("load at 25"));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(ActionFileTest, ReportsWhateverThereIsNoMemoryForWhenLoading) {
  writeFile(fileName, STATE_RECORD + FOUR_ACTIONS);
  bool failed = true;
  for (int call = 1; failed; ++call) {
    FrugalValueFunction frugal(nullptr);
    int status = 0;
    {
      const FailingNew memory(FailingNew::ONE, call);
      status = frugal.load(fileName);
      failed = memory.failed();
    }
    EXPECT_EQ(openHandles(fileName), 0);
    if (failed) {
      EXPECT_THAT(reports.errors(), testing::Not(IsEmpty())) << "call " << call;
    } else {
      EXPECT_EQ(status, 0);
      EXPECT_EQ(frugal.getNumberOfActions(), 4);
      EXPECT_EQ(reports.errorText(), "");
    }
  }
}

TEST_F(ActionFileTest, HasNoPlacesWhereThereIsNoMemoryForThem) {
  FrugalValueFunction first(newState());
  FrugalValueFunction second(newState());
  writeFile(fileName, STATE_RECORD + FOUR_ACTIONS);
  int calls = 0;
  int status = 0;
  {
    const FailingNew memory;
    first.load(fileName);
    calls = memory.calls();
  }
  {
    // The places are what the last call was for.
    const FailingNew memory(FailingNew::ONE, calls);
    status = second.load(fileName);
  }
  EXPECT_EQ(status, -1);
  EXPECT_EQ(second.getNumberOfActions(), 0);
  EXPECT_THAT(second.registeredActions, IsEmpty());
  EXPECT_EQ(openHandles(fileName), 0);
  const std::vector<std::string> errors = withPlaces(reports.takeErrors());
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_THAT(errors[0],
              testing::StartsWith("ActionValueFunction::load: Can not allocate memory for "));
}

TEST_F(ActionFileTest, FailsToLoadAFileCutAtAnyByte) {
  const std::string whole = STATE_RECORD + FOUR_ACTIONS + "BLOCK";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    std::vector<std::string> expected;
    if (length < 8) {
      expected = {"State::load: " + errnoZero("  -->  "),
                  "ActionValueFunction::load: loading state failed"};
    } else if (length < 21) {
      expected = {"VarValuesInt::load: " + errnoZero("  -->  "),
                  "ActionValueFunction::load: " + errnoZero(" --> ")};
    } else if (length < 25) {
      expected = {"ActionValueFunction::load: " + errnoZero(" --> ")};
    } else {
      expected = {"ActionValueFunction::load: loading valuefunction failed"};
    }
    function = std::make_unique<FakeActionValueFunction>(newOtherState());
    function->registerAction(nullptr);
    EXPECT_EQ(loadFile(whole.substr(0, length)), -1) << length << " bytes";
    EXPECT_EQ(withPlaces(reports.takeErrors()), expected) << length << " bytes";
    EXPECT_EQ(function->getNumberOfActions(), length < 25 ? 1 : 4) << length << " bytes";
    EXPECT_EQ(function->registeredActions.size(), length < 8    ? 1U
                                                  : length < 25 ? 0U
                                                                : 4U)
        << length << " bytes";
    EXPECT_EQ(function->block, "block") << length << " bytes";
    EXPECT_EQ(openHandles(fileName), 0) << length << " bytes";
  }
}

}  // namespace
