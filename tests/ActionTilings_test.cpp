#include <gmock/gmock.h>
#include <quarnel/ActionTilings.h>
#include <quarnel/State.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
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

using Tables::ascending;
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
using testing::Pair;
using testing::StartsWith;
using Tiles::INT_LARGEST;
using Tiles::INT_SMALLEST;
using Tiles::LARGEST;
using Tiles::NOT_A_NUMBER;
using Tiles::RealState;
using Tiles::Wish;

class Group : public Tiles::OpenGroup<ActionTilings> {
 public:
  using ActionTilings::ACTIONS;
  using OpenGroup::OpenGroup;
};

// A created group over variables of its own.
class Created {
 public:
  Created(int tilings, int actions, const std::vector<Wish>& wishes)
      : state(Tiles::rangesOf(wishes)), group(tilings, Tiles::variablesOf(wishes)) {
    group.create(&state, actions);
  }

  // Makes the tiles of these values active.
  void visit(const std::vector<double>& values) {
    state.set(values);
    group.activateTiles();
  }

  RealState state;
  Group group;
};

// Two tilings of two tiles each over [0, 2], shifted by a half, for three actions: twelve weights,
// which start at 1, 2, ...
class Twelve : public Created {
 public:
  Twelve() : Created(2, 3, {{{0, 2}, 0.5, Types::CLIP}}) {
    group.count();
    visit({1.25});  // the second tile of tiling 0, the first of tiling 1
  }

  void store(int action) { group.storeActiveTiles(action); }
};

std::vector<std::string> from(const char* function, const std::string& message) {
  return messages({std::string("ActionTilings::") + function + ": " + message});
}

std::string outOfBounds(int index, int actions) {
  return "actionIndex[" + std::to_string(index) + "] out of bounds [ 0, " +
         std::to_string(actions) + ")";
}

// ---- Construction ----

TEST(ActionTilings, HandTheirArgumentsOn) {
  Reports reports;
  const Group group(4, {{3, 0.5, Types::CLIP}, {1, 0.25, Types::WRAP}});
  EXPECT_EQ(group.ACTIONS, 0);
  EXPECT_EQ(group.TILINGS, 4);
  EXPECT_EQ(group.DIMENSIONS, 2);
  EXPECT_EQ(group.vars[0].id, 3U);
  EXPECT_EQ(group.vars[1].tileType, Types::WRAP);
  EXPECT_EQ(group.weights, nullptr);

  RealState state({{0, 3}});
  const MemoryFile file(Tiles::smallBlock().text());
  const Group loaded(&state, 7, file);
  EXPECT_EQ(loaded.ACTIONS, 7);
  EXPECT_EQ(loaded.statePtr, &state);
  EXPECT_EQ(loaded.TILINGS, 2);
  EXPECT_THAT(loaded.allWeights(), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// ---- Layout ----

TEST(ActionTilings, EveryTileHasABlockOfWeightsActionByAction) {
  Created created(4, 3, {{{0, 10}, 0.5, Types::WRAP}});
  EXPECT_EQ(created.group.ACTIONS, 3);
  EXPECT_EQ(created.group.statePtr, &created.state);
  EXPECT_THAT(created.group.tileCounts(), ElementsAre(6));
  EXPECT_THAT(created.group.widths(), ElementsAre(2.0));
  EXPECT_THAT(created.group.resolutions(), ElementsAre(0.5));
  EXPECT_THAT(created.group.shifts(3), ElementsAre(1.5));
  EXPECT_THAT(created.group.strides(), ElementsAre(12));
  EXPECT_EQ(created.group.ARRAY_SIZE, 72);
  created.visit({4});
  EXPECT_THAT(created.group.active(), ElementsAre(24, 25, 26, 27)) << "those of action 0";
}

TEST(ActionTilings, TheSecondTilingsThirdTileForTheThirdActionIsWeight33) {
  Created created(4, 3, {{{0, 10}, 0.5, Types::CLIP}});
  EXPECT_THAT(created.group.strides(), ElementsAre(12));
  EXPECT_EQ(created.group.ARRAY_SIZE, 60);
  created.visit({5});
  EXPECT_EQ(created.group.activeTiles[1], 1 + 24);
  created.group.setWeights(std::vector<double>(60, 0.0));
  created.group.weights[33] = 1.0;  // 1 + 2 * 12 + 2 * 4
  EXPECT_EQ(created.group.getActionValue(2), 1.0);
}

TEST(ActionTilings, AllStridesAreMultipliedByTheActions) {
  const Created created(
      2, 5,
      {{{0, 1}, 0.25, Types::CLIP}, {{0, 1}, 0.125, Types::WRAP}, {{0, 3}, 0.5, Types::CIRCLE}});
  EXPECT_THAT(created.group.tileCounts(), ElementsAre(2, 5, 3));
  EXPECT_THAT(created.group.strides(), ElementsAre(150, 30, 10));
  EXPECT_EQ(created.group.ARRAY_SIZE, 300);
}

TEST(ActionTilings, ActiveTilesFollowThePlainRules) {
  Reports reports;
  for (const auto first : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
    for (const auto second : {Types::CIRCLE, Types::CLIP, Types::WRAP}) {
      const std::vector<Wish> wishes{{{0, 10}, 0.7, first}, {{-0.07, 0.07}, 0.01, second}};
      Created created(4, 3, wishes);
      const Tiles::PlainLayout layout(4, 3, wishes);
      EXPECT_EQ(created.group.ARRAY_SIZE, layout.size);
      Tiles::expectPlainTiles(created.group, created.state, layout, reports);
    }
  }
}

TEST(ActionTilings, OneActionIsLaidOutAsAState) {
  const Created created(4, 1, {{{0, 10}, 0.5, Types::CLIP}});
  EXPECT_THAT(created.group.strides(), ElementsAre(4));
  EXPECT_EQ(created.group.ARRAY_SIZE, 20);
}

TEST(ActionTilings, WithoutVariablesThereIsAWeightForEachTilingAndAction) {
  Created created(3, 2, {});
  EXPECT_EQ(created.group.ARRAY_SIZE, 6);
  created.group.count();
  created.group.activateTiles();
  EXPECT_EQ(created.group.getActionValue(0), 6);
  EXPECT_EQ(created.group.getActionValue(1), 15);
}

TEST(ActionTilings, CreateWithoutActionsIsReportedAndGivesNoWeightsForAnyAction) {
  Reports reports;
  Created created(4, 0, {{{0, 10}, 0.5, Types::CLIP}});
  EXPECT_EQ(errors(reports), from("create", "ACTIONS[0] <= 0"));
  EXPECT_EQ(created.group.ACTIONS, 0);
  EXPECT_THAT(created.group.tileCounts(), ElementsAre(5));
  EXPECT_THAT(created.group.strides(), ElementsAre(0));
  EXPECT_EQ(created.group.ARRAY_SIZE, 0);
  created.visit({5});
  EXPECT_EQ(errors(reports).size(), 4U) << "every tile lies outside";
  EXPECT_EQ(created.group.getActionValue(0), 0.0);
  EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(0, 0)));
}

TEST(ActionTilings, CreateWithNegativeActionsIsReportedAndGivesNoWeights) {
  Reports reports;
  for (const int actions : {-1, INT_SMALLEST}) {
    const Created created(4, actions, {{{0, 10}, 0.5, Types::CLIP}});
    const std::vector<std::string> list = errors(reports);
    ASSERT_GE(list.size(), 1U);
    EXPECT_EQ(list[0], "ActionTilings::create: ACTIONS[" + std::to_string(actions) + "] <= 0");
    EXPECT_EQ(created.group.ACTIONS, actions);
    EXPECT_EQ(created.group.weights, nullptr);
    EXPECT_EQ(created.group.getActionValue(0), LARGEST);
    EXPECT_EQ(errors(reports), from("getActionValue", NO_WEIGHTS));
  }
}

TEST(ActionTilings, MoreWeightsThanAnIntCanCountAreReportedAndNotMade) {
  Reports reports;
  const Created many(4, 536870912, {});
  EXPECT_EQ(reports.errors(), messages({"4 tilings make 2147483648 weights for 536870912 actions"
                                        " --> no array can hold them!"}));
  EXPECT_EQ(many.group.weights, nullptr);
  const Created product(4, 1073741824, {{{0, 10}, 0.5, Types::CLIP}});
  EXPECT_EQ(reports.errors(), messages({"4 tilings make 4294967296 weights for 1073741824 actions"
                                        " --> no array can hold them!"}));
  EXPECT_EQ(product.group.weights, nullptr);
  EXPECT_EQ(product.group.getActionValue(0), LARGEST);
}

TEST(ActionTilings, TilesThatMakeTooManyWeightsForTheActionsAreReportedWithTheirVariable) {
  Reports reports;
  const Created created(4, 107374183, {{{0, 10}, 0.5, Types::CLIP}});
  EXPECT_EQ(reports.errors(), messages({"Variable with id = 0: 5 tiles in the range [0, 10] make"
                                        " 2147483660 weights --> no array can hold them!"}));
  EXPECT_EQ(created.group.weights, nullptr);
}

TEST(ActionTilings, ALayoutThatCanNotBeIsReportedWithItsFigures) {
  Reports reports;
  const Created created(4, 3, {{{2, 12}, -0.25, Types::CLIP}});
  EXPECT_THAT(reports.errors(), ElementsAre(AllOf(HasSubstr("id = 0"), HasSubstr("-0.25"),
                                                  HasSubstr("2"), HasSubstr("12"))));
  EXPECT_EQ(created.group.weights, nullptr);
}

TEST(ActionTilings, ASecondCreateReleasesTheFirstWeightsAndTraces) {
  Twelve twelve;
  twelve.group.setArrayTraces(std::vector<double>(12, 1.0));
  twelve.group.create(&twelve.state, 5);
  EXPECT_EQ(twelve.group.ACTIONS, 5);
  EXPECT_THAT(twelve.group.strides(), ElementsAre(10));
  EXPECT_EQ(twelve.group.ARRAY_SIZE, 20);
  EXPECT_EQ(twelve.group.eTraces, nullptr);
  twelve.group.initEligibilityTraces();
  EXPECT_THAT(twelve.group.arrayTraces(), AllOf(testing::SizeIs(20), Each(0.0)));
}

// ---- The value of an action ----

TEST(ActionTilings, TheValueIsTheSumOfTheActionsWeightsInTheActiveTiles) {
  Reports reports;
  const Twelve twelve;
  EXPECT_THAT(twelve.group.active(), ElementsAre(6, 1));
  EXPECT_EQ(twelve.group.getActionValue(0), 7 + 2);
  EXPECT_EQ(twelve.group.getActionValue(1), 9 + 4);
  EXPECT_EQ(twelve.group.getActionValue(2), 11 + 6);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, TheSumIsTakenInTheOrderOfTilingsFromZero) {
  Created created(3, 2, {});
  created.group.activateTiles();
  created.group.setWeights({0, 0, 0, 1e16, 1, -1e16});
  EXPECT_EQ(created.group.getActionValue(1), 0.0);
  created.group.setWeights({0, 0, 0, 1e16, -1e16, 1});
  EXPECT_EQ(created.group.getActionValue(1), 1.0);
  created.group.setWeights(std::vector<double>(6, -0.0));
  EXPECT_EQ(bits({created.group.getActionValue(1)}), bits({0.0}));
}

TEST(ActionTilings, TilingsWithoutAnActiveTileDoNotCount) {
  Reports reports;
  Twelve twelve;
  twelve.visit({0.25});
  EXPECT_THAT(twelve.group.active(), ElementsAre(0, -1));
  EXPECT_EQ(twelve.group.getActionValue(2), 5);
  twelve.visit({-1});
  EXPECT_EQ(bits({twelve.group.getActionValue(2)}), bits({0.0}));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, AnActiveTileOutsideTheWeightsDoesNotCountForAnyAction) {
  Reports reports;
  Twelve twelve;
  for (const int outside : {INT_SMALLEST, -4, -2, 12, INT_LARGEST}) {
    twelve.group.setActive({outside, 7});
    EXPECT_EQ(twelve.group.getActionValue(0), 8) << outside;
    EXPECT_EQ(twelve.group.getActionValue(1), 10) << outside;
    EXPECT_EQ(twelve.group.getActionValue(2), 12) << outside;
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, TheValueWithoutWeightsIsReportedAndTheLargestNumber) {
  Reports reports;
  const Group group(4, {{0, 0.5, Types::CLIP}});
  for (const int action : {-1, 0, 3}) {
    EXPECT_EQ(group.getActionValue(action), LARGEST);
    EXPECT_EQ(errors(reports), from("getActionValue", NO_WEIGHTS));
  }
}

TEST(ActionTilings, AnActionOutOfBoundsIsReportedAndReadsWhatLiesThere) {
  Reports reports;
  Twelve twelve;
  EXPECT_EQ(twelve.group.getActionValue(3), 8);  // tiling 1 in the next tile; 12 lies outside
  EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(3, 3)));
  EXPECT_EQ(twelve.group.getActionValue(-1), 5);  // tiling 0 in the tile before; -1 lies outside
  EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(-1, 3)));
  for (const int action : {-100, 100, INT_SMALLEST, INT_LARGEST}) {
    twelve.group.getActionValue(action);
    EXPECT_EQ(errors(reports), from("getActionValue", outOfBounds(action, 3)));
  }
}

TEST(ActionTilings, WhereAllWeightsOfAnActionLieOutsideItsValueIsZero) {
  Reports reports;
  const Twelve twelve;
  EXPECT_EQ(bits({twelve.group.getActionValue(-4)}), bits({0.0}));
  EXPECT_EQ(bits({twelve.group.getActionValue(6)}), bits({0.0}));
}

// ---- Setting values ----

TEST(ActionTilings, SetActionValueSetsTheActionInAllTiles) {
  Reports reports;
  const auto weightsAfter = [](int action) {
    Twelve twelve;
    twelve.group.setActionValue(action, -7);
    return twelve.group.allWeights();
  };
  EXPECT_THAT(weightsAfter(0), ElementsAre(-7, -7, 3, 4, 5, 6, -7, -7, 9, 10, 11, 12));
  EXPECT_THAT(weightsAfter(1), ElementsAre(1, 2, -7, -7, 5, 6, 7, 8, -7, -7, 11, 12));
  EXPECT_THAT(weightsAfter(2), ElementsAre(1, 2, 3, 4, -7, -7, 7, 8, 9, 10, -7, -7));
  EXPECT_THAT(errors(reports), IsEmpty());
  // An action's weights are spread from its place on, whether or not there is such an action.
  EXPECT_THAT(weightsAfter(3), ElementsAre(1, 2, 3, 4, 5, 6, -7, -7, 9, 10, 11, 12));
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(3, 3)));
  EXPECT_THAT(weightsAfter(5), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, -7, -7));
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(5, 3)));
  EXPECT_EQ(weightsAfter(6), ascending(12));
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(6, 3)));
  EXPECT_THAT(weightsAfter(-1), ElementsAre(1, 2, 3, 4, -7, -7, 7, 8, 9, 10, -7, -7));
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(-1, 3)));
  EXPECT_EQ(weightsAfter(INT_LARGEST), ascending(12));
  EXPECT_EQ(errors(reports), from("setActionValue", outOfBounds(INT_LARGEST, 3)));
}

TEST(ActionTilings, SetActionValueReachesTheStatesThatAreNotActive) {
  Twelve twelve;
  twelve.visit({-1});
  twelve.group.setActionValue(1, 3);
  for (const double x : {0.25, 0.75, 1.25, 2.0}) {
    twelve.visit({x});
    EXPECT_EQ(twelve.group.getActionValue(1), x < 0.5 ? 3 : 6);
  }
}

TEST(ActionTilings, SetActionValueStaysInsideWeightsThatEndInTheMiddleOfAnAction) {
  Reports reports;
  Tiles::Block block = Tiles::smallBlock();
  block.size = 5;
  block.weights = {1, 2, 3, 4, 5};
  const MemoryFile file(block.text());
  Group group(nullptr, 2, file);
  group.setActionValue(0, -7);
  EXPECT_THAT(group.allWeights(), ElementsAre(-7, -7, 3, 4, -7));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, SetActionValueEndsWhateverTheNumberOfActions) {
  for (const int actions : {0, -1, INT_SMALLEST, INT_LARGEST}) {
    Reports reports;
    const MemoryFile file(Tiles::smallBlock().text());
    Group group(nullptr, actions, file);
    for (const int action : {INT_SMALLEST, -1, 0, 1, INT_LARGEST}) {
      group.setActionValue(action, 1.0);
    }
    reports.takeErrors();
  }
}

TEST(ActionTilings, SetActiveActionValueSetsTheActionInTheActiveTiles) {
  Reports reports;
  const auto weightsAfter = [](int action) {
    Twelve twelve;
    twelve.group.setActiveActionValue(action, -7);
    return twelve.group.allWeights();
  };
  EXPECT_THAT(weightsAfter(0), ElementsAre(1, -7, 3, 4, 5, 6, -7, 8, 9, 10, 11, 12));
  EXPECT_THAT(weightsAfter(1), ElementsAre(1, 2, 3, -7, 5, 6, 7, 8, -7, 10, 11, 12));
  EXPECT_THAT(weightsAfter(2), ElementsAre(1, 2, 3, 4, 5, -7, 7, 8, 9, 10, -7, 12));
  EXPECT_THAT(errors(reports), IsEmpty());
  EXPECT_THAT(weightsAfter(3), ElementsAre(1, 2, 3, 4, 5, 6, 7, -7, 9, 10, 11, 12));
  EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(3, 3)));
  EXPECT_THAT(weightsAfter(-1), ElementsAre(1, 2, 3, 4, -7, 6, 7, 8, 9, 10, 11, 12));
  EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(-1, 3)));
  EXPECT_EQ(weightsAfter(100), ascending(12));
  EXPECT_EQ(errors(reports), from("setActiveActionValue", outOfBounds(100, 3)));
}

TEST(ActionTilings, TheValueSetInTheActiveTilesCountsOnceForEach) {
  Twelve twelve;
  twelve.group.setActiveActionValue(1, 2.5);
  EXPECT_EQ(twelve.group.getActionValue(1), 5.0);
  twelve.visit({0.25});
  twelve.group.setActiveActionValue(1, 4.0);
  EXPECT_EQ(twelve.group.getActionValue(1), 4.0);
  twelve.visit({-1});
  twelve.group.setActiveActionValue(1, 4.0);
  EXPECT_EQ(twelve.group.getActionValue(1), 0.0);
}

TEST(ActionTilings, ActiveTilesOutsideTheWeightsAreNotSet) {
  Twelve twelve;
  twelve.group.setActive({-2, 12});
  for (const int action : {0, 1, 2}) {
    twelve.group.setActiveActionValue(action, -7);
  }
  EXPECT_EQ(twelve.group.allWeights(), ascending(12));
}

TEST(ActionTilings, SettingValuesWithoutWeightsIsReported) {
  Reports reports;
  Group group(4, {{0, 0.5, Types::CLIP}});
  for (const int action : {-1, 0, 3}) {
    group.setActionValue(action, 1.0);
    EXPECT_EQ(errors(reports), from("setActionValue", NO_WEIGHTS));
    group.setActiveActionValue(action, 1.0);
    EXPECT_EQ(errors(reports), from("setActiveActionValue", NO_WEIGHTS));
  }
}

// ---- Storing the active tiles and action ----

TEST(ActionTilings, StoreActiveTilesKeepsTheWeightsOfTheAction) {
  Reports reports;
  Twelve twelve;
  EXPECT_EQ(twelve.group.storedActiveIndices, nullptr);
  twelve.store(0);
  EXPECT_THAT(twelve.group.stored(), ElementsAre(6, 1));
  const int* const array = twelve.group.storedActiveIndices;
  twelve.store(2);
  EXPECT_EQ(twelve.group.storedActiveIndices, array);
  EXPECT_THAT(twelve.group.stored(), ElementsAre(10, 5));
  twelve.visit({0.25});
  EXPECT_THAT(twelve.group.stored(), ElementsAre(10, 5));
  twelve.store(1);
  EXPECT_THAT(twelve.group.stored(), ElementsAre(2, -1));
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, IsEmpty());
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, ActiveTilesOutsideTheWeightsAreNotLearntInWhateverTheAction) {
  Reports reports;
  for (const int outside : {INT_SMALLEST, -4, -2, 12, 13, INT_LARGEST}) {
    for (const int action : {-6, -1, 0, 1, 2, 6}) {
      Twelve twelve;
      twelve.group.setActive({outside, -1});
      twelve.store(action);
      twelve.group.updateWeights(1.0, 1.0);
      EXPECT_EQ(twelve.group.allWeights(), ascending(12)) << outside << ", " << action;
    }
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, WithoutTracesTheStoredActionLearns) {
  Twelve twelve;
  twelve.store(1);
  twelve.group.updateWeights(0.5, 1.0);
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(1, 2, 3, 4.5, 5, 6, 7, 8, 9.5, 10, 11, 12));
}

TEST(ActionTilings, StoreEpisodeStateRecordsTheWeightsOfTheAction) {
  Twelve twelve;
  twelve.group.storeEpisodeState(1);
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, ElementsAre(3, 8));
  twelve.group.storeEpisodeState(1);
  twelve.visit({0.25});
  twelve.group.storeEpisodeState(2);
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, ElementsAre(3, 4, 8));
  EXPECT_EQ(twelve.group.storedActiveIndices, nullptr);
  twelve.group.valueEpisode(0.5);
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(1, 2, 3, 4.5, 5.5, 6, 7, 8, 9.5, 10, 11, 12));
}

TEST(ActionTilings, ActiveTilesOutsideTheWeightsAreNotRecorded) {
  Twelve twelve;
  twelve.group.setActive({-2, 12});
  for (const int action : {-1, 0, 1, 2}) {
    twelve.group.storeEpisodeState(action);
  }
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, IsEmpty());
}

// ---- Traces ----

// The traces by index that are there, zeros of the array left out.
std::vector<std::pair<int, double>> tracesOf(const Group& group) {
  std::vector<std::pair<int, double>> list;
  if (group.traceStorage == Types::MAP) {
    list.assign(group.eTracesMap.begin(), group.eTracesMap.end());
  }
  for (int i = 0; group.traceStorage == Types::ARRAY && i < group.ARRAY_SIZE; ++i) {
    if (group.eTraces[i] != 0.0) {
      list.emplace_back(i, group.eTraces[i]);
    }
  }
  return list;
}

class ActionTilingsTraces : public testing::TestWithParam<Types::TRACE_STORAGE> {
 protected:
  ActionTilingsTraces() {
    twelve.group.setTraceStorage(GetParam());
    twelve.group.initEligibilityTraces();
  }

  ~ActionTilingsTraces() override { EXPECT_THAT(errors(reports), IsEmpty()); }

  Group& group() { return twelve.group; }

  Reports reports;
  Twelve twelve;
};

INSTANTIATE_TEST_SUITE_P(Storages, ActionTilingsTraces, testing::Values(Types::MAP, Types::ARRAY));

TEST_P(ActionTilingsTraces, ReplacingSetsTheTracesOfTheActiveAction) {
  group().replacingTraces(0.5, 1);
  EXPECT_THAT(tracesOf(group()), ElementsAre(Pair(3, 0.5), Pair(8, 0.5)));
  group().replacingTraces(0.25, 1);
  EXPECT_THAT(tracesOf(group()), ElementsAre(Pair(3, 0.25), Pair(8, 0.25)));
}

TEST_P(ActionTilingsTraces, ReplacingClearsTheTracesOfTheOtherActionsInTheSameTiles) {
  for (const int action : {0, 1, 2}) {
    group().accumulatingTraces(1.0, action);
  }
  twelve.visit({0.25});
  group().accumulatingTraces(2.0, 1);
  twelve.visit({1.25});
  group().replacingTraces(0.5, 0);
  EXPECT_THAT(tracesOf(group()), ElementsAre(Pair(1, 0.5), Pair(2, 2.0), Pair(6, 0.5)));
  group().replacingTraces(0.5, 2);
  EXPECT_THAT(tracesOf(group()), ElementsAre(Pair(2, 2.0), Pair(5, 0.5), Pair(10, 0.5)));
}

TEST_P(ActionTilingsTraces, ReplacingOneActionAfterAccumulatingAnotherLeavesTheOne) {
  group().accumulatingTraces(1.0, 0);
  group().replacingTraces(1.0, 1);
  EXPECT_THAT(tracesOf(group()), ElementsAre(Pair(3, 1.0), Pair(8, 1.0)));
}

TEST_P(ActionTilingsTraces, ReplacingAnActionThatIsNoneOnlyClears) {
  for (const int action : {-1, 3, INT_SMALLEST, INT_LARGEST}) {
    twelve.visit({0.25});
    group().initEligibilityTraces();
    group().accumulatingTraces(2.0, 1);
    twelve.visit({1.25});
    group().accumulatingTraces(1.0, 0);
    group().accumulatingTraces(1.0, 2);
    group().replacingTraces(0.5, action);
    EXPECT_THAT(tracesOf(group()), ElementsAre(Pair(2, 2.0))) << action;
  }
}

TEST_P(ActionTilingsTraces, AccumulatingAddsToTheTracesOfTheActionAlone) {
  group().accumulatingTraces(1.0, 0);
  group().accumulatingTraces(0.5, 2);
  group().accumulatingTraces(0.25, 2);
  EXPECT_THAT(tracesOf(group()),
              ElementsAre(Pair(1, 1.0), Pair(5, 0.75), Pair(6, 1.0), Pair(10, 0.75)));
}

TEST_P(ActionTilingsTraces, OnlyActiveTilesInsideTheWeightsHaveTraces) {
  group().setActive({-2, 12});
  for (const int action : {0, 1, 2}) {
    group().replacingTraces(1.0, action);
    group().accumulatingTraces(1.0, action);
  }
  group().setActive({-1, -1});
  group().replacingTraces(1.0, 1);
  group().accumulatingTraces(1.0, 1);
  EXPECT_THAT(tracesOf(group()), IsEmpty());
}

TEST_P(ActionTilingsTraces, AccumulatingForAnActionThatIsNoneIsHarmless) {
  for (const int action : {-1, 3, -100, 100, INT_SMALLEST, INT_LARGEST}) {
    group().accumulatingTraces(1.0, action);
  }
  group().updateEligibilityTraces(0.5, 0.5);
  group().updateWeights(1.0, 1.0);
}

TEST_P(ActionTilingsTraces, LearningMovesTheWeightsWithTraces) {
  group().accumulatingTraces(0.5, 0);
  group().accumulatingTraces(1.0, 2);
  group().updateWeights(0.5, 2.0);
  EXPECT_THAT(group().allWeights(), ElementsAre(1, 2.5, 3, 4, 5, 7, 7.5, 8, 9, 10, 12, 12));
}

TEST(ActionTilings, ANewEntryOfTheMapIsTheValueItself) {
  Created created(1, 2, {});
  created.group.activateTiles();
  created.group.accumulatingTraces(-0.0, 1);  // 0.0 + -0.0 would be 0.0
  ASSERT_EQ(created.group.eTracesMap.size(), 1U);
  EXPECT_EQ(bits({created.group.eTracesMap[1]}), bits({-0.0}));
}

TEST(ActionTilings, ReplacingErasesTheEntriesOfTheOtherActions) {
  Twelve twelve;
  twelve.group.accumulatingTraces(1.0, 0);
  twelve.group.accumulatingTraces(1.0, 1);
  twelve.group.replacingTraces(1.0, 2);
  EXPECT_THAT(twelve.group.eTracesMap, ElementsAre(Pair(5, 1.0), Pair(10, 1.0)));
}

TEST(ActionTilings, TracesLeaveWeightsStoredTilesAndEpisodeAlone) {
  Twelve twelve;
  twelve.store(2);
  twelve.group.replacingTraces(1.0, 0);
  twelve.group.accumulatingTraces(1.0, 1);
  EXPECT_THAT(twelve.group.stored(), ElementsAre(10, 5));
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(twelve.group.allWeights(), ascending(12));
}

TEST(ActionTilings, TracesWithoutTheArrayAreReported) {
  Reports reports;
  Twelve twelve;
  twelve.group.setTraceStorage(Types::ARRAY);
  for (const double x : {1.25, -1.0}) {  // with and without active tiles
    twelve.visit({x});
    twelve.group.replacingTraces(1.0, 1);
    EXPECT_EQ(errors(reports), from("replacingTraces", NO_ARRAY_TRACES));
    twelve.group.accumulatingTraces(1.0, 1);
    EXPECT_EQ(errors(reports), from("accumulatingTraces", NO_ARRAY_TRACES));
  }
  EXPECT_EQ(twelve.group.eTraces, nullptr);
  EXPECT_THAT(twelve.group.eTracesMap, IsEmpty());
}

TEST(ActionTilings, TracesInAnUnknownStorageAreReported) {
  Reports reports;
  Twelve twelve;
  twelve.group.setArrayTraces(std::vector<double>(12, 0.5));
  twelve.group.eTracesMap = {{6, 0.5}, {8, 0.5}};
  twelve.group.setTraceStorage(UNKNOWN);
  twelve.group.replacingTraces(1.0, 1);
  EXPECT_EQ(errors(reports), from("replacingTraces", "Unknown traceStorage = 2"));
  twelve.group.accumulatingTraces(1.0, 1);
  EXPECT_EQ(errors(reports), from("accumulatingTraces", "Unknown traceStorage = 2"));
  EXPECT_THAT(twelve.group.arrayTraces(), Each(0.5));
  EXPECT_THAT(twelve.group.eTracesMap, ElementsAre(Pair(6, 0.5), Pair(8, 0.5)));
}

// ---- Removing an action ----

TEST(ActionTilings, RemovingTheFirstActionKeepsTheWeightsOfTheOthers) {
  Reports reports;
  Twelve twelve;
  EXPECT_TRUE(twelve.group.removeAction(0));
  EXPECT_EQ(twelve.group.ACTIONS, 2);
  EXPECT_EQ(twelve.group.ARRAY_SIZE, 8);
  EXPECT_THAT(twelve.group.strides(), ElementsAre(4));
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(3, 4, 5, 6, 9, 10, 11, 12));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionTilings, RemovingAMiddleActionKeepsTheWeightsOfTheOthers) {
  Twelve twelve;
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_EQ(twelve.group.ACTIONS, 2);
  EXPECT_THAT(twelve.group.strides(), ElementsAre(4));
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(1, 2, 5, 6, 7, 8, 11, 12));
}

TEST(ActionTilings, RemovingTheLastActionKeepsTheWeightsOfTheOthers) {
  Twelve twelve;
  EXPECT_TRUE(twelve.group.removeAction(2));
  EXPECT_EQ(twelve.group.ACTIONS, 2);
  EXPECT_THAT(twelve.group.strides(), ElementsAre(4));
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(1, 2, 3, 4, 7, 8, 9, 10));
}

TEST(ActionTilings, RemovingTheFirstOfThreeActionsFromFourTilingsOfFiveTiles) {
  Created created(4, 3, {{{0, 10}, 0.5, Types::CLIP}});
  created.group.count();  // weight i is i + 1
  EXPECT_TRUE(created.group.removeAction(0));
  EXPECT_EQ(created.group.ARRAY_SIZE, 40);
  EXPECT_THAT(created.group.strides(), ElementsAre(8));
  const std::vector<double> weights = created.group.allWeights();
  EXPECT_THAT(std::vector<double>(weights.begin(), weights.begin() + 16),
              ElementsAre(5, 6, 7, 8, 9, 10, 11, 12, 17, 18, 19, 20, 21, 22, 23, 24));
  EXPECT_EQ(weights.back(), 60);
}

TEST(ActionTilings, RemovingTheLastOfThreeActionsKeepsTheFirstEightOfEveryTile) {
  Created created(4, 3, {{{0, 10}, 0.5, Types::CLIP}});
  created.group.count();
  EXPECT_TRUE(created.group.removeAction(2));
  for (int tile = 0; tile < 5; ++tile) {
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(created.group.weights[8 * tile + i], 12 * tile + i + 1);
    }
  }
}

TEST(ActionTilings, RemovingAnActionRecomputesAllStrides) {
  Created created(
      2, 5,
      {{{0, 1}, 0.25, Types::CLIP}, {{0, 1}, 0.125, Types::WRAP}, {{0, 3}, 0.5, Types::CIRCLE}});
  EXPECT_TRUE(created.group.removeAction(3));
  EXPECT_THAT(created.group.strides(), ElementsAre(120, 24, 8));
  EXPECT_EQ(created.group.ARRAY_SIZE, 240);
  EXPECT_THAT(created.group.tileCounts(), ElementsAre(2, 5, 3));
  EXPECT_THAT(created.group.widths(), ElementsAre(0.5, 0.25, 1.0));
  EXPECT_THAT(created.group.resolutions(), ElementsAre(0.25, 0.125, 0.5));
  EXPECT_THAT(created.group.shifts(0), ElementsAre(0, 0, 0));
  EXPECT_THAT(created.group.shifts(1), ElementsAre(0.25, 0.125, 0.5));
}

TEST(ActionTilings, RemovingAnActionRecomputesTheShiftsOfALoadedGroup) {
  Tiles::Block block = Tiles::smallBlock();
  block.variables[0].resolution = 0.25;
  block.shifts = {7, 8};
  block.counts = {1};
  const MemoryFile file(block.text());
  Group group(nullptr, 3, file);
  EXPECT_TRUE(group.removeAction(1));
  EXPECT_THAT(group.shifts(0), ElementsAre(0.0));
  EXPECT_THAT(group.shifts(1), ElementsAre(0.25));
  EXPECT_THAT(group.allWeights(), ElementsAre(1, 2, 5, 6));
}

TEST(ActionTilings, TheOtherActionsKeepTheirValuesInEveryState) {
  std::mt19937 random(1);
  for (int i = 0; i < 60; ++i) {
    const int tilings = 1 + static_cast<int>(random() % 4);
    const int actions = 2 + static_cast<int>(random() % 4);
    std::vector<Wish> wishes{{{0, 10}, 0.7, Types::CLIP}};
    if (random() % 2 == 0) {
      wishes.push_back({{-1, 1}, 0.2, Types::WRAP});
    }
    Created created(tilings, actions, wishes);
    for (int k = 0; k < created.group.ARRAY_SIZE; ++k) {
      created.group.weights[k] = static_cast<double>(random()) / 7.0;
    }
    const int removed = static_cast<int>(random() % static_cast<unsigned int>(actions));
    std::vector<std::vector<double>> states;
    std::vector<double> values;
    for (int k = 0; k < 20; ++k) {
      states.push_back({static_cast<double>(random() % 1000) / 99.9,
                        static_cast<double>(random() % 1000) / 499.5 - 1});
      states.back().resize(wishes.size());
      created.visit(states.back());
      for (int a = 0; a < actions; ++a) {
        if (a != removed) {
          values.push_back(created.group.getActionValue(a));
        }
      }
    }
    ASSERT_TRUE(created.group.removeAction(removed));
    std::vector<double> valuesAfter;
    for (const std::vector<double>& state : states) {
      created.visit(state);
      for (int a = 0; a < actions - 1; ++a) {
        valuesAfter.push_back(created.group.getActionValue(a));
      }
    }
    ASSERT_EQ(bits(valuesAfter), bits(values))
        << tilings << " tilings, action " << removed << " of " << actions;
  }
}

TEST(ActionTilings, ActionsMayBeRemovedUntilOneIsLeft) {
  Reports reports;
  Twelve twelve;
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_TRUE(twelve.group.removeAction(0));
  EXPECT_EQ(twelve.group.ACTIONS, 1);
  EXPECT_THAT(twelve.group.strides(), ElementsAre(2));
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(5, 6, 11, 12));
  EXPECT_THAT(errors(reports), IsEmpty());

  EXPECT_FALSE(twelve.group.removeAction(0));
  EXPECT_EQ(errors(reports), from("removeAction", "ACTIONS == 1 --> Can not remove last action!"));
  EXPECT_EQ(twelve.group.ACTIONS, 1);
  EXPECT_THAT(twelve.group.allWeights(), ElementsAre(5, 6, 11, 12));
}

// Puts something into everything that a removal may discard.
void fill(Twelve& twelve) {
  twelve.store(1);
  twelve.group.setArrayTraces(std::vector<double>(12, 0.5));
  twelve.group.eTracesMap = {{3, 0.25}};
  twelve.group.episodeIndexHistorySet = {5};
  twelve.group.setTraceStorage(Types::MAP);
}

// Whether a group is as it was filled.
void expectUntouched(const Twelve& twelve) {
  EXPECT_EQ(twelve.group.ACTIONS, 3);
  EXPECT_EQ(twelve.group.allWeights(), ascending(12));
  EXPECT_THAT(twelve.group.strides(), ElementsAre(6));
  EXPECT_THAT(twelve.group.active(), ElementsAre(6, 1));
  EXPECT_THAT(twelve.group.stored(), ElementsAre(8, 3));
  EXPECT_THAT(twelve.group.arrayTraces(), AllOf(testing::SizeIs(12), Each(0.5)));
  EXPECT_THAT(twelve.group.eTracesMap, ElementsAre(Pair(3, 0.25)));
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, ElementsAre(5));
}

TEST(ActionTilings, RemovingAnActionOutOfBoundsIsReportedAndChangesNothing) {
  Reports reports;
  Twelve twelve;
  fill(twelve);
  for (const int action : {-1, 3, 4, INT_SMALLEST, INT_LARGEST}) {
    EXPECT_FALSE(twelve.group.removeAction(action));
    EXPECT_EQ(errors(reports), from("removeAction", outOfBounds(action, 3)));
    expectUntouched(twelve);
  }
}

TEST(ActionTilings, RemovingTheLastActionIsRefusedBeforeAnythingElse) {
  Reports reports;
  const std::vector<std::string> report =
      from("removeAction", "ACTIONS == 1 --> Can not remove last action!");
  Created created(2, 1, {{{0, 2}, 0.5, Types::CLIP}});
  created.group.count();
  created.visit({1.25});
  created.group.storeActiveTiles(0);
  created.group.eTracesMap = {{3, 0.25}};
  for (const int action : {-1, 0, 1}) {
    EXPECT_FALSE(created.group.removeAction(action));
    EXPECT_EQ(errors(reports), report);
  }
  EXPECT_EQ(created.group.allWeights(), ascending(4));
  EXPECT_THAT(created.group.active(), ElementsAre(2, 1));
  EXPECT_THAT(created.group.stored(), ElementsAre(2, 1));
  EXPECT_THAT(created.group.eTracesMap, ElementsAre(Pair(3, 0.25)));
  created.group.dropWeights();
  EXPECT_FALSE(created.group.removeAction(0));
  EXPECT_EQ(errors(reports), report);
}

TEST(ActionTilings, RemovingAnActionWithoutWeightsIsRefusedBeforeItsIndexIsLookedAt) {
  Reports reports;
  Twelve twelve;
  twelve.group.dropWeights();
  for (const int action : {-1, 1, 3}) {
    EXPECT_FALSE(twelve.group.removeAction(action));
    EXPECT_EQ(errors(reports), from("removeAction", NO_WEIGHTS));
    EXPECT_EQ(twelve.group.ACTIONS, 3);
    EXPECT_EQ(twelve.group.ARRAY_SIZE, 12);
    EXPECT_THAT(twelve.group.active(), ElementsAre(6, 1));
  }
}

TEST(ActionTilings, AGroupWithoutActionsHasNoneToRemove) {
  Reports reports;
  Created created(2, 0, {{{0, 2}, 0.5, Types::CLIP}});
  reports.takeErrors();
  EXPECT_FALSE(created.group.removeAction(0));
  EXPECT_EQ(errors(reports), from("removeAction", outOfBounds(0, 0)));
  EXPECT_EQ(created.group.ACTIONS, 0);
}

TEST(ActionTilings, AfterARemovalNoTileIsActiveAndTheEpisodeIsForgotten) {
  Twelve twelve;
  fill(twelve);
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_THAT(twelve.group.active(), ElementsAre(-1, -1));
  EXPECT_THAT(twelve.group.episodeIndexHistorySet, IsEmpty());
  EXPECT_EQ(twelve.group.getActionValue(0), 0.0);
  twelve.visit({1.25});
  EXPECT_THAT(twelve.group.active(), ElementsAre(4, 1));
  EXPECT_EQ(twelve.group.getActionValue(0), 7 + 2);
  EXPECT_EQ(twelve.group.getActionValue(1), 11 + 6);
}

TEST(ActionTilings, ARemovalInArrayStorageDiscardsTheArrayAndKeepsTheStoredTiles) {
  Twelve twelve;
  fill(twelve);
  twelve.group.setTraceStorage(Types::ARRAY);
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_EQ(twelve.group.eTraces, nullptr);
  EXPECT_THAT(twelve.group.stored(), ElementsAre(8, 3));
  EXPECT_THAT(twelve.group.eTracesMap, ElementsAre(Pair(3, 0.25)));
}

TEST(ActionTilings, ARemovalInArrayStorageWithoutTheArrayDiscardsTheStoredTiles) {
  Twelve twelve;
  twelve.store(1);
  twelve.group.eTracesMap = {{3, 0.25}};
  twelve.group.setTraceStorage(Types::ARRAY);
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_EQ(twelve.group.storedActiveIndices, nullptr);
  EXPECT_THAT(twelve.group.eTracesMap, ElementsAre(Pair(3, 0.25)));
}

TEST(ActionTilings, ARemovalInMapStorageDiscardsTheMapAndKeepsTheStoredTiles) {
  Twelve twelve;
  fill(twelve);
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_THAT(twelve.group.eTracesMap, IsEmpty());
  EXPECT_THAT(twelve.group.stored(), ElementsAre(8, 3));
  EXPECT_NE(twelve.group.eTraces, nullptr);
}

TEST(ActionTilings, ARemovalInMapStorageWithAnEmptyMapDiscardsTheStoredTiles) {
  Twelve twelve;
  fill(twelve);
  twelve.group.clearTraceMap();
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_EQ(twelve.group.storedActiveIndices, nullptr);
  EXPECT_NE(twelve.group.eTraces, nullptr);
}

TEST(ActionTilings, ARemovalInAnUnknownStorageDiscardsTheStoredTiles) {
  Twelve twelve;
  fill(twelve);
  twelve.group.setTraceStorage(UNKNOWN);
  EXPECT_TRUE(twelve.group.removeAction(1));
  EXPECT_EQ(twelve.group.storedActiveIndices, nullptr);
  EXPECT_NE(twelve.group.eTraces, nullptr);
  EXPECT_THAT(twelve.group.eTracesMap, ElementsAre(Pair(3, 0.25)));
}

TEST(ActionTilings, ARemovalWithNothingToDiscardIsFine) {
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    Reports reports;
    Twelve twelve;
    twelve.group.setTraceStorage(storage);
    EXPECT_TRUE(twelve.group.removeAction(1));
    EXPECT_EQ(twelve.group.storedActiveIndices, nullptr);
    EXPECT_EQ(twelve.group.eTraces, nullptr);
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(ActionTilings, WhatARemovalHasKeptIsHarmlessInTheUpdatesThatFollow) {
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    for (const auto next : {Types::MAP, Types::ARRAY, UNKNOWN}) {
      Reports reports;
      Twelve twelve;
      fill(twelve);
      twelve.store(2);
      twelve.group.eTracesMap = {{3, 0.25}, {11, 1.0}};
      twelve.group.setTraceStorage(storage);
      ASSERT_TRUE(twelve.group.removeAction(1));
      twelve.group.setTraceStorage(next);
      twelve.group.updateEligibilityTraces(0.5, 0.5);
      twelve.group.updateWeights(1.0, 1.0);
      twelve.visit({1.25});
      twelve.group.replacingTraces(1.0, 1);
      twelve.group.accumulatingTraces(1.0, 0);
      twelve.group.updateWeights(1.0, 1.0);
      reports.takeErrors();
    }
  }
}

TEST(ActionTilings, TracesStartAnewAtTheNewSizeAfterARemoval) {
  Reports reports;
  Twelve twelve;
  twelve.group.setArrayTraces(std::vector<double>(12, 0.5));
  ASSERT_TRUE(twelve.group.removeAction(1));
  twelve.group.initEligibilityTraces();
  EXPECT_THAT(twelve.group.arrayTraces(), AllOf(testing::SizeIs(8), Each(0.0)));
  twelve.visit({1.25});
  twelve.group.replacingTraces(1.0, 1);
  EXPECT_THAT(twelve.group.arrayTraces(), ElementsAre(0, 0, 0, 1, 0, 0, 1, 0));
  twelve.store(0);
  EXPECT_THAT(twelve.group.stored(), ElementsAre(4, 1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// Only a damaged file brings tiles that need more weights than the group has: an array for them
// could be of any size, whatever the size of the file.
TEST(ActionTilings, AnActionIsRemovedFromALoadedGroupOnlyWhereTheWeightsSufficeForTheOthers) {
  for (const int size : {0, 1, 2, 3, 5, 6, 7, 100}) {
    for (const int tiles : {0, 1, 2, 3, 50}) {
      for (const int actions : {2, 3, 7}) {
        Reports reports;
        Tiles::Block block = Tiles::smallBlock();
        block.counts = {tiles};
        block.size = size;
        block.weights = ascending(size);
        const MemoryFile file(block.text());
        RealState state({{0, 3}});
        Group group(&state, actions, file);
        const int sizeWithout = 2 * tiles * (actions - 1);
        const bool suffices = sizeWithout <= size;
        EXPECT_EQ(group.removeAction(actions - 1), suffices);
        EXPECT_EQ(group.ACTIONS, suffices ? actions - 1 : actions);
        EXPECT_EQ(group.ARRAY_SIZE, suffices ? sizeWithout : size);
        EXPECT_EQ(group.getMinWeight() >= 0.0, true) << "no weight is left to chance";
        group.activateTiles();
        group.getActionValue(0);
        group.setActionValue(0, 1.0);
        group.setActiveActionValue(0, 1.0);
        reports.takeErrors();
      }
    }
  }
}

TEST(ActionTilings, RemovingAnActionOfALoadedGroupOfNegativeOrHugeSizesIsRefused) {
  for (const int tiles : {-1, -1000, INT_SMALLEST, INT_LARGEST}) {
    Reports reports;
    Tiles::Block block = Tiles::smallBlock();
    block.counts = {tiles};
    const MemoryFile file(block.text());
    Group group(nullptr, 3, file);
    EXPECT_FALSE(group.removeAction(1));
    EXPECT_EQ(reports.errors(), messages({"the tiles make " + std::to_string(4LL * tiles) +
                                          " weights for 2 actions --> ARRAY_SIZE is only 6!"}));
    EXPECT_EQ(group.ACTIONS, 3);
    EXPECT_EQ(group.allWeights(), ascending(6));
    EXPECT_THAT(group.strides(), ElementsAre(2));
  }
}

// ---- Files ----

TEST(ActionTilings, TheBlockHoldsNoNumberOfActions) {
  Twelve twelve;
  const MemoryFile file;
  ASSERT_EQ(twelve.group.save(file), 0);
  std::string weights;
  for (const double weight : ascending(12)) {
    weights += bytes(weight);
  }
  EXPECT_EQ(file.content(), bytes(2) + bytes(1) + bytes(0) +         // sizes, MAP
                                bytes(0U) + bytes(0.5) + bytes(1) +  // the variable
                                bytes(1.0) + bytes(2) + bytes(6) +   // its tiles
                                bytes(0.0) + bytes(0.5) +            // shifts
                                bytes(12) + weights);
}

TEST(ActionTilings, ALoadedGroupHasTheSameValuesAndSavesTheSameBytes) {
  Reports reports;
  Twelve twelve;
  const MemoryFile file;
  ASSERT_EQ(twelve.group.save(file), 0);
  file.rewind();
  Group loaded(&twelve.state, 3, file);
  loaded.activateTiles();
  for (int action = 0; action < 3; ++action) {
    EXPECT_EQ(loaded.getActionValue(action), twelve.group.getActionValue(action));
  }
  const MemoryFile second;
  ASSERT_EQ(loaded.save(second), 0);
  EXPECT_EQ(second.content(), file.content());
  EXPECT_THAT(errors(reports), IsEmpty());
}

// Calls every operation of a group that could not be read completely.
void callEverything(Group& group) {
  for (const auto storage : {Types::MAP, Types::ARRAY, UNKNOWN}) {
    group.setTraceStorage(storage);
    for (const int action : {-1, 0, 2, 3}) {
      group.activateTiles();
      group.replacingTraces(1.0, action);
      group.accumulatingTraces(1.0, action);
      group.updateWeights(1.0, 1.0);
      group.storeActiveTiles(action);
      group.storeEpisodeState(action);
      group.updateWeights(1.0, 1.0);
      group.initEligibilityTraces();
      group.replacingTraces(1.0, action);
      group.accumulatingTraces(1.0, action);
      group.updateEligibilityTraces(0.5, 0.5);
      group.updateWeights(1.0, 1.0);
      group.setActionValue(action, 1.0);
      group.setActiveActionValue(action, 1.0);
      EXPECT_EQ(group.getActionValue(action), LARGEST);
      EXPECT_FALSE(group.removeAction(action));
    }
  }
  group.valueEpisode(1.0);
}

TEST(ActionTilings, AGroupFromAFileCutAnywhereIsUsableAndMayBeCreatedAnew) {
  const std::string whole = Tiles::smallBlock().text();
  RealState state({{0, 3}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    const MemoryFile file(whole.substr(0, size));
    Group group(&state, 3, file);
    EXPECT_EQ(reports.errors().size(), 1U);
    EXPECT_EQ(group.ACTIONS, 3);
    callEverything(group);
    group.create(&state, 2);
    group.activateTiles();
    group.getActionValue(1);
    reports.takeErrors();
  }
}

// ---- Destruction ----

TEST(ActionTilings, AreDestroyedThroughTheirBase) {
  class Mortal : public ActionTilings {
   public:
    explicit Mortal(int& deathCounter) : ActionTilings(1, {}), deaths(deathCounter) {}
    ~Mortal() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  { const std::unique_ptr<Tilings> group = std::make_unique<Mortal>(deaths); }
  EXPECT_EQ(deaths, 1);
}

// ---- Short memory ----

class ActionTilingsInShortMemory : public Tables::InShortMemory {};

TEST_F(ActionTilingsInShortMemory, WithoutMemoryForTheRemainingWeightsNothingIsRemoved) {
  Reports reports;
  Twelve twelve;
  fill(twelve);
  bool removed = true;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(removed = twelve.group.removeAction(1));
  }
  EXPECT_FALSE(removed);
  EXPECT_THAT(reports.errors(), ElementsAre(StartsWith("Can not allocate memory for ")));
  expectUntouched(twelve);
}

TEST_F(ActionTilingsInShortMemory, WeightsThatCanNotBeHadAreReportedAndMissing) {
  Reports reports;
  Twelve twelve;
  {
    const FailingNew memory(FailingNew::ONE, 1);
    EXPECT_NO_THROW(twelve.group.create(&twelve.state, 5));
  }
  EXPECT_EQ(reports.errors(), messages({"Can not allocate memory for 20 entries of 8 bytes!"}));
  EXPECT_EQ(twelve.group.weights, nullptr);
  callEverything(twelve.group);
}

TEST_F(ActionTilingsInShortMemory, NoOperationThrowsWhenMemoryIsUsedUp) {
  for (const auto storage : {Types::MAP, Types::ARRAY}) {
    Reports reports;
    Twelve twelve;
    twelve.group.setTraceStorage(storage);
    {
      const FailingNew memory(FailingNew::ALL_FROM, 1);
      EXPECT_NO_THROW({
        twelve.group.initEligibilityTraces();
        twelve.group.replacingTraces(1.0, 1);
        twelve.group.accumulatingTraces(1.0, 1);
        twelve.group.storeActiveTiles(1);
        twelve.group.storeEpisodeState(1);
        twelve.group.updateEligibilityTraces(0.5, 0.5);
        twelve.group.updateWeights(1.0, 1.0);
        twelve.group.valueEpisode(1.0);
        twelve.group.removeAction(0);
      });
    }
    std::cerr.clear();  // the reports have run out of memory, too
    EXPECT_EQ(twelve.group.allWeights(), ascending(12));
    reports.errorText();
  }
}

}  // namespace
