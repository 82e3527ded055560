#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/Watkins.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>
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

using RecordingWatkins = Recording<Watkins>;
using Weights = std::vector<double>;
using Traces = std::map<int, double>;

const std::array<int, 4> UNKNOWN_NUMBERS = {-1, 3, 1000, INT_MIN};

const std::array<TRACE_TYPE, 4> ALL_TRACES = {NONE, REPLACING, ACCUMULATING,
                                              static_cast<TRACE_TYPE>(3)};

Calls operator+(Calls first, const Calls& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// What a step does to all traces, with GAMMA 0.5 and LAMBDA 0.125.
const Calls DECAY = {"updateEligibilityTraces(0.5, 0.125)"};
const Calls CUT = {"initEligibilityTraces()"};

// The call that marks the pair about to be taken, with TRACE_VALUE 0.75.
Calls mark(TRACE_TYPE traces) {
  switch (traces) {
    case NONE:
      return {"storeState()"};
    case REPLACING:
      return {"replacingTraces(0.75)"};
    case ACCUMULATING:
      return {"accumulatingTraces(0.75)"};
    default:
      return {};
  }
}

// The calls of a step from the action on: reward 3, and Q(s', a') = 4, whose action is 7.
const Calls REST_OF_STEP = {"takeAction()", "observeState() -> true", "setState()",
                            "calculateReward() -> 3", "setGreedyActionIndex() -> 4"};

// What the step has to report for its kind of traces.
Calls reportsOf(TRACE_TYPE traces) {
  return traces == NONE || traces == REPLACING || traces == ACCUMULATING
             ? Calls()
             : Calls({"Watkins::step: Unknown Tracetype!"});
}

// A step that goes on, from a pair with the value 1 and the active action 2; the expected calls in
// this file rest on its parameters.
void prepareStep(RecordingWatkins& run, TRACE_TYPE traces) {
  run.learner.TRACES = traces;
  run.learner.TRACE_VALUE = 0.75;
  run.learner.ALPHA = 0.25;
  run.learner.GAMMA = 0.5;
  run.learner.LAMBDA = 0.125;
  run.values->choices = {{2, 1.0}};
  run.initEpisode();
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->readValues = {6.0};
}

}  // namespace

// Construction and destruction.

TEST(Watkins, TakesItsParametersFromTheConfigurationFile) {
  const TemporaryDirectory directory;
  writeFile(directory.file("watkins.conf"), "ACTION_SELECTION SOFTMAX\nTEMPERATURE 0.25\n");
  CallLog log;
  const RecordingHooks<Watkins> learner(directory.file("watkins.conf"), log);
  EXPECT_EQ(learner.confFileName, directory.file("watkins.conf"));
  EXPECT_EQ(learner.ACTION_SELECTION, SOFTMAX);
  EXPECT_EQ(learner.TEMPERATURE, 0.25);
  EXPECT_EQ(learner.LAMBDA, 0.5);
}

TEST(Watkins, HasNoValueFunctionAtFirst) {
  WithoutValueFunction<Watkins> without;
  EXPECT_EQ(without.learner.valueFunction(), nullptr);
  EXPECT_FALSE(without.learner.checkValueFunction());
  EXPECT_EQ(without.log.take(), Calls());
}

TEST(Watkins, ChecksWhetherItHasAValueFunction) {
  RecordingWatkins run;
  EXPECT_TRUE(run.learner.checkValueFunction());
  EXPECT_EQ(run.log.take(), Calls());
}

TEST(Watkins, DeletesItsValueFunction) {
  CallLog log;
  {
    const EmptyConfiguration configuration;
    RecordingHooks<Watkins> learner(configuration.fileName, log);
    learner.valueFunction() = new RecordingActionValueFunction(log);
    EXPECT_EQ(log.take(), Calls());
  }
  EXPECT_EQ(log.take(), Calls({"delete"}));
}

TEST(Watkins, DeletesItsValueFunctionBeforeTheSignalsAreGivenBack) {
  int blocked = -1;
  CallLog log;
  log.onCall = [&](const std::string& /*entry*/) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    blocked = sigismember(&mask, SIGUSR1);
  };
  {
    const EmptyConfiguration configuration;
    RecordingHooks<Watkins> learner(configuration.fileName, log);
    learner.valueFunction() = new RecordingActionValueFunction(log);
  }
  EXPECT_EQ(blocked, 1);
}

TEST(Watkins, LeavesTheEnvironmentToTheApplication) { EXPECT_TRUE(std::is_abstract_v<Watkins>); }

TEST(Watkins, KeepsItsOperationsForTheControlLoop) {
  EXPECT_FALSE(startsEpisodesForAnyone<Watkins>);
  EXPECT_FALSE(stepsForAnyone<Watkins>);
  EXPECT_FALSE(checksForAnyone<Watkins>);
}

// Without a value function.

TEST(Watkins, RefusesToStartAnEpisodeWithoutAValueFunction) {
  WithoutValueFunction<Watkins> without;
  without.learner.value = 7.0;
  without.learner.initEpisode();
  EXPECT_EQ(without.errors(),
            messages({"Watkins::initEpisode: valueFunctionPtr not set --> nothing "
                      "to learn in!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.value, 7.0);
}

TEST(Watkins, RefusesToStepWithoutAValueFunctionAndEndsTheEpisode) {
  WithoutValueFunction<Watkins> without;
  without.learner.value = 7.0;
  without.learner.continueEpisode = true;
  without.learner.step();
  EXPECT_EQ(without.errors(),
            messages({"Watkins::step: valueFunctionPtr not set --> nothing to learn in!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.value, 7.0);
  EXPECT_FALSE(without.learner.continueEpisode);
}

TEST(Watkins, ControlLoopRefusesToRunWithoutAValueFunction) {
  WithoutValueFunction<Watkins> without;
  without.learner.controlLoop();
  EXPECT_EQ(without.errors(),
            messages({"Quarnel::controlLoop: valueFunctionPtr not set --> leave controlLoop !!!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.episodes, 0);
}

// The start of an episode.

TEST(Watkins, StartsAnEpisodeWithoutTraces) {
  RecordingWatkins run;
  run.learner.TRACES = NONE;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(),
            Calls({"setInitialState()", "setState()", "setGreedyActionIndex() -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(Watkins, StartsAnEpisodeWithReplacingTraces) {
  RecordingWatkins run;
  run.learner.TRACES = REPLACING;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()", "setState()",
                                      "setGreedyActionIndex() -> 4.5"}));
}

TEST(Watkins, StartsAnEpisodeWithAccumulatingTraces) {
  RecordingWatkins run;
  run.learner.TRACES = ACCUMULATING;
  run.values->choices = {{1, 4.5}};
  EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()", "setState()",
                                      "setGreedyActionIndex() -> 4.5"}));
}

TEST(Watkins, StartsAnEpisodeWithAnUnknownKindOfTracesAsWithTraces) {
  for (const int unknown : UNKNOWN_NUMBERS) {
    SCOPED_TRACE(unknown);
    RecordingWatkins run;
    run.learner.TRACES = static_cast<TRACE_TYPE>(unknown);
    run.values->choices = {{1, 4.5}};
    EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()",
                                        "setState()", "setGreedyActionIndex() -> 4.5"}));
  }
}

TEST(Watkins, EmptiesTheEpisodeHistoryAfterTheTracesWhereItIsOn) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    RecordingWatkins run;
    run.learner.TRACES = traces;
    run.values->setEpisodeStateHistory(true);
    run.values->choices = {{1, 4.5}};
    EXPECT_EQ(run.initEpisode(), (traces == NONE ? Calls() : Calls({"initEligibilityTraces()"})) +
                                     Calls({"initEpisodeStateHistory()", "setInitialState()",
                                            "setState()", "setGreedyActionIndex() -> 4.5"}));
  }
}

TEST(Watkins, FirstActionIsGreedyWhateverTheSelection) {
  for (const int selection : {0, 1, 2, 3, -1, INT_MIN}) {
    SCOPED_TRACE(selection);
    RecordingWatkins run;
    run.learner.TRACES = NONE;
    run.learner.EPSILON = 1.0;
    run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(selection);
    run.values->choices = {{1, 4.5}};
    EXPECT_EQ(run.initEpisode(),
              Calls({"setInitialState()", "setState()", "setGreedyActionIndex() -> 4.5"}));
    EXPECT_EQ(run.learner.value, 4.5);
  }
}

TEST(Watkins, CountsTheEpisodeBeforeAnythingElseHappens) {
  RecordingWatkins run;
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
}

// A step: the behaviour at its start. delta = 3 - 1 + 4 * 0.5 = 4 unless a test says otherwise.

TEST(Watkins, GreedyStepWithoutTraces) {
  RecordingWatkins run;
  prepareStep(run, NONE);
  run.learner.ACTION_SELECTION = GREEDY;
  run.values->choices = {{7, 4.0}};
  EXPECT_EQ(run.step(),
            Calls({"storeState()", "takeAction()", "observeState() -> true", "setState()",
                   "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                   "updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
  EXPECT_EQ(run.learner.value, 6.0);
  EXPECT_TRUE(run.learner.continueEpisode);
}

TEST(Watkins, GreedyStepDecaysAndReplacesTraces) {
  RecordingWatkins run;
  prepareStep(run, REPLACING);
  run.learner.ACTION_SELECTION = GREEDY;
  run.values->choices = {{7, 4.0}};
  EXPECT_EQ(run.step(), Calls({"updateEligibilityTraces(0.5, 0.125)", "replacingTraces(0.75)",
                               "takeAction()", "observeState() -> true", "setState()",
                               "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                               "updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
}

TEST(Watkins, GreedyStepDecaysAndAccumulatesTraces) {
  RecordingWatkins run;
  prepareStep(run, ACCUMULATING);
  run.learner.ACTION_SELECTION = GREEDY;
  run.values->choices = {{7, 4.0}};
  EXPECT_EQ(run.step(), Calls({"updateEligibilityTraces(0.5, 0.125)", "accumulatingTraces(0.75)",
                               "takeAction()", "observeState() -> true", "setState()",
                               "calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                               "updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
}

TEST(Watkins, ReportsAnUnknownKindOfTracesAfterTheDecayAndStepsOn) {
  for (const int unknown : UNKNOWN_NUMBERS) {
    SCOPED_TRACE(unknown);
    RecordingWatkins run;
    prepareStep(run, static_cast<TRACE_TYPE>(unknown));
    run.values->choices = {{7, 4.0}};
    int checked = 0;
    run.log.onCall = [&](const std::string& entry) {
      if (entry == "updateEligibilityTraces(0.5, 0.125)") {
        EXPECT_EQ(run.errors(), messages({}));
        ++checked;
      } else if (entry == "takeAction()") {
        EXPECT_EQ(run.errors(), messages({"Watkins::step: Unknown Tracetype!"}));
        ++checked;
      }
    };
    EXPECT_EQ(run.step(),
              DECAY + REST_OF_STEP + Calls({"updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
    run.log.onCall = nullptr;
    EXPECT_EQ(checked, 2);
  }
}

TEST(Watkins, EpsilonGreedyStepThatIsGreedyDecaysTraces) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    RecordingWatkins run;
    prepareStep(run, traces);
    run.learner.ACTION_SELECTION = EPSILON_GREEDY;
    run.learner.coins = {false};
    run.values->choices = {{7, 4.0}};
    EXPECT_EQ(run.step(), Calls({"randomAction() -> false"}) + (traces == NONE ? Calls() : DECAY) +
                              mark(traces) + REST_OF_STEP +
                              Calls({"updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
    EXPECT_EQ(run.errors(), reportsOf(traces));
    EXPECT_EQ(run.learner.value, 6.0);
  }
}

TEST(Watkins, EpsilonGreedyStepThatExploresCutsTracesAndTakesTheValueOfItsAction) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    RecordingWatkins run;
    prepareStep(run, traces);
    run.learner.ACTION_SELECTION = EPSILON_GREEDY;
    run.learner.coins = {true};
    run.values->choices = {{5, -1.0}, {7, 4.0}};
    // delta = 3 - (-1) + 4 * 0.5 = 6.
    EXPECT_EQ(run.step(), Calls({"randomAction() -> true", "setRandomActionIndex() -> -1"}) +
                              (traces == NONE ? Calls() : CUT) + mark(traces) + REST_OF_STEP +
                              Calls({"updateWeights(0.25, 6)", "getActionValue(7) -> 6"}));
    EXPECT_EQ(run.errors(), reportsOf(traces));
  }
}

TEST(Watkins, EpsilonGreedyStepThatExploresCutsTracesEvenWhenItHitsTheGreedyAction) {
  for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING}) {
    SCOPED_TRACE(traces);
    RecordingWatkins run;
    prepareStep(run, traces);
    run.learner.ACTION_SELECTION = EPSILON_GREEDY;
    run.learner.coins = {true};
    run.values->choices = {{2, 1.0}, {7, 4.0}};
    EXPECT_EQ(run.step(), Calls({"randomAction() -> true", "setRandomActionIndex() -> 1"}) + CUT +
                              mark(traces) + REST_OF_STEP +
                              Calls({"updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
  }
}

TEST(Watkins, SoftMaxStepThatHitsTheGreedyActionDecaysTraces) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    RecordingWatkins run;
    prepareStep(run, traces);
    run.learner.ACTION_SELECTION = SOFTMAX;
    run.learner.TEMPERATURE = 0.375;
    run.values->choices = {{2, -1.0}, {7, 4.0}};
    EXPECT_EQ(run.step(), Calls({"setSoftMaxActionIndex(0.375) -> -1"}) +
                              (traces == NONE ? Calls() : DECAY) + mark(traces) + REST_OF_STEP +
                              Calls({"updateWeights(0.25, 6)", "getActionValue(7) -> 6"}));
    EXPECT_EQ(run.errors(), reportsOf(traces));
  }
}

TEST(Watkins, SoftMaxStepThatMissesTheGreedyActionCutsTraces) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const int other : {1, 3, 0, -1}) {
      SCOPED_TRACE(testing::Message() << "TRACES " << traces << ", action " << other);
      RecordingWatkins run;
      prepareStep(run, traces);
      run.learner.ACTION_SELECTION = SOFTMAX;
      run.learner.TEMPERATURE = 0.375;
      run.values->choices = {{other, -1.0}, {7, 4.0}};
      EXPECT_EQ(run.step(), Calls({"setSoftMaxActionIndex(0.375) -> -1"}) +
                                (traces == NONE ? Calls() : CUT) + mark(traces) + REST_OF_STEP +
                                Calls({"updateWeights(0.25, 6)", "getActionValue(7) -> 6"}));
      EXPECT_EQ(run.errors(), reportsOf(traces));
    }
  }
}

TEST(Watkins, SoftMaxComparesWithTheGreedyActionOfTheStepBefore) {
  // The greedy actions are 2 at the start and 7 after the first step; softmax picks 7 twice.
  RecordingWatkins run;
  prepareStep(run, REPLACING);
  run.learner.ACTION_SELECTION = SOFTMAX;
  run.learner.observations = {true, true};
  run.learner.rewards = {3.0, 3.0};
  run.values->choices = {{7, 1.0}, {7, 4.0}, {7, 1.0}, {0, 4.0}};
  run.values->readValues = {6.0, 6.0};
  EXPECT_THAT(run.step(), testing::Contains("initEligibilityTraces()"));
  EXPECT_THAT(run.step(), testing::Contains("updateEligibilityTraces(0.5, 0.125)"));
}

TEST(Watkins, ReportsAnUnknownSelectionAndNeitherDecaysNorCutsTraces) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    for (const int unknown : UNKNOWN_NUMBERS) {
      SCOPED_TRACE(testing::Message() << "TRACES " << traces << ", ACTION_SELECTION " << unknown);
      RecordingWatkins run;
      prepareStep(run, traces);
      run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(unknown);
      run.values->choices = {{7, 4.0}};
      EXPECT_EQ(run.step(), mark(traces) + REST_OF_STEP +
                                Calls({"updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
      EXPECT_EQ(run.errors(),
                Calls({"Watkins::step: Unknown ACTION_SELECTION " + std::to_string(unknown)}) +
                    reportsOf(traces));
      EXPECT_EQ(run.learner.value, 6.0);
    }
  }
}

// A step: its end.

TEST(Watkins, TargetIsGreedyWhateverTheSelection) {
  for (const ACTION_SELECTION_TYPE selection : {GREEDY, EPSILON_GREEDY, SOFTMAX}) {
    SCOPED_TRACE(selection);
    RecordingWatkins run;
    prepareStep(run, NONE);
    run.learner.ACTION_SELECTION = selection;
    run.learner.coins = selection == EPSILON_GREEDY ? std::deque<bool>{true} : std::deque<bool>{};
    if (selection != GREEDY) {
      run.values->choices = {{5, 1.0}};
    }
    run.values->choices.push_back({7, 4.0});
    Calls calls = run.step();
    calls.erase(calls.begin(), std::find(calls.begin(), calls.end(), "calculateReward() -> 3"));
    EXPECT_EQ(calls, Calls({"calculateReward() -> 3", "setGreedyActionIndex() -> 4",
                            "updateWeights(0.25, 4)", "getActionValue(7) -> 6"}));
    EXPECT_EQ(run.learner.value, 6.0);
    EXPECT_EQ(run.values->getActiveActionIndex(), 7);
  }
}

TEST(Watkins, TerminalStepSelectsNoActionAfterItAndKeepsTheValue) {
  for (const TRACE_TYPE traces : ALL_TRACES) {
    SCOPED_TRACE(traces);
    RecordingWatkins run;
    prepareStep(run, traces);
    run.learner.observations = {false};
    run.values->readValues = {};
    // delta = 3 - 1.
    EXPECT_EQ(run.step(), (traces == NONE ? Calls() : DECAY) + mark(traces) +
                              Calls({"takeAction()", "observeState() -> false", "setState()",
                                     "calculateReward() -> 3", "updateWeights(0.25, 2)"}));
    EXPECT_EQ(run.errors(), reportsOf(traces));
    EXPECT_EQ(run.learner.value, 1.0);
    EXPECT_EQ(run.values->getActiveActionIndex(), 2);
    EXPECT_FALSE(run.learner.continueEpisode);
  }
}

TEST(Watkins, TerminalStepExploresAtItsStartAndKeepsThatActionsValue) {
  for (const ACTION_SELECTION_TYPE selection : {EPSILON_GREEDY, SOFTMAX}) {
    SCOPED_TRACE(selection);
    RecordingWatkins run;
    prepareStep(run, REPLACING);
    run.learner.ACTION_SELECTION = selection;
    run.learner.TEMPERATURE = 0.375;
    run.learner.coins = selection == EPSILON_GREEDY ? std::deque<bool>{true} : std::deque<bool>{};
    run.learner.observations = {false};
    run.values->readValues = {};
    run.values->choices = {{5, -1.0}};
    // delta = 3 - (-1).
    EXPECT_EQ(run.step(),
              (selection == EPSILON_GREEDY
                   ? Calls({"randomAction() -> true", "setRandomActionIndex() -> -1"})
                   : Calls({"setSoftMaxActionIndex(0.375) -> -1"})) +
                  CUT +
                  Calls({"replacingTraces(0.75)", "takeAction()", "observeState() -> false",
                         "setState()", "calculateReward() -> 3", "updateWeights(0.25, 4)"}));
    EXPECT_EQ(run.learner.value, -1.0);
    EXPECT_EQ(run.values->getActiveActionIndex(), 5);
  }
}

TEST(Watkins, TerminalStepReportsAnUnknownSelection) {
  RecordingWatkins run;
  prepareStep(run, NONE);
  run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(3);
  run.learner.observations = {false};
  run.values->readValues = {};
  EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> false",
                               "setState()", "calculateReward() -> 3", "updateWeights(0.25, 2)"}));
  EXPECT_EQ(run.errors(), messages({"Watkins::step: Unknown ACTION_SELECTION 3"}));
}

TEST(Watkins, WithoutDiscountTheNextActionIsSelectedAllTheSame) {
  RecordingWatkins run;
  prepareStep(run, NONE);
  run.learner.GAMMA = 0.0;
  run.values->choices = {{7, 4.0}};
  EXPECT_EQ(run.step(), Calls({"storeState()"}) + REST_OF_STEP +
                            Calls({"updateWeights(0.25, 2)", "getActionValue(7) -> 6"}));
}

TEST(Watkins, ActionExploredAtTheStartOfTheStepIsActiveWhenItIsTaken) {
  RecordingWatkins run;
  prepareStep(run, NONE);
  run.learner.ACTION_SELECTION = EPSILON_GREEDY;
  run.learner.coins = {true, false};
  run.learner.observations = {true, false};
  run.learner.rewards = {3.0, 3.0};
  run.values->choices = {{5, 1.0}, {7, 4.0}};
  std::vector<int> taken;
  run.log.onCall = [&](const std::string& entry) {
    if (entry == "takeAction()" || entry == "storeState()") {
      taken.push_back(run.values->getActiveActionIndex());
    }
  };
  run.step();
  run.step();
  run.log.onCall = nullptr;
  EXPECT_EQ(taken, std::vector<int>({5, 5, 7, 7}));
}

TEST(Watkins, CountsTheStepBeforeAnythingElseHappens) {
  RecordingWatkins run;
  prepareStep(run, REPLACING);
  run.learner.steps = 7;
  run.learner.episodes = 5;
  run.values->choices = {{7, 4.0}};
  int calls = 0;
  run.log.onCall = [&](const std::string& entry) {
    ++calls;
    EXPECT_EQ(run.learner.steps, 8) << entry;
    EXPECT_EQ(run.learner.episodes, 5) << entry;
  };
  run.step();
  run.log.onCall = nullptr;
  EXPECT_EQ(calls, 9);
}

TEST(Watkins, CountersGoOnFromTheSmallestNumberAfterTheLargest) {
  RecordingWatkins run;
  run.learner.episodes = INT_MAX;
  prepareStep(run, NONE);
  EXPECT_EQ(run.learner.episodes, INT_MIN);
  run.learner.steps = INT_MAX;
  run.values->choices = {{7, 4.0}};
  run.step();
  EXPECT_EQ(run.learner.steps, INT_MIN);
}

TEST(Watkins, KnowsWhetherTheEpisodeGoesOnAsSoonAsTheApplicationHasObserved) {
  for (const bool goesOn : {true, false}) {
    SCOPED_TRACE(goesOn);
    RecordingWatkins run;
    prepareStep(run, NONE);
    run.learner.continueEpisode = !goesOn;
    run.learner.observations = {goesOn};
    if (goesOn) {
      run.values->choices = {{7, 4.0}};
    } else {
      run.values->readValues = {};
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

TEST(Watkins, ValueIsThatOfThePairTakenUntilTheNextActionIsSelected) {
  RecordingWatkins run;
  prepareStep(run, NONE);
  run.learner.ACTION_SELECTION = EPSILON_GREEDY;
  run.learner.coins = {true};
  run.values->choices = {{5, -1.0}, {7, 4.0}};
  std::vector<double> seen;
  run.log.onCall = [&](const std::string& /*entry*/) { seen.push_back(run.learner.value); };
  run.step();
  run.log.onCall = nullptr;
  // randomAction, setRandomActionIndex, storeState, takeAction, observeState, setState,
  // calculateReward, setGreedyActionIndex, updateWeights and getActionValue.
  EXPECT_EQ(seen, std::vector<double>({1.0, 1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0, 4.0, 4.0}));
  EXPECT_EQ(run.learner.value, 6.0);
}

TEST(Watkins, ErrorIsRewardMinusValueAndThenTheNextPairIsAdded) {
  // Above 2^53 only even numbers are doubles. With Q(s, a) = 1 and Q(s', a') * GAMMA = 1 the error
  // is (2^53 - 1) + 1 = 2^53, where (2^53 + 1) - 1 would be 2^53 - 1. With Q(s, a) = -1 it is
  // (2^53 + 1) + 1 = 2^53 + 1 = 2^53, where 2^53 + (1 + 1) would be 2^53 + 2.
  const double largest = 9007199254740992.0;
  for (const double value : {1.0, -1.0}) {
    SCOPED_TRACE(value);
    RecordingWatkins run;
    prepareStep(run, NONE);
    run.learner.value = value;
    run.learner.rewards = {largest};
    run.values->choices = {{7, 2.0}};
    EXPECT_THAT(run.step(), testing::Contains(call("updateWeights", 0.25, largest)));
  }
}

TEST(Watkins, ControlLoopRunsAnEpisode) {
  RecordingWatkins run;
  run.learner.TRACES = NONE;
  run.learner.ALPHA = 0.25;
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
  FixedPathLearner<Watkins> learner(configuration.fileName,
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

TEST(Watkins, GreedyDrawsOneNumberForEachSelection) {
  EXPECT_EQ(drawsOfAnEpisode(GREEDY, 0.5), std::vector<int>({1, 1, 1, 1, 0}));
}

TEST(Watkins, EpsilonGreedyDrawsTheCoinInEveryStepAlsoInTheLast) {
  EXPECT_EQ(drawsOfAnEpisode(EPSILON_GREEDY, 0.0), std::vector<int>({1, 2, 2, 2, 1}));
}

TEST(Watkins, EpsilonGreedyDrawsTheRandomActionAfterTheCoin) {
  EXPECT_EQ(drawsOfAnEpisode(EPSILON_GREEDY, 1.0), std::vector<int>({1, 3, 3, 3, 2}));
}

TEST(Watkins, SoftMaxDrawsItsChoiceAndTheGreedyOne) {
  EXPECT_EQ(drawsOfAnEpisode(SOFTMAX, 0.5), std::vector<int>({1, 2, 2, 2, 1}));
}

TEST(Watkins, UnknownSelectionDrawsOnlyTheGreedyChoice) {
  Reports reports;
  EXPECT_EQ(drawsOfAnEpisode(static_cast<ACTION_SELECTION_TYPE>(3), 0.5),
            std::vector<int>({1, 1, 1, 1, 0}));
  EXPECT_EQ(reports.errors(), std::vector<std::string>(4, "Unknown ACTION_SELECTION 3"));
}

// Learning in a table, worked out on paper. The episode is 0 -> 1 -> 0 -> 2 -> end with the rewards
// -8, 2, 4, 8; ALPHA, GAMMA and LAMBDA are 0.5, so traces decay by 0.25; Q(0) = (1, 2),
// Q(1) = (4, 0), Q(2) = (0, 1). The greedy actions are 1 in state 0, then 0 in state 1.
//
// Step 1, (0, 1) -> 1: delta = -8 - 2 + 4 * 0.5 = -8, times ALPHA -4; Q(0, 1) = 2 - 4 = -2, so that
//   the greedy action of state 0 is 0 from now on.
// Step 2, (1, 0) -> 0: delta = 2 - 4 + 1 * 0.5 = -1.5, times ALPHA -0.75; Q(1, 0) = 4 - 0.75
// = 3.25,
//   Q(0, 1) = -2 + 0.25 * -0.75 = -2.1875 by its trace.
// Step 3, (0, 0) -> 2: delta = 4 - 1 + 1 * 0.5 = 3.5, times ALPHA 1.75; Q(0, 0) = 2.75,
//   Q(1, 0) = 3.25 + 0.25 * 1.75 = 3.6875.
//   Replacing in a map: the visit of state 0 with action 0 takes the trace of (0, 1) away.
//   Accumulating: the trace of (0, 1) is 0.0625; Q(0, 1) = -2.1875 + 0.0625 * 1.75 = -2.078125.
// Step 4, (2, 1) -> end: delta = 8 - 1 = 7, times ALPHA 3.5; Q(2, 1) = 4.5,
//   Q(0, 0) = 2.75 + 0.25 * 3.5 = 3.625, Q(1, 0) = 3.6875 + 0.0625 * 3.5 = 3.90625.
//   Accumulating: Q(0, 1) = -2.078125 + 0.015625 * 3.5 = -2.0234375.

TEST(Watkins, LearnsWithReplacingTracesInAMap) {
  ActionWalk<Watkins> walk(Types::MAP);
  walk.learner.TRACES = REPLACING;
  EXPECT_EQ(walk.learnt(), Weights({3.625, -2.1875, 3.90625, 0.0, 0.0, 4.5}));
}

TEST(Watkins, LearnsWithReplacingTracesInAnArrayFromTheLastActionOnly) {
  // A visit with action 1, the last one, sets the pair's trace to 1, one with action 0 to 0. So the
  // traces of (0, 1) are 1, 0.25, 0.0625, 0.015625, that of (2, 1) is 1, and all others are 0. The
  // errors are those of above, except that (1, 0) and (0, 0) keep their values.
  ActionWalk<Watkins> walk(Types::ARRAY);
  walk.learner.TRACES = REPLACING;
  EXPECT_EQ(walk.learnt(), Weights({1.0, -2.0234375, 4.0, 0.0, 0.0, 4.5}));
}

TEST(Watkins, LearnsWithAccumulatingTraces) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    SCOPED_TRACE(storage);
    ActionWalk<Watkins> walk(storage);
    walk.learner.TRACES = ACCUMULATING;
    EXPECT_EQ(walk.learnt(), Weights({3.625, -2.0234375, 3.90625, 0.0, 0.0, 4.5}));
  }
}

TEST(Watkins, LearnsWithoutTraces) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    SCOPED_TRACE(storage);
    ActionWalk<Watkins> walk(storage);
    walk.learner.TRACES = NONE;
    EXPECT_EQ(walk.learnt(), Weights({2.75, -2.0, 3.25, 0.0, 0.0, 4.5}));
  }
}

// Random are the actions of steps 2 (action 1 in state 1, value 0) and 4 (action 0 in state 2,
// value 0). The targets stay greedy, so step 1 is as above.
//
// Step 2, (1, 1) -> 0: delta = 2 - 0 + 1 * 0.5 = 2.5, times ALPHA 1.25; Q(1, 1) = 1.25. Its cut
// keeps
//   Q(0, 1) = -2.
// Step 3, (0, 0) -> 2: delta = 3.5, times ALPHA 1.75; Q(0, 0) = 2.75,
//   Q(1, 1) = 1.25 + 0.25 * 1.75 = 1.6875 by its trace.
// Step 4, (2, 0) -> end: delta = 8 - 0, times ALPHA 4; Q(2, 0) = 4. Its cut keeps the others.

TEST(Watkins, ExploringCutsWhatEarlierPairsLearn) {
  for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING}) {
    SCOPED_TRACE(traces);
    ActionWalk<Watkins> walk;
    walk.learner.TRACES = traces;
    walk.learner.ACTION_SELECTION = EPSILON_GREEDY;
    walk.learner.coins = {false, true, false, true};
    walk.table->explorations = {1, 0};
    EXPECT_EQ(walk.learnt(), Weights({2.75, -2.0, 4.0, 1.6875, 4.0, 1.0}));
  }
}

TEST(Watkins, ExploringCutsTheTracesInAnArray) {
  ActionWalk<Watkins> walk(Types::ARRAY);
  walk.learner.TRACES = ACCUMULATING;
  walk.learner.ACTION_SELECTION = EPSILON_GREEDY;
  walk.learner.coins = {false, true, false, true};
  walk.table->explorations = {1, 0};
  EXPECT_EQ(walk.learnt(), Weights({2.75, -2.0, 4.0, 1.6875, 4.0, 1.0}));
}

TEST(Watkins, ExploresWithoutTraces) {
  // As above, but step 3 leaves Q(1, 1) at 1.25.
  ActionWalk<Watkins> walk;
  walk.learner.TRACES = NONE;
  walk.learner.ACTION_SELECTION = EPSILON_GREEDY;
  walk.learner.coins = {false, true, false, true};
  walk.table->explorations = {1, 0};
  EXPECT_EQ(walk.learnt(), Weights({2.75, -2.0, 4.0, 1.25, 4.0, 1.0}));
}

TEST(Watkins, SoftMaxCutsTracesOnlyWhereItMissesTheGreedyAction) {
  // Softmax picks 1 in state 0 (greedy), 1 in state 1 (not greedy, as above), 0 in state 0 (greedy)
  // and 1 in state 2 (greedy): delta of step 4 is 8 - 1 = 7, times ALPHA 3.5; Q(2, 1) = 4.5,
  // Q(0, 0) = 2.75 + 0.25 * 3.5 = 3.625, Q(1, 1) = 1.6875 + 0.0625 * 3.5 = 1.90625.
  for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING}) {
    SCOPED_TRACE(traces);
    ActionWalk<Watkins> walk;
    walk.learner.TRACES = traces;
    walk.learner.ACTION_SELECTION = SOFTMAX;
    walk.table->explorations = {1, 1, 0, 1};
    EXPECT_EQ(walk.learnt(), Weights({3.625, -2.0, 4.0, 1.90625, 0.0, 4.5}));
  }
}

TEST(Watkins, TracesDecayInGreedyStepsAndAreCutInExploringOnes) {
  ActionWalk<Watkins> walk;
  walk.learner.TRACES = ACCUMULATING;
  walk.learner.ACTION_SELECTION = EPSILON_GREEDY;
  walk.learner.coins = {false, false, true, true};
  walk.table->explorations = {0, 1};
  walk.learner.initEpisode();
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{1, 1.0}}));
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{1, 0.25}, {2, 1.0}}));
  // Action 0 is the greedy one of state 0 by now, and the traces go all the same.
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{0, 1.0}}));
  walk.learner.step();
  EXPECT_EQ(walk.table->traces(), Traces({{5, 1.0}}));
}

TEST(Watkins, UnknownSelectionNeitherDecaysNorCutsTheTracesOfATable) {
  const EmptyConfiguration configuration;
  FixedPathLearner<Watkins> learner(configuration.fileName, {{1, 0.0}, {1, 0.0}});
  auto* const state = new State;
  state->registerVariable("x", 0, 1);
  auto* const table = new OpenActionTable(state);
  table->registerAction(new AbstractAction);
  table->create();
  learner.valueFunction() = table;
  learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(3);
  Reports reports;
  learner.runEpisode();
  EXPECT_EQ(table->traces(), Traces({{0, 1.0}, {1, 1.0}}));
  EXPECT_EQ(reports.errors(), std::vector<std::string>(2, "Unknown ACTION_SELECTION 3"));
}

TEST(Watkins, ValueFollowsTheUpdateOfThePairSelected) {
  // 0 -> 0 -> end with one action, whose value is read again after its own update.
  const EmptyConfiguration configuration;
  FixedPathLearner<Watkins> learner(configuration.fileName, {{0, 1.0}, {0, 1.0}});
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
