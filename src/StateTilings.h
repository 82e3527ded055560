#ifndef QUARNEL_STATE_TILINGS_H
#define QUARNEL_STATE_TILINGS_H

#include <cstdio>
#include <list>

#include "Tilings.h"

/// A group of tilings with one weight for each tile, for a `StateTileCoding`.
class StateTilings : public Tilings {
 public:
  /// A group that is laid out when it is registered with a `StateTileCoding`.
  ///
  /// @param numberOfTilings at least 1.
  /// @param varList the covered variables: id, the resolution wished for (above 0, in units of the
  ///   variable) and what happens at the ends of the range.
  StateTilings(int numberOfTilings, const std::list<Types::TILINGS_VAR_STRUCT>& varList);

  /// Reads a group's block, with its layout; failures are only reported.
  ///
  /// @param aStatePtr the state; not owned.
  /// @param file open for reading, at a group's block.
  StateTilings(State* aStatePtr, FILE* file);

  ~StateTilings() override;

  /// Lays the group out over a state and makes its weights, not yet initialised.
  ///
  /// Along each variable there are as many tiles as the range needs at the resolution wished for
  /// times the number of tilings, rounded up; the resolution then becomes what that whole number of
  /// tiles gives. Ranges, resolutions and sizes that give no layout are reported and leave the
  /// group without weights.
  ///
  /// @param aStatePtr the state; not owned.
  virtual void create(State* aStatePtr);

  /// Adds VALUE to the trace of every active tile.
  ///
  /// @param VALUE the amount.
  virtual void accumulatingTraces(double VALUE);

  /// Sets the trace of every active tile to VALUE.
  ///
  /// @param VALUE the trace.
  virtual void replacingTraces(double VALUE);

  /// Remembers the active tiles for an update without traces.
  virtual void storeActiveTiles();

  /// @return the sum of the active tiles' weights; 1.7976931348623157e308 after a report where
  ///   there are no weights.
  virtual const double getStateValue() const;

  /// Records the active tiles in the episode's history.
  virtual void storeEpisodeState();
};

#endif
