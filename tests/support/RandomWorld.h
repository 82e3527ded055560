#ifndef QUARNEL_TESTS_RANDOM_WORLD_H
#define QUARNEL_TESTS_RANDOM_WORLD_H

#include <quarnel/Quarnel.h>
#include <quarnel/Types.h>

#include <cstddef>
#include <ostream>
#include <random>
#include <vector>

/// A small world of two integer variables, drawn from a seed. It has its own source of chance, so
/// that it takes nothing from the stream of rand(). Every move leads to one of two states; some
/// states end the episode.
class RandomWorld {
 public:
  explicit RandomWorld(unsigned int seed, int mostActions = 4)
      : random(seed),
        rows(1 + below(3)),
        columns(2 + below(3)),
        firstRow(below(5) - 2),
        firstColumn(below(5) - 2),
        actions(1 + below(mostActions)) {
    for (int i = 0; i < states() * actions * 2; ++i) {
      results.push_back({below(states()), (below(2001) - 1000) / 997.0});
    }
    for (int i = 0; i < states(); ++i) {
      ends.push_back(below(6) == 0);
    }
  }

  int states() const { return rows * columns; }

  void start() {
    state = below(states());
    moves = 0;
  }

  void move(int action) {
    const Result& result =
        results[static_cast<std::size_t>((state * actions + action) * 2 + below(2))];
    state = result.to;
    reward = result.reward;
    ++moves;
  }

  bool goesOn() const { return !ends[static_cast<std::size_t>(state)] && moves < 25; }

  /// What a learner of state values does, which can't choose.
  int policy() const { return (state + moves) % actions; }

 private:
  struct Result {
    int to;
    double reward;
  };

  int below(int count) { return static_cast<int>(random() % static_cast<unsigned int>(count)); }

  std::mt19937 random;

 public:
  int rows;
  int columns;
  int firstRow;
  int firstColumn;
  int actions;
  int state = 0;
  int moves = 0;
  double reward = 0.0;

 private:
  std::vector<Result> results;
  std::vector<bool> ends;
};

/// The world and the parameters of a run. Most parameters have no short binary fraction, so that
/// another order of operations gives other bits.
struct Trial {
  /// The length of every trial, in episodes.
  static constexpr int EPISODES = 12;

  explicit Trial(unsigned int trialSeed) : seed(trialSeed) {
    std::mt19937 random(seed + 1000);
    const auto between = [&](double low, double high) {
      return low + static_cast<double>(random() % 1000) / 999.0 * (high - low);
    };
    ALPHA = between(0.05, 0.6);
    LAMBDA = between(0.1, 1.0);
    GAMMA = between(0.3, 1.0);
    EPSILON = between(0.1, 0.6);
    TEMPERATURE = between(0.1, 2.0);
    TRACE_VALUE = between(0.5, 1.5);
  }

  RandomWorld world() const { return RandomWorld(seed, mostActions); }

  /// Half of the worlds start with ties everywhere, half without any.
  double firstWeight(int cell) const { return seed % 2 == 0 ? 0.0 : (cell * 7 % 11 - 5) / 7.0; }

  unsigned int seed;
  int mostActions = 4;
  double ALPHA;
  double LAMBDA;
  double GAMMA;
  double EPSILON;
  double TEMPERATURE;
  double TRACE_VALUE;
  TRACE_TYPE TRACES = NONE;
  ACTION_SELECTION_TYPE ACTION_SELECTION = GREEDY;
  Types::TRACE_STORAGE storage = Types::MAP;
};
inline std::ostream& operator<<(std::ostream& os, const Trial& trial) {
  return os << "TRACES " << trial.TRACES << ", ACTION_SELECTION " << trial.ACTION_SELECTION
            << ", trace storage " << trial.storage;
}
/// What a run leaves behind.
struct Outcome {
  std::vector<int> actions;     ///< The actions taken.
  std::vector<double> values;   ///< The learner's value at the start of episodes and after steps.
  std::vector<double> weights;  ///< The weights in the end.
  int nextDraw = 0;             ///< What rand() gives next.
};

#endif
