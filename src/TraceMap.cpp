#include "TraceMap.h"

#include <stdexcept>
#include <utility>

TraceMap::TraceMap() : sorted(true) {}

TraceMap::TraceMap(std::initializer_list<value_type> entries) : sorted(true) {
  for (const value_type& entry : entries) {
    insert(entry);
  }
}

TraceMap::~TraceMap() = default;
TraceMap::TraceMap(const TraceMap&) = default;

TraceMap& TraceMap::operator=(const TraceMap& other) {
  // Indices and traces change together, or not at all.
  TraceMap copy(other);
  keys.swap(copy.keys);
  traces.swap(copy.traces);
  sorted = copy.sorted;
  return *this;
}

double& TraceMap::append(int index, double trace) {
  // Whatever can fail comes first, so that indices and traces always go together.
  if (traces.size() == traces.capacity()) {
    traces.reserve(traces.empty() ? 8 : 2 * traces.size());
  }
  keys.reserveOne();
  sorted = sorted && (empty() || keys.data()[size() - 1] < index);
  keys.append(index);
  traces.push_back(trace);
  return traces.back();
}

double& TraceMap::at(int index) {
  return const_cast<double&>(static_cast<const TraceMap&>(*this).at(index));
}

const double& TraceMap::at(int index) const {
  const std::size_t position = keys.find(index);
  if (position == KeyIndex::ABSENT) {
    throw std::out_of_range("TraceMap::at: there is no trace for the index");
  }
  return traces[position];
}

std::pair<TraceMap::iterator, bool> TraceMap::insert(const value_type& entry) {
  const bool added = count(entry.first) == 0;
  if (added) {
    append(entry.first, entry.second);
  }
  return {find(entry.first), added};
}

void TraceMap::clear() {
  keys.clear();
  traces.clear();
  sorted = true;
}

TraceMap::iterator TraceMap::find(int index) {
  sort();
  const std::size_t position = keys.find(index);
  return {*this, position != KeyIndex::ABSENT ? position : size()};
}

TraceMap::const_iterator TraceMap::find(int index) const {
  sort();
  const std::size_t position = keys.find(index);
  return {*this, position != KeyIndex::ABSENT ? position : size()};
}

TraceMap::iterator TraceMap::begin() {
  sort();
  return {*this, 0};
}

TraceMap::const_iterator TraceMap::begin() const {
  sort();
  return {*this, 0};
}

bool TraceMap::operator==(const TraceMap& other) const {
  bool same = size() == other.size();
  for (std::size_t i = 0; same && i < size(); ++i) {
    const std::size_t position = other.keys.find(keys.data()[i]);
    same = position != KeyIndex::ABSENT && other.traces[position] == traces[i];
  }
  return same;
}

void TraceMap::sort() const {
  if (!sorted) {
    keys.sort([this](std::size_t a, std::size_t b) { std::swap(traces[a], traces[b]); });
    sorted = true;
  }
}
