#include "pole_forecast/PoleForecast.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace {

const int ATTEMPTS = 2000;

// How long ahead, in s, the careful pushes look where the pole will lean.
const double FORESIGHT = 0.5;

// The number of a part's middle, over a range that is as long on either side of 0.
const double middleOf(int part, int parts, double limit) {
  return limit * ((2.0 * part + 1.0) / parts - 1.0);
}

const double attempt(double angle, double angularVelocity, const Control::Uniform& uniform) {
  int successes = 0;
  for (int i = 0; i < ATTEMPTS; ++i) {
    PoleForecast world;
    world.place(angle, angularVelocity);
    while (!world.isAtEnd()) {
      world.step(uniform);
    }
    successes += world.isDown() ? 0 : 1;
  }
  return static_cast<double>(successes) / ATTEMPTS;
}

std::vector<PoleForecast::Question> ask() {
  std::mt19937 generator;
  const Control::Uniform uniform = [&generator] { return std::ldexp(generator(), -32); };
  std::vector<PoleForecast::Question> questions;
  for (int i = 0; i < PoleForecast::ANGLES; ++i) {
    for (int j = 0; j < PoleForecast::VELOCITIES; ++j) {
      const double angle = middleOf(i, PoleForecast::ANGLES, CartPole::FAILURE_ANGLE);
      const double velocity = middleOf(j, PoleForecast::VELOCITIES, PoleForecast::FASTEST_START);
      questions.push_back({angle, velocity, attempt(angle, velocity, uniform)});
    }
  }
  return questions;
}

}  // namespace

void PoleForecast::reset(const Control::Uniform& uniform) {
  const double angle = CartPole::FAILURE_ANGLE * (2.0 * uniform() - 1.0);
  const double angularVelocity = FASTEST_START * (2.0 * uniform() - 1.0);
  place(angle, angularVelocity);
}

void PoleForecast::place(double angle, double angularVelocity, int newStepsLeft) {
  world.place({0.0, 0.0, angle, angularVelocity});
  stepsLeft = newStepsLeft;
}

void PoleForecast::step(const Control::Uniform& uniform) {
  const auto [position, velocity, angle, angularVelocity] = world.getMotion();
  const bool careless = uniform() < CARELESSNESS;
  const bool toTheRight = careless ? uniform() < 0.5 : angle + FORESIGHT * angularVelocity > 0.0;
  world.step(toTheRight ? 1 : 0);
  --stepsLeft;
}

const std::array<double, 3> PoleForecast::getObservation() const {
  const CartPole::Motion& motion = world.getMotion();
  std::array<double, 3> observation = {motion[2], motion[3], static_cast<double>(stepsLeft)};
  for (std::size_t i = 0; i < observation.size(); ++i) {
    observation[i] = std::clamp(observation[i], VARIABLES[i].min, VARIABLES[i].max);
  }
  return observation;
}

const bool PoleForecast::isDown() const {
  return std::abs(world.getMotion()[2]) > CartPole::FAILURE_ANGLE;
}

const std::vector<PoleForecast::Question>& PoleForecast::getQuestions() {
  static const std::vector<Question> questions = ask();
  return questions;
}

const double PoleForecast::getErrorOfConstant() {
  double sum = 0.0;
  double squares = 0.0;
  for (const Question& question : getQuestions()) {
    sum += question.truth;
    squares += question.truth * question.truth;
  }
  const auto count = static_cast<double>(getQuestions().size());
  return std::sqrt(squares / count - sum * sum / count / count);
}
