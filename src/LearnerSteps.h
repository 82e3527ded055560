#ifndef QUARNEL_LEARNER_STEPS_H
#define QUARNEL_LEARNER_STEPS_H

#include "Quarnel.h"
#include "Utility.h"
#include "ValueFunction.h"

// No part of the interface.
#pragma GCC visibility push(hidden)
/// What TD, Sarsa and Watkins do alike in an episode and a step.
namespace LearnerSteps {

/// Adds one to a counter of episodes or steps; past the largest number it goes on from the
/// smallest.
void countUp(int& counter);

/// Empties traces and episode history at the start of an episode, as far as they are in use.
void clearMemory(ValueFunction& valueFunction, TRACE_TYPE traces);

/// Marks the active feature as visited: stores it, or sets or adds to its trace. A kind of trace
/// that is none of the known ones is reported at `place`.
void markVisit(ValueFunction& valueFunction, TRACE_TYPE traces, double traceValue,
               const QuarnelUtility::Place& place);

/// @return true when the learner has a value function; false after a report at `place`, where a
///   step would have nothing to learn in.
const bool checkPresent(bool present, const QuarnelUtility::Place& place);

}  // namespace LearnerSteps
#pragma GCC visibility pop

#endif
