#include "random_walk/RandomWalkAgent.h"

#include <quarnel/StateLookupTable.h>

#include <cmath>
#include <cstdlib>

#include "common/ValueFile.h"

RandomWalkAgent::RandomWalkAgent(const Options& newOptions, const RandomWalk& newWorld,
                                 unsigned int seed)
    : ReportingAgent<TD>(newOptions), world(newWorld) {
  State* const state = new State;
  // The two ends are positions too.
  positionId = state->registerVariable("position", 0, world.getStates() + 1);
  svfPtr = new StateLookupTable(state);
  // Every state starts with the value of the middle one. The table's constructor has set the
  // constant to 0.
  svfPtr->setValue(world.getTrueValue((world.getStates() + 1) / 2));
  svfPtr->initWeights(ValueFunction::getConstantInitializer());
  // The learner's constructor has seeded the generator with 1.
  std::srand(seed);
}

const bool RandomWalkAgent::save(const std::string& fileName) const {
  return saveValues(*svfPtr, fileName);
}

const bool RandomWalkAgent::load(const std::string& fileName) {
  return loadValues(*svfPtr, fileName);
}

const double RandomWalkAgent::getStateValue(int state) {
  show(state);
  svfPtr->setState();
  return svfPtr->getStateValue();
}

const double RandomWalkAgent::getRmsError() {
  double sum = 0.0;
  for (int state = 1; state <= world.getStates(); ++state) {
    const double error = getStateValue(state) - world.getTrueValue(state);
    sum += error * error;
  }
  return std::sqrt(sum / world.getStates());
}

void RandomWalkAgent::setInitialState() {
  world.reset();
  show(world.getPosition());
}

void RandomWalkAgent::takeAction() { world.step(std::rand() > RAND_MAX / 2); }

const bool RandomWalkAgent::observeState() {
  show(world.getPosition());
  return !world.isAtEnd();
}

const double RandomWalkAgent::calculateReward() { return earn(world.getReward()); }

void RandomWalkAgent::show(int position) {
  svfPtr->getStatePtr()->setValueInt(positionId, position);
}
