// Random walk
//
// Problem     A walker in a row of states steps to the left or to the right at random. How much
//             reward is to be expected from each state on?
// State       position: 1 .. 5 or 1 .. 19, and an end on either side. Walks start in the middle.
// Actions     None to learn: the agent goes left and right with equal probability.
// Reward      5 states: +1 at the right end, 0 otherwise. 19 states: +1 at the right end, -1 at the
//             left end, 0 otherwise.
// End         At either end.
// Parameters  random_walk.conf: TD(0), alpha .1, gamma 1; --alpha, --lambda and --traces replace
//             what it says. The values start at that of the middle state.
// Published   Sutton and Barto, Reinforcement Learning, 2nd edition. Example 6.2: with 5 states the
//             RMS error starts at .236. Figure 12.6: with 19 states and accumulating traces the
//             best mean over the first 10 episodes is ~.261, at lambda .8 and alpha .27.
// Ours        100 runs, seeds 1 to 100; all figures are in docs/results.md.
//             5 states, RMS error after 100 episodes: 0.05376 +- 0.002, accepted 0.046 .. 0.0642.
//             19 states, lambda .8, alpha .3, mean RMS error over the first 10 episodes:
//             0.2656 +- 0.0054, accepted 0.2423 .. 0.2823.
// Agent       random_walk/RandomWalkAgent.h

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "common/EpisodeLog.h"
#include "common/Guide.h"
#include "common/Options.h"
#include "common/Progress.h"
#include "common/Summary.h"
#include "random_walk/RandomWalk.h"
#include "random_walk/RandomWalkAgent.h"

namespace {

// RMS errors of a run, after 0, 1, 2 ... episodes, as far as they are reported.
using Errors = std::vector<double>;

const std::size_t REPORTED_EPISODES[] = {0, 10, 50, 100};
const std::size_t LAST_REPORTED = 100;
const std::size_t FIRST_EPISODES = 10;

void note(Errors& errors, double error) {
  if (errors.size() <= LAST_REPORTED) {
    errors.push_back(error);
  }
}

void reportErrors(const std::vector<Errors>& runs) {
  for (const std::size_t episodes : REPORTED_EPISODES) {
    Summary summary;
    for (const Errors& errors : runs) {
      if (episodes < errors.size()) {
        summary.add(errors[episodes]);
      }
    }
    summary.print("RMS error after " + std::to_string(episodes) + " episodes");
  }
  Summary early;
  for (const Errors& errors : runs) {
    if (FIRST_EPISODES < errors.size()) {
      Summary run;
      for (std::size_t i = 1; i <= FIRST_EPISODES; ++i) {
        run.add(errors[i]);
      }
      early.add(run.getMean());
    }
  }
  early.print("RMS error, mean over the first " + std::to_string(FIRST_EPISODES) + " episodes");
}

// A bar for the value learnt, and a stroke where the true value is.
void drawValues(RandomWalkAgent& agent, const RandomWalk& world) {
  const double width = 50.0;
  const double low = world.getTrueValue(0);
  const auto place = [&](double value) {
    // In this order, values that have become NaN end up on the right.
    const double part = std::max(0.0, std::min(1.0, (value - low) / (1.0 - low)));
    return static_cast<std::size_t>(width * part);
  };
  std::cout << "\nstate  learnt    true\n" << std::fixed << std::setprecision(3);
  for (int state = 1; state <= world.getStates(); ++state) {
    const double value = agent.getStateValue(state);
    const double truth = world.getTrueValue(state);
    std::string bar(std::max(place(value), place(truth) + 1), ' ');
    bar.replace(0, place(value), place(value), '#');
    bar[place(truth)] = '|';
    std::cout << std::setw(5) << state << std::setw(8) << value << std::setw(8) << truth << "  "
              << bar << '\n';
  }
  std::cout << std::defaultfloat << std::endl;
}

const bool trainOne(const Options& options, const Overrides& overrides, const RandomWalk& world) {
  EpisodeLog log(options.csvFile);
  Progress progress("mean RMS error", 0.01, options.episodes);
  Errors errors;
  RandomWalkAgent agent(options, overrides, world, options.seed);
  agent.setListener([&](const Episode& episode) {
    const double error = agent.getRmsError();
    note(errors, error);
    log.add(episode);
    progress.add(episode.number, error);
  });
  if (!options.loadFile.empty() && !agent.load(options.loadFile)) {
    return false;
  }
  note(errors, agent.getRmsError());
  Guide::introduce(options, {"learn in bigger steps", "ALPHA", "0.5", "0.1"});
  agent.controlLoop();

  std::cout << '\n';
  reportErrors({errors});
  drawValues(agent, world);
  const bool saved = options.saveFile.empty() || agent.save(options.saveFile);
  const bool logged = log.close();
  if (saved && logged) {
    Guide::suggest(options);
  }
  return saved && logged;
}

const bool trainMany(const Options& options, const Overrides& overrides, const RandomWalk& world) {
  std::vector<Errors> runs;
  for (int i = 0; i < options.runs; ++i) {
    Errors errors;
    RandomWalkAgent agent(options, overrides, world, options.seed + static_cast<unsigned int>(i));
    agent.setListener([&](const Episode&) { note(errors, agent.getRmsError()); });
    note(errors, agent.getRmsError());
    agent.controlLoop();
    if (agent.isStopped()) {
      options.complain("stopped in run " + std::to_string(i + 1));
      return false;
    }
    runs.push_back(errors);
  }
  reportErrors(runs);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options("random_walk", "Learns the values of the states of a random walk.", 100);
  Overrides overrides;
  int states = 5;
  std::string traces;
  options.parser.add_option("--states", states, "Number of states")
      ->check(CLI::IsMember({5, 19}))
      ->capture_default_str();
  options.parser.add_option("--alpha", overrides.alpha, "Step size, in place of ALPHA");
  options.parser.add_option("--lambda", overrides.lambda, "Trace decay, in place of LAMBDA");
  options.parser.add_option("--traces", traces, "Kind of traces, in place of TRACES")
      ->check(CLI::IsMember({"none", "replacing", "accumulating"}));
  if (!options.parse(argc, argv)) {
    return options.exitCode;
  }
  if (!traces.empty()) {
    overrides.traces = traces == "none" ? NONE : traces == "replacing" ? REPLACING : ACCUMULATING;
  }
  const RandomWalk world(states, states == 5 ? 0.0 : -1.0);
  const bool done =
      options.runs > 1 ? trainMany(options, overrides, world) : trainOne(options, overrides, world);
  return done ? 0 : 1;
}
