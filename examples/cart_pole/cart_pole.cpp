// Cart and pole
//
// Problem     Keep a pole upright on a cart, by pushing the cart.
// State       position +-2.4 m, velocity +-2 m/s, angle +-12 degrees, angular velocity +-2 rad/s;
//             speeds beyond are cut off. Episodes start with all of them in [-0.05, 0.05).
// Actions     a push of 10 N to the left or to the right.
// Reward      +1 for every step.
// End         Where the angle exceeds 12 degrees or the position 2.4 m; broken off after 500 steps.
// Parameters  cart_pole.conf: alpha .6, lambda .7, gamma 1, epsilon .02, replacing traces.
//             8 tilings of 2 x 4 x 6 x 6 tiles. The values start at 0.
// Published   Gymnasium's CartPole-v1: solved at a mean return of 475; CleanRL's DQN reaches 488.69
//             and its PPO 490.04.
// Ours        20 runs, seeds 1 to 20, 1,000 episodes; greedy return from 100 starts:
//             469.4 +- 15, accepted 412 .. 500.
// Agent       common/ControlAgent.h

#include "cart_pole/CartPole.h"
#include "common/ControlTraining.h"
#include "common/Options.h"

int main(int argc, char** argv) {
  Options options("cart_pole", "Learns to balance a pole on a cart.", 1000);
  options.learner = "sarsa";
  options.addLearner();
  options.addOverrides();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  ControlTraining::Example<CartPole> example;
  example.plan = {8, {{2, Types::WRAP}, {4, Types::WRAP}, {6, Types::WRAP}, {6, Types::WRAP}}};
  example.measure = "steps";
  example.unit = 10.0;
  example.knob = {"explore more", "EPSILON", "0.2", "0.02"};
  example.report = [](const ControlTraining::Results& results) {
    EpisodeReport::printLast(results.runs, 100);
    ControlTraining::printTrials(results);
  };
  return ControlTraining::train(options, example);
}
