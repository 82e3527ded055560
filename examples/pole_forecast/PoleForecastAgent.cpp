#include "pole_forecast/PoleForecastAgent.h"

#include <quarnel/StateNeuralNetwork.h>

#include <cmath>
#include <cstdlib>

#include "common/ValueFile.h"

namespace {

const int HIDDEN_NEURONS = 20;

// Angle and angular velocity come to [-3, 3], as the probability changes steeply in their middle;
// the steps left to [0, 1].
const std::array<double, 3> LARGEST_INPUTS = {3.0, 3.0, 1.0};

const double draw() { return std::rand() / (RAND_MAX + 1.0); }

}  // namespace

PoleForecastAgent::PoleForecastAgent(const Options& newOptions, unsigned int seed)
    : ReportingAgent<TD>(newOptions) {
  State* const state = new State;
  for (const Control::Variable& variable : PoleForecast::VARIABLES) {
    state->registerVariable(variable.name, variable.min, variable.max);
  }
  StateNeuralNetwork* const network = new StateNeuralNetwork(state, HIDDEN_NEURONS);
  int id = 0;
  for (const Control::Variable& variable : PoleForecast::VARIABLES) {
    network->setScaleFactor(id, LARGEST_INPUTS[static_cast<std::size_t>(id)] / variable.max);
    ++id;
  }
  svfPtr = network;
  // The learner's constructor has seeded the generator with 1; the first weights are drawn from it.
  std::srand(seed);
  svfPtr->initWeights(ValueFunction::getRandomInitializer());
}

const bool PoleForecastAgent::save(const std::string& fileName) const {
  return saveValues(*svfPtr, fileName);
}

const bool PoleForecastAgent::load(const std::string& fileName) {
  return loadValues(*svfPtr, fileName);
}

const double PoleForecastAgent::getForecast(const PoleForecast& there) {
  show(there);
  svfPtr->setState();
  return svfPtr->getStateValue();
}

const double PoleForecastAgent::getForecast(const PoleForecast::Question& question) {
  PoleForecast there;
  there.place(question.angle, question.angularVelocity);
  return getForecast(there);
}

const double PoleForecastAgent::getRmsError() {
  double sum = 0.0;
  for (const PoleForecast::Question& question : PoleForecast::getQuestions()) {
    const double error = getForecast(question) - question.truth;
    sum += error * error;
  }
  return std::sqrt(sum / static_cast<double>(PoleForecast::getQuestions().size()));
}

void PoleForecastAgent::setInitialState() {
  world.reset(draw);
  show(world);
}

void PoleForecastAgent::takeAction() { world.step(draw); }

const bool PoleForecastAgent::observeState() {
  show(world);
  return !world.isAtEnd();
}

const double PoleForecastAgent::calculateReward() { return earn(world.getReward()); }

void PoleForecastAgent::show(const PoleForecast& there) {
  unsigned int id = 0;
  for (const double number : there.getObservation()) {
    svfPtr->getStatePtr()->setValueDbl(id, number);
    ++id;
  }
}
