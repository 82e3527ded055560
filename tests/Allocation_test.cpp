#include "Allocation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/FailingNew.h"
#include "support/Reports.h"

namespace {

const QuarnelUtility::Place PLACE{"src/Caller.cpp", "create", 12};
const long long INT_ENTRIES = std::numeric_limits<int>::max();

std::vector<Report> reportsOfCaller(const std::string& message) {
  return {{true, "Caller", "create", 12, message}};
}

// An entry whose size is no power of two.
struct Entry24 {
  double fields[3];
};

}  // namespace

TEST(Allocation, CountsEntriesFromNoneToAsManyAsAnIntCounts) {
  EXPECT_FALSE(Allocation::isCount(std::numeric_limits<long long>::min()));
  EXPECT_FALSE(Allocation::isCount(-1));
  EXPECT_TRUE(Allocation::isCount(0));
  EXPECT_TRUE(Allocation::isCount(INT_ENTRIES));
  EXPECT_FALSE(Allocation::isCount(INT_ENTRIES + 1));
  EXPECT_FALSE(Allocation::isCount(std::numeric_limits<long long>::max()));
}

TEST(Allocation, ReportsNumberAndSizeOfTheEntries) {
  Reports reports;
  Allocation::reportFailure<double>(-3, PLACE);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for -3 entries of 8 bytes!"));
  Allocation::reportFailure<int>(9223372036854775807LL, PLACE);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for 9223372036854775807 entries of 4 bytes!"));
}

TEST(Allocation, MakesArraysOfTheCount) {
  Reports reports;
  const std::unique_ptr<double[]> entries(Allocation::array<double>(3, PLACE));
  ASSERT_NE(entries, nullptr);
  entries[0] = 1.0;
  entries[2] = 3.0;
  EXPECT_EQ(entries[0] + entries[2], 4.0);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(Allocation, AsksForExactlyTheBytesOfTheEntries) {
  // Volatile, because a compiler may leave out an array that nothing looks at.
  Entry24* volatile entries = nullptr;
  std::size_t requested = 0;
  int calls = 0;
  {
    FailingNew memory;
    entries = Allocation::array<Entry24>(5, PLACE);
    requested = memory.largestRequest();
    calls = memory.calls();
  }
  EXPECT_EQ(requested, 5 * sizeof(Entry24));
  EXPECT_EQ(calls, 1);
  delete[] entries;
}

TEST(Allocation, MakesAnArrayOfNoEntries) {
  Reports reports;
  const std::unique_ptr<int[]> entries(Allocation::array<int>(0, PLACE));
  EXPECT_NE(entries, nullptr);
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(Allocation, MakesNoArrayOfANegativeCount) {
  for (const long long count : {-1LL, -2147483648LL, std::numeric_limits<long long>::min()}) {
    Reports reports;
    EXPECT_EQ(Allocation::array<double>(count, PLACE), nullptr);
    EXPECT_EQ(reports.takeErrors(),
              reportsOfCaller("Can not allocate memory for " + std::to_string(count) +
                              " entries of 8 bytes!"));
  }
}

TEST(Allocation, MakesNoArrayOfMoreEntriesThanAnIntCounts) {
  for (const long long count :
       {INT_ENTRIES + 1, 1LL << 61, std::numeric_limits<long long>::max()}) {
    Reports reports;
    std::size_t requested = 0;
    const double* entries = nullptr;
    {
      FailingNew memory;
      entries = Allocation::array<double>(count, PLACE);
      requested = memory.largestRequest();
    }
    EXPECT_EQ(entries, nullptr);
    EXPECT_LE(requested, 4096u) << "more than a report asks for";
    EXPECT_EQ(reports.takeErrors(),
              reportsOfCaller("Can not allocate memory for " + std::to_string(count) +
                              " entries of 8 bytes!"));
  }
}

TEST(Allocation, TriesAsManyEntriesAsAnIntCounts) {
  Reports reports;
  std::size_t requested = 0;
  const double* entries = nullptr;
  {
    FailingNew memory(FailingNew::ONE, 1);
    entries = Allocation::array<double>(INT_ENTRIES, PLACE);
    requested = memory.largestRequest();
  }
  EXPECT_EQ(entries, nullptr);
  EXPECT_EQ(requested, std::size_t{8} * 2147483647);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for 2147483647 entries of 8 bytes!"));
}

TEST(Allocation, GivesNullAndAReportWhenThereIsNoMemory) {
  Reports reports;
  const int* entries = nullptr;
  {
    FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(entries = Allocation::array<int>(7, PLACE));
  }
  EXPECT_EQ(entries, nullptr);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for 7 entries of 4 bytes!"));
}

TEST(Allocation, ZeroesEveryEntry) {
  Reports reports;
  // Takes the memory of an array before it, as a rule, and that was not zero.
  double* const used = Allocation::array<double>(100, PLACE);
  std::fill_n(used, 100, 7.0);
  delete[] used;
  const std::unique_ptr<double[]> entries(Allocation::zeroes<double>(100, PLACE));
  ASSERT_NE(entries, nullptr);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(entries[static_cast<std::size_t>(i)], 0.0) << i;
  }
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(Allocation, ZeroesNothingWhereThereIsNoMemory) {
  Reports reports;
  EXPECT_EQ(Allocation::zeroes<int>(-1, PLACE), nullptr);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for -1 entries of 4 bytes!"));
  const int* entries = nullptr;
  {
    FailingNew memory(FailingNew::ONE, 1);
    entries = Allocation::zeroes<int>(7, PLACE);
  }
  EXPECT_EQ(entries, nullptr);
  EXPECT_EQ(reports.takeErrors(),
            reportsOfCaller("Can not allocate memory for 7 entries of 4 bytes!"));
}

TEST(Allocation, OperationsThatGoThroughAreNotReported) {
  Reports reports;
  std::vector<int> list;
  EXPECT_TRUE(Allocation::succeeds([&] { list.push_back(5); }, "an action", PLACE));
  EXPECT_EQ(list, std::vector<int>({5}));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(Allocation, OperationsThatRunOutOfMemoryAreReported) {
  Reports reports;
  std::vector<int> list;
  bool succeeded = true;
  {
    FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(succeeded =
                        Allocation::succeeds([&] { list.push_back(5); }, "an action", PLACE));
  }
  EXPECT_FALSE(succeeded);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(reports.takeErrors(), reportsOfCaller("Can not allocate memory for an action!"));
}

TEST(Allocation, OperationsThatAskForMoreThanAContainerHoldsAreReported) {
  Reports reports;
  std::vector<double> list;
  EXPECT_FALSE(Allocation::succeeds([&] { list.resize(list.max_size() + 1); }, "a name", PLACE));
  EXPECT_EQ(reports.takeErrors(), reportsOfCaller("Can not allocate memory for a name!"));
}
