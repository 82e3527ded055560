#ifndef QUARNEL_STATE_TILE_CODING_H
#define QUARNEL_STATE_TILE_CODING_H

#include <string>

#include "StateTilings.h"
#include "StateValueFunction.h"
#include "TileCoding.h"

/// The tile-coded state-value function V(s): the sum, over groups of tilings, of the weights of the
/// active tiles. For `TD`, where the state is continuous.
///
/// All values start at 0.0; `initWeights()` gives them others.
///
/// @code
/// State* const state = new State;
/// const unsigned int x = state->registerVariable("x", 0.0, 1.0);
/// StateTileCoding* const tileCoding = new StateTileCoding(state);
/// // 10 tilings of tiles 0.2 wide, shifted by a tenth of that
/// tileCoding->registerTiling(new StateTilings(10, {{x, 0.02, Types::WRAP}}));
/// svfPtr = tileCoding;  // in the constructor of a class derived from TD
/// @endcode
class StateTileCoding : public StateValueFunction, public TileCoding {
 public:
  /// No groups yet. Sets the constant initialiser of all value functions to 0.0.
  ///
  /// @param aStatePtr holds real variables only; owned from now on.
  explicit StateTileCoding(State* aStatePtr);

  /// Builds the value function and its state from a file that `save()` has written. A file that is
  /// missing or damaged is reported and gives a value function with the groups that could be read.
  ///
  /// @param fileName path of the file.
  explicit StateTileCoding(const std::string& fileName);

  ~StateTileCoding() override;

  using StateValueFunction::load;
  using StateValueFunction::save;

  void initWeights(const double (*initFunctionPtr)()) override;
  void initEligibilityTraces() override;
  void updateWeights(double ALPHA, double DELTA) override;
  void updateEligibilityTraces(double GAMMA, double LAMBDA) override;

  /// Adds VALUE to the traces of the active tiles, and records them in the episode's history
  /// where that is in use.
  ///
  /// @param VALUE the amount.
  void accumulatingTraces(double VALUE) override;

  /// Sets the traces of the active tiles to VALUE, and records them in the episode's history where
  /// that is in use.
  ///
  /// @param VALUE the trace.
  void replacingTraces(double VALUE) override;

  /// Clamps every weight into the limits, unless these are the widest there are.
  void checkWeightLimit() override;
  const double getMinWeight() const override;
  const double getAvgWeight(bool abs) const override;
  const double getMaxWeight() const override;
  void setState() override;

  /// Remembers the active tiles for an update without traces, and records them in the episode's
  /// history where that is in use.
  void storeState() override;

  void initEpisodeStateHistory() override;
  void valueEpisode(double amount) override;

 protected:
  const int save(FILE* file) const override;
  const int load(FILE* file) override;

 public:
  /// @return the sum of the active tiles' weights of all groups; 0.0 without groups.
  const double getStateValue() const override;

  /// Lays a group out over the state, initialises its weights and adds it; it is owned from then
  /// on. No group, and one that is registered already, is reported.
  ///
  /// @param stateTilingPtr the group.
  virtual void registerTiling(StateTilings* stateTilingPtr);

 private:
  // Records the active tiles in the episode's history where that is in use.
  void recordVisit();
};

#endif
