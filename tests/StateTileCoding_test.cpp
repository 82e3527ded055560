#include <gmock/gmock.h>
#include <quarnel/State.h>
#include <quarnel/StateTileCoding.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
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
using Group = Tiles::OpenGroup<StateTilings>;

class Coding : public StateTileCoding {
 public:
  using StateTileCoding::StateTileCoding;

  using StateTileCoding::load;
  using StateTileCoding::save;
  using TileCoding::numberOfTilings;
  using TileCoding::tilingPtrList;
  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::value;

  // Registers a group over the first variables.
  Group* add(int tilings, const std::vector<Wish>& wishes) {
    auto* const group = new Group(tilings, Tiles::variablesOf(wishes));
    registerTiling(group);
    return group;
  }

  // Makes the tiles of these values active.
  void visit(const std::vector<double>& values) {
    setValues(*getStatePtr(), values);
    setState();
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

// Two groups over a variable in [0, 3]: two clipped tilings of three tiles, and one wrapped tiling
// of two tiles.
class Two : public Coding {
 public:
  Two()
      : Coding(newState({{0, 3}})),
        first(add(2, {{{0, 3}, 0.5, Types::CLIP}})),
        second(add(1, {{{0, 3}, 3.0, Types::WRAP}})) {}

  Group* first;
  Group* second;
};

// A group that counts deaths.
class Mortal : public StateTilings {
 public:
  explicit Mortal(int& deathCounter) : StateTilings(1, {}), deaths(deathCounter) {}
  ~Mortal() override { ++deaths; }

 private:
  int& deaths;
};

std::vector<std::string> errnoReport(const char* place, int number, const char* separator) {
  return messages({std::string(place) + ": " + errnoMessage(number, separator)});
}

const double three() { return 3.0; }

// ---- Construction ----

TEST(StateTileCoding, StartsWithoutGroups) {
  Reports reports;
  State* const state = newState({{0, 1}});
  Coding coding(state);
  EXPECT_EQ(coding.getStatePtr(), state);
  EXPECT_THAT(coding.tilingPtrList, IsEmpty());
  EXPECT_EQ(coding.numberOfTilings, 0);
  EXPECT_EQ(bits({coding.getStateValue()}), bits({0.0}));
  EXPECT_TRUE(std::isnan(coding.getAvgWeight(false)));
  EXPECT_EQ(coding.getMinWeight(), LARGEST);
  EXPECT_EQ(coding.getMaxWeight(), -LARGEST);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, WithoutGroupsEveryOperationDoesNothing) {
  Reports reports;
  Coding coding(newState({{0, 1}}));
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
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, ConstructionSetsTheSharedConstantBackToZero) {
  Coding first(newState({{0, 1}}));
  first.setValue(3.5);
  EXPECT_EQ(Coding::value, 3.5);
  const Coding second(newState({{0, 1}}));
  EXPECT_EQ(Coding::value, 0.0);
  EXPECT_EQ(second.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
}

// ---- Registering groups ----

TEST(StateTileCoding, ARegisteredGroupIsLaidOutAndItsWeightsAreZero) {
  Reports reports;
  Coding coding(newState({{0, 10}}));
  auto* const group = new Group(4, {{0, 0.5, Types::CLIP}});
  coding.registerTiling(group);
  EXPECT_EQ(group->statePtr, coding.getStatePtr());
  EXPECT_THAT(group->tileCounts(), ElementsAre(5));
  EXPECT_EQ(bits(group->allWeights()), bits(std::vector<double>(20, 0.0)));
  EXPECT_EQ(group->traceStorage, Types::MAP);
  EXPECT_THAT(coding.tilingPtrList, ElementsAre(group));
  EXPECT_EQ(coding.numberOfTilings, 4);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, GroupsStandInTheOrderOfTheirRegistration) {
  Two two;
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second));
  EXPECT_EQ(two.numberOfTilings, 3);
  auto* const third = two.add(5, {});
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second, third));
  EXPECT_EQ(two.numberOfTilings, 8);
}

TEST(StateTileCoding, AGroupIsCreatedThenInitialisedThenAppended) {
  static Coding* coding;
  static Calls* calls;
  class Recording : public StateTilings {
   public:
    using StateTilings::StateTilings;
    void create(State* state) override {
      note(state == coding->getStatePtr() ? "create" : "create over another state");
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
  Coding container(newState({{0, 1}}));
  coding = &container;
  container.setInitWeightsFunctionPtr(three);
  container.registerTiling(new Recording(3, {}));
  EXPECT_EQ(list, Calls({"create, 0 groups, 0 tilings", "initWeights, 0 groups, 0 tilings"}));
  EXPECT_EQ(container.numberOfTilings, 3);
}

TEST(StateTileCoding, TheInitialiserOfTheValueFunctionGivesTheFirstWeights) {
  Coding coding(newState({{0, 3}}));
  coding.setValue(2.5);
  EXPECT_THAT(coding.add(1, {{{0, 3}, 1, Types::CLIP}})->allWeights(), Each(2.5));
  coding.setInitWeightsFunctionPtr(ValueFunction::getRandomInitializer());
  const Group* group = nullptr;
  EXPECT_EQ(countDraws([&] { group = coding.add(1, {{{0, 3}, 1, Types::CLIP}}); }, 7), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(group->weights[i], draw(7, i) / 2147483648.0 - 0.5);
  }
}

TEST(StateTileCoding, ALaterGroupKeepsItsOwnStorage) {
  Two two;
  two.setTraceStorage(Types::ARRAY);
  EXPECT_EQ(two.first->traceStorage, Types::ARRAY);
  EXPECT_EQ(two.add(1, {})->traceStorage, Types::MAP);
}

TEST(StateTileCoding, NoGroupIsReportedAndNotRegistered) {
  Reports reports;
  Two two;
  two.registerTiling(nullptr);
  EXPECT_EQ(errors(reports), messages({"StateTileCoding::registerTiling: tilingPtr == 0"}));
  EXPECT_THAT(two.tilingPtrList, SizeIs(2));
  EXPECT_EQ(two.numberOfTilings, 3);
}

TEST(StateTileCoding, AGroupThatIsRegisteredAlreadyIsReportedAndStaysAsItIs) {
  Reports reports;
  Two two;
  two.first->count();
  const double* const weights = two.first->weights;
  two.registerTiling(two.first);
  EXPECT_EQ(errors(reports), messages({"StateTileCoding::registerTiling: a group of tilings is "
                                       "registered only once!"}));
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second));
  EXPECT_EQ(two.numberOfTilings, 3);
  EXPECT_EQ(two.first->weights, weights);
  EXPECT_EQ(two.first->allWeights(), ascending(6));
}

TEST(StateTileCoding, TheContainerOwnsItsGroups) {
  int deaths = 0;
  {
    Coding coding(newState({{0, 1}}));
    coding.registerTiling(new Mortal(deaths));
    coding.freeMemory();
    EXPECT_EQ(deaths, 1);
    coding.registerTiling(new Mortal(deaths));
    coding.registerTiling(new Mortal(deaths));
  }
  EXPECT_EQ(deaths, 3);
}

TEST(StateTileCoding, AGroupThatCanNotBeLaidOutLeavesTheOthersLearning) {
  Reports reports;
  Coding coding(newState({{0, 3}}));
  auto* const good = coding.add(2, {{{0, 3}, 0.5, Types::CLIP}});
  EXPECT_THAT(errors(reports), IsEmpty());
  auto* const bad = coding.add(2, {{{0, 3}, -0.5, Types::CLIP}});
  EXPECT_THAT(reports.errors(), testing::Contains(HasSubstr("-0.5")));
  EXPECT_EQ(bad->weights, nullptr);
  EXPECT_EQ(coding.numberOfTilings, 4);
  coding.visit({1.25});
  coding.replacingTraces(1.0);
  coding.updateWeights(1.0, 1.0);
  EXPECT_THAT(good->allWeights(), ElementsAre(0, 0.25, 0.25, 0, 0, 0));
  reports.takeErrors();
  EXPECT_EQ(coding.getStateValue(), LARGEST) << "0.5 is lost beside it";
  EXPECT_EQ(errors(reports), messages({std::string("StateTilings::getStateValue: ") + NO_WEIGHTS}));
  EXPECT_EQ(coding.getMaxWeight(), 0.25);
}

// ---- The value of a state ----

TEST(StateTileCoding, TheValueIsTheSumOverAllGroups) {
  Reports reports;
  Two two;
  two.first->count();
  two.second->setWeights({10, 20});
  two.visit({1.25});  // tiles 1 and 0 of the first group, 0 of the second
  EXPECT_EQ(two.getStateValue(), 3 + 2 + 10);
  two.visit({3});
  EXPECT_EQ(two.getStateValue(), 5 + 6 + 20);
  two.visit({0.25});
  EXPECT_EQ(two.getStateValue(), 1 + 10) << "tiling 1 of the first group has no active tile";
  two.visit({-0.5});
  EXPECT_EQ(two.getStateValue(), 0) << "nor has any other";
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, TheValueIsTheSumOfTheSumsOfTheGroups) {
  Coding coding(newState({{0, 1}}));
  auto* const first = coding.add(2, {});
  auto* const second = coding.add(2, {});
  auto* const third = coding.add(1, {});
  coding.setState();
  first->setWeights({1e16, 0});
  second->setWeights({1, 1});
  third->setWeights({-1e16});
  EXPECT_EQ(coding.getStateValue(), 2.0) << "1e16 + 1 + 1 would lose both ones";
  first->setWeights({1, 0});
  second->setWeights({1e16, 0});
  EXPECT_EQ(coding.getStateValue(), 0.0) << "in the order of the groups";
  for (Group* const group : {first, second, third}) {
    group->initWeights([]() -> const double { return -0.0; });
  }
  EXPECT_EQ(bits({coding.getStateValue()}), bits({0.0})) << "starts at 0.0";
}

TEST(StateTileCoding, AGroupWithoutWeightsMakesTheValueEnormous) {
  Reports reports;
  Two two;
  two.second->dropWeights();
  two.visit({1});
  EXPECT_EQ(two.getStateValue(), LARGEST);
  two.first->dropWeights();
  reports.takeErrors();
  EXPECT_EQ(two.getStateValue(), INFINITE);
  EXPECT_EQ(reports.errors(), messages({NO_WEIGHTS, NO_WEIGHTS}));
}

// ---- Marking the active tiles ----

// Groups that note what is called.
class Recording : public StateTilings {
 public:
  Recording(std::string groupName, Calls& callList)
      : StateTilings(1, {}), name(std::move(groupName)), calls(callList) {}
  void accumulatingTraces(double VALUE) override { note("accumulatingTraces", VALUE); }
  void replacingTraces(double VALUE) override { note("replacingTraces", VALUE); }
  void storeActiveTiles() override { calls.push_back(name + ": storeActiveTiles"); }
  void storeEpisodeState() override { calls.push_back(name + ": storeEpisodeState"); }
  void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) override {
    note("checkWeightLimit", MIN_WEIGHT, MAX_WEIGHT);
  }

 private:
  template <typename... Numbers>
  void note(const std::string& call, Numbers... numbers) {
    std::ostringstream text;
    text << name << ": " << call;
    (text << ... << (" " + testing::PrintToString(numbers)));
    calls.push_back(text.str());
  }

  const std::string name;
  Calls& calls;
};

// What an operation calls in two groups.
Calls callsOf(bool history, const std::function<void(Coding&)>& operation) {
  Calls calls;
  Coding coding(newState({{0, 1}}));
  coding.registerTiling(new Recording("first", calls));
  coding.registerTiling(new Recording("second", calls));
  coding.setEpisodeStateHistory(history);
  operation(coding);
  return calls;
}

TEST(StateTileCoding, StoreStateStoresTheTilesOfAllGroups) {
  EXPECT_EQ(callsOf(false, [](Coding& coding) { coding.storeState(); }),
            Calls({"first: storeActiveTiles", "second: storeActiveTiles"}));
}

TEST(StateTileCoding, StoreStateRecordsTheEpisodeAfterwardsWhereItsHistoryIsOn) {
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.storeState(); }),
            Calls({"first: storeActiveTiles", "second: storeActiveTiles",
                   "first: storeEpisodeState", "second: storeEpisodeState"}));
}

TEST(StateTileCoding, TracesAreSetInAllGroups) {
  EXPECT_EQ(callsOf(false, [](Coding& coding) { coding.replacingTraces(0.5); }),
            Calls({"first: replacingTraces 0.5", "second: replacingTraces 0.5"}));
  EXPECT_EQ(callsOf(false, [](Coding& coding) { coding.accumulatingTraces(0.25); }),
            Calls({"first: accumulatingTraces 0.25", "second: accumulatingTraces 0.25"}));
}

TEST(StateTileCoding, TracesRecordTheEpisodeAfterwardsWhereItsHistoryIsOn) {
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.replacingTraces(0.5); }),
            Calls({"first: replacingTraces 0.5", "second: replacingTraces 0.5",
                   "first: storeEpisodeState", "second: storeEpisodeState"}));
  EXPECT_EQ(callsOf(true, [](Coding& coding) { coding.accumulatingTraces(0.25); }),
            Calls({"first: accumulatingTraces 0.25", "second: accumulatingTraces 0.25",
                   "first: storeEpisodeState", "second: storeEpisodeState"}));
}

TEST(StateTileCoding, AnEpisodeIsValuedOncePerVisitedTile) {
  Reports reports;
  Two two;
  two.setEpisodeStateHistory(true);
  two.initEpisodeStateHistory();
  for (const double x : {1.25, 1.3, 1.25}) {
    two.visit({x});
    two.replacingTraces(1.0);
  }
  two.visit({1.75});
  two.accumulatingTraces(1.0);
  two.visit({3});
  two.storeState();
  two.valueEpisode(0.5);
  EXPECT_THAT(two.first->allWeights(), ElementsAre(0, 0.5, 0.5, 0.5, 0.5, 0.5));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(0.5, 0.5));
  two.initEpisodeStateHistory();
  two.valueEpisode(0.5);
  EXPECT_EQ(reports.errors().size(), 2U) << "nothing is recorded in either group";
}

TEST(StateTileCoding, WithoutTheHistoryNoEpisodeIsRecorded) {
  Reports reports;
  Two two;
  two.visit({1.25});
  two.replacingTraces(1.0);
  two.accumulatingTraces(1.0);
  two.storeState();
  EXPECT_THAT(two.first->episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(two.second->episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Limits ----

TEST(StateTileCoding, WithoutLimitsNoGroupIsClamped) {
  const double beyond = INFINITE;
  for (const double min : {-LARGEST, -beyond}) {
    for (const double max : {LARGEST, beyond}) {
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

TEST(StateTileCoding, WithoutLimitsInfiniteWeightsAndMissingOnesAreLeftAlone) {
  Reports reports;
  Two two;
  two.second->setWeights({INFINITE, NOT_A_NUMBER});
  two.first->dropWeights();
  two.checkWeightLimit();
  EXPECT_EQ(two.second->weights[0], INFINITE);
  EXPECT_TRUE(std::isnan(two.second->weights[1]));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, EitherLimitClampsAllGroups) {
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

TEST(StateTileCoding, WeightsAreClampedIntoTheLimitsOfTheValueFunction) {
  Two two;
  two.first->setWeights({-3, -1, 0, 0.5, 1, 7});
  two.second->setWeights({-7, 7});
  two.setMinWeightLimit(-1);
  two.setMaxWeightLimit(0.75);
  two.checkWeightLimit();
  EXPECT_THAT(two.first->allWeights(), ElementsAre(-1, -1, 0, 0.5, 0.75, 0.75));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(-1, 0.75));
}

// ---- One object behind several interfaces ----

// Drives the operations that all bases share and looks at what they did to the groups.
template <typename Base>
void expectSharedOperationsThrough(Base& base, Two& two) {
  base.initWeights(three);
  EXPECT_THAT(two.allWeights(), Each(Each(3.0)));
  two.first->setWeights({-1, 2, 3, 4, 5, 6});
  two.second->setWeights({7, 8});
  EXPECT_EQ(base.getMinWeight(), -1);
  EXPECT_EQ(base.getMaxWeight(), 8);
  EXPECT_EQ(base.getAvgWeight(false), 34.0 / 8);
  EXPECT_EQ(base.getAvgWeight(true), 36.0 / 8);

  setValues(*two.getStatePtr(), {2.75});
  base.setState();
  EXPECT_THAT(two.first->active(), ElementsAre(4, 5));
  EXPECT_THAT(two.second->active(), ElementsAre(0));

  two.first->eTracesMap = {{1, 9.0}};
  base.initEligibilityTraces();
  EXPECT_THAT(two.first->eTracesMap, IsEmpty());
  base.accumulatingTraces(0.5);
  base.accumulatingTraces(0.5);
  EXPECT_THAT(two.first->eTracesMap, ElementsAre(Pair(4, 1.0), Pair(5, 1.0)));
  base.replacingTraces(4.0);
  EXPECT_THAT(two.first->eTracesMap, ElementsAre(Pair(4, 4.0), Pair(5, 4.0)));
  EXPECT_THAT(two.second->eTracesMap, ElementsAre(Pair(0, 4.0)));
  base.updateEligibilityTraces(0.5, 0.5);
  base.updateWeights(0.75, 4.0);  // a quarter for each tiling
  EXPECT_THAT(two.first->allWeights(), ElementsAre(-1, 2, 3, 4, 6, 7));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(8, 8));

  two.first->episodeIndexHistorySet = {0};
  two.second->episodeIndexHistorySet = {1};
  base.valueEpisode(7.0);
  EXPECT_THAT(two.first->allWeights(), ElementsAre(6, 2, 3, 4, 6, 7));
  EXPECT_THAT(two.second->allWeights(), ElementsAre(8, 15));
  base.initEpisodeStateHistory();
  EXPECT_THAT(two.first->episodeIndexHistorySet, IsEmpty());
  base.initEligibilityTraces();
}

TEST(StateTileCoding, TheSharedOperationsDoTheSameThroughEveryBase) {
  Two two;
  expectSharedOperationsThrough<StateTileCoding>(two, two);
  expectSharedOperationsThrough<TileCoding>(two, two);
  expectSharedOperationsThrough<StateValueFunction>(two, two);
  expectSharedOperationsThrough<ValueFunction>(two, two);
}

TEST(StateTileCoding, TheLearnersReachItThroughTheInterface) {
  Two two;
  StateValueFunction& base = two;
  two.visit({1.25});
  base.storeState();
  EXPECT_THAT(two.first->stored(), ElementsAre(2, 1));
  EXPECT_THAT(two.second->stored(), ElementsAre(0));
  base.updateWeights(0.75, 2.0);
  EXPECT_EQ(base.getStateValue(), 1.5) << "moves by the whole ALPHA * DELTA";
  base.setMaxWeightLimit(0.25);
  base.checkWeightLimit();
  EXPECT_EQ(base.getStateValue(), 0.75);
}

TEST(StateTileCoding, DeletingItThroughAnyBaseDestroysTheWhole) {
  class MortalCoding : public Coding {
   public:
    explicit MortalCoding(int& deathCounter) : Coding(newState({{0, 1}})), deaths(deathCounter) {
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
  const StateValueFunction* const stateFunction = new MortalCoding(deaths);
  delete stateFunction;
  EXPECT_EQ(deaths, 3);
}

TEST(StateTileCoding, TracesThatCanNotBeSetAreReportedByEveryGroup) {
  Reports reports;
  Two two;
  two.setTraceStorage(Types::ARRAY);
  two.visit({1.25});
  two.replacingTraces(1.0);
  two.accumulatingTraces(1.0);
  const std::string replacing = std::string("StateTilings::replacingTraces: ") + NO_ARRAY_TRACES;
  const std::string accumulating =
      std::string("StateTilings::accumulatingTraces: ") + NO_ARRAY_TRACES;
  EXPECT_EQ(errors(reports), messages({replacing, replacing, accumulating, accumulating}));
}

// ---- Learning ----

std::unique_ptr<Coding> learningCoding(Types::TRACE_STORAGE storage) {
  auto coding = std::make_unique<Coding>(newState({{-1.2, 0.6}, {0, 6.3}}));
  for (const auto& [tilings, wishes] : LEARNING_GROUPS) {
    coding->add(tilings, wishes);
  }
  coding->setTraceStorage(storage);
  return coding;
}

void expectSameWeights(const Coding& coding, const Tiles::PlainTileCoding& plain) {
  const auto weights = coding.allWeights();
  for (std::size_t i = 0; i < weights.size(); ++i) {
    ASSERT_EQ(bits(weights[i]), bits(plain.weights(i)));
  }
}

// Learns along a walk, in the library and by the plain rules, and compares every value.
void expectPlainLearning(Types::TRACE_STORAGE storage, Marks marks, unsigned int seed) {
  const double ALPHA = 0.3;
  const double GAMMA = 0.9;
  const double LAMBDA = 0.7;
  const double VALUE = 1.1;
  const auto coding = learningCoding(storage);
  Tiles::PlainTileCoding plain;
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
    coding->visit(state);
    for (int i = 0; i < 40; ++i) {
      const double before = plain.value(state);
      ASSERT_EQ(coding->getStateValue(), before);
      coding->setEpisodeStateHistory(i % 2 == 0);
      if (marks == Marks::STORED) {
        coding->storeState();
        plain.store(state);
      } else {
        coding->updateEligibilityTraces(GAMMA, LAMBDA);
        plain.decay(GAMMA, LAMBDA);
      }
      if (marks == Marks::REPLACING) {
        coding->replacingTraces(VALUE);
        plain.replace(VALUE, state);
      } else if (marks == Marks::ACCUMULATING) {
        coding->accumulatingTraces(VALUE);
        plain.accumulate(VALUE, state);
      }
      state = walk.next();
      coding->visit(state);
      const double delta = walk.step() - before + GAMMA * coding->getStateValue();
      coding->updateWeights(ALPHA, delta);
      plain.update(ALPHA, delta);
    }
    expectSameWeights(*coding, plain);
  }
  EXPECT_GT(coding->getMaxWeight(), coding->getMinWeight()) << "nothing learnt";
}

TEST(StateTileCoding, LearnsAsThePlainRulesDo) {
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

// The same random sequence of operations for every coding.
void runRandomOperations(Coding& coding, unsigned int seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned int limit) { return static_cast<int>(random() % limit); };
  const auto number = [&] { return static_cast<double>(below(2000001)) / 1e6 - 1.0; };
  coding.initEligibilityTraces();
  coding.storeState();
  coding.setEpisodeStateHistory(true);
  coding.visit({0, 3});
  coding.replacingTraces(1.0);  // an empty map would leave the update to the stored tiles
  for (int i = 0; i < 600; ++i) {
    switch (below(8)) {
      case 0:
        coding.updateEligibilityTraces(number(), number());
        break;
      case 1:
        coding.replacingTraces(number());
        break;
      case 2:
        coding.accumulatingTraces(number());
        break;
      case 3:
        coding.updateWeights(number(), number());
        break;
      case 4:
        coding.setMinWeightLimit(-0.5 + number() * 0.1);
        coding.setMaxWeightLimit(0.5 + number() * 0.1);
        coding.checkWeightLimit();
        break;
      case 5:
        if (below(20) == 0) {
          coding.initEligibilityTraces();
          coding.visit({0, 3});
          coding.replacingTraces(number());
        }
        break;
      case 6:
        if (below(5) == 0) {
          coding.valueEpisode(number());
        }
        break;
      default:
        coding.visit({number() * 1.5 - 0.3, number() * 10});  // now and then outside the ranges
    }
  }
}

TEST(StateTileCoding, MapAndArrayLearnTheSameWeightsBitForBit) {
  for (unsigned int seed = 1; seed <= 10; ++seed) {
    Reports reports;
    const auto map = learningCoding(Types::MAP);
    const auto array = learningCoding(Types::ARRAY);
    runRandomOperations(*map, seed);
    runRandomOperations(*array, seed);
    reports.takeErrors();
    for (std::size_t i = 0; i < 2; ++i) {
      EXPECT_EQ(bits(map->allWeights()[i]), bits(array->allWeights()[i])) << "seed " << seed;
    }
    EXPECT_EQ(map->getStateValue(), array->getStateValue());
    EXPECT_GT(map->getMaxWeight(), map->getMinWeight()) << "nothing learnt with seed " << seed;
  }
}

// Learns along a walk by TD(0), with traces of one step or without.
std::unique_ptr<Coding> learnOneStep(Types::TRACE_STORAGE storage, bool traces, unsigned int seed) {
  auto coding = learningCoding(storage);
  Walk walk(seed);
  coding->visit(walk.next());
  if (traces) {
    coding->initEligibilityTraces();
  }
  for (int i = 0; i < 300; ++i) {
    const double before = coding->getStateValue();
    if (traces) {
      coding->updateEligibilityTraces(0.9, 0.0);
      coding->replacingTraces(1.0);
    } else {
      coding->storeState();
    }
    coding->visit(walk.next());
    coding->updateWeights(0.1, walk.step() + 0.9 * coding->getStateValue() - before);
  }
  return coding;
}

TEST(StateTileCoding, ReplacingTracesWithoutDecayEqualNoTraces) {
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

std::string twoBlocks(const std::vector<double>& first, const std::vector<double>& second) {
  Block block = smallBlock();
  block.weights = first;
  Block wrapped;
  wrapped.tilings = 1;
  wrapped.variables = {{0U, 3.0, Types::WRAP}};
  wrapped.widths = {3.0};
  wrapped.counts = {2};
  wrapped.strides = {1};
  wrapped.shifts = {0.0};
  wrapped.size = 2;
  wrapped.weights = second;
  return bytes(2) + block.text() + wrapped.text();
}

TEST(StateTileCoding, SavesTheBlocksOfItsGroups) {
  Two two;
  two.first->count();
  two.second->setWeights({-1, -2});
  const MemoryFile file;
  EXPECT_EQ(two.save(file), 0);
  EXPECT_EQ(file.content(), twoBlocks(ascending(6), {-1, -2}));
}

TEST(StateTileCoding, LoadsItsGroupsOverItsState) {
  Reports reports;
  Coding coding(newState({{0, 3}}));
  coding.add(40, {});
  const MemoryFile file(twoBlocks(ascending(6), {-1, -2}) + "behind");
  EXPECT_EQ(coding.load(file), 0);
  EXPECT_EQ(std::fgetc(file), 'b');
  ASSERT_THAT(coding.tilingPtrList, SizeIs(2));
  EXPECT_EQ(coding.numberOfTilings, 3);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(6), ElementsAre(-1, -2)));
  for (const Tilings* const group : coding.tilingPtrList) {
    EXPECT_NE(dynamic_cast<const StateTilings*>(group), nullptr);
    EXPECT_EQ(Peek::stateOf(*group), coding.getStatePtr());
  }
  coding.visit({1.25});
  EXPECT_EQ(coding.getStateValue(), 3 + 2 - 1);
  coding.storeState();
  coding.updateWeights(0.75, 1.0);
  EXPECT_EQ(coding.getStateValue(), 4.75);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, LoadedGroupsAreNeitherLaidOutNorInitialised) {
  Block block = smallBlock();
  block.variables[0].resolution = 77;
  block.widths = {3};
  block.storage = 1;
  const std::string text = bytes(1) + block.text();
  Coding coding(newState({{0, 1000}}));
  coding.setInitWeightsFunctionPtr(three);
  const MemoryFile file(text);
  EXPECT_EQ(coding.load(file), 0);
  EXPECT_EQ(Peek::storageOf(*coding.tilingPtrList.front()), Types::ARRAY);
  const MemoryFile again;
  EXPECT_EQ(coding.save(again), 0);
  EXPECT_EQ(again.content(), text);
}

TEST(StateTileCoding, LoadingDeletesTheGroupsThatWereThere) {
  Reports reports;
  int deaths = 0;
  Coding coding(newState({{0, 3}}));
  coding.registerTiling(new Mortal(deaths));
  const MemoryFile empty;
  EXPECT_EQ(coding.load(empty), -1);
  EXPECT_EQ(deaths, 1) << "even where the number of groups is missing";
  EXPECT_THAT(coding.tilingPtrList, IsEmpty());
  EXPECT_EQ(coding.numberOfTilings, 0);
}

TEST(StateTileCoding, ANumberOfGroupsThatCanNotBeReadIsReported) {
  for (std::size_t size = 0; size < 4; ++size) {
    Reports reports;
    Two two;
    const MemoryFile file(bytes(1).substr(0, size));
    errno = 0;
    EXPECT_EQ(two.load(file), -1);
    EXPECT_EQ(errors(reports), errnoReport("StateTileCoding::load", 0, " --> "));
    const FailingFile broken(bytes(1), size, "r");
    EXPECT_EQ(two.load(broken), -1);
    EXPECT_EQ(errors(reports), errnoReport("StateTileCoding::load", EIO, " --> "));
  }
}

TEST(StateTileCoding, NoGroupsOrFewerAreLoadedWithoutAFailure) {
  for (const int count : {0, -1, INT_SMALLEST}) {
    Reports reports;
    Two two;
    const MemoryFile file(bytes(count));
    EXPECT_EQ(two.load(file), 0) << count;
    EXPECT_THAT(two.tilingPtrList, IsEmpty());
    EXPECT_EQ(two.numberOfTilings, 0);
    EXPECT_EQ(two.getStateValue(), 0.0);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

// Calls every operation.
void callEverything(Coding& coding) {
  coding.setEpisodeStateHistory(true);
  coding.setMaxWeightLimit(1.0);
  coding.setState();
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
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
  }
  coding.valueEpisode(1.0);
  coding.initEpisodeStateHistory();
  coding.initWeights(three);
  coding.checkWeightLimit();
  coding.getStateValue();
  coding.getMinWeight();
  coding.getMaxWeight();
  coding.getAvgWeight(true);
  const MemoryFile file;
  coding.save(file);
  coding.add(2, {{{0, 3}, 0.5, Types::CLIP}});
  coding.setState();
  coding.storeState();
  coding.updateWeights(1.0, 1.0);
}

TEST(StateTileCoding, AGroupWhoseBlockIsShortIsAppendedAllTheSame) {
  const std::string whole = twoBlocks(ascending(6), {-1, -2});
  const std::size_t firstEnd = 4 + smallBlock().text().size();
  for (std::size_t size = 4; size < whole.size(); ++size) {
    Reports reports;
    Coding coding(newState({{0, 3}}));
    const MemoryFile file(whole.substr(0, size));
    errno = 0;
    ASSERT_EQ(coding.load(file), 0) << size;
    ASSERT_THAT(coding.tilingPtrList, SizeIs(2)) << size;
    const bool firstComplete = size >= firstEnd;
    EXPECT_EQ(Peek::weightsOf(*coding.tilingPtrList.front()),
              firstComplete ? ascending(6) : std::vector<double>());
    EXPECT_THAT(Peek::weightsOf(*coding.tilingPtrList.back()), IsEmpty());
    ASSERT_EQ(errors(reports),
              std::vector<std::string>(firstComplete ? 1 : 2,
                                       "Tilings::load: " + errnoMessage(0, "  -->  ")))
        << size;
    coding.visit({1.25});
    EXPECT_EQ(coding.getStateValue(), firstComplete ? LARGEST : INFINITE);
    callEverything(coding);
    reports.takeErrors();
  }
}

TEST(StateTileCoding, APipeThatEndsAnywhereIsReadAsFarAsItGoes) {
  const std::string whole = twoBlocks(ascending(6), {-1, -2});
  for (std::size_t size = 4; size < whole.size(); ++size) {
    Reports reports;
    Coding coding(newState({{0, 3}}));
    const FailingFile pipe(whole.substr(0, size), 1000, "r");
    ASSERT_EQ(coding.load(pipe), 0) << size;
    ASSERT_THAT(coding.tilingPtrList, SizeIs(2)) << size;
    callEverything(coding);
    reports.takeErrors();
  }
  Reports reports;
  Coding coding(newState({{0, 3}}));
  const FailingFile pipe(whole, 1000, "r");
  EXPECT_EQ(coding.load(pipe), 0);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(6), ElementsAre(-1, -2)));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, UpTo1024GroupsAreFollowedHoweverShortTheFile) {
  for (const int count : {1, 1023, 1024}) {
    Reports reports;
    Coding coding(newState({{0, 3}}));
    const MemoryFile file(bytes(count));
    EXPECT_EQ(coding.load(file), 0);
    EXPECT_THAT(coding.tilingPtrList, SizeIs(static_cast<std::size_t>(count)));
    EXPECT_THAT(reports.errors(), SizeIs(static_cast<std::size_t>(count)));
  }
}

TEST(StateTileCoding, MoreGroupsThanTheFileCanHoldAreAFailedRead) {
  const std::vector<std::pair<int, std::string>> files{
      {1025, ""},
      {1025, smallestBlocks(1025).substr(1)},
      {1025, smallestBlocks(1024)},
      {2000, smallestBlocks(1999) + "123456789012345"},
      {INT_LARGEST, smallestBlocks(2000)},
  };
  for (const auto& [count, rest] : files) {
    Reports reports;
    Two two;
    const MemoryFile file(bytes(count) + rest);
    errno = 0;
    int status = 0;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      status = two.load(file);
      largestRequest = memory.largestRequest();
    }
    EXPECT_EQ(status, -1) << count;
    EXPECT_LE(largestRequest, 1000U) << "of the report";
    EXPECT_EQ(errors(reports), errnoReport("StateTileCoding::load", 0, " --> "));
    EXPECT_THAT(two.tilingPtrList, IsEmpty());
    EXPECT_EQ(two.numberOfTilings, 0);
  }
}

TEST(StateTileCoding, AsManyGroupsAsTheFileHoldsAreLoaded) {
  for (const int count : {1025, 3000}) {
    Reports reports;
    Coding coding(newState({{0, 3}}));
    const MemoryFile file(bytes(count) + smallestBlocks(count));
    EXPECT_EQ(coding.load(file), 0);
    EXPECT_THAT(coding.tilingPtrList, SizeIs(static_cast<std::size_t>(count)));
    EXPECT_EQ(coding.numberOfTilings, 0);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(StateTileCoding, MoreThan1024GroupsComeThroughAPipe) {
  const FailingFile pipe(bytes(1025) + smallestBlocks(1025), 1 << 20, "r");
  Reports reports;
  Coding coding(newState({{0, 3}}));
  EXPECT_EQ(coding.load(pipe), 0);
  EXPECT_THAT(coding.tilingPtrList, SizeIs(1025));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, TilingsThatAPipeOnlyClaimsToHoldAreNotBelieved) {
  // Each group names a million tilings of one variable, and then ends.
  const FailingFile pipe(bytes(2) + bytes(1000000) + bytes(1) + bytes(0), 1 << 20, "r");
  Reports reports;
  Coding coding(newState({{0, 3}}));
  std::size_t largestRequest = 0;
  {
    const FailingNew memory;
    EXPECT_EQ(coding.load(pipe), 0);
    largestRequest = memory.largestRequest();
  }
  EXPECT_LE(largestRequest, 200000U) << "of what is read at a time";
  EXPECT_THAT(coding.tilingPtrList, SizeIs(2));
  EXPECT_EQ(coding.numberOfTilings, 0);
  EXPECT_EQ(errors(reports).size(), 2U);
}

TEST(StateTileCoding, GroupsWithoutVariablesAreBelievedUpTo64TilingsThatTheFileDoesNotShow) {
  for (const int tilings : {64, 65}) {
    const MemoryFile file(bytes(1) + bytes(tilings) + bytes(0) + bytes(0) + bytes(0));
    Reports reports;
    Coding coding(newState({{0, 3}}));
    EXPECT_EQ(coding.load(file), 0);
    EXPECT_EQ(coding.numberOfTilings, tilings == 64 ? 64 : 0);
    EXPECT_EQ(errors(reports).size(), tilings == 64 ? 0U : 1U);
  }
}

TEST(StateTileCoding, AHugeNumberOfGroupsInAPipeEnds) {
  Reports reports;
  Coding coding(newState({{0, 3}}));
  const FailingFile pipe(bytes(INT_LARGEST) + smallBlock().text(), 1000, "r");
  EXPECT_EQ(coding.load(pipe), -1);
  callEverything(coding);
  reports.takeErrors();
}

TEST(StateTileCoding, GroupsWithoutTilingsAreHarmless) {
  Reports reports;
  Coding coding(newState({{0, 3}}));
  const MemoryFile file(bytes(3) + smallestBlocks(3));
  EXPECT_EQ(coding.load(file), 0);
  EXPECT_EQ(coding.getStateValue(), 0.0);
  callEverything(coding);
  reports.takeErrors();
}

TEST(StateTileCoding, ABlockStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  Two two;
  const std::string whole = twoBlocks(std::vector<double>(6, 0.0), {0, 0});
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

const std::string NAMED_FILE = stateRecord(0, 3) + twoBlocks({1, 2, 3, 4, 5, 6}, {-1, -2});

TEST(StateTileCoding, ANamedFileHoldsTheStateAndTheGroups) {
  const TemporaryDirectory directory;
  Coding coding(newState({{-1, 3}}));
  coding.add(2, {{{-1, 3}, 2.0, Types::CLIP}})->setWeights({1.0, -2.0});
  coding.setTraceStorage(Types::ARRAY);
  EXPECT_EQ(coding.save(directory.file("v")), 0);
  EXPECT_EQ(readFile(directory.file("v")),
            std::string("\x01\x00\x00\x00"                   // one variable
                        "\x02\x00\x00\x00"                   // of real numbers
                        "\x01\x00\x00\x00"                   // with a name of one byte
                        "x"                                  //
                        "\x00\x00\x00\x00\x00\x00\xF0\xBF"   // from -1.0
                        "\x00\x00\x00\x00\x00\x00\x08\x40"   // to 3.0
                        "\x01\x00\x00\x00"                   // one group
                        "\x02\x00\x00\x00"                   // of two tilings
                        "\x01\x00\x00\x00"                   // over one variable
                        "\x01\x00\x00\x00"                   // ARRAY
                        "\x00\x00\x00\x00"                   // id
                        "\x00\x00\x00\x00\x00\x00\x00\x40"   // resolution 2.0
                        "\x01\x00\x00\x00"                   // CLIP
                        "\x00\x00\x00\x00\x00\x00\x10\x40"   // a tile is 4.0 wide
                        "\x01\x00\x00\x00"                   // there is one
                        "\x02\x00\x00\x00"                   // stride
                        "\x00\x00\x00\x00\x00\x00\x00\x00"   // shifts 0.0
                        "\x00\x00\x00\x00\x00\x00\x00\x40"   // and 2.0
                        "\x02\x00\x00\x00"                   // weights
                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                        "\x00\x00\x00\x00\x00\x00\x00\xC0",  // -2.0
                        113));
}

TEST(StateTileCoding, IsBuiltFromAFileAlone) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("v"), NAMED_FILE);
  Coding coding(directory.file("v"));
  ASSERT_NE(coding.getStatePtr(), nullptr);
  EXPECT_EQ(coding.getStatePtr()->getMaxValueDbl(0), 3);
  EXPECT_EQ(coding.numberOfTilings, 3);
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(6), ElementsAre(-1, -2)));
  for (const Tilings* const group : coding.tilingPtrList) {
    EXPECT_EQ(Peek::stateOf(*group), coding.getStatePtr());
    EXPECT_THAT(Peek::activeOf(*group), Each(-1));
  }
  EXPECT_EQ(coding.getStateValue(), 0.0) << "no tile is active yet";
  coding.setState();  // at the middle of the range
  EXPECT_EQ(coding.getStateValue(), 3 + 4 - 1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, ConstructionFromAFileLeavesTheSharedConstantAlone) {
  const TemporaryDirectory directory;
  writeFile(directory.file("v"), NAMED_FILE);
  Two other;
  other.setValue(3.5);
  const Coding coding(directory.file("v"));
  EXPECT_EQ(Coding::value, 3.5);
  EXPECT_EQ(coding.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
  other.setValue(0.0);
}

TEST(StateTileCoding, SavingLoadingAndSavingGivesTheSameBytes) {
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

TEST(StateTileCoding, ACopyFromAFileGoesOnLearningAlike) {
  Reports reports;
  const TemporaryDirectory directory;
  const auto coding = learnOneStep(Types::MAP, false, 1);
  ASSERT_EQ(coding->save(directory.file("v")), 0);
  Coding copy(directory.file("v"));
  for (Coding* const each : {coding.get(), &copy}) {
    each->setTraceStorage(Types::ARRAY);
    each->initEligibilityTraces();
    Walk walk(9);
    for (int i = 0; i < 50; ++i) {
      each->visit(walk.next());
      each->updateEligibilityTraces(0.9, 0.7);
      each->accumulatingTraces(1.0);
      each->updateWeights(0.3, walk.step() - each->getStateValue());
    }
  }
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(bits(copy.allWeights()[i]), bits(coding->allWeights()[i]));
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, AMissingFileGivesNoStateAndNoGroups) {
  Reports reports;
  const TemporaryDirectory directory;
  Coding coding(directory.file("none"));
  EXPECT_EQ(errors(reports), errnoReport("StateValueFunction::load", ENOENT, " --> "));
  EXPECT_EQ(coding.getStatePtr(), nullptr);
  EXPECT_THAT(coding.tilingPtrList, IsEmpty());
  EXPECT_EQ(coding.getStateValue(), 0.0);
  callEverything(coding);
  reports.takeErrors();
}

TEST(StateTileCoding, AFailedLoadOfAMissingFileChangesNothing) {
  Reports reports;
  const TemporaryDirectory directory;
  Two two;
  two.first->count();
  EXPECT_EQ(two.load(directory.file("none")), -1);
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second));
  EXPECT_EQ(two.first->allWeights(), ascending(6));
}

TEST(StateTileCoding, ANamedFileCutAnywhereGivesTheGroupsThatCouldBeRead) {
  const TemporaryDirectory directory;
  const std::size_t blockStart = stateRecord(0, 3).size();
  for (std::size_t size = 0; size < NAMED_FILE.size(); ++size) {
    Reports reports;
    writeFile(directory.file("v"), NAMED_FILE.substr(0, size));
    Coding coding(directory.file("v"));
    EXPECT_EQ(reports.errors().back() == "loading valuefunction failed", size < blockStart + 4)
        << size;
    EXPECT_THAT(coding.tilingPtrList, SizeIs(size < blockStart + 4 ? 0 : 2)) << size;
    callEverything(coding);
    reports.takeErrors();

    Two two;
    EXPECT_EQ(two.load(directory.file("v")), size < blockStart + 4 ? -1 : 0) << size;
    callEverything(two);
    reports.takeErrors();
  }
}

TEST(StateTileCoding, HostileNumbersInANamedFileAskForNoMemory) {
  const TemporaryDirectory directory;
  Block weights = smallBlock();
  weights.size = INT_LARGEST;
  Block tilings = smallBlock();
  tilings.tilings = INT_LARGEST;
  for (const std::string& block :
       {bytes(INT_LARGEST) + smallBlock().text(), bytes(1) + weights.text(),
        bytes(1) + tilings.text(), bytes(1) + bytes(2) + bytes(INT_LARGEST) + bytes(0)}) {
    Reports reports;
    writeFile(directory.file("v"), stateRecord(0, 3) + block);
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

TEST(StateTileCoding, ComesThroughAPipe) {
  Reports reports;
  const Pipe pipe(NAMED_FILE);
  const Coding coding(pipe.name());
  EXPECT_THAT(coding.allWeights(), ElementsAre(ascending(6), ElementsAre(-1, -2)));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTileCoding, SavingAGroupWithoutWeightsFailsBehindTheState) {
  Reports reports;
  const TemporaryDirectory directory;
  Two two;
  two.second->dropWeights();
  EXPECT_EQ(two.save(directory.file("v")), -1);
  EXPECT_EQ(errors(reports), messages({std::string("Tilings::save: ") + NO_WEIGHTS,
                                       "TileCoding::save: Tiling::save returned -1",
                                       "StateValueFunction::save: saving valuefunction failed"}));
}

TEST(StateTileCoding, AFullDiskFailsTheSave) {
  Reports reports;
  Two two;
  EXPECT_EQ(two.save("/dev/full"), -1) << "the file fails when it is closed";
  EXPECT_EQ(errors(reports), errnoReport("StateValueFunction::save", ENOSPC, " --> "));
  two.add(1, {{{0, 3}, 0.0003, Types::CLIP}});
  EXPECT_EQ(two.save("/dev/full"), -1);
  EXPECT_EQ(errors(reports), messages({"Tilings::save: " + errnoMessage(ENOSPC, "  -->  "),
                                       "TileCoding::save: Tiling::save returned -1",
                                       "StateValueFunction::save: saving valuefunction failed"}));
}

// ---- Short memory ----

class StateTileCodingInShortMemory : public Tables::InShortMemory {};

TEST_F(StateTileCodingInShortMemory, AGroupThatCanNotBeAppendedIsReportedAndDeleted) {
  Reports reports;
  Two two;
  int deaths = 0;
  auto* const group = new Mortal(deaths);
  {
    // The first request is that of the weights, the second that of the list.
    const FailingNew memory(FailingNew::ONE, 2);
    EXPECT_NO_THROW(two.registerTiling(group));
  }
  EXPECT_EQ(deaths, 1);
  EXPECT_THAT(reports.errors(), ElementsAre(testing::StartsWith("Can not allocate memory for ")));
  EXPECT_THAT(two.tilingPtrList, ElementsAre(two.first, two.second));
  EXPECT_EQ(two.numberOfTilings, 3);
}

TEST_F(StateTileCodingInShortMemory, ConstructionFromAFileNeverThrows) {
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
      EXPECT_THAT(coding->allWeights(), ElementsAre(ascending(6), ElementsAre(-1, -2)));
    }
    callEverything(*coding);
    reports.takeErrors();
  }
  EXPECT_GE(call, 20) << "state, and group, layout, weights and list for each group at least";
}

TEST_F(StateTileCodingInShortMemory, NoOperationThrowsWhenMemoryIsUsedUp) {
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Reports reports;
    Two two;
    two.setTraceStorage(storage);
    two.setEpisodeStateHistory(true);
    two.visit({1.25});
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
      });
    }
    std::cerr.clear();  // the reports have run out of memory, too
    EXPECT_THAT(two.allWeights(), Each(Each(0.0)));
    reports.errorText();
  }
}

}  // namespace
