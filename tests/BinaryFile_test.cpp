#include "BinaryFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"

namespace {

const QuarnelUtility::Place PLACE{"src/Caller.cpp", "load", 12};
const std::int64_t HUGE_COUNT = std::numeric_limits<std::int64_t>::max();
const std::size_t CHUNK = 65536;  // the step in which a container grows

std::vector<Report> reportsOfCaller(const std::string& message) {
  return {{true, "Caller", "load", 12, message}};
}

std::vector<Report> errnoReport(int number) {
  return reportsOfCaller(errnoMessage(number, "  -->  "));
}

/// The reading end of a pipe that holds `content` and has no writer any more.
class Pipe {
 public:
  explicit Pipe(const std::string& content) : file(nullptr) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    EXPECT_EQ(write(ends[1], content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(ends[1]);
    file = fdopen(ends[0], "r");
    EXPECT_NE(file, nullptr);
  }
  ~Pipe() { std::fclose(file); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  operator FILE*() const { return file; }

 private:
  FILE* file;
};

/// Bytes that differ from their neighbours.
std::string pattern(std::size_t size) {
  std::string text(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    text[i] = static_cast<char>(i % 251);
  }
  return text;
}

}  // namespace

TEST(BinaryFileRemainingBytes, OfAnEmptyFileAreNone) {
  EXPECT_EQ(BinaryFile::remainingBytes(MemoryFile()), 0);
}

TEST(BinaryFileRemainingBytes, CountFromThePositionToTheEnd) {
  const MemoryFile file("abcde");
  for (std::int64_t left = 5; left > 0; --left) {
    EXPECT_EQ(BinaryFile::remainingBytes(file), left);
    std::fgetc(file);
  }
  EXPECT_EQ(BinaryFile::remainingBytes(file), 0);
}

TEST(BinaryFileRemainingBytes, LeaveThePositionAsItIs) {
  const MemoryFile file("abcde");
  std::fseek(file, 2, SEEK_SET);
  BinaryFile::remainingBytes(file);
  EXPECT_EQ(std::ftell(file), 2);
  EXPECT_EQ(std::fgetc(file), 'c');
}

TEST(BinaryFileRemainingBytes, BeyondTheEndAreNone) {
  const MemoryFile file("abcde");
  std::fseek(file, 9, SEEK_SET);
  EXPECT_EQ(BinaryFile::remainingBytes(file), 0);
  EXPECT_EQ(std::ftell(file), 9);
}

TEST(BinaryFileRemainingBytes, CountWhatIsStillInTheBuffer) {
  const MemoryFile file;
  std::fputs("abcde", file);
  EXPECT_EQ(BinaryFile::remainingBytes(file), 0);
  std::rewind(file);
  EXPECT_EQ(BinaryFile::remainingBytes(file), 5);
}

TEST(BinaryFileRemainingBytes, GoBeyond32Bits) {
  const MemoryFile file;
  ASSERT_EQ(ftruncate(fileno(file), 5'000'000'000), 0);
  EXPECT_EQ(BinaryFile::remainingBytes(file), 5'000'000'000);
}

TEST(BinaryFileRemainingBytes, OfAPipeAreUnknown) {
  const Pipe file("abcde");
  EXPECT_EQ(BinaryFile::remainingBytes(file), -1);
  EXPECT_EQ(std::fgetc(file), 'a');
}

TEST(BinaryFileRemainingBytes, OfAStreamThatCanNotSeekAreUnknown) {
  const FailingFile file("abcde", 6, "r");
  EXPECT_EQ(BinaryFile::remainingBytes(file), -1);
  EXPECT_EQ(std::fgetc(file), 'a');
}

TEST(BinaryFileRemainingBytes, OfNoFileAreUnknown) {
  EXPECT_EQ(BinaryFile::remainingBytes(nullptr), -1);
}

TEST(BinaryFileRemainingBytes, LeaveErrnoAsItIs) {
  const Pipe stream("abcde");
  errno = ERANGE;
  BinaryFile::remainingBytes(stream);
  EXPECT_EQ(errno, ERANGE);
  const MemoryFile file("abcde");
  errno = ERANGE;
  BinaryFile::remainingBytes(file);
  EXPECT_EQ(errno, ERANGE);
}

TEST(BinaryFileRefuseCount, ReportsTheLastErrorAndLeavesTheFileAtItsEndAsAShortReadWould) {
  Reports reports;
  const MemoryFile file("abcdefgh");
  std::fgetc(file);
  errno = ENOENT;
  BinaryFile::refuseCount(file, PLACE);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(reports.errors(),
            std::vector<std::string>{"errno = 2  -->  No such file or directory"});
  EXPECT_EQ(std::ftell(file), 8);
  EXPECT_EQ(std::fgetc(file), EOF);
}

TEST(BinaryFileRefuseCount, OfAStreamThatCanNotSeekOnlyReports) {
  Reports reports;
  const Pipe file("abcde");
  errno = ENOENT;
  BinaryFile::refuseCount(file, PLACE, " --> ");
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(reports.errors(), std::vector<std::string>{"errno = 2 --> No such file or directory"});
  EXPECT_EQ(std::fgetc(file), 'a');
}

TEST(BinaryFileRefuseCount, OfNoFileOnlyReports) {
  Reports reports;
  BinaryFile::refuseCount(nullptr, PLACE);
  EXPECT_EQ(reports.errors().size(), 1u);
}

TEST(BinaryFileMayHold, AsManyItemsAsAreLeft) {
  for (const std::size_t size : {15u, 16u, 17u, 23u}) {
    const MemoryFile file(std::string(size, 'x'));
    EXPECT_TRUE(BinaryFile::mayHold(file, 0, 8)) << size;
    EXPECT_TRUE(BinaryFile::mayHold(file, 1, 8)) << size;
    EXPECT_EQ(BinaryFile::mayHold(file, 2, 8), size >= 16) << size;
    EXPECT_FALSE(BinaryFile::mayHold(file, 3, 8)) << size;
  }
}

TEST(BinaryFileMayHold, CountsFromThePosition) {
  const MemoryFile file("abcdefgh");
  std::fgetc(file);
  EXPECT_TRUE(BinaryFile::mayHold(file, 7, 1));
  EXPECT_FALSE(BinaryFile::mayHold(file, 8, 1));
  EXPECT_FALSE(BinaryFile::mayHold(file, 1, 8));
}

TEST(BinaryFileMayHold, NoItemsInAnyFile) {
  EXPECT_TRUE(BinaryFile::mayHold(MemoryFile(), 0, 8));
  EXPECT_FALSE(BinaryFile::mayHold(MemoryFile(), 1, 8));
}

TEST(BinaryFileMayHold, RefusesCountsWhoseBytesOverflow) {
  const MemoryFile file("abcdefgh");
  EXPECT_FALSE(BinaryFile::mayHold(file, HUGE_COUNT, 20));
  EXPECT_FALSE(BinaryFile::mayHold(file, (HUGE_COUNT / 8) + 1, 16));
}

TEST(BinaryFileMayHold, AnythingWhereTheSizeIsUnknown) {
  EXPECT_TRUE(BinaryFile::mayHold(Pipe("a"), HUGE_COUNT, 8));
  EXPECT_TRUE(BinaryFile::mayHold(FailingFile("a", 1, "r"), HUGE_COUNT, 8));
}

TEST(BinaryFileReportErrno, ShowsNumberAndTextAtTheCallersPlace) {
  Reports reports;
  errno = ENOSPC;
  BinaryFile::reportErrno(PLACE);
  EXPECT_EQ(reports.errorText(),
            "ERROR: File: Caller   Function: load   Line: 12    --> "
            "errno = 28  -->  No space left on device\n");
}

TEST(BinaryFileReportErrno, TakesTheCallersSeparator) {
  Reports reports;
  const std::vector<Report> expected = reportsOfCaller("errno = 9 --> Bad file descriptor");
  int number = 0;
  errno = EBADF;
  BinaryFile::reportErrno(PLACE, " --> ");
  EXPECT_EQ(reports.takeErrors(), expected);
  EXPECT_FALSE(BinaryFile::write(nullptr, number, PLACE, " --> "));
  EXPECT_EQ(reports.takeErrors(), expected);
  EXPECT_FALSE(BinaryFile::read(nullptr, number, PLACE, " --> "));
  EXPECT_EQ(reports.takeErrors(), expected);
}

TEST(BinaryFileWriteItems, WritesTheBytesAsTheyLie) {
  const MemoryFile file;
  Reports reports;
  const std::array<std::uint16_t, 3> items = {0x0102, 0x0304, 0x0506};
  EXPECT_TRUE(BinaryFile::writeItems(file, items.data(), 2, 2, PLACE));
  EXPECT_EQ(file.content(), "\x02\x01\x04\x03");
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(BinaryFileWriteItems, WritesNothingForNoItems) {
  const FailingFile file("", 0, "w");
  Reports reports;
  EXPECT_TRUE(BinaryFile::writeItems(file, nullptr, 8, 0, PLACE));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(BinaryFileWriteItems, ReportsAWriteThatFailsAtAnyByte) {
  const std::string items = "abcdefgh";
  for (std::size_t limit = 0; limit < items.size(); ++limit) {
    const FailingFile file("", limit, "w");
    Reports reports;
    EXPECT_FALSE(BinaryFile::writeItems(file, items.data(), 4, 2, PLACE)) << limit;
    EXPECT_EQ(reports.takeErrors(), errnoReport(EIO)) << limit;
    EXPECT_EQ(file.written(), items.substr(0, limit));
  }
}

TEST(BinaryFileWriteItems, ReportsAMissingFile) {
  Reports reports;
  errno = EBADF;
  EXPECT_FALSE(BinaryFile::writeItems(nullptr, "abcd", 4, 1, PLACE));
  EXPECT_EQ(reports.takeErrors(), errnoReport(EBADF));
}

TEST(BinaryFileWrite, WritesOneNumberInItsOwnWidth) {
  const MemoryFile file;
  EXPECT_TRUE(BinaryFile::write(file, 0x01020304, PLACE));
  EXPECT_TRUE(BinaryFile::write(file, 1.0, PLACE));
  const std::string expected("\x04\x03\x02\x01\0\0\0\0\0\0\xF0\x3F", 12);
  EXPECT_EQ(file.content(), expected);
}

TEST(BinaryFileReadItems, ReadsTheBytesAsTheyLie) {
  const MemoryFile file("\x02\x01\x04\x03\x06\x05");
  Reports reports;
  std::array<std::uint16_t, 3> items = {7, 7, 7};
  EXPECT_TRUE(BinaryFile::readItems(file, items.data(), 2, 2, PLACE));
  EXPECT_EQ(items, (std::array<std::uint16_t, 3>{0x0102, 0x0304, 7}));
  EXPECT_EQ(std::ftell(file), 4);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(BinaryFileReadItems, ReadsNothingForNoItems) {
  const FailingFile file("", 0, "r");
  Reports reports;
  EXPECT_TRUE(BinaryFile::readItems(file, nullptr, 8, 0, PLACE));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(BinaryFileReadItems, ZeroesWhatAShortFileDoesNotHold) {
  for (std::size_t size = 0; size < 12; ++size) {
    const MemoryFile file(std::string(size, '\x11'));
    Reports reports;
    std::array<std::uint32_t, 4> items = {7, 7, 7, 7};
    errno = ERANGE;
    EXPECT_FALSE(BinaryFile::readItems(file, items.data(), 4, 3, PLACE)) << size;
    EXPECT_EQ(reports.takeErrors(), errnoReport(ERANGE)) << size;
    // Half an item is none; what lies behind the items asked for is not touched.
    const std::array<std::uint32_t, 4> expected = {size >= 4 ? 0x11111111u : 0u,
                                                   size >= 8 ? 0x11111111u : 0u, 0, 7};
    EXPECT_EQ(items, expected) << size;
  }
}

TEST(BinaryFileReadItems, ZeroesWhatAReadErrorHoldsBack) {
  for (std::size_t limit = 0; limit < 12; ++limit) {
    const FailingFile file(std::string(12, '\x11'), limit, "r");
    Reports reports;
    std::array<std::uint32_t, 4> items = {7, 7, 7, 7};
    EXPECT_FALSE(BinaryFile::readItems(file, items.data(), 4, 3, PLACE)) << limit;
    EXPECT_EQ(reports.takeErrors(), errnoReport(EIO)) << limit;
    const std::array<std::uint32_t, 4> expected = {limit >= 4 ? 0x11111111u : 0u,
                                                   limit >= 8 ? 0x11111111u : 0u, 0, 7};
    EXPECT_EQ(items, expected) << limit;
  }
}

TEST(BinaryFileReadItems, ReportsAMissingFileAndZeroes) {
  Reports reports;
  std::array<std::uint32_t, 3> items = {7, 7, 7};
  errno = EBADF;
  EXPECT_FALSE(BinaryFile::readItems(nullptr, items.data(), 4, 2, PLACE));
  EXPECT_EQ(items, (std::array<std::uint32_t, 3>{0, 0, 7}));
  EXPECT_EQ(reports.takeErrors(), errnoReport(EBADF));
}

TEST(BinaryFileRead, ReadsOneNumber) {
  const MemoryFile file(bytes(-5) + bytes(0.75));
  int number = 0;
  double real = 0.0;
  EXPECT_TRUE(BinaryFile::read(file, number, PLACE));
  EXPECT_TRUE(BinaryFile::read(file, real, PLACE));
  EXPECT_EQ(number, -5);
  EXPECT_EQ(real, 0.75);
}

TEST(BinaryFileRead, LeavesTheNumberWhenItIsCutAtAnyByte) {
  for (std::size_t size = 0; size < 8; ++size) {
    const MemoryFile file(std::string(size, '\x11'));
    Reports reports;
    double number = 0.25;
    errno = ERANGE;
    EXPECT_FALSE(BinaryFile::read(file, number, PLACE)) << size;
    EXPECT_EQ(number, 0.25) << size;
    EXPECT_EQ(reports.takeErrors(), errnoReport(ERANGE)) << size;
  }
}

TEST(BinaryFileRead, LeavesTheNumberWithoutAFile) {
  Reports reports;
  int number = 3;
  errno = EBADF;
  EXPECT_FALSE(BinaryFile::read(nullptr, number, PLACE));
  EXPECT_EQ(number, 3);
  EXPECT_EQ(reports.takeErrors(), errnoReport(EBADF));
}

TEST(BinaryFileReadGrowing, ReadsExactlyTheCount) {
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, CHUNK - 1, CHUNK, CHUNK + 1,
                                  2 * CHUNK - 1, 2 * CHUNK, 2 * CHUNK + 1}) {
    const std::string content = pattern(count + 3);
    const MemoryFile file(content);
    Reports reports;
    std::string items;
    EXPECT_TRUE(BinaryFile::readGrowing(file, items, count, PLACE)) << count;
    EXPECT_TRUE(items == content.substr(0, count)) << count;
    EXPECT_EQ(std::ftell(file), static_cast<long>(count));
    EXPECT_EQ(reports.errors(), messages({}));
  }
}

TEST(BinaryFileReadGrowing, ReadsItemsOfAnySize) {
  const std::size_t count = CHUNK + 1;
  std::string content;
  for (std::size_t i = 0; i < count; ++i) {
    content += bytes(static_cast<double>(i) * 0.5);
  }
  const MemoryFile file(content);
  std::vector<double> items;
  EXPECT_TRUE(BinaryFile::readGrowing(file, items, count, PLACE));
  ASSERT_EQ(items.size(), count);
  EXPECT_EQ(items.front(), 0.0);
  EXPECT_EQ(items[CHUNK - 1], 32767.5);
  EXPECT_EQ(items[CHUNK], 32768.0);
}

TEST(BinaryFileReadGrowing, ReadsStreamsThatDoNotTellTheirSize) {
  const std::string content = pattern(1000);
  std::string items;
  EXPECT_TRUE(BinaryFile::readGrowing(Pipe(content), items, 1000, PLACE));
  EXPECT_EQ(items, content);
}

TEST(BinaryFileReadGrowing, ReportsAFileThatEndsBeforeTheCount) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{9}, CHUNK - 1, CHUNK, CHUNK + 1}) {
    const MemoryFile file(pattern(size));
    Reports reports;
    std::string items;
    errno = ERANGE;
    EXPECT_FALSE(BinaryFile::readGrowing(file, items, size + 1, PLACE)) << size;
    EXPECT_EQ(reports.takeErrors(), errnoReport(ERANGE)) << size;
  }
}

TEST(BinaryFileReadGrowing, AsksForNoMoreMemoryThanArrives) {
  const Pipe file("abcdefghij");
  Reports reports;
  std::size_t requested = 0;
  bool complete = true;
  std::string items;
  {
    FailingNew memory;
    complete = BinaryFile::readGrowing(file, items, 4294967295u, PLACE);
    requested = memory.largestRequest();
  }
  EXPECT_FALSE(complete);
  EXPECT_LE(requested, 2 * CHUNK);
  EXPECT_EQ(items.substr(0, 10), "abcdefghij");
}

TEST(BinaryFileReadGrowing, ReportsWhenMemoryRunsOut) {
  const MemoryFile file("abcdefghijklmnopqrstuvwxyz");
  Reports reports;
  bool complete = true;
  std::string items;
  {
    FailingNew memory(FailingNew::ONE, 1);
    complete = BinaryFile::readGrowing(file, items, 26, PLACE);
  }
  EXPECT_FALSE(complete);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for what a file holds!"));
}

TEST(BinaryFileReadGrowing, ReportsAMissingFile) {
  Reports reports;
  std::string items;
  errno = EBADF;
  EXPECT_FALSE(BinaryFile::readGrowing(nullptr, items, 3, PLACE));
  EXPECT_EQ(reports.takeErrors(), errnoReport(EBADF));
}
