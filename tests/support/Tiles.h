#ifndef QUARNEL_TESTS_TILES_H
#define QUARNEL_TESTS_TILES_H

#include <gmock/gmock.h>
#include <quarnel/State.h>
#include <quarnel/Tilings.h>
#include <quarnel/Types.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <list>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Files.h"
#include "Reports.h"

/// What the tests of tile coding share: a look into groups of tilings, the bytes of their files, and
/// the rules of layout and active tiles, written down once more to compare with.
namespace Tiles {

const double LARGEST = 1.7976931348623157e308;
const double INFINITE = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
const int INT_LARGEST = 2147483647;
const int INT_SMALLEST = -2147483647 - 1;

/// A type of tile that does not exist.
const auto UNKNOWN_TYPE = static_cast<Types::TILE_TYPE>(7);

/// The variables of a group.
using Variables = std::list<Types::TILINGS_VAR_STRUCT>;

/// The ends of a range.
using Range = std::pair<double, double>;

/// Registers real variables.
inline void registerRanges(State& state, const std::vector<Range>& ranges) {
  for (const Range& range : ranges) {
    state.registerVariable("x", range.first, range.second);
  }
}

/// Sets the values of the first variables.
inline void setValues(State& state, const std::vector<double>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    state.setValueDbl(static_cast<unsigned int>(i), values[i]);
  }
}

/// A state of real variables.
class RealState : public State {
 public:
  explicit RealState(const std::vector<Range>& ranges) { registerRanges(*this, ranges); }

  /// Sets the values of the first variables.
  void set(const std::vector<double>& values) { setValues(*this, values); }
};

/// A state of real variables, for a value function to own.
inline State* newState(const std::vector<Range>& ranges) {
  auto* const state = new State;
  registerRanges(*state, ranges);
  return state;
}

/// Looks into groups that a value function has made.
class Peek : public Tilings {
 public:
  static std::vector<double> weightsOf(const Tilings& group) {
    const double* const first = group.*(&Peek::weights);
    return first != nullptr ? std::vector<double>(first, first + group.*(&Peek::ARRAY_SIZE))
                            : std::vector<double>();
  }

  static Types::TRACE_STORAGE storageOf(const Tilings& group) {
    return group.*(&Peek::traceStorage);
  }

  static const State* stateOf(const Tilings& group) { return group.*(&Peek::statePtr); }

  static std::vector<int> activeOf(const Tilings& group) {
    const int* const first = group.*(&Peek::activeTiles);
    return std::vector<int>(first, first + group.getNumberOfTilings());
  }
};

/// A group of tilings whose parts a test may look at and set; `Base` is `Tilings` or derived.
template <typename Base>
class OpenGroup : public Base {
 public:
  using Base::Base;

  using Base::activeTiles;
  using Base::allocateMemory;
  using Base::allocateMemoryWeights;
  using Base::ARRAY_SIZE;
  using Base::DIMENSIONS;
  using Base::episodeIndexHistorySet;
  using Base::eTraces;
  using Base::eTracesMap;
  using Base::freeMemory;
  using Base::indexOffset;
  using Base::statePtr;
  using Base::storedActiveIndices;
  using Base::tileOffset;
  using Base::tiles;
  using Base::tileWidth;
  using Base::TILINGS;
  using Base::traceStorage;
  using Base::vars;
  using Base::weights;

  std::vector<double> allWeights() const { return list(weights, ARRAY_SIZE); }
  std::vector<double> arrayTraces() const { return list(eTraces, ARRAY_SIZE); }
  std::vector<int> active() const { return list(activeTiles, TILINGS); }
  std::vector<int> stored() const { return list(storedActiveIndices, TILINGS); }
  std::vector<int> tileCounts() const { return list(tiles, DIMENSIONS); }
  std::vector<double> widths() const { return list(tileWidth, DIMENSIONS); }
  std::vector<int> strides() const { return list(indexOffset, DIMENSIONS); }
  std::vector<double> shifts(int tiling) const { return list(tileOffset[tiling], DIMENSIONS); }

  std::vector<double> resolutions() const {
    std::vector<double> found;
    for (int d = 0; d < DIMENSIONS; ++d) {
      const double resolution = vars[d].resolution;  // which the record does not align
      found.push_back(resolution);
    }
    return found;
  }

  void setWeights(const std::vector<double>& numbers) {
    ASSERT_EQ(numbers.size(), static_cast<std::size_t>(ARRAY_SIZE));
    std::copy(numbers.begin(), numbers.end(), weights);
  }

  /// Gives the weights the numbers 1.0, 2.0, ...
  void count() { std::iota(weights, weights + ARRAY_SIZE, 1.0); }

  void setActive(const std::vector<int>& indices) {
    ASSERT_EQ(indices.size(), static_cast<std::size_t>(TILINGS));
    std::copy(indices.begin(), indices.end(), activeTiles);
  }

  void setStored(const std::vector<int>& indices) {
    ASSERT_EQ(static_cast<int>(indices.size()), this->storedSize);
    std::copy(indices.begin(), indices.end(), this->storedActiveIndices);
  }

  void setArrayTraces(const std::vector<double>& traces) {
    this->setTraceStorage(Types::ARRAY);
    this->initEligibilityTraces();
    ASSERT_EQ(traces.size(), static_cast<std::size_t>(ARRAY_SIZE));
    std::copy(traces.begin(), traces.end(), eTraces);
  }

  void dropWeights() {
    delete[] weights;
    weights = nullptr;
  }

 private:
  template <typename Number>
  static std::vector<Number> list(const Number* numbers, int count) {
    return numbers != nullptr ? std::vector<Number>(numbers, numbers + count)
                              : std::vector<Number>();
  }
};

/// A group that a test lays out itself, without the rules of layout.
template <typename Base>
class CutGroup : public OpenGroup<Base> {
 public:
  using OpenGroup<Base>::OpenGroup;

  /// Gives every variable a number of tiles, the width of a tile and the shift from one tiling to
  /// the next. All weights are zero.
  void cut(State* state, const std::vector<int>& counts, const std::vector<double>& tileWidths,
           const std::vector<double>& shift) {
    this->statePtr = state;
    this->ARRAY_SIZE = this->TILINGS;
    for (std::size_t d = counts.size(); d-- > 0;) {
      this->tiles[d] = counts[d];
      this->tileWidth[d] = tileWidths[d];
      this->indexOffset[d] = this->ARRAY_SIZE;
      this->ARRAY_SIZE *= counts[d];
    }
    for (int t = 0; t < this->TILINGS; ++t) {
      for (std::size_t d = 0; d < shift.size(); ++d) {
        this->tileOffset[t][d] = shift[d] * t;
      }
    }
    this->weights = this->allocateMemoryWeights();
    std::fill_n(this->weights, this->ARRAY_SIZE, 0.0);
  }
};

/// The block of a group in a file.
struct Block {
  int tilings = 0;
  int storage = 0;
  std::vector<Types::TILINGS_VAR_STRUCT> variables;
  std::vector<double> widths;
  std::vector<int> counts;
  std::vector<int> strides;
  std::vector<double> shifts;  ///< Those of tiling 0, then those of tiling 1, and so on.
  int size = 0;
  std::vector<double> weights;

  /// The fields 1 to 3.
  std::string sizes() const {
    return bytes(tilings) + bytes(static_cast<int>(variables.size())) + bytes(storage);
  }

  /// The fields 1 to 9.
  std::string withoutWeights() const {
    std::string text = sizes();
    for (const Types::TILINGS_VAR_STRUCT& variable : variables) {
      text += bytes(static_cast<unsigned int>(variable.id)) +
              bytes(static_cast<double>(variable.resolution)) +
              bytes(static_cast<int>(variable.tileType));
    }
    return text + all(widths) + all(counts) + all(strides) + all(shifts) + bytes(size);
  }

  std::string text() const { return withoutWeights() + all(weights); }

 private:
  template <typename Number>
  static std::string all(const std::vector<Number>& numbers) {
    std::string text;
    for (const Number number : numbers) {
      text += bytes(number);
    }
    return text;
  }
};

/// The block of two tilings of three clipped tiles each over variable 0, with six weights.
inline Block smallBlock() {
  Block block;
  block.tilings = 2;
  block.variables = {{0U, 0.5, Types::CLIP}};
  block.widths = {1.0};
  block.counts = {3};
  block.strides = {2};
  block.shifts = {0.0, 0.5};
  block.size = 6;
  block.weights = {1, 2, 3, 4, 5, 6};
  return block;
}

/// So many smallest blocks of groups: no tilings, no variables, MAP, no weights.
inline std::string smallestBlocks(int count) {
  return std::string(16 * static_cast<std::size_t>(count), '\0');
}

/// A pipe with content, which can be opened by a name.
class Pipe {
 public:
  explicit Pipe(const std::string& content) {
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_EQ(write(ends[1], content.data(), content.size()), static_cast<ssize_t>(content.size()));
    close(ends[1]);
  }
  ~Pipe() { close(ends[0]); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  std::string name() const { return "/dev/fd/" + std::to_string(ends[0]); }

 private:
  int ends[2] = {-1, -1};
};

/// The record of a real variable.
inline std::string realRecord(const std::string& name, double min, double max) {
  return bytes(static_cast<unsigned int>(name.size())) + name + bytes(min) + bytes(max);
}

/// The record of a state of one real variable "x".
inline std::string stateRecord(double min, double max) {
  return bytes(1U) + bytes(2) + realRecord("x", min, max);
}

/// What is asked for a variable.
struct Wish {
  Range range;
  double resolution;
  Types::TILE_TYPE type;
};

/// A variable, cut into tiles.
struct PlainVariable {
  double min;
  double max;
  Types::TILE_TYPE type;
  int tiles;
  double resolution;
  double width;
  int stride;
};

/// A group, laid out by the plain rules.
struct PlainLayout {
  int tilings;
  std::vector<PlainVariable> variables;
  int size;

  PlainLayout(int numberOfTilings, int actions, const std::vector<Wish>& wishes)
      : tilings(numberOfTilings), size(numberOfTilings * actions) {
    for (const Wish& wish : wishes) {
      const double range = wish.range.second - wish.range.first;
      const int whole = static_cast<int>(std::ceil(range / (tilings * wish.resolution)));
      variables.push_back({wish.range.first, wish.range.second, wish.type,
                           wish.type == Types::WRAP ? whole + 1 : whole, range / (whole * tilings),
                           range / whole, 0});
    }
    for (std::size_t d = variables.size(); d-- > 0;) {
      variables[d].stride = size;
      size *= variables[d].tiles;
    }
  }

  /// The index of a tiling's active tile, for action 0.
  int tile(int tiling, const std::vector<double>& values) const {
    int index = tiling;
    for (std::size_t d = 0; d < variables.size() && index != -1; ++d) {
      const PlainVariable& variable = variables[d];
      const double shift = variable.resolution * tiling;
      double value = values[d];
      double position = 0.0;
      if (variable.type == Types::CLIP) {
        if (value - shift < variable.min) {
          return -1;
        }
        position = std::floor((value - variable.min - shift) / variable.width);
        position = std::min(std::max(position, 0.0), variable.tiles - 1.0);
      } else if (variable.type == Types::CIRCLE) {
        value = value - shift;
        while (value < variable.min) {
          value = value + (variable.max - variable.min);
        }
        while (value > variable.max) {
          value = value - (variable.max - variable.min);
        }
        position = std::floor((value - variable.min) / variable.width);
      } else if (variable.type == Types::WRAP) {
        position = std::floor((value - variable.min + shift) / variable.width);
      }
      index += static_cast<int>(position) * variable.stride;
    }
    return index;
  }

  std::vector<int> active(const std::vector<double>& values) const {
    std::vector<int> indices;
    for (int t = 0; t < tilings; ++t) {
      indices.push_back(tile(t, values));
    }
    return indices;
  }

  /// The reports that activating the tiles makes.
  std::vector<std::string> reports(const std::vector<double>& values) const {
    std::vector<std::string> list;
    for (const int index : active(values)) {
      if (index >= size || index < -1) {
        list.push_back("Tilings::activateTiles: index out ouf bounds --> " + std::to_string(index));
      }
    }
    return list;
  }
};

/// Values that are worth a look at: inside a variable's range, at its ends and at every border of a
/// tile of any tiling, right beside all of these, and outside.
inline std::vector<double> tellingValues(const PlainVariable& variable, int tilings) {
  const double range = variable.max - variable.min;
  std::vector<double> values{variable.min - 2.3 * range, variable.min - range,
                             variable.max + 2.3 * range, variable.max + range};
  for (int i = -2; i <= variable.tiles * tilings + 2; ++i) {
    const double border = variable.min + i * variable.resolution;
    values.insert(values.end(),
                  {border, std::nextafter(border, INFINITE), std::nextafter(border, -INFINITE),
                   border + 0.37 * variable.resolution});
  }
  for (const double end : {variable.min, variable.max}) {
    values.insert(values.end(),
                  {end, std::nextafter(end, INFINITE), std::nextafter(end, -INFINITE)});
  }
  return values;
}

/// Compares the active tiles of a group with the plain rules. The group is laid out over a state
/// whose variables are those of the layout; each takes all its telling values, while the others
/// take random ones of theirs.
template <typename Group>
void expectPlainTiles(Group& group, State& state, const PlainLayout& layout, Reports& reports) {
  std::mt19937 random(1);
  std::vector<std::vector<double>> choices;
  for (const PlainVariable& variable : layout.variables) {
    choices.push_back(tellingValues(variable, layout.tilings));
  }
  for (std::size_t d = 0; d < choices.size(); ++d) {
    for (const double value : choices[d]) {
      std::vector<double> values;
      for (const std::vector<double>& others : choices) {
        values.push_back(others[random() % others.size()]);
      }
      values[d] = value;
      setValues(state, values);
      group.activateTiles();
      ASSERT_EQ(group.active(), layout.active(values)) << testing::PrintToString(values);
      std::vector<std::string> made;
      for (const Report& report : reports.takeErrors()) {
        made.push_back(report.file + "::" + report.function + ": " + report.message);
      }
      ASSERT_EQ(made, layout.reports(values)) << testing::PrintToString(values);
    }
  }
}

/// What marks the visited tiles in a step.
enum class Marks { STORED, REPLACING, ACCUMULATING };

/// Tile coding, written down once more: groups laid out by the plain rules, with weights and traces.
/// State values are those of a single action.
class PlainTileCoding {
 public:
  explicit PlainTileCoding(int numberOfActions = 1) : actions(numberOfActions) {}

  void add(int numberOfTilings, const std::vector<Wish>& wishes) {
    Group group{PlainLayout(numberOfTilings, actions, wishes), {}, {}, {}};
    group.weights.assign(static_cast<std::size_t>(group.layout.size), 0.0);
    groups.push_back(group);
    tilings += numberOfTilings;
  }

  double value(const std::vector<double>& state, int action = 0) const {
    double sum = 0.0;
    for (const Group& group : groups) {
      double part = 0.0;
      for (const int index : group.indices(state, action)) {
        part += group.weights[static_cast<std::size_t>(index)];
      }
      sum += part;
    }
    return sum;
  }

  void clearTraces() {
    for (Group& group : groups) {
      group.traces.clear();
    }
  }

  void decay(double GAMMA, double LAMBDA) {
    for (Group& group : groups) {
      for (auto& entry : group.traces) {
        entry.second *= GAMMA * LAMBDA;
      }
    }
  }

  void store(const std::vector<double>& state, int action = 0) {
    for (Group& group : groups) {
      group.stored = group.indices(state, action);
    }
  }

  void replace(double VALUE, const std::vector<double>& state, int action = 0) {
    for (Group& group : groups) {
      for (int other = 0; other < actions; ++other) {
        for (const int index : group.indices(state, other)) {
          group.traces.erase(index);
          if (other == action) {
            group.traces[index] = VALUE;
          }
        }
      }
    }
  }

  void accumulate(double VALUE, const std::vector<double>& state, int action = 0) {
    for (Group& group : groups) {
      for (const int index : group.indices(state, action)) {
        group.traces[index] += VALUE;
      }
    }
  }

  void update(double ALPHA, double DELTA) {
    const double step = ALPHA / tilings * DELTA;
    for (Group& group : groups) {
      for (const auto& entry : group.traces) {
        group.weights[static_cast<std::size_t>(entry.first)] += entry.second * step;
      }
      for (std::size_t i = 0; group.traces.empty() && i < group.stored.size(); ++i) {
        group.weights[static_cast<std::size_t>(group.stored[i])] += step;
      }
    }
  }

  const std::vector<double>& weights(std::size_t group) const { return groups[group].weights; }

 private:
  struct Group {
    PlainLayout layout;
    std::vector<double> weights;
    std::map<int, double> traces;
    std::vector<int> stored;

    // The weights of an action, without those of tilings that have no tile.
    std::vector<int> indices(const std::vector<double>& state, int action) const {
      std::vector<int> list;
      for (const int index : layout.active(state)) {
        if (index >= 0 && index < layout.size) {
          list.push_back(index + action * layout.tilings);
        }
      }
      return list;
    }
  };

  int actions;
  int tilings = 0;
  std::vector<Group> groups;
};

/// The ranges of a state's variables.
inline std::vector<Range> rangesOf(const std::vector<Wish>& wishes) {
  std::vector<Range> list;
  for (const Wish& wish : wishes) {
    list.push_back(wish.range);
  }
  return list;
}

/// The variables of a group that covers the first variables of a state.
inline Variables variablesOf(const std::vector<Wish>& wishes) {
  Variables list;
  for (const Wish& wish : wishes) {
    list.push_back({static_cast<unsigned int>(list.size()), wish.resolution, wish.type});
  }
  return list;
}

/// The groups of a value function over two variables: numbers of tilings with what is asked for.
inline const std::vector<std::pair<int, std::vector<Wish>>> LEARNING_GROUPS{
    {4, {{{-1.2, 0.6}, 0.05, Types::CLIP}, {{0, 6.3}, 0.3, Types::CIRCLE}}},
    {7, {{{-1.2, 0.6}, 0.09, Types::WRAP}}},
};

/// A walk through the two variables, which never leaves their ranges, with actions of three.
class Walk {
 public:
  explicit Walk(unsigned int seed) : random(seed) {}

  std::vector<double> next() {
    state[0] = std::min(0.6, std::max(-1.2, state[0] + step() * 0.3));
    state[1] = std::min(6.2, std::max(0.0, state[1] + step()));
    return state;
  }

  double step() { return static_cast<double>(random() % 2001) / 1000.0 - 1.0; }

  int action() { return static_cast<int>(random() % 3); }

 private:
  std::mt19937 random;
  std::vector<double> state{-0.3, 3.0};
};

}  // namespace Tiles

#endif
