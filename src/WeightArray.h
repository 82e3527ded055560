#ifndef QUARNEL_WEIGHT_ARRAY_H
#define QUARNEL_WEIGHT_ARRAY_H

#include <algorithm>
#include <cstdio>
#include <vector>

#include "BinaryFile.h"
#include "IndexSet.h"
#include "TraceMap.h"
#include "Types.h"
#include "Utility.h"

// No part of the interface.
#pragma GCC visibility push(hidden)
/// What tables and tilings do alike with an array of weights, its eligibility traces and the
/// indices visited in an episode. An index outside the array is ignored: maps and sets may be left
/// over from a larger array.
namespace WeightArray {

/// @return true when there are weights; false after a report.
const bool check(const double* weights, const QuarnelUtility::Place& place);

/// Sets every weight, in ascending order, to a fresh call of the function; reports where there are
/// no weights, or no function.
void initialise(double* weights, int size, const double (*initFunctionPtr)(),
                const QuarnelUtility::Place& place);

/// Clamps every weight into [minWeight, maxWeight], the lower limit first; what is not a number
/// becomes the lower limit.
void clamp(double* weights, int size, double minWeight, double maxWeight);

/// @return the smallest weight; 1.7976931348623157e308 where there is none.
const double minimum(const double* weights, int size);

/// @return the largest weight; -1.7976931348623157e308 where there is none.
const double maximum(const double* weights, int size);

/// @return the sum of the weights, or of their absolute values.
const double sum(const double* weights, int size, bool abs);

/// Adds an amount to the weight at an index.
void add(double* weights, int size, int index, double amount);

/// Adds an amount to the weight at each index visited in an episode; reports where there is no
/// index, or no weights.
void valueEpisode(double* weights, int size, const IndexSet& visited, double amount,
                  const QuarnelUtility::Place& place);

/// Adds trace * step to every weight.
void addTraces(double* weights, int size, const double* traces, double step);

/// Adds trace * step to every weight with a trace.
void addTraces(double* weights, int size, const TraceMap& traces, double step);

/// Makes the traces of the storage in use zero; reports an unknown storage.
void clearTraces(Types::TRACE_STORAGE storage, double* array, int size, TraceMap& map,
                 const QuarnelUtility::Place& place);

/// Multiplies the traces of the storage in use by a factor; no entry of the map is ever removed,
/// however small. Reports an unknown storage and a missing array.
void decayTraces(Types::TRACE_STORAGE storage, double* array, int size, TraceMap& map,
                 double factor, const QuarnelUtility::Place& place);

/// @return true when traces can be set in the storage; false after a report of an unknown storage
///   or a missing array.
const bool checkTraces(Types::TRACE_STORAGE storage, const double* array,
                       const QuarnelUtility::Place& place);

/// Sets a trace; reports where there is no memory for it.
void setTrace(TraceMap& traces, int index, double trace, const QuarnelUtility::Place& place);

/// Adds to a trace, which starts at 0.0; reports where there is no memory for it.
void addToTrace(TraceMap& traces, int index, double amount, const QuarnelUtility::Place& place);

/// Records an index as visited; reports where there is no memory for it.
void remember(IndexSet& indices, int index, const QuarnelUtility::Place& place);

/// Reads as many weights as the file says, into a new array of the caller's making, unless the file
/// can't hold them; `size` and `weights` then stay as they are.
///
/// @return true, or false after a report.
template <typename Allocate>
const bool load(FILE* file, int storedSize, int& size, double*& weights, const Allocate& allocate,
                const QuarnelUtility::Place& place) {
  if (storedSize < 0 || !BinaryFile::mayHold(file, storedSize, sizeof(double))) {
    BinaryFile::refuseCount(file, place);
    return false;
  }
  const auto count = static_cast<std::size_t>(storedSize);
  // A stream that can't tell its size is read before there is an array for it.
  std::vector<double> arrived;
  const bool sizeKnown = BinaryFile::remainingBytes(file) >= 0;
  if (!sizeKnown && !BinaryFile::readGrowing(file, arrived, count, place)) {
    return false;
  }
  size = storedSize;
  weights = allocate();
  if (weights == nullptr) {
    return false;
  }
  if (sizeKnown) {
    return BinaryFile::readItems(file, weights, sizeof(double), count, place);
  }
  std::copy(arrived.begin(), arrived.end(), weights);
  return true;
}

}  // namespace WeightArray
#pragma GCC visibility pop

#endif
