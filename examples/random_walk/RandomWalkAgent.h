#ifndef QUARNEL_EXAMPLES_RANDOM_WALK_AGENT_H
#define QUARNEL_EXAMPLES_RANDOM_WALK_AGENT_H

#include <quarnel/TD.h>

#include <string>

#include "common/Options.h"
#include "common/ReportingAgent.h"
#include "random_walk/RandomWalk.h"

/// An agent that steps to the left or to the right at random and learns the value of every state.
class RandomWalkAgent : public ReportingAgent<TD> {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param newWorld where to walk.
  /// @param seed seed of the random numbers.
  RandomWalkAgent(const Options& newOptions, const RandomWalk& newWorld, unsigned int seed);

  /// Saves what has been learnt. @return false after a message on standard error.
  const bool save(const std::string& fileName) const;

  /// Replaces what has been learnt. @return false after a message on standard error; the agent is
  /// then not to be used.
  const bool load(const std::string& fileName);

  /// @return the value learnt for a state, numbered from 1.
  const double getStateValue(int state);

  /// @return the root of the mean squared error of the values of all states.
  const double getRmsError();

 protected:
  void setInitialState() override;
  void takeAction() override;
  const bool observeState() override;
  const double calculateReward() override;

 private:
  void show(int position);

  RandomWalk world;
  unsigned int positionId;
};

#endif
