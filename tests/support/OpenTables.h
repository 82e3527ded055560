#ifndef QUARNEL_TESTS_OPEN_TABLES_H
#define QUARNEL_TESTS_OPEN_TABLES_H

#include <quarnel/ActionLookupTable.h>
#include <quarnel/StateLookupTable.h>

#include <cstddef>
#include <map>
#include <vector>

/// A lookup table whose weights and traces a test may look into; `Table` is `StateLookupTable` or
/// `ActionLookupTable`.
template <typename Table>
class OpenTable : public Table {
 public:
  using Table::Table;

  /// The weights in the order of cells.
  std::vector<double> allWeights() const {
    return std::vector<double>(this->weights, this->weights + this->ARRAY_SIZE);
  }

  /// Sets the first weights.
  void setWeights(const std::vector<double>& list) {
    for (std::size_t i = 0; i < list.size(); ++i) {
      this->writeWeight(static_cast<int>(i), list[i]);
    }
  }

  /// The traces that are not zero, by cell, in either storage.
  std::map<int, double> traces() const {
    std::map<int, double> found;
    for (int i = 0; i < this->ARRAY_SIZE; ++i) {
      const auto entry = this->eTracesMap.find(i);
      const double trace = this->traceStorage == Types::ARRAY
                               ? (this->eTraces != nullptr ? this->eTraces[i] : 0.0)
                               : (entry != this->eTracesMap.end() ? entry->second : 0.0);
      if (trace != 0.0) {
        found[i] = trace;
      }
    }
    return found;
  }
};

using OpenStateTable = OpenTable<StateLookupTable>;
using OpenActionTable = OpenTable<ActionLookupTable>;

#endif
