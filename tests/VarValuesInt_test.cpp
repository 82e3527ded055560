#include <gtest/gtest.h>
#include <quarnel/VarValuesInt.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Files.h"

namespace {

const int MIN = std::numeric_limits<int>::min();
const int MAX = std::numeric_limits<int>::max();

struct Range {
  int minValue;
  int maxValue;
  int middle;
};

const std::vector<Range> RANGES = {
    {-3, 0, -1},  // truncated toward zero, not down
    {1, 4, 2},
    {0, 1, 0},
    {-1, 0, 0},
    {-4, 1, -1},
    {-5, -2, -3},
    {0, 0, 0},
    {7, 7, 7},
    {-7, -7, -7},
    {2, 10, 6},
    {10, 2, 6},
    {MIN, MAX, 0},
    {0, MAX, 1073741823},
    {MIN, 0, -1073741824},
};

// The sum of the ends wraps around in two's complement before it is halved.
const std::vector<Range> WRAPPING_RANGES = {
    {MAX - 1, 1, 1073741823},    // 2147483647
    {MAX, 1, -1073741824},       // 2147483648 is -2147483648
    {MAX, 2, -1073741823},       // 2147483649 is -2147483647
    {MAX, MAX, -1},              // 4294967294 is -2
    {MIN + 1, -1, -1073741824},  // -2147483648
    {MIN, -1, 1073741823},       // -2147483649 is 2147483647
    {MIN, -2, 1073741823},       // -2147483650 is 2147483646
    {MIN, MIN, 0},               // -4294967296 is 0
};

void expectMiddleWhenMade(const Range& range) {
  const VarValuesInt variable("x", range.minValue, range.maxValue);
  EXPECT_EQ(variable.getValue(), range.middle) << range.minValue << " to " << range.maxValue;
  EXPECT_EQ(variable.getMinValue(), range.minValue);
  EXPECT_EQ(variable.getMaxValue(), range.maxValue);
}

void expectMiddleWhenLoaded(const Range& range) {
  const MemoryFile file(bytes(0u) + bytes(range.minValue) + bytes(range.maxValue));
  VarValuesInt variable("x", 0, 0);
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(variable.getValue(), range.middle) << range.minValue << " to " << range.maxValue;
  EXPECT_EQ(variable.getMinValue(), range.minValue);
  EXPECT_EQ(variable.getMaxValue(), range.maxValue);
}

}  // namespace

TEST(VarValuesInt, IsAVariable) {
  EXPECT_TRUE((std::is_convertible_v<VarValuesInt*, VarValues*>));
  EXPECT_FALSE(std::is_abstract_v<VarValuesInt>);
  EXPECT_EQ(VarValuesInt("x", 0, 1).getName(), "x");
}

TEST(VarValuesInt, StartsAtTheMiddleTruncatedTowardZero) {
  for (const Range& range : RANGES) {
    expectMiddleWhenMade(range);
  }
}

TEST(VarValuesInt, StartsAtTheMiddleOfASumThatWrapsAround) {
  for (const Range& range : WRAPPING_RANGES) {
    expectMiddleWhenMade(range);
  }
}

TEST(VarValuesInt, LoadsToTheMiddleTruncatedTowardZero) {
  for (const Range& range : RANGES) {
    expectMiddleWhenLoaded(range);
  }
}

TEST(VarValuesInt, LoadsToTheMiddleOfASumThatWrapsAround) {
  for (const Range& range : WRAPPING_RANGES) {
    expectMiddleWhenLoaded(range);
  }
}

TEST(VarValuesInt, SettersStoreAnyNumber) {
  for (const int number : {MIN, -1, 0, 1, 11, MAX}) {
    VarValuesInt variable("x", 0, 10);
    variable.setValue(number);
    EXPECT_EQ(variable.getValue(), number);
    EXPECT_EQ(variable.getMinValue(), 0);
    EXPECT_EQ(variable.getMaxValue(), 10);
  }
}

TEST(VarValuesInt, SettersOfTheRangeLeaveTheValue) {
  VarValuesInt variable("x", 0, 10);
  variable.setMinValue(8);
  EXPECT_EQ(variable.getMinValue(), 8);
  variable.setMaxValue(-8);
  EXPECT_EQ(variable.getMaxValue(), -8);
  EXPECT_EQ(variable.getMinValue(), 8);
  EXPECT_EQ(variable.getValue(), 5);
}

TEST(VarValuesInt, RecordIsLittleEndian) {
  const MemoryFile file;
  EXPECT_EQ(VarValuesInt("xy", -2, 0x01020304).save(file), 0);
  const char expected[] = "\x02\0\0\0xy\xFE\xFF\xFF\xFF\x04\x03\x02\x01";
  EXPECT_EQ(file.content(), std::string(expected, sizeof(expected) - 1));
}
