#include <cstdlib>
#include <vector>

#include "handwritten/Choice.h"
#include "handwritten/DenseTraces.h"
#include "handwritten/Poll.h"
#include "handwritten/SparseTraces.h"
#include "handwritten/VisitedSet.h"
#include "workloads/Digest.h"
#include "workloads/Grid.h"
#include "workloads/Workloads.h"

namespace {

const int WEIGHTS = Grid::SIZE * Grid::SIZE * Grid::ACTIONS;

/// The other actions of the state lose their traces.
class Sparse : public SparseTraces {
 public:
  Sparse() : SparseTraces(WEIGHTS) {}

  void visit(int cell, int action) {
    for (int i = 0; i < Grid::ACTIONS; ++i) {
      if (i == action) {
        set(cell + i, 1.0);
      } else {
        erase(cell + i);
      }
    }
  }
};

/// The library's dense traces of a table: only the last action keeps a trace.
class Dense : public DenseTraces {
 public:
  Dense() : DenseTraces(WEIGHTS) {}

  void visit(int cell, int action) { set(cell + action, action == Grid::ACTIONS - 1 ? 1.0 : 0.0); }
};

/// No traces: the pair visited last, and the pairs visited in the episode.
class Stored {
 public:
  const int getSize() const { return 0; }
  void clear() { visited.clear(); }
  void decay(double /*factor*/) {}

  void visit(int cell, int action) {
    stored = cell + action;
    visited.insert(stored);
  }

  void learn(double* weights, double step) const { weights[stored] += step; }

 private:
  VisitedSet visited = VisitedSet(WEIGHTS);
  int stored = 0;
};

/// Sarsa in the grid.
template <typename Traces>
class GridTraining final : public Training {
 public:
  GridTraining() : weights(WEIGHTS, 0.0) { std::srand(1); }

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
    const Parameters& p = Grid::PARAMETERS;
    traces.clear();
    grid.reset();
    int cell = cellOfGrid();
    Choice choice = choose(cell);
    bool goesOn = true;
    while (goesOn && !stopped) {
      ++steps;
      traces.decay(p.lambda * p.gamma);
      traces.visit(cell, choice.action);
      liveTraces += traces.getSize();
      grid.step(choice.action);
      goesOn = !grid.isAtEnd();
      double delta = grid.getReward() - choice.value;
      if (goesOn) {
        cell = cellOfGrid();
        choice = choose(cell);
        delta += choice.value * p.gamma;
      }
      traces.learn(weights.data(), delta * p.alpha);
      choice.value = weights[static_cast<std::size_t>(cell + choice.action)];
      stopped = poll.isToStop();
    }
  }

  const int cellOfGrid() const { return (grid.getX() * Grid::SIZE + grid.getY()) * Grid::ACTIONS; }

  const Choice choose(int cell) const {
    const double* const values = &weights[static_cast<std::size_t>(cell)];
    return Choice::make<Grid::ACTIONS>(Grid::PARAMETERS.epsilon,
                                       [values](int action) { return values[action]; });
  }

  Poll poll;
  Grid grid;
  std::vector<double> weights;
  Traces traces;
  bool stopped = false;
  std::int64_t steps = 0;
  std::int64_t liveTraces = 0;
};

}  // namespace

std::unique_ptr<Training> makeTableMap() { return std::make_unique<GridTraining<Sparse>>(); }

std::unique_ptr<Training> makeTable() { return std::make_unique<GridTraining<Stored>>(); }

std::unique_ptr<Training> makeTableArray() { return std::make_unique<GridTraining<Dense>>(); }
