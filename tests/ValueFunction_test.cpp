#include <gmock/gmock.h>
#include <quarnel/ActionLookupTable.h>
#include <quarnel/StateLookupTable.h>
#include <quarnel/ValueFunction.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Draws.h"
#include "support/FakeValueFunctions.h"
#include "support/ForcedDraws.h"

namespace {

const void* watchedMemory = nullptr;
int deletions = 0;

void* allocate(std::size_t size) noexcept { return std::malloc(size > 0 ? size : 1); }

void release(void* memory) noexcept {
  if (memory != nullptr && memory == watchedMemory) {
    ++deletions;
  }
  std::free(memory);
}

}  // namespace

// A State has no destructor of its own that a test could listen to; its memory tells whether it was
// deleted.
void* operator new(std::size_t size) {
  if (void* const memory = allocate(size)) {
    return memory;
  }
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { release(memory); }

namespace {

class FakeValueFunction : public FakeRepresentation<ValueFunction> {
 public:
  using FakeRepresentation::FakeRepresentation;
  using FakeRepresentation::load;
  using FakeRepresentation::save;

  using ValueFunction::episodeStateHistory;
  using ValueFunction::getRandomValue;
  using ValueFunction::getValue;
  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::maxValue;
  using ValueFunction::maxWeightLimit;
  using ValueFunction::minValue;
  using ValueFunction::minWeightLimit;
  using ValueFunction::statePtr;
  using ValueFunction::value;

  const int save(const std::string& fileName) const override {
    note("save(", fileName, ")");
    return 0;
  }
  const int load(const std::string& fileName) override {
    note("load(", fileName, ")");
    return 0;
  }
};

// What the shared numbers are before any test has changed them.
const double FIRST_VALUE = FakeValueFunction::value;
const double FIRST_MIN_VALUE = FakeValueFunction::minValue;
const double FIRST_MAX_VALUE = FakeValueFunction::maxValue;

const double INFINITE = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

const double initializer() { return 0.125; }

/// A value function on nothing; the shared numbers are as in a fresh process.
class ValueFunctionTest : public testing::Test {
 protected:
  ~ValueFunctionTest() override {
    function.setValue(FIRST_VALUE);
    function.setRandomValueBoundaries(FIRST_MIN_VALUE, FIRST_MAX_VALUE);
  }

  double randomValueOf(int drawn) {
    const ForcedDraws draws{drawn};
    return FakeValueFunction::getRandomValue();
  }

  FakeValueFunction function{nullptr};
};

// The product is kept in memory, so that no compiler rounds product and sum at once.
double plainRandomValue(int drawn, double min, double max) {
  const volatile double product = drawn / 2147483648.0 * (max - min);
  return product + min;
}

TEST_F(ValueFunctionTest, IsAnInterface) {
  EXPECT_TRUE(std::is_abstract_v<ValueFunction>);
  EXPECT_TRUE(std::has_virtual_destructor_v<ValueFunction>);
}

TEST_F(ValueFunctionTest, ReturnsConstantScalars) {
  using Function = ValueFunction;
  EXPECT_TRUE(
      (std::is_same_v<decltype(&Function::getMinWeight), const double (Function::*)() const>));
  EXPECT_TRUE(
      (std::is_same_v<decltype(&Function::getAvgWeight), const double (Function::*)(bool) const>));
  EXPECT_TRUE(
      (std::is_same_v<decltype(&Function::getMaxWeight), const double (Function::*)() const>));
  EXPECT_TRUE((std::is_same_v<decltype(&Function::getEpisodeStateHistory),
                              const bool (Function::*)() const>));
  EXPECT_TRUE((std::is_same_v<decltype(&FakeValueFunction::getValue), const double (*)()>));
  EXPECT_TRUE((std::is_same_v<decltype(&FakeValueFunction::getRandomValue), const double (*)()>));
}

TEST_F(ValueFunctionTest, HandsEveryOperationToTheRepresentation) {
  ValueFunction& interface = function;
  interface.initWeights(initializer);
  interface.initEligibilityTraces();
  interface.updateWeights(0.5, 2.0);
  interface.updateEligibilityTraces(0.75, 0.25);
  interface.accumulatingTraces(1.5);
  interface.replacingTraces(2.5);
  interface.checkWeightLimit();
  EXPECT_EQ(interface.getMinWeight(), -1.25);
  EXPECT_EQ(interface.getAvgWeight(true), 0.25);
  EXPECT_EQ(interface.getMaxWeight(), 2.25);
  interface.setState();
  interface.storeState();
  interface.initEpisodeStateHistory();
  interface.valueEpisode(-3.5);
  EXPECT_EQ(interface.save("a"), 0);
  EXPECT_EQ(interface.load("b"), 0);
  EXPECT_THAT(
      function.calls,
      testing::ElementsAre(
          "initWeights(0.125)", "initEligibilityTraces()", "updateWeights(0.5, 2)",
          "updateEligibilityTraces(0.75, 0.25)", "accumulatingTraces(1.5)", "replacingTraces(2.5)",
          "checkWeightLimit()", "getMinWeight()", "getAvgWeight(1)", "getMaxWeight()", "setState()",
          "storeState()", "initEpisodeStateHistory()", "valueEpisode(-3.5)", "save(a)", "load(b)"));
}

TEST_F(ValueFunctionTest, CallsNothingOfTheRepresentationByItself) {
  function.setMinWeightLimit(-1.0);
  function.setMaxWeightLimit(1.0);
  function.setEpisodeStateHistory(true);
  function.setValue(1.0);
  function.setRandomValueBoundaries(0.0, 1.0);
  function.setInitWeightsFunctionPtr(initializer);
  EXPECT_THAT(function.calls, testing::IsEmpty());
}

TEST_F(ValueFunctionTest, HoldsTheStateItIsBuiltOn) {
  auto* const state = new State();
  const FakeValueFunction built(state);
  EXPECT_EQ(built.getStatePtr(), state);
  EXPECT_EQ(built.statePtr, state);
}

TEST_F(ValueFunctionTest, MayBeBuiltWithoutAState) { EXPECT_EQ(function.getStatePtr(), nullptr); }

TEST_F(ValueFunctionTest, DestroysItsStateOnce) {
  auto* const state = new State();
  std::unique_ptr<ValueFunction> built = std::make_unique<FakeValueFunction>(state);
  deletions = 0;
  watchedMemory = state;
  built.reset();
  watchedMemory = nullptr;
  EXPECT_EQ(deletions, 1);
}

TEST_F(ValueFunctionTest, CannotBeCopiedSinceItOwnsItsState) {
  EXPECT_FALSE(std::is_copy_constructible_v<FakeValueFunction>);
  EXPECT_FALSE(std::is_copy_assignable_v<FakeValueFunction>);
}

TEST_F(ValueFunctionTest, StartsWithLimitsThatClampNoFiniteWeight) {
  EXPECT_EQ(function.minWeightLimit, -1.7976931348623157e308);
  EXPECT_EQ(function.maxWeightLimit, 1.7976931348623157e308);
}

TEST_F(ValueFunctionTest, KeepsTheLimitsItIsGiven) {
  function.setMinWeightLimit(-2.5);
  EXPECT_EQ(function.minWeightLimit, -2.5);
  EXPECT_EQ(function.maxWeightLimit, 1.7976931348623157e308);
  function.setMaxWeightLimit(-7.5);
  EXPECT_EQ(function.minWeightLimit, -2.5);
  EXPECT_EQ(function.maxWeightLimit, -7.5);
}

TEST_F(ValueFunctionTest, SharesNoLimitsWithOthers) {
  FakeValueFunction other(nullptr);
  other.setMinWeightLimit(-1.0);
  other.setMaxWeightLimit(1.0);
  EXPECT_EQ(function.minWeightLimit, -1.7976931348623157e308);
  EXPECT_EQ(function.maxWeightLimit, 1.7976931348623157e308);
}

TEST_F(ValueFunctionTest, KeepsAnEpisodeHistoryOnlyWhenTold) {
  EXPECT_FALSE(function.getEpisodeStateHistory());
  function.setEpisodeStateHistory(true);
  EXPECT_TRUE(function.getEpisodeStateHistory());
  EXPECT_TRUE(function.episodeStateHistory);
  function.setEpisodeStateHistory(false);
  EXPECT_FALSE(function.getEpisodeStateHistory());
}

TEST_F(ValueFunctionTest, InitialisesWithTheConstantUnlessTold) {
  EXPECT_EQ(function.initWeightsFunctionPtr, &FakeValueFunction::getValue);
  function.setInitWeightsFunctionPtr(initializer);
  EXPECT_EQ(function.initWeightsFunctionPtr, &initializer);
}

TEST_F(ValueFunctionTest, TakesItsOwnInitialisers) {
  function.setInitWeightsFunctionPtr(FakeValueFunction::getRandomValue);
  EXPECT_EQ(function.initWeightsFunctionPtr, &FakeValueFunction::getRandomValue);
  function.setInitWeightsFunctionPtr(FakeValueFunction::getValue);
  EXPECT_EQ(function.initWeightsFunctionPtr, &FakeValueFunction::getValue);
}

TEST_F(ValueFunctionTest, GivesItsInitialisersToApplications) {
  EXPECT_EQ(ValueFunction::getConstantInitializer(), &FakeValueFunction::getValue);
  EXPECT_EQ(ValueFunction::getRandomInitializer(), &FakeValueFunction::getRandomValue);
}

TEST_F(ValueFunctionTest, StartsAProcessWithAConstantOfZero) {
  EXPECT_EQ(FIRST_VALUE, 0.0);
  EXPECT_FALSE(std::signbit(FIRST_VALUE));
}

TEST_F(ValueFunctionTest, StartsAProcessWithRandomValuesAroundZero) {
  EXPECT_EQ(FIRST_MIN_VALUE, -0.5);
  EXPECT_EQ(FIRST_MAX_VALUE, 0.5);
}

TEST_F(ValueFunctionTest, GivesTheConstantUnchanged) {
  for (const double constant : {1.5, -0.0, 0.0, 5e-324, 1.7976931348623157e308, -INFINITE}) {
    function.setValue(constant);
    EXPECT_EQ(FakeValueFunction::getValue(), constant);
    EXPECT_EQ(std::signbit(FakeValueFunction::getValue()), std::signbit(constant));
  }
  function.setValue(NOT_A_NUMBER);
  EXPECT_TRUE(std::isnan(FakeValueFunction::getValue()));
}

TEST_F(ValueFunctionTest, DrawsNothingForTheConstant) {
  EXPECT_EQ(countDraws([] { FakeValueFunction::getValue(); }), 0);
}

TEST_F(ValueFunctionTest, SharesTheConstantWithAllOthers) {
  FakeStateValueFunction other(nullptr);
  other.setValue(4.5);
  EXPECT_EQ(FakeValueFunction::getValue(), 4.5);
  EXPECT_EQ(function.initWeightsFunctionPtr(), 4.5);
}

TEST_F(ValueFunctionTest, SharesTheRandomRangeWithAllOthers) {
  FakeActionValueFunction other(nullptr);
  other.setRandomValueBoundaries(8.0, 16.0);
  EXPECT_EQ(FakeValueFunction::minValue, 8.0);
  EXPECT_EQ(FakeValueFunction::maxValue, 16.0);
  EXPECT_EQ(randomValueOf(1073741824), 12.0);
}

TEST_F(ValueFunctionTest, LosesItsConstantWhenAStateTableIsMade) {
  function.setValue(4.5);
  const StateLookupTable table(new State());
  EXPECT_EQ(FakeValueFunction::getValue(), 0.0);
}

TEST_F(ValueFunctionTest, LosesItsConstantWhenAnActionTableIsMade) {
  function.setValue(4.5);
  const ActionLookupTable table(new State());
  EXPECT_EQ(FakeValueFunction::getValue(), 0.0);
}

TEST_F(ValueFunctionTest, KeepsItsConstantWhenAnInterfaceIsMade) {
  function.setValue(4.5);
  const FakeStateValueFunction state(nullptr);
  const FakeActionValueFunction action(nullptr);
  EXPECT_EQ(FakeValueFunction::getValue(), 4.5);
}

TEST_F(ValueFunctionTest, DrawsOneNumberForARandomValueAndSeedsNothing) {
  for (const unsigned int seed : {1U, 7U, 4294967295U}) {
    EXPECT_EQ(countDraws([] { FakeValueFunction::getRandomValue(); }, seed), 1);
  }
}

TEST_F(ValueFunctionTest, ScalesDrawsByTwoToTheMinus31) {
  EXPECT_EQ(randomValueOf(0), -0.5);
  EXPECT_EQ(randomValueOf(1), -0.5 + 0x1p-31);
  EXPECT_EQ(randomValueOf(536870912), -0.25);
  EXPECT_EQ(randomValueOf(1073741823), -0x1p-31);
  EXPECT_EQ(randomValueOf(1073741824), 0.0);
  EXPECT_EQ(randomValueOf(1073741825), 0x1p-31);
  EXPECT_EQ(randomValueOf(2147483647), 0.5 - 0x1p-31);
}

TEST_F(ValueFunctionTest, GivesTheRandomValuesOfTheStreamBitForBit) {
  const std::vector<std::vector<double>> ranges = {{-0.5, 0.5},       {0.1, 0.7},  {-1e-3, 3e5},
                                                   {1.0 / 3.0, 1e17}, {2.0, -1.0}, {-7.0, -7.0}};
  for (const std::vector<double>& range : ranges) {
    function.setRandomValueBoundaries(range[0], range[1]);
    for (unsigned int seed = 1; seed <= 10; ++seed) {
      for (int i = 0; i < 10; ++i) {
        const double expected = plainRandomValue(draw(seed, i), range[0], range[1]);
        std::srand(seed);
        for (int before = 0; before < i; ++before) {
          FakeValueFunction::getRandomValue();
        }
        EXPECT_EQ(FakeValueFunction::getRandomValue(), expected)
            << "seed " << seed << ", draw " << i << " from " << range[0] << " to " << range[1];
      }
    }
  }
}

TEST_F(ValueFunctionTest, TakesTheLowerBoundFirst) {
  function.setRandomValueBoundaries(2.0, 6.0);
  EXPECT_EQ(FakeValueFunction::minValue, 2.0);
  EXPECT_EQ(FakeValueFunction::maxValue, 6.0);
  EXPECT_EQ(randomValueOf(0), 2.0);
  EXPECT_EQ(randomValueOf(536870912), 3.0);
}

TEST_F(ValueFunctionTest, NeverReachesTheUpperBound) {
  const int greatest = 2147483647;
  EXPECT_LT(randomValueOf(greatest), 0.5);
  function.setRandomValueBoundaries(0.0, 1.0);
  EXPECT_EQ(randomValueOf(greatest), 1.0 - 0x1p-31);
  function.setRandomValueBoundaries(-1024.0, 0.0);
  EXPECT_EQ(randomValueOf(greatest), -0x1p-21);
  function.setRandomValueBoundaries(1.0, 3.0);
  EXPECT_EQ(randomValueOf(greatest), 3.0 - 0x1p-30);
}

TEST_F(ValueFunctionTest, GivesTheBoundItselfWhereTheRangeIsAPoint) {
  function.setRandomValueBoundaries(1.0, 1.0);
  for (const int drawn : {0, 1, 1073741824, 2147483646, 2147483647}) {
    EXPECT_EQ(randomValueOf(drawn), 1.0) << drawn;
  }
}

TEST_F(ValueFunctionTest, CountsDownFromAMinimumAboveTheMaximum) {
  function.setRandomValueBoundaries(2.0, -2.0);
  EXPECT_EQ(randomValueOf(0), 2.0);
  EXPECT_EQ(randomValueOf(1), 2.0 - 0x1p-29);
  EXPECT_EQ(randomValueOf(1073741824), 0.0);
  EXPECT_EQ(randomValueOf(2147483647), -2.0 + 0x1p-29);
}

TEST_F(ValueFunctionTest, InitialisesRandomlyThroughThePointer) {
  const ForcedDraws draws{0, 1073741824};
  const ValueFunction::INIT_WEIGHTS_FUNCTION random = ValueFunction::getRandomInitializer();
  EXPECT_EQ(random(), -0.5);
  EXPECT_EQ(random(), 0.0);
}

}  // namespace
