#ifndef QUARNEL_TILINGS_H
#define QUARNEL_TILINGS_H

#include <cstdio>
#include <list>

#include "IndexSet.h"
#include "State.h"
#include "TraceMap.h"
#include "Types.h"
#include "Utility.h"

/// A group of tilings over some of the real state variables.
///
/// Every tiling of a group cuts the space of the covered variables into tiles of the same widths;
/// the tilings are shifted against each other by equal steps of a tile's width. For a state each
/// tiling has one active tile, or none, and the value of the state is the sum of the active tiles'
/// weights. A fine resolution comes from many tilings, generalisation from wide tiles.
///
/// The weights of all tilings lie interleaved in one array: the number of the tiling varies
/// fastest, then the tile along the last variable.
///
/// `StateTilings` and `ActionTilings` add the layout over a state and the values; their containers
/// `StateTileCoding` and `ActionTileCoding` are what a learner works on.
///
/// A storage of traces that is neither `MAP` nor `ARRAY`, as a file may bring it, is reported by
/// every operation that needs traces, and so is an array of traces that `initEligibilityTraces()`
/// has not made yet.
///
/// An index outside the array is reported when a state activates it; it then counts as no active
/// tile wherever weights and traces are read or changed.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, section 9.5.4 (tile coding).
class Tilings {
 public:
  /// A group that has no weights until it is laid out over a state.
  ///
  /// @param numberOfTilings at least 1.
  /// @param varList the covered variables: id, the resolution wished for (the shift between two
  ///   tilings, in units of the variable; above 0) and what happens at the ends of the range.
  Tilings(int numberOfTilings, const std::list<Types::TILINGS_VAR_STRUCT>& varList);

  /// Reads a group with `load()`, whose failures are only reported.
  ///
  /// @param aStatePtr the state whose variables are covered; not owned.
  /// @param file stands at the group's block.
  Tilings(State* aStatePtr, FILE* file);

  virtual ~Tilings();

  Tilings(const Tilings&) = delete;
  Tilings& operator=(const Tilings&) = delete;

  /// Sets every weight, in storage order, to a fresh call of the function; reports where there are
  /// no weights.
  ///
  /// @param initFunctionPtr gives the next weight; null is reported and changes nothing.
  virtual void initWeights(const double (*initFunctionPtr)());

  /// Makes all traces zero. Makes the array of traces in `ARRAY` storage.
  virtual void initEligibilityTraces();

  /// Adds ALPHA * DELTA * trace to every weight with a trace; while there are no traces, adds
  /// ALPHA * DELTA to the weights of the stored tiles. Having neither is reported.
  ///
  /// @param ALPHA the learning rate.
  /// @param DELTA the temporal-difference error.
  virtual void updateWeights(double ALPHA, double DELTA);

  /// Multiplies every trace by GAMMA * LAMBDA. No entry of the map is ever removed, however small.
  ///
  /// @param GAMMA the discount factor.
  /// @param LAMBDA the trace decay.
  virtual void updateEligibilityTraces(double GAMMA, double LAMBDA);

  /// Clamps every weight into [MIN_WEIGHT, MAX_WEIGHT], the lower limit first; a weight that is not
  /// a number becomes MIN_WEIGHT. Reports where there are no weights.
  ///
  /// @param MIN_WEIGHT the lower limit.
  /// @param MAX_WEIGHT the upper limit.
  virtual void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT);

  /// @return the smallest weight; 1.7976931348623157e308 after a report where there are none.
  virtual const double getMinWeight() const;

  /// @param abs true for the sum of the absolute values.
  /// @param weightCount the number of weights is added to it.
  /// @return the sum of the weights; 0.0 after a report where there are none.
  virtual const double getWeightSum(bool abs, int& weightCount) const;

  /// @return the largest weight; -1.7976931348623157e308 after a report where there are none.
  virtual const double getMaxWeight() const;

  /// Finds the active tile of every tiling for the state's current values. Reports where there is
  /// no state, where an index lies outside the array, and where a value is too far from its circle.
  virtual void activateTiles();

  /// Empties the set of tiles visited in the episode.
  virtual void initEpisodeStateHistory();

  /// Adds an amount to the weight of every tile visited in the episode, once each; reports where
  /// there is none.
  ///
  /// @param amount what each weight gains.
  virtual void valueEpisode(double amount);

  /// Writes the group's block: sizes, variables, layout and weights.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after a report.
  virtual const int save(FILE* file) const;

  /// Reads a group's block in place of what the group holds. Sizes that the rest of the file can't
  /// hold are a failed read.
  ///
  /// @param file open for reading, at a group's block.
  /// @return 0; -1 after a report, with what was read before kept.
  virtual const int load(FILE* file);

 protected:
  /// Makes the arrays of the layout, for `DIMENSIONS` variables and `TILINGS` tilings.
  virtual void allocateMemory();

  /// @return a new array with a number for each weight, not initialised, which the caller stores;
  ///   null after a report that names the number of weights.
  virtual double* allocateMemoryWeights();

  /// Releases layout, weights and traces.
  virtual void freeMemory();

 public:
  /// @return the number of tilings in the group.
  const int getNumberOfTilings() const { return TILINGS; }

  /// @param newTraceStorage where traces are kept from now on; traces that are there stay.
  void setTraceStorage(Types::TRACE_STORAGE newTraceStorage) { traceStorage = newTraceStorage; }

  /// Empties the map of traces.
  void clearTraceMap() { eTracesMap.clear(); }

 protected:
  /// Lays the tiles out over the ranges of the state's variables, with `actions` weights for each
  /// tile, and makes the weights; releases what the group learnt before. Ranges, resolutions and
  /// sizes that give no layout are reported and leave the group without weights.
  ///
  /// @param aStatePtr the state; not owned.
  /// @param actions 1, or the number of actions.
  /// @param place where a report is said to come from.
  void layOut(State* aStatePtr, int actions, const QuarnelUtility::Place& place);

  /// @param actions 1, or the number of actions.
  /// @return the number of weights for the tiles there are and `actions` weights for each; the
  ///   largest or smallest number where it lies beyond.
  const long long countWeights(int actions) const;

  /// Sets the strides of the weights, for the tiles there are and `actions` weights for each.
  ///
  /// @param actions 1, or the number of actions.
  void layOutStrides(int actions);

  /// Sets the shifts of the tilings against each other, by the resolutions there are.
  void layOutOffsets();

  /// @param tiling number of the tiling, in [0, `TILINGS`).
  /// @return the weight index of a tiling's active tile; -1 where it has none.
  const int activeTile(int tiling) const;

  /// @param index any number.
  /// @return true when there is a weight at this index.
  const bool isTile(int index) const { return index >= 0 && index < ARRAY_SIZE; }

  /// @param tile the index of a tile.
  /// @param shift a number of weights: that of the tilings, times the action.
  /// @return the index that lies `shift` behind that of a tile; -1 where there is no weight at either.
  const int behind(int tile, long long shift) const {
    const long long index = tile + shift;
    return isTile(tile) && index >= 0 && index < ARRAY_SIZE ? static_cast<int>(index) : -1;
  }

  /// @param shift as for `behind()`.
  /// @return the sum of the weights that lie `shift` behind the active tiles.
  const double sumActiveWeights(long long shift) const;

  /// Remembers the weights that lie `shift` behind the active tiles for an update without traces;
  /// reports where there is no memory for them.
  ///
  /// @param shift as for `behind()`.
  /// @param place where a report is said to come from.
  void storeTiles(long long shift, const QuarnelUtility::Place& place);

  /// Records the weights that lie `shift` behind the active tiles in the episode's history; reports
  /// where there is no memory for them.
  ///
  /// @param shift as for `behind()`.
  /// @param place where a report is said to come from.
  void rememberTiles(long long shift, const QuarnelUtility::Place& place);

  /// Releases the tiles stored for an update without traces.
  void releaseStoredTiles();

  /// Removes the trace of an index, in either storage.
  ///
  /// @param index any number.
  void clearTrace(int index);

  /// Sets the trace of an index, in either storage, after `checkTraces()`. Reports where there is
  /// no memory for an entry of the map.
  ///
  /// @param index the index of a weight.
  /// @param VALUE its trace from now on.
  /// @param place where a report is said to come from.
  void setTrace(int index, double VALUE, const QuarnelUtility::Place& place);

  /// Adds to the traces that lie `shift` behind the active tiles. Reports where there are no traces
  /// to change, or no memory for an entry of the map.
  ///
  /// @param VALUE what to add.
  /// @param shift as for `behind()`.
  /// @param place where a report is said to come from.
  void accumulateTraces(double VALUE, long long shift, const QuarnelUtility::Place& place);

  /// @param place where a report is said to come from.
  /// @return true when there are weights; false after a report.
  const bool checkWeights(const QuarnelUtility::Place& place) const;

  /// @param place where a report is said to come from.
  /// @return true when traces can be set in the storage there is; false after a report.
  const bool checkTraces(const QuarnelUtility::Place& place) const;

  int TILINGS;                        ///< Number of tilings.
  int DIMENSIONS;                     ///< Number of covered variables.
  Types::TRACE_STORAGE traceStorage;  ///< Where traces are kept; `MAP` at first.
  Types::TILINGS_VAR_STRUCT* vars;    ///< The `DIMENSIONS` covered variables; owned, as all arrays.
  int* tiles;                         ///< `DIMENSIONS`: number of tiles along each variable.
  double* tileWidth;                  ///< `DIMENSIONS`: width of a tile, in units of the variable.
  int* indexOffset;                   ///< `DIMENSIONS`: stride of each variable's tile number.
  int* activeTiles;                   ///< `TILINGS`: weight of each active tile; -1 for none.
  int* storedActiveIndices;           ///< Weights of an update without traces; null at first.
  double** tileOffset;                ///< `TILINGS` rows of `DIMENSIONS` shifts.
  int ARRAY_SIZE;                     ///< Number of weights.
  double* weights;                    ///< `ARRAY_SIZE` weights; null before there is a layout.
  double* eTraces;                    ///< `ARRAY_SIZE` traces, as `weights`; null without `ARRAY`.
  TraceMap eTracesMap;                ///< The traces in `MAP` storage, by index of the weight.
  State* statePtr;                    ///< The state; not owned.
  IndexSet episodeIndexHistorySet;    ///< Weights whose tiles were active in the episode.

  /// Length of `storedActiveIndices`: a group that is loaded may have another number of tilings.
  int storedSize;

  /// A variable as `activateTiles()` needs it, once the state has been asked for it.
  struct Reading {
    bool known;                 ///< The state has been asked, and has the variable.
    Types::TILE_TYPE tileType;  ///< What happens at the ends of the range.
    int stride;                 ///< Weights from one tile to the next.
    int lastTile;               ///< Number of the last tile, from 0.
    double value;               ///< The current value.
    double min;                 ///< Lower end of the range.
    double max;                 ///< Upper end of the range.
    double distance;            ///< From the lower end of the range to the value.
    double width;               ///< Width of a tile.
  };

  /// What the state says of each covered variable: it is asked once for all tilings.
  Reading* readings;

 private:
  const bool layOutVariable(int d, const QuarnelUtility::Place& place);
  const bool checkStrides(int actions, const QuarnelUtility::Place& place) const;
  void reportNothingToUpdate(const QuarnelUtility::Place& place) const;
  void readVariable(int d) const;
  // Reports stand apart from the loops that hardly ever make them, which are faster for it.
  [[gnu::cold, gnu::noinline]] static void reportOutOfBounds(int index,
                                                             const QuarnelUtility::Place& place);
  [[gnu::cold, gnu::noinline]] void reportTileType(int d, const QuarnelUtility::Place& place) const;
  const int findTile(int tiling, const QuarnelUtility::Place& place) const;
  const bool tileNumber(int d, const Reading& reading, double shift,
                        const QuarnelUtility::Place& place, int& number) const;
  [[gnu::noinline]] const bool wrapIntoCircle(int d, double& position,
                                              const QuarnelUtility::Place& place) const;
  const bool loadSizes(FILE* file, const QuarnelUtility::Place& place);
  const bool loadLayout(FILE* file, const QuarnelUtility::Place& place);
  const bool saveOffsets(FILE* file, const QuarnelUtility::Place& place) const;
};

#endif
