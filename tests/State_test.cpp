#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/State.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <streambuf>
#include <string>
#include <type_traits>
#include <vector>

#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const unsigned int NONE = 4294967295u;  // the id that stands for no variable
const int MIN = std::numeric_limits<int>::min();
const int MAX = std::numeric_limits<int>::max();

// Opens the fields of a state.
class StateProbe : public State {
 public:
  using State::State;
  using State::vars;
  using State::varType;

  std::vector<std::string> names() const {
    std::vector<std::string> list;
    for (const VarValues* const variable : vars) {
      list.push_back(variable->getName());
    }
    return list;
  }

  // Each entry is of the kind that the state says.
  bool consistent() const {
    for (const VarValues* const variable : vars) {
      const bool isInt = dynamic_cast<const VarValuesInt*>(variable) != nullptr;
      const bool isDouble = dynamic_cast<const VarValuesDouble*>(variable) != nullptr;
      if ((varType != INT || !isInt) && (varType != DOUBLE || !isDouble)) {
        return false;
      }
    }
    return true;
  }
};

// A variable of another making in a registry, which tells what happens to it.
class Watched : public VarValuesInt {
 public:
  Watched(int status, int& countSaves, bool& tellDestroyed)
      : VarValuesInt("watched", 0, 1),
        saveStatus(status),
        saves(countSaves),
        destroyed(tellDestroyed) {}
  ~Watched() override { destroyed = true; }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;

  const int save(FILE*) const override {
    ++saves;
    return saveStatus;
  }

 private:
  const int saveStatus;
  int& saves;
  bool& destroyed;
};

std::string header(unsigned int count, int varType) { return bytes(count) + bytes(varType); }

template <typename Number>
std::string variable(const std::string& name, Number minValue, Number maxValue) {
  return bytes(static_cast<std::uint32_t>(name.size())) + name + bytes(minValue) + bytes(maxValue);
}

// Two integer variables: 8 + 17 + 14 bytes.
std::string intRecord() { return header(2, 1) + variable("speed", -3, 0) + variable("at", 1, 4); }

// Two real variables: 8 + 25 + 22 bytes.
std::string doubleRecord() {
  return header(2, 2) + variable("speed", -0.5, 0.25) + variable("at", 1.0, 4.0);
}

// A report of `file`, whose line no test can know.
Report report(const std::string& file, const std::string& function, const std::string& message) {
  return {true, file, function, 0, message};
}

Report errnoReport(const std::string& file, const std::string& function, int number) {
  return report(file, function, errnoMessage(number, "  -->  "));
}

std::vector<Report> withoutLines(std::vector<Report> reports) {
  for (Report& each : reports) {
    each.line = 0;
  }
  return reports;
}

std::vector<Report> errorsOf(Reports& reports) { return withoutLines(reports.takeErrors()); }

void registerInts(State& state) {
  state.registerVariable("a", 0, 10);
  state.registerVariable("b", -4, 4);
  state.registerVariable("c", 5, 7);
}

void registerDoubles(State& state) {
  state.registerVariable("a", 0.0, 10.0);
  state.registerVariable("b", -4.0, 4.5);
  state.registerVariable("c", 5.0, 7.0);
}

struct Getter {
  const char* name;
  double (*call)(const State& state, unsigned int id);
};

const std::vector<Getter> INT_GETTERS = {
    {"getValueInt", [](const State& s, unsigned int id) -> double { return s.getValueInt(id); }},
    {"getMinValueInt",
     [](const State& s, unsigned int id) -> double { return s.getMinValueInt(id); }},
    {"getMaxValueInt",
     [](const State& s, unsigned int id) -> double { return s.getMaxValueInt(id); }},
};

const std::vector<Getter> DOUBLE_GETTERS = {
    {"getValueDbl", [](const State& s, unsigned int id) -> double { return s.getValueDbl(id); }},
    {"getMinValueDbl",
     [](const State& s, unsigned int id) -> double { return s.getMinValueDbl(id); }},
    {"getMaxValueDbl",
     [](const State& s, unsigned int id) -> double { return s.getMaxValueDbl(id); }},
};

struct Setter {
  const char* name;
  void (*call)(State& state, unsigned int id);  // stores 99
};

const std::vector<Setter> INT_SETTERS = {
    {"setValueInt", [](State& s, unsigned int id) { s.setValueInt(id, 99); }},
    {"setMinValueInt", [](State& s, unsigned int id) { s.setMinValueInt(id, 99); }},
    {"setMaxValueInt", [](State& s, unsigned int id) { s.setMaxValueInt(id, 99); }},
};

const std::vector<Setter> DOUBLE_SETTERS = {
    {"setValueDbl", [](State& s, unsigned int id) { s.setValueDbl(id, 99.0); }},
    {"setMinValueDbl", [](State& s, unsigned int id) { s.setMinValueDbl(id, 99.0); }},
    {"setMaxValueDbl", [](State& s, unsigned int id) { s.setMaxValueDbl(id, 99.0); }},
};

// The nine numbers of the three variables.
std::vector<double> numbersOf(const State& state, const std::vector<Getter>& getters) {
  std::vector<double> numbers;
  for (unsigned int id = 0; id < 3; ++id) {
    for (const Getter& getter : getters) {
      numbers.push_back(getter.call(state, id));
    }
  }
  return numbers;
}

void expectGettersReport(const State& state, const std::vector<Getter>& getters, unsigned int id,
                         const std::string& message) {
  for (const Getter& getter : getters) {
    Reports reports;
    const double result = getter.call(state, id);
    EXPECT_EQ(bytes(result), bytes(0.0)) << getter.name;
    EXPECT_THAT(errorsOf(reports), ElementsAre(report("State", getter.name, message)));
    EXPECT_EQ(reports.information(), messages({}));
  }
}

void expectSettersReport(State& state, const std::vector<Setter>& setters, unsigned int id,
                         const std::string& message) {
  for (const Setter& setter : setters) {
    Reports reports;
    setter.call(state, id);
    EXPECT_THAT(errorsOf(reports), ElementsAre(report("State", setter.name, message)));
  }
}

}  // namespace

// Construction

TEST(State, StartsEmptyAndUndefined) {
  Reports reports;
  const StateProbe state;
  EXPECT_EQ(state.getNumberOfVariables(), 0u);
  EXPECT_EQ(state.varType, State::UNDEF);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(State, IsNotPolymorphic) { EXPECT_FALSE(std::is_polymorphic_v<State>); }

TEST(State, KindsHaveTheNumbersThatFilesHold) {
  EXPECT_EQ(static_cast<int>(State::UNDEF), 0);
  EXPECT_EQ(static_cast<int>(State::INT), 1);
  EXPECT_EQ(static_cast<int>(State::DOUBLE), 2);
  EXPECT_TRUE((std::is_same_v<std::underlying_type_t<State::TYPE>, int>));
}

// Registration

TEST(State, IdsCountUpFromZeroInTheOrderOfRegistration) {
  StateProbe state;
  for (unsigned int id = 0; id < 100; ++id) {
    EXPECT_EQ(state.registerVariable("v" + std::to_string(id), 0, 1), id);
    EXPECT_EQ(state.getNumberOfVariables(), id + 1);
  }
  for (unsigned int id = 0; id < 100; ++id) {
    EXPECT_EQ(state.getVariableId("v" + std::to_string(id)), id);
  }
}

TEST(State, RealVariablesGetIdsInTheSameWay) {
  State state;
  EXPECT_EQ(state.registerVariable("a", 0.0, 1.0), 0u);
  EXPECT_EQ(state.registerVariable("b", 0.0, 1.0), 1u);
  EXPECT_EQ(state.getNumberOfVariables(), 2u);
}

TEST(State, TakesTheBoundsOfAnIntegerInEitherOrder) {
  State state;
  state.registerVariable("down", 10, 2);
  state.registerVariable("up", 2, 10);
  for (const unsigned int id : {0u, 1u}) {
    EXPECT_EQ(state.getMinValueInt(id), 2);
    EXPECT_EQ(state.getMaxValueInt(id), 10);
    EXPECT_EQ(state.getValueInt(id), 6);
  }
}

TEST(State, TakesTheBoundsOfARealInEitherOrder) {
  State state;
  state.registerVariable("down", 10.5, 2.25);
  state.registerVariable("up", 2.25, 10.5);
  for (const unsigned int id : {0u, 1u}) {
    EXPECT_EQ(state.getMinValueDbl(id), 2.25);
    EXPECT_EQ(state.getMaxValueDbl(id), 10.5);
    EXPECT_EQ(state.getValueDbl(id), 6.375);
  }
}

TEST(State, TakesEqualBounds) {
  State ints;
  ints.registerVariable("a", -7, -7);
  EXPECT_EQ(ints.getMinValueInt(0), -7);
  EXPECT_EQ(ints.getMaxValueInt(0), -7);
  EXPECT_EQ(ints.getValueInt(0), -7);
  State doubles;
  doubles.registerVariable("a", 0.1, 0.1);
  EXPECT_EQ(doubles.getMinValueDbl(0), 0.1);
  EXPECT_EQ(doubles.getMaxValueDbl(0), 0.1);
  EXPECT_EQ(doubles.getValueDbl(0), 0.1);
}

TEST(State, TakesTheWidestBounds) {
  State ints;
  ints.registerVariable("a", MAX, MIN);
  EXPECT_EQ(ints.getMinValueInt(0), MIN);
  EXPECT_EQ(ints.getMaxValueInt(0), MAX);
  EXPECT_EQ(ints.getValueInt(0), 0);
  const double infinity = std::numeric_limits<double>::infinity();
  State doubles;
  doubles.registerVariable("a", infinity, 0.0);
  EXPECT_EQ(doubles.getMinValueDbl(0), 0.0);
  EXPECT_EQ(doubles.getMaxValueDbl(0), infinity);
}

TEST(State, TakesBoundsThatAreNotNumbersAsGiven) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  State state;
  state.registerVariable("a", nan, 1.0);
  EXPECT_TRUE(std::isnan(state.getMinValueDbl(0)));
  EXPECT_EQ(state.getMaxValueDbl(0), 1.0);
  state.registerVariable("b", 1.0, nan);
  EXPECT_EQ(state.getMinValueDbl(1), 1.0);
  EXPECT_TRUE(std::isnan(state.getMaxValueDbl(1)));
}

TEST(State, TakesBothZerosAsGiven) {
  State state;
  state.registerVariable("a", 0.0, -0.0);
  EXPECT_EQ(bytes<double>(state.getMinValueDbl(0)), bytes(0.0));
  EXPECT_EQ(bytes<double>(state.getMaxValueDbl(0)), bytes(-0.0));
}

TEST(State, StartsVariablesAtTheMiddleOfTheirRange) {
  State ints;
  ints.registerVariable("a", -3, 0);
  ints.registerVariable("b", 1, 4);
  ints.registerVariable("c", MAX, MAX);  // the sum wraps around to -2
  EXPECT_EQ(ints.getValueInt(0), -1);
  EXPECT_EQ(ints.getValueInt(1), 2);
  EXPECT_EQ(ints.getValueInt(2), -1);
  State doubles;
  doubles.registerVariable("a", -3.0, 0.0);
  EXPECT_EQ(doubles.getValueDbl(0), -1.5);
}

TEST(State, FirstRegistrationDecidesTheKind) {
  StateProbe ints;
  ints.registerVariable("a", 0, 1);
  EXPECT_EQ(ints.varType, State::INT);
  StateProbe doubles;
  doubles.registerVariable("a", 0.0, 1.0);
  EXPECT_EQ(doubles.varType, State::DOUBLE);
}

TEST(State, RefusesAnIntegerAfterAReal) {
  StateProbe state;
  state.registerVariable("a", 0.0, 1.0);
  Reports reports;
  EXPECT_EQ(state.registerVariable("b", 0, 1), NONE);
  EXPECT_THAT(errorsOf(reports),
              ElementsAre(report("State", "registerVariable", "Cannot register Int-Variable!")));
  EXPECT_THAT(state.names(), ElementsAre("a"));
  EXPECT_EQ(state.varType, State::DOUBLE);
}

TEST(State, RefusesARealAfterAnInteger) {
  StateProbe state;
  state.registerVariable("a", 0, 1);
  Reports reports;
  EXPECT_EQ(state.registerVariable("b", 0.0, 1.0), NONE);
  EXPECT_THAT(errorsOf(reports),
              ElementsAre(report("State", "registerVariable", "Cannot register Double-Variable!")));
  EXPECT_THAT(state.names(), ElementsAre("a"));
  EXPECT_EQ(state.varType, State::INT);
}

TEST(State, GoesOnCountingAfterARefusal) {
  State state;
  Reports reports;
  state.registerVariable("a", 0, 1);
  state.registerVariable("b", 0.0, 1.0);
  EXPECT_EQ(state.registerVariable("c", 0, 1), 1u);
}

TEST(State, FirstRegistrationDecidesWhateverAFileSaidOfAnEmptyState) {
  for (const int varType : {0, 1, 2, 7, -1}) {
    Reports reports;
    StateProbe ints{MemoryFile(header(0, varType))};
    StateProbe doubles{MemoryFile(header(0, varType))};
    reports.errors();
    EXPECT_EQ(ints.registerVariable("a", 0, 1), 0u);
    EXPECT_EQ(ints.varType, State::INT);
    EXPECT_EQ(doubles.registerVariable("a", 0.0, 1.0), 0u);
    EXPECT_EQ(doubles.varType, State::DOUBLE);
    EXPECT_EQ(reports.errors(), messages({}));
  }
}

TEST(State, TakesAnyName) {
  const std::string anyBytes("a\0\xFF", 3);
  StateProbe state;
  EXPECT_EQ(state.registerVariable("", 0, 1), 0u);
  EXPECT_EQ(state.registerVariable(anyBytes, 0, 1), 1u);
  EXPECT_EQ(state.registerVariable(std::string(1000, 'n'), 0, 1), 2u);
  EXPECT_THAT(state.names(), ElementsAre("", anyBytes, std::string(1000, 'n')));
}

TEST(State, VariablesMayShareAName) {
  State state;
  EXPECT_EQ(state.registerVariable("a", 0, 1), 0u);
  EXPECT_EQ(state.registerVariable("same", 0, 1), 1u);
  EXPECT_EQ(state.registerVariable("same", 5, 6), 2u);
  EXPECT_EQ(state.getVariableId("same"), 1u);
  EXPECT_EQ(state.getMinValueInt(2), 5);
}

TEST(State, FindsExactNamesOnly) {
  State state;
  state.registerVariable("speed", 0, 1);
  state.registerVariable("", 0, 1);
  state.registerVariable(std::string("speed\0", 6), 0, 1);
  state.registerVariable("Speed", 0, 1);
  state.registerVariable("spee", 0, 1);
  EXPECT_EQ(state.getVariableId("speed"), 0u);
  EXPECT_EQ(state.getVariableId(""), 1u);
  EXPECT_EQ(state.getVariableId(std::string("speed\0", 6)), 2u);
  EXPECT_EQ(state.getVariableId("Speed"), 3u);
  EXPECT_EQ(state.getVariableId("spee"), 4u);
  Reports reports;
  for (const std::string name : {"s", "speeds", "SPEED", " speed", "speed "}) {
    EXPECT_EQ(state.getVariableId(name), NONE);
    EXPECT_EQ(reports.errors(), messages({"No variable with name = " + name}));
  }
}

TEST(State, ReportsAnUnknownName) {
  State state;
  state.registerVariable("speed", 0, 1);
  Reports reports;
  EXPECT_EQ(state.getVariableId("angle"), NONE);
  EXPECT_THAT(errorsOf(reports),
              ElementsAre(report("State", "getVariableId", "No variable with name = angle")));
}

TEST(State, FindsNoNameWhenEmpty) {
  const State state;
  Reports reports;
  EXPECT_EQ(state.getVariableId(""), NONE);
  EXPECT_EQ(reports.errors(), messages({"No variable with name = "}));
}

TEST(State, FindsVariablesByTheNameTheyHaveNow) {
  StateProbe state;
  state.registerVariable("before", 0, 1);
  state.vars[0]->setName("now");
  EXPECT_EQ(state.getVariableId("now"), 0u);
}

// Accessors

TEST(State, GettersGiveTheNumbersOfTheVariable) {
  State ints;
  registerInts(ints);
  EXPECT_THAT(numbersOf(ints, INT_GETTERS), ElementsAre(5, 0, 10, 0, -4, 4, 6, 5, 7));
  State doubles;
  registerDoubles(doubles);
  EXPECT_THAT(numbersOf(doubles, DOUBLE_GETTERS),
              ElementsAre(5.0, 0.0, 10.0, 0.25, -4.0, 4.5, 6.0, 5.0, 7.0));
}

TEST(State, SettersChangeTheOneNumber) {
  Reports reports;
  State ints;
  registerInts(ints);
  ints.setValueInt(0, 3);
  EXPECT_THAT(numbersOf(ints, INT_GETTERS), ElementsAre(3, 0, 10, 0, -4, 4, 6, 5, 7));
  ints.setMinValueInt(1, -2);
  EXPECT_THAT(numbersOf(ints, INT_GETTERS), ElementsAre(3, 0, 10, 0, -2, 4, 6, 5, 7));
  ints.setMaxValueInt(2, 8);
  EXPECT_THAT(numbersOf(ints, INT_GETTERS), ElementsAre(3, 0, 10, 0, -2, 4, 6, 5, 8));
  State doubles;
  registerDoubles(doubles);
  doubles.setValueDbl(0, 0.1);
  doubles.setMinValueDbl(1, -2.5);
  doubles.setMaxValueDbl(2, 8.5);
  EXPECT_THAT(numbersOf(doubles, DOUBLE_GETTERS),
              ElementsAre(0.1, 0.0, 10.0, 0.25, -2.5, 4.5, 6.0, 5.0, 8.5));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(State, SettersStoreNumbersBeyondTheRange) {
  State ints;
  registerInts(ints);
  ints.setValueInt(0, 11);
  EXPECT_EQ(ints.getValueInt(0), 11);
  ints.setValueInt(0, MIN);
  EXPECT_EQ(ints.getValueInt(0), MIN);
  ints.setMinValueInt(0, 20);
  EXPECT_EQ(ints.getMinValueInt(0), 20);
  EXPECT_EQ(ints.getMaxValueInt(0), 10);
  State doubles;
  registerDoubles(doubles);
  doubles.setValueDbl(0, -0.001);
  EXPECT_EQ(doubles.getValueDbl(0), -0.001);
  doubles.setMaxValueDbl(0, -20.0);
  EXPECT_EQ(doubles.getMaxValueDbl(0), -20.0);
  EXPECT_EQ(doubles.getMinValueDbl(0), 0.0);
}

TEST(State, GettersOfTheOtherKindReportAndGiveZero) {
  State ints;
  registerInts(ints);
  expectGettersReport(ints, DOUBLE_GETTERS, 0, "Not a Double-State!");
  State doubles;
  registerDoubles(doubles);
  expectGettersReport(doubles, INT_GETTERS, 0, "Not an Int-State!");
}

TEST(State, GettersOfAnUndefinedStateReportItsKind) {
  const State state;
  expectGettersReport(state, INT_GETTERS, 0, "Not an Int-State!");
  expectGettersReport(state, DOUBLE_GETTERS, 0, "Not a Double-State!");
}

TEST(State, GettersCheckTheKindBeforeTheId) {
  State ints;
  registerInts(ints);
  expectGettersReport(ints, DOUBLE_GETTERS, 3, "Not a Double-State!");
  State doubles;
  registerDoubles(doubles);
  expectGettersReport(doubles, INT_GETTERS, NONE, "Not an Int-State!");
}

TEST(State, GettersReportAnIdFromTheNumberOfVariablesOn) {
  State ints;
  registerInts(ints);
  State doubles;
  registerDoubles(doubles);
  for (const unsigned int id : {3u, 4u, 2147483647u, 2147483648u, 4294967294u, 4294967295u}) {
    const std::string message = "VarId out of bounds --> 0 <= " + std::to_string(id) + " < 3";
    expectGettersReport(ints, INT_GETTERS, id, message);
    expectGettersReport(doubles, DOUBLE_GETTERS, id, message);
  }
  Reports reports;
  EXPECT_EQ(ints.getMinValueInt(2), 5);
  EXPECT_EQ(doubles.getMinValueDbl(2), 5.0);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(State, GettersReportAnyIdOfAStateLoadedWithoutVariables) {
  const State ints{MemoryFile(header(0, 1))};
  expectGettersReport(ints, INT_GETTERS, 0, "VarId out of bounds --> 0 <= 0 < 0");
  const State doubles{MemoryFile(header(0, 2))};
  expectGettersReport(doubles, DOUBLE_GETTERS, 0, "VarId out of bounds --> 0 <= 0 < 0");
}

TEST(State, SettersOfTheOtherKindReportAndChangeNothing) {
  State ints;
  registerInts(ints);
  const std::vector<double> intsBefore = numbersOf(ints, INT_GETTERS);
  expectSettersReport(ints, DOUBLE_SETTERS, 0, "Not a Double-State!");
  expectSettersReport(ints, DOUBLE_SETTERS, 3, "Not a Double-State!");
  EXPECT_EQ(numbersOf(ints, INT_GETTERS), intsBefore);
  State doubles;
  registerDoubles(doubles);
  const std::vector<double> doublesBefore = numbersOf(doubles, DOUBLE_GETTERS);
  expectSettersReport(doubles, INT_SETTERS, 0, "Not an Int-State!");
  expectSettersReport(doubles, INT_SETTERS, 3, "Not an Int-State!");
  EXPECT_EQ(numbersOf(doubles, DOUBLE_GETTERS), doublesBefore);
}

TEST(State, SettersOfAnUndefinedStateReportItsKind) {
  State state;
  expectSettersReport(state, INT_SETTERS, 0, "Not an Int-State!");
  expectSettersReport(state, DOUBLE_SETTERS, 0, "Not a Double-State!");
}

TEST(State, SettersReportAnIdFromTheNumberOfVariablesOnAndChangeNothing) {
  State ints;
  registerInts(ints);
  const std::vector<double> intsBefore = numbersOf(ints, INT_GETTERS);
  State doubles;
  registerDoubles(doubles);
  const std::vector<double> doublesBefore = numbersOf(doubles, DOUBLE_GETTERS);
  for (const unsigned int id : {3u, 4u, 4294967295u}) {
    const std::string message = "VarId out of bounds --> 0 <= " + std::to_string(id) + " < 3";
    expectSettersReport(ints, INT_SETTERS, id, message);
    expectSettersReport(doubles, DOUBLE_SETTERS, id, message);
  }
  EXPECT_EQ(numbersOf(ints, INT_GETTERS), intsBefore);
  EXPECT_EQ(numbersOf(doubles, DOUBLE_GETTERS), doublesBefore);
}

// Saving

TEST(StateSave, WritesAnEmptyStateAsTwoZeros) {
  const MemoryFile file;
  Reports reports;
  EXPECT_EQ(State().save(file), 0);
  EXPECT_EQ(file.content(), std::string(8, '\0'));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(StateSave, WritesIntegerVariablesInTheOrderOfIds) {
  State state;
  state.registerVariable("xy", 4, -2);
  state.registerVariable("", 1, 1);
  const MemoryFile file;
  EXPECT_EQ(state.save(file), 0);
  const char expected[] =
      "\x02\0\0\0\x01\0\0\0"
      "\x02\0\0\0xy\xFE\xFF\xFF\xFF\x04\0\0\0"
      "\0\0\0\0\x01\0\0\0\x01\0\0\0";
  EXPECT_EQ(file.content(), std::string(expected, sizeof(expected) - 1));
}

TEST(StateSave, WritesRealVariablesInTheOrderOfIds) {
  State state;
  state.registerVariable("xy", 1.5, -2.0);
  const MemoryFile file;
  EXPECT_EQ(state.save(file), 0);
  const char expected[] =
      "\x01\0\0\0\x02\0\0\0"
      "\x02\0\0\0xy\0\0\0\0\0\0\0\xC0\0\0\0\0\0\0\xF8\x3F";
  EXPECT_EQ(file.content(), std::string(expected, sizeof(expected) - 1));
}

TEST(StateSave, WritesAtTheFilesPosition) {
  const State state{MemoryFile(intRecord())};
  const MemoryFile file;
  std::fputs("before", file);
  EXPECT_EQ(state.save(file), 0);
  std::fputs("behind", file);
  EXPECT_EQ(file.content(), "before" + intRecord() + "behind");
}

TEST(StateSave, DoesNotWriteValues) {
  State state{MemoryFile(intRecord())};
  state.setValueInt(0, -3);
  state.setValueInt(1, 4);
  const MemoryFile file;
  EXPECT_EQ(state.save(file), 0);
  EXPECT_EQ(file.content(), intRecord());
}

TEST(StateSave, WritesTheKindThatAFileLeftInAnEmptyState) {
  Reports reports;
  const State state{MemoryFile(header(3, 7))};
  const MemoryFile file;
  EXPECT_EQ(state.save(file), 0);
  EXPECT_EQ(file.content(), header(0, 7));
}

TEST(StateSave, StopsAtTheByteThatFails) {
  struct Kind {
    std::string record;
    std::string variable;
  };
  for (const Kind& kind :
       {Kind{intRecord(), "VarValuesInt"}, Kind{doubleRecord(), "VarValuesDouble"}}) {
    const State state{MemoryFile(kind.record)};
    for (std::size_t limit = 0; limit < kind.record.size(); ++limit) {
      const FailingFile file("", limit, "w");
      Reports reports;
      EXPECT_EQ(state.save(file), -1) << limit;
      // Who failed reports; the state adds nothing to the report of a variable.
      EXPECT_THAT(errorsOf(reports),
                  ElementsAre(errnoReport(limit < 8 ? "State" : kind.variable, "save", EIO)))
          << limit;
      EXPECT_EQ(file.written(), kind.record.substr(0, limit));
    }
    const FailingFile file("", kind.record.size(), "w");
    EXPECT_EQ(state.save(file), 0);
  }
}

TEST(StateSave, ReportsCountAndKindFromLinesOfTheirOwn) {
  const State state;
  Reports reports;
  state.save(FailingFile("", 0, "w"));
  state.save(FailingFile("", 4, "w"));
  const std::vector<Report> errors = reports.takeErrors();
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_NE(errors[0].line, errors[1].line);
}

TEST(StateSave, ReportsAFullDisk) {
  FILE* const file = std::fopen("/dev/full", "w");
  ASSERT_NE(file, nullptr);
  std::setvbuf(file, nullptr, _IONBF, 0);
  Reports reports;
  EXPECT_EQ(State().save(file), -1);
  EXPECT_EQ(reports.errors(), messages({"errno = 28  -->  No space left on device"}));
  std::fclose(file);
}

TEST(StateSave, PassesOnTheStatusOfTheFirstVariableThatFails) {
  int saves[] = {0, 0, 0};
  bool destroyed[] = {false, false, false};
  Watched first(0, saves[0], destroyed[0]);
  Watched second(7, saves[1], destroyed[1]);
  Watched third(-1, saves[2], destroyed[2]);
  StateProbe state;
  state.varType = State::INT;
  state.vars = {&first, &second, &third};
  const MemoryFile file;
  Reports reports;
  EXPECT_EQ(state.save(file), 7);
  EXPECT_THAT(saves, ElementsAre(1, 1, 0));
  EXPECT_EQ(file.content(), header(3, 1));
  EXPECT_EQ(reports.errors(), messages({}));
}

// Lifetime of the variables

TEST(State, DoesNotDestroyItsVariables) {
  int saves = 0;
  bool destroyed = false;
  Watched variable(0, saves, destroyed);
  {
    StateProbe state;
    state.varType = State::INT;
    state.vars = {&variable};
  }
  EXPECT_FALSE(destroyed);
}

TEST(StateLoad, DoesNotDestroyTheOldVariables) {
  for (const std::string& record : {intRecord(), header(0, 0), std::string()}) {
    int saves = 0;
    bool destroyed = false;
    Watched variable(0, saves, destroyed);
    StateProbe state;
    state.varType = State::INT;
    state.vars = {&variable};
    Reports reports;
    state.load(MemoryFile(record));
    EXPECT_FALSE(destroyed);
    EXPECT_THAT(state.vars, testing::Not(testing::Contains(&variable)));
  }
}

// Loading

TEST(StateLoad, GivesNamesKindAndRanges) {
  Reports reports;
  StateProbe ints;
  EXPECT_EQ(ints.load(MemoryFile(intRecord())), 0);
  EXPECT_EQ(ints.varType, State::INT);
  EXPECT_THAT(ints.names(), ElementsAre("speed", "at"));
  EXPECT_EQ(ints.getMinValueInt(0), -3);
  EXPECT_EQ(ints.getMaxValueInt(0), 0);
  EXPECT_EQ(ints.getMinValueInt(1), 1);
  EXPECT_EQ(ints.getMaxValueInt(1), 4);
  StateProbe doubles;
  EXPECT_EQ(doubles.load(MemoryFile(doubleRecord())), 0);
  EXPECT_EQ(doubles.varType, State::DOUBLE);
  EXPECT_THAT(doubles.names(), ElementsAre("speed", "at"));
  EXPECT_EQ(doubles.getMinValueDbl(0), -0.5);
  EXPECT_EQ(doubles.getMaxValueDbl(0), 0.25);
  EXPECT_EQ(doubles.getMinValueDbl(1), 1.0);
  EXPECT_EQ(doubles.getMaxValueDbl(1), 4.0);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(StateLoad, PutsEveryValueAtTheMiddle) {
  State ints{MemoryFile(intRecord())};
  EXPECT_EQ(ints.getValueInt(0), -1);
  EXPECT_EQ(ints.getValueInt(1), 2);
  State saved;
  saved.registerVariable("x", 0.0, 1.0);
  saved.registerVariable("y", -1.0, 2.0);
  saved.setValueDbl(0, 0.7);
  saved.setValueDbl(1, 1.9);
  const MemoryFile file;
  EXPECT_EQ(saved.save(file), 0);
  EXPECT_EQ(file.content().size(), 8u + 2u * 21u);
  file.rewind();
  State loaded;
  EXPECT_EQ(loaded.load(file), 0);
  EXPECT_EQ(loaded.getValueDbl(0), 0.5);
  EXPECT_EQ(loaded.getValueDbl(1), 0.5);
}

TEST(StateLoad, ReplacesVariablesAndKind) {
  StateProbe state;
  registerInts(state);
  EXPECT_EQ(state.load(MemoryFile(doubleRecord())), 0);
  EXPECT_EQ(state.varType, State::DOUBLE);
  EXPECT_THAT(state.names(), ElementsAre("speed", "at"));
  EXPECT_EQ(state.load(MemoryFile(header(0, 1))), 0);
  EXPECT_EQ(state.varType, State::INT);
  EXPECT_THAT(state.names(), IsEmpty());
}

TEST(StateLoad, KeepsTheRangesOfAFileAsTheyAre) {
  const State state{MemoryFile(header(1, 1) + variable("upside down", 10, 2))};
  EXPECT_EQ(state.getMinValueInt(0), 10);
  EXPECT_EQ(state.getMaxValueInt(0), 2);
  EXPECT_EQ(state.getValueInt(0), 6);
}

TEST(StateLoad, IsUndoneBySaveByteForByte) {
  const std::string zeroBytes("\0\0x", 3);
  for (const std::string& record :
       {intRecord(), doubleRecord(), header(0, 1), header(0, 2),
        header(3, 1) + variable("", MIN, MAX) + variable(zeroBytes, 2, 1) + variable("", 0, 0),
        header(1, 2) + variable("x", std::nan("1"), -0.0)}) {
    State state;
    EXPECT_EQ(state.load(MemoryFile(record)), 0);
    const MemoryFile file;
    EXPECT_EQ(state.save(file), 0);
    EXPECT_EQ(file.content(), record);
  }
}

TEST(StateLoad, StartsAtTheFilesPositionAndEndsBehindTheRecord) {
  const MemoryFile file("before" + intRecord() + "behind");
  std::fseek(file, 6, SEEK_SET);
  StateProbe state;
  EXPECT_EQ(state.load(file), 0);
  EXPECT_THAT(state.names(), ElementsAre("speed", "at"));
  EXPECT_EQ(std::ftell(file), static_cast<long>(6 + intRecord().size()));
}

TEST(StateLoad, ReadsStreamsThatCanNotSeek) {
  const std::string record = intRecord();
  StateProbe state;
  Reports reports;
  EXPECT_EQ(state.load(FailingFile(record, record.size() + 1, "r")), 0);
  EXPECT_THAT(state.names(), ElementsAre("speed", "at"));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(StateLoad, KeepsTheKindForLaterRegistrations) {
  State state{MemoryFile(intRecord())};
  Reports reports;
  EXPECT_EQ(state.registerVariable("c", 0.0, 1.0), NONE);
  EXPECT_EQ(reports.errors(), messages({"Cannot register Double-Variable!"}));
  EXPECT_EQ(state.registerVariable("c", 0, 1), 2u);
}

TEST(StateLoad, ConstructsAState) {
  Reports reports;
  const StateProbe state{MemoryFile(doubleRecord())};
  EXPECT_EQ(state.varType, State::DOUBLE);
  EXPECT_THAT(state.names(), ElementsAre("speed", "at"));
  EXPECT_EQ(state.getValueDbl(0), -0.125);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(StateLoad, OfACutHeaderConstructsAnUndefinedState) {
  for (std::size_t cut = 0; cut < 8; ++cut) {
    Reports reports;
    errno = ERANGE;
    const StateProbe state{MemoryFile(intRecord().substr(0, cut))};
    EXPECT_EQ(state.varType, State::UNDEF) << cut;
    EXPECT_THAT(state.names(), IsEmpty()) << cut;
    EXPECT_THAT(errorsOf(reports), ElementsAre(errnoReport("State", "load", ERANGE))) << cut;
  }
}

TEST(StateLoad, OfACutHeaderEmptiesTheRegistryAndKeepsTheKind) {
  for (std::size_t cut = 0; cut < 8; ++cut) {
    StateProbe state;
    registerDoubles(state);
    Reports reports;
    errno = ERANGE;
    EXPECT_EQ(state.load(MemoryFile(intRecord().substr(0, cut))), -1) << cut;
    EXPECT_THAT(errorsOf(reports), ElementsAre(errnoReport("State", "load", ERANGE))) << cut;
    EXPECT_THAT(state.names(), IsEmpty()) << cut;
    EXPECT_EQ(state.varType, State::DOUBLE) << cut;
  }
}

TEST(StateLoad, ReportsAReadErrorInTheHeader) {
  for (std::size_t limit = 0; limit < 8; ++limit) {
    StateProbe state;
    registerDoubles(state);
    Reports reports;
    EXPECT_EQ(state.load(FailingFile(intRecord(), limit, "r")), -1) << limit;
    EXPECT_THAT(errorsOf(reports), ElementsAre(errnoReport("State", "load", EIO))) << limit;
    EXPECT_THAT(state.names(), IsEmpty()) << limit;
  }
}

TEST(StateLoad, ReportsCountAndKindFromLinesOfTheirOwn) {
  State state;
  Reports reports;
  state.load(FailingFile(intRecord(), 0, "r"));
  state.load(FailingFile(intRecord(), 4, "r"));
  const std::vector<Report> errors = reports.takeErrors();
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_NE(errors[0].line, errors[1].line);
}

TEST(StateLoad, AppendsVariablesThatAreCutAndGoesOn) {
  const std::string record = intRecord();  // variables at 8 and 25, to the end at 39
  for (std::size_t cut = 8; cut < record.size(); ++cut) {
    StateProbe state;
    Reports reports;
    errno = ERANGE;
    EXPECT_EQ(state.load(MemoryFile(record.substr(0, cut))), 0) << cut;
    const std::vector<Report> each(cut < 25 ? 2 : 1, errnoReport("VarValuesInt", "load", ERANGE));
    EXPECT_EQ(errorsOf(reports), each) << cut;
    EXPECT_THAT(state.names(), ElementsAre(cut < 17 ? "" : "speed", cut < 31 ? "" : "at")) << cut;
    EXPECT_EQ(state.varType, State::INT) << cut;
    EXPECT_EQ(state.getMinValueInt(0), cut < 21 ? 0 : -3) << cut;
    EXPECT_EQ(state.getValueInt(0), cut < 25 ? 0 : -1) << cut;
    EXPECT_EQ(state.getMinValueInt(1), cut < 35 ? 0 : 1) << cut;
    EXPECT_EQ(state.getValueInt(1), 0) << cut;
  }
}

TEST(StateLoad, AppendsRealVariablesThatAreCutAndGoesOn) {
  const std::string record = doubleRecord();  // variables at 8 and 33, to the end at 55
  for (std::size_t cut = 8; cut < record.size(); ++cut) {
    StateProbe state;
    Reports reports;
    errno = ERANGE;
    EXPECT_EQ(state.load(MemoryFile(record.substr(0, cut))), 0) << cut;
    const std::vector<Report> each(cut < 33 ? 2 : 1,
                                   errnoReport("VarValuesDouble", "load", ERANGE));
    EXPECT_EQ(errorsOf(reports), each) << cut;
    EXPECT_THAT(state.names(), ElementsAre(cut < 17 ? "" : "speed", cut < 39 ? "" : "at")) << cut;
    EXPECT_EQ(state.varType, State::DOUBLE) << cut;
    EXPECT_EQ(state.getMinValueDbl(0), cut < 25 ? 0.0 : -0.5) << cut;
    EXPECT_EQ(state.getValueDbl(0), cut < 33 ? 0.0 : -0.125) << cut;
    EXPECT_EQ(state.getMinValueDbl(1), cut < 47 ? 0.0 : 1.0) << cut;
    EXPECT_EQ(state.getValueDbl(1), 0.0) << cut;
  }
}

TEST(StateLoad, AppendsVariablesWhoseReadFailsAndGoesOn) {
  const std::string record = intRecord();
  for (std::size_t limit = 8; limit < record.size(); ++limit) {
    StateProbe state;
    Reports reports;
    EXPECT_EQ(state.load(FailingFile(record, limit, "r")), 0) << limit;
    const std::vector<Report> each(limit < 25 ? 2 : 1, errnoReport("VarValuesInt", "load", EIO));
    EXPECT_EQ(errorsOf(reports), each) << limit;
    EXPECT_EQ(state.getNumberOfVariables(), 2u) << limit;
  }
}

TEST(StateLoad, ReadsNothingBehindANameThatIsCut) {
  // The read of a name that the file can't hold takes all there is; nothing of it is another
  // variable.
  const std::string rest = variable("b", 1, 4) + variable("c", 1, 4);
  const MemoryFile file(header(3, 1) + bytes(1000u) + rest);
  StateProbe state;
  Reports reports;
  errno = ERANGE;
  EXPECT_EQ(state.load(file), 0);
  EXPECT_EQ(errorsOf(reports), std::vector<Report>(3, errnoReport("VarValuesInt", "load", ERANGE)));
  EXPECT_THAT(state.names(), ElementsAre("", "", ""));
}

TEST(StateLoad, OfAnUnknownKindGivesAnEmptyStateAndSuccess) {
  for (const int varType : {7, 3, -1, MIN, MAX}) {
    StateProbe state;
    registerInts(state);
    Reports reports;
    EXPECT_EQ(state.load(MemoryFile(header(2, varType) + variable("a", 0, 1))), 0);
    EXPECT_THAT(errorsOf(reports),
                ElementsAre(report("State", "load", "Undef VarType: " + std::to_string(varType))));
    EXPECT_THAT(state.names(), IsEmpty());
    EXPECT_EQ(static_cast<int>(state.varType), varType);
  }
}

TEST(StateLoad, OfAnUnknownKindReadsTheHeaderOnly) {
  const MemoryFile file(header(2, 7) + variable("a", 0, 1));
  State state;
  Reports reports;
  EXPECT_EQ(state.load(file), 0);
  EXPECT_EQ(std::ftell(file), 8);
}

TEST(StateLoad, OfAnEmptyStateReportsItsUndefinedKind) {
  const MemoryFile file;
  EXPECT_EQ(State().save(file), 0);
  file.rewind();
  StateProbe state;
  registerInts(state);
  Reports reports;
  EXPECT_EQ(state.load(file), 0);
  EXPECT_THAT(errorsOf(reports), ElementsAre(report("State", "load", "Undef VarType: 0")));
  EXPECT_THAT(state.names(), IsEmpty());
  EXPECT_EQ(state.varType, State::UNDEF);
}

TEST(StateLoad, OfAnUnknownKindDoesNotMindTheCount) {
  StateProbe state;
  Reports reports;
  EXPECT_EQ(state.load(MemoryFile(header(4294967295u, 7))), 0);
  EXPECT_EQ(reports.errors(), messages({"Undef VarType: 7"}));
}

// Counts that a file can't bear

TEST(StateLoad, FollowsACountUpTo1024IntoAShortFile) {
  for (const unsigned int count : {1u, 1023u, 1024u}) {
    for (const int varType : {1, 2}) {
      StateProbe state;
      Reports reports;
      errno = ERANGE;
      EXPECT_EQ(state.load(MemoryFile(header(count, varType))), 0) << count;
      const std::string file = varType == 1 ? "VarValuesInt" : "VarValuesDouble";
      EXPECT_EQ(errorsOf(reports), std::vector<Report>(count, errnoReport(file, "load", ERANGE)));
      EXPECT_EQ(state.names(), std::vector<std::string>(count, ""));
      EXPECT_EQ(static_cast<int>(state.varType), varType);
    }
  }
}

TEST(StateLoad, TakesALargerCountThatTheFileCanNotHoldForAFailedRead) {
  for (const unsigned int count : {1025u, 65536u, 2147483648u, 4294967295u}) {
    for (const int varType : {1, 2}) {
      StateProbe state;
      registerInts(state);
      Reports reports;
      errno = ERANGE;
      EXPECT_EQ(state.load(MemoryFile(header(count, varType) + intRecord())), -1) << count;
      EXPECT_THAT(errorsOf(reports), ElementsAre(errnoReport("State", "load", ERANGE)));
      EXPECT_THAT(state.names(), IsEmpty());
      EXPECT_EQ(state.varType, State::INT);
    }
  }
}

TEST(StateLoad, MeasuresALargerCountByTheSmallestRecord) {
  struct Kind {
    int varType;
    std::size_t recordSize;
  };
  for (const Kind& kind : {Kind{1, 12}, Kind{2, 20}}) {
    const std::string record =
        header(1025, kind.varType) + std::string(1025 * kind.recordSize, '\0');
    Reports reports;
    StateProbe state;
    EXPECT_EQ(state.load(MemoryFile(record)), 0);
    EXPECT_EQ(state.getNumberOfVariables(), 1025u);
    EXPECT_EQ(reports.errors(), messages({}));

    errno = ERANGE;
    StateProbe shorter;
    EXPECT_EQ(shorter.load(MemoryFile(record.substr(0, record.size() - 1))), -1);
    EXPECT_THAT(errorsOf(reports), ElementsAre(errnoReport("State", "load", ERANGE)));
    EXPECT_EQ(shorter.varType, State::UNDEF);
    EXPECT_THAT(shorter.names(), IsEmpty());
  }
}

TEST(StateLoad, MeasuresALargerCountFromTheFilesPosition) {
  // As many bytes as the variables need lie in the file, but some of them before the record.
  const MemoryFile file("before" + header(1025, 1) + std::string(1025 * 12 - 6, '\0'));
  std::fseek(file, 6, SEEK_SET);
  StateProbe state;
  Reports reports;
  EXPECT_EQ(state.load(file), -1);
  EXPECT_THAT(state.names(), IsEmpty());
}

TEST(StateLoad, ReadsManyVariablesFromAStreamThatCanNotSeek) {
  std::string record = header(1500, 1);
  for (int i = 0; i < 1500; ++i) {
    record += variable("", i, i);
  }
  StateProbe state;
  Reports reports;
  EXPECT_EQ(state.load(FailingFile(record, record.size() + 1, "r")), 0);
  EXPECT_EQ(state.getNumberOfVariables(), 1500u);
  EXPECT_EQ(state.getValueInt(1499), 1499);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(StateLoad, FollowsACountUpTo1024IntoAShortStream) {
  StateProbe state;
  Reports reports;
  errno = ERANGE;
  const std::string record = header(1024, 1) + variable("a", 1, 4);
  EXPECT_EQ(state.load(FailingFile(record, record.size() + 1, "r")), 0);
  EXPECT_EQ(errorsOf(reports),
            std::vector<Report>(1023, errnoReport("VarValuesInt", "load", ERANGE)));
  EXPECT_EQ(state.getNumberOfVariables(), 1024u);
  EXPECT_EQ(state.getValueInt(0), 2);
}

TEST(StateLoad, FollowsALargerCountAsFarAsAStreamGoes) {
  for (const std::size_t held : {3u, 1500u}) {
    std::string record = header(4294967295u, 1);
    for (std::size_t i = 0; i < held; ++i) {
      record += variable("", 6, 8);
    }
    StateProbe state;
    Reports reports;
    errno = ERANGE;
    EXPECT_EQ(state.load(FailingFile(record, record.size() + 1, "r")), -1);
    const std::vector<Report> errors = errorsOf(reports);
    ASSERT_FALSE(errors.empty());
    EXPECT_EQ(errors.back(), errnoReport("State", "load", ERANGE));
    EXPECT_GE(state.getNumberOfVariables(), held);
    EXPECT_LE(state.getNumberOfVariables(), held + 1024);
    for (unsigned int id = 0; id < held; ++id) {
      ASSERT_EQ(state.getValueInt(id), 7) << id;
    }
  }
}

TEST(StateLoad, NeedsAFile) {
  StateProbe state;
  registerInts(state);
  Reports reports;
  errno = EBADF;
  EXPECT_EQ(state.save(nullptr), -1);
  EXPECT_EQ(state.load(nullptr), -1);
  EXPECT_THAT(errorsOf(reports), ElementsAre(errnoReport("State", "save", EBADF),
                                             errnoReport("State", "load", EBADF)));
  EXPECT_THAT(state.names(), IsEmpty());
}

// Memory that runs out: operator new fails at its first, second, third... call inside an operation
// until the operation goes through. Whichever call fails, nothing is thrown and a report tells.

namespace {

// Longer than what a std::string holds without asking for memory.
const std::string NAME_A(100, 'a');
const std::string NAME_B(100, 'b');

// Takes what is printed on standard error without asking for memory.
class ErrorText : private std::streambuf {
 public:
  ErrorText() : before(std::cerr.rdbuf(this)) { setp(room.data(), room.data() + room.size()); }
  ~ErrorText() override { std::cerr.rdbuf(before); }
  ErrorText(const ErrorText&) = delete;
  ErrorText& operator=(const ErrorText&) = delete;

  std::string get() const { return std::string(pbase(), pptr()); }

 private:
  std::array<char, 16384> room;
  std::streambuf* before;
};

// What became of an operation in which a call of operator new failed, if it got that far.
struct Outcome {
  bool failed;  // whether the call was reached
  bool thrown;  // whether an exception came out
  unsigned int result;
  int heldBlocks;      // what the operation keeps of the memory it was given
  std::string errors;  // the reports
};

template <typename Operation>
Outcome run(FailingNew::Failing failing, int call, const Operation& operation) {
  Outcome outcome{};
  ErrorText text;
  {
    FailingNew memory(failing, call);
    try {
      outcome.result = operation();
    } catch (...) {
      outcome.thrown = true;
    }
    outcome.failed = memory.failed();
    outcome.heldBlocks = memory.held();
  }
  outcome.errors = text.get();
  return outcome;
}

const int MOST_CALLS = 100;  // far above what any operation here needs

// What stands on standard error: reports, and at least one of them for memory.
MATCHER(TellsOfMemory, "") {
  return arg.rfind("ERROR: File: ", 0) == 0 &&
         arg.find("    --> Can not allocate memory for ") != std::string::npos &&
         arg.back() == '\n';
}

class StateOutOfMemory : public testing::TestWithParam<FailingNew::Failing> {};

std::string kindOfFailure(const testing::TestParamInfo<FailingNew::Failing>& info) {
  return info.param == FailingNew::ONE ? "AtOneCall" : "FromACallOn";
}

std::string longNamesRecord(int varType) {
  const auto field = [&](int number) {
    return varType == 1 ? bytes(number) : bytes(static_cast<double>(number));
  };
  return bytes(2u) + bytes(varType) + bytes(100u) + NAME_A + field(0) + field(4) + bytes(100u) +
         NAME_B + field(6) + field(8);
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Memory, StateOutOfMemory,
                         testing::Values(FailingNew::ONE, FailingNew::ALL_FROM), kindOfFailure);

TEST_P(StateOutOfMemory, FirstRegistrationIsRefusedWithAReport) {
  int call = 1;
  for (; call <= MOST_CALLS; ++call) {
    StateProbe state;
    const Outcome outcome =
        run(GetParam(), call, [&] { return state.registerVariable(NAME_A, 0, 4); });
    ASSERT_FALSE(outcome.thrown) << call;
    if (!outcome.failed) {
      EXPECT_EQ(outcome.result, 0u);
      EXPECT_EQ(outcome.errors, "");
      EXPECT_THAT(state.names(), ElementsAre(NAME_A));
      break;
    }
    EXPECT_EQ(outcome.result, 4294967295u) << call;
    EXPECT_EQ(outcome.heldBlocks, 0) << call;
    EXPECT_EQ(state.getNumberOfVariables(), 0u) << call;
    EXPECT_THAT(outcome.errors, TellsOfMemory()) << call;
    // The refusal decides nothing: the next registration is the first one.
    EXPECT_EQ(state.registerVariable(NAME_B, 6.0, 8.0), 0u) << call;
    EXPECT_EQ(state.getValueDbl(0), 7.0) << call;
  }
  EXPECT_GT(call, 1);
  EXPECT_LE(call, MOST_CALLS);
}

TEST_P(StateOutOfMemory, LaterRegistrationIsRefusedWithAReport) {
  int call = 1;
  for (; call <= MOST_CALLS; ++call) {
    StateProbe state;
    state.registerVariable(NAME_A, 0.0, 4.0);
    const Outcome outcome =
        run(GetParam(), call, [&] { return state.registerVariable(NAME_B, 6.0, 8.0); });
    ASSERT_FALSE(outcome.thrown) << call;
    if (!outcome.failed) {
      EXPECT_EQ(outcome.result, 1u);
      EXPECT_EQ(outcome.errors, "");
      EXPECT_THAT(state.names(), ElementsAre(NAME_A, NAME_B));
      break;
    }
    EXPECT_EQ(outcome.result, 4294967295u) << call;
    EXPECT_EQ(outcome.heldBlocks, 0) << call;
    EXPECT_THAT(state.names(), ElementsAre(NAME_A)) << call;
    EXPECT_EQ(state.getValueDbl(0), 2.0) << call;
    EXPECT_THAT(outcome.errors, TellsOfMemory()) << call;
    EXPECT_EQ(state.registerVariable(NAME_B, 6.0, 8.0), 1u) << call;
  }
  EXPECT_GT(call, 1);
  EXPECT_LE(call, MOST_CALLS);
}

TEST_P(StateOutOfMemory, LoadReportsAndLeavesAConsistentState) {
  for (const int varType : {1, 2}) {
    int call = 1;
    for (; call <= MOST_CALLS; ++call) {
      const MemoryFile file(longNamesRecord(varType));
      StateProbe state;
      state.registerVariable(NAME_B, 0, 1);
      const Outcome outcome =
          run(GetParam(), call, [&] { return state.load(file) == 0 ? 0u : 1u; });
      ASSERT_FALSE(outcome.thrown) << call;
      ASSERT_TRUE(state.consistent()) << call;
      if (!outcome.failed) {
        EXPECT_EQ(outcome.result, 0u);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_THAT(state.names(), ElementsAre(NAME_A, NAME_B));
        break;
      }
      EXPECT_THAT(outcome.errors, TellsOfMemory()) << call;
      EXPECT_LE(state.getNumberOfVariables(), 2u) << call;
      // Success stands for all variables of the record, read or not.
      EXPECT_TRUE(outcome.result != 0 || state.getNumberOfVariables() == 2u) << call;
      // With memory at hand again the same state loads.
      file.rewind();
      EXPECT_EQ(state.load(file), 0) << call;
      EXPECT_THAT(state.names(), ElementsAre(NAME_A, NAME_B)) << call;
    }
    EXPECT_GT(call, 1);
    EXPECT_LE(call, MOST_CALLS);
  }
}

TEST_P(StateOutOfMemory, ConstructionFromAFileReportsAndLeavesAConsistentState) {
  int call = 1;
  for (; call <= MOST_CALLS; ++call) {
    const MemoryFile file(longNamesRecord(1));
    bool consistent = false;
    unsigned int variables = 0;
    const Outcome outcome = run(GetParam(), call, [&] {
      const StateProbe state(file);
      consistent = state.consistent();
      variables = state.getNumberOfVariables();
      return 0u;
    });
    ASSERT_FALSE(outcome.thrown) << call;
    EXPECT_TRUE(consistent) << call;
    if (!outcome.failed) {
      EXPECT_EQ(outcome.errors, "");
      EXPECT_EQ(variables, 2u);
      break;
    }
    EXPECT_LE(variables, 2u) << call;
    EXPECT_THAT(outcome.errors, TellsOfMemory()) << call;
  }
  EXPECT_GT(call, 1);
  EXPECT_LE(call, MOST_CALLS);
}

TEST(StateWithoutMemory, SavingAndReadingAccessorsAskForNoMemory) {
  StateProbe state;
  state.registerVariable(NAME_A, 0, 4);
  const MemoryFile file;
  const Outcome outcome = run(FailingNew::ALL_FROM, 1, [&] {
    state.setValueInt(0, 3);
    state.getValueInt(0);
    state.getValueInt(1);
    state.getVariableId(NAME_A);
    state.save(file);
    return 0u;
  });
  EXPECT_FALSE(outcome.failed);
  EXPECT_FALSE(outcome.thrown);
}
