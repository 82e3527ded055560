#ifndef QUARNEL_TESTS_RECORDING_VALUE_FUNCTIONS_H
#define QUARNEL_TESTS_RECORDING_VALUE_FUNCTIONS_H

#include <gtest/gtest.h>
#include <quarnel/ActionValueFunction.h>
#include <quarnel/StateValueFunction.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "OpenLearner.h"
#include "Reports.h"

using Calls = std::vector<std::string>;

/// Numbers as the log shows them; the shortest text that reads back as the same double.
inline std::string shown(double number) {
  char text[32] = "";
  for (int digits = 1; digits <= 17; ++digits) {
    std::snprintf(text, sizeof(text), "%.*g", digits, number);
    if (std::strtod(text, nullptr) == number) {
      break;
    }
  }
  return text;
}
inline std::string shown(int number) { return std::to_string(number); }
inline std::string shown(bool flag) { return flag ? "true" : "false"; }
inline std::string shown(const std::string& text) { return text; }

/// A call as the log shows it: `call("updateWeights", 0.5, 2.0)` is "updateWeights(0.5, 2)".
template <typename... Arguments>
std::string call(const std::string& operation, const Arguments&... arguments) {
  std::string list;
  ((list += (list.empty() ? "" : ", ") + shown(arguments)), ...);
  return operation + "(" + list + ")";
}

/// The calls that a learner makes to its value function and its hooks, in their order. A result
/// follows its call: "observeState() -> true".
class CallLog {
 public:
  void add(const std::string& entry) {
    entries.push_back(entry);
    if (onCall) {
      onCall(entry);
    }
  }

  /// The calls since the last call of this.
  Calls take() {
    Calls taken;
    taken.swap(entries);
    return taken;
  }

  /// Runs during every call, when the log already shows it.
  std::function<void(const std::string&)> onCall;

 private:
  Calls entries;
};

/// The next of the results that a test has laid down for an operation.
template <typename Result>
Result nextOf(std::deque<Result>& script, const std::string& operation) {
  if (script.empty()) {
    ADD_FAILURE() << "no result is laid down for a call of " << operation;
    return Result();
  }
  const Result result = script.front();
  script.pop_front();
  return result;
}

/// What the recording value functions of states and of actions have in common.
template <typename Interface>
class RecordingValueFunction : public Interface {
 public:
  explicit RecordingValueFunction(CallLog& callLog) : Interface(nullptr), log(callLog) {}
  ~RecordingValueFunction() override { log.add("delete"); }

  void initWeights(const double (* /*initFunctionPtr*/)()) override { log.add("initWeights()"); }
  void initEligibilityTraces() override { log.add("initEligibilityTraces()"); }
  void updateWeights(double ALPHA, double DELTA) override {
    log.add(call("updateWeights", ALPHA, DELTA));
  }
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override {
    log.add(call("updateEligibilityTraces", GAMMA, LAMBDA));
  }
  void accumulatingTraces(double VALUE) override { log.add(call("accumulatingTraces", VALUE)); }
  void replacingTraces(double VALUE) override { log.add(call("replacingTraces", VALUE)); }
  void checkWeightLimit() override { log.add("checkWeightLimit()"); }
  const double getMinWeight() const override { return logged("getMinWeight()"); }
  const double getAvgWeight(bool abs) const override { return logged(call("getAvgWeight", abs)); }
  const double getMaxWeight() const override { return logged("getMaxWeight()"); }
  void setState() override { log.add("setState()"); }
  void storeState() override { log.add("storeState()"); }
  void initEpisodeStateHistory() override { log.add("initEpisodeStateHistory()"); }
  void valueEpisode(double amount) override { log.add(call("valueEpisode", amount)); }
  const int save(const std::string& name) const override { return logged(call("save", name)); }
  const int load(const std::string& name) override { return logged(call("load", name)); }

 protected:
  const int save(FILE* /*file*/) const override { return logged("save(FILE*)"); }
  const int load(FILE* /*file*/) override { return logged("load(FILE*)"); }

  int logged(const std::string& entry) const {
    log.add(entry);
    return 0;
  }

  CallLog& log;
};

/// A state-value function that learns nothing: it logs every call and gives the results that a test
/// has laid down.
class RecordingStateValueFunction : public RecordingValueFunction<StateValueFunction> {
 public:
  using RecordingValueFunction::RecordingValueFunction;

  /// The results of `getStateValue()`, call by call.
  mutable std::deque<double> stateValues;

  const double getStateValue() const override {
    const double result = nextOf(stateValues, "getStateValue");
    log.add(call("getStateValue") + " -> " + shown(result));
    return result;
  }

  const bool isUsedUp() const { return stateValues.empty(); }
};

/// An action-value function that learns nothing: it logs every call and gives the results that a
/// test has laid down.
class RecordingActionValueFunction : public RecordingValueFunction<ActionValueFunction> {
 public:
  using RecordingValueFunction::RecordingValueFunction;

  /// What a selection chooses: the index, and the value that the selection returns for it.
  struct Choice {
    int index;
    double value;
  };

  /// The choices of the selections, whichever they are, call by call.
  std::deque<Choice> choices;

  /// The results of `getActionValue()`, call by call.
  mutable std::deque<double> readValues;

  void registerAction(const AbstractAction* /*actionPtr*/) override { log.add("registerAction()"); }
  void unregisterAction(const AbstractAction* /*actionPtr*/) override {
    log.add("unregisterAction(pointer)");
  }
  void unregisterAction(int index) override { log.add(call("unregisterAction", index)); }
  void setAction(int index, const AbstractAction* /*actionPtr*/) override {
    log.add(call("setAction", index));
  }
  const double setGreedyActionIndex() override { return choose(call("setGreedyActionIndex")); }
  const double setRandomActionIndex() override { return choose(call("setRandomActionIndex")); }
  const double setSoftMaxActionIndex(double TEMPERATURE) override {
    return choose(call("setSoftMaxActionIndex", TEMPERATURE));
  }
  const double getActionValue(int index) const override {
    const double result = nextOf(readValues, "getActionValue");
    log.add(call("getActionValue", index) + " -> " + shown(result));
    return result;
  }

  const bool isUsedUp() const { return choices.empty() && readValues.empty(); }

 protected:
  void removeAction(int index) override { log.add(call("removeAction", index)); }

 private:
  double choose(const std::string& selection) {
    const Choice choice = nextOf(choices, selection);
    activeActionIndex = choice.index;
    log.add(selection + " -> " + shown(choice.value));
    return choice.value;
  }
};

/// A learner whose hooks, coin and signal poll log every call and give the results that a test has
/// laid down.
template <typename Learner>
class RecordingHooks : public OpenLearner<Learner> {
 public:
  RecordingHooks(const std::string& configuration, CallLog& callLog)
      : OpenLearner<Learner>(configuration), log(callLog) {}

  std::deque<bool> observations;   ///< The results of `observeState()`, call by call.
  std::deque<double> rewards;      ///< The results of `calculateReward()`, call by call.
  mutable std::deque<bool> coins;  ///< The results of `randomAction()`, call by call.

  const bool isUsedUp() const { return observations.empty() && rewards.empty() && coins.empty(); }

 protected:
  void setInitialState() override { log.add("setInitialState()"); }
  void takeAction() override { log.add("takeAction()"); }
  const bool observeState() override {
    const bool result = nextOf(observations, "observeState");
    log.add("observeState() -> " + shown(result));
    return result;
  }
  const double calculateReward() override {
    const double result = nextOf(rewards, "calculateReward");
    log.add("calculateReward() -> " + shown(result));
    return result;
  }
  const bool randomAction() const override {
    const bool result = nextOf(coins, "randomAction");
    log.add("randomAction() -> " + shown(result));
    return result;
  }
  void finishEpisode() override { log.add("finishEpisode()"); }
  void checkPendingSignals() override { log.add("checkPendingSignals()"); }

 private:
  CallLog& log;
};

/// A learner with recording hooks and without a value function.
template <typename Learner>
class WithoutValueFunction {
 public:
  WithoutValueFunction() : learner(configuration.fileName, log) {}

 private:
  EmptyConfiguration configuration;

 public:
  Reports reports;
  CallLog log;
  RecordingHooks<Learner> learner;

  /// The error reports since the last call of this, as "TD::step: Unknown Tracetype!".
  Calls errors() {
    Calls list;
    for (const Report& report : reports.takeErrors()) {
      EXPECT_GT(report.line, 0);
      list.push_back(report.file + "::" + report.function + ": " + report.message);
    }
    return list;
  }
};

/// A learner on a recording value function, with one log for both. At its end every result that was
/// laid down must have been asked for and every report must have been looked at.
template <typename Learner>
class Recording : public WithoutValueFunction<Learner> {
 public:
  using Values = std::conditional_t<OpenLearner<Learner>::LEARNS_STATES,
                                    RecordingStateValueFunction, RecordingActionValueFunction>;
  using WithoutValueFunction<Learner>::errors;
  using WithoutValueFunction<Learner>::learner;
  using WithoutValueFunction<Learner>::log;
  using WithoutValueFunction<Learner>::reports;

  Recording() : values(new Values(log)) { learner.valueFunction() = values; }

  ~Recording() {
    EXPECT_TRUE(learner.isUsedUp()) << "a hook was called less often than the test says";
    EXPECT_TRUE(values->isUsedUp()) << "a value was read less often than the test says";
    EXPECT_EQ(errors(), Calls()) << "unexpected report";
    EXPECT_EQ(reports.informationText(), "");
  }

  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  /// Starts an episode; the calls that it makes.
  Calls initEpisode() {
    learner.initEpisode();
    return log.take();
  }

  /// Takes a step; the calls that it makes.
  Calls step() {
    learner.step();
    return log.take();
  }

  Values* values;  ///< Owned by the learner.
};

#endif
