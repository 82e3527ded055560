#ifndef QUARNEL_TESTS_PLAIN_LEARNERS_H
#define QUARNEL_TESTS_PLAIN_LEARNERS_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <vector>

#include "RandomWorld.h"

// The learning algorithms on tables, written down once more with nothing of the library, to compare
// with.

/// Weights and traces by cell.
class PlainTable {
 public:
  PlainTable(const Trial& trial, int numberOfActions)
      : array(trial.storage == Types::ARRAY), actions(numberOfActions) {
    for (int cell = 0; cell < trial.world().states() * actions; ++cell) {
      weights[cell] = trial.firstWeight(cell);
    }
  }

  void clearTraces() {
    traces.clear();
    if (array) {
      for (const auto& entry : weights) {
        traces[entry.first] = 0.0;
      }
    }
  }

  void decay(double GAMMA, double LAMBDA) {
    for (auto& entry : traces) {
      entry.second *= LAMBDA * GAMMA;
    }
  }

  void replaceState(int state, double VALUE) { traces[state] = VALUE; }

  void replacePair(int state, int action, double VALUE) {
    for (int i = 0; i < actions; ++i) {
      if (array) {
        traces[state * actions + action] = i == action ? VALUE : 0.0;
      } else if (i == action) {
        traces[state * actions + i] = VALUE;
      } else {
        traces.erase(state * actions + i);
      }
    }
  }

  void accumulate(int cell, double VALUE) {
    if (traces.count(cell) == 0) {
      traces[cell] = VALUE;
    } else {
      traces[cell] += VALUE;
    }
  }

  void update(double ALPHA, double DELTA) {
    const double step = DELTA * ALPHA;
    if (traces.empty()) {
      weights[stored] += step;
    }
    for (const auto& entry : traces) {
      weights[entry.first] += entry.second * step;
    }
  }

  std::vector<double> allWeights() const {
    std::vector<double> list;
    for (const auto& entry : weights) {
      list.push_back(entry.second);
    }
    return list;
  }

  std::map<int, double> weights;
  int stored = -1;

 private:
  bool array;
  int actions;
  std::map<int, double> traces;
};

/// What TD(lambda) leaves behind.
inline Outcome plainTD(const Trial& trial) {
  std::srand(trial.seed);
  RandomWorld world = trial.world();
  PlainTable table(trial, 1);
  Outcome outcome;
  for (int episode = 0; episode < Trial::EPISODES; ++episode) {
    if (trial.TRACES != NONE) {
      table.clearTraces();
    }
    world.start();
    double value = table.weights[world.state];
    outcome.values.push_back(value);
    bool goesOn = true;
    while (goesOn) {
      if (trial.TRACES == NONE) {
        table.stored = world.state;
      } else {
        table.decay(trial.GAMMA, trial.LAMBDA);
        if (trial.TRACES == REPLACING) {
          table.replaceState(world.state, trial.TRACE_VALUE);
        } else {
          table.accumulate(world.state, trial.TRACE_VALUE);
        }
      }
      outcome.actions.push_back(world.policy());
      world.move(world.policy());
      goesOn = world.goesOn();
      double delta = world.reward - value;
      if (goesOn) {
        delta = delta + trial.GAMMA * table.weights[world.state];
      }
      table.update(trial.ALPHA, delta);
      if (goesOn) {
        value = table.weights[world.state];
      }
      outcome.values.push_back(value);
    }
  }
  outcome.weights = table.allWeights();
  outcome.nextDraw = std::rand();
  return outcome;
}

/// Sarsa(lambda) and Watkins' Q(lambda), which have all but the order of their selections in
/// common.
class PlainActionLearner {
 public:
  explicit PlainActionLearner(const Trial& settings)
      : trial(settings), world(trial.world()), table(trial, world.actions) {}

  Outcome learn(bool watkins) {
    std::srand(trial.seed);
    for (int episode = 0; episode < Trial::EPISODES; ++episode) {
      if (trial.TRACES != NONE) {
        table.clearTraces();
      }
      world.start();
      if (watkins) {
        selectGreedy();
      } else {
        select();
      }
      outcome.values.push_back(value);
      bool goesOn = true;
      while (goesOn) {
        goesOn = step(watkins);
        outcome.values.push_back(value);
      }
    }
    outcome.weights = table.allWeights();
    outcome.nextDraw = std::rand();
    return outcome;
  }

 private:
  bool step(bool watkins) {
    const bool cut = watkins && explore();
    if (trial.TRACES != NONE && cut) {
      table.clearTraces();
    } else if (trial.TRACES != NONE) {
      table.decay(trial.GAMMA, trial.LAMBDA);
    }
    if (trial.TRACES == NONE) {
      table.stored = world.state * world.actions + active;
    } else if (trial.TRACES == REPLACING) {
      table.replacePair(world.state, active, trial.TRACE_VALUE);
    } else {
      table.accumulate(world.state * world.actions + active, trial.TRACE_VALUE);
    }
    outcome.actions.push_back(active);
    world.move(active);
    const bool goesOn = world.goesOn();
    double delta = world.reward - value;
    if (goesOn) {
      if (watkins) {
        selectGreedy();
      } else {
        select();
      }
      delta = delta + value * trial.GAMMA;
    }
    table.update(trial.ALPHA, delta);
    if (goesOn) {
      value = valueOf(active);
    }
    return goesOn;
  }

  // Watkins' choice at the start of a step; whether it cuts the traces.
  bool explore() {
    const int greedy = active;
    if (trial.ACTION_SELECTION == EPSILON_GREEDY && coin()) {
      selectRandom();
      return true;
    }
    if (trial.ACTION_SELECTION == SOFTMAX) {
      selectSoftMax();
      return active != greedy;
    }
    return false;
  }

  void select() {
    if (trial.ACTION_SELECTION == SOFTMAX) {
      selectSoftMax();
    } else if (trial.ACTION_SELECTION == EPSILON_GREEDY && coin()) {
      selectRandom();
    } else {
      selectGreedy();
    }
  }

  void selectGreedy() {
    double best = valueOf(0);
    for (int i = 0; i < world.actions; ++i) {
      best = std::max(best, valueOf(i));
    }
    std::vector<int> tied;
    for (int i = 0; i < world.actions; ++i) {
      if (valueOf(i) == best) {
        tied.push_back(i);
      }
    }
    active = tied[static_cast<std::size_t>(indexBelow(static_cast<int>(tied.size())))];
    value = best;
  }

  void selectRandom() {
    active = indexBelow(world.actions);
    value = valueOf(active);
  }

  void selectSoftMax() {
    double min = valueOf(0);
    double max = valueOf(0);
    for (int i = 1; i < world.actions; ++i) {
      min = std::min(min, valueOf(i));
      max = std::max(max, valueOf(i));
    }
    if (max - min == 0.0) {
      selectRandom();
      return;
    }
    const double scale = (max - min) * trial.TEMPERATURE;
    std::vector<double> shares;
    double sum = 0.0;
    for (int i = 0; i < world.actions; ++i) {
      shares.push_back(std::exp((valueOf(i) - min) / scale));
      sum += shares.back();
    }
    const int drawn = std::rand();
    double cumulative = 0.0;
    active = 0;
    for (const double share : shares) {
      cumulative += share / sum * 2147483647.0;
      if (cumulative > drawn) {
        break;
      }
      ++active;
    }
    ASSERT_LT(active, world.actions) << "rounding left no action chosen; take another seed";
    value = valueOf(active);
  }

  static int indexBelow(int count) {
    return std::min(static_cast<int>(std::floor(std::rand() / 2147483648.0 * count)), count - 1);
  }

  bool coin() const { return trial.EPSILON > std::rand() / 2147483648.0; }

  double valueOf(int action) { return table.weights[world.state * world.actions + action]; }

  Trial trial;
  RandomWorld world;
  PlainTable table;
  Outcome outcome;
  int active = -1;
  double value = 0.0;
};

#endif
