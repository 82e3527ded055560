#include <gmock/gmock.h>
#include <quarnel/State.h>
#include <quarnel/StateLookupTable.h>
#include <unistd.h>

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
#include <vector>

#include "support/Draws.h"
#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"
#include "support/Tables.h"

namespace {

using Tables::block;
using Tables::errors;
using Tables::NO_ARRAY_TRACES;
using Tables::NO_WEIGHTS;
using Tables::UNKNOWN;
using Tables::variableRecord;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

const double LARGEST = 1.7976931348623157e308;
const int INT_LARGEST = 2147483647;
const int INT_SMALLEST = -2147483647 - 1;

// A table whose parts a test can look at.
class Table : public StateLookupTable {
 public:
  using StateLookupTable::StateLookupTable;

  using LookupTable::activeIndex;
  using LookupTable::ARRAY_SIZE;
  using LookupTable::episodeIndexHistorySet;
  using LookupTable::eTraces;
  using LookupTable::eTracesMap;
  using LookupTable::indexOffset;
  using LookupTable::setStatePtr;
  using LookupTable::storedActiveIndex;
  using LookupTable::traceStorage;
  using LookupTable::weights;
  using StateLookupTable::load;
  using StateLookupTable::save;
  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::value;

  State* stateOfTheCore() const { return LookupTable::statePtr; }

  std::vector<double> allWeights() const {
    return std::vector<double>(weights, weights + ARRAY_SIZE);
  }

  std::vector<double> arrayTraces() const {
    return std::vector<double>(eTraces, eTraces + ARRAY_SIZE);
  }

  void setWeights(const std::vector<double>& list) { std::copy(list.begin(), list.end(), weights); }

  // Makes the cell of a state of one variable active.
  void visit(int x) {
    getStatePtr()->setValueInt(0, x);
    setState();
  }
};

// A state of the variable x in [0, 4], or of another range.
State* oneVariable(int min = 0, int max = 4) {
  auto* const state = new State;
  state->registerVariable("x", min, max);
  return state;
}

// A state of the variables x in [0, 4] and y in [-1, 1].
State* twoVariables() {
  State* const state = oneVariable();
  state->registerVariable("y", -1, 1);
  return state;
}

State* realVariables(unsigned int count) {
  auto* const state = new State;
  for (unsigned int i = 0; i < count; ++i) {
    state->registerVariable("x", 0.0, 9.0);
  }
  return state;
}

std::vector<std::string> noMemoryReports(const std::string& cells) {
  return messages({"Can not allocate memory for " + cells + " entries of 8 bytes!", NO_WEIGHTS});
}

// ---- Construction from a state ----

TEST(StateLookupTable, PlaceValuesAreTheProductsOfTheLaterRanges) {
  Table table(twoVariables());
  EXPECT_EQ(table.indexOffset[0], 3);
  EXPECT_EQ(table.indexOffset[1], 1);
  EXPECT_EQ(table.ARRAY_SIZE, 15);
  table.getStatePtr()->setValueInt(0, 2);
  table.getStatePtr()->setValueInt(1, 1);
  table.setState();
  EXPECT_EQ(table.activeIndex, 8);  // 2 * 3 + 2 * 1
}

TEST(StateLookupTable, TheFirstVariableHasTheLargestPlaceValue) {
  State* const state = new State;
  state->registerVariable("a", 10, 11);
  state->registerVariable("b", -2, 0);
  state->registerVariable("c", 0, 4);
  state->registerVariable("d", 7, 7);
  const Table table(state);
  EXPECT_THAT(std::vector<int>(table.indexOffset, table.indexOffset + 4), ElementsAre(15, 5, 1, 1));
  EXPECT_EQ(table.ARRAY_SIZE, 30);
}

TEST(StateLookupTable, EveryCombinationOfValuesHasACellOfItsOwn) {
  Table table(twoVariables());
  int cell = 0;
  for (int x = 0; x <= 4; ++x) {
    for (int y = -1; y <= 1; ++y) {
      table.getStatePtr()->setValueInt(0, x);
      table.getStatePtr()->setValueInt(1, y);
      table.setState();
      EXPECT_EQ(table.activeIndex, cell);
      ++cell;
    }
  }
  EXPECT_EQ(cell, table.ARRAY_SIZE);
}

TEST(StateLookupTable, ARangeOfOneValueGivesOneCell) {
  Table table(oneVariable(3, 3));
  EXPECT_EQ(table.ARRAY_SIZE, 1);
  EXPECT_EQ(table.indexOffset[0], 1);
  table.visit(3);
  EXPECT_EQ(table.activeIndex, 0);
}

TEST(StateLookupTable, AStateWithoutVariablesGivesOneCell) {
  Reports reports;
  Table table(new State);
  EXPECT_EQ(table.ARRAY_SIZE, 1);
  table.setState();
  EXPECT_EQ(table.getStateValue(), 0.0);
  EXPECT_EQ(table.activeIndex, 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, StartsAtZeroWithMapTracesAndWithoutAnActiveCell) {
  Reports reports;
  Table table(oneVariable());
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(table.traceStorage, Types::MAP);
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(table.storedActiveIndex, -1);
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, BothSidesHoldTheSameState) {
  State* const state = oneVariable();
  const Table table(state);
  EXPECT_EQ(table.getStatePtr(), state);
  EXPECT_EQ(table.stateOfTheCore(), state);
}

TEST(StateLookupTable, ConstructionSetsTheSharedConstantBackToZero) {
  Table first(oneVariable());
  first.setValue(3.5);
  EXPECT_EQ(Table::value, 3.5);
  const Table second(oneVariable());
  EXPECT_EQ(Table::value, 0.0);
  EXPECT_THAT(second.allWeights(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_EQ(second.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
}

TEST(StateLookupTable, ARealStateIsReportedAndGivesOneCell) {
  Reports reports;
  Table table(realVariables(1));
  EXPECT_THAT(errors(reports),
              testing::UnorderedElementsAre("State::getMaxValueInt: Not an Int-State!",
                                            "State::getMinValueInt: Not an Int-State!"));
  EXPECT_EQ(table.ARRAY_SIZE, 1);
  EXPECT_EQ(table.indexOffset[0], 1);
  EXPECT_THAT(table.allWeights(), ElementsAre(0));

  table.setState();
  EXPECT_EQ(errors(reports).size(), 2U) << "value and minimum";
  EXPECT_EQ(table.activeIndex, 0);
}

TEST(StateLookupTable, EveryLookAtTheRangesOfARealStateIsReported) {
  Reports reports;
  const Table table(realVariables(2));
  EXPECT_EQ(table.ARRAY_SIZE, 1);
  EXPECT_EQ(table.indexOffset[0], 1);
  EXPECT_EQ(table.indexOffset[1], 1);
  // Both ends: of the later variable for the first place value, then of each variable for the size.
  EXPECT_EQ(reports.errors(), std::vector<std::string>(2 + 4, "Not an Int-State!"));
}

TEST(StateLookupTable, WithoutAStateThereAreNoWeights) {
  Reports reports;
  Table table(static_cast<State*>(nullptr));
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0", NO_WEIGHTS}));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  table.setState();
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0"}));
  EXPECT_EQ(table.getStateValue(), LARGEST);
}

TEST(StateLookupTable, ATableOf65536Times65536CellsIsRefused) {
  Reports reports;
  State* const state = oneVariable(0, 65535);
  state->registerVariable("y", 0, 65535);
  Table table(state);
  EXPECT_EQ(reports.errors(), noMemoryReports("4294967296"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  table.setState();
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(table.getStateValue(), LARGEST);
}

TEST(StateLookupTable, ATableOverAllIntegersIsRefused) {
  Reports reports;
  Table table(oneVariable(INT_SMALLEST, INT_LARGEST));
  EXPECT_EQ(reports.errors(), noMemoryReports("4294967296"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  table.visit(INT_LARGEST);
  EXPECT_EQ(table.activeIndex, -1);
}

TEST(StateLookupTable, OneCellMoreThanAnIntCanCountIsRefused) {
  Reports reports;
  const Table table(oneVariable(0, INT_LARGEST));
  EXPECT_EQ(reports.errors(), noMemoryReports("2147483648"));
  EXPECT_EQ(table.ARRAY_SIZE, 0);

  State* const state = oneVariable(0, 65535);
  state->registerVariable("y", 0, 32767);
  const Table product(state);
  EXPECT_EQ(reports.errors(), noMemoryReports("2147483648"));
  EXPECT_EQ(product.weights, nullptr);
}

TEST(StateLookupTable, ASizeBeyondAllNumbersIsRefusedAsTheLargest) {
  Reports reports;
  State* const state = new State;
  for (int i = 0; i < 4; ++i) {
    state->registerVariable("x", INT_SMALLEST, INT_LARGEST);
  }
  const Table table(state);
  EXPECT_EQ(reports.errors(), noMemoryReports("9223372036854775807"));
  EXPECT_EQ(table.weights, nullptr);
}

TEST(StateLookupTable, PlaceValuesOfARefusedTableWrapAround) {
  Reports reports;
  State* const state = new State;
  state->registerVariable("a", 0, 1);
  state->registerVariable("b", 0, 65535);
  state->registerVariable("c", 0, 65534);
  state->registerVariable("d", 0, 2);
  const Table table(state);
  // 1, 3, 3 * 65535 = 196605, 196605 * 65536 = 3 * 2^32 - 3 * 65536
  EXPECT_THAT(std::vector<int>(table.indexOffset, table.indexOffset + 4),
              ElementsAre(-196608, 196605, 3, 1));
  EXPECT_EQ(reports.errors(), noMemoryReports("25769410560"));  // 2 * 65536 * 65535 * 3
}

TEST(StateLookupTable, ARangeThatEndsBeforeItBeginsIsRefusedAsANegativeSize) {
  Reports reports;
  State* const state = oneVariable();
  state->setMaxValueInt(0, -3);
  const Table table(state);
  EXPECT_EQ(reports.errors(), noMemoryReports("-2"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
}

TEST(StateLookupTable, AnEmptyRangeGivesATableWithoutCells) {
  Reports reports;
  State* const state = twoVariables();
  state->setMaxValueInt(1, -2);
  Table table(state);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(table.indexOffset[0], 0);
  EXPECT_EQ(table.indexOffset[1], 1);
  EXPECT_THAT(errors(reports), IsEmpty());
  table.visit(0);
  EXPECT_EQ(reports.errors(), messages({"index (1) out ouf bounds --> [0, 0)"}));  // y is 0
  EXPECT_EQ(table.getStateValue(), 0.0);
}

TEST(StateLookupTable, OnlyARandomInitialiserDraws) {
  EXPECT_EQ(countDraws([] { const Table table(twoVariables()); }), 0);
  Table table(twoVariables());
  EXPECT_EQ(countDraws([&] { table.initWeights(ValueFunction::getRandomInitializer()); }, 3), 15);
  EXPECT_EQ(table.weights[14], draw(3, 14) / 2147483648.0 - 0.5);
}

// ---- The value of a state ----

TEST(StateLookupTable, TheValueOfAStateIsTheWeightOfItsCell) {
  Table table(oneVariable(-2, 2));
  table.setWeights({1, 2, 3, 4, 5});
  for (int x = -2; x <= 2; ++x) {
    table.visit(x);
    EXPECT_EQ(table.getStateValue(), x + 3);
  }
}

TEST(StateLookupTable, TheValueIsThatOfTheLastSetState) {
  Table table(oneVariable());
  table.setWeights({1, 2, 3, 4, 5});
  table.visit(1);
  table.getStatePtr()->setValueInt(0, 3);
  EXPECT_EQ(table.getStateValue(), 2);
  table.setState();
  EXPECT_EQ(table.getStateValue(), 4);
}

TEST(StateLookupTable, TheValueWithoutAnActiveCellIsZero) {
  Reports reports;
  Table table(oneVariable());
  table.setWeights({1, 2, 3, 4, 5});
  EXPECT_EQ(Tables::bits({table.getStateValue()}), Tables::bits({0.0}));
  EXPECT_THAT(errors(reports), IsEmpty());

  table.visit(5);
  EXPECT_EQ(reports.errors(), messages({"index (5) out ouf bounds --> [0, 5)"}));
  EXPECT_EQ(table.getStateValue(), 0.0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, TheValueWithoutWeightsIsReportedAndTheLargestNumber) {
  Reports reports;
  Table table(static_cast<State*>(nullptr));
  reports.takeErrors();
  EXPECT_EQ(table.getStateValue(), LARGEST);
  EXPECT_EQ(errors(reports),
            messages({std::string("StateLookupTable::getStateValue: ") + NO_WEIGHTS}));
  table.activeIndex = 3;
  EXPECT_EQ(table.getStateValue(), LARGEST);
}

TEST(StateLookupTable, AnActiveCellThatALoadHasTakenAwayReadsAsZero) {
  Reports reports;
  Table table(oneVariable());
  table.visit(4);
  const MemoryFile file(block(0, {1}, 2, {7, 8}));
  ASSERT_EQ(table.load(file), 0);
  EXPECT_EQ(table.activeIndex, 4);
  EXPECT_EQ(table.getStateValue(), 0.0);
  table.activeIndex = 1;
  EXPECT_EQ(table.getStateValue(), 8);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Traces of the active cell ----

TEST(StateLookupTable, ReplacingTracesSetsTheTraceOfTheActiveCell) {
  Table map(oneVariable());
  map.visit(1);
  map.replacingTraces(1.0);
  map.visit(3);
  map.replacingTraces(0.5);
  map.replacingTraces(0.25);
  EXPECT_THAT(map.eTracesMap, ElementsAre(Pair(1, 1.0), Pair(3, 0.25)));

  Table array(oneVariable());
  array.setTraceStorage(Types::ARRAY);
  array.initEligibilityTraces();
  array.visit(1);
  array.replacingTraces(1.0);
  array.visit(3);
  array.replacingTraces(0.5);
  array.replacingTraces(0.25);
  EXPECT_THAT(array.arrayTraces(), ElementsAre(0, 1, 0, 0.25, 0));
}

TEST(StateLookupTable, ReplacingTwiceByOneLeavesOne) {
  Table table(oneVariable());
  table.visit(2);
  table.replacingTraces(1.0);
  table.replacingTraces(1.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 1.0)));
}

TEST(StateLookupTable, AccumulatingTracesAddsToTheTraceOfTheActiveCell) {
  Table map(oneVariable());
  map.visit(1);
  map.accumulatingTraces(0.5);
  map.visit(3);
  map.accumulatingTraces(1.0);
  map.accumulatingTraces(-0.25);
  EXPECT_THAT(map.eTracesMap, ElementsAre(Pair(1, 0.5), Pair(3, 0.75)));

  Table array(oneVariable());
  array.setTraceStorage(Types::ARRAY);
  array.initEligibilityTraces();
  array.visit(1);
  array.accumulatingTraces(0.5);
  array.visit(3);
  array.accumulatingTraces(1.0);
  array.accumulatingTraces(-0.25);
  EXPECT_THAT(array.arrayTraces(), ElementsAre(0, 0.5, 0, 0.75, 0));
}

TEST(StateLookupTable, AccumulatingTwiceOneLeavesTwo) {
  Table table(oneVariable());
  table.visit(2);
  table.accumulatingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 2.0)));
}

TEST(StateLookupTable, ANewEntryOfTheMapIsTheValueItself) {
  Table table(oneVariable());
  table.visit(2);
  table.accumulatingTraces(-0.0);  // 0.0 + -0.0 would be 0.0
  ASSERT_EQ(table.eTracesMap.size(), 1U);
  EXPECT_EQ(Tables::bits({table.eTracesMap[2]}), Tables::bits({-0.0}));
}

TEST(StateLookupTable, TracesNeedAnActiveCell) {
  Reports reports;
  Table table(oneVariable());
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.eTracesMap, IsEmpty());

  table.setTraceStorage(Types::ARRAY);
  table.initEligibilityTraces();
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, TracesLeaveTheStoredCellAndTheEpisodeAlone) {
  Table table(oneVariable());
  table.visit(1);
  table.storeState();
  table.visit(3);
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_EQ(table.storedActiveIndex, 1);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1));
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0));
}

TEST(StateLookupTable, TracesWithoutTheArrayAreReported) {
  Reports reports;
  Table table(oneVariable());
  table.setTraceStorage(Types::ARRAY);
  for (const int x : {2, 5}) {  // with and without an active cell
    table.visit(x);
    reports.takeErrors();
    table.replacingTraces(1.0);
    table.accumulatingTraces(1.0);
    EXPECT_EQ(errors(reports),
              messages({std::string("StateLookupTable::replacingTraces: ") + NO_ARRAY_TRACES,
                        std::string("StateLookupTable::accumulatingTraces: ") + NO_ARRAY_TRACES}));
  }
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0));
}

TEST(StateLookupTable, TracesInAnUnknownStorageAreReported) {
  Reports reports;
  Table table(oneVariable());
  table.setTraceStorage(Types::ARRAY);
  table.initEligibilityTraces();
  table.visit(2);
  table.setTraceStorage(UNKNOWN);
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_EQ(errors(reports),
            messages({"StateLookupTable::replacingTraces: Unknown traceStorage = 2",
                      "StateLookupTable::accumulatingTraces: Unknown traceStorage = 2"}));
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(table.eTracesMap, IsEmpty());
}

TEST(StateLookupTable, TracesOfACellThatALoadHasTakenAwayAreHarmless) {
  Table table(oneVariable());
  table.visit(4);
  const MemoryFile file(block(1, {1}, 2, {7, 8}));
  ASSERT_EQ(table.load(file), 0);
  table.initEligibilityTraces();
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0));
  table.setTraceStorage(Types::MAP);
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(7, 8));
}

// ---- Storing the state ----

TEST(StateLookupTable, StoreActiveIndexRemembersTheActiveCell) {
  Reports reports;
  Table table(oneVariable());
  table.visit(3);
  table.storeActiveIndex();
  EXPECT_EQ(table.storedActiveIndex, 3);
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  table.visit(5);
  table.storeActiveIndex();
  EXPECT_EQ(table.storedActiveIndex, -1);
}

TEST(StateLookupTable, StoreEpisodeStateRecordsTheActiveCell) {
  Reports reports;
  Table table(oneVariable());
  table.storeEpisodeState();
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  for (const int x : {3, 1, 3, 0, 5}) {
    table.visit(x);
    table.storeEpisodeState();
  }
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(0, 1, 3));
  EXPECT_EQ(table.storedActiveIndex, -1);
}

TEST(StateLookupTable, StoreStateDoesBothInThisOrder) {
  class Recording : public Table {
   public:
    using Table::Table;
    std::string calls;
    void storeActiveIndex() override { calls += "storeActiveIndex "; }
    void storeEpisodeState() override { calls += "storeEpisodeState "; }
  };
  Recording recording(oneVariable());
  recording.storeState();
  EXPECT_EQ(recording.calls, "storeActiveIndex storeEpisodeState ");

  Table table(oneVariable());
  table.visit(3);
  table.storeState();
  EXPECT_EQ(table.storedActiveIndex, 3);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(3));
}

TEST(StateLookupTable, TheEpisodeIsRecordedWhetherOrNotItsHistoryIsOn) {
  for (const bool history : {false, true}) {
    Table table(oneVariable());
    table.setEpisodeStateHistory(history);
    table.visit(1);
    table.storeState();
    EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1));
  }
}

TEST(StateLookupTable, TheHistoryCollectsCellsUntilItIsEmptied) {
  Table table(oneVariable());
  table.visit(1);
  table.storeState();
  table.initEligibilityTraces();
  table.visit(2);
  table.storeState();
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(1, 2));
  table.valueEpisode(0.5);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0.5, 0.5, 0, 0));
  table.initEpisodeStateHistory();
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
}

// ---- One object behind several interfaces ----

const double three() { return 3.0; }

// Drives the operations that all bases share and looks at what they did to the table.
template <typename Base>
void expectSharedOperationsThrough(Base& base, Table& table) {
  base.initWeights(three);
  EXPECT_THAT(table.allWeights(), ElementsAre(3, 3, 3, 3, 3));
  table.setWeights({-1, 2, 3, 4, 5});
  EXPECT_EQ(base.getMinWeight(), -1);
  EXPECT_EQ(base.getMaxWeight(), 5);
  EXPECT_EQ(base.getAvgWeight(false), 13.0 / 5);
  EXPECT_EQ(base.getAvgWeight(true), 3.0);

  table.getStatePtr()->setValueInt(0, 4);
  base.setState();
  EXPECT_EQ(table.activeIndex, 4);

  table.eTracesMap = {{1, 9.0}};
  base.initEligibilityTraces();
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  table.eTracesMap = {{1, 1.0}};
  base.updateEligibilityTraces(0.5, 0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.25)));
  base.updateWeights(2.0, 4.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(-1, 4, 3, 4, 5));

  table.episodeIndexHistorySet = {0};
  base.valueEpisode(7.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(6, 4, 3, 4, 5));
  base.initEpisodeStateHistory();
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
}

TEST(StateLookupTable, TheSharedOperationsDoTheSameThroughEveryBase) {
  Table table(oneVariable());
  expectSharedOperationsThrough<StateLookupTable>(table, table);
  expectSharedOperationsThrough<LookupTable>(table, table);
  expectSharedOperationsThrough<StateValueFunction>(table, table);
  expectSharedOperationsThrough<ValueFunction>(table, table);
}

TEST(StateLookupTable, TheLearnersReachTheTableThroughTheInterface) {
  Reports reports;
  Table table(oneVariable());
  StateValueFunction& base = table;
  table.visit(2);
  base.accumulatingTraces(0.5);
  base.accumulatingTraces(0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 1.0)));
  base.replacingTraces(0.25);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 0.25)));
  base.storeState();
  EXPECT_EQ(table.storedActiveIndex, 2);
  table.setWeights({-5, -1, 0.5, 1, 5});
  EXPECT_EQ(base.getStateValue(), 0.5);
  base.setMinWeightLimit(-2);
  base.setMaxWeightLimit(0.75);
  base.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-2, -1, 0.5, 0.75, 0.75));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// Every operation that both bases declare, overridden once more.
class Recording : public Table {
 public:
  using Table::Table;
  std::string calls;

  void initWeights(const double (*)()) override { calls += "initWeights "; }
  void initEligibilityTraces() override { calls += "initEligibilityTraces "; }
  void updateWeights(double, double) override { calls += "updateWeights "; }
  void updateEligibilityTraces(double, double) override { calls += "updateEligibilityTraces "; }
  const double getMinWeight() const override { return 1; }
  const double getAvgWeight(bool) const override { return 2; }
  const double getMaxWeight() const override { return 3; }
  void setState() override { calls += "setState "; }
  void initEpisodeStateHistory() override { calls += "initEpisodeStateHistory "; }
  void valueEpisode(double) override { calls += "valueEpisode "; }
};

template <typename Base>
std::string callsThrough(Base& base, Recording& recording) {
  recording.calls.clear();
  base.initWeights(three);
  base.initEligibilityTraces();
  base.updateWeights(0, 0);
  base.updateEligibilityTraces(0, 0);
  base.setState();
  base.initEpisodeStateHistory();
  base.valueEpisode(0);
  EXPECT_EQ(base.getMinWeight(), 1);
  EXPECT_EQ(base.getAvgWeight(true), 2);
  EXPECT_EQ(base.getMaxWeight(), 3);
  return recording.calls;
}

TEST(StateLookupTable, OneOverrideServesAllBases) {
  Recording table(oneVariable());
  const std::string all =
      "initWeights initEligibilityTraces updateWeights updateEligibilityTraces setState "
      "initEpisodeStateHistory valueEpisode ";
  EXPECT_EQ(callsThrough<LookupTable>(table, table), all);
  EXPECT_EQ(callsThrough<StateValueFunction>(table, table), all);
  EXPECT_EQ(callsThrough<ValueFunction>(table, table), all);
}

TEST(StateLookupTable, DeletingItThroughAnyBaseDestroysTheWholeTable) {
  class Mortal : public Table {
   public:
    Mortal(State* state, int& deathCounter) : Table(state), deaths(deathCounter) {}
    ~Mortal() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  LookupTable* const core = new Mortal(oneVariable(), deaths);
  delete core;
  EXPECT_EQ(deaths, 1);
  ValueFunction* const function = new Mortal(oneVariable(), deaths);
  delete function;
  EXPECT_EQ(deaths, 2);
  StateValueFunction* const stateFunction = new Mortal(oneVariable(), deaths);
  delete stateFunction;
  EXPECT_EQ(deaths, 3);
}

TEST(StateLookupTable, LimitsAreThoseOfTheValueFunctionOrTheCallers) {
  Table table(oneVariable());
  table.setWeights({-LARGEST, -1, 0, 1, LARGEST});
  table.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-LARGEST, -1, 0, 1, LARGEST));
  table.checkWeightLimit(-3, 3);
  EXPECT_THAT(table.allWeights(), ElementsAre(-3, -1, 0, 1, 3));
  table.setMinWeightLimit(-0.5);
  table.setMaxWeightLimit(0.5);
  table.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-0.5, -0.5, 0, 0.5, 0.5));
  table.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-0.5, -0.5, 0, 0.5, 0.5));
}

// ---- The block in a file ----

// Makes a protected operation of the core callable as it is called there: virtually.
class Core : public LookupTable {
 public:
  static const int load(LookupTable& table, FILE* file) {
    const int (LookupTable::*operation)(FILE*) = &Core::load;
    return (table.*operation)(file);
  }
  static const int save(const LookupTable& table, FILE* file) {
    const int (LookupTable::*operation)(FILE*) const = &Core::save;
    return (table.*operation)(file);
  }

 protected:
  using LookupTable::load;
  using LookupTable::save;
};

TEST(StateLookupTable, LoadGivesTheCoreTheStateOfTheValueFunction) {
  Table table(oneVariable());
  const MemoryFile file(block(0, {1}, 2, {7, 8}));
  table.setStatePtr(nullptr);
  EXPECT_EQ(table.load(file), 0);
  EXPECT_EQ(table.stateOfTheCore(), table.getStatePtr());

  table.setStatePtr(nullptr);
  file.rewind();
  EXPECT_EQ(Core::load(table, file), 0) << "through the core's interface";
  EXPECT_EQ(table.stateOfTheCore(), table.getStatePtr());
  EXPECT_THAT(table.allWeights(), ElementsAre(7, 8));
}

TEST(StateLookupTable, SavesTheBlockOfTheCore) {
  Table table(oneVariable());
  table.setTraceStorage(Types::ARRAY);
  table.setWeights({1, 2, 3, 4, 5});
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(1, {1}, 5, {1, 2, 3, 4, 5}));
  const MemoryFile throughTheCore;
  EXPECT_EQ(Core::save(table, throughTheCore), 0);
  EXPECT_EQ(throughTheCore.content(), file.content());
}

// ---- Named files ----

TEST(StateLookupTable, ANamedFileHoldsTheStateAndTheTable) {
  const TemporaryDirectory directory;
  Table table(oneVariable(-1, 0));
  table.setWeights({1.0, -2.0});
  EXPECT_EQ(table.save(directory.file("v")), 0);
  EXPECT_EQ(readFile(directory.file("v")),
            std::string("\x01\x00\x00\x00"                   // one variable
                        "\x01\x00\x00\x00"                   // of integers
                        "\x01\x00\x00\x00"                   // with a name of one byte
                        "x"                                  //
                        "\xFF\xFF\xFF\xFF"                   // from -1
                        "\x00\x00\x00\x00"                   // to 0
                        "\x00\x00\x00\x00"                   // MAP
                        "\x01\x00\x00\x00"                   // place value
                        "\x02\x00\x00\x00"                   // cells
                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                        "\x00\x00\x00\x00\x00\x00\x00\xC0",  // -2.0
                        49));
}

TEST(StateLookupTable, ATableBuiltFromAFileEqualsTheSavedOne) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(twoVariables());
  table.setTraceStorage(Types::ARRAY);
  table.setWeights(Tables::ascending(15));
  ASSERT_EQ(table.save(directory.file("v")), 0);

  Table copy(directory.file("v"));
  EXPECT_EQ(copy.ARRAY_SIZE, 15);
  EXPECT_EQ(copy.indexOffset[0], 3);
  EXPECT_EQ(copy.indexOffset[1], 1);
  EXPECT_EQ(copy.traceStorage, Types::ARRAY);
  EXPECT_EQ(copy.allWeights(), table.allWeights());
  EXPECT_EQ(copy.eTraces, nullptr);
  EXPECT_EQ(copy.activeIndex, -1);
  EXPECT_EQ(copy.storedActiveIndex, -1);
  ASSERT_NE(copy.getStatePtr(), nullptr);
  EXPECT_EQ(copy.stateOfTheCore(), copy.getStatePtr());
  EXPECT_EQ(copy.getStatePtr()->getMinValueInt(1), -1);

  copy.setState();  // at the middle of the ranges: x = 2, y = 0
  EXPECT_EQ(copy.getStateValue(), 8);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, SavingLoadingAndSavingGivesTheSameBytes) {
  const TemporaryDirectory directory;
  Table table(twoVariables());
  std::mt19937 random(1);
  for (int i = 0; i < 15; ++i) {
    table.weights[i] = std::ldexp(static_cast<double>(random()) - 2e9, -20);
  }
  ASSERT_EQ(table.save(directory.file("first")), 0);
  Table copy(directory.file("first"));
  ASSERT_EQ(copy.save(directory.file("second")), 0);
  EXPECT_EQ(readFile(directory.file("second")), readFile(directory.file("first")));

  Table other(oneVariable());
  ASSERT_EQ(other.load(directory.file("first")), 0);
  ASSERT_EQ(other.save(directory.file("third")), 0);
  EXPECT_EQ(readFile(directory.file("third")), readFile(directory.file("first")));
}

TEST(StateLookupTable, VariablesRegisteredAfterTheTableWasBuiltSurviveAFileWithoutEffect) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(oneVariable());
  table.setWeights({1, 2, 3, 4, 5});
  table.getStatePtr()->registerVariable("late", 0, 9);
  ASSERT_EQ(table.save(directory.file("v")), 0);
  EXPECT_EQ(readFile(directory.file("v")), bytes(2U) + bytes(1) + variableRecord("x", 0, 4) +
                                               variableRecord("late", 0, 9) +
                                               block(0, {1, 0}, 5, {1, 2, 3, 4, 5}));

  Table copy(directory.file("v"));
  copy.getStatePtr()->setValueInt(1, 8);
  copy.visit(3);
  EXPECT_EQ(copy.getStateValue(), 4);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, ConstructionFromAFileSetsTheSharedConstantBackToZero) {
  const TemporaryDirectory directory;
  Table table(oneVariable());
  ASSERT_EQ(table.save(directory.file("v")), 0);
  table.setValue(3.5);
  const Table copy(directory.file("v"));
  EXPECT_EQ(Table::value, 0.0);
  EXPECT_EQ(copy.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
}

TEST(StateLookupTable, AMissingFileGivesATableWithoutStateAndWeights) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(directory.file("none"));
  EXPECT_EQ(errors(reports),
            messages({"StateValueFunction::load: " + errnoMessage(ENOENT, " --> ")}));
  EXPECT_EQ(table.getStatePtr(), nullptr);
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(Table::value, 0.0);
  EXPECT_EQ(table.getStateValue(), LARGEST);
  EXPECT_EQ(reports.errors(), messages({NO_WEIGHTS}));
  table.setState();
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0"}));
}

TEST(StateLookupTable, AFailedLoadOfAMissingFileChangesNothing) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(oneVariable());
  table.setWeights({1, 2, 3, 4, 5});
  EXPECT_EQ(table.load(directory.file("none")), -1);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

// A call of every operation, none of which may mind that there are no weights.
void callEverything(Table& table) {
  table.setState();
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    table.setTraceStorage(storage);
    table.replacingTraces(1.0);
    table.updateWeights(1.0, 1.0);
    table.initEligibilityTraces();
    table.accumulatingTraces(1.0);
    table.replacingTraces(1.0);
    table.updateEligibilityTraces(0.5, 0.5);
    table.updateWeights(1.0, 1.0);
  }
  table.storeState();
  table.updateWeights(1.0, 1.0);
  table.valueEpisode(1.0);
  table.initEpisodeStateHistory();
  table.initWeights(three);
  table.checkWeightLimit();
  EXPECT_EQ(table.getStateValue(), LARGEST);
  EXPECT_EQ(table.getMinWeight(), LARGEST);
  EXPECT_EQ(table.getMaxWeight(), -LARGEST);
  EXPECT_EQ(table.getAvgWeight(false), 0.0);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), -1);
}

const std::string NAMED_FILE =
    bytes(1U) + bytes(1) + variableRecord("x", 0, 2) + block(1, {1}, 3, {1, 2, 3});

TEST(StateLookupTable, AFileCutAnywhereGivesATableWithoutWeights) {
  const TemporaryDirectory directory;
  ASSERT_EQ(NAMED_FILE.size(), 57U);
  for (std::size_t size = 0; size < NAMED_FILE.size(); ++size) {
    Reports reports;
    writeFile(directory.file("v"), NAMED_FILE.substr(0, size));
    Table table(directory.file("v"));
    EXPECT_EQ(errors(reports).back(), "StateValueFunction::load: loading valuefunction failed")
        << size;
    EXPECT_EQ(table.weights, nullptr) << size;
    EXPECT_EQ(table.ARRAY_SIZE, 0) << size;
    callEverything(table);
    reports.takeErrors();
  }
  Reports reports;
  writeFile(directory.file("v"), NAMED_FILE);
  const Table table(directory.file("v"));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, LoadingACutFileReturnsAFailure) {
  const TemporaryDirectory directory;
  for (std::size_t size = 0; size < NAMED_FILE.size(); ++size) {
    Reports reports;
    writeFile(directory.file("v"), NAMED_FILE.substr(0, size));
    Table table(oneVariable());
    table.visit(4);
    table.storeState();
    EXPECT_EQ(table.load(directory.file("v")), -1) << size;
    // Without number and kind of the variables the block is not reached.
    EXPECT_EQ(reports.errors().back(),
              size < 8 ? "loading state failed" : "loading valuefunction failed");
    if (size >= 8) {
      EXPECT_EQ(table.weights, nullptr) << size;
      callEverything(table);
    }
    reports.takeErrors();
  }
}

TEST(StateLookupTable, AFileWithAnUnknownTraceStorageIsLoaded) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("v"),
            bytes(1U) + bytes(1) + variableRecord("x", 0, 2) + block(-7, {1}, 3, {1, 2, 3}));
  Table table(directory.file("v"));
  EXPECT_THAT(errors(reports), IsEmpty());
  table.visit(2);
  EXPECT_EQ(table.getStateValue(), 3);
  table.replacingTraces(1.0);
  EXPECT_EQ(errors(reports),
            messages({"StateLookupTable::replacingTraces: Unknown traceStorage = -7"}));
}

TEST(StateLookupTable, AFileMayGiveFewerOrMoreCellsThanItsRanges) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("v"),
            bytes(1U) + bytes(1) + variableRecord("x", 0, 9) + block(0, {2}, 3, {1, 2, 3}));
  Table table(directory.file("v"));
  table.visit(1);
  EXPECT_EQ(table.getStateValue(), 3);
  table.visit(2);
  EXPECT_EQ(reports.errors(), messages({"index (4) out ouf bounds --> [0, 3)"}));
  EXPECT_EQ(table.getStateValue(), 0.0);
}

TEST(StateLookupTable, HostileCountsInAFileAskForNoMemory) {
  const TemporaryDirectory directory;
  const std::string state = bytes(1U) + bytes(1) + variableRecord("x", 0, 2);
  const std::vector<std::string> contents{
      state + block(0, {1}, 4, {1, 2, 3}),
      state + block(0, {1}, INT_LARGEST, {1, 2, 3}),
      state + block(0, {1}, -1, {1, 2, 3}),
      state + block(0, {1}, INT_SMALLEST, {1, 2, 3}),
      bytes(1U) + bytes(1) + bytes(4294967295U),
      bytes(1U) + bytes(1) + bytes(2147483648U) + "x",
      bytes(4294967295U) + bytes(1),
  };
  for (const std::string& content : contents) {
    Reports reports;
    writeFile(directory.file("v"), content);
    std::size_t largestRequest = 0;
    std::unique_ptr<Table> table;
    {
      const FailingNew memory;
      table = std::make_unique<Table>(directory.file("v"));
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 1U << 17U) << "of a name, read piece by piece";
    EXPECT_EQ(reports.errors().back(), "loading valuefunction failed");
    EXPECT_EQ(table->weights, nullptr);
    EXPECT_EQ(table->ARRAY_SIZE, 0);
    callEverything(*table);
    reports.takeErrors();
  }
}

// A pipe with content, which can be opened by a name.
class Pipe {
 public:
  explicit Pipe(const std::string& content) {
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_EQ(write(ends[1], content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(ends[1]);
  }
  ~Pipe() { close(ends[0]); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  std::string name() const { return "/dev/fd/" + std::to_string(ends[0]); }

 private:
  int ends[2] = {-1, -1};
};

TEST(StateLookupTable, ATableComesThroughAPipe) {
  Reports reports;
  const Pipe pipe(NAMED_FILE);
  const Table table(pipe.name());
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateLookupTable, APipeWithAHugeCountIsFollowedToItsEnd) {
  const std::string state = bytes(1U) + bytes(1) + variableRecord("x", 0, 2);
  for (const std::string& content :
       {state + block(0, {1}, INT_LARGEST, {1, 2, 3}), state + block(0, {1}, INT_SMALLEST, {1}),
        bytes(1U) + bytes(1) + bytes(4294967295U) + "x", bytes(4294967295U) + bytes(1) + state}) {
    Reports reports;
    const Pipe pipe(content);
    Table table(pipe.name());
    EXPECT_EQ(reports.errors().back(), "loading valuefunction failed");
    EXPECT_EQ(table.weights, nullptr);
    callEverything(table);
    reports.takeErrors();
  }
}

TEST(StateLookupTable, SavingWithoutWeightsFailsBehindTheState) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(oneVariable(0, INT_LARGEST));
  reports.takeErrors();
  EXPECT_EQ(table.save(directory.file("v")), -1);
  EXPECT_EQ(errors(reports), messages({std::string("LookupTable::save: ") + NO_WEIGHTS,
                                       "StateValueFunction::save: saving valuefunction failed"}));
}

TEST(StateLookupTable, AFullDiskFailsTheSave) {
  Reports reports;
  Table table(oneVariable());
  EXPECT_EQ(table.save("/dev/full"), -1) << "the file fails when it is closed";
  EXPECT_EQ(errors(reports),
            messages({"StateValueFunction::save: " + errnoMessage(ENOSPC, " --> ")}));

  Table large(oneVariable(0, 9999));
  EXPECT_EQ(large.save("/dev/full"), -1);
  EXPECT_EQ(errors(reports), messages({"LookupTable::save: " + errnoMessage(ENOSPC, "  -->  "),
                                       "StateValueFunction::save: saving valuefunction failed"}));
}

TEST(StateLookupTable, ABlockStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  Table table(oneVariable(0, 2));
  table.setWeights({1, 2, 3});
  const std::string whole = block(0, {1}, 3, {1, 2, 3});
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(table.save(file), -1) << limit;
    EXPECT_EQ(errors(reports), messages({"LookupTable::save: " + errnoMessage(EIO, "  -->  ")}));
    EXPECT_EQ(file.written(), whole.substr(0, limit));
  }
}

// ---- Free oracles ----

// The same random sequence of operations for every table; `step` differs between them.
void runRandomOperations(Table& table, unsigned int seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned int limit) { return static_cast<int>(random() % limit); };
  const auto number = [&] { return static_cast<double>(below(2000001)) / 1e6 - 1.0; };
  table.initEligibilityTraces();
  for (int i = 0; i < 2000; ++i) {
    switch (below(9)) {
      case 0:
        table.updateEligibilityTraces(number(), number());
        break;
      case 1:
        table.replacingTraces(number());
        break;
      case 2:
        table.accumulatingTraces(number());
        break;
      case 3:
        // An empty map leaves the update to the stored cell, an array of zeros does not.
        if (table.storedActiveIndex == -1 && table.traceStorage == Types::MAP &&
            table.eTracesMap.empty()) {
          random.discard(2);
          break;
        }
        table.updateWeights(number(), number());
        break;
      case 4:
        table.setMinWeightLimit(-0.5 + number() * 0.1);
        table.setMaxWeightLimit(0.5 + number() * 0.1);
        table.checkWeightLimit();
        break;
      case 5:
        if (below(20) == 0) {
          table.initEligibilityTraces();
        }
        break;
      case 6:
        table.storeEpisodeState();
        if (!table.episodeIndexHistorySet.empty() && below(5) == 0) {
          table.valueEpisode(number());
          table.initEpisodeStateHistory();
        }
        break;
      default:
        table.getStatePtr()->setValueInt(0, below(7) - 1);  // now and then outside the table
        table.getStatePtr()->setValueInt(1, below(3) - 1);
        table.setState();
    }
  }
}

TEST(StateLookupTable, MapAndArrayLearnTheSameWeightsBitForBit) {
  for (unsigned int seed = 1; seed <= 10; ++seed) {
    Reports reports;
    Table map(twoVariables());
    Table array(twoVariables());
    array.setTraceStorage(Types::ARRAY);
    runRandomOperations(map, seed);
    runRandomOperations(array, seed);
    reports.takeErrors();
    EXPECT_EQ(Tables::bits(map.allWeights()), Tables::bits(array.allWeights())) << "seed " << seed;
    EXPECT_GT(map.getMaxWeight(), map.getMinWeight()) << "nothing learnt with seed " << seed;
    for (const auto& entry : map.eTracesMap) {
      EXPECT_EQ(entry.second, array.eTraces[entry.first]) << "seed " << seed;
    }
  }
}

// Learns along a random walk by TD(0), with traces of one step or without.
std::vector<double> learnAlongAWalk(Types::TRACE_STORAGE storage, bool traces, unsigned int seed) {
  std::mt19937 random(seed);
  Table table(oneVariable());
  table.setTraceStorage(storage);
  for (int episode = 0; episode < 50; ++episode) {
    int x = 2;
    table.visit(x);
    if (traces) {
      table.initEligibilityTraces();
    }
    while (x > 0 && x < 4) {
      const double before = table.getStateValue();
      if (traces) {
        table.updateEligibilityTraces(0.9, 0.0);
        table.replacingTraces(1.0);
      } else {
        table.storeState();
      }
      x += random() % 2 == 0 ? -1 : 1;
      table.visit(x);
      const double reward = x == 4 ? 1.0 : 0.0;
      table.updateWeights(0.1, reward + 0.9 * table.getStateValue() - before);
    }
  }
  return table.allWeights();
}

TEST(StateLookupTable, ReplacingTracesWithoutDecayEqualNoTraces) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    const std::vector<double> plain = learnAlongAWalk(Types::MAP, false, seed);
    EXPECT_GT(plain[3], 0.0) << "nothing learnt with seed " << seed;
    const std::string learnt = Tables::bits(plain);
    EXPECT_EQ(Tables::bits(learnAlongAWalk(Types::ARRAY, false, seed)), learnt) << seed;
    EXPECT_EQ(Tables::bits(learnAlongAWalk(Types::MAP, true, seed)), learnt) << seed;
    EXPECT_EQ(Tables::bits(learnAlongAWalk(Types::ARRAY, true, seed)), learnt) << seed;
  }
}

// ---- Short memory ----

class StateLookupTableInShortMemory : public Tables::InShortMemory {};

TEST_F(StateLookupTableInShortMemory, ATableThatCanNotBeHadIsReportedAndHasNoWeights) {
  for (const int call : {1, 2}) {
    Reports reports;
    State* const state = oneVariable(0, INT_LARGEST - 1);
    std::unique_ptr<Table> table;
    {
      // The table's own memory is the first request.
      const FailingNew memory(FailingNew::ONE, call + 1);
      EXPECT_NO_THROW(table = std::make_unique<Table>(state));
    }
    EXPECT_EQ(reports.errors(),
              messages({call == 1 ? "Can not allocate memory for 1 entries of 4 bytes!"
                                  : "Can not allocate memory for 2147483647 entries of 8 bytes!",
                        NO_WEIGHTS}));
    EXPECT_EQ(table->weights, nullptr);
    EXPECT_EQ(table->getStateValue(), LARGEST);
    table->updateWeights(1.0, 1.0);
    EXPECT_EQ(reports.errors(), messages({NO_WEIGHTS, NO_WEIGHTS}));
  }
}

TEST_F(StateLookupTableInShortMemory, ATraceThatCanNotBeHadIsReported) {
  const auto expectReport = [](const std::function<void(Table&)>& rule, const char* function) {
    Reports reports;
    Table table(oneVariable());
    table.visit(2);
    {
      const FailingNew memory(FailingNew::ONE, 1);
      EXPECT_NO_THROW(rule(table));
    }
    EXPECT_THAT(errors(reports),
                ElementsAre(StartsWith(std::string("StateLookupTable::") + function +
                                       ": Can not allocate memory for ")));
    EXPECT_THAT(table.eTracesMap, IsEmpty());
    rule(table);
    EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 1.0)));
  };
  expectReport([](Table& table) { table.replacingTraces(1.0); }, "replacingTraces");
  expectReport([](Table& table) { table.accumulatingTraces(1.0); }, "accumulatingTraces");
}

TEST_F(StateLookupTableInShortMemory, AVisitedCellThatCanNotBeRecordedIsReported) {
  Reports reports;
  Table table(oneVariable());
  table.visit(2);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(table.storeState());
  }
  EXPECT_THAT(reports.errors(), ElementsAre(StartsWith("Can not allocate memory for ")));
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(table.storedActiveIndex, 2);
}

TEST_F(StateLookupTableInShortMemory, ConstructionFromAFileNeverThrows) {
  const TemporaryDirectory directory;
  const std::string name = directory.file("v");
  writeFile(name, NAMED_FILE);
  int call = 1;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    std::unique_ptr<Table> table;
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(table = std::make_unique<Table>(name)) << call;
      failed = memory.failed();
    }
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(reports.errors().empty(), !failed) << call;
    if (!failed) {
      EXPECT_THAT(table->allWeights(), ElementsAre(1, 2, 3));
    }
  }
  EXPECT_GE(call, 5) << "state, variable, place values and weights at least";
}

TEST_F(StateLookupTableInShortMemory, NoOperationThrowsWhenMemoryIsUsedUp) {
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Reports reports;
    Table table(oneVariable());
    table.setTraceStorage(storage);
    table.visit(2);
    {
      const FailingNew memory(FailingNew::ALL_FROM, 1);
      EXPECT_NO_THROW({
        table.initEligibilityTraces();
        table.replacingTraces(1.0);
        table.accumulatingTraces(1.0);
        table.storeState();
        table.updateEligibilityTraces(0.9, 0.5);
        table.updateWeights(1.0, 1.0);
        table.valueEpisode(1.0);
      });
    }
    std::cerr.clear();  // the reports have run out of memory, too
    // Without traces the update goes to the stored cell.
    EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 1, 0, 0));
    reports.errorText();
  }
}

}  // namespace
