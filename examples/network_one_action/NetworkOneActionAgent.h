#ifndef QUARNEL_EXAMPLES_NETWORK_ONE_ACTION_AGENT_H
#define QUARNEL_EXAMPLES_NETWORK_ONE_ACTION_AGENT_H

#include <quarnel/AbstractAction.h>
#include <quarnel/ActionNeuralNetwork.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "common/Options.h"
#include "continuous_random_walk/NetworkWalk.h"
#include "continuous_random_walk/WalkingAgent.h"

/// An agent whose only action is a step at random, and that learns the value of this action in
/// every position by a network.
///
/// @tparam Learner `Sarsa` or `Watkins`.
template <class Learner>
class NetworkOneActionAgent : public WalkingAgent<Learner> {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param seed seed of the random numbers.
  NetworkOneActionAgent(const Options& newOptions, unsigned int seed)
      : WalkingAgent<Learner>(newOptions, NetworkWalk::ORIGIN) {
    State* const state = new State;
    const unsigned int positionId = state->registerVariable(
        "position from the middle", -NetworkWalk::FARTHEST, NetworkWalk::FARTHEST);
    ActionNeuralNetwork* const network =
        new ActionNeuralNetwork(state, NetworkWalk::HIDDEN_NEURONS);
    network->registerAction(new AbstractAction);
    network->create();
    network->setScaleFactor(static_cast<int>(positionId), NetworkWalk::SCALE_FACTOR);
    avfPtr = network;
    // The learner's constructor has seeded the generator with 1; the first weights are drawn from
    // it.
    std::srand(seed);
    avfPtr->initWeights(ValueFunction::getRandomInitializer());
  }

  const bool load(const std::string& fileName) override {
    if (!WalkingAgent<Learner>::load(fileName)) {
      return false;
    }
    if (avfPtr->getNumberOfActions() != 1) {
      std::cerr << "'" << fileName << "' holds the values of other actions" << std::endl;
      return false;
    }
    return true;
  }

  /// Registers an action more. @return its value in a position, which the network does not have:
  /// 0.0 after the library's report.
  const double getValueOfSecondAction(double position) {
    avfPtr->registerAction(new AbstractAction);
    this->getStateValue(position);
    return avfPtr->getActionValue(1);
  }

 protected:
  ValueFunction* getValueFunction() const override { return avfPtr; }
  const double readValue() const override { return avfPtr->getActionValue(0); }

 private:
  // A template has to name what it uses of its base.
  using Learner::avfPtr;
};

#endif
