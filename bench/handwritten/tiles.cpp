#include <array>
#include <cstdlib>
#include <vector>

#include "handwritten/Choice.h"
#include "handwritten/DenseTraces.h"
#include "handwritten/Poll.h"
#include "handwritten/SparseTraces.h"
#include "workloads/Digest.h"
#include "workloads/MountainCar.h"
#include "workloads/Workloads.h"

namespace {

const int TILINGS = MountainCar::TILINGS;
const int ACTIONS = MountainCar::ACTIONS;

// One more along each variable, for the top of the range under a shifted tiling.
const int TILES = MountainCar::TILES + 1;

const int WEIGHTS = TILES * TILES * ACTIONS * TILINGS;

using Tiles = std::array<int, TILINGS>;

/// 10 tilings of position and velocity. The weights of a tile's actions lie together, and within an
/// action those of all tilings.
class Layout {
 public:
  const Tiles findTiles(double position, double velocity) const {
    Tiles tiles;
    for (int t = 0; t < TILINGS; ++t) {
      const int i = find(position, MountainCar::MIN_POSITION, POSITION_RANGE, t);
      const int j = find(velocity, MountainCar::MIN_VELOCITY, VELOCITY_RANGE, t);
      tiles[static_cast<std::size_t>(t)] = (i * TILES + j) * (ACTIONS * TILINGS) + t;
    }
    return tiles;
  }

 private:
  static constexpr double POSITION_RANGE = MountainCar::MAX_POSITION - MountainCar::MIN_POSITION;
  static constexpr double VELOCITY_RANGE = MountainCar::MAX_VELOCITY - MountainCar::MIN_VELOCITY;

  // No value lies below its range, so cutting off is as good as rounding down.
  static const int find(double value, double min, double range, int tiling) {
    const double resolution = range / (static_cast<double>(MountainCar::TILES) * TILINGS);
    const double width = range / MountainCar::TILES;
    return static_cast<int>((value - min + resolution * tiling) / width);
  }
};

/// Traces in either storage; the other actions of a tile lose theirs.
template <typename Traces>
class Replacing : public Traces {
 public:
  Replacing() : Traces(WEIGHTS) {}

  void visit(const Tiles& tiles, int action) {
    for (const int tile : tiles) {
      for (int i = 0; i < ACTIONS; ++i) {
        if (i == action) {
          Traces::set(tile + i * TILINGS, 1.0);
        } else {
          Traces::erase(tile + i * TILINGS);
        }
      }
    }
  }
};

/// No traces: the tiles visited last.
class Stored {
 public:
  const int getSize() const { return 0; }
  void clear() {}
  void decay(double /*factor*/) {}

  void visit(const Tiles& tiles, int action) {
    for (std::size_t t = 0; t < stored.size(); ++t) {
      stored[t] = tiles[t] + action * TILINGS;
    }
  }

  void learn(double* weights, double step) const {
    for (const int index : stored) {
      weights[index] += step;
    }
  }

 private:
  Tiles stored = {};
};

/// Sarsa in the mountain car.
template <typename Traces>
class CarTraining final : public Training {
 public:
  CarTraining() : weights(WEIGHTS, 0.0) { std::srand(1); }

  void learn(int episodes) override {
    for (int i = 0; i < episodes && !stopped; ++i) {
      runEpisode();
    }
  }

  const std::int64_t getSteps() const override { return steps; }

  const std::uint64_t getDigest() const override {
    Digest digest;
    digest.add(weights.data(), weights.size());
    return digest.get();
  }

  const double getMeanTraces() const override {
    return static_cast<double>(liveTraces) / static_cast<double>(steps);
  }

 private:
  void runEpisode() {
    const Parameters& p = MountainCar::PARAMETERS;
    const double alpha = p.alpha / TILINGS;
    traces.clear();
    car.reset();
    Tiles tiles = layout.findTiles(car.getPosition(), car.getVelocity());
    Choice choice = choose(tiles);
    bool goesOn = true;
    while (goesOn && !stopped) {
      ++steps;
      traces.decay(p.gamma * p.lambda);
      traces.visit(tiles, choice.action);
      liveTraces += traces.getSize();
      car.step(choice.action);
      goesOn = !car.isAtEnd();
      double delta = car.getReward() - choice.value;
      if (goesOn) {
        tiles = layout.findTiles(car.getPosition(), car.getVelocity());
        choice = choose(tiles);
        delta += choice.value * p.gamma;
      }
      traces.learn(weights.data(), alpha * delta);
      choice.value = sum(tiles, choice.action);
      stopped = poll.isToStop();
    }
  }

  const Choice choose(const Tiles& tiles) const {
    return Choice::make<ACTIONS>(MountainCar::PARAMETERS.epsilon,
                                 [&](int action) { return sum(tiles, action); });
  }

  const double sum(const Tiles& tiles, int action) const {
    double total = 0.0;
    for (const int tile : tiles) {
      total += weights[static_cast<std::size_t>(tile + action * TILINGS)];
    }
    return total;
  }

  Poll poll;
  MountainCar car;
  Layout layout;
  std::vector<double> weights;
  Traces traces;
  bool stopped = false;
  std::int64_t steps = 0;
  std::int64_t liveTraces = 0;
};

}  // namespace

std::unique_ptr<Training> makeTilesMap() {
  return std::make_unique<CarTraining<Replacing<SparseTraces>>>();
}

std::unique_ptr<Training> makeTiles() { return std::make_unique<CarTraining<Stored>>(); }

std::unique_ptr<Training> makeTilesArray() {
  return std::make_unique<CarTraining<Replacing<DenseTraces>>>();
}
