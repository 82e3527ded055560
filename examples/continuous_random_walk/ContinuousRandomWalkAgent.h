#ifndef QUARNEL_EXAMPLES_CONTINUOUS_RANDOM_WALK_AGENT_H
#define QUARNEL_EXAMPLES_CONTINUOUS_RANDOM_WALK_AGENT_H

#include <quarnel/TD.h>

#include <string>

#include "common/Options.h"
#include "common/ReportingAgent.h"
#include "continuous_random_walk/ContinuousRandomWalk.h"

/// An agent that steps at random and learns the value of every position through tilings.
class ContinuousRandomWalkAgent : public ReportingAgent<TD> {
 public:
  /// The RMS error is over so many positions, evenly spread between the ends.
  static constexpr int POSITIONS = 19;

  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param seed seed of the random numbers.
  ContinuousRandomWalkAgent(const Options& newOptions, unsigned int seed);

  /// Saves what has been learnt. @return false after a message on standard error.
  const bool save(const std::string& fileName) const;

  /// Replaces what has been learnt. @return false after a message on standard error; the agent is
  /// then not to be used.
  const bool load(const std::string& fileName);

  /// @return the value learnt for a position between the ends.
  const double getStateValue(double position);

  /// @return the root of the mean squared error of the values.
  const double getRmsError();

  /// @param number from 1 to POSITIONS.
  static const double getPosition(int number) { return number / (POSITIONS + 1.0); }

 protected:
  void setInitialState() override;
  void takeAction() override;
  const bool observeState() override;
  const double calculateReward() override;

 private:
  void show(double position);

  ContinuousRandomWalk world;
  unsigned int positionId;
};

#endif
