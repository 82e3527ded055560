#ifndef QUARNEL_LOOKUP_TABLE_H
#define QUARNEL_LOOKUP_TABLE_H

#include <cstdio>

#include "IndexSet.h"
#include "State.h"
#include "TraceMap.h"
#include "Types.h"
#include "Utility.h"

/// The tabular representation: one weight for every combination of the values of the integer state
/// variables (and, in an `ActionLookupTable`, of every action).
///
/// The cell of a state is the sum of (value - minimum) * place value over its variables; the last
/// variable varies fastest. A table keeps weights and eligibility traces of its cells and knows
/// nothing of what the weights mean; `StateLookupTable` and `ActionLookupTable` join it with the
/// interface of a value function.
///
/// Traces are kept either in a map, which holds only the cells visited since the start of the
/// episode (`MAP`, the default), or in an array with a trace for each cell (`ARRAY`): every step
/// walks the map or the whole array.
///
/// A storage that is neither of the two, as a file may bring it, is reported by every operation
/// that needs traces, and so is an array of traces that `initEligibilityTraces()` has not made yet.
///
/// An index outside the table reads as 0.0 and is ignored where weights and traces change, whether
/// it comes from a file, a map left over from another table or a caller.
///
/// Source of the algorithm: Sutton and Barto, Reinforcement Learning, 2nd edition, section 12.2
/// (eligibility traces as vectors of the weights' shape).
class LookupTable {
 public:
  /// A table without cells.
  ///
  /// @param state the state whose integer variables give the cell; not owned.
  explicit LookupTable(State* state);

  virtual ~LookupTable();

  LookupTable(const LookupTable&) = delete;
  LookupTable& operator=(const LookupTable&) = delete;

  /// Sets every weight, in the order of cells, to a fresh call of the function; reports where there
  /// are no weights.
  ///
  /// @param initFunctionPtr gives the next weight; null is reported and changes nothing.
  virtual void initWeights(const double (*initFunctionPtr)());

  /// Makes all traces zero. Makes the array of traces in `ARRAY` storage; call it again after
  /// loading.
  virtual void initEligibilityTraces();

  /// Adds DELTA * ALPHA * trace to every weight with a trace; while there are no traces, adds
  /// DELTA * ALPHA to the weight of the stored cell. Having neither is reported.
  ///
  /// @param ALPHA the learning rate.
  /// @param DELTA the temporal-difference error.
  virtual void updateWeights(double ALPHA, double DELTA);

  /// Multiplies every trace by LAMBDA * GAMMA. No entry of the map is ever removed, however small.
  ///
  /// @param GAMMA the discount factor.
  /// @param LAMBDA the trace decay.
  virtual void updateEligibilityTraces(double GAMMA, double LAMBDA);

  /// Clamps every weight into [MIN_WEIGHT, MAX_WEIGHT]; a weight that is not a number becomes
  /// MIN_WEIGHT. Reports where there are no weights.
  ///
  /// @param MIN_WEIGHT the lower limit.
  /// @param MAX_WEIGHT the upper limit.
  virtual void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT);

  /// @return the smallest weight; 1.7976931348623157e308 after a report where there are none.
  virtual const double getMinWeight() const;

  /// @param abs true for the mean of the absolute values.
  /// @return the mean of the weights; 0.0 after a report where there are none. Not a number for a
  ///   table that a removed action has left with no cells.
  virtual const double getAvgWeight(bool abs) const;

  /// @return the largest weight; -1.7976931348623157e308 after a report where there are none.
  virtual const double getMaxWeight() const;

  /// Makes the cell of the state's current values the active one.
  virtual void setState();

  /// Computes the active cell; -1 after a report where there is no state, or where a value lies
  /// so far outside its range that the cell lies outside the table.
  virtual void calculateActiveIndex();

  /// Empties the set of cells visited in the episode.
  virtual void initEpisodeStateHistory();

  /// Adds an amount to the weight of every cell visited in the episode; reports where there is
  /// none. The set stays as it is.
  ///
  /// @param amount what each weight gains.
  virtual void valueEpisode(double amount);

 protected:
  /// Writes the table's block: the trace storage, the place values and the number of cells as
  /// 4-byte integers, then the weights as 8-byte reals.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after a report.
  virtual const int save(FILE* file) const;

  /// Reads the table's block in place of what the table holds. A number of cells that the rest of
  /// the file can't hold is a failed read.
  ///
  /// @param file open for reading, at a table's block.
  /// @return 0; -1 after a report, and the table then may be without weights.
  virtual const int load(FILE* file);

  /// Makes the array of place values, one for each variable of the state, and notes its length in
  /// `indexOffsetSize`; place values beyond that length count as 0.
  virtual void allocateMemory();

  /// @return a new array with a number for each cell, not initialised, which the caller stores;
  ///   null after a report that names the number of cells.
  virtual double* allocateMemoryWeights();

  /// Releases weights, traces and place values.
  virtual void freeMemory();

 public:
  /// @param storage where traces are kept from now on; call it before `initEligibilityTraces()`.
  void setTraceStorage(Types::TRACE_STORAGE storage) { traceStorage = storage; }

 protected:
  /// Empties the map of traces.
  void clearTraceMap() { eTracesMap.clear(); }

  /// @param state the state to read from now on; not owned.
  void setStatePtr(State* state) { statePtr = state; }

  /// Makes place values and weights for the state's ranges, with `cellsPerState` adjacent cells for
  /// each combination of values; releases what the table held. A table that has too many cells is
  /// reported and left without weights.
  ///
  /// @param cellsPerState 1, or the number of actions.
  void layOut(int cellsPerState);

  /// @param index any number.
  /// @return true when the index is that of a cell.
  const bool isCell(int index) const { return index >= 0 && index < ARRAY_SIZE; }

  /// @param index any number.
  /// @return the weight at an index; 0.0 outside the table.
  const double readWeight(int index) const {
    return weights != nullptr && isCell(index) ? weights[index] : 0.0;
  }

  /// Sets the weight at an index; does nothing outside the table.
  ///
  /// @param index any number.
  /// @param weight the weight from now on.
  void writeWeight(int index, double weight) {
    if (weights != nullptr && isCell(index)) {
      weights[index] = weight;
    }
  }

  /// @param place where a report is said to come from.
  /// @return true when there are weights; false after a report.
  const bool checkWeights(const QuarnelUtility::Place& place) const;

  /// @param place where a report is said to come from.
  /// @return true when traces can be set in the storage in use; false after a report.
  const bool checkTraces(const QuarnelUtility::Place& place) const;

  /// Sets the trace of a cell, in either storage, after `checkTraces()`. Reports where there is no
  /// memory for an entry of the map.
  ///
  /// @param index the cell.
  /// @param VALUE its trace from now on.
  /// @param place where a report is said to come from.
  void setTrace(int index, double VALUE, const QuarnelUtility::Place& place);

  /// Adds to the trace of a cell, in either storage, unless no cell is active. Reports where there
  /// are no traces to change, or no memory for an entry of the map.
  ///
  /// @param index the cell.
  /// @param VALUE what to add.
  /// @param place where a report is said to come from.
  void accumulateTrace(int index, double VALUE, const QuarnelUtility::Place& place);

  /// Records a cell as visited in the episode; reports where there is no memory for it.
  ///
  /// @param index the cell.
  void rememberCell(int index);

  Types::TRACE_STORAGE traceStorage;  ///< Where traces are kept; `MAP` at first.
  int ARRAY_SIZE;                     ///< Number of cells.
  double* weights;                    ///< `ARRAY_SIZE` weights, by cell; owned.
  double* eTraces;                    ///< `ARRAY_SIZE` traces; owned, null in `MAP` storage.
  TraceMap eTracesMap;                ///< The traces in `MAP` storage, by cell.
  int* indexOffset;                   ///< Place values, by variable; owned.
  int activeIndex;                    ///< Cell of the state, that of action 0; -1 for none.
  int storedActiveIndex;              ///< Cell of an update without traces; -1 for none.
  IndexSet episodeIndexHistorySet;    ///< Cells visited in the episode.
  State* statePtr;                    ///< The state; not owned.

  /// Length of `indexOffset`: the state may have been given more variables since.
  unsigned int indexOffsetSize;

 private:
  const unsigned int numberOfVariables() const;
  const int placeValue(unsigned int variable) const;
  // The number of combinations of the variables behind one, wrapped around where it is too large.
  const int cellsBehind(unsigned int variable) const;
  const bool savePlaceValues(FILE* file, const QuarnelUtility::Place& place) const;
  const bool loadPlaceValues(FILE* file, const QuarnelUtility::Place& place);
};

#endif
