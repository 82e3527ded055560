#include "LearnerSteps.h"

#include "WrapAround.h"

namespace LearnerSteps {

void countUp(int& counter) { counter = WrapAround::add(counter, 1); }

void clearMemory(ValueFunction& valueFunction, TRACE_TYPE traces) {
  if (traces != NONE) {
    valueFunction.initEligibilityTraces();
  }
  if (valueFunction.getEpisodeStateHistory()) {
    valueFunction.initEpisodeStateHistory();
  }
}

void markVisit(ValueFunction& valueFunction, TRACE_TYPE traces, double traceValue,
               const QuarnelUtility::Place& place) {
  switch (traces) {
    case NONE:
      valueFunction.storeState();
      break;
    case REPLACING:
      valueFunction.replacingTraces(traceValue);
      break;
    case ACCUMULATING:
      valueFunction.accumulatingTraces(traceValue);
      break;
    default:
      QUARNEL_ERROR_AT(place, "Unknown Tracetype!");
  }
}

const bool checkPresent(bool present, const QuarnelUtility::Place& place) {
  if (!present) {
    QUARNEL_ERROR_AT(place, "valueFunctionPtr not set --> nothing to learn in!");
  }
  return present;
}

}  // namespace LearnerSteps
