#ifndef QUARNEL_ACTION_TILE_CODING_H
#define QUARNEL_ACTION_TILE_CODING_H

#include <string>

#include "ActionTilings.h"
#include "ActionValueFunction.h"
#include "TileCoding.h"

/// The tile-coded action-value function Q(s, a): the sum, over groups of tilings, of an action's
/// weights in the active tiles. For `Sarsa` and `Watkins`, where the state is continuous.
///
/// Register the actions first, then the groups. All values start at 0.0; `setActionValue()` and
/// `initWeights()` give them others.
///
/// @code
/// State* const state = new State;
/// const unsigned int x = state->registerVariable("x", -1.2, 0.6);
/// ActionTileCoding* const tileCoding = new ActionTileCoding(state);
/// tileCoding->registerAction(new AbstractAction);
/// tileCoding->registerAction(new AbstractAction);
/// // 8 tilings of tiles 0.225 wide, shifted by an eighth of that
/// tileCoding->registerTiling(new ActionTilings(8, {{x, 1.8 / 64, Types::WRAP}}));
/// avfPtr = tileCoding;  // in the constructor of a class derived from Sarsa or Watkins
/// @endcode
class ActionTileCoding : public ActionValueFunction, public TileCoding {
 public:
  /// No groups yet. Sets the constant initialiser of all value functions to 0.0.
  ///
  /// @param aStatePtr holds real variables only; owned from now on.
  explicit ActionTileCoding(State* aStatePtr);

  /// Builds the value function and its state from a file that `save()` has written. A file that is
  /// missing or damaged is reported and gives a value function with the groups that could be read.
  ///
  /// @param fileName path of the file.
  explicit ActionTileCoding(const std::string& fileName);

  ~ActionTileCoding() override;

  using ActionValueFunction::load;
  using ActionValueFunction::save;

  void initWeights(const double (*initFunctionPtr)()) override;
  void initEligibilityTraces() override;
  void updateWeights(double ALPHA, double DELTA) override;
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override;

  /// Adds VALUE to the traces of the active tiles and action, and records them in the episode's
  /// history where that is in use.
  ///
  /// @param VALUE the amount.
  void accumulatingTraces(double VALUE) override;

  /// Sets the traces of the active tiles and action to VALUE, clears those of the other actions
  /// there, and records them in the episode's history where that is in use.
  ///
  /// @param VALUE the trace.
  void replacingTraces(double VALUE) override;

  /// Clamps every weight into the limits, unless these are the widest there are.
  void checkWeightLimit() override;
  const double getMinWeight() const override;
  const double getAvgWeight(bool abs) const override;
  const double getMaxWeight() const override;
  void setState() override;

  /// Remembers the active tiles and action for an update without traces, and records them in the
  /// episode's history where that is in use.
  void storeState() override;

  void initEpisodeStateHistory() override;
  void valueEpisode(double amount) override;

 protected:
  const int save(FILE* file) const override;
  const int load(FILE* file) override;

 public:
  /// @param actionIndex the action's index.
  /// @return the sum of an action's weights in the active tiles of all groups; 0.0 without groups.
  const double getActionValue(int actionIndex) const override;

 protected:
  /// Takes an action out of every group; a group that refuses is reported.
  ///
  /// @param actionIndex the action's index.
  void removeAction(int actionIndex) override;

 public:
  /// Lays a group out over the state for the actions registered so far, initialises its weights and
  /// adds it; it is owned from then on. No group, and one that is registered already, is reported.
  ///
  /// @param actionTilingPtr the group.
  virtual void registerTiling(ActionTilings* actionTilingPtr);

  /// Sets every weight of an action in every group; the action's value is then `actionValue` times
  /// the number of active tiles.
  ///
  /// @param actionIndex the action's index.
  /// @param actionValue the weight from now on.
  virtual void setActionValue(int actionIndex, double actionValue);

 private:
  // Records the active tiles in the episode's history where that is in use.
  void recordVisit();
};

#endif
