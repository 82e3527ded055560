// What holds for the learners on tables in any world: runs that must agree to the last bit, a plain
// computation of the same algorithms, and problems whose solution is known.
//
// The random worlds are drawn from a seed, which is the parameter of the test: a failing test
// prints it, and its own name repeats it alone, as in
// --gtest_filter=Seeds/RandomWorlds.Some_test/3.

#include <gtest/gtest.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/Sarsa.h>
#include <quarnel/TD.h>
#include <quarnel/Watkins.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Files.h"
#include "support/OpenLearner.h"
#include "support/OpenTables.h"
#include "support/PlainLearners.h"
#include "support/RandomWorld.h"
#include "support/Reports.h"

namespace {

const std::array<TRACE_TYPE, 3> ALL_TRACES = {NONE, REPLACING, ACCUMULATING};
const std::array<ACTION_SELECTION_TYPE, 3> ALL_SELECTIONS = {GREEDY, EPSILON_GREEDY, SOFTMAX};
const std::array<Types::TRACE_STORAGE, 2> ALL_STORAGES = {Types::MAP, Types::ARRAY};

// Calls an operation with every combination of traces, selection and storage.
void forAllTrials(unsigned int seed, const std::function<void(Trial)>& operation) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const ACTION_SELECTION_TYPE selection : ALL_SELECTIONS) {
      for (const Types::TRACE_STORAGE storage : ALL_STORAGES) {
        Trial trial(seed);
        trial.TRACES = traces;
        trial.ACTION_SELECTION = selection;
        trial.storage = storage;
        SCOPED_TRACE(testing::Message() << trial);
        operation(trial);
      }
    }
  }
}

std::vector<std::uint64_t> bits(const std::vector<double>& numbers) {
  std::vector<std::uint64_t> patterns(numbers.size());
  std::memcpy(patterns.data(), numbers.data(), numbers.size() * sizeof(double));
  return patterns;
}

void expectSameLearning(const Outcome& a, const Outcome& b) {
  EXPECT_GE(a.actions.size(), static_cast<std::size_t>(Trial::EPISODES));
  EXPECT_NE(a.weights, std::vector<double>(a.weights.size(), 0.0));
  EXPECT_EQ(a.actions, b.actions);
  EXPECT_EQ(a.weights, b.weights);
  EXPECT_EQ(bits(a.values), bits(b.values));
  EXPECT_EQ(bits(a.weights), bits(b.weights));
}

void expectSame(const Outcome& a, const Outcome& b) {
  expectSameLearning(a, b);
  EXPECT_EQ(a.nextDraw, b.nextDraw);
}

// A learner of the library in a random world.
template <typename Learner>
class WorldLearner : public OpenLearner<Learner> {
 public:
  using Table =
      std::conditional_t<OpenLearner<Learner>::LEARNS_STATES, OpenStateTable, OpenActionTable>;

  WorldLearner(const std::string& configuration, const Trial& trial)
      : OpenLearner<Learner>(configuration), world(trial.world()) {
    auto* const state = new State;
    state->registerVariable("row", world.firstRow, world.firstRow + world.rows - 1);
    state->registerVariable("column", world.firstColumn, world.firstColumn + world.columns - 1);
    auto* const table = new Table(state);
    if constexpr (!OpenLearner<Learner>::LEARNS_STATES) {
      for (int i = 0; i < world.actions; ++i) {
        table->registerAction(new AbstractAction);
      }
      table->create();
    }
    table->setTraceStorage(trial.storage);
    std::vector<double> weights = table->allWeights();
    for (std::size_t i = 0; i < weights.size(); ++i) {
      weights[i] = trial.firstWeight(static_cast<int>(i));
    }
    table->setWeights(weights);
    this->valueFunction() = table;
    this->ALPHA = trial.ALPHA;
    this->LAMBDA = trial.LAMBDA;
    this->GAMMA = trial.GAMMA;
    this->EPSILON = trial.EPSILON;
    this->TEMPERATURE = trial.TEMPERATURE;
    this->TRACES = trial.TRACES;
    this->TRACE_VALUE = trial.TRACE_VALUE;
    this->ACTION_SELECTION = trial.ACTION_SELECTION;
  }

  // Something to do after every episode, and in every action.
  std::function<void()> betweenEpisodes = [] {};
  std::function<void()> inAction = [] {};

  Outcome learn() {
    this->controlLoop();
    outcome.weights = static_cast<Table*>(this->valueFunction())->allWeights();
    outcome.nextDraw = std::rand();
    return outcome;
  }

 protected:
  void initEpisode() override {
    OpenLearner<Learner>::initEpisode();
    outcome.values.push_back(this->value);
  }

  void step() override {
    OpenLearner<Learner>::step();
    outcome.values.push_back(this->value);
  }

  void finishEpisode() override {
    this->continueLearning = this->episodes < Trial::EPISODES;
    betweenEpisodes();
  }

  void setInitialState() override {
    world.start();
    observe();
  }

  void takeAction() override {
    int action = world.policy();
    if constexpr (!OpenLearner<Learner>::LEARNS_STATES) {
      action = this->valueFunction()->getActiveActionIndex();
    }
    outcome.actions.push_back(action);
    world.move(action);
    inAction();
  }

  const bool observeState() override {
    observe();
    return world.goesOn();
  }

  const double calculateReward() override { return world.reward; }

 private:
  void observe() {
    State* const state = this->valueFunction()->getStatePtr();
    state->setValueInt(0, world.firstRow + world.state / world.columns);
    state->setValueInt(1, world.firstColumn + world.state % world.columns);
  }

  RandomWorld world;
  Outcome outcome;
};

template <typename Learner>
Outcome learn(const Trial& trial) {
  const EmptyConfiguration configuration;
  WorldLearner<Learner> learner(configuration.fileName, trial);
  std::srand(trial.seed);
  return learner.learn();
}

// A file that is replaced instead waits for the disk.
void removeFile(const std::string& fileName) { EXPECT_EQ(std::remove(fileName.c_str()), 0); }

// Learns with a value function that is saved after every episode and replaced by a new one, which
// is made from the file.
template <typename Learner>
Outcome learnFromFiles(const Trial& trial) {
  const EmptyConfiguration configuration;
  const TemporaryDirectory directory;
  WorldLearner<Learner> learner(configuration.fileName, trial);
  learner.betweenEpisodes = [&] {
    const std::string file = directory.file("values");
    EXPECT_EQ(learner.valueFunction()->save(file), 0);
    delete learner.valueFunction();
    auto* const loaded = new typename WorldLearner<Learner>::Table(file);
    if constexpr (!OpenLearner<Learner>::LEARNS_STATES) {
      for (int i = 0; i < loaded->getNumberOfActions(); ++i) {
        loaded->setAction(i, new AbstractAction);
      }
    }
    learner.valueFunction() = loaded;
    removeFile(file);
  };
  std::srand(trial.seed);
  return learner.learn();
}

// Learns with a value function that in every action is saved and loads its own file.
template <typename Learner>
Outcome learnReloading(const Trial& trial) {
  const EmptyConfiguration configuration;
  const TemporaryDirectory directory;
  WorldLearner<Learner> learner(configuration.fileName, trial);
  learner.inAction = [&] {
    const std::string file = directory.file("values");
    EXPECT_EQ(learner.valueFunction()->save(file), 0);
    EXPECT_EQ(learner.valueFunction()->load(file), 0);
    removeFile(file);
  };
  std::srand(trial.seed);
  return learner.learn();
}

class RandomWorlds : public testing::TestWithParam<unsigned int> {
 protected:
  // A report in any of the runs fails the test.
  ~RandomWorlds() override {
    EXPECT_EQ(reports.errorText(), "");
    EXPECT_EQ(reports.informationText(), "");
  }

  Reports reports;
};

}  // namespace

TEST_P(RandomWorlds, TDComputesWhatThePlainComputationDoes) {
  forAllTrials(GetParam(),
               [](const Trial& trial) { expectSame(learn<TD>(trial), plainTD(trial)); });
}

TEST_P(RandomWorlds, SarsaComputesWhatThePlainComputationDoes) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    expectSame(learn<Sarsa>(trial), PlainActionLearner(trial).learn(false));
  });
}

TEST_P(RandomWorlds, WatkinsComputesWhatThePlainComputationDoes) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    expectSame(learn<Watkins>(trial), PlainActionLearner(trial).learn(true));
  });
}

TEST_P(RandomWorlds, SarsaAndWatkinsAreTheSameUnderGreedy) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    if (trial.ACTION_SELECTION == GREEDY) {
      expectSame(learn<Sarsa>(trial), learn<Watkins>(trial));
    }
  });
}

TEST_P(RandomWorlds, WithOneActionSarsaAndWatkinsLearnTheValuesOfStates) {
  forAllTrials(GetParam(), [](Trial trial) {
    trial.mostActions = 1;
    const Outcome states = learn<TD>(trial);
    expectSameLearning(states, learn<Sarsa>(trial));
    if (trial.ACTION_SELECTION != EPSILON_GREEDY) {
      expectSameLearning(states, learn<Watkins>(trial));
    }
  });
}

TEST_P(RandomWorlds, MapAndArrayAreTheSameForTD) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    Trial trial(GetParam());
    trial.TRACES = traces;
    Trial inArray = trial;
    inArray.storage = Types::ARRAY;
    expectSame(learn<TD>(trial), learn<TD>(inArray));
  }
}

// Replacing traces of actions differ: an array replaces those of the last action only.
TEST_P(RandomWorlds, MapAndArrayAreTheSameForActionsUnlessTracesReplace) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    if (trial.TRACES != REPLACING && trial.storage == Types::MAP) {
      Trial inArray = trial;
      inArray.storage = Types::ARRAY;
      expectSame(learn<Sarsa>(trial), learn<Sarsa>(inArray));
      expectSame(learn<Watkins>(trial), learn<Watkins>(inArray));
    }
  });
}

TEST_P(RandomWorlds, ReplacingTracesThatDoNotLastAreAsNone) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    if (trial.TRACES == NONE) {
      Trial withoutLambda = trial;
      withoutLambda.TRACES = REPLACING;
      withoutLambda.LAMBDA = 0.0;
      withoutLambda.TRACE_VALUE = 1.0;
      expectSame(learn<TD>(trial), learn<TD>(withoutLambda));
      if (trial.storage == Types::MAP) {
        expectSame(learn<Sarsa>(trial), learn<Sarsa>(withoutLambda));
        expectSame(learn<Watkins>(trial), learn<Watkins>(withoutLambda));
      }
    }
  });
}

TEST_P(RandomWorlds, LearningGoesOnFromASavedValueFunction) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    if (trial.ACTION_SELECTION == GREEDY) {
      expectSame(learn<TD>(trial), learnFromFiles<TD>(trial));
    }
    expectSame(learn<Sarsa>(trial), learnFromFiles<Sarsa>(trial));
    expectSame(learn<Watkins>(trial), learnFromFiles<Watkins>(trial));
  });
}

// Traces in a map and the stored cell outlast a load; traces in an array don't.
TEST_P(RandomWorlds, LearningGoesOnFromAValueFunctionLoadedInTheMiddleOfAnEpisode) {
  forAllTrials(GetParam(), [](const Trial& trial) {
    if (trial.ACTION_SELECTION == GREEDY && (trial.storage == Types::MAP || trial.TRACES == NONE)) {
      expectSame(learn<TD>(trial), learnReloading<TD>(trial));
      expectSame(learn<Sarsa>(trial), learnReloading<Sarsa>(trial));
      expectSame(learn<Watkins>(trial), learnReloading<Watkins>(trial));
    }
  });
}

TEST_P(RandomWorlds, ANewLearnerStartsTheRandomStreamAnew) {
  Trial trial(GetParam());
  trial.ACTION_SELECTION = EPSILON_GREEDY;
  const EmptyConfiguration configuration;
  WorldLearner<Sarsa> first(configuration.fileName, trial);
  const Outcome outcome = first.learn();
  WorldLearner<Sarsa> second(configuration.fileName, trial);
  expectSame(outcome, second.learn());
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomWorlds, testing::Range(1U, 13U));

// Problems with a known solution.

namespace {

// States 0 to 4 in a row, the middle one first; each step goes left or right by chance, and beyond
// the right end waits a reward of 1. The value of state k is (k + 1) / 6 (Sutton and Barto,
// Reinforcement Learning, 2nd edition, example 6.2).
class FiveStateWalk : public OpenLearner<TD> {
 public:
  FiveStateWalk(const std::string& configuration, int numberOfEpisodes)
      : OpenLearner<TD>(configuration), lastEpisode(numberOfEpisodes), random(7) {
    auto* const state = new State;
    state->registerVariable("position", 0, 4);
    table = new OpenStateTable(state);
    table->setWeights({0.5, 0.5, 0.5, 0.5, 0.5});
    svfPtr = table;
    GAMMA = 1.0;
  }

  OpenStateTable* table;

 protected:
  void setInitialState() override {
    position = 2;
    svfPtr->getStatePtr()->setValueInt(0, position);
  }

  void takeAction() override { position += random() % 2 == 0 ? 1 : -1; }

  const bool observeState() override {
    const bool inside = position >= 0 && position <= 4;
    if (inside) {
      svfPtr->getStatePtr()->setValueInt(0, position);
    }
    return inside;
  }

  const double calculateReward() override { return position == 5 ? 1.0 : 0.0; }

  void finishEpisode() override { continueLearning = episodes < lastEpisode; }

 private:
  int lastEpisode;
  std::mt19937 random;
  int position = 2;
};

// A maze of 5 times 5 cells: '#' is a wall, the way leads from S to G. A step costs 1, and so does
// running into a wall.
const std::array<std::string, 5> MAZE = {{
    "S#...",  //
    ".#.#.",  //
    ".#.#.",  //
    "...#.",  //
    "##..G",  //
}};
const std::array<std::array<int, 2>, 4> DIRECTIONS = {{{{-1, 0}}, {{0, 1}}, {{1, 0}}, {{0, -1}}}};

bool isOpen(int row, int column) {
  return row >= 0 && row < 5 && column >= 0 && column < 5 &&
         MAZE[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)] != '#';
}

// The fewest steps from S to G, by breadth-first search.
int shortestWay() {
  std::map<int, int> distance = {{0, 0}};
  std::deque<int> open = {0};
  while (!open.empty()) {
    const int cell = open.front();
    open.pop_front();
    for (const auto& direction : DIRECTIONS) {
      const int row = cell / 5 + direction[0];
      const int column = cell % 5 + direction[1];
      if (isOpen(row, column) && distance.count(row * 5 + column) == 0) {
        distance[row * 5 + column] = distance[cell] + 1;
        open.push_back(row * 5 + column);
      }
    }
  }
  return distance[24];
}

class MazeLearner : public OpenLearner<Watkins> {
 public:
  explicit MazeLearner(const std::string& configuration) : OpenLearner<Watkins>(configuration) {
    auto* const state = new State;
    state->registerVariable("row", 0, 4);
    state->registerVariable("column", 0, 4);
    auto* const table = new ActionLookupTable(state);
    for (std::size_t i = 0; i < DIRECTIONS.size(); ++i) {
      table->registerAction(new AbstractAction);
    }
    table->create();
    avfPtr = table;
    GAMMA = 1.0;
    ALPHA = 0.5;
  }

  void learn(int numberOfEpisodes) {
    lastEpisode = episodes + numberOfEpisodes;
    continueLearning = true;
    controlLoop();
  }

 protected:
  void setInitialState() override {
    row = 0;
    column = 0;
    observe();
  }

  void takeAction() override {
    const auto& direction = DIRECTIONS[static_cast<std::size_t>(avfPtr->getActiveActionIndex())];
    if (isOpen(row + direction[0], column + direction[1])) {
      row += direction[0];
      column += direction[1];
    }
  }

  const bool observeState() override {
    observe();
    return row != 4 || column != 4;
  }

  const double calculateReward() override { return -1.0; }

  void finishEpisode() override { continueLearning = episodes < lastEpisode; }

 private:
  void observe() {
    avfPtr->getStatePtr()->setValueInt(0, row);
    avfPtr->getStatePtr()->setValueInt(1, column);
  }

  int row = 0;
  int column = 0;
  int lastEpisode = 0;
};

}  // namespace

TEST(KnownSolutions, TDFindsTheValuesOfTheFiveStateRandomWalk) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const Types::TRACE_STORAGE storage : ALL_STORAGES) {
      SCOPED_TRACE(testing::Message() << "TRACES " << traces << ", trace storage " << storage);
      const EmptyConfiguration configuration;
      FiveStateWalk walk(configuration.fileName, 20000);
      walk.table->setTraceStorage(storage);
      walk.TRACES = traces;
      walk.ALPHA = 0.005;
      walk.controlLoop();
      const std::vector<double> values = walk.table->allWeights();
      for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_NEAR(values[i], static_cast<double>(i + 1) / 6.0, 0.03) << "state " << i;
      }
    }
  }
}

TEST(KnownSolutions, WatkinsFindsTheShortestWayThroughAMaze) {
  ASSERT_EQ(shortestWay(), 8) << "three down, two right, one down, two right";
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const ACTION_SELECTION_TYPE selection : ALL_SELECTIONS) {
      SCOPED_TRACE(testing::Message() << "TRACES " << traces << ", ACTION_SELECTION " << selection);
      const EmptyConfiguration configuration;
      MazeLearner learner(configuration.fileName);
      learner.TRACES = traces;
      learner.ACTION_SELECTION = selection;
      learner.TEMPERATURE = 0.2;
      learner.learn(400);
      // The way that it has learnt.
      learner.ACTION_SELECTION = GREEDY;
      learner.ALPHA = 0.0;
      learner.learn(1);
      EXPECT_EQ(learner.steps, shortestWay());
    }
  }
}
