#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/KeyIndex.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/FailingNew.h"

using testing::ElementsAre;

namespace {

std::vector<int> keysOf(const KeyIndex& index) {
  return std::vector<int>(index.data(), index.data() + index.size());
}

KeyIndex indexOf(const std::vector<int>& keys) {
  KeyIndex index;
  for (const int key : keys) {
    index.reserveOne();
    index.append(key);
  }
  return index;
}

// Every key is found where it stands.
void expectConsistent(const KeyIndex& index) {
  for (std::size_t i = 0; i < index.size(); ++i) {
    EXPECT_EQ(index.find(index.data()[i]), i);
  }
}

}  // namespace

TEST(KeyIndex, IsEmptyAtFirst) {
  const KeyIndex index;
  EXPECT_EQ(index.size(), 0U);
  EXPECT_EQ(index.find(0), KeyIndex::ABSENT);
}

TEST(KeyIndex, FindsKeysWhereTheyWereAppended) {
  const KeyIndex index = indexOf({5, -3, 0, 2147483647, -2147483647 - 1});
  EXPECT_THAT(keysOf(index), ElementsAre(5, -3, 0, 2147483647, -2147483647 - 1));
  expectConsistent(index);
  EXPECT_EQ(index.find(4), KeyIndex::ABSENT);
}

TEST(KeyIndex, PutsTheLastKeyInThePlaceOfARemovedOne) {
  KeyIndex index = indexOf({10, 20, 30});
  index.removeAt(0);
  EXPECT_THAT(keysOf(index), ElementsAre(30, 20));
  expectConsistent(index);
  EXPECT_EQ(index.find(10), KeyIndex::ABSENT);
}

TEST(KeyIndex, RemovesTheLastKey) {
  KeyIndex index = indexOf({10, 20});
  index.removeAt(1);
  EXPECT_THAT(keysOf(index), ElementsAre(10));
  EXPECT_EQ(index.find(20), KeyIndex::ABSENT);
  index.removeAt(0);
  EXPECT_EQ(index.size(), 0U);
  EXPECT_EQ(index.find(10), KeyIndex::ABSENT);
}

TEST(KeyIndex, ClearsManyKeysAndFew) {
  std::vector<int> many(1000);
  std::generate(many.begin(), many.end(), [n = 0]() mutable { return n++; });
  KeyIndex index = indexOf(many);
  index.clear();
  EXPECT_EQ(index.size(), 0U);
  EXPECT_EQ(index.find(7), KeyIndex::ABSENT);
  index.append(7);
  index.append(8);
  index.clear();
  EXPECT_EQ(index.find(7), KeyIndex::ABSENT);
  EXPECT_EQ(index.find(8), KeyIndex::ABSENT);
}

TEST(KeyIndex, SortsItsKeysAndTellsEveryExchange) {
  const std::vector<int> shuffled = {30, -10, 20, 2147483647, 0, -2147483647 - 1, 10};
  KeyIndex index = indexOf(shuffled);
  std::vector<int> followers = shuffled;
  index.sort([&](std::size_t a, std::size_t b) { std::swap(followers[a], followers[b]); });
  EXPECT_THAT(keysOf(index), ElementsAre(-2147483647 - 1, -10, 0, 10, 20, 30, 2147483647));
  EXPECT_EQ(followers, keysOf(index));
  expectConsistent(index);
}

TEST(KeyIndex, SortsNoKeysAndOne) {
  const auto ignore = [](std::size_t, std::size_t) {};
  KeyIndex none;
  none.sort(ignore);
  EXPECT_EQ(none.size(), 0U);
  KeyIndex one = indexOf({4});
  one.sort(ignore);
  EXPECT_THAT(keysOf(one), ElementsAre(4));
}

TEST(KeyIndex, CopiesAreIndependent) {
  const KeyIndex original = indexOf({1, 2, 3});
  KeyIndex copy = original;
  copy.removeAt(0);
  copy.reserveOne();
  copy.append(9);
  EXPECT_THAT(keysOf(copy), ElementsAre(3, 2, 9));
  EXPECT_THAT(keysOf(original), ElementsAre(1, 2, 3));
  expectConsistent(copy);
  expectConsistent(original);
}

TEST(KeyIndex, SwapsItsKeysWithThoseOfAnother) {
  KeyIndex some = indexOf({1, 2, 3});
  KeyIndex none;
  some.swap(none);
  EXPECT_EQ(some.size(), 0U);
  EXPECT_EQ(some.find(1), KeyIndex::ABSENT);
  EXPECT_THAT(keysOf(none), ElementsAre(1, 2, 3));
  expectConsistent(none);
}

TEST(KeyIndex, BehavesAsAPlainListOfKeysWhateverIsDoneToIt) {
  std::mt19937 random(1);
  for (const int spread : {3, 40, 1000, 2147483647}) {
    KeyIndex index;
    std::vector<int> plain;
    for (int i = 0; i < 5000; ++i) {
      const int key = static_cast<int>(random() % static_cast<unsigned int>(spread)) - spread / 2;
      const auto found = std::find(plain.begin(), plain.end(), key);
      if (found == plain.end()) {
        EXPECT_EQ(index.find(key), KeyIndex::ABSENT);
        index.reserveOne();
        index.append(key);
        plain.push_back(key);
      } else {
        const auto position = static_cast<std::size_t>(found - plain.begin());
        ASSERT_EQ(index.find(key), position);
        index.removeAt(position);
        *found = plain.back();
        plain.pop_back();
      }
      if (random() % 500 == 0) {
        index.clear();
        plain.clear();
      }
    }
    EXPECT_EQ(keysOf(index), plain);
    expectConsistent(index);
  }
}

TEST(KeyIndex, AllocatesNothingOnceItHasHeldAsManyKeys) {
  KeyIndex index = indexOf({1, 2, 3, 4, 5, 6, 7, 8, 9});
  index.clear();
  int allocations = 0;
  {
    const FailingNew memory(FailingNew::NONE, 0);
    for (int key = 100; key < 109; ++key) {
      index.reserveOne();
      index.append(key);
    }
    index.removeAt(3);
    index.clear();
    allocations = memory.calls();
  }
  EXPECT_EQ(allocations, 0);
}

TEST(KeyIndex, IsAsItWasWhenMemoryRunsOut) {
  const std::vector<int> keys = {1, 2, 3, 4, 5, 6, 7, 8};
  for (int failing = 1; failing <= 2; ++failing) {
    KeyIndex index = indexOf(keys);
    {
      const FailingNew memory(FailingNew::ONE, failing);
      EXPECT_THROW(index.reserveOne(), std::bad_alloc);
    }
    EXPECT_EQ(keysOf(index), keys);
    expectConsistent(index);
    index.reserveOne();
    index.append(9);
    EXPECT_EQ(index.find(9), 8U);
  }
}
