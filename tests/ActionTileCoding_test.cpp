#include <gmock/gmock.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/ActionTileCoding.h>
#include <quarnel/State.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/Draws.h"
#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"
#include "support/Tables.h"
#include "support/Tiles.h"

namespace {

using Tables::ascending;
using Tables::bits;
using Tables::errors;
using Tables::NO_ARRAY_TRACES;
using Tables::NO_WEIGHTS;
using Tables::UNKNOWN;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;
using Tiles::Block;
using Tiles::INFINITE;
using Tiles::INT_LARGEST;
using Tiles::INT_SMALLEST;
using Tiles::LARGEST;
using Tiles::LEARNING_GROUPS;
using Tiles::Marks;
using Tiles::newState;
using Tiles::NOT_A_NUMBER;
using Tiles::Peek;
using Tiles::Pipe;
using Tiles::setValues;
using Tiles::smallBlock;
using Tiles::smallestBlocks;
using Tiles::stateRecord;
using Tiles::Walk;
using Tiles::Wish;

using Calls = std::vector<std::string>;

class Group : public Tiles::OpenGroup<ActionTilings> {
 public:
  using ActionTilings::ACTIONS;
  using OpenGroup::OpenGroup;
};

class Coding : public ActionTileCoding {
 public:
  using ActionTileCoding::ActionTileCoding;

  Coding(State* state, int actions) : ActionTileCoding(state) { addActions(actions); }

  using ActionTileCoding::load;
  using ActionTileCoding::removeAction;
  using ActionTileCoding::save;
  using ActionValueFunction::ACTIONS;
  using ActionValueFunction::activeActionIndex;
  using TileCoding::numberOfTilings;
  using TileCoding::tilingPtrList;
  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::value;

  void addActions(int count) {
    for (int i = 0; i < count; ++i) {
      registerAction(new AbstractAction);
    }
  }

  // Registers a group over the first variables.
  Group* add(int tilings, const std::vector<Wish>& wishes) {
    auto* const group = new Group(tilings, Tiles::variablesOf(wishes));
    registerTiling(group);
    return group;
  }

  // Makes the tiles of these values active, and an action.
  void visit(const std::vector<double>& values, int action) {
    setValues(*getStatePtr(), values);
    setState();
    activeActionIndex = action;
  }

  // The weights of every group.
  std::vector<std::vector<double>> allWeights() const {
    std::vector<std::vector<double>> list;
    for (const Tilings* const group : tilingPtrList) {
      list.push_back(Peek::weightsOf(*group));
    }
    return list;
  }
};

// Two groups over a variable in [0, 2], for three actions: two clipped tilings of two tiles, and one
// wrapped tiling of two tiles.
class Two : public Coding {
 public:
  Two()
      : Coding(newState({{0, 2}}), 3),
        first(add(2, {{{0, 2}, 0.5, Types::CLIP}})),
        second(add(1, {{{0, 2}, 2.0, Types::WRAP}})) {}

  // Gives the weights the numbers 1, 2, ... and 10, 20, ...
  void count() {
    first->count();
    second->setWeights({10, 20, 30, 40, 50, 60});
  }

  Group* first;
  Group* second;
};

// A group that counts deaths.
class Mortal : public ActionTilings {
 public:
  explicit Mortal(int& deathCounter) : ActionTilings(1, {}), deaths(deathCounter) {}
  ~Mortal() override { ++deaths; }

 private:
  int& deaths;
};

std::vector<std::string> errnoReport(const char* place, int number, const char* separator) {
  return messages({std::string(place) + ": " + errnoMessage(number, separator)});
}

std::string outOfBounds(const char* function, int index, int actions) {
  return std::string("ActionTilings::") + function + ": actionIndex[" + std::to_string(index) +
         "] out of bounds [ 0, " + std::to_string(actions) + ")";
}

const double three() { return 3.0; }

// ---- Construction ----

TEST(ActionTileCoding, StartsWithoutGroupsAndActions) {
  Reports reports;
  State* const state = newState({{0, 1}});
  Coding coding(state);
  EXPECT_EQ(coding.getStatePtr(), state);
  EXPECT_THAT(coding.tilingPtrList, IsEmpty());
  EXPECT_EQ(coding.numberOfTilings, 0);
  EXPECT_EQ(coding.getNumberOfActions(), 0);
  EXPECT_EQ(coding.getActiveActionIndex(), -1);
  EXPECT_EQ(bits({coding.getActionValue(0)}), bits({0.0}));
  EXPECT_TRUE(std::isnan(coding.getAvgWeight(false)));
  EXPECT_EQ(coding.getMinWeight(), LARGEST);
  EXPECT_EQ(coding.getMaxWeight(), -LARGEST);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, WithoutGroupsEveryOperationDoesNothing) {
  Reports reports;
  Coding coding(newState({{0, 1}}), 2);
  coding.setEpisodeStateHistory(true);
  coding.setMaxWeightLimit(1.0);
  coding.initWeights(three);
  coding.initEligibilityTraces();
  coding.setState();
  coding.storeState();
  coding.replacingTraces(1.0);
  coding.accumulatingTraces(1.0);
  coding.updateEligibilityTraces(0.5, 0.5);
  coding.updateWeights(1.0, 1.0);
  coding.checkWeightLimit();
  coding.initEpisodeStateHistory();
  coding.valueEpisode(1.0);
  coding.setActionValue(0, 1.0);
  EXPECT_EQ(coding.setGreedyActionIndex(), 0.0);
  const std::unique_ptr<const AbstractAction> action(coding.getAction(0));
  coding.unregisterAction(0);
  EXPECT_EQ(coding.getNumberOfActions(), 1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, ConstructionSetsTheSharedConstantBackToZero) {
  Coding first(newState({{0, 1}}));
  first.setValue(3.5);
  EXPECT_EQ(Coding::value, 3.5);
  const Coding second(newState({{0, 1}}));
  EXPECT_EQ(Coding::value, 0.0);
  EXPECT_EQ(second.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
}

// ---- Registering groups ----

TEST(ActionTileCoding, ARegisteredGroupIsLaidOutForTheActionsAndItsWeightsAreZero) {
  Reports reports;
  Coding coding(newState({{0, 10}}), 3);
  auto* const group = new Group(4, {{0, 0.5, Types::CLIP}});
  coding.registerTiling(group);
  EXPECT_EQ(group->statePtr, coding.getStatePtr());
  EXPECT_EQ(group->ACTIONS, 3);
  EXPECT_THAT(group->strides(), ElementsAre(12));
  EXPECT_EQ(bits(group->allWeights()), bits(std::vector<double>(60, 0.0)));
  EXPECT_EQ(group->traceStorage, Types::MAP);
  EXPECT_THAT(coding.tilingPtrList, ElementsAre(group));
  EXPECT_EQ(coding.numberOfTilings, 4);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, GroupsStandInTheOrderOfTheirRegistration) {
  Two two;
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second));
  EXPECT_EQ(two.numberOfTilings, 3);
  auto* const third = two.add(5, {});
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second, third));
  EXPECT_EQ(two.numberOfTilings, 8);
}

TEST(ActionTileCoding, AGroupIsCreatedThenInitialisedThenAppended) {
  static Coding* coding;
  static Calls* calls;
  class Recording : public ActionTilings {
   public:
    using ActionTilings::ActionTilings;
    void create(State* state, int numberOfActions) override {
      note((state == coding->getStatePtr() ? "create " : "create over another state ") +
           std::to_string(numberOfActions));
    }
    void initWeights(const double (*initFunctionPtr)()) override {
      note(initFunctionPtr == three ? "initWeights" : "initWeights with another function");
    }

   private:
    static void note(const std::string& call) {
      calls->push_back(call + ", " + std::to_string(coding->tilingPtrList.size()) + " groups, " +
                       std::to_string(coding->numberOfTilings) + " tilings");
    }
  };
  Calls list;
  calls = &list;
  Coding container(newState({{0, 1}}), 7);
  coding = &container;
  container.setInitWeightsFunctionPtr(three);
  container.registerTiling(new Recording(3, {}));
  EXPECT_EQ(list, Calls({"create 7, 0 groups, 0 tilings", "initWeights, 0 groups, 0 tilings"}));
  EXPECT_EQ(container.numberOfTilings, 3);
}

TEST(ActionTileCoding, ActionsRegisteredLaterBelongToLaterGroupsOnly) {
  Two two;
  two.addActions(1);
  const Group* const third = two.add(1, {});
  EXPECT_EQ(two.first->ACTIONS, 3);
  EXPECT_EQ(third->ACTIONS, 4);
}

TEST(ActionTileCoding, AGroupRegisteredWithoutActionsIsReported) {
  Reports reports;
  Coding coding(newState({{0, 10}}));
  const Group* const group = coding.add(4, {{{0, 10}, 0.5, Types::CLIP}});
  EXPECT_EQ(errors(reports), messages({"ActionTilings::create: ACTIONS[0] <= 0"}));
  EXPECT_EQ(group->ARRAY_SIZE, 0);
  EXPECT_THAT(coding.tilingPtrList, SizeIs(1));
  EXPECT_EQ(coding.numberOfTilings, 4);
}

TEST(ActionTileCoding, TheInitialiserOfTheValueFunctionGivesTheFirstWeights) {
  Coding coding(newState({{0, 3}}), 2);
  coding.setValue(2.5);
  EXPECT_THAT(coding.add(1, {{{0, 3}, 1, Types::CLIP}})->allWeights(), Each(2.5));
  coding.setInitWeightsFunctionPtr(ValueFunction::getRandomInitializer());
  const Group* group = nullptr;
  EXPECT_EQ(countDraws([&] { group = coding.add(1, {{{0, 3}, 1, Types::CLIP}}); }, 7), 6);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(group->weights[i], draw(7, i) / 2147483648.0 - 0.5);
  }
}

TEST(ActionTileCoding, NoGroupIsReportedAndNotRegistered) {
  Reports reports;
  Two two;
  two.registerTiling(nullptr);
  EXPECT_EQ(errors(reports), messages({"ActionTileCoding::registerTiling: tilingPtr == 0"}));
  EXPECT_THAT(two.tilingPtrList, SizeIs(2));
  EXPECT_EQ(two.numberOfTilings, 3);
}

TEST(ActionTileCoding, AGroupThatIsRegisteredAlreadyIsReportedAndStaysAsItIs) {
  Reports reports;
  Two two;
  two.count();
  two.addActions(1);
  two.registerTiling(two.first);
  EXPECT_EQ(errors(reports), messages({"ActionTileCoding::registerTiling: a group of tilings is "
                                       "registered only once!"}));
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second));
  EXPECT_EQ(two.numberOfTilings, 3);
  EXPECT_EQ(two.first->ACTIONS, 3);
  EXPECT_EQ(two.first->allWeights(), ascending(12));
}

TEST(ActionTileCoding, AGroupThatCanNotBeLaidOutLeavesTheOthersLearning) {
  Reports reports;
  Coding coding(newState({{0, 2}}), 3);
  auto* const good = coding.add(2, {{{0, 2}, 0.5, Types::CLIP}});
  auto* const bad = coding.add(2, {{{0, 2}, 0.0, Types::CLIP}});
  EXPECT_THAT(reports.errors(), testing::Contains(HasSubstr("id = 0")));
  EXPECT_EQ(bad->weights, nullptr);
  coding.visit({1.25}, 1);
  coding.replacingTraces(1.0);
  coding.updateWeights(1.0, 1.0);
  EXPECT_THAT(good->allWeights(), ElementsAre(0, 0, 0, 0.25, 0, 0, 0, 0, 0.25, 0, 0, 0));
  reports.takeErrors();
  EXPECT_EQ(coding.getActionValue(1), LARGEST);
  EXPECT_EQ(errors(reports),
            messages({std::string("ActionTilings::getActionValue: ") + NO_WEIGHTS}));
}

TEST(ActionTileCoding, TheContainerOwnsItsGroups) {
  int deaths = 0;
  {
    Coding coding(newState({{0, 1}}), 1);
    coding.registerTiling(new Mortal(deaths));
    coding.freeMemory();
    EXPECT_EQ(deaths, 1);
    coding.registerTiling(new Mortal(deaths));
    coding.registerTiling(new Mortal(deaths));
  }
  EXPECT_EQ(deaths, 3);
}

// ---- The value of an action ----

TEST(ActionTileCoding, TheValueIsTheSumOverAllGroups) {
  Reports reports;
  Two two;
  two.count();
  two.visit({1.25}, -1);  // tiles 1 and 0 of the first group, 0 of the second
  EXPECT_EQ(two.getActionValue(0), 7 + 2 + 10);
  EXPECT_EQ(two.getActionValue(1), 9 + 4 + 20);
  EXPECT_EQ(two.getActionValue(2), 11 + 6 + 30);
  two.visit({0.25}, -1);
  EXPECT_EQ(two.getActionValue(2), 5 + 30);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, TheValueIsTheSumOfTheSumsOfTheGroups) {
  Coding coding(newState({{0, 1}}), 1);
  auto* const first = coding.add(2, {});
  auto* const second = coding.add(2, {});
  auto* const third = coding.add(1, {});
  coding.setState();
  first->setWeights({1e16, 0});
  second->setWeights({1, 1});
  third->setWeights({-1e16});
  EXPECT_EQ(coding.getActionValue(0), 2.0) << "1e16 + 1 + 1 would lose both ones";
  first->setWeights({1, 0});
  second->setWeights({1e16, 0});
  EXPECT_EQ(coding.getActionValue(0), 0.0) << "in the order of the groups";
  coding.setActionValue(0, -0.0);
  EXPECT_EQ(bits({coding.getActionValue(0)}), bits({0.0})) << "starts at 0.0";
}

TEST(ActionTileCoding, AGroupWithoutWeightsMakesTheValueEnormous) {
  Reports reports;
  Two two;
  two.second->dropWeights();
  two.visit({1}, 0);
  EXPECT_EQ(two.getActionValue(0), LARGEST);
  two.first->dropWeights();
  reports.takeErrors();
  EXPECT_EQ(two.getActionValue(0), INFINITE);
  EXPECT_EQ(reports.errors(), messages({NO_WEIGHTS, NO_WEIGHTS}));
}

TEST(ActionTileCoding, AnActionOutOfBoundsIsReportedByEveryGroup) {
  Reports reports;
  Two two;
  two.count();
  two.visit({1.25}, -1);
  EXPECT_EQ(two.getActionValue(3), 8 + 40);
  EXPECT_EQ(errors(reports),
            messages({outOfBounds("getActionValue", 3, 3), outOfBounds("getActionValue", 3, 3)}));
  EXPECT_EQ(two.getActionValue(-1), 5);
  EXPECT_EQ(errors(reports),
            messages({outOfBounds("getActionValue", -1, 3), outOfBounds("getActionValue", -1, 3)}));
}

TEST(ActionTileCoding, SetActionValueSetsTheActionInAllGroups) {
  Reports reports;
  Two two;
  two.setActionValue(1, -7);
  EXPECT_THAT(two.first->allWeights(), ElementsAre(0, 0, -7, -7, 0, 0, 0, 0, -7, -7, 0, 0));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(0, -7, 0, 0, -7, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
  two.setActionValue(3, 5);
  EXPECT_EQ(errors(reports),
            messages({outOfBounds("setActionValue", 3, 3), outOfBounds("setActionValue", 3, 3)}));
  two.second->dropWeights();
  two.setActionValue(0, 1);
  EXPECT_EQ(errors(reports),
            messages({std::string("ActionTilings::setActionValue: ") + NO_WEIGHTS}));
  EXPECT_EQ(two.first->weights[0], 1);
}

TEST(ActionTileCoding, TheChoicesOfActionsWorkOnIt) {
  Reports reports;
  Two two;
  two.visit({1.25}, -1);
  two.setActionValue(1, 0.25);
  EXPECT_EQ(two.setGreedyActionIndex(), 0.75);
  EXPECT_EQ(two.getActiveActionIndex(), 1);
  const double random = two.setRandomActionIndex();
  EXPECT_EQ(random, two.getActionValue(two.getActiveActionIndex()));
  const double soft = two.setSoftMaxActionIndex(0.5);
  EXPECT_EQ(soft, two.getActionValue(two.getActiveActionIndex()));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Marking the active tiles and action ----

// Groups that note what is called.
class Recording : public ActionTilings {
 public:
  Recording(std::string groupName, Calls& callList)
      : ActionTilings(1, {}), name(std::move(groupName)), calls(callList) {}
  void accumulatingTraces(double VALUE, int action) override {
    note("accumulatingTraces", VALUE, action);
  }
  void replacingTraces(double VALUE, int action) override {
    note("replacingTraces", VALUE, action);
  }
  void storeActiveTiles(int action) override { note("storeActiveTiles", action); }
  void storeEpisodeState(int action) override { note("storeEpisodeState", action); }
  void setActionValue(int action, double actionValue) override {
    note("setActionValue", action, actionValue);
  }
  void setActiveActionValue(int action, double actionValue) override {
    note("setActiveActionValue", action, actionValue);
  }
  void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) override {
    note("checkWeightLimit", MIN_WEIGHT, MAX_WEIGHT);
  }
  const bool removeAction(int action) override {
    note("removeAction", action);
    return removes;
  }

  bool removes = true;

 private:
  template <typename... Numbers>
  void note(const std::string& call, Numbers... numbers) {
    std::string text = name + ": " + call;
    ((text += " " + testing::PrintToString(numbers)), ...);
    calls.push_back(text);
  }

  const std::string name;
  Calls& calls;
};

// What an operation calls in two groups while action 2 is active.
Calls callsOf(bool history, const std::function<void(Coding&)>& operation) {
  Calls calls;
  Coding coding(newState({{0, 1}}), 3);
  coding.registerTiling(new Recording("first", calls));
  coding.registerTiling(new Recording("second", calls));
  coding.setEpisodeStateHistory(history);
  coding.activeActionIndex = 2;
  operation(coding);
  return calls;
}

TEST(ActionTileCoding, StoreStateStoresTheActiveActionInAllGroups) {
  EXPECT_EQ(callsOf(false, [](Coding& coding) { coding.storeState(); }),
            Calls({"first: storeActiveTiles 2", "second: storeActiveTiles 2"}));
}

TEST(ActionTileCoding, StoreStateRecordsTheEpisodeAfterwardsWhereItsHistoryIsOn) {
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.storeState(); }),
            Calls({"first: storeActiveTiles 2", "second: storeActiveTiles 2",
                   "first: storeEpisodeState 2", "second: storeEpisodeState 2"}));
}

TEST(ActionTileCoding, TracesAreSetForTheActiveActionInAllGroups) {
  EXPECT_EQ(callsOf(false, [](Coding& coding) { coding.replacingTraces(0.5); }),
            Calls({"first: replacingTraces 0.5 2", "second: replacingTraces 0.5 2"}));
  EXPECT_EQ(callsOf(false, [](Coding& coding) { coding.accumulatingTraces(0.25); }),
            Calls({"first: accumulatingTraces 0.25 2", "second: accumulatingTraces 0.25 2"}));
}

TEST(ActionTileCoding, TracesRecordTheEpisodeAfterwardsWhereItsHistoryIsOn) {
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.replacingTraces(0.5); }),
            Calls({"first: replacingTraces 0.5 2", "second: replacingTraces 0.5 2",
                   "first: storeEpisodeState 2", "second: storeEpisodeState 2"}));
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.accumulatingTraces(0.25); }),
            Calls({"first: accumulatingTraces 0.25 2", "second: accumulatingTraces 0.25 2",
                   "first: storeEpisodeState 2", "second: storeEpisodeState 2"}));
}

TEST(ActionTileCoding, SetActionValueGoesToAllGroups) {
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.setActionValue(1, 0.5); }),
            Calls({"first: setActionValue 1 0.5", "second: setActionValue 1 0.5"}));
}

TEST(ActionTileCoding, AnEpisodeIsValuedOncePerVisitedTileAndAction) {
  Two two;
  two.setEpisodeStateHistory(true);
  two.initEpisodeStateHistory();
  for (const double x : {1.25, 1.3, 1.25}) {
    two.visit({x}, 1);
    two.replacingTraces(1.0);
  }
  two.visit({0.25}, 0);
  two.accumulatingTraces(1.0);
  two.visit({1.75}, 2);
  two.storeState();
  two.valueEpisode(0.5);
  EXPECT_THAT(two.first->allWeights(), ElementsAre(0.5, 0, 0, 0.5, 0, 0, 0, 0, 0.5, 0, 0.5, 0.5));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(0.5, 0.5, 0.5, 0, 0, 0));
}

TEST(ActionTileCoding, WithoutTheHistoryNoEpisodeIsRecorded) {
  Two two;
  two.visit({1.25}, 1);
  two.replacingTraces(1.0);
  two.accumulatingTraces(1.0);
  two.storeState();
  EXPECT_THAT(two.first->episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(two.second->episodeIndexHistorySet, IsEmpty());
}

TEST(ActionTileCoding, BeforeTheFirstChoiceOfAnActionEverythingIsHarmless) {
  Reports reports;
  Two two;
  two.setEpisodeStateHistory(true);
  two.visit({1.25}, -1);
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    two.setTraceStorage(storage);
    two.initEligibilityTraces();
    two.storeState();
    two.updateWeights(1.0, 1.0);
    two.accumulatingTraces(1.0);
    two.replacingTraces(1.0);
    two.updateWeights(1.0, 1.0);
  }
  two.valueEpisode(1.0);
  reports.takeErrors();
}

// ---- Limits ----

TEST(ActionTileCoding, WithoutLimitsNoGroupIsClamped) {
  for (const double min : {-LARGEST, -INFINITE}) {
    for (const double max : {LARGEST, INFINITE}) {
      EXPECT_THAT(callsOf(false,
                          [&](Coding& coding) {
                            coding.setMinWeightLimit(min);
                            coding.setMaxWeightLimit(max);
                            coding.checkWeightLimit();
                          }),
                  IsEmpty());
    }
  }
  EXPECT_THAT(callsOf(false, [](Coding& coding) { coding.checkWeightLimit(); }), IsEmpty());
}

TEST(ActionTileCoding, EitherLimitClampsAllGroups) {
  const auto callsWith = [](double min, double max) {
    return callsOf(false, [&](Coding& coding) {
      coding.setMinWeightLimit(min);
      coding.setMaxWeightLimit(max);
      coding.checkWeightLimit();
    });
  };
  EXPECT_EQ(callsWith(-1.5, 2.5),
            Calls({"first: checkWeightLimit -1.5 2.5", "second: checkWeightLimit -1.5 2.5"}));
  EXPECT_EQ(callsWith(-1.5, INFINITE),
            Calls({"first: checkWeightLimit -1.5 inf", "second: checkWeightLimit -1.5 inf"}));
  EXPECT_EQ(callsWith(-INFINITE, 2.5),
            Calls({"first: checkWeightLimit -inf 2.5", "second: checkWeightLimit -inf 2.5"}));
  EXPECT_THAT(callsWith(std::nextafter(-LARGEST, 0.0), LARGEST), SizeIs(2));
  EXPECT_THAT(callsWith(-LARGEST, std::nextafter(LARGEST, 0.0)), SizeIs(2));
}

// ---- Removing actions ----

TEST(ActionTileCoding, RemoveActionGoesToAllGroupsInOrder) {
  Reports reports;
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.removeAction(1); }),
            Calls({"first: removeAction 1", "second: removeAction 1"}));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, AGroupThatRefusesIsReportedAndTheNextFollows) {
  Reports reports;
  Calls calls;
  Coding coding(newState({{0, 1}}), 3);
  for (const bool removes : {false, true, false}) {
    auto* const group = new Recording("group", calls);
    group->removes = removes;
    coding.registerTiling(group);
  }
  coding.removeAction(1);
  EXPECT_THAT(calls, SizeIs(3));
  const std::string report = "ActionTileCoding::removeAction: Action could not be removed!";
  EXPECT_EQ(errors(reports), messages({report, report}));
}

TEST(ActionTileCoding, AnActionTakenOutOfTheRegistryIsTakenOutOfAllGroups) {
  Reports reports;
  Two two;
  two.count();
  const std::unique_ptr<const AbstractAction> action(two.getAction(1));
  const AbstractAction* const last = two.getAction(2);
  two.unregisterAction(1);
  EXPECT_EQ(two.getNumberOfActions(), 2);
  EXPECT_EQ(two.getAction(1), last);
  EXPECT_EQ(two.first->ACTIONS, 2);
  EXPECT_EQ(two.second->ACTIONS, 2);
  EXPECT_THAT(two.first->allWeights(), ElementsAre(1, 2, 5, 6, 7, 8, 11, 12));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(10, 30, 40, 60));
  EXPECT_EQ(two.getActionValue(0), 0.0) << "no tile is active";
  two.setState();
  EXPECT_EQ(two.getActionValue(0), 7 + 2 + 10);
  EXPECT_EQ(two.getActionValue(1), 11 + 6 + 30);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, AnActionMayBeTakenOutByItsPointer) {
  Reports reports;
  Two two;
  two.count();
  const std::unique_ptr<const AbstractAction> action(two.getAction(0));
  two.unregisterAction(action.get());
  EXPECT_EQ(two.getNumberOfActions(), 2);
  EXPECT_THAT(two.first->allWeights(), ElementsAre(3, 4, 5, 6, 9, 10, 11, 12));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(20, 30, 50, 60));
  two.unregisterAction(action.get());
  EXPECT_EQ(two.getNumberOfActions(), 2);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, TheLastActionStaysInTheGroups) {
  Reports reports;
  Coding coding(newState({{0, 2}}), 1);
  const Group* const group = coding.add(2, {{{0, 2}, 0.5, Types::CLIP}});
  const std::unique_ptr<const AbstractAction> action(coding.getAction(0));
  coding.unregisterAction(0);
  EXPECT_EQ(errors(reports),
            messages({"ActionTilings::removeAction: ACTIONS == 1 --> Can not remove last action!",
                      "ActionTileCoding::removeAction: Action could not be removed!"}));
  EXPECT_EQ(group->ACTIONS, 1);
  EXPECT_EQ(group->ARRAY_SIZE, 4);
  EXPECT_EQ(coding.getNumberOfActions(), 0);
}

TEST(ActionTileCoding, RemovingAnActionThatTheGroupsDoNotHaveIsReportedTwice) {
  Reports reports;
  Two two;
  two.removeAction(3);
  const std::string refused = "ActionTileCoding::removeAction: Action could not be removed!";
  EXPECT_EQ(errors(reports), messages({outOfBounds("removeAction", 3, 3), refused,
                                       outOfBounds("removeAction", 3, 3), refused}));
  EXPECT_EQ(two.getNumberOfActions(), 3);
  two.second->dropWeights();
  two.removeAction(0);
  EXPECT_EQ(errors(reports),
            messages({std::string("ActionTilings::removeAction: ") + NO_WEIGHTS, refused}));
  EXPECT_EQ(two.first->ACTIONS, 2);
}

TEST(ActionTileCoding, LearningGoesOnAfterARemoval) {
  Reports reports;
  Two two;
  two.visit({1.25}, 2);
  two.replacingTraces(1.0);
  const std::unique_ptr<const AbstractAction> action(two.getAction(0));
  two.unregisterAction(0);
  two.initEligibilityTraces();
  two.visit({1.25}, 1);
  two.replacingTraces(1.0);
  two.updateWeights(0.75, 2.0);
  EXPECT_EQ(two.getActionValue(1), 1.5);
  EXPECT_EQ(two.getActionValue(0), 0.0);
  EXPECT_EQ(two.setGreedyActionIndex(), 1.5);
  EXPECT_EQ(two.getActiveActionIndex(), 1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- One object behind several interfaces ----

// Drives the operations that all bases share and looks at what they did to the groups.
template <typename Base>
void expectSharedOperationsThrough(Base& base, Two& two) {
  base.initWeights(three);
  EXPECT_THAT(two.allWeights(), Each(Each(3.0)));
  two.first->setWeights({-1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  two.second->setWeights({0, 0, 0, 0, 0, 8});
  EXPECT_EQ(base.getMinWeight(), -1);
  EXPECT_EQ(base.getMaxWeight(), 8);
  EXPECT_EQ(base.getAvgWeight(false), 7.0 / 18);
  EXPECT_EQ(base.getAvgWeight(true), 9.0 / 18);

  setValues(*two.getStatePtr(), {1.25});
  base.setState();
  two.activeActionIndex = 1;
  EXPECT_THAT(two.first->active(), ElementsAre(6, 1));
  EXPECT_THAT(two.second->active(), ElementsAre(0));

  two.first->eTracesMap = {{1, 9.0}};
  base.initEligibilityTraces();
  EXPECT_THAT(two.first->eTracesMap, IsEmpty());
  base.accumulatingTraces(0.5);
  base.accumulatingTraces(0.5);
  EXPECT_THAT(two.first->eTracesMap, ElementsAre(Pair(3, 1.0), Pair(8, 1.0)));
  base.replacingTraces(4.0);
  EXPECT_THAT(two.first->eTracesMap, ElementsAre(Pair(3, 4.0), Pair(8, 4.0)));
  EXPECT_THAT(two.second->eTracesMap, ElementsAre(Pair(1, 4.0)));
  base.updateEligibilityTraces(0.5, 0.5);
  base.updateWeights(0.75, 4.0);  // a quarter for each tiling
  EXPECT_THAT(two.first->allWeights(), ElementsAre(-1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(0, 1, 0, 0, 0, 8));

  two.first->episodeIndexHistorySet = {0};
  two.second->episodeIndexHistorySet = {5};
  base.valueEpisode(7.0);
  EXPECT_EQ(two.first->weights[0], 6);
  EXPECT_EQ(two.second->weights[5], 15);
  base.initEpisodeStateHistory();
  EXPECT_THAT(two.first->episodeIndexHistorySet, IsEmpty());
  base.initEligibilityTraces();
}

TEST(ActionTileCoding, TheSharedOperationsDoTheSameThroughEveryBase) {
  Two two;
  expectSharedOperationsThrough<ActionTileCoding>(two, two);
  expectSharedOperationsThrough<TileCoding>(two, two);
  expectSharedOperationsThrough<ActionValueFunction>(two, two);
  expectSharedOperationsThrough<ValueFunction>(two, two);
}

TEST(ActionTileCoding, TheLearnersReachItThroughTheInterface) {
  Two two;
  ActionValueFunction& base = two;
  two.visit({1.25}, 1);
  base.storeState();
  EXPECT_THAT(two.first->stored(), ElementsAre(8, 3));
  EXPECT_THAT(two.second->stored(), ElementsAre(1));
  base.updateWeights(0.75, 2.0);
  EXPECT_EQ(base.getActionValue(1), 1.5) << "moves by the whole ALPHA * DELTA";
  EXPECT_EQ(base.getActionValue(0), 0.0);
  base.setMaxWeightLimit(0.25);
  base.checkWeightLimit();
  EXPECT_EQ(base.getActionValue(1), 0.75);
}

TEST(ActionTileCoding, DeletingItThroughAnyBaseDestroysTheWhole) {
  class MortalCoding : public Coding {
   public:
    explicit MortalCoding(int& deathCounter) : Coding(newState({{0, 1}}), 2), deaths(deathCounter) {
      add(3, {});
    }
    ~MortalCoding() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  const TileCoding* const core = new MortalCoding(deaths);
  delete core;
  const ValueFunction* const function = new MortalCoding(deaths);
  delete function;
  const ActionValueFunction* const actionFunction = new MortalCoding(deaths);
  delete actionFunction;
  EXPECT_EQ(deaths, 3);
}

TEST(ActionTileCoding, TracesThatCanNotBeSetAreReportedByEveryGroup) {
  Reports reports;
  Two two;
  two.setTraceStorage(Types::ARRAY);
  two.visit({1.25}, 1);
  two.replacingTraces(1.0);
  two.accumulatingTraces(1.0);
  const std::string replacing = std::string("ActionTilings::replacingTraces: ") + NO_ARRAY_TRACES;
  const std::string accumulating =
      std::string("ActionTilings::accumulatingTraces: ") + NO_ARRAY_TRACES;
  EXPECT_EQ(errors(reports), messages({replacing, replacing, accumulating, accumulating}));
}

// ---- Learning ----

std::unique_ptr<Coding> learningCoding(Types::TRACE_STORAGE storage) {
  auto coding = std::make_unique<Coding>(newState({{-1.2, 0.6}, {0, 6.3}}), 3);
  for (const auto& [tilings, wishes] : LEARNING_GROUPS) {
    coding->add(tilings, wishes);
  }
  coding->setTraceStorage(storage);
  return coding;
}

// Learns along a walk, in the library and by the plain rules, and compares every value.
void expectPlainLearning(Types::TRACE_STORAGE storage, Marks marks, unsigned int seed) {
  const double ALPHA = 0.3;
  const double GAMMA = 0.9;
  const double LAMBDA = 0.7;
  const double VALUE = 1.1;
  const auto coding = learningCoding(storage);
  Tiles::PlainTileCoding plain(3);
  for (const auto& [tilings, wishes] : LEARNING_GROUPS) {
    plain.add(tilings, wishes);
  }
  Walk walk(seed);
  for (int episode = 0; episode < 5; ++episode) {
    if (marks != Marks::STORED) {
      coding->initEligibilityTraces();
      plain.clearTraces();
    }
    std::vector<double> state = walk.next();
    int action = walk.action();
    coding->visit(state, action);
    for (int i = 0; i < 40; ++i) {
      for (int other = 0; other < 3; ++other) {
        ASSERT_EQ(coding->getActionValue(other), plain.value(state, other));
      }
      const double before = plain.value(state, action);
      if (marks == Marks::STORED) {
        coding->storeState();
        plain.store(state, action);
      } else {
        coding->updateEligibilityTraces(GAMMA, LAMBDA);
        plain.decay(GAMMA, LAMBDA);
      }
      if (marks == Marks::REPLACING) {
        coding->replacingTraces(VALUE);
        plain.replace(VALUE, state, action);
      } else if (marks == Marks::ACCUMULATING) {
        coding->accumulatingTraces(VALUE);
        plain.accumulate(VALUE, state, action);
      }
      state = walk.next();
      action = walk.action();
      coding->visit(state, action);
      const double delta = walk.step() - before + GAMMA * coding->getActionValue(action);
      coding->updateWeights(ALPHA, delta);
      plain.update(ALPHA, delta);
    }
    const auto weights = coding->allWeights();
    for (std::size_t i = 0; i < weights.size(); ++i) {
      ASSERT_EQ(bits(weights[i]), bits(plain.weights(i)));
    }
  }
  EXPECT_GT(coding->getMaxWeight(), coding->getMinWeight()) << "nothing learnt";
}

TEST(ActionTileCoding, LearnsAsThePlainRulesDo) {
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    for (const auto marks : {Marks::STORED, Marks::REPLACING, Marks::ACCUMULATING}) {
      for (const unsigned int seed : {1U, 2U, 3U}) {
        Reports reports;
        SCOPED_TRACE(testing::Message()
                     << storage << ", " << static_cast<int>(marks) << ", seed " << seed);
        expectPlainLearning(storage, marks, seed);
        EXPECT_THAT(errors(reports), IsEmpty());
      }
    }
  }
}

// Learns along a walk by Sarsa(0), with traces of one step or without.
std::unique_ptr<Coding> learnOneStep(Types::TRACE_STORAGE storage, bool traces, unsigned int seed) {
  auto coding = learningCoding(storage);
  Walk walk(seed);
  coding->visit(walk.next(), walk.action());
  if (traces) {
    coding->initEligibilityTraces();
  }
  for (int i = 0; i < 300; ++i) {
    const double before = coding->getActionValue(coding->getActiveActionIndex());
    if (traces) {
      coding->updateEligibilityTraces(0.9, 0.0);
      coding->replacingTraces(1.0);
    } else {
      coding->storeState();
    }
    const int action = walk.action();
    coding->visit(walk.next(), action);
    coding->updateWeights(0.1, walk.step() + 0.9 * coding->getActionValue(action) - before);
  }
  return coding;
}

TEST(ActionTileCoding, ReplacingTracesWithoutDecayEqualNoTraces) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    const auto plain = learnOneStep(Types::MAP, false, seed);
    EXPECT_GT(plain->getMaxWeight(), plain->getMinWeight()) << "nothing learnt with seed " << seed;
    for (const auto storage : {Types::MAP, Types::ARRAY}) {
      for (const bool traces : {false, true}) {
        const auto other = learnOneStep(storage, traces, seed);
        for (std::size_t i = 0; i < 2; ++i) {
          EXPECT_EQ(bits(other->allWeights()[i]), bits(plain->allWeights()[i]))
              << "seed " << seed << ", storage " << storage << ", traces " << traces;
        }
      }
    }
  }
}

// ---- The block in a file ----

// The block of the two groups of `Two`.
std::string twoBlocks(const std::vector<double>& first, const std::vector<double>& second) {
  Block clipped = smallBlock();
  clipped.counts = {2};
  clipped.strides = {6};
  clipped.size = 12;
  clipped.weights = first;
  Block wrapped;
  wrapped.tilings = 1;
  wrapped.variables = {{0U, 2.0, Types::WRAP}};
  wrapped.widths = {2.0};
  wrapped.counts = {2};
  wrapped.strides = {3};
  wrapped.shifts = {0.0};
  wrapped.size = 6;
  wrapped.weights = second;
  return bytes(2) + clipped.text() + wrapped.text();
}

const std::vector<double> TENS{10, 20, 30, 40, 50, 60};

TEST(ActionTileCoding, SavesTheBlocksOfItsGroups) {
  Two two;
  two.count();
  const MemoryFile file;
  EXPECT_EQ(two.save(file), 0);
  EXPECT_EQ(file.content(), twoBlocks(ascending(12), TENS));
}

TEST(ActionTileCoding, LoadsItsGroupsOverItsStateForItsActions) {
  Reports reports;
  Coding coding(newState({{0, 2}}), 3);
  coding.add(40, {});
  const MemoryFile file(twoBlocks(ascending(12), TENS) + "behind");
  EXPECT_EQ(coding.load(file), 0);
  EXPECT_EQ(std::fgetc(file), 'b');
  ASSERT_THAT(coding.tilingPtrList, SizeIs(2));
  EXPECT_EQ(coding.numberOfTilings, 3);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(12), TENS));
  for (const Tilings* const group : coding.tilingPtrList) {
    EXPECT_NE(dynamic_cast<const ActionTilings*>(group), nullptr);
    EXPECT_EQ(Peek::stateOf(*group), coding.getStatePtr());
  }
  coding.visit({1.25}, 1);
  EXPECT_EQ(coding.getActionValue(2), 11 + 6 + 30);
  EXPECT_THAT(errors(reports), IsEmpty());
  coding.getActionValue(3);
  EXPECT_EQ(errors(reports),
            messages({outOfBounds("getActionValue", 3, 3), outOfBounds("getActionValue", 3, 3)}));
  coding.storeState();
  coding.updateWeights(0.75, 1.0);
  EXPECT_EQ(coding.getActionValue(1), 9 + 4 + 20 + 0.75);
}

TEST(ActionTileCoding, LoadingDeletesTheGroupsThatWereThere) {
  Reports reports;
  int deaths = 0;
  Coding coding(newState({{0, 3}}), 1);
  coding.registerTiling(new Mortal(deaths));
  const MemoryFile empty;
  EXPECT_EQ(coding.load(empty), -1);
  EXPECT_EQ(deaths, 1) << "even where the number of groups is missing";
  EXPECT_THAT(coding.tilingPtrList, IsEmpty());
  EXPECT_EQ(coding.numberOfTilings, 0);
}

TEST(ActionTileCoding, ANumberOfGroupsThatCanNotBeReadIsReported) {
  for (std::size_t size = 0; size < 4; ++size) {
    Reports reports;
    Two two;
    const MemoryFile file(bytes(1).substr(0, size));
    errno = 0;
    EXPECT_EQ(two.load(file), -1);
    EXPECT_EQ(errors(reports), errnoReport("ActionTileCoding::load", 0, " --> "));
    const FailingFile broken(bytes(1), size, "r");
    EXPECT_EQ(two.load(broken), -1);
    EXPECT_EQ(errors(reports), errnoReport("ActionTileCoding::load", EIO, " --> "));
  }
}

TEST(ActionTileCoding, NoGroupsOrFewerAreLoadedWithoutAFailure) {
  for (const int count : {0, -1, INT_SMALLEST}) {
    Reports reports;
    Two two;
    const MemoryFile file(bytes(count));
    EXPECT_EQ(two.load(file), 0) << count;
    EXPECT_THAT(two.tilingPtrList, IsEmpty());
    EXPECT_EQ(two.numberOfTilings, 0);
    EXPECT_EQ(two.getActionValue(0), 0.0);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

// Calls every operation.
void callEverything(Coding& coding) {
  coding.setEpisodeStateHistory(true);
  coding.setMaxWeightLimit(1.0);
  coding.setState();
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    for (const int action : {-1, 0, 2, 100}) {
      coding.activeActionIndex = action;
      coding.setTraceStorage(storage);
      coding.replacingTraces(1.0);
      coding.updateWeights(1.0, 1.0);
      coding.initEligibilityTraces();
      coding.accumulatingTraces(1.0);
      coding.replacingTraces(1.0);
      coding.updateEligibilityTraces(0.5, 0.5);
      coding.updateWeights(1.0, 1.0);
      coding.storeState();
      coding.updateWeights(1.0, 1.0);
      coding.getActionValue(action);
      coding.setActionValue(action, 1.0);
    }
  }
  coding.valueEpisode(1.0);
  coding.initEpisodeStateHistory();
  coding.initWeights(three);
  coding.checkWeightLimit();
  coding.setGreedyActionIndex();
  coding.getMinWeight();
  coding.getMaxWeight();
  coding.getAvgWeight(true);
  const MemoryFile file;
  coding.save(file);
  coding.add(2, {{{0, 2}, 0.5, Types::CLIP}});
  coding.setState();
  coding.storeState();
  coding.updateWeights(1.0, 1.0);
  coding.removeAction(0);
  coding.setState();
  coding.storeState();
  coding.updateWeights(1.0, 1.0);
}

TEST(ActionTileCoding, AGroupWhoseBlockIsShortIsAppendedAllTheSame) {
  const std::string whole = twoBlocks(ascending(12), TENS);
  const std::size_t secondSize = 12 + 16 + 8 + 4 + 4 + 8 + 4 + 6 * 8;
  const std::size_t firstEnd = whole.size() - secondSize;
  for (std::size_t size = 4; size < whole.size(); ++size) {
    Reports reports;
    Coding coding(newState({{0, 2}}), 3);
    const MemoryFile file(whole.substr(0, size));
    errno = 0;
    ASSERT_EQ(coding.load(file), 0) << size;
    ASSERT_THAT(coding.tilingPtrList, SizeIs(2)) << size;
    const bool firstComplete = size >= firstEnd;
    EXPECT_EQ(Peek::weightsOf(*coding.tilingPtrList.front()),
              firstComplete ? ascending(12) : std::vector<double>());
    EXPECT_THAT(Peek::weightsOf(*coding.tilingPtrList.back()), IsEmpty());
    ASSERT_EQ(errors(reports),
              std::vector<std::string>(firstComplete ? 1 : 2,
                                       "Tilings::load: " + errnoMessage(0, "  -->  ")))
        << size;
    coding.visit({1.25}, 0);
    EXPECT_EQ(coding.getActionValue(0), firstComplete ? LARGEST : INFINITE);
    callEverything(coding);
    reports.takeErrors();
  }
}

TEST(ActionTileCoding, APipeThatEndsAnywhereIsReadAsFarAsItGoes) {
  const std::string whole = twoBlocks(ascending(12), TENS);
  for (std::size_t size = 4; size < whole.size(); ++size) {
    Reports reports;
    Coding coding(newState({{0, 2}}), 3);
    const FailingFile pipe(whole.substr(0, size), 1000, "r");
    ASSERT_EQ(coding.load(pipe), 0) << size;
    ASSERT_THAT(coding.tilingPtrList, SizeIs(2)) << size;
    callEverything(coding);
    reports.takeErrors();
  }
  Reports reports;
  Coding coding(newState({{0, 2}}), 3);
  const FailingFile pipe(whole, 1000, "r");
  EXPECT_EQ(coding.load(pipe), 0);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(12), TENS));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, UpTo1024GroupsAreFollowedHoweverShortTheFile) {
  for (const int count : {1, 1023, 1024}) {
    Reports reports;
    Coding coding(newState({{0, 3}}), 2);
    const MemoryFile file(bytes(count));
    EXPECT_EQ(coding.load(file), 0);
    EXPECT_THAT(coding.tilingPtrList, SizeIs(static_cast<std::size_t>(count)));
    EXPECT_THAT(reports.errors(), SizeIs(static_cast<std::size_t>(count)));
  }
}

TEST(ActionTileCoding, MoreGroupsThanTheFileCanHoldAreAFailedRead) {
  for (const auto& [count, rest] :
       std::vector<std::pair<int, std::string>>{{1025, ""},
                                                {1025, smallestBlocks(1025).substr(1)},
                                                {INT_LARGEST, smallestBlocks(2000)}}) {
    Reports reports;
    Two two;
    const MemoryFile file(bytes(count) + rest);
    errno = 0;
    EXPECT_EQ(two.load(file), -1) << count;
    EXPECT_EQ(errors(reports), errnoReport("ActionTileCoding::load", 0, " --> "));
    EXPECT_THAT(two.tilingPtrList, IsEmpty());
    EXPECT_EQ(two.numberOfTilings, 0);
  }
}

TEST(ActionTileCoding, AsManyGroupsAsTheFileHoldsAreLoaded) {
  Reports reports;
  Coding coding(newState({{0, 3}}), 2);
  const MemoryFile file(bytes(1025) + smallestBlocks(1025));
  EXPECT_EQ(coding.load(file), 0);
  EXPECT_THAT(coding.tilingPtrList, SizeIs(1025));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, GroupsWithoutTilingsAreHarmless) {
  Reports reports;
  Coding coding(newState({{0, 3}}), 2);
  const MemoryFile file(bytes(3) + smallestBlocks(3));
  EXPECT_EQ(coding.load(file), 0);
  EXPECT_EQ(coding.getActionValue(0), 0.0);
  callEverything(coding);
  reports.takeErrors();
}

TEST(ActionTileCoding, ABlockStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  Two two;
  two.count();
  const std::string whole = twoBlocks(ascending(12), TENS);
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(two.save(file), -1) << limit;
    EXPECT_EQ(file.written(), whole.substr(0, limit));
    const std::vector<std::string> list = errors(reports);
    EXPECT_EQ(list.back(), limit < 4 ? "TileCoding::save: " + errnoMessage(EIO, " --> ")
                                     : "TileCoding::save: Tiling::save returned -1");
  }
}

// ---- Named files ----

const std::string NAMED_FILE =
    stateRecord(0, 2) + bytes(3) + twoBlocks({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, TENS);

TEST(ActionTileCoding, ANamedFileHoldsTheStateTheNumberOfActionsAndTheGroups) {
  const TemporaryDirectory directory;
  Coding coding(newState({{-1, 3}}), 2);
  coding.add(1, {{{-1, 3}, 4.0, Types::CIRCLE}})->setWeights({1.0, -2.0});
  coding.setTraceStorage(Types::ARRAY);
  EXPECT_EQ(coding.save(directory.file("v")), 0);
  EXPECT_EQ(readFile(directory.file("v")),
            std::string("\x01\x00\x00\x00"                   // one variable
                        "\x02\x00\x00\x00"                   // of real numbers
                        "\x01\x00\x00\x00"                   // with a name of one byte
                        "x"                                  //
                        "\x00\x00\x00\x00\x00\x00\xF0\xBF"   // from -1.0
                        "\x00\x00\x00\x00\x00\x00\x08\x40"   // to 3.0
                        "\x02\x00\x00\x00"                   // two actions
                        "\x01\x00\x00\x00"                   // one group
                        "\x01\x00\x00\x00"                   // of one tiling
                        "\x01\x00\x00\x00"                   // over one variable
                        "\x01\x00\x00\x00"                   // ARRAY
                        "\x00\x00\x00\x00"                   // id
                        "\x00\x00\x00\x00\x00\x00\x10\x40"   // resolution 4.0
                        "\x00\x00\x00\x00"                   // CIRCLE
                        "\x00\x00\x00\x00\x00\x00\x10\x40"   // a tile is 4.0 wide
                        "\x01\x00\x00\x00"                   // there is one
                        "\x02\x00\x00\x00"                   // stride
                        "\x00\x00\x00\x00\x00\x00\x00\x00"   // shift 0.0
                        "\x02\x00\x00\x00"                   // weights
                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                        "\x00\x00\x00\x00\x00\x00\x00\xC0",  // -2.0
                        109));
}

TEST(ActionTileCoding, IsBuiltFromAFileAlone) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("v"), NAMED_FILE);
  Coding coding(directory.file("v"));
  ASSERT_NE(coding.getStatePtr(), nullptr);
  EXPECT_EQ(coding.getStatePtr()->getMaxValueDbl(0), 2);
  EXPECT_EQ(coding.getNumberOfActions(), 3);
  EXPECT_EQ(coding.getAction(2), nullptr) << "actions are put back with setAction()";
  EXPECT_EQ(coding.numberOfTilings, 3);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(12), TENS));
  for (const Tilings* const group : coding.tilingPtrList) {
    EXPECT_EQ(Peek::stateOf(*group), coding.getStatePtr());
    EXPECT_THAT(Peek::activeOf(*group), Each(-1));
  }
  coding.visit({1.25}, 0);
  EXPECT_EQ(coding.getActionValue(2), 11 + 6 + 30);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, TheNumberOfActionsOfTheFileIsThatOfTheGroups) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("v"), NAMED_FILE);
  Coding coding(newState({{0, 2}}), 8);
  EXPECT_EQ(coding.load(directory.file("v")), 0);
  EXPECT_EQ(coding.getNumberOfActions(), 3);
  coding.unregisterAction(1);
  EXPECT_EQ(coding.getNumberOfActions(), 2);
  EXPECT_THAT(coding.allWeights(),
              ElementsAre(ElementsAre(1, 2, 5, 6, 7, 8, 11, 12), ElementsAre(10, 30, 40, 60)));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, ConstructionFromAFileLeavesTheSharedConstantAlone) {
  const TemporaryDirectory directory;
  writeFile(directory.file("v"), NAMED_FILE);
  Two other;
  other.setValue(3.5);
  const Coding coding(directory.file("v"));
  EXPECT_EQ(Coding::value, 3.5);
  EXPECT_EQ(coding.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
  other.setValue(0.0);
}

TEST(ActionTileCoding, SavingLoadingAndSavingGivesTheSameBytes) {
  const TemporaryDirectory directory;
  const auto coding = learnOneStep(Types::ARRAY, true, 1);
  ASSERT_EQ(coding->save(directory.file("first")), 0);
  Coding copy(directory.file("first"));
  ASSERT_EQ(copy.save(directory.file("second")), 0);
  EXPECT_EQ(readFile(directory.file("second")), readFile(directory.file("first")));

  Two other;
  ASSERT_EQ(other.load(directory.file("first")), 0);
  ASSERT_EQ(other.save(directory.file("third")), 0);
  EXPECT_EQ(readFile(directory.file("third")), readFile(directory.file("first")));
}

TEST(ActionTileCoding, AGroupAfterARemovalComesThroughAFile) {
  Reports reports;
  const TemporaryDirectory directory;
  Two two;
  two.count();
  const std::unique_ptr<const AbstractAction> action(two.getAction(0));
  two.unregisterAction(0);
  ASSERT_EQ(two.save(directory.file("v")), 0);
  Coding copy(directory.file("v"));
  EXPECT_EQ(copy.getNumberOfActions(), 2);
  EXPECT_EQ(copy.allWeights(), two.allWeights());
  for (const double x : {0.25, 0.75, 1.25, 2.0}) {
    copy.visit({x}, 0);
    two.visit({x}, 0);
    EXPECT_EQ(copy.getActionValue(0), two.getActionValue(0));
    EXPECT_EQ(copy.getActionValue(1), two.getActionValue(1));
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, AMissingFileGivesNoStateAndNoGroups) {
  Reports reports;
  const TemporaryDirectory directory;
  Coding coding(directory.file("none"));
  EXPECT_EQ(errors(reports), errnoReport("ActionValueFunction::load", ENOENT, " --> "));
  EXPECT_EQ(coding.getStatePtr(), nullptr);
  EXPECT_THAT(coding.tilingPtrList, IsEmpty());
  EXPECT_EQ(coding.getActionValue(0), 0.0);
  callEverything(coding);
  reports.takeErrors();
}

TEST(ActionTileCoding, ANamedFileCutAnywhereGivesTheGroupsThatCouldBeRead) {
  const TemporaryDirectory directory;
  const std::size_t blockStart = stateRecord(0, 2).size() + 4;
  for (std::size_t size = 0; size < NAMED_FILE.size(); ++size) {
    Reports reports;
    writeFile(directory.file("v"), NAMED_FILE.substr(0, size));
    const bool groups = size >= blockStart + 4;
    Coding coding(directory.file("v"));
    EXPECT_THAT(reports.errors(), testing::Not(IsEmpty())) << size;
    EXPECT_THAT(coding.tilingPtrList, SizeIs(groups ? 2 : 0)) << size;
    EXPECT_EQ(coding.getNumberOfActions(), size >= blockStart ? 3 : 0) << size;
    callEverything(coding);
    reports.takeErrors();

    Two two;
    EXPECT_EQ(two.load(directory.file("v")), groups ? 0 : -1) << size;
    callEverything(two);
    reports.takeErrors();
  }
}

TEST(ActionTileCoding, HostileNumbersInANamedFileAskForNoMemory) {
  const TemporaryDirectory directory;
  Block weights = smallBlock();
  weights.size = INT_LARGEST;
  Block tilings = smallBlock();
  tilings.tilings = INT_LARGEST;
  for (const std::string& rest :
       {bytes(3) + bytes(INT_LARGEST) + smallBlock().text(), bytes(3) + bytes(1) + weights.text(),
        bytes(3) + bytes(1) + tilings.text(),
        bytes(3) + bytes(1) + bytes(2) + bytes(INT_LARGEST) + bytes(0),
        bytes(INT_LARGEST) + bytes(1) + smallBlock().text()}) {
    Reports reports;
    writeFile(directory.file("v"), stateRecord(0, 3) + rest);
    std::unique_ptr<Coding> coding;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      coding = std::make_unique<Coding>(directory.file("v"));
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 2000U) << "of the value function, its state and the reports";
    EXPECT_THAT(reports.errors(), testing::Not(IsEmpty()));
    callEverything(*coding);
    reports.takeErrors();
  }
}

TEST(ActionTileCoding, AnyNumberOfActionsMayStandBesideTheGroups) {
  const TemporaryDirectory directory;
  for (const int actions : {0, 1, 2, 7, 65536}) {
    Reports reports;
    writeFile(directory.file("v"),
              stateRecord(0, 3) + bytes(actions) + twoBlocks(ascending(12), TENS));
    Coding coding(directory.file("v"));
    EXPECT_EQ(coding.getNumberOfActions(), actions);
    EXPECT_THAT(errors(reports), IsEmpty());
    if (actions < 100) {
      callEverything(coding);
    }
    coding.visit({1.25}, actions - 1);
    coding.getActionValue(actions - 1);
    coding.removeAction(actions - 1);
    reports.takeErrors();
  }
}

TEST(ActionTileCoding, ComesThroughAPipe) {
  Reports reports;
  const Pipe pipe(NAMED_FILE);
  const Coding coding(pipe.name());
  EXPECT_EQ(coding.getNumberOfActions(), 3);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(12), TENS));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTileCoding, SavingAGroupWithoutWeightsFailsBehindTheNumberOfActions) {
  Reports reports;
  const TemporaryDirectory directory;
  Two two;
  two.second->dropWeights();
  EXPECT_EQ(two.save(directory.file("v")), -1);
  EXPECT_EQ(errors(reports), messages({std::string("Tilings::save: ") + NO_WEIGHTS,
                                       "TileCoding::save: Tiling::save returned -1",
                                       "ActionValueFunction::save: saving valuefunction failed"}));
}

TEST(ActionTileCoding, AFullDiskFailsTheSave) {
  Reports reports;
  Two two;
  EXPECT_EQ(two.save("/dev/full"), -1) << "the file fails when it is closed";
  EXPECT_EQ(errors(reports), errnoReport("ActionValueFunction::save", ENOSPC, " --> "));
  two.add(1, {{{0, 2}, 0.0003, Types::CLIP}});
  EXPECT_EQ(two.save("/dev/full"), -1);
  EXPECT_EQ(errors(reports), messages({"Tilings::save: " + errnoMessage(ENOSPC, "  -->  "),
                                       "TileCoding::save: Tiling::save returned -1",
                                       "ActionValueFunction::save: saving valuefunction failed"}));
}

// ---- Short memory ----

class ActionTileCodingInShortMemory : public Tables::InShortMemory {};

TEST_F(ActionTileCodingInShortMemory, ConstructionFromAFileNeverThrows) {
  const TemporaryDirectory directory;
  const std::string name = directory.file("v");
  writeFile(name, NAMED_FILE);
  int call = 1;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    std::unique_ptr<Coding> coding;
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(coding = std::make_unique<Coding>(name)) << call;
      failed = memory.failed();
    }
    ASSERT_NE(coding, nullptr);
    EXPECT_EQ(reports.errors().empty(), !failed) << call;
    if (!failed) {
      EXPECT_THAT(coding->allWeights(), ElementsAre(ascending(12), TENS));
    }
    callEverything(*coding);
    reports.takeErrors();
  }
  EXPECT_GE(call, 20) << "state, and group, layout, weights and list for each group at least";
}

TEST_F(ActionTileCodingInShortMemory,
       AnActionThatCanNotBeRemovedFromOneGroupIsRemovedFromTheOther) {
  Reports reports;
  Two two;
  two.count();
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(two.removeAction(0));
  }
  EXPECT_THAT(reports.errors(), ElementsAre(StartsWith("Can not allocate memory for "),
                                            "Action could not be removed!"));
  EXPECT_EQ(two.first->allWeights(), ascending(12));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(20, 30, 50, 60));
}

TEST_F(ActionTileCodingInShortMemory, NoOperationThrowsWhenMemoryIsUsedUp) {
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Reports reports;
    Two two;
    two.setTraceStorage(storage);
    two.setEpisodeStateHistory(true);
    two.visit({1.25}, 1);
    {
      const FailingNew memory(FailingNew::ALL_FROM, 1);
      EXPECT_NO_THROW({
        two.initEligibilityTraces();
        two.replacingTraces(1.0);
        two.accumulatingTraces(1.0);
        two.storeState();
        two.updateEligibilityTraces(0.9, 0.5);
        two.updateWeights(1.0, 1.0);
        two.valueEpisode(1.0);
        two.removeAction(0);
      });
    }
    std::cerr.clear();  // the reports have run out of memory, too
    EXPECT_THAT(two.allWeights(), Each(Each(0.0)));
    reports.errorText();
  }
}

}  // namespace
