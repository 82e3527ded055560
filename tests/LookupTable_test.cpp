#include <gmock/gmock.h>
#include <quarnel/LookupTable.h>
#include <quarnel/State.h>
#include <quarnel/ValueFunction.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/Draws.h"
#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"
#include "support/Tables.h"

namespace {

using Tables::block;
using Tables::errors;
using Tables::NO_WEIGHTS;
using Tables::UNKNOWN;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const double LARGEST = 1.7976931348623157e308;
const double NAN_WEIGHT = std::numeric_limits<double>::quiet_NaN();
const double INFINITE = std::numeric_limits<double>::infinity();
const int INT_LARGEST = 2147483647;
const int INT_SMALLEST = -2147483647 - 1;

// A table that a test lays out itself, as the concrete tables do.
class Table : public LookupTable {
 public:
  explicit Table(State* state) : LookupTable(state) {}

  Table(State* state, const std::vector<int>& placeValues, const std::vector<double>& cells)
      : LookupTable(state) {
    layOut(placeValues, cells);
  }

  void layOut(const std::vector<int>& placeValues, const std::vector<double>& cells) {
    ARRAY_SIZE = static_cast<int>(cells.size());
    allocateMemory();
    std::copy(placeValues.begin(), placeValues.end(), indexOffset);
    weights = allocateMemoryWeights();
    std::copy(cells.begin(), cells.end(), weights);
  }

  using LookupTable::activeIndex;
  using LookupTable::allocateMemory;
  using LookupTable::allocateMemoryWeights;
  using LookupTable::ARRAY_SIZE;
  using LookupTable::clearTraceMap;
  using LookupTable::episodeIndexHistorySet;
  using LookupTable::eTraces;
  using LookupTable::eTracesMap;
  using LookupTable::freeMemory;
  using LookupTable::indexOffset;
  using LookupTable::load;
  using LookupTable::save;
  using LookupTable::setStatePtr;
  using LookupTable::statePtr;
  using LookupTable::storedActiveIndex;
  using LookupTable::traceStorage;
  using LookupTable::weights;

  std::vector<double> allWeights() const { return list(weights); }
  std::vector<double> arrayTraces() const { return list(eTraces); }

  void setArrayTraces(const std::vector<double>& traces) {
    setTraceStorage(Types::ARRAY);
    initEligibilityTraces();
    std::copy(traces.begin(), traces.end(), eTraces);
  }

 private:
  std::vector<double> list(const double* numbers) const {
    return numbers != nullptr ? std::vector<double>(numbers, numbers + ARRAY_SIZE)
                              : std::vector<double>();
  }
};

// A state of one variable x in [0, 4].
class OneVariable : public State {
 public:
  OneVariable() { registerVariable("x", 0, 4); }
};

// A state of the variables x in [0, 4] and y in [-1, 1].
class TwoVariables : public State {
 public:
  TwoVariables() {
    registerVariable("x", 0, 4);
    registerVariable("y", -1, 1);
  }

  void set(int x, int y) {
    setValueInt(0, x);
    setValueInt(1, y);
  }
};

class RealVariables : public State {
 public:
  RealVariables() {
    registerVariable("x", 0.0, 1.0);
    registerVariable("y", 0.0, 1.0);
  }
};

std::vector<std::string> cellReport(const std::string& index, const std::string& size) {
  return messages({"LookupTable::calculateActiveIndex: index (" + index +
                   ") out ouf bounds --> [0, " + size + ")"});
}

std::vector<std::string> errnoReport(const char* function, int number) {
  return messages(
      {std::string("LookupTable::") + function + ": " + errnoMessage(number, "  -->  ")});
}

std::vector<std::string> unknownStorageReport(const char* function) {
  return messages({std::string("LookupTable::") + function + ": Unknown traceStorage = 2"});
}

std::vector<std::string> noWeightsReport(const char* function) {
  return messages({std::string("LookupTable::") + function + ": " + NO_WEIGHTS});
}

// ---- Construction and memory ----

TEST(LookupTable, StartsWithoutCellsTracesOrActiveCell) {
  OneVariable state;
  const Table table(&state);

  EXPECT_EQ(table.traceStorage, Types::MAP);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_EQ(table.indexOffset, nullptr);
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(table.storedActiveIndex, -1);
  EXPECT_EQ(table.statePtr, &state);
}

TEST(LookupTable, DoesNotDeleteTheState) {
  OneVariable state;
  { const Table table(&state); }
  EXPECT_EQ(state.getNumberOfVariables(), 1U);
}

TEST(LookupTable, AllocateMemoryMakesAPlaceValuePerVariable) {
  TwoVariables state;
  Table table(&state);
  table.allocateMemory();
  ASSERT_NE(table.indexOffset, nullptr);
  table.indexOffset[0] = 3;
  table.indexOffset[1] = 1;  // the sanitizers watch over the last one
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
}

TEST(LookupTable, AllocateMemoryWithoutAStateIsReported) {
  Reports reports;
  Table table(nullptr);
  table.allocateMemory();
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0"}));
  EXPECT_EQ(table.indexOffset, nullptr);
}

TEST(LookupTable, AllocateMemoryWeightsLeavesItToTheCallerToStoreTheArray) {
  OneVariable state;
  Table table(&state);
  table.ARRAY_SIZE = 5;
  double* const cells = table.allocateMemoryWeights();
  ASSERT_NE(cells, nullptr);
  std::fill_n(cells, 5, 1.0);
  EXPECT_EQ(table.weights, nullptr);
  delete[] cells;
}

TEST(LookupTable, AllocateMemoryWeightsOfANegativeSizeIsReportedAndNull) {
  Reports reports;
  OneVariable state;
  Table table(&state);
  table.ARRAY_SIZE = -1;
  EXPECT_EQ(table.allocateMemoryWeights(), nullptr);
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for -1 entries of 8 bytes!"}));
  table.ARRAY_SIZE = INT_SMALLEST;
  EXPECT_EQ(table.allocateMemoryWeights(), nullptr);
  EXPECT_EQ(reports.errors(),
            messages({"Can not allocate memory for -2147483648 entries of 8 bytes!"}));
}

TEST(LookupTable, AllocateMemoryWeightsOfNoCellsIsNotAFailure) {
  Reports reports;
  OneVariable state;
  Table table(&state);
  double* const cells = table.allocateMemoryWeights();
  EXPECT_NE(cells, nullptr);
  delete[] cells;
  EXPECT_THAT(reports.errors(), IsEmpty());
}

TEST(LookupTable, FreeMemoryReleasesTheArraysOnly) {
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setArrayTraces({1, 0, 0, 0, 0});
  table.eTracesMap[2] = 0.5;
  table.activeIndex = 3;
  table.storedActiveIndex = 4;
  table.episodeIndexHistorySet.insert(1);

  table.freeMemory();

  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_EQ(table.indexOffset, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 5);
  EXPECT_EQ(table.traceStorage, Types::ARRAY);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 0.5)));
  EXPECT_EQ(table.activeIndex, 3);
  EXPECT_EQ(table.storedActiveIndex, 4);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1));
}

TEST(LookupTable, FreeMemoryMayBeRepeated) {
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.freeMemory();
  table.freeMemory();
  EXPECT_EQ(table.weights, nullptr);
}

TEST(LookupTable, ClearTraceMapEmptiesTheMapInAnyStorage) {
  OneVariable state;
  Table table(&state);
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    table.setTraceStorage(storage);
    table.eTracesMap[1] = 1.0;
    table.clearTraceMap();
    EXPECT_THAT(table.eTracesMap, IsEmpty());
  }
}

TEST(LookupTable, SetStatePtrSetsTheState) {
  OneVariable state;
  Table table(nullptr);
  table.setStatePtr(&state);
  EXPECT_EQ(table.statePtr, &state);
}

TEST(LookupTable, SetTraceStorageSetsTheStorage) {
  Table table(nullptr);
  table.setTraceStorage(Types::ARRAY);
  EXPECT_EQ(table.traceStorage, Types::ARRAY);
  table.setTraceStorage(Types::MAP);
  EXPECT_EQ(table.traceStorage, Types::MAP);
}

// ---- The active cell ----

TEST(LookupTable, TheLastVariableVariesFastest) {
  TwoVariables state;
  Table table(&state, {3, 1}, std::vector<double>(15, 0.0));
  int cell = 0;
  for (int x = 0; x <= 4; ++x) {
    for (int y = -1; y <= 1; ++y) {
      state.set(x, y);
      table.setState();
      EXPECT_EQ(table.activeIndex, cell) << "x = " << x << ", y = " << y;
      ++cell;
    }
  }
  EXPECT_EQ(cell, 15);
}

TEST(LookupTable, PlaceValuesAreUsedAsTheyStand) {
  TwoVariables state;
  Table table(&state, {-2, 7}, std::vector<double>(15, 0.0));
  state.set(3, 1);
  table.calculateActiveIndex();
  EXPECT_EQ(table.activeIndex, 8);  // 3 * -2 + 2 * 7
}

TEST(LookupTable, SetStateComputesTheCellByTheVirtualOperation) {
  class Counting : public Table {
   public:
    using Table::Table;
    int calls = 0;
    void calculateActiveIndex() override { ++calls; }
  };
  OneVariable state;
  Counting table(&state, {1}, {0, 0, 0, 0, 0});
  table.setState();
  EXPECT_EQ(table.calls, 1);
  EXPECT_EQ(table.activeIndex, -1);
}

TEST(LookupTable, SetStateChangesNothingButTheActiveCell) {
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.eTracesMap[1] = 0.5;
  table.setState();
  EXPECT_EQ(table.activeIndex, 2);
  EXPECT_EQ(table.storedActiveIndex, -1);
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.5)));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(LookupTable, ACellBelowZeroOrBeyondTheLastIsReportedAndLeavesNoneActive) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  const auto cellAt = [&](int x) {
    table.activeIndex = 3;
    state.setValueInt(0, x);
    table.setState();
    return table.activeIndex;
  };
  EXPECT_EQ(cellAt(0), 0);
  EXPECT_EQ(cellAt(1), 1);
  EXPECT_EQ(cellAt(4), 4);
  EXPECT_THAT(errors(reports), IsEmpty());

  EXPECT_EQ(cellAt(-1), -1);
  EXPECT_EQ(errors(reports), cellReport("-1", "5"));
  EXPECT_EQ(cellAt(5), -1);
  EXPECT_EQ(errors(reports), cellReport("5", "5"));
  EXPECT_EQ(cellAt(6), -1);
  EXPECT_EQ(errors(reports), cellReport("6", "5"));
}

TEST(LookupTable, AValueOutsideItsRangeMayFallIntoAnotherCell) {
  Reports reports;
  TwoVariables state;
  Table table(&state, {3, 1}, std::vector<double>(15, 0.0));
  state.set(0, 2);
  table.setState();
  EXPECT_EQ(table.activeIndex, 3);
  state.set(5, -2);
  table.setState();
  EXPECT_EQ(table.activeIndex, 14);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, RangesAreReadAnewForEveryCell) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  state.setValueInt(0, 3);
  state.setMinValueInt(0, 2);
  table.setState();
  EXPECT_EQ(table.activeIndex, 1);
}

TEST(LookupTable, NoCellOfATableWithoutCellsIsActive) {
  Reports reports;
  OneVariable state;
  state.setValueInt(0, 0);
  Table table(&state, {1}, {});
  table.setState();
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(errors(reports), cellReport("0", "0"));
}

TEST(LookupTable, AStateWithoutVariablesIsCellZero) {
  Reports reports;
  State state;
  Table table(&state, {}, {7});
  table.setState();
  EXPECT_EQ(table.activeIndex, 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, WithoutAStateNoCellIsActive) {
  Reports reports;
  Table table(nullptr);
  table.ARRAY_SIZE = 5;
  table.activeIndex = 3;
  table.calculateActiveIndex();
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(errors(reports), messages({"LookupTable::calculateActiveIndex: statePtr == 0"}));
}

TEST(LookupTable, EveryVariableOfARealStateIsReportedAndCountsAsZero) {
  Reports reports;
  RealVariables state;
  Table table(&state, {1, 1}, {0});
  table.setState();
  EXPECT_EQ(table.activeIndex, 0);
  EXPECT_THAT(errors(reports),
              testing::UnorderedElementsAre("State::getValueInt: Not an Int-State!",
                                            "State::getMinValueInt: Not an Int-State!",
                                            "State::getValueInt: Not an Int-State!",
                                            "State::getMinValueInt: Not an Int-State!"));
}

TEST(LookupTable, TheDistanceFromTheMinimumWrapsAround) {
  Reports reports;
  State state;
  state.registerVariable("x", INT_SMALLEST, INT_LARGEST);
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  state.setValueInt(0, INT_LARGEST);  // 2^32 - 1 above the minimum
  table.setState();
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(errors(reports), cellReport("-1", "5"));

  state.setMinValueInt(0, -5);  // 2^31 + 4 above the minimum
  table.setState();
  EXPECT_EQ(errors(reports), cellReport("-2147483644", "5"));
}

TEST(LookupTable, TheProductWithThePlaceValueWrapsAround) {
  Reports reports;
  State state;
  state.registerVariable("x", 0, 65536);
  Table table(&state, {65536}, {0, 0, 0, 0, 0});
  state.setValueInt(0, 65536);  // 2^32
  table.setState();
  EXPECT_EQ(table.activeIndex, 0);
  EXPECT_THAT(errors(reports), IsEmpty());

  state.setValueInt(0, 32768);  // 2^31
  table.setState();
  EXPECT_EQ(errors(reports), cellReport("-2147483648", "5"));
}

TEST(LookupTable, TheSumOverTheVariablesWrapsAround) {
  Reports reports;
  State state;
  state.registerVariable("x", 0, INT_LARGEST);
  state.registerVariable("y", 0, INT_LARGEST);
  Table table(&state, {1, 1}, {0, 0, 0, 0, 0});
  state.setValueInt(0, INT_LARGEST);
  state.setValueInt(1, 1);
  table.setState();
  EXPECT_EQ(errors(reports), cellReport("-2147483648", "5"));
  state.setValueInt(1, INT_LARGEST);  // 2^32 - 2
  table.setState();
  EXPECT_EQ(errors(reports), cellReport("-2", "5"));
}

TEST(LookupTable, VariablesRegisteredAfterTheTableWasBuiltDoNotCount) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  state.registerVariable("late", 0, 100);
  state.registerVariable("later", 0, 100);
  state.setValueInt(0, 3);
  state.setValueInt(1, 77);
  state.setValueInt(2, 78);
  table.setState();
  EXPECT_EQ(table.activeIndex, 3);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, VariablesThatTheStateHasLostDoNotCount) {
  Reports reports;
  TwoVariables state;
  Table table(&state, {3, 1}, std::vector<double>(15, 0.0));
  const MemoryFile file(bytes(1U) + bytes(1) + Tables::variableRecord("x", 0, 4));
  ASSERT_EQ(state.load(file), 0);
  state.setValueInt(0, 4);
  table.setState();
  EXPECT_EQ(table.activeIndex, 12);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, WithoutPlaceValuesEveryStateIsCellZero) {
  Reports reports;
  OneVariable state;
  Table table(&state);
  table.ARRAY_SIZE = 5;
  table.setState();
  EXPECT_EQ(table.activeIndex, 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Initial weights ----

int initialiserCalls = 0;

const double countingInitialiser() {
  ++initialiserCalls;
  return initialiserCalls * 0.5;
}

TEST(LookupTable, InitWeightsCallsTheInitialiserOncePerCellInTheOrderOfCells) {
  OneVariable state;
  Table table(&state, {1}, {9, 9, 9, 9, 9});
  initialiserCalls = 0;
  table.initWeights(countingInitialiser);
  EXPECT_EQ(initialiserCalls, 5);
  EXPECT_THAT(table.allWeights(), ElementsAre(0.5, 1.0, 1.5, 2.0, 2.5));
}

TEST(LookupTable, InitWeightsOfATableWithoutCellsCallsNothing) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {});
  initialiserCalls = 0;
  table.initWeights(countingInitialiser);
  EXPECT_EQ(initialiserCalls, 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, InitWeightsWithoutWeightsIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state);
  table.ARRAY_SIZE = 5;
  initialiserCalls = 0;
  table.initWeights(countingInitialiser);
  EXPECT_EQ(initialiserCalls, 0);
  EXPECT_EQ(errors(reports), noWeightsReport("initWeights"));
}

TEST(LookupTable, InitWeightsWithoutAnInitialiserIsReportedAndChangesNothing) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.initWeights(nullptr);
  EXPECT_EQ(reports.errors().size(), 1U);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(LookupTable, RandomWeightsTakeOneDrawPerCellInTheOrderOfCells) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  EXPECT_EQ(countDraws([&] { table.initWeights(ValueFunction::getRandomInitializer()); }, 7), 5);
  for (int i = 0; i < 5; ++i) {
    // By default uniform over [-0.5, 0.5): draws lie in [0, 2^31).
    EXPECT_EQ(table.weights[i], draw(7, i) / 2147483648.0 - 0.5) << "cell " << i;
  }
}

// ---- Starting and decaying traces ----

TEST(LookupTable, InitEligibilityTracesMakesTheArrayOfZeros) {
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setTraceStorage(Types::ARRAY);
  table.initEligibilityTraces();
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(LookupTable, InitEligibilityTracesKeepsTheArrayThatIsThere) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setArrayTraces({1, 2, 3, 4, 5});
  const double* const array = table.eTraces;
  table.initEligibilityTraces();
  EXPECT_EQ(table.eTraces, array);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
}

TEST(LookupTable, InitEligibilityTracesTakesTheArrayFromAllocateMemoryWeights) {
  class Counting : public Table {
   public:
    using Table::Table;
    int calls = 0;
    double* allocateMemoryWeights() override {
      ++calls;
      return LookupTable::allocateMemoryWeights();
    }
  };
  OneVariable state;
  Counting table(&state, {1}, {0, 0, 0, 0, 0});
  table.calls = 0;
  table.setTraceStorage(Types::ARRAY);
  table.initEligibilityTraces();
  EXPECT_EQ(table.calls, 1);
  table.initEligibilityTraces();
  EXPECT_EQ(table.calls, 1);
}

TEST(LookupTable, InitEligibilityTracesEmptiesTheMap) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.eTracesMap = {{1, 0.5}, {4, 1.0}};
  table.initEligibilityTraces();
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  EXPECT_EQ(table.eTraces, nullptr);
}

TEST(LookupTable, InitEligibilityTracesLeavesTheOtherStorageAlone) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setArrayTraces({1, 2, 3, 4, 5});
  table.eTracesMap = {{1, 0.5}};

  table.setTraceStorage(Types::MAP);
  table.initEligibilityTraces();
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));

  table.eTracesMap = {{1, 0.5}};
  table.setTraceStorage(Types::ARRAY);
  table.initEligibilityTraces();
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

TEST(LookupTable, InitEligibilityTracesOfAnUnknownStorageIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setArrayTraces({1, 2, 3, 4, 5});
  table.eTracesMap = {{1, 0.5}};
  table.setTraceStorage(UNKNOWN);
  table.initEligibilityTraces();
  EXPECT_EQ(errors(reports), unknownStorageReport("initEligibilityTraces"));
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

TEST(LookupTable, AnyNumberBesidesZeroAndOneIsAnUnknownStorage) {
  Reports reports;
  Table table(nullptr);
  for (const int number : {-2147483647, -1, 2, 7, 2147483647}) {
    table.setTraceStorage(static_cast<Types::TRACE_STORAGE>(number));
    table.initEligibilityTraces();
    EXPECT_EQ(reports.errors(), messages({"Unknown traceStorage = " + std::to_string(number)}));
  }
}

TEST(LookupTable, TracesDecayByTheProductOfTheTwoFactors) {
  const double GAMMA = 0.7;
  const double LAMBDA = 0.3;
  const double trace = 0.1;
  const double decayed = trace * (LAMBDA * GAMMA);
  ASSERT_NE(decayed, trace * LAMBDA * GAMMA) << "numbers that can't tell the order";
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});

  table.eTracesMap = {{1, trace}, {4, -2.0}};
  table.updateEligibilityTraces(GAMMA, LAMBDA);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, decayed), Pair(4, -2.0 * (LAMBDA * GAMMA))));

  table.setArrayTraces({0, trace, 0, 0, -2.0});
  table.updateEligibilityTraces(GAMMA, LAMBDA);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, decayed, 0, 0, -2.0 * (LAMBDA * GAMMA)));
}

TEST(LookupTable, DecayTouchesOnlyTheChosenStorage) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setArrayTraces({1, 1, 1, 1, 1});
  table.eTracesMap = {{1, 1.0}};
  table.updateEligibilityTraces(0.5, 0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 1.0)));
  table.setTraceStorage(Types::MAP);
  table.updateEligibilityTraces(0.5, 0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.25)));
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0.25, 0.25, 0.25, 0.25, 0.25));
}

TEST(LookupTable, EntriesOfTheMapAreNeverRemovedHoweverSmallTheyBecome) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.eTracesMap = {{1, 1e-300}, {2, 0.0}, {3, 1.0}};
  table.updateEligibilityTraces(1e-10, 1.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 1e-300 * 1e-10), Pair(2, 0.0), Pair(3, 1e-10)));
  table.updateEligibilityTraces(0.9, 0.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.0), Pair(2, 0.0), Pair(3, 0.0)));
}

TEST(LookupTable, DecayWithoutTheArrayIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setTraceStorage(Types::ARRAY);
  table.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports),
            messages({"LookupTable::updateEligibilityTraces: traceStorage == ARRAY and eTraces == 0"
                      " --> Set traceStorage to MAP or call initEligibilityTraces before calling "
                      "updateEligibilityTraces!"}));
  EXPECT_EQ(table.eTraces, nullptr);
}

TEST(LookupTable, DecayOfAnEmptyMapIsNotReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.updateEligibilityTraces(0.9, 0.5);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, DecayInAnUnknownStorageIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setArrayTraces({1, 2, 3, 4, 5});
  table.eTracesMap = {{1, 0.5}};
  table.setTraceStorage(UNKNOWN);
  table.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports), unknownStorageReport("updateEligibilityTraces"));
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

// ---- Learning ----

TEST(LookupTable, EveryWeightWithATraceGainsTheTraceTimesTheStep) {
  const double ALPHA = 0.1;
  const double DELTA = 0.7;
  const double trace = 0.3;
  const double gain = trace * (DELTA * ALPHA);
  ASSERT_NE(gain, trace * DELTA * ALPHA) << "numbers that can't tell the order";
  OneVariable state;

  Table map(&state, {1}, {1, 0, 3, 4, 5});
  map.eTracesMap = {{1, trace}, {4, -1.0}};
  map.updateWeights(ALPHA, DELTA);
  EXPECT_THAT(map.allWeights(), ElementsAre(1, gain, 3, 4, 5 + -1.0 * (DELTA * ALPHA)));

  Table array(&state, {1}, {1, 0, 3, 4, 5});
  array.setArrayTraces({0, trace, 0, 0, -1.0});
  array.updateWeights(ALPHA, DELTA);
  EXPECT_EQ(array.allWeights(), map.allWeights());
}

TEST(LookupTable, LearningLeavesTracesAndStoredCellAsTheyAre) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.storedActiveIndex = 2;
  table.updateWeights(0.5, 1.0);
  EXPECT_EQ(table.storedActiveIndex, 2);

  table.eTracesMap = {{1, 0.5}};
  table.updateWeights(0.5, 1.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.5)));

  table.setArrayTraces({1, 2, 3, 4, 5});
  table.updateWeights(0.5, 1.0);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_EQ(table.storedActiveIndex, 2);
}

TEST(LookupTable, WithoutTracesTheStoredCellGainsTheStep) {
  const double step = 0.7 * 0.1;
  OneVariable state;
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    for (int cell = 0; cell < 5; ++cell) {
      Table table(&state, {1}, {1, 2, 3, 4, 5});
      table.setTraceStorage(storage);
      table.storedActiveIndex = cell;
      std::vector<double> expected{1, 2, 3, 4, 5};
      expected[static_cast<std::size_t>(cell)] += step;
      table.updateWeights(0.1, 0.7);
      EXPECT_EQ(table.allWeights(), expected) << "storage " << storage << ", cell " << cell;
    }
  }
}

TEST(LookupTable, TracesPrevailOverTheStoredCell) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.storedActiveIndex = 2;
  table.eTracesMap = {{4, 1.0}};
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 1));
  table.setArrayTraces({1, 0, 0, 0, 0});
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 0, 0, 0, 1));
}

TEST(LookupTable, TracesOfZeroPrevailOverTheStoredCellToo) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.storedActiveIndex = 2;
  table.eTracesMap = {{4, 0.0}};
  table.updateWeights(1.0, 1.0);
  table.setTraceStorage(Types::ARRAY);
  table.initEligibilityTraces();
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, AnArrayOfTracesNeedsNoStoredCell) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.setArrayTraces({0, 0, 1, 0, 0});
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 1, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, LearningInArrayStorageWithNeitherTracesNorStoredCellIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setTraceStorage(Types::ARRAY);
  table.updateWeights(0.5, 1.0);
  EXPECT_EQ(
      errors(reports),
      messages({"LookupTable::updateWeights: traceStorage == ARRAY and eTraces == 0 and "
                "storedActiveIndex == -1 --> Set traceStorage to MAP or call initEligibilityTraces "
                "or storeState before calling updateWeights!"}));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(LookupTable, LearningInMapStorageWithNeitherTracesNorStoredCellIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.updateWeights(0.5, 1.0);
  EXPECT_EQ(errors(reports),
            messages({"LookupTable::updateWeights: traceStorage == MAP and eTracesMap == empty and "
                      "storedActiveIndex == -1 --> Set traceStorage to ARRAY or call "
                      "initEligibilityTraces or storeState before calling updateWeights!"}));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(LookupTable, LearningInAnUnknownStorageIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setArrayTraces({1, 1, 1, 1, 1});
  table.eTracesMap = {{1, 1.0}};
  table.storedActiveIndex = 2;
  table.setTraceStorage(UNKNOWN);
  table.updateWeights(0.5, 1.0);
  EXPECT_EQ(errors(reports), unknownStorageReport("updateWeights"));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(LookupTable, LearningWithoutWeightsIsReportedBeforeAnythingElse) {
  Reports reports;
  OneVariable state;
  Table table(&state);
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    table.setTraceStorage(storage);
    table.updateWeights(0.5, 1.0);
    EXPECT_EQ(errors(reports), noWeightsReport("updateWeights"));
  }
}

TEST(LookupTable, TracesOutsideTheTableAreIgnored) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.eTracesMap = {{INT_SMALLEST, 1.0}, {-1, 1.0},         {0, 1.0}, {4, 1.0}, {5, 1.0},
                      {1000000, 1.0},      {INT_LARGEST, 1.0}};
  table.updateEligibilityTraces(0.5, 1.0);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0.5, 0, 0, 0, 0.5));
  EXPECT_EQ(table.eTracesMap.size(), 7U);
}

TEST(LookupTable, AStoredCellOutsideTheTableIsIgnored) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    table.setTraceStorage(storage);
    for (const int cell : {INT_SMALLEST, -2, 5, 6, 1000000, INT_LARGEST}) {
      table.storedActiveIndex = cell;
      table.updateWeights(1.0, 1.0);
    }
  }
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, TracesWaitInTheirStorageWhileTheOtherIsInUse) {
  OneVariable state;
  Table table(&state, {1}, {0, 0, 0, 0, 0});
  table.eTracesMap = {{1, 1.0}};
  table.storedActiveIndex = 3;

  table.setTraceStorage(Types::ARRAY);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 1, 0));
  table.setArrayTraces({0, 0, 1, 0, 0});

  table.setTraceStorage(Types::MAP);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 1, 0, 1, 0));
  table.setTraceStorage(Types::ARRAY);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 1, 1, 1, 0));
}

// ---- Limits ----

TEST(LookupTable, WeightsAreClampedIntoTheLimits) {
  State state;
  Table table(&state, {}, {-3, 0.5, 7});
  table.checkWeightLimit(-1, 1);
  EXPECT_THAT(table.allWeights(), ElementsAre(-1, 0.5, 1));
}

TEST(LookupTable, WeightsAtTheLimitsStay) {
  const double aboveMin = std::nextafter(-1.0, 0.0);
  const double belowMin = std::nextafter(-1.0, -2.0);
  const double belowMax = std::nextafter(1.0, 0.0);
  const double aboveMax = std::nextafter(1.0, 2.0);
  State state;
  Table table(&state, {}, {belowMin, -1, aboveMin, belowMax, 1, aboveMax, -INFINITE, INFINITE});
  table.checkWeightLimit(-1, 1);
  EXPECT_THAT(table.allWeights(), ElementsAre(-1, -1, aboveMin, belowMax, 1, 1, -1, 1));
}

TEST(LookupTable, AWeightThatIsNotANumberBecomesTheLowerLimit) {
  State state;
  Table table(&state, {}, {NAN_WEIGHT, -NAN_WEIGHT});
  table.checkWeightLimit(-0.25, 1);
  EXPECT_THAT(table.allWeights(), ElementsAre(-0.25, -0.25));
}

TEST(LookupTable, AWeightThatEqualsALimitTakesOnItsSign) {
  State state;
  Table table(&state, {}, {-0.0, 0.0});
  table.checkWeightLimit(0.0, 1.0);
  EXPECT_EQ(Tables::bits(table.allWeights()), Tables::bits({0.0, 0.0}));
  table.checkWeightLimit(-1.0, -0.0);
  EXPECT_EQ(Tables::bits(table.allWeights()), Tables::bits({-0.0, -0.0}));
}

TEST(LookupTable, LimitsInTheWrongOrderGiveTheUpperOneEverywhere) {
  State state;
  Table table(&state, {}, {-5, 0, 5, NAN_WEIGHT});
  table.checkWeightLimit(1, -1);
  EXPECT_THAT(table.allWeights(), ElementsAre(-1, -1, -1, -1));
}

TEST(LookupTable, LimitsThatAreNotNumbersReplaceEveryWeight) {
  State state;
  Table table(&state, {}, {-5, 0, 5});
  table.checkWeightLimit(NAN_WEIGHT, 3);  // no weight is above, none of the results below
  EXPECT_THAT(table.allWeights(), ElementsAre(3, 3, 3));
  table.checkWeightLimit(-1, NAN_WEIGHT);
  EXPECT_TRUE(std::isnan(table.weights[0]));
  EXPECT_TRUE(std::isnan(table.weights[2]));
}

TEST(LookupTable, ClampingTwiceIsClampingOnce) {
  State state;
  Table table(&state, {}, {-3, -1, -0.0, 0.3, 7, NAN_WEIGHT, INFINITE, 5e-324});
  table.checkWeightLimit(-1, 0.25);
  const std::string once = Tables::bits(table.allWeights());
  table.checkWeightLimit(-1, 0.25);
  EXPECT_EQ(Tables::bits(table.allWeights()), once);
}

TEST(LookupTable, ClampingWithoutWeightsIsReported) {
  Reports reports;
  Table table(nullptr);
  table.checkWeightLimit(-1, 1);
  EXPECT_EQ(errors(reports), noWeightsReport("checkWeightLimit"));
}

// ---- Statistics ----

TEST(LookupTable, TellsTheSmallestLargestAndMeanWeight) {
  State state;
  const Table table(&state, {}, {0.5, -3, 7, 1.5});
  EXPECT_EQ(table.getMinWeight(), -3);
  EXPECT_EQ(table.getMaxWeight(), 7);
  EXPECT_EQ(table.getAvgWeight(false), 1.5);
  EXPECT_EQ(table.getAvgWeight(true), 3.0);
}

TEST(LookupTable, TheExtremeWeightMayStandAnywhere) {
  State state;
  for (const auto& cells : std::vector<std::vector<double>>{{-2, 0, 5}, {5, -2, 0}, {0, 5, -2}}) {
    const Table table(&state, {}, cells);
    EXPECT_EQ(table.getMinWeight(), -2);
    EXPECT_EQ(table.getMaxWeight(), 5);
  }
}

TEST(LookupTable, TheMeanOfAbsoluteValuesIgnoresSigns) {
  State state;
  const Table table(&state, {}, {-1, 1});
  EXPECT_EQ(table.getAvgWeight(true), 1.0);
  EXPECT_EQ(table.getAvgWeight(false), 0.0);
}

TEST(LookupTable, TheMeanIsSummedInTheOrderOfCells) {
  State state;
  const Table lost(&state, {}, {1e16, 1, -1e16});
  EXPECT_EQ(lost.getAvgWeight(false), 0.0);
  const Table kept(&state, {}, {1e16, -1e16, 1});
  EXPECT_EQ(kept.getAvgWeight(false), 1.0 / 3);
  const Table tenths(&state, {}, std::vector<double>(10, 0.1));
  double sum = 0.0;
  for (int i = 0; i < 10; ++i) {
    sum += 0.1;
  }
  EXPECT_EQ(tenths.getAvgWeight(false), sum / 10);
}

TEST(LookupTable, TheMeanIsAQuotient) {
  ASSERT_NE(3.0 / 5, 3.0 * (1.0 / 5));
  State state;
  const Table table(&state, {}, {1, 1, 1, 0, 0});
  EXPECT_EQ(table.getAvgWeight(false), 3.0 / 5);
}

TEST(LookupTable, WeightsThatAreNotNumbersAreNeitherSmallestNorLargest) {
  State state;
  const Table some(&state, {}, {NAN_WEIGHT, 2, NAN_WEIGHT, 1});
  EXPECT_EQ(some.getMinWeight(), 1);
  EXPECT_EQ(some.getMaxWeight(), 2);
  EXPECT_TRUE(std::isnan(some.getAvgWeight(false)));
  EXPECT_TRUE(std::isnan(some.getAvgWeight(true)));

  const Table all(&state, {}, {NAN_WEIGHT, NAN_WEIGHT});
  EXPECT_EQ(all.getMinWeight(), LARGEST);
  EXPECT_EQ(all.getMaxWeight(), -LARGEST);
}

TEST(LookupTable, InfiniteWeightsCountOnTheirOwnSideOnly) {
  State state;
  const Table positive(&state, {}, {INFINITE});
  EXPECT_EQ(positive.getMinWeight(), LARGEST);
  EXPECT_EQ(positive.getMaxWeight(), INFINITE);
  const Table negative(&state, {}, {-INFINITE});
  EXPECT_EQ(negative.getMinWeight(), -INFINITE);
  EXPECT_EQ(negative.getMaxWeight(), -LARGEST);
  EXPECT_EQ(negative.getAvgWeight(false), -INFINITE);
  EXPECT_EQ(negative.getAvgWeight(true), INFINITE);
}

TEST(LookupTable, StatisticsWithoutWeightsAreReportedAndNeutral) {
  Reports reports;
  const Table table(nullptr);
  EXPECT_EQ(table.getMinWeight(), LARGEST);
  EXPECT_EQ(errors(reports), noWeightsReport("getMinWeight"));
  EXPECT_EQ(table.getMaxWeight(), -LARGEST);
  EXPECT_EQ(errors(reports), noWeightsReport("getMaxWeight"));
  EXPECT_EQ(Tables::bits({table.getAvgWeight(false)}), Tables::bits({0.0}));
  EXPECT_EQ(errors(reports), noWeightsReport("getAvgWeight"));
  EXPECT_EQ(Tables::bits({table.getAvgWeight(true)}), Tables::bits({0.0}));
  EXPECT_EQ(errors(reports), noWeightsReport("getAvgWeight"));
}

TEST(LookupTable, StatisticsOverNoCellsAreNotReported) {
  Reports reports;
  State state;
  const Table table(&state, {}, {});
  EXPECT_EQ(table.getMinWeight(), LARGEST);
  EXPECT_EQ(table.getMaxWeight(), -LARGEST);
  EXPECT_TRUE(std::isnan(table.getAvgWeight(false)));  // a sum of 0.0 over a count of 0
  EXPECT_TRUE(std::isnan(table.getAvgWeight(true)));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Episodes ----

TEST(LookupTable, ValueEpisodeRewardsEveryVisitedCellOnce) {
  OneVariable state;
  Table table(&state, {1}, {0, 1, 2, 3, 4});
  table.episodeIndexHistorySet = {4, 1, 1, 0};
  table.valueEpisode(0.25);
  EXPECT_THAT(table.allWeights(), ElementsAre(0.25, 1.25, 2, 3, 4.25));
}

TEST(LookupTable, ValueEpisodeKeepsTheVisitedCells) {
  OneVariable state;
  Table table(&state, {1}, {0, 1, 2, 3, 4});
  table.episodeIndexHistorySet = {1, 3};
  table.valueEpisode(2.0);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1, 3));
  table.valueEpisode(2.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 5, 2, 7, 4));
}

TEST(LookupTable, InitEpisodeStateHistoryForgetsTheVisitedCells) {
  OneVariable state;
  Table table(&state, {1}, {0, 1, 2, 3, 4});
  table.episodeIndexHistorySet = {1, 3};
  table.initEpisodeStateHistory();
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 1, 2, 3, 4));
}

TEST(LookupTable, ValueEpisodeWithoutVisitedCellsIsReported) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 1, 2, 3, 4});
  table.valueEpisode(1.0);
  const auto report =
      messages({"LookupTable::valueEpisode: episodeIndexHistorySet is empty! Did you forget to set "
                "ValueFunction::episodeStateHistory to true?"});
  EXPECT_EQ(errors(reports), report);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 1, 2, 3, 4));

  table.freeMemory();
  table.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), report) << "asks for visited cells before weights";
}

TEST(LookupTable, ValueEpisodeWithoutWeightsIsReported) {
  Reports reports;
  Table table(nullptr);
  table.episodeIndexHistorySet = {1, 3};
  table.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), noWeightsReport("valueEpisode"));
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1, 3));
}

TEST(LookupTable, VisitedCellsOutsideTheTableAreIgnored) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {0, 1, 2, 3, 4});
  table.episodeIndexHistorySet = {INT_SMALLEST, -1, 0, 4, 5, INT_LARGEST};
  table.valueEpisode(1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 1, 2, 3, 5));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Saving ----

TEST(LookupTable, SavesItsBlock) {
  TwoVariables state;
  Table table(&state, {3, 1}, {1.0, -2.0});
  table.setTraceStorage(Types::ARRAY);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), std::string("\x01\x00\x00\x00"                   // ARRAY
                                        "\x03\x00\x00\x00"                   // place values
                                        "\x01\x00\x00\x00"                   //
                                        "\x02\x00\x00\x00"                   // cells
                                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                                        "\x00\x00\x00\x00\x00\x00\x00\xC0",  // -2.0
                                        32));
}

TEST(LookupTable, TracesAndCellsInUseAreNotSaved) {
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setArrayTraces({1, 1, 1, 1, 1});
  table.setTraceStorage(Types::MAP);
  table.eTracesMap = {{1, 0.5}};
  table.activeIndex = 1;
  table.storedActiveIndex = 2;
  table.episodeIndexHistorySet = {3};
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(0, {1}, 5, {1, 2, 3, 4, 5}));
}

TEST(LookupTable, SavesAtThePositionOfTheFile) {
  OneVariable state;
  const Table table(&state, {1}, {7});
  const MemoryFile file;
  std::fputs("before", file);
  EXPECT_EQ(table.save(file), 0);
  std::fputs("behind", file);
  EXPECT_EQ(file.content(), "before" + block(0, {1}, 1, {7}) + "behind");
}

TEST(LookupTable, SavesAnUnknownStorageAsItsNumber) {
  OneVariable state;
  Table table(&state, {1}, {7});
  table.setTraceStorage(static_cast<Types::TRACE_STORAGE>(-3));
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(-3, {1}, 1, {7}));
}

TEST(LookupTable, SavesATableWithoutCells) {
  OneVariable state;
  const Table table(&state, {0}, {});
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(0, {0}, 0, {}));
}

TEST(LookupTable, SavesAPlaceValueOfZeroForVariablesRegisteredLater) {
  OneVariable state;
  const Table table(&state, {1}, {7, 8, 9, 10, 11});
  state.registerVariable("late", 0, 9);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(0, {1, 0}, 5, {7, 8, 9, 10, 11}));
}

TEST(LookupTable, SavesNoPlaceValueForVariablesThatTheStateHasLost) {
  TwoVariables state;
  const Table table(&state, {3, 1}, {7});
  const MemoryFile record(bytes(1U) + bytes(1) + Tables::variableRecord("x", 0, 4));
  ASSERT_EQ(state.load(record), 0);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(0, {3}, 1, {7}));
}

TEST(LookupTable, SavingWithoutWeightsIsReportedBehindTheFirstThreeFields) {
  Reports reports;
  TwoVariables state;
  Table table(&state, {3, 1}, std::vector<double>(15, 0.0));
  delete[] table.weights;
  table.weights = nullptr;
  const MemoryFile file;
  EXPECT_EQ(table.save(file), -1);
  EXPECT_EQ(errors(reports), noWeightsReport("save"));
  EXPECT_EQ(file.content(), block(0, {3, 1}, 15, {}));
}

TEST(LookupTable, SavingWithoutAStateIsSavingWithoutVariables) {
  Reports reports;
  const Table table(nullptr);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), -1);
  EXPECT_EQ(errors(reports), noWeightsReport("save"));
  EXPECT_EQ(file.content(), block(0, {}, 0, {}));
}

TEST(LookupTable, SavingStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  TwoVariables state;
  const Table table(&state, {3, 1}, {1, 2, 3});
  const std::string whole = block(0, {3, 1}, 3, {1, 2, 3});
  ASSERT_EQ(whole.size(), 40U);
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(table.save(file), -1) << limit;
    EXPECT_EQ(errors(reports), errnoReport("save", EIO)) << limit;
    EXPECT_EQ(file.written(), whole.substr(0, limit));
  }
  const FailingFile file("", whole.size(), "w");
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.written(), whole);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, AFullDiskIsReported) {
  Reports reports;
  OneVariable state;
  const Table table(&state, {1}, {1});
  FILE* const file = std::fopen("/dev/full", "w");
  ASSERT_NE(file, nullptr);
  std::setvbuf(file, nullptr, _IONBF, 0);
  EXPECT_EQ(table.save(file), -1);
  EXPECT_EQ(errors(reports), errnoReport("save", ENOSPC));
  std::fclose(file);
}

// ---- Loading ----

TEST(LookupTable, LoadsItsBlock) {
  Reports reports;
  TwoVariables state;
  Table table(&state);
  const MemoryFile file(
      std::string("\x01\x00\x00\x00"                   // ARRAY
                  "\x03\x00\x00\x00"                   // place values
                  "\xFF\xFF\xFF\xFF"                   //
                  "\x02\x00\x00\x00"                   // cells
                  "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                  "\x00\x00\x00\x00\x00\x00\x00\xC0",  // -2.0
                  32));
  EXPECT_EQ(table.load(file), 0);
  EXPECT_EQ(table.traceStorage, Types::ARRAY);
  EXPECT_EQ(table.ARRAY_SIZE, 2);
  ASSERT_NE(table.indexOffset, nullptr);
  EXPECT_EQ(table.indexOffset[0], 3);
  EXPECT_EQ(table.indexOffset[1], -1);
  EXPECT_THAT(table.allWeights(), ElementsAre(1.0, -2.0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, SavingAndLoadingKeepsEveryBitOfTheWeights) {
  double signallingNan = 0.0;
  const std::uint64_t pattern = 0x7FF0000000000001U;
  std::memcpy(&signallingNan, &pattern, sizeof(pattern));
  OneVariable state;
  const Table table(&state, {1}, {-0.0, 5e-324, INFINITE, -NAN_WEIGHT, 0.1});
  std::memcpy(&table.weights[3], &signallingNan, sizeof(signallingNan));
  const MemoryFile first;
  ASSERT_EQ(table.save(first), 0);

  Table copy(&state);
  first.rewind();
  ASSERT_EQ(copy.load(first), 0);
  EXPECT_EQ(std::memcmp(copy.weights, table.weights, 5 * sizeof(double)), 0);
  const MemoryFile second;
  ASSERT_EQ(copy.save(second), 0);
  EXPECT_EQ(second.content(), first.content());
}

TEST(LookupTable, LoadReadsAtThePositionOfTheFileAndNothingBehindTheBlock) {
  OneVariable state;
  Table table(&state);
  const MemoryFile file("before" + block(0, {1}, 2, {7, 8}) + "behind");
  std::fseek(file, 6, SEEK_SET);
  EXPECT_EQ(table.load(file), 0);
  EXPECT_THAT(table.allWeights(), ElementsAre(7, 8));
  EXPECT_EQ(std::ftell(file), 6 + 12 + 16);
  EXPECT_EQ(std::fgetc(file), 'b');
}

TEST(LookupTable, LoadDiscardsTheArraysAndKeepsTheRest) {
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setArrayTraces({1, 2, 3, 4, 5});
  table.eTracesMap = {{2, 0.5}};
  table.activeIndex = 3;
  table.storedActiveIndex = 4;
  table.episodeIndexHistorySet = {1};
  const MemoryFile file(block(1, {1}, 2, {7, 8}));
  EXPECT_EQ(table.load(file), 0);
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_THAT(table.allWeights(), ElementsAre(7, 8));
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 0.5)));
  EXPECT_EQ(table.activeIndex, 3);
  EXPECT_EQ(table.storedActiveIndex, 4);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1));
}

TEST(LookupTable, LoadUsesTheVirtualMemoryOperations) {
  class Recording : public Table {
   public:
    using Table::Table;
    std::string calls;
    void allocateMemory() override {
      calls += "allocateMemory ";
      LookupTable::allocateMemory();
    }
    double* allocateMemoryWeights() override {
      calls += "allocateMemoryWeights(" + std::to_string(ARRAY_SIZE) + ") ";
      return LookupTable::allocateMemoryWeights();
    }
    void freeMemory() override {
      calls += "freeMemory ";
      LookupTable::freeMemory();
    }
  };
  OneVariable state;
  Recording table(&state, {1}, {1, 2, 3, 4, 5});
  table.calls.clear();
  const MemoryFile file(block(0, {1}, 2, {7, 8}));
  EXPECT_EQ(table.load(file), 0);
  EXPECT_EQ(table.calls, "freeMemory allocateMemory allocateMemoryWeights(2) ");
}

TEST(LookupTable, CellsInUseFromALargerTableAreIgnoredAfterALoad) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setArrayTraces({1, 1, 1, 1, 1});
  table.eTracesMap = {{1, 1.0}, {4, 1.0}};
  table.storedActiveIndex = 4;
  table.episodeIndexHistorySet = {0, 4};
  const MemoryFile file(block(1, {1}, 2, {7, 8}));
  ASSERT_EQ(table.load(file), 0);

  table.updateWeights(1.0, 1.0);  // no array of traces, and the stored cell is gone
  EXPECT_THAT(table.allWeights(), ElementsAre(7, 8));
  table.setTraceStorage(Types::MAP);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(7, 9));
  table.valueEpisode(1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(8, 9));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, AfterALoadTheArrayOfTracesIsMadeAnew) {
  OneVariable state;
  Table table(&state, {1}, {1, 2});
  table.setArrayTraces({1, 1});
  const MemoryFile file(block(1, {1}, 5, {1, 2, 3, 4, 5}));
  ASSERT_EQ(table.load(file), 0);
  table.initEligibilityTraces();
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
}

TEST(LookupTable, LoadsATableWithoutCells) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  const MemoryFile file(block(0, {1}, 0, {}));
  EXPECT_EQ(table.load(file), 0);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_NE(table.weights, nullptr);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, LoadsAnUnknownStorageAndReportsItsUse) {
  Reports reports;
  OneVariable state;
  Table table(&state);
  const MemoryFile file(block(7, {1}, 1, {1}));
  EXPECT_EQ(table.load(file), 0);
  EXPECT_THAT(errors(reports), IsEmpty());
  table.updateWeights(1.0, 1.0);
  EXPECT_EQ(errors(reports), messages({"LookupTable::updateWeights: Unknown traceStorage = 7"}));
}

TEST(LookupTable, LoadWithoutAStateFails) {
  Reports reports;
  Table table(nullptr);
  const MemoryFile file(block(0, {}, 1, {1}));
  EXPECT_EQ(table.load(file), -1);
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0"}));
  EXPECT_EQ(table.weights, nullptr);
}

// What must hold after a load that failed: no weights, and nothing that may not be called.
void expectUsableWithoutWeights(Table& table) {
  EXPECT_EQ(table.weights, nullptr);
  table.setState();
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    table.setTraceStorage(storage);
    table.updateWeights(1.0, 1.0);
    table.updateEligibilityTraces(0.5, 0.5);
    table.initEligibilityTraces();
    table.updateWeights(1.0, 1.0);
    table.updateEligibilityTraces(0.5, 0.5);
  }
  table.initWeights(countingInitialiser);
  table.checkWeightLimit(-1, 1);
  table.valueEpisode(1.0);
  EXPECT_EQ(table.getMinWeight(), LARGEST);
  EXPECT_EQ(table.getMaxWeight(), -LARGEST);
  EXPECT_EQ(table.getAvgWeight(true), 0.0);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), -1);
}

TEST(LookupTable, AFileCutAnywhereIsAFailedReadAndLeavesNoWeights) {
  const std::string whole = block(1, {3, 1}, 3, {1, 2, 3});
  ASSERT_EQ(whole.size(), 40U);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    TwoVariables state;
    Table table(&state, {3, 1}, std::vector<double>(15, 1.0));
    table.storedActiveIndex = 14;
    const MemoryFile file(whole.substr(0, size));
    errno = 0;
    EXPECT_EQ(table.load(file), -1) << size;
    EXPECT_EQ(errors(reports), errnoReport("load", 0)) << size;
    expectUsableWithoutWeights(table);
    reports.takeErrors();
  }
}

TEST(LookupTable, AFailedLoadKeepsWhatHasBeenReadBefore) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  const MemoryFile noStorage(std::string("\x01\x00", 2));
  EXPECT_EQ(table.load(noStorage), -1);
  EXPECT_EQ(table.traceStorage, Types::MAP);
  EXPECT_EQ(table.indexOffset, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 5);

  const MemoryFile noSize(block(1, {9}, 0, {}).substr(0, 8));
  EXPECT_EQ(table.load(noSize), -1);
  EXPECT_EQ(table.traceStorage, Types::ARRAY);
  ASSERT_NE(table.indexOffset, nullptr);
  EXPECT_EQ(table.indexOffset[0], 9);
  EXPECT_EQ(table.ARRAY_SIZE, 5);
}

TEST(LookupTable, APipeThatEndsAnywhereIsAFailedReadAndLeavesNoWeights) {
  const std::string whole = block(1, {3, 1}, 3, {1, 2, 3});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    TwoVariables state;
    Table table(&state, {3, 1}, std::vector<double>(15, 1.0));
    const FailingFile file(whole.substr(0, size), 1000, "r");
    errno = 0;
    EXPECT_EQ(table.load(file), -1) << size;
    EXPECT_EQ(errors(reports), errnoReport("load", 0)) << size;
    expectUsableWithoutWeights(table);
    reports.takeErrors();
  }
}

TEST(LookupTable, AReadThatFailsAnywhereIsReportedWithItsError) {
  const std::string whole = block(1, {3, 1}, 3, {1, 2, 3});
  Reports reports;
  TwoVariables state;
  Table table(&state);
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file(whole, limit, "r");
    errno = 0;
    EXPECT_EQ(table.load(file), -1) << limit;
    EXPECT_EQ(errors(reports), errnoReport("load", EIO)) << limit;
    EXPECT_EQ(table.weights, nullptr);
  }
  const FailingFile file(whole, whole.size(), "r");
  EXPECT_EQ(table.load(file), 0);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(LookupTable, ASizeThatTheFileCanNotHoldIsAFailedReadWithoutMemoryBeingAskedFor) {
  OneVariable state;
  for (const int size : {3, 1000000, INT_LARGEST}) {
    Reports reports;
    Table table(&state, {1}, {1, 2, 3, 4, 5});
    const MemoryFile file(block(0, {1}, size, {1, 2}) + "1234567");
    errno = 0;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      EXPECT_EQ(table.load(file), -1);
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 1000U) << "of the place values and of the report";
    EXPECT_EQ(errors(reports), errnoReport("load", 0)) << size;
    EXPECT_EQ(table.weights, nullptr);
  }
}

TEST(LookupTable, AFileThatShrinksWhileItIsReadIsAFailedRead) {
  class Shrinking : public Table {
   public:
    Shrinking(State* state, FILE* fileToShrink) : Table(state), file(fileToShrink) {}
    double* allocateMemoryWeights() override {
      EXPECT_EQ(ftruncate(fileno(file), 12 + 8), 0);
      return LookupTable::allocateMemoryWeights();
    }

   private:
    FILE* file;
  };
  Reports reports;
  OneVariable state;
  const MemoryFile file;
  std::setvbuf(file, nullptr, _IONBF, 0);
  const std::string whole = block(0, {1}, 3, {1, 2, 3});
  ASSERT_EQ(std::fwrite(whole.data(), 1, whole.size(), file), whole.size());
  file.rewind();
  Shrinking table(&state, file);
  errno = 0;
  EXPECT_EQ(table.load(file), -1);
  EXPECT_EQ(errors(reports), errnoReport("load", 0));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 0, 0)) << "no memory of others shows through";
}

TEST(LookupTable, ANegativeSizeInAFileIsAFailedRead) {
  OneVariable state;
  for (const int size : {-1, -2, -2147483647, INT_SMALLEST}) {
    Reports reports;
    Table table(&state, {1}, {1, 2, 3, 4, 5});
    const MemoryFile file(block(0, {1}, size, {1, 2}));
    errno = 0;
    EXPECT_EQ(table.load(file), -1) << size;
    EXPECT_EQ(errors(reports), errnoReport("load", 0)) << size;
    EXPECT_EQ(table.weights, nullptr);

    const FailingFile pipe(block(0, {1}, size, {1, 2}), 1000, "r");
    errno = 0;
    EXPECT_EQ(table.load(pipe), -1) << size;
    EXPECT_EQ(errors(reports), errnoReport("load", 0)) << size;
    expectUsableWithoutWeights(table);
    reports.takeErrors();
  }
}

TEST(LookupTable, AHugeSizeInAPipeIsFollowedAsFarAsDataArrives) {
  OneVariable state;
  for (const int size : {3, 65536, 65537, 100000000, INT_LARGEST}) {
    Reports reports;
    Table table(&state, {1}, {1, 2, 3, 4, 5});
    const FailingFile file(block(0, {1}, size, {1, 2}), 1000, "r");
    errno = 0;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      EXPECT_EQ(table.load(file), -1);
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 1U << 20U);
    EXPECT_EQ(errors(reports), errnoReport("load", 0)) << size;
    EXPECT_EQ(table.weights, nullptr);
  }
}

TEST(LookupTable, ALargeTableComesWholeThroughAPipe) {
  OneVariable state;
  for (const int size : {65535, 65536, 65537, 131072, 150000}) {
    Reports reports;
    Table table(&state);
    const std::vector<double> cells = Tables::ascending(size);
    const FailingFile file(block(0, {1}, size, cells), 10000000, "r");
    EXPECT_EQ(table.load(file), 0) << size;
    EXPECT_EQ(table.ARRAY_SIZE, size);
    EXPECT_EQ(table.allWeights(), cells);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

// ---- Short memory ----

class LookupTableInShortMemory : public Tables::InShortMemory {};

TEST_F(LookupTableInShortMemory, PlaceValuesThatCanNotBeHadAreReported) {
  Reports reports;
  TwoVariables state;
  Table table(&state);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    table.allocateMemory();
  }
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for 2 entries of 4 bytes!"}));
  EXPECT_EQ(table.indexOffset, nullptr);
}

TEST_F(LookupTableInShortMemory, WeightsThatCanNotBeHadAreReported) {
  Reports reports;
  Table table(nullptr);
  table.ARRAY_SIZE = INT_LARGEST;
  double* cells = nullptr;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    cells = table.allocateMemoryWeights();
  }
  EXPECT_EQ(cells, nullptr);
  EXPECT_EQ(reports.errors(),
            messages({"Can not allocate memory for 2147483647 entries of 8 bytes!"}));
}

TEST_F(LookupTableInShortMemory, AnArrayOfTracesThatCanNotBeHadIsReportedAndMissing) {
  Reports reports;
  OneVariable state;
  Table table(&state, {1}, {1, 2, 3, 4, 5});
  table.setTraceStorage(Types::ARRAY);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    table.initEligibilityTraces();
  }
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for 5 entries of 8 bytes!"}));
  EXPECT_EQ(table.eTraces, nullptr);
  table.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(reports.errors().size(), 1U);
  table.initEligibilityTraces();
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
}

// Loads a file again and again, with the first, the second, ... request for memory failing, until
// one load goes through. Gives the number of requests.
template <typename OpenFile>
int requestsOfALoad(const OpenFile& openFile) {
  OneVariable state;
  int call = 0;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    Table table(&state, {1}, {1, 2, 3, 4, 5});
    const auto file = openFile();
    int status = 0;
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(status = table.load(*file));
      failed = memory.failed();
    }
    EXPECT_EQ(status, failed ? -1 : 0) << call;
    EXPECT_EQ(reports.errors().size(), failed ? 1U : 0U) << call;
    if (failed) {
      expectUsableWithoutWeights(table);
      reports.takeErrors();
    }
  }
  return call - 1;
}

TEST_F(LookupTableInShortMemory, ALoadFailsWithAReport) {
  const std::string whole = block(0, {1}, 5, {1, 2, 3, 4, 5});
  EXPECT_EQ(requestsOfALoad([&] { return std::make_unique<MemoryFile>(whole); }), 2)
      << "place values and weights";
}

TEST_F(LookupTableInShortMemory, ALoadFromAPipeFailsWithAReport) {
  const std::string whole = block(0, {1}, 70000, Tables::ascending(70000));
  EXPECT_GT(requestsOfALoad([&] { return std::make_unique<FailingFile>(whole, 10000000U, "r"); }),
            2)
      << "what arrives is kept as well";
}

}  // namespace
