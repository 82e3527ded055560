// Continuous random walk, by a network
//
// Problem     A walker steps at random along a stretch. How much reward is to be expected from
//             every position on?
// State       position from the middle -0.5 .. 0.5. Walks start at 0.
// Actions     None to learn: steps are evenly distributed over [-0.1, 0.1].
// Reward      +1 at the right end, 0 otherwise.
// End         At either end.
// Parameters  network_random_walk.conf: TD(.5), alpha .05, gamma 1; --alpha, --lambda and --traces
//             replace what it says. A network of 10 hidden units, scale factor 4; the weights start
//             at random in [-.5, .5).
//             The traces of a network are sums of gradients: replacing and accumulating traces are
//             the same, and they decay by lambda alone, whatever gamma. Without traces (--traces
//             none) a network learns along the gradient of the state that it has come to, not of
//             the one that it has left, and in the end loses what it has learnt: TD(0) is --lambda 0.
// Published   None; the true values are computed (ContinuousRandomWalk::getTrueValue), a nearly
//             straight line.
// Ours        50 runs, seeds 1 to 50; all figures are in docs/results.md.
//             RMS error over 19 positions after 2,000 episodes,
//             TD(.5): 0.05282 +- 0.0028, accepted 0.0418 .. 0.0632;
//             TD(0): 0.05166 +- 0.0015, accepted 0.0446 .. 0.0574;
//             without traces: 0.2789 +- 0.00025, accepted 0.2778 .. 0.2802.
// Agent       network_random_walk/NetworkRandomWalkAgent.h

#include <memory>

#include "common/Options.h"
#include "common/Prediction.h"
#include "continuous_random_walk/WalkPicture.h"
#include "network_random_walk/NetworkRandomWalkAgent.h"

int main(int argc, char** argv) {
  Options options("network_random_walk",
                  "Learns the values along a continuous random walk by a network.", 2000);
  options.addOverrides();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  return Prediction::train<NetworkRandomWalkAgent>(
      options,
      [&](unsigned int seed) { return std::make_unique<NetworkRandomWalkAgent>(options, seed); },
      drawWalk<NetworkRandomWalkAgent>, {"learn in bigger steps", "ALPHA", "0.2", "0.05"});
}
