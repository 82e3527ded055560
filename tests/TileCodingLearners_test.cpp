// What the learners do with tile coding.

#include <gmock/gmock.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/ActionTileCoding.h>
#include <quarnel/Sarsa.h>
#include <quarnel/State.h>
#include <quarnel/StateTileCoding.h>
#include <quarnel/TD.h>
#include <quarnel/Watkins.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "support/Files.h"
#include "support/OpenLearner.h"
#include "support/Reports.h"
#include "support/Tiles.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Tiles::Peek;

// A value function whose groups a test may look at.
template <typename Coding>
class OpenCoding : public Coding {
 public:
  using Coding::Coding;

  std::vector<std::vector<double>> allWeights() const {
    std::vector<std::vector<double>> list;
    for (const Tilings* const group : this->tilingPtrList) {
      list.push_back(Peek::weightsOf(*group));
    }
    return list;
  }
};
using StateCoding = OpenCoding<StateTileCoding>;
using ActionCoding = OpenCoding<ActionTileCoding>;

// Goes up a line by ones from 0.25 until it is beyond the end, which is rewarded by 1.
template <typename Learner>
class Climber : public OpenLearner<Learner> {
 public:
  Climber(const std::string& configuration, double lineEnd)
      : OpenLearner<Learner>(configuration), end(lineEnd) {
    this->ALPHA = 0.75;
    this->GAMMA = 1.0;
    this->LAMBDA = 1.0;
    this->TRACES = REPLACING;
  }

 protected:
  void setInitialState() override { put(0.25); }
  void takeAction() override { put(x + 1.0); }
  const bool observeState() override { return x < end; }
  const double calculateReward() override { return x < end ? 0.0 : 1.0; }

 private:
  void put(double position) {
    x = position;
    this->valueFunction()->getStatePtr()->setValueDbl(0, position);
  }

  const double end;
  double x = 0.0;
};

TEST(TileCodingLearners, TDLearnsInStateTileCoding) {
  Reports reports;
  const EmptyConfiguration configuration;
  Climber<TD> learner(configuration.fileName, 3.0);
  auto* const coding = new StateCoding(Tiles::newState({{0, 3}}));
  coding->registerTiling(new StateTilings(2, {{0, 0.5, Types::CLIP}}));
  coding->registerTiling(new StateTilings(1, {{0, 3.0, Types::WRAP}}));
  learner.valueFunction() = coding;
  learner.initEpisode();
  for (int i = 0; i < 3; ++i) {
    learner.step();
  }
  EXPECT_FALSE(learner.continueEpisode);
  EXPECT_THAT(reports.errors(), IsEmpty());
  // 0.25, 1.25 and 2.25 were visited before the reward; each tile on the way gains a quarter of it.
  EXPECT_THAT(coding->allWeights(),
              ElementsAre(ElementsAre(0.25, 0.25, 0.25, 0.25, 0.25, 0), ElementsAre(0.25, 0)));
}

TEST(TileCodingLearners, SarsaLearnsInActionTileCoding) {
  Reports reports;
  const EmptyConfiguration configuration;
  Climber<Sarsa> learner(configuration.fileName, 2.0);
  auto* const coding = new ActionCoding(Tiles::newState({{0, 2}}));
  for (int i = 0; i < 3; ++i) {
    coding->registerAction(new AbstractAction);
  }
  coding->registerTiling(new ActionTilings(2, {{0, 0.5, Types::CLIP}}));
  coding->registerTiling(new ActionTilings(1, {{0, 2.0, Types::WRAP}}));
  coding->setActionValue(1, 1.0 / 8);  // makes it the greedy action everywhere
  learner.valueFunction() = coding;
  learner.initEpisode();
  learner.step();
  EXPECT_TRUE(learner.continueEpisode);
  // Two tiles are active at 0.25 and three at 1.25, so Q rises from 2/8 to 3/8 on the way, and the
  // first step moves the two tiles by a quarter of 1/8.
  const double eighth = 1.0 / 8;
  const double moved = eighth + 1.0 / 32;
  EXPECT_THAT(coding->allWeights(),
              ElementsAre(ElementsAre(0, 0, moved, eighth, 0, 0, 0, 0, eighth, eighth, 0, 0),
                          ElementsAre(0, moved, 0, 0, eighth, 0)));
  learner.step();
  EXPECT_FALSE(learner.continueEpisode);
  // Q(1.25) is 4/32 + 4/32 + 5/32, so the error is 19/32; all tiles on the way share it.
  const double gain = 19.0 / 32 / 4;
  EXPECT_THAT(coding->allWeights(), ElementsAre(ElementsAre(0, 0, moved + gain, eighth + gain, 0, 0,
                                                            0, 0, eighth + gain, eighth, 0, 0),
                                                ElementsAre(0, moved + gain, 0, 0, eighth, 0)));
  EXPECT_THAT(reports.errors(), IsEmpty());
}

// Drifts through two variables, pushed by its actions, for 30 steps an episode.
template <typename Learner>
class Drifter : public OpenLearner<Learner> {
 public:
  Drifter(const std::string& configuration, unsigned int worldSeed)
      : OpenLearner<Learner>(configuration), random(worldSeed) {
    this->ALPHA = 0.4;
    this->GAMMA = 0.9;
    this->LAMBDA = 0.7;
    this->ACTION_SELECTION = GREEDY;
  }

  std::vector<int> actions;

 protected:
  void setInitialState() override { put(-0.3, 3.0); }
  void takeAction() override {
    const int action = this->valueFunction()->getActiveActionIndex();
    actions.push_back(action);
    put(std::min(0.6, std::max(-1.2, x + (action - 1) * 0.1 + chance() * 0.1)),
        std::min(6.2, std::max(0.0, y + chance())));
  }
  const bool observeState() override { return actions.size() % 30 != 0; }
  const double calculateReward() override { return x + chance() * 0.1; }

 private:
  double chance() { return static_cast<double>(random() % 2001) / 1000.0 - 1.0; }

  void put(double first, double second) {
    x = first;
    y = second;
    Tiles::setValues(*this->valueFunction()->getStatePtr(), {x, y});
  }

  std::mt19937 random;
  double x = 0.0;
  double y = 0.0;
};

// What a learner leaves behind.
struct Outcome {
  std::vector<int> actions;
  std::string weights;  // their bytes
  int nextDraw = 0;
};

template <typename Learner>
Outcome learn(TRACE_TYPE traces, Types::TRACE_STORAGE storage, unsigned int seed) {
  const EmptyConfiguration configuration;
  Drifter<Learner> learner(configuration.fileName, seed);
  auto* const coding = new ActionCoding(Tiles::newState({{-1.2, 0.6}, {0, 6.3}}));
  for (int i = 0; i < 3; ++i) {
    coding->registerAction(new AbstractAction);
  }
  for (const auto& [tilings, wishes] : Tiles::LEARNING_GROUPS) {
    coding->registerTiling(new ActionTilings(tilings, Tiles::variablesOf(wishes)));
  }
  coding->setTraceStorage(storage);
  learner.valueFunction() = coding;
  learner.TRACES = traces;
  std::srand(seed);
  for (int episode = 0; episode < 10; ++episode) {
    learner.initEpisode();
    while (learner.continueEpisode) {
      learner.step();
    }
  }
  Outcome outcome;
  outcome.actions = learner.actions;
  for (const std::vector<double>& weights : coding->allWeights()) {
    for (const double weight : weights) {
      outcome.weights += bytes(weight);
    }
  }
  outcome.nextDraw = std::rand();
  return outcome;
}

TEST(TileCodingLearners, SarsaAndWatkinsLearnTheSameWhileTheyAreGreedy) {
  for (const TRACE_TYPE traces : {NONE, REPLACING, ACCUMULATING}) {
    for (const auto storage : {Types::MAP, Types::ARRAY}) {
      for (const unsigned int seed : {1U, 2U, 3U}) {
        Reports reports;
        SCOPED_TRACE(testing::Message() << traces << ", " << storage << ", seed " << seed);
        const Outcome sarsa = learn<Sarsa>(traces, storage, seed);
        const Outcome watkins = learn<Watkins>(traces, storage, seed);
        EXPECT_EQ(sarsa.actions, watkins.actions);
        EXPECT_THAT(sarsa.actions, testing::IsSupersetOf({0, 1, 2})) << "hardly a choice";
        EXPECT_EQ(sarsa.nextDraw, watkins.nextDraw);
        EXPECT_TRUE(sarsa.weights == watkins.weights);
        EXPECT_THAT(reports.errors(), IsEmpty());
      }
    }
  }
}

TEST(TileCodingLearners, WithoutTracesTheStorageMakesNoDifference) {
  for (const unsigned int seed : {1U, 2U, 3U}) {
    const Outcome map = learn<Sarsa>(NONE, Types::MAP, seed);
    const Outcome array = learn<Sarsa>(NONE, Types::ARRAY, seed);
    EXPECT_EQ(map.actions, array.actions);
    EXPECT_TRUE(map.weights == array.weights);
  }
}

}  // namespace
