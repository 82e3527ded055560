#ifndef QUARNEL_INDEX_SET_H
#define QUARNEL_INDEX_SET_H

#include <cstddef>
#include <initializer_list>
#include <utility>

#include "KeyIndex.h"

/// The indices of the weights visited in an episode.
///
/// It looks like an ordered set of `int`. Inside, the indices lie dense in an array; an order is made
/// only when somebody iterates. A step of learning allocates nothing once the set has held as many
/// indices before.
///
/// An iteration goes in ascending order. Adding or removing indices, as well as `begin()` and
/// `find()`, which may have to sort, invalidate iterators.
class IndexSet {
 public:
  using key_type = int;               ///< An index.
  using value_type = int;             ///< An index.
  using size_type = std::size_t;      ///< A number of indices.
  using iterator = const int*;        ///< For reading only.
  using const_iterator = const int*;  ///< As above.

  /// No indices yet.
  IndexSet();

  /// @param indices what to begin with, in any order; an index that comes twice is there once.
  IndexSet(std::initializer_list<int> indices);

  ~IndexSet();

  /// Copies all indices.
  IndexSet(const IndexSet&);

  /// Copies all indices. @return this set.
  IndexSet& operator=(const IndexSet&);

  /// @return the number of indices.
  std::size_t size() const { return keys.size(); }

  /// @return true when there is no index.
  bool empty() const { return keys.size() == 0; }

  /// @param index any number.
  /// @return 1 when the index is there, else 0.
  std::size_t count(int index) const { return keys.find(index) != KeyIndex::ABSENT ? 1 : 0; }

  /// Adds an index unless it is there.
  ///
  /// @param index any number.
  /// @return whether it was added.
  /// @throws std::bad_alloc where there is no memory, and then nothing has changed.
  bool add(int index) {
    if (keys.find(index) != KeyIndex::ABSENT) {
      return false;
    }
    keys.reserveOne();
    sorted = sorted && (empty() || indices()[size() - 1] < index);
    keys.append(index);
    return true;
  }

  /// As `add()`, for those who want to go on from there.
  ///
  /// @param index any number.
  /// @return where it stands, and whether it was added.
  std::pair<iterator, bool> insert(int index);

  /// Removes an index, if it is there.
  ///
  /// @param index any number.
  /// @return the number of indices removed, 0 or 1.
  std::size_t erase(int index);

  /// Removes all indices, in a time in proportion to their number.
  void clear();

  /// @param index any number.
  /// @return an iterator at an index; `end()` where it is not there.
  iterator find(int index) const;

  /// @return an iterator at the smallest index.
  iterator begin() const;

  /// @return an iterator behind the largest index.
  iterator end() const { return indices() + size(); }

  /// @return the indices, in no particular order.
  const int* indices() const { return keys.data(); }

  /// @param other the other set.
  /// @return true when both hold the same indices.
  bool operator==(const IndexSet& other) const;

 private:
  // Iterating sorts what it goes through, which changes nothing that can be seen from outside.
  mutable KeyIndex keys;
  mutable bool sorted;
};

#endif
