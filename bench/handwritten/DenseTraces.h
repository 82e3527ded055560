#ifndef QUARNEL_BENCH_HANDWRITTEN_DENSE_TRACES_H
#define QUARNEL_BENCH_HANDWRITTEN_DENSE_TRACES_H

#include <algorithm>
#include <cstddef>
#include <vector>

/// A trace for every weight.
class DenseTraces {
 public:
  explicit DenseTraces(int weights) : values(static_cast<std::size_t>(weights), 0.0) {}

  const int getSize() const { return static_cast<int>(values.size()); }

  void clear() { std::fill(values.begin(), values.end(), 0.0); }

  /// Nobody looks at a trace between two steps, so `learn()` decays it in the same pass for the next
  /// one; before the first all traces are zero.
  void decay(double factor) { nextFactor = factor; }

  void set(int key, double value) { values[static_cast<std::size_t>(key)] = value; }

  void erase(int key) { values[static_cast<std::size_t>(key)] = 0.0; }

  void learn(double* __restrict weights, double step) {
    double* const __restrict value = values.data();
    const std::size_t count = values.size();
    const double factor = nextFactor;
    for (std::size_t i = 0; i < count; ++i) {
      weights[i] += value[i] * step;
      value[i] *= factor;
    }
  }

 private:
  std::vector<double> values;
  double nextFactor = 1.0;
};

#endif
