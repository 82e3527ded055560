#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/IndexSet.h>

#include <random>
#include <set>
#include <vector>

#include "support/FailingNew.h"

using testing::ElementsAre;
using testing::IsEmpty;

TEST(IndexSet, IsEmptyAtFirst) {
  const IndexSet visited;
  EXPECT_TRUE(visited.empty());
  EXPECT_EQ(visited.size(), 0U);
  EXPECT_EQ(visited.count(0), 0U);
  EXPECT_EQ(visited.find(0), visited.end());
}

TEST(IndexSet, HoldsAnIndexOnce) {
  IndexSet visited;
  EXPECT_TRUE(visited.add(4));
  EXPECT_FALSE(visited.add(4));
  EXPECT_EQ(visited.size(), 1U);
  EXPECT_EQ(visited.count(4), 1U);
}

TEST(IndexSet, InsertTellsWhereTheIndexStands) {
  IndexSet visited = {9, 2};
  const auto added = visited.insert(5);
  EXPECT_TRUE(added.second);
  EXPECT_EQ(*added.first, 5);
  EXPECT_EQ(*(added.first + 1), 9);
  EXPECT_FALSE(visited.insert(9).second);
}

TEST(IndexSet, IteratesInAscendingOrderWhateverTheOrderOfInsertion) {
  const IndexSet visited = {30, -10, 20, 2147483647, 20, -2147483647 - 1};
  EXPECT_THAT(visited, ElementsAre(-2147483647 - 1, -10, 20, 30, 2147483647));
}

TEST(IndexSet, FindLeadsToAnIndexAndOnToTheNextLarger) {
  const IndexSet visited = {30, 10, 20};
  EXPECT_EQ(*visited.find(10), 10);
  EXPECT_EQ(*(visited.find(10) + 1), 20);
  EXPECT_EQ(visited.find(15), visited.end());
}

TEST(IndexSet, EraseTellsWhetherTheIndexWasThere) {
  IndexSet visited = {1, 2, 3};
  EXPECT_EQ(visited.erase(1), 1U);
  EXPECT_EQ(visited.erase(1), 0U);
  EXPECT_THAT(visited, ElementsAre(2, 3));
}

TEST(IndexSet, ClearRemovesAllIndices) {
  IndexSet visited = {2, 1};
  visited.clear();
  EXPECT_THAT(visited, IsEmpty());
  EXPECT_EQ(visited.count(1), 0U);
}

TEST(IndexSet, IsEqualWhateverTheOrderOfInsertion) {
  const IndexSet visited = {1, 2};
  EXPECT_TRUE(visited == (IndexSet{2, 1}));
  EXPECT_FALSE(visited == (IndexSet{1}));
  EXPECT_FALSE(visited == (IndexSet{1, 3}));
}

TEST(IndexSet, CopiesAreIndependent) {
  const IndexSet original = {2, 1};
  IndexSet copy = original;
  copy.add(3);
  copy.erase(1);
  EXPECT_THAT(original, ElementsAre(1, 2));
  EXPECT_THAT(copy, ElementsAre(2, 3));
}

TEST(IndexSet, BehavesAsAnOrderedSetWhateverIsDoneToIt) {
  std::mt19937 random(1);
  for (const int spread : {4, 300, 2147483647}) {
    IndexSet visited;
    std::set<int> plain;
    for (int i = 0; i < 5000; ++i) {
      const int index = static_cast<int>(random() % static_cast<unsigned int>(spread)) - spread / 2;
      if (random() % 3 == 0) {
        ASSERT_EQ(visited.erase(index), plain.erase(index));
      } else {
        ASSERT_EQ(visited.add(index), plain.insert(index).second);
      }
      if (random() % 1000 == 0) {
        visited.clear();
        plain.clear();
      }
    }
    EXPECT_EQ((std::vector<int>(visited.begin(), visited.end())),
              (std::vector<int>(plain.begin(), plain.end())));
  }
}

TEST(IndexSet, AllocatesNothingOnceItHasHeldAsManyIndices) {
  IndexSet visited;
  for (int index = 0; index < 100; ++index) {
    visited.add(index);
  }
  int allocations = 0;
  {
    const FailingNew memory(FailingNew::NONE, 0);
    visited.clear();
    for (int index = 1100; index > 1000; --index) {
      visited.add(index);
    }
    visited.begin();
    allocations = memory.calls();
  }
  EXPECT_EQ(allocations, 0);
}
