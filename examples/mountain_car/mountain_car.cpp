// Mountain car
//
// Problem     Drive a car out of a valley; its engine is weaker than gravity, so it has to swing.
// State       position -1.2 .. 0.5 and velocity -0.07 .. 0.07. Episodes start at rest, anywhere in
//             [-0.6, -0.4).
// Actions     full throttle backwards, none, full throttle forwards.
// Reward      -1 for every step.
// End         At position 0.5; broken off after 5,000 steps.
// Parameters  mountain_car.conf: alpha .1, lambda .9, gamma 1, greedy, replacing traces; --alpha,
//             --lambda and --traces replace what it says. 8 tilings of 8 x 8 tiles, with WRAP in
//             both variables. The values start at 0, above all true ones. The library divides alpha
//             by the number of tilings: it is the "alpha * 8" of the figures.
// Published   Sutton and Barto, Reinforcement Learning, 2nd edition. Figure 12.10: at best ~180
//             steps per episode over the first 50, at lambda .95. Figure 10.2: ~120 steps in the end.
//             Their replacing traces leave those of the other actions alone, which --keep-traces
//             does here; the library's clear them. Their tilings are displaced further in velocity
//             than in position, ours evenly. Watkins and Sarsa are the same algorithm as long as
//             they are greedy, and part with --epsilon.
// Ours        Seeds 1 to 30; all figures are in docs/results.md.
//             Lambda .95, alpha 1.25, steps per episode over the first 50:
//             with --keep-traces 189 +- 2.3, accepted 161.8 .. 204.2;
//             without 198.2 +- 1.6, accepted 184.0 .. 204.4.
//             Lambda 0, alpha .5, steps per episode in episodes 401 to 500:
//             116.3 +- 0.45, accepted 114.5 .. 124.5.
//             Seeds 1 to 10, 5,000 episodes of mountain_car.conf, greedy steps from 100 starts:
//             101.1 +- 1.3, accepted 85 .. 130.
// Agent       common/ControlAgent.h

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "common/ControlTraining.h"
#include "common/Gnuplot.h"
#include "common/Options.h"
#include "common/Picture.h"
#include "mountain_car/KeepingTilings.h"
#include "mountain_car/MountainCar.h"

namespace {

using Example = ControlTraining::Example<MountainCar>;

// 8 tilings of 8 x 8 tiles; with WRAP every state has a tile in each, as in the textbook.
const TilingPlan PLAN = {8, {{8, Types::WRAP}, {8, Types::WRAP}}};

using Field = std::vector<std::vector<double>>;

// The cost to go, a line for every velocity from the highest on.
Field costToGo(const Example::StateValue& getStateValue, int lines, int columns) {
  const auto& [positions, velocities] = MountainCar::VARIABLES;
  Field field;
  for (int i = 0; i < lines; ++i) {
    std::vector<double> line;
    for (int j = 0; j < columns; ++j) {
      MountainCar car;
      car.place(positions.min + (positions.max - positions.min) * (j + 0.5) / columns,
                velocities.max - (velocities.max - velocities.min) * (i + 0.5) / lines);
      line.push_back(-getStateValue(car));
    }
    field.push_back(line);
  }
  return field;
}

// Where the learning shows.
const std::size_t FIRST_EPISODES = 300;

void drawInTerminal(std::vector<double> steps, const Example::StateValue& getStateValue) {
  steps.resize(std::min(steps.size(), FIRST_EPISODES));
  std::cout << "\nSteps per episode, over the first " << steps.size() << " episodes:\n\n";
  Picture::print(Picture::drawCurve(steps, 60, 8));
  std::cout << "\nSteps that the agent expects to need from every position (-1.2 .. 0.5) and\n"
               "velocity (0.07 at the top .. -0.07); the fuller the more:\n\n";
  Picture::print(Picture::drawField(costToGo(getStateValue, 14, 34)));
}

std::string gnuplotCommands(const std::vector<double>& steps,
                            const Example::StateValue& getStateValue) {
  const int lines = 40;
  const auto& [positions, velocities] = MountainCar::VARIABLES;
  std::ostringstream commands;
  commands << "$steps << END\n";
  for (const double number : steps) {
    commands << number << '\n';
  }
  commands << "END\n$cost << END\n";
  for (const std::vector<double>& line : costToGo(getStateValue, lines, lines)) {
    for (const double number : line) {
      commands << number << ' ';
    }
    commands << '\n';
  }
  const double width = (positions.max - positions.min) / lines;
  const double height = (velocities.max - velocities.min) / lines;
  commands << "END\nset multiplot layout 1, 2\n"
           << "set logscale xy\nset xlabel 'episode'\nset ylabel 'steps'\n"
           << "plot $steps using ($0 + 1):1 with lines notitle\n"
           << "unset logscale\nset xlabel 'position'\nset ylabel 'velocity'\n"
           << "set zlabel 'cost to go' rotate\nset view 55, 330\nset hidden3d\n"
           << "splot $cost matrix using (" << positions.min << " + ($1 + 0.5) * " << width << "):("
           << velocities.max << " - ($2 + 0.5) * " << height << "):3 with lines notitle\n"
           << "unset multiplot\n";
  return commands.str();
}

}  // namespace

int main(int argc, char** argv) {
  Options options("mountain_car", "Learns to drive a weak car out of a valley.", 5000);
  std::string plotFile;
  bool keepTraces = false;
  options.learner = "sarsa";
  options.addLearner();
  options.addOverrides();
  options.addExploration();
  options.parser
      .add_option("--plot", plotFile, "Also draw curve and values into a .png or .svg, by gnuplot")
      ->type_name("FILE");
  options.parser.add_flag("--keep-traces", keepTraces,
                          "Let replacing traces leave those of the other actions alone");
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  const std::string obstacle = plotFile.empty() ? "" : Gnuplot::findObstacle(plotFile);
  if (!obstacle.empty()) {
    options.complain(obstacle);
    return 1;
  }

  Example example;
  example.plan = PLAN;
  example.measure = "steps";
  example.unit = 10.0;
  example.knob = {"learn in bigger steps", "ALPHA", "0.5", "0.1"};
  example.show = [&](const std::vector<Episode>& episodes,
                     const Example::StateValue& getStateValue) {
    std::vector<double> steps;
    for (const Episode& episode : episodes) {
      steps.push_back(episode.steps);
    }
    drawInTerminal(steps, getStateValue);
    if (plotFile.empty()) {
      return true;
    }
    const std::string problem = Gnuplot::draw(plotFile, gnuplotCommands(steps, getStateValue));
    if (!problem.empty()) {
      options.complain(problem);
      return false;
    }
    std::cout << "\nThe same is drawn in " << plotFile << ".\n";
    return true;
  };
  example.report = [](const ControlTraining::Results& results) {
    EpisodeReport::printFirst(results.runs, 20);
    EpisodeReport::printFirst(results.runs, 50);
    EpisodeReport::printLast(results.runs, 100);
    ControlTraining::printTrials(results);
  };
  return keepTraces ? ControlTraining::train<MountainCar, KeepingTilings>(options, example)
                    : ControlTraining::train<MountainCar>(options, example);
}
