#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/TraceMap.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include "support/FailingNew.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

std::vector<std::pair<int, double>> entriesOf(const TraceMap& traces) {
  return std::vector<std::pair<int, double>>(traces.begin(), traces.end());
}

}  // namespace

TEST(TraceMap, IsEmptyAtFirst) {
  const TraceMap traces;
  EXPECT_TRUE(traces.empty());
  EXPECT_EQ(traces.size(), 0U);
  EXPECT_EQ(traces.count(0), 0U);
  EXPECT_TRUE(traces.find(0) == traces.end());
  EXPECT_TRUE(traces.begin() == traces.end());
}

TEST(TraceMap, TheSubscriptMakesATraceOfZeroWhereThereIsNone) {
  TraceMap traces;
  EXPECT_EQ(traces[7], 0.0);
  traces[7] += 0.5;
  traces[-7] = 2.0;
  EXPECT_THAT(traces, ElementsAre(Pair(-7, 2.0), Pair(7, 0.5)));
}

TEST(TraceMap, AddMakesATraceWithTheAmountWhereThereIsNone) {
  TraceMap traces;
  traces.add(3, -0.0);  // 0.0 + -0.0 would be 0.0
  EXPECT_TRUE(std::signbit(traces.at(3)));
  traces.add(3, 0.5);
  traces.add(3, 0.25);
  EXPECT_EQ(traces.at(3), 0.75);
}

TEST(TraceMap, AtGivesTheTraceItself) {
  TraceMap traces = {{3, 0.5}};
  traces.at(3) = 0.25;
  const TraceMap& constant = traces;
  EXPECT_EQ(constant.at(3), 0.25);
}

TEST(TraceMap, AtThrowsWhereThereIsNoTrace) {
  TraceMap traces = {{3, 0.5}};
  const TraceMap& constant = traces;
  EXPECT_THROW(traces.at(4), std::out_of_range);
  EXPECT_THROW(constant.at(4), std::out_of_range);
}

TEST(TraceMap, InsertKeepsTheTraceThatIsThere) {
  TraceMap traces;
  const auto first = traces.insert({5, 0.5});
  EXPECT_TRUE(first.second);
  EXPECT_EQ(first.first->first, 5);
  const auto second = traces.insert({5, 0.25});
  EXPECT_FALSE(second.second);
  EXPECT_EQ(second.first->second, 0.5);
  EXPECT_EQ(traces.size(), 1U);
}

TEST(TraceMap, EraseTellsWhetherThereWasATrace) {
  TraceMap traces = {{1, 0.1}, {2, 0.2}, {3, 0.3}};
  EXPECT_EQ(traces.erase(1), 1U);
  EXPECT_EQ(traces.erase(1), 0U);
  EXPECT_THAT(traces, ElementsAre(Pair(2, 0.2), Pair(3, 0.3)));
  EXPECT_EQ(traces.erase(3), 1U);
  EXPECT_THAT(traces, ElementsAre(Pair(2, 0.2)));
}

TEST(TraceMap, IteratesInAscendingOrderWhateverTheOrderOfInsertion) {
  TraceMap traces;
  for (const int index : {30, -10, 20, 2147483647, 0, -2147483647 - 1, 10}) {
    traces[index] = index / 2.0;
  }
  EXPECT_THAT(traces, ElementsAre(Pair(-2147483647 - 1, -1073741824.0), Pair(-10, -5.0),
                                  Pair(0, 0.0), Pair(10, 5.0), Pair(20, 10.0), Pair(30, 15.0),
                                  Pair(2147483647, 1073741823.5)));
}

TEST(TraceMap, AnIterationMayChangeTheTraces) {
  TraceMap traces = {{2, 1.0}, {1, 3.0}};
  for (auto& entry : traces) {
    entry.second *= 2.0;
  }
  for (auto entry = traces.begin(); entry != traces.end(); entry++) {
    entry->second += entry->first;
  }
  EXPECT_THAT(traces, ElementsAre(Pair(1, 7.0), Pair(2, 4.0)));
}

TEST(TraceMap, FindLeadsToATraceAndOnToTheNextLargerIndex) {
  TraceMap traces = {{30, 0.3}, {10, 0.1}, {20, 0.2}};
  auto found = traces.find(20);
  EXPECT_EQ(found->second, 0.2);
  ++found;
  EXPECT_EQ(found->first, 30);
  EXPECT_TRUE(++found == traces.end());
  EXPECT_TRUE(traces.find(25) == traces.end());
  const TraceMap& constant = traces;
  EXPECT_EQ(constant.find(10)->second, 0.1);
}

TEST(TraceMap, ValuesAndIndicesGoTogether) {
  TraceMap traces = {{3, 0.3}, {1, 0.1}, {2, 0.2}};
  traces.erase(3);
  traces[9] = 0.9;
  for (std::size_t i = 0; i < traces.size(); ++i) {
    EXPECT_EQ(traces.values()[i], traces.indices()[i] / 10.0);
  }
}

TEST(TraceMap, ClearRemovesAllTraces) {
  TraceMap traces = {{2, 0.5}, {1, 0.5}};
  traces.clear();
  EXPECT_THAT(traces, IsEmpty());
  EXPECT_EQ(traces.count(1), 0U);
}

TEST(TraceMap, IsEqualWhateverTheOrderOfInsertion) {
  const TraceMap traces = {{1, 0.1}, {2, 0.2}};
  EXPECT_TRUE(traces == (TraceMap{{2, 0.2}, {1, 0.1}}));
  EXPECT_FALSE(traces == (TraceMap{{1, 0.1}}));
  EXPECT_FALSE(traces == (TraceMap{{1, 0.1}, {2, 0.3}}));
  EXPECT_FALSE(traces == (TraceMap{{1, 0.1}, {3, 0.2}}));
}

TEST(TraceMap, CopiesAreIndependent) {
  const TraceMap original = {{2, 0.5}, {1, 0.25}};
  TraceMap copy = original;
  copy[1] = 9.0;
  copy.erase(2);
  EXPECT_THAT(original, ElementsAre(Pair(1, 0.25), Pair(2, 0.5)));
  EXPECT_THAT(copy, ElementsAre(Pair(1, 9.0)));
}

TEST(TraceMap, BehavesAsAnOrderedMapWhateverIsDoneToIt) {
  std::mt19937 random(1);
  for (const int spread : {4, 50, 2147483647}) {
    TraceMap traces;
    std::map<int, double> plain;
    for (int i = 0; i < 5000; ++i) {
      const int index = static_cast<int>(random() % static_cast<unsigned int>(spread)) - spread / 2;
      const double amount = static_cast<double>(random() % 100) / 8.0;
      switch (random() % 6) {
        case 0:
          ASSERT_EQ(traces.erase(index), plain.erase(index));
          break;
        case 1:
          ASSERT_EQ(traces.insert({index, amount}).second, plain.insert({index, amount}).second);
          break;
        case 2:
          traces[index] += amount;
          plain[index] += amount;
          break;
        case 3:
          ASSERT_EQ(traces.count(index), plain.count(index));
          break;
        case 4:
          traces[index] = amount;
          plain[index] = amount;
          break;
        default:
          if (random() % 100 == 0) {
            ASSERT_EQ(entriesOf(traces),
                      (std::vector<std::pair<int, double>>(plain.begin(), plain.end())));
          }
      }
    }
    EXPECT_EQ(entriesOf(traces), (std::vector<std::pair<int, double>>(plain.begin(), plain.end())));
  }
}

TEST(TraceMap, AnAssignmentThatFindsNoMemoryChangesNothing) {
  const TraceMap larger = {{1, 0.1}, {2, 0.2}, {999, 0.9}};
  for (int failing = 1; failing <= 3; ++failing) {
    TraceMap traces = {{7, 0.7}};
    {
      const FailingNew memory(FailingNew::ONE, failing);
      EXPECT_THROW(traces = larger, std::bad_alloc) << failing;
    }
    EXPECT_TRUE(traces == (TraceMap{{7, 0.7}}));
    traces[999] = 1.0;
    EXPECT_EQ(traces.size(), 2U);
  }
}

TEST(TraceMap, IteratorsCanBeAssignedAndCompared) {
  TraceMap traces = {{1, 0.1}, {2, 0.2}};
  TraceMap::iterator entry;
  entry = traces.find(2);
  EXPECT_EQ(entry->first, 2);
  entry = traces.begin();
  EXPECT_EQ(entry->first, 1);
  const TraceMap::const_iterator readOnly = entry;
  EXPECT_TRUE(readOnly == entry);
  EXPECT_TRUE(readOnly != traces.end());
  EXPECT_TRUE(std::equal(traces.begin(), traces.end(), (TraceMap{{1, 0.1}, {2, 0.2}}).begin()));
}

TEST(TraceMap, EqualDistancesOfIndicesDoNotCrowd) {
  // A step of a Fibonacci number crowds where indices are spread by the golden ratio alone.
  TraceMap traces;
  const std::clock_t start = std::clock();
  for (int i = 0; i < 20000; ++i) {
    traces[i * 75025] = i;
  }
  EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 10);
  EXPECT_EQ(traces.size(), 20000U);
  EXPECT_EQ(traces.at(19999 * 75025), 19999.0);
}

TEST(TraceMap, AllocatesNothingOnceItHasHeldAsManyTraces) {
  TraceMap traces;
  for (int index = 0; index < 100; ++index) {
    traces[index] = 1.0;
  }
  int allocations = 0;
  {
    const FailingNew memory(FailingNew::NONE, 0);
    traces.clear();
    for (int index = 1000; index < 1100; ++index) {
      traces[index] = 1.0;
    }
    traces.erase(1000);
    traces.begin();
    allocations = memory.calls();
  }
  EXPECT_EQ(allocations, 0);
}

TEST(TraceMap, IsAsItWasWhenMemoryRunsOut) {
  for (int failing = 1; failing <= 3; ++failing) {
    TraceMap traces;
    for (int index = 0; index < 8; ++index) {
      traces[index] = 1.0;
    }
    {
      const FailingNew memory(FailingNew::ONE, failing);
      EXPECT_THROW(traces[8], std::bad_alloc) << failing;
    }
    EXPECT_EQ(traces.size(), 8U);
    EXPECT_EQ(traces.count(8), 0U);
    traces[8] = 2.0;
    EXPECT_EQ(traces.at(8), 2.0);
  }
}
