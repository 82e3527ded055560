#include "StateNeuralNetwork.h"

StateNeuralNetwork::StateNeuralNetwork(State* state, int hiddenNeurons)
    : StateValueFunction(state), NeuralNetwork(state, hiddenNeurons) {
  setRandomValueBoundaries(-0.5, 0.5);
  setInitWeightsFunctionPtr(getRandomValue);
  StateNeuralNetwork::create();
}

StateNeuralNetwork::StateNeuralNetwork(const std::string& fileName) : StateValueFunction(nullptr) {
  StateValueFunction::load(fileName);
}

StateNeuralNetwork::~StateNeuralNetwork() = default;

void StateNeuralNetwork::initWeights(const double (*initFunctionPtr)()) {
  NeuralNetwork::initWeights(initFunctionPtr);
}

void StateNeuralNetwork::initEligibilityTraces() { NeuralNetwork::initEligibilityTraces(); }

void StateNeuralNetwork::updateWeights(double ALPHA, double DELTA) {
  NeuralNetwork::updateWeights(ALPHA, DELTA, minWeightLimit, maxWeightLimit);
}

void StateNeuralNetwork::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  NeuralNetwork::updateEligibilityTraces(GAMMA, LAMBDA);
}

void StateNeuralNetwork::accumulatingTraces(double VALUE) {
  NeuralNetwork::accumulatingTraces(VALUE);
}

void StateNeuralNetwork::replacingTraces(double VALUE) { NeuralNetwork::replacingTraces(VALUE); }

void StateNeuralNetwork::checkWeightLimit() {
  NeuralNetwork::checkWeightLimit(minWeightLimit, maxWeightLimit);
}

const double StateNeuralNetwork::getMinWeight() const { return NeuralNetwork::getMinWeight(); }

const double StateNeuralNetwork::getAvgWeight(bool abs) const {
  return NeuralNetwork::getAvgWeight(abs);
}

const double StateNeuralNetwork::getMaxWeight() const { return NeuralNetwork::getMaxWeight(); }

void StateNeuralNetwork::setState() { NeuralNetwork::setState(); }

void StateNeuralNetwork::storeState() { NeuralNetwork::storeState(); }

void StateNeuralNetwork::initEpisodeStateHistory() { NeuralNetwork::initEpisodeStateHistory(); }

void StateNeuralNetwork::valueEpisode(double amount) { NeuralNetwork::valueEpisode(amount); }

const int StateNeuralNetwork::save(FILE* file) const { return NeuralNetwork::save(file); }

const int StateNeuralNetwork::load(FILE* file) {
  setStatePtr(statePtr);
  return NeuralNetwork::load(file);
}

const double StateNeuralNetwork::getStateValue() const { return getOutputValue(0); }

void StateNeuralNetwork::create() { layOut(1, QUARNEL_PLACE); }
