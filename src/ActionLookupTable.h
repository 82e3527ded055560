#ifndef QUARNEL_ACTION_LOOKUP_TABLE_H
#define QUARNEL_ACTION_LOOKUP_TABLE_H

#include <string>

#include "ActionValueFunction.h"
#include "LookupTable.h"

/// The tabular action-value function Q(s, a): a weight for every combination of the values of the
/// integer state variables and the action. For `Sarsa` and `Watkins`, where the state is discrete.
///
/// The weights of one state's actions lie side by side. Register the actions first, then call
/// `create()`; all values start at 0.0.
///
/// @code
/// State* const state = new State;
/// state->registerVariable("x", 0, 9);
/// ActionLookupTable* const table = new ActionLookupTable(state);
/// table->registerAction(new AbstractAction);
/// table->registerAction(new AbstractAction);
/// table->create();
/// avfPtr = table;  // in the constructor of a class derived from Sarsa or Watkins
/// @endcode
class ActionLookupTable : public ActionValueFunction, public LookupTable {
 public:
  /// A table that has no weights until `create()`. Sets the constant initialiser of all value
  /// functions to 0.0.
  ///
  /// @param aStatePtr holds integer variables only; owned from now on.
  explicit ActionLookupTable(State* aStatePtr);

  /// Builds the table and its state from a file that `save()` has written; it needs no `create()`.
  /// A file that is missing or damaged is reported and gives a table without weights.
  ///
  /// @param fileName path of the file.
  explicit ActionLookupTable(const std::string& fileName);

  ~ActionLookupTable() override;

  using ActionValueFunction::load;
  using ActionValueFunction::save;

  void initWeights(const double (*initFunctionPtr)()) override;
  void initEligibilityTraces() override;
  void updateWeights(double ALPHA, double DELTA) override;
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override;

  /// Adds VALUE to the trace of the active cell and action, if there is an active cell.
  ///
  /// @param VALUE the amount.
  void accumulatingTraces(double VALUE) override;

  /// Sets the trace of the active cell and action, if there is an active cell.
  ///
  /// In `MAP` storage the pair's trace becomes VALUE and the other actions of the state lose theirs
  /// (Singh and Sutton 1996, replacing traces). In `ARRAY` storage the pair's trace becomes VALUE
  /// where the action is the last one, and 0.0 otherwise; the other actions keep theirs.
  ///
  /// @param VALUE the trace.
  void replacingTraces(double VALUE) override;

  using LookupTable::checkWeightLimit;
  void checkWeightLimit() override;
  const double getMinWeight() const override;
  const double getAvgWeight(bool abs) const override;
  const double getMaxWeight() const override;
  void setState() override;

  /// Remembers the active cell and action for an update without traces and in the episode's
  /// history, whether or not the learners empty that history.
  void storeState() override;

  void initEpisodeStateHistory() override;
  void valueEpisode(double amount) override;

 protected:
  using ActionValueFunction::statePtr;

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

 public:
  /// @param actionIndex the action's index.
  /// @return the weight of an action in the active cell; 1.7976931348623157e308 where no cell is
  ///   active, and after a report where there are no weights. An index outside
  ///   [0, `getNumberOfActions()`) is reported and reads whatever weight lies there, 0.0 outside
  ///   the table.
  const double getActionValue(int actionIndex) const override;

 protected:
  /// Takes an action out of the table: no cell is active afterwards, all traces and the episode's
  /// history are gone, the table counts no cells, and `getNumberOfActions()` ends two lower: make a new table. A refusal (the
  /// last action, no weights, an index outside [0, `getNumberOfActions()`)) is reported and changes
  /// nothing.
  ///
  /// @param actionIndex the action's index.
  void removeAction(int actionIndex) override;

 public:
  /// Makes the weights for the registered actions and the state's ranges and initialises them;
  /// what the table held before is released. Reports where no action is registered, and where there
  /// are more than 2147483647 combinations, which leaves a table without weights.
  virtual void create();

  /// Remembers an action in the active cell for an update without traces.
  ///
  /// @param actionIndex the action's index.
  virtual void storeActiveIndex(int actionIndex);

  /// Records an action in the active cell, if there is one, in the episode's history.
  ///
  /// @param actionIndex the action's index.
  virtual void storeEpisodeState(int actionIndex);

  /// Sets the weight of an action in every state. An index outside [0, `getNumberOfActions()`) is
  /// reported, and the cells that it reaches are set all the same.
  ///
  /// @param actionIndex the action's index.
  /// @param actionValue the weight from now on.
  virtual void setActionValue(int actionIndex, double actionValue);

  /// Sets the weight of an action in the active cell, if there is one. An index outside
  /// [0, `getNumberOfActions()`) is reported, and the cell that it reaches is set all the same.
  ///
  /// @param actionIndex the action's index.
  /// @param actionValue the weight from now on.
  virtual void setActiveActionValue(int actionIndex, double actionValue);

 private:
  const int cellOf(int actionIndex) const;
  const bool checkActionIndex(int actionIndex, const QuarnelUtility::Place& place) const;
  double* copyWeightsWithout(int actionIndex) const;
};

#endif
