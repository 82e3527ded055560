#ifndef QUARNEL_EXAMPLES_GRID_TRAINING_H
#define QUARNEL_EXAMPLES_GRID_TRAINING_H

#include <quarnel/Sarsa.h>
#include <quarnel/Watkins.h>

#include <iostream>
#include <string>
#include <vector>

#include "common/GridAgent.h"
#include "common/GridPath.h"
#include "common/GridReport.h"
#include "common/Guide.h"
#include "common/Progress.h"

/// What the grid examples do with their agents.
namespace GridTraining {

/// Prints a walk and how good it is.
template <class World>
void showPath(const GridPath& path, const std::string& caption) {
  printPath(drawWorld<World>(), path);
  if (!caption.empty()) {
    std::cout << caption << '\n';
  }
  if (path.arrived) {
    std::cout << '\n' << path.steps.size() << " steps, the optimum is " << World::OPTIMUM << ".\n";
  } else {
    std::cout << "\nThe goal is not reached yet: more episodes may help.\n";
  }
  std::cout << std::endl;
}

/// Saves what an agent has learnt and shows that a second agent can walk by it.
///
/// @return false after a message on standard error.
template <class Learner, class World>
const bool saveAndCheck(const Options& options, const GridAgent<Learner, World>& agent,
                        const GridPath& path) {
  if (options.saveFile.empty()) {
    return true;
  }
  GridAgent<Learner, World> second(options, options.seed);
  if (!agent.save(options.saveFile) || !second.load(options.saveFile)) {
    return false;
  }
  const GridPath secondPath = second.walkGreedily();
  std::cout << "The values are saved in " << options.saveFile << ".\n"
            << "A second agent with the values from this file takes " << secondPath.steps.size()
            << " steps: " << (secondPath == path ? "the same path.\n" : "ANOTHER PATH!\n")
            << std::endl;
  return secondPath == path;
}

/// Trains one agent, shows how it gets on and what it has learnt, and saves the values.
///
/// @param caption a line to print below the picture of the world; empty for none.
/// @return false after a message on standard error.
template <class Learner, class World>
const bool trainOne(const Options& options, const std::string& caption) {
  EpisodeLog log(options.csvFile);
  Progress progress("mean steps", 1.0, options.episodes);
  GridAgent<Learner, World> agent(options, options.seed);
  agent.setListener([&](const Episode& episode) {
    log.add(episode);
    progress.add(episode.number, episode.steps);
  });
  if (!options.loadFile.empty()) {
    if (!agent.load(options.loadFile)) {
      return false;
    }
    std::cout << "The greedy path by the values in " << options.loadFile << ":\n\n";
    showPath<World>(agent.walkGreedily(), caption);
  }
  Guide::introduce(options, {"explore more", "EPSILON", "0.5", "0.1"});
  agent.controlLoop();

  std::cout << "\nThe greedy path after learning:\n\n";
  const GridPath path = agent.walkGreedily();
  showPath<World>(path, caption);
  const bool saved = saveAndCheck(options, agent, path);
  const bool logged = log.close();
  if (saved && logged) {
    Guide::suggest(options);
  }
  return saved && logged;
}

/// Trains an agent for every seed.
///
/// @param runs receives what they came to.
/// @return false after a message on standard error where a signal has stopped it.
template <class Learner, class World>
const bool trainMany(const Options& options, std::vector<GridReport::Run>& runs) {
  for (int i = 0; i < options.runs; ++i) {
    GridReport::Run run;
    GridAgent<Learner, World> agent(options, options.seed + static_cast<unsigned int>(i));
    agent.setListener([&run](const Episode& episode) { run.episodes.push_back(episode); });
    agent.controlLoop();
    if (agent.isStopped()) {
      options.complain("stopped in run " + std::to_string(i + 1));
      return false;
    }
    run.path = agent.walkGreedily();
    runs.push_back(run);
  }
  return true;
}

/// Trains one agent or many, as the options say.
///
/// @param caption a line to print below the picture of the world; empty for none.
/// @param report prints what many runs came to.
/// @return the program's exit code.
template <class Learner, class World>
const int train(const Options& options, const std::string& caption,
                void (*report)(const std::vector<GridReport::Run>&)) {
  if (options.runs == 1) {
    return trainOne<Learner, World>(options, caption) ? 0 : 1;
  }
  std::vector<GridReport::Run> runs;
  if (!trainMany<Learner, World>(options, runs)) {
    return 1;
  }
  report(runs);
  return 0;
}

/// The same, with the learner that the options name.
template <class World>
const int train(const Options& options, const std::string& caption,
                void (*report)(const std::vector<GridReport::Run>&)) {
  return options.learner == "sarsa" ? train<Sarsa, World>(options, caption, report)
                                    : train<Watkins, World>(options, caption, report);
}

}  // namespace GridTraining

#endif
