#include "VectorLoops.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace {

// Numbers of all sizes, and the odd ones among them.
std::vector<double> numbers(std::size_t size, unsigned int seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> uniform(-2.0, 2.0);
  std::vector<double> list;
  const double odd[] = {0.0, -0.0, std::numeric_limits<double>::infinity(), 5e-324, 1e308, -1e-310};
  for (std::size_t i = 0; i < size; ++i) {
    list.push_back(random() % 8 == 0 ? odd[random() % 6] : uniform(random));
  }
  return list;
}

// The same bits; what is not a number may be any.
void expectSame(const std::vector<double>& some, const std::vector<double>& others) {
  ASSERT_EQ(some.size(), others.size());
  for (std::size_t i = 0; i < some.size(); ++i) {
    const bool bothNoNumbers = some[i] != some[i] && others[i] != others[i];
    EXPECT_TRUE(bothNoNumbers || std::memcmp(&some[i], &others[i], sizeof(double)) == 0)
        << some[i] << " and " << others[i] << " at " << i << " of " << some.size();
  }
}

// Every length up to several of the widest vectors, so that all leftovers occur.
const std::size_t LONGEST = 70;

}  // namespace

TEST(VectorLoopsScale, MultipliesEveryNumber) {
  for (std::size_t size = 0; size < LONGEST; ++size) {
    std::vector<double> list = numbers(size, 1);
    std::vector<double> expected = list;
    VectorLoops::scale(list.data(), size, 0.7);
    for (double& number : expected) {
      number *= 0.7;
    }
    expectSame(list, expected);
  }
}

TEST(VectorLoopsAddScaled, RoundsTheProductBeforeItIsAdded) {
  for (std::size_t size = 0; size < LONGEST; ++size) {
    std::vector<double> sums = numbers(size, 1);
    const std::vector<double> list = numbers(size, 2);
    std::vector<double> expected = sums;
    VectorLoops::addScaled(sums.data(), list.data(), size, 0.7);
    for (std::size_t i = 0; i < size; ++i) {
      const volatile double product = list[i] * 0.7;
      expected[i] += product;
    }
    expectSame(sums, expected);
  }
}

TEST(VectorLoopsAddScaledSums, StartsEverySumAtZero) {
  for (std::size_t size = 0; size < LONGEST; ++size) {
    std::vector<double> sums = numbers(size, 1);
    const std::vector<double> list = numbers(size, 2);
    std::vector<double> expected = sums;
    VectorLoops::addScaledSums(sums.data(), list.data(), size, 0.7, -1.3);
    for (std::size_t i = 0; i < size; ++i) {
      const volatile double product = list[i] * -1.3;
      const volatile double change = 0.7 * (0.0 + product);
      expected[i] += change;
    }
    expectSame(sums, expected);
  }
  double weight = -0.0;
  const double trace = 0.0;
  VectorLoops::addScaledSums(&weight, &trace, 1, 1.0, -1.0);
  EXPECT_FALSE(std::signbit(weight)) << "0.0 + -0.0 is 0.0, and -0.0 + 0.0 too";
}

TEST(VectorLoopsDecayAndAdd, RoundsBothProductsBeforeTheyAreAdded) {
  for (std::size_t size = 0; size < LONGEST; ++size) {
    std::vector<double> traces = numbers(size, 1);
    const std::vector<double> list = numbers(size, 2);
    std::vector<double> expected = traces;
    VectorLoops::decayAndAdd(traces.data(), list.data(), size, 0.9, 0.7);
    for (std::size_t i = 0; i < size; ++i) {
      const volatile double decayed = 0.9 * expected[i];
      const volatile double added = list[i] * 0.7;
      expected[i] = decayed + added;
    }
    expectSame(traces, expected);
  }
}
