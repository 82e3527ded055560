#ifndef QUARNEL_EXAMPLES_CONTINUOUS_RANDOM_WALK_AGENT_H
#define QUARNEL_EXAMPLES_CONTINUOUS_RANDOM_WALK_AGENT_H

#include <quarnel/TD.h>

#include "common/Options.h"
#include "continuous_random_walk/WalkingAgent.h"

/// An agent that steps at random and learns the value of every position through tilings.
class ContinuousRandomWalkAgent : public WalkingAgent<TD> {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param seed seed of the random numbers.
  ContinuousRandomWalkAgent(const Options& newOptions, unsigned int seed);

 protected:
  ValueFunction* getValueFunction() const override { return svfPtr; }
  const double readValue() const override { return svfPtr->getStateValue(); }
};

#endif
