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
  using key_type = int;                             ///< The index of a weight.
  using mapped_type = double;                       ///< A trace.
  using value_type = std::pair<const int, double>;  ///< An index and its trace.
  using size_type = std::size_t;                    ///< A number of traces.

  /// An entry as an iterator shows it; `second` is the trace itself.
  ///
  /// @tparam Trace `double`, or `const double` where it may only be read.
  template <typename Trace>
  struct Entry {
    using first_type = const int;  ///< As in a pair.
    using second_type = double;    ///< As in a pair.

    const int first;  ///< Index of the weight.
    Trace& second;    ///< Its trace.

    /// @return a copy of both, as an ordered map would show it.
    ///
    /// @tparam Index what the copy keeps the index in.
    /// @tparam Number what the copy keeps the trace in.
    template <typename Index, typename Number>
    operator std::pair<Index, Number>() const {  // NOLINT(google-explicit-constructor)
      return {first, second};
    }

    /// @param other another entry.
    /// @tparam Other what it shows its trace as.
    /// @return true when index and trace are the same.
    template <typename Other>
    bool operator==(const Entry<Other>& other) const {
      return first == other.first && second == other.second;
    }
  };

  /// Goes through the entries in ascending order.
  ///
  /// @tparam Map the map, const where it may only be read.
  /// @tparam Trace the trace as entries show it.
  template <typename Map, typename Trace>
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;  ///< An entry goes with its iterator.
    using value_type = TraceMap::value_type;            ///< An index and its trace.
    using difference_type = std::ptrdiff_t;             ///< A distance between two iterators.
    using reference = Entry<Trace>&;                    ///< What `*` gives.
    using pointer = Entry<Trace>*;                      ///< What `->` gives.

    /// An iterator at nothing.
    Iterator() : map(nullptr), position(0) {}

    /// @param newMap the map to go through, which has to be sorted.
    /// @param newPosition where to begin; the size of the map for its end.
    Iterator(Map& newMap, std::size_t newPosition) : map(&newMap), position(newPosition) {}

    /// An iterator for reading only from one for writing.
    ///
    /// @param other the one for writing.
    /// @tparam OtherMap the map as it sees it.
    /// @tparam OtherTrace the trace as its entries show it.
    template <typename OtherMap, typename OtherTrace>
    Iterator(const Iterator<OtherMap, OtherTrace>& other)  // NOLINT(google-explicit-constructor)
        : map(other.map), position(other.position) {}

    /// @param other the iterator whose place to take; its entry stays with it.
    Iterator(const Iterator& other) : map(other.map), position(other.position) {}

    /// @param other the iterator whose place to take; its entry stays with it.
    /// @return this iterator.
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

    /// @return the entry, as above.
    pointer operator->() const { return &**this; }

    /// @return this iterator, at the next entry.
    Iterator& operator++() {
      ++position;
      return *this;
    }

    /// Moves on to the next entry. @return an iterator at the entry that was left.
    Iterator operator++(int) {
      const Iterator before = *this;
      ++position;
      return before;
    }

    /// @param other an iterator of the same map.
    /// @tparam OtherMap the map as it sees it.
    /// @tparam OtherTrace the trace as its entries show it.
    /// @return true when both stand at the same entry.
    template <typename OtherMap, typename OtherTrace>
    bool operator==(const Iterator<OtherMap, OtherTrace>& other) const {
      return position == other.position;
    }

    /// @param other an iterator of the same map.
    /// @tparam OtherMap the map as it sees it.
    /// @tparam OtherTrace the trace as its entries show it.
    /// @return true when they stand at different entries.
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

  using iterator = Iterator<TraceMap, double>;                    ///< May change the traces.
  using const_iterator = Iterator<const TraceMap, const double>;  ///< For reading only.

  /// No traces yet.
  TraceMap();

  /// @param entries what to begin with, in any order; of two for an index the first counts.
  TraceMap(std::initializer_list<value_type> entries);

  ~TraceMap();

  /// Copies all traces.
  TraceMap(const TraceMap&);

  /// Copies all traces. @return this map.
  TraceMap& operator=(const TraceMap&);

  /// @return the number of traces.
  std::size_t size() const { return traces.size(); }

  /// @return true when there is no trace.
  bool empty() const { return traces.empty(); }

  /// @param index any number.
  /// @return 1 when there is a trace for the index, else 0.
  std::size_t count(int index) const { return keys.find(index) != KeyIndex::ABSENT ? 1 : 0; }

  /// @param index any number.
  /// @throws std::bad_alloc where there is no memory for it, and then nothing has changed.
  /// @return the trace of an index, which is made, 0.0, where there is none.
  double& operator[](int index) {
    const std::size_t position = keys.find(index);
    return position != KeyIndex::ABSENT ? traces[position] : append(index, 0.0);
  }

  /// Sets the trace of an index.
  ///
  /// @param index any number.
  /// @param trace its trace from now on.
  /// @throws std::bad_alloc where there is no memory for it, and then nothing has changed.
  void set(int index, double trace) {
    const std::size_t position = keys.find(index);
    if (position != KeyIndex::ABSENT) {
      traces[position] = trace;
    } else {
      append(index, trace);
    }
  }

  /// Adds to the trace of an index, which is made with the amount where there is none.
  ///
  /// @param index any number.
  /// @param amount what to add.
  /// @throws std::bad_alloc where there is no memory for it, and then nothing has changed.
  void add(int index, double amount) {
    const std::size_t position = keys.find(index);
    if (position != KeyIndex::ABSENT) {
      traces[position] += amount;
    } else {
      append(index, amount);
    }
  }

  /// @param index the index of a weight.
  /// @return its trace.
  /// @throws std::out_of_range where there is none.
  double& at(int index);

  /// @copydoc at(int)
  const double& at(int index) const;

  /// Adds an entry unless there is a trace for its index.
  ///
  /// @param entry an index and its trace.
  /// @return where it stands, and whether it was added.
  /// @throws std::bad_alloc where there is no memory for it, and then nothing has changed.
  std::pair<iterator, bool> insert(const value_type& entry);

  /// Removes the trace of an index, if there is one.
  ///
  /// @param index any number.
  /// @return the number of traces removed, 0 or 1.
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

  /// @param index any number.
  /// @return an iterator at the trace of an index; `end()` where there is none.
  iterator find(int index);

  /// @copydoc find(int)
  const_iterator find(int index) const;

  /// @return an iterator at the trace of the smallest index.
  iterator begin();

  /// @return an iterator at the trace of the smallest index, for reading only.
  const_iterator begin() const;

  /// @return an iterator behind the trace of the largest index.
  iterator end() { return {*this, size()}; }

  /// @return an iterator behind the trace of the largest index, for reading only.
  const_iterator end() const { return {*this, size()}; }

  /// @return the indices, in no particular order.
  const int* indices() const { return keys.data(); }

  /// @return the traces, in the order of `indices()`.
  double* values() { return traces.data(); }

  /// @return the traces, in the order of `indices()`, for reading only.
  const double* values() const { return traces.data(); }

  /// @param other the other map.
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
