// Runs the programs of the examples as a user would.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/ActionNeuralNetwork.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/Files.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using Words = std::vector<std::string>;

const int STEERING_SIGNALS[] = {SIGINT, SIGTERM, SIGUSR1};

const unsigned int LONGEST_RUN = 120;  // seconds

/// What a program printed and how it ended.
struct Outcome {
  int exitCode;
  std::string out;
  std::string err;
};

void redirect(int descriptor, const std::string& fileName) {
  const int file = open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || dup2(file, descriptor) < 0) {
    _exit(126);
  }
}

sigset_t steeringSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : STEERING_SIGNALS) {
    sigaddset(&signals, signal);
  }
  return signals;
}

[[noreturn]] void become(const std::string& program, Words words) {
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  execv(program.c_str(), arguments.data());
  _exit(127);
}

/// A folder in which programs run.
class Examples : public ::testing::Test {
 protected:
  /// Runs a program in the folder. The signals are pending from its first instruction on, so the
  /// learner meets them after its first step.
  Outcome run(const std::string& name, const Words& arguments,
              const std::vector<int>& signals = {}) {
    const std::string program = std::string(EXAMPLES_DIRECTORY) + "/" + name;
    Words words = {program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const std::string out = outputs.file("out");
    const std::string err = outputs.file("err");
    const pid_t child = fork();
    if (child == 0) {
      redirect(STDOUT_FILENO, out);
      redirect(STDERR_FILENO, err);
      const sigset_t steering = steeringSignals();
      if (chdir(file("").c_str()) != 0 || sigprocmask(SIG_BLOCK, &steering, nullptr) != 0) {
        _exit(125);
      }
      for (const int signal : signals) {
        raise(signal);
      }
      // A program that misses its signal fails the test instead of holding it up.
      alarm(LONGEST_RUN);
      become(program, words);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
    return {WEXITSTATUS(status), readFile(out), readFile(err)};
  }

  std::string file(const std::string& name) const { return folder.file(name); }

  Words filesInFolder() const {
    Words names;
    for (const auto& entry : std::filesystem::directory_iterator(file(""))) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  TemporaryDirectory folder;
  TemporaryDirectory outputs;
};

/// What holds for each of the programs.
class EveryExample : public Examples, public ::testing::WithParamInterface<std::string> {
 protected:
  Outcome run(const Words& arguments, const std::vector<int>& signals = {}) {
    return Examples::run(GetParam(), arguments, signals);
  }
};

Words linesOf(const std::string& text) {
  Words lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The part of a text that follows one phrase and ends before another.
std::string between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t from = text.find(begin);
  const std::size_t to = from == std::string::npos ? from : text.find(end, from + begin.size());
  EXPECT_NE(to, std::string::npos) << begin << " ... " << end << " is not in\n" << text;
  return to == std::string::npos ? "" : text.substr(from + begin.size(), to - from - begin.size());
}

/// A row of a CSV file of the grid programs, where all returns are whole numbers.
struct Row {
  int episode;
  int steps;
  int totalReward;
};

std::vector<Row> rowsOf(const std::string& csv) {
  std::vector<Row> rows;
  const Words lines = linesOf(csv);
  for (std::size_t i = 1; i < lines.size(); ++i) {
    Row row{};
    char comma = 0;
    std::istringstream line(lines[i]);
    line >> row.episode >> comma >> row.steps >> comma >> row.totalReward;
    EXPECT_TRUE(line && line.peek() == EOF) << lines[i];
    rows.push_back(row);
  }
  return rows;
}

std::string pathLearnt(const Outcome& outcome) {
  return between(outcome.out, "The greedy path after learning:", "steps, the optimum is");
}

std::string pathLoaded(const Outcome& outcome) {
  return between(outcome.out, "The greedy path by the values in kept:", "steps, the optimum is");
}

/// The number that a program prints for a figure.
std::string figure(const Outcome& outcome, const std::string& name) {
  return between(outcome.out, name + ": ", "\n");
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Programs, EveryExample,
                         ::testing::Values("random_walk", "windy_gridworld", "cliff_walking",
                                           "continuous_random_walk", "mountain_car", "cart_pole",
                                           "acrobot", "pendulum", "network_random_walk",
                                           "network_one_action", "pole_forecast"),
                         [](const auto& program) { return program.param; });

TEST_P(EveryExample, LearnsWithoutAnyOption) {
  const Outcome outcome = run({});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(filesInFolder(), ::testing::IsEmpty());
}

TEST_P(EveryExample, WritesARowOfTheCsvFileForEveryEpisode) {
  EXPECT_EQ(run({"--episodes", "3", "--csv", "log"}).exitCode, 0);
  const Words lines = linesOf(readFile(file("log")));
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "episode,steps,return");
  EXPECT_THAT(lines[1], StartsWith("1,"));
  EXPECT_THAT(lines[2], StartsWith("2,"));
  EXPECT_THAT(lines[3], StartsWith("3,"));
}

TEST_P(EveryExample, RepeatsItselfWithTheSameSeed) {
  run({"--seed", "7", "--csv", "first", "--save", "firstValues"});
  run({"--seed", "7", "--csv", "second", "--save", "secondValues"});
  EXPECT_EQ(readFile(file("first")), readFile(file("second")));
  EXPECT_EQ(readFile(file("firstValues")), readFile(file("secondValues")));
}

TEST_P(EveryExample, LearnsOtherwiseWithAnotherSeed) {
  run({"--seed", "7", "--csv", "first"});
  run({"--seed", "8", "--csv", "second"});
  EXPECT_NE(readFile(file("first")), readFile(file("second")));
}

TEST_P(EveryExample, TheLastOfRepeatedOptionsCounts) {
  EXPECT_EQ(run({"--episodes", "9", "--csv", "log", "--episodes", "2"}).exitCode, 0);
  EXPECT_EQ(linesOf(readFile(file("log"))).size(), 3u);
}

TEST_P(EveryExample, ReportsEveryEpisodeOnlyWhenVerbose) {
  const std::string report = "Function: finishEpisode";
  EXPECT_THAT(run({"--episodes", "2"}).out, Not(HasSubstr(report)));
  const Outcome verbose = run({"--episodes", "2", "--verbose"});
  EXPECT_THAT(verbose.out, HasSubstr(report));
  EXPECT_THAT(verbose.out, HasSubstr("episode = 1  steps = "));
  EXPECT_THAT(verbose.out, HasSubstr("episode = 2  steps = "));
}

TEST_P(EveryExample, ListsItsOptions) {
  const Outcome outcome = run({"--help"});
  EXPECT_EQ(outcome.exitCode, 0);
  for (const char* option : {"--config FILE", "--episodes N", "--seed N", "--runs N", "--save FILE",
                             "--load FILE", "--csv FILE", "--verbose"}) {
    EXPECT_THAT(outcome.out, HasSubstr(option));
  }
}

TEST_P(EveryExample, RefusesAConfigurationThatIsNotThereAndDoesNotCreateIt) {
  const Outcome outcome = run({"--config", "none.conf"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr(GetParam() + ": can not read the configuration file "
                                                  "'none.conf': No such file or directory\n"));
  EXPECT_THAT(outcome.err,
              HasSubstr("--config; the sources have examples/" + GetParam() + "/" + GetParam()));
  EXPECT_THAT(filesInFolder(), ::testing::IsEmpty());
}

TEST_P(EveryExample, RefusesAFolderAsConfiguration) {
  const Outcome outcome = run({"--config", "."});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("'.': Is a directory"));
}

TEST_P(EveryExample, LearnsByTheConfigurationThatItIsGiven) {
  writeFile(file("still.conf"), "ALPHA 0\nACTION_SELECTION GREEDY\nTRACES NONE\n");
  EXPECT_EQ(run({"--config", "still.conf", "--episodes", "1", "--save", "one"}).exitCode, 0);
  EXPECT_EQ(run({"--config", "still.conf", "--episodes", "2", "--save", "two"}).exitCode, 0);
  EXPECT_EQ(readFile(file("one")), readFile(file("two")));
  EXPECT_EQ(readFile(file("still.conf")), "ALPHA 0\nACTION_SELECTION GREEDY\nTRACES NONE\n");
}

TEST_P(EveryExample, RefusesWrongOptionsWithAMessage) {
  const std::vector<Words> wrong = {{"--bogus"},          {"--episodes", "-1"}, {"--episodes", "x"},
                                    {"--episodes"},       {"--seed", "-1"},     {"--seed", "x"},
                                    {"--runs", "0"},      {"--runs", "-1"},     {"surplus"},
                                    {"--episodes", "1.5"}};
  for (const Words& options : wrong) {
    const Outcome outcome = run(options);
    EXPECT_EQ(outcome.exitCode, 1) << options[0];
    EXPECT_EQ(outcome.out, "") << options[0];
    EXPECT_THAT(outcome.err, StartsWith(GetParam() + ": "));
    EXPECT_THAT(outcome.err, HasSubstr(options[0]));
  }
}

TEST_P(EveryExample, RefusesFilesForManyRuns) {
  for (const char* option : {"--save", "--load", "--csv"}) {
    const Outcome outcome = run({"--runs", "2", option, "kept"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("are for a single run"));
  }
  EXPECT_THAT(filesInFolder(), ::testing::IsEmpty());
}

TEST_P(EveryExample, RefusesManyRunsWithoutEnd) {
  const Outcome outcome = run({"--runs", "2", "--episodes", "0"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("--runs needs a number of --episodes above 0"));
}

TEST_P(EveryExample, ReportsValuesThatCanNotBeSaved) {
  for (const std::string place : {"nowhere/kept", "/dev/full"}) {
    const Outcome outcome = run({"--episodes", "1", "--save", place});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("can not save the values to '" + place + "'"));
  }
}

TEST_P(EveryExample, ReportsACsvFileThatCanNotBeCreated) {
  const Outcome outcome = run({"--episodes", "1", "--csv", "nowhere/log"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, "can not write 'nowhere/log': No such file or directory\n");
}

TEST_P(EveryExample, ReportsACsvFileThatDoesNotFitOnTheDisk) {
  // A few rows meet the full disk when the file is closed, many while it learns.
  for (const char* episodes : {"1", "3000"}) {
    const Outcome outcome = run({"--episodes", episodes, "--csv", "/dev/full"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.err, "can not write '/dev/full': No space left on device\n");
  }
}

TEST_P(EveryExample, ReportsValuesThatAreNotThere) {
  const Outcome outcome = run({"--load", "kept"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("can not load values from 'kept'"));
}

TEST_P(EveryExample, ReportsValuesThatAreCutShort) {
  run({"--episodes", "1", "--save", "kept"});
  const std::string content = readFile(file("kept"));
  writeFile(file("kept"), content.substr(0, content.size() - 1));
  const Outcome outcome = run({"--load", "kept"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("can not load values from 'kept'"));
}

TEST_P(EveryExample, RefusesTheValuesOfAnotherExample) {
  const std::string other = GetParam() == "cliff_walking" ? "windy_gridworld" : "cliff_walking";
  Examples::run(other, {"--episodes", "1", "--save", "kept"});
  const Outcome outcome = run({"--load", "kept"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("'kept' holds the values of another state"));
}

TEST_P(EveryExample, SigTermEndsAnEndlessRunAfterTheEpisode) {
  const Outcome outcome = run({"--episodes", "0", "--csv", "log", "--save", "kept"}, {SIGTERM});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("SIGTERM received"));
  EXPECT_EQ(linesOf(readFile(file("log"))).size(), 2u);
  EXPECT_THAT(filesInFolder(), ::testing::ElementsAre("kept", "log"));
}

TEST_P(EveryExample, SigIntEndsAnEndlessRunAfterTheStepAndTheCutEpisodeIsNotLogged) {
  const Outcome outcome = run({"--episodes", "0", "--csv", "log", "--save", "kept"}, {SIGINT});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("SIGINT received"));
  EXPECT_EQ(readFile(file("log")), "episode,steps,return\n");
  EXPECT_THAT(filesInFolder(), ::testing::ElementsAre("kept", "log"));
}

TEST_P(EveryExample, AnEndlessRunSaysHowToSteerIt) {
  const Outcome outcome = run({"--episodes", "0"}, {SIGTERM});
  const std::string pid = between(outcome.out, "Process ", " learns with ");
  EXPECT_THAT(outcome.out, HasSubstr(" && kill -USR1 " + pid + "\n"));
  EXPECT_THAT(outcome.out, HasSubstr(" kill -TERM " + pid + "\n"));
  EXPECT_THAT(outcome.out, HasSubstr("Ctrl-C"));
}

TEST_P(EveryExample, ManyRunsEndWithTheFirstSignal) {
  const Outcome outcome = run({"--runs", "1000000", "--episodes", "1"}, {SIGTERM});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, GetParam() + ": stopped in run 1\n");
}

TEST_P(EveryExample, ReadsTheConfigurationAgainOnSigUsr1) {
  const Outcome outcome = run({"--episodes", "1"}, {SIGUSR1});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("SIGUSR1 received --> load configuration"));
}

TEST_F(Examples, WindyGridworldFindsTheShortestWay) {
  const Outcome outcome = run("windy_gridworld", {"--seed", "1"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("15 steps, the optimum is 15."));
  EXPECT_THAT(outcome.out, HasSubstr("    S > > > . . . G . v\n"));
  EXPECT_THAT(outcome.out, HasSubstr("    0 0 0 1 1 1 2 2 1 0 "));
}

TEST_F(Examples, CliffWalkingFindsTheBestWay) {
  const Outcome outcome = run("cliff_walking", {"--seed", "1"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("    . . . . . . . . . . . .\n"
                                     "    . . . . . . . . . . . .\n"
                                     "    > > > > > > > > > > > v\n"
                                     "    S C C C C C C C C C C G\n"
                                     "\n13 steps, the optimum is 13.\n"));
}

TEST_F(Examples, SarsaLearnsOtherwiseThanWatkins) {
  run("windy_gridworld", {"--learner", "watkins", "--csv", "watkins"});
  run("windy_gridworld", {"--learner", "sarsa", "--csv", "sarsa"});
  EXPECT_NE(readFile(file("watkins")), readFile(file("sarsa")));
}

TEST_F(Examples, AnUnknownLearnerIsRefused) {
  const Outcome outcome = run("cliff_walking", {"--learner", "dqn"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("--learner"));
}

TEST_F(Examples, AGridProgramWalksTheSamePathByTheValuesThatItLoads) {
  for (const char* program : {"windy_gridworld", "cliff_walking"}) {
    const Outcome saved = run(program, {"--save", "kept"});
    EXPECT_EQ(saved.exitCode, 0);
    EXPECT_THAT(saved.out, HasSubstr("the same path"));
    const Outcome loaded = run(program, {"--load", "kept", "--episodes", "1"});
    EXPECT_EQ(loaded.exitCode, 0);
    EXPECT_EQ(pathLoaded(loaded), pathLearnt(saved));
  }
}

TEST_F(Examples, AGridProgramGoesOnFromTheValuesThatItLoads) {
  run("windy_gridworld", {"--save", "kept"});
  EXPECT_EQ(run("windy_gridworld", {"--load", "kept", "--episodes", "1", "--csv", "log"}).exitCode,
            0);
  // The first episode from nothing takes hundreds of steps.
  const std::vector<Row> rows = rowsOf(readFile(file("log")));
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_LT(rows[0].steps, 100);
}

TEST_F(Examples, AGridProgramRefusesTheValuesOfOtherActions) {
  run("windy_gridworld", {"--episodes", "1", "--save", "kept"});
  std::string content = readFile(file("kept"));
  // The number of actions follows the state: two counts, and of each variable its name's length,
  // its name and the two ends of its range.
  const std::size_t place = 8 + (4 + 3 + 8) + (4 + 6 + 8);
  ASSERT_EQ(content[place], 4);
  content[place] = 3;
  writeFile(file("kept"), content);
  const Outcome outcome = run("windy_gridworld", {"--load", "kept"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, "'kept' holds the values of other actions\n");
}

TEST_F(Examples, AGreedyPathThatGoesInCirclesIsBrokenOff) {
  const Outcome outcome = run("windy_gridworld", {"--episodes", "0"}, {SIGINT});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("The goal is not reached yet: more episodes may help."));
}

TEST_F(Examples, TheReturnOfAGridEpisodeIsTheSumOfItsRewards) {
  run("windy_gridworld", {"--csv", "log"});
  const std::vector<Row> windy = rowsOf(readFile(file("log")));
  ASSERT_EQ(windy.size(), 500u);
  for (const Row& row : windy) {
    EXPECT_EQ(row.totalReward, -row.steps) << "episode " << row.episode;
  }
  run("cliff_walking", {"--csv", "log"});
  const std::vector<Row> cliff = rowsOf(readFile(file("log")));
  ASSERT_EQ(cliff.size(), 500u);
  for (const Row& row : cliff) {
    // A step off the cliff costs 99 more than another.
    EXPECT_LE(row.totalReward, -row.steps) << "episode " << row.episode;
    EXPECT_EQ((row.totalReward + row.steps) % 99, 0) << "episode " << row.episode;
  }
}

TEST_F(Examples, AGridProgramAveragesOverTheSeedsThatFollow) {
  std::vector<double> steps;
  for (const char* seed : {"5", "6"}) {
    run("cliff_walking", {"--seed", seed, "--csv", "log"});
    const std::vector<Row> rows = rowsOf(readFile(file("log")));
    ASSERT_EQ(rows.size(), 500u);
    double sum = 0.0;
    for (std::size_t i = 400; i < 500; ++i) {
      sum += rows[i].steps;
    }
    steps.push_back(sum / 100.0);
  }
  std::istringstream averaged(figure(run("cliff_walking", {"--seed", "5", "--runs", "2"}),
                                     "steps per episode, last 100 episodes"));
  double mean = 0.0;
  double error = 0.0;
  std::string sign;
  averaged >> mean >> sign >> error;
  // Four digits of the mean are printed, and two of the error: half the difference of two numbers.
  EXPECT_NEAR(mean, (steps[0] + steps[1]) / 2.0, 0.01);
  EXPECT_NEAR(error, std::abs(steps[0] - steps[1]) / 2.0, 0.01);
  EXPECT_GT(std::abs(steps[0] - steps[1]), 0.1);
}

TEST_F(Examples, AGridProgramCountsTheOptimalPathsOfItsRuns) {
  const Outcome outcome = run("windy_gridworld", {"--runs", "3"});
  EXPECT_THAT(outcome.out, HasSubstr("  15 steps in 3 of 3 runs\n"));
  EXPECT_EQ(figure(outcome, "share of optimal greedy paths"), "1 +- 0 (1 .. 1)");
  const Outcome unlearnt = run("windy_gridworld", {"--runs", "3", "--episodes", "1"});
  EXPECT_THAT(unlearnt.out, HasSubstr("  not reaching the goal in 3 of 3 runs\n"));
  EXPECT_EQ(figure(unlearnt, "share of optimal greedy paths"), "0 +- 0 (0 .. 0)");
}

TEST_F(Examples, WindyGridworldCountsTheEpisodesWithin8000Steps) {
  run("windy_gridworld", {"--csv", "log"});
  int steps = 0;
  int episodes = 0;
  for (const Row& row : rowsOf(readFile(file("log")))) {
    steps += row.steps;
    episodes += steps <= 8000 ? 1 : 0;
  }
  ASSERT_GT(steps, 8000);
  const Outcome outcome = run("windy_gridworld", {"--runs", "2"});
  const std::string ends = between(figure(outcome, "episodes within 8000 steps"), "(", ")");
  // The first of the two runs is the run above.
  EXPECT_THAT(ends, ::testing::AnyOf(StartsWith(std::to_string(episodes) + " .. "),
                                     ::testing::EndsWith(" .. " + std::to_string(episodes))));
}

TEST_F(Examples, RunsThatAreTooShortDoNotTellTheEpisodesWithin8000Steps) {
  const Outcome outcome = run("windy_gridworld", {"--runs", "2", "--episodes", "3"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, Not(HasSubstr("episodes within")));
}

TEST_F(Examples, RandomWalkStartsWithTheKnownErrors) {
  EXPECT_EQ(figure(run("random_walk", {}), "RMS error after 0 episodes"), "0.2357");
  // The root of the mean of (k / 10)^2 for k from -9 to 9 is the root of 0.3.
  EXPECT_EQ(figure(run("random_walk", {"--states", "19"}), "RMS error after 0 episodes"), "0.5477");
}

TEST_F(Examples, RandomWalkReportsOnlyEpisodesThatItHasSeen) {
  const Outcome outcome = run("random_walk", {"--episodes", "9"});
  EXPECT_THAT(outcome.out, HasSubstr("RMS error after 0 episodes: "));
  EXPECT_THAT(outcome.out, Not(HasSubstr("10 episodes: ")));
  EXPECT_THAT(run("random_walk", {"--episodes", "10"}).out, HasSubstr("after 10 episodes: "));
}

TEST_F(Examples, RandomWalkGoesOnFromTheValuesThatItLoads) {
  const Outcome saved = run("random_walk", {"--episodes", "10", "--save", "kept"});
  const Outcome loaded = run("random_walk", {"--episodes", "1", "--load", "kept"});
  EXPECT_EQ(loaded.exitCode, 0);
  EXPECT_EQ(figure(loaded, "RMS error after 0 episodes"),
            figure(saved, "RMS error after 10 episodes"));
}

TEST_F(Examples, RandomWalkAveragesOverTheSeedsThatFollow) {
  const std::string name = "RMS error after 10 episodes";
  double sum = 0.0;
  Words figures;
  for (const char* seed : {"5", "6", "7"}) {
    figures.push_back(figure(run("random_walk", {"--seed", seed}), name));
    sum += std::stod(figures.back());
  }
  const std::string averaged = figure(run("random_walk", {"--seed", "5", "--runs", "3"}), name);
  // Four digits are printed.
  EXPECT_NEAR(std::stod(averaged), sum / 3.0, 0.0001);
  const auto [smallest, largest] = std::minmax_element(figures.begin(), figures.end());
  EXPECT_THAT(averaged, HasSubstr(" (" + *smallest + " .. " + *largest + ")"));
}

TEST_F(Examples, RandomWalkPrefersItsOptionsToTheConfiguration) {
  writeFile(file("loud.conf"), "ALPHA 0.5\nLAMBDA 0.9\nGAMMA 1\nTRACES REPLACING\n");
  const Words options = {"--alpha", "0.1", "--lambda", "0", "--traces", "accumulating"};
  run("random_walk", {"--save", "usual"});
  Words withOptions = {"--config", "loud.conf", "--save", "same"};
  withOptions.insert(withOptions.end(), options.begin(), options.end());
  run("random_walk", withOptions);
  EXPECT_EQ(readFile(file("same")), readFile(file("usual")));
}

TEST_F(Examples, RandomWalkPrefersItsOptionsAlsoAfterSigUsr1) {
  run("random_walk", {"--alpha", "0", "--episodes", "1", "--save", "untouched"});
  const Outcome outcome = run("random_walk", {"--alpha", "0", "--save", "kept"}, {SIGUSR1});
  EXPECT_THAT(outcome.out, HasSubstr("SIGUSR1 received"));
  EXPECT_EQ(readFile(file("kept")), readFile(file("untouched")));
}

TEST_F(Examples, MountainCarExploresAsItsOptionSays) {
  const std::string steps = "steps per episode, first 20 episodes";
  const Words never = {"--episodes", "20", "--runs", "2", "--epsilon", "0"};
  const Words always = {"--episodes", "20", "--runs", "2", "--epsilon", "1"};
  EXPECT_LT(std::stod(figure(run("mountain_car", never), steps)), 1000.0);
  // An agent that only moves at random hardly ever gets out of the valley within 5,000 steps.
  EXPECT_GT(std::stod(figure(run("mountain_car", always), steps)), 4000.0);
}

TEST_F(Examples, MountainCarRefusesWhatIsNoProbability) {
  for (const char* epsilon : {"-0.1", "1.1", "x"}) {
    const Outcome outcome = run("mountain_car", {"--epsilon", epsilon});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr("--epsilon"));
  }
}

TEST_F(Examples, RandomWalkKnowsThreeKindsOfTraces) {
  const Words walk = {"--states", "19", "--lambda", "0.8", "--episodes", "10"};
  Words figures;
  for (const char* traces : {"none", "replacing", "accumulating"}) {
    Words options = walk;
    options.insert(options.end(), {"--traces", traces});
    figures.push_back(figure(run("random_walk", options), "RMS error after 10 episodes"));
  }
  EXPECT_NE(figures[0], figures[1]);
  EXPECT_NE(figures[0], figures[2]);
  EXPECT_NE(figures[1], figures[2]);
}

TEST_F(Examples, RandomWalkRefusesWalksAndTracesThatItDoesNotKnow) {
  const std::vector<Words> wrong = {
      {"--states", "7"}, {"--traces", "some"}, {"--alpha", "x"}, {"--lambda", "x"}};
  for (const Words& options : wrong) {
    const Outcome outcome = run("random_walk", options);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.err, HasSubstr(options[0]));
  }
}

TEST_F(Examples, RandomWalkSurvivesValuesThatAreNoNumbers) {
  const Outcome outcome =
      run("random_walk", {"--alpha", "1e300", "--lambda", "1", "--episodes", "20"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("nan"));
}

TEST_F(Examples, APredictionProgramGoesOnFromTheValuesThatItLoads) {
  for (const char* program :
       {"continuous_random_walk", "network_random_walk", "network_one_action", "pole_forecast"}) {
    const Outcome saved = run(program, {"--episodes", "100", "--save", "kept"});
    EXPECT_EQ(saved.exitCode, 0);
    EXPECT_THAT(saved.out, HasSubstr("A second agent with the values from this file predicts the "
                                     "same."));
    const Outcome loaded = run(program, {"--episodes", "1", "--load", "kept"});
    EXPECT_EQ(loaded.exitCode, 0);
    EXPECT_EQ(figure(loaded, "RMS error after 0 episodes"),
              figure(saved, "RMS error after 100 episodes"))
        << program;
  }
}

TEST_F(Examples, NetworkRandomWalkComesNearTheTrueValues) {
  const Outcome outcome = run("network_random_walk", {"--runs", "5"});
  EXPECT_GT(std::stod(figure(outcome, "RMS error after 0 episodes")), 0.2);
  EXPECT_LT(std::stod(figure(outcome, "RMS error after 2000 episodes")), 0.08);
}

TEST_F(Examples, NetworkRandomWalkKnowsOneKindOfTraces) {
  for (const char* traces : {"none", "replacing", "accumulating"}) {
    EXPECT_EQ(run("network_random_walk", {"--episodes", "20", "--traces", traces, "--save", traces})
                  .exitCode,
              0);
  }
  EXPECT_EQ(readFile(file("replacing")), readFile(file("accumulating")));
  EXPECT_NE(readFile(file("none")), readFile(file("accumulating")));
}

TEST_F(Examples, NetworkRandomWalkWithoutTracesIsNotTheSameAsWithLambda0) {
  run("network_random_walk", {"--episodes", "20", "--traces", "none", "--save", "none"});
  run("network_random_walk", {"--episodes", "20", "--lambda", "0", "--save", "zero"});
  EXPECT_NE(readFile(file("none")), readFile(file("zero")));
}

TEST_F(Examples, NetworkRandomWalkWithoutTracesLosesWhatItHasLearnt) {
  const Outcome outcome = run("network_random_walk", {"--runs", "5", "--traces", "none"});
  EXPECT_LT(std::stod(figure(outcome, "RMS error after 500 episodes")), 0.1);
  EXPECT_GT(std::stod(figure(outcome, "RMS error after 2000 episodes")), 0.25);
}

TEST_F(Examples, NetworkOneActionLearnsTheSameByBothGreedyLearners) {
  run("network_one_action", {"--learner", "sarsa", "--save", "sarsa"});
  run("network_one_action", {"--learner", "watkins", "--save", "watkins"});
  EXPECT_EQ(readFile(file("sarsa")), readFile(file("watkins")));
  EXPECT_LT(std::stod(figure(run("network_one_action", {"--runs", "5"}),
                             "RMS error after 2000 episodes")),
            0.08);
}

TEST_F(Examples, NetworkOneActionLearnsNothingFromWatkinsExploration) {
  const Words watkins = {"--learner", "watkins", "--episodes", "20"};
  const auto saved = [&](const Words& more) {
    Words options = watkins;
    options.insert(options.end(), more.begin(), more.end());
    EXPECT_EQ(run("network_one_action", options).exitCode, 0);
    return readFile(file("kept"));
  };
  const std::string untouched = saved({"--alpha", "0", "--save", "kept"});
  EXPECT_EQ(saved({"--epsilon", "1", "--save", "kept"}), untouched);
  EXPECT_NE(saved({"--epsilon", "0", "--save", "kept"}), untouched);
  EXPECT_NE(saved({"--epsilon", "1", "--learner", "sarsa", "--save", "kept"}), untouched);
}

TEST_F(Examples, NetworkOneActionShowsThatASecondActionHasNoValue) {
  const Outcome outcome = run("network_one_action", {"--second-action"});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr(", of a second: 0.000\n"));
  EXPECT_EQ(linesOf(outcome.err).size(), 1u);
  EXPECT_THAT(outcome.err, HasSubstr("outputIndex out of Bounds --> 0 <= 1 < 1"));
}

TEST_F(Examples, NetworkOneActionRefusesTheValuesOfOtherActions) {
  State* const state = new State;
  state->registerVariable("position from the middle", -0.5, 0.5);
  ActionNeuralNetwork network(state, 10);
  network.registerAction(new AbstractAction);
  network.registerAction(new AbstractAction);
  network.create();
  ASSERT_EQ(network.save(file("kept")), 0);
  const Outcome outcome = run("network_one_action", {"--load", "kept"});
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.err, "'kept' holds the values of other actions\n");
}

TEST_F(Examples, PoleForecastIsMuchBetterThanTheBestConstant) {
  const Outcome outcome = run("pole_forecast", {});
  EXPECT_EQ(outcome.exitCode, 0);
  const double constant = std::stod(figure(outcome, "RMS error of the best constant forecast"));
  EXPECT_LT(std::stod(figure(outcome, "RMS error after 20000 episodes")), constant / 3.0);
}

TEST_F(Examples, PoleForecastSaysHowOftenThePoleStayedUp) {
  const Outcome outcome = run("pole_forecast", {});
  int starts = 0;
  double forecast = 0.0;
  double outcomes = 0.0;
  for (const std::string& line : linesOf(outcome.out)) {
    if (line.find("mean forecast ") != std::string::npos) {
      const int count = std::stoi(between(line + "\n", ", of ", "\n"));
      starts += count;
      forecast += count * std::stod(between(line, "mean forecast ", ","));
      outcomes += count * std::stod(between(line, "stayed up ", ","));
    }
  }
  EXPECT_EQ(starts, 5000);
  EXPECT_NEAR(forecast / starts, outcomes / starts, 0.1);
}
