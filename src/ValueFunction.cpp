#include "ValueFunction.h"

#include <cstdlib>
#include <limits>

namespace {

// 2^-31 has the same value in both precisions; in double the result stays below the upper bound.
const double RAND_SCALE = 4.656612873077393e-10F;

}  // namespace

double ValueFunction::value = 0.0;
double ValueFunction::minValue = -0.5;
double ValueFunction::maxValue = 0.5;

ValueFunction::ValueFunction(State* state)
    : statePtr(state),
      initWeightsFunctionPtr(getValue),
      minWeightLimit(std::numeric_limits<double>::lowest()),
      maxWeightLimit(std::numeric_limits<double>::max()),
      episodeStateHistory(false) {}

ValueFunction::~ValueFunction() { delete statePtr; }

const double ValueFunction::getRandomValue() {
  return std::rand() * RAND_SCALE * (maxValue - minValue) + minValue;
}
