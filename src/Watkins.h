#ifndef QUARNEL_WATKINS_H
#define QUARNEL_WATKINS_H

#include <string>

#include "ActionValueFunction.h"
#include "Quarnel.h"

/// Watkins' Q(lambda): learns the value Q(s, a) of the greedy policy while it explores.
///
/// The target always uses the greedy value of the next state, and all traces are cut whenever
/// exploration takes over: after every random choice under `EPSILON_GREEDY`, even one that hits the
/// greedy action, and after a `SOFTMAX` choice that differs from the greedy action. The first
/// action of an episode is greedy unless its first step explores.
///
/// An application derives from `Watkins`, implements the four hooks of `Quarnel` (its
/// `takeAction()` carries out `avfPtr->getActiveActionIndex()`) and sets `avfPtr` before it calls
/// `controlLoop()`.
///
/// Source: Watkins 1989; Sutton and Barto, Reinforcement Learning, 2nd edition, sections 6.5
/// (Q-learning) and 12.10 (Watkins's Q(lambda)).
class Watkins : public Quarnel {
 public:
  /// @param fileName path of the configuration file.
  explicit Watkins(const std::string& fileName);

  /// Deletes the value function.
  ~Watkins() override;

 protected:
  /// Starts an episode: counts it, clears the traces, and the history of states where that is in
  /// use, calls `setInitialState()`, chooses the greedy action and sets `value` to its Q(s, a).
  /// Reports where there is no value function, and does nothing then.
  void initEpisode() override;

  /// Takes a step from s to s' and learns from it.
  ///
  /// First the behaviour may replace the greedy action by another a, as `ACTION_SELECTION` says.
  /// Traces are cut where it explores and decay by GAMMA * LAMBDA where not; that of (s, a) is set,
  /// or without traces the pair is stored. Then come `takeAction()`, `observeState()`,
  /// `calculateReward()`, which gives r, and the choice of the greedy action a* in s'. The error is
  /// r + GAMMA * Q(s', a*) - Q(s, a), and r - Q(s, a) where the episode has ended. A kind of traces
  /// or of choice that is none of the enumerators is reported in every step, which sets no trace,
  /// or neither cuts nor decays them. Where there is no value function, that is reported and the
  /// episode ends.
  void step() override;

  const bool checkValueFunction() const override;

  /// What is learnt; set by the application, owned from then on.
  ActionValueFunction* avfPtr;

 private:
  void chooseBehaviour(const QuarnelUtility::Place& place);
  void decayTraces();
  void cutTraces();
};

#endif
