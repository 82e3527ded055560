#ifndef QUARNEL_BENCH_HANDWRITTEN_SPARSE_TRACES_H
#define QUARNEL_BENCH_HANDWRITTEN_SPARSE_TRACES_H

#include <cstddef>
#include <vector>

/// Traces of the visited weights only, side by side, with a position for each weight of the table.
/// An erased one gives its place to the last.
class SparseTraces {
 public:
  explicit SparseTraces(int weights)
      : positions(static_cast<std::size_t>(weights), -1),
        keys(positions.size()),
        values(positions.size()) {}

  const int getSize() const { return size; }

  void clear() {
    for (int i = 0; i < size; ++i) {
      positions[at(keys[at(i)])] = -1;
    }
    size = 0;
  }

  void decay(double factor) {
    double* const value = values.data();
    for (int i = 0; i < size; ++i) {
      value[i] *= factor;
    }
  }

  void set(int key, double value) { values[at(place(key))] = value; }

  void add(int key, double value) { values[at(place(key))] += value; }

  void erase(int key) {
    const int position = positions[at(key)];
    if (position == -1) {
      return;
    }
    --size;
    keys[at(position)] = keys[at(size)];
    values[at(position)] = values[at(size)];
    positions[at(keys[at(position)])] = position;
    positions[at(key)] = -1;
  }

  void learn(double* weights, double step) const {
    const int* const key = keys.data();
    const double* const value = values.data();
    for (int i = 0; i < size; ++i) {
      weights[key[i]] += value[i] * step;
    }
  }

 private:
  static const std::size_t at(int index) { return static_cast<std::size_t>(index); }

  // Makes room for a trace that is not there yet.
  const int place(int key) {
    int& position = positions[at(key)];
    if (position == -1) {
      position = size;
      keys[at(size)] = key;
      values[at(size)] = 0.0;
      ++size;
    }
    return position;
  }

  std::vector<int> positions;
  std::vector<int> keys;
  std::vector<double> values;
  int size = 0;
};

#endif
