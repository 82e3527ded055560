#ifndef QUARNEL_EXAMPLES_CONTROL_TRAINING_H
#define QUARNEL_EXAMPLES_CONTROL_TRAINING_H

#include <quarnel/Sarsa.h>
#include <quarnel/Watkins.h>

#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "common/ControlAgent.h"
#include "common/EpisodeLog.h"
#include "common/EpisodeReport.h"
#include "common/Guide.h"
#include "common/Options.h"
#include "common/Progress.h"
#include "common/Trial.h"

/// What the examples with a continuous state do with their agents.
namespace ControlTraining {

/// What many trainings came to.
struct Results {
  EpisodeReport::Runs runs;   ///< The episodes of every run.
  std::vector<Trial> trials;  ///< How every run's agent acted afterwards.
};

/// What sets an example apart.
template <class World>
struct Example {
  using StateValue = std::function<double(const World&)>;

  TilingPlan plan;
  std::string measure;  ///< What to show while learning: "steps" or "return".
  double unit;          ///< How much of it a character of the bar stands for.
  Guide::Knob knob;

  /// Shows what an agent has learnt; may be empty. @return false after a message on standard error.
  std::function<bool(const std::vector<Episode>&, const StateValue&)> show;

  /// Prints what many runs came to.
  std::function<void(const Results&)> report;
};

/// Saves what an agent has learnt and shows that a second agent can act by it.
///
/// @return false after a message on standard error.
template <class Agent, class World>
const bool saveAndCheck(const Options& options, const Example<World>& example, const Agent& agent,
                        const Trial& trial) {
  if (options.saveFile.empty()) {
    return true;
  }
  Agent second(options, example.plan, options.seed);
  if (!agent.save(options.saveFile) || !second.load(options.saveFile)) {
    return false;
  }
  const bool same = second.tryGreedily() == trial;
  std::cout << "The values are saved in " << options.saveFile << ".\n"
            << "A second agent with the values from this file behaves "
            << (same ? "the same.\n" : "IN ANOTHER WAY!\n") << std::endl;
  return same;
}

/// Trains one agent, shows how it gets on and what it has learnt, and saves the values.
///
/// @return false after a message on standard error.
template <class Agent, class World>
const bool trainOne(const Options& options, const Example<World>& example) {
  EpisodeLog log(options.csvFile);
  Progress progress("mean " + example.measure, example.unit, options.episodes);
  std::vector<Episode> episodes;
  Agent agent(options, example.plan, options.seed);
  agent.setListener([&](const Episode& episode) {
    log.add(episode);
    episodes.push_back(episode);
    progress.add(episode.number, example.measure == "steps" ? episode.steps : episode.totalReward);
  });
  if (!options.loadFile.empty()) {
    if (!agent.load(options.loadFile)) {
      return false;
    }
    std::cout << "By the values in " << options.loadFile << ", greedy, ";
    agent.tryGreedily().print();
    std::cout << std::endl;
  }
  Guide::introduce(options, example.knob);
  agent.controlLoop();

  bool done = true;
  if (example.show) {
    done = example.show(episodes, [&](const World& world) { return agent.getStateValue(world); });
  }
  const Trial trial = agent.tryGreedily();
  std::cout << "\nAfter learning, greedy, ";
  trial.print();
  std::cout << std::endl;
  done = saveAndCheck(options, example, agent, trial) && done;
  done = log.close() && done;
  if (done) {
    Guide::suggest(options);
  }
  return done;
}

/// Trains an agent for every seed. @return false after a message on standard error where a signal
/// has stopped it.
template <class Agent, class World>
const bool trainMany(const Options& options, const Example<World>& example) {
  Results results;
  for (int i = 0; i < options.runs; ++i) {
    std::vector<Episode> episodes;
    Agent agent(options, example.plan, options.seed + static_cast<unsigned int>(i));
    agent.setListener([&](const Episode& episode) { episodes.push_back(episode); });
    agent.controlLoop();
    if (agent.isStopped()) {
      options.complain("stopped in run " + std::to_string(i + 1));
      return false;
    }
    results.runs.push_back(episodes);
    results.trials.push_back(agent.tryGreedily());
  }
  example.report(results);
  return true;
}

/// Trains one agent or many, as the options say, with the learner that they name.
///
/// @return the program's exit code.
template <class World, class Tilings = ActionTilings>
const int train(const Options& options, const Example<World>& example) {
  const bool one = options.runs == 1;
  bool done = false;
  if (options.learner == "sarsa") {
    using Agent = ControlAgent<Sarsa, World, Tilings>;
    done = one ? trainOne<Agent>(options, example) : trainMany<Agent>(options, example);
  } else {
    using Agent = ControlAgent<Watkins, World, Tilings>;
    done = one ? trainOne<Agent>(options, example) : trainMany<Agent>(options, example);
  }
  return done ? 0 : 1;
}

/// Prints the mean steps and return of the agents' trials.
inline void printTrials(const Results& results) {
  Summary steps;
  Summary returns;
  for (const Trial& trial : results.trials) {
    steps.add(trial.steps.getMean());
    returns.add(trial.returns.getMean());
  }
  steps.print("greedy steps after learning");
  returns.print("greedy return after learning");
}

}  // namespace ControlTraining

#endif
