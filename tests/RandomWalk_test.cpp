#include "random_walk/RandomWalk.h"

#include <gtest/gtest.h>

namespace {

RandomWalk after(RandomWalk world, int steps, bool toTheRight) {
  for (int i = 0; i < steps; ++i) {
    world.step(toTheRight);
  }
  return world;
}

const RandomWalk FIVE(5, 0.0);
const RandomWalk NINETEEN(19, -1.0);

}  // namespace

TEST(RandomWalk, StartsInTheMiddle) {
  EXPECT_EQ(FIVE.getPosition(), 3);
  EXPECT_EQ(NINETEEN.getPosition(), 10);
  EXPECT_EQ(RandomWalk(1, 0.0).getPosition(), 1);
}

TEST(RandomWalk, KnowsItsNumberOfStates) {
  EXPECT_EQ(FIVE.getStates(), 5);
  EXPECT_EQ(NINETEEN.getStates(), 19);
}

TEST(RandomWalk, AStepLeadsToTheNextPosition) {
  EXPECT_EQ(after(FIVE, 1, true).getPosition(), 4);
  EXPECT_EQ(after(FIVE, 1, false).getPosition(), 2);
}

TEST(RandomWalk, ResetPutsTheWalkerBackToTheMiddle) {
  RandomWalk world = after(NINETEEN, 10, true);
  ASSERT_TRUE(world.isAtEnd());
  world.reset();
  EXPECT_EQ(world.getPosition(), 10);
  EXPECT_FALSE(world.isAtEnd());
}

TEST(RandomWalk, EndsOnePositionBeyondTheLastState) {
  EXPECT_FALSE(after(FIVE, 2, true).isAtEnd());
  EXPECT_TRUE(after(FIVE, 3, true).isAtEnd());
  EXPECT_EQ(after(FIVE, 3, true).getPosition(), 6);
  EXPECT_FALSE(after(NINETEEN, 9, true).isAtEnd());
  EXPECT_TRUE(after(NINETEEN, 10, true).isAtEnd());
}

TEST(RandomWalk, EndsOnePositionBeforeTheFirstState) {
  EXPECT_FALSE(after(FIVE, 2, false).isAtEnd());
  EXPECT_TRUE(after(FIVE, 3, false).isAtEnd());
  EXPECT_EQ(after(FIVE, 3, false).getPosition(), 0);
  EXPECT_FALSE(after(NINETEEN, 9, false).isAtEnd());
  EXPECT_TRUE(after(NINETEEN, 10, false).isAtEnd());
}

TEST(RandomWalk, OnlyTheEndsAreRewarded) {
  for (int steps = 0; steps < 3; ++steps) {
    EXPECT_EQ(after(FIVE, steps, true).getReward(), 0.0);
    EXPECT_EQ(after(FIVE, steps, false).getReward(), 0.0);
  }
  EXPECT_EQ(after(FIVE, 3, true).getReward(), 1.0);
  EXPECT_EQ(after(NINETEEN, 10, true).getReward(), 1.0);
}

TEST(RandomWalk, TheLeftEndHasTheRewardThatItWasGiven) {
  EXPECT_EQ(after(FIVE, 3, false).getReward(), 0.0);
  EXPECT_EQ(after(NINETEEN, 10, false).getReward(), -1.0);
}

TEST(RandomWalk, TheTrueValuesOfFiveStatesAreSixths) {
  for (int state = 1; state <= 5; ++state) {
    EXPECT_EQ(FIVE.getTrueValue(state), state / 6.0);
  }
}

TEST(RandomWalk, TheTrueValuesOfNineteenStatesAreTenths) {
  for (int state = 1; state <= 19; ++state) {
    EXPECT_EQ(NINETEEN.getTrueValue(state), (state - 10) / 10.0);
  }
}

TEST(RandomWalk, TheTrueValuesOfTheEndsAreTheirRewards) {
  EXPECT_EQ(FIVE.getTrueValue(0), 0.0);
  EXPECT_EQ(FIVE.getTrueValue(6), 1.0);
  EXPECT_EQ(NINETEEN.getTrueValue(0), -1.0);
  EXPECT_EQ(NINETEEN.getTrueValue(20), 1.0);
}

TEST(RandomWalk, TheTrueValueOfAStateIsTheMeanOfItsNeighbours) {
  for (const RandomWalk& world : {FIVE, NINETEEN}) {
    for (int state = 1; state <= world.getStates(); ++state) {
      // Sixths and tenths are rounded, so their mean may be off by the last bit.
      EXPECT_NEAR(world.getTrueValue(state),
                  (world.getTrueValue(state - 1) + world.getTrueValue(state + 1)) / 2.0, 1e-15);
    }
  }
}
