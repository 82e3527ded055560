#include "continuous_random_walk/ContinuousRandomWalk.h"

#include <gtest/gtest.h>

#include <random>

namespace {

ContinuousRandomWalk at(double position) {
  ContinuousRandomWalk world;
  world.place(position);
  return world;
}

const double after(double position, double chance) {
  ContinuousRandomWalk world = at(position);
  world.step(chance);
  return world.getPosition();
}

}  // namespace

TEST(ContinuousRandomWalk, StartsInTheMiddle) {
  ContinuousRandomWalk world = at(0.2);
  world.reset();
  EXPECT_EQ(world.getPosition(), 0.5);
  EXPECT_FALSE(world.isAtEnd());
}

TEST(ContinuousRandomWalk, AStepLeadsAtMostATenthAway) {
  EXPECT_EQ(after(0.5, 0.0), 0.5 - 0.1);
  EXPECT_EQ(after(0.5, 0.5), 0.5);
  EXPECT_EQ(after(0.5, 0.75), 0.5 + 0.1 * 0.5);
}

TEST(ContinuousRandomWalk, EndsAtEitherEnd) {
  EXPECT_TRUE(at(0.0).isAtEnd());
  EXPECT_TRUE(at(-0.05).isAtEnd());
  EXPECT_FALSE(at(0.001).isAtEnd());
  EXPECT_FALSE(at(0.999).isAtEnd());
  EXPECT_TRUE(at(1.0).isAtEnd());
  EXPECT_TRUE(at(1.05).isAtEnd());
}

TEST(ContinuousRandomWalk, OnlyTheRightEndIsRewarded) {
  EXPECT_EQ(at(-0.05).getReward(), 0.0);
  EXPECT_EQ(at(0.5).getReward(), 0.0);
  EXPECT_EQ(at(0.999).getReward(), 0.0);
  EXPECT_EQ(at(1.0).getReward(), 1.0);
}

TEST(ContinuousRandomWalk, TheTrueValuesAreSymmetricAboutTheMiddle) {
  EXPECT_NEAR(ContinuousRandomWalk::getTrueValue(0.5), 0.5, 1e-9);
  for (int i = 1; i < 10; ++i) {
    const double position = i / 20.0;
    EXPECT_NEAR(ContinuousRandomWalk::getTrueValue(position),
                1.0 - ContinuousRandomWalk::getTrueValue(1.0 - position), 1e-9);
  }
}

TEST(ContinuousRandomWalk, TheTrueValueIsTheMeanOfThoseInReach) {
  // Away from the ends, over 10,000 equally likely steps.
  for (const double position : {0.15, 0.3, 0.5, 0.8}) {
    double sum = 0.0;
    for (int i = 0; i < 10000; ++i) {
      sum += ContinuousRandomWalk::getTrueValue(after(position, (i + 0.5) / 10000.0));
    }
    EXPECT_NEAR(ContinuousRandomWalk::getTrueValue(position), sum / 10000.0, 1e-5) << position;
  }
}

TEST(ContinuousRandomWalk, TheTrueValuesAreThoseOfManyWalks) {
  std::mt19937 generator;
  for (const double position : {0.05, 0.3, 0.9}) {
    const int walks = 20000;
    int arrived = 0;
    for (int i = 0; i < walks; ++i) {
      ContinuousRandomWalk world = at(position);
      while (!world.isAtEnd()) {
        world.step(static_cast<double>(generator()) / 4294967296.0);
      }
      arrived += world.getReward() > 0.0 ? 1 : 0;
    }
    // Four standard errors are at most 0.0142.
    EXPECT_NEAR(static_cast<double>(arrived) / walks, ContinuousRandomWalk::getTrueValue(position),
                0.0142)
        << position;
  }
}
