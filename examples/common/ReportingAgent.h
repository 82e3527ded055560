#ifndef QUARNEL_EXAMPLES_REPORTING_AGENT_H
#define QUARNEL_EXAMPLES_REPORTING_AGENT_H

#include <utility>

#include "common/EpisodeLog.h"
#include "common/Options.h"

/// What the agents of all examples do besides learning: they count their rewards, tell a listener
/// of every episode, and stop after the last one.
///
/// @tparam Learner `TD`, `Sarsa` or `Watkins`.
template <class Learner>
class ReportingAgent : public Learner {
 public:
  /// @param newOptions configuration, number of episodes and kind of output; must outlive
  ///   the agent.
  explicit ReportingAgent(const Options& newOptions)
      : Learner(newOptions.configuration), options(newOptions) {
    applyOverrides();
  }

  void loadConf() override {
    Learner::loadConf();
    applyOverrides();
  }

  /// @param newListener called after every episode that has come to its end.
  void setListener(EpisodeListener newListener) { listener = std::move(newListener); }

  /// @return true where a signal has ended learning.
  const bool isStopped() const { return this->sigTermRcvd || this->sigIntRcvd; }

 protected:
  /// Counts a reward. @return the reward.
  const double earn(double reward) {
    totalReward += reward;
    return reward;
  }

  void finishEpisode() override {
    // An episode that SIGINT has cut short is no result.
    if (listener && !this->continueEpisode) {
      listener({this->episodes, this->steps, totalReward});
    }
    totalReward = 0.0;
    if (options.verbose) {
      Learner::finishEpisode();
    }
    this->continueLearning = options.episodes == 0 || this->episodes != options.episodes;
  }

 private:
  void applyOverrides() {
    this->ALPHA = options.overrides.alpha.value_or(this->ALPHA);
    this->LAMBDA = options.overrides.lambda.value_or(this->LAMBDA);
    if (options.overrides.epsilon) {
      this->ACTION_SELECTION = EPSILON_GREEDY;
      this->EPSILON = *options.overrides.epsilon;
    }
    this->TRACES = options.overrides.traces.value_or(this->TRACES);
  }

  const Options& options;
  EpisodeListener listener;
  double totalReward = 0.0;
};

#endif
