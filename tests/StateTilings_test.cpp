#include <gmock/gmock.h>
#include <quarnel/State.h>
#include <quarnel/StateTilings.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/Reports.h"
#include "support/Tables.h"
#include "support/Tiles.h"

namespace {

using Tables::bits;
using Tables::errors;
using Tables::NO_ARRAY_TRACES;
using Tables::NO_WEIGHTS;
using Tables::UNKNOWN;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using Tiles::INFINITE;
using Tiles::INT_LARGEST;
using Tiles::INT_SMALLEST;
using Tiles::LARGEST;
using Tiles::NOT_A_NUMBER;
using Tiles::RealState;
using Tiles::UNKNOWN_TYPE;
using Tiles::Wish;

using Group = Tiles::OpenGroup<StateTilings>;

// A created group over variables of its own.
class Created {
 public:
  Created(int tilings, const std::vector<Wish>& wishes)
      : state(Tiles::rangesOf(wishes)), group(tilings, Tiles::variablesOf(wishes)) {
    group.create(&state);
  }

  // Makes the tiles of these values active.
  void visit(const std::vector<double>& values) {
    state.set(values);
    group.activateTiles();
  }

  RealState state;
  Group group;
};

// Four clipped tilings of five tiles each over [0, 10].
class Four : public Created {
 public:
  Four() : Created(4, {{{0, 10}, 0.5, Types::CLIP}}) {}
};

std::vector<std::string> from(const char* function, const std::string& message) {
  return messages({std::string("StateTilings::") + function + ": " + message});
}

// ---- Construction ----

TEST(StateTilings, HandTheirArgumentsOn) {
  Reports reports;
  const Group group(4, {{3, 0.5, Types::CLIP}, {1, 0.25, Types::WRAP}});
  EXPECT_EQ(group.TILINGS, 4);
  EXPECT_EQ(group.DIMENSIONS, 2);
  EXPECT_EQ(group.vars[0].id, 3U);
  EXPECT_EQ(group.vars[1].tileType, Types::WRAP);
  EXPECT_EQ(group.traceStorage, Types::MAP);
  EXPECT_EQ(group.weights, nullptr);

  RealState state({{0, 3}});
  const MemoryFile file(Tiles::smallBlock().text());
  const Group loaded(&state, file);
  EXPECT_EQ(loaded.statePtr, &state);
  EXPECT_EQ(loaded.TILINGS, 2);
  EXPECT_THAT(loaded.allWeights(), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Layout ----

TEST(StateTilings, ARangeIsCutIntoTilesOfTheResolutionTimesTheTilings) {
  const Four four;
  const Group& group = four.group;
  EXPECT_EQ(group.statePtr, &four.state);
  EXPECT_THAT(group.tileCounts(), ElementsAre(5));  // 10 / (4 * 0.5)
  EXPECT_THAT(group.resolutions(), ElementsAre(0.5));
  EXPECT_THAT(group.widths(), ElementsAre(2.0));
  EXPECT_THAT(group.strides(), ElementsAre(4));
  EXPECT_THAT(group.shifts(0), ElementsAre(0.0));
  EXPECT_THAT(group.shifts(1), ElementsAre(0.5));
  EXPECT_THAT(group.shifts(2), ElementsAre(1.0));
  EXPECT_THAT(group.shifts(3), ElementsAre(1.5));
  EXPECT_EQ(group.ARRAY_SIZE, 20);
  EXPECT_NE(group.weights, nullptr);
}

TEST(StateTilings, AWrappedRangeGetsOneMoreTileOfTheSameWidth) {
  const Created created(4, {{{0, 10}, 0.5, Types::WRAP}});
  EXPECT_THAT(created.group.tileCounts(), ElementsAre(6));
  EXPECT_THAT(created.group.resolutions(), ElementsAre(0.5));
  EXPECT_THAT(created.group.widths(), ElementsAre(2.0));
  EXPECT_THAT(created.group.shifts(3), ElementsAre(1.5));
  EXPECT_EQ(created.group.ARRAY_SIZE, 24);
}

TEST(StateTilings, CirclesAndUnknownTypesAreCutLikeClippedRanges) {
  for (const auto type : {Types::CIRCLE, UNKNOWN_TYPE}) {
    const Created created(4, {{{0, 10}, 0.5, type}});
    EXPECT_THAT(created.group.tileCounts(), ElementsAre(5));
    EXPECT_THAT(created.group.widths(), ElementsAre(2.0));
    EXPECT_EQ(created.group.ARRAY_SIZE, 20);
  }
}

TEST(StateTilings, TheResolutionGivesWayToAWholeNumberOfTiles) {
  const Created clipped(4, {{{0, 10}, 0.3, Types::CLIP}});
  EXPECT_THAT(clipped.group.tileCounts(), ElementsAre(9));  // 10 / 1.2 = 8.3...
  EXPECT_THAT(clipped.group.resolutions(), ElementsAre(10.0 / 36));
  EXPECT_THAT(clipped.group.widths(), ElementsAre(10.0 / 9));
  EXPECT_THAT(clipped.group.shifts(3), ElementsAre(10.0 / 36 * 3));
  EXPECT_EQ(clipped.group.ARRAY_SIZE, 36);

  const Created wrapped(4, {{{0, 10}, 0.3, Types::WRAP}});
  EXPECT_THAT(wrapped.group.tileCounts(), ElementsAre(10));
  EXPECT_THAT(wrapped.group.resolutions(), ElementsAre(10.0 / 36));
  EXPECT_THAT(wrapped.group.widths(), ElementsAre(10.0 / 9));
  EXPECT_EQ(wrapped.group.ARRAY_SIZE, 40);
}

TEST(StateTilings, AWholeNumberOfTilesIsNotRoundedUp) {
  const auto tilesOf = [](double resolution) {
    return Created(1, {{{0, 3}, resolution, Types::CLIP}}).group.tiles[0];
  };
  EXPECT_EQ(tilesOf(1.0), 3);
  EXPECT_EQ(tilesOf(std::nextafter(1.0, 0.0)), 4);
  EXPECT_EQ(tilesOf(std::nextafter(1.0, 2.0)), 3);
  EXPECT_EQ(tilesOf(1.5), 2);
  EXPECT_EQ(tilesOf(std::nextafter(1.5, 2.0)), 2);
  EXPECT_EQ(tilesOf(3.0), 1);
  EXPECT_EQ(tilesOf(std::nextafter(3.0, 0.0)), 2);
  EXPECT_EQ(tilesOf(1e300), 1);
}

TEST(StateTilings, TheRangeIsDividedByTheProductOfTilingsAndResolution) {
  const double range = 0.27;
  const double resolution = 0.01;
  const int tilings = 3;
  const double count = std::ceil(range / (tilings * resolution));
  ASSERT_NE(count, std::ceil(range / tilings / resolution)) << "numbers that can't tell the order";
  ASSERT_NE(count, std::ceil(range / resolution / tilings)) << "numbers that can't tell the order";
  const Created created(tilings, {{{0, range}, resolution, Types::CLIP}});
  EXPECT_EQ(created.group.tiles[0], static_cast<int>(count));
}

TEST(StateTilings, ACoarseResolutionGivesOneTile) {
  const Created created(4, {{{-1, 3}, 77, Types::CLIP}});
  EXPECT_THAT(created.group.tileCounts(), ElementsAre(1));
  EXPECT_THAT(created.group.resolutions(), ElementsAre(1.0));
  EXPECT_THAT(created.group.widths(), ElementsAre(4.0));
  EXPECT_THAT(created.group.shifts(3), ElementsAre(3.0));
  EXPECT_EQ(created.group.ARRAY_SIZE, 4);
}

TEST(StateTilings, TheLastVariableHasTheSmallestStride) {
  const Created two(4, {{{0, 3}, 0.25, Types::CLIP}, {{0, 5}, 0.25, Types::CLIP}});
  EXPECT_THAT(two.group.tileCounts(), ElementsAre(3, 5));
  EXPECT_THAT(two.group.strides(), ElementsAre(20, 4));
  EXPECT_EQ(two.group.ARRAY_SIZE, 60);

  const Created three(
      2, {{{0, 1}, 0.25, Types::CLIP}, {{0, 1}, 0.125, Types::WRAP}, {{0, 3}, 0.5, Types::CIRCLE}});
  EXPECT_THAT(three.group.tileCounts(), ElementsAre(2, 5, 3));
  EXPECT_THAT(three.group.strides(), ElementsAre(30, 6, 2));
  EXPECT_EQ(three.group.ARRAY_SIZE, 60);
  EXPECT_THAT(three.group.shifts(1), ElementsAre(0.25, 0.125, 0.5));
}

TEST(StateTilings, AnIndexIsMadeOfTheTilingAndTheTileAlongEachVariable) {
  Created created(4, {{{0, 3}, 0.25, Types::WRAP}, {{0, 5}, 0.25, Types::WRAP}});
  // Tiles (2, 1) in tiling 3: 3 + 2 * 24 + 1 * 4, as there are four and six tiles.
  created.visit({1.5, 0.5});
  EXPECT_EQ(created.group.activeTiles[3], 3 + 48 + 4);
}

TEST(StateTilings, WithoutVariablesThereIsAWeightForEachTiling) {
  Created created(3, {});
  EXPECT_EQ(created.group.ARRAY_SIZE, 3);
  created.group.setWeights({1, 2, 4});
  created.group.activateTiles();
  EXPECT_EQ(created.group.getStateValue(), 7);
}

TEST(StateTilings, CoverOnlyTheVariablesOfTheirList) {
  RealState state({{0, 1}, {10, 30}, {0, 1}, {-8, -4}});
  Group group(2, {{3, 1, Types::CLIP}, {1, 5, Types::CLIP}});
  group.create(&state);
  EXPECT_THAT(group.tileCounts(), ElementsAre(2, 2));
  EXPECT_THAT(group.widths(), ElementsAre(2, 10));
  EXPECT_THAT(group.resolutions(), ElementsAre(1, 5));
  EXPECT_EQ(group.ARRAY_SIZE, 8);
}

TEST(StateTilings, AnyLayoutFollowsThePlainRules) {
  std::mt19937 random(1);
  const auto below = [&](unsigned int limit) { return static_cast<int>(random() % limit); };
  const auto between = [&](double low, double high) {
    return low + below(1000) / 999.0 * (high - low);
  };
  const std::vector<Types::TILE_TYPE> types{Types::CIRCLE, Types::CLIP, Types::WRAP, UNKNOWN_TYPE};
  for (int i = 0; i < 300; ++i) {
    const int tilings = 1 + below(9);
    std::vector<Wish> wishes;
    for (int d = below(4); d > 0; --d) {
      const double min = between(-3, 3);
      const double range = between(0.1, 7);
      wishes.push_back(
          {{min, min + range}, range / tilings / between(0.5, 6), types[random() % types.size()]});
    }
    Reports reports;
    const Created created(tilings, wishes);
    const Tiles::PlainLayout layout(tilings, 1, wishes);
    ASSERT_THAT(errors(reports), IsEmpty());
    ASSERT_EQ(created.group.ARRAY_SIZE, layout.size) << i;
    ASSERT_NE(created.group.weights, nullptr);
    for (std::size_t d = 0; d < wishes.size(); ++d) {
      const Tiles::PlainVariable& variable = layout.variables[d];
      const double resolution = created.group.vars[d].resolution;
      ASSERT_EQ(created.group.tiles[d], variable.tiles) << i;
      ASSERT_EQ(created.group.indexOffset[d], variable.stride) << i;
      ASSERT_EQ(created.group.tileWidth[d], variable.width) << i;
      ASSERT_EQ(resolution, variable.resolution) << i;
      for (int t = 0; t < tilings; ++t) {
        ASSERT_EQ(created.group.tileOffset[t][d], variable.resolution * t) << i;
      }
    }
  }
}

TEST(StateTilings, ActiveTilesOfOneVariableFollowThePlainRules) {
  Reports reports;
  for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    for (const int tilings : {1, 2, 3, 4, 8, 10}) {
      for (const double resolution : {0.02, 0.1, 1.0}) {
        const std::vector<Wish> wishes{{{-1.2, 0.6}, resolution, type}};
        Created created(tilings, wishes);
        Tiles::expectPlainTiles(created.group, created.state,
                                Tiles::PlainLayout(tilings, 1, wishes), reports);
      }
    }
  }
}

TEST(StateTilings, ActiveTilesOfSeveralVariablesFollowThePlainRules) {
  Reports reports;
  const std::vector<Types::TILE_TYPE> types{Types::CIRCLE, Types::CLIP, Types::WRAP};
  for (const auto first : types) {
    for (const auto second : types) {
      for (const auto third : types) {
        const std::vector<Wish> wishes{
            {{0, 10}, 0.7, first}, {{-0.07, 0.07}, 0.01, second}, {{3, 3.5}, 0.1, third}};
        Created created(4, wishes);
        Tiles::expectPlainTiles(created.group, created.state, Tiles::PlainLayout(4, 1, wishes),
                                reports);
      }
    }
  }
}

TEST(StateTilings, CreateTakesTheWeightsFromAllocateMemoryWeights) {
  class Counting : public Group {
   public:
    using Group::Group;
    std::vector<int> sizes;
    double* allocateMemoryWeights() override {
      sizes.push_back(ARRAY_SIZE);
      return Tilings::allocateMemoryWeights();
    }
  };
  RealState state({{0, 10}});
  Counting group(4, {{0, 0.5, Types::CLIP}});
  group.create(&state);
  EXPECT_THAT(group.sizes, ElementsAre(20));
}

TEST(StateTilings, CreateLeavesStoredTilesMapAndEpisodeAlone) {
  RealState state({{0, 10}});
  Group group(4, {{0, 0.5, Types::CLIP}});
  group.storeActiveTiles();
  const int* const stored = group.storedActiveIndices;
  group.eTracesMap = {{3, 0.5}};
  group.episodeIndexHistorySet = {2};
  group.setTraceStorage(Types::ARRAY);
  group.create(&state);
  EXPECT_EQ(group.storedActiveIndices, stored);
  EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(3, 0.5)));
  EXPECT_THAT(group.episodeIndexHistorySet, ElementsAre(2));
  EXPECT_EQ(group.traceStorage, Types::ARRAY);
}

TEST(StateTilings, ASecondCreateLaysOutAnewAndReleasesTheFirstWeightsAndTraces) {
  Four four;
  Group& group = four.group;
  group.setArrayTraces(std::vector<double>(20, 1.0));
  RealState wider({{0, 20}});
  group.create(&wider);
  EXPECT_EQ(group.statePtr, &wider);
  EXPECT_THAT(group.tileCounts(), ElementsAre(10));
  EXPECT_EQ(group.ARRAY_SIZE, 40);
  EXPECT_EQ(group.eTraces, nullptr);
  group.initEligibilityTraces();
  EXPECT_THAT(group.arrayTraces(), AllOf(testing::SizeIs(40), Each(0.0)));
}

TEST(StateTilings, ASecondCreateStartsFromTheResolutionThatTheFirstHasLeft) {
  Created created(4, {{{0, 10}, 0.4, Types::CLIP}});  // seven tiles
  EXPECT_THAT(created.group.resolutions(), ElementsAre(10.0 / 28));
  RealState wider({{0, 100}});
  created.group.create(&wider);
  EXPECT_EQ(created.group.tiles[0], static_cast<int>(std::ceil(100 / (4 * (10.0 / 28)))));
}

TEST(StateTilings, TracesMadeBeforeCreateAreReleased) {
  RealState state({{0, 10}});
  Group group(4, {{0, 0.5, Types::CLIP}});
  group.setTraceStorage(Types::ARRAY);
  group.initEligibilityTraces();
  group.create(&state);
  group.initEligibilityTraces();
  EXPECT_THAT(group.arrayTraces(), AllOf(testing::SizeIs(20), Each(0.0)));
}

TEST(StateTilings, ARangeOfOnePointHasNoTilesOrTheExtraOne) {
  Reports reports;
  Created clipped(4, {{{5, 5}, 0.5, Types::CLIP}});
  EXPECT_THAT(clipped.group.tileCounts(), ElementsAre(0));
  EXPECT_EQ(clipped.group.ARRAY_SIZE, 0);
  EXPECT_NE(clipped.group.weights, nullptr);
  EXPECT_THAT(errors(reports), IsEmpty());
  clipped.visit({5});
  // The tile number is raised to 0, then lowered to the one before the first tile.
  EXPECT_THAT(clipped.group.active(), ElementsAre(-4, -3, -2, -1));
  EXPECT_EQ(reports.errors(),
            messages({"index out ouf bounds --> -4", "index out ouf bounds --> -3",
                      "index out ouf bounds --> -2"}));
  EXPECT_EQ(clipped.group.getStateValue(), 0.0);

  Created wrapped(4, {{{5, 5}, 0.5, Types::WRAP}});
  EXPECT_THAT(wrapped.group.tileCounts(), ElementsAre(1));
  EXPECT_EQ(wrapped.group.ARRAY_SIZE, 4);
  wrapped.group.count();
  wrapped.visit({5});
  EXPECT_THAT(wrapped.group.active(), ElementsAre(0, 1, 2, 3));
  EXPECT_EQ(wrapped.group.getStateValue(), 10);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTilings, AnIntegerStateIsReportedAndHasRangesOfOnePoint) {
  Reports reports;
  State state;
  state.registerVariable("x", 0, 9);
  Group clipped(4, {{0, 0.5, Types::CLIP}});
  clipped.create(&state);
  EXPECT_THAT(errors(reports),
              AllOf(testing::Contains("State::getMaxValueDbl: Not a Double-State!"),
                    Each(testing::EndsWith("Dbl: Not a Double-State!"))));
  EXPECT_EQ(clipped.ARRAY_SIZE, 0);
  Group wrapped(4, {{0, 0.5, Types::WRAP}});
  wrapped.create(&state);
  EXPECT_EQ(wrapped.ARRAY_SIZE, 4);
  reports.takeErrors();
  wrapped.activateTiles();
  EXPECT_THAT(errors(reports), AllOf(testing::Contains("State::getValueDbl: Not a Double-State!"),
                                     Each(testing::EndsWith("Dbl: Not a Double-State!"))));
}

TEST(StateTilings, AVariableThatTheStateDoesNotHaveIsReportedAndHasARangeOfOnePoint) {
  Reports reports;
  RealState state({{0, 9}});
  Group group(4, {{1, 0.5, Types::WRAP}});
  group.create(&state);
  EXPECT_THAT(reports.errors(), AllOf(Not(IsEmpty()), Each("VarId out of bounds --> 0 <= 1 < 1")));
  EXPECT_EQ(group.ARRAY_SIZE, 4);
}

// ---- Layouts that can't be ----

// Calls every operation of a group without weights: each is harmless, and its value is the largest.
void expectUsableWithoutWeights(Group& group, Reports& reports) {
  EXPECT_EQ(group.weights, nullptr);
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    group.activateTiles();
    group.replacingTraces(1.0);
    group.updateWeights(1.0, 1.0);
    group.storeActiveTiles();
    group.storeEpisodeState();
    group.initEligibilityTraces();
    group.accumulatingTraces(1.0);
    group.replacingTraces(1.0);
    group.updateEligibilityTraces(0.5, 0.5);
    group.updateWeights(1.0, 1.0);
  }
  group.valueEpisode(1.0);
  group.checkWeightLimit(-1, 1);
  const MemoryFile file;
  EXPECT_EQ(group.save(file), -1);
  reports.takeErrors();
  EXPECT_EQ(group.getStateValue(), LARGEST);
  EXPECT_EQ(errors(reports), from("getStateValue", NO_WEIGHTS));
}

// Creates a group that can't be laid out, over the second variable of a state; the report names
// what it is made of.
void expectRefused(int tilings, const Tiles::Range& range, double resolution, Types::TILE_TYPE type,
                   const std::vector<std::string>& figures) {
  Reports reports;
  RealState state({{0, 1}, {0, 1}});
  state.setMinValueDbl(1, range.first);
  state.setMaxValueDbl(1, range.second);
  Group group(tilings, {{0, 0.5, Types::CLIP}, {1, resolution, type}});
  group.create(&state);
  const std::vector<std::string> list = reports.errors();
  ASSERT_EQ(list.size(), 1U) << resolution;
  for (const std::string& figure : figures) {
    EXPECT_THAT(list[0], HasSubstr(figure));
  }
  expectUsableWithoutWeights(group, reports);
}

TEST(StateTilings, AResolutionThatIsNotAboveZeroIsReportedAndGivesNoWeights) {
  for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    expectRefused(4, {2, 12}, 0.0, type, {"id = 1", " 0 ", "2", "12"});
    expectRefused(4, {2, 12}, -0.0, type, {"id = 1", "2", "12"});
    expectRefused(4, {2, 12}, -0.25, type, {"id = 1", "-0.25", "2", "12"});
    expectRefused(4, {2, 12}, -5e-324, type, {"id = 1", "2", "12"});
    expectRefused(4, {2, 12}, -INFINITE, type, {"id = 1", "-inf", "2", "12"});
    expectRefused(4, {2, 12}, NOT_A_NUMBER, type, {"id = 1", "nan", "2", "12"});
    expectRefused(4, {5, 5}, 0.0, type, {"id = 1", "5"});
  }
}

TEST(StateTilings, AResolutionWhoseTilesAreWiderThanAllNumbersIsReportedAndGivesNoWeights) {
  for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    expectRefused(16, {0, 10}, 1e308, type, {"id = 1", "1e+308", "10", "16 tilings"});
    expectRefused(4, {0, 10}, INFINITE, type, {"id = 1", "inf", "10"});
    expectRefused(1, {0, 1e-300}, 1e300, type, {"id = 1", "1e+300", "1e-300"});
  }
}

TEST(StateTilings, ARangeThatIsNotANumberIsReportedAndGivesNoWeights) {
  for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    expectRefused(4, {NOT_A_NUMBER, 12}, 0.25, type, {"id = 1", "0.25", "nan", "12"});
    expectRefused(4, {2, NOT_A_NUMBER}, 0.25, type, {"id = 1", "0.25", "2", "nan"});
    expectRefused(4, {INFINITE, INFINITE}, 0.25, type, {"id = 1", "0.25", "inf"});
  }
}

TEST(StateTilings, ARangeThatIsUpsideDownIsReportedAndGivesNoWeights) {
  expectRefused(4, {12, 2}, 0.25, Types::CLIP, {"id = 1", "0.25", "12", "2"});
}

TEST(StateTilings, TilesThatNoIntCanCountAreReportedAndGiveNoWeights) {
  for (const auto type : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    expectRefused(4, {2, INFINITE}, 0.25, type, {"id = 1", "0.25", "inf"});
    expectRefused(4, {-LARGEST, LARGEST}, 0.25, type, {"id = 1", "0.25", "e+308"});
    expectRefused(4, {2, 12}, 5e-324, type, {"id = 1", "e-324", "12"});
    expectRefused(1, {0, 2147483648.0}, 1.0, type, {"id = 1", "2.14748e+09"});
    expectRefused(1, {0, 1e300}, 1.0, type, {"id = 1", "1e+300"});
  }
  expectRefused(1, {0, 2147483647.0}, 1.0, Types::WRAP, {"id = 1", "2.14748e+09"});
}

TEST(StateTilings, AGroupOfNoTilingsIsReportedAndGivesNoWeights) {
  Reports reports;
  RealState state({{2, 12}});
  Group group(0, {{0, 0.25, Types::CLIP}});
  reports.takeErrors();
  group.create(&state);
  EXPECT_THAT(reports.errors(), ElementsAre(HasSubstr("0 tilings")));
  expectUsableWithoutWeights(group, reports);

  Group withoutVariables(0, Tiles::Variables());
  withoutVariables.create(&state);
  EXPECT_THAT(reports.errors(), ElementsAre(HasSubstr("0 tilings")));
  expectUsableWithoutWeights(withoutVariables, reports);
}

// A group over variables of so many tiles each, of which there can't be weights; the report names
// the first variable, where the product leaves the int.
void expectTooLarge(int tilings, const std::vector<double>& counts, const std::string& figures) {
  Reports reports;
  std::vector<Wish> wishes;
  for (const double count : counts) {
    wishes.push_back({{0, count}, 1.0 / tilings, Types::CLIP});
  }
  const std::string start = "Variable with id = 0: ";
  Created created(tilings, wishes);
  EXPECT_EQ(reports.errors(), messages({start + figures + " --> no array can hold them!"}));
  EXPECT_EQ(created.group.ARRAY_SIZE, 0);
  expectUsableWithoutWeights(created.group, reports);
}

TEST(StateTilings, MoreWeightsThanAnIntCanCountAreReportedAndNotMade) {
  expectTooLarge(1, {65536, 32768}, "65536 tiles in the range [0, 65536] make 2147483648 weights");
  expectTooLarge(4, {536870912},
                 "536870912 tiles in the range [0, 5.36871e+08] make 2147483648 weights");
  expectTooLarge(1, {65536, 65536}, "65536 tiles in the range [0, 65536] make 4294967296 weights");
  expectTooLarge(2, {2147483646},
                 "2147483646 tiles in the range [0, 2.14748e+09] make 4294967292 weights");
}

TEST(StateTilings, TheVariableThatMakesTheWeightsTooManyIsNamed) {
  Reports reports;
  Created created(1, {{{0, 2e9}, 1, Types::CLIP},
                      {{0, 2e9}, 1, Types::CLIP},
                      {{0, 2e9}, 1, Types::CLIP},
                      {{0, 2e9}, 1, Types::CLIP}});
  EXPECT_EQ(reports.errors(),
            messages({"Variable with id = 2: 2000000000 tiles in the range [0, 2e+09] make"
                      " 4000000000000000000 weights --> no array can hold them!"}));
  expectUsableWithoutWeights(created.group, reports);
}

TEST(StateTilings, StridesThatOverflowAreReportedEvenWhereThereWouldBeNoWeights) {
  Reports reports;
  Created created(
      1, {{{5, 5}, 1, Types::CLIP}, {{0, 65536}, 1, Types::CLIP}, {{0, 65536}, 1, Types::CLIP}});
  EXPECT_EQ(reports.errors(),
            messages({"Variable with id = 1: 65536 tiles in the range [0, 65536] make 4294967296"
                      " weights --> no array can hold them!"}));
  expectUsableWithoutWeights(created.group, reports);
}

TEST(StateTilings, CreateWithoutAStateIsReportedAndGivesNoWeights) {
  Reports reports;
  Four four;
  four.group.create(nullptr);
  EXPECT_EQ(reports.errors(), messages({"statePtr == 0"}));
  expectUsableWithoutWeights(four.group, reports);
}

TEST(StateTilings, ALayoutThatCanNotBeTakesTheFirstWeightsAway) {
  Reports reports;
  Four four;
  four.group.setArrayTraces(std::vector<double>(20, 1.0));
  four.visit({10});
  four.state.setMaxValueDbl(0, NOT_A_NUMBER);
  four.group.create(&four.state);
  expectUsableWithoutWeights(four.group, reports);
  four.state.setMaxValueDbl(0, 10);
  four.group.setTraceStorage(Types::MAP);
  four.group.create(&four.state);
  EXPECT_EQ(four.group.ARRAY_SIZE, 20);
  EXPECT_NE(four.group.weights, nullptr);
}

// ---- The value of a state ----

TEST(StateTilings, TheValueIsTheSumOfTheActiveTilesWeights) {
  Four four;
  four.group.count();
  four.visit({7});  // 3, 3, 3 and 2 tiles behind the first
  EXPECT_THAT(four.group.active(), ElementsAre(12, 13, 14, 11));
  EXPECT_EQ(four.group.getStateValue(), 13 + 14 + 15 + 12);
}

TEST(StateTilings, TheSumIsTakenInTheOrderOfTilings) {
  Created created(3, {});
  created.group.activateTiles();
  created.group.setWeights({1e16, 1, -1e16});
  EXPECT_EQ(created.group.getStateValue(), 0.0);
  created.group.setWeights({1e16, -1e16, 1});
  EXPECT_EQ(created.group.getStateValue(), 1.0);
  created.group.setWeights({-0.0, -0.0, -0.0});
  EXPECT_EQ(bits({created.group.getStateValue()}), bits({0.0})) << "starts at 0.0";
}

TEST(StateTilings, TilingsWithoutAnActiveTileDoNotCount) {
  Reports reports;
  Four four;
  four.group.count();
  EXPECT_EQ(bits({four.group.getStateValue()}), bits({0.0}));
  four.visit({0.5});
  EXPECT_EQ(four.group.getStateValue(), 1 + 2);
  four.visit({-0.5});
  EXPECT_EQ(four.group.getStateValue(), 0.0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTilings, AnActiveTileOutsideTheWeightsDoesNotCount) {
  Reports reports;
  Four four;
  four.group.count();
  four.group.setActive({INT_SMALLEST, 20, 19, INT_LARGEST});
  EXPECT_EQ(four.group.getStateValue(), 20);
  four.group.setActive({-2, -1, 0, 21});
  EXPECT_EQ(four.group.getStateValue(), 1);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTilings, TheValueIsThatOfTheLastActivation) {
  Four four;
  four.group.count();
  four.visit({1.75});
  const double before = four.group.getStateValue();
  EXPECT_EQ(before, 1 + 2 + 3 + 4);
  four.state.set({10});
  EXPECT_EQ(four.group.getStateValue(), before);
  four.group.activateTiles();
  EXPECT_EQ(four.group.getStateValue(), 17 + 18 + 19 + 20);
}

TEST(StateTilings, TheValueWithoutWeightsIsReportedAndTheLargestNumber) {
  Reports reports;
  RealState state({{0, 10}});
  const Group group(4, {{0, 0.5, Types::CLIP}});
  EXPECT_EQ(group.getStateValue(), LARGEST);
  EXPECT_EQ(errors(reports), from("getStateValue", NO_WEIGHTS));
}

// ---- Traces of the active tiles ----

TEST(StateTilings, ReplacingTracesSetsTheTracesOfTheActiveTiles) {
  Created map(2, {{{0, 3}, 0.5, Types::CLIP}});
  Created array(2, {{{0, 3}, 0.5, Types::CLIP}});
  array.group.setTraceStorage(Types::ARRAY);
  array.group.initEligibilityTraces();
  for (Created* const created : {&map, &array}) {
    created->visit({1.25});  // 2 and 1
    created->group.replacingTraces(1.0);
    created->visit({1.75});  // 2 and 3
    created->group.replacingTraces(0.5);
    created->group.replacingTraces(0.25);
  }
  EXPECT_THAT(map.group.eTracesMap, ElementsAre(Pair(1, 1.0), Pair(2, 0.25), Pair(3, 0.25)));
  EXPECT_THAT(array.group.arrayTraces(), ElementsAre(0, 1, 0.25, 0.25, 0, 0));
  EXPECT_THAT(array.group.eTracesMap, IsEmpty());
  EXPECT_EQ(map.group.eTraces, nullptr);
}

TEST(StateTilings, AccumulatingTracesAddsToTheTracesOfTheActiveTiles) {
  Created map(2, {{{0, 3}, 0.5, Types::CLIP}});
  Created array(2, {{{0, 3}, 0.5, Types::CLIP}});
  array.group.setTraceStorage(Types::ARRAY);
  array.group.initEligibilityTraces();
  for (Created* const created : {&map, &array}) {
    created->visit({1.25});
    created->group.accumulatingTraces(1.0);
    created->visit({1.75});
    created->group.accumulatingTraces(0.5);
    created->group.accumulatingTraces(-0.25);
  }
  EXPECT_THAT(map.group.eTracesMap, ElementsAre(Pair(1, 1.0), Pair(2, 1.25), Pair(3, 0.25)));
  EXPECT_THAT(array.group.arrayTraces(), ElementsAre(0, 1, 1.25, 0.25, 0, 0));
}

TEST(StateTilings, ReplacingTwiceByOneLeavesOneAndAccumulatingTwiceTwo) {
  Four four;
  four.visit({2});
  four.group.replacingTraces(1.0);
  four.group.replacingTraces(1.0);
  EXPECT_THAT(four.group.eTracesMap,
              ElementsAre(Pair(1, 1.0), Pair(2, 1.0), Pair(3, 1.0), Pair(4, 1.0)));
  four.group.initEligibilityTraces();
  four.group.accumulatingTraces(1.0);
  four.group.accumulatingTraces(1.0);
  EXPECT_THAT(four.group.eTracesMap,
              ElementsAre(Pair(1, 2.0), Pair(2, 2.0), Pair(3, 2.0), Pair(4, 2.0)));
}

TEST(StateTilings, ANewEntryOfTheMapIsTheValueItself) {
  Created created(1, {});
  created.group.activateTiles();
  created.group.accumulatingTraces(-0.0);  // 0.0 + -0.0 would be 0.0
  ASSERT_EQ(created.group.eTracesMap.size(), 1U);
  EXPECT_EQ(bits({created.group.eTracesMap[0]}), bits({-0.0}));
}

TEST(StateTilings, OnlyActiveTilesInsideTheWeightsHaveTraces) {
  Reports reports;
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Four four;
    Group& group = four.group;
    group.setTraceStorage(storage);
    group.initEligibilityTraces();
    group.setActive({-1, 20, INT_SMALLEST, 19});
    group.replacingTraces(1.0);
    group.accumulatingTraces(0.5);
    if (storage == Types::MAP) {
      EXPECT_THAT(group.eTracesMap, ElementsAre(Pair(19, 1.5)));
    } else {
      EXPECT_EQ(group.eTraces[19], 1.5);
      EXPECT_EQ(group.eTraces[0], 0.0);
    }
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTilings, TracesLeaveWeightsStoredTilesAndEpisodeAlone) {
  Four four;
  four.group.count();
  four.visit({2});
  four.group.storeActiveTiles();
  four.visit({10});
  four.group.replacingTraces(1.0);
  four.group.accumulatingTraces(1.0);
  EXPECT_THAT(four.group.stored(), ElementsAre(4, 1, 2, 3));
  EXPECT_THAT(four.group.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(four.group.allWeights(), Tables::ascending(20));
}

TEST(StateTilings, TracesWithoutTheArrayAreReported) {
  Reports reports;
  Four four;
  four.group.setTraceStorage(Types::ARRAY);
  for (const double x : {2.0, -5.0}) {  // with and without active tiles
    four.visit({x});
    four.group.replacingTraces(1.0);
    EXPECT_EQ(errors(reports), from("replacingTraces", NO_ARRAY_TRACES));
    four.group.accumulatingTraces(1.0);
    EXPECT_EQ(errors(reports), from("accumulatingTraces", NO_ARRAY_TRACES));
  }
  EXPECT_EQ(four.group.eTraces, nullptr);
  EXPECT_THAT(four.group.eTracesMap, IsEmpty());
}

TEST(StateTilings, TracesInAnUnknownStorageAreReported) {
  Reports reports;
  Four four;
  four.group.setArrayTraces(std::vector<double>(20, 0.0));
  four.visit({2});
  four.group.setTraceStorage(UNKNOWN);
  four.group.replacingTraces(1.0);
  EXPECT_EQ(errors(reports), from("replacingTraces", "Unknown traceStorage = 2"));
  four.group.accumulatingTraces(1.0);
  EXPECT_EQ(errors(reports), from("accumulatingTraces", "Unknown traceStorage = 2"));
  EXPECT_THAT(four.group.arrayTraces(), Each(0.0));
  EXPECT_THAT(four.group.eTracesMap, IsEmpty());
}

// ---- Storing the active tiles ----

TEST(StateTilings, StoreActiveTilesCopiesTheActiveTiles) {
  Reports reports;
  Four four;
  EXPECT_EQ(four.group.storedActiveIndices, nullptr);
  four.visit({0.5});
  four.group.storeActiveTiles();
  EXPECT_THAT(four.group.stored(), ElementsAre(0, 1, -1, -1));
  four.visit({10});
  EXPECT_THAT(four.group.stored(), ElementsAre(0, 1, -1, -1));
  const int* const array = four.group.storedActiveIndices;
  four.group.storeActiveTiles();
  EXPECT_EQ(four.group.storedActiveIndices, array);
  EXPECT_THAT(four.group.stored(), ElementsAre(16, 17, 18, 19));
  EXPECT_THAT(four.group.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTilings, ActiveTilesOutsideTheWeightsAreStoredAsNone) {
  Four four;
  four.group.setActive({INT_SMALLEST, 20, -2, INT_LARGEST});
  four.group.storeActiveTiles();
  EXPECT_THAT(four.group.stored(), ElementsAre(-1, -1, -1, -1));
}

TEST(StateTilings, StoreEpisodeStateRecordsTheActiveTiles) {
  Reports reports;
  Four four;
  four.group.storeEpisodeState();
  EXPECT_THAT(four.group.episodeIndexHistorySet, IsEmpty());
  four.visit({0.5});
  four.group.storeEpisodeState();
  EXPECT_THAT(four.group.episodeIndexHistorySet, ElementsAre(0, 1));
  four.visit({1.75});
  four.group.storeEpisodeState();
  four.group.storeEpisodeState();
  EXPECT_THAT(four.group.episodeIndexHistorySet, ElementsAre(0, 1, 2, 3));
  EXPECT_EQ(four.group.storedActiveIndices, nullptr);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateTilings, ActiveTilesOutsideTheWeightsAreNotRecorded) {
  Four four;
  four.group.setActive({INT_SMALLEST, 20, -2, 19});
  four.group.storeEpisodeState();
  EXPECT_THAT(four.group.episodeIndexHistorySet, ElementsAre(19));
}

// ---- Learning ----

TEST(StateTilings, WithoutTracesTheStoredTilesLearn) {
  Four four;
  four.visit({0.5});
  four.group.storeActiveTiles();
  four.visit({10});
  four.group.updateWeights(0.25, 2.0);
  EXPECT_THAT(four.group.allWeights(), testing::SizeIs(20));
  EXPECT_EQ(four.group.getStateValue(), 0.0);
  four.visit({0.5});
  EXPECT_EQ(four.group.getStateValue(), 1.0);
  four.visit({2.25});
  EXPECT_EQ(four.group.getStateValue(), 0.5) << "still in the tile [0.5, 2.5) of the second tiling";
}

TEST(StateTilings, NeighbouringStatesShareWhatIsLearnt) {
  Four four;
  four.visit({4.25});  // tiles [4, 6), [2.5, 4.5), [3, 5), [3.5, 5.5)
  four.group.replacingTraces(1.0);
  four.group.updateWeights(1.0, 1.0);
  const auto valueAt = [&](double x) {
    four.visit({x});
    return four.group.getStateValue();
  };
  EXPECT_EQ(valueAt(4.25), 4);
  EXPECT_EQ(valueAt(4.75), 3);
  EXPECT_EQ(valueAt(5.25), 2);
  EXPECT_EQ(valueAt(5.75), 1);
  EXPECT_EQ(valueAt(6.25), 0);
  EXPECT_EQ(valueAt(3.75), 3);
  EXPECT_EQ(valueAt(3.25), 2);
  EXPECT_EQ(valueAt(2.75), 1);
  EXPECT_EQ(valueAt(2.25), 0);
}

// ---- Files ----

TEST(StateTilings, SaveTheLayoutAsCreateHasLeftIt) {
  RealState state({{0, 10}});
  Group group(2, {{0, 4, Types::WRAP}});  // two tiles of 5, and one more
  group.create(&state);
  group.setWeights({1, 2, 3, 4, 5, 6});
  const MemoryFile file;
  EXPECT_EQ(group.save(file), 0);
  EXPECT_EQ(file.content(), bytes(2) + bytes(1) + bytes(0) +         // sizes, MAP
                                bytes(0U) + bytes(2.5) + bytes(2) +  // the variable
                                bytes(5.0) + bytes(3) + bytes(2) +   // its tiles
                                bytes(0.0) + bytes(2.5) +            // shifts
                                bytes(6) + bytes(1.0) + bytes(2.0) + bytes(3.0) + bytes(4.0) +
                                bytes(5.0) + bytes(6.0));
}

TEST(StateTilings, ALoadedGroupActivatesTheSameTilesAndSavesTheSameBytes) {
  Reports reports;
  const std::vector<Wish> wishes{{{0, 10}, 0.7, Types::CIRCLE}, {{-1, 1}, 0.1, Types::WRAP}};
  Created created(4, wishes);
  created.group.count();
  const MemoryFile file;
  ASSERT_EQ(created.group.save(file), 0);
  file.rewind();
  Group loaded(&created.state, file);
  Tiles::expectPlainTiles(loaded, created.state, Tiles::PlainLayout(4, 1, wishes), reports);
  EXPECT_EQ(loaded.allWeights(), created.group.allWeights());
  const MemoryFile second;
  ASSERT_EQ(loaded.save(second), 0);
  EXPECT_EQ(second.content(), file.content());
}

TEST(StateTilings, AGroupThatCouldNotBeReadMayBeCreatedAnew) {
  const std::string whole = Tiles::smallBlock().text();
  RealState state({{0, 3}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    const MemoryFile file(whole.substr(0, size));
    Group group(&state, file);
    group.create(&state);
    group.activateTiles();
    group.replacingTraces(1.0);
    group.updateWeights(1.0, 1.0);
    group.getStateValue();
    reports.takeErrors();
  }
}

// ---- Destruction ----

TEST(StateTilings, AreDestroyedThroughTheirBase) {
  class Mortal : public StateTilings {
   public:
    explicit Mortal(int& deathCounter) : StateTilings(1, {}), deaths(deathCounter) {}
    ~Mortal() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  { const std::unique_ptr<Tilings> group = std::make_unique<Mortal>(deaths); }
  EXPECT_EQ(deaths, 1);
}

// ---- Short memory ----

class StateTilingsInShortMemory : public Tables::InShortMemory {};

// Creates a group of one tiling over [0, tiles], where there is no memory for its weights.
void expectNoMemoryFor(double tiles, Types::TILE_TYPE type, int size) {
  Reports reports;
  RealState state({{0, tiles}});
  Group group(1, {{0, 1.0, type}});
  std::size_t largestRequest = 0;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(group.create(&state));
    largestRequest = memory.largestRequest();
  }
  std::cerr.clear();
  EXPECT_GE(largestRequest, static_cast<std::size_t>(size) * sizeof(double));
  EXPECT_THAT(reports.errorText(), HasSubstr("Can not allocate memory for " + std::to_string(size) +
                                             " entries of 8 bytes!\n"));
  EXPECT_EQ(group.weights, nullptr);
  EXPECT_EQ(group.getStateValue(), LARGEST);
}

TEST_F(StateTilingsInShortMemory, WeightsThatCanNotBeHadAreReportedAndMissing) {
  expectNoMemoryFor(5, Types::CLIP, 5);
  expectNoMemoryFor(2147483646.0, Types::CLIP, 2147483646);
  expectNoMemoryFor(2147483646.0, Types::WRAP, INT_LARGEST);
}

TEST_F(StateTilingsInShortMemory, AsManyTilesAsAnIntCanCountAreAskedFor) {
  expectNoMemoryFor(2147483647.0, Types::CLIP, INT_LARGEST);
}

TEST_F(StateTilingsInShortMemory, StoredTilesThatCanNotBeHadAreReportedAndMissing) {
  Reports reports;
  Four four;
  four.visit({2});
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(four.group.storeActiveTiles());
  }
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for 4 entries of 4 bytes!"}));
  EXPECT_EQ(four.group.storedActiveIndices, nullptr);
  four.group.updateWeights(1.0, 1.0);
  EXPECT_THAT(reports.errors(), ElementsAre(HasSubstr("storedActiveIndices == 0")));
  four.group.storeActiveTiles();
  EXPECT_THAT(four.group.stored(), ElementsAre(4, 1, 2, 3));
}

TEST_F(StateTilingsInShortMemory, TracesThatCanNotBeHadAreReported) {
  const auto expectReport = [](const std::function<void(Group&)>& rule, const char* function) {
    Reports reports;
    Four four;
    four.visit({2});
    {
      const FailingNew memory(FailingNew::ONE, 1);
      EXPECT_NO_THROW(rule(four.group));
    }
    EXPECT_THAT(errors(reports),
                ElementsAre(testing::StartsWith(std::string("StateTilings::") + function +
                                                ": Can not allocate memory for ")));
    EXPECT_THAT(four.group.eTracesMap, ElementsAre(Pair(1, 1.0), Pair(2, 1.0), Pair(3, 1.0)));
  };
  expectReport([](Group& group) { group.replacingTraces(1.0); }, "replacingTraces");
  expectReport([](Group& group) { group.accumulatingTraces(1.0); }, "accumulatingTraces");
}

TEST_F(StateTilingsInShortMemory, VisitedTilesThatCanNotBeRecordedAreReported) {
  Reports reports;
  Four four;
  four.visit({2});
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(four.group.storeEpisodeState());
  }
  EXPECT_THAT(reports.errors(),
              AllOf(Not(IsEmpty()), Each(testing::StartsWith("Can not allocate memory for "))));
}

}  // namespace
