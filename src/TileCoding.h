#ifndef QUARNEL_TILE_CODING_H
#define QUARNEL_TILE_CODING_H

#include <cstdio>
#include <list>

#include "Tilings.h"

/// The groups of tilings that make up a tile-coded value function.
///
/// Every operation goes to all groups, in the order of their registration. A value is the sum over
/// all active tiles of all groups, so the learning rate is divided by the number of tilings: a step
/// moves the value by ALPHA * DELTA, as in a table, where every tiling has an active tile (near the
/// lower end of a `CLIP` range some have none, and it moves by less).
///
/// `StateTileCoding` and `ActionTileCoding` join it with the interface of a value function.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, section 9.5.4 (tile coding).
class TileCoding {
 public:
  /// No groups yet.
  TileCoding();

  /// Deletes the groups.
  virtual ~TileCoding();

  TileCoding(const TileCoding&) = delete;
  TileCoding& operator=(const TileCoding&) = delete;

  /// Sets every weight, group by group, to a fresh call of the function.
  ///
  /// @param initFunctionPtr gives the next weight; null is reported and changes nothing.
  virtual void initWeights(const double (*initFunctionPtr)());

  /// Makes all traces zero.
  virtual void initEligibilityTraces();

  /// Learns in every group with ALPHA divided by the number of all tilings.
  ///
  /// @param ALPHA the learning rate.
  /// @param DELTA the temporal-difference error.
  virtual void updateWeights(double ALPHA, double DELTA);

  /// Multiplies every trace by GAMMA * LAMBDA.
  ///
  /// @param GAMMA the discount factor.
  /// @param LAMBDA the trace decay.
  virtual void updateEligibilityTraces(double GAMMA, double LAMBDA);

  /// @param newTraceStorage where every group keeps its traces from now on; call
  ///   `initEligibilityTraces()` afterwards.
  virtual void setTraceStorage(Types::TRACE_STORAGE newTraceStorage);

  /// Adds VALUE to the traces of the active tiles.
  ///
  /// @param VALUE the amount.
  virtual void accumulatingTraces(double VALUE) = 0;

  /// Sets the traces of the active tiles to VALUE.
  ///
  /// @param VALUE the trace.
  virtual void replacingTraces(double VALUE) = 0;

  /// @return the smallest weight; 1.7976931348623157e308 where there is none.
  virtual const double getMinWeight() const;

  /// @param abs true for the mean of the absolute values.
  /// @return the mean of all weights; not a number where there is no group.
  virtual const double getAvgWeight(bool abs) const;

  /// @return the largest weight; -1.7976931348623157e308 where there is none.
  virtual const double getMaxWeight() const;

  /// Finds the active tiles of every group for the state's current values.
  virtual void setState();

  /// Empties the sets of tiles visited in the episode.
  virtual void initEpisodeStateHistory();

  /// Adds an amount to the weight of every tile visited in the episode.
  ///
  /// @param amount what each weight gains.
  virtual void valueEpisode(double amount);

  /// Writes the number of groups (4 bytes) and their blocks.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after a report.
  virtual const int save(FILE* file) const;

  /// Reads what `save()` writes, in place of the groups there are.
  ///
  /// @param file open for reading, at a tile coding's block.
  /// @return 0; -1 after a report where the number of groups can't be true. A group that can't be
  ///   read is reported and stays, with what was read of it.
  virtual const int load(FILE* file) = 0;

  /// Deletes the groups; others may be registered or loaded afterwards.
  virtual void freeMemory();

 protected:
  /// @param tilingPtr the group, or null.
  /// @param place where a report is said to come from.
  /// @return true for a group that is not registered yet; false after a report.
  const bool checkNew(const Tilings* tilingPtr, const QuarnelUtility::Place& place) const;

  /// Appends a group, which is owned from now on; one that there is no memory for is deleted after
  /// a report.
  ///
  /// @param tilingPtr the group.
  void append(Tilings* tilingPtr);

  /// Clamps every weight into [minWeight, maxWeight], unless these are the widest limits there are.
  ///
  /// @param minWeight the lower limit.
  /// @param maxWeight the upper limit.
  void clampWeights(double minWeight, double maxWeight);

  /// Reads the number of groups in a block, for `load()`.
  ///
  /// @param file open for reading, at a tile coding's block.
  /// @param count becomes the number of groups.
  /// @param place where a report is said to come from.
  /// @return false after a report.
  const bool loadGroupCount(FILE* file, int& count, const QuarnelUtility::Place& place) const;

  /// @param file open for reading, at a group's block.
  /// @param group number of the group, from 0.
  /// @param place where a report is said to come from.
  /// @return false after a report when the stream has ended before a group beyond those that are
  ///   believed to be there.
  const bool groupFollows(FILE* file, int group, const QuarnelUtility::Place& place) const;

  std::list<Tilings*> tilingPtrList;  ///< The groups in the order of registration; owned.
  int numberOfTilings;                ///< Number of the tilings of all groups.
};

#endif
