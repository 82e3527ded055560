#include <gtest/gtest.h>
#include <quarnel/VarValuesDouble.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Files.h"

namespace {

using Limits = std::numeric_limits<double>;

struct Range {
  double minValue;
  double maxValue;
  double middle;
};

const std::vector<Range> RANGES = {
    {0.0, 1.0, 0.5},
    {-3.0, 0.0, -1.5},
    {1.0, 4.0, 2.5},
    {10.0, 2.0, 6.0},
    {-0.25, 0.25, 0.0},
    {1.0, 1.0, 1.0},
    {0.1, 0.2, 0.15000000000000002},  // the sum is 0.30000000000000004
    {Limits::max(), -Limits::max(), 0.0},
    {Limits::max(), Limits::max(), Limits::infinity()},  // the sum comes before the half
    {0.0, Limits::denorm_min(), 0.0},                    // half of the least number rounds to even
    {Limits::denorm_min(), Limits::denorm_min(), Limits::denorm_min()},
    {0.0, Limits::infinity(), Limits::infinity()},
};

void expectMiddleWhenMade(const Range& range) {
  const VarValuesDouble variable("x", range.minValue, range.maxValue);
  EXPECT_EQ(bytes(variable.getValue()), bytes(range.middle))
      << range.minValue << " to " << range.maxValue;
  EXPECT_EQ(variable.getMinValue(), range.minValue);
  EXPECT_EQ(variable.getMaxValue(), range.maxValue);
}

void expectMiddleWhenLoaded(const Range& range) {
  const MemoryFile file(bytes(0u) + bytes(range.minValue) + bytes(range.maxValue));
  VarValuesDouble variable("x", 7.0, 7.0);
  EXPECT_EQ(variable.load(file), 0);
  EXPECT_EQ(bytes(variable.getValue()), bytes(range.middle))
      << range.minValue << " to " << range.maxValue;
  EXPECT_EQ(variable.getMinValue(), range.minValue);
  EXPECT_EQ(variable.getMaxValue(), range.maxValue);
}

}  // namespace

TEST(VarValuesDouble, IsAVariable) {
  EXPECT_TRUE((std::is_convertible_v<VarValuesDouble*, VarValues*>));
  EXPECT_FALSE(std::is_abstract_v<VarValuesDouble>);
  EXPECT_EQ(VarValuesDouble("x", 0.0, 1.0).getName(), "x");
}

TEST(VarValuesDouble, StartsAtTheMiddle) {
  for (const Range& range : RANGES) {
    expectMiddleWhenMade(range);
  }
}

TEST(VarValuesDouble, LoadsToTheMiddle) {
  for (const Range& range : RANGES) {
    expectMiddleWhenLoaded(range);
  }
}

TEST(VarValuesDouble, HasNoMiddleWithoutTwoNumbers) {
  EXPECT_TRUE(std::isnan(VarValuesDouble("x", Limits::quiet_NaN(), 1.0).getValue()));
  EXPECT_TRUE(std::isnan(VarValuesDouble("x", 1.0, Limits::quiet_NaN()).getValue()));
  EXPECT_TRUE(std::isnan(VarValuesDouble("x", -Limits::infinity(), Limits::infinity()).getValue()));
}

TEST(VarValuesDouble, LoadsToTheMiddleWhateverTheValueWasWhenSaved) {
  VarValuesDouble saved("x", 0.0, 1.0);
  saved.setValue(0.7);
  const MemoryFile file;
  EXPECT_EQ(saved.save(file), 0);
  file.rewind();
  VarValuesDouble loaded("y", 5.0, 6.0);
  EXPECT_EQ(loaded.load(file), 0);
  EXPECT_EQ(loaded.getValue(), 0.5);
}

TEST(VarValuesDouble, SettersStoreAnyNumber) {
  for (const double number : {-Limits::infinity(), -0.001, 0.0, 0.1, 10.001, Limits::max()}) {
    VarValuesDouble variable("x", 0.0, 10.0);
    variable.setValue(number);
    EXPECT_EQ(variable.getValue(), number);
    EXPECT_EQ(variable.getMinValue(), 0.0);
    EXPECT_EQ(variable.getMaxValue(), 10.0);
  }
}

TEST(VarValuesDouble, SettersOfTheRangeLeaveTheValue) {
  VarValuesDouble variable("x", 0.0, 10.0);
  variable.setMinValue(8.5);
  EXPECT_EQ(variable.getMinValue(), 8.5);
  variable.setMaxValue(-8.5);
  EXPECT_EQ(variable.getMaxValue(), -8.5);
  EXPECT_EQ(variable.getMinValue(), 8.5);
  EXPECT_EQ(variable.getValue(), 5.0);
}

TEST(VarValuesDouble, RecordIsLittleEndian) {
  const MemoryFile file;
  EXPECT_EQ(VarValuesDouble("xy", -2.0, 1.5).save(file), 0);
  // -2.0 is 0xC000000000000000, 1.5 is 0x3FF8000000000000.
  const char expected[] = "\x02\0\0\0xy\0\0\0\0\0\0\0\xC0\0\0\0\0\0\0\xF8\x3F";
  EXPECT_EQ(file.content(), std::string(expected, sizeof(expected) - 1));
}

TEST(VarValuesDouble, RecordKeepsEveryBitOfTheRange) {
  const std::vector<double> numbers = {
      -0.0,          0.1, Limits::denorm_min(), Limits::max(), -Limits::infinity(), std::nan("123"),
      -std::nan("9")};
  for (const double number : numbers) {
    const std::string record = bytes(1u) + "x" + bytes(number) + bytes(-number);
    VarValuesDouble variable("y", 0.0, 1.0);
    EXPECT_EQ(variable.load(MemoryFile(record)), 0);
    const MemoryFile file;
    EXPECT_EQ(variable.save(file), 0);
    EXPECT_EQ(file.content(), record) << number;
  }
}
