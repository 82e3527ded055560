#include "workloads/Walk.h"

#include <cstdlib>
#include <vector>

#include "handwritten/Poll.h"
#include "handwritten/SparseTraces.h"
#include "workloads/Digest.h"
#include "workloads/DriftingWalk.h"
#include "workloads/Workloads.h"

namespace {

/// TD on a walk.
template <typename World, bool ACCUMULATES>
class WalkTraining final : public Training {
 public:
  WalkTraining() : weights(CELLS, 0.0) { std::srand(1); }

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
  // The two ends are positions too.
  static constexpr int CELLS = World::STATES + 2;

  void runEpisode() {
    const Parameters& p = World::PARAMETERS;
    traces.clear();
    world.reset();
    double value = valueOfPosition();
    bool goesOn = true;
    while (goesOn && !stopped) {
      ++steps;
      traces.decay(p.lambda * p.gamma);
      if (ACCUMULATES) {
        traces.add(world.getPosition(), 1.0);
      } else {
        traces.set(world.getPosition(), 1.0);
      }
      liveTraces += traces.getSize();
      world.step();
      goesOn = !world.isAtEnd();
      double delta = world.getReward() - value;
      if (goesOn) {
        delta += p.gamma * valueOfPosition();
      }
      traces.learn(weights.data(), delta * p.alpha);
      value = valueOfPosition();
      stopped = poll.isToStop();
    }
  }

  const double valueOfPosition() const {
    return weights[static_cast<std::size_t>(world.getPosition())];
  }

  Poll poll;
  World world;
  std::vector<double> weights;
  SparseTraces traces = SparseTraces(CELLS);
  bool stopped = false;
  std::int64_t steps = 0;
  std::int64_t liveTraces = 0;
};

}  // namespace

std::unique_ptr<Training> makeWalkMap() { return std::make_unique<WalkTraining<Walk, true>>(); }

std::unique_ptr<Training> makeLongWalkMap() {
  return std::make_unique<WalkTraining<DriftingWalk, false>>();
}
