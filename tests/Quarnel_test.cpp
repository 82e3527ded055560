#include <gmock/gmock.h>
#include <quarnel/Quarnel.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/Draws.h"
#include "support/Files.h"
#include "support/RecordingLearner.h"
#include "support/Reports.h"

namespace {

// What a process hands to the kernel through write(), call by call, as long as a test asks for it.
std::vector<std::string>* writesPtr = nullptr;

}  // namespace

// Stands in for libc's in the whole process.
extern "C" ssize_t write(int file, const void* data, size_t size) {
  if (writesPtr != nullptr) {
    writesPtr->emplace_back(static_cast<const char*>(data), size);
  }
  return syscall(SYS_write, file, data, size);
}

namespace {

using ::testing::ElementsAre;

const char DEFAULT_CONFIGURATION[] =
    "ALPHA 0.1\n"
    "LAMBDA 0.5\n"
    "GAMMA 0.9\n"
    "ACTION_SELECTION GREEDY\n"
    "EPSILON 0.1\n"
    "TEMPERATURE 0.5\n"
    "TRACES REPLACING\n"
    "TRACE_VALUE 1\n";

// What the configuration file holds; the defaults unless changed.
struct Parameters {
  double ALPHA = 0.1;
  double LAMBDA = 0.5;
  double GAMMA = 0.9;
  ACTION_SELECTION_TYPE ACTION_SELECTION = GREEDY;
  double EPSILON = 0.1;
  double TEMPERATURE = 0.5;
  TRACE_TYPE TRACES = REPLACING;
  double TRACE_VALUE = 1.0;

  auto fields() const {
    return std::make_tuple(ALPHA, LAMBDA, GAMMA, static_cast<int>(ACTION_SELECTION), EPSILON,
                           TEMPERATURE, static_cast<int>(TRACES), TRACE_VALUE);
  }
};

bool operator==(const Parameters& a, const Parameters& b) { return a.fields() == b.fields(); }

std::ostream& operator<<(std::ostream& os, const Parameters& parameters) {
  return os << ::testing::PrintToString(parameters.fields());
}

Parameters parametersOf(const RecordingLearner& learner) {
  Parameters parameters;
  parameters.ALPHA = learner.ALPHA;
  parameters.LAMBDA = learner.LAMBDA;
  parameters.GAMMA = learner.GAMMA;
  parameters.ACTION_SELECTION = learner.ACTION_SELECTION;
  parameters.EPSILON = learner.EPSILON;
  parameters.TEMPERATURE = learner.TEMPERATURE;
  parameters.TRACES = learner.TRACES;
  parameters.TRACE_VALUE = learner.TRACE_VALUE;
  return parameters;
}

void setParameters(RecordingLearner& learner, const Parameters& parameters) {
  learner.ALPHA = parameters.ALPHA;
  learner.LAMBDA = parameters.LAMBDA;
  learner.GAMMA = parameters.GAMMA;
  learner.ACTION_SELECTION = parameters.ACTION_SELECTION;
  learner.EPSILON = parameters.EPSILON;
  learner.TEMPERATURE = parameters.TEMPERATURE;
  learner.TRACES = parameters.TRACES;
  learner.TRACE_VALUE = parameters.TRACE_VALUE;
}

class LearnerTest : public ::testing::Test {
 protected:
  // Writes the configuration file and builds a learner on it.
  RecordingLearner configured(const std::string& text) {
    writeFile(fileName, text);
    return RecordingLearner(fileName);
  }

  // The parameters of a learner that was built on a configuration file of this text.
  Parameters read(const std::string& text) { return parametersOf(configured(text)); }

  void expectSilence() {
    EXPECT_EQ(reports.errorText(), "");
    EXPECT_EQ(reports.informationText(), "");
  }

  TemporaryDirectory directory;
  const std::string fileName = directory.file("learner.conf");
  Reports reports;
};

// --- The class ---

TEST(Quarnel, IsAnAbstractClassToDeriveFrom) {
  EXPECT_TRUE(std::is_abstract_v<Quarnel>);
  EXPECT_TRUE(std::has_virtual_destructor_v<Quarnel>);
}

TEST(Quarnel, KindsOfTracesAreNumberedFromNoneOn) {
  EXPECT_EQ(static_cast<int>(NONE), 0);
  EXPECT_EQ(static_cast<int>(REPLACING), 1);
  EXPECT_EQ(static_cast<int>(ACCUMULATING), 2);
}

TEST(Quarnel, ActionSelectionsAreNumberedFromGreedyOn) {
  EXPECT_EQ(static_cast<int>(GREEDY), 0);
  EXPECT_EQ(static_cast<int>(EPSILON_GREEDY), 1);
  EXPECT_EQ(static_cast<int>(SOFTMAX), 2);
}

// --- Construction ---

class QuarnelConstruction : public LearnerTest {};

TEST_F(QuarnelConstruction, SetsTheParametersToTheirDefaults) {
  const RecordingLearner learner = configured("");
  EXPECT_EQ(learner.ALPHA, 0.1);
  EXPECT_EQ(learner.LAMBDA, 0.5);
  EXPECT_EQ(learner.GAMMA, 0.9);
  EXPECT_EQ(learner.EPSILON, 0.1);
  EXPECT_EQ(learner.TRACES, REPLACING);
  EXPECT_EQ(learner.TRACE_VALUE, 1.0);
  EXPECT_EQ(learner.ACTION_SELECTION, GREEDY);
  EXPECT_EQ(learner.TEMPERATURE, 0.5);
  expectSilence();
}

TEST_F(QuarnelConstruction, SetsFlagsAndCountersForAFreshStart) {
  const RecordingLearner learner = configured("");
  EXPECT_TRUE(learner.continueLearning);
  EXPECT_TRUE(learner.continueEpisode);
  EXPECT_FALSE(learner.sigTermRcvd);
  EXPECT_FALSE(learner.sigIntRcvd);
  EXPECT_EQ(learner.episodes, 0);
  EXPECT_EQ(learner.steps, 0);
  EXPECT_EQ(learner.value, 0.0);
}

TEST_F(QuarnelConstruction, KeepsTheNameOfTheConfigurationFile) {
  EXPECT_EQ(configured("").confFileName, fileName);
}

TEST_F(QuarnelConstruction, SeedsTheRandomGeneratorWithOne) {
  writeFile(fileName, "");
  std::srand(7);
  const RecordingLearner learner(fileName);
  const std::vector<int> numbers = {std::rand(), std::rand(), std::rand()};
  EXPECT_THAT(numbers, ElementsAre(draw(1, 0), draw(1, 1), draw(1, 2)));
}

TEST_F(QuarnelConstruction, OfASecondLearnerStartsTheRandomNumbersAgain) {
  const RecordingLearner first = configured("");
  std::rand();
  const RecordingLearner second(fileName);
  const int number = std::rand();
  EXPECT_EQ(number, draw(1, 0));
}

TEST_F(QuarnelConstruction, TheFileOverridesTheDefaultsItNames) {
  Parameters expected;
  expected.GAMMA = 0.25;
  expected.TRACES = NONE;
  EXPECT_EQ(read("GAMMA 0.25\nTRACES NONE\n"), expected);
}

TEST_F(QuarnelConstruction, CreatesAMissingFileWithTheDefaults) {
  const RecordingLearner learner(fileName);
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("loadConf: File (" + fileName + ") didn't exist --> create"));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_EQ(readFile(fileName), DEFAULT_CONFIGURATION);
  EXPECT_EQ(parametersOf(learner), Parameters());
}

TEST_F(QuarnelConstruction, WithAFileThatCanNotBeCreatedLeavesTheDefaults) {
  const std::string nowhere = directory.file("missing") + "/learner.conf";
  const RecordingLearner learner(nowhere);
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("loadConf: File (" + nowhere + ") didn't exist --> create",
                          "saveConf: Was not able to create file (" + nowhere + ")"));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_FALSE(std::filesystem::exists(directory.file("missing")));
  EXPECT_EQ(parametersOf(learner), Parameters());
}

TEST_F(QuarnelConstruction, AnEmptyFileNameIsAFileThatCanNotBeCreated) {
  const RecordingLearner learner("");
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("loadConf: File () didn't exist --> create",
                          "saveConf: Was not able to create file ()"));
  EXPECT_EQ(parametersOf(learner), Parameters());
}

TEST_F(QuarnelConstruction, ThroughAFileInsteadOfAFolderCanNotCreateTheFile) {
  writeFile(fileName, "ALPHA 0.3\n");
  const std::string inside = fileName + "/inside.conf";
  const RecordingLearner learner(inside);
  EXPECT_THAT(reports.information(), ElementsAre("File (" + inside + ") didn't exist --> create",
                                                 "Was not able to create file (" + inside + ")"));
  EXPECT_EQ(parametersOf(learner), Parameters());
}

// --- The loop ---

class QuarnelLoop : public LearnerTest {
 protected:
  QuarnelLoop() : learner(configured("")) {}

  // The operations that ran in one controlLoop().
  std::vector<std::string> run() {
    learner.takeCalls();
    learner.controlLoop();
    return learner.takeCalls();
  }

  RecordingLearner learner;
};

TEST_F(QuarnelLoop, WithoutAValueFunctionIsRefusedBeforeAnyHook) {
  learner.hasValueFunction = false;
  EXPECT_THAT(run(), ElementsAre("checkValueFunction"));
  EXPECT_THAT(saidIn(reports.takeErrors()),
              ElementsAre("controlLoop: valueFunctionPtr not set --> leave controlLoop !!!"));
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(QuarnelLoop, LooksForTheValueFunctionBeforeItsFlags) {
  learner.hasValueFunction = false;
  learner.continueLearning = false;
  learner.sigIntRcvd = true;
  run();
  EXPECT_THAT(reports.errors(), ElementsAre("valueFunctionPtr not set --> leave controlLoop !!!"));
}

TEST_F(QuarnelLoop, PollsAfterEveryStepAndNowhereElse) {
  learner.stepsOfAnEpisode = 2;
  learner.lastEpisode = 2;
  EXPECT_THAT(run(),
              ElementsAre("checkValueFunction",                                  //
                          "initEpisode", "step", "checkPendingSignals", "step",  //
                          "checkPendingSignals", "finishEpisode",                //
                          "initEpisode", "step", "checkPendingSignals", "step",  //
                          "checkPendingSignals", "finishEpisode"));
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("finishEpisode: episode = 1  steps = 2",
                          "finishEpisode: episode = 2  steps = 2"));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(QuarnelLoop, StartsNothingWhenLearningIsOver) {
  learner.continueLearning = false;
  EXPECT_THAT(run(), ElementsAre("checkValueFunction"));
  expectSilence();
}

TEST_F(QuarnelLoop, GoesOnWhenLearningIsTakenUpAgain) {
  run();
  learner.continueLearning = true;
  run();
  EXPECT_THAT(reports.information(),
              ElementsAre("episode = 1  steps = 1", "episode = 2  steps = 1"));
}

TEST_F(QuarnelLoop, EndsTheEpisodeInWhichLearningIsEndedFirst) {
  learner.stepsOfAnEpisode = 3;
  learner.lastEpisode = 9;
  learner.inStep = [this] { learner.continueLearning = false; };
  run();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 3"));
}

TEST_F(QuarnelLoop, RunsAnEpisodeThatEndedLearningAtItsStart) {
  learner.stepsOfAnEpisode = 2;
  learner.lastEpisode = 9;
  learner.inInitEpisode = [this] { learner.continueLearning = false; };
  run();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2"));
}

TEST_F(QuarnelLoop, DoesNotLetTheStartOfAnEpisodeEndIt) {
  bool seenInStep = false;
  learner.inInitEpisode = [this] { learner.continueEpisode = false; };
  learner.inStep = [&] { seenInStep = learner.continueEpisode; };
  run();
  EXPECT_TRUE(seenInStep);
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 1"));
}

TEST_F(QuarnelLoop, ReadsContinueEpisodeAfterThePoll) {
  learner.stepsOfAnEpisode = 9;
  learner.afterPoll = [this] { learner.continueEpisode = learner.steps < 2; };
  run();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2"));
}

TEST_F(QuarnelLoop, TakesNoStepAfterTheInterruptedOne) {
  learner.stepsOfAnEpisode = 9;
  learner.lastEpisode = 9;
  learner.afterPoll = [this] { learner.sigIntRcvd = learner.steps == 2; };
  EXPECT_THAT(run(),
              ElementsAre("checkValueFunction", "initEpisode", "step",  //
                          "checkPendingSignals", "step", "checkPendingSignals", "finishEpisode"));
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2"));
}

TEST_F(QuarnelLoop, PollsStillAfterAStepThatSetTheInterruptFlag) {
  learner.stepsOfAnEpisode = 9;
  learner.lastEpisode = 9;
  learner.inStep = [this] { learner.sigIntRcvd = true; };
  EXPECT_THAT(run(), ElementsAre("checkValueFunction", "initEpisode", "step", "checkPendingSignals",
                                 "finishEpisode"));
}

TEST_F(QuarnelLoop, InterruptedAtTheStartOfAnEpisodeFinishesItWithoutAStep) {
  learner.lastEpisode = 9;
  learner.inInitEpisode = [this] { learner.sigIntRcvd = true; };
  EXPECT_THAT(run(), ElementsAre("checkValueFunction", "initEpisode", "finishEpisode"));
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 0"));
}

TEST_F(QuarnelLoop, InterruptedInTheLastStepFinishesTheEpisodeOnce) {
  learner.stepsOfAnEpisode = 2;
  learner.lastEpisode = 9;
  learner.afterPoll = [this] { learner.sigIntRcvd = learner.steps == 2; };
  run();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2"));
}

TEST_F(QuarnelLoop, TerminatedInAnEpisodeRunsItToItsEnd) {
  learner.stepsOfAnEpisode = 4;
  learner.lastEpisode = 9;
  learner.inStep = [this] { learner.sigTermRcvd = true; };
  run();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 4"));
}

TEST_F(QuarnelLoop, TerminatedAtTheStartOfAnEpisodeRunsItToItsEnd) {
  learner.stepsOfAnEpisode = 2;
  learner.lastEpisode = 9;
  learner.inInitEpisode = [this] { learner.sigTermRcvd = true; };
  run();
  EXPECT_THAT(reports.information(), ElementsAre("episode = 1  steps = 2"));
}

TEST_F(QuarnelLoop, StoppedBySignalIsNotResumedByASecondCall) {
  for (bool RecordingLearner::*const flag :
       {&RecordingLearner::sigTermRcvd, &RecordingLearner::sigIntRcvd}) {
    learner.sigTermRcvd = false;
    learner.sigIntRcvd = false;
    learner.*flag = true;
    EXPECT_THAT(run(), ElementsAre("checkValueFunction"));
    EXPECT_TRUE(learner.*flag);
    EXPECT_TRUE(learner.continueLearning);
    expectSilence();
  }
}

TEST_F(QuarnelLoop, NeverClearsTheSignalFlags) {
  learner.inStep = [this] { learner.sigTermRcvd = learner.sigIntRcvd = true; };
  run();
  EXPECT_TRUE(learner.sigTermRcvd);
  EXPECT_TRUE(learner.sigIntRcvd);
}

TEST_F(QuarnelLoop, DoesNotReseedTheRandomGenerator) {
  learner.lastEpisode = 3;
  EXPECT_EQ(countDraws([this] { run(); }, 7), 0);
}

// --- The end of an episode ---

class QuarnelFinishEpisode : public LearnerTest {};

TEST_F(QuarnelFinishEpisode, TellsTheNumbersOfTheEpisodeAndItsSteps) {
  RecordingLearner learner = configured("");
  const std::pair<int, int> numbers[] = {
      {0, 0},
      {3, 17},
      {-1, -2},
      {std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}};
  for (const auto& [episodes, steps] : numbers) {
    learner.episodes = episodes;
    learner.steps = steps;
    learner.finishEpisode();
  }
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_THAT(
      saidIn(reports.takeInformation()),
      ElementsAre("finishEpisode: episode = 0  steps = 0", "finishEpisode: episode = 3  steps = 17",
                  "finishEpisode: episode = -1  steps = -2",
                  "finishEpisode: episode = 2147483647  steps = -2147483648"));
}

TEST_F(QuarnelFinishEpisode, ChangesNoField) {
  RecordingLearner learner = configured("");
  learner.lastEpisode = 9;
  learner.episodes = 3;
  learner.steps = 17;
  learner.value = 0.75;
  learner.finishEpisode();
  EXPECT_EQ(learner.episodes, 3);
  EXPECT_EQ(learner.steps, 17);
  EXPECT_EQ(learner.value, 0.75);
  EXPECT_TRUE(learner.continueLearning);
  EXPECT_TRUE(learner.continueEpisode);
  EXPECT_FALSE(learner.sigTermRcvd);
  EXPECT_FALSE(learner.sigIntRcvd);
  EXPECT_EQ(parametersOf(learner), Parameters());
}

// --- The exploration coin ---

class QuarnelRandomAction : public LearnerTest {
 protected:
  QuarnelRandomAction() : learner(configured("")) {}

  // How the coin falls for the first number of a seed.
  bool toss(double EPSILON, unsigned int seed) {
    learner.EPSILON = EPSILON;
    std::srand(seed);
    return learner.randomAction();
  }

  static double fraction(unsigned int seed) { return draw(seed, 0) / 2147483648.0; }

  RecordingLearner learner;
};

TEST_F(QuarnelRandomAction, IsFalseWhereEpsilonEqualsTheDrawnFraction) {
  for (unsigned int seed = 1; seed <= 1000; ++seed) {
    EXPECT_FALSE(toss(fraction(seed), seed)) << seed;
  }
}

TEST_F(QuarnelRandomAction, IsTrueWhereEpsilonIsTheNextNumberAboveTheDrawnFraction) {
  for (unsigned int seed = 1; seed <= 1000; ++seed) {
    EXPECT_TRUE(toss(std::nextafter(fraction(seed), 1.0), seed)) << seed;
  }
}

TEST_F(QuarnelRandomAction, NeverExploresWithEpsilonZeroOrLess) {
  for (unsigned int seed = 1; seed <= 1000; ++seed) {
    EXPECT_FALSE(toss(0.0, seed)) << seed;
    EXPECT_FALSE(toss(-0.5, seed)) << seed;
  }
}

TEST_F(QuarnelRandomAction, AlwaysExploresWithEpsilonOneOrMore) {
  for (unsigned int seed = 1; seed <= 1000; ++seed) {
    EXPECT_TRUE(toss(1.0, seed)) << seed;
    EXPECT_TRUE(toss(1.5, seed)) << seed;
  }
}

TEST_F(QuarnelRandomAction, NeverExploresWithAnEpsilonThatIsNoNumber) {
  EXPECT_FALSE(toss(std::numeric_limits<double>::quiet_NaN(), 1));
}

TEST_F(QuarnelRandomAction, DrawsOneNumberWhateverEpsilonIs) {
  for (const double EPSILON : {0.0, 0.1, 1.0, 2.0}) {
    learner.EPSILON = EPSILON;
    EXPECT_EQ(countDraws([this] { learner.randomAction(); }), 1) << EPSILON;
  }
}

TEST_F(QuarnelRandomAction, TakesTheNumbersInTheOrderOfTheStream) {
  learner.EPSILON = 0.5;
  std::vector<bool> tosses;
  std::srand(5);
  for (int i = 0; i < 20; ++i) {
    tosses.push_back(learner.randomAction());
  }
  for (int i = 0; i < 20; ++i) {
    // 2^30 is half of the generator's range.
    EXPECT_EQ(tosses[static_cast<std::size_t>(i)], draw(5, i) < 1073741824) << i;
  }
}

// --- Reading the configuration: the keys ---

class QuarnelLoadConf : public LearnerTest {
 protected:
  // Reads a file of this text over the parameters of a learner that already has some of its own.
  Parameters readOver(const Parameters& parameters, const std::string& text) {
    RecordingLearner learner = configured("");
    setParameters(learner, parameters);
    writeFile(fileName, text);
    learner.loadConf();
    return parametersOf(learner);
  }
};

TEST_F(QuarnelLoadConf, AlphaSetsTheStepSizeOnly) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("ALPHA 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, LambdaSetsTheTraceDecayOnly) {
  Parameters expected;
  expected.LAMBDA = 0.3;
  EXPECT_EQ(read("LAMBDA 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, GammaSetsTheDiscountFactorOnly) {
  Parameters expected;
  expected.GAMMA = 0.3;
  EXPECT_EQ(read("GAMMA 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, EpsilonSetsTheExplorationProbabilityOnly) {
  Parameters expected;
  expected.EPSILON = 0.3;
  EXPECT_EQ(read("EPSILON 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, TemperatureSetsTheSoftmaxTemperatureOnly) {
  Parameters expected;
  expected.TEMPERATURE = 0.3;
  EXPECT_EQ(read("TEMPERATURE 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, TraceValueSetsTheTraceValueOnly) {
  Parameters expected;
  expected.TRACE_VALUE = 0.3;
  EXPECT_EQ(read("TRACE_VALUE 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, ActionSelectionTakesItsThreeWords) {
  const std::pair<const char*, ACTION_SELECTION_TYPE> words[] = {
      {"GREEDY", GREEDY}, {"EPSILON_GREEDY", EPSILON_GREEDY}, {"SOFTMAX", SOFTMAX}};
  for (const auto& [word, selection] : words) {
    for (const ACTION_SELECTION_TYPE before : {GREEDY, EPSILON_GREEDY, SOFTMAX}) {
      Parameters expected;
      Parameters own;
      expected.ACTION_SELECTION = selection;
      own.ACTION_SELECTION = before;
      EXPECT_EQ(readOver(own, std::string("ACTION_SELECTION ") + word + "\n"), expected);
    }
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, TracesTakesItsThreeWords) {
  const std::pair<const char*, TRACE_TYPE> words[] = {
      {"REPLACING", REPLACING}, {"ACCUMULATING", ACCUMULATING}, {"NONE", NONE}};
  for (const auto& [word, traces] : words) {
    for (const TRACE_TYPE before : {REPLACING, ACCUMULATING, NONE}) {
      Parameters expected;
      Parameters own;
      expected.TRACES = traces;
      own.TRACES = before;
      EXPECT_EQ(readOver(own, std::string("TRACES ") + word + "\n"), expected);
    }
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, UnknownActionSelectionIsReportedAndChangesNothing) {
  Parameters own;
  own.ACTION_SELECTION = SOFTMAX;
  Parameters expected = own;
  expected.ALPHA = 0.3;
  for (const std::string word : {"RANDOM", "greedy", "GREEDY ", " GREEDY", "GREED", "GREEDYX",
                                 "EPSILON", "NONE", "0", "1", ""}) {
    EXPECT_EQ(readOver(own, "ACTION_SELECTION " + word + "\nALPHA 0.3\n"), expected) << word;
    EXPECT_THAT(saidIn(reports.takeErrors()),
                ElementsAre("loadConf: Unknown ActionSelection Algorithm " + word));
  }
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(QuarnelLoadConf, UnknownTracesAreReportedAndChangeNothing) {
  Parameters own;
  own.TRACES = ACCUMULATING;
  Parameters expected = own;
  expected.ALPHA = 0.3;
  for (const std::string word :
       {"SOME", "none", "NONE ", "NONE\t", " REPLACING", "NON", "NONEX", "GREEDY", "0", "1", ""}) {
    EXPECT_EQ(readOver(own, "TRACES " + word + "\nALPHA 0.3\n"), expected) << word;
    EXPECT_THAT(saidIn(reports.takeErrors()), ElementsAre("loadConf: Unknown Tracetype " + word));
  }
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(QuarnelLoadConf, OtherWordsAreIgnored) {
  for (const char* const word : {"alpha", "Alpha", "ALPH", "ALPHAS", "ALPHA=0.3", "ALPHA,",
                                 "XALPHA", "TRACE", "SELECTION", "EPISODES", "//", ";", "0.3"}) {
    EXPECT_EQ(read(std::string(word) + " 0.7\n"), Parameters()) << word;
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, KeysThatAreNotInTheFileKeepTheirCurrentValues) {
  Parameters own;
  own.ALPHA = 0.11;
  own.LAMBDA = 0.12;
  own.GAMMA = 0.13;
  own.ACTION_SELECTION = SOFTMAX;
  own.EPSILON = 0.14;
  own.TEMPERATURE = 0.15;
  own.TRACES = ACCUMULATING;
  own.TRACE_VALUE = 0.16;
  Parameters expected = own;
  expected.GAMMA = 0.7;
  EXPECT_EQ(readOver(own, "GAMMA 0.7\n"), expected);
  EXPECT_EQ(readOver(own, ""), own);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AKeyThatOccursTwiceTakesItsLastValue) {
  Parameters expected;
  expected.ALPHA = 0.4;
  expected.TRACES = NONE;
  EXPECT_EQ(read("ALPHA 0.3\nTRACES ACCUMULATING\nTRACES NONE\nALPHA 0.4\n"), expected);
}

TEST_F(QuarnelLoadConf, TheOrderOfTheKeysIsFree) {
  Parameters expected;
  expected.ALPHA = 0.01;
  expected.LAMBDA = 0.02;
  expected.GAMMA = 0.03;
  expected.ACTION_SELECTION = EPSILON_GREEDY;
  expected.EPSILON = 0.04;
  expected.TEMPERATURE = 0.05;
  expected.TRACES = ACCUMULATING;
  expected.TRACE_VALUE = 0.06;
  EXPECT_EQ(read("TRACE_VALUE 0.06\n"
                 "TRACES ACCUMULATING\n"
                 "TEMPERATURE 0.05\n"
                 "EPSILON 0.04\n"
                 "ACTION_SELECTION EPSILON_GREEDY\n"
                 "GAMMA 0.03\n"
                 "LAMBDA 0.02\n"
                 "ALPHA 0.01\n"),
            expected);
  expectSilence();
}

// --- Reading the configuration: numbers ---

TEST_F(QuarnelLoadConf, NumbersAreWhatStrtodMakesOfTheText) {
  const std::pair<const char*, double> numbers[] = {
      {"0.3", 0.3},    {"7", 7.0},        {"-0.25", -0.25}, {"+.5", 0.5},
      {"2.", 2.0},     {"3e-2", 0.03},    {"1E2", 100.0},   {"0x1p-2", 0.25},
      {"0.3abc", 0.3}, {"0.3 0.4", 0.3},  {"0.3\r", 0.3},   {"0.3 # a comment", 0.3},
      {" 0.3", 0.3},   {"\t 0.3", 0.3},   {"0,3", 0.0},     {"1.5.5", 1.5},
      {"1e-400", 0.0}, {"5e-324", 5e-324}};
  for (const auto& [text, number] : numbers) {
    EXPECT_EQ(read(std::string("ALPHA ") + text + "\n").ALPHA, number) << text;
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, NumbersBeyondTheRangeAreInfinite) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(read("ALPHA 1e400\n").ALPHA, infinity);
  EXPECT_EQ(read("ALPHA -1e400\n").ALPHA, -infinity);
  EXPECT_EQ(read("ALPHA inf\n").ALPHA, infinity);
  expectSilence();
}

TEST_F(QuarnelLoadConf, NanIsANumberOfItsOwn) {
  EXPECT_TRUE(std::isnan(read("ALPHA nan\n").ALPHA));
  expectSilence();
}

TEST_F(QuarnelLoadConf, TextThatIsNoNumberIsZero) {
  for (const char* const text : {"abc", "=0.3", "= 0.3", "-", ".", "", " ", "#0.3"}) {
    Parameters expected;
    expected.GAMMA = 0.0;
    EXPECT_EQ(read(std::string("GAMMA ") + text + "\n"), expected) << text;
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, EveryKeyOfANumberTakesTextThatIsNoNumberForZero) {
  Parameters expected;
  expected.ALPHA = 0.0;
  expected.LAMBDA = 0.0;
  expected.GAMMA = 0.0;
  expected.EPSILON = 0.0;
  expected.TEMPERATURE = 0.0;
  expected.TRACE_VALUE = 0.0;
  EXPECT_EQ(read("ALPHA x\nLAMBDA x\nGAMMA x\nEPSILON x\nTEMPERATURE x\nTRACE_VALUE x\n"),
            expected);
  expectSilence();
}

// --- Reading the configuration: key and separator ---

TEST_F(QuarnelLoadConf, ASecondBlankBeforeANumberDoesNoHarm) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("ALPHA  0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, ASecondBlankBeforeAWordBelongsToTheWord) {
  Parameters own;
  own.TRACES = NONE;
  EXPECT_EQ(readOver(own, "TRACES  REPLACING\n"), own);
  EXPECT_THAT(reports.errors(), ElementsAre("Unknown Tracetype  REPLACING"));
}

TEST_F(QuarnelLoadConf, ATabSeparatesAsWellAsABlank) {
  Parameters expected;
  expected.ALPHA = 0.3;
  expected.TRACES = NONE;
  EXPECT_EQ(read("ALPHA\t0.3\nTRACES\tNONE\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AnEqualsSignAfterABlankIsPartOfTheValue) {
  Parameters expected;
  expected.ALPHA = 0.0;
  EXPECT_EQ(read("ALPHA = 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AnEqualsSignWithoutABlankMakesAnUnknownWord) {
  EXPECT_EQ(read("ALPHA=0.3\n"), Parameters());
  expectSilence();
}

TEST_F(QuarnelLoadConf, AWordAloneInItsLineTakesTheNextLineAsItsValue) {
  // The newline is the one separator, so the rest of a line is that of the next one.
  Parameters expected;
  expected.LAMBDA = 0.2;
  EXPECT_EQ(read("ALPHA=0.3\nGAMMA 0.5\nLAMBDA 0.2\n"), expected);
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("ALPHA\n0.3\nLAMBDA 0.2\n"), expected);
  expected.ALPHA = 0.0;
  EXPECT_EQ(read("ALPHA\nGAMMA 0.5\nLAMBDA 0.2\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AnUnknownWordAloneInItsLineHidesACommentOrAnIndentedLine) {
  Parameters expected;
  expected.LAMBDA = 0.2;
  EXPECT_EQ(read("OTHER\n# GAMMA\nLAMBDA 0.2\n"), expected);
  EXPECT_EQ(read("OTHER\n GAMMA 0.5\nLAMBDA 0.2\n"), expected);
  expectSilence();
}

// --- Reading the configuration: the end of the file ---

TEST_F(QuarnelLoadConf, TheLastLineNeedsNoNewline) {
  Parameters expected;
  expected.ALPHA = 0.3;
  expected.TRACES = NONE;
  EXPECT_EQ(read("ALPHA 0.3\nTRACES NONE"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AnEmptyFileChangesNothing) {
  EXPECT_EQ(read(""), Parameters());
  expectSilence();
  EXPECT_EQ(readFile(fileName), "");
}

TEST_F(QuarnelLoadConf, AKeyOfANumberAtTheEndOfTheFileHasAnEmptyValue) {
  for (const char* const text : {"GAMMA", "GAMMA ", "GAMMA\n", "GAMMA \n"}) {
    Parameters expected;
    expected.GAMMA = 0.0;
    EXPECT_EQ(read(text), expected) << text;
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, AKeyOfAWordAtTheEndOfTheFileHasAnEmptyValue) {
  for (const char* const text : {"TRACES", "TRACES ", "TRACES\n", "TRACES \n"}) {
    EXPECT_EQ(read(text), Parameters()) << text;
    EXPECT_THAT(reports.errors(), ElementsAre("Unknown Tracetype ")) << text;
  }
  for (const char* const text : {"ACTION_SELECTION", "ACTION_SELECTION\n"}) {
    EXPECT_EQ(read(text), Parameters()) << text;
    EXPECT_THAT(reports.errors(), ElementsAre("Unknown ActionSelection Algorithm ")) << text;
  }
}

TEST_F(QuarnelLoadConf, AValueDoesNotComeFromTheLineBefore) {
  Parameters expected;
  expected.ALPHA = 0.3;
  expected.GAMMA = 0.0;
  EXPECT_EQ(read("ALPHA 0.3\nGAMMA"), expected);
}

TEST_F(QuarnelLoadConf, BlankLinesAtTheEndChangeNothing) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("ALPHA 0.3\n\n\n"), expected);
  EXPECT_EQ(read("\n"), Parameters());
  EXPECT_EQ(read("\n \n\t"), Parameters());
  expectSilence();
}

// --- Reading the configuration: comments, indented and blank lines ---

TEST_F(QuarnelLoadConf, ACommentIsDropped) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("#GAMMA 0.5\n# LAMBDA 0.5\n#\n##\nALPHA 0.3\n#TRACES NONE"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AnIndentedLineIsReportedAndSkipped) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read(" GAMMA 0.5\n\tTRACES NONE\nALPHA 0.3\n   # \n"), expected);
  EXPECT_THAT(saidIn(reports.takeErrors()),
              ElementsAre("loadConf: spaces at begin of line:  GAMMA 0.5",
                          "loadConf: spaces at begin of line: \tTRACES NONE",
                          "loadConf: spaces at begin of line:    # "));
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(QuarnelLoadConf, ALineOfWhiteSpaceIsAnIndentedLine) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read(" \n\t\t\nALPHA 0.3\n "), expected);
  EXPECT_THAT(reports.errors(),
              ElementsAre("spaces at begin of line:  ", "spaces at begin of line: \t\t",
                          "spaces at begin of line:  "));
}

TEST_F(QuarnelLoadConf, AfterABlankLineTheNextLineIsReadEvenIfItIsIndented) {
  Parameters expected;
  expected.GAMMA = 0.5;
  expected.LAMBDA = 0.25;
  EXPECT_EQ(read("\nGAMMA 0.5\n\n\n  \n\t LAMBDA 0.25\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AfterABlankLineACommentIsAnUnknownWord) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("\n#GAMMA 0.5\nALPHA 0.3\n"), expected);
  EXPECT_EQ(read("\n# GAMMA 0.5\nALPHA 0.3\n"), expected);
  // A comment of one word has no value, so the next line is taken for it.
  EXPECT_EQ(read("\n#\nGAMMA 0.5\nALPHA 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, OtherWhiteSpaceAtTheStartOfALineIsSkipped) {
  Parameters expected;
  expected.GAMMA = 0.5;
  for (const char* const text :
       {"\rGAMMA 0.5\n", "\vGAMMA 0.5\n", "\f GAMMA 0.5\n", "\r\n\tGAMMA 0.5\n"}) {
    EXPECT_EQ(read(text), expected);
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, ACarriageReturnDoesNoHarmBehindANumber) {
  Parameters expected;
  expected.ALPHA = 0.3;
  expected.GAMMA = 0.5;
  EXPECT_EQ(read("ALPHA 0.3\r\n\r\nGAMMA 0.5\r\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, ACarriageReturnMakesAWordUnknown) {
  EXPECT_EQ(read("TRACES NONE\r\nACTION_SELECTION SOFTMAX\r\n"), Parameters());
  EXPECT_THAT(
      reports.errorText(),
      ::testing::MatchesRegex("ERROR: File: Quarnel   Function: loadConf   Line: [0-9]+    --> "
                              "Unknown Tracetype NONE\r\n"
                              "ERROR: File: Quarnel   Function: loadConf   Line: [0-9]+    --> "
                              "Unknown ActionSelection Algorithm SOFTMAX\r\n"));
}

TEST_F(QuarnelLoadConf, ACarriageReturnRightBehindAKeyIsItsSeparator) {
  Parameters expected;
  expected.ALPHA = 0.0;
  expected.GAMMA = 0.5;
  EXPECT_EQ(read("ALPHA\r\nGAMMA 0.5\r\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, TheByteOfTheLargestValueIsNotTheEndOfTheFile) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read("\xff 0.5\nALPHA 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AZeroByteStartsAnUnknownWord) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read(std::string("\0GAMMA 0.5\nALPHA 0.3\n", 21)), expected);
  expectSilence();
}

// --- Reading the configuration: long lines ---

// A line has room for 511 characters; what follows a longer one is not read.
const std::size_t LINE_LENGTHS[] = {510, 511, 512, 513, 1024};

std::size_t readOf(std::size_t length) { return length < 511 ? length : 511; }

Parameters afterALineOf(std::size_t length, double ALPHA) {
  Parameters parameters;
  parameters.ALPHA = length <= 511 ? ALPHA : 0.1;
  return parameters;
}

TEST_F(QuarnelLoadConf, AValueHasRoomFor511Characters) {
  for (const std::size_t length : LINE_LENGTHS) {
    const std::string word(length, 'x');
    EXPECT_EQ(read("TRACES " + word + "\nALPHA 0.3\n"), afterALineOf(length, 0.3)) << length;
    EXPECT_THAT(reports.errors(),
                ElementsAre("Unknown Tracetype " + word.substr(0, readOf(length))))
        << length;
  }
  EXPECT_EQ(reports.informationText(), "");
}

TEST_F(QuarnelLoadConf, TheFirst511CharactersOfALongerNumberAreApplied) {
  for (const std::size_t length : LINE_LENGTHS) {
    // One digit is not 0: the 511th where there is one, the last otherwise.
    std::string digits(length, '0');
    digits[readOf(length) - 1] = '7';
    Parameters expected = afterALineOf(length, 0.3);
    expected.GAMMA = 7.0;
    EXPECT_EQ(read("GAMMA " + digits + "\nALPHA 0.3\n"), expected) << length;
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, The512thDigitOfANumberIsNotRead) {
  Parameters expected;
  expected.GAMMA = 7.0;
  EXPECT_EQ(read("GAMMA " + std::string(510, '0') + "75\n"), expected);
  EXPECT_EQ(read("GAMMA " + std::string(510, '0') + "75"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, AValueThatFillsTheLineMayEndTheFile) {
  Parameters expected;
  expected.GAMMA = 7.0;
  EXPECT_EQ(read("GAMMA " + std::string(510, '0') + "7"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, TheKeyDoesNotCountForTheLengthOfItsLine) {
  Parameters expected;
  expected.ALPHA = 0.3;
  EXPECT_EQ(read(std::string(5000, 'K') + " " + std::string(511, 'x') + "\nALPHA 0.3\n"), expected);
  expectSilence();
}

TEST_F(QuarnelLoadConf, ACommentHasRoomFor511Characters) {
  for (const std::size_t length : LINE_LENGTHS) {
    EXPECT_EQ(read("#" + std::string(length - 1, ' ') + "\nALPHA 0.3\n"), afterALineOf(length, 0.3))
        << length;
  }
  expectSilence();
}

TEST_F(QuarnelLoadConf, AnIndentedLineHasRoomFor511Characters) {
  for (const std::size_t length : LINE_LENGTHS) {
    const std::string line = "\t" + std::string(length - 1, 'x');
    EXPECT_EQ(read(line + "\nALPHA 0.3\n"), afterALineOf(length, 0.3)) << length;
    EXPECT_THAT(reports.errors(),
                ElementsAre("spaces at begin of line: " + line.substr(0, readOf(length))))
        << length;
  }
}

TEST_F(QuarnelLoadConf, AWordOfAMebibyteStopsTheReading) {
  const std::size_t limit = 1048576;
  Parameters before;
  before.GAMMA = 0.5;
  Parameters all = before;
  all.ALPHA = 0.3;
  const auto withWordOf = [](std::size_t length) {
    return "GAMMA 0.5\n" + std::string(length, 'K') + " 0.7\nALPHA 0.3\n";
  };

  EXPECT_EQ(read(withWordOf(limit - 1)), all);
  expectSilence();
  for (const std::size_t length : {limit, limit + 1}) {
    EXPECT_EQ(read(withWordOf(length)), before);
    EXPECT_THAT(saidIn(reports.takeErrors()),
                ElementsAre("loadConf: word of 1048576 characters or more in (" + fileName +
                            ") --> stop reading"));
  }
  EXPECT_EQ(reports.informationText(), "");
}

// --- Reading the configuration: files that are none ---

TEST_F(QuarnelLoadConf, AFolderHasNothingToReadAndIsNotCreated) {
  const RecordingLearner learner(directory.file(""));
  expectSilence();
  EXPECT_EQ(parametersOf(learner), Parameters());
}

TEST_F(QuarnelLoadConf, ADeviceThatNeverEndsAWordIsLeft) {
  const RecordingLearner learner("/dev/full");
  EXPECT_THAT(reports.errors(),
              ElementsAre("word of 1048576 characters or more in (/dev/full) --> stop reading"));
  EXPECT_EQ(reports.informationText(), "");
  EXPECT_EQ(parametersOf(learner), Parameters());
}

TEST_F(QuarnelLoadConf, TheEmptyDeviceChangesNothing) {
  const RecordingLearner learner("/dev/null");
  expectSilence();
  EXPECT_EQ(parametersOf(learner), Parameters());
}

TEST_F(QuarnelLoadConf, ReadsTheFileAnewEachTime) {
  RecordingLearner learner = configured("ALPHA 0.3\n");
  writeFile(fileName, "ALPHA 0.4\n");
  learner.loadConf();
  EXPECT_EQ(learner.ALPHA, 0.4);
}

TEST_F(QuarnelLoadConf, ReadsTheFileThatIsNamedNow) {
  RecordingLearner learner = configured("ALPHA 0.3\n");
  writeFile(directory.file("other"), "ALPHA 0.4\n");
  learner.confFileName = directory.file("other");
  learner.loadConf();
  EXPECT_EQ(learner.ALPHA, 0.4);
}

TEST_F(QuarnelLoadConf, LeavesTheFileAsItIs) {
  const std::string text = "# mine\nALPHA 0.3\nOTHER x\n";
  read(text);
  EXPECT_EQ(readFile(fileName), text);
}

TEST_F(QuarnelLoadConf, ChangesNoFlagAndNoCounter) {
  RecordingLearner learner = configured("");
  learner.continueLearning = false;
  learner.continueEpisode = false;
  learner.sigTermRcvd = true;
  learner.sigIntRcvd = true;
  learner.episodes = 3;
  learner.steps = 4;
  learner.value = 0.75;
  writeFile(fileName, DEFAULT_CONFIGURATION);
  EXPECT_EQ(countDraws([&learner] { learner.loadConf(); }, 7), 0);
  EXPECT_FALSE(learner.continueLearning);
  EXPECT_FALSE(learner.continueEpisode);
  EXPECT_TRUE(learner.sigTermRcvd);
  EXPECT_TRUE(learner.sigIntRcvd);
  EXPECT_EQ(learner.episodes, 3);
  EXPECT_EQ(learner.steps, 4);
  EXPECT_EQ(learner.value, 0.75);
}

TEST_F(QuarnelLoadConf, CreatesAMissingFileWithTheCurrentValues) {
  RecordingLearner learner = configured("");
  learner.ALPHA = 0.75;
  std::filesystem::remove(fileName);
  learner.loadConf();
  EXPECT_EQ(readFile(fileName),
            "ALPHA 0.75\n"
            "LAMBDA 0.5\n"
            "GAMMA 0.9\n"
            "ACTION_SELECTION GREEDY\n"
            "EPSILON 0.1\n"
            "TEMPERATURE 0.5\n"
            "TRACES REPLACING\n"
            "TRACE_VALUE 1\n");
  EXPECT_EQ(learner.ALPHA, 0.75);
}

TEST_F(QuarnelLoadConf, CreatesAMissingFileThroughTheOverriddenSaveConf) {
  class Silent : public RecordingLearner {
   public:
    using RecordingLearner::RecordingLearner;
    void saveConf() const override { calls.emplace_back("saveConf of the application"); }
  };
  writeFile(fileName, "");
  Silent learner(fileName);
  std::filesystem::remove(fileName);
  learner.loadConf();
  EXPECT_THAT(learner.calls, ElementsAre("loadConf", "saveConf of the application"));
  EXPECT_THAT(reports.information(),
              ElementsAre("File (" + fileName + ") didn't exist --> create"));
  EXPECT_FALSE(std::filesystem::exists(fileName));
}

TEST_F(QuarnelLoadConf, SavesNothingWhereTheFileIsThere) {
  RecordingLearner learner = configured("ALPHA 0.3\n");
  learner.loadConf();
  EXPECT_THAT(learner.calls, ElementsAre("loadConf"));
}

// --- Writing the configuration ---

class QuarnelSaveConf : public LearnerTest {
 protected:
  QuarnelSaveConf() : learner(configured("")) {}

  // The file that is written with this value of ALPHA and otherwise the defaults, without the rest.
  std::string savedAlpha(double ALPHA) {
    learner.ALPHA = ALPHA;
    learner.saveConf();
    const std::string text = readFile(fileName);
    return text.substr(0, text.find('\n'));
  }

  // A line of the written file, from 0.
  std::string savedLine(int number) {
    learner.saveConf();
    std::istringstream text(readFile(fileName));
    std::string line;
    for (int i = 0; i <= number; ++i) {
      std::getline(text, line);
    }
    return line;
  }

  RecordingLearner learner;
};

TEST_F(QuarnelSaveConf, WritesEachParameterToItsLine) {
  Parameters own;
  own.ALPHA = 0.01;
  own.LAMBDA = 0.02;
  own.GAMMA = 0.03;
  own.ACTION_SELECTION = EPSILON_GREEDY;
  own.EPSILON = 0.04;
  own.TEMPERATURE = 0.05;
  own.TRACES = ACCUMULATING;
  own.TRACE_VALUE = 0.06;
  setParameters(learner, own);
  learner.saveConf();
  EXPECT_EQ(readFile(fileName),
            "ALPHA 0.01\n"
            "LAMBDA 0.02\n"
            "GAMMA 0.03\n"
            "ACTION_SELECTION EPSILON_GREEDY\n"
            "EPSILON 0.04\n"
            "TEMPERATURE 0.05\n"
            "TRACES ACCUMULATING\n"
            "TRACE_VALUE 0.06\n");
  EXPECT_EQ(parametersOf(learner), own);
  expectSilence();
}

TEST_F(QuarnelSaveConf, WritesTheDefaultsOfAFreshLearner) {
  learner.saveConf();
  EXPECT_EQ(readFile(fileName), DEFAULT_CONFIGURATION);
  expectSilence();
}

TEST_F(QuarnelSaveConf, WritesNumbersToSixSignificantDigits) {
  const std::pair<double, const char*> numbers[] = {
      {0.1, "0.1"},
      {1.0, "1"},
      {0.0, "0"},
      {-0.5, "-0.5"},
      {0.00001, "1e-05"},
      {0.0001, "0.0001"},
      {0.000123456789, "0.000123457"},
      {0.123456789, "0.123457"},
      {0.12345649, "0.123456"},
      {0.9999994, "0.999999"},
      {0.9999996, "1"},
      {123456.0, "123456"},
      {999999.0, "999999"},
      {999999.5, "1e+06"},
      {1000000.0, "1e+06"},
      {1234567.0, "1.23457e+06"},
      {std::numeric_limits<double>::max(), "1.79769e+308"},
      {std::numeric_limits<double>::denorm_min(), "4.94066e-324"},
      {std::numeric_limits<double>::infinity(), "inf"},
      {std::numeric_limits<double>::quiet_NaN(), "nan"}};
  for (const auto& [number, text] : numbers) {
    EXPECT_EQ(savedAlpha(number), std::string("ALPHA ") + text);
  }
}

TEST_F(QuarnelSaveConf, WritesEveryNumberInTheSameForm) {
  Parameters own;
  own.ALPHA = own.LAMBDA = own.GAMMA = own.EPSILON = own.TEMPERATURE = own.TRACE_VALUE =
      0.123456789;
  setParameters(learner, own);
  learner.saveConf();
  EXPECT_EQ(readFile(fileName),
            "ALPHA 0.123457\n"
            "LAMBDA 0.123457\n"
            "GAMMA 0.123457\n"
            "ACTION_SELECTION GREEDY\n"
            "EPSILON 0.123457\n"
            "TEMPERATURE 0.123457\n"
            "TRACES REPLACING\n"
            "TRACE_VALUE 0.123457\n");
}

TEST_F(QuarnelSaveConf, WritesTheWordOfEachActionSelection) {
  const std::pair<ACTION_SELECTION_TYPE, const char*> words[] = {
      {GREEDY, "GREEDY"}, {EPSILON_GREEDY, "EPSILON_GREEDY"}, {SOFTMAX, "SOFTMAX"}};
  for (const auto& [selection, word] : words) {
    learner.ACTION_SELECTION = selection;
    EXPECT_EQ(savedLine(3), std::string("ACTION_SELECTION ") + word);
  }
}

TEST_F(QuarnelSaveConf, WritesAnUnknownActionSelectionAsSoftmax) {
  for (const int number :
       {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    learner.ACTION_SELECTION = static_cast<ACTION_SELECTION_TYPE>(number);
    EXPECT_EQ(savedLine(3), "ACTION_SELECTION SOFTMAX") << number;
  }
  expectSilence();
}

TEST_F(QuarnelSaveConf, WritesTheWordOfEachKindOfTraces) {
  const std::pair<TRACE_TYPE, const char*> words[] = {
      {REPLACING, "REPLACING"}, {ACCUMULATING, "ACCUMULATING"}, {NONE, "NONE"}};
  for (const auto& [traces, word] : words) {
    learner.TRACES = traces;
    EXPECT_EQ(savedLine(6), std::string("TRACES ") + word);
  }
}

TEST_F(QuarnelSaveConf, WritesAnUnknownKindOfTracesAsNone) {
  for (const int number :
       {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    learner.TRACES = static_cast<TRACE_TYPE>(number);
    EXPECT_EQ(savedLine(6), "TRACES NONE") << number;
  }
  expectSilence();
}

TEST_F(QuarnelSaveConf, HandsOverEachLineByItself) {
  // A reader, or a crash, finds whole lines.
  std::vector<std::string> writes;
  writesPtr = &writes;
  learner.saveConf();
  writesPtr = nullptr;
  EXPECT_THAT(writes, ElementsAre("ALPHA 0.1\n", "LAMBDA 0.5\n", "GAMMA 0.9\n",
                                  "ACTION_SELECTION GREEDY\n", "EPSILON 0.1\n", "TEMPERATURE 0.5\n",
                                  "TRACES REPLACING\n", "TRACE_VALUE 1\n"));
}

TEST_F(QuarnelSaveConf, ReplacesWhatTheFileHeld) {
  writeFile(fileName, "# a comment of mine\n" + std::string(5000, 'x') + "\n");
  learner.saveConf();
  EXPECT_EQ(readFile(fileName), DEFAULT_CONFIGURATION);
}

TEST_F(QuarnelSaveConf, WritesToTheFileThatIsNamedNow) {
  learner.confFileName = directory.file("other");
  learner.saveConf();
  EXPECT_EQ(readFile(directory.file("other")), DEFAULT_CONFIGURATION);
  EXPECT_EQ(readFile(fileName), "");
}

TEST_F(QuarnelSaveConf, ReportsAFileThatCanNotBeCreated) {
  learner.confFileName = directory.file("missing") + "/learner.conf";
  learner.saveConf();
  EXPECT_THAT(saidIn(reports.takeInformation()),
              ElementsAre("saveConf: Was not able to create file (" + learner.confFileName + ")"));
  EXPECT_EQ(reports.errorText(), "");
  EXPECT_FALSE(std::filesystem::exists(directory.file("missing")));
}

TEST_F(QuarnelSaveConf, ReportsAFolderAsAFileThatCanNotBeCreated) {
  learner.confFileName = directory.file("");
  learner.saveConf();
  EXPECT_THAT(reports.information(),
              ElementsAre("Was not able to create file (" + directory.file("") + ")"));
  EXPECT_EQ(reports.errorText(), "");
}

TEST_F(QuarnelSaveConf, SaysNothingOfAFullDisk) {
  learner.confFileName = "/dev/full";
  learner.saveConf();
  expectSilence();
}

TEST_F(QuarnelSaveConf, IsReadBackToSixSignificantDigits) {
  Parameters own;
  own.ALPHA = 0.123456789;
  own.LAMBDA = 1234567.0;
  own.GAMMA = 0.00001;
  own.ACTION_SELECTION = SOFTMAX;
  own.EPSILON = 0.999999;
  own.TEMPERATURE = 1.0 / 3.0;
  own.TRACES = NONE;
  own.TRACE_VALUE = -0.25;
  setParameters(learner, own);
  learner.saveConf();

  Parameters expected = own;
  expected.ALPHA = 0.123457;
  expected.LAMBDA = 1234570.0;
  expected.TEMPERATURE = 0.333333;
  EXPECT_EQ(parametersOf(RecordingLearner(fileName)), expected);
  expectSilence();
}

TEST_F(QuarnelSaveConf, AndLoadConfKeepEveryPairOfWords) {
  for (const ACTION_SELECTION_TYPE selection : {GREEDY, EPSILON_GREEDY, SOFTMAX}) {
    for (const TRACE_TYPE traces : {NONE, REPLACING, ACCUMULATING}) {
      learner.ACTION_SELECTION = selection;
      learner.TRACES = traces;
      learner.saveConf();
      EXPECT_EQ(parametersOf(RecordingLearner(fileName)), parametersOf(learner));
    }
  }
  expectSilence();
}

}  // namespace
