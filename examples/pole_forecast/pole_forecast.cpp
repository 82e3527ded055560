// Pole forecast
//
// Problem     Somebody careless balances a pole on a cart. How likely is it that the pole is still
//             up after 50 steps (1 s)?
// State       angle +-12 degrees, angular velocity +-2 rad/s (what is beyond is cut off), steps left
//             0 .. 50. Episodes start with any angle, angular velocities up to +-1.5 rad/s and all
//             steps left.
// Actions     None to learn: half of the pushes of 10 N are at random, half go to the side to which
//             the pole will lean in half a second.
// Reward      1 where the pole is up when no step is left, 0 otherwise: the value of a state is the
//             probability.
// End         Where the angle exceeds 12 degrees, or no step is left. The track has no end.
// Parameters  pole_forecast.conf: TD(.5), alpha .03, gamma 1; --alpha, --lambda and --traces replace
//             what it says. A network of 20 hidden units, scale factors such that angle and angular
//             velocity come to +-3 and the steps left to 0 .. 1; the weights start at random in
//             [-.5, .5).
// Published   None; the true probabilities are Monte Carlo estimates, 2,000 attempts from each of 49
//             starts (PoleForecast::getQuestions).
// Ours        20 runs, seeds 1 to 20, 20,000 episodes; RMS error over the 49 starts:
//             0.07281 +- 0.0046, accepted 0.0502 .. 0.0764;
//             the best constant forecast has 0.26.
// Agent       pole_forecast/PoleForecastAgent.h

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <memory>
#include <random>

#include "common/Options.h"
#include "common/Prediction.h"
#include "common/Summary.h"
#include "pole_forecast/PoleForecast.h"
#include "pole_forecast/PoleForecastAgent.h"

namespace {

void drawForecasts(PoleForecastAgent& agent) {
  std::cout
      << "\nForecasts, and in brackets the Monte Carlo estimates; a line for every angle from "
         "the\nleft to the right, and in it the angular velocities in the same order:\n\n"
      << std::fixed << std::setprecision(2);
  int number = 0;
  for (const PoleForecast::Question& question : PoleForecast::getQuestions()) {
    ++number;
    std::cout << (number % PoleForecast::VELOCITIES == 1 ? "    " : "  ")
              << agent.getForecast(question) << " (" << question.truth << ')'
              << (number % PoleForecast::VELOCITIES == 0 ? "\n" : "");
  }
  std::cout << std::defaultfloat;
}

// Holds the forecasts for starts that are drawn anew against what happens then.
void drawCalibration(PoleForecastAgent& agent) {
  const int ATTEMPTS = 5000;
  const std::size_t PARTS = 5;
  std::array<Summary, PARTS> forecasts;
  std::array<Summary, PARTS> outcomes;
  std::array<int, PARTS> counts = {};
  std::mt19937 generator(2);
  const Control::Uniform uniform = [&generator] { return std::ldexp(generator(), -32); };
  for (int i = 0; i < ATTEMPTS; ++i) {
    PoleForecast world;
    world.reset(uniform);
    const double forecast = agent.getForecast(world);
    while (!world.isAtEnd()) {
      world.step(uniform);
    }
    const double place = forecast * static_cast<double>(PARTS);
    // In this order, a forecast that is not a number falls into the first part.
    const auto part = static_cast<std::size_t>(std::max(0.0, std::min(PARTS - 1.0, place)));
    forecasts[part].add(forecast);
    outcomes[part].add(world.isDown() ? 0.0 : 1.0);
    ++counts[part];
  }
  std::cout << "\n" << ATTEMPTS << " new starts:\n\n" << std::fixed << std::setprecision(3);
  for (std::size_t part = 0; part < PARTS; ++part) {
    if (counts[part] > 0) {
      std::cout << "    mean forecast " << forecasts[part].getMean() << ", stayed up "
                << outcomes[part].getMean() << ", of " << counts[part] << '\n';
    }
  }
  std::cout << std::defaultfloat << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  Options options("pole_forecast", "Learns how likely it is that a pole stays up.", 20000);
  options.addOverrides();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  Summary constant;
  constant.add(PoleForecast::getErrorOfConstant());
  constant.print("RMS error of the best constant forecast");
  return Prediction::train<PoleForecastAgent>(
      options,
      [&](unsigned int seed) { return std::make_unique<PoleForecastAgent>(options, seed); },
      [](PoleForecastAgent& agent) {
        drawForecasts(agent);
        drawCalibration(agent);
      },
      {"learn in bigger steps", "ALPHA", "0.2", "0.03"});
}
