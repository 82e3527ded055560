#include "IndexSet.h"

IndexSet::IndexSet() : sorted(true) {}

IndexSet::IndexSet(std::initializer_list<int> indices) : sorted(true) {
  for (const int index : indices) {
    add(index);
  }
}

IndexSet::~IndexSet() = default;
IndexSet::IndexSet(const IndexSet&) = default;
IndexSet& IndexSet::operator=(const IndexSet&) = default;

std::pair<IndexSet::iterator, bool> IndexSet::insert(int index) {
  const bool added = add(index);
  return {find(index), added};
}

std::size_t IndexSet::erase(int index) {
  const std::size_t position = keys.find(index);
  if (position == KeyIndex::ABSENT) {
    return 0;
  }
  sorted = sorted && position + 1 == size();
  keys.removeAt(position);
  return 1;
}

void IndexSet::clear() {
  keys.clear();
  sorted = true;
}

IndexSet::iterator IndexSet::find(int index) const {
  const iterator first = begin();
  const std::size_t position = keys.find(index);
  return position != KeyIndex::ABSENT ? first + position : end();
}

IndexSet::iterator IndexSet::begin() const {
  if (!sorted) {
    keys.sort([](std::size_t, std::size_t) {});
    sorted = true;
  }
  return indices();
}

bool IndexSet::operator==(const IndexSet& other) const {
  bool same = size() == other.size();
  for (std::size_t i = 0; same && i < size(); ++i) {
    same = other.count(indices()[i]) == 1;
  }
  return same;
}
