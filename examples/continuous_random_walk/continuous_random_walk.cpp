// Continuous random walk
//
// Problem     A walker steps at random along a stretch. How much reward is to be expected from
//             every position on?
// State       position 0 .. 1. Walks start at 0.5.
// Actions     None to learn: steps are evenly distributed over [-0.1, 0.1].
// Reward      +1 at the right end, 0 otherwise.
// End         At either end.
// Parameters  continuous_random_walk.conf: TD(0), alpha .1, gamma 1; --alpha, --lambda and --traces
//             replace what it says. 10 tilings of tiles .2 wide. The values start at .5.
// Published   None; the true values are computed (ContinuousRandomWalk::getTrueValue), a nearly
//             straight line.
// Ours        100 runs, seeds 1 to 100; all figures are in docs/results.md.
//             RMS error over 19 positions after 100 episodes, TD(0):
//             0.04905 +- 0.0023, accepted 0.0394 .. 0.057;
//             mean over the first 10 episodes, TD(.8): 0.1276 +- 0.0027, accepted 0.1192 .. 0.1408.
// Agent       continuous_random_walk/ContinuousRandomWalkAgent.h

#include <memory>

#include "common/Options.h"
#include "common/Prediction.h"
#include "continuous_random_walk/ContinuousRandomWalkAgent.h"
#include "continuous_random_walk/WalkPicture.h"

int main(int argc, char** argv) {
  Options options("continuous_random_walk", "Learns the values along a continuous random walk.",
                  100);
  options.addOverrides();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  return Prediction::train<ContinuousRandomWalkAgent>(
      options,
      [&](unsigned int seed) { return std::make_unique<ContinuousRandomWalkAgent>(options, seed); },
      drawWalk<ContinuousRandomWalkAgent>);
}
