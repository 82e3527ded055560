// Network of one action
//
// Problem     What is the action network good for? The continuous random walk again, by a learner
//             of action values whose only action is a step at random.
// State       position from the middle -0.5 .. 0.5. Walks start at 0.
// Actions     One: a step, evenly distributed over [-0.1, 0.1].
// Reward      +1 at the right end, 0 otherwise.
// End         At either end.
// Parameters  network_one_action.conf: lambda .5, alpha .05, gamma 1, greedy; --learner, --alpha,
//             --lambda, --traces and --epsilon replace what it says. A network of 10 hidden units,
//             scale factor 4; the weights start at random in [-.5, .5).
// Published   None; the true values are computed (ContinuousRandomWalk::getTrueValue).
// Ours        50 runs, seeds 1 to 50; all figures are in docs/results.md. RMS error over 19 positions,
//             Sarsa and Watkins, greedy, after 2,000 episodes:
//             0.05272 +- 0.0027, accepted 0.0418 .. 0.0632;
//             Watkins, epsilon .5, after 500 episodes:
//             0.1785 +- 0.0031, accepted 0.165 .. 0.191, where Sarsa has less than half of it.
// Agent       network_one_action/NetworkOneActionAgent.h
//
// What it offers: a predictor of returns in (0, 1) that runs under Sarsa and Watkins with all they
// have. Where the only action is the greedy one, both learn the same weights from the same seed,
// and the values of network_random_walk.
//
// What it does not: it can't choose. Only action 0 has an output; --second-action registers a second
// one and shows that its value is 0 and that the library says so. And exploration costs Watkins what
// it learns: it cuts the traces at every action drawn at random, even where there is only one to
// draw, and as a network's traces are renewed only when they decay, nothing is learnt from such a
// step. Control is for tables and tilings (docs/choosing.md).

#include <quarnel/Sarsa.h>
#include <quarnel/Watkins.h>

#include <iomanip>
#include <iostream>
#include <memory>

#include "common/Options.h"
#include "common/Prediction.h"
#include "continuous_random_walk/WalkPicture.h"
#include "network_one_action/NetworkOneActionAgent.h"

namespace {

template <class Learner>
const int train(const Options& options, bool showSecondAction) {
  using Agent = NetworkOneActionAgent<Learner>;
  return Prediction::train<Agent>(
      options, [&](unsigned int seed) { return std::make_unique<Agent>(options, seed); },
      [&](Agent& agent) {
        drawWalk(agent);
        if (showSecondAction) {
          const double first = agent.getStateValue(0.5);
          const double second = agent.getValueOfSecondAction(0.5);
          std::cout << std::fixed << std::setprecision(3)
                    << "In the middle, the value of the first action: " << first
                    << ", of a second: " << second << "\n"
                    << std::defaultfloat << std::endl;
        }
      },
      {"learn in bigger steps", "ALPHA", "0.2", "0.05"});
}

}  // namespace

int main(int argc, char** argv) {
  Options options("network_one_action",
                  "Learns the values along a random walk as those of a network's only action.",
                  2000);
  options.learner = "sarsa";
  options.addLearner();
  options.addOverrides();
  options.addExploration();
  bool showSecondAction = false;
  options.parser.add_flag("--second-action", showSecondAction,
                          "Ask for the value of a second action after learning");
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  return options.learner == "sarsa" ? train<Sarsa>(options, showSecondAction)
                                    : train<Watkins>(options, showSecondAction);
}
