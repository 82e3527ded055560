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
  void initEpisode() override;
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
