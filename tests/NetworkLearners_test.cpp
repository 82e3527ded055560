// What TD learns in a state network, and Sarsa and Watkins in an action network of one action:
// compared with a plain computation of the same algorithms, bit for bit.

#include <gmock/gmock.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/ActionNeuralNetwork.h>
#include <quarnel/Sarsa.h>
#include <quarnel/StateNeuralNetwork.h>
#include <quarnel/TD.h>
#include <quarnel/Watkins.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <deque>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/Draws.h"
#include "support/Files.h"
#include "support/OpenLearner.h"
#include "support/OpenNetworks.h"
#include "support/PlainNetwork.h"
#include "support/Reports.h"

namespace {

using Networks::newRealState;
using Networks::Numbers;
using Networks::roughNumbers;
using testing::Each;
using testing::IsEmpty;

const std::array<TRACE_TYPE, 3> ALL_TRACES = {NONE, REPLACING, ACCUMULATING};
const std::array<ACTION_SELECTION_TYPE, 3> ALL_SELECTIONS = {GREEDY, EPSILON_GREEDY, SOFTMAX};

const std::size_t VARIABLES = 2;
const int UNITS = 3;

// A step of an episode that is laid down beforehand.
struct Move {
  Numbers to;     // the observation that the step leads to
  double reward;  // the reward for it
};

// An episode: where it starts and what follows.
struct Path {
  Numbers start;
  std::vector<Move> moves;
};

// Episodes of one to six steps through observations in [-1, 1].
std::vector<Path> somePaths() {
  std::vector<Path> paths;
  for (unsigned int episode = 0; episode < 6; ++episode) {
    Path path{roughNumbers(VARIABLES, 100 + episode), {}};
    for (unsigned int step = 0; step <= episode; ++step) {
      const double reward = roughNumbers(1, 300 + 10 * episode + step).front();
      path.moves.push_back({roughNumbers(VARIABLES, 200 + 10 * episode + step), reward});
    }
    paths.push_back(path);
  }
  return paths;
}

struct Parameters {
  TRACE_TYPE TRACES = NONE;
  ACTION_SELECTION_TYPE ACTION_SELECTION = GREEDY;
  double ALPHA = 0.7;
  double GAMMA = 0.9;
  double LAMBDA = 0.6;
  double TRACE_VALUE = 1.0;
  double EPSILON = 0.1;
};

// A learner on a network, which takes the paths one after another whatever action is chosen.
template <typename Learner>
class PathLearner : public OpenLearner<Learner> {
 public:
  using Network =
      Networks::OpenNetwork<std::conditional_t<OpenLearner<Learner>::LEARNS_STATES,
                                               StateNeuralNetwork, ActionNeuralNetwork>>;

  PathLearner(const std::string& configuration, const Parameters& parameters)
      : OpenLearner<Learner>(configuration) {
    this->TRACES = parameters.TRACES;
    this->ACTION_SELECTION = parameters.ACTION_SELECTION;
    this->ALPHA = parameters.ALPHA;
    this->GAMMA = parameters.GAMMA;
    this->LAMBDA = parameters.LAMBDA;
    this->TRACE_VALUE = parameters.TRACE_VALUE;
    this->EPSILON = parameters.EPSILON;
    this->valueFunction() = newNetwork(1);
  }

  // A network with the first weights of all runs in its first share.
  static Network* newNetwork(int actions) {
    auto* const network = new Network(newRealState(VARIABLES), UNITS);
    if constexpr (!OpenLearner<Learner>::LEARNS_STATES) {
      for (int i = 0; i < actions; ++i) {
        network->registerAction(new AbstractAction);
      }
      network->create();
    }
    network->setToHidden(roughNumbers(9, 1));
    network->setToOutput(roughNumbers(4, 2));
    return network;
  }

  Network& network() { return static_cast<Network&>(*this->valueFunction()); }

  // Deletes the network and goes on with another.
  void exchange(Network* other) {
    delete this->valueFunction();
    this->valueFunction() = other;
  }

  // What the exploration coin shows, throw by throw; with none left the learner throws its own.
  mutable std::deque<bool> coins;

  // What is done after every episode.
  std::function<void()> betweenEpisodes = [] {};

  // The learner's value at the start of episodes and after every step.
  Numbers values;

  void learn(const std::vector<Path>& paths) {
    for (const Path& path : paths) {
      current = &path;
      this->initEpisode();
      values.push_back(this->value);
      do {
        this->step();
        values.push_back(this->value);
      } while (this->continueEpisode);
      betweenEpisodes();
    }
  }

 protected:
  void setInitialState() override {
    moved = 0;
    observe(current->start);
  }

  void takeAction() override { ++moved; }

  const bool observeState() override {
    observe(current->moves[moved - 1].to);
    return moved < current->moves.size();
  }

  const double calculateReward() override { return current->moves[moved - 1].reward; }

  const bool randomAction() const override {
    if (coins.empty()) {
      return Learner::randomAction();
    }
    const bool coin = coins.front();
    coins.pop_front();
    return coin;
  }

 private:
  void observe(const Numbers& observed) {
    for (unsigned int i = 0; i < observed.size(); ++i) {
      this->valueFunction()->getStatePtr()->setValueDbl(i, observed[i]);
    }
  }

  const Path* current = nullptr;
  std::size_t moved = 0;
};

// The same with nothing of the library. With one action the three learners differ only where an
// exploring Watkins cuts its traces.
class PlainLearner {
 public:
  explicit PlainLearner(const Parameters& settings)
      : parameters(settings), network(VARIABLES, UNITS, 1) {
    network.inputHidden = roughNumbers(9, 1);
    network.hiddenOutput = roughNumbers(4, 2);
  }

  // The steps in which Watkins explores, step by step; false for all that follow.
  std::deque<bool> cuts;

  void learn(const std::vector<Path>& paths) {
    for (const Path& path : paths) {
      if (parameters.TRACES != NONE) {
        network.clearTraces();
      }
      observe(path.start);
      evaluate();
      values.push_back(value);
      for (std::size_t i = 0; i < path.moves.size(); ++i) {
        step(path.moves[i], i + 1 < path.moves.size());
        values.push_back(value);
      }
    }
  }

  Parameters parameters;
  PlainNetwork network;
  Numbers values;

 private:
  void step(const Move& move, bool goesOn) {
    if (parameters.TRACES != NONE) {
      if (nextCut()) {
        network.clearTraces();
      } else {
        network.decay(parameters.LAMBDA);
      }
    }
    observe(move.to);
    double delta = move.reward - value;
    if (goesOn) {
      evaluate();
      delta += parameters.GAMMA * value;
    }
    network.update(parameters.ALPHA, delta);
    if (goesOn) {
      evaluate();
    }
  }

  bool nextCut() {
    if (cuts.empty()) {
      return false;
    }
    const bool cut = cuts.front();
    cuts.pop_front();
    return cut;
  }

  void observe(const Numbers& observed) {
    std::copy(observed.begin(), observed.end(), network.inputValues.begin());
  }

  void evaluate() {
    network.forward();
    value = network.outputValues[0];
  }

  double value = 0.0;
};

template <typename Learner>
class LearnersOnNetworks : public testing::Test {
 protected:
  // A report in any of the runs fails the test.
  ~LearnersOnNetworks() override {
    EXPECT_EQ(reports.errorText(), "");
    EXPECT_EQ(reports.informationText(), "");
  }

  EmptyConfiguration configuration;
  TemporaryDirectory directory;
  Reports reports;
};

using Learners = testing::Types<TD, Sarsa, Watkins>;
TYPED_TEST_SUITE(LearnersOnNetworks, Learners);

// Calls an operation with all kinds of traces and selections.
void forAllParameters(const std::function<void(const Parameters&)>& operation) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const ACTION_SELECTION_TYPE selection : ALL_SELECTIONS) {
      Parameters parameters;
      parameters.TRACES = traces;
      parameters.ACTION_SELECTION = selection;
      SCOPED_TRACE(testing::Message() << "traces " << traces << ", selection " << selection);
      operation(parameters);
    }
  }
}

template <typename Learner>
void expectSameLearning(PathLearner<Learner>& learner, const PlainLearner& plain) {
  EXPECT_EQ(learner.network().toHidden(), plain.network.inputHidden);
  EXPECT_EQ(learner.network().toOutput(), plain.network.hiddenOutput);
  EXPECT_EQ(learner.values, plain.values);
}

template <typename Learner>
void expectSameLearning(PathLearner<Learner>& learner, PathLearner<Learner>& other) {
  EXPECT_EQ(learner.network().toHidden(), other.network().toHidden());
  EXPECT_EQ(learner.network().toOutput(), other.network().toOutput());
  EXPECT_EQ(learner.values, other.values);
}

}  // namespace

TYPED_TEST(LearnersOnNetworks, LearnWhatAPlainComputationDoes) {
  forAllParameters([&](Parameters parameters) {
    parameters.EPSILON = 0.0;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    learner.learn(somePaths());
    PlainLearner plain(parameters);
    plain.learn(somePaths());
    expectSameLearning(learner, plain);
    EXPECT_NE(plain.network.inputHidden, roughNumbers(9, 1));
    EXPECT_NE(plain.network.hiddenOutput, roughNumbers(4, 2));
  });
}

TYPED_TEST(LearnersOnNetworks, LearnTheSameWithEitherKindOfTracesOfAnyValue) {
  Parameters parameters;
  parameters.TRACES = REPLACING;
  PathLearner<TypeParam> replacing(this->configuration.fileName, parameters);
  replacing.learn(somePaths());
  parameters.TRACES = ACCUMULATING;
  PathLearner<TypeParam> accumulating(this->configuration.fileName, parameters);
  accumulating.learn(somePaths());
  expectSameLearning(replacing, accumulating);
  for (const double TRACE_VALUE : {0.0, -3.0, 1e300}) {
    parameters.TRACE_VALUE = TRACE_VALUE;
    PathLearner<TypeParam> other(this->configuration.fileName, parameters);
    other.learn(somePaths());
    expectSameLearning(other, accumulating);
  }
}

TYPED_TEST(LearnersOnNetworks, LearnOtherwiseWithTracesThanWithout) {
  Parameters parameters;
  PathLearner<TypeParam> without(this->configuration.fileName, parameters);
  without.learn(somePaths());
  EXPECT_EQ(without.network().hiddenOutputTraces, nullptr);
  parameters.TRACES = REPLACING;
  PathLearner<TypeParam> with(this->configuration.fileName, parameters);
  with.learn(somePaths());
  EXPECT_NE(with.network().hiddenOutputTraces, nullptr);
  EXPECT_NE(with.network().toOutput(), without.network().toOutput());
}

TYPED_TEST(LearnersOnNetworks, ClearTheTracesAtTheStartOfAnEpisode) {
  Parameters parameters;
  parameters.TRACES = ACCUMULATING;
  parameters.ALPHA = 0.0;
  PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
  const std::vector<Path> paths = somePaths();
  learner.learn(paths);
  PathLearner<TypeParam> lastOnly(this->configuration.fileName, parameters);
  lastOnly.learn({paths.back()});
  EXPECT_EQ(learner.network().tracesToHidden(), lastOnly.network().tracesToHidden());
  EXPECT_EQ(learner.network().tracesToOutput(), lastOnly.network().tracesToOutput());
  EXPECT_THAT(learner.network().tracesToOutput(), Each(testing::Ne(0.0)));
}

TYPED_TEST(LearnersOnNetworks, GoOnFromANetworkBuiltFromAFile) {
  forAllParameters([&](Parameters parameters) {
    parameters.EPSILON = 0.0;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    learner.betweenEpisodes = [&] {
      const std::string file = this->directory.file("values");
      EXPECT_EQ(learner.valueFunction()->save(file), 0);
      auto* const loaded = new typename PathLearner<TypeParam>::Network(file);
      if constexpr (!OpenLearner<TypeParam>::LEARNS_STATES) {
        ASSERT_EQ(loaded->getNumberOfActions(), 1);
        loaded->setAction(0, new AbstractAction);
      }
      learner.exchange(loaded);
    };
    learner.learn(somePaths());
    PlainLearner plain(parameters);
    plain.learn(somePaths());
    expectSameLearning(learner, plain);
  });
}

TYPED_TEST(LearnersOnNetworks, GoOnFromANetworkThatLoadsItsOwnFile) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Parameters parameters;
    parameters.TRACES = traces;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    learner.betweenEpisodes = [&] {
      const std::string file = this->directory.file("values");
      EXPECT_EQ(learner.valueFunction()->save(file), 0);
      EXPECT_EQ(learner.valueFunction()->load(file), 0);
    };
    learner.learn(somePaths());
    PlainLearner plain(parameters);
    plain.learn(somePaths());
    expectSameLearning(learner, plain);
  }
}

TYPED_TEST(LearnersOnNetworks, SaveATrainedNetworkByteForByte) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Parameters parameters;
    parameters.TRACES = traces;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    learner.learn(somePaths());
    ASSERT_EQ(learner.valueFunction()->save(this->directory.file("first")), 0);
    const typename PathLearner<TypeParam>::Network copy(this->directory.file("first"));
    EXPECT_EQ(copy.toHidden(), learner.network().toHidden());
    EXPECT_EQ(copy.toOutput(), learner.network().toOutput());
    ASSERT_EQ(copy.save(this->directory.file("second")), 0);
    EXPECT_EQ(readFile(this->directory.file("second")), readFile(this->directory.file("first")));

    std::string record;
    if constexpr (!OpenLearner<TypeParam>::LEARNS_STATES) {
      record = bytes(1);
    }
    EXPECT_EQ(readFile(this->directory.file("first")),
              Networks::realStateRecord(VARIABLES) + record +
                  Networks::block(3, 4, 1, learner.network().toHidden(),
                                  learner.network().toOutput(), {1.0, 1.0}));
  }
}

TYPED_TEST(LearnersOnNetworks, KeepTheWeightsInTheirLimits) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Parameters parameters;
    parameters.TRACES = traces;
    parameters.ALPHA = 20.0;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    learner.network().setMinWeightLimit(-0.5);
    learner.network().setMaxWeightLimit(0.625);
    learner.learn(somePaths());
    EXPECT_EQ(learner.network().getMinWeight(), -0.5);
    EXPECT_EQ(learner.network().getMaxWeight(), 0.625);
  }
}

TYPED_TEST(LearnersOnNetworks, SeeTheVariablesTimesTheirFactors) {
  std::vector<Path> scaled = somePaths();
  const auto scale = [](Numbers& values) {
    values[0] *= 4.0;
    values[1] *= -0.5;
  };
  for (Path& path : scaled) {
    scale(path.start);
    for (Move& move : path.moves) {
      scale(move.to);
    }
  }
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Parameters parameters;
    parameters.TRACES = traces;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    learner.network().setScaleFactor(0, 0.25);
    learner.network().setScaleFactor(1, -2.0);
    learner.learn(scaled);
    PlainLearner plain(parameters);
    plain.learn(somePaths());
    expectSameLearning(learner, plain);
  }
}

TYPED_TEST(LearnersOnNetworks, MayKeepAHistoryThatNetworksDoNotHave) {
  Parameters parameters;
  PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
  learner.network().setEpisodeStateHistory(true);
  learner.learn(somePaths());
  PlainLearner plain(parameters);
  plain.learn(somePaths());
  expectSameLearning(learner, plain);
}

// Two situations, told apart by the first variable, each of which ends at once with its own reward.
TYPED_TEST(LearnersOnNetworks, LearnTheRewardsOfTwoSituations) {
  const std::vector<Path> paths = {{{-1.0, 0.0}, {{{-1.0, 0.0}, 0.2}}},
                                   {{1.0, 0.0}, {{{1.0, 0.0}, 0.85}}}};
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Parameters parameters;
    parameters.TRACES = traces;
    PathLearner<TypeParam> learner(this->configuration.fileName, parameters);
    for (int i = 0; i < 3000; ++i) {
      learner.learn(paths);
    }
    learner.values.clear();
    learner.learn(paths);
    EXPECT_NEAR(learner.values.front(), 0.2, 1e-3);
    EXPECT_NEAR(learner.values.back(), 0.85, 1e-3);
  }
}

// With several actions.

namespace {

template <typename Learner>
void expectOneLearntAction() {
  const EmptyConfiguration configuration;
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Reports reports;
    Parameters parameters;
    parameters.TRACES = traces;
    PathLearner<Learner> learner(configuration.fileName, parameters);
    learner.exchange(PathLearner<Learner>::newNetwork(3));
    learner.learn(somePaths());
    for (const Report& report : reports.takeErrors()) {
      EXPECT_EQ(report.file, "NeuralNetwork");
      EXPECT_EQ(report.function, "getOutputValue");
      EXPECT_THAT(report.message, testing::AnyOf("outputIndex out of Bounds --> 0 <= 1 < 1",
                                                 "outputIndex out of Bounds --> 0 <= 2 < 1"));
    }
    EXPECT_EQ(learner.network().getActiveActionIndex(), 0);

    PlainLearner plain(parameters);
    plain.learn(somePaths());
    Numbers toHidden = plain.network.inputHidden;
    toHidden.resize(27, 0.0);
    Numbers toOutput = plain.network.hiddenOutput;
    toOutput.resize(12, 0.0);
    EXPECT_EQ(learner.network().toHidden(), toHidden);
    EXPECT_EQ(learner.network().toOutput(), toOutput);
    EXPECT_EQ(learner.values, plain.values);
  }
}

}  // namespace

TEST(LearnersOnActionNetworks, LearnTheFirstOfSeveralActionsOnly) {
  expectOneLearntAction<Sarsa>();
  expectOneLearntAction<Watkins>();
}

TEST(LearnersOnActionNetworks, ReportEveryFurtherActionInEverySelection) {
  const EmptyConfiguration configuration;
  Reports reports;
  PathLearner<Sarsa> learner(configuration.fileName, Parameters());
  learner.exchange(PathLearner<Sarsa>::newNetwork(3));
  // One selection at the start and none after the only step.
  learner.learn({{{0.0, 0.0}, {{{0.0, 0.0}, 1.0}}}});
  EXPECT_EQ(reports.errors(), messages({"outputIndex out of Bounds --> 0 <= 1 < 1",
                                        "outputIndex out of Bounds --> 0 <= 2 < 1"}));
}

// Watkins' exploration.

TEST(WatkinsOnANetwork, CutsTheTracesWhereItExplores) {
  const EmptyConfiguration configuration;
  const std::deque<bool> coins = {false, true,  false, false, true, false, false,
                                  false, false, false, true,  true, false, false,
                                  true,  false, false, false, true, false, false};
  for (const TRACE_TYPE traces : ALL_TRACES) {
    Parameters parameters;
    parameters.TRACES = traces;
    parameters.ACTION_SELECTION = EPSILON_GREEDY;
    PathLearner<Watkins> learner(configuration.fileName, parameters);
    learner.coins = coins;
    learner.learn(somePaths());
    EXPECT_THAT(learner.coins, IsEmpty());
    PlainLearner plain(parameters);
    plain.cuts = coins;
    plain.learn(somePaths());
    expectSameLearning(learner, plain);
  }
}

TEST(WatkinsOnANetwork, LearnsNothingWhereItAlwaysExploresWithTraces) {
  const EmptyConfiguration configuration;
  Parameters parameters;
  parameters.TRACES = REPLACING;
  parameters.ACTION_SELECTION = EPSILON_GREEDY;
  parameters.EPSILON = 1.0;
  PathLearner<Watkins> learner(configuration.fileName, parameters);
  learner.learn(somePaths());
  EXPECT_EQ(learner.network().toHidden(), roughNumbers(9, 1));
  EXPECT_EQ(learner.network().toOutput(), roughNumbers(4, 2));
}
