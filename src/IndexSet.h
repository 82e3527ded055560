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
  using key_type = int;
  using value_type = int;
  using size_type = std::size_t;
  using iterator = const int*;
  using const_iterator = const int*;

  IndexSet();
  IndexSet(std::initializer_list<int> indices);
  ~IndexSet();
  IndexSet(const IndexSet&);
  IndexSet& operator=(const IndexSet&);

  /// @return the number of indices.
  std::size_t size() const { return keys.size(); }

  /// @return true when there is no index.
  bool empty() const { return keys.size() == 0; }

  /// @return 1 when the index is there, else 0.
  std::size_t count(int index) const { return keys.find(index) != KeyIndex::ABSENT ? 1 : 0; }

  /// Adds an index unless it is there. @return whether it was added.
  bool add(int index) {
    if (keys.find(index) != KeyIndex::ABSENT) {
      return false;
    }
    keys.reserveOne();
    sorted = sorted && (empty() || indices()[size() - 1] < index);
    keys.append(index);
    return true;
  }

  /// Adds an index unless it is there. @return where it stands, and whether it was added.
  std::pair<iterator, bool> insert(int index);

  /// Removes an index. @return the number of indices removed.
  std::size_t erase(int index);

  /// Removes all indices, in a time in proportion to their number.
  void clear();

  /// @return an iterator at an index; `end()` where it is not there.
  iterator find(int index) const;

  iterator begin() const;
  iterator end() const { return indices() + size(); }

  /// @return the indices, in no particular order.
  const int* indices() const { return keys.data(); }

  /// @return true when both hold the same indices.
  bool operator==(const IndexSet& other) const;

 private:
  // Iterating sorts what it goes through, which changes nothing that can be seen from outside.
  mutable KeyIndex keys;
  mutable bool sorted;
};

#endif
