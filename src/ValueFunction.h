#ifndef QUARNEL_VALUE_FUNCTION_H
#define QUARNEL_VALUE_FUNCTION_H

#include <cstdio>
#include <string>

#include "State.h"

/// The interface through which the learners drive every representation of a value function.
///
/// A value function owns the `State` that it is built on; the learner owns the value function. The
/// active feature of a representation (a table's cell, a tiling's tiles, a network's input) is the
/// one that stands for the current values of the `State`; `setState()` computes it.
///
/// A step with eligibility traces runs `updateEligibilityTraces()`, `replacingTraces()` or
/// `accumulatingTraces()`, then, after the environment has moved on, `setState()` and
/// `updateWeights()`. A step without traces calls `storeState()` instead of the first two.
///
/// The constant and the range of the initialisers are shared by all value functions of the process.
///
/// Source of the terms: Sutton and Barto, Reinforcement Learning, 2nd edition, chapters 6 and 12.
class ValueFunction {
 public:
  /// A function that gives the next initial weight.
  using INIT_WEIGHTS_FUNCTION = const double (*)();

  /// @param state the state to read, which the value function deletes in the end; null where it is
  ///   still to be read from a file.
  explicit ValueFunction(State* state);

  /// Deletes the state.
  virtual ~ValueFunction();

  ValueFunction(const ValueFunction&) = delete;
  ValueFunction& operator=(const ValueFunction&) = delete;

  /// Sets every weight, in storage order, to a fresh call of the function; reports where there are
  /// no weights yet.
  ///
  /// @param initFunctionPtr gives the next weight; null is reported and changes nothing.
  virtual void initWeights(const double (*initFunctionPtr)()) = 0;

  /// Makes all traces zero; called at the start of an episode.
  virtual void initEligibilityTraces() = 0;

  /// Learns from a temporal-difference error: every weight with a trace gains DELTA * ALPHA *
  /// trace; without traces the stored feature's weights gain DELTA * ALPHA.
  ///
  /// @param ALPHA the step size, usually in (0, 1].
  /// @param DELTA the temporal-difference error, in units of the reward.
  virtual void updateWeights(double ALPHA, double DELTA) = 0;

  /// Decays every trace by the product of the two factors.
  ///
  /// @param GAMMA the discount factor, in [0, 1].
  /// @param LAMBDA the trace decay, in [0, 1].
  virtual void updateEligibilityTraces(double GAMMA, double LAMBDA) = 0;

  /// Adds VALUE to the traces of the active feature: a visit under `ACCUMULATING`.
  ///
  /// @param VALUE the amount, the learner's `TRACE_VALUE`.
  virtual void accumulatingTraces(double VALUE) = 0;

  /// Sets the traces of the active feature to VALUE: a visit under `REPLACING`.
  ///
  /// @param VALUE the trace, the learner's `TRACE_VALUE`.
  virtual void replacingTraces(double VALUE) = 0;

  /// Clamps every weight into the limits set by `setMinWeightLimit()` and `setMaxWeightLimit()`. No
  /// learner calls it: an application does, after an episode. Networks also clamp in every update.
  virtual void checkWeightLimit() = 0;

  /// @return the smallest weight; 1.7976931348623157e308 where there is none.
  virtual const double getMinWeight() const = 0;

  /// @param abs true for the mean of the absolute values.
  /// @return the mean of the weights. Where there are none: 0.0 from a table that was not created, not
  ///   a number from tile coding without groups.
  virtual const double getAvgWeight(bool abs) const = 0;

  /// @return the largest weight; -1.7976931348623157e308 where there is none.
  virtual const double getMaxWeight() const = 0;

  /// Computes the active feature from the state's current values; call it after every change of
  /// the state.
  virtual void setState() = 0;

  /// Remembers the active feature for an update without traces and records it in the episode's
  /// history.
  virtual void storeState() = 0;

  /// Empties the episode's history.
  virtual void initEpisodeStateHistory() = 0;

  /// Adds an amount to the weight of every feature in the episode's history, once each. No learner
  /// calls it: an application does, once an episode has turned out well or badly.
  ///
  /// @param amount what each weight gains.
  virtual void valueEpisode(double amount) = 0;

  /// Writes the state and the representation to the named file, which is created or replaced.
  ///
  /// @param fileName path of the file.
  /// @return 0; -1 after a report.
  virtual const int save(const std::string& fileName) const = 0;

  /// Reads the state and the representation from the named file.
  ///
  /// @param fileName path of a file that `save()` has written.
  /// @return 0; -1 after a report, with what was read before the failure kept.
  virtual const int load(const std::string& fileName) = 0;

 protected:
  /// Writes the representation's block at the file's position.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after a report.
  virtual const int save(FILE* file) const = 0;

  /// Reads the representation's block at the file's position.
  ///
  /// @param file open for reading.
  /// @return 0; -1 after a report.
  virtual const int load(FILE* file) = 0;

 public:
  /// @return the state; owned by the value function.
  State* getStatePtr() const { return statePtr; }

  /// @param limit lower limit of `checkWeightLimit()`.
  void setMinWeightLimit(double limit) { minWeightLimit = limit; }

  /// @param limit upper limit of `checkWeightLimit()`.
  void setMaxWeightLimit(double limit) { maxWeightLimit = limit; }

  /// @param history true: the learners empty the episode's history at the start of each episode, and
  ///   tile codings record their visits in it. Tables record in `storeState()` only, without traces.
  void setEpisodeStateHistory(bool history) { episodeStateHistory = history; }

  /// @return whether the learners empty the episode's history at the start of each episode.
  const bool getEpisodeStateHistory() const { return episodeStateHistory; }

  /// Sets the constant of `getConstantInitializer()`, for all value functions. The constructors of
  /// tables, and those of tile codings that take a state, set it back to 0.0.
  ///
  /// @param newValue the constant.
  void setValue(double newValue) { value = newValue; }

  /// Sets the range of `getRandomInitializer()`, for all value functions. The constructors of
  /// networks that take a state set it back to [-0.5, 0.5).
  ///
  /// @param newMinValue the lower bound, included.
  /// @param newMaxValue the upper bound, not included.
  void setRandomValueBoundaries(double newMinValue, double newMaxValue) {
    minValue = newMinValue;
    maxValue = newMaxValue;
  }

  /// @param functionPtr what the representation initialises its weights with when it is created;
  ///   null for the constant initialiser.
  void setInitWeightsFunctionPtr(const double (*functionPtr)()) {
    initWeightsFunctionPtr = functionPtr != nullptr ? functionPtr : getValue;
  }

  /// @return the initialiser that draws from `rand()`, uniformly over the range set by
  ///   `setRandomValueBoundaries()`, by default [-0.5, 0.5); for `initWeights()` and
  ///   `setInitWeightsFunctionPtr()`.
  static INIT_WEIGHTS_FUNCTION getRandomInitializer() { return getRandomValue; }

  /// @return the initialiser that gives the constant set by `setValue()`, by default 0.0.
  static INIT_WEIGHTS_FUNCTION getConstantInitializer() { return getValue; }

 protected:
  /// The constant initialiser. @return `value`.
  static const double getValue() { return value; }

  /// The random initialiser; draws one number from `rand()`.
  ///
  /// @return a number in [`minValue`, `maxValue`).
  static const double getRandomValue();

  State* statePtr;                           ///< The state, deleted in the end.
  const double (*initWeightsFunctionPtr)();  ///< Gives the first weights; `getValue()` by default.
  double minWeightLimit;     ///< Lower limit of weights; by default the lowest double.
  double maxWeightLimit;     ///< Upper limit of weights; by default the highest double.
  bool episodeStateHistory;  ///< See `setEpisodeStateHistory()`; false by default.

  static double value;     ///< The constant of all value functions; 0.0 at first.
  static double minValue;  ///< Lower bound of random weights, included; -0.5 at first.
  static double maxValue;  ///< Upper bound of random weights, not included; 0.5 at first.
};

#endif
