#include "NamedFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "BinaryFile.h"
#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/NamedFiles.h"
#include "support/Reports.h"

namespace {

using testing::ElementsAre;

const QuarnelUtility::Place PLACE{"folder/Caller.cpp", "doing", 17};

/// A folder, the reports, and what a report of the caller looks like.
class NamedFileTest : public testing::Test {
 protected:
  // The reports so far are this one.
  void expectReport(const std::string& message) {
    EXPECT_THAT(reports.takeErrors(), ElementsAre(Report{true, "Caller", "doing", 17, message}));
    EXPECT_EQ(reports.informationText(), "");
  }

  void expectNoReport() {
    EXPECT_EQ(reports.errorText(), "");
    EXPECT_EQ(reports.informationText(), "");
  }

  TemporaryDirectory directory;
  std::string fileName = directory.file("values");
  Reports reports;
};

TEST_F(NamedFileTest, ReportsTheLastErrorOfLibcAtTheCallersPlace) {
  errno = EXDEV;
  BinaryFile::reportErrno(PLACE, NamedFile::SEPARATOR);
  expectReport("errno = 18 --> Invalid cross-device link");
}

TEST_F(NamedFileTest, OpensAFile) {
  writeFile(fileName, "content");
  FILE* const file = NamedFile::open(fileName, "r", PLACE);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::fgetc(file), 'c');
  EXPECT_EQ(std::fclose(file), 0);
  expectNoReport();
}

TEST_F(NamedFileTest, OpensInTheModeItIsGiven) {
  writeFile(fileName, "content");
  FILE* const file = NamedFile::open(fileName, "w+", PLACE);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(fcntl(fileno(file), F_GETFL) & O_ACCMODE, O_RDWR);
  EXPECT_EQ(std::fclose(file), 0);
  EXPECT_EQ(readFile(fileName), "");
}

TEST_F(NamedFileTest, ReportsAFileThatIsMissing) {
  EXPECT_EQ(NamedFile::open(fileName, "r", PLACE), nullptr);
  expectReport("errno = 2 --> No such file or directory");
}

TEST_F(NamedFileTest, ReportsAFolderThatIsMissing) {
  EXPECT_EQ(NamedFile::open(directory.file("missing/values"), "w+", PLACE), nullptr);
  expectReport(errnoMessage(ENOENT, " --> "));
}

TEST_F(NamedFileTest, ReportsAnEmptyName) {
  EXPECT_EQ(NamedFile::open("", "r", PLACE), nullptr);
  expectReport(errnoMessage(ENOENT, " --> "));
}

TEST_F(NamedFileTest, ReportsAFolderInPlaceOfAFileToWrite) {
  EXPECT_EQ(NamedFile::open(directory.file(""), "w+", PLACE), nullptr);
  expectReport(errnoMessage(EISDIR, " --> "));
}

TEST_F(NamedFileTest, ReportsANameThatIsTooLong) {
  EXPECT_EQ(NamedFile::open(directory.file(std::string(256, 'n')), "w+", PLACE), nullptr);
  expectReport(errnoMessage(ENAMETOOLONG, " --> "));
}

TEST_F(NamedFileTest, SavesTheRecordOfAState) {
  const std::unique_ptr<State> state(newState());
  const MemoryFile file;
  EXPECT_TRUE(NamedFile::saveState(file, state.get(), PLACE));
  EXPECT_EQ(file.content(), STATE_RECORD);
  expectNoReport();
}

TEST_F(NamedFileTest, FailsToSaveNoState) {
  const MemoryFile file;
  EXPECT_FALSE(NamedFile::saveState(file, nullptr, PLACE));
  EXPECT_EQ(file.content(), "");
  expectReport("saving state failed");
}

TEST_F(NamedFileTest, FailsToSaveAStateThatFailsAtAnyByte) {
  const std::unique_ptr<State> state(newState());
  for (std::size_t limit = 0; limit < STATE_RECORD.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_FALSE(NamedFile::saveState(file, state.get(), PLACE)) << limit;
    const std::string source = limit < 8 ? "State" : "VarValuesInt";
    EXPECT_THAT(withPlaces(reports.takeErrors()),
                ElementsAre(source + "::save: " + errnoMessage(EIO, "  -->  "),
                            "Caller::doing: saving state failed"));
    EXPECT_EQ(file.written(), STATE_RECORD.substr(0, limit)) << limit;
  }
  const FailingFile file("", STATE_RECORD.size(), "w");
  EXPECT_TRUE(NamedFile::saveState(file, state.get(), PLACE));
  expectNoReport();
}

TEST_F(NamedFileTest, LoadsTheRecordIntoTheState) {
  const std::unique_ptr<State> state(newStateOf(30));
  State* loaded = state.get();
  const MemoryFile file(STATE_RECORD);
  EXPECT_TRUE(NamedFile::loadState(file, loaded, PLACE));
  EXPECT_EQ(loaded, state.get());
  EXPECT_EQ(loaded->getNumberOfVariables(), 1U);
  EXPECT_EQ(loaded->getVariableId("x"), 0U);
  EXPECT_EQ(loaded->getMinValueInt(0), -3);
  expectNoReport();
}

TEST_F(NamedFileTest, FailsWhereTheStateDoes) {
  const std::unique_ptr<State> state(newState());
  State* loaded = state.get();
  const MemoryFile file(STATE_RECORD.substr(0, 7));
  errno = 0;
  EXPECT_FALSE(NamedFile::loadState(file, loaded, PLACE));
  EXPECT_EQ(loaded, state.get());
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("State::load: " + errnoMessage(0, "  -->  "),
                          "Caller::doing: loading state failed"));
}

TEST_F(NamedFileTest, MakesAStateFromTheRecordWhereThereIsNone) {
  State* loaded = nullptr;
  const MemoryFile file(STATE_RECORD);
  EXPECT_TRUE(NamedFile::loadState(file, loaded, PLACE));
  const std::unique_ptr<State> state(loaded);
  ASSERT_NE(state, nullptr);
  EXPECT_EQ(state->getNumberOfVariables(), 1U);
  EXPECT_EQ(state->getMaxValueInt(0), 7);
  expectNoReport();
}

TEST_F(NamedFileTest, PassesNoDamageOnFromAStateThatItMakes) {
  State* loaded = nullptr;
  const MemoryFile file;
  errno = 0;
  EXPECT_TRUE(NamedFile::loadState(file, loaded, PLACE));
  const std::unique_ptr<State> state(loaded);
  ASSERT_NE(state, nullptr);
  EXPECT_EQ(state->getNumberOfVariables(), 0U);
  EXPECT_THAT(withPlaces(reports.takeErrors()),
              ElementsAre("State::load: " + errnoMessage(0, "  -->  ")));
}

TEST_F(NamedFileTest, ReportsAStateThatThereIsNoMemoryFor) {
  State* loaded = nullptr;
  const MemoryFile file(STATE_RECORD);
  bool success = true;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    success = NamedFile::loadState(file, loaded, PLACE);
  }
  EXPECT_FALSE(success);
  EXPECT_EQ(loaded, nullptr);
  expectReport("loading state failed");
}

TEST_F(NamedFileTest, WritesANumberInFourBytesLowestFirst) {
  const MemoryFile file;
  EXPECT_TRUE(BinaryFile::write(file, 0x01020304, PLACE, NamedFile::SEPARATOR));
  EXPECT_TRUE(BinaryFile::write(file, -2, PLACE, NamedFile::SEPARATOR));
  EXPECT_TRUE(
      BinaryFile::write(file, std::numeric_limits<int>::min(), PLACE, NamedFile::SEPARATOR));
  EXPECT_EQ(file.content(), std::string("\x04\x03\x02\x01\xfe\xff\xff\xff\0\0\0\x80", 12));
  expectNoReport();
}

TEST_F(NamedFileTest, ReportsANumberThatCannotBeWrittenWhole) {
  for (std::size_t limit = 0; limit < 4; ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_FALSE(BinaryFile::write(file, 7, PLACE, NamedFile::SEPARATOR)) << limit;
    expectReport("errno = 5 --> Input/output error");
  }
  const FailingFile file("", 4, "w");
  EXPECT_TRUE(BinaryFile::write(file, 7, PLACE, NamedFile::SEPARATOR));
  EXPECT_EQ(file.written(), std::string("\x07\0\0\0", 4));
  expectNoReport();
}

TEST_F(NamedFileTest, ReadsANumberAndNoMore) {
  const MemoryFile file(std::string("\x04\x03\x02\x01\xfe\xff\xff\xff", 8));
  int number = 0;
  EXPECT_TRUE(BinaryFile::read(file, number, PLACE, NamedFile::SEPARATOR));
  EXPECT_EQ(number, 0x01020304);
  EXPECT_TRUE(BinaryFile::read(file, number, PLACE, NamedFile::SEPARATOR));
  EXPECT_EQ(number, -2);
  expectNoReport();
}

TEST_F(NamedFileTest, KeepsTheNumberWhereTheFileEndsEarly) {
  for (std::size_t length = 0; length < 4; ++length) {
    const MemoryFile file(std::string(length, '\x01'));
    int number = 42;
    errno = 0;
    EXPECT_FALSE(BinaryFile::read(file, number, PLACE, NamedFile::SEPARATOR)) << length;
    EXPECT_EQ(number, 42) << length;
    expectReport("errno = 0 --> Success");
  }
}

TEST_F(NamedFileTest, ReportsANumberThatCannotBeRead) {
  for (std::size_t limit = 0; limit < 4; ++limit) {
    const FailingFile file("abcd", limit, "r");
    int number = 42;
    EXPECT_FALSE(BinaryFile::read(file, number, PLACE, NamedFile::SEPARATOR)) << limit;
    EXPECT_EQ(number, 42) << limit;
    expectReport("errno = 5 --> Input/output error");
  }
}

TEST_F(NamedFileTest, TakesOnlyZeroForSuccess) {
  EXPECT_TRUE(NamedFile::succeeded(0, "message", PLACE));
  expectNoReport();
  for (const int status : {-1, 1, 2, std::numeric_limits<int>::min()}) {
    EXPECT_FALSE(NamedFile::succeeded(status, "message", PLACE)) << status;
    expectReport("message");
  }
}

TEST_F(NamedFileTest, ClosesAFile) {
  FILE* const file = NamedFile::open(fileName, "w+", PLACE);
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(BinaryFile::write(file, 7, PLACE, NamedFile::SEPARATOR));
  EXPECT_EQ(openHandles(fileName), 1);
  EXPECT_EQ(NamedFile::close(file, PLACE), 0);
  EXPECT_EQ(openHandles(fileName), 0);
  EXPECT_EQ(readFile(fileName), std::string("\x07\0\0\0", 4));
  expectNoReport();
}

TEST_F(NamedFileTest, ReportsAFileThatIsFullWhenItIsClosed) {
  const int handles = openHandles(FULL_DEVICE);
  FILE* const file = NamedFile::open(FULL_DEVICE, "w+", PLACE);
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(BinaryFile::write(file, 7, PLACE, NamedFile::SEPARATOR));
  expectNoReport();
  EXPECT_EQ(NamedFile::close(file, PLACE), -1);
  expectReport("errno = 28 --> No space left on device");
  EXPECT_EQ(openHandles(FULL_DEVICE), handles);
}

}  // namespace
