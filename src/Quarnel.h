#ifndef QUARNEL_QUARNEL_H
#define QUARNEL_QUARNEL_H

/// @file
/// The base of the learners, and the enumerations of their configuration.

#include <csignal>
#include <string>

#include "Utility.h"

/// The kind of eligibility traces that a learner keeps.
enum TRACE_TYPE : int {
  NONE = 0,         ///< No traces: only the weights of the last state or pair learn.
  REPLACING = 1,    ///< A visit sets the trace.
  ACCUMULATING = 2  ///< A visit adds to the trace.
};

/// How Sarsa and Watkins pick an action.
enum ACTION_SELECTION_TYPE : int {
  GREEDY = 0,          ///< The action of the highest value, ties broken at random.
  EPSILON_GREEDY = 1,  ///< With probability EPSILON any action, otherwise the greedy one.
  SOFTMAX = 2          ///< In proportion to the exponential of the values, by TEMPERATURE.
};

/// The base of every learner: parameters, configuration file, episode loop, counters, exploration
/// coin and signals.
///
/// `TD`, `Sarsa` and `Watkins` add a value function and the update rule. An application derives
/// from one of them and supplies the environment in four hooks: `setInitialState()`,
/// `takeAction()`, `observeState()` and `calculateReward()`; then it calls `controlLoop()`.
///
/// While a learner lives, SIGINT, SIGTERM, SIGUSR1 and SIGUSR2 are blocked for the process (child
/// processes inherit that) and looked at once after every step: SIGINT stops learning after the
/// step, SIGTERM after the episode, SIGUSR1 reloads the configuration, SIGUSR2 is acknowledged. No
/// signal handler is installed, so every reaction runs between two steps on the learning thread.
///
/// The configuration is a text file, a key and a value in each line, one blank between them. Lines
/// that begin with `#` are comments; behind an empty line only with a blank in them, else they take
/// the next line along. Keys that it does not name keep their values. Numbers follow the process's
/// LC_NUMERIC.
///
/// | key              | default   | meaning                                             |
/// |------------------|-----------|-----------------------------------------------------|
/// | ALPHA            | 0.1       | step size, usually in (0, 1]                        |
/// | LAMBDA           | 0.5       | trace decay, in [0, 1]                              |
/// | GAMMA            | 0.9       | discount factor, in [0, 1]                          |
/// | ACTION_SELECTION | GREEDY    | GREEDY, EPSILON_GREEDY or SOFTMAX                   |
/// | EPSILON          | 0.1       | exploration probability, in [0, 1]                  |
/// | TEMPERATURE      | 0.5       | softmax, relative to the range of values; above 0   |
/// | TRACES           | REPLACING | REPLACING, ACCUMULATING or NONE                     |
/// | TRACE_VALUE      | 1         | what a visit sets the trace to, or adds to it       |
class Quarnel {
 public:
  /// Sets the parameters to the defaults shown above, seeds libc's random generator with 1 (a
  /// program that wants another seed calls `srand()` afterwards), blocks the four signals and loads
  /// the configuration.
  ///
  /// @param fileName path of the configuration file; a file that can't be opened is created
  ///   with the defaults.
  explicit Quarnel(const std::string& fileName);

  /// Gives the process the signal mask back that it had before.
  virtual ~Quarnel();

  Quarnel(const Quarnel&) = delete;
  Quarnel& operator=(const Quarnel&) = delete;

  /// Runs episodes until `continueLearning` is false or a SIGTERM or SIGINT has arrived. After a
  /// stop by signal a further call returns at once. Reports an error and returns where the learner
  /// has no value function.
  virtual void controlLoop();

  /// Writes the parameters to the configuration file, numbers to six significant digits. A file
  /// that can't be created is reported on standard output.
  virtual void saveConf() const;

  /// Reads the configuration file over the current parameters, or creates it where it can't be
  /// opened. Indented lines and unknown values of ACTION_SELECTION and TRACES are reported and
  /// change nothing; unknown keys are ignored. A line of more than 511 characters ends the reading,
  /// and so does, after a report, a word of a million.
  virtual void loadConf();

 protected:
  /// Starts an episode: counts it, calls `setInitialState()` and sets `value`. Supplied by the
  /// learner.
  virtual void initEpisode() = 0;

  /// Takes a step and learns from it. Supplied by the learner.
  virtual void step() = 0;

  /// Called after every episode, also after one that a signal ended; prints the number of the
  /// episode and of its steps. An override may save the value function or clear
  /// `continueLearning`.
  virtual void finishEpisode();

  // Compilers show the next four lines to whoever forgets a hook, with what stands behind them.

  /// Puts the environment and the `State` into a start state. Supplied by the application.
  virtual void setInitialState() = 0;  // hook: override it in your learner

  /// Carries out the chosen action. Supplied by the application.
  virtual void takeAction() = 0;  // hook: override it in your learner

  /// Writes the new observation into the `State`. Supplied by the application.
  ///
  /// @return false when the episode has ended.
  virtual const bool observeState() = 0;  // hook: override it in your learner, as const bool

  /// @return the reward of the last transition. Supplied by the application.
  virtual const double calculateReward() = 0;  // hook: override it in your learner, as const double

  /// @return true when the learner has a value function. Supplied by the learner.
  virtual const bool checkValueFunction() const = 0;

  /// The exploration coin; draws one number from `rand()`.
  ///
  /// @return true with probability EPSILON.
  virtual const bool randomAction() const;

  /// Blocks the four signals and remembers the mask that was in force.
  virtual void installSignalHandler();

  /// Unblocks the signals that `installSignalHandler()` blocked. What arrived since the last poll
  /// is delivered now.
  virtual void removeSignalHandler();

  /// Takes every one of the four signals that is pending, without waiting, and calls its reaction.
  /// An override may poll less often: signals then wait for the next poll. A `sigwait()` that fails
  /// a thousand times leaves them to the next poll as well.
  virtual void checkPendingSignals();

  /// Reaction to SIGUSR1: reloads the configuration.
  virtual void sigUsr1();

  /// Reaction to SIGUSR2: says that it arrived.
  virtual void sigUsr2();

  /// Reaction to SIGTERM: learning stops after the episode.
  virtual void sigTerm();

  /// Reaction to SIGINT: learning stops after the step.
  virtual void sigInt();

  double ALPHA;                            ///< Step size.
  double LAMBDA;                           ///< Trace decay.
  double GAMMA;                            ///< Discount factor.
  double EPSILON;                          ///< Exploration probability.
  TRACE_TYPE TRACES;                       ///< Kind of eligibility traces.
  double TRACE_VALUE;                      ///< What a visit sets or adds to a trace.
  ACTION_SELECTION_TYPE ACTION_SELECTION;  ///< How actions are picked.
  double TEMPERATURE;                      ///< Softmax temperature.
  bool continueLearning;                   ///< False ends learning after the episode.
  bool continueEpisode;                    ///< False ends the episode after the step.
  bool sigTermRcvd;                        ///< A SIGTERM has been taken.
  bool sigIntRcvd;                         ///< A SIGINT has been taken.
  int episodes;                            ///< Number of the current episode, from 1.
  int steps;                               ///< Steps taken in the current episode.
  double value;                            ///< Value of the present state or state-action pair.
  std::string confFileName;                ///< Path of the configuration file.
  sigset_t oldSigSet;                      ///< Mask in force before the signals were blocked.
  sigset_t newSigSet;                      ///< The signals that the learner blocks.
  sigset_t pendingSignals;                 ///< Found pending at the last poll and not yet taken.

 private:
  void writeSettings(const QuarnelUtility::Place& place) const;
  const bool readSettings(const QuarnelUtility::Place& place);
  void applySetting(const std::string& key, const char* text, const QuarnelUtility::Place& place);
  const bool anySignalPending() const;
};

#endif
