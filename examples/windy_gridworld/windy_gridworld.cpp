// Windy gridworld
//
// Problem     Find the shortest way across a grid over which a wind blows upward.
// State       row 0 .. 6 and column 0 .. 9. Episodes start in row 3, column 0.
// Actions     up, right, down, left; the wind of the column that is left lifts the walker by 0, 1
//             or 2 cells.
// Reward      -1 for every step.
// End         At the goal in row 3, column 7.
// Parameters  windy_gridworld.conf: alpha .5, gamma 1, epsilon .1, no traces. The values start at
//             0.
// Published   Sutton and Barto, Reinforcement Learning, 2nd edition, example 6.5: the shortest way
//             takes 15 steps; Sarsa finishes about 160 to 170 episodes within 8,000 steps.
// Ours        100 runs, seeds 1 to 100; all figures are in docs/results.md.
//             Share of runs whose greedy path takes 15 steps, Watkins: 1 +- 0, accepted 1 .. 1.
//             Episodes within 8,000 steps, Sarsa: 161 +- 0.91, accepted 155.5 .. 170.
// Agent       common/GridAgent.h

#include <string>
#include <vector>

#include "common/GridReport.h"
#include "common/GridTraining.h"
#include "common/Options.h"
#include "windy_gridworld/WindyGridworld.h"

namespace {

// The wind of every column, to stand below a picture of the world.
std::string windLine() {
  std::string line = "   ";
  for (int column = 0; column < WindyGridworld::COLUMNS; ++column) {
    line += ' ' + std::to_string(WindyGridworld::getWind(column));
  }
  return line + "   cells up by the wind";
}

void report(const std::vector<GridReport::Run>& runs) {
  GridReport::printPaths(runs, WindyGridworld::OPTIMUM);
  GridReport::printEpisodesWithin(runs, 8000);
  GridReport::printLastEpisodes(runs);
}

}  // namespace

int main(int argc, char** argv) {
  Options options("windy_gridworld", "Learns the shortest way across a windy grid.", 500);
  options.addLearner();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  return GridTraining::train<WindyGridworld>(options, windLine(), report);
}
