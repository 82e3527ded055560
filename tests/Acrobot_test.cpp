#include "acrobot/Acrobot.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

const double PI = 3.14159265358979323846;
const int NO_TORQUE = 1;

Acrobot::Motion after(const Acrobot::Motion& motion, int action) {
  Acrobot world;
  world.place(motion);
  world.step(action);
  return world.getObservation();
}

const double heightAt(double angle1, double angle2) {
  Acrobot world;
  world.place({angle1, angle2, 0.0, 0.0});
  return world.getHeight();
}

}  // namespace

TEST(Acrobot, StartsWithinATenthOfHangingRest) {
  Acrobot world;
  world.reset([] { return 0.0; });
  EXPECT_EQ(world.getObservation(), Acrobot::Motion({-0.1, -0.1, -0.1, -0.1}));
  world.reset([] { return 0.5; });
  EXPECT_EQ(world.getObservation(), Acrobot::Motion({0.0, 0.0, 0.0, 0.0}));
}

TEST(Acrobot, HangsStillWithoutTorque) {
  EXPECT_EQ(after({0.0, 0.0, 0.0, 0.0}, NO_TORQUE), Acrobot::Motion({0.0, 0.0, 0.0, 0.0}));
}

TEST(Acrobot, ATorqueTurnsTheLowerLinkItsWayAndTheUpperOneTheOther) {
  const Acrobot::Motion moved = after({0.0, 0.0, 0.0, 0.0}, 2);
  EXPECT_LT(moved[2], 0.0);
  EXPECT_GT(moved[3], 0.0);
  // At first the lower link gains 1 / (5/4 - (7/4)^2 / (9/2)) rad/s in a second, and gravity then
  // takes something away: d1 = 1/4 + 5/4 + 1 + 2 and d2 = 1/4 + 1/2 + 1.
  const double first = 1.0 / (1.25 - 1.75 * 1.75 / 4.5);
  EXPECT_LT(moved[3], 0.2 * first);
  EXPECT_GT(moved[3], 0.2 * first * 0.7);
}

TEST(Acrobot, LeftAndRightAreMirrored) {
  const Acrobot::Motion right = after({0.4, -0.9, 1.5, 2.5}, 2);
  const Acrobot::Motion left = after({-0.4, 0.9, -1.5, -2.5}, 0);
  for (std::size_t i = 0; i < right.size(); ++i) {
    EXPECT_EQ(right[i], -left[i]) << i;
  }
}

TEST(Acrobot, WithoutTorqueItKeepsItsEnergy) {
  Acrobot world;
  world.place({0.5, 0.3, 0.0, 0.0});
  const double energy = world.getEnergy();
  for (int i = 0; i < 50; ++i) {
    world.step(NO_TORQUE);
    // Of about 29 between hanging and standing; the integration loses a little.
    EXPECT_NEAR(world.getEnergy(), energy, 0.5) << "step " << i;
  }
}

TEST(Acrobot, ATorqueAgainstNothingFeedsEnergyIn) {
  Acrobot world;
  world.place({0.0, 0.0, 0.0, 0.0});
  const double energy = world.getEnergy();
  world.step(2);
  EXPECT_GT(world.getEnergy(), energy);
}

TEST(Acrobot, TheEnergyOfRestIsThatOfTheTwoCentres) {
  Acrobot world;
  world.place({0.0, 0.0, 0.0, 0.0});
  // Half a link and one and a half links below the bar.
  EXPECT_EQ(world.getEnergy(), -9.8 * 0.5 - 9.8 * 1.5);
}

TEST(Acrobot, TheHeightIsThatOfTheLowerEnd) {
  EXPECT_EQ(heightAt(0.0, 0.0), -2.0);
  EXPECT_NEAR(heightAt(PI, 0.0), 2.0, 1e-15);
  EXPECT_NEAR(heightAt(PI / 2.0, PI / 2.0), 1.0, 1e-15);
  EXPECT_NEAR(heightAt(0.0, PI), 0.0, 1e-15);
}

TEST(Acrobot, EndsAboveALinksLengthOverTheBar) {
  Acrobot world;
  world.place({PI, PI / 2.0 - 0.001, 0.0, 0.0});
  EXPECT_TRUE(world.isAtEnd());
  world.place({PI, PI / 2.0 + 0.001, 0.0, 0.0});
  EXPECT_FALSE(world.isAtEnd());
}

TEST(Acrobot, OnlyTheStepThatReachesTheEndIsFree) {
  Acrobot world;
  world.place({0.0, 0.0, 0.0, 0.0});
  EXPECT_EQ(world.getReward(), -1.0);
  world.place({PI, 0.0, 0.0, 0.0});
  EXPECT_EQ(world.getReward(), 0.0);
}

TEST(Acrobot, AnglesStayOnTheCircleAndSpeedsWithinTheirLimits) {
  Acrobot world;
  world.place({3.1, 3.1, 12.0, 28.0});
  for (int i = 0; i < 100; ++i) {
    world.step(2);
    const Acrobot::Motion motion = world.getObservation();
    for (std::size_t j = 0; j < motion.size(); ++j) {
      ASSERT_GE(motion[j], Acrobot::VARIABLES[j].min);
      ASSERT_LE(motion[j], Acrobot::VARIABLES[j].max);
    }
    ASSERT_LT(motion[0], PI);
    ASSERT_LT(motion[1], PI);
  }
}
