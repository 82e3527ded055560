#include <fcntl.h>
#include <gmock/gmock.h>
#include <quarnel/StateLookupTable.h>
#include <quarnel/StateValueFunction.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

#include "support/FakeValueFunctions.h"
#include "support/Files.h"
#include "support/NamedFiles.h"
#include "support/Reports.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string rangeOf(const State& state) {
  return std::to_string(state.getMinValueInt(0)) + " to " + std::to_string(state.getMaxValueInt(0));
}

// A state whose record has the layout of newState() and other content.
State* newOtherState() {
  auto* const state = new State();
  state->registerVariable("y", 10, 20);
  return state;
}

/// A value function on newState(), a folder for its file, and the reports.
class StateValueFunctionTest : public testing::Test {
 protected:
  TemporaryDirectory directory;
  std::string fileName = directory.file("values");
  FakeStateValueFunction function{newState()};
  Reports reports;
};

TEST_F(StateValueFunctionTest, AddsTheValueOfAStateToTheInterface) {
  EXPECT_TRUE((std::is_base_of_v<ValueFunction, StateValueFunction>));
  EXPECT_TRUE(std::is_abstract_v<StateValueFunction>);
  EXPECT_TRUE(std::has_virtual_destructor_v<StateValueFunction>);
  EXPECT_EQ(sizeof(StateValueFunction), sizeof(ValueFunction));
  const StateValueFunction& interface = function;
  EXPECT_EQ(interface.getStateValue(), 3.25);
  EXPECT_THAT(function.calls, ElementsAre("getStateValue()"));
}

TEST_F(StateValueFunctionTest, ReturnsConstantScalars) {
  using Function = StateValueFunction;
  EXPECT_TRUE(
      (std::is_same_v<decltype(&Function::getStateValue), const double (Function::*)() const>));
  const int (Function::*const save)(const std::string&) const = &Function::save;
  const int (Function::*const load)(const std::string&) = &Function::load;
  EXPECT_NE(save, nullptr);
  EXPECT_NE(load, nullptr);
}

TEST_F(StateValueFunctionTest, HoldsTheStateItIsBuiltOn) {
  State* const state = newState();
  const FakeStateValueFunction built(state);
  EXPECT_EQ(built.getStatePtr(), state);
  EXPECT_EQ(FakeStateValueFunction(nullptr).getStatePtr(), nullptr);
}

TEST_F(StateValueFunctionTest, SavesTheStateThenTheBlockAndNothingElse) {
  function.block = std::string("b\0l\xff", 4);
  const StateValueFunction& interface = function;
  EXPECT_EQ(interface.save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + std::string("b\0l\xff", 4));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(StateValueFunctionTest, SavesAStateOfRealVariables) {
  auto* const state = new State();
  state->registerVariable("pos", -1.0, 2.0);
  const FakeStateValueFunction real(state);
  EXPECT_EQ(real.save(fileName), 0);
  const std::string expected(
      "\x01\0\0\0"
      "\x02\0\0\0"
      "\x03\0\0\0"
      "pos"
      "\0\0\0\0\0\0\xf0\xbf"
      "\0\0\0\0\0\0\0\x40"
      "block",
      36);
  EXPECT_EQ(readFile(fileName), expected);
}

TEST_F(StateValueFunctionTest, SavesAStateWithoutVariables) {
  const FakeStateValueFunction empty(new State());
  EXPECT_EQ(empty.save(fileName), 0);
  EXPECT_EQ(readFile(fileName), std::string("\0\0\0\0\0\0\0\0", 8) + "block");
}

TEST_F(StateValueFunctionTest, SavesABlockOfNoBytes) {
  function.block = "";
  EXPECT_EQ(function.save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD);
}

TEST_F(StateValueFunctionTest, AsksForTheBlockOnceBehindTheState) {
  EXPECT_EQ(function.save(fileName), 0);
  EXPECT_THAT(function.calls, ElementsAre("save at 21"));
}

TEST_F(StateValueFunctionTest, ReplacesTheWholeOfAnOlderFile) {
  writeFile(fileName, std::string(1000, 'o'));
  EXPECT_EQ(function.save(fileName), 0);
  EXPECT_EQ(readFile(fileName), STATE_RECORD + "block");
}

TEST_F(StateValueFunctionTest, OpensTheFileForReadingTooWhileSaving) {
  int access = -1;
  function.visitor = [&](FILE* file) { access = fcntl(fileno(file), F_GETFL) & O_ACCMODE; };
  EXPECT_EQ(function.save(fileName), 0);
  EXPECT_EQ(access, O_RDWR);
}

TEST_F(StateValueFunctionTest, OpensTheFileOnlyForReadingWhileLoading) {
  int access = -1;
  writeFile(fileName, STATE_RECORD + "block");
  function.visitor = [&](FILE* file) { access = fcntl(fileno(file), F_GETFL) & O_ACCMODE; };
  EXPECT_EQ(function.load(fileName), 0);
  EXPECT_EQ(access, O_RDONLY);
}

TEST_F(StateValueFunctionTest, LoadsTheStateIntoTheOneItHasAndThenTheBlock) {
  FakeStateValueFunction other(newOtherState());
  State* const state = other.getStatePtr();
  other.block = "other";
  writeFile(fileName, STATE_RECORD + "BLOCK");
  EXPECT_EQ(other.load(fileName), 0);
  EXPECT_EQ(other.getStatePtr(), state);
  EXPECT_EQ(state->getNumberOfVariables(), 1U);
  EXPECT_EQ(state->getVariableId("x"), 0U);
  EXPECT_EQ(rangeOf(*state), "-3 to 7");
  EXPECT_EQ(state->getValueInt(0), 2);
  EXPECT_EQ(other.block, "BLOCK");
  EXPECT_THAT(other.calls, ElementsAre("load at 21"));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(StateValueFunctionTest, LoadsWhatItSaved) {
  const std::string block("\0\n\r\x1a\xff", 5);
  function.block = block;
  EXPECT_EQ(function.save(fileName), 0);
  function.block = "other";
  EXPECT_EQ(function.load(fileName), 0);
  EXPECT_EQ(function.block, block);
  EXPECT_EQ(function.save(directory.file("again")), 0);
  EXPECT_EQ(readFile(directory.file("again")), readFile(fileName));
}

TEST_F(StateValueFunctionTest, RestoresWeightsBitForBit) {
  StateLookupTable table(newState());
  table.initWeights(ValueFunction::getRandomInitializer());
  EXPECT_EQ(table.save(fileName), 0);
  StateLookupTable copy(newState());
  EXPECT_EQ(copy.load(fileName), 0);
  for (int x = -3; x <= 7; ++x) {
    table.getStatePtr()->setValueInt(0, x);
    table.setState();
    copy.getStatePtr()->setValueInt(0, x);
    copy.setState();
    EXPECT_NE(table.getStateValue(), 0.0) << x;
    EXPECT_EQ(copy.getStateValue(), table.getStateValue()) << x;
  }
}

TEST_F(StateValueFunctionTest, LeavesUnreadWhatFollowsTheBlock) {
  writeFile(fileName, STATE_RECORD + "BLOCK and more");
  EXPECT_EQ(function.load(fileName), 0);
  EXPECT_EQ(function.block, "BLOCK");
}

TEST_F(StateValueFunctionTest, LoadsFromAFileThatCannotTellItsSize) {
  ASSERT_EQ(mkfifo(fileName.c_str(), 0600), 0);
  const int writer = open(fileName.c_str(), O_RDWR);
  const std::string content = STATE_RECORD + "BLOCK";
  ASSERT_EQ(write(writer, content.data(), content.size()), static_cast<ssize_t>(content.size()));
  FakeStateValueFunction other(newOtherState());
  EXPECT_EQ(other.load(fileName), 0);
  close(writer);
  EXPECT_EQ(rangeOf(*other.getStatePtr()), "-3 to 7");
  EXPECT_EQ(other.block, "BLOCK");
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(StateValueFunctionTest, MakesTheStateFromTheFileWhereItHasNone) {
  FakeStateValueFunction built(nullptr);
  writeFile(fileName, STATE_RECORD + "BLOCK");
  EXPECT_EQ(built.load(fileName), 0);
  ASSERT_NE(built.getStatePtr(), nullptr);
  EXPECT_EQ(built.getStatePtr()->getVariableId("x"), 0U);
  EXPECT_EQ(rangeOf(*built.getStatePtr()), "-3 to 7");
  EXPECT_EQ(built.block, "BLOCK");
  EXPECT_THAT(built.calls, ElementsAre("load at 21"));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(StateValueFunctionTest, LeavesItToTheNewStateToReportItsDamage) {
  FakeStateValueFunction built(nullptr);
  built.block = "";
  writeFile(fileName, STATE_RECORD.substr(0, 7));
  errno = 0;
  EXPECT_EQ(built.load(fileName), 0);
  ASSERT_NE(built.getStatePtr(), nullptr);
  EXPECT_EQ(built.getStatePtr()->getNumberOfVariables(), 0U);
  EXPECT_THAT(built.calls, ElementsAre("load at 7"));
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("State::load: " + errnoMessage(0, "  -->  ")));
}

TEST_F(StateValueFunctionTest, GoesOnToTheBlockBehindAStateOfUnknownKind) {
  writeFile(fileName, std::string("\x02\0\0\0\x07\0\0\0", 8) + "BLOCK");
  EXPECT_EQ(function.load(fileName), 0);
  EXPECT_EQ(function.getStatePtr()->getNumberOfVariables(), 0U);
  EXPECT_EQ(function.block, "BLOCK");
  EXPECT_THAT(function.calls, ElementsAre("load at 8"));
  EXPECT_THAT(withPlaces(reports.takeErrors()), ElementsAre("State::load: Undef VarType: 7"));
}

TEST_F(StateValueFunctionTest, GoesOnToTheBlockBehindADamagedVariable) {
  function.block = "";
  writeFile(fileName, STATE_RECORD.substr(0, 20));
  errno = 0;
  EXPECT_EQ(function.load(fileName), 0);
  EXPECT_EQ(function.getStatePtr()->getNumberOfVariables(), 1U);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("VarValuesInt::load: " + errnoMessage(0, "  -->  ")));
}

TEST_F(StateValueFunctionTest, FailsToSaveIntoAMissingFolder) {
  EXPECT_EQ(function.save(directory.file("missing/values")), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::save: " + errnoMessage(ENOENT, " --> ")));
  EXPECT_THAT(function.calls, IsEmpty());
}

TEST_F(StateValueFunctionTest, FailsToSaveOntoAFolder) {
  EXPECT_EQ(function.save(directory.file("")), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::save: " + errnoMessage(EISDIR, " --> ")));
  EXPECT_THAT(function.calls, IsEmpty());
}

TEST_F(StateValueFunctionTest, FailsToLoadAMissingFileAndChangesNothing) {
  EXPECT_EQ(function.load(fileName), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::load: errno = 2 --> No such file or directory"));
  EXPECT_THAT(function.calls, IsEmpty());
  EXPECT_EQ(rangeOf(*function.getStatePtr()), "-3 to 7");
  EXPECT_EQ(function.block, "block");
  EXPECT_NE(access(fileName.c_str(), F_OK), 0);
}

TEST_F(StateValueFunctionTest, MakesNoStateFromAMissingFile) {
  FakeStateValueFunction built(nullptr);
  EXPECT_EQ(built.load(fileName), -1);
  EXPECT_EQ(built.getStatePtr(), nullptr);
}

TEST_F(StateValueFunctionTest, FailsToLoadWhatCannotBeOpened) {
  writeFile(fileName, STATE_RECORD + "block");
  EXPECT_EQ(function.load(fileName + "/values"), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::load: " + errnoMessage(ENOTDIR, " --> ")));
  EXPECT_THAT(function.calls, IsEmpty());
}

TEST_F(StateValueFunctionTest, FailsToSaveWithoutAState) {
  const FakeStateValueFunction stateless(nullptr);
  EXPECT_EQ(stateless.save(fileName), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::save: saving state failed"));
  EXPECT_THAT(stateless.calls, IsEmpty());
}

TEST_F(StateValueFunctionTest, FailsWhereTheStateCannotBeSavedAndLeavesTheFileOpen) {
  const FakeStateValueFunction large(newStateOf(heldBackBytes() * 2));
  const int handles = openHandles(FULL_DEVICE);
  EXPECT_EQ(large.save(FULL_DEVICE), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("VarValuesInt::save: " + errnoMessage(ENOSPC, "  -->  "),
                          "StateValueFunction::save: saving state failed"));
  EXPECT_THAT(large.calls, IsEmpty());
  EXPECT_EQ(openHandles(FULL_DEVICE), handles + 1);
}

TEST_F(StateValueFunctionTest, FailsWhereTheBlockCannotBeSavedAndLeavesTheFileOpen) {
  FakeStateValueFunction large(newStateOf(heldBackBytes()));
  const int handles = openHandles(FULL_DEVICE);
  EXPECT_EQ(large.save(FULL_DEVICE), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::save: saving valuefunction failed"));
  EXPECT_EQ(large.calls.size(), 1U);
  EXPECT_EQ(openHandles(FULL_DEVICE), handles + 1);
}

TEST_F(StateValueFunctionTest, FailsToSaveWhereOnlyClosingFails) {
  const int handles = openHandles(FULL_DEVICE);
  EXPECT_EQ(function.save(FULL_DEVICE), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::save: errno = 28 --> No space left on device"));
  EXPECT_EQ(function.calls.size(), 1U);
  EXPECT_EQ(openHandles(FULL_DEVICE), handles);
}

TEST_F(StateValueFunctionTest, TakesEveryStatusButZeroForAFailureToSave) {
  for (const int status : {-1, 1, 2, -2147483647}) {
    FILE* opened = nullptr;
    function.status = status;
    function.visitor = [&](FILE* file) { opened = file; };
    EXPECT_EQ(function.save(fileName), -1) << status;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("StateValueFunction::save: saving valuefunction failed"));
    EXPECT_EQ(openHandles(fileName), 1);
    // What was written so far is neither taken back nor lost.
    EXPECT_EQ(std::fclose(opened), 0);
    EXPECT_EQ(readFile(fileName), STATE_RECORD + "block");
  }
}

TEST_F(StateValueFunctionTest, FailsWhereTheStateCannotBeReadAndLeavesTheFileOpen) {
  const std::string folder = directory.file("folder");
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  EXPECT_EQ(function.load(folder), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("State::load: " + errnoMessage(EISDIR, "  -->  "),
                          "StateValueFunction::load: loading state failed"));
  EXPECT_THAT(function.calls, IsEmpty());
  EXPECT_EQ(openHandles(folder), 1);
}

TEST_F(StateValueFunctionTest, TakesEveryStatusButZeroForAFailureToLoad) {
  writeFile(fileName, STATE_RECORD + "BLOCK");
  for (const int status : {-1, 1, 2, -2147483647}) {
    FILE* opened = nullptr;
    FakeStateValueFunction other(newOtherState());
    other.status = status;
    other.visitor = [&](FILE* file) { opened = file; };
    EXPECT_EQ(other.load(fileName), -1) << status;
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre("StateValueFunction::load: loading valuefunction failed"));
    EXPECT_EQ(openHandles(fileName), 1);
    EXPECT_EQ(std::fclose(opened), 0);
  }
}

TEST_F(StateValueFunctionTest, KeepsWhatItReadBeforeAFailure) {
  FakeStateValueFunction other(newOtherState());
  other.status = -1;
  writeFile(fileName, STATE_RECORD + "BLOCK");
  EXPECT_EQ(other.load(fileName), -1);
  EXPECT_EQ(other.getStatePtr()->getVariableId("x"), 0U);
  EXPECT_EQ(rangeOf(*other.getStatePtr()), "-3 to 7");
  EXPECT_EQ(other.block, "BLOCK");
}

TEST_F(StateValueFunctionTest, KeepsTheStateItMadeBeforeAFailure) {
  FakeStateValueFunction built(nullptr);
  built.status = -1;
  writeFile(fileName, STATE_RECORD + "BLOCK");
  EXPECT_EQ(built.load(fileName), -1);
  ASSERT_NE(built.getStatePtr(), nullptr);
  EXPECT_EQ(rangeOf(*built.getStatePtr()), "-3 to 7");
}

TEST_F(StateValueFunctionTest, FailsToLoadWhereOnlyClosingFails) {
  writeFile(fileName, STATE_RECORD + "BLOCK");
  function.visitor = [](FILE* file) { close(fileno(file)); };
  EXPECT_EQ(function.load(fileName), -1);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("StateValueFunction::load: errno = 9 --> Bad file descriptor"));
  EXPECT_EQ(function.block, "BLOCK");
}

TEST_F(StateValueFunctionTest, ClosesItsFileAfterSuccess) {
  EXPECT_EQ(function.save(fileName), 0);
  EXPECT_EQ(openHandles(fileName), 0);
  EXPECT_EQ(function.load(fileName), 0);
  EXPECT_EQ(openHandles(fileName), 0);
}

TEST_F(StateValueFunctionTest, FailsToLoadAFileCutAtAnyByte) {
  const std::string whole = STATE_RECORD + "BLOCK";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    std::vector<std::string> expected;
    if (length < 8) {
      expected = {"State::load: " + errnoMessage(0, "  -->  "),
                  "StateValueFunction::load: loading state failed"};
    } else {
      if (length < 21) {
        expected = {"VarValuesInt::load: " + errnoMessage(0, "  -->  ")};
      }
      expected.emplace_back("StateValueFunction::load: loading valuefunction failed");
    }
    FakeStateValueFunction cut(newOtherState());
    writeFile(fileName, whole.substr(0, length));
    errno = 0;
    EXPECT_EQ(cut.load(fileName), -1) << length << " bytes";
    EXPECT_EQ(withPlaces(reports.takeErrors()), expected) << length << " bytes";
    EXPECT_EQ(cut.calls.size(), length < 8 ? 0U : 1U) << length << " bytes";
    EXPECT_EQ(cut.block, "block") << length << " bytes";
  }
}

}  // namespace
