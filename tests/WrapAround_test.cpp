#include "WrapAround.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

const int MIN = std::numeric_limits<int>::min();
const int MAX = std::numeric_limits<int>::max();
const long long LEAST = std::numeric_limits<long long>::min();
const long long MOST = std::numeric_limits<long long>::max();

}  // namespace

TEST(WrapAround, AddsWhatFits) {
  EXPECT_EQ(WrapAround::add(2, 3), 5);
  EXPECT_EQ(WrapAround::add(-2, -3), -5);
  EXPECT_EQ(WrapAround::add(MAX - 1, 1), MAX);
  EXPECT_EQ(WrapAround::add(MIN + 1, -1), MIN);
  EXPECT_EQ(WrapAround::add(MIN, MAX), -1);
}

TEST(WrapAround, AddsAroundTheEnds) {
  EXPECT_EQ(WrapAround::add(MAX, 1), MIN);
  EXPECT_EQ(WrapAround::add(MAX, MAX), -2);
  EXPECT_EQ(WrapAround::add(MIN, -1), MAX);
  EXPECT_EQ(WrapAround::add(MIN, MIN), 0);
}

TEST(WrapAround, SubtractsWhatFits) {
  EXPECT_EQ(WrapAround::subtract(2, 3), -1);
  EXPECT_EQ(WrapAround::subtract(-2, -3), 1);
  EXPECT_EQ(WrapAround::subtract(MAX, 0), MAX);
  EXPECT_EQ(WrapAround::subtract(-1, MAX), MIN);
  EXPECT_EQ(WrapAround::subtract(MIN, MIN), 0);
}

TEST(WrapAround, SubtractsAroundTheEnds) {
  EXPECT_EQ(WrapAround::subtract(MIN, 1), MAX);
  EXPECT_EQ(WrapAround::subtract(MAX, -1), MIN);
  EXPECT_EQ(WrapAround::subtract(0, MIN), MIN);
  EXPECT_EQ(WrapAround::subtract(MAX, MIN), -1);
}

TEST(WrapAround, MultipliesWhatFits) {
  EXPECT_EQ(WrapAround::multiply(6, -7), -42);
  EXPECT_EQ(WrapAround::multiply(0, MIN), 0);
  EXPECT_EQ(WrapAround::multiply(-1, MAX), MIN + 1);
  EXPECT_EQ(WrapAround::multiply(46340, 46340), 2147395600);
}

TEST(WrapAround, MultipliesAroundTheEnds) {
  EXPECT_EQ(WrapAround::multiply(65536, 65536), 0);
  EXPECT_EQ(WrapAround::multiply(65536, 32768), MIN);
  EXPECT_EQ(WrapAround::multiply(46341, 46341), -2147479015);  // 2147488281 - 2^32
  EXPECT_EQ(WrapAround::multiply(-1, MIN), MIN);
  EXPECT_EQ(WrapAround::multiply(MAX, MAX), 1);
}

TEST(WrapAround, SaturatedProductsThatFitAreExact) {
  EXPECT_EQ(WrapAround::multiplySaturated(6, -7), -42);
  EXPECT_EQ(WrapAround::multiplySaturated(4294967296LL, 2147483647LL), 9223372032559808512LL);
  EXPECT_EQ(WrapAround::multiplySaturated(MOST, 1), MOST);
  EXPECT_EQ(WrapAround::multiplySaturated(LEAST, 1), LEAST);
  EXPECT_EQ(WrapAround::multiplySaturated(MOST, -1), LEAST + 1);
  EXPECT_EQ(WrapAround::multiplySaturated(4294967296LL, -2147483648LL), LEAST);
  EXPECT_EQ(WrapAround::multiplySaturated(LEAST, 0), 0);
}

TEST(WrapAround, SaturatedProductsBeyondTheEndsStopThere) {
  EXPECT_EQ(WrapAround::multiplySaturated(4294967296LL, 2147483648LL), MOST);
  EXPECT_EQ(WrapAround::multiplySaturated(MOST, 2), MOST);
  EXPECT_EQ(WrapAround::multiplySaturated(-2, LEAST), MOST);
  EXPECT_EQ(WrapAround::multiplySaturated(LEAST, -1), MOST);
  EXPECT_EQ(WrapAround::multiplySaturated(LEAST, LEAST), MOST);
  EXPECT_EQ(WrapAround::multiplySaturated(LEAST, 2), LEAST);
  EXPECT_EQ(WrapAround::multiplySaturated(2, LEAST), LEAST);
  EXPECT_EQ(WrapAround::multiplySaturated(MOST, -2), LEAST);
  EXPECT_EQ(WrapAround::multiplySaturated(-2, MOST), LEAST);
  EXPECT_EQ(WrapAround::multiplySaturated(MOST, LEAST), LEAST);
}
