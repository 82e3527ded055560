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
  void initEpisode() override;
  void step() override;
  const bool checkValueFunction() const override;

  /// What is learnt; set by the application, owned from then on.
  ActionValueFunction* avfPtr;

 private:
  void selectAction(const QuarnelUtility::Place& place);
};

#endif
