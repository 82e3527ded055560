#include "continuous_random_walk/ContinuousRandomWalk.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

const int CELLS = 1000;
const int REACHED_CELLS = 100;

// One sweep carries values on by a step of the walk; after so many, hardly a walk goes on.
const int SWEEPS = 3000;

// The values at the middles of the cells, with as many cells of the ends on either side as a step
// can reach.
std::vector<double> solve() {
  std::vector<double> values(CELLS + 2 * REACHED_CELLS, 0.0);
  std::fill(values.end() - REACHED_CELLS, values.end(), 1.0);
  for (int sweep = 0; sweep < SWEEPS; ++sweep) {
    std::vector<double> sums = {0.0};
    for (const double value : values) {
      sums.push_back(sums.back() + value);
    }
    for (std::size_t i = REACHED_CELLS; i < CELLS + REACHED_CELLS; ++i) {
      // The two outermost cells in reach are reached only as far as their middles.
      const std::size_t first = i - REACHED_CELLS;
      const std::size_t last = i + REACHED_CELLS;
      const double outermost = sums[first + 1] - sums[first] + sums[last + 1] - sums[last];
      values[i] = (sums[last + 1] - sums[first] - outermost / 2.0) / (2.0 * REACHED_CELLS);
    }
  }
  return values;
}

}  // namespace

const double ContinuousRandomWalk::getTrueValue(double from) {
  static const std::vector<double> values = solve();
  // Between the middles of two cells, as near as each.
  const double place = std::clamp(from * CELLS - 0.5, 0.0, CELLS - 1.0);
  const double part = place - std::floor(place);
  const auto cell = static_cast<std::size_t>(place) + REACHED_CELLS;
  const std::size_t next = std::min(cell + 1, static_cast<std::size_t>(CELLS + REACHED_CELLS - 1));
  return values[cell] * (1.0 - part) + values[next] * part;
}
