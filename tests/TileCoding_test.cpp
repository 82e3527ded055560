#include <gmock/gmock.h>
#include <quarnel/StateTilings.h>
#include <quarnel/TileCoding.h>
#include <quarnel/Tilings.h>
#include <quarnel/ValueFunction.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "support/Draws.h"
#include "support/Files.h"
#include "support/Reports.h"
#include "support/Tables.h"
#include "support/Tiles.h"

namespace {

using Tables::ascending;
using Tables::bits;
using Tables::errors;
using Tables::NO_WEIGHTS;
using Tables::UNKNOWN;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Tiles::LARGEST;
using Tiles::NOT_A_NUMBER;

using Calls = std::vector<std::string>;

// A container that a test fills itself; what the derived containers add does nothing here.
class Container : public TileCoding {
 public:
  using TileCoding::numberOfTilings;
  using TileCoding::tilingPtrList;

  void accumulatingTraces(double) override {}
  void replacingTraces(double) override {}
  const int load(FILE*) override { return 0; }

  template <typename Group>
  Group* add(Group* group) {
    tilingPtrList.push_back(group);
    numberOfTilings += group->getNumberOfTilings();
    return group;
  }
};

// A group of so many weights, without variables.
class Group : public Tiles::CutGroup<StateTilings> {
 public:
  explicit Group(const std::vector<double>& numbers)
      : CutGroup(static_cast<int>(numbers.size()), {}) {
    cut(nullptr, {}, {}, {});
    setWeights(numbers);
  }
};

// Notes every call with its arguments, behind a name.
class Recording : public Tilings {
 public:
  Recording(std::string groupName, Calls& callList, int tilings = 1)
      : Tilings(tilings, {}), name(std::move(groupName)), calls(callList) {}
  ~Recording() override { note("deleted"); }

  void initWeights(const double (*initFunctionPtr)()) override {
    note("initWeights ", initFunctionPtr());
  }
  void initEligibilityTraces() override { note("initEligibilityTraces"); }
  void updateWeights(double ALPHA, double DELTA) override {
    note("updateWeights ", ALPHA, " ", DELTA);
  }
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override {
    note("updateEligibilityTraces ", GAMMA, " ", LAMBDA);
  }
  const double getMinWeight() const override {
    note("getMinWeight");
    return smallest;
  }
  const double getWeightSum(bool abs, int& weightCount) const override {
    note("getWeightSum ", abs, " ", weightCount);
    weightCount += count;
    return sum;
  }
  const double getMaxWeight() const override {
    note("getMaxWeight");
    return largest;
  }
  void activateTiles() override { note("activateTiles"); }
  void initEpisodeStateHistory() override { note("initEpisodeStateHistory"); }
  void valueEpisode(double amount) override { note("valueEpisode ", amount); }
  const int save(FILE* file) const override {
    note("save");
    std::fputs(name.c_str(), file);
    return status;
  }
  const int load(FILE*) override {
    note("load");
    return 0;
  }

  double smallest = 0.0;
  double largest = 0.0;
  double sum = 0.0;
  int count = 0;
  int status = 0;

 private:
  template <typename... Parts>
  void note(const Parts&... parts) const {
    std::ostringstream call;
    call << name << ": ";
    (call << ... << parts);
    calls.push_back(call.str());
  }

  const std::string name;
  Calls& calls;
};

const double half() { return 0.5; }

// ---- Construction ----

TEST(TileCoding, StartsWithoutGroups) {
  const Container container;
  EXPECT_THAT(container.tilingPtrList, IsEmpty());
  EXPECT_EQ(container.numberOfTilings, 0);
}

TEST(TileCoding, WithoutGroupsEveryOperationDoesNothing) {
  Reports reports;
  Container container;
  container.initWeights(half);
  container.initEligibilityTraces();
  container.updateWeights(0.5, 1.0);
  container.updateEligibilityTraces(0.5, 1.0);
  container.setTraceStorage(Types::ARRAY);
  container.setState();
  container.initEpisodeStateHistory();
  container.valueEpisode(1.0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Forwarding ----

// What an operation does to two groups.
template <typename Operation>
Calls callsOf(const Operation& operation) {
  Calls calls;
  Container container;
  container.add(new Recording("first", calls));
  container.add(new Recording("second", calls));
  operation(container);
  const Calls made = calls;  // without the deletions
  return made;
}

TEST(TileCoding, EveryOperationGoesToTheGroupsInTheOrderOfTheirRegistration) {
  EXPECT_EQ(callsOf([](Container& container) { container.initWeights(half); }),
            Calls({"first: initWeights 0.5", "second: initWeights 0.5"}));
  EXPECT_EQ(callsOf([](Container& container) { container.initEligibilityTraces(); }),
            Calls({"first: initEligibilityTraces", "second: initEligibilityTraces"}));
  EXPECT_EQ(
      callsOf([](Container& container) { container.updateEligibilityTraces(0.25, 3); }),
      Calls({"first: updateEligibilityTraces 0.25 3", "second: updateEligibilityTraces 0.25 3"}));
  EXPECT_EQ(callsOf([](Container& container) { container.setState(); }),
            Calls({"first: activateTiles", "second: activateTiles"}));
  EXPECT_EQ(callsOf([](Container& container) { container.initEpisodeStateHistory(); }),
            Calls({"first: initEpisodeStateHistory", "second: initEpisodeStateHistory"}));
  EXPECT_EQ(callsOf([](Container& container) { container.valueEpisode(0.125); }),
            Calls({"first: valueEpisode 0.125", "second: valueEpisode 0.125"}));
}

TEST(TileCoding, TheLearningRateIsSharedAmongAllTilings) {
  Calls calls;
  Container container;
  container.add(new Recording("three", calls, 3));
  container.add(new Recording("five", calls, 5));
  container.updateWeights(0.8, -2.5);
  EXPECT_EQ(calls, Calls({"three: updateWeights 0.1 -2.5", "five: updateWeights 0.1 -2.5"}));
}

TEST(TileCoding, TheSharedLearningRateIsAQuotientOfDoubles) {
  class Step : public Tilings {
   public:
    using Tilings::Tilings;
    double last = 0.0;
    void updateWeights(double ALPHA, double) override { last = ALPHA; }
  };
  Container container;
  const auto* const three = container.add(new Step(3, {}));
  const auto* const four = container.add(new Step(4, {}));
  container.updateWeights(1.0, 1.0);
  EXPECT_EQ(three->last, 1.0 / 7.0);
  EXPECT_EQ(four->last, 1.0 / 7.0);
}

TEST(TileCoding, AStepMovesTheSumOfTheActiveWeightsByTheWholeLearningRate) {
  Container container;
  auto* const first = container.add(new Group(ascending(3)));
  auto* const second = container.add(new Group(ascending(5)));
  for (Group* const group : {first, second}) {
    for (int i = 0; i < group->ARRAY_SIZE; ++i) {
      group->eTracesMap[i] = 1.0;
    }
  }
  Reports reports;
  container.updateWeights(0.5, 2.0);
  EXPECT_THAT(first->allWeights(), ElementsAre(1.125, 2.125, 3.125));
  EXPECT_THAT(second->allWeights(), ElementsAre(1.125, 2.125, 3.125, 4.125, 5.125));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(TileCoding, SetTraceStorageSetsTheStorageOfAllGroupsAndNothingElse) {
  Container container;
  auto* const first = container.add(new Group({1, 2}));
  auto* const second = container.add(new Group({3}));
  for (Group* const group : {first, second}) {
    group->setArrayTraces(std::vector<double>(static_cast<std::size_t>(group->ARRAY_SIZE), 0.25));
    group->eTracesMap = {{0, 0.5}};
  }
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    container.setTraceStorage(storage);
    for (const Group* const group : {first, second}) {
      EXPECT_EQ(group->traceStorage, storage);
      EXPECT_EQ(group->eTraces[0], 0.25);
      EXPECT_THAT(group->eTracesMap, ElementsAre(Pair(0, 0.5)));
    }
  }
}

TEST(TileCoding, AfterAChangeOfStorageTheNextStartOfTracesMakesTheArray) {
  Container container;
  auto* const group = container.add(new Group({1, 2}));
  group->eTracesMap = {{0, 0.5}};
  container.setTraceStorage(Types::ARRAY);
  EXPECT_EQ(group->eTraces, nullptr);
  container.initEligibilityTraces();
  EXPECT_THAT(group->arrayTraces(), ElementsAre(0, 0));
  EXPECT_THAT(group->eTracesMap, ElementsAre(Pair(0, 0.5)));
}

TEST(TileCoding, RandomWeightsAreDrawnGroupByGroup) {
  Container container;
  const auto* const first = container.add(new Group({0, 0}));
  const auto* const second = container.add(new Group({0, 0, 0}));
  EXPECT_EQ(countDraws([&] { container.initWeights(ValueFunction::getRandomInitializer()); }, 7),
            5);
  const auto drawn = [](int i) { return draw(7, i) / 2147483648.0 - 0.5; };
  EXPECT_THAT(first->allWeights(), ElementsAre(drawn(0), drawn(1)));
  EXPECT_THAT(second->allWeights(), ElementsAre(drawn(2), drawn(3), drawn(4)));
}

// ---- Statistics ----

TEST(TileCoding, WithoutGroupsTheStatisticsAreNeutralAndTheMeanIsNotANumber) {
  Reports reports;
  const Container container;
  EXPECT_EQ(container.getMinWeight(), LARGEST);
  EXPECT_EQ(container.getMaxWeight(), -LARGEST);
  EXPECT_TRUE(std::isnan(container.getAvgWeight(false)));
  EXPECT_TRUE(std::isnan(container.getAvgWeight(true)));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(TileCoding, TheExtremeWeightMayStandInAnyGroup) {
  for (const auto& order : std::vector<std::vector<double>>{{-2, 0, 5}, {5, -2, 0}, {0, 5, -2}}) {
    Container container;
    for (const double number : order) {
      container.add(new Group({number, 1}));
    }
    EXPECT_EQ(container.getMinWeight(), -2);
    EXPECT_EQ(container.getMaxWeight(), 5);
  }
}

TEST(TileCoding, EveryGroupIsAskedForItsExtremesInOrder) {
  EXPECT_EQ(callsOf([](Container& container) { container.getMinWeight(); }),
            Calls({"first: getMinWeight", "second: getMinWeight"}));
  EXPECT_EQ(callsOf([](Container& container) { container.getMaxWeight(); }),
            Calls({"first: getMaxWeight", "second: getMaxWeight"}));
}

TEST(TileCoding, OnlyAStrictlySmallerOrGreaterExtremeReplacesAnEarlierOne) {
  Calls calls;
  Container container;
  auto* const first = container.add(new Recording("first", calls));
  auto* const second = container.add(new Recording("second", calls));
  first->smallest = first->largest = 0.0;
  second->smallest = second->largest = -0.0;
  EXPECT_EQ(bits({container.getMinWeight()}), bits({0.0}));
  EXPECT_EQ(bits({container.getMaxWeight()}), bits({0.0}));
  first->smallest = first->largest = NOT_A_NUMBER;
  second->smallest = second->largest = 3.0;
  EXPECT_EQ(container.getMinWeight(), 3.0);
  EXPECT_EQ(container.getMaxWeight(), 3.0);
}

TEST(TileCoding, TheMeanIsTakenOverAllWeightsNotOverTheGroups) {
  Container container;
  container.add(new Group(std::vector<double>(10, 5.0)));
  container.add(new Group(std::vector<double>(30, -1.0)));
  EXPECT_EQ(container.getAvgWeight(false), 0.5);  // (50 - 30) / 40
  EXPECT_EQ(container.getAvgWeight(true), 2.0);   // (50 + 30) / 40
}

TEST(TileCoding, TheMeanIsMadeOfTheSumsOfTheGroupsInOrder) {
  Calls calls;
  Container container;
  auto* const first = container.add(new Recording("first", calls));
  auto* const second = container.add(new Recording("second", calls));
  auto* const third = container.add(new Recording("third", calls));
  first->sum = 1e16;
  second->sum = 1.0;
  third->sum = -1e16;
  first->count = 2;
  second->count = 0;
  third->count = 3;
  EXPECT_EQ(container.getAvgWeight(true), 0.0);
  EXPECT_EQ(calls, Calls({"first: getWeightSum 1 0", "second: getWeightSum 1 2",
                          "third: getWeightSum 1 2"}));
  third->sum = 1.0;
  EXPECT_EQ(container.getAvgWeight(false), (1e16 + 1.0 + 1.0) / 5);
}

TEST(TileCoding, AGroupWithoutWeightsIsReportedAndDoesNotCount) {
  Reports reports;
  Container container;
  container.add(new Group({1, 2}));
  container.add(new Group({9}))->dropWeights();
  EXPECT_EQ(container.getMinWeight(), 1);
  EXPECT_EQ(container.getMaxWeight(), 2);
  EXPECT_EQ(container.getAvgWeight(false), 1.5);
  EXPECT_EQ(errors(reports), messages({std::string("Tilings::getMinWeight: ") + NO_WEIGHTS,
                                       std::string("Tilings::getMaxWeight: ") + NO_WEIGHTS,
                                       std::string("Tilings::getWeightSum: ") + NO_WEIGHTS}));
}

// ---- Saving ----

TEST(TileCoding, SavesTheNumberOfGroupsAndTheirBlocks) {
  Container container;
  container.add(new Group({1.0, -2.0}));
  container.add(new Group({0.5}));
  const MemoryFile file;
  EXPECT_EQ(container.save(file), 0);
  EXPECT_EQ(file.content(), std::string("\x02\x00\x00\x00"                   // groups
                                        "\x02\x00\x00\x00"                   // tilings
                                        "\x00\x00\x00\x00"                   // variables
                                        "\x00\x00\x00\x00"                   // MAP
                                        "\x02\x00\x00\x00"                   // weights
                                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                                        "\x00\x00\x00\x00\x00\x00\x00\xC0"   // -2.0
                                        "\x01\x00\x00\x00"                   // tilings
                                        "\x00\x00\x00\x00"                   // variables
                                        "\x00\x00\x00\x00"                   // MAP
                                        "\x01\x00\x00\x00"                   // weights
                                        "\x00\x00\x00\x00\x00\x00\xE0\x3F",  // 0.5
                                        60));
}

TEST(TileCoding, SavesNoGroupsAsZero) {
  Reports reports;
  const Container container;
  const MemoryFile file;
  EXPECT_EQ(container.save(file), 0);
  EXPECT_EQ(file.content(), std::string("\x00\x00\x00\x00", 4));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(TileCoding, TheNumberSavedIsThatOfTheGroupsInTheList) {
  Calls calls;
  Container container;
  container.add(new Recording("first", calls, 40));
  container.add(new Recording("second", calls, 2));
  container.numberOfTilings = -7;
  const MemoryFile file;
  EXPECT_EQ(container.save(file), 0);
  EXPECT_EQ(file.content(), bytes(2) + "firstsecond");
}

TEST(TileCoding, AGroupThatCanNotBeSavedEndsTheBlock) {
  for (const int status : {-1, 1, 7}) {
    Reports reports;
    Calls calls;
    Container container;
    container.add(new Recording("first", calls));
    container.add(new Recording("second", calls))->status = status;
    container.add(new Recording("third", calls));
    const MemoryFile file;
    EXPECT_EQ(container.save(file), -1);
    EXPECT_EQ(errors(reports),
              messages({"TileCoding::save: Tiling::save returned " + std::to_string(status)}));
    EXPECT_EQ(file.content(), bytes(3) + "firstsecond");
    EXPECT_EQ(calls, Calls({"first: save", "second: save"}));
  }
}

TEST(TileCoding, AGroupWithoutWeightsCanNotBeSaved) {
  Reports reports;
  Container container;
  container.add(new Group({1}))->dropWeights();
  const MemoryFile file;
  EXPECT_EQ(container.save(file), -1);
  EXPECT_EQ(errors(reports), messages({std::string("Tilings::save: ") + NO_WEIGHTS,
                                       "TileCoding::save: Tiling::save returned -1"}));
  EXPECT_EQ(file.content(), bytes(1) + bytes(1) + bytes(0) + bytes(0) + bytes(1));
}

TEST(TileCoding, SavingStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  Container container;
  container.add(new Group({1, 2}));
  container.add(new Group({3}));
  const MemoryFile complete;
  ASSERT_EQ(container.save(complete), 0);
  const std::string whole = complete.content();
  ASSERT_EQ(whole.size(), 60U);
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(container.save(file), -1) << limit;
    if (limit < 4) {
      EXPECT_EQ(errors(reports), messages({"TileCoding::save: " + errnoMessage(EIO, " --> ")}));
    } else {
      EXPECT_EQ(errors(reports), messages({"Tilings::save: " + errnoMessage(EIO, "  -->  "),
                                           "TileCoding::save: Tiling::save returned -1"}));
    }
    EXPECT_EQ(file.written(), whole.substr(0, limit));
  }
  const FailingFile file("", whole.size(), "w");
  EXPECT_EQ(container.save(file), 0);
  EXPECT_EQ(file.written(), whole);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Memory ----

TEST(TileCoding, FreeMemoryDeletesTheGroups) {
  Calls calls;
  Container container;
  container.add(new Recording("first", calls, 3));
  container.add(new Recording("second", calls, 5));
  EXPECT_EQ(container.numberOfTilings, 8);
  container.freeMemory();
  EXPECT_EQ(calls, Calls({"first: deleted", "second: deleted"}));
  EXPECT_THAT(container.tilingPtrList, IsEmpty());
  EXPECT_EQ(container.numberOfTilings, 0);
  container.freeMemory();
  EXPECT_EQ(calls.size(), 2U);
}

TEST(TileCoding, FreeMemoryPassesOverMissingGroups) {
  Calls calls;
  Container container;
  container.tilingPtrList.push_back(nullptr);
  container.add(new Recording("group", calls));
  container.tilingPtrList.push_back(nullptr);
  container.freeMemory();
  EXPECT_EQ(calls, Calls({"group: deleted"}));
  EXPECT_THAT(container.tilingPtrList, IsEmpty());
}

TEST(TileCoding, GroupsMayBeAddedAfterFreeMemory) {
  Container container;
  container.add(new Group({1, 2, 3}));
  container.freeMemory();
  auto* const group = container.add(new Group({1, 2}));
  EXPECT_EQ(container.numberOfTilings, 2);
  group->eTracesMap = {{1, 1.0}};
  container.updateWeights(1.0, 1.0);
  EXPECT_THAT(group->allWeights(), ElementsAre(1, 2.5));
}

TEST(TileCoding, DestructionDeletesTheGroups) {
  Calls calls;
  {
    Container container;
    container.add(new Recording("first", calls));
    container.add(new Recording("second", calls));
  }
  EXPECT_EQ(calls, Calls({"first: deleted", "second: deleted"}));
}

TEST(TileCoding, IsDestroyedThroughItsBase) {
  class Mortal : public Container {
   public:
    explicit Mortal(int& deathCounter) : deaths(deathCounter) {}
    ~Mortal() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  { const std::unique_ptr<TileCoding> container = std::make_unique<Mortal>(deaths); }
  EXPECT_EQ(deaths, 1);
}

}  // namespace
