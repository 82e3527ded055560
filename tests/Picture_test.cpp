#include "common/Picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Picture, NoNumbersGiveNoCurve) { EXPECT_THAT(Picture::drawCurve({}, 10, 2), IsEmpty()); }

TEST(Picture, ACurveReachesFromTheLowestToTheHighestNumber) {
  // Two lines have 16 heights; 10, half way from 1 to 100 on the logarithmic scale, has the ninth.
  EXPECT_THAT(Picture::drawCurve({1.0, 10.0, 100.0}, 10, 2),
              ElementsAre("    100 | ▁█", "      1 |▁██"));
}

TEST(Picture, AColumnIsTheMeanOfSeveralNumbersWhereThereAreMore) {
  EXPECT_THAT(Picture::drawCurve({1.0, 3.0, 40.0, 60.0}, 2, 1), ElementsAre("     50 |▁█"));
}

TEST(Picture, ALongCurveFillsItsColumns) {
  const std::vector<double> numbers(100, 7.0);
  EXPECT_THAT(Picture::drawCurve(numbers, 3, 2), ElementsAre("      7 |   ", "      7 |▁▁▁"));
}

TEST(Picture, LinesBetweenHighestAndLowestHaveNoLabel) {
  EXPECT_THAT(Picture::drawCurve({1.0, 1000.0}, 2, 3),
              ElementsAre("   1000 | █", "        | █", "      1 |▁█"));
}

TEST(Picture, NoNumbersGiveNoField) {
  EXPECT_THAT(Picture::drawField({}), IsEmpty());
  EXPECT_THAT(Picture::drawField({{}}), IsEmpty());
}

TEST(Picture, AFieldIsTheFullerTheHigher) {
  EXPECT_THAT(Picture::drawField({{0.0, 1.0, 2.0}, {3.0, 4.0, 0.4}}),
              ElementsAre("  ░░▒▒", "▓▓██  "));
}

TEST(Picture, AFieldOfEqualNumbersIsEmpty) {
  EXPECT_THAT(Picture::drawField({{2.0, 2.0}}), ElementsAre("    "));
}

TEST(Picture, WhatIsNoNumberComesOutFull) {
  const double noNumber = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(Picture::drawField({{0.0, noNumber, 1.0}}), ElementsAre("  ████"));
}

TEST(Picture, IsPrintedWithAnIndent) {
  testing::internal::CaptureStdout();
  Picture::print({"ab", "c"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "    ab\n    c\n");
}
