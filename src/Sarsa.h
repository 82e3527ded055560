#ifndef QUARNEL_SARSA_H
#define QUARNEL_SARSA_H

#include <string>

#include "ActionValueFunction.h"
#include "Quarnel.h"

/// Sarsa(lambda): learns the value Q(s, a) of the policy that it follows itself, greedy,
/// epsilon-greedy or softmax.
///
/// An application derives from `Sarsa`, implements the four hooks of `Quarnel` (its `takeAction()`
/// carries out `avfPtr->getActiveActionIndex()`) and sets `avfPtr` before it calls `controlLoop()`.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, sections 6.4 (Sarsa) and 12.7
/// (Sarsa(lambda)), with Q(s', a') read again after the update.
class Sarsa : public Quarnel {
 public:
  /// @param fileName path of the configuration file.
  explicit Sarsa(const std::string& fileName);

  /// Deletes the value function.
  ~Sarsa() override;

 protected:
  /// Starts an episode: counts it, clears the traces, and the history of states where that is in
  /// use, calls `setInitialState()`, chooses the first action and sets `value` to its Q(s, a).
  /// Reports where there is no value function, and does nothing then.
  void initEpisode() override;

  /// Takes a step from (s, a) to (s', a') and learns from it.
  ///
  /// Traces decay by GAMMA * LAMBDA and that of (s, a) is set, or without traces the pair is
  /// stored; then come `takeAction()`, `observeState()`, `calculateReward()`, which gives r, and the
  /// choice of a' by `ACTION_SELECTION`. The error is r + GAMMA * Q(s', a') - Q(s, a), and
  /// r - Q(s, a) where the episode has ended. A kind of traces or of choice that is none of the
  /// enumerators is reported in every step, which sets no trace or keeps the action then. Where
  /// there is no value function, that is reported and the episode ends.
  void step() override;

  const bool checkValueFunction() const override;

  /// What is learnt; set by the application, owned from then on.
  ActionValueFunction* avfPtr;

 private:
  void selectAction(const QuarnelUtility::Place& place);
};

#endif
