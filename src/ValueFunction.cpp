#include "ValueFunction.h"

#include <limits>

#include "RandomDraw.h"

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
  return RandomDraw::unit() * (maxValue - minValue) + minValue;
}
