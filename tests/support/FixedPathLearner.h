#ifndef QUARNEL_TESTS_FIXED_PATH_LEARNER_H
#define QUARNEL_TESTS_FIXED_PATH_LEARNER_H

#include <gtest/gtest.h>
#include <quarnel/AbstractAction.h>

#include <cstddef>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "OpenLearner.h"
#include "OpenTables.h"
#include "Reports.h"

/// A step of an episode that is laid down beforehand.
struct Move {
  int to;         ///< The state that the step leads to.
  double reward;  ///< The reward for it.
};

/// A learner in a world of one integer variable where every episode starts in state 0 and takes the
/// same moves whatever action is chosen, so that what it learns can be worked out on paper. The
/// episode ends with the last move.
template <typename Learner>
class FixedPathLearner : public OpenLearner<Learner> {
 public:
  FixedPathLearner(const std::string& configuration, std::vector<Move> moves)
      : OpenLearner<Learner>(configuration), path(std::move(moves)) {}

  /// What the exploration coin shows, throw by throw; with none left the learner throws its own.
  mutable std::deque<bool> coins;

  /// Runs an episode from its start to its end.
  void runEpisode() {
    this->initEpisode();
    do {
      this->step();
    } while (this->continueEpisode);
  }

 protected:
  void setInitialState() override {
    moved = 0;
    observe(0);
  }

  void takeAction() override { ++moved; }

  const bool observeState() override {
    observe(path[moved - 1].to);
    return moved < path.size();
  }

  const double calculateReward() override { return path[moved - 1].reward; }

  const bool randomAction() const override {
    if (coins.empty()) {
      return Learner::randomAction();
    }
    const bool coin = coins.front();
    coins.pop_front();
    return coin;
  }

 private:
  void observe(int state) { this->valueFunction()->getStatePtr()->setValueInt(0, state); }

  std::vector<Move> path;
  std::size_t moved = 0;
};

/// A table of actions whose random and softmax choices are laid down beforehand; they draw nothing.
class ExploringTable : public OpenActionTable {
 public:
  using OpenActionTable::OpenActionTable;

  /// What is chosen, choice by choice.
  std::deque<int> explorations;

  const double setRandomActionIndex() override { return explore(); }
  const double setSoftMaxActionIndex(double /*TEMPERATURE*/) override { return explore(); }

 private:
  double explore() {
    if (explorations.empty()) {
      ADD_FAILURE() << "no choice is laid down";
      return 0.0;
    }
    activeActionIndex = explorations.front();
    explorations.pop_front();
    return getActionValue(activeActionIndex);
  }
};

/// A learner on a table of three states and two actions. Its episode is 0 -> 1 -> 0 -> 2 -> end
/// with the rewards -8, 2, 4 and 8, whatever it does. Parameters and values are sums of powers of
/// two, so that all that it computes is exact:
///
/// ALPHA = GAMMA = LAMBDA = 0.5; Q(0) = (1, 2), Q(1) = (4, 0), Q(2) = (0, 1).
template <typename Learner>
class ActionWalk {
 public:
  explicit ActionWalk(Types::TRACE_STORAGE storage = Types::MAP)
      : learner(configuration.fileName, {{1, -8.0}, {0, 2.0}, {2, 4.0}, {2, 8.0}}) {
    auto* const state = new State;
    state->registerVariable("x", 0, 2);
    table = new ExploringTable(state);
    table->registerAction(new AbstractAction);
    table->registerAction(new AbstractAction);
    table->create();
    table->setTraceStorage(storage);
    table->setWeights({1.0, 2.0, 4.0, 0.0, 0.0, 1.0});
    learner.valueFunction() = table;
    learner.ALPHA = 0.5;
    learner.GAMMA = 0.5;
    learner.LAMBDA = 0.5;
  }

  /// Every coin and choice that was laid down must have been used, and nothing reported.
  ~ActionWalk() {
    EXPECT_TRUE(learner.coins.empty());
    EXPECT_TRUE(table->explorations.empty());
    EXPECT_EQ(reports.errors(), messages({}));
  }

  ActionWalk(const ActionWalk&) = delete;
  ActionWalk& operator=(const ActionWalk&) = delete;

  /// Runs an episode; the weights after it: Q(0, 0), Q(0, 1), Q(1, 0), Q(1, 1), Q(2, 0), Q(2, 1).
  std::vector<double> learnt() {
    learner.runEpisode();
    return table->allWeights();
  }

 private:
  EmptyConfiguration configuration;

 public:
  Reports reports;
  FixedPathLearner<Learner> learner;
  ExploringTable* table;  ///< Owned by the learner.
};

#endif
