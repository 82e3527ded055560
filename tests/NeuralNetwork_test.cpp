#include <gmock/gmock.h>
#include <quarnel/NeuralNetwork.h>
#include <quarnel/State.h>
#include <quarnel/ValueFunction.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "support/Draws.h"
#include "support/FailingNew.h"
#include "support/Files.h"
#include "support/NamedFiles.h"
#include "support/OpenNetworks.h"
#include "support/PlainNetwork.h"
#include "support/Reports.h"
#include "support/Tables.h"

namespace {

using Networks::block;
using Networks::errors;
using Networks::firstHalf;
using Networks::INT_LARGEST;
using Networks::INT_SMALLEST;
using Networks::LARGEST;
using Networks::nextNumber;
using Networks::NO_OUTPUTS;
using Networks::NO_TO_HIDDEN;
using Networks::NO_TO_OUTPUT;
using Networks::NO_TRACES_TO_HIDDEN;
using Networks::NO_TRACES_TO_OUTPUT;
using Networks::NOT_IMPLEMENTED;
using Networks::Numbers;
using Networks::one;
using Networks::reportsOf;
using Networks::roughNumbers;
using Networks::zero;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const char* const NO_STATE = "statePtr == 0";
const char* const NO_FACTORS_YET = "scaleFactor == 0 --> Maybe forgot to call create?";
const char* const NO_INPUTS_YET = "inputValues == 0 --> Maybe forgot to call create?";
const char* const NO_HIDDEN_YET = "hiddenValues == 0 --> Maybe forgot to call create?";
const char* const NO_INPUTS = "inputValues == 0 --> This should never happen!";

const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
const double INFINITE = std::numeric_limits<double>::infinity();

// A network that lays itself out as the state network does, with any number of outputs.
class Layers : public NeuralNetwork {
 public:
  Layers() = default;

  Layers(State* state, int units) : NeuralNetwork(state, units) {}

  Layers(State* state, int units, int outputs) : NeuralNetwork(state, units) {
    OUTPUT_LAYER_NEURONS = outputs;
    Layers::create();
  }

  void create() override {
    ++creations;
    INPUT_HIDDEN_ARRAY_SIZE = (HIDDEN_LAYER_NEURONS - 1) * INPUT_LAYER_NEURONS;
    HIDDEN_OUTPUT_ARRAY_SIZE = HIDDEN_LAYER_NEURONS * OUTPUT_LAYER_NEURONS;
    INPUT_HIDDEN_OUTPUT_ARRAY_SIZE = INPUT_HIDDEN_ARRAY_SIZE * OUTPUT_LAYER_NEURONS;
    allocateMemory();
    for (int i = 0; scaleFactor != nullptr && i < INPUT_LAYER_NEURONS - 1; ++i) {
      scaleFactor[i] = 1.0;
    }
    if (inputValues != nullptr) {
      inputValues[INPUT_LAYER_NEURONS - 1] = 1.0;
    }
    if (hiddenValues != nullptr) {
      hiddenValues[HIDDEN_LAYER_NEURONS - 1] = 1.0;
    }
  }

  int creations = 0;
};

using Network = Networks::OpenNetwork<Layers>;

// A state of so many real variables in [-1, 1].
class RealState : public State {
 public:
  explicit RealState(unsigned int variables) {
    for (unsigned int i = 0; i < variables; ++i) {
      registerVariable("x", -1.0, 1.0);
    }
  }

  void set(const Numbers& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      setValueDbl(static_cast<unsigned int>(i), values[i]);
    }
  }
};

class IntegerState : public State {
 public:
  IntegerState() {
    registerVariable("x", 3, 9);
    registerVariable("y", 3, 9);
  }
};

// The number of variables, hidden units and outputs, without the bias units.
struct Sizes {
  unsigned int variables;
  int units;
  int outputs;
};
std::ostream& operator<<(std::ostream& os, const Sizes& sizes) {
  return os << sizes.variables << " variables, " << sizes.units << " units, " << sizes.outputs
            << " outputs";
}

std::vector<std::string> noVariableReport(int index, int variables) {
  return reportsOf("setScaleFactor", {"variableIndex out of Bounds --> 0 <= " +
                                      std::to_string(index) + " < " + std::to_string(variables)});
}

// A network of the library and a plain one with the same weights on the same inputs.
class Twins {
 public:
  explicit Twins(const Sizes& sizes)
      : state(sizes.variables),
        network(&state, sizes.units, sizes.outputs),
        plain(sizes.variables, static_cast<std::size_t>(sizes.units),
              static_cast<std::size_t>(sizes.outputs)) {
    plain.inputHidden = roughNumbers(plain.inputHidden.size(), 1);
    plain.hiddenOutput = roughNumbers(plain.hiddenOutput.size(), 2);
    network.setToHidden(plain.inputHidden);
    network.setToOutput(plain.hiddenOutput);
  }

  // Other inputs for every seed.
  void observe(unsigned int seed) {
    const Numbers values = roughNumbers(state.getNumberOfVariables(), seed);
    state.set(values);
    network.setState();
    std::copy(values.begin(), values.end(), plain.inputValues.begin());
  }

  void forward() {
    network.getOutputValue(0);
    plain.forward();
  }

  void step(unsigned int seed) {
    observe(seed);
    forward();
  }

  RealState state;
  Network network;
  PlainNetwork plain;
};

class NetworksOfManySizes : public testing::TestWithParam<Sizes> {};

INSTANTIATE_TEST_SUITE_P(Sizes, NetworksOfManySizes,
                         testing::Values(Sizes{0, 0, 1}, Sizes{0, 3, 1}, Sizes{2, 0, 1},
                                         Sizes{1, 1, 1}, Sizes{2, 3, 1}, Sizes{5, 8, 1},
                                         Sizes{1, 1, 2}, Sizes{2, 3, 2}, Sizes{3, 2, 4},
                                         Sizes{7, 11, 3}));

// The network of two variables, three hidden units and one output that the numbers below are worked
// out for: 9 weights to the hidden layer, 4 to the output.
class SmallNetwork {
 public:
  explicit SmallNetwork(int outputs = 1) : state(2), network(&state, 3, outputs) {
    Networks::initialised = 0;
    network.initWeights(one);
  }

  RealState state;
  Network network;
};

// A call of every operation; none may mind what is missing.
void callEverything(Network& network) {
  network.setState();
  for (const int index : {-1, 0, 1, 2}) {
    network.getOutputValue(index);
  }
  network.initWeights(one);
  network.updateEligibilityTraces(0.9, 0.5);
  network.updateWeights(0.1, 1.0, -1.0, 1.0);
  network.initEligibilityTraces();
  network.updateEligibilityTraces(0.9, 0.5);
  network.updateWeights(0.1, 1.0, -1.0, 1.0);
  network.accumulatingTraces(1.0);
  network.replacingTraces(1.0);
  network.checkWeightLimit(-1.0, 1.0);
  network.getMinWeight();
  network.getAvgWeight(true);
  network.getMaxWeight();
  network.storeState();
  network.initEpisodeStateHistory();
  network.valueEpisode(1.0);
  network.setScaleFactor(0, 1.0);
  network.setBias(1.0, 1.0);
  const MemoryFile file;
  network.save(file);
}

double*& arrayOf(Network& network, int number) {
  double** const arrays[] = {&network.inputValues,         &network.hiddenValues,
                             &network.outputValues,        &network.inputHiddenWeights,
                             &network.hiddenOutputWeights, &network.inputHiddenOutputTraces,
                             &network.hiddenOutputTraces,  &network.tmp,
                             &network.scaleFactor};
  return *arrays[number];
}
const int ARRAYS = 9;

}  // namespace

// Construction and memory.

TEST(NeuralNetwork, CountsABiasUnitInTheInputAndTheHiddenLayer) {
  RealState state(2);
  const Network network(&state, 3);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 1);
  EXPECT_EQ(network.stateOfTheNetwork(), &state);
}

TEST(NeuralNetwork, ConstructionAllocatesNothing) {
  RealState state(2);
  const Network network(&state, 3);
  EXPECT_FALSE(network.hasArrays());
  EXPECT_EQ(network.creations, 0);
}

TEST(NeuralNetwork, WithoutAStateAllIsZero) {
  const Network network;
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 0);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 0);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 0);
  EXPECT_FALSE(network.hasArrays());
  EXPECT_EQ(network.stateOfTheNetwork(), nullptr);
  EXPECT_EQ(network.creations, 0);
}

TEST(NeuralNetwork, InitSetsTheLayersToZero) {
  RealState state(2);
  Network network(&state, 3);
  network.init();
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 0);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 0);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 0);
  EXPECT_FALSE(network.hasArrays());
}

TEST(NeuralNetwork, InitLeavesNoArrays) {
  SmallNetwork small;
  small.network.initEligibilityTraces();
  int held = 0;
  {
    const FailingNew memory;
    small.network.init();
    held = memory.held();
  }
  EXPECT_FALSE(small.network.hasArrays());
  EXPECT_EQ(held, -10) << "nine and the scratch array are released";
}

TEST(NeuralNetwork, LeavesCreateToTheConcreteNetwork) {
  EXPECT_TRUE(std::is_abstract_v<NeuralNetwork>);
}

TEST(NeuralNetwork, DoesNotDeleteTheState) {
  RealState state(2);
  { const Network network(&state, 3, 1); }
  EXPECT_EQ(state.getNumberOfVariables(), 2U);
}

TEST(NeuralNetwork, IsDestroyedThroughItsBase) {
  class Mortal : public Layers {
   public:
    explicit Mortal(int& counter) : deaths(counter) {}
    ~Mortal() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  const NeuralNetwork* const network = new Mortal(deaths);
  delete network;
  EXPECT_EQ(deaths, 1);
}

TEST(NeuralNetwork, SetStatePtrSetsTheState) {
  RealState state(2);
  Network network;
  network.setStatePtr(&state);
  EXPECT_EQ(network.stateOfTheNetwork(), &state);
}

TEST(NeuralNetwork, AllocateMemoryMakesAllArraysButTheTraces) {
  SmallNetwork small;
  Network& network = small.network;
  EXPECT_TRUE(network.hasAllArraysButTraces());
  EXPECT_EQ(network.inputHiddenOutputTraces, nullptr);
  EXPECT_EQ(network.hiddenOutputTraces, nullptr);
}

TEST(NeuralNetwork, TheArraysAreAsLongAsTheTableSays) {
  SmallNetwork small(2);
  Network& network = small.network;
  network.initEligibilityTraces();
  // The sanitizers watch over the entry after the last one.
  std::fill_n(network.inputValues, 3, 1.0);
  std::fill_n(network.hiddenValues, 4, 1.0);
  std::fill_n(network.outputValues, 2, 1.0);
  std::fill_n(network.inputHiddenWeights, 9, 1.0);
  std::fill_n(network.hiddenOutputWeights, 8, 1.0);
  std::fill_n(network.inputHiddenOutputTraces, 18, 1.0);
  std::fill_n(network.hiddenOutputTraces, 8, 1.0);
  std::fill_n(network.tmp, 2, 1.0);
  std::fill_n(network.scaleFactor, 2, 1.0);
}

TEST(NeuralNetwork, FreeMemoryReleasesAllNineArraysAndTheScratchArray) {
  SmallNetwork small;
  Network& network = small.network;
  network.initEligibilityTraces();
  int released = 0;
  {
    const FailingNew memory;
    network.freeMemory();
    released = -memory.held();
  }
  EXPECT_EQ(released, 10);
  EXPECT_FALSE(network.hasArrays());
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 1);
}

TEST(NeuralNetwork, ALayerWithoutAUnitIsReportedAndGetsNoMemory) {
  for (const int units : {0, -1, INT_SMALLEST}) {
    for (int layer = 0; layer < 3; ++layer) {
      Reports reports;
      SmallNetwork small;
      Network& network = small.network;
      (layer == 0   ? network.INPUT_LAYER_NEURONS
       : layer == 1 ? network.HIDDEN_LAYER_NEURONS
                    : network.OUTPUT_LAYER_NEURONS) = units;
      std::size_t largestRequest = 0;
      {
        const FailingNew memory;
        network.allocateMemory();
        largestRequest = memory.largestRequest();
      }
      EXPECT_FALSE(network.hasArrays());
      EXPECT_LE(largestRequest, 1000U);
      EXPECT_THAT(errors(reports),
                  ElementsAre(StartsWith("NeuralNetwork::allocateMemory: layer without a unit")));
    }
  }
}

TEST(NeuralNetwork, FreeMemoryMayBeRepeated) {
  SmallNetwork small;
  small.network.freeMemory();
  small.network.freeMemory();
  EXPECT_FALSE(small.network.hasArrays());
}

TEST(NeuralNetwork, TheDestructorReleasesAllArrays) {
  RealState state(2);
  auto network = std::make_unique<Network>(&state, 3, 1);
  network->initEligibilityTraces();
  int released = 0;
  {
    const FailingNew memory;
    network.reset();
    released = -memory.held();
  }
  EXPECT_EQ(released, 11) << "nine arrays, the scratch array and the network itself";
}

TEST(NeuralNetwork, ASecondCreateReleasesTheFirstArrays) {
  SmallNetwork small;
  int held = 1;
  {
    const FailingNew memory;
    small.network.create();
    held = memory.held();
  }
  EXPECT_EQ(held, 0);
  EXPECT_TRUE(small.network.hasAllArraysButTraces());
}

TEST(NeuralNetwork, ASecondCreateTakesTheTracesAlong) {
  SmallNetwork small;
  small.network.initEligibilityTraces();
  small.network.create();
  EXPECT_EQ(small.network.inputHiddenOutputTraces, nullptr);
  EXPECT_EQ(small.network.hiddenOutputTraces, nullptr);
}

// The forward pass.

TEST(NeuralNetwork, WithWeightsOfZeroEveryUnitIsAHalf) {
  SmallNetwork small(2);
  small.state.set({0.3, -0.7});
  small.network.setState();
  small.network.initWeights(zero);
  EXPECT_EQ(small.network.getOutputValue(0), 0.5);
  EXPECT_EQ(small.network.getOutputValue(1), 0.5);
  EXPECT_THAT(small.network.hidden(), ElementsAre(0.5, 0.5, 0.5, 1.0));
}

TEST(NeuralNetwork, AnOutputIsTheLogisticFunctionOfAWeightedSum) {
  RealState state(1);
  Network network(&state, 1, 1);
  network.setToHidden({3.0, -6.0});  // from the variable, from the bias
  network.setToOutput({2.0, 0.5});   // from the hidden unit, from the bias
  state.set({2.0});
  network.setState();
  // Net input of the hidden unit: 3 * 2 - 6 * 1 = 0; of the output: 2 * 0.5 + 0.5 * 1 = 1.5.
  EXPECT_EQ(network.getOutputValue(0), 1 / (1 + std::exp(-1.5)));
  EXPECT_NEAR(network.getOutputValue(0), 0.81757447619364366, 1e-15);
}

TEST_P(NetworksOfManySizes, TheForwardPassIsThatOfAPlainComputation) {
  Twins twins(GetParam());
  for (unsigned int seed = 10; seed < 20; ++seed) {
    twins.observe(seed);
    twins.plain.forward();
    for (int o = 0; o < GetParam().outputs; ++o) {
      EXPECT_EQ(twins.network.getOutputValue(o),
                twins.plain.outputValues[static_cast<std::size_t>(o)]);
    }
    EXPECT_EQ(twins.network.inputs(), twins.plain.inputValues);
    EXPECT_EQ(twins.network.hidden(), twins.plain.hiddenValues);
    EXPECT_EQ(twins.network.outputs(), twins.plain.outputValues);
  }
}

TEST(NeuralNetwork, SumsRunFromTheFirstUnitToTheLast) {
  RealState state(2);
  Network network(&state, 2, 1);
  // Of 1, 1e16 and -1e16 the last two cancel each other only when they come first.
  network.setInputs({1.0, 1e16, -1e16});
  network.initWeights(one);
  network.setToOutput({0.0, 0.0, 0.0});
  network.getOutputValue(0);
  EXPECT_EQ(network.hiddenValues[0], 0.5) << "1 is lost beside 1e16";
  network.setInputs({1e16, -1e16, 1.0});
  network.getOutputValue(0);
  EXPECT_EQ(network.hiddenValues[0], 1 / (1 + std::exp(-1.0)));

  network.setInputs({1000.0, 1000.0, 1000.0});  // all hidden units are 1
  network.setToOutput({1.0, 1e16, -1e16});
  EXPECT_EQ(network.getOutputValue(0), 0.5);
  network.setToOutput({1e16, -1e16, 1.0});
  EXPECT_EQ(network.getOutputValue(0), 1 / (1 + std::exp(-1.0)));
}

TEST(NeuralNetwork, EveryCallIsAFullForwardPass) {
  SmallNetwork small(2);
  small.network.initWeights(zero);
  EXPECT_EQ(small.network.getOutputValue(1), 0.5);
  small.network.setToOutput({0, 0, 0, 0, 0, 0, 2, -2});
  EXPECT_EQ(small.network.getOutputValue(1), 1 / (1 + std::exp(2.0)));
  EXPECT_EQ(small.network.outputs()[0], 1 / (1 + std::exp(-2.0))) << "of the other output, too";
  small.network.setToHidden({0, 0, 0, 0, 0, 0, 1, 2, 3});
  small.network.getOutputValue(0);
  EXPECT_THAT(small.network.hidden(),
              ElementsAre(1 / (1 + std::exp(-1.0)), 1 / (1 + std::exp(-2.0)),
                          1 / (1 + std::exp(-3.0)), 1.0));
}

TEST(NeuralNetwork, BothBiasUnitsKeepTheirValues) {
  SmallNetwork small;
  small.network.setBias(-0.25, 3.5);
  small.network.setState();
  small.network.getOutputValue(0);
  EXPECT_EQ(small.network.inputValues[2], -0.25);
  EXPECT_EQ(small.network.hiddenValues[3], 3.5);
}

TEST(NeuralNetwork, TheBiasUnitsWorkLikeOtherUnits) {
  SmallNetwork small;
  small.network.initWeights(zero);
  small.network.setToHidden({0, 0, 0, 0, 0, 0, 4, 0, 0});  // from the input bias
  small.network.setToOutput({0, 0, 0, 2});                 // from the hidden bias
  small.network.setBias(-0.25, 0.5);
  EXPECT_EQ(small.network.getOutputValue(0), 1 / (1 + std::exp(-1.0)));
  EXPECT_EQ(small.network.hiddenValues[0], 1 / (1 + std::exp(1.0)));
}

TEST(NeuralNetwork, OutputsReachTheEndsOfTheirRangeOnlyByRounding) {
  RealState state(0);
  Network network(&state, 0, 1);
  const auto output = [&](double weight) {
    network.setToOutput({weight});
    return network.getOutputValue(0);
  };
  EXPECT_GT(output(-709.0), 0.0);
  EXPECT_EQ(output(-750.0), 0.0);
  EXPECT_EQ(output(-INFINITE), 0.0);
  EXPECT_LT(output(36.0), 1.0);
  EXPECT_EQ(output(38.0), 1.0);
  EXPECT_EQ(output(INFINITE), 1.0);
  EXPECT_TRUE(std::isnan(output(NOT_A_NUMBER)));
}

TEST(NeuralNetwork, AnOutputIndexOutOfBoundsIsReportedAndTheOutputIsZero) {
  Reports reports;
  for (const int outputs : {1, 2, 3}) {
    SmallNetwork small(outputs);
    for (const int index : {INT_SMALLEST, -1, outputs, outputs + 1, INT_LARGEST}) {
      EXPECT_EQ(small.network.getOutputValue(index), 0.0);
      EXPECT_EQ(errors(reports),
                reportsOf("getOutputValue",
                          {"outputIndex out of Bounds --> 0 <= " + std::to_string(index) + " < " +
                           std::to_string(outputs)}));
    }
    for (int index = 0; index < outputs; ++index) {
      EXPECT_GT(small.network.getOutputValue(index), 0.5);
    }
    EXPECT_THAT(errors(reports), IsEmpty());
  }
}

TEST(NeuralNetwork, AnOutputIndexOutOfBoundsComputesNothing) {
  Reports reports;
  SmallNetwork small;
  small.network.outputValues[0] = 7.0;
  small.network.hiddenValues[0] = 8.0;
  small.network.getOutputValue(1);
  EXPECT_EQ(reports.errors(), messages({"outputIndex out of Bounds --> 0 <= 1 < 1"}));
  EXPECT_EQ(small.network.outputValues[0], 7.0);
  EXPECT_EQ(small.network.hiddenValues[0], 8.0);
}

// The inputs.

TEST(NeuralNetwork, AnInputIsTheVariableTimesItsFactor) {
  SmallNetwork small;
  small.network.setScaleFactor(0, 0.1);
  small.network.setScaleFactor(1, -3.0);
  small.network.setBias(0.75, 1.0);
  small.state.set({0.7, 0.3});
  small.network.setState();
  EXPECT_THAT(small.network.inputs(), ElementsAre(0.7 * 0.1, 0.3 * -3.0, 0.75));
}

TEST(NeuralNetwork, TheFactorsAreOneAtFirst) {
  SmallNetwork small;
  EXPECT_THAT(small.network.factors(), ElementsAre(1.0, 1.0));
  small.state.set({0.7, 0.3});
  small.network.setState();
  EXPECT_THAT(small.network.inputs(), ElementsAre(0.7, 0.3, 1.0));
}

TEST(NeuralNetwork, AValueOutsideItsRangeIsTakenAsItIs) {
  SmallNetwork small;
  small.state.set({-17.0, 1e300});
  small.network.setState();
  EXPECT_THAT(small.network.inputs(), ElementsAre(-17.0, 1e300, 1.0));
}

TEST(NeuralNetwork, SetStateComputesNoOutput) {
  SmallNetwork small;
  small.network.getOutputValue(0);
  const Numbers hidden = small.network.hidden();
  const Numbers outputs = small.network.outputs();
  small.state.set({0.7, 0.3});
  small.network.setState();
  EXPECT_EQ(small.network.hidden(), hidden);
  EXPECT_EQ(small.network.outputs(), outputs);
}

TEST(NeuralNetwork, EveryVariableOfAnIntegerStateIsReportedAndCountsAsZero) {
  Reports reports;
  IntegerState state;
  Network network(&state, 1, 1);
  network.setInputs({5.0, 6.0});
  network.setState();
  EXPECT_EQ(errors(reports), messages({"State::getValueDbl: Not a Double-State!",
                                       "State::getValueDbl: Not a Double-State!"}));
  EXPECT_THAT(network.inputs(), ElementsAre(0.0, 0.0, 1.0));
}

TEST(NeuralNetwork, VariablesThatTheStateDoesNotHaveAreReportedAndCountAsZero) {
  Reports reports;
  RealState large(3);
  RealState state(1);
  Network network(&large, 1, 1);
  network.setInputs({5.0, 6.0, 7.0});
  network.setStatePtr(&state);
  state.set({0.25});
  network.setState();
  EXPECT_EQ(errors(reports), messages({"State::getValueDbl: VarId out of bounds --> 0 <= 1 < 1",
                                       "State::getValueDbl: VarId out of bounds --> 0 <= 2 < 1"}));
  EXPECT_THAT(network.inputs(), ElementsAre(0.25, 0.0, 0.0, 1.0));
}

TEST(NeuralNetwork, VariablesRegisteredAfterTheNetworkWasBuiltDoNotCount) {
  Reports reports;
  SmallNetwork small;
  small.state.registerVariable("late", 0.0, 1.0);
  small.state.set({0.7, 0.3, 0.9});
  small.network.setState();
  EXPECT_THAT(small.network.inputs(), ElementsAre(0.7, 0.3, 1.0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

// The first weights.

TEST(NeuralNetwork, InitWeightsCallsTheInitialiserOncePerWeightInputLayerFirst) {
  SmallNetwork small;
  small.network.initWeights(nextNumber);
  EXPECT_EQ(Networks::initialised, 13);
  EXPECT_THAT(small.network.toHidden(),
              ElementsAre(0.5, -1.0, 1.5, -2.0, 2.5, -3.0, 3.5, -4.0, 4.5));
  EXPECT_THAT(small.network.toOutput(), ElementsAre(-5.0, 5.5, -6.0, 6.5));
}

TEST(NeuralNetwork, RandomWeightsTakeOneDrawEach) {
  SmallNetwork small;
  EXPECT_EQ(countDraws([&] { small.network.initWeights(ValueFunction::getRandomInitializer()); }),
            13);
}

TEST(NeuralNetwork, InitWeightsLeavesTracesAndUnitsAlone) {
  SmallNetwork small;
  small.network.initEligibilityTraces();
  small.network.hiddenOutputTraces[1] = 0.25;
  small.network.inputHiddenOutputTraces[1] = 0.75;
  small.network.setBias(2.0, 3.0);
  small.network.setScaleFactor(1, 4.0);
  small.network.initWeights(nextNumber);
  EXPECT_EQ(small.network.hiddenOutputTraces[1], 0.25);
  EXPECT_EQ(small.network.inputHiddenOutputTraces[1], 0.75);
  EXPECT_EQ(small.network.inputValues[2], 2.0);
  EXPECT_EQ(small.network.hiddenValues[3], 3.0);
  EXPECT_EQ(small.network.scaleFactor[1], 4.0);
}

TEST(NeuralNetwork, InitWeightsWithoutWeightsToTheHiddenLayerReportsThatAndReturns) {
  Reports reports;
  SmallNetwork small;
  small.network.lose(small.network.inputHiddenWeights);
  small.network.initWeights(nextNumber);
  EXPECT_EQ(errors(reports), reportsOf("initWeights", {NO_TO_HIDDEN}));
  EXPECT_EQ(Networks::initialised, 0);
  EXPECT_THAT(small.network.toOutput(), Each(1.0));

  small.network.lose(small.network.hiddenOutputWeights);
  small.network.initWeights(nextNumber);
  EXPECT_EQ(errors(reports), reportsOf("initWeights", {NO_TO_HIDDEN})) << "the first one only";
}

TEST(NeuralNetwork, InitWeightsWithoutWeightsToTheOutputReportsThatAndReturns) {
  Reports reports;
  SmallNetwork small;
  small.network.lose(small.network.hiddenOutputWeights);
  small.network.initWeights(nextNumber);
  EXPECT_EQ(errors(reports), reportsOf("initWeights", {NO_TO_OUTPUT}));
  EXPECT_EQ(Networks::initialised, 0);
  EXPECT_THAT(small.network.toHidden(), Each(1.0));
}

TEST(NeuralNetwork, InitWeightsWithoutAnInitialiserChangesNothing) {
  Reports reports;
  SmallNetwork small;
  small.network.initWeights(nullptr);
  EXPECT_THAT(small.network.toHidden(), Each(1.0));
  EXPECT_THAT(small.network.toOutput(), Each(1.0));
  const std::vector<std::string> list = errors(reports);
  EXPECT_FALSE(list.empty());
  EXPECT_THAT(list, Each("NeuralNetwork::initWeights: initFunctionPtr == 0"));
}

// Traces.

TEST(NeuralNetwork, InitEligibilityTracesMakesTracesOfZero) {
  SmallNetwork small(2);
  small.network.initEligibilityTraces();
  EXPECT_EQ(small.network.tracesToHidden(), Numbers(18, 0.0));
  EXPECT_EQ(small.network.tracesToOutput(), Numbers(8, 0.0));
}

TEST(NeuralNetwork, InitEligibilityTracesKeepsTheArraysThatAreThere) {
  SmallNetwork small;
  small.network.initEligibilityTraces();
  const double* const toHidden = small.network.inputHiddenOutputTraces;
  const double* const toOutput = small.network.hiddenOutputTraces;
  std::fill_n(small.network.inputHiddenOutputTraces, 9, 2.0);
  std::fill_n(small.network.hiddenOutputTraces, 4, 2.0);
  small.network.initEligibilityTraces();
  EXPECT_EQ(small.network.inputHiddenOutputTraces, toHidden);
  EXPECT_EQ(small.network.hiddenOutputTraces, toOutput);
  EXPECT_EQ(small.network.tracesToHidden(), Numbers(9, 0.0));
  EXPECT_EQ(small.network.tracesToOutput(), Numbers(4, 0.0));
}

TEST(NeuralNetwork, InitEligibilityTracesMakesTheOneArrayThatIsMissing) {
  SmallNetwork small;
  small.network.initEligibilityTraces();
  small.network.hiddenOutputTraces[0] = 2.0;
  small.network.lose(small.network.inputHiddenOutputTraces);
  small.network.initEligibilityTraces();
  EXPECT_EQ(small.network.tracesToHidden(), Numbers(9, 0.0));
  EXPECT_EQ(small.network.tracesToOutput(), Numbers(4, 0.0));
}

TEST_P(NetworksOfManySizes, TracesDecayAndGrowAsInAPlainComputation) {
  Twins twins(GetParam());
  twins.network.initEligibilityTraces();
  twins.plain.clearTraces();
  for (unsigned int seed = 30; seed < 40; ++seed) {
    twins.step(seed);
    twins.network.updateEligibilityTraces(0.9, 0.7);
    twins.plain.decay(0.7);
    expectSame(twins.network, twins.plain);
  }
}

TEST(NeuralNetwork, TracesWorkedOutByHand) {
  RealState state(1);
  Network network(&state, 1, 1);
  network.setToHidden({3.0, -6.0});
  network.setToOutput({4.0, -2.0});
  network.initEligibilityTraces();
  network.hiddenOutputTraces[0] = 8.0;
  network.hiddenOutputTraces[1] = -8.0;
  network.inputHiddenOutputTraces[0] = 1.0;
  network.inputHiddenOutputTraces[1] = 2.0;
  state.set({2.0});
  network.setState();
  ASSERT_EQ(network.getOutputValue(0), 0.5);  // 4 * 0.5 - 2 * 1 = 0
  network.updateEligibilityTraces(1.0, 0.5);
  EXPECT_EQ(network.tmp[0], 0.25);
  // 0.5 * 8 + 0.5 * 0.25, and of the bias unit 0.5 * -8 + 1 * 0.25
  EXPECT_THAT(network.tracesToOutput(), ElementsAre(4.125, -3.75));
  // 0.5 * 1 + 4 * 0.25 * 0.5 * 0.5 * 2, and of the bias unit 0.5 * 2 + 4 * 0.25 * 0.5 * 0.5 * 1
  EXPECT_THAT(network.tracesToHidden(), ElementsAre(1.0, 1.25));
}

TEST(NeuralNetwork, TracesDecayByLambdaAlone) {
  for (const double GAMMA : {0.0, 0.5, 1.0, -3.0, LARGEST, INFINITE, NOT_A_NUMBER}) {
    Twins twins({2, 3, 2});
    twins.network.initEligibilityTraces();
    twins.plain.clearTraces();
    for (unsigned int seed = 50; seed < 53; ++seed) {
      twins.step(seed);
      twins.network.updateEligibilityTraces(GAMMA, 0.3);
      twins.plain.decay(0.3);
    }
    expectSame(twins.network, twins.plain);
  }
}

TEST(NeuralNetwork, TracesThatDoNotLastAreThoseOfTheLastPass) {
  Twins twins({2, 3, 1});
  twins.network.initEligibilityTraces();
  twins.step(60);
  twins.network.updateEligibilityTraces(1.0, 0.0);
  twins.step(61);
  twins.network.updateEligibilityTraces(1.0, 0.0);
  twins.plain.clearTraces();
  twins.plain.decay(1.0);
  expectSame(twins.network, twins.plain);
}

TEST(NeuralNetwork, TracesAreThoseOfTheLastForwardPassAndTheCurrentInputs) {
  Twins twins({2, 3, 1});
  twins.network.initEligibilityTraces();
  twins.plain.clearTraces();
  twins.step(70);
  twins.observe(71);  // without another forward pass
  twins.network.updateEligibilityTraces(1.0, 0.5);
  twins.plain.decay(0.5);
  expectSame(twins.network, twins.plain);
}

TEST(NeuralNetwork, UpdatingTheTracesChangesNothingElse) {
  Twins twins({2, 3, 2});
  twins.network.initEligibilityTraces();
  twins.step(80);
  twins.network.updateEligibilityTraces(1.0, 0.5);
  EXPECT_EQ(twins.network.inputs(), twins.plain.inputValues);
  EXPECT_EQ(twins.network.hidden(), twins.plain.hiddenValues);
  EXPECT_EQ(twins.network.outputs(), twins.plain.outputValues);
  EXPECT_EQ(twins.network.toHidden(), twins.plain.inputHidden);
  EXPECT_EQ(twins.network.toOutput(), twins.plain.hiddenOutput);
}

TEST(NeuralNetwork, UpdatingTracesThatAreMissingIsReported) {
  Reports reports;
  SmallNetwork small;
  small.network.getOutputValue(0);
  small.network.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports),
            reportsOf("updateEligibilityTraces", {NO_TRACES_TO_OUTPUT, NO_TRACES_TO_HIDDEN}));
  EXPECT_EQ(small.network.inputHiddenOutputTraces, nullptr);
  EXPECT_EQ(small.network.hiddenOutputTraces, nullptr);
  const double output = small.network.outputValues[0];
  EXPECT_EQ(small.network.tmp[0], (1 - output) * output);
}

TEST(NeuralNetwork, EitherKindOfTracesIsUpdatedWithoutTheOther) {
  Reports reports;
  Twins twins({2, 3, 2});
  twins.plain.clearTraces();
  twins.step(90);
  twins.plain.decay(0.5);

  twins.network.initEligibilityTraces();
  twins.network.lose(twins.network.hiddenOutputTraces);
  twins.network.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports), reportsOf("updateEligibilityTraces", {NO_TRACES_TO_OUTPUT}));
  EXPECT_EQ(twins.network.tracesToHidden(), twins.plain.inputHiddenTraces);

  twins.network.initEligibilityTraces();
  twins.network.lose(twins.network.inputHiddenOutputTraces);
  twins.network.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports), reportsOf("updateEligibilityTraces", {NO_TRACES_TO_HIDDEN}));
  EXPECT_EQ(twins.network.tracesToOutput(), twins.plain.hiddenOutputTraces);
}

TEST(NeuralNetwork, UpdatingTracesWithoutOutputsIsReportedFirst) {
  Reports reports;
  SmallNetwork small;
  small.network.lose(small.network.outputValues);
  small.network.updateEligibilityTraces(0.9, 0.5);
  EXPECT_EQ(errors(reports), reportsOf("updateEligibilityTraces",
                                       {NO_OUTPUTS, NO_TRACES_TO_OUTPUT, NO_TRACES_TO_HIDDEN}));
}

TEST(NeuralNetwork, WhatTheTablesDoWithTracesAndHistoriesDoesNothingHere) {
  Reports reports;
  SmallNetwork small;
  small.network.accumulatingTraces(1.0);
  small.network.replacingTraces(1.0);
  EXPECT_EQ(small.network.hiddenOutputTraces, nullptr) << "no traces are made";
  small.network.initEligibilityTraces();
  const MemoryFile before;
  ASSERT_EQ(small.network.save(before), 0);
  small.network.accumulatingTraces(1.0);
  small.network.replacingTraces(1.0);
  small.network.storeState();
  small.network.initEpisodeStateHistory();
  EXPECT_EQ(small.network.tracesToHidden(), Numbers(9, 0.0));
  EXPECT_EQ(small.network.tracesToOutput(), Numbers(4, 0.0));
  const MemoryFile after;
  ASSERT_EQ(small.network.save(after), 0);
  EXPECT_EQ(after.content(), before.content());
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(NeuralNetwork, ValueEpisodeIsReportedAndChangesNothing) {
  Reports reports;
  SmallNetwork small;
  small.network.storeState();
  small.network.valueEpisode(3.0);
  EXPECT_EQ(errors(reports), reportsOf("valueEpisode", {NOT_IMPLEMENTED}));
  EXPECT_THAT(small.network.toHidden(), Each(1.0));
  EXPECT_THAT(small.network.toOutput(), Each(1.0));
}

// Learning.

TEST_P(NetworksOfManySizes, LearningWithoutTracesIsThatOfAPlainComputation) {
  Twins twins(GetParam());
  for (unsigned int seed = 100; seed < 110; ++seed) {
    twins.step(seed);
    const double DELTA = seed % 2 == 0 ? 1.7 : -2.3;
    twins.network.updateWeights(0.3, DELTA, -LARGEST, LARGEST);
    twins.plain.update(0.3, DELTA);
    expectSame(twins.network, twins.plain);
  }
}

TEST_P(NetworksOfManySizes, LearningWithTracesIsThatOfAPlainComputation) {
  Twins twins(GetParam());
  twins.network.initEligibilityTraces();
  twins.plain.clearTraces();
  for (unsigned int seed = 110; seed < 120; ++seed) {
    twins.step(seed);
    twins.network.updateEligibilityTraces(0.9, 0.7);
    twins.plain.decay(0.7);
    const double DELTA = seed % 2 == 0 ? 1.7 : -2.3;
    twins.network.updateWeights(0.3, DELTA, -LARGEST, LARGEST);
    twins.plain.update(0.3, DELTA);
    expectSame(twins.network, twins.plain);
  }
}

TEST_P(NetworksOfManySizes, TheBiasUnitsLearnLikeOtherUnits) {
  for (const bool traces : {false, true}) {
    Twins twins(GetParam());
    twins.network.setBias(-0.3, 1.7);
    twins.plain.inputValues.back() = -0.3;
    twins.plain.hiddenValues.back() = 1.7;
    if (traces) {
      twins.network.initEligibilityTraces();
      twins.plain.clearTraces();
    }
    for (unsigned int seed = 120; seed < 125; ++seed) {
      twins.step(seed);
      if (traces) {
        twins.network.updateEligibilityTraces(0.9, 0.7);
        twins.plain.decay(0.7);
      }
      twins.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
      twins.plain.update(0.3, 1.7);
      expectSame(twins.network, twins.plain);
    }
  }
}

TEST(NeuralNetwork, AStepWithoutTracesWorkedOutByHand) {
  RealState state(1);
  Network network(&state, 1, 1);
  network.setToHidden({3.0, -6.0});
  network.setToOutput({4.0, -2.0});
  state.set({2.0});
  network.setState();
  ASSERT_EQ(network.getOutputValue(0), 0.5);
  network.updateWeights(0.5, 16.0, -LARGEST, LARGEST);
  EXPECT_EQ(network.tmp[0], 4.0);  // 16 * 0.5 * 0.5
  // 4 + 0.5 * 4 * 0.5, and of the bias unit -2 + 0.5 * 4 * 1
  EXPECT_THAT(network.toOutput(), ElementsAre(5.0, 0.0));
  // With the new weight 5: 3 + 0.5 * 2 * (5 * 4 * 0.5 * 0.5), -6 + 0.5 * 1 * (5 * 4 * 0.5 * 0.5)
  EXPECT_THAT(network.toHidden(), ElementsAre(8.0, -3.5));
}

TEST(NeuralNetwork, AStepWithTracesWorkedOutByHand) {
  RealState state(1);
  Network network(&state, 1, 2);
  network.setToHidden({3.0, -6.0});
  network.setToOutput({4.0, -2.0, 1.0, 0.0});
  network.initEligibilityTraces();
  std::copy_n(Numbers({1.0, 2.0, 3.0, 4.0}).begin(), 4, network.hiddenOutputTraces);
  std::copy_n(Numbers({1.0, 10.0, 100.0, 1000.0}).begin(), 4, network.inputHiddenOutputTraces);
  network.getOutputValue(0);
  network.updateWeights(0.5, 4.0, -LARGEST, LARGEST);
  // Each gains 0.5 * 4 times its trace.
  EXPECT_THAT(network.toOutput(), ElementsAre(6.0, 2.0, 7.0, 8.0));
  // Each gains 0.5 times the sum of 4 times its traces: 0.5 * 44 and 0.5 * 4400.
  EXPECT_THAT(network.toHidden(), ElementsAre(25.0, 2194.0));
}

TEST(NeuralNetwork, LearningUsesTheLastForwardPassAndTheCurrentInputs) {
  Twins twins({2, 3, 2});
  twins.step(130);
  twins.observe(131);  // without another forward pass
  twins.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
  twins.plain.update(0.3, 1.7);
  expectSame(twins.network, twins.plain);
}

TEST(NeuralNetwork, LearningChangesWeightsOnly) {
  Twins twins({2, 3, 2});
  twins.network.initEligibilityTraces();
  twins.plain.clearTraces();
  twins.step(140);
  twins.network.updateEligibilityTraces(0.9, 0.7);
  twins.plain.decay(0.7);
  twins.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
  EXPECT_EQ(twins.network.tracesToHidden(), twins.plain.inputHiddenTraces);
  EXPECT_EQ(twins.network.tracesToOutput(), twins.plain.hiddenOutputTraces);
  EXPECT_EQ(twins.network.inputs(), twins.plain.inputValues);
  EXPECT_EQ(twins.network.hidden(), twins.plain.hiddenValues);
  EXPECT_EQ(twins.network.outputs(), twins.plain.outputValues);
  EXPECT_THAT(twins.network.factors(), ElementsAre(1.0, 1.0));
}

TEST(NeuralNetwork, TracesOfZeroLearnNothing) {
  SmallNetwork small;
  small.network.initEligibilityTraces();
  small.network.getOutputValue(0);
  small.network.updateWeights(0.5, 2.0, -LARGEST, LARGEST);
  EXPECT_THAT(small.network.toHidden(), Each(1.0));
  EXPECT_THAT(small.network.toOutput(), Each(1.0));
}

TEST(NeuralNetwork, EachArrayOfTracesDecidesForItsOwnWeights) {
  // With traces to the output only, all of them zero, the weights to the hidden layer alone learn,
  // as they do without traces.
  Twins twins({2, 3, 2});
  twins.step(150);
  twins.network.initEligibilityTraces();
  twins.network.lose(twins.network.inputHiddenOutputTraces);
  const Numbers toOutput = twins.plain.hiddenOutput;
  twins.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
  EXPECT_EQ(twins.network.toOutput(), toOutput);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t h = 0; h < 3; ++h) {
      double sum = 0.0;
      for (std::size_t o = 0; o < 2; ++o) {
        const double output = twins.plain.outputValues[o];
        const double hidden = twins.plain.hiddenValues[h];
        sum += twins.plain.toOutput(h, o) * (1.7 * output * (1 - output)) * hidden * (1 - hidden);
      }
      twins.plain.toHidden(i, h) += 0.3 * twins.plain.inputValues[i] * sum;
    }
  }
  EXPECT_EQ(twins.network.toHidden(), twins.plain.inputHidden);

  // And the other way round.
  Twins others({2, 3, 2});
  others.step(151);
  others.network.initEligibilityTraces();
  others.network.lose(others.network.hiddenOutputTraces);
  others.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
  EXPECT_EQ(others.network.toHidden(), others.plain.inputHidden);
  others.plain.update(0.3, 1.7);
  EXPECT_EQ(others.network.toOutput(), others.plain.hiddenOutput);
}

TEST(NeuralNetwork, LearningWithoutWeightsToTheOutputIsReportedAndGoesOnWithoutThem) {
  Reports reports;
  Twins twins({2, 3, 1});
  twins.step(160);
  twins.network.initEligibilityTraces();
  twins.network.updateEligibilityTraces(1.0, 0.5);
  twins.plain.clearTraces();
  twins.plain.decay(0.5);
  twins.network.lose(twins.network.hiddenOutputWeights);
  twins.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
  twins.plain.update(0.3, 1.7);
  EXPECT_EQ(errors(reports), reportsOf("updateWeights", {NO_TO_OUTPUT}));
  EXPECT_EQ(twins.network.toHidden(), twins.plain.inputHidden) << "traces need no other weights";
}

TEST(NeuralNetwork, LearningWithoutWeightsToTheHiddenLayerIsReportedAndGoesOnWithoutThem) {
  Reports reports;
  Twins twins({2, 3, 1});
  twins.step(161);
  twins.network.lose(twins.network.inputHiddenWeights);
  twins.network.updateWeights(0.3, 1.7, -LARGEST, 0.5);
  twins.plain.update(0.3, 1.7);
  EXPECT_EQ(errors(reports), [] {
    std::vector<std::string> list = reportsOf("updateWeights", {NO_TO_HIDDEN});
    list.push_back(reportsOf("checkWeightLimit", {NO_TO_HIDDEN}).front());
    return list;
  }()) << "the fourth step follows";
  for (std::size_t k = 0; k < 4; ++k) {
    EXPECT_EQ(twins.network.hiddenOutputWeights[k], std::min(twins.plain.hiddenOutput[k], 0.5));
  }
}

// The gradient of the sum of all outputs, times DELTA, is what a small step follows. The difference
// is of the order of ALPHA, because the weights to the output change before the others learn.
TEST_P(NetworksOfManySizes, ASmallStepWithoutTracesFollowsTheGradient) {
  const double DELTA = -1.5;
  const double DISTANCE = 1e-5;
  Twins twins(GetParam());
  twins.step(170);
  const auto sumOfOutputs = [&] {
    twins.network.getOutputValue(0);
    double sum = 0.0;
    for (const double output : twins.network.outputs()) {
      sum += output;
    }
    return sum;
  };
  const auto gradient = [&](double& weight) {
    const double start = weight;
    weight = start + DISTANCE;
    const double above = sumOfOutputs();
    weight = start - DISTANCE;
    const double below = sumOfOutputs();
    weight = start;
    return (above - below) / (2 * DISTANCE);
  };
  Numbers toHidden;
  for (std::size_t k = 0; k < twins.plain.inputHidden.size(); ++k) {
    toHidden.push_back(gradient(twins.network.inputHiddenWeights[k]));
  }
  Numbers toOutput;
  for (std::size_t k = 0; k < twins.plain.hiddenOutput.size(); ++k) {
    toOutput.push_back(gradient(twins.network.hiddenOutputWeights[k]));
  }
  for (const double ALPHA : {1e-2, 1e-4, 1e-6}) {
    twins.network.setToHidden(twins.plain.inputHidden);
    twins.network.setToOutput(twins.plain.hiddenOutput);
    twins.network.getOutputValue(0);
    twins.network.updateWeights(ALPHA, DELTA, -LARGEST, LARGEST);
    for (std::size_t k = 0; k < toOutput.size(); ++k) {
      const double step = twins.network.hiddenOutputWeights[k] - twins.plain.hiddenOutput[k];
      EXPECT_NEAR(step / ALPHA, DELTA * toOutput[k], 1e-9) << "no first step changes these";
    }
    for (std::size_t k = 0; k < toHidden.size(); ++k) {
      const double step = twins.network.inputHiddenWeights[k] - twins.plain.inputHidden[k];
      EXPECT_NEAR(step / ALPHA, DELTA * toHidden[k], ALPHA + 1e-9);
    }
  }
}

// With the weights to the output as the step leaves them, and the slope of the outputs as it was
// before, even a large step follows a gradient: that of the sum of the outputs' net inputs, each
// times its slope.
TEST_P(NetworksOfManySizes, ALargeStepFollowsTheGradientBehindTheChangedWeightsToTheOutput) {
  const double ALPHA = 0.75;
  const double DELTA = 2.0;
  const double DISTANCE = 1e-5;
  Twins twins(GetParam());
  twins.step(171);
  twins.network.updateWeights(ALPHA, DELTA, -LARGEST, LARGEST);
  PlainNetwork& plain = twins.plain;
  const Numbers outputs = plain.outputValues;
  plain.hiddenOutput = twins.network.toOutput();
  const auto weightedNetInputs = [&] {
    plain.forward();
    double sum = 0.0;
    for (std::size_t o = 0; o < plain.outputs; ++o) {
      double net = 0.0;
      for (std::size_t h = 0; h < plain.hidden; ++h) {
        net += plain.toOutput(h, o) * plain.hiddenValues[h];
      }
      sum += net * outputs[o] * (1 - outputs[o]);
    }
    return sum;
  };
  for (std::size_t k = 0; k < plain.inputHidden.size(); ++k) {
    const double start = plain.inputHidden[k];
    plain.inputHidden[k] = start + DISTANCE;
    const double above = weightedNetInputs();
    plain.inputHidden[k] = start - DISTANCE;
    const double below = weightedNetInputs();
    plain.inputHidden[k] = start;
    const double step = twins.network.inputHiddenWeights[k] - start;
    EXPECT_NEAR(step / ALPHA, DELTA * (above - below) / (2 * DISTANCE), 1e-8);
  }
}

// Weight limits.

TEST(NeuralNetwork, WeightsOfBothLayersAreClampedIntoTheLimits) {
  SmallNetwork small;
  small.network.setToHidden({-9, -2, -1, -0.5, 0, 0.5, 1, 2, 9});
  small.network.setToOutput({-3, -1, 1, INFINITE});
  small.network.checkWeightLimit(-1, 1);
  EXPECT_THAT(small.network.toHidden(), ElementsAre(-1, -1, -1, -0.5, 0, 0.5, 1, 1, 1));
  EXPECT_THAT(small.network.toOutput(), ElementsAre(-1, -1, 1, 1));
}

TEST(NeuralNetwork, AWeightThatIsNotANumberBecomesTheLowerLimit) {
  SmallNetwork small;
  small.network.hiddenOutputWeights[1] = NOT_A_NUMBER;
  small.network.inputHiddenWeights[8] = NOT_A_NUMBER;
  small.network.checkWeightLimit(-0.5, 2);
  EXPECT_EQ(small.network.hiddenOutputWeights[1], -0.5);
  EXPECT_EQ(small.network.inputHiddenWeights[8], -0.5);
  EXPECT_EQ(small.network.inputHiddenWeights[7], 1.0);
}

TEST(NeuralNetwork, AWeightThatEqualsALimitTakesOnItsSign) {
  SmallNetwork small;
  for (double* const weights :
       {small.network.hiddenOutputWeights, small.network.inputHiddenWeights}) {
    weights[0] = -0.0;
    small.network.checkWeightLimit(0.0, 1.0);
    EXPECT_FALSE(std::signbit(weights[0]));
    weights[0] = 0.0;
    small.network.checkWeightLimit(-1.0, -0.0);
    EXPECT_TRUE(std::signbit(weights[0]));
  }
}

TEST(NeuralNetwork, LimitsInTheWrongOrderGiveTheUpperOneEverywhere) {
  SmallNetwork small;
  small.network.setToHidden({-9, -1, 0, 1, 9});
  small.network.checkWeightLimit(1, -1);
  EXPECT_THAT(small.network.toHidden(), Each(-1.0));
  EXPECT_THAT(small.network.toOutput(), Each(-1.0));
}

TEST(NeuralNetwork, LimitsThatAreNotNumbersReplaceEveryWeight) {
  SmallNetwork small;
  small.network.checkWeightLimit(NOT_A_NUMBER, 2);
  EXPECT_THAT(small.network.toHidden(), Each(2.0));
  EXPECT_THAT(small.network.toOutput(), Each(2.0));
  small.network.checkWeightLimit(-2, NOT_A_NUMBER);
  EXPECT_THAT(small.network.toHidden(), Each(testing::IsNan()));
  EXPECT_THAT(small.network.toOutput(), Each(testing::IsNan()));
}

TEST(NeuralNetwork, ClampingSkipsAndReportsWeightsThatAreMissing) {
  Reports reports;
  SmallNetwork withoutOutput;
  withoutOutput.network.lose(withoutOutput.network.hiddenOutputWeights);
  withoutOutput.network.checkWeightLimit(-1, 0.5);
  EXPECT_EQ(errors(reports), reportsOf("checkWeightLimit", {NO_TO_OUTPUT}));
  EXPECT_THAT(withoutOutput.network.toHidden(), Each(0.5));

  SmallNetwork withoutHidden;
  withoutHidden.network.lose(withoutHidden.network.inputHiddenWeights);
  withoutHidden.network.checkWeightLimit(-1, 0.5);
  EXPECT_EQ(errors(reports), reportsOf("checkWeightLimit", {NO_TO_HIDDEN}));
  EXPECT_THAT(withoutHidden.network.toOutput(), Each(0.5));

  withoutHidden.network.freeMemory();
  withoutHidden.network.checkWeightLimit(-1, 0.5);
  EXPECT_EQ(errors(reports), reportsOf("checkWeightLimit", {NO_TO_OUTPUT, NO_TO_HIDDEN}));
}

namespace {

// Notes the limits that it is to check.
class Limited : public Layers {
 public:
  using Layers::Layers;

  void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) override {
    limits.push_back({MIN_WEIGHT, MAX_WEIGHT});
    toOutputAtThatTime = hiddenOutputWeights[0];
    toHiddenAtThatTime = inputHiddenWeights[0];
  }

  std::vector<Numbers> limits;
  double toOutputAtThatTime = 0.0;
  double toHiddenAtThatTime = 0.0;
};

}  // namespace

TEST(NeuralNetwork, LearningChecksTheLimitsWhereEitherIsSet) {
  RealState state(1);
  Networks::OpenNetwork<Limited> network(&state, 1, 1);
  network.initWeights(one);
  network.getOutputValue(0);
  const auto checks = [&](double min, double max) {
    network.limits.clear();
    network.updateWeights(0.1, 1.0, min, max);
    EXPECT_LE(network.limits.size(), 1U);
    const bool checked = !network.limits.empty();
    if (checked) {
      EXPECT_THAT(network.limits.front(), ElementsAre(testing::NanSensitiveDoubleEq(min),
                                                      testing::NanSensitiveDoubleEq(max)));
    }
    return checked;
  };
  EXPECT_FALSE(checks(-LARGEST, LARGEST));
  EXPECT_TRUE(checks(std::nextafter(-LARGEST, 0.0), LARGEST));
  EXPECT_TRUE(checks(-LARGEST, std::nextafter(LARGEST, 0.0)));
  EXPECT_TRUE(checks(-1.0, 1.0));
  EXPECT_TRUE(checks(1.0, -1.0));
  EXPECT_FALSE(checks(-INFINITE, INFINITE));
  EXPECT_FALSE(checks(NOT_A_NUMBER, NOT_A_NUMBER));
  EXPECT_TRUE(checks(NOT_A_NUMBER, 1.0));
  EXPECT_TRUE(checks(-1.0, NOT_A_NUMBER));
}

TEST(NeuralNetwork, LearningChecksTheLimitsAfterAllWeightsHaveLearnt) {
  RealState state(1);
  Networks::OpenNetwork<Limited> network(&state, 1, 1);
  network.initWeights(one);
  network.setState();
  network.setInputs({1.0});
  network.getOutputValue(0);
  network.updateWeights(0.5, 1.0, -0.25, 0.25);
  EXPECT_GT(network.toOutputAtThatTime, 1.0);
  EXPECT_GT(network.toHiddenAtThatTime, 1.0);
  EXPECT_EQ(network.hiddenOutputWeights[0], network.toOutputAtThatTime) << "by the slot alone";
}

TEST(NeuralNetwork, LearningWithinLimitsEndsInsideThem) {
  Twins twins({2, 3, 2});
  for (unsigned int seed = 180; seed < 190; ++seed) {
    twins.step(seed);
    twins.network.updateWeights(5.0, seed % 2 == 0 ? 90.0 : -70.0, -1.0, 1.0);
    EXPECT_GE(twins.network.getMinWeight(), -1.0);
    EXPECT_LE(twins.network.getMaxWeight(), 1.0);
  }
  twins.network.updateWeights(5.0, 90.0, -LARGEST, LARGEST);
  EXPECT_GT(twins.network.getMaxWeight(), 1.0);
}

// Statistics.

TEST(NeuralNetwork, TellsTheSmallestAndTheLargestWeightOfBothLayers) {
  SmallNetwork small;
  EXPECT_EQ(small.network.getMinWeight(), 1.0);
  EXPECT_EQ(small.network.getMaxWeight(), 1.0);
  for (double* const weight :
       {&small.network.inputHiddenWeights[0], &small.network.inputHiddenWeights[8],
        &small.network.hiddenOutputWeights[0], &small.network.hiddenOutputWeights[3]}) {
    *weight = -2.5;
    EXPECT_EQ(small.network.getMinWeight(), -2.5);
    EXPECT_EQ(small.network.getMaxWeight(), 1.0);
    *weight = 2.5;
    EXPECT_EQ(small.network.getMinWeight(), 1.0);
    EXPECT_EQ(small.network.getMaxWeight(), 2.5);
    *weight = 1.0;
  }
}

TEST(NeuralNetwork, WeightsThatAreNotNumbersAreNeitherSmallestNorLargest) {
  SmallNetwork small;
  small.network.hiddenOutputWeights[0] = NOT_A_NUMBER;
  small.network.inputHiddenWeights[8] = NOT_A_NUMBER;
  EXPECT_EQ(small.network.getMinWeight(), 1.0);
  EXPECT_EQ(small.network.getMaxWeight(), 1.0);
}

TEST(NeuralNetwork, WeightsBeyondTheLargestNumberCountOnTheirOwnSideOnly) {
  SmallNetwork small;
  small.network.initWeights([]() -> const double { return INFINITE; });
  EXPECT_EQ(small.network.getMinWeight(), LARGEST);
  EXPECT_EQ(small.network.getMaxWeight(), INFINITE);
  small.network.initWeights([]() -> const double { return -INFINITE; });
  EXPECT_EQ(small.network.getMinWeight(), -INFINITE);
  EXPECT_EQ(small.network.getMaxWeight(), -LARGEST);
}

TEST(NeuralNetwork, TheMeanIsDividedByTheProductOfBothCounts) {
  SmallNetwork small;
  EXPECT_EQ(small.network.getAvgWeight(false), 13.0 / 36);
  EXPECT_EQ(small.network.getAvgWeight(true), 13.0 / 36);
  RealState state(3);
  Network network(&state, 4, 2);
  network.initWeights(one);
  EXPECT_EQ(network.getAvgWeight(false), 26.0 / 160) << "16 and 10 weights";
}

TEST(NeuralNetwork, TheMeanOfAbsoluteValuesIgnoresSigns) {
  SmallNetwork small;
  small.network.setToHidden({-1, -1, -1});
  small.network.setToOutput({-1});
  EXPECT_EQ(small.network.getAvgWeight(false), 5.0 / 36);
  EXPECT_EQ(small.network.getAvgWeight(true), 13.0 / 36);
}

TEST(NeuralNetwork, TheMeanIsSummedFromTheWeightsToTheOutputOn) {
  SmallNetwork small;
  small.network.initWeights(zero);
  small.network.hiddenOutputWeights[0] = 1e16;
  small.network.hiddenOutputWeights[3] = -1e16;
  small.network.inputHiddenWeights[0] = 1.0;
  EXPECT_EQ(small.network.getAvgWeight(false), 1.0 / 36);
  std::swap(small.network.hiddenOutputWeights[3], small.network.inputHiddenWeights[0]);
  EXPECT_EQ(small.network.getAvgWeight(false), 0.0) << "1 is lost beside 1e16";
}

TEST(NeuralNetwork, TheProductOfTheCountsMayExceedAnInt) {
  RealState state(1);
  Network network(&state, 50000, 1);
  network.initWeights(one);
  ASSERT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 100000);
  ASSERT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 50001);
  EXPECT_EQ(network.getAvgWeight(false), 150001.0 / 5000100000.0);
}

TEST(NeuralNetwork, StatisticsReportAndSkipWeightsThatAreMissing) {
  Reports reports;
  const auto expectStatistics = [&](const Network& network, double extreme, double sum,
                                    const std::vector<std::string>& missing) {
    EXPECT_EQ(network.getMinWeight(), extreme);
    EXPECT_EQ(errors(reports), reportsOf("getMinWeight", missing));
    EXPECT_EQ(network.getMaxWeight(), extreme);
    EXPECT_EQ(errors(reports), reportsOf("getMaxWeight", missing));
    for (const bool abs : {false, true}) {
      EXPECT_EQ(network.getAvgWeight(abs), sum / 36);
      EXPECT_EQ(errors(reports), reportsOf("getAvgWeight", missing));
    }
  };
  SmallNetwork withoutOutput;
  withoutOutput.network.lose(withoutOutput.network.hiddenOutputWeights);
  expectStatistics(withoutOutput.network, 1.0, 9.0, {NO_TO_OUTPUT});
  SmallNetwork withoutHidden;
  withoutHidden.network.lose(withoutHidden.network.inputHiddenWeights);
  expectStatistics(withoutHidden.network, 1.0, 4.0, {NO_TO_HIDDEN});
}

TEST(NeuralNetwork, StatisticsWithoutWeightsAreNeutral) {
  Reports reports;
  SmallNetwork released;
  released.network.freeMemory();
  RealState state(2);
  const Network notCreated(&state, 3);
  const Network empty;
  for (const Network* const network :
       std::vector<const Network*>{&released.network, &notCreated, &empty}) {
    EXPECT_EQ(network->getMinWeight(), LARGEST);
    EXPECT_EQ(errors(reports), reportsOf("getMinWeight", {NO_TO_OUTPUT, NO_TO_HIDDEN}));
    EXPECT_EQ(network->getMaxWeight(), -LARGEST);
    EXPECT_EQ(errors(reports), reportsOf("getMaxWeight", {NO_TO_OUTPUT, NO_TO_HIDDEN}));
    EXPECT_EQ(network->getAvgWeight(false), 0.0);
    EXPECT_EQ(errors(reports), reportsOf("getAvgWeight", {NO_TO_OUTPUT, NO_TO_HIDDEN}));
  }
}

// Scale factors and biases.

TEST(NeuralNetwork, SetScaleFactorStoresTheFactorOfAVariable) {
  SmallNetwork small;
  small.network.setScaleFactor(1, 0.25);
  EXPECT_THAT(small.network.factors(), ElementsAre(1.0, 0.25));
  small.network.setScaleFactor(0, -4.0);
  EXPECT_THAT(small.network.factors(), ElementsAre(-4.0, 0.25));
}

TEST(NeuralNetwork, AFactorOfNoVariableIsReportedAndNotStored) {
  Reports reports;
  SmallNetwork small;
  for (const int index : {INT_SMALLEST, -1, 2, 3, INT_LARGEST}) {
    small.network.setScaleFactor(index, 7.0);
    EXPECT_EQ(errors(reports), noVariableReport(index, 2));
    EXPECT_THAT(small.network.factors(), ElementsAre(1.0, 1.0));
    EXPECT_EQ(small.network.inputValues[2], 1.0);
  }
  RealState none(0);
  Network network(&none, 1, 1);
  network.setScaleFactor(0, 7.0);
  EXPECT_EQ(errors(reports), noVariableReport(0, 0));
}

TEST(NeuralNetwork, AFactorBeforeCreateIsReportedAndForgotten) {
  Reports reports;
  RealState state(2);
  Network network(&state, 3);
  network.setScaleFactor(0, 7.0);
  EXPECT_EQ(errors(reports), reportsOf("setScaleFactor", {NO_FACTORS_YET}));
  network.create();
  EXPECT_THAT(network.factors(), ElementsAre(1.0, 1.0));
}

TEST(NeuralNetwork, SetBiasStoresTheValuesOfBothBiasUnits) {
  SmallNetwork small;
  EXPECT_EQ(small.network.inputValues[2], 1.0);
  EXPECT_EQ(small.network.hiddenValues[3], 1.0);
  small.network.setInputs({5.0, 6.0});
  small.network.setBias(0.1, -0.3);
  EXPECT_THAT(small.network.inputs(), ElementsAre(5.0, 6.0, 0.1));
  EXPECT_EQ(small.network.hiddenValues[3], -0.3);
}

TEST(NeuralNetwork, BiasesBeforeCreateAreReportedAndForgotten) {
  Reports reports;
  RealState state(2);
  Network network(&state, 3);
  network.setBias(0.1, -0.3);
  EXPECT_EQ(errors(reports), reportsOf("setBias", {NO_INPUTS_YET, NO_HIDDEN_YET}));
  network.create();
  EXPECT_EQ(network.inputValues[2], 1.0);
  EXPECT_EQ(network.hiddenValues[3], 1.0);
}

TEST(NeuralNetwork, ABiasIsStoredAlthoughTheOtherUnitIsMissing) {
  Reports reports;
  SmallNetwork withoutInputs;
  withoutInputs.network.lose(withoutInputs.network.inputValues);
  withoutInputs.network.setBias(0.1, -0.3);
  EXPECT_EQ(errors(reports), reportsOf("setBias", {NO_INPUTS_YET}));
  EXPECT_EQ(withoutInputs.network.hiddenValues[3], -0.3);

  SmallNetwork withoutHidden;
  withoutHidden.network.lose(withoutHidden.network.hiddenValues);
  withoutHidden.network.setBias(0.1, -0.3);
  EXPECT_EQ(errors(reports), reportsOf("setBias", {NO_HIDDEN_YET}));
  EXPECT_EQ(withoutHidden.network.inputValues[2], 0.1);
}

// Arrays that are missing.

TEST(NeuralNetwork, AnyArraysMayBeMissingInAnyOperation) {
  for (int missing = 0; missing < 1 << ARRAYS; ++missing) {
    Reports reports;
    SmallNetwork small(2);
    small.network.initEligibilityTraces();
    for (int i = 0; i < ARRAYS; ++i) {
      if ((missing >> i & 1) != 0) {
        small.network.lose(arrayOf(small.network, i));
      }
    }
    callEverything(small.network);
    reports.takeErrors();
  }
}

TEST(NeuralNetwork, OperationsBeforeCreateReportWhatIsMissing) {
  Reports reports;
  RealState state(2);
  Network network(&state, 3);
  const auto expectReports = [&](const char* function, const std::vector<std::string>& list) {
    EXPECT_EQ(errors(reports), reportsOf(function, list));
    EXPECT_FALSE(network.hasArrays());
  };
  network.setState();
  expectReports("setState", {NO_INPUTS});
  EXPECT_EQ(network.getOutputValue(0), 0.0);
  expectReports("getOutputValue", {NO_TO_HIDDEN});
  network.initWeights(one);
  expectReports("initWeights", {NO_TO_HIDDEN});
  network.updateEligibilityTraces(0.9, 0.5);
  expectReports("updateEligibilityTraces", {NO_OUTPUTS, NO_TRACES_TO_OUTPUT, NO_TRACES_TO_HIDDEN});
  network.updateWeights(0.1, 1.0, -LARGEST, LARGEST);
  expectReports("updateWeights", {NO_TO_OUTPUT, NO_TO_HIDDEN});
  network.checkWeightLimit(-1.0, 1.0);
  expectReports("checkWeightLimit", {NO_TO_OUTPUT, NO_TO_HIDDEN});
}

TEST(NeuralNetwork, TracesBeforeCreateDoNotOutliveIt) {
  Reports reports;
  Twins twins({2, 3, 1});
  Network network(&twins.state, 3);
  network.initEligibilityTraces();
  network.updateEligibilityTraces(0.9, 0.5);
  reports.takeErrors();
  network.create();
  network.setToHidden(twins.plain.inputHidden);
  network.setToOutput(twins.plain.hiddenOutput);
  network.initEligibilityTraces();
  twins.plain.clearTraces();
  twins.step(200);
  network.setState();
  network.getOutputValue(0);
  network.updateEligibilityTraces(0.9, 0.5);
  twins.plain.decay(0.5);
  expectSame(network, twins.plain);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(NeuralNetwork, ANetworkWithoutAStateHasNoInputs) {
  Reports reports;
  SmallNetwork small;
  small.network.setInputs({5.0, 6.0});
  small.network.setStatePtr(nullptr);
  small.network.setState();
  EXPECT_EQ(errors(reports), reportsOf("setState", {NO_STATE}));

  const Network unborn(nullptr, 3);
  EXPECT_EQ(unborn.INPUT_LAYER_NEURONS, 1) << "the bias unit";
}

// Sizes that a network can't have.

TEST(NeuralNetwork, OnlyBiasUnitsAreLayersToo) {
  Reports reports;
  RealState state(0);
  Network network(&state, 0, 1);
  EXPECT_TRUE(network.hasAllArraysButTraces());
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 0);
  EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 1);
  network.initWeights(one);
  network.setState();
  EXPECT_EQ(network.getOutputValue(0), 1 / (1 + std::exp(-1.0)));
  network.initEligibilityTraces();
  network.updateEligibilityTraces(0.9, 0.5);
  network.updateWeights(0.5, 1.0, -LARGEST, LARGEST);
  EXPECT_GT(network.hiddenOutputWeights[0], 1.0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// The block in a file.

TEST(NeuralNetwork, SavesItsBlock) {
  RealState state(1);
  Network network(&state, 1, 1);
  network.setToHidden({1.0, -2.0});
  network.setToOutput({0.5, -0.0});
  network.setScaleFactor(0, 2.0);
  network.setBias(0.1, -1.0 / 3);
  const MemoryFile file;
  EXPECT_EQ(network.save(file), 0);
  EXPECT_EQ(file.content(), std::string("\x02\x00\x00\x00"                  // input units
                                        "\x02\x00\x00\x00"                  // hidden units
                                        "\x01\x00\x00\x00"                  // outputs
                                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"  // 1.0
                                        "\x00\x00\x00\x00\x00\x00\x00\xC0"  // -2.0
                                        "\x00\x00\x00\x00\x00\x00\xE0\x3F"  // 0.5
                                        "\x00\x00\x00\x00\x00\x00\x00\x80"  // -0.0
                                        "\x00\x00\x00\x00\x00\x00\x00\x40"  // factor 2.0
                                        "\x9A\x99\x99\x99"   // 0.1 without 99 99 B9 3F
                                        "\x55\x55\x55\x55",  // -1/3 without 55 55 D5 BF
                                        60));
}

TEST(NeuralNetwork, ABiasOfOneIsSavedAsFourZeros) {
  SmallNetwork small;
  const MemoryFile file;
  EXPECT_EQ(small.network.save(file), 0);
  const std::string text = file.content();
  ASSERT_EQ(text.size(), 12U + 13 * 8 + 2 * 8 + 8);
  EXPECT_EQ(text.substr(text.size() - 8), std::string(8, '\0'));
}

TEST(NeuralNetwork, SavesWeightsInTheOrderOfIndicesWithAllOutputs) {
  SmallNetwork small(2);
  small.network.initWeights(nextNumber);
  small.network.setScaleFactor(1, 3.0);
  const MemoryFile file;
  EXPECT_EQ(small.network.save(file), 0);
  EXPECT_EQ(file.content(), block(3, 4, 2, {0.5, -1.0, 1.5, -2.0, 2.5, -3.0, 3.5, -4.0, 4.5},
                                  {-5.0, 5.5, -6.0, 6.5, -7.0, 7.5, -8.0, 8.5}, {1.0, 3.0}));
}

TEST(NeuralNetwork, TracesInputsAndOutputsAreNotSaved) {
  SmallNetwork small;
  const MemoryFile before;
  ASSERT_EQ(small.network.save(before), 0);
  small.state.set({0.7, 0.3});
  small.network.setState();
  small.network.initEligibilityTraces();
  small.network.getOutputValue(0);
  small.network.updateEligibilityTraces(0.9, 0.5);
  const MemoryFile after;
  ASSERT_EQ(small.network.save(after), 0);
  EXPECT_EQ(after.content(), before.content());
}

TEST(NeuralNetwork, SavingWithoutArraysIsReportedAndFails) {
  for (const int missing : {0, 1, 3, 4, 8}) {
    Reports reports;
    SmallNetwork small;
    small.network.lose(arrayOf(small.network, missing));
    const MemoryFile file;
    EXPECT_EQ(small.network.save(file), -1);
    EXPECT_EQ(reports.errors().size(), 1U);
    small.network.freeMemory();
    EXPECT_EQ(small.network.save(file), -1);
    EXPECT_EQ(errors(reports), reportsOf("save", {NO_TO_HIDDEN}));
  }
}

TEST(NeuralNetwork, SavesAtThePositionOfTheFile) {
  RealState state(0);
  Network network(&state, 0, 1);
  network.initWeights(one);
  const MemoryFile file("before");
  std::fseek(file, 0, SEEK_END);
  EXPECT_EQ(network.save(file), 0);
  EXPECT_EQ(file.content(), "before" + block(1, 1, 1, {}, {1.0}, {}));
}

TEST(NeuralNetwork, SavingStopsAtTheFirstByteThatCanNotBeWritten) {
  SmallNetwork small(2);
  small.network.initWeights(nextNumber);
  small.network.setBias(0.1, 0.3);
  const MemoryFile file;
  ASSERT_EQ(small.network.save(file), 0);
  const std::string whole = file.content();
  ASSERT_EQ(whole.size(), 12U + 17 * 8 + 2 * 8 + 8);
  for (std::size_t limit = 0; limit < whole.size(); ++limit) {
    Reports reports;
    const FailingFile failing("", limit, "w");
    EXPECT_EQ(small.network.save(failing), -1) << limit;
    EXPECT_EQ(errors(reports), reportsOf("save", {errnoMessage(EIO, "  -->  ")})) << limit;
    EXPECT_EQ(failing.written(), whole.substr(0, limit));
  }
  const FailingFile complete("", whole.size(), "w");
  EXPECT_EQ(small.network.save(complete), 0);
  EXPECT_EQ(complete.written(), whole);
}

TEST(NeuralNetwork, AFullDiskIsReported) {
  Reports reports;
  SmallNetwork small;
  FILE* const file = std::fopen(FULL_DEVICE.c_str(), "w");
  ASSERT_NE(file, nullptr);
  std::setvbuf(file, nullptr, _IONBF, 0);
  EXPECT_EQ(small.network.save(file), -1);
  EXPECT_EQ(errors(reports), reportsOf("save", {errnoMessage(ENOSPC, "  -->  ")}));
  std::fclose(file);
}

TEST(NeuralNetwork, LoadsItsBlock) {
  Reports reports;
  RealState state(2);
  Network network;
  network.setStatePtr(&state);
  const Numbers toHidden = roughNumbers(9, 210);
  const Numbers toOutput = roughNumbers(8, 211);
  const MemoryFile file(block(3, 4, 2, toHidden, toOutput, {0.1, -7.0}));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 2);
  EXPECT_EQ(network.toHidden(), toHidden);
  EXPECT_EQ(network.toOutput(), toOutput);
  EXPECT_THAT(network.factors(), ElementsAre(0.1, -7.0));
  EXPECT_EQ(network.inputValues[2], 1.0);
  EXPECT_EQ(network.hiddenValues[3], 1.0);
  EXPECT_EQ(network.inputHiddenOutputTraces, nullptr);
  EXPECT_EQ(network.hiddenOutputTraces, nullptr);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(NeuralNetwork, LoadPutsTheStoredBytesOfABiasBeforeTheLastOnesOfOne) {
  RealState state(0);
  Network network(&state, 0, 1);
  network.setBias(-5e7, 1e-9);  // not what the halves are put together with
  const MemoryFile file(block(1, 1, 1, {}, {1.0}, {}, 0.1, 1.0 / 3));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(bytes(network.inputValues[0]), std::string("\x9A\x99\x99\x99\x00\x00\xF0\x3F", 8));
  EXPECT_EQ(network.inputValues[0], 1.0 + std::ldexp(0x9999999A, -52));
  EXPECT_EQ(bytes(network.hiddenValues[0]), std::string("\x55\x55\x55\x55\x00\x00\xF0\x3F", 8));
  EXPECT_EQ(network.hiddenValues[0], 1.0 + std::ldexp(0x55555555, -52));
}

TEST(NeuralNetwork, OnlyBiasesOfOneUpToTheirFirstFourBytesSurviveAFile) {
  SmallNetwork small;
  const MemoryFile file;
  small.network.setBias(2.0, 1.0 + std::ldexp(1.0, -52));
  ASSERT_EQ(small.network.save(file), 0);
  file.rewind();
  ASSERT_EQ(small.network.load(file), 0);
  EXPECT_EQ(small.network.inputValues[2], 1.0);
  EXPECT_EQ(small.network.hiddenValues[3], 1.0 + std::ldexp(1.0, -52));
}

TEST(NeuralNetwork, SavingAndLoadingKeepsEveryBitOfTheWeights) {
  SmallNetwork small;
  small.network.setToHidden({-0.0, NOT_A_NUMBER, -NOT_A_NUMBER, INFINITE, -INFINITE, LARGEST,
                             std::numeric_limits<double>::denorm_min(), 0.1, -1.0 / 3});
  small.network.setToOutput({NOT_A_NUMBER, -0.0, -INFINITE, 1e-300});
  small.network.setScaleFactor(0, NOT_A_NUMBER);
  const MemoryFile file;
  ASSERT_EQ(small.network.save(file), 0);
  file.rewind();
  Network copy;
  ASSERT_EQ(copy.load(file), 0);
  const MemoryFile again;
  ASSERT_EQ(copy.save(again), 0);
  EXPECT_EQ(again.content(), file.content());
  EXPECT_EQ(Tables::bits(copy.toHidden()), Tables::bits(small.network.toHidden()));
}

TEST(NeuralNetwork, LoadReadsAtThePositionOfTheFileAndNothingBehindTheBlock) {
  RealState state(0);
  Network network(&state, 3, 1);
  const std::string text = block(1, 1, 1, {}, {7.0}, {});
  const MemoryFile file("before" + text + "behind");
  std::fseek(file, 6, SEEK_SET);
  EXPECT_EQ(network.load(file), 0);
  EXPECT_THAT(network.toOutput(), ElementsAre(7.0));
  EXPECT_EQ(std::ftell(file), static_cast<long>(6 + text.size()));
}

TEST(NeuralNetwork, LoadCallsCreateOnceThroughItsSlotWithTheStoredSizes) {
  class Observed : public Layers {
   public:
    using Layers::Layers;
    void create() override {
      sizes = {INPUT_LAYER_NEURONS, HIDDEN_LAYER_NEURONS, OUTPUT_LAYER_NEURONS};
      Layers::create();
      inputValues[INPUT_LAYER_NEURONS - 1] = 4.0;
      hiddenValues[HIDDEN_LAYER_NEURONS - 1] = -4.0;
      scaleFactor[0] = 9.0;
    }
    std::vector<int> sizes;
  };
  Networks::OpenNetwork<Observed> network;
  const MemoryFile file(block(3, 2, 2, roughNumbers(3, 1), roughNumbers(4, 2), {5.0, 6.0}));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.creations, 1);
  EXPECT_THAT(network.sizes, ElementsAre(3, 2, 2));
  EXPECT_THAT(network.factors(), ElementsAre(5.0, 6.0));
  // 4.0 and -4.0 begin with four zeros, as a stored bias of 1.0 does.
  EXPECT_EQ(network.inputValues[2], 4.0);
  EXPECT_EQ(network.hiddenValues[1], -4.0);
}

TEST(NeuralNetwork, LoadReplacesANetworkOfOtherSizesAndReleasesItsTraces) {
  Reports reports;
  Twins twins({1, 2, 3});
  const MemoryFile file;
  ASSERT_EQ(twins.network.save(file), 0);
  file.rewind();

  SmallNetwork small;
  small.network.initEligibilityTraces();
  small.network.getOutputValue(0);
  ASSERT_EQ(small.network.load(file), 0);
  EXPECT_EQ(small.network.inputHiddenOutputTraces, nullptr);
  EXPECT_EQ(small.network.hiddenOutputTraces, nullptr);
  small.network.initEligibilityTraces();
  small.network.setStatePtr(&twins.state);
  twins.step(220);
  small.network.setState();
  EXPECT_EQ(small.network.getOutputValue(2), twins.plain.outputValues[2]);
  small.network.updateEligibilityTraces(0.9, 0.5);
  small.network.updateWeights(0.3, 1.7, -LARGEST, LARGEST);
  twins.plain.clearTraces();
  twins.plain.decay(0.5);
  twins.plain.update(0.3, 1.7);
  expectSame(small.network, twins.plain);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(NeuralNetwork, LoadingANetworkForAnotherNumberOfVariablesIsSafe) {
  const MemoryFile file(
      block(6, 2, 1, roughNumbers(6, 1), roughNumbers(2, 2), {1.0, 1.0, 1.0, 1.0, 0.5}));
  for (const unsigned int variables : {0U, 1U, 4U, 5U, 6U, 9U}) {
    Reports reports;
    RealState state(variables);
    state.set(roughNumbers(variables, 3));
    Network network(&state, 3, 1);
    file.rewind();
    EXPECT_EQ(network.load(file), 0);
    EXPECT_THAT(errors(reports), IsEmpty());
    network.setState();
    EXPECT_EQ(reports.errors().size(), variables < 5 ? 5 - variables : 0);
    Numbers inputs = roughNumbers(variables, 3);
    inputs.resize(5, 0.0);
    inputs[4] *= 0.5;
    inputs.push_back(1.0);
    EXPECT_EQ(network.inputs(), inputs);
    callEverything(network);
    reports.takeErrors();
  }
}

// Files that are cut, damaged or hostile.

namespace {

const std::string WHOLE =
    block(3, 3, 2, roughNumbers(6, 1), roughNumbers(6, 2), {0.5, 2.0}, 0.1, 0.3);

// The network must bear every call, and be as good as new for the next load.
void expectUsableAfterAFailedLoad(Network& network) {
  callEverything(network);
  const MemoryFile file(WHOLE);
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.toHidden(), roughNumbers(6, 1));
  EXPECT_EQ(network.toOutput(), roughNumbers(6, 2));
  EXPECT_THAT(network.factors(), ElementsAre(0.5, 2.0));
}

}  // namespace

TEST(NeuralNetwork, AFileCutAnywhereIsAFailedRead) {
  ASSERT_EQ(WHOLE.size(), 12U + 12 * 8 + 2 * 8 + 8);
  for (std::size_t size = 0; size < WHOLE.size(); ++size) {
    Reports reports;
    SmallNetwork small;
    small.network.initEligibilityTraces();
    const MemoryFile file(WHOLE.substr(0, size));
    errno = 0;
    EXPECT_EQ(small.network.load(file), -1) << size;
    EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(0, "  -->  ")})) << size;
    expectUsableAfterAFailedLoad(small.network);
    reports.takeErrors();
  }
}

TEST(NeuralNetwork, TheLayersOfALoadThatFailedAreNotLaidOut) {
  for (const std::string& start : {bytes(65536), bytes(65536) + bytes(20000)}) {
    Reports reports;
    RealState state(2);
    Network network(&state, 1000);
    const MemoryFile file(start);
    EXPECT_EQ(network.load(file), -1);
    reports.takeErrors();
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      network.create();
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 1000U) << "of the report";
    EXPECT_THAT(
        reports.errors(),
        ElementsAre("the layers come from a load that failed --> load again, or call init!"));
    callEverything(network);
    const MemoryFile whole(WHOLE);
    EXPECT_EQ(network.load(whole), 0);
    EXPECT_TRUE(network.hasAllArraysButTraces());
    reports.takeErrors();
  }
}

TEST(NeuralNetwork, AfterInitLayersMayBeLaidOutAgain) {
  Reports reports;
  SmallNetwork small;
  const MemoryFile file(bytes(65536));
  EXPECT_EQ(small.network.load(file), -1);
  reports.takeErrors();
  small.network.init();
  small.network.INPUT_LAYER_NEURONS = 3;
  small.network.HIDDEN_LAYER_NEURONS = 4;
  small.network.OUTPUT_LAYER_NEURONS = 1;
  small.network.create();
  EXPECT_TRUE(small.network.hasAllArraysButTraces());
  EXPECT_THAT(errors(reports), IsEmpty());
}

// Traces are not part of a file, and may be as many as weights times outputs.
TEST(NeuralNetwork, AFileThatAsksForFarMoreTracesThanItHoldsWeightsIsAFailedRead) {
  for (const int outputs : {64, 130}) {
    Reports reports;
    SmallNetwork small;
    const int weights = 200 * 200 + 201 * outputs;
    const auto size = static_cast<std::size_t>(weights + 199) * sizeof(double) + 2 * sizeof(int);
    const MemoryFile file(bytes(200) + bytes(201) + bytes(outputs) + std::string(size, '\0'));
    EXPECT_EQ(small.network.load(file), outputs == 64 ? 0 : -1);
    EXPECT_EQ(errors(reports).size(), outputs == 64 ? 0U : 1U);
    small.network.initEligibilityTraces();
    callEverything(small.network);
    reports.takeErrors();
  }
}

TEST(NeuralNetwork, APipeThatEndsAnywhereIsAFailedRead) {
  for (std::size_t size = 0; size < WHOLE.size(); ++size) {
    Reports reports;
    SmallNetwork small;
    const FailingFile file(WHOLE.substr(0, size), 10000, "r");
    errno = 0;
    EXPECT_EQ(small.network.load(file), -1) << size;
    EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(0, "  -->  ")})) << size;
    expectUsableAfterAFailedLoad(small.network);
    reports.takeErrors();
  }
}

TEST(NeuralNetwork, AReadThatFailsAnywhereIsReportedWithItsError) {
  for (std::size_t limit = 0; limit < WHOLE.size(); ++limit) {
    Reports reports;
    SmallNetwork small;
    const FailingFile file(WHOLE, limit, "r");
    errno = 0;
    EXPECT_EQ(small.network.load(file), -1) << limit;
    EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(EIO, "  -->  ")})) << limit;
    expectUsableAfterAFailedLoad(small.network);
    reports.takeErrors();
  }
}

TEST(NeuralNetwork, ANetworkComesWholeThroughAPipe) {
  Reports reports;
  for (const int units : {1, 21845, 21846, 50000}) {
    const auto count = static_cast<std::size_t>(units);
    const std::string text = block(3, units + 1, 1, roughNumbers(3 * count, 1),
                                   roughNumbers(count + 1, 2), {0.5, 2.0}, 0.1, 0.3);
    const FailingFile file(text, text.size(), "r");
    Network network;
    EXPECT_EQ(network.load(file), 0);
    const MemoryFile saved;
    EXPECT_EQ(network.save(saved), 0);
    EXPECT_EQ(saved.content(), text);
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

namespace {

// Layer sizes that no file of a few bytes can be right about.
struct Layout {
  int inputs;
  int hidden;
  int outputs;
};
std::ostream& operator<<(std::ostream& os, const Layout& layout) {
  return os << layout.inputs << ", " << layout.hidden << ", " << layout.outputs;
}

class HostileLayers : public testing::TestWithParam<Layout> {};

INSTANTIATE_TEST_SUITE_P(
    Sizes, HostileLayers,
    testing::Values(Layout{0, 3, 2}, Layout{3, 0, 2}, Layout{3, 3, 0}, Layout{-1, 3, 2},
                    Layout{3, -1, 2}, Layout{3, 3, -1}, Layout{0, 0, 0}, Layout{-3, -3, -2},
                    Layout{INT_SMALLEST, 3, 2}, Layout{3, INT_SMALLEST, 2},
                    Layout{3, 3, INT_SMALLEST}, Layout{INT_SMALLEST, INT_SMALLEST, INT_SMALLEST},
                    Layout{INT_LARGEST, 3, 2}, Layout{3, INT_LARGEST, 2}, Layout{3, 3, INT_LARGEST},
                    Layout{INT_LARGEST, 1, 1}, Layout{1, INT_LARGEST, 1}, Layout{1, 1, INT_LARGEST},
                    Layout{INT_LARGEST, INT_LARGEST, INT_LARGEST},
                    Layout{65536, 65537, 1},   // 2^32 weights, which an int counts as 0
                    Layout{1, 65536, 65536},   // the same to the output
                    Layout{65536, 32769, 2},   // 2^31 weights, which an int counts as -2^31
                    Layout{1290, 1291, 1291},  // traces beyond 2^31, the weights below
                    Layout{1625, 1626, 1626},  // 2^32 traces and some
                    Layout{46341, 46341, 1}, Layout{4, 3, 2}, Layout{3, 4, 2}, Layout{3, 3, 3},
                    Layout{1000, 1000, 1000}, Layout{100000, 2, 1}, Layout{1, 2, 100000}));

}  // namespace

TEST_P(HostileLayers, AreAFailedReadWithoutMemoryBeingAskedFor) {
  const Layout layout = GetParam();
  const std::string text =
      bytes(layout.inputs) + bytes(layout.hidden) + bytes(layout.outputs) + WHOLE.substr(12);
  Reports reports;
  SmallNetwork small;
  small.network.initEligibilityTraces();
  const MemoryFile file(text);
  errno = 0;
  std::size_t largestRequest = 0;
  {
    const FailingNew memory;
    EXPECT_EQ(small.network.load(file), -1);
    largestRequest = memory.largestRequest();
  }
  EXPECT_LE(largestRequest, 1000U) << "of the report";
  EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(0, "  -->  ")}));
  EXPECT_EQ(std::ftell(file), static_cast<long>(text.size())) << "as after any short read";
  expectUsableAfterAFailedLoad(small.network);
}

TEST_P(HostileLayers, InAPipeAreFollowedAsFarAsDataArrives) {
  const Layout layout = GetParam();
  const std::string text =
      bytes(layout.inputs) + bytes(layout.hidden) + bytes(layout.outputs) + WHOLE.substr(12);
  Reports reports;
  SmallNetwork small;
  const FailingFile file(text, 10000, "r");
  errno = 0;
  std::size_t largestRequest = 0;
  {
    const FailingNew memory;
    EXPECT_EQ(small.network.load(file), -1);
    largestRequest = memory.largestRequest();
  }
  EXPECT_LE(largestRequest, 1U << 20U);
  EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(0, "  -->  ")}));
  expectUsableAfterAFailedLoad(small.network);
}

TEST(NeuralNetwork, AFileThatEndsBehindTheFirstWeightsAsksForNoMoreThanItHolds) {
  // 10000 weights to the hidden layer, 5001 to the output and a factor, of which some are missing.
  const Numbers toHidden = roughNumbers(10000, 1);
  const std::string text = block(2, 5001, 1, toHidden, roughNumbers(5001, 2), {0.5});
  for (const std::size_t size : {12U + 80000U, 12U + 80001U, 12U + 120000U}) {
    Reports reports;
    SmallNetwork small;
    const MemoryFile file(text.substr(0, size));
    errno = 0;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      EXPECT_EQ(small.network.load(file), -1);
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, size);
    EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(0, "  -->  ")}));
    EXPECT_EQ(small.network.toHidden(), toHidden) << "what was read stays in place";
    expectUsableAfterAFailedLoad(small.network);
  }
  Reports reports;
  SmallNetwork small;
  const MemoryFile file(text.substr(0, 12 + 79999));
  std::size_t largestRequest = 0;
  {
    const FailingNew memory;
    EXPECT_EQ(small.network.load(file), -1);
    largestRequest = memory.largestRequest();
  }
  EXPECT_LE(largestRequest, 1000U) << "not even the first array is there";
}

TEST(NeuralNetwork, AFailedReadOfTheLayersLeavesTheNetworkInOrder) {
  // The layers of the file are taken over before the next one can't be read.
  Reports reports;
  SmallNetwork small;
  const MemoryFile file(bytes(1000) + bytes(2000) + std::string("\x07\x00", 2));
  EXPECT_EQ(small.network.load(file), -1);
  callEverything(small.network);
  small.network.initWeights(nextNumber);
  expectUsableAfterAFailedLoad(small.network);
}

TEST(NeuralNetwork, ALayerThatTheFileCanNotHoldIsNotCreatedLaterOn) {
  for (const std::string& text :
       {bytes(INT_LARGEST), bytes(INT_LARGEST) + bytes(3), bytes(3) + bytes(INT_LARGEST),
        bytes(100000) + bytes(100000), bytes(3) + bytes(100000) + std::string(3, '\0')}) {
    Reports reports;
    SmallNetwork small;
    const MemoryFile file(text);
    EXPECT_EQ(small.network.load(file), -1);
    EXPECT_EQ(reports.errors().size(), 1U);
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      small.network.create();
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 1000U) << "of the report";
    expectUsableAfterAFailedLoad(small.network);
  }
}

TEST(NeuralNetwork, MoreTracesThanAnIntCanCountAreAFailedRead) {
  // The weights are all there: 50000 to the hidden layer and 100000 to the output.
  Reports reports;
  SmallNetwork small;
  const std::string text =
      block(50000, 2, 50000, Numbers(50000, 1.0), Numbers(100000, 1.0), Numbers(49999, 1.0));
  const MemoryFile file(text);
  errno = 0;
  std::size_t largestRequest = 0;
  {
    const FailingNew memory;
    EXPECT_EQ(small.network.load(file), -1);
    largestRequest = memory.largestRequest();
  }
  EXPECT_LE(largestRequest, 1000U) << "of the report";
  EXPECT_EQ(errors(reports), reportsOf("load", {errnoMessage(0, "  -->  ")}));
  expectUsableAfterAFailedLoad(small.network);
}

TEST_P(HostileLayers, LeaveANetworkThatCanBeCreatedAgain) {
  const Layout layout = GetParam();
  Reports reports;
  SmallNetwork small;
  const MemoryFile file(bytes(layout.inputs) + bytes(layout.hidden) + bytes(layout.outputs) +
                        WHOLE.substr(12));
  EXPECT_EQ(small.network.load(file), -1);
  callEverything(small.network);
  small.network.INPUT_LAYER_NEURONS = 3;
  small.network.HIDDEN_LAYER_NEURONS = 4;
  small.network.OUTPUT_LAYER_NEURONS = 1;
  small.network.create();
  EXPECT_TRUE(small.network.hasAllArraysButTraces());
}

TEST(NeuralNetwork, LayersThatJustFillTheFileAreLoaded) {
  Reports reports;
  for (const Layout layout : {Layout{1, 1, 1}, Layout{2, 1, 1}, Layout{1, 2, 1}, Layout{1, 1, 2}}) {
    const auto toHidden = static_cast<std::size_t>(layout.inputs * (layout.hidden - 1));
    const auto toOutput = static_cast<std::size_t>(layout.hidden * layout.outputs);
    const std::string text =
        block(layout.inputs, layout.hidden, layout.outputs, roughNumbers(toHidden, 1),
              roughNumbers(toOutput, 2), Numbers(static_cast<std::size_t>(layout.inputs - 1), 3.0));
    const MemoryFile exact(text);
    Network network;
    EXPECT_EQ(network.load(exact), 0) << layout;
    const MemoryFile longer(text + "x");
    EXPECT_EQ(network.load(longer), 0) << layout;
    EXPECT_THAT(errors(reports), IsEmpty());
    const MemoryFile shorter(text.substr(0, text.size() - 1));
    EXPECT_EQ(network.load(shorter), -1) << layout;
    EXPECT_EQ(reports.errors().size(), 1U);
  }
}

// Short memory.

namespace {

class NeuralNetworkInShortMemory : public Tables::InShortMemory {};

// Runs an operation again and again, with the first, the second, ... request for memory failing,
// until it goes through. Gives the number of requests.
template <typename OpenFile>
int requestsOf(const OpenFile& openFile, const std::function<void(Network&, FILE*)>& operation,
               const std::function<void(Network&, bool)>& expectations) {
  int call = 0;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    SmallNetwork small;
    small.network.initEligibilityTraces();
    const auto file = openFile();
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(operation(small.network, *file));
      failed = memory.failed();
    }
    const std::vector<std::string> list = reports.errors();
    EXPECT_EQ(list.empty(), !failed) << call;
    if (!list.empty()) {
      EXPECT_THAT(list.front(), StartsWith("Can not allocate memory for ")) << call;
    }
    expectations(small.network, failed);
    callEverything(small.network);
    reports.takeErrors();
  }
  return call - 1;
}

template <typename OpenFile>
int requestsOfALoad(const OpenFile& openFile) {
  int status = 0;
  return requestsOf(
      openFile, [&](Network& network, FILE* file) { status = network.load(file); },
      [&](Network& network, bool failed) {
        EXPECT_EQ(status, failed ? -1 : 0);
        Reports reports;
        expectUsableAfterAFailedLoad(network);
      });
}

}  // namespace

TEST_F(NeuralNetworkInShortMemory, ACreateThatFailsIsReportedAndCanBeRepeated) {
  EXPECT_EQ(requestsOf([] { return std::make_unique<MemoryFile>(); },
                       [](Network& network, FILE* /*file*/) { network.create(); },
                       [](Network& network, bool failed) {
                         EXPECT_EQ(network.hasAllArraysButTraces(), !failed);
                         EXPECT_EQ(network.hasArrays(), !failed);
                         Reports reports;
                         network.create();
                         EXPECT_TRUE(network.hasAllArraysButTraces());
                         EXPECT_THAT(errors(reports), IsEmpty());
                       }),
            8);
}

TEST_F(NeuralNetworkInShortMemory, TheReportTellsHowMuchCouldNotBeHad) {
  std::vector<std::string> list;
  for (int call = 1; call <= 8; ++call) {
    Reports reports;
    SmallNetwork small(2);
    {
      const FailingNew memory(FailingNew::ONE, call);
      small.network.create();
    }
    for (const std::string& report : errors(reports)) {
      list.push_back(report);
    }
  }
  std::vector<std::string> expected;
  for (const int entries : {3, 4, 2, 9, 8, 2, 2, 6}) {  // the last is the scratch array
    expected.push_back("NeuralNetwork::allocateMemory: Can not allocate memory for " +
                       std::to_string(entries) + " entries of 8 bytes!");
  }
  EXPECT_THAT(list, testing::UnorderedElementsAreArray(expected));
}

TEST_F(NeuralNetworkInShortMemory, TracesThatCanNotBeHadAreReportedAndMissing) {
  for (const int call : {1, 2}) {
    Reports reports;
    SmallNetwork small(2);
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(small.network.initEligibilityTraces());
    }
    EXPECT_THAT(errors(reports),
                ElementsAre(testing::AnyOf("NeuralNetwork::initEligibilityTraces: Can not allocate "
                                           "memory for 18 entries of 8 bytes!",
                                           "NeuralNetwork::initEligibilityTraces: Can not allocate "
                                           "memory for 8 entries of 8 bytes!")));
    EXPECT_EQ(small.network.inputHiddenOutputTraces, nullptr);
    EXPECT_EQ(small.network.hiddenOutputTraces, nullptr) << "no layer learns without the other";
    small.network.getOutputValue(0);
    small.network.updateEligibilityTraces(0.9, 0.5);
    EXPECT_EQ(errors(reports),
              reportsOf("updateEligibilityTraces", {NO_TRACES_TO_OUTPUT, NO_TRACES_TO_HIDDEN}));
    small.network.initEligibilityTraces();
    EXPECT_EQ(small.network.tracesToHidden(), Numbers(18, 0.0));
    EXPECT_EQ(small.network.tracesToOutput(), Numbers(8, 0.0));
  }
}

TEST_F(NeuralNetworkInShortMemory, ALoadFailsWithAReport) {
  EXPECT_EQ(requestsOfALoad([] { return std::make_unique<MemoryFile>(WHOLE); }), 8);
}

TEST_F(NeuralNetworkInShortMemory, ALoadFromAPipeFailsWithAReport) {
  EXPECT_GT(requestsOfALoad([] { return std::make_unique<FailingFile>(WHOLE, 10000U, "r"); }), 8)
      << "what arrives is kept as well";
}
