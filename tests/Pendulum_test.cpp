#include "pendulum/Pendulum.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

const double PI = 3.14159265358979323846;
const int NO_TORQUE = 1;

using Observation = std::array<double, 2>;

Pendulum at(double angle, double turning) {
  Pendulum world;
  world.place(angle, turning);
  return world;
}

Observation after(double angle, double turning, int action) {
  Pendulum world = at(angle, turning);
  world.step(action);
  return world.getObservation();
}

// With the moment of inertia 1/3 and the centre half a metre above the hinge.
const double energy(const Observation& motion) {
  return motion[1] * motion[1] / 6.0 + 5.0 * std::cos(motion[0]);
}

}  // namespace

TEST(Pendulum, StartsAtAnyAngleWithASmallSpeed) {
  Pendulum world;
  world.reset([] { return 0.0; });
  EXPECT_EQ(world.getObservation(), Observation({-PI, -1.0}));
  world.reset([] { return 0.5; });
  EXPECT_EQ(world.getObservation(), Observation({0.0, 0.0}));
}

TEST(Pendulum, StandsUprightWithoutTorque) {
  EXPECT_EQ(after(0.0, 0.0, NO_TORQUE), Observation({0.0, 0.0}));
}

TEST(Pendulum, ATorqueOfTwoTurnsItByThreeTimesAsMuch) {
  // 3 * 2 rad/s^2 over 0.05 s, and that over 0.05 s.
  const double turning = 0.05 * 6.0;
  EXPECT_EQ(after(0.0, 0.0, 2), Observation({0.05 * turning, turning}));
  EXPECT_EQ(after(0.0, 0.0, 0), Observation({-0.05 * turning, -turning}));
}

TEST(Pendulum, GravityPullsByFifteenTimesTheSine) {
  EXPECT_NEAR(after(PI / 2.0, 0.0, NO_TORQUE)[1], 0.05 * 15.0, 1e-15);
  EXPECT_NEAR(after(PI / 6.0, 0.0, NO_TORQUE)[1], 0.05 * 7.5, 1e-15);
}

TEST(Pendulum, LeftAndRightAreMirrored) {
  const Observation right = after(0.7, -1.3, 2);
  const Observation left = after(-0.7, 1.3, 0);
  EXPECT_EQ(right[0], -left[0]);
  EXPECT_EQ(right[1], -left[1]);
}

TEST(Pendulum, TheSpeedIsLimited) {
  EXPECT_EQ(after(PI / 2.0, 8.0, 2)[1], 8.0);
  EXPECT_EQ(after(-PI / 2.0, -8.0, 0)[1], -8.0);
}

TEST(Pendulum, TheAngleGoesRoundTheCircle) {
  const Observation over = after(3.1, 4.0, NO_TORQUE);
  EXPECT_NEAR(over[0], 3.1 + 0.05 * over[1] - 2.0 * PI, 1e-15);
  const Observation back = after(-3.1, -4.0, NO_TORQUE);
  EXPECT_NEAR(back[0], -3.1 + 0.05 * back[1] + 2.0 * PI, 1e-15);
}

TEST(Pendulum, AFullTurnIsTheSeamItself) {
  EXPECT_EQ(Control::wrapAngle(PI), -PI);
  EXPECT_EQ(Control::wrapAngle(-PI), -PI);
  EXPECT_EQ(Control::wrapAngle(1.0), 1.0);
}

TEST(Pendulum, TheCostIsThatOfTheStepsStartAndTorque) {
  Pendulum world = at(0.5, -2.0);
  world.step(2);
  EXPECT_EQ(world.getReward(), -(0.5 * 0.5 + 0.1 * 4.0 + 0.001 * 4.0));
  world = at(0.0, 0.0);
  world.step(NO_TORQUE);
  EXPECT_EQ(world.getReward(), 0.0);
}

TEST(Pendulum, WithoutTorqueItHardlyGainsOrLosesEnergy) {
  Pendulum world = at(2.0, 0.0);
  const double start = energy(world.getObservation());
  for (int i = 0; i < 100; ++i) {
    world.step(NO_TORQUE);
    // Of 10 between hanging and standing.
    EXPECT_NEAR(energy(world.getObservation()), start, 0.8) << "step " << i;
  }
}

TEST(Pendulum, TheTorqueAloneCannotLiftIt) {
  Pendulum world = at(-PI, 0.0);
  for (int i = 0; i < Pendulum::STEP_LIMIT; ++i) {
    world.step(2);
    ASSERT_GT(std::abs(world.getObservation()[0]), 1.0) << "step " << i;
  }
}

TEST(Pendulum, NeverEndsByItself) { EXPECT_FALSE(at(0.0, 0.0).isAtEnd()); }
