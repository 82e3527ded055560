#ifndef QUARNEL_EXAMPLES_WALKING_AGENT_H
#define QUARNEL_EXAMPLES_WALKING_AGENT_H

#include <quarnel/ValueFunction.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "common/Options.h"
#include "common/ReportingAgent.h"
#include "common/ValueFile.h"
#include "continuous_random_walk/ContinuousRandomWalk.h"

/// What agents that walk at random along a stretch have in common, whatever they learn by: they see
/// their position, and their values are held against the true ones.
///
/// @tparam Learner `TD`, `Sarsa` or `Watkins`.
template <class Learner>
class WalkingAgent : public ReportingAgent<Learner> {
 public:
  /// The RMS error is over so many positions, evenly spread between the ends.
  static constexpr int POSITIONS = 19;

  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  /// @param newOrigin the position that the agent sees as 0.
  WalkingAgent(const Options& newOptions, double newOrigin)
      : ReportingAgent<Learner>(newOptions), origin(newOrigin) {}

  /// Saves what has been learnt. @return false after a message on standard error.
  const bool save(const std::string& fileName) const {
    return saveValues(*this->getValueFunction(), fileName);
  }

  /// Replaces what has been learnt. @return false after a message on standard error; the agent is
  /// then not to be used.
  virtual const bool load(const std::string& fileName) {
    return loadValues(*this->getValueFunction(), fileName);
  }

  /// @return the value learnt for a position between the ends.
  const double getStateValue(double position) {
    show(position);
    this->getValueFunction()->setState();
    return readValue();
  }

  /// @return the root of the mean squared error of the values.
  const double getRmsError() {
    double sum = 0.0;
    for (int i = 1; i <= POSITIONS; ++i) {
      const double position = getPosition(i);
      const double error = getStateValue(position) - ContinuousRandomWalk::getTrueValue(position);
      sum += error * error;
    }
    return std::sqrt(sum / POSITIONS);
  }

  /// @param number from 1 to POSITIONS.
  static const double getPosition(int number) { return number / (POSITIONS + 1.0); }

 protected:
  /// @return what the agent learns by, over a state of one variable, the position.
  virtual ValueFunction* getValueFunction() const = 0;

  /// @return the value of the state that is shown.
  virtual const double readValue() const = 0;

  void setInitialState() override {
    world.reset();
    show(world.getPosition());
  }

  void takeAction() override { world.step(std::rand() / (RAND_MAX + 1.0)); }

  const bool observeState() override {
    show(world.getPosition());
    return !world.isAtEnd();
  }

  const double calculateReward() override { return this->earn(world.getReward()); }

 private:
  void show(double position) {
    // What lies beyond an end can't be seen.
    const double seen = std::clamp(position, 0.0, 1.0) - origin;
    this->getValueFunction()->getStatePtr()->setValueDbl(0, seen);
  }

  ContinuousRandomWalk world;
  double origin;
};

#endif
