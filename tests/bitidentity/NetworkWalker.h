#ifndef QUARNEL_TESTS_BITIDENTITY_NETWORK_WALKER_H
#define QUARNEL_TESTS_BITIDENTITY_NETWORK_WALKER_H

#include <quarnel/State.h>
#include <quarnel/StateNeuralNetwork.h>
#include <quarnel/TD.h>

#include <cstdlib>
#include <string>

/// Learns with a network from which end a random walk over the interval from 0 to 1 will leave it.
/// The only function of the mathematical library is the network's own, exp.
class NetworkWalker : public TD {
 public:
  explicit NetworkWalker(const std::string& configuration) : TD(configuration) {
    auto* const state = new State;
    placeId = state->registerVariable("place", 0.0, 1.0);
    squareId = state->registerVariable("square", 0.0, 1.0);
    auto* const network = new StateNeuralNetwork(state, HIDDEN_UNITS);
    network->setScaleFactor(static_cast<int>(squareId), 2.0);
    network->initWeights(ValueFunction::getRandomInitializer());
    svfPtr = network;
  }

  const int save(const std::string& fileName) const { return svfPtr->save(fileName); }

 protected:
  void setInitialState() override {
    place = 0.5;
    writeState();
  }

  void takeAction() override { place += 0.4 * (std::rand() / 2147483648.0) - 0.2; }

  const bool observeState() override {
    writeState();
    return place > 0.0 && place < 1.0;
  }

  const double calculateReward() override { return place >= 1.0 ? 1.0 : 0.0; }

  void finishEpisode() override { continueLearning = episodes < EPISODES; }

 private:
  static constexpr int HIDDEN_UNITS = 19;  // a whole number of no width of vectors
  static constexpr int EPISODES = 500;

  void writeState() {
    svfPtr->getStatePtr()->setValueDbl(placeId, place);
    svfPtr->getStatePtr()->setValueDbl(squareId, place * place);
  }

  unsigned int placeId = 0;
  unsigned int squareId = 0;
  double place = 0.5;
};

#endif
