#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/TD.h>

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

using RecordingTD = Recording<TD>;
using Weights = std::vector<double>;
using Traces = std::map<int, double>;

const std::array<int, 4> UNKNOWN_KINDS = {-1, 3, 1000, INT_MIN};

// A TD learner on a table of three states, whose episode is 0 -> 1 -> 0 -> 2 -> end with the
// rewards 1, 2, 4 and 8, and whose parameters are powers of two, so that every number below is
// exact.
class Walk {
 public:
  explicit Walk(Types::TRACE_STORAGE storage = Types::MAP,
                const std::vector<Move>& path = {{1, 1.0}, {0, 2.0}, {2, 4.0}, {2, 8.0}})
      : learner(configuration.fileName, path) {
    auto* const state = new State;
    state->registerVariable("x", 0, 2);
    table = new OpenStateTable(state);
    table->setTraceStorage(storage);
    learner.valueFunction() = table;
    learner.ALPHA = 0.5;
    learner.GAMMA = 0.5;
    learner.LAMBDA = 0.5;
  }

 private:
  EmptyConfiguration configuration;

 public:
  Reports reports;
  FixedPathLearner<TD> learner;
  OpenStateTable* table;
};

// Learns an episode of the walk; the weights afterwards.
Weights learnt(TRACE_TYPE traces, Types::TRACE_STORAGE storage) {
  Walk walk(storage);
  walk.learner.TRACES = traces;
  walk.learner.runEpisode();
  EXPECT_EQ(walk.reports.errors(), messages({}));
  return walk.table->allWeights();
}

}  // namespace

// Construction and destruction.

TEST(TD, TakesItsParametersFromTheConfigurationFile) {
  const TemporaryDirectory directory;
  writeFile(directory.file("td.conf"), "ALPHA 0.25\nTRACES NONE\n");
  CallLog log;
  const RecordingHooks<TD> learner(directory.file("td.conf"), log);
  EXPECT_EQ(learner.confFileName, directory.file("td.conf"));
  EXPECT_EQ(learner.ALPHA, 0.25);
  EXPECT_EQ(learner.TRACES, NONE);
  EXPECT_EQ(learner.LAMBDA, 0.5);
}

TEST(TD, HasNoValueFunctionAtFirst) {
  WithoutValueFunction<TD> without;
  EXPECT_EQ(without.learner.valueFunction(), nullptr);
  EXPECT_FALSE(without.learner.checkValueFunction());
}

TEST(TD, ChecksWhetherItHasAValueFunction) {
  RecordingTD run;
  EXPECT_TRUE(run.learner.checkValueFunction());
  EXPECT_EQ(run.log.take(), Calls());
}

TEST(TD, ConstructionCallsNoHook) {
  WithoutValueFunction<TD> without;
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.reports.informationText(), "");
}

TEST(TD, DeletesItsValueFunction) {
  CallLog log;
  {
    const EmptyConfiguration configuration;
    RecordingHooks<TD> learner(configuration.fileName, log);
    learner.valueFunction() = new RecordingStateValueFunction(log);
    EXPECT_EQ(log.take(), Calls());
  }
  EXPECT_EQ(log.take(), Calls({"delete"}));
}

TEST(TD, DeletesItsValueFunctionBeforeTheSignalsAreGivenBack) {
  int blocked = -1;
  CallLog log;
  log.onCall = [&](const std::string& /*entry*/) {
    sigset_t mask;
    sigprocmask(SIG_BLOCK, nullptr, &mask);
    blocked = sigismember(&mask, SIGUSR1);
  };
  {
    const EmptyConfiguration configuration;
    RecordingHooks<TD> learner(configuration.fileName, log);
    learner.valueFunction() = new RecordingStateValueFunction(log);
  }
  EXPECT_EQ(blocked, 1);
  sigset_t mask;
  sigprocmask(SIG_BLOCK, nullptr, &mask);
  EXPECT_EQ(sigismember(&mask, SIGUSR1), 0);
}

TEST(TD, LeavesTheEnvironmentToTheApplication) { EXPECT_TRUE(std::is_abstract_v<TD>); }

TEST(TD, KeepsItsOperationsForTheControlLoop) {
  EXPECT_FALSE(startsEpisodesForAnyone<TD>);
  EXPECT_FALSE(stepsForAnyone<TD>);
  EXPECT_FALSE(checksForAnyone<TD>);
  EXPECT_TRUE(startsEpisodesForAnyone<OpenLearner<TD>>);
  EXPECT_TRUE(stepsForAnyone<OpenLearner<TD>>);
  EXPECT_TRUE(checksForAnyone<OpenLearner<TD>>);
}

// Without a value function.

TEST(TD, RefusesToStartAnEpisodeWithoutAValueFunction) {
  WithoutValueFunction<TD> without;
  without.learner.value = 7.0;
  without.learner.initEpisode();
  EXPECT_EQ(without.errors(),
            messages({"TD::initEpisode: valueFunctionPtr not set --> nothing to learn in!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.value, 7.0);
}

TEST(TD, RefusesToStepWithoutAValueFunctionAndEndsTheEpisode) {
  WithoutValueFunction<TD> without;
  without.learner.continueEpisode = true;
  without.learner.value = 7.0;
  without.learner.step();
  EXPECT_EQ(without.errors(),
            messages({"TD::step: valueFunctionPtr not set --> nothing to learn in!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.value, 7.0);
  EXPECT_FALSE(without.learner.continueEpisode);
}

TEST(TD, ControlLoopRefusesToRunWithoutAValueFunction) {
  WithoutValueFunction<TD> without;
  without.learner.controlLoop();
  EXPECT_EQ(without.reports.errors(),
            messages({"valueFunctionPtr not set --> leave controlLoop !!!"}));
  EXPECT_EQ(without.log.take(), Calls());
  EXPECT_EQ(without.learner.episodes, 0);
}

// The start of an episode.

TEST(TD, StartsAnEpisodeWithoutTraces) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.values->stateValues = {4.5};
  EXPECT_EQ(run.initEpisode(),
            Calls({"setInitialState()", "setState()", "getStateValue() -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(TD, StartsAnEpisodeWithReplacingTraces) {
  RecordingTD run;
  run.learner.TRACES = REPLACING;
  run.values->stateValues = {4.5};
  EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()", "setState()",
                                      "getStateValue() -> 4.5"}));
  EXPECT_EQ(run.learner.value, 4.5);
}

TEST(TD, StartsAnEpisodeWithAccumulatingTraces) {
  RecordingTD run;
  run.learner.TRACES = ACCUMULATING;
  run.values->stateValues = {-4.5};
  EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()", "setState()",
                                      "getStateValue() -> -4.5"}));
  EXPECT_EQ(run.learner.value, -4.5);
}

TEST(TD, StartsAnEpisodeWithAnUnknownKindOfTracesAsWithTraces) {
  for (const int unknown : UNKNOWN_KINDS) {
    SCOPED_TRACE(unknown);
    RecordingTD run;
    run.learner.TRACES = static_cast<TRACE_TYPE>(unknown);
    run.values->stateValues = {1.0};
    EXPECT_EQ(run.initEpisode(), Calls({"initEligibilityTraces()", "setInitialState()",
                                        "setState()", "getStateValue() -> 1"}));
  }
}

TEST(TD, EmptiesTheEpisodeHistoryWithoutTraces) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.values->setEpisodeStateHistory(true);
  run.values->stateValues = {0.0};
  EXPECT_EQ(run.initEpisode(), Calls({"initEpisodeStateHistory()", "setInitialState()",
                                      "setState()", "getStateValue() -> 0"}));
}

TEST(TD, EmptiesTheEpisodeHistoryAfterTheTraces) {
  for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING, static_cast<TRACE_TYPE>(3)}) {
    SCOPED_TRACE(traces);
    RecordingTD run;
    run.learner.TRACES = traces;
    run.values->setEpisodeStateHistory(true);
    run.values->stateValues = {0.0};
    EXPECT_EQ(run.initEpisode(),
              Calls({"initEligibilityTraces()", "initEpisodeStateHistory()", "setInitialState()",
                     "setState()", "getStateValue() -> 0"}));
  }
}

TEST(TD, CountsTheEpisodeBeforeAnythingElseHappens) {
  RecordingTD run;
  run.learner.episodes = 4;
  run.learner.steps = 17;
  run.values->stateValues = {0.0};
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

TEST(TD, StepsWithoutTraces) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.learner.ALPHA = 0.25;
  run.learner.GAMMA = 0.5;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->stateValues = {4.0, 6.0};
  // delta = 3 - 1 + 0.5 * 4 = 4.
  EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> true",
                               "setState()", "calculateReward() -> 3", "getStateValue() -> 4",
                               "updateWeights(0.25, 4)", "getStateValue() -> 6"}));
  EXPECT_EQ(run.learner.value, 6.0);
  EXPECT_TRUE(run.learner.continueEpisode);
}

TEST(TD, StepsWithReplacingTraces) {
  RecordingTD run;
  run.learner.TRACES = REPLACING;
  run.learner.TRACE_VALUE = 0.75;
  run.learner.ALPHA = 0.25;
  run.learner.GAMMA = 0.5;
  run.learner.LAMBDA = 0.125;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->stateValues = {4.0, 6.0};
  EXPECT_EQ(run.step(),
            Calls({"updateEligibilityTraces(0.5, 0.125)", "replacingTraces(0.75)", "takeAction()",
                   "observeState() -> true", "setState()", "calculateReward() -> 3",
                   "getStateValue() -> 4", "updateWeights(0.25, 4)", "getStateValue() -> 6"}));
  EXPECT_EQ(run.learner.value, 6.0);
}

TEST(TD, StepsWithAccumulatingTraces) {
  RecordingTD run;
  run.learner.TRACES = ACCUMULATING;
  run.learner.TRACE_VALUE = 1.5;
  run.learner.ALPHA = 0.25;
  run.learner.GAMMA = 0.5;
  run.learner.LAMBDA = 0.125;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->stateValues = {4.0, 6.0};
  EXPECT_EQ(run.step(),
            Calls({"updateEligibilityTraces(0.5, 0.125)", "accumulatingTraces(1.5)", "takeAction()",
                   "observeState() -> true", "setState()", "calculateReward() -> 3",
                   "getStateValue() -> 4", "updateWeights(0.25, 4)", "getStateValue() -> 6"}));
  EXPECT_EQ(run.learner.value, 6.0);
}

TEST(TD, ReportsAnUnknownKindOfTracesAndStepsOnWithoutANewTrace) {
  for (const int unknown : UNKNOWN_KINDS) {
    SCOPED_TRACE(unknown);
    RecordingTD run;
    run.learner.TRACES = static_cast<TRACE_TYPE>(unknown);
    run.learner.ALPHA = 0.25;
    run.learner.GAMMA = 0.5;
    run.learner.LAMBDA = 0.125;
    run.learner.value = 1.0;
    run.learner.observations = {true};
    run.learner.rewards = {3.0};
    run.values->stateValues = {4.0, 6.0};
    EXPECT_EQ(run.step(),
              Calls({"updateEligibilityTraces(0.5, 0.125)", "takeAction()",
                     "observeState() -> true", "setState()", "calculateReward() -> 3",
                     "getStateValue() -> 4", "updateWeights(0.25, 4)", "getStateValue() -> 6"}));
    EXPECT_EQ(run.errors(), messages({"TD::step: Unknown Tracetype!"}));
    EXPECT_EQ(run.learner.value, 6.0);
  }
}

TEST(TD, ReportsAnUnknownKindOfTracesInEveryStep) {
  RecordingTD run;
  run.learner.TRACES = static_cast<TRACE_TYPE>(3);
  run.learner.value = 0.0;
  run.learner.observations = {true, true, false};
  run.learner.rewards = {0.0, 0.0, 0.0};
  run.values->stateValues = {0.0, 0.0, 0.0, 0.0};
  for (int i = 0; i < 3; ++i) {
    run.step();
    EXPECT_EQ(run.errors(), messages({"TD::step: Unknown Tracetype!"}));
  }
}

TEST(TD, ReportsAnUnknownKindOfTracesBeforeTheAction) {
  RecordingTD run;
  run.learner.TRACES = static_cast<TRACE_TYPE>(3);
  run.learner.value = 0.0;
  run.learner.observations = {false};
  run.learner.rewards = {0.0};
  run.log.onCall = [&](const std::string& entry) {
    if (entry == "updateEligibilityTraces(0.9, 0.5)") {
      EXPECT_EQ(run.errors(), messages({}));
    } else if (entry == "takeAction()") {
      EXPECT_EQ(run.errors(), messages({"TD::step: Unknown Tracetype!"}));
    }
  };
  EXPECT_EQ(run.step().size(), 6U);
  run.log.onCall = nullptr;
}

TEST(TD, TerminalStepReadsNoValueAndKeepsItsOwn) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.learner.ALPHA = 0.25;
  run.learner.value = 1.0;
  run.learner.observations = {false};
  run.learner.rewards = {3.0};
  // delta = 3 - 1.
  EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> false",
                               "setState()", "calculateReward() -> 3", "updateWeights(0.25, 2)"}));
  EXPECT_EQ(run.learner.value, 1.0);
  EXPECT_FALSE(run.learner.continueEpisode);
}

TEST(TD, TerminalStepWithTraces) {
  for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING}) {
    SCOPED_TRACE(traces);
    RecordingTD run;
    run.learner.TRACES = traces;
    run.learner.TRACE_VALUE = 1.0;
    run.learner.ALPHA = 0.25;
    run.learner.GAMMA = 0.5;
    run.learner.LAMBDA = 0.125;
    run.learner.value = 1.0;
    run.learner.observations = {false};
    run.learner.rewards = {3.0};
    EXPECT_EQ(run.step(),
              Calls({"updateEligibilityTraces(0.5, 0.125)",
                     traces == REPLACING ? "replacingTraces(1)" : "accumulatingTraces(1)",
                     "takeAction()", "observeState() -> false", "setState()",
                     "calculateReward() -> 3", "updateWeights(0.25, 2)"}));
    EXPECT_EQ(run.learner.value, 1.0);
  }
}

TEST(TD, CountsTheStepBeforeAnythingElseHappens) {
  RecordingTD run;
  run.learner.episodes = 5;
  run.learner.steps = 7;
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
  EXPECT_EQ(run.learner.steps, 8);
}

TEST(TD, CountsEpisodesFromTheFirstAndStepsAnewInEach) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.values->stateValues = {0.0, 0.0, 0.0, 0.0};
  run.learner.observations = {true, false};
  run.learner.rewards = {0.0, 0.0};
  EXPECT_EQ(run.learner.episodes, 0);
  run.initEpisode();
  EXPECT_EQ(run.learner.episodes, 1);
  EXPECT_EQ(run.learner.steps, 0);
  run.step();
  EXPECT_EQ(run.learner.steps, 1);
  run.step();
  EXPECT_EQ(run.learner.steps, 2);
  run.initEpisode();
  EXPECT_EQ(run.learner.episodes, 2);
  EXPECT_EQ(run.learner.steps, 0);
}

TEST(TD, CountersGoOnFromTheSmallestNumberAfterTheLargest) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.learner.episodes = INT_MAX;
  run.values->stateValues = {0.0};
  run.initEpisode();
  EXPECT_EQ(run.learner.episodes, INT_MIN);
  run.learner.steps = INT_MAX;
  run.learner.observations = {false};
  run.learner.rewards = {0.0};
  run.step();
  EXPECT_EQ(run.learner.steps, INT_MIN);
}

TEST(TD, KnowsWhetherTheEpisodeGoesOnAsSoonAsTheApplicationHasObserved) {
  for (const bool goesOn : {true, false}) {
    SCOPED_TRACE(goesOn);
    RecordingTD run;
    run.learner.TRACES = NONE;
    run.learner.continueEpisode = !goesOn;
    run.learner.value = 0.0;
    run.learner.observations = {goesOn};
    run.learner.rewards = {0.0};
    run.values->stateValues = goesOn ? std::deque<double>{0.0, 0.0} : std::deque<double>{};
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

TEST(TD, ValueIsThatOfTheStateUntilTheSuccessorsIsRead) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->stateValues = {4.0, 6.0};
  std::vector<double> seen;
  run.log.onCall = [&](const std::string& /*entry*/) { seen.push_back(run.learner.value); };
  run.step();
  run.log.onCall = nullptr;
  // storeState, takeAction, observeState, setState, calculateReward, getStateValue, updateWeights
  // and the second getStateValue.
  EXPECT_EQ(seen, std::vector<double>({1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 4.0, 4.0}));
  EXPECT_EQ(run.learner.value, 6.0);
}

TEST(TD, ErrorIsRewardMinusValueAndThenTheSuccessorIsAdded) {
  // Above 2^53 only even numbers are doubles. With V(s) = 1 and GAMMA * V(s') = 1 the error is
  // (2^53 - 1) + 1 = 2^53, where (2^53 + 1) - 1 would be 2^53 - 1. With V(s) = -1 it is
  // (2^53 + 1) + 1 = 2^53 + 1 = 2^53, where 2^53 + (1 + 1) would be 2^53 + 2.
  const double largest = 9007199254740992.0;
  for (const double value : {1.0, -1.0}) {
    SCOPED_TRACE(value);
    RecordingTD run;
    run.learner.TRACES = NONE;
    run.learner.ALPHA = 0.5;
    run.learner.GAMMA = 0.5;
    run.learner.value = value;
    run.learner.observations = {true};
    run.learner.rewards = {largest};
    run.values->stateValues = {2.0, 0.0};
    EXPECT_THAT(run.step(), testing::Contains(call("updateWeights", 0.5, largest)));
  }
}

TEST(TD, WithoutDiscountTheSuccessorIsReadAllTheSame) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.learner.ALPHA = 1.0;
  run.learner.GAMMA = 0.0;
  run.learner.value = 1.0;
  run.learner.observations = {true};
  run.learner.rewards = {3.0};
  run.values->stateValues = {4.0, 6.0};
  EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> true",
                               "setState()", "calculateReward() -> 3", "getStateValue() -> 4",
                               "updateWeights(1, 2)", "getStateValue() -> 6"}));
}

TEST(TD, SelectsNoActionWhateverTheParameterSays) {
  for (const int selection : {0, 1, 2, 3, -1}) {
    SCOPED_TRACE(selection);
    RecordingTD run;
    run.learner.TRACES = NONE;
    run.learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(selection);
    run.learner.EPSILON = 1.0;
    run.learner.ALPHA = 1.0;
    run.learner.value = 1.0;
    run.learner.observations = {false};
    run.learner.rewards = {3.0};
    EXPECT_EQ(run.step(), Calls({"storeState()", "takeAction()", "observeState() -> false",
                                 "setState()", "calculateReward() -> 3", "updateWeights(1, 2)"}));
  }
}

TEST(TD, DrawsNoRandomNumbers) {
  for (const TRACE_TYPE traces : {NONE, REPLACING, ACCUMULATING}) {
    SCOPED_TRACE(traces);
    Walk walk;
    walk.learner.TRACES = traces;
    EXPECT_EQ(countDraws([&] { walk.learner.runEpisode(); }), 0);
  }
}

TEST(TD, ControlLoopRunsAnEpisode) {
  RecordingTD run;
  run.learner.TRACES = NONE;
  run.learner.ALPHA = 0.5;
  run.learner.GAMMA = 1.0;
  run.learner.observations = {true, false};
  run.learner.rewards = {1.0, 2.0};
  run.values->stateValues = {0.0, 4.0, 4.5};
  run.log.onCall = [&](const std::string& entry) {
    if (entry == "finishEpisode()") {
      run.learner.continueLearning = false;
    }
  };
  run.learner.controlLoop();
  run.log.onCall = nullptr;
  EXPECT_EQ(run.log.take(), Calls({"setInitialState()",
                                   "setState()",
                                   "getStateValue() -> 0",  //
                                   "storeState()",
                                   "takeAction()",
                                   "observeState() -> true",
                                   "setState()",  //
                                   "calculateReward() -> 1",
                                   "getStateValue() -> 4",
                                   "updateWeights(0.5, 5)",  //
                                   "getStateValue() -> 4.5",
                                   "checkPendingSignals()",  //
                                   "storeState()",
                                   "takeAction()",
                                   "observeState() -> false",
                                   "setState()",  //
                                   "calculateReward() -> 2",
                                   "updateWeights(0.5, -2.5)",
                                   "checkPendingSignals()",  //
                                   "finishEpisode()"}));
  EXPECT_EQ(run.learner.episodes, 1);
  EXPECT_EQ(run.learner.steps, 2);
  EXPECT_EQ(run.learner.value, 4.5);
}

// Learning in a table, worked out on paper. The episode is 0 -> 1 -> 0 -> 2 -> end with the rewards
// 1, 2, 4, 8; ALPHA, GAMMA and LAMBDA are 0.5, so traces decay by 0.25; V starts at (0, 0, 0).
//
// Step 1, 0 -> 1: e = (1, 0, 0), delta = 1 - 0 + 0.5 * 0 = 1, times ALPHA 0.5;
//   V = (0.5, 0, 0).
// Step 2, 1 -> 0: e = (0.25, 1, 0), delta = 2 - 0 + 0.5 * 0.5 = 2.25, times ALPHA 1.125;
//   V(0) = 0.5 + 0.25 * 1.125 = 0.78125, V(1) = 1.125. The value read again is 0.78125.
// Step 3, 0 -> 2: delta = 4 - 0.78125 + 0.5 * 0 = 3.21875, times ALPHA 1.609375.
//   Replacing: e = (1, 0.25, 0); V(0) = 0.78125 + 1.609375 = 2.390625,
//     V(1) = 1.125 + 0.25 * 1.609375 = 1.52734375.
//   Accumulating: e = (1.0625, 0.25, 0); V(0) = 0.78125 + 1.7099609375 = 2.4912109375.
// Step 4, 2 -> end: delta = 8 - 0 = 8, times ALPHA 4; V(1) = 1.52734375 + 0.0625 * 4 = 1.77734375,
//   V(2) = 4.
//   Replacing: e = (0.25, 0.0625, 1); V(0) = 2.390625 + 1 = 3.390625.
//   Accumulating: e = (0.265625, 0.0625, 1); V(0) = 2.4912109375 + 1.0625 = 3.5537109375.

TEST(TD, LearnsWithReplacingTraces) {
  const Weights expected = {3.390625, 1.77734375, 4.0};
  EXPECT_EQ(learnt(REPLACING, Types::MAP), expected);
  EXPECT_EQ(learnt(REPLACING, Types::ARRAY), expected);
}

TEST(TD, LearnsWithAccumulatingTraces) {
  const Weights expected = {3.5537109375, 1.77734375, 4.0};
  EXPECT_EQ(learnt(ACCUMULATING, Types::MAP), expected);
  EXPECT_EQ(learnt(ACCUMULATING, Types::ARRAY), expected);
}

TEST(TD, LearnsWithoutTraces) {
  // Step 1: V(0) = 0.5. Step 2: delta = 2.25, V(1) = 1.125, V(0) stays 0.5.
  // Step 3: delta = 4 - 0.5 = 3.5, V(0) = 0.5 + 1.75 = 2.25. Step 4: delta = 8, V(2) = 4.
  const Weights expected = {2.25, 1.125, 4.0};
  EXPECT_EQ(learnt(NONE, Types::MAP), expected);
  EXPECT_EQ(learnt(NONE, Types::ARRAY), expected);
}

TEST(TD, ValueFollowsTheUpdateOfTheSuccessor) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    Walk walk(storage);
    walk.learner.TRACES = REPLACING;
    std::vector<double> values;
    walk.learner.initEpisode();
    for (int i = 0; i < 4; ++i) {
      walk.learner.step();
      values.push_back(walk.learner.value);
    }
    EXPECT_EQ(values, std::vector<double>({0.0, 0.78125, 0.0, 0.0}));
  }
}

TEST(TD, AStateThatStaysIsReadAgainAfterItsOwnUpdate) {
  // 0 -> 0 -> end without traces: delta = 1 - 0 + 0.5 * 0 = 1, V(0) = 0.5, which the next step
  // takes off its reward: delta = 1 - 0.5 = 0.5, V(0) = 0.75.
  Walk walk(Types::MAP, {{0, 1.0}, {0, 1.0}});
  walk.learner.TRACES = NONE;
  walk.learner.initEpisode();
  walk.learner.step();
  EXPECT_EQ(walk.learner.value, 0.5);
  walk.learner.step();
  EXPECT_EQ(walk.learner.value, 0.5);
  EXPECT_EQ(walk.table->allWeights(), Weights({0.75, 0.0, 0.0}));
}

TEST(TD, ReplacingSetsTheTraceOfAStateAnew) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    Walk walk(storage);
    walk.learner.TRACES = REPLACING;
    walk.learner.initEpisode();
    EXPECT_EQ(walk.table->traces(), Traces());
    walk.learner.step();
    EXPECT_EQ(walk.table->traces(), Traces({{0, 1.0}}));
    walk.learner.step();
    EXPECT_EQ(walk.table->traces(), Traces({{0, 0.25}, {1, 1.0}}));
    walk.learner.step();
    EXPECT_EQ(walk.table->traces(), Traces({{0, 1.0}, {1, 0.25}}));
    walk.learner.step();
    EXPECT_EQ(walk.table->traces(), Traces({{0, 0.25}, {1, 0.0625}, {2, 1.0}}));
  }
}

TEST(TD, AccumulatingAddsToTheDecayedTraceOfAState) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    Walk walk(storage);
    walk.learner.TRACES = ACCUMULATING;
    walk.learner.initEpisode();
    walk.learner.step();
    walk.learner.step();
    EXPECT_EQ(walk.table->traces(), Traces({{0, 0.25}, {1, 1.0}}));
    walk.learner.step();
    EXPECT_EQ(walk.table->traces(), Traces({{0, 1.0625}, {1, 0.25}}));
  }
}

TEST(TD, TraceValueIsWhatAVisitSetsOrAdds) {
  // 0 -> 0 -> end, TRACE_VALUE 2: the trace is 2, then 0.5 decayed, then 2 or 2.5.
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING}) {
      Walk walk(storage, {{0, 1.0}, {0, 1.0}});
      walk.learner.TRACES = traces;
      walk.learner.TRACE_VALUE = 2.0;
      walk.learner.initEpisode();
      walk.learner.step();
      EXPECT_EQ(walk.table->traces(), Traces({{0, 2.0}}));
      walk.learner.step();
      EXPECT_EQ(walk.table->traces(), Traces({{0, traces == REPLACING ? 2.0 : 2.5}}));
    }
  }
}

TEST(TD, TracesEndWithTheEpisode) {
  for (const Types::TRACE_STORAGE storage : {Types::MAP, Types::ARRAY}) {
    for (const TRACE_TYPE traces : {REPLACING, ACCUMULATING}) {
      Walk walk(storage);
      walk.learner.TRACES = traces;
      walk.learner.runEpisode();
      EXPECT_NE(walk.table->traces(), Traces());
      walk.learner.initEpisode();
      EXPECT_EQ(walk.table->traces(), Traces());
      EXPECT_EQ(walk.learner.value, walk.table->allWeights()[0]);
    }
  }
}

TEST(TD, TwoStateChainLearnsTheRewardByAlpha) {
  Walk walk(Types::MAP, {{1, 1.0}});
  walk.learner.TRACES = NONE;
  walk.learner.ALPHA = 0.1;
  walk.learner.GAMMA = 1.0;
  walk.learner.runEpisode();
  EXPECT_EQ(walk.table->allWeights(), Weights({0.1, 0.0, 0.0}));
  EXPECT_EQ(walk.learner.value, 0.0);
}

TEST(TD, TerminalStateIsNotBootstrappedFrom) {
  Walk walk(Types::MAP, {{1, 1.0}});
  walk.table->setWeights({0.0, 100.0, 0.0});
  walk.learner.runEpisode();
  EXPECT_EQ(walk.table->allWeights(), Weights({0.5, 100.0, 0.0}));
}

TEST(TD, AnUnknownKindOfTracesLearnsNothingInATable) {
  Walk walk(Types::MAP, {{1, 1.0}});
  walk.learner.TRACES = static_cast<TRACE_TYPE>(3);
  walk.learner.runEpisode();
  EXPECT_EQ(walk.table->allWeights(), Weights({0.0, 0.0, 0.0}));
  EXPECT_EQ(
      walk.reports.errors(),
      messages({"Unknown Tracetype!",
                "traceStorage == MAP and eTracesMap == empty and storedActiveIndex == -1 --> "
                "Set traceStorage to ARRAY or call initEligibilityTraces or storeState before "
                "calling updateWeights!"}));
}

// Rewarding whole episodes.

namespace {

// Learns nothing in its steps and rewards the states of every episode at its end.
class EpisodeRewarder : public FixedPathLearner<TD> {
 public:
  EpisodeRewarder(const std::string& configuration, const std::vector<Move>& moves, bool history)
      : FixedPathLearner<TD>(configuration, moves) {
    auto* const state = new State;
    state->registerVariable("x", 0, 2);
    table = new OpenStateTable(state);
    table->setEpisodeStateHistory(history);
    svfPtr = table;
    ALPHA = 0.0;
  }

  Weights learn(int numberOfEpisodes) {
    lastEpisode = numberOfEpisodes;
    controlLoop();
    return table->allWeights();
  }

 protected:
  void finishEpisode() override {
    svfPtr->valueEpisode(episodes);
    continueLearning = episodes < lastEpisode;
  }

 private:
  OpenStateTable* table;
  int lastEpisode = 0;
};

const std::vector<Move> LOOP_IN_TWO_STATES = {{0, 1.0}, {1, 1.0}, {0, 1.0}, {2, 1.0}};

}  // namespace

TEST(TD, ApplicationMayRewardTheStatesOfAnEpisodeAtItsEnd) {
  // The states left are 0, 0, 1, 0: each gains the number of the episode once, 1 + 2 in all. State
  // 2 is only arrived in.
  const TemporaryDirectory directory;
  writeFile(directory.file("td.conf"), "TRACES NONE\n");
  Reports reports;
  EpisodeRewarder learner(directory.file("td.conf"), LOOP_IN_TWO_STATES, true);
  EXPECT_EQ(learner.learn(2), Weights({3.0, 3.0, 0.0}));
  EXPECT_EQ(reports.errors(), messages({}));
}

TEST(TD, EpisodeHistoryGrowsOverEpisodesUnlessItIsOn) {
  const TemporaryDirectory directory;
  writeFile(directory.file("td.conf"), "TRACES NONE\n");
  for (const bool history : {true, false}) {
    CallLog log;
    RecordingHooks<TD> learner(directory.file("td.conf"), log);
    auto* const state = new State;
    state->registerVariable("x", 0, 2);
    auto* const table = new OpenStateTable(state);
    table->setEpisodeStateHistory(history);
    learner.valueFunction() = table;
    learner.ALPHA = 0.0;
    learner.rewards = {0.0, 0.0};
    learner.observations = {false, false};
    state->setValueInt(0, 0);
    learner.initEpisode();
    learner.step();
    state->setValueInt(0, 1);
    learner.initEpisode();
    learner.step();
    table->valueEpisode(1.0);
    EXPECT_EQ(table->allWeights(), Weights({history ? 0.0 : 1.0, 1.0, 0.0}));
  }
}

TEST(TD, RecordsNoEpisodeHistoryWithTraces) {
  const TemporaryDirectory directory;
  for (const char* const configuration : {"TRACES REPLACING\n", "TRACES ACCUMULATING\n"}) {
    SCOPED_TRACE(configuration);
    writeFile(directory.file("td.conf"), configuration);
    Reports reports;
    EpisodeRewarder learner(directory.file("td.conf"), LOOP_IN_TWO_STATES, true);
    EXPECT_EQ(learner.learn(1), Weights({0.0, 0.0, 0.0}));
    EXPECT_EQ(reports.errors(), messages({"episodeIndexHistorySet is empty! Did you forget to set "
                                          "ValueFunction::episodeStateHistory to true?"}));
  }
}
