#ifndef QUARNEL_TRACE_MAP_H
#define QUARNEL_TRACE_MAP_H

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "KeyIndex.h"

/// Sparse eligibility traces: from the index of a weight to its trace.
///
/// It looks like an ordered map from `int` to `double`. Inside, the traces lie dense in an array, so
/// that decaying them and adding them to the weights are plain loops; an order is made only when
/// somebody iterates. A step of learning allocates nothing once the map has held as many traces
/// before.
///
/// An iteration goes in ascending order of the indices. Adding or removing traces, as well as
/// `begin()` and `find()`, which may have to sort, invalidate iterators and references to traces.
/// An entry is part of the iterator that shows it, and goes with it.
class TraceMap {
 public:
  using key_type = int;
  using mapped_type = double;
  using value_type = std::pair<const int, double>;
  using size_type = std::size_t;

  /// An entry as an iterator shows it; `second` is the trace itself.
  template <typename Trace>
  struct Entry {
    using first_type = const int;
    using second_type = double;

    const int first;  ///< Index of the weight.
    Trace& second;    ///< Its trace.

    /// A copy of both, as an ordered map would show it.
    template <typename Index, typename Number>
    operator std::pair<Index, Number>() const {  // NOLINT(google-explicit-constructor)
      return {first, second};
    }

    template <typename Other>
    bool operator==(const Entry<Other>& other) const {
      return first == other.first && second == other.second;
    }
  };

  /// Goes through the entries in ascending order.
  template <typename Map, typename Trace>
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = TraceMap::value_type;
    using difference_type = std::ptrdiff_t;
    using reference = Entry<Trace>&;
    using pointer = Entry<Trace>*;

    Iterator() : map(nullptr), position(0) {}
    Iterator(Map& newMap, std::size_t newPosition) : map(&newMap), position(newPosition) {}

    /// An iterator for reading only from one for writing.
    template <typename OtherMap, typename OtherTrace>
    Iterator(const Iterator<OtherMap, OtherTrace>& other)  // NOLINT(google-explicit-constructor)
        : map(other.map), position(other.position) {}

    Iterator(const Iterator& other) : map(other.map), position(other.position) {}
    Iterator& operator=(const Iterator& other) {
      if (this != &other) {
        map = other.map;
        position = other.position;
        entry.reset();
      }
      return *this;
    }
    ~Iterator() = default;

    /// @return the entry, which lives until the iterator is moved on or used again.
    reference operator*() const {
      return entry.emplace(Entry<Trace>{map->keys.data()[position], map->traces[position]});
    }
    pointer operator->() const { return &**this; }

    Iterator& operator++() {
      ++position;
      return *this;
    }
    Iterator operator++(int) {
      const Iterator before = *this;
      ++position;
      return before;
    }

    template <typename OtherMap, typename OtherTrace>
    bool operator==(const Iterator<OtherMap, OtherTrace>& other) const {
      return position == other.position;
    }
    template <typename OtherMap, typename OtherTrace>
    bool operator!=(const Iterator<OtherMap, OtherTrace>& other) const {
      return position != other.position;
    }

   private:
    template <typename OtherMap, typename OtherTrace>
    friend class Iterator;

    Map* map;
    std::size_t position;
    mutable std::optional<Entry<Trace>> entry;
  };

  using iterator = Iterator<TraceMap, double>;
  using const_iterator = Iterator<const TraceMap, const double>;

  TraceMap();
  TraceMap(std::initializer_list<value_type> entries);
  ~TraceMap();
  TraceMap(const TraceMap&);
  TraceMap& operator=(const TraceMap&);

  /// @return the number of traces.
  std::size_t size() const { return traces.size(); }

  /// @return true when there is no trace.
  bool empty() const { return traces.empty(); }

  /// @return 1 when there is a trace for the index, else 0.
  std::size_t count(int index) const { return keys.find(index) != KeyIndex::ABSENT ? 1 : 0; }

  /// @return the trace of an index, which is made, 0.0, where there is none.
  double& operator[](int index) {
    const std::size_t position = keys.find(index);
    return position != KeyIndex::ABSENT ? traces[position] : append(index, 0.0);
  }

  /// Sets the trace of an index.
  void set(int index, double trace) {
    const std::size_t position = keys.find(index);
    if (position != KeyIndex::ABSENT) {
      traces[position] = trace;
    } else {
      append(index, trace);
    }
  }

  /// Adds to the trace of an index, which is made with the amount where there is none.
  void add(int index, double amount) {
    const std::size_t position = keys.find(index);
    if (position != KeyIndex::ABSENT) {
      traces[position] += amount;
    } else {
      append(index, amount);
    }
  }

  /// @return the trace of an index. @throws std::out_of_range where there is none.
  double& at(int index);
  const double& at(int index) const;

  /// Adds an entry unless there is a trace for its index. @return where it stands, and whether it
  /// was added.
  std::pair<iterator, bool> insert(const value_type& entry);

  /// Removes the trace of an index. @return the number of traces removed.
  std::size_t erase(int index) {
    const std::size_t position = keys.find(index);
    if (position == KeyIndex::ABSENT) {
      return 0;
    }
    sorted = sorted && position + 1 == traces.size();
    keys.removeAt(position);
    traces[position] = traces.back();
    traces.pop_back();
    return 1;
  }

  /// Removes all traces, in a time in proportion to their number.
  void clear();

  /// @return an iterator at the trace of an index; `end()` where there is none.
  iterator find(int index);
  const_iterator find(int index) const;

  iterator begin();
  const_iterator begin() const;
  iterator end() { return {*this, size()}; }
  const_iterator end() const { return {*this, size()}; }

  /// @return the indices, in no particular order.
  const int* indices() const { return keys.data(); }

  /// @return the traces, in the order of `indices()`.
  double* values() { return traces.data(); }
  const double* values() const { return traces.data(); }

  /// @return true when both hold the same traces.
  bool operator==(const TraceMap& other) const;

 private:
  double& append(int index, double trace);
  void sort() const;

  // Iterating sorts what it goes through, which changes nothing that can be seen from outside.
  mutable KeyIndex keys;
  mutable std::vector<double> traces;
  mutable bool sorted;
};

#endif
