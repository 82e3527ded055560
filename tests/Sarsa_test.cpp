#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/Sarsa.h>

#include <array>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Draws.h"
#include "support/Files.h"
#include "support/FixedPathLearner.h"
#include "support/OpenTables.h"
#include "support/RecordingValueFunctions.h"
#include "support/Reports.h"

namespace {

using RecordingSarsa = Recording<Sarsa>;
using Weights = std::vector<double>;
using Traces = std::map<int, double>;

const std::array<int, 4> UNKNOWN_NUMBERS = {-1, 3, 1000, INT_MIN};

const std::array<TRACE_TYPE, 4> ALL_TRACES = {NONE, REPLACING, ACCUMULATING,
                                              static_cast<TRACE_TYPE>(3)};

// A way to select an action: the parameter, the coin where one is thrown, and the calls.
struct Selection {
  int parameter;
  std::deque<bool> coins;
  Calls calls;
};

const std::array<Selection, 4> ALL_SELECTIONS = {{
    {GREEDY, {}, {"setGreedyActionIndex() -> 4"}},
    {EPSILON_GREEDY, {true}, {"randomAction() -> true", "setRandomActionIndex() -> 4"}},
    {EPSILON_GREEDY, {false}, {"randomAction() -> false", "setGreedyActionIndex() -> 4"}},
    {SOFTMAX, {}, {"setSoftMaxActionIndex(0.5) -> 4"}},
}};

Calls operator+(Calls first, const Calls& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// The calls of a step that mark the pair about to be taken, with GAMMA 0.5, LAMBDA 0.125 and
// TRACE_VALUE 0.75.
Calls marks(TRACE_TYPE traces) {
  switch (traces) {
    case NONE:
      return {"storeState()"};
    case REPLACING:
      return {"updateEligibilityTraces(0.5, 0.125)", "replacingTraces(0.75)"};
    case ACCUMULATING:
      return {"updateEligibilityTraces(0.5, 0.125)", "accumulatingTraces(0.75)"};
    default:
      return {"updateEligibilityTraces(0.5, 0.125)"};
  }
}

// What the step has to report for its kind of traces.
Calls reportsOf(TRACE_TYPE traces) {
  return traces == NONE || traces == REPLACING || traces == ACCUMULATING
             ? Calls()
             : Calls({"Sarsa::step: Unknown Tracetype!"});
}

// The parameters that the expected calls in this file rest on.
void setParameters(RecordingSarsa& run) {
  run.learner.TRACES = NONE;
  run.learner.TRACE_VALUE = 0.75;
  run.learner.ALPHA = 0.25;
  run.learner.GAMMA = 0.5;
  run.learner.LAMBDA = 0.125;
}

}  // namespace

// Construction and destruction.

TEST(Sarsa, TakesItsParametersFromTheConfigurationFile) {
  const TemporaryDirectory directory;
  writeFile(directory.file("sarsa.conf"), "ACTION_SELECTION SOFTMAX\nTEMPERATURE 0.25\n");
  CallLog log;
  const RecordingHooks<Sarsa> learner(directory.file("sarsa.conf"), log);
  EXPECT_EQ(learner.confFileName, directory.file("sarsa.conf"));
  EXPECT_EQ(learner.ACTION_SELECTION, SOFTMAX);
  EXPECT_EQ(learner.TEMPERATURE, 0.25);
  EXPECT_EQ(learner.LAMBDA, 0.5);
}

TEST(Sarsa, HasNoValueFunctionAtFirst) {
  WithoutValueFunction<Sarsa> without;
  EXPECT_EQ(without.learner.valueFunction(), nullptr);
  EXPECT_FALSE(without.learner.checkValueFunction());
  EXPECT_EQ(without.log.take(), Calls());
}

TEST(Sarsa, ChecksWhetherItHasAValueFunction) {
  RecordingSarsa run;
  EXPECT_TRUE(run.learner.checkValueFunction());
  EXPECT_EQ(run.log.take(), Calls());
}

TEST(Sarsa, DeletesItsValueFunction) {
  CallLog log;
  {
    const EmptyConfiguration configuration;
    RecordingHooks<Sarsa> learner(configuration.fileName, log);
    learner.valueFunction() = new RecordingActionValueFunction(log);
    EXPECT_EQ(log.take(), Calls());
  }
  EXPECT_EQ(log.take(), Calls({"delete"}));
}

TEST(Sarsa, DeletesItsValueFunctionBeforeTheSignalsAreGivenBack) {
  int blocked = -1;
  CallLog log;
  log.onCall = [&](const std::string& /*entry*/) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    blocked = sigismember(&mask, SIGUSR1);
  };
  {
    const EmptyConfiguration configuration;
    RecordingHooks<Sarsa> learner(configuration.fileName, log);
    learner.valueFunction() = new RecordingActionValueFunction(log);
  }
  EXPECT_EQ(blocked, 1);
}

TEST(Sarsa, LeavesTheEnvironmentToTheApplication) { EXPECT_TRUE(std::is_abstract_v<Sarsa>); }

TEST(Sarsa, KeepsItsOperationsForTheControlLoop) {
  EXPECT_FALSE(startsEpisodesForAnyone<Sarsa>);
  EXPECT_FALSE(stepsForAnyone<Sarsa>);
  EXPECT_FALSE(checksForAnyone<Sarsa>);
}

// Without a value function.

TEST(Sarsa, RefusesToStartAnEpisodeWithoutAValueFunction) {
  WithoutValueFunction<Sarsa> without;
  without.learner.value = 7.0;
  without.learner.initEpisode();
  EXPECT_EQ(without.errors(), messages({"Sarsa::initEpisode: valueFunctionPtr not set --> nothing "
                                        "to learn in!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.value, 7.0);
}

TEST(Sarsa, RefusesToStepWithoutAValueFunctionAndEndsTheEpisode) {
  WithoutValueFunction<Sarsa> without;
  without.learner.value = 7.0;
  without.learner.continueEpisode = true;
  without.learner.step();
  EXPECT_EQ(without.errors(),
            messages({"Sarsa::step: valueFunctionPtr not set --> nothing to learn in!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.value, 7.0);
  EXPECT_FALSE(without.learner.continueEpisode);
}

TEST(Sarsa, ControlLoopRefusesToRunWithoutAValueFunction) {
  WithoutValueFunction<Sarsa> without;
  without.learner.controlLoop();
  EXPECT_EQ(without.errors(),
            messages({"Quarnel::controlLoop: valueFunctionPtr not set --> leave controlLoop !!!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.episodes, 0);
}

// The start of an episode.

TEST(Sarsa, StartsAnEpisodeWithoutTraces) {
  RecordingSarsa run;
  run.learner.TRACES = NONE;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(),
            Calls({"setInitialState()", "setState()", "setGreedyActionIndex() -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(Sarsa, StartsAnEpisodeWithReplacingTraces) {
  RecordingSarsa run;
  run.learner.TRACES = REPLACING;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()", "setState()",
                                      "setGreedyActionIndex() -> 4.5"}));
}

TEST(Sarsa, StartsAnEpisodeWithAccumulatingTraces) {
  RecordingSarsa run;
  run.learner.TRACES = ACCUMULATING;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()", "setState()",
                                      "setGreedyActionIndex() -> 4.5"}));
}

TEST(Sarsa, StartsAnEpisodeWithAnUnknownKindOfTracesAsWithTraces) {
  for (const int unknown : UNKNOWN_NUMBERS) {
    SCOPED_TRACE(unknown);
    RecordingSarsa run;
    run.learner.TRACES = static_cast<TRACE_TYPE>(unknown);
    run.values->choices = {{1, 4.5}};
    EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()",
                                        "setState()", "setGreedyActionIndex() -> 4.5"}));
  }
}

TEST(Sarsa, EmptiesTheEpisodeHistoryAfterTheTracesWhereItIsOn) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    RecordingSarsa run;
    run.learner.TRACES = traces;
    run.values->setEpisodeStateHistory(true);
    run.values->choices = {{1, 4.5}};
    EXPECT_EQ(run.initEpisode(), (traces == NONE ? Calls() : Calls({"initEligibilityTraces()"})) +
                                     Calls({"initEpisodeStateHistory()", "setInitialState()",
                                            "setState()", "setGreedyActionIndex() -> 4.5"}));
  }
}

TEST(Sarsa, FirstActionIsRandomWhenTheCoinSaysSo) {
  RecordingSarsa run;
  run.learner.TRACES = NONE;
  run.learner.ACTION_SELECTION = EPSILON_GREEDY;
  run.learner.coins = {true};
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(), Calls({"setInitialState()", "setState()", "randomAction() -> true",
                                      "setRandomActionIndex() -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(Sarsa, FirstActionIsGreedyWhenTheCoinSaysSo) {
  RecordingSarsa run;
  run.learner.TRACES = NONE;
  run.learner.ACTION_SELECTION = EPSILON_GREEDY;
  run.learner.coins = {false};
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(), Calls({"setInitialState()", "setState()", "randomAction() -> false",
                                      "setGreedyActionIndex() -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(Sarsa, FirstActionIsSoftMaxAtTheTemperature) {
  RecordingSarsa run;
  run.learner.TRACES = NONE;
  run.learner.ACTION_SELECTION = SOFTMAX;
  run.learner.TEMPERATURE = 0.375;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(),
            Calls({"setInitialState()", "setState()", "setSoftMaxActionIndex(0.375) -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(Sarsa, ReportsAnUnknownSelectionOfTheFirstActionAndKeepsTheValue) {
  for (const int unknown : UNKNOWN_NUMBERS) {
    SCOPED_TRACE(unknown);
    RecordingSarsa run;
    run.learner.TRACES = REPLACING;
    run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(unknown);
    run.learner.value = 42.0;
    EXPECT_EQ(run.initEpisode(),
              Calls({"initEligibilityTraces()", "setInitialState()", "setState()"}));
    EXPECT_EQ(run.errors(), messages({"Sarsa::initEpisode: Unknown ACTION_SELECTION " +
                                      std::to_string(unknown)}));
    EXPECT_EQ(run.learner.value, 42.0);
  }
}

TEST(Sarsa, CountsTheEpisodeBeforeAnythingElseHappens) {
  RecordingSarsa run;
  run.learner.episodes = 4;
  run.learner.steps = 17;
  run.values->choices = {{0, 0.0}};
  int calls = 0;
  run.log.onCall = [&](const std::string& entry) {
    ++calls;
    EXPECT_EQ(run.learner.episodes, 5) << entry;
    EXPECT_EQ(run.learner.steps, 0) << entry;
  };
  run.initEpisode();
  run.log.onCall = nullptr;
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(run.learner.episodes, 5);
  EXPECT_EQ(run.learner.steps, 0);
}

// A step.

TEST(Sarsa, StepsWithoutTraces) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->choices = {{2, 4.0}};
  run.values->readValues = {6.0};
  // delta = 3 - 1 + 4 * 0.5 = 4.
  EXPECT_EQ(run.step(),
            Calls({"storeState()", "takeAction()", "observeState() -> true", "setState()",
                   "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                   "updateWeights(0.25, 4)", "getActionValue(2) -> 6"}));
  EXPECT_EQ(run.learner.value, 6.0);
  EXPECT_TRUE(run.learner.continueEpisode);
}

TEST(Sarsa, StepsWithReplacingTraces) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.TRACES = REPLACING;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->choices = {{0, 4.0}};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(), Calls({"updateEligibilityTraces(0.5, 0.125)", "replacingTraces(0.75)",
                               "takeAction()", "observeState() -> true", "setState()",
                               "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                               "updateWeights(0.25, 4)", "getActionValue(0) -> 6"}));
}

TEST(Sarsa, StepsWithAccumulatingTraces) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.TRACES = ACCUMULATING;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->choices = {{0, 4.0}};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(), Calls({"updateEligibilityTraces(0.5, 0.125)", "accumulatingTraces(0.75)",
                               "takeAction()", "observeState() -> true", "setState()",
                               "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                               "updateWeights(0.25, 4)", "getActionValue(0) -> 6"}));
}

TEST(Sarsa, ReportsAnUnknownKindOfTracesAfterTheDecayAndStepsOn) {
  for (const int unknown : UNKNOWN_NUMBERS) {
    SCOPED_TRACE(unknown);
    RecordingSarsa run;
    setParameters(run);
    run.learner.TRACES = static_cast<TRACE_TYPE>(unknown);
    run.learner.value = 1.0;
    run.learner.observations = {true};
    run.learner.rewards = {3.0};
    run.values->choices = {{0, 4.0}};
    run.values->readValues = {6.0};
    int checked = 0;
    run.log.onCall = [&](const std::string& entry) {
      if (entry == "updateEligibilityTraces(0.5, 0.125)") {
        EXPECT_EQ(run.errors(), messages({}));
        ++checked;
      } else if (entry == "takeAction()") {
        EXPECT_EQ(run.errors(), messages({"Sarsa::step: Unknown Tracetype!"}));
        ++checked;
      }
    };
    EXPECT_EQ(run.step(), Calls({"updateEligibilityTraces(0.5, 0.125)", "takeAction()",
                                 "observeState() -> true", "setState()", "calculateReward() -> 3",
                                 "setGreedyActionIndex() -> 4", "updateWeights(0.25, 4)",
                                 "getActionValue(0) -> 6"}));
    run.log.onCall = nullptr;
    EXPECT_EQ(checked, 2);
  }
}

TEST(Sarsa, NextActionIsRandomWhenTheCoinSaysSo) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.ACTION_SELECTION = EPSILON_GREEDY;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.learner.coins = {true};
  run.values->choices = {{2, 4.0}};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> true",
                               "setState()", "calculateReward() -> 3", "randomAction() -> true",
                               "setRandomActionIndex() -> 4", "updateWeights(0.25, 4)",
                               "getActionValue(2) -> 6"}));
  EXPECT_EQ(run.learner.value, 6.0);
}

TEST(Sarsa, NextActionIsGreedyWhenTheCoinSaysSo) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.ACTION_SELECTION = EPSILON_GREEDY;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.learner.coins = {false};
  run.values->choices = {{2, 4.0}};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> true",
                               "setState()", "calculateReward() -> 3", "randomAction() -> false",
                               "setGreedyActionIndex() -> 4", "updateWeights(0.25, 4)",
                               "getActionValue(2) -> 6"}));
}

TEST(Sarsa, NextActionIsSoftMaxAtTheTemperature) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.ACTION_SELECTION = SOFTMAX;
  run.learner.TEMPERATURE = 0.375;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->choices = {{2, 4.0}};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(),
            Calls({"storeState()", "takeAction()", "observeState() -> true", "setState()",
                   "calculateReward() -> 3", "setSoftMaxActionIndex(0.375) -> 4",
                   "updateWeights(0.25, 4)", "getActionValue(2) -> 6"}));
}

TEST(Sarsa, ReportsAnUnknownSelectionOfTheNextActionAndLearnsFromTheOldValue) {
  for (const int unknown : UNKNOWN_NUMBERS) {
    SCOPED_TRACE(unknown);
    RecordingSarsa run;
    setParameters(run);
    run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(unknown);
    run.learner.value = 1.0;
    run.learner.observations = {true};
    run.learner.rewards = {3.0};
    run.values->readValues = {6.0};
    // delta = 3 - 1 + 1 * 0.5 = 2.5. No action was ever selected, so the active index is -1.
    EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> true",
                                 "setState()", "calculateReward() -> 3", "updateWeights(0.25, 2.5)",
                                 "getActionValue(-1) -> 6"}));
    EXPECT_EQ(run.errors(),
              messages({"Sarsa::step: Unknown ACTION_SELECTION " + std::to_string(unknown)}));
    EXPECT_EQ(run.learner.value, 6.0);
  }
}

TEST(Sarsa, ReportsUnknownTracesAndUnknownSelectionInOneStep) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.TRACES = static_cast<TRACE_TYPE>(7);
  run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(8);
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(), Calls({"updateEligibilityTraces(0.5, 0.125)", "takeAction()",
                               "observeState() -> true", "setState()", "calculateReward() -> 3",
                               "updateWeights(0.25, 2.5)", "getActionValue(-1) -> 6"}));
  EXPECT_EQ(run.errors(), messages({"Sarsa::step: Unknown Tracetype!",
                                    "Sarsa::step: Unknown ACTION_SELECTION 8"}));
}

TEST(Sarsa, TracesAndSelectionAreIndependentOfEachOther) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const Selection& selection : ALL_SELECTIONS) {
      SCOPED_TRACE(testing::Message()
                   << "TRACES " << traces << ", ACTION_SELECTION " << selection.parameter);
      RecordingSarsa run;
      setParameters(run);
      run.learner.TRACES = traces;
      run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(selection.parameter);
      run.learner.value = 1.0;
      run.learner.observations = {true};
      run.learner.rewards = {3.0};
      run.learner.coins = selection.coins;
      run.values->choices = {{2, 4.0}};
      run.values->readValues = {6.0};
      EXPECT_EQ(run.step(), marks(traces) +
                                Calls({"takeAction()", "observeState() -> true", "setState()",
                                       "calculateReward() -> 3"}) +
                                selection.calls +
                                Calls({"updateWeights(0.25, 4)", "getActionValue(2) -> 6"}));
      EXPECT_EQ(run.errors(), reportsOf(traces));
      EXPECT_EQ(run.learner.value, 6.0);
    }
  }
}

TEST(Sarsa, TerminalStepSelectsNoActionAndKeepsTheValue) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const int selection : {0, 1, 2, 3, -1}) {
      SCOPED_TRACE(testing::Message() << "TRACES " << traces << ", ACTION_SELECTION " << selection);
      RecordingSarsa run;
      setParameters(run);
      run.learner.TRACES = traces;
      run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(selection);
      run.learner.value = 1.0;
      run.learner.observations = {false};
      run.learner.rewards = {3.0};
      // delta = 3 - 1.
      EXPECT_EQ(run.step(),
                marks(traces) + Calls({"takeAction()", "observeState() -> false", "setState()",
                                       "calculateReward() -> 3", "updateWeights(0.25, 2)"}));
      EXPECT_EQ(run.errors(), reportsOf(traces));
      EXPECT_EQ(run.learner.value, 1.0);
      EXPECT_FALSE(run.learner.continueEpisode);
    }
  }
}

TEST(Sarsa, WithoutDiscountTheNextActionIsSelectedAllTheSame) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.GAMMA = 0.0;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->choices = {{2, 4.0}};
  run.values->readValues = {6.0};
  EXPECT_EQ(run.step(),
            Calls({"storeState()", "takeAction()", "observeState() -> true", "setState()",
                   "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                   "updateWeights(0.25, 2)", "getActionValue(2) -> 6"}));
}

TEST(Sarsa, ActionSelectedLastIsActiveWhenItIsTaken) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.observations = {true, false};
  run.learner.rewards = {0.0, 0.0};
  run.values->choices = {{2, 0.0}, {5, 0.0}};
  run.values->readValues = {0.0};
  std::vector<int> taken;
  run.log.onCall = [&](const std::string& entry) {
    if (entry == "takeAction()") {
      taken.push_back(run.values->getActiveActionIndex());
    }
  };
  run.initEpisode();
  run.step();
  run.step();
  run.log.onCall = nullptr;
  EXPECT_EQ(taken, std::vector<int>({2, 5}));
}

TEST(Sarsa, CountsTheStepBeforeAnythingElseHappens) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.episodes = 5;
  run.learner.steps = 7;
  run.learner.TRACES = REPLACING;
  run.learner.value = 0.0;
  run.learner.observations = {false};
  run.learner.rewards = {0.0};
  int calls = 0;
  run.log.onCall = [&](const std::string& entry) {
    ++calls;
    EXPECT_EQ(run.learner.steps, 8) << entry;
    EXPECT_EQ(run.learner.episodes, 5) << entry;
  };
  run.step();
  run.log.onCall = nullptr;
  EXPECT_EQ(calls, 7);
}

TEST(Sarsa, CountersGoOnFromTheSmallestNumberAfterTheLargest) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.episodes = INT_MAX;
  run.values->choices = {{0, 0.0}};
  run.initEpisode();
  EXPECT_EQ(run.learner.episodes, INT_MIN);
  run.learner.steps = INT_MAX;
  run.learner.observations = {false};
  run.learner.rewards = {0.0};
  run.step();
  EXPECT_EQ(run.learner.steps, INT_MIN);
}

TEST(Sarsa, KnowsWhetherTheEpisodeGoesOnAsSoonAsTheApplicationHasObserved) {
  for (const bool goesOn : {true, false}) {
    SCOPED_TRACE(goesOn);
    RecordingSarsa run;
    setParameters(run);
    run.learner.continueEpisode = !goesOn;
    run.learner.value = 0.0;
    run.learner.observations = {goesOn};
    run.learner.rewards = {0.0};
    if (goesOn) {
      run.values->choices = {{0, 0.0}};
      run.values->readValues = {0.0};
    }
    int checked = 0;
    run.log.onCall = [&](const std::string& entry) {
      if (entry == "takeAction()") {
        EXPECT_EQ(run.learner.continueEpisode, !goesOn);
        ++checked;
      } else if (entry == "setState()") {
        EXPECT_EQ(run.learner.continueEpisode, goesOn);
        ++checked;
      }
    };
    run.step();
    run.log.onCall = nullptr;
    EXPECT_EQ(checked, 2);
  }
}

TEST(Sarsa, ValueIsThatOfThePairUntilTheNextActionIsSelected) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->choices = {{2, 4.0}};
  run.values->readValues = {6.0};
  std::vector<double> seen;
  run.log.onCall = [&](const std::string& /*entry*/) { seen.push_back(run.learner.value); };
  run.step();
  run.log.onCall = nullptr;
  // storeState, takeAction, observeState, setState, calculateReward, setGreedyActionIndex,
  // updateWeights and getActionValue.
  EXPECT_EQ(seen, std::vector<double>({1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 4.0, 4.0}));
}

TEST(Sarsa, ErrorIsRewardMinusValueAndThenTheNextPairIsAdded) {
  // Above 2^53 only even numbers are doubles. With Q(s, a) = 1 and Q(s', a') * GAMMA = 1 the error
  // is (2^53 - 1) + 1 = 2^53, where (2^53 + 1) - 1 would be 2^53 - 1. With Q(s, a) = -1 it is
  // (2^53 + 1) + 1 = 2^53 + 1 = 2^53, where 2^53 + (1 + 1) would be 2^53 + 2.
  const double largest = 9007199254740992.0;
  for (const double value : {1.0, -1.0}) {
    SCOPED_TRACE(value);
    RecordingSarsa run;
    setParameters(run);
    run.learner.value = value;
    run.learner.observations = {true};
    run.learner.rewards = {largest};
    run.values->choices = {{0, 2.0}};
    run.values->readValues = {0.0};
    EXPECT_THAT(run.step(), testing::Contains(call("updateWeights", 0.25, largest)));
  }
}

TEST(Sarsa, ControlLoopRunsAnEpisode) {
  RecordingSarsa run;
  setParameters(run);
  run.learner.GAMMA = 1.0;
  run.learner.observations = {true, false};
  run.learner.rewards = {1.0, 2.0};
  run.values->choices = {{0, 0.0}, {1, 4.0}};
  run.values->readValues = {4.5};
  run.log.onCall = [&](const std::string& entry) {
    if (entry == "finishEpisode()") {
      run.learner.continueLearning = false;
    }
  };
  run.learner.controlLoop();
  run.log.onCall = nullptr;
  EXPECT_EQ(run.log.take(), Calls({"setInitialState()",
                                   "setState()",
                                   "setGreedyActionIndex() -> 0",  //
                                   "storeState()",
                                   "takeAction()",
                                   "observeState() -> true",
                                   "setState()",  //
                                   "calculateReward() -> 1",
                                   "setGreedyActionIndex() -> 4",
                                   "updateWeights(0.25, 5)",  //
                                   "getActionValue(1) -> 4.5",
                                   "checkPendingSignals()",  //
                                   "storeState()",
                                   "takeAction()",
                                   "observeState() -> false",
                                   "setState()",  //
                                   "calculateReward() -> 2",
                                   "updateWeights(0.25, -2.5)",
                                   "checkPendingSignals()",  //
                                   "finishEpisode()"}));
  EXPECT_EQ(run.learner.episodes, 1);
  EXPECT_EQ(run.learner.steps, 2);
  EXPECT_EQ(run.learner.value, 4.5);
}

// Random numbers.

namespace {

// How many numbers the start of an episode, the three steps that go on and the last one draw.
std::vector<int> drawsOfAnEpisode(ACTION_SELECTION_TYPE selection, double epsilon) {
  const EmptyConfiguration configuration;
  FixedPathLearner<Sarsa> learner(configuration.fileName,
                                  {{1, -8.0}, {0, 2.0}, {2, 4.0}, {2, 8.0}});
  auto* const state = new State;
  state->registerVariable("x", 0, 2);
  auto* const table = new ActionLookupTable(state);
  table->registerAction(new AbstractAction);
  table->registerAction(new AbstractAction);
  table->create();
  learner.valueFunction() = table;
  learner.ACTION_SELECTION = selection;
  learner.EPSILON = epsilon;
  std::vector<int> draws = {countDraws([&] { learner.initEpisode(); })};
  for (int i = 0; i < 4; ++i) {
    draws.push_back(countDraws([&] { learner.step(); }));
  }
  return draws;
}

}  // namespace

TEST(Sarsa, GreedyDrawsOneNumberForEachSelection) {
  EXPECT_EQ(drawsOfAnEpisode(GREEDY, 0.5), std::vector<int>({1, 1, 1, 1, 0}));
}

TEST(Sarsa, EpsilonGreedyDrawsTheCoinAndTheChoice) {
  EXPECT_EQ(drawsOfAnEpisode(EPSILON_GREEDY, 0.0), std::vector<int>({2, 2, 2, 2, 0}));
  EXPECT_EQ(drawsOfAnEpisode(EPSILON_GREEDY, 1.0), std::vector<int>({2, 2, 2, 2, 0}));
}

TEST(Sarsa, SoftMaxDrawsOneNumberForEachSelection) {
  EXPECT_EQ(drawsOfAnEpisode(SOFTMAX, 0.5), std::vector<int>({1, 1, 1, 1, 0}));
}

TEST(Sarsa, CoinOfEpsilonIsDrawnBeforeTheAction) {
  // The first number of the stream is the coin, the second picks one of the two actions.
  const unsigned int seed = 5;
  const double coin = draw(seed, 0) / 2147483648.0;
  const int picked = draw(seed, 1) / 2147483648.0 * 2 < 1.0 ? 0 : 1;
  const EmptyConfiguration configuration;
  for (const bool random : {true, false}) {
    FixedPathLearner<Sarsa> learner(configuration.fileName, {{1, 0.0}});
    auto* const state = new State;
    state->registerVariable("x", 0, 2);
    auto* const table = new OpenActionTable(state);
    table->registerAction(new AbstractAction);
    table->registerAction(new AbstractAction);
    table->create();
    learner.valueFunction() = table;
    // The greedy action is the one that a random choice doesn't pick.
    table->setActionValue(1 - picked, 1.0);
    learner.ACTION_SELECTION = EPSILON_GREEDY;
    learner.EPSILON = random ? coin + 1e-9 : coin;
    std::srand(seed);
    learner.initEpisode();
    EXPECT_EQ(table->getActiveActionIndex(), random ? picked : 1 - picked);
    EXPECT_EQ(learner.value, random ? 0.0 : 1.0);
  }
}

// Learning in a table, worked out on paper. The episode is 0 -> 1 -> 0 -> 2 -> end with the rewards
// -8, 2, 4, 8; ALPHA, GAMMA and LAMBDA are 0.5, so traces decay by 0.25; Q(0) = (1, 2),
// Q(1) = (4, 0), Q(2) = (0, 1). The greedy actions are 1 in state 0, then 0 in state 1.
//
// Step 1, (0, 1) -> (1, 0): delta = -8 - 2 + 4 * 0.5 = -8, times ALPHA -4; Q(0, 1) = 2 - 4 = -2, so
//   that the greedy action of state 0 is 0 from now on.
// Step 2, (1, 0) -> (0, 0): delta = 2 - 4 + 1 * 0.5 = -1.5, times ALPHA -0.75;
//   Q(1, 0) = 4 - 0.75 = 3.25, Q(0, 1) = -2 + 0.25 * -0.75 = -2.1875 by its trace.
// Step 3, (0, 0) -> (2, 1): delta = 4 - 1 + 1 * 0.5 = 3.5, times ALPHA 1.75; Q(0, 0) = 2.75,
//   Q(1, 0) = 3.25 + 0.25 * 1.75 = 3.6875.
//   Replacing in a map: the visit of state 0 with action 0 takes the trace of (0, 1) away.
//   Accumulating: the trace of (0, 1) is 0.0625; Q(0, 1) = -2.1875 + 0.0625 * 1.75 = -2.078125.
// Step 4, (2, 1) -> end: delta = 8 - 1 = 7, times ALPHA 3.5; Q(2, 1) = 4.5,
//   Q(0, 0) = 2.75 + 0.25 * 3.5 = 3.625, Q(1, 0) = 3.6875 + 0.0625 * 3.5 = 3.90625.
//   Accumulating: Q(0, 1) = -2.078125 + 0.015625 * 3.5 = -2.0234375.

TEST(Sarsa, LearnsWithReplacingTracesInAMap) {
  ActionWalk<Sarsa> walk(Types::MAP);
  walk.learner.TRACES = REPLACING;
  EXPECT_EQ(walk.learnt(), Weights({3.625, -2.1875, 3.90625, 0.0, 0.0, 4.5}));
}

TEST(Sarsa, LearnsWithReplacingTracesInAnArrayFromTheLastActionOnly) {
  // A visit with action 1, the last one, sets the pair's trace to 1, one with action 0 to 0. So the
  // traces of (0, 1) are 1, 0.25, 0.0625, 0.015625, that of (2, 1) is 1, and all others are 0. The
  // errors are those of above, except that (1, 0) and (0, 0) keep their values.
  ActionWalk<Sarsa> walk(Types::ARRAY);
  walk.learner.TRACES = REPLACING;
  EXPECT_EQ(walk.learnt(), Weights({1.0, -2.0234375, 4.0, 0.0, 0.0, 4.5}));
}

TEST(Sarsa, LearnsWithAccumulatingTraces) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    SCOPED_TRACE(storage);
    ActionWalk<Sarsa> walk(storage);
    walk.learner.TRACES = ACCUMULATING;
    EXPECT_EQ(walk.learnt(), Weights({3.625, -2.0234375, 3.90625, 0.0, 0.0, 4.5}));
  }
}

TEST(Sarsa, LearnsWithoutTraces) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    SCOPED_TRACE(storage);
    ActionWalk<Sarsa> walk(storage);
    walk.learner.TRACES = NONE;
    EXPECT_EQ(walk.learnt(), Weights({2.75, -2.0, 3.25, 0.0, 0.0, 4.5}));
  }
}

TEST(Sarsa, LearnsFromTheActionThatItWillTake) {
  // Random are the actions of steps 2 (action 1 in state 1, value 0) and 4 (action 0 in state 2,
  // value 0), and each is part of the error of the step before it.
  // Step 1, (0, 1) -> (1, 1): delta = -8 - 2 + 0 = -10; Q(0, 1) = 2 - 5 = -3.
  // Step 2, (1, 1) -> (0, 0): delta = 2 - 0 + 1 * 0.5 = 2.5; Q(1, 1) = 1.25.
  // Step 3, (0, 0) -> (2, 0): delta = 4 - 1 + 0 = 3; Q(0, 0) = 2.5.
  // Step 4, (2, 0) -> end: delta = 8 - 0; Q(2, 0) = 4.
  ActionWalk<Sarsa> walk;
  walk.learner.TRACES = NONE;
  walk.learner.ACTION_SELECTION = EPSILON_GREEDY;
  walk.learner.coins = {false, true, false, true};
  walk.table->explorations = {1, 0};
  EXPECT_EQ(walk.learnt(), Weights({2.5, -3.0, 4.0, 1.25, 4.0, 1.0}));
}

TEST(Sarsa, KeepsTheTracesWhenItExplores) {
  // As above, with accumulating traces in steps 1 and 2: delta of step 2 is 2 - 0 + 0.5 = 2.5,
  // times ALPHA 1.25, of which (0, 1) takes a quarter: -3 + 0.3125 = -2.6875.
  ActionWalk<Sarsa> walk;
  walk.learner.TRACES = ACCUMULATING;
  walk.learner.ACTION_SELECTION = EPSILON_GREEDY;
  walk.learner.coins = {false, true, false};
  walk.table->explorations = {1};
  walk.learner.initEpisode();
  walk.learner.step();
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{1, 0.25}, {3, 1.0}}));
  EXPECT_EQ(walk.table->allWeights(), Weights({1.0, -2.6875, 4.0, 1.25, 0.0, 1.0}));
}

TEST(Sarsa, SoftMaxLearnsFromTheActionThatItWillTake) {
  ActionWalk<Sarsa> walk;
  walk.learner.TRACES = NONE;
  walk.learner.ACTION_SELECTION = SOFTMAX;
  walk.table->explorations = {1, 1, 0, 0};
  EXPECT_EQ(walk.learnt(), Weights({2.5, -3.0, 4.0, 1.25, 4.0, 1.0}));
}

TEST(Sarsa, ReplacingInAMapTakesTheTracesOfTheStatesOtherActionsAway) {
  ActionWalk<Sarsa> walk;
  walk.learner.TRACES = REPLACING;
  walk.learner.initEpisode();
  walk.learner.step();
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{1, 0.25}, {2, 1.0}}));
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{0, 1.0}, {2, 0.25}}));
}

TEST(Sarsa, ValueFollowsTheUpdateOfThePairSelected) {
  // 0 -> 0 -> end with one action, whose value is read again after its own update.
  const EmptyConfiguration configuration;
  FixedPathLearner<Sarsa> learner(configuration.fileName, {{0, 1.0}, {0, 1.0}});
  auto* const state = new State;
  state->registerVariable("x", 0, 0);
  auto* const table = new OpenActionTable(state);
  table->registerAction(new AbstractAction);
  table->create();
  learner.valueFunction() = table;
  learner.TRACES = NONE;
  learner.ALPHA = 0.5;
  learner.GAMMA = 0.5;
  learner.initEpisode();
  learner.step();
  EXPECT_EQ(learner.value, 0.5);
  learner.step();
  EXPECT_EQ(learner.value, 0.5);
  EXPECT_EQ(table->allWeights(), Weights({0.75}));
}
