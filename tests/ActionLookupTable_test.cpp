#include <gmock/gmock.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/ActionLookupTable.h>
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
class Table : public ActionLookupTable {
 public:
  using ActionLookupTable::ActionLookupTable;

  // A created table with so many actions.
  Table(State* state, int actions) : ActionLookupTable(state) {
    addActions(actions);
    ActionLookupTable::create();
  }

  using ActionLookupTable::load;
  using ActionLookupTable::removeAction;
  using ActionLookupTable::save;
  using ActionValueFunction::ACTIONS;
  using ActionValueFunction::activeActionIndex;
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
  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::value;

  State* stateOfTheCore() const { return LookupTable::statePtr; }

  void addActions(int count) {
    for (int i = 0; i < count; ++i) {
      registerAction(new AbstractAction);
    }
  }

  std::vector<double> firstWeights(int count) const {
    return std::vector<double>(weights, weights + count);
  }
  std::vector<double> allWeights() const { return firstWeights(ARRAY_SIZE); }

  std::vector<double> arrayTraces() const {
    return std::vector<double>(eTraces, eTraces + ARRAY_SIZE);
  }

  std::vector<int> placeValues() const {
    return std::vector<int>(indexOffset, indexOffset + getStatePtr()->getNumberOfVariables());
  }

  void setWeights(const std::vector<double>& list) { std::copy(list.begin(), list.end(), weights); }

  void setArrayTraces(const std::vector<double>& traces) {
    setTraceStorage(Types::ARRAY);
    initEligibilityTraces();
    std::copy(traces.begin(), traces.end(), eTraces);
  }

  // Makes the cell of a state of one variable active, and an action.
  void visit(int x, int action) {
    getStatePtr()->setValueInt(0, x);
    setState();
    activeActionIndex = action;
  }
};

// A state of the variable x in [0, 4], or of another range.
State* oneVariable(int min = 0, int max = 4) {
  auto* const state = new State;
  state->registerVariable("x", min, max);
  return state;
}

// A state of the variables x in [0, 1] and y in [0, 2].
State* twoVariables() {
  State* const state = oneVariable(0, 1);
  state->registerVariable("y", 0, 2);
  return state;
}

State* realVariables(int count) {
  auto* const state = new State;
  for (int i = 0; i < count; ++i) {
    state->registerVariable("x", 0.0, 9.0);
  }
  return state;
}

std::vector<std::string> from(const char* function, const std::string& message) {
  return messages({std::string("ActionLookupTable::") + function + ": " + message});
}

std::string outOfBounds(int index, int actions) {
  return "actionIndex[" + std::to_string(index) + "] out of bounds [ 0, " +
         std::to_string(actions) + ")";
}

std::vector<std::string> noMemoryReports(const std::string& cells) {
  return messages({"Can not allocate memory for " + cells + " entries of 8 bytes!", NO_WEIGHTS});
}

// ---- Construction ----

TEST(ActionLookupTable, HasNoWeightsBeforeCreate) {
  Reports reports;
  const Table table(oneVariable());
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.indexOffset, nullptr);
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(table.traceStorage, Types::MAP);
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(table.storedActiveIndex, -1);
  EXPECT_EQ(table.ACTIONS, 0);
  EXPECT_EQ(table.activeActionIndex, -1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, BothSidesHoldTheSameState) {
  State* const state = oneVariable();
  const Table table(state);
  EXPECT_EQ(table.getStatePtr(), state);
  EXPECT_EQ(table.stateOfTheCore(), state);
}

TEST(ActionLookupTable, ConstructionSetsTheSharedConstantBackToZero) {
  Table first(oneVariable());
  first.setValue(3.5);
  const Table second(oneVariable());
  EXPECT_EQ(Table::value, 0.0);
  EXPECT_EQ(second.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
}

class MortalAction : public AbstractAction {
 public:
  explicit MortalAction(int& deathCounter) : deaths(deathCounter) {}
  ~MortalAction() override { ++deaths; }

 private:
  int& deaths;
};

TEST(ActionLookupTable, DeletingItThroughAnyBaseDestroysTheWholeTable) {
  int deaths = 0;
  const auto newTable = [&] {
    auto* const table = new Table(oneVariable(), 1);
    table->registerAction(new MortalAction(deaths));
    return table;
  };
  LookupTable* const core = newTable();
  delete core;
  EXPECT_EQ(deaths, 1);
  ValueFunction* const function = newTable();
  delete function;
  EXPECT_EQ(deaths, 2);
  ActionValueFunction* const actionFunction = newTable();
  delete actionFunction;
  EXPECT_EQ(deaths, 3);
}

// ---- Creating the table ----

TEST(ActionLookupTable, TheWeightsOfTheActionsOfAStateAreAdjacent) {
  Table table(oneVariable(), 3);
  EXPECT_EQ(table.ARRAY_SIZE, 15);
  EXPECT_THAT(table.placeValues(), ElementsAre(3));
  table.setWeights(Tables::ascending(15));
  table.visit(2, -1);
  EXPECT_EQ(table.activeIndex, 6);
  EXPECT_EQ(table.getActionValue(1), table.weights[7]);
}

TEST(ActionLookupTable, PlaceValuesAreTheProductsOfTheActionsAndTheLaterRanges) {
  const Table table(twoVariables(), 2);
  EXPECT_THAT(table.placeValues(), ElementsAre(6, 2));
  EXPECT_EQ(table.ARRAY_SIZE, 12);

  State* const state = new State;
  state->registerVariable("a", 10, 11);
  state->registerVariable("b", -2, 0);
  state->registerVariable("c", 0, 4);
  state->registerVariable("d", 7, 7);
  const Table larger(state, 7);
  EXPECT_THAT(larger.placeValues(), ElementsAre(105, 35, 7, 7));
  EXPECT_EQ(larger.ARRAY_SIZE, 210);
}

TEST(ActionLookupTable, EveryCombinationOfValuesAndActionHasAWeightOfItsOwn) {
  Table table(twoVariables(), 2);
  table.setWeights(Tables::ascending(12));
  double expected = 1;
  for (int x = 0; x <= 1; ++x) {
    for (int y = 0; y <= 2; ++y) {
      table.getStatePtr()->setValueInt(0, x);
      table.getStatePtr()->setValueInt(1, y);
      table.setState();
      for (int action = 0; action < 2; ++action) {
        EXPECT_EQ(table.getActionValue(action), expected);
        ++expected;
      }
    }
  }
}

TEST(ActionLookupTable, AStateWithoutVariablesHasAWeightPerAction) {
  Reports reports;
  Table table(new State, 3);
  EXPECT_EQ(table.ARRAY_SIZE, 3);
  table.setState();
  EXPECT_EQ(table.activeIndex, 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, CreateStartsAtZero) {
  Reports reports;
  const Table table(oneVariable(0, 1), 3);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, CreateStartsAtTheConstantSetAfterConstruction) {
  Table table(oneVariable(0, 1));
  table.setValue(2.5);
  table.addActions(2);
  table.create();
  EXPECT_THAT(table.allWeights(), ElementsAre(2.5, 2.5, 2.5, 2.5));
  table.setValue(0.0);
}

int initialiserCalls = 0;

const double countingInitialiser() {
  ++initialiserCalls;
  return initialiserCalls * 0.5;
}

TEST(ActionLookupTable, CreateCallsTheInitialiserOncePerCellInTheOrderOfCells) {
  Table table(oneVariable(0, 1));
  table.addActions(3);
  table.setInitWeightsFunctionPtr(countingInitialiser);
  initialiserCalls = 0;
  table.create();
  EXPECT_EQ(initialiserCalls, 6);
  EXPECT_THAT(table.allWeights(), ElementsAre(0.5, 1.0, 1.5, 2.0, 2.5, 3.0));
}

TEST(ActionLookupTable, OnlyARandomInitialiserDraws) {
  Table table(oneVariable(0, 1));
  table.addActions(3);
  EXPECT_EQ(countDraws([&] { table.create(); }), 0);
  table.setInitWeightsFunctionPtr(ValueFunction::getRandomInitializer());
  EXPECT_EQ(countDraws([&] { table.create(); }, 3), 6);
  EXPECT_EQ(table.weights[5], draw(3, 5) / 2147483648.0 - 0.5);
}

TEST(ActionLookupTable, CreateUsesTheVirtualAllocationOfWeightsAndTheVirtualInitWeights) {
  class Recording : public Table {
   public:
    using Table::Table;
    std::string calls;
    void allocateMemory() override { calls += "allocateMemory "; }
    double* allocateMemoryWeights() override {
      calls += "allocateMemoryWeights(" + std::to_string(ARRAY_SIZE) + ") ";
      return LookupTable::allocateMemoryWeights();
    }
    void initWeights(const double (*function)()) override {
      calls += function == countingInitialiser ? "initWeights " : "? ";
    }
  };
  Recording table(oneVariable());
  table.addActions(3);
  table.setInitWeightsFunctionPtr(countingInitialiser);
  table.create();
  EXPECT_EQ(table.calls, "allocateMemoryWeights(15) initWeights ");
  ASSERT_NE(table.indexOffset, nullptr) << "the place values are the core's own affair";
  table.setWeights(std::vector<double>(15, 0.0));
}

TEST(ActionLookupTable, CreateWithoutActionsIsReportedAndAllocatesNothing) {
  Reports reports;
  Table table(oneVariable());
  table.create();
  EXPECT_EQ(errors(reports), from("create", "No actions registered! --> Register actions first!"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.indexOffset, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
}

TEST(ActionLookupTable, ARefusedCreateKeepsTheTableThatIsThere) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.setWeights({1, 2, 3, 4});
  table.ACTIONS = 0;
  table.create();
  table.ACTIONS = -1;
  table.create();
  EXPECT_EQ(reports.errors(),
            std::vector<std::string>(2, "No actions registered! --> Register actions first!"));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4));
}

TEST(ActionLookupTable, ASecondCreateMakesTheTableAnew) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.setWeights({1, 2, 3, 4});
  table.setArrayTraces({1, 1, 1, 1});
  table.addActions(1);
  table.create();
  EXPECT_EQ(table.ARRAY_SIZE, 6);
  EXPECT_THAT(table.placeValues(), ElementsAre(3));
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0, 0));

  // Traces of the smaller table are not taken for those of the larger one.
  table.initEligibilityTraces();
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0, 0, 0));
  table.visit(1, 2);
  table.replacingTraces(1.0);
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0, 1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, ASecondCreateTakesInVariablesRegisteredSince) {
  Table table(oneVariable(0, 1), 2);
  table.getStatePtr()->registerVariable("late", 0, 2);
  table.create();
  EXPECT_THAT(table.placeValues(), ElementsAre(6, 2));
  EXPECT_EQ(table.ARRAY_SIZE, 12);
}

TEST(ActionLookupTable, TracesOfALargerTableAreIgnoredAfterASecondCreate) {
  Reports reports;
  Table table(oneVariable(), 3);
  table.visit(4, 2);
  table.replacingTraces(1.0);
  table.storeState();
  table.getStatePtr()->setMaxValueInt(0, 1);
  table.create();
  EXPECT_EQ(table.ARRAY_SIZE, 6);
  table.updateWeights(1.0, 1.0);
  table.initEligibilityTraces();
  table.updateWeights(1.0, 1.0);
  table.valueEpisode(1.0);
  EXPECT_EQ(table.getActionValue(0), 0.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, ARealStateIsReportedAndHasAWeightPerAction) {
  Reports reports;
  Table table(realVariables(1), 3);
  EXPECT_THAT(errors(reports),
              testing::UnorderedElementsAre("State::getMaxValueInt: Not an Int-State!",
                                            "State::getMinValueInt: Not an Int-State!"));
  EXPECT_EQ(table.ARRAY_SIZE, 3);
  EXPECT_THAT(table.placeValues(), ElementsAre(3));
  table.setState();
  EXPECT_EQ(table.activeIndex, 0);
}

TEST(ActionLookupTable, EveryLookAtTheRangesOfARealStateIsReported) {
  Reports reports;
  const Table table(realVariables(2), 3);
  EXPECT_EQ(table.ARRAY_SIZE, 3);
  EXPECT_THAT(table.placeValues(), ElementsAre(3, 3));
  // Both ends: of the later variable for the first place value, then of each variable for the size.
  EXPECT_EQ(reports.errors(), std::vector<std::string>(2 + 4, "Not an Int-State!"));
}

TEST(ActionLookupTable, CreateWithoutAStateIsReported) {
  Reports reports;
  Table table(static_cast<State*>(nullptr), 2);
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0", NO_WEIGHTS}));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(table.getActionValue(0), LARGEST);
}

TEST(ActionLookupTable, ATableOf65536Times65536StatesIsRefused) {
  Reports reports;
  State* const state = oneVariable(0, 65535);
  state->registerVariable("y", 0, 65535);
  Table table(state, 2);
  EXPECT_EQ(reports.errors(), noMemoryReports("8589934592"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_THAT(table.placeValues(), ElementsAre(131072, 2));
  table.setState();
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(table.getActionValue(0), LARGEST);
}

TEST(ActionLookupTable, ATableOverAllIntegersIsRefused) {
  Reports reports;
  const Table table(oneVariable(INT_SMALLEST, INT_LARGEST), 1);
  EXPECT_EQ(reports.errors(), noMemoryReports("4294967296"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
}

TEST(ActionLookupTable, OneCellMoreThanAnIntCanCountIsRefused) {
  Reports reports;
  const Table table(oneVariable(0, 1073741823), 2);
  EXPECT_EQ(reports.errors(), noMemoryReports("2147483648"));
  EXPECT_EQ(table.weights, nullptr);
}

TEST(ActionLookupTable, ASecondCreateThatIsRefusedLeavesNoWeights) {
  Reports reports;
  Table table(oneVariable(), 2);
  table.setArrayTraces(std::vector<double>(10, 1.0));
  table.getStatePtr()->setMaxValueInt(0, INT_LARGEST);
  table.create();
  EXPECT_EQ(reports.errors(), noMemoryReports("4294967296"));
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
}

TEST(ActionLookupTable, AnActionRegisteredAfterCreateHasNoWeightOfItsOwn) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.setWeights({1, 2, 3, 4});
  table.addActions(1);
  table.visit(0, 0);
  EXPECT_EQ(table.getActionValue(2), 3) << "the next state's first action";
  table.visit(1, 0);
  EXPECT_EQ(table.getActionValue(2), 0.0) << "outside the table";
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Reading the values of actions ----

TEST(ActionLookupTable, TheValueOfAnActionWithoutWeightsIsReportedAndTheLargestNumber) {
  Reports reports;
  Table table(oneVariable());
  table.addActions(2);
  for (const int index : {-1, 0, 1, 2}) {
    EXPECT_EQ(table.getActionValue(index), LARGEST);
    EXPECT_EQ(errors(reports), from("getActionValue", NO_WEIGHTS)) << "and no other report";
  }
}

TEST(ActionLookupTable, TheValueOfAnActionWithoutAnActiveCellIsTheLargestNumber) {
  Reports reports;
  const Table table(oneVariable(), 3);
  EXPECT_EQ(table.getActionValue(0), LARGEST);
  EXPECT_EQ(table.getActionValue(2), LARGEST);
  EXPECT_THAT(errors(reports), IsEmpty());
  EXPECT_EQ(table.getActionValue(3), LARGEST);
  EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(3, 3)));
  EXPECT_EQ(table.getActionValue(-1), LARGEST);
  EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(-1, 3)));
}

TEST(ActionLookupTable, AnActionIndexOutOfBoundsIsReportedAndReadsTheCellThere) {
  Reports reports;
  Table table(oneVariable(), 3);
  table.setWeights(Tables::ascending(15));
  table.visit(1, 0);  // cells 3, 4 and 5
  EXPECT_EQ(table.getActionValue(0), 4);
  EXPECT_EQ(table.getActionValue(2), 6);
  EXPECT_THAT(errors(reports), IsEmpty());

  const auto expectReportAndValue = [&](int index, double expected) {
    EXPECT_EQ(table.getActionValue(index), expected) << index;
    EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(index, 3)));
  };
  expectReportAndValue(-1, 3);
  expectReportAndValue(-3, 1);
  expectReportAndValue(3, 7);
  expectReportAndValue(11, 15);
}

TEST(ActionLookupTable, AnActionIndexWhoseCellLiesOutsideTheTableReadsAsZero) {
  Reports reports;
  Table table(oneVariable(), 3);
  table.setWeights(Tables::ascending(15));
  table.visit(1, 0);
  for (const int index : {-4, 12, 1000000, INT_LARGEST, INT_SMALLEST}) {
    EXPECT_EQ(table.getActionValue(index), 0.0) << index;
    EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(index, 3)));
  }
}

// ---- Setting the values of actions ----

TEST(ActionLookupTable, SetActiveActionValueSetsTheActionInTheActiveCell) {
  Reports reports;
  Table table(oneVariable(0, 1), 3);
  table.visit(1, 0);
  table.setActiveActionValue(2, 5.0);
  table.setActiveActionValue(0, 4.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 4, 0, 5));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, SetActiveActionValueReportsABadIndexAndWritesTheCellThere) {
  Reports reports;
  Table table(oneVariable(0, 2), 2);
  table.visit(1, 0);  // cells 2 and 3
  table.setActiveActionValue(-1, 7.0);
  EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(-1, 2)));
  table.setActiveActionValue(2, 8.0);
  EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(2, 2)));
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 7, 0, 0, 8, 0));

  for (const int index : {-3, 4, 5, 1000000, INT_LARGEST, INT_SMALLEST}) {
    table.setActiveActionValue(index, 9.0);
    EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(index, 2)));
  }
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 7, 0, 0, 8, 0)) << "outside the table";
}

TEST(ActionLookupTable, SetActiveActionValueNeedsAnActiveCell) {
  Reports reports;
  Table table(oneVariable(0, 2), 2);
  table.setActiveActionValue(1, 7.0);
  EXPECT_THAT(errors(reports), IsEmpty());
  table.setActiveActionValue(2, 7.0);
  EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(2, 2)));
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(ActionLookupTable, SettingValuesWithoutWeightsIsReported) {
  Reports reports;
  Table table(oneVariable());
  table.addActions(2);
  for (const int index : {0, 2}) {
    table.setActiveActionValue(index, 1.0);
    EXPECT_EQ(errors(reports), from("setActiveActionValue", NO_WEIGHTS));
    table.setActionValue(index, 1.0);
    EXPECT_EQ(errors(reports), from("setActionValue", NO_WEIGHTS));
  }
}

TEST(ActionLookupTable, SetActionValueSetsTheActionInEveryState) {
  Reports reports;
  Table table(oneVariable(), 3);
  table.setActionValue(1, 5.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 5, 0, 0, 5, 0, 0, 5, 0, 0, 5, 0, 0, 5, 0));
  table.setActionValue(0, 1.0);
  table.setActionValue(2, 2.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 5, 2, 1, 5, 2, 1, 5, 2, 1, 5, 2, 1, 5, 2));
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, SetActionValueReportsATooLargeIndexAndSetsTheCellsFromThereOn) {
  Reports reports;
  Table table(oneVariable(0, 2), 2);
  table.setActionValue(2, 5.0);
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(2, 2)));
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 5, 0, 5, 0));
  table.setActionValue(5, 7.0);
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(5, 2)));
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 5, 0, 5, 7));
  for (const int index : {6, 7, 1000000, INT_LARGEST - 1, INT_LARGEST}) {
    table.setActionValue(index, 9.0);
    EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(index, 2)));
  }
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 5, 0, 5, 7));
}

TEST(ActionLookupTable, SetActionValueReportsANegativeIndexAndSetsTheCellsThatItsStepsReach) {
  Reports reports;
  const auto weightsAfter = [&](int index) {
    Table table(oneVariable(0, 2), 3);
    table.setActionValue(index, 5.0);
    EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(index, 3)));
    return table.allWeights();
  };
  EXPECT_THAT(weightsAfter(-1), ElementsAre(0, 0, 5, 0, 0, 5, 0, 0, 5));
  EXPECT_THAT(weightsAfter(-2), ElementsAre(0, 5, 0, 0, 5, 0, 0, 5, 0));
  EXPECT_THAT(weightsAfter(-3), ElementsAre(5, 0, 0, 5, 0, 0, 5, 0, 0));
  EXPECT_THAT(weightsAfter(-4), ElementsAre(0, 0, 5, 0, 0, 5, 0, 0, 5));
  // -2^31 = 3 * -715827883 + 1
  EXPECT_THAT(weightsAfter(INT_SMALLEST), ElementsAre(0, 5, 0, 0, 5, 0, 0, 5, 0));
}

TEST(ActionLookupTable, SetActionValueOfATableWithoutActionsEnds) {
  Reports reports;
  Table table(oneVariable(0, 2), 2);
  for (const int actions : {0, -1, INT_SMALLEST}) {
    table.setWeights({0, 0, 0, 0, 0, 0});
    table.ACTIONS = actions;
    table.setActionValue(1, 5.0);
    EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(1, actions)));
    EXPECT_THAT(table.allWeights(), ElementsAre(0, 5, 0, 0, 0, 0));
    table.setActionValue(-1, 7.0);
    table.setActionValue(6, 7.0);
    EXPECT_EQ(errors(reports).size(), 2U);
    EXPECT_THAT(table.allWeights(), ElementsAre(0, 5, 0, 0, 0, 0));
  }
}

// ---- Replacing traces ----

TEST(ActionLookupTable, ReplacingTracesInTheMapTakesTheTracesOfTheOtherActionsOfTheState) {
  Table table(oneVariable(0, 2), 3);
  table.eTracesMap = {{2, 0.1}, {3, 0.2}, {4, 0.3}, {5, 0.4}, {6, 0.5}};
  table.visit(1, 1);
  table.replacingTraces(1.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 0.1), Pair(4, 1.0), Pair(6, 0.5)));
  table.activeActionIndex = 2;
  table.replacingTraces(0.75);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 0.1), Pair(5, 0.75), Pair(6, 0.5)));
  table.activeActionIndex = 0;
  table.replacingTraces(0.0);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 0.1), Pair(3, 0.0), Pair(6, 0.5)));
}

TEST(ActionLookupTable, ReplacingTracesInTheArraySetsTheTraceOfTheLastActionOnly) {
  Table table(oneVariable(0, 1), 3);
  const std::vector<double> before{0.1, 0.2, 0.3, 0.4, 0.5, 0.6};
  const auto tracesAfter = [&](int action) {
    table.setArrayTraces(before);
    table.visit(1, action);
    table.replacingTraces(0.75);
    return table.arrayTraces();
  };
  EXPECT_THAT(tracesAfter(0), ElementsAre(0.1, 0.2, 0.3, 0.0, 0.5, 0.6));
  EXPECT_THAT(tracesAfter(1), ElementsAre(0.1, 0.2, 0.3, 0.4, 0.0, 0.6));
  EXPECT_THAT(tracesAfter(2), ElementsAre(0.1, 0.2, 0.3, 0.4, 0.5, 0.75));
}

TEST(ActionLookupTable, TheOnlyActionIsTheLastOne) {
  Table table(oneVariable(0, 1), 1);
  table.setArrayTraces({0.1, 0.2});
  table.visit(1, 0);
  table.replacingTraces(0.75);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0.1, 0.75));
}

TEST(ActionLookupTable, ReplacingTracesOfNoActionClearsTheCellWhereItWouldLie) {
  Table table(oneVariable(0, 2), 2);
  table.setArrayTraces({1, 1, 1, 1, 1, 1});
  table.visit(1, -1);  // before the first choice
  table.replacingTraces(0.75);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 0, 1, 1, 1, 1));
  table.visit(1, 2);  // a softmax choice that fell through
  table.replacingTraces(0.75);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 0, 1, 1, 0, 1));
  for (const int action : {-3, 4, INT_LARGEST, INT_SMALLEST}) {
    table.visit(1, action);
    table.replacingTraces(0.75);
  }
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 0, 1, 1, 0, 1));

  table.setTraceStorage(Types::MAP);
  for (const int action : {-1, 2, INT_LARGEST, INT_SMALLEST}) {
    table.eTracesMap = {{1, 0.1}, {2, 0.2}, {3, 0.3}, {4, 0.4}};
    table.visit(1, action);
    table.replacingTraces(0.75);
    EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.1), Pair(4, 0.4))) << action;
  }
}

TEST(ActionLookupTable, ReplacingTracesNeedsAnActiveCellAndActions) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  for (const bool activeCell : {false, true}) {
    table.visit(1, 1);
    table.activeIndex = activeCell ? table.activeIndex : -1;
    table.ACTIONS = activeCell ? 0 : 2;
    table.setTraceStorage(Types::MAP);
    table.eTracesMap = {{-1, 0.5}, {0, 0.5}, {2, 0.5}, {3, 0.5}};
    table.replacingTraces(1.0);
    EXPECT_THAT(table.eTracesMap,
                ElementsAre(Pair(-1, 0.5), Pair(0, 0.5), Pair(2, 0.5), Pair(3, 0.5)));
    table.setArrayTraces({0.5, 0.5, 0.5, 0.5});
    table.replacingTraces(1.0);
    EXPECT_THAT(table.arrayTraces(), ElementsAre(0.5, 0.5, 0.5, 0.5));
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Accumulating traces ----

TEST(ActionLookupTable, AccumulatingTracesAddsToTheTraceOfTheActivePair) {
  Table map(oneVariable(0, 1), 3);
  map.visit(1, 1);
  map.accumulatingTraces(0.5);
  map.accumulatingTraces(0.25);
  map.visit(0, 2);
  map.accumulatingTraces(1.0);
  EXPECT_THAT(map.eTracesMap, ElementsAre(Pair(2, 1.0), Pair(4, 0.75)));

  Table array(oneVariable(0, 1), 3);
  array.setArrayTraces({0, 0, 0, 0, 0, 0});
  array.visit(1, 1);
  array.accumulatingTraces(0.5);
  array.accumulatingTraces(0.25);
  array.visit(0, 2);
  array.accumulatingTraces(1.0);
  EXPECT_THAT(array.arrayTraces(), ElementsAre(0, 0, 1, 0, 0.75, 0));
}

TEST(ActionLookupTable, ANewEntryOfTheMapIsTheValueItself) {
  Table table(oneVariable(), 2);
  table.visit(2, 1);
  table.accumulatingTraces(-0.0);  // 0.0 + -0.0 would be 0.0
  ASSERT_EQ(table.eTracesMap.size(), 1U);
  EXPECT_EQ(Tables::bits({table.eTracesMap[5]}), Tables::bits({-0.0}));
}

TEST(ActionLookupTable, AccumulatingTracesNeedsAnActiveCell) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.activeActionIndex = 1;
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  table.setArrayTraces({0, 0, 0, 0});
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, AccumulatingTracesOfNoActionMeetsTheCellWhereItWouldLie) {
  Table table(oneVariable(0, 2), 2);
  table.setArrayTraces({1, 1, 1, 1, 1, 1});
  for (const int action : {-1, 2, -3, 4, INT_LARGEST, INT_SMALLEST}) {
    table.visit(1, action);
    table.accumulatingTraces(0.5);
  }
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 1.5, 1, 1, 1.5, 1));

  table.setTraceStorage(Types::MAP);
  table.visit(0, -1);
  table.accumulatingTraces(0.5);
  table.visit(2, 2);
  table.accumulatingTraces(0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(-1, 0.5), Pair(6, 0.5)));
  table.updateWeights(1.0, 1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0, 0, 0));
}

// ---- Both trace rules ----

TEST(ActionLookupTable, TracesWithoutTheArrayAreReported) {
  Reports reports;
  Table table(oneVariable(), 2);
  table.setTraceStorage(Types::ARRAY);
  for (const int x : {2, 5}) {  // with and without an active cell
    table.visit(x, 1);
    reports.takeErrors();
    table.replacingTraces(1.0);
    EXPECT_EQ(errors(reports), from("replacingTraces", NO_ARRAY_TRACES));
    table.accumulatingTraces(1.0);
    EXPECT_EQ(errors(reports), from("accumulatingTraces", NO_ARRAY_TRACES));
  }
  EXPECT_EQ(table.eTraces, nullptr);
  EXPECT_THAT(table.eTracesMap, IsEmpty());
}

TEST(ActionLookupTable, TracesInAnUnknownStorageAreReported) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.setArrayTraces({1, 1, 1, 1});
  table.visit(1, 1);
  table.setTraceStorage(UNKNOWN);
  table.replacingTraces(0.5);
  EXPECT_EQ(errors(reports), from("replacingTraces", "Unknown traceStorage = 2"));
  table.accumulatingTraces(0.5);
  EXPECT_EQ(errors(reports), from("accumulatingTraces", "Unknown traceStorage = 2"));
  EXPECT_THAT(table.arrayTraces(), ElementsAre(1, 1, 1, 1));
  EXPECT_THAT(table.eTracesMap, IsEmpty());
}

TEST(ActionLookupTable, TracesLeaveTheStoredCellAndTheEpisodeAlone) {
  Table table(oneVariable(), 2);
  table.visit(1, 1);
  table.storeState();
  table.visit(3, 0);
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_EQ(table.storedActiveIndex, 3);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(3));
}

// ---- Storing the state ----

TEST(ActionLookupTable, StoreActiveIndexRemembersTheActionInTheActiveCell) {
  Table table(oneVariable(), 3);
  table.visit(2, 0);
  table.storeActiveIndex(1);
  EXPECT_EQ(table.storedActiveIndex, 7);
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  table.updateWeights(1.0, 0.5);
  EXPECT_EQ(table.weights[7], 0.5);
  table.activeIndex = -1;
  table.storeActiveIndex(1);
  EXPECT_EQ(table.storedActiveIndex, -1);
}

TEST(ActionLookupTable, StoreEpisodeStateRecordsTheActionInTheActiveCell) {
  Table table(oneVariable(), 3);
  table.storeEpisodeState(1);
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  table.visit(2, 0);
  table.storeEpisodeState(1);
  table.storeEpisodeState(1);
  table.storeEpisodeState(2);
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(7, 8));
  EXPECT_EQ(table.storedActiveIndex, -1);
}

TEST(ActionLookupTable, AnyActionIndexMayBeStored) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.visit(1, 0);
  for (const int action : {-3, 2, INT_LARGEST, INT_SMALLEST}) {
    table.storeActiveIndex(action);
    table.storeEpisodeState(action);
    table.updateWeights(1.0, 1.0);
  }
  table.valueEpisode(1.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 0));
  EXPECT_EQ(table.episodeIndexHistorySet.size(), 4U);
  EXPECT_EQ(reports.errors().size(), 1U) << "2 - 3 is the number of no cell";
}

TEST(ActionLookupTable, StoreStateStoresTheActiveActionInThisOrder) {
  class Recording : public Table {
   public:
    using Table::Table;
    std::string calls;
    void storeActiveIndex(int action) override {
      calls += "storeActiveIndex(" + std::to_string(action) + ") ";
    }
    void storeEpisodeState(int action) override {
      calls += "storeEpisodeState(" + std::to_string(action) + ") ";
    }
  };
  Recording recording(oneVariable(), 2);
  recording.activeActionIndex = 1;
  recording.storeState();
  EXPECT_EQ(recording.calls, "storeActiveIndex(1) storeEpisodeState(1) ");

  for (const bool history : {false, true}) {
    Table table(oneVariable(), 2);
    table.setEpisodeStateHistory(history);
    table.visit(3, 1);
    table.storeState();
    EXPECT_EQ(table.storedActiveIndex, 7);
    EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(7));
  }
}

// ---- Removing an action ----

struct Removal {
  std::vector<double> before;
  int actions;
  int removed;
  std::vector<double> survivors;
};

TEST(ActionLookupTable, RemoveActionKeepsTheWeightsOfTheOtherActionsInOrder) {
  const std::vector<Removal> removals{
      {{1, 2, 3, 4, 5, 6}, 3, 0, {2, 3, 5, 6}},
      {{1, 2, 3, 4, 5, 6}, 3, 1, {1, 3, 4, 6}},
      {{1, 2, 3, 4, 5, 6}, 3, 2, {1, 2, 4, 5}},
      {{1, 2, 3, 4, 5, 6}, 2, 0, {2, 4, 6}},
      {{1, 2, 3, 4, 5, 6}, 2, 1, {1, 3, 5}},
      {{1, 2, 3, 4, 5, 6}, 6, 4, {1, 2, 3, 4, 6}},
      {{1, 2, 3, 4, 5, 6, 7, 8}, 4, 2, {1, 2, 4, 5, 6, 8}},
  };
  for (const Removal& removal : removals) {
    const int states = static_cast<int>(removal.before.size()) / removal.actions;
    Table table(oneVariable(1, states), removal.actions);
    table.setWeights(removal.before);
    table.removeAction(removal.removed);
    EXPECT_EQ(table.firstWeights(static_cast<int>(removal.survivors.size())), removal.survivors)
        << "of " << removal.actions << " actions without " << removal.removed;
  }
}

TEST(ActionLookupTable, RemoveActionFollowsItsRunsToTheEndOfAnOddTable) {
  // Only a file can give a table that does not hold every action of its last state.
  const std::vector<Removal> removals{
      {{1, 2, 3, 4, 5}, 3, 0, {2, 3, 5}},
      {{1, 2, 3, 4, 5}, 3, 1, {1, 3, 4}},
      {{1, 2, 3, 4, 5}, 3, 2, {1, 2, 4, 5}},
      {{1, 2}, 4, 3, {1, 2}},
      {{1}, 2, 0, {}},
      {{1}, 2, 1, {1}},
      {{}, 2, 1, {}},
  };
  for (const Removal& removal : removals) {
    Reports reports;
    Table table(oneVariable());
    table.addActions(removal.actions);
    const MemoryFile file(block(0, {1}, static_cast<int>(removal.before.size()), removal.before));
    ASSERT_EQ(table.load(file), 0);
    table.removeAction(removal.removed);
    EXPECT_EQ(table.firstWeights(static_cast<int>(removal.survivors.size())), removal.survivors);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(ActionLookupTable, RemoveActionEndsWithPlaceValuesAndASizeOfZero) {
  Table table(twoVariables(), 3);
  table.removeAction(1);
  EXPECT_THAT(table.placeValues(), ElementsAre(0, 0));
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(table.ACTIONS, 2);
}

TEST(ActionLookupTable, RemoveActionLeavesNoActiveStoredOrVisitedCell) {
  Table table(oneVariable(), 3);
  table.visit(2, 1);
  table.storeState();
  table.removeAction(2);
  EXPECT_EQ(table.activeIndex, -1);
  EXPECT_EQ(table.storedActiveIndex, -1);
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(table.activeActionIndex, 1) << "the choice is not the table's affair";
}

TEST(ActionLookupTable, RemoveActionReleasesTheTracesOfTheStorageInUse) {
  Table map(oneVariable(0, 1), 2);
  map.eTracesMap = {{1, 0.5}};
  map.removeAction(0);
  EXPECT_THAT(map.eTracesMap, IsEmpty());

  Table array(oneVariable(0, 1), 2);
  array.setArrayTraces({1, 1, 1, 1});
  array.eTracesMap = {{1, 0.5}};
  array.removeAction(0);
  EXPECT_EQ(array.eTraces, nullptr);
  EXPECT_THAT(array.eTracesMap, ElementsAre(Pair(1, 0.5)));

  Table noArray(oneVariable(0, 1), 2);
  noArray.setTraceStorage(Types::ARRAY);
  noArray.removeAction(0);
  EXPECT_EQ(noArray.eTraces, nullptr);

  Table unknown(oneVariable(0, 1), 2);
  unknown.setArrayTraces({1, 1, 1, 1});
  unknown.eTracesMap = {{1, 0.5}};
  unknown.setTraceStorage(UNKNOWN);
  unknown.removeAction(0);
  EXPECT_NE(unknown.eTraces, nullptr);
  EXPECT_THAT(unknown.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

TEST(ActionLookupTable, RemoveActionRefusesTheLastAction) {
  Reports reports;
  Table table(oneVariable(0, 1), 1);
  table.setWeights({1, 2});
  table.visit(1, 0);
  for (const int index : {0, 1, -1}) {
    table.removeAction(index);
    EXPECT_EQ(errors(reports),
              from("removeAction", "ACTIONS == 1 --> Can not remove last action!"));
  }
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2));
  EXPECT_EQ(table.ACTIONS, 1);
  EXPECT_EQ(table.activeIndex, 1);
  EXPECT_THAT(table.placeValues(), ElementsAre(1));

  Table notCreated(oneVariable());
  notCreated.addActions(1);
  notCreated.removeAction(0);
  EXPECT_EQ(errors(reports), from("removeAction", "ACTIONS == 1 --> Can not remove last action!"))
      << "asks for the last action before weights";
}

TEST(ActionLookupTable, RemoveActionWithoutWeightsIsReported) {
  Reports reports;
  Table table(oneVariable());
  table.addActions(3);
  for (const int index : {0, 3, -1}) {
    table.removeAction(index);
    EXPECT_EQ(errors(reports), from("removeAction", NO_WEIGHTS));
  }
  EXPECT_EQ(table.ACTIONS, 3);
}

TEST(ActionLookupTable, RemoveActionRefusesABadIndex) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.setWeights({1, 2, 3, 4});
  table.visit(1, 0);
  table.storeState();
  table.replacingTraces(1.0);
  for (const int index : {-1, 2, INT_SMALLEST, INT_LARGEST}) {
    table.removeAction(index);
    EXPECT_EQ(errors(reports), from("removeAction", outOfBounds(index, 2)));
  }
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(table.ACTIONS, 2);
  EXPECT_EQ(table.activeIndex, 2);
  EXPECT_EQ(table.storedActiveIndex, 2);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(2, 1.0)));
  EXPECT_THAT(table.episodeIndexHistorySet, ElementsAre(2));
}

TEST(ActionLookupTable, UnregisteringLowersTheNumberOfActionsByTwo) {
  for (const int index : {0, 1, 2, 3}) {
    Reports reports;
    Table table(oneVariable(0, 1), 4);
    table.setWeights({0, 1, 2, 3, 10, 11, 12, 13});
    std::vector<double> survivors{0, 1, 2, 3, 10, 11, 12, 13};
    survivors.erase(survivors.begin() + 4 + index);
    survivors.erase(survivors.begin() + index);
    const std::unique_ptr<const AbstractAction> action(table.getAction(index));
    if (index % 2 == 0) {
      table.unregisterAction(index);
    } else {
      table.unregisterAction(action.get());
    }
    EXPECT_EQ(table.getNumberOfActions(), 2);
    EXPECT_NE(table.getAction(2), nullptr) << "the registry is one shorter";
    EXPECT_EQ(table.getAction(3), nullptr);
    EXPECT_EQ(table.firstWeights(6), survivors);
    EXPECT_EQ(table.ARRAY_SIZE, 0);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(ActionLookupTable, UnregisteringWhatTheTableRefusesLowersTheNumberByOne) {
  Reports reports;
  Table table(oneVariable(0, 1), 1);
  table.setWeights({1, 2});
  const std::unique_ptr<const AbstractAction> action(table.getAction(0));
  table.unregisterAction(0);
  EXPECT_EQ(errors(reports), from("removeAction", "ACTIONS == 1 --> Can not remove last action!"));
  EXPECT_EQ(table.getNumberOfActions(), 0);
  EXPECT_EQ(table.getAction(0), nullptr);
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2));

  Table notCreated(oneVariable());
  notCreated.addActions(3);
  const std::unique_ptr<const AbstractAction> first(notCreated.getAction(0));
  notCreated.unregisterAction(0);
  EXPECT_EQ(errors(reports), from("removeAction", NO_WEIGHTS));
  EXPECT_EQ(notCreated.getNumberOfActions(), 2);
}

TEST(ActionLookupTable, TheNumberOfActionsMayFallBelowZero) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  const std::unique_ptr<const AbstractAction> first(table.getAction(0));
  const std::unique_ptr<const AbstractAction> second(table.getAction(1));
  table.unregisterAction(first.get());
  EXPECT_EQ(table.getNumberOfActions(), 0);
  table.unregisterAction(second.get());
  EXPECT_EQ(errors(reports), from("removeAction", outOfBounds(0, 0)));
  EXPECT_EQ(table.getNumberOfActions(), -1);
  table.create();
  EXPECT_EQ(errors(reports), from("create", "No actions registered! --> Register actions first!"));
  EXPECT_EQ(table.getActionValue(0), LARGEST);
  EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(0, -1)));
}

TEST(ActionLookupTable, AfterARemovalTheTableHasNoCellsUntilCreate) {
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    Reports reports;
    Table table(oneVariable(0, 1), 4);
    table.setArrayTraces(std::vector<double>(8, 1.0));
    table.setTraceStorage(storage);
    table.visit(1, 1);
    table.removeAction(3);

    table.setState();
    EXPECT_EQ(reports.errors(), messages({"index (0) out ouf bounds --> [0, 0)"}));
    EXPECT_EQ(table.activeIndex, -1);
    EXPECT_EQ(table.getActionValue(0), LARGEST);
    EXPECT_EQ(table.getMinWeight(), LARGEST);
    EXPECT_EQ(table.getMaxWeight(), -LARGEST);
    table.checkWeightLimit();
    EXPECT_THAT(errors(reports), IsEmpty());

    table.replacingTraces(1.0);
    table.accumulatingTraces(1.0);
    table.updateEligibilityTraces(0.9, 0.5);
    table.updateWeights(1.0, 1.0);
    table.initEligibilityTraces();
    table.replacingTraces(1.0);
    table.accumulatingTraces(1.0);
    table.updateEligibilityTraces(0.9, 0.5);
    table.updateWeights(1.0, 1.0);
    table.setActionValue(0, 9.0);
    table.setActiveActionValue(0, 9.0);
    table.initWeights(countingInitialiser);
    EXPECT_THAT(table.firstWeights(6), ElementsAre(0, 0, 0, 0, 0, 0)) << "beyond any cell";
    reports.takeErrors();

    const MemoryFile file;
    EXPECT_EQ(table.save(file), 0);
    EXPECT_EQ(file.content(), block(storage, {0}, 0, {}));

    table.create();
    EXPECT_EQ(table.ARRAY_SIZE, 6);
    EXPECT_THAT(table.placeValues(), ElementsAre(3));
    EXPECT_EQ(table.eTraces, nullptr);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(ActionLookupTable, ActionsMayBeRemovedOneAfterAnother) {
  Reports reports;
  Table table(oneVariable(0, 1), 4);
  table.setWeights(Tables::ascending(8));
  table.removeAction(0);
  table.removeAction(0);
  table.removeAction(0);
  EXPECT_EQ(table.ACTIONS, 1);
  EXPECT_THAT(errors(reports), IsEmpty());
  table.removeAction(0);
  EXPECT_EQ(errors(reports), from("removeAction", "ACTIONS == 1 --> Can not remove last action!"));
}

TEST(ActionLookupTable, RemoveActionLeavesVariablesRegisteredLaterAlone) {
  Table table(oneVariable(0, 1), 2);
  table.getStatePtr()->registerVariable("late", 0, 9);
  table.removeAction(0);
  EXPECT_EQ(table.indexOffset[0], 0);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
}

// ---- One object behind several interfaces ----

const double three() { return 3.0; }

// Drives the operations that all bases share and looks at what they did to the table.
template <typename Base>
void expectSharedOperationsThrough(Base& base, Table& table) {
  base.initWeights(three);
  EXPECT_THAT(table.allWeights(), ElementsAre(3, 3, 3, 3));
  table.setWeights({-1, 2, 3, 4});
  EXPECT_EQ(base.getMinWeight(), -1);
  EXPECT_EQ(base.getMaxWeight(), 4);
  EXPECT_EQ(base.getAvgWeight(false), 2.0);
  EXPECT_EQ(base.getAvgWeight(true), 2.5);

  table.getStatePtr()->setValueInt(0, 1);
  base.setState();
  EXPECT_EQ(table.activeIndex, 2);

  table.eTracesMap = {{1, 9.0}};
  base.initEligibilityTraces();
  EXPECT_THAT(table.eTracesMap, IsEmpty());
  table.eTracesMap = {{1, 1.0}};
  base.updateEligibilityTraces(0.5, 0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(1, 0.25)));
  base.updateWeights(2.0, 4.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(-1, 4, 3, 4));

  table.episodeIndexHistorySet = {0};
  base.valueEpisode(7.0);
  EXPECT_THAT(table.allWeights(), ElementsAre(6, 4, 3, 4));
  base.initEpisodeStateHistory();
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
}

TEST(ActionLookupTable, TheSharedOperationsDoTheSameThroughEveryBase) {
  Table table(oneVariable(0, 1), 2);
  expectSharedOperationsThrough<ActionLookupTable>(table, table);
  expectSharedOperationsThrough<LookupTable>(table, table);
  expectSharedOperationsThrough<ActionValueFunction>(table, table);
  expectSharedOperationsThrough<ValueFunction>(table, table);
}

TEST(ActionLookupTable, TheLearnersReachTheTableThroughTheInterface) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  ActionValueFunction& base = table;
  table.setWeights({-5, -1, 0.5, 1});
  table.getStatePtr()->setValueInt(0, 1);
  base.setState();
  EXPECT_EQ(base.setGreedyActionIndex(), 1);
  EXPECT_EQ(base.getActiveActionIndex(), 1);
  EXPECT_EQ(base.getActionValue(0), 0.5);
  base.accumulatingTraces(0.5);
  base.accumulatingTraces(0.5);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(3, 1.0)));
  base.replacingTraces(0.25);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(3, 0.25)));
  base.storeState();
  EXPECT_EQ(table.storedActiveIndex, 3);
  base.setMinWeightLimit(-2);
  base.setMaxWeightLimit(0.75);
  base.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-2, -1, 0.5, 0.75));
  base.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-2, -1, 0.5, 0.75));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, LimitsAreThoseOfTheValueFunctionOrTheCallers) {
  Table table(oneVariable(0, 1), 2);
  table.setWeights({-LARGEST, -1, 1, LARGEST});
  table.checkWeightLimit();
  EXPECT_THAT(table.allWeights(), ElementsAre(-LARGEST, -1, 1, LARGEST));
  table.checkWeightLimit(-3, 3);
  EXPECT_THAT(table.allWeights(), ElementsAre(-3, -1, 1, 3));
}

TEST(ActionLookupTable, AnUntriedStateLooksBestToTheGreedyChoice) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.visit(2, -1);  // outside the table
  reports.takeErrors();
  EXPECT_EQ(table.setGreedyActionIndex(), LARGEST);
  EXPECT_NE(table.getActiveActionIndex(), -1);
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

TEST(ActionLookupTable, OneOverrideServesAllBases) {
  Recording table(oneVariable());
  const std::string all =
      "initWeights initEligibilityTraces updateWeights updateEligibilityTraces setState "
      "initEpisodeStateHistory valueEpisode ";
  EXPECT_EQ(callsThrough<LookupTable>(table, table), all);
  EXPECT_EQ(callsThrough<ActionValueFunction>(table, table), all);
  EXPECT_EQ(callsThrough<ValueFunction>(table, table), all);
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

TEST(ActionLookupTable, LoadGivesTheCoreTheStateOfTheValueFunction) {
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

TEST(ActionLookupTable, SavesTheBlockOfTheCore) {
  Table table(oneVariable(0, 1), 2);
  table.setTraceStorage(Types::ARRAY);
  table.setWeights({1, 2, 3, 4});
  const MemoryFile file;
  EXPECT_EQ(table.save(file), 0);
  EXPECT_EQ(file.content(), block(1, {2}, 4, {1, 2, 3, 4}));
  const MemoryFile throughTheCore;
  EXPECT_EQ(Core::save(table, throughTheCore), 0);
  EXPECT_EQ(throughTheCore.content(), file.content());
}

TEST(ActionLookupTable, ABlockStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  Table table(oneVariable(0, 1), 2);
  table.setWeights({1, 2, 3, 4});
  const std::string whole = block(0, {2}, 4, {1, 2, 3, 4});
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(table.save(file), -1) << limit;
    EXPECT_EQ(errors(reports), messages({"LookupTable::save: " + errnoMessage(EIO, "  -->  ")}));
    EXPECT_EQ(file.written(), whole.substr(0, limit));
  }
}

// ---- Named files ----

TEST(ActionLookupTable, ANamedFileHoldsTheStateTheNumberOfActionsAndTheTable) {
  const TemporaryDirectory directory;
  Table table(oneVariable(-1, -1), 2);
  table.setWeights({1.0, -2.0});
  EXPECT_EQ(table.save(directory.file("q")), 0);
  EXPECT_EQ(readFile(directory.file("q")),
            std::string("\x01\x00\x00\x00"                   // one variable
                        "\x01\x00\x00\x00"                   // of integers
                        "\x01\x00\x00\x00"                   // with a name of one byte
                        "x"                                  //
                        "\xFF\xFF\xFF\xFF"                   // from -1
                        "\xFF\xFF\xFF\xFF"                   // to -1
                        "\x02\x00\x00\x00"                   // actions
                        "\x00\x00\x00\x00"                   // MAP
                        "\x02\x00\x00\x00"                   // place value
                        "\x02\x00\x00\x00"                   // cells
                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                        "\x00\x00\x00\x00\x00\x00\x00\xC0",  // -2.0
                        53));
}

TEST(ActionLookupTable, ATableBuiltFromAFileNeedsNoCreate) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(twoVariables(), 2);
  table.setTraceStorage(Types::ARRAY);
  table.setWeights(Tables::ascending(12));
  ASSERT_EQ(table.save(directory.file("q")), 0);

  Table copy(directory.file("q"));
  EXPECT_EQ(copy.ACTIONS, 2);
  EXPECT_EQ(copy.getAction(0), nullptr);
  EXPECT_EQ(copy.getAction(1), nullptr);
  EXPECT_EQ(copy.ARRAY_SIZE, 12);
  EXPECT_THAT(copy.placeValues(), ElementsAre(6, 2));
  EXPECT_EQ(copy.traceStorage, Types::ARRAY);
  EXPECT_EQ(copy.allWeights(), table.allWeights());
  EXPECT_EQ(copy.eTraces, nullptr);
  EXPECT_EQ(copy.activeIndex, -1);
  ASSERT_NE(copy.getStatePtr(), nullptr);
  EXPECT_EQ(copy.stateOfTheCore(), copy.getStatePtr());

  copy.setState();  // at the middle of the ranges: x = 0, y = 1
  EXPECT_EQ(copy.setGreedyActionIndex(), 4);
  copy.setAction(1, new AbstractAction);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, SavingLoadingAndSavingGivesTheSameBytes) {
  const TemporaryDirectory directory;
  Table table(twoVariables(), 3);
  std::mt19937 random(1);
  for (int i = 0; i < table.ARRAY_SIZE; ++i) {
    table.weights[i] = std::ldexp(static_cast<double>(random()) - 2e9, -20);
  }
  ASSERT_EQ(table.save(directory.file("first")), 0);
  const Table copy(directory.file("first"));
  ASSERT_EQ(copy.save(directory.file("second")), 0);
  EXPECT_EQ(readFile(directory.file("second")), readFile(directory.file("first")));

  Table other(oneVariable(), 5);
  ASSERT_EQ(other.load(directory.file("first")), 0);
  ASSERT_EQ(other.save(directory.file("third")), 0);
  EXPECT_EQ(readFile(directory.file("third")), readFile(directory.file("first")));
}

TEST(ActionLookupTable, ConstructionFromAFileSetsTheSharedConstantBackToZero) {
  const TemporaryDirectory directory;
  Table table(oneVariable(), 2);
  ASSERT_EQ(table.save(directory.file("q")), 0);
  table.setValue(3.5);
  const Table copy(directory.file("q"));
  EXPECT_EQ(Table::value, 0.0);
  EXPECT_EQ(copy.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
}

TEST(ActionLookupTable, AMissingFileGivesATableWithoutStateAndWeights) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(directory.file("none"));
  EXPECT_EQ(errors(reports),
            messages({"ActionValueFunction::load: " + errnoMessage(ENOENT, " --> ")}));
  EXPECT_EQ(table.getStatePtr(), nullptr);
  EXPECT_EQ(table.weights, nullptr);
  EXPECT_EQ(table.ARRAY_SIZE, 0);
  EXPECT_EQ(table.ACTIONS, 0);
  EXPECT_EQ(Table::value, 0.0);
}

// A call of every operation, none of which may mind that there are no weights.
void callEverything(Table& table) {
  table.setState();
  table.setGreedyActionIndex();
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
  table.setActionValue(0, 1.0);
  table.setActiveActionValue(0, 1.0);
  table.removeAction(0);
  EXPECT_EQ(table.getActionValue(0), LARGEST);
  EXPECT_EQ(table.getMinWeight(), LARGEST);
  EXPECT_EQ(table.getMaxWeight(), -LARGEST);
  EXPECT_EQ(table.getAvgWeight(false), 0.0);
  const MemoryFile file;
  EXPECT_EQ(table.save(file), -1);
}

const std::string STATE_RECORD = bytes(1U) + bytes(1) + variableRecord("x", 0, 1);
const std::string NAMED_FILE = STATE_RECORD + bytes(2) + block(1, {2}, 4, {1, 2, 3, 4});

TEST(ActionLookupTable, AFileCutAnywhereGivesATableWithoutWeights) {
  const TemporaryDirectory directory;
  ASSERT_EQ(NAMED_FILE.size(), 69U);
  for (std::size_t size = 0; size < NAMED_FILE.size(); ++size) {
    Reports reports;
    writeFile(directory.file("q"), NAMED_FILE.substr(0, size));
    errno = 0;
    Table table(directory.file("q"));
    const bool actionsRead = size >= STATE_RECORD.size() + 4;
    EXPECT_EQ(errors(reports).back(),
              actionsRead ? "ActionValueFunction::load: loading valuefunction failed"
                          : "ActionValueFunction::load: " + errnoMessage(0, " --> "))
        << size;
    EXPECT_EQ(table.weights, nullptr) << size;
    EXPECT_EQ(table.ARRAY_SIZE, 0) << size;
    EXPECT_EQ(table.ACTIONS, actionsRead ? 2 : 0) << size;
    callEverything(table);
    reports.takeErrors();
  }
  Reports reports;
  writeFile(directory.file("q"), NAMED_FILE);
  const Table table(directory.file("q"));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, LoadingACutFileReturnsAFailureAndLeavesATableInOrder) {
  const TemporaryDirectory directory;
  for (std::size_t size = 0; size < NAMED_FILE.size(); ++size) {
    Reports reports;
    writeFile(directory.file("q"), NAMED_FILE.substr(0, size));
    Table table(oneVariable(), 3);
    table.visit(4, 2);
    table.storeState();
    EXPECT_EQ(table.load(directory.file("q")), -1) << size;
    table.setState();
    table.updateWeights(1.0, 1.0);
    table.getActionValue(2);
    table.create();
    EXPECT_NE(table.weights, nullptr);
    reports.takeErrors();
  }
}

TEST(ActionLookupTable, HostileNumbersOfActionsAreFailedReads) {
  const TemporaryDirectory directory;
  for (const int actions : {-1, -2, INT_SMALLEST, 65537, 100000000, INT_LARGEST}) {
    Reports reports;
    writeFile(directory.file("q"), STATE_RECORD + bytes(actions) + block(0, {2}, 4, {1, 2, 3, 4}));
    errno = 0;
    std::unique_ptr<Table> table;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      table = std::make_unique<Table>(directory.file("q"));
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 2000U) << "of the table, its state and the reports";
    EXPECT_EQ(errors(reports),
              messages({"ActionValueFunction::load: " + errnoMessage(0, " --> ")}));
    EXPECT_EQ(table->ACTIONS, 0);
    EXPECT_EQ(table->weights, nullptr);
    callEverything(*table);
    reports.takeErrors();
  }
}

TEST(ActionLookupTable, AFileMayGiveMoreOrFewerActionsThanItsTable) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("q"), STATE_RECORD + bytes(65536) + block(1, {2}, 4, {1, 2, 3, 4}));
  Table many(directory.file("q"));
  EXPECT_EQ(many.ACTIONS, 65536);
  many.visit(1, 0);
  EXPECT_EQ(many.getActionValue(1), 4);
  EXPECT_EQ(many.getActionValue(2), 0.0);
  EXPECT_EQ(many.getActionValue(65535), 0.0);
  EXPECT_EQ(many.setGreedyActionIndex(), 4);
  many.initEligibilityTraces();
  many.activeActionIndex = 65535;
  many.replacingTraces(1.0);
  many.accumulatingTraces(1.0);
  many.setTraceStorage(Types::MAP);
  many.replacingTraces(1.0);
  many.updateWeights(1.0, 1.0);
  many.setActionValue(2, 9.0);
  EXPECT_THAT(many.allWeights(), ElementsAre(1, 2, 9, 4));
  EXPECT_THAT(errors(reports), IsEmpty());

  writeFile(directory.file("q"), STATE_RECORD + bytes(0) + block(1, {2}, 4, {1, 2, 3, 4}));
  Table none(directory.file("q"));
  EXPECT_EQ(none.ACTIONS, 0);
  EXPECT_THAT(none.allWeights(), ElementsAre(1, 2, 3, 4));
  none.initEligibilityTraces();
  none.visit(1, 0);
  none.replacingTraces(1.0);
  EXPECT_THAT(none.arrayTraces(), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
  none.removeAction(0);
  EXPECT_EQ(errors(reports), from("removeAction", outOfBounds(0, 0)));
}

TEST(ActionLookupTable, HostileSizesInAFileAskForNoMemory) {
  const TemporaryDirectory directory;
  for (const int size : {5, 1000000, INT_LARGEST, -1, INT_SMALLEST}) {
    Reports reports;
    writeFile(directory.file("q"), STATE_RECORD + bytes(2) + block(0, {2}, size, {1, 2, 3, 4}));
    std::unique_ptr<Table> table;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      table = std::make_unique<Table>(directory.file("q"));
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 2000U) << "of the table, its state and the reports";
    EXPECT_EQ(reports.errors().back(), "loading valuefunction failed");
    EXPECT_EQ(table->weights, nullptr);
    EXPECT_EQ(table->ARRAY_SIZE, 0);
    callEverything(*table);
    reports.takeErrors();
  }
}

TEST(ActionLookupTable, APipeWithAHugeSizeIsFollowedToItsEnd) {
  for (const int size : {5, INT_LARGEST, -1, INT_SMALLEST}) {
    Reports reports;
    Table table(oneVariable(), 2);
    const FailingFile file(block(0, {2}, size, {1, 2, 3, 4}), 1000, "r");
    EXPECT_EQ(table.load(file), -1) << size;
    EXPECT_EQ(table.weights, nullptr);
    callEverything(table);
    reports.takeErrors();
  }
}

TEST(ActionLookupTable, AFileWithAnUnknownTraceStorageIsLoaded) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("q"), STATE_RECORD + bytes(2) + block(9, {2}, 4, {1, 2, 3, 4}));
  Table table(directory.file("q"));
  EXPECT_THAT(errors(reports), IsEmpty());
  table.visit(1, 1);
  EXPECT_EQ(table.getActionValue(1), 4);
  table.replacingTraces(1.0);
  EXPECT_EQ(errors(reports), from("replacingTraces", "Unknown traceStorage = 9"));
}

TEST(ActionLookupTable, AfterALoadOfASmallerTableCellsInUseAreIgnored) {
  Reports reports;
  Table table(oneVariable(), 2);
  table.visit(4, 1);
  table.storeState();
  table.setArrayTraces(std::vector<double>(10, 1.0));
  const MemoryFile file(block(1, {2}, 4, {1, 2, 3, 4}));
  ASSERT_EQ(table.load(file), 0);
  EXPECT_EQ(table.activeIndex, 8);
  EXPECT_EQ(table.getActionValue(1), 0.0);
  table.setActiveActionValue(1, 9.0);
  table.updateWeights(1.0, 1.0);
  table.valueEpisode(1.0);
  table.initEligibilityTraces();
  table.replacingTraces(1.0);
  table.accumulatingTraces(1.0);
  EXPECT_THAT(table.arrayTraces(), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionLookupTable, SavingBeforeCreateFailsBehindTheNumberOfActions) {
  Reports reports;
  const TemporaryDirectory directory;
  Table table(oneVariable(0, 1));
  table.addActions(2);
  EXPECT_EQ(table.save(directory.file("q")), -1);
  EXPECT_EQ(errors(reports), messages({std::string("LookupTable::save: ") + NO_WEIGHTS,
                                       "ActionValueFunction::save: saving valuefunction failed"}));
  EXPECT_EQ(readFile(directory.file("q")), STATE_RECORD + bytes(2) + block(0, {0}, 0, {}));
}

TEST(ActionLookupTable, AFullDiskFailsTheSave) {
  Reports reports;
  const Table table(oneVariable(), 2);
  EXPECT_EQ(table.save("/dev/full"), -1) << "the file fails when it is closed";
  EXPECT_EQ(errors(reports),
            messages({"ActionValueFunction::save: " + errnoMessage(ENOSPC, " --> ")}));

  const Table large(oneVariable(0, 9999), 2);
  EXPECT_EQ(large.save("/dev/full"), -1);
  EXPECT_EQ(errors(reports), messages({"LookupTable::save: " + errnoMessage(ENOSPC, "  -->  "),
                                       "ActionValueFunction::save: saving valuefunction failed"}));
}

// ---- Free oracles ----

// Learns along a random walk by a one-step rule, with traces of one step or without.
std::vector<double> learnAlongAWalk(bool traces, unsigned int seed) {
  std::mt19937 random(seed);
  Table table(oneVariable(), 2);
  for (int episode = 0; episode < 50; ++episode) {
    int x = 2;
    table.visit(x, static_cast<int>(random() % 2));
    if (traces) {
      table.initEligibilityTraces();
    }
    while (x > 0 && x < 4) {
      const double before = table.getActionValue(table.activeActionIndex);
      if (traces) {
        table.updateEligibilityTraces(0.9, 0.0);
        table.replacingTraces(1.0);
      } else {
        table.storeState();
      }
      x += table.activeActionIndex == 0 ? -1 : 1;
      table.visit(x, static_cast<int>(random() % 2));
      const double reward = x == 4 ? 1.0 : 0.0;
      const double next = table.getActionValue(table.activeActionIndex);
      table.updateWeights(0.1, reward + 0.9 * next - before);
    }
  }
  return table.allWeights();
}

TEST(ActionLookupTable, ReplacingTracesWithoutDecayEqualNoTraces) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    const std::vector<double> plain = learnAlongAWalk(false, seed);
    EXPECT_GT(plain[7], 0.0) << "nothing learnt with seed " << seed;
    EXPECT_EQ(Tables::bits(learnAlongAWalk(true, seed)), Tables::bits(plain)) << "seed " << seed;
  }
}

TEST(ActionLookupTable, MapAndArrayAccumulateTheSameTracesBitForBit) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    std::mt19937 random(seed);
    const auto number = [&] { return static_cast<double>(random() % 2000001) / 1e6 - 1.0; };
    Table map(oneVariable(), 3);
    Table array(oneVariable(), 3);
    array.setTraceStorage(Types::ARRAY);
    array.initEligibilityTraces();
    for (int i = 0; i < 1000; ++i) {
      const int x = static_cast<int>(random() % 5);
      const int action = static_cast<int>(random() % 3);
      const double trace = number();
      const double decay = number();
      const double step = number();
      for (Table* const table : {&map, &array}) {
        table->visit(x, action);
        table->updateEligibilityTraces(decay, 0.9);
        table->accumulatingTraces(trace);
        table->updateWeights(0.1, step);
      }
    }
    EXPECT_EQ(Tables::bits(map.allWeights()), Tables::bits(array.allWeights())) << "seed " << seed;
    EXPECT_GT(map.getMaxWeight(), map.getMinWeight());
  }
}

// ---- Short memory ----

class ActionLookupTableInShortMemory : public Tables::InShortMemory {};

TEST_F(ActionLookupTableInShortMemory, ATableThatCanNotBeHadIsReportedAndHasNoWeights) {
  for (const int call : {1, 2}) {
    Reports reports;
    Table table(oneVariable(0, INT_LARGEST / 2 - 1));
    table.addActions(2);
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(table.create());
    }
    EXPECT_EQ(reports.errors(),
              messages({call == 1 ? "Can not allocate memory for 1 entries of 4 bytes!"
                                  : "Can not allocate memory for 2147483646 entries of 8 bytes!",
                        NO_WEIGHTS}));
    EXPECT_EQ(table.weights, nullptr);
    table.visit(1, 0);
    reports.takeErrors();
    EXPECT_EQ(table.getActionValue(0), LARGEST);
    table.setActionValue(0, 1.0);
    table.updateWeights(1.0, 1.0);
    EXPECT_EQ(reports.errors(), messages({NO_WEIGHTS, NO_WEIGHTS, NO_WEIGHTS}));
  }
}

TEST_F(ActionLookupTableInShortMemory, ARemovalThatHasNoMemoryChangesNothingInTheTable) {
  Reports reports;
  Table table(oneVariable(0, 1), 3);
  table.setWeights({1, 2, 3, 4, 5, 6});
  table.visit(1, 1);
  table.replacingTraces(1.0);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(table.removeAction(1));
  }
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for 4 entries of 8 bytes!"}));
  EXPECT_THAT(table.allWeights(), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(table.placeValues(), ElementsAre(3));
  EXPECT_EQ(table.ACTIONS, 3);
  EXPECT_EQ(table.activeIndex, 3);
  EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(4, 1.0)));
}

TEST_F(ActionLookupTableInShortMemory, ATraceThatCanNotBeHadIsReported) {
  const auto expectReport = [](const std::function<void(Table&)>& rule, const char* function) {
    Reports reports;
    Table table(oneVariable(), 2);
    table.visit(2, 1);
    {
      const FailingNew memory(FailingNew::ONE, 1);
      EXPECT_NO_THROW(rule(table));
    }
    EXPECT_THAT(errors(reports),
                ElementsAre(StartsWith(std::string("ActionLookupTable::") + function +
                                       ": Can not allocate memory for ")));
    EXPECT_THAT(table.eTracesMap, IsEmpty());
    rule(table);
    EXPECT_THAT(table.eTracesMap, ElementsAre(Pair(5, 1.0)));
  };
  expectReport([](Table& table) { table.replacingTraces(1.0); }, "replacingTraces");
  expectReport([](Table& table) { table.accumulatingTraces(1.0); }, "accumulatingTraces");
}

TEST_F(ActionLookupTableInShortMemory, AVisitedCellThatCanNotBeRecordedIsReported) {
  Reports reports;
  Table table(oneVariable(), 2);
  table.visit(2, 1);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(table.storeState());
  }
  EXPECT_THAT(reports.errors(), ElementsAre(StartsWith("Can not allocate memory for ")));
  EXPECT_THAT(table.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(table.storedActiveIndex, 5);
}

TEST_F(ActionLookupTableInShortMemory, ConstructionFromAFileNeverThrows) {
  const TemporaryDirectory directory;
  const std::string name = directory.file("q");
  writeFile(name, NAMED_FILE);
  int call = 1;
  for (bool failed = true; failed;) {
    ++call;  // the table's own memory is the first request
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
      EXPECT_THAT(table->allWeights(), ElementsAre(1, 2, 3, 4));
    }
  }
  EXPECT_GE(call, 6) << "state, variable, actions, place values and weights at least";
}

TEST_F(ActionLookupTableInShortMemory, NoOperationThrowsWhenMemoryIsUsedUp) {
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Reports reports;
    Table table(oneVariable(0, 1), 2);
    table.setTraceStorage(storage);
    table.visit(1, 1);
    const std::unique_ptr<const AbstractAction> action(table.getAction(0));
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
        table.unregisterAction(action.get());
      });
    }
    EXPECT_THAT(table.allWeights(), ElementsAre(0, 0, 0, 1)) << "of the stored cell";
    EXPECT_EQ(table.ACTIONS, 1) << "the removal was refused";
    {
      const FailingNew memory(FailingNew::ALL_FROM, 1);
      EXPECT_NO_THROW({
        table.setGreedyActionIndex();
        table.setSoftMaxActionIndex(1.0);
        table.create();
      });
    }
    std::cerr.clear();  // the reports have run out of memory, too
    reports.errorText();
    EXPECT_EQ(table.weights, nullptr);
  }
}

}  // namespace
