#include "cart_pole/CartPole.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

CartPole::Motion after(const CartPole::Motion& motion, int action) {
  CartPole world;
  world.place(motion);
  world.step(action);
  return world.getMotion();
}

const bool endsAt(const CartPole::Motion& motion) {
  CartPole world;
  world.place(motion);
  return world.isAtEnd();
}

}  // namespace

TEST(CartPole, StartsWithinATwentiethOfUprightRest) {
  CartPole world;
  world.reset([] { return 0.0; });
  EXPECT_EQ(world.getMotion(), CartPole::Motion({-0.05, -0.05, -0.05, -0.05}));
  world.reset([] { return 0.5; });
  EXPECT_EQ(world.getMotion(), CartPole::Motion({0.0, 0.0, 0.0, 0.0}));
}

TEST(CartPole, DrawsEveryNumberOfTheStartAnew) {
  CartPole world;
  int draws = 0;
  world.reset([&draws] { return draws++ / 4.0; });
  EXPECT_EQ(draws, 4);
  EXPECT_EQ(world.getMotion(),
            CartPole::Motion({-0.05, -0.05 + 0.1 * 0.25, 0.0, -0.05 + 0.1 * 0.75}));
}

TEST(CartPole, APushAcceleratesTheUprightPoleAsTheEquationsSay) {
  // Upright and at rest: push = 10 / 1.1; the pole turns back by push / (0.5 (4/3 - 0.1/1.1)) and
  // the cart gains push + 0.05 * turning / 1.1, both over 0.02 s.
  const double push = 10.0 / 1.1;
  const double turning = -push / (0.5 * (4.0 / 3.0 - 0.1 / 1.1));
  const CartPole::Motion moved = after({0.0, 0.0, 0.0, 0.0}, 1);
  EXPECT_EQ(moved[0], 0.0);
  EXPECT_NEAR(moved[1], 0.02 * (push - 0.05 * turning / 1.1), 1e-15);
  EXPECT_EQ(moved[2], 0.0);
  EXPECT_NEAR(moved[3], 0.02 * turning, 1e-15);
}

TEST(CartPole, TheSpeedsBeforeTheStepMoveCartAndPole) {
  const CartPole::Motion moved = after({1.0, 0.5, 0.1, -0.25}, 0);
  EXPECT_EQ(moved[0], 1.0 + 0.02 * 0.5);
  EXPECT_EQ(moved[2], 0.1 + 0.02 * -0.25);
}

TEST(CartPole, LeftAndRightAreMirrored) {
  const CartPole::Motion motion = {0.3, -0.7, 0.15, 1.2};
  const CartPole::Motion mirrored = {-0.3, 0.7, -0.15, -1.2};
  const CartPole::Motion right = after(motion, 1);
  const CartPole::Motion left = after(mirrored, 0);
  for (std::size_t i = 0; i < right.size(); ++i) {
    EXPECT_EQ(right[i], -left[i]) << i;
  }
}

TEST(CartPole, EndsBeyondTheTrack) {
  EXPECT_FALSE(endsAt({2.4, 0.0, 0.0, 0.0}));
  EXPECT_FALSE(endsAt({-2.4, 0.0, 0.0, 0.0}));
  EXPECT_TRUE(endsAt({std::nextafter(2.4, 3.0), 0.0, 0.0, 0.0}));
  EXPECT_TRUE(endsAt({std::nextafter(-2.4, -3.0), 0.0, 0.0, 0.0}));
}

TEST(CartPole, EndsBeyondTwelveDegrees) {
  const double angle = 12.0 * 3.14159265358979323846 / 180.0;
  EXPECT_FALSE(endsAt({0.0, 0.0, angle, 0.0}));
  EXPECT_FALSE(endsAt({0.0, 0.0, -angle, 0.0}));
  EXPECT_TRUE(endsAt({0.0, 0.0, std::nextafter(angle, 1.0), 0.0}));
  EXPECT_TRUE(endsAt({0.0, 0.0, std::nextafter(-angle, -1.0), 0.0}));
}

TEST(CartPole, EveryStepIsRewarded) {
  CartPole world;
  world.step(0);
  EXPECT_EQ(world.getReward(), 1.0);
}

TEST(CartPole, TheObservationIsCutOffAtTheRanges) {
  CartPole world;
  world.place({3.0, -9.0, 1.0, 9.0});
  EXPECT_EQ(world.getObservation(), CartPole::Motion({2.4, -2.0, CartPole::FAILURE_ANGLE, 2.0}));
  world.place({0.5, 1.0, -0.1, -1.5});
  EXPECT_EQ(world.getObservation(), CartPole::Motion({0.5, 1.0, -0.1, -1.5}));
}

TEST(CartPole, ConstantPushesDropThePole) {
  CartPole world;
  int steps = 0;
  while (!world.isAtEnd() && steps < 100) {
    world.step(1);
    ++steps;
  }
  EXPECT_GE(steps, 8);
  EXPECT_LE(steps, 12);
}
