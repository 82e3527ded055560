// Pendulum
//
// Problem     Swing a pendulum up and hold it there; its motor is too weak to lift it at once.
// State       the angle, on a circle (tile type CIRCLE: a tile may reach over its seam), and the
//             velocity, +-8 rad/s. Episodes start at any angle and at up to 1 rad/s.
// Actions     a torque of -2, 0 or +2.
// Reward      -(angle^2 + 0.1 velocity^2 + 0.001 torque^2) for every step, the angle from upright.
// End         None; broken off after 200 steps.
// Parameters  pendulum.conf: alpha .2, lambda .9, gamma .98, epsilon .05, replacing traces.
//             8 tilings of 8 x 8 tiles. The values start at 0, above all true ones.
// Published   None that these figures are held against: published ones have continuous torques.
//             Instead the agent has to lose less than a third of what it loses untrained.
// Ours        20 runs, seeds 1 to 20, 500 episodes; greedy return from 100 starts, untrained -1412:
//             -190.8 +- 5.3, accepted -400 .. -100.
// Agent       common/ControlAgent.h

#include "pendulum/Pendulum.h"

#include <iostream>

#include "common/ControlTraining.h"
#include "common/Options.h"

int main(int argc, char** argv) {
  Options options("pendulum", "Learns to swing a pendulum up and to hold it there.", 500);
  options.learner = "sarsa";
  options.addLearner();
  options.addOverrides();
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  ControlTraining::Example<Pendulum> example;
  example.plan = {8, {{8, Types::CIRCLE}, {8, Types::WRAP}}};
  example.measure = "return";
  example.unit = -25.0;
  example.knob = {"explore more", "EPSILON", "0.3", "0.05"};
  example.report = [&](const ControlTraining::Results& results) {
    ControlAgent<Sarsa, Pendulum> untrained(options, example.plan, options.seed);
    std::cout << "greedy return before learning: " << untrained.tryGreedily().returns.getMean()
              << std::endl;
    EpisodeReport::printLast(results.runs, 100);
    ControlTraining::printTrials(results);
  };
  return ControlTraining::train(options, example);
}
