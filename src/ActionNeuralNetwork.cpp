#include "ActionNeuralNetwork.h"

ActionNeuralNetwork::ActionNeuralNetwork(State* state, int hiddenNeurons)
    : ActionValueFunction(state), NeuralNetwork(state, hiddenNeurons) {
  setRandomValueBoundaries(-0.5, 0.5);
  setInitWeightsFunctionPtr(getRandomValue);
}

ActionNeuralNetwork::ActionNeuralNetwork(const std::string& fileName)
    : ActionValueFunction(nullptr) {
  ActionValueFunction::load(fileName);
}

ActionNeuralNetwork::~ActionNeuralNetwork() = default;

void ActionNeuralNetwork::initWeights(const double (*initFunctionPtr)()) {
  NeuralNetwork::initWeights(initFunctionPtr);
}

void ActionNeuralNetwork::initEligibilityTraces() { NeuralNetwork::initEligibilityTraces(); }

void ActionNeuralNetwork::updateWeights(double ALPHA, double DELTA) {
  NeuralNetwork::updateWeights(ALPHA, DELTA, minWeightLimit, maxWeightLimit);
}

void ActionNeuralNetwork::updateEligibilityTraces(double GAMMA, double LAMBDA) {
  NeuralNetwork::updateEligibilityTraces(GAMMA, LAMBDA);
}

void ActionNeuralNetwork::accumulatingTraces(double VALUE) {
  NeuralNetwork::accumulatingTraces(VALUE);
}

void ActionNeuralNetwork::replacingTraces(double VALUE) { NeuralNetwork::replacingTraces(VALUE); }

void ActionNeuralNetwork::checkWeightLimit() {
  NeuralNetwork::checkWeightLimit(minWeightLimit, maxWeightLimit);
}

const double ActionNeuralNetwork::getMinWeight() const { return NeuralNetwork::getMinWeight(); }

const double ActionNeuralNetwork::getAvgWeight(bool abs) const {
  return NeuralNetwork::getAvgWeight(abs);
}

const double ActionNeuralNetwork::getMaxWeight() const { return NeuralNetwork::getMaxWeight(); }

void ActionNeuralNetwork::setState() { NeuralNetwork::setState(); }

void ActionNeuralNetwork::storeState() { NeuralNetwork::storeState(); }

void ActionNeuralNetwork::initEpisodeStateHistory() { NeuralNetwork::initEpisodeStateHistory(); }

void ActionNeuralNetwork::valueEpisode(double amount) { NeuralNetwork::valueEpisode(amount); }

const int ActionNeuralNetwork::save(FILE* file) const { return NeuralNetwork::save(file); }

const int ActionNeuralNetwork::load(FILE* file) {
  setStatePtr(statePtr);
  return NeuralNetwork::load(file);
}

const double ActionNeuralNetwork::getActionValue(int actionIndex) const {
  if (actionIndex < 0 || actionIndex >= ACTIONS) {
    QUARNEL_ERROR("actionIndex[" << actionIndex << "] out of bounds [ 0, " << ACTIONS << ")");
    return 0.0;
  }
  return getOutputValue(actionIndex);
}

void ActionNeuralNetwork::removeAction(int /*actionIndex*/) {
  QUARNEL_ERROR("Removing actions isn't implemented yet for NeuralNetworks!");
}

void ActionNeuralNetwork::create() { layOut(ACTIONS, QUARNEL_PLACE); }
