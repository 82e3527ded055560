#include "WeightArray.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Allocation.h"
#include "BinaryFile.h"
#include "VectorLoops.h"

namespace WeightArray {

namespace {

const bool checkTraces(Types::TRACE_STORAGE storage, const double* array, const char* nextCall,
                       const QuarnelUtility::Place& place) {
  if (storage != Types::MAP && storage != Types::ARRAY) {
    QUARNEL_ERROR_AT(place, "Unknown traceStorage = " << storage);
    return false;
  }
  if (storage == Types::ARRAY && array == nullptr) {
    QUARNEL_ERROR_AT(place, "traceStorage == ARRAY and eTraces == 0"
                                << " --> Set traceStorage to MAP or call initEligibilityTraces"
                                << " before calling " << nextCall << "!");
    return false;
  }
  return true;
}

void addScattered(double* __restrict sums, std::size_t sumsSize, const int* __restrict indices,
                  const double* __restrict numbers, std::size_t size, double factor) {
  for (std::size_t i = 0; i < size; ++i) {
    // A negative index becomes a huge one.
    const auto index = static_cast<std::size_t>(indices[i]);
    if (index < sumsSize) {
      sums[index] += numbers[i] * factor;
    }
  }
}

const std::size_t lengthOf(int size) { return static_cast<std::size_t>(std::max(size, 0)); }

}  // namespace

const bool check(const double* weights, const QuarnelUtility::Place& place) {
  if (weights == nullptr) {
    QUARNEL_ERROR_AT(place, "weights == 0 --> Maybe forgot to call create?");
  }
  return weights != nullptr;
}

void initialise(double* weights, int size, const double (*initFunctionPtr)(),
                const QuarnelUtility::Place& place) {
  if (!check(weights, place)) {
    return;
  }
  if (initFunctionPtr == nullptr) {
    QUARNEL_ERROR_AT(place, "initFunctionPtr == 0");
    return;
  }
  for (int i = 0; i < size; ++i) {
    weights[i] = initFunctionPtr();
  }
}

void clamp(double* weights, int size, double minWeight, double maxWeight) {
  for (int i = 0; i < size; ++i) {
    // A comparison with NaN is false, so these two forms turn NaN into the lower limit.
    const double raised = weights[i] > minWeight ? weights[i] : minWeight;
    weights[i] = maxWeight > raised ? raised : maxWeight;
  }
}

const double minimum(const double* weights, int size) {
  double min = std::numeric_limits<double>::max();
  for (int i = 0; i < size; ++i) {
    if (min > weights[i]) {
      min = weights[i];
    }
  }
  return min;
}

const double maximum(const double* weights, int size) {
  double max = std::numeric_limits<double>::lowest();
  for (int i = 0; i < size; ++i) {
    if (weights[i] > max) {
      max = weights[i];
    }
  }
  return max;
}

const double sum(const double* weights, int size, bool abs) {
  double total = 0.0;
  for (int i = 0; i < size; ++i) {
    total += abs ? std::fabs(weights[i]) : weights[i];
  }
  return total;
}

void add(double* weights, int size, int index, double amount) {
  if (index >= 0 && index < size) {
    weights[index] += amount;
  }
}

void valueEpisode(double* weights, int size, const IndexSet& visited, double amount,
                  const QuarnelUtility::Place& place) {
  if (visited.empty()) {
    QUARNEL_ERROR_AT(place, "episodeIndexHistorySet is empty! "
                                << "Did you forget to set ValueFunction::episodeStateHistory to"
                                << " true?");
  } else if (check(weights, place)) {
    for (std::size_t i = 0; i < visited.size(); ++i) {
      add(weights, size, visited.indices()[i], amount);
    }
  }
}

void addTraces(double* weights, int size, const double* traces, double step) {
  VectorLoops::addScaled(weights, traces, lengthOf(size), step);
}

void addTraces(double* weights, int size, const TraceMap& traces, double step) {
  // No weight is met twice, so the order of the traces can't be seen in the sums.
  addScattered(weights, lengthOf(size), traces.indices(), traces.values(), traces.size(), step);
}

void clearTraces(Types::TRACE_STORAGE storage, double* array, int size, TraceMap& map,
                 const QuarnelUtility::Place& place) {
  switch (storage) {
    case Types::ARRAY:
      if (array != nullptr) {
        std::fill_n(array, size, 0.0);
      }
      break;
    case Types::MAP:
      map.clear();
      break;
    default:
      QUARNEL_ERROR_AT(place, "Unknown traceStorage = " << storage);
  }
}

void decayTraces(Types::TRACE_STORAGE storage, double* array, int size, TraceMap& map,
                 double factor, const QuarnelUtility::Place& place) {
  if (!checkTraces(storage, array, "updateEligibilityTraces", place)) {
    return;
  }
  if (storage == Types::MAP) {
    VectorLoops::scale(map.values(), map.size(), factor);
  } else {
    VectorLoops::scale(array, lengthOf(size), factor);
  }
}

const bool checkTraces(Types::TRACE_STORAGE storage, const double* array,
                       const QuarnelUtility::Place& place) {
  // The trace is set for the update that follows, so the remedy names that call.
  return checkTraces(storage, array, "updateWeights", place);
}

void setTrace(TraceMap& traces, int index, double trace, const QuarnelUtility::Place& place) {
  Allocation::succeeds([&] { traces.set(index, trace); }, "a trace", place);
}

void addToTrace(TraceMap& traces, int index, double amount, const QuarnelUtility::Place& place) {
  Allocation::succeeds([&] { traces.add(index, amount); }, "a trace", place);
}

void remember(IndexSet& indices, int index, const QuarnelUtility::Place& place) {
  Allocation::succeeds([&] { indices.add(index); }, "a visited weight", place);
}

}  // namespace WeightArray
