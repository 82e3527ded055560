#include "continuous_random_walk/ContinuousRandomWalkAgent.h"

#include <quarnel/StateTileCoding.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "common/ValueFile.h"

namespace {

// Tiles as wide as two of the longest steps.
const int TILINGS = 10;
const double TILE_WIDTH = 2.0 * ContinuousRandomWalk::REACH;

}  // namespace

ContinuousRandomWalkAgent::ContinuousRandomWalkAgent(const Options& newOptions, unsigned int seed)
    : ReportingAgent<TD>(newOptions) {
  State* const state = new State;
  positionId = state->registerVariable("position", 0.0, 1.0);
  StateTileCoding* const tileCoding = new StateTileCoding(state);
  tileCoding->registerTiling(
      new StateTilings(TILINGS, {{positionId, TILE_WIDTH / TILINGS, Types::WRAP}}));
  svfPtr = tileCoding;
  // Every position starts with the value of the middle one, to which every tiling adds its part.
  svfPtr->setValue(0.5 / TILINGS);
  svfPtr->initWeights(ValueFunction::getConstantInitializer());
  // The learner's constructor has seeded the generator with 1.
  std::srand(seed);
}

const bool ContinuousRandomWalkAgent::save(const std::string& fileName) const {
  return saveValues(*svfPtr, fileName);
}

const bool ContinuousRandomWalkAgent::load(const std::string& fileName) {
  return loadValues(*svfPtr, fileName);
}

const double ContinuousRandomWalkAgent::getStateValue(double position) {
  show(position);
  svfPtr->setState();
  return svfPtr->getStateValue();
}

const double ContinuousRandomWalkAgent::getRmsError() {
  double sum = 0.0;
  for (int i = 1; i <= POSITIONS; ++i) {
    const double position = getPosition(i);
    const double error = getStateValue(position) - ContinuousRandomWalk::getTrueValue(position);
    sum += error * error;
  }
  return std::sqrt(sum / POSITIONS);
}

void ContinuousRandomWalkAgent::setInitialState() {
  world.reset();
  show(world.getPosition());
}

void ContinuousRandomWalkAgent::takeAction() { world.step(std::rand() / (RAND_MAX + 1.0)); }

const bool ContinuousRandomWalkAgent::observeState() {
  show(world.getPosition());
  return !world.isAtEnd();
}

const double ContinuousRandomWalkAgent::calculateReward() { return earn(world.getReward()); }

void ContinuousRandomWalkAgent::show(double position) {
  // What lies beyond an end has no tile.
  svfPtr->getStatePtr()->setValueDbl(positionId, std::clamp(position, 0.0, 1.0));
}
