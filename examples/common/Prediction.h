#ifndef QUARNEL_EXAMPLES_PREDICTION_H
#define QUARNEL_EXAMPLES_PREDICTION_H

#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "common/EpisodeLog.h"
#include "common/Guide.h"
#include "common/Options.h"
#include "common/Progress.h"

/// What the examples do whose agents learn the values of states: they hold the values against the
/// true ones.
namespace Prediction {

/// RMS errors of a run, after 0, 1, 2 ... episodes, as far as they are reported.
using Errors = std::vector<double>;

/// Takes a run's next error down.
void note(Errors& errors, double error);

/// Prints the errors of runs: after some numbers of episodes, and over the first ten.
void reportErrors(const std::vector<Errors>& runs);

/// Says whether a second agent, with the values from a file, errs as the first does.
/// @return true where it does.
const bool reportSecond(const std::string& fileName, double first, double second);

/// A state in a picture.
struct Row {
  std::string name;
  double learnt;
  double truth;
};

/// Prints a bar for every value learnt, and a stroke where the true value is.
///
/// @param title what the states are called.
/// @param low the value at the left of the picture; the right is +1.
void drawValues(const std::string& title, const std::vector<Row>& rows, double low);

/// Makes an agent that starts from a seed.
template <class Agent>
using MakeAgent = std::function<std::unique_ptr<Agent>(unsigned int seed)>;

/// Saves what an agent has learnt and shows that a second agent can predict by it.
///
/// @return false after a message on standard error.
template <class Agent>
const bool saveAndCheck(const Options& options, const MakeAgent<Agent>& make, Agent& agent) {
  if (options.saveFile.empty()) {
    return true;
  }
  const std::unique_ptr<Agent> second = make(options.seed);
  if (!agent.save(options.saveFile) || !second->load(options.saveFile)) {
    return false;
  }
  return reportSecond(options.saveFile, agent.getRmsError(), second->getRmsError());
}

/// Trains one agent, shows how it gets on and what it has learnt, and saves the values.
///
/// @return false after a message on standard error.
template <class Agent>
const bool trainOne(const Options& options, const MakeAgent<Agent>& make,
                    const std::function<void(Agent&)>& draw, const Guide::Knob& knob) {
  EpisodeLog log(options.csvFile);
  Progress progress("mean RMS error", 0.01, options.episodes);
  Errors errors;
  const std::unique_ptr<Agent> agent = make(options.seed);
  agent->setListener([&](const Episode& episode) {
    const double error = agent->getRmsError();
    note(errors, error);
    log.add(episode);
    progress.add(episode.number, error);
  });
  if (!options.loadFile.empty() && !agent->load(options.loadFile)) {
    return false;
  }
  note(errors, agent->getRmsError());
  Guide::introduce(options, knob);
  agent->controlLoop();

  std::cout << '\n';
  reportErrors({errors});
  draw(*agent);
  const bool saved = saveAndCheck(options, make, *agent);
  const bool logged = log.close();
  if (saved && logged) {
    Guide::suggest(options);
  }
  return saved && logged;
}

/// Trains an agent for every seed. @return false after a message on standard error where a signal
/// has stopped it.
template <class Agent>
const bool trainMany(const Options& options, const MakeAgent<Agent>& make) {
  std::vector<Errors> runs;
  for (int i = 0; i < options.runs; ++i) {
    Errors errors;
    const std::unique_ptr<Agent> agent = make(options.seed + static_cast<unsigned int>(i));
    agent->setListener([&](const Episode&) { note(errors, agent->getRmsError()); });
    note(errors, agent->getRmsError());
    agent->controlLoop();
    if (agent->isStopped()) {
      options.complain("stopped in run " + std::to_string(i + 1));
      return false;
    }
    runs.push_back(errors);
  }
  reportErrors(runs);
  return true;
}

/// Trains one agent or many, as the options say.
///
/// @param draw shows what an agent has learnt.
/// @param knob what to change while an agent learns.
/// @return the program's exit code.
template <class Agent>
const int train(const Options& options, const MakeAgent<Agent>& make,
                const std::function<void(Agent&)>& draw,
                const Guide::Knob& knob = {"learn in bigger steps", "ALPHA", "0.5", "0.1"}) {
  const bool done = options.runs > 1 ? trainMany<Agent>(options, make)
                                     : trainOne<Agent>(options, make, draw, knob);
  return done ? 0 : 1;
}

}  // namespace Prediction

#endif
