#include "Rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

TEST(RoundingFloorToInt, GoesTowardsMinusInfinity) {
  EXPECT_EQ(Rounding::floorToInt(0.0), 0);
  EXPECT_EQ(Rounding::floorToInt(-0.0), 0);
  EXPECT_EQ(Rounding::floorToInt(2.0), 2);
  EXPECT_EQ(Rounding::floorToInt(2.999), 2);
  EXPECT_EQ(Rounding::floorToInt(-2.0), -2);
  EXPECT_EQ(Rounding::floorToInt(-2.001), -3);
  EXPECT_EQ(Rounding::floorToInt(std::nextafter(3.0, 0.0)), 2);
  EXPECT_EQ(Rounding::floorToInt(-5e-324), -1);
}

TEST(RoundingFloorToInt, SaturatesBeyondTheInts) {
  const int largest = 2147483647;
  const int smallest = -largest - 1;
  const double infinite = std::numeric_limits<double>::infinity();
  EXPECT_EQ(Rounding::floorToInt(2147483646.5), 2147483646);
  EXPECT_EQ(Rounding::floorToInt(2147483647.0), largest);
  EXPECT_EQ(Rounding::floorToInt(2147483648.0), largest);
  EXPECT_EQ(Rounding::floorToInt(1e300), largest);
  EXPECT_EQ(Rounding::floorToInt(infinite), largest);
  EXPECT_EQ(Rounding::floorToInt(-2147483647.5), smallest);
  EXPECT_EQ(Rounding::floorToInt(-2147483648.0), smallest);
  EXPECT_EQ(Rounding::floorToInt(-2147483648.5), smallest);
  EXPECT_EQ(Rounding::floorToInt(-infinite), smallest);
}

TEST(RoundingFloorToInt, TakesWhatIsNotANumberForZero) {
  EXPECT_EQ(Rounding::floorToInt(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(RoundingFloorToInt, IsTheFloorOfEveryNumberWithinTheInts) {
  for (double number = -1000.0; number < 1000.0; number += 0.0625) {
    EXPECT_EQ(Rounding::floorToInt(number), static_cast<int>(std::floor(number)));
  }
}
