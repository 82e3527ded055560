#include "pole_forecast/PoleForecast.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <random>
#include <vector>

#include "cart_pole/CartPole.h"

namespace {

const double LIMIT = 12.0 * 3.14159265358979323846 / 180.0;

using Observation = std::array<double, 3>;

/// Hands out the numbers that it was given, and counts them.
class Chances {
 public:
  Chances(std::initializer_list<double> newNumbers) : numbers(newNumbers) {}

  Control::Uniform uniform() {
    return [this] { return numbers.at(taken++); };
  }

  std::size_t taken = 0;

 private:
  std::vector<double> numbers;
};

PoleForecast at(double angle, double angularVelocity, int stepsLeft = 50) {
  PoleForecast world;
  world.place(angle, angularVelocity, stepsLeft);
  return world;
}

/// Angle and angular velocity after a push.
Observation pushed(double angle, double angularVelocity, int action, double stepsLeft) {
  CartPole world;
  world.place({0.0, 0.0, angle, angularVelocity});
  world.step(action);
  return {world.getMotion()[2], world.getMotion()[3], stepsLeft};
}

const double shareOfSuccesses(const PoleForecast& start, int attempts) {
  std::mt19937 generator(4711);
  const Control::Uniform uniform = [&generator] { return std::ldexp(generator(), -32); };
  int successes = 0;
  for (int i = 0; i < attempts; ++i) {
    PoleForecast world = start;
    while (!world.isAtEnd()) {
      world.step(uniform);
    }
    successes += world.getReward() > 0.0 ? 1 : 0;
  }
  return static_cast<double>(successes) / attempts;
}

}  // namespace

TEST(PoleForecast, StartsWithAnyAngleAndAngularVelocity) {
  PoleForecast world;
  world.reset([] { return 0.0; });
  EXPECT_EQ(world.getObservation(), Observation({-LIMIT, -1.5, 50.0}));
  EXPECT_FALSE(world.isAtEnd());
  world.reset([] { return 0.5; });
  EXPECT_EQ(world.getObservation(), Observation({0.0, 0.0, 50.0}));
}

TEST(PoleForecast, DrawsAngleAndAngularVelocityApart) {
  Chances chances = {0.75, 0.25};
  PoleForecast world;
  world.reset(chances.uniform());
  EXPECT_EQ(chances.taken, 2u);
  EXPECT_EQ(world.getObservation(), Observation({LIMIT * 0.5, -0.75, 50.0}));
}

TEST(PoleForecast, AStartTakesBackTheStepsThatWereTaken) {
  PoleForecast world = at(0.0, 0.0, 3);
  world.reset([] { return 0.5; });
  EXPECT_EQ(world.getObservation(), Observation({0.0, 0.0, 50.0}));
}

TEST(PoleForecast, HalfOfThePushesAreAtRandom) {
  Chances left = {0.499, 0.5};
  PoleForecast world = at(0.1, 0.2);
  world.step(left.uniform());
  EXPECT_EQ(left.taken, 2u);
  EXPECT_EQ(world.getObservation(), pushed(0.1, 0.2, 0, 49.0));
  Chances right = {0.0, 0.499};
  world = at(-0.1, -0.2);
  world.step(right.uniform());
  EXPECT_EQ(world.getObservation(), pushed(-0.1, -0.2, 1, 49.0));
}

TEST(PoleForecast, TheOtherPushesGoWhereThePoleWillLeanInHalfASecond) {
  const auto carefully = [](double angle, double angularVelocity) {
    Chances chances = {0.5};
    PoleForecast world = at(angle, angularVelocity);
    world.step(chances.uniform());
    return world.getObservation();
  };
  EXPECT_EQ(carefully(0.1, 0.0), pushed(0.1, 0.0, 1, 49.0));
  EXPECT_EQ(carefully(-0.1, 0.0), pushed(-0.1, 0.0, 0, 49.0));
  EXPECT_EQ(carefully(0.125, -0.24), pushed(0.125, -0.24, 1, 49.0));
  EXPECT_EQ(carefully(0.125, -0.25), pushed(0.125, -0.25, 0, 49.0));
}

TEST(PoleForecast, IsDownBeyondTwelveDegrees) {
  EXPECT_FALSE(at(LIMIT, 0.0).isDown());
  EXPECT_FALSE(at(-LIMIT, 0.0).isDown());
  EXPECT_TRUE(at(std::nextafter(LIMIT, 1.0), 0.0).isDown());
  EXPECT_TRUE(at(std::nextafter(-LIMIT, -1.0), 0.0).isDown());
}

TEST(PoleForecast, EndsWhereThePoleIsDownOrNoStepIsLeft) {
  EXPECT_FALSE(at(0.0, 0.0, 1).isAtEnd());
  EXPECT_TRUE(at(0.0, 0.0, 0).isAtEnd());
  EXPECT_TRUE(at(LIMIT + 0.01, 0.0, 50).isAtEnd());
}

TEST(PoleForecast, OnlyAPoleThatIsUpAtTheEndIsRewarded) {
  EXPECT_EQ(at(0.0, 0.0, 0).getReward(), 1.0);
  EXPECT_EQ(at(0.0, 0.0, 1).getReward(), 0.0);
  EXPECT_EQ(at(LIMIT + 0.01, 0.0, 0).getReward(), 0.0);
  EXPECT_EQ(at(LIMIT + 0.01, 0.0, 7).getReward(), 0.0);
}

TEST(PoleForecast, LastsFiftySteps) {
  // Careful pushes keep the pole up.
  PoleForecast world = at(0.0, 0.0);
  int steps = 0;
  while (!world.isAtEnd()) {
    world.step([] { return 0.5; });
    ++steps;
  }
  EXPECT_EQ(steps, 50);
  EXPECT_EQ(world.getReward(), 1.0);
}

TEST(PoleForecast, TheObservationIsCutOffAtTheRanges) {
  EXPECT_EQ(at(1.0, 9.0).getObservation(), Observation({LIMIT, 2.0, 50.0}));
  EXPECT_EQ(at(-1.0, -9.0, 0).getObservation(), Observation({-LIMIT, -2.0, 0.0}));
}

TEST(PoleForecast, AsksAboutStartsThatLieEvenly) {
  const auto& questions = PoleForecast::getQuestions();
  ASSERT_EQ(questions.size(), 49u);
  for (int i = 0; i < 7; ++i) {
    for (int j = 0; j < 7; ++j) {
      const PoleForecast::Question& question = questions[static_cast<std::size_t>(7 * i + j)];
      EXPECT_NEAR(question.angle, LIMIT * (2.0 * i - 6.0) / 7.0, 1e-15);
      EXPECT_NEAR(question.angularVelocity, 1.5 * (2.0 * j - 6.0) / 7.0, 1e-15);
    }
  }
}

TEST(PoleForecast, TheTruthIsTheSameInTheMirror) {
  // Four standard errors of the difference of two estimates.
  const double margin = 4.0 * std::sqrt(2.0 * 0.25 / 2000.0);
  const auto& questions = PoleForecast::getQuestions();
  for (std::size_t i = 0; i < questions.size(); ++i) {
    EXPECT_NEAR(questions[i].truth, questions[questions.size() - 1 - i].truth, margin) << i;
  }
}

TEST(PoleForecast, TheTruthIsWhatOtherAttemptsComeTo) {
  const auto& questions = PoleForecast::getQuestions();
  for (const std::size_t i : {0u, 2u, 15u, 24u, 41u}) {
    const PoleForecast start = at(questions[i].angle, questions[i].angularVelocity);
    const double margin = 4.0 * std::sqrt(0.25 / 2000.0 + 0.25 / 4000.0);
    EXPECT_NEAR(questions[i].truth, shareOfSuccesses(start, 4000), margin) << i;
  }
}

TEST(PoleForecast, TheTruthsReachFromNeverToMostly) {
  const auto& questions = PoleForecast::getQuestions();
  // Far to the left and turning fast to the left; upright and at rest.
  EXPECT_EQ(questions.front().truth, 0.0);
  EXPECT_GT(questions[24].truth, 0.75);
  EXPECT_LT(questions[24].truth, 0.95);
}

TEST(PoleForecast, NoConstantErrsLessThanTheBest) {
  const auto error = [](double constant) {
    double sum = 0.0;
    for (const PoleForecast::Question& question : PoleForecast::getQuestions()) {
      sum += (question.truth - constant) * (question.truth - constant);
    }
    return std::sqrt(sum / 49.0);
  };
  double least = 1.0;
  for (int i = 0; i <= 1000; ++i) {
    least = std::min(least, error(i / 1000.0));
  }
  EXPECT_NEAR(PoleForecast::getErrorOfConstant(), least, 1e-5);
  EXPECT_LE(PoleForecast::getErrorOfConstant(), least + 1e-12);
}
