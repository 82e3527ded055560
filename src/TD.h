#ifndef QUARNEL_TD_H
#define QUARNEL_TD_H

#include <string>

#include "Quarnel.h"
#include "StateValueFunction.h"

/// TD(lambda): learns the value V(s) of every state under the policy that the application follows.
///
/// An application derives from `TD`, implements the four hooks of `Quarnel` (choosing the action is
/// its `takeAction()`'s business) and sets `svfPtr` before it calls `controlLoop()`.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, sections 6.1 (TD(0)) and 12.2
/// (TD(lambda), the backward view), with V(s') read before the update and again after it.
class TD : public Quarnel {
 public:
  /// @param fileName path of the configuration file.
  explicit TD(const std::string& fileName);

  /// Deletes the value function.
  ~TD() override;

 protected:
  /// Starts an episode: counts it, clears the traces, and the history of states where that is in
  /// use, calls `setInitialState()` and sets `value` to V(s). Reports where there is no value
  /// function, and does nothing then.
  void initEpisode() override;

  /// Takes a step from s to s' and learns from it.
  ///
  /// Traces decay by GAMMA * LAMBDA and that of s is set, or without traces s is stored; then come
  /// `takeAction()`, `observeState()` and `calculateReward()`, which gives r. The error is
  /// r + GAMMA * V(s') - V(s), and r - V(s) where the episode has ended. A kind of traces that is
  /// none of the enumerators is reported in every step, which sets no trace then. Where there is no
  /// value function, that is reported and the episode ends.
  void step() override;

  const bool checkValueFunction() const override;

  /// What is learnt; set by the application, owned from then on.
  StateValueFunction* svfPtr;
};

#endif
