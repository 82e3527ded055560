#include "network_random_walk/NetworkRandomWalkAgent.h"

#include <quarnel/StateNeuralNetwork.h>

#include <cstdlib>

#include "continuous_random_walk/NetworkWalk.h"

NetworkRandomWalkAgent::NetworkRandomWalkAgent(const Options& newOptions, unsigned int seed)
    : WalkingAgent<TD>(newOptions, NetworkWalk::ORIGIN) {
  State* const state = new State;
  const unsigned int positionId = state->registerVariable(
      "position from the middle", -NetworkWalk::FARTHEST, NetworkWalk::FARTHEST);
  StateNeuralNetwork* const network = new StateNeuralNetwork(state, NetworkWalk::HIDDEN_NEURONS);
  network->setScaleFactor(static_cast<int>(positionId), NetworkWalk::SCALE_FACTOR);
  svfPtr = network;
  // The learner's constructor has seeded the generator with 1; the first weights are drawn from it.
  std::srand(seed);
  svfPtr->initWeights(ValueFunction::getRandomInitializer());
}
