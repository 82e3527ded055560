#ifndef QUARNEL_STATE_LOOKUP_TABLE_H
#define QUARNEL_STATE_LOOKUP_TABLE_H

#include <string>

#include "LookupTable.h"
#include "StateValueFunction.h"

/// The tabular state-value function V(s): a weight for every combination of the values of the
/// integer state variables. For `TD`, where the state is discrete.
///
/// The table is sized by the variables' ranges when it is built, and all values start at 0.0;
/// `initWeights()` gives them others.
///
/// @code
/// State* const state = new State;
/// state->registerVariable("x", 0, 4);
/// svfPtr = new StateLookupTable(state);  // in the constructor of a class derived from TD
/// @endcode
class StateLookupTable : public StateValueFunction, public LookupTable {
 public:
  /// Builds the table for a state. Sets the constant initialiser of all value functions to 0.0.
  ///
  /// @param state holds integer variables only; owned from now on. A state of real variables is
  ///   reported and gives a table of one cell; a state with more combinations than 2147483647 is
  ///   reported and gives a table without weights.
  explicit StateLookupTable(State* state);

  /// Builds the table and its state from a file that `save()` has written. A file that is missing
  /// or damaged is reported and gives a table without weights.
  ///
  /// @param fileName path of the file.
  explicit StateLookupTable(const std::string& fileName);

  ~StateLookupTable() override;

  using StateValueFunction::load;
  using StateValueFunction::save;

  void initWeights(const double (*initFunctionPtr)()) override;
  void initEligibilityTraces() override;
  void updateWeights(double ALPHA, double DELTA) override;
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override;

  /// Adds VALUE to the trace of the active cell, if there is one.
  ///
  /// @param VALUE the amount.
  void accumulatingTraces(double VALUE) override;

  /// Sets the trace of the active cell, if there is one, to VALUE.
  ///
  /// @param VALUE the trace.
  void replacingTraces(double VALUE) override;

  using LookupTable::checkWeightLimit;
  void checkWeightLimit() override;
  const double getMinWeight() const override;
  const double getAvgWeight(bool abs) const override;
  const double getMaxWeight() const override;
  void setState() override;

  /// Remembers the active cell for an update without traces and in the episode's history, whether
  /// or not the learners empty that history.
  void storeState() override;

  void initEpisodeStateHistory() override;
  void valueEpisode(double amount) override;

 protected:
  using StateValueFunction::statePtr;

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

 public:
  /// @return the weight of the active cell; 0.0 where no cell is active; 1.7976931348623157e308
  ///   after a report where there are no weights.
  const double getStateValue() const override;

  /// Remembers the active cell for an update without traces.
  virtual void storeActiveIndex();

  /// Records the active cell, if there is one, in the episode's history.
  virtual void storeEpisodeState();
};

#endif
