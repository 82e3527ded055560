#include "continuous_random_walk/ContinuousRandomWalkAgent.h"

#include <quarnel/StateTileCoding.h>

#include <cstdlib>

namespace {

// Tiles as wide as two of the longest steps.
const int TILINGS = 10;
const double TILE_WIDTH = 2.0 * ContinuousRandomWalk::REACH;

}  // namespace

ContinuousRandomWalkAgent::ContinuousRandomWalkAgent(const Options& newOptions, unsigned int seed)
    : WalkingAgent<TD>(newOptions, 0.0) {
  State* const state = new State;
  const unsigned int positionId = state->registerVariable("position", 0.0, 1.0);
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
