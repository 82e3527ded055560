#include "mountain_car/MountainCar.h"

#include <gtest/gtest.h>
#include <quarnel/Sarsa.h>

#include <array>
#include <cmath>
#include <string>

#include "common/ControlAgent.h"
#include "common/Options.h"
#include "support/Files.h"

namespace {

const TilingPlan PLAN = {8, {{8, Types::WRAP}, {8, Types::WRAP}}};

using Observation = std::array<double, 2>;

Observation after(double position, double velocity, int action) {
  MountainCar car;
  car.place(position, velocity);
  car.step(action);
  return car.getObservation();
}

}  // namespace

TEST(MountainCar, StartsAtRestFromTheLeftEndOfTheStartRegionOn) {
  MountainCar car;
  car.place(0.3, 0.05);
  car.reset([] { return 0.0; });
  EXPECT_EQ(car.getObservation(), Observation({-0.6, 0.0}));
  car.reset([] { return 0.5; });
  EXPECT_EQ(car.getObservation(), Observation({-0.5, 0.0}));
}

TEST(MountainCar, StartsBeforeTheRightEndOfTheStartRegion) {
  MountainCar car;
  car.reset([] { return 1.0 - std::ldexp(1.0, -32); });
  EXPECT_LT(car.getObservation()[0], -0.4);
  EXPECT_GT(car.getObservation()[0], -0.401);
}

TEST(MountainCar, ThrottleAddsAThousandthAndGravityTheSlopesPart) {
  // cos(0) = 1.
  EXPECT_EQ(after(0.0, 0.0, 0)[1], -0.001 - 0.0025);
  EXPECT_EQ(after(0.0, 0.0, 1)[1], -0.0025);
  EXPECT_EQ(after(0.0, 0.0, 2)[1], 0.001 - 0.0025);
}

TEST(MountainCar, TheNewVelocityMovesTheCar) {
  EXPECT_EQ(after(0.0, 0.03, 1), Observation({0.03 - 0.0025, 0.03 - 0.0025}));
}

TEST(MountainCar, WithoutThrottleItRestsOnlyAtTheBottom) {
  // The slope is sin(3x)' = 3 cos(3x), which is 0 at -pi / 6.
  const double bottom = -std::acos(-1.0) / 6.0;
  EXPECT_NEAR(after(bottom, 0.0, 1)[1], 0.0, 1e-18);
  EXPECT_GT(after(bottom - 0.1, 0.0, 1)[1], 0.0);
  EXPECT_LT(after(bottom + 0.1, 0.0, 1)[1], 0.0);
}

TEST(MountainCar, TheVelocityIsLimited) {
  EXPECT_EQ(after(-0.5, 0.07, 2)[1], 0.07);
  EXPECT_EQ(after(0.0, -0.07, 0)[1], -0.07);
}

TEST(MountainCar, TheLeftEndStopsTheCar) {
  EXPECT_EQ(after(-1.19, -0.07, 0), Observation({-1.2, 0.0}));
}

TEST(MountainCar, TheGoalEndsTheEpisodeAndIsNeverExceeded) {
  MountainCar car;
  car.place(0.499, 0.0);
  EXPECT_FALSE(car.isAtEnd());
  car.place(0.49, 0.07);
  car.step(2);
  EXPECT_TRUE(car.isAtEnd());
  EXPECT_EQ(car.getObservation()[0], 0.5);
}

TEST(MountainCar, EveryStepCostsOne) {
  MountainCar car;
  car.step(2);
  EXPECT_EQ(car.getReward(), -1.0);
}

TEST(MountainCar, FullThrottleAloneDoesNotReachTheGoal) {
  MountainCar car;
  car.place(-0.5, 0.0);
  for (int i = 0; i < MountainCar::STEP_LIMIT; ++i) {
    car.step(2);
    ASSERT_FALSE(car.isAtEnd()) << "step " << i;
  }
}

TEST(MountainCar, ThrottleInTheDirectionOfTheMotionReachesTheGoal) {
  MountainCar car;
  car.place(-0.5, 0.0);
  int steps = 0;
  while (!car.isAtEnd() && steps < 200) {
    car.step(car.getObservation()[1] < 0.0 ? 0 : 2);
    ++steps;
  }
  EXPECT_LT(steps, 150);
}

TEST(MountainCar, AnAgentLearnsToReachTheGoalWithin130Steps) {
  const TemporaryDirectory directory;
  const std::string configuration = directory.file("mountain_car.conf");
  writeFile(configuration, "ALPHA 0.1\nLAMBDA 0.9\nGAMMA 1\nACTION_SELECTION GREEDY\n");
  Options options("mountain_car", "", 2000);
  options.configuration = configuration;
  ControlAgent<Sarsa, MountainCar> agent(options, PLAN, 1);
  agent.controlLoop();
  const Trial trial = agent.tryGreedily();
  EXPECT_LE(trial.steps.getMean(), 130.0);

  const std::string values = directory.file("mountain_car.values");
  ControlAgent<Sarsa, MountainCar> second(options, PLAN, 2);
  ASSERT_TRUE(agent.save(values));
  ASSERT_TRUE(second.load(values));
  EXPECT_TRUE(second.tryGreedily() == trial);
}
