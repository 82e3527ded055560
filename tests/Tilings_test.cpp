#include <gmock/gmock.h>
#include <quarnel/State.h>
#include <quarnel/StateTilings.h>
#include <quarnel/Tilings.h>
#include <quarnel/ValueFunction.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/Draws.h"
#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"
#include "support/Tables.h"
#include "support/Tiles.h"

namespace {

using Tables::bits;
using Tables::errors;
using Tables::NO_WEIGHTS;
using Tables::UNKNOWN;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;
using Tiles::Block;
using Tiles::INFINITE;
using Tiles::INT_LARGEST;
using Tiles::INT_SMALLEST;
using Tiles::LARGEST;
using Tiles::NOT_A_NUMBER;
using Tiles::RealState;
using Tiles::smallBlock;
using Tiles::UNKNOWN_TYPE;

using Group = Tiles::CutGroup<Tilings>;

// A group that stores its active tiles, which is the business of the derived groups.
using StoringGroup = Tiles::CutGroup<StateTilings>;

// A group of two tilings without variables, so of two weights.
class Pair2 : public Group {
 public:
  Pair2() : Group(2, {}) { cut(nullptr, {}, {}, {}); }
};

// Five weights of five tilings without variables.
template <typename Base>
class FiveOf : public Tiles::CutGroup<Base> {
 public:
  explicit FiveOf(const std::vector<double>& numbers = {0, 0, 0, 0, 0})
      : Tiles::CutGroup<Base>(5, {}) {
    this->cut(nullptr, {}, {}, {});
    this->setWeights(numbers);
  }
};
using Five = FiveOf<Tilings>;

class StoringFive : public FiveOf<StateTilings> {
 public:
  using FiveOf::FiveOf;

  void store(const std::vector<int>& indices) {
    setActive(indices);
    storeActiveTiles();
  }
};

// A weight for each of the numbers.
class Weights : public Group {
 public:
  explicit Weights(const std::vector<double>& numbers)
      : Group(static_cast<int>(numbers.size()), {}) {
    cut(nullptr, {}, {}, {});
    setWeights(numbers);
  }
};

// Four tilings of five tiles each, two wide, over the range [2, 12], shifted by a half.
class Four : public Group {
 public:
  explicit Four(State* state, Types::TILE_TYPE type, int count = 5) : Group(4, {{0, 0.5, type}}) {
    cut(state, {count}, {2.0}, {0.5});
  }
};

// One tiling of so many tiles, one wide, over the range that starts at 0.
class One : public Group {
 public:
  One(State* state, Types::TILE_TYPE type, int count = 2, double width = 1.0)
      : Group(1, {{0, width, type}}) {
    cut(state, {count}, {width}, {0.0});
  }
};

std::vector<std::string> from(const char* function, const std::string& message) {
  return messages({std::string("Tilings::") + function + ": " + message});
}

std::vector<std::string> noWeightsReport(const char* function) {
  return from(function, NO_WEIGHTS);
}

std::vector<std::string> unknownStorageReport(const char* function) {
  return from(function, "Unknown traceStorage = 2");
}

std::vector<std::string> errnoReport(const char* function, int number) {
  return from(function, errnoMessage(number, "  -->  "));
}

std::vector<std::string> indexReports(const std::vector<int>& indices) {
  std::vector<std::string> list;
  for (const int index : indices) {
    list.push_back("Tilings::activateTiles: index out ouf bounds --> " + std::to_string(index));
  }
  return list;
}

const char* const NOTHING_TO_UPDATE_IN_ARRAY =
    "traceStorage == ARRAY and eTraces == 0 and storedActiveIndices == 0 --> Set traceStorage to "
    "MAP or call initEligibilityTraces or storeState before calling updateWeights!";
const char* const NOTHING_TO_UPDATE_IN_MAP =
    "traceStorage == MAP and eTracesMap == empty and storedActiveIndices == 0 --> Set traceStorage "
    "to ARRAY or call initEligibilityTraces or storeState before calling updateWeights!";

// ---- Construction and memory ----

TEST(Tilings, StartWithTheirVariablesAndWithoutWeights) {
  Reports reports;
  const Group group(4, {{3, 0.5, Types::CLIP}, {1, 0.25, Types::WRAP}, {3, 2.0, UNKNOWN_TYPE}});
  EXPECT_EQ(group.TILINGS, 4);
  EXPECT_EQ(group.getNumberOfTilings(), 4);
  EXPECT_EQ(group.DIMENSIONS, 3);
  EXPECT_EQ(group.traceStorage, Types::MAP);
  EXPECT_EQ(group.vars[0].id, 3U);
  EXPECT_EQ(group.vars[1].id, 1U);
  EXPECT_EQ(group.vars[2].id, 3U);
  EXPECT_THAT(group.resolutions(), ElementsAre(0.5, 0.25, 2.0));
  EXPECT_EQ(group.vars[0].tileType, Types::CLIP);
  EXPECT_EQ(group.vars[1].tileType, Types::WRAP);
  EXPECT_EQ(group.vars[2].tileType, UNKNOWN_TYPE);
  EXPECT_EQ(group.statePtr, nullptr);
  EXPECT_EQ(group.weights, nullptr);
  EXPECT_EQ(group.eTraces, nullptr);
  EXPECT_EQ(group.storedActiveIndices, nullptr);
  EXPECT_THAT(group.eTracesMap, IsEmpty());
  EXPECT_THAT(group.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, NoTileIsActiveAtFirst) {
  const Group group(3, {{0, 0.5, Types::CLIP}});
  EXPECT_THAT(group.active(), ElementsAre(-1, -1, -1));
}

TEST(Tilings, MayCoverNoVariables) {
  Reports reports;
  RealState state({{0, 1}});
  Group group(3, {});
  EXPECT_EQ(group.DIMENSIONS, 0);
  group.cut(&state, {}, {}, {});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(0, 1, 2));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, DoNotDeleteTheState) {
  RealState state({{0, 1}});
  { const One group(&state, Types::CLIP); }
  EXPECT_EQ(state.getNumberOfVariables(), 1U);
}

TEST(Tilings, AllocateMemoryMakesTheLayoutOnly) {
  StoringGroup group(2, {{0, 0.5, Types::CLIP}, {1, 0.5, Types::CLIP}});
  group.cut(nullptr, {2, 2}, {1, 1}, {0, 0});
  group.storeActiveTiles();
  const int* const stored = group.storedActiveIndices;
  group.freeMemory();
  double weight = 1.0;
  double trace = 2.0;
  group.weights = &weight;
  group.eTraces = &trace;
  group.TILINGS = 3;
  group.DIMENSIONS = 1;
  group.allocateMemory();
  EXPECT_EQ(group.weights, &weight);
  EXPECT_EQ(group.eTraces, &trace);
  EXPECT_EQ(group.storedActiveIndices, stored);
  group.weights = nullptr;
  group.eTraces = nullptr;

  // The sanitizers watch over the ends.
  group.vars[0] = {5, 1.0, Types::WRAP};
  group.tiles[0] = 1;
  group.tileWidth[0] = 1.0;
  group.indexOffset[0] = 1;
  group.activeTiles[2] = 1;
  group.tileOffset[2][0] = 1.0;
}

TEST(Tilings, AllocateMemoryWeightsLeavesItToTheCallerToStoreTheArray) {
  Group group(2, {});
  group.ARRAY_SIZE = 5;
  double* const numbers = group.allocateMemoryWeights();
  ASSERT_NE(numbers, nullptr);
  std::fill_n(numbers, 5, 1.0);
  EXPECT_EQ(group.weights, nullptr);
  EXPECT_EQ(group.eTraces, nullptr);
  delete[] numbers;
}

TEST(Tilings, AllocateMemoryWeightsOfANegativeSizeIsReportedAndNull) {
  Reports reports;
  Group group(2, {});
  for (const int size : {-1, INT_SMALLEST}) {
    group.ARRAY_SIZE = size;
    EXPECT_EQ(group.allocateMemoryWeights(), nullptr);
    EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for " + std::to_string(size) +
                                          " entries of 8 bytes!"}));
  }
}

TEST(Tilings, AllocateMemoryWeightsOfNoWeightsIsNotAFailure) {
  Reports reports;
  Group group(2, {});
  group.ARRAY_SIZE = 0;
  double* const numbers = group.allocateMemoryWeights();
  EXPECT_NE(numbers, nullptr);
  delete[] numbers;
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, FreeMemoryReleasesLayoutWeightsAndTracesOnly) {
  RealState state({{2, 12}});
  StoringGroup group(4, {{0, 0.5, Types::CLIP}});
  group.cut(&state, {5}, {2.0}, {0.5});
  group.setArrayTraces(std::vector<double>(20, 1.0));
  group.storeActiveTiles();
  group.eTracesMap = {{2, 0.5}};
  group.episodeIndexHistorySet = {1};
  for (int i = 0; i < 2; ++i) {  // it may be repeated
    group.freeMemory();
    EXPECT_EQ(group.vars, nullptr);
    EXPECT_EQ(group.tileWidth, nullptr);
    EXPECT_EQ(group.tiles, nullptr);
    EXPECT_EQ(group.indexOffset, nullptr);
    EXPECT_EQ(group.activeTiles, nullptr);
    EXPECT_EQ(group.tileOffset, nullptr);
    EXPECT_EQ(group.weights, nullptr);
    EXPECT_EQ(group.eTraces, nullptr);
  }
  EXPECT_NE(group.storedActiveIndices, nullptr);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(2, 0.5)));
  EXPECT_THAT(group.episodeIndexHistorySet, ElementsAre(1));
  EXPECT_EQ(group.statePtr, &state);
}

TEST(Tilings, ANegativeNumberOfTilingsIsReportedAndHarmless) {
  Reports reports;
  RealState state({{0, 1}});
  StoringGroup group(-3, {{0, 0.5, Types::CLIP}});
  EXPECT_THAT(reports.errors(),
              AllOf(testing::Not(IsEmpty()),
                    Each(StartsWith("Can not allocate memory for -3 entries of "))));
  group.statePtr = &state;
  group.activateTiles();
  group.storeActiveTiles();
  group.storeEpisodeState();
  group.replacingTraces(1.0);
  group.accumulatingTraces(1.0);
  EXPECT_EQ(group.weights, nullptr);
}

TEST(Tilings, SetTraceStorageSetsTheStorage) {
  Pair2 group;
  group.setTraceStorage(Types::ARRAY);
  EXPECT_EQ(group.traceStorage, Types::ARRAY);
  EXPECT_EQ(group.eTraces, nullptr);
  group.setTraceStorage(Types::MAP);
  EXPECT_EQ(group.traceStorage, Types::MAP);
}

TEST(Tilings, ClearTraceMapEmptiesTheMapInAnyStorage) {
  Pair2 group;
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    group.eTracesMap = {{1, 1.0}};
    group.clearTraceMap();
    EXPECT_THAT(group.eTracesMap, IsEmpty());
  }
}

// ---- Active tiles ----

TEST(Tilings, TheTilingVariesFastestThenTheLastVariable) {
  RealState state({{0, 3}, {0, 5}});
  Group group(4, {{0, 0.25, Types::CLIP}, {1, 0.25, Types::CLIP}});
  group.cut(&state, {3, 5}, {1, 1}, {0, 0});
  EXPECT_THAT(group.strides(), ElementsAre(20, 4));
  EXPECT_EQ(group.ARRAY_SIZE, 60);
  state.set({2.5, 1.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(44, 45, 46, 47));  // tiling + 2 * 20 + 1 * 4
}

TEST(Tilings, EveryTileOfEveryTilingHasAWeightOfItsOwn) {
  RealState state({{0, 3}, {0, 5}});
  Group group(4, {{0, 0.25, Types::CLIP}, {1, 0.25, Types::CLIP}});
  group.cut(&state, {3, 5}, {1, 1}, {0, 0});
  int index = 0;
  for (int x = 0; x < 3; ++x) {
    for (int y = 0; y < 5; ++y) {
      state.set({x + 0.5, y + 0.5});
      group.activateTiles();
      for (int t = 0; t < 4; ++t) {
        EXPECT_EQ(group.activeTiles[t], index);
        ++index;
      }
    }
  }
  EXPECT_EQ(index, group.ARRAY_SIZE);
}

TEST(Tilings, StridesAreUsedAsTheyStand) {
  RealState state({{0, 3}, {0, 5}});
  Group group(1, {{0, 1, Types::CLIP}, {1, 1, Types::CLIP}});
  group.cut(&state, {3, 5}, {1, 1}, {0, 0});
  group.indexOffset[0] = -2;
  group.indexOffset[1] = 7;
  state.set({2.5, 1.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(3));  // 2 * -2 + 1 * 7
}

TEST(Tilings, EveryTilingIsShiftedOnItsOwnAlongEveryVariable) {
  RealState state({{0, 10}, {0, 10}});
  Group group(2, {{0, 1, Types::CLIP}, {1, 1, Types::CLIP}});
  group.cut(&state, {5, 5}, {2, 2}, {0, 0});
  group.tileOffset[0][0] = 3;
  group.tileOffset[0][1] = 1;
  group.tileOffset[1][0] = 0;
  group.tileOffset[1][1] = 5;
  state.set({7, 7});
  group.activateTiles();
  // Tiling 0: (7 - 3) / 2 and (7 - 1) / 2; tiling 1: 7 / 2 and (7 - 5) / 2.
  EXPECT_THAT(group.active(), ElementsAre(0 + 2 * 10 + 3 * 2, 1 + 3 * 10 + 1 * 2));
}

TEST(Tilings, CoverTheVariablesThatTheirIdsName) {
  RealState state({{0, 10}, {100, 110}, {-10, 0}});
  Group group(1, {{2, 1, Types::CLIP}, {0, 1, Types::CLIP}});
  group.cut(&state, {5, 5}, {2, 2}, {0, 0});
  state.set({9, 101, -7});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(1 * 5 + 4));
}

TEST(Tilings, MayCoverAVariableTwice) {
  RealState state({{0, 10}});
  Group group(1, {{0, 1, Types::CLIP}, {0, 1, Types::CLIP}});
  group.cut(&state, {5, 10}, {2, 1}, {0, 0});
  state.set({7.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(3 * 10 + 7));
}

TEST(Tilings, RangesAreReadAnewWheneverTilesAreActivated) {
  RealState state({{2, 12}});
  One group(&state, Types::CLIP, 10);
  state.set({7.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(5));
  state.setMinValueDbl(0, 4);
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(3));
  state.setMinValueDbl(0, 8);
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1));
}

TEST(Tilings, ActivatingTilesChangesNothingElse) {
  RealState state({{2, 12}});
  StoringGroup group(4, {{0, 0.5, Types::CLIP}});
  group.cut(&state, {5}, {2.0}, {0.5});
  group.count();
  group.storeActiveTiles();
  group.eTracesMap = {{1, 0.5}};
  group.episodeIndexHistorySet = {3};
  state.set({12});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(16, 17, 18, 19));
  EXPECT_THAT(group.stored(), ElementsAre(-1, -1, -1, -1));
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.5)));
  EXPECT_THAT(group.episodeIndexHistorySet, ElementsAre(3));
  EXPECT_EQ(group.allWeights(), Tables::ascending(20));
  EXPECT_THAT(group.shifts(3), ElementsAre(1.5));
  EXPECT_EQ(state.getValueDbl(0), 12);
}

// What a group of four tilings over [2, 12] activates at a value.
std::vector<int> activeAt(Types::TILE_TYPE type, int tiles, double value) {
  RealState state({{2, 12}});
  Four group(&state, type, tiles);
  state.set({value});
  group.activateTiles();
  return group.active();
}

TEST(Tilings, AClippedValueBelowTheShiftedRangeHasNoTile) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::CLIP, 5, 2.0), ElementsAre(0, -1, -1, -1));
  EXPECT_THAT(activeAt(Types::CLIP, 5, 2.49), ElementsAre(0, -1, -1, -1));
  EXPECT_THAT(activeAt(Types::CLIP, 5, 2.5), ElementsAre(0, 1, -1, -1));
  EXPECT_THAT(activeAt(Types::CLIP, 5, 3.5), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(activeAt(Types::CLIP, 5, 1.99), ElementsAre(-1, -1, -1, -1));
  EXPECT_THAT(activeAt(Types::CLIP, 5, -100), ElementsAre(-1, -1, -1, -1));
  EXPECT_THAT(activeAt(Types::CLIP, 5, -INFINITE), ElementsAre(-1, -1, -1, -1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AClippedValueRightBesideTheShiftedMinimumDecides) {
  EXPECT_THAT(activeAt(Types::CLIP, 5, std::nextafter(2.0, 0.0)), ElementsAre(-1, -1, -1, -1));
  EXPECT_THAT(activeAt(Types::CLIP, 5, std::nextafter(2.5, 0.0)), ElementsAre(0, -1, -1, -1));
}

TEST(Tilings, AClippedValueAboveTheRangeHasTheLastTile) {
  Reports reports;
  for (const double value : {12.0, 13.4, 100.0, 1e300, LARGEST, INFINITE}) {
    EXPECT_THAT(activeAt(Types::CLIP, 5, value), ElementsAre(16, 17, 18, 19)) << value;
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AClippedTileStartsAtItsLowerBorder) {
  // Tiling 0 is cut at 4, 6, ...; tiling 1 half a unit higher.
  EXPECT_THAT(activeAt(Types::CLIP, 5, 4.0), ElementsAre(4, 1, 2, 3));
  EXPECT_THAT(activeAt(Types::CLIP, 5, std::nextafter(4.0, 0.0)), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(activeAt(Types::CLIP, 5, 4.5), ElementsAre(4, 5, 2, 3));
  EXPECT_THAT(activeAt(Types::CLIP, 5, 7.0), ElementsAre(8, 9, 10, 7));
}

TEST(Tilings, AClippedTileNumberBelowZeroIsRaisedToZero) {
  RealState state({{0, 10}});
  One group(&state, Types::CLIP, 5);
  group.tileWidth[0] = -2.0;  // as a file may say
  state.set({7});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(0));
}

TEST(Tilings, BehindAClippedVariableWithoutATileNoOtherIsLookedAt) {
  Reports reports;
  RealState state({{0, 3}});
  Group group(2, {{0, 1, Types::CLIP}, {77, 1, UNKNOWN_TYPE}});
  group.cut(&state, {3, 5}, {1, 1}, {0, 0});
  state.set({-1});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1, -1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AnyVariableMayLeaveATilingWithoutATile) {
  RealState state({{0, 3}, {0, 5}});
  Group group(1, {{0, 1, Types::CLIP}, {1, 1, Types::CLIP}});
  group.cut(&state, {3, 5}, {1, 1}, {0, 0});
  state.set({2.5, -0.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1));
}

TEST(Tilings, ACircleBringsValuesInAgainAtItsOtherEnd) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 7.0), ElementsAre(8, 9, 10, 7));
  // Right beyond the upper end, and right below the lower end.
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 12.25), ElementsAre(0, 17, 18, 19));
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 1.75), ElementsAre(16, 17, 18, 19));
  // 8 - 0.5 t, several times around.
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 38.0), ElementsAre(12, 9, 10, 11));
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, -32.0), ElementsAre(12, 9, 10, 11));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AtTheLowerEndOfACircleTheShiftedTilingsHaveTheLastTile) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 2.0), ElementsAre(0, 17, 18, 19));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, TheUpperEndOfACircleIsOneTileBehindTheLast) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 12.0), ElementsAre(20, 17, 18, 19));
  EXPECT_EQ(errors(reports), indexReports({20}));
  // The third tiling comes from 33 by way of 32, 22 to 12, which stays.
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 33.0), ElementsAre(0, 1, 22, 19));
  EXPECT_EQ(errors(reports), indexReports({22}));
}

TEST(Tilings, TheUpperEndOfALaterCircleIsATileOfTheNextRow) {
  Reports reports;
  RealState state({{0, 3}, {2, 12}});
  Group group(4, {{0, 1, Types::CIRCLE}, {1, 0.5, Types::CIRCLE}});
  group.cut(&state, {3, 5}, {1, 2}, {0, 0.5});
  state.set({1.5, 12});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(20 + 20, 1 + 20 + 16, 2 + 20 + 16, 3 + 20 + 16));
  EXPECT_THAT(errors(reports), IsEmpty());
  state.set({3, 12});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(80, 77, 78, 79));
  EXPECT_EQ(errors(reports), indexReports({80, 77, 78, 79}));
}

TEST(Tilings, AWrappedRangeEndsInAnExtraTile) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::WRAP, 6, 2.0), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(activeAt(Types::WRAP, 6, 3.0), ElementsAre(0, 1, 6, 7));
  EXPECT_THAT(activeAt(Types::WRAP, 6, 3.5), ElementsAre(0, 5, 6, 7));
  EXPECT_THAT(activeAt(Types::WRAP, 6, 10.75), ElementsAre(16, 17, 18, 23));
  EXPECT_THAT(activeAt(Types::WRAP, 6, 12.0), ElementsAre(20, 21, 22, 23));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, WrappedTileNumbersAreNeitherWrappedNorClipped) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::WRAP, 6, 13.0), ElementsAre(20, 21, 26, 27));
  EXPECT_EQ(errors(reports), indexReports({26, 27}));
  EXPECT_THAT(activeAt(Types::WRAP, 6, 1.0), ElementsAre(-4, -3, 2, 3));
  EXPECT_EQ(errors(reports), indexReports({-4, -3}));
}

TEST(Tilings, AnUnknownTypeOfTileIsReportedAndContributesNothing) {
  Reports reports;
  RealState state({{0, 3}, {0, 5}, {0, 2}});
  Group group(
      2, {{1, 1, UNKNOWN_TYPE}, {0, 1, Types::CLIP}, {2, 1, static_cast<Types::TILE_TYPE>(-1)}});
  group.cut(&state, {5, 3, 2}, {1, 1, 1}, {0, 0, 0});
  state.set({2.5, 4.5, 1.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(2 * 4, 1 + 2 * 4));
  const std::string first = "Tilings::activateTiles: Unknown Tiletype[7] for Variable with id = 1";
  const std::string last = "Tilings::activateTiles: Unknown Tiletype[-1] for Variable with id = 2";
  EXPECT_EQ(errors(reports), messages({first, last, first, last}));
}

TEST(Tilings, AllNumbersBeyondTheThreeTypesAreUnknown) {
  Reports reports;
  RealState state({{0, 3}});
  for (const int type : {INT_SMALLEST, -1, 3, INT_LARGEST}) {
    One group(&state, static_cast<Types::TILE_TYPE>(type));
    group.activateTiles();
    EXPECT_THAT(group.active(), ElementsAre(0));
    EXPECT_EQ(errors(reports), from("activateTiles", "Unknown Tiletype[" + std::to_string(type) +
                                                         "] for Variable with id = 0"));
  }
}

TEST(Tilings, AnIndexOutsideIsReportedAndKeptAndTheNextTilingFollows) {
  Reports reports;
  RealState state({{0, 2}});
  Group group(3, {{0, 1, Types::WRAP}});
  group.cut(&state, {2}, {1}, {0});
  group.tileOffset[1][0] = 5;
  state.set({1.5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(3, 1 + 18, 2 + 3));
  EXPECT_EQ(errors(reports), indexReports({19}));
}

TEST(Tilings, TheLastIndexIsInsideAndTheOneBehindItOutside) {
  Reports reports;
  RealState state({{0, 2}});
  One group(&state, Types::WRAP);
  const auto indexAt = [&](double value) {
    state.set({value});
    group.activateTiles();
    return group.activeTiles[0];
  };
  EXPECT_EQ(indexAt(0), 0);
  EXPECT_EQ(indexAt(1), 1);
  EXPECT_THAT(errors(reports), IsEmpty());
  EXPECT_EQ(indexAt(2), 2);
  EXPECT_EQ(errors(reports), indexReports({2}));
  EXPECT_EQ(indexAt(3), 3);
  EXPECT_EQ(errors(reports), indexReports({3}));
  EXPECT_EQ(indexAt(-2), -2);
  EXPECT_EQ(errors(reports), indexReports({-2}));
}

TEST(Tilings, AnIndexThatComesOutAsMinusOneIsNoActiveTileAndIsNotReported) {
  Reports reports;
  RealState state({{0, 2}});
  One group(&state, Types::WRAP);
  state.set({-1});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1));
  EXPECT_THAT(errors(reports), IsEmpty());
  // A tile before the first, in the last of four tilings.
  EXPECT_THAT(activeAt(Types::WRAP, 6, -1.0), ElementsAre(-8, -7, -2, -1));
  EXPECT_EQ(errors(reports), indexReports({-8, -7, -2}));
}

TEST(Tilings, BehindAnIndexThatComesOutAsMinusOneNoVariableIsLookedAt) {
  Reports reports;
  RealState state({{0, 2}, {0, 1}, {0, 1}});
  Group group(1, {{0, 1, Types::WRAP}, {1, 1, Types::CIRCLE}, {2, 1, UNKNOWN_TYPE}});
  group.cut(&state, {2, 1, 1}, {1, 1, 1}, {0, 0, 0});
  state.set({-1, 1, 0});  // the upper end of the circle would add one
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AnIndexOnItsWayBelowMinusOneIsFollowed) {
  RealState state({{0, 2}, {0, 5}});
  Group group(1, {{0, 1, Types::WRAP}, {1, 1, Types::CLIP}});
  group.cut(&state, {2, 5}, {1, 1}, {0, 0});
  state.set({-0.5, 4.5});
  Reports reports;
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-5 + 4));
  state.set({-0.5, 3.5});
  group.activateTiles();
  EXPECT_EQ(errors(reports), indexReports({-2}));
}

TEST(Tilings, WithoutAStateNoTileIsActive) {
  Reports reports;
  Group group(3, {{0, 1, Types::CLIP}});
  group.cut(nullptr, {2}, {1}, {0});
  group.setActive({0, 3, 5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1, -1, -1));
  EXPECT_EQ(errors(reports), from("activateTiles", "statePtr == 0"));
}

TEST(Tilings, AMissingStateIsReportedWhereThereAreNoTilingsToo) {
  Reports reports;
  const MemoryFile empty;
  Group group(nullptr, empty);
  reports.takeErrors();
  group.activateTiles();
  EXPECT_EQ(errors(reports), from("activateTiles", "statePtr == 0"));
}

TEST(Tilings, EveryNumberOfAnIntegerStateIsReportedAndCountsAsZero) {
  Reports reports;
  State state;
  state.registerVariable("x", 3, 9);
  One group(&state, Types::CLIP);
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(0));
  EXPECT_THAT(errors(reports),
              AllOf(testing::Contains("State::getValueDbl: Not a Double-State!"),
                    testing::Contains("State::getMinValueDbl: Not a Double-State!"),
                    Each(testing::EndsWith("Dbl: Not a Double-State!"))));
}

TEST(Tilings, AVariableThatTheStateDoesNotHaveIsReportedAndCountsAsZero) {
  Reports reports;
  RealState state({{5, 6}});
  Group group(1, {{1, 1, Types::WRAP}});
  group.cut(&state, {2}, {1}, {0});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(0));
  EXPECT_THAT(reports.errors(), Each("VarId out of bounds --> 0 <= 1 < 1"));
}

TEST(Tilings, ATileNumberBeyondAllIntsBecomesTheLargestOrSmallest) {
  Reports reports;
  RealState state({{0, 2}});
  One group(&state, Types::WRAP);
  const auto indexAt = [&](double value) {
    state.set({value});
    group.activateTiles();
    EXPECT_EQ(errors(reports), indexReports({group.activeTiles[0]})) << value;
    return group.activeTiles[0];
  };
  EXPECT_EQ(indexAt(2147483646.5), 2147483646);
  EXPECT_EQ(indexAt(2147483647.0), INT_LARGEST);
  EXPECT_EQ(indexAt(2147483648.0), INT_LARGEST);
  EXPECT_EQ(indexAt(1e300), INT_LARGEST);
  EXPECT_EQ(indexAt(INFINITE), INT_LARGEST);
  EXPECT_EQ(indexAt(-2147483647.0), -2147483647);
  EXPECT_EQ(indexAt(-2147483648.0), INT_SMALLEST);
  EXPECT_EQ(indexAt(-2147483649.0), INT_SMALLEST);
  EXPECT_EQ(indexAt(-1e300), INT_SMALLEST);
  EXPECT_EQ(indexAt(-INFINITE), INT_SMALLEST);
}

TEST(Tilings, AnyIndexThatComesOfAHugeTileNumberIsHarmless) {
  Reports reports;
  RealState state({{0, 2}, {0, 2}});
  StoringGroup group(3, {{0, 1, Types::WRAP}, {1, 1, Types::WRAP}});
  group.cut(&state, {2, 2}, {1, 1}, {0, 0});
  for (const double x : {-INFINITE, -1e300, -2147483648.0, 0.0, 2147483647.0, 1e300, INFINITE}) {
    for (const double y : {-INFINITE, -2147483648.0, 1.0, 2147483647.0, INFINITE}) {
      state.set({x, y});
      group.activateTiles();
      group.replacingTraces(1.0);
      group.updateWeights(1.0, 1.0);
      group.storeActiveTiles();
      group.clearTraceMap();
      group.updateWeights(1.0, 1.0);
      group.storeEpisodeState();
      group.getStateValue();
    }
  }
  group.valueEpisode(1.0);
  reports.takeErrors();
}

TEST(Tilings, ATileThatIsNotANumberIsTheFirst) {
  Reports reports;
  for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    EXPECT_THAT(activeAt(type, 6, NOT_A_NUMBER), ElementsAre(0, 1, 2, 3)) << type;
    EXPECT_THAT(activeAt(type, 6, -NOT_A_NUMBER), ElementsAre(0, 1, 2, 3)) << type;
  }
  RealState state({{5, 5}});
  One circle(&state, Types::CIRCLE, 1, 0.0);  // 0 / 0
  circle.activateTiles();
  EXPECT_THAT(circle.active(), ElementsAre(0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// A report that names the variable and its value, from each of so many tilings.
std::vector<std::string> takeCircleReports(Reports& reports, std::size_t count,
                                           const std::string& value) {
  const std::vector<std::string> list = errors(reports);
  EXPECT_EQ(list.size(), count);
  EXPECT_THAT(list, Each(AllOf(StartsWith("Tilings::activateTiles: "), HasSubstr("id = 0"),
                               HasSubstr(value))));
  return list;
}

TEST(Tilings, AValueThatNoStepBringsIntoItsCircleIsReportedAndHasNoTile) {
  Reports reports;
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, INFINITE), ElementsAre(-1, -1, -1, -1));
  takeCircleReports(reports, 4, "inf");
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, -INFINITE), ElementsAre(-1, -1, -1, -1));
  takeCircleReports(reports, 4, "-inf");
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, 1e300), ElementsAre(-1, -1, -1, -1));
  takeCircleReports(reports, 4, "1e+300");
  EXPECT_THAT(activeAt(Types::CIRCLE, 5, -1e300), ElementsAre(-1, -1, -1, -1));
  takeCircleReports(reports, 4, "-1e+300");
}

TEST(Tilings, OutsideACircleOfOnePointThereIsNoTile) {
  Reports reports;
  RealState state({{5, 5}});
  One group(&state, Types::CIRCLE);
  for (const double value : {4.5, 5.5}) {
    state.set({value});
    group.activateTiles();
    EXPECT_THAT(group.active(), ElementsAre(-1));
    takeCircleReports(reports, 1, value == 4.5 ? "4.5" : "5.5");
  }
  state.set({5});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, ACircleWhoseEndsAreTheWrongWayRoundHasNoTile) {
  Reports reports;
  RealState state({{0, 1}});
  One group(&state, Types::CIRCLE);
  state.setMinValueDbl(0, 3);
  for (const double value : {0.5, 2.0, 3.5}) {
    state.set({value});
    group.activateTiles();
    EXPECT_THAT(group.active(), ElementsAre(-1));
    takeCircleReports(reports, 1, value == 0.5 ? "value 0.5" : value == 2.0 ? "value 2 " : "3.5");
  }
}

TEST(Tilings, AVariableThatTheStateDoesNotHaveIsReportedByEveryTiling) {
  Reports reports;
  State integers;
  integers.registerVariable("x", 0, 3);
  Group group(4, {{0, 0.5, Types::WRAP}});
  group.cut(&integers, {4}, {1.0}, {0.0});
  group.activateTiles();
  EXPECT_THAT(reports.errors(), AllOf(testing::SizeIs(12), Each("Not a Double-State!")));
}

TEST(Tilings, AValueTooFarOutsideItsCircleIsNamedAsTheStateHasIt) {
  Reports reports;
  RealState state({{0, 1}});
  Group group(2, {{0, 0.5, Types::CIRCLE}});
  group.cut(&state, {1}, {1.0}, {1e9});
  state.set({0.25});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(0, -1));
  EXPECT_EQ(
      reports.errors(),
      messages({"Variable with id = 0: 1000000 steps don't bring the value 0.25 into the circle"
                " [0, 1]!"}));
}

TEST(Tilings, ManyTilingsTooFarOutsideTheirCircleAreGivenUpAtOnce) {
  Reports reports;
  RealState state({{0, 1}});
  Group group(1000, {{0, 0.5, Types::CIRCLE}});
  group.cut(&state, {1}, {1.0}, {0.0});
  state.set({1e9});
  const std::clock_t start = std::clock();
  group.activateTiles();
  // A million steps for each would take a second.
  EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC / 2);
  EXPECT_THAT(group.active(), Each(-1));
  takeCircleReports(reports, 1000, "1e+09");
}

TEST(Tilings, AMillionStepsAroundACircleAreTakenAndNoMore) {
  Reports reports;
  RealState state({{0, 1}});
  One group(&state, Types::CIRCLE, 2, 0.5);
  const auto tileAt = [&](double value) {
    state.set({value});
    group.activateTiles();
    return group.activeTiles[0];
  };
  EXPECT_EQ(tileAt(999999.75), 1);
  EXPECT_EQ(tileAt(1000000.75), 1);
  EXPECT_EQ(tileAt(-999999.75), 0);
  EXPECT_THAT(errors(reports), IsEmpty());
  EXPECT_EQ(tileAt(1000001.75), -1);
  takeCircleReports(reports, 1, "1e+06");
  EXPECT_EQ(tileAt(-1000000.75), -1);
  takeCircleReports(reports, 1, "-1e+06");
}

TEST(Tilings, BehindACircleWithoutATileNoOtherVariableIsLookedAt) {
  Reports reports;
  RealState state({{0, 1}, {0, 1}});
  Group group(1, {{0, 1, Types::CIRCLE}, {1, 1, UNKNOWN_TYPE}});
  group.cut(&state, {2, 2}, {1, 1}, {0, 0});
  state.set({INFINITE, 0});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(-1));
  takeCircleReports(reports, 1, "inf");
}

TEST(Tilings, NoRangeKeepsACircleTurningForEver) {
  Reports reports;
  RealState state({{0, 1}});
  One group(&state, Types::CIRCLE);
  const std::vector<double> numbers{-INFINITE, -LARGEST, -1.0,    -5e-324,  -0.0,        0.0,
                                    5e-324,    1.0,      LARGEST, INFINITE, NOT_A_NUMBER};
  for (const double min : numbers) {
    for (const double max : {-LARGEST, 0.0, 1.0, LARGEST, INFINITE, NOT_A_NUMBER}) {
      state.setMinValueDbl(0, min);
      state.setMaxValueDbl(0, max);
      for (const double value : numbers) {
        state.set({value});
        group.activateTiles();
      }
    }
  }
  reports.takeErrors();
}

TEST(Tilings, AgreeWithThePlainRulesForAnyValueAndType) {
  Reports reports;
  for (const int tilings : {1, 2, 3, 5, 8}) {
    for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP, UNKNOWN_TYPE}) {
      const Tiles::PlainLayout layout(tilings, 1, {{{-1.2, 0.6}, 0.07, type}});
      const Tiles::PlainVariable& variable = layout.variables[0];
      RealState state({{-1.2, 0.6}});
      Group group(tilings, {{0, variable.resolution, type}});
      group.cut(&state, {variable.tiles}, {variable.width}, {variable.resolution});
      if (type == UNKNOWN_TYPE) {
        group.activateTiles();
        EXPECT_EQ(errors(reports).size(), static_cast<std::size_t>(tilings));
      } else {
        Tiles::expectPlainTiles(group, state, layout, reports);
      }
    }
  }
}

// ---- Initial weights ----

int initialiserCalls = 0;

const double countingInitialiser() {
  ++initialiserCalls;
  return initialiserCalls * 0.5;
}

TEST(Tilings, InitWeightsCallsTheInitialiserOncePerWeightInTheirOrder) {
  Five group({9, 9, 9, 9, 9});
  initialiserCalls = 0;
  group.initWeights(countingInitialiser);
  EXPECT_EQ(initialiserCalls, 5);
  EXPECT_THAT(group.allWeights(), ElementsAre(0.5, 1.0, 1.5, 2.0, 2.5));
}

TEST(Tilings, InitWeightsOfNoWeightsCallsNothing) {
  Reports reports;
  Weights group({});
  initialiserCalls = 0;
  group.initWeights(countingInitialiser);
  EXPECT_EQ(initialiserCalls, 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, InitWeightsWithoutWeightsIsReported) {
  Reports reports;
  Five group;
  group.dropWeights();
  initialiserCalls = 0;
  group.initWeights(countingInitialiser);
  EXPECT_EQ(initialiserCalls, 0);
  EXPECT_EQ(errors(reports), noWeightsReport("initWeights"));
}

TEST(Tilings, InitWeightsWithoutAnInitialiserIsReportedAndChangesNothing) {
  Reports reports;
  Five group({1, 2, 3, 4, 5});
  group.initWeights(nullptr);
  EXPECT_EQ(reports.errors().size(), 1U);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(Tilings, RandomWeightsTakeOneDrawEachInTheirOrder) {
  Five group;
  EXPECT_EQ(countDraws([&] { group.initWeights(ValueFunction::getRandomInitializer()); }, 7), 5);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(group.weights[i], draw(7, i) / 2147483648.0 - 0.5) << "weight " << i;
  }
}

// ---- Starting and decaying traces ----

TEST(Tilings, InitEligibilityTracesMakesTheArrayOfZeros) {
  Five group({1, 2, 3, 4, 5});
  group.setTraceStorage(Types::ARRAY);
  group.initEligibilityTraces();
  EXPECT_THAT(group.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(Tilings, InitEligibilityTracesKeepsTheArrayThatIsThere) {
  Five group;
  group.setArrayTraces({1, 2, 3, 4, 5});
  const double* const array = group.eTraces;
  group.initEligibilityTraces();
  EXPECT_EQ(group.eTraces, array);
  EXPECT_THAT(group.arrayTraces(), ElementsAre(0, 0, 0, 0, 0));
}

TEST(Tilings, InitEligibilityTracesTakesTheArrayFromAllocateMemoryWeights) {
  class Counting : public Five {
   public:
    int calls = 0;
    double* allocateMemoryWeights() override {
      ++calls;
      return Tilings::allocateMemoryWeights();
    }
  };
  Counting group;
  group.calls = 0;
  group.setTraceStorage(Types::ARRAY);
  group.initEligibilityTraces();
  group.initEligibilityTraces();
  EXPECT_EQ(group.calls, 1);
}

TEST(Tilings, InitEligibilityTracesEmptiesTheMap) {
  Five group;
  group.eTracesMap = {{1, 0.5}, {4, 1.0}};
  group.initEligibilityTraces();
  EXPECT_THAT(group.eTracesMap, IsEmpty());
  EXPECT_EQ(group.eTraces, nullptr);
}

TEST(Tilings, InitEligibilityTracesLeavesTheOtherStorageAlone) {
  Five group;
  group.setArrayTraces({1, 2, 3, 4, 5});
  group.eTracesMap = {{1, 0.5}};
  group.setTraceStorage(Types::MAP);
  group.initEligibilityTraces();
  EXPECT_THAT(group.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));

  group.eTracesMap = {{1, 0.5}};
  group.setTraceStorage(Types::ARRAY);
  group.initEligibilityTraces();
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

TEST(Tilings, InitEligibilityTracesOfAnUnknownStorageIsReported) {
  Reports reports;
  Five group;
  group.setArrayTraces({1, 2, 3, 4, 5});
  group.eTracesMap = {{1, 0.5}};
  group.setTraceStorage(UNKNOWN);
  group.initEligibilityTraces();
  EXPECT_EQ(errors(reports), unknownStorageReport("initEligibilityTraces"));
  EXPECT_THAT(group.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

TEST(Tilings, AnyNumberBesidesZeroAndOneIsAnUnknownStorage) {
  Reports reports;
  Pair2 group;
  for (const int number : {INT_SMALLEST, -1, 2, 7, INT_LARGEST}) {
    group.setTraceStorage(static_cast<Types::TRACE_STORAGE>(number));
    group.initEligibilityTraces();
    EXPECT_EQ(reports.errors(), messages({"Unknown traceStorage = " + std::to_string(number)}));
  }
}

TEST(Tilings, TracesDecayByTheProductOfTheTwoFactors) {
  const double GAMMA = 0.7;
  const double LAMBDA = 0.3;
  const double trace = 0.1;
  const double factor = GAMMA * LAMBDA;
  ASSERT_NE(trace * factor, trace * LAMBDA * GAMMA) << "numbers that can't tell the order";
  Five group;

  group.eTracesMap = {{1, trace}, {4, -2.0}};
  group.updateEligibilityTraces(GAMMA, LAMBDA);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, trace * factor), Pair(4, -2.0 * factor)));

  group.setArrayTraces({0, trace, 0, 0, -2.0});
  group.updateEligibilityTraces(GAMMA, LAMBDA);
  EXPECT_THAT(group.arrayTraces(), ElementsAre(0, trace * factor, 0, 0, -2.0 * factor));
}

TEST(Tilings, DecayTouchesOnlyTheChosenStorage) {
  Five group;
  group.setArrayTraces({1, 1, 1, 1, 1});
  group.eTracesMap = {{1, 1.0}};
  group.updateEligibilityTraces(0.5, 0.5);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 1.0)));
  group.setTraceStorage(Types::MAP);
  group.updateEligibilityTraces(0.5, 0.5);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.25)));
  EXPECT_THAT(group.arrayTraces(), ElementsAre(0.25, 0.25, 0.25, 0.25, 0.25));
}

TEST(Tilings, EntriesOfTheMapAreNeverRemovedHoweverSmallTheyBecome) {
  Five group;
  group.eTracesMap = {{1, 1e-300}, {2, 0.0}, {3, 1.0}};
  group.updateEligibilityTraces(1e-10, 1.0);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 1e-300 * 1e-10), Pair(2, 0.0), Pair(3, 1e-10)));
  group.updateEligibilityTraces(0.9, 0.0);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.0), Pair(2, 0.0), Pair(3, 0.0)));
}

TEST(Tilings, DecayWithoutTheArrayIsReported) {
  Reports reports;
  Five group;
  group.setTraceStorage(Types::ARRAY);
  group.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports),
            from("updateEligibilityTraces",
                 "traceStorage == ARRAY and eTraces == 0 --> Set traceStorage to MAP or call "
                 "initEligibilityTraces before calling updateEligibilityTraces!"));
  EXPECT_EQ(group.eTraces, nullptr);
}

TEST(Tilings, DecayOfAnEmptyMapIsNotReported) {
  Reports reports;
  Five group;
  group.updateEligibilityTraces(0.9, 0.5);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, DecayInAnUnknownStorageIsReported) {
  Reports reports;
  Five group;
  group.setArrayTraces({1, 2, 3, 4, 5});
  group.eTracesMap = {{1, 0.5}};
  group.setTraceStorage(UNKNOWN);
  group.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports), unknownStorageReport("updateEligibilityTraces"));
  EXPECT_THAT(group.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.5)));
}

// ---- Learning ----

TEST(Tilings, EveryWeightWithATraceGainsTheTraceTimesTheStep) {
  const double ALPHA = 0.1;
  const double DELTA = 0.7;
  const double trace = 0.3;
  const double gain = trace * (ALPHA * DELTA);
  ASSERT_NE(gain, trace * DELTA * ALPHA) << "numbers that can't tell the order";

  Five map({1, 0, 3, 4, 5});
  map.eTracesMap = {{1, trace}, {4, -1.0}};
  map.updateWeights(ALPHA, DELTA);
  EXPECT_THAT(map.allWeights(), ElementsAre(1, gain, 3, 4, 5 + -1.0 * (ALPHA * DELTA)));

  Five array({1, 0, 3, 4, 5});
  array.setArrayTraces({0, trace, 0, 0, -1.0});
  array.updateWeights(ALPHA, DELTA);
  EXPECT_EQ(array.allWeights(), map.allWeights());
}

TEST(Tilings, LearningLeavesTracesAndStoredTilesAsTheyAre) {
  StoringFive group;
  group.store({2, -1, -1, -1, -1});
  group.updateWeights(0.5, 1.0);
  group.eTracesMap = {{1, 0.5}};
  group.updateWeights(0.5, 1.0);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(1, 0.5)));
  group.setArrayTraces({1, 2, 3, 4, 5});
  group.updateWeights(0.5, 1.0);
  EXPECT_THAT(group.arrayTraces(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(group.stored(), ElementsAre(2, -1, -1, -1, -1));
}

TEST(Tilings, WithoutTracesEveryStoredTileGainsTheStep) {
  const double step = 0.1 * 0.7;
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Reports reports;
    StoringFive group({1, 2, 3, 4, 5});
    group.setTraceStorage(storage);
    group.store({0, 3, -1, 4, -1});
    group.updateWeights(0.1, 0.7);
    EXPECT_THAT(group.allWeights(), ElementsAre(1 + step, 2, 3, 4 + step, 5 + step));
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(Tilings, AWeightStoredTwiceGainsTheStepTwice) {
  StoringFive group;
  group.store({3, 3, 1, -1, 3});
  group.updateWeights(0.5, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 0.5, 0, 1.5, 0));
}

TEST(Tilings, StoredTilesCountInAnUnknownStorageToo) {
  Reports reports;
  StoringFive group;
  group.setArrayTraces({1, 1, 1, 1, 1});
  group.eTracesMap = {{1, 1.0}};
  group.store({2, -1, -1, -1, -1});
  group.setTraceStorage(UNKNOWN);
  group.updateWeights(0.5, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 0, 0.5, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, StoredTilesWithoutAnyActiveOneSufficeForAnUpdateOfNothing) {
  Reports reports;
  StoringFive group({1, 2, 3, 4, 5});
  group.store({-1, -1, -1, -1, -1});
  group.updateWeights(0.5, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, TracesPrevailOverTheStoredTiles) {
  StoringFive group;
  group.store({2, -1, -1, -1, -1});
  group.eTracesMap = {{4, 1.0}};
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 0, 0, 0, 1));
  group.setArrayTraces({1, 0, 0, 0, 0});
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 0, 0, 0, 1));
}

TEST(Tilings, TracesOfZeroPrevailOverTheStoredTilesToo) {
  Reports reports;
  StoringFive group;
  group.store({2, -1, -1, -1, -1});
  group.eTracesMap = {{4, 0.0}};
  group.updateWeights(1.0, 1.0);
  group.setTraceStorage(Types::ARRAY);
  group.initEligibilityTraces();
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 0, 0, 0, 0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, TracesWaitInTheirStorageWhileTheOtherIsInUse) {
  StoringFive group;
  group.eTracesMap = {{1, 1.0}};
  group.store({3, -1, -1, -1, -1});
  group.setTraceStorage(Types::ARRAY);
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 0, 0, 1, 0));
  group.setArrayTraces({0, 0, 1, 0, 0});
  group.setTraceStorage(Types::MAP);
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 1, 0, 1, 0));
  group.setTraceStorage(Types::ARRAY);
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 1, 1, 1, 0));
}

TEST(Tilings, LearningInArrayStorageWithNeitherTracesNorStoredTilesIsReported) {
  Reports reports;
  Five group({1, 2, 3, 4, 5});
  group.eTracesMap = {{1, 1.0}};
  group.setTraceStorage(Types::ARRAY);
  group.updateWeights(0.5, 1.0);
  EXPECT_EQ(errors(reports), from("updateWeights", NOTHING_TO_UPDATE_IN_ARRAY));
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(Tilings, LearningInMapStorageWithNeitherTracesNorStoredTilesIsReported) {
  Reports reports;
  Five group({1, 2, 3, 4, 5});
  group.setArrayTraces({1, 1, 1, 1, 1});
  group.setTraceStorage(Types::MAP);
  group.updateWeights(0.5, 1.0);
  EXPECT_EQ(errors(reports), from("updateWeights", NOTHING_TO_UPDATE_IN_MAP));
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(Tilings, LearningInAnUnknownStorageWithoutStoredTilesIsReported) {
  Reports reports;
  Five group({1, 2, 3, 4, 5});
  group.setArrayTraces({1, 1, 1, 1, 1});
  group.eTracesMap = {{1, 1.0}};
  group.setTraceStorage(UNKNOWN);
  group.updateWeights(0.5, 1.0);
  EXPECT_EQ(errors(reports), unknownStorageReport("updateWeights"));
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5));
}

TEST(Tilings, LearningWithoutWeightsIsReportedBeforeAnythingElse) {
  Reports reports;
  StoringFive group;
  group.dropWeights();
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    group.updateWeights(0.5, 1.0);
    EXPECT_EQ(errors(reports), noWeightsReport("updateWeights"));
  }
  group.eTracesMap = {{1, 1.0}};
  group.store({1, 2, 3, 4, 0});
  group.setArrayTraces({1, 1, 1, 1, 1});
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    group.updateWeights(0.5, 1.0);
    EXPECT_EQ(errors(reports), noWeightsReport("updateWeights"));
  }
}

TEST(Tilings, TracesOutsideTheWeightsAreIgnored) {
  Five group;
  group.eTracesMap = {{INT_SMALLEST, 1.0}, {-1, 1.0},         {0, 1.0}, {4, 1.0}, {5, 1.0},
                      {1000000, 1.0},      {INT_LARGEST, 1.0}};
  group.updateEligibilityTraces(0.5, 1.0);
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0.5, 0, 0, 0, 0.5));
  EXPECT_EQ(group.eTracesMap.size(), 7U);
}

TEST(Tilings, StoredTilesOutsideTheWeightsAreIgnored) {
  Reports reports;
  StoringFive group;
  group.store({0, 0, 0, 0, 0});
  group.setStored({INT_SMALLEST, -2, 5, 4, INT_LARGEST});
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    group.updateWeights(1.0, 1.0);
  }
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 0, 0, 0, 3));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Limits ----

TEST(Tilings, WeightsAreClampedIntoTheLimits) {
  Weights group({-3, 0.5, 7, -INFINITE, INFINITE});
  group.checkWeightLimit(-1, 1);
  EXPECT_THAT(group.allWeights(), ElementsAre(-1, 0.5, 1, -1, 1));
}

TEST(Tilings, WeightsAtTheLimitsStay) {
  const double aboveMin = std::nextafter(-1.0, 0.0);
  const double belowMin = std::nextafter(-1.0, -2.0);
  const double belowMax = std::nextafter(1.0, 0.0);
  const double aboveMax = std::nextafter(1.0, 2.0);
  Weights group({belowMin, -1, aboveMin, belowMax, 1, aboveMax});
  group.checkWeightLimit(-1, 1);
  EXPECT_THAT(group.allWeights(), ElementsAre(-1, -1, aboveMin, belowMax, 1, 1));
}

TEST(Tilings, LimitsInTheWrongOrderGiveTheUpperOneEverywhere) {
  Weights group({-5, -1, 0, 1, 5});
  group.checkWeightLimit(1, -1);
  EXPECT_THAT(group.allWeights(), Each(-1));
}

TEST(Tilings, ClampingTwiceIsClampingOnce) {
  Weights group({-3, -1, -0.0, 0.3, 7, NOT_A_NUMBER, INFINITE, 5e-324});
  group.checkWeightLimit(-1, 0.25);
  const std::string once = bits(group.allWeights());
  group.checkWeightLimit(-1, 0.25);
  EXPECT_EQ(bits(group.allWeights()), once);
}

TEST(Tilings, ClampingWithoutWeightsIsReported) {
  Reports reports;
  Five group;
  group.dropWeights();
  group.checkWeightLimit(-1, 1);
  EXPECT_EQ(errors(reports), noWeightsReport("checkWeightLimit"));
}

// ---- Statistics ----

TEST(Tilings, TellTheSmallestAndLargestWeightWhereverTheyStand) {
  for (const auto& numbers : std::vector<std::vector<double>>{{-2, 0, 5}, {5, -2, 0}, {0, 5, -2}}) {
    const Weights group(numbers);
    EXPECT_EQ(group.getMinWeight(), -2);
    EXPECT_EQ(group.getMaxWeight(), 5);
  }
}

TEST(Tilings, TheSumOfWeightsGoesWithTheirNumber) {
  const Weights group({0.5, -3, 7, 1.5});
  int count = 0;
  EXPECT_EQ(group.getWeightSum(false, count), 6.0);
  EXPECT_EQ(count, 4);
  EXPECT_EQ(group.getWeightSum(true, count), 12.0);
  EXPECT_EQ(count, 8) << "adds to the count, each time";
}

TEST(Tilings, TheSumIsTakenInTheOrderOfWeights) {
  int count = 0;
  EXPECT_EQ(Weights({1e16, 1, -1e16}).getWeightSum(false, count), 0.0);
  EXPECT_EQ(Weights({1e16, -1e16, 1}).getWeightSum(false, count), 1.0);
  EXPECT_EQ(Weights({1e16, 1, -1e16}).getWeightSum(true, count), 2e16);
  EXPECT_EQ(count, 9);
}

TEST(Tilings, WeightsThatAreNotNumbersAreNeitherSmallestNorLargest) {
  const Weights some({NOT_A_NUMBER, 2, NOT_A_NUMBER, 1});
  EXPECT_EQ(some.getMinWeight(), 1);
  EXPECT_EQ(some.getMaxWeight(), 2);
  int count = 0;
  EXPECT_TRUE(std::isnan(some.getWeightSum(true, count)));
  const Weights all({NOT_A_NUMBER, NOT_A_NUMBER});
  EXPECT_EQ(all.getMinWeight(), LARGEST);
  EXPECT_EQ(all.getMaxWeight(), -LARGEST);
}

TEST(Tilings, InfiniteWeightsCountOnTheirOwnSideOnly) {
  const Weights positive({INFINITE});
  EXPECT_EQ(positive.getMinWeight(), LARGEST);
  EXPECT_EQ(positive.getMaxWeight(), INFINITE);
  const Weights negative({-INFINITE});
  EXPECT_EQ(negative.getMinWeight(), -INFINITE);
  EXPECT_EQ(negative.getMaxWeight(), -LARGEST);
}

TEST(Tilings, StatisticsWithoutWeightsAreReportedAndNeutral) {
  Reports reports;
  Five group;
  group.dropWeights();
  EXPECT_EQ(group.getMinWeight(), LARGEST);
  EXPECT_EQ(errors(reports), noWeightsReport("getMinWeight"));
  EXPECT_EQ(group.getMaxWeight(), -LARGEST);
  EXPECT_EQ(errors(reports), noWeightsReport("getMaxWeight"));
  int count = 3;
  EXPECT_EQ(bits({group.getWeightSum(false, count)}), bits({0.0}));
  EXPECT_EQ(errors(reports), noWeightsReport("getWeightSum"));
  EXPECT_EQ(bits({group.getWeightSum(true, count)}), bits({0.0}));
  EXPECT_EQ(errors(reports), noWeightsReport("getWeightSum"));
  EXPECT_EQ(count, 3);
}

TEST(Tilings, StatisticsOverNoWeightsAreNotReported) {
  Reports reports;
  const Weights group({});
  EXPECT_EQ(group.getMinWeight(), LARGEST);
  EXPECT_EQ(group.getMaxWeight(), -LARGEST);
  int count = 3;
  EXPECT_EQ(group.getWeightSum(false, count), 0.0);
  EXPECT_EQ(count, 3);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Episodes ----

TEST(Tilings, ValueEpisodeRewardsEveryVisitedTileOnce) {
  Five group({0, 1, 2, 3, 4});
  group.episodeIndexHistorySet = {4, 1, 1, 0};
  group.valueEpisode(0.25);
  EXPECT_THAT(group.allWeights(), ElementsAre(0.25, 1.25, 2, 3, 4.25));
}

TEST(Tilings, ValueEpisodeKeepsTheVisitedTiles) {
  Five group({0, 1, 2, 3, 4});
  group.episodeIndexHistorySet = {1, 3};
  group.valueEpisode(2.0);
  EXPECT_THAT(group.episodeIndexHistorySet, ElementsAre(1, 3));
  group.valueEpisode(2.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 5, 2, 7, 4));
}

TEST(Tilings, InitEpisodeStateHistoryForgetsTheVisitedTiles) {
  Five group({0, 1, 2, 3, 4});
  group.episodeIndexHistorySet = {1, 3};
  group.initEpisodeStateHistory();
  EXPECT_THAT(group.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 1, 2, 3, 4));
}

TEST(Tilings, ValueEpisodeWithoutVisitedTilesIsReported) {
  Reports reports;
  Five group({0, 1, 2, 3, 4});
  const auto report = from("valueEpisode",
                           "episodeIndexHistorySet is empty! Did you forget to set "
                           "ValueFunction::episodeStateHistory to true?");
  group.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), report);
  EXPECT_THAT(group.allWeights(), ElementsAre(0, 1, 2, 3, 4));
  group.dropWeights();
  group.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), report) << "asks for visited tiles before weights";
}

TEST(Tilings, ValueEpisodeWithoutWeightsIsReported) {
  Reports reports;
  Five group;
  group.dropWeights();
  group.episodeIndexHistorySet = {1, 3};
  group.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), noWeightsReport("valueEpisode"));
  EXPECT_THAT(group.episodeIndexHistorySet, ElementsAre(1, 3));
}

TEST(Tilings, VisitedTilesOutsideTheWeightsAreIgnored) {
  Reports reports;
  Five group({0, 1, 2, 3, 4});
  group.episodeIndexHistorySet = {INT_SMALLEST, -1, 0, 4, 5, INT_LARGEST};
  group.valueEpisode(1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 1, 2, 3, 5));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Saving ----

TEST(Tilings, SaveTheirBlock) {
  Group group(2, {{5, 0.5, Types::WRAP}, {1, -2.0, Types::CIRCLE}});
  group.cut(nullptr, {1, 2}, {1.0, -1.0}, {0.0, 2.0});
  group.setTraceStorage(Types::ARRAY);
  group.setWeights({1.0, -2.0, 0.5, 2.0});
  const MemoryFile file;
  EXPECT_EQ(group.save(file), 0);
  EXPECT_EQ(file.content(), std::string("\x02\x00\x00\x00"                   // tilings
                                        "\x02\x00\x00\x00"                   // variables
                                        "\x01\x00\x00\x00"                   // ARRAY
                                        "\x05\x00\x00\x00"                   // id
                                        "\x00\x00\x00\x00\x00\x00\xE0\x3F"   // resolution 0.5
                                        "\x02\x00\x00\x00"                   // WRAP
                                        "\x01\x00\x00\x00"                   // id
                                        "\x00\x00\x00\x00\x00\x00\x00\xC0"   // resolution -2.0
                                        "\x00\x00\x00\x00"                   // CIRCLE
                                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // widths 1.0
                                        "\x00\x00\x00\x00\x00\x00\xF0\xBF"   // and -1.0
                                        "\x01\x00\x00\x00"                   // tiles
                                        "\x02\x00\x00\x00"                   //
                                        "\x04\x00\x00\x00"                   // strides
                                        "\x02\x00\x00\x00"                   //
                                        "\x00\x00\x00\x00\x00\x00\x00\x00"   // tiling 0: 0.0
                                        "\x00\x00\x00\x00\x00\x00\x00\x00"   // 0.0
                                        "\x00\x00\x00\x00\x00\x00\x00\x00"   // tiling 1: 0.0
                                        "\x00\x00\x00\x00\x00\x00\x00\x40"   // 2.0
                                        "\x04\x00\x00\x00"                   // number of weights
                                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"   // 1.0
                                        "\x00\x00\x00\x00\x00\x00\x00\xC0"   // -2.0
                                        "\x00\x00\x00\x00\x00\x00\xE0\x3F"   // 0.5
                                        "\x00\x00\x00\x00\x00\x00\x00\x40",  // 2.0
                                        144));
}

TEST(Tilings, TracesAndTilesInUseAreNotSaved) {
  StoringFive group({1, 2, 3, 4, 5});
  const MemoryFile before;
  ASSERT_EQ(group.save(before), 0);
  group.store({1, 2, 3, 4, 0});
  group.setArrayTraces({1, 1, 1, 1, 1});
  group.setTraceStorage(Types::MAP);
  group.eTracesMap = {{1, 0.5}};
  group.episodeIndexHistorySet = {3};
  const MemoryFile after;
  ASSERT_EQ(group.save(after), 0);
  EXPECT_EQ(after.content(), before.content());
  EXPECT_EQ(after.content(), bytes(5) + bytes(0) + bytes(0) + bytes(5) + bytes(1.0) + bytes(2.0) +
                                 bytes(3.0) + bytes(4.0) + bytes(5.0));
}

TEST(Tilings, SaveAtThePositionOfTheFile) {
  const Weights group({7});
  const MemoryFile file;
  std::fputs("before", file);
  EXPECT_EQ(group.save(file), 0);
  std::fputs("behind", file);
  EXPECT_EQ(file.content(),
            "before" + bytes(1) + bytes(0) + bytes(0) + bytes(1) + bytes(7.0) + "behind");
}

TEST(Tilings, SaveAnUnknownStorageAsItsNumber) {
  Weights group({7});
  group.setTraceStorage(static_cast<Types::TRACE_STORAGE>(-3));
  const MemoryFile file;
  EXPECT_EQ(group.save(file), 0);
  EXPECT_EQ(file.content(), bytes(1) + bytes(0) + bytes(-3) + bytes(1) + bytes(7.0));
}

TEST(Tilings, SavingBeforeThereAreWeightsIsReportedBehindTheNumberOfWeights) {
  Reports reports;
  const Group group(2, {{5, 0.5, Types::WRAP}, {1, -2.0, Types::CIRCLE}});
  const MemoryFile file;
  EXPECT_EQ(group.save(file), -1);
  EXPECT_EQ(errors(reports), noWeightsReport("save"));
  EXPECT_EQ(file.content().substr(0, 44), bytes(2) + bytes(2) + bytes(0) +  //
                                              bytes(5U) + bytes(0.5) + bytes(2) + bytes(1U) +
                                              bytes(-2.0) + bytes(0));
  EXPECT_EQ(file.content().size(), 144U - 4 * sizeof(double));

  Five five;
  five.dropWeights();
  const MemoryFile second;
  EXPECT_EQ(five.save(second), -1);
  EXPECT_EQ(second.content(), bytes(5) + bytes(0) + bytes(0) + bytes(5));
}

TEST(Tilings, AFailedWriteIsReportedBeforeMissingWeights) {
  Reports reports;
  Five group;
  group.dropWeights();
  for (std::size_t limit = 0; limit < 16; ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(group.save(file), -1);
    EXPECT_EQ(errors(reports), errnoReport("save", EIO)) << limit;
  }
}

// A group whose block is the small one.
std::unique_ptr<Group> smallGroup() {
  auto group = std::make_unique<Group>(2, Tiles::Variables{{0, 0.5, Types::CLIP}});
  group->cut(nullptr, {3}, {1.0}, {0.5});
  group->count();
  return group;
}

TEST(Tilings, SavingStopsAtTheFirstByteThatCanNotBeWritten) {
  Reports reports;
  const auto group = smallGroup();
  const std::string whole = smallBlock().text();
  ASSERT_EQ(whole.size(), 112U);
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file("", limit, "w");
    EXPECT_EQ(group->save(file), -1) << limit;
    EXPECT_EQ(errors(reports), errnoReport("save", EIO)) << limit;
    EXPECT_EQ(file.written(), whole.substr(0, limit));
  }
  const FailingFile file("", whole.size(), "w");
  EXPECT_EQ(group->save(file), 0);
  EXPECT_EQ(file.written(), whole);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AFullDiskIsReported) {
  Reports reports;
  FILE* const file = std::fopen("/dev/full", "w");
  ASSERT_NE(file, nullptr);
  std::setvbuf(file, nullptr, _IONBF, 0);
  EXPECT_EQ(smallGroup()->save(file), -1);
  EXPECT_EQ(errors(reports), errnoReport("save", ENOSPC));
  std::fclose(file);
}

// ---- Loading ----

TEST(Tilings, LoadTheirBlock) {
  Reports reports;
  Block block;
  block.tilings = 2;
  block.storage = 1;
  block.variables = {{5, 0.5, Types::WRAP}, {1, -2.0, Types::CIRCLE}};
  block.widths = {1.0, -1.0};
  block.counts = {1, 2};
  block.strides = {4, -7};
  block.shifts = {0.25, 0.5, 0.75, 2.0};
  block.size = 3;
  block.weights = {1.0, -2.0, 0.5};
  const MemoryFile file(block.text());
  Group group(9, {});
  EXPECT_EQ(group.load(file), 0);
  EXPECT_EQ(group.TILINGS, 2);
  EXPECT_EQ(group.DIMENSIONS, 2);
  EXPECT_EQ(group.traceStorage, Types::ARRAY);
  EXPECT_EQ(group.vars[0].id, 5U);
  EXPECT_EQ(group.vars[1].id, 1U);
  EXPECT_THAT(group.resolutions(), ElementsAre(0.5, -2.0));
  EXPECT_EQ(group.vars[0].tileType, Types::WRAP);
  EXPECT_EQ(group.vars[1].tileType, Types::CIRCLE);
  EXPECT_THAT(group.widths(), ElementsAre(1.0, -1.0));
  EXPECT_THAT(group.tileCounts(), ElementsAre(1, 2));
  EXPECT_THAT(group.strides(), ElementsAre(4, -7));
  EXPECT_THAT(group.shifts(0), ElementsAre(0.25, 0.5));
  EXPECT_THAT(group.shifts(1), ElementsAre(0.75, 2.0));
  EXPECT_THAT(group.allWeights(), ElementsAre(1.0, -2.0, 0.5));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, AreBuiltFromAFileOverAState) {
  Reports reports;
  RealState state({{0, 3}});
  const MemoryFile file(smallBlock().text());
  Group group(&state, file);
  EXPECT_EQ(group.statePtr, &state);
  EXPECT_EQ(group.traceStorage, Types::MAP);
  EXPECT_EQ(group.getNumberOfTilings(), 2);
  EXPECT_EQ(group.eTraces, nullptr);
  EXPECT_EQ(group.storedActiveIndices, nullptr);
  EXPECT_THAT(group.active(), ElementsAre(-1, -1));
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5, 6));
  state.set({1.25});
  group.activateTiles();
  EXPECT_THAT(group.active(), ElementsAre(2, 1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, TheConstructorFromAFileReadsWithTheLoadOfThisClass) {
  class Other : public Group {
   public:
    using Group::Group;
    const int load(FILE*) override { return -1; }
  };
  const MemoryFile file(smallBlock().text());
  const Other group(nullptr, file);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(Tilings, SavingAndLoadingKeepsEveryBit) {
  Block block = smallBlock();
  std::string whole = block.text();
  // Any bytes will do behind the sizes of the layout, up to the number of weights.
  for (std::size_t i = 12; i < whole.size(); ++i) {
    if (i < 60 || i >= 64) {
      whole[i] = static_cast<char>(0xF1U + 7U * i);
    }
  }
  const std::uint64_t signallingNan = 0x7FF0000000000001U;
  std::memcpy(&whole[64], &signallingNan, sizeof(signallingNan));
  const MemoryFile first(whole);
  Group group(nullptr, first);
  const MemoryFile second;
  ASSERT_EQ(group.save(second), 0);
  EXPECT_EQ(second.content(), whole);
}

TEST(Tilings, LoadAtThePositionOfTheFileAndNothingBehindTheBlock) {
  const std::string whole = smallBlock().text();
  const MemoryFile file("before" + whole + "behind");
  std::fseek(file, 6, SEEK_SET);
  Group group(1, {});
  EXPECT_EQ(group.load(file), 0);
  EXPECT_EQ(std::ftell(file), static_cast<long>(6 + whole.size()));
  EXPECT_EQ(std::fgetc(file), 'b');
}

TEST(Tilings, LoadDiscardsTheArraysAndKeepsTheRest) {
  RealState state({{0, 3}});
  StoringFive group;
  group.statePtr = &state;
  group.store({1, 2, 3, 4, 0});
  group.setArrayTraces({1, 2, 3, 4, 5});
  group.eTracesMap = {{2, 0.5}};
  group.episodeIndexHistorySet = {1};
  const int* const stored = group.storedActiveIndices;
  const MemoryFile file(smallBlock().text());
  EXPECT_EQ(group.load(file), 0);
  EXPECT_EQ(group.eTraces, nullptr);
  EXPECT_EQ(group.statePtr, &state);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(2, 0.5)));
  EXPECT_THAT(group.episodeIndexHistorySet, ElementsAre(1));
  EXPECT_EQ(group.storedActiveIndices, stored);
}

TEST(Tilings, LoadUsesTheVirtualMemoryOperations) {
  class Recording : public Group {
   public:
    using Group::Group;
    std::string calls;
    void allocateMemory() override {
      calls +=
          "allocateMemory(" + std::to_string(TILINGS) + ", " + std::to_string(DIMENSIONS) + ") ";
      Tilings::allocateMemory();
    }
    double* allocateMemoryWeights() override {
      calls += "allocateMemoryWeights(" + std::to_string(ARRAY_SIZE) + ") ";
      return Tilings::allocateMemoryWeights();
    }
    void freeMemory() override {
      calls += "freeMemory ";
      Tilings::freeMemory();
    }
  };
  Recording group(4, {});
  group.calls.clear();
  const MemoryFile file(smallBlock().text());
  EXPECT_EQ(group.load(file), 0);
  EXPECT_EQ(group.calls, "freeMemory allocateMemory(2, 1) allocateMemoryWeights(6) ");
}

TEST(Tilings, IndicesInUseFromALargerGroupAreIgnoredAfterALoad) {
  Reports reports;
  StoringFive group;
  group.setArrayTraces({1, 1, 1, 1, 1});
  group.eTracesMap = {{1, 1.0}, {4, 1.0}};
  group.store({4, 4, 4, 4, 4});
  group.episodeIndexHistorySet = {0, 4};
  const MemoryFile file(bytes(2) + bytes(0) + bytes(1) + bytes(2) + bytes(7.0) + bytes(8.0));
  ASSERT_EQ(group.load(file), 0);
  group.updateWeights(1.0, 1.0);  // no array of traces, and the stored tiles are gone
  EXPECT_THAT(group.allWeights(), ElementsAre(7, 8));
  group.setTraceStorage(Types::MAP);
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(7, 9));
  group.valueEpisode(1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(8, 9));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, TilesStoredBeforeALoadCountForAsManyTilingsAsThereAreNow) {
  StoringFive group;
  group.store({0, 1, 2, 3, 4});
  std::string weights;
  for (int i = 0; i < 5; ++i) {
    weights += bytes(0.0);
  }
  const MemoryFile fewer(bytes(2) + bytes(0) + bytes(0) + bytes(5) + weights);
  ASSERT_EQ(group.load(fewer), 0);
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 1, 0, 0, 0));

  const MemoryFile more(bytes(9) + bytes(0) + bytes(0) + bytes(9) + weights + weights);
  ASSERT_EQ(group.load(more), 0);
  group.updateWeights(1.0, 1.0);  // the sanitizers watch over the end of the stored tiles
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 1, 1, 1, 1, 0, 0, 0, 0));
}

TEST(Tilings, TilesStoredAfterALoadAreThoseOfAllTilings) {
  StoringFive group;
  group.store({0, 1, 2, 3, 4});
  std::string weights;
  for (int i = 0; i < 9; ++i) {
    weights += bytes(0.0);
  }
  const MemoryFile file(bytes(9) + bytes(0) + bytes(0) + bytes(9) + weights);
  ASSERT_EQ(group.load(file), 0);
  group.store({8, 7, 6, 5, 4, 3, 2, 1, 0});
  EXPECT_THAT(group.stored(), ElementsAre(8, 7, 6, 5, 4, 3, 2, 1, 0));
  group.updateWeights(1.0, 1.0);
  EXPECT_THAT(group.allWeights(), Each(1.0));
}

TEST(Tilings, AfterALoadTheArrayOfTracesIsMadeAnew) {
  Pair2 group;
  group.setArrayTraces({1, 1});
  Block block = smallBlock();
  block.storage = 1;
  const MemoryFile file(block.text());
  ASSERT_EQ(group.load(file), 0);
  group.initEligibilityTraces();
  EXPECT_THAT(group.arrayTraces(), ElementsAre(0, 0, 0, 0, 0, 0));
}

TEST(Tilings, LoadABlockWithoutWeights) {
  Reports reports;
  Block block = smallBlock();
  block.size = 0;
  block.weights.clear();
  Five group;
  const MemoryFile file(block.text());
  EXPECT_EQ(group.load(file), 0);
  EXPECT_EQ(group.ARRAY_SIZE, 0);
  EXPECT_NE(group.weights, nullptr);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, LoadABlockWithoutTilingsVariablesOrWeights) {
  Reports reports;
  for (const int tilings : {0, 3}) {
    Five group;
    const MemoryFile file(bytes(tilings) + bytes(0) + bytes(0) + bytes(0));
    EXPECT_EQ(group.load(file), 0) << tilings;
    EXPECT_EQ(group.TILINGS, tilings);
    EXPECT_EQ(group.DIMENSIONS, 0);
    EXPECT_EQ(group.ARRAY_SIZE, 0);
    EXPECT_NE(group.weights, nullptr);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(Tilings, LoadAnUnknownStorageAndReportItsUse) {
  Reports reports;
  Block block = smallBlock();
  block.storage = 7;
  const MemoryFile file(block.text());
  Five group;
  EXPECT_EQ(group.load(file), 0);
  EXPECT_THAT(errors(reports), IsEmpty());
  group.initEligibilityTraces();
  EXPECT_EQ(errors(reports), from("initEligibilityTraces", "Unknown traceStorage = 7"));
}

// Calls every operation after a load that failed: there are no weights, and nothing may go wrong.
void expectUsableWithoutWeights(StoringGroup& group) {
  EXPECT_EQ(group.weights, nullptr);
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    group.activateTiles();
    group.replacingTraces(1.0);
    group.accumulatingTraces(1.0);
    group.updateWeights(1.0, 1.0);
    group.updateEligibilityTraces(0.5, 0.5);
    group.storeActiveTiles();
    group.storeEpisodeState();
    group.updateWeights(1.0, 1.0);
    group.initEligibilityTraces();
    group.replacingTraces(1.0);
    group.accumulatingTraces(1.0);
    group.updateWeights(1.0, 1.0);
    group.updateEligibilityTraces(0.5, 0.5);
  }
  group.initWeights(countingInitialiser);
  group.checkWeightLimit(-1, 1);
  group.valueEpisode(1.0);
  group.initEpisodeStateHistory();
  EXPECT_EQ(group.getStateValue(), LARGEST);
  EXPECT_EQ(group.getMinWeight(), LARGEST);
  EXPECT_EQ(group.getMaxWeight(), -LARGEST);
  int count = 0;
  EXPECT_EQ(group.getWeightSum(true, count), 0.0);
  EXPECT_EQ(count, 0);
  const MemoryFile file;
  EXPECT_EQ(group.save(file), -1);
}

TEST(Tilings, AFileCutAnywhereIsAFailedReadAndLeavesNoWeights) {
  const std::string whole = smallBlock().text();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    RealState state({{0, 3}});
    StoringFive group;
    group.statePtr = &state;
    group.store({0, 1, 2, 3, 4});
    const MemoryFile file(whole.substr(0, size));
    errno = 0;
    EXPECT_EQ(group.load(file), -1) << size;
    ASSERT_EQ(errors(reports), errnoReport("load", 0)) << size;
    expectUsableWithoutWeights(group);
    reports.takeErrors();

    file.rewind();
    StoringGroup built(&state, file);
    reports.takeErrors();
    expectUsableWithoutWeights(built);
    reports.takeErrors();
  }
}

TEST(Tilings, AFailedLoadKeepsWhatHasBeenReadBefore) {
  Reports reports;
  const std::string whole = smallBlock().text();
  Five group;
  const MemoryFile noOffsets(whole.substr(0, 12 + 16 + 8 + 4 + 4 + 8) + bytes(0.25).substr(0, 7));
  EXPECT_EQ(group.load(noOffsets), -1);
  EXPECT_EQ(group.traceStorage, Types::MAP);

  // Only the weights are missing, which the number of weights gives away.
  const MemoryFile noWeights(smallBlock().withoutWeights());
  EXPECT_EQ(group.load(noWeights), -1);
  EXPECT_EQ(group.TILINGS, 2);
  EXPECT_EQ(group.DIMENSIONS, 1);
  EXPECT_EQ(group.vars[0].tileType, Types::CLIP);
  EXPECT_THAT(group.resolutions(), ElementsAre(0.5));
  EXPECT_THAT(group.widths(), ElementsAre(1.0));
  EXPECT_THAT(group.tileCounts(), ElementsAre(3));
  EXPECT_THAT(group.strides(), ElementsAre(2));
  EXPECT_THAT(group.shifts(1), ElementsAre(0.5));
  EXPECT_EQ(group.weights, nullptr);
}

TEST(Tilings, APipeThatEndsAnywhereIsAFailedReadAndLeavesNoWeights) {
  const std::string whole = smallBlock().text();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    RealState state({{0, 3}});
    StoringFive group;
    group.statePtr = &state;
    const FailingFile file(whole.substr(0, size), 1000, "r");
    errno = 0;
    EXPECT_EQ(group.load(file), -1) << size;
    ASSERT_EQ(errors(reports), errnoReport("load", 0)) << size;
    expectUsableWithoutWeights(group);
    reports.takeErrors();
  }
}

TEST(Tilings, AReadThatFailsAnywhereIsReportedWithItsError) {
  const std::string whole = smallBlock().text();
  Reports reports;
  Five group;
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    const FailingFile file(whole, limit, "r");
    errno = 0;
    EXPECT_EQ(group.load(file), -1) << limit;
    ASSERT_EQ(errors(reports), errnoReport("load", EIO)) << limit;
    EXPECT_EQ(group.weights, nullptr);
  }
  const FailingFile file(whole, whole.size(), "r");
  EXPECT_EQ(group.load(file), 0);
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// Loads a block from a file; the largest piece of memory that was asked for.
std::size_t requestOfLoad(Group& group, FILE* file, int expectedStatus) {
  int status = 0;
  std::size_t largestRequest = 0;
  {
    const FailingNew memory;
    status = group.load(file);
    largestRequest = memory.largestRequest();
  }
  EXPECT_EQ(status, expectedStatus);
  return largestRequest;
}

TEST(Tilings, SizesThatTheFileCanNotHoldAreFailedReadsWithoutMemoryBeingAskedFor) {
  const std::string rest = smallBlock().text().substr(12);
  const std::vector<std::pair<int, int>> sizes{
      {INT_LARGEST, 1},  {2, INT_LARGEST},  {INT_LARGEST, INT_LARGEST},
      {1000000, 1},      {2, 1000000},      {65536, 65536},
      {INT_LARGEST, 0},  {0, INT_LARGEST},  {0, 1000000},
      {-1, 1},           {2, -1},           {-1, -1},
      {INT_SMALLEST, 1}, {2, INT_SMALLEST}, {INT_SMALLEST, INT_SMALLEST}};
  for (const auto& [tilings, dimensions] : sizes) {
    Reports reports;
    Five group;
    const std::string text = bytes(tilings) + bytes(dimensions) + bytes(0) + rest;
    const MemoryFile file(text);
    errno = 0;
    EXPECT_LE(requestOfLoad(group, file, -1), 1000U) << tilings << ", " << dimensions;
    ASSERT_EQ(errors(reports), errnoReport("load", 0)) << tilings << ", " << dimensions;
    EXPECT_EQ(group.weights, nullptr);

    const FailingFile pipe(text, 1000, "r");
    errno = 0;
    EXPECT_LE(requestOfLoad(group, pipe, -1), 1U << 27U) << tilings << ", " << dimensions;
    ASSERT_EQ(errors(reports), errnoReport("load", 0)) << tilings << ", " << dimensions;
    EXPECT_EQ(group.weights, nullptr);
  }
}

TEST(Tilings, AGroupAfterHostileSizesIsUsable) {
  const std::string rest = smallBlock().text().substr(12);
  RealState state({{0, 3}});
  for (const int tilings : {INT_SMALLEST, -1, INT_LARGEST}) {
    for (const int dimensions : {INT_SMALLEST, -1, 0, 1, INT_LARGEST}) {
      Reports reports;
      const MemoryFile file(bytes(tilings) + bytes(dimensions) + bytes(0) + rest);
      StoringGroup group(&state, file);
      expectUsableWithoutWeights(group);
      reports.takeErrors();
    }
  }
}

TEST(Tilings, AsManyTilingsAndVariablesAsTheFileHoldsAreLoaded) {
  Reports reports;
  Block block;
  block.tilings = 300;
  block.variables.assign(7, {0U, 0.5, Types::CLIP});
  block.widths.assign(7, 1.0);
  block.counts.assign(7, 1);
  block.strides.assign(7, 1);
  block.shifts.assign(2100, 0.25);
  block.size = 1;
  block.weights = {9};
  Five group;
  const MemoryFile file(block.text());
  EXPECT_EQ(group.load(file), 0);
  EXPECT_EQ(group.TILINGS, 300);
  EXPECT_THAT(group.shifts(299), ElementsAre(0.25, 0.25, 0.25, 0.25, 0.25, 0.25, 0.25));
  EXPECT_THAT(group.allWeights(), ElementsAre(9));
  const FailingFile pipe(block.text(), 1000000, "r");
  EXPECT_EQ(group.load(pipe), 0);
  EXPECT_EQ(group.TILINGS, 300);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(Tilings, ANumberOfWeightsThatTheFileCanNotHoldIsAFailedReadWithoutMemoryBeingAskedFor) {
  for (const int size : {7, 1000000, INT_LARGEST, -1, INT_SMALLEST}) {
    Reports reports;
    Block block = smallBlock();
    block.size = size;
    Five group;
    const MemoryFile file(block.text() + "1234567");
    errno = 0;
    EXPECT_LE(requestOfLoad(group, file, -1), 1000U);
    ASSERT_EQ(errors(reports), errnoReport("load", 0)) << size;
    EXPECT_EQ(group.weights, nullptr);

    const FailingFile pipe(block.text(), 1000, "r");
    errno = 0;
    EXPECT_LE(requestOfLoad(group, pipe, -1), 1U << 20U);
    ASSERT_EQ(errors(reports), errnoReport("load", 0)) << size;
    EXPECT_EQ(group.weights, nullptr);
  }
}

TEST(Tilings, ManyWeightsComeWholeThroughAPipe) {
  Block block = smallBlock();
  for (const int size : {65535, 65536, 65537, 150000}) {
    Reports reports;
    block.size = size;
    block.weights = Tables::ascending(size);
    Five group;
    const FailingFile pipe(block.text(), 10000000, "r");
    EXPECT_EQ(group.load(pipe), 0) << size;
    EXPECT_EQ(group.allWeights(), block.weights);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(Tilings, AnyNumbersInALayoutAreHarmless) {
  const std::vector<int> ints{INT_SMALLEST, -7, -1, 0, 1, 2, 1000, INT_LARGEST};
  const std::vector<double> doubles{-INFINITE, -1e300, -1.0,  -0.0,     0.0,
                                    5e-324,    0.5,    1e300, INFINITE, NOT_A_NUMBER};
  RealState state({{0, 3}, {-1, 1}});
  std::mt19937 random(1);
  const auto anyInt = [&] { return ints[random() % ints.size()]; };
  const auto anyDouble = [&] { return doubles[random() % doubles.size()]; };
  for (int i = 0; i < 500; ++i) {
    Reports reports;
    Block block;
    block.tilings = 3;
    block.storage = static_cast<int>(random() % 3);
    for (int d = 0; d < 2; ++d) {
      block.variables.push_back({static_cast<unsigned int>(random() % 3), anyDouble(),
                                 static_cast<Types::TILE_TYPE>(random() % 4)});
      block.widths.push_back(anyDouble());
      block.counts.push_back(anyInt());
      block.strides.push_back(anyInt());
    }
    for (int k = 0; k < 6; ++k) {
      block.shifts.push_back(anyDouble());
    }
    block.size = static_cast<int>(random() % 7);
    block.weights = Tables::ascending(block.size);
    const MemoryFile file(block.text());
    StoringGroup group(&state, file);
    state.set({(static_cast<double>(random() % 100) - 20) / 20.0, anyDouble()});
    group.activateTiles();
    group.initEligibilityTraces();
    group.replacingTraces(1.0);
    group.accumulatingTraces(1.0);
    group.updateEligibilityTraces(0.5, 0.5);
    group.updateWeights(1.0, 1.0);
    group.storeActiveTiles();
    group.storeEpisodeState();
    group.clearTraceMap();
    group.updateWeights(1.0, 1.0);
    group.valueEpisode(1.0);
    group.getStateValue();
    const MemoryFile again;
    EXPECT_EQ(group.save(again), 0);
    reports.takeErrors();
  }
}

// ---- Short memory ----

class TilingsInShortMemory : public Tables::InShortMemory {};

TEST_F(TilingsInShortMemory, AGroupThatCanNotBeHadIsReportedAndHarmless) {
  RealState state({{0, 3}});
  const Tiles::Variables variables{{0, 0.5, Types::CLIP}};
  int call = 0;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    std::unique_ptr<StoringGroup> group;
    {
      // The group's own memory is the first request.
      const FailingNew memory(FailingNew::ONE, call + 1);
      EXPECT_NO_THROW(group = std::make_unique<StoringGroup>(3, variables)) << call;
      failed = memory.failed();
    }
    EXPECT_EQ(reports.errors().empty(), !failed) << call;
    group->statePtr = &state;
    expectUsableWithoutWeights(*group);
    reports.takeErrors();
  }
  EXPECT_GE(call, 7) << "six arrays of the layout at least";
}

TEST_F(TilingsInShortMemory, WeightsThatCanNotBeHadAreReported) {
  Reports reports;
  Group group(1, {});
  group.ARRAY_SIZE = INT_LARGEST;
  double* numbers = nullptr;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(numbers = group.allocateMemoryWeights());
  }
  EXPECT_EQ(numbers, nullptr);
  EXPECT_EQ(reports.errors(),
            messages({"Can not allocate memory for 2147483647 entries of 8 bytes!"}));
}

TEST_F(TilingsInShortMemory, AnArrayOfTracesThatCanNotBeHadIsReportedAndMissing) {
  Reports reports;
  Five group({1, 2, 3, 4, 5});
  group.setTraceStorage(Types::ARRAY);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(group.initEligibilityTraces());
  }
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for 5 entries of 8 bytes!"}));
  EXPECT_EQ(group.eTraces, nullptr);
  group.updateWeights(1.0, 1.0);
  EXPECT_EQ(errors(reports), from("updateWeights", NOTHING_TO_UPDATE_IN_ARRAY));
}

TEST_F(TilingsInShortMemory, LoadingNeverThrowsAndFails) {
  RealState state({{0, 3}});
  const std::string whole = smallBlock().text();
  for (const bool seekable : {true, false}) {
    int call = 0;
    for (bool failed = true; failed;) {
      ++call;
      Reports reports;
      StoringFive group;
      group.statePtr = &state;
      const MemoryFile file(whole);
      const FailingFile pipe(whole, 1000, "r");
      FILE* const source = seekable ? static_cast<FILE*>(file) : static_cast<FILE*>(pipe);
      int status = 0;
      {
        const FailingNew memory(FailingNew::ONE, call);
        EXPECT_NO_THROW(status = group.load(source)) << call;
        failed = memory.failed();
      }
      EXPECT_EQ(status, failed ? -1 : 0) << call;
      EXPECT_EQ(reports.errors().empty(), !failed) << call;
      if (failed) {
        expectUsableWithoutWeights(group);
        reports.takeErrors();
      }
    }
    EXPECT_GE(call, 8) << "six arrays of the layout, two rows and the weights at least";
  }
}

}  // namespace
