// Random walk
//
// Problem     A walker in a row of states steps to the left or to the right at random. How much
//             reward is to be expected from each state on?
// State       position: 1 .. 5 or 1 .. 19, and an end on either side. Walks start in the middle.
// Actions     None to learn: the agent goes left and right with equal probability.
// Reward      5 states: +1 at the right end, 0 otherwise. 19 states: +1 at the right end, -1 at the
//             left end, 0 otherwise.
// End         At either end.
// Parameters  random_walk.conf: TD(0), alpha .1, gamma 1; --alpha, --lambda and --traces replace
//             what it says. The values start at that of the middle state.
// Published   Sutton and Barto, Reinforcement Learning, 2nd edition. Example 6.2: with 5 states the
//             RMS error starts at .236. Figure 12.6: with 19 states and accumulating traces the
//             best mean over the first 10 episodes is ~.261, at lambda .8 and alpha .27.
// Ours        100 runs, seeds 1 to 100; all figures are in docs/results.md.
//             5 states, RMS error after 100 episodes: 0.05376 +- 0.002, accepted 0.046 .. 0.0642.
//             19 states, lambda .8, alpha .3, mean RMS error over the first 10 episodes:
//             0.2656 +- 0.0054, accepted 0.2423 .. 0.2823.
// Agent       random_walk/RandomWalkAgent.h

#include <memory>
#include <string>
#include <vector>

#include "common/Options.h"
#include "common/Prediction.h"
#include "random_walk/RandomWalk.h"
#include "random_walk/RandomWalkAgent.h"

namespace {

void drawValues(RandomWalkAgent& agent, const RandomWalk& world) {
  std::vector<Prediction::Row> rows;
  for (int state = 1; state <= world.getStates(); ++state) {
    rows.push_back({std::to_string(state), agent.getStateValue(state), world.getTrueValue(state)});
  }
  Prediction::drawValues("state", rows, world.getTrueValue(0));
}

}  // namespace

int main(int argc, char** argv) {
  Options options("random_walk", "Learns the values of the states of a random walk.", 100);
  int states = 5;
  options.parser.add_option("--states", states, "Number of states")
      ->check(CLI::IsMember({5, 19}))
      ->capture_default_str();
  options.addOverrides();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  const RandomWalk world(states, states == 5 ? 0.0 : -1.0);
  return Prediction::train<RandomWalkAgent>(
      options,
      [&](unsigned int seed) { return std::make_unique<RandomWalkAgent>(options, world, seed); },
      [&](RandomWalkAgent& agent) { drawValues(agent, world); });
}
