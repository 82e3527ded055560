// Cliff walking
//
// Problem     Find the way along a cliff that costs least.
// State       row 0 .. 3 and column 0 .. 11. Episodes start in row 3, column 0.
// Actions     up, right, down, left; a step off the cliff, row 3 and columns 1 .. 10, leads back to
//             the start.
// Reward      -1 for every step, -100 for a step off the cliff.
// End         At the goal in row 3, column 11.
// Parameters  cliff_walking.conf: alpha .5, gamma 1, epsilon .1, no traces. The values start at 0.
// Published   Sutton and Barto, Reinforcement Learning, 2nd edition, example 6.6: while it learns,
//             Sarsa earns about -25 an episode and Q-learning about -50; the best way takes 13
//             steps.
// Ours        500 runs, seeds 1 to 500; all figures are in docs/results.md.
//             Share of runs whose greedy path takes 13 steps, Watkins: 1 +- 0, accepted 1 .. 1.
//             Return of an episode in episodes 401 to 500:
//             Sarsa -27.02 +- 0.34, accepted -29.1 .. -25.7;
//             Watkins -50.05 +- 0.31, accepted -52.1 .. -48.5.
// Agent       common/GridAgent.h

#include <vector>

#include "cliff_walking/CliffWalking.h"
#include "common/GridReport.h"
#include "common/GridTraining.h"
#include "common/Options.h"

namespace {

void report(const std::vector<GridReport::Run>& runs) {
  GridReport::printPaths(runs, CliffWalking::OPTIMUM);
  GridReport::printLastEpisodes(runs);
}

}  // namespace

int main(int argc, char** argv) {
  Options options("cliff_walking", "Learns the best way along a cliff.", 500);
  options.addLearner();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  return GridTraining::train<CliffWalking>(options, "", report);
}
