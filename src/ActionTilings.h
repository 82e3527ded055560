#ifndef QUARNEL_ACTION_TILINGS_H
#define QUARNEL_ACTION_TILINGS_H

#include <cstdio>
#include <list>

#include "Tilings.h"

/// A group of tilings with a weight for each tile and action, for an `ActionTileCoding`.
///
/// The tiles are activated once for a state; the action selects which weight of each active tile is
/// read or changed. The weight of action a lies a * `getNumberOfTilings()` behind that of action 0.
class ActionTilings : public Tilings {
 public:
  /// A group that is laid out when it is registered with an `ActionTileCoding`.
  ///
  /// @param numberOfTilings at least 1.
  /// @param varList the covered variables: id, the resolution wished for (above 0, in units of the
  ///   variable) and what happens at the ends of the range.
  ActionTilings(int numberOfTilings, const std::list<Types::TILINGS_VAR_STRUCT>& varList);

  /// Reads a group's block, with its layout; failures are only reported. The number of actions is
  /// not part of the block.
  ///
  /// @param aStatePtr the state; not owned.
  /// @param numberOfActions the number of actions that the block has weights for.
  /// @param file open for reading, at a group's block.
  ActionTilings(State* aStatePtr, int numberOfActions, FILE* file);

  ~ActionTilings() override;

  /// Lays the group out over a state, as `StateTilings::create()` does, for a number of actions,
  /// and makes its weights. A number below 1 is reported and gives no weights for any action.
  ///
  /// @param aStatePtr the state; not owned.
  /// @param numberOfActions at least 1.
  virtual void create(State* aStatePtr, int numberOfActions);

  /// Adds VALUE to the traces of an action in the active tiles.
  ///
  /// @param VALUE the amount.
  /// @param actionIndex the action's index.
  virtual void accumulatingTraces(double VALUE, int actionIndex);

  /// Sets the traces of an action in the active tiles to VALUE and clears those of the other
  /// actions there.
  ///
  /// @param VALUE the trace.
  /// @param actionIndex the action's index.
  virtual void replacingTraces(double VALUE, int actionIndex);

  /// Remembers an action in the active tiles for an update without traces.
  ///
  /// @param actionIndex the action's index.
  virtual void storeActiveTiles(int actionIndex);

  /// @param actionIndex the action's index.
  /// @return the sum of an action's weights in the active tiles; 1.7976931348623157e308 after a
  ///   report where there are no weights. An index outside [0, number of actions) is reported and
  ///   reads whatever weights lie there.
  virtual const double getActionValue(int actionIndex) const;

  /// Records an action in the active tiles in the episode's history.
  ///
  /// @param actionIndex the action's index.
  virtual void storeEpisodeState(int actionIndex);

  /// Sets every weight of an action. An index outside [0, number of actions) is reported, and the
  /// weights that it reaches are set all the same.
  ///
  /// @param actionIndex the action's index.
  /// @param actionValue the weights from now on.
  virtual void setActionValue(int actionIndex, double actionValue);

  /// Sets an action's weight in every active tile; its value is then `actionValue` times the number
  /// of active tiles. An index outside [0, number of actions) is reported, and the weights that it
  /// reaches are set all the same.
  ///
  /// @param actionIndex the action's index.
  /// @param actionValue the weights from now on.
  virtual void setActiveActionValue(int actionIndex, double actionValue);

  /// Drops an action's weights and keeps those of the others. No tile is active afterwards, and the
  /// episode's history is empty; start the traces anew with `initEligibilityTraces()`.
  ///
  /// @param actionIndex the action's index.
  /// @return true; false after a report (the last action, no weights, an index outside
  ///   [0, number of actions)), with nothing changed.
  virtual const bool removeAction(int actionIndex);

 protected:
  int ACTIONS;  ///< Number of actions that each tile has weights for.

 private:
  const long long shiftOf(int actionIndex) const;
  void replaceTrace(int tile, double VALUE, int actionIndex, const QuarnelUtility::Place& place);
  const bool checkActionIndex(int actionIndex, const QuarnelUtility::Place& place) const;
  void copyWeightsWithout(int actionIndex, double* survivors, int size) const;
  void discardTraces();
};

#endif
