#ifndef QUARNEL_TESTS_RECORDING_LEARNER_H
#define QUARNEL_TESTS_RECORDING_LEARNER_H

#include <gtest/gtest.h>
#include <quarnel/Quarnel.h>

#include <functional>
#include <string>
#include <vector>

#include "Reports.h"

/// A learner that learns nothing and writes down which of its operations run, in order. The
/// operations and the fields of the controller may be used from outside.
///
/// Episodes are as long as the test says, and learning stops after the episode that the test names.
class RecordingLearner : public Quarnel {
 public:
  explicit RecordingLearner(const std::string& fileName) : Quarnel(fileName) {}

  /// The names of the operations that have run.
  mutable std::vector<std::string> calls;

  bool hasValueFunction = true;
  int stepsOfAnEpisode = 1;
  int lastEpisode = 1;

  // What happens inside an operation, besides its being written down.
  std::function<void()> inInitEpisode = [] {};
  std::function<void()> inStep = [] {};
  std::function<void()> afterPoll = [] {};
  std::function<void()> inFinishEpisode = [] {};
  std::function<void()> inSigUsr1 = [] {};

  using Quarnel::installSignalHandler;
  using Quarnel::randomAction;
  using Quarnel::removeSignalHandler;

  using Quarnel::ACTION_SELECTION;
  using Quarnel::ALPHA;
  using Quarnel::confFileName;
  using Quarnel::continueEpisode;
  using Quarnel::continueLearning;
  using Quarnel::episodes;
  using Quarnel::EPSILON;
  using Quarnel::GAMMA;
  using Quarnel::LAMBDA;
  using Quarnel::newSigSet;
  using Quarnel::oldSigSet;
  using Quarnel::pendingSignals;
  using Quarnel::sigIntRcvd;
  using Quarnel::sigTermRcvd;
  using Quarnel::steps;
  using Quarnel::TEMPERATURE;
  using Quarnel::TRACE_VALUE;
  using Quarnel::TRACES;
  using Quarnel::value;

  void saveConf() const override {
    calls.emplace_back("saveConf");
    Quarnel::saveConf();
  }

  void loadConf() override {
    calls.emplace_back("loadConf");
    Quarnel::loadConf();
  }

  void initEpisode() override {
    calls.emplace_back("initEpisode");
    ++episodes;
    steps = 0;
    inInitEpisode();
  }

  void step() override {
    calls.emplace_back("step");
    ++steps;
    inStep();
    continueEpisode = steps < stepsOfAnEpisode;
  }

  void finishEpisode() override {
    calls.emplace_back("finishEpisode");
    Quarnel::finishEpisode();
    if (episodes >= lastEpisode) {
      continueLearning = false;
    }
    inFinishEpisode();
  }

  void setInitialState() override { calls.emplace_back("setInitialState"); }

  void takeAction() override { calls.emplace_back("takeAction"); }

  const bool observeState() override {
    calls.emplace_back("observeState");
    return true;
  }

  const double calculateReward() override {
    calls.emplace_back("calculateReward");
    return 0.0;
  }

  const bool checkValueFunction() const override {
    calls.emplace_back("checkValueFunction");
    return hasValueFunction;
  }

  void checkPendingSignals() override {
    calls.emplace_back("checkPendingSignals");
    Quarnel::checkPendingSignals();
    afterPoll();
  }

  void sigUsr1() override {
    calls.emplace_back("sigUsr1");
    Quarnel::sigUsr1();
    inSigUsr1();
  }

  void sigUsr2() override {
    calls.emplace_back("sigUsr2");
    Quarnel::sigUsr2();
  }

  void sigTerm() override {
    calls.emplace_back("sigTerm");
    Quarnel::sigTerm();
  }

  void sigInt() override {
    calls.emplace_back("sigInt");
    Quarnel::sigInt();
  }

  /// What has been written down since the last call of this.
  std::vector<std::string> takeCalls() {
    std::vector<std::string> taken;
    taken.swap(calls);
    return taken;
  }
};

/// The controller's reports as "sigInt: SIGINT received --> ...". One that names another class, or
/// no line, fails the test.
inline std::vector<std::string> saidIn(const std::vector<Report>& reports) {
  std::vector<std::string> list;
  for (const Report& report : reports) {
    EXPECT_EQ(report.file, "Quarnel");
    EXPECT_GT(report.line, 0);
    list.push_back(report.function + ": " + report.message);
  }
  return list;
}

#endif
