#include <gmock/gmock.h>
#include <quarnel/State.h>
#include <quarnel/StateNeuralNetwork.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
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
using Networks::INT_LARGEST;
using Networks::INT_SMALLEST;
using Networks::LARGEST;
using Networks::newRealState;
using Networks::nextNumber;
using Networks::NO_TO_HIDDEN;
using Networks::NO_TO_OUTPUT;
using Networks::NOT_IMPLEMENTED;
using Networks::Numbers;
using Networks::one;
using Networks::realStateRecord;
using Networks::reportsOf;
using Networks::roughNumbers;
using Networks::zero;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

class Network : public Networks::OpenNetwork<StateNeuralNetwork> {
 public:
  using OpenNetwork::OpenNetwork;

  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::maxValue;
  using ValueFunction::minValue;

  void set(const Numbers& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      getStatePtr()->setValueDbl(static_cast<unsigned int>(i), values[i]);
    }
  }
};

// A network of two variables and three hidden units, and a plain one with the same weights.
class Twins {
 public:
  Twins() : network(newRealState(2), 3), plain(2, 3, 1) {
    plain.inputHidden = roughNumbers(9, 1);
    plain.hiddenOutput = roughNumbers(4, 2);
    network.setToHidden(plain.inputHidden);
    network.setToOutput(plain.hiddenOutput);
  }

  // Other inputs for every seed.
  void observe(unsigned int seed) {
    const Numbers values = roughNumbers(2, seed);
    network.set(values);
    std::copy(values.begin(), values.end(), plain.inputValues.begin());
  }

  Network network;
  PlainNetwork plain;
};

// The weights that a random initialiser gives after srand(1).
double firstRandomWeight(double min, double max) {
  return draw(1, 0) / 2147483648.0 * (max - min) + min;
}

std::vector<std::string> noMemoryReport(const std::string& entries) {
  return messages({"Can not allocate memory for " + entries + " entries of 8 bytes!"});
}

// A call of every operation; none may mind that there are no arrays.
void callEverything(Network& network) {
  network.setState();
  network.getStateValue();
  network.initWeights(one);
  network.updateEligibilityTraces(0.9, 0.5);
  network.updateWeights(0.1, 1.0);
  network.initEligibilityTraces();
  network.updateEligibilityTraces(0.9, 0.5);
  network.setMinWeightLimit(-1.0);
  network.updateWeights(0.1, 1.0);
  network.accumulatingTraces(1.0);
  network.replacingTraces(1.0);
  network.checkWeightLimit();
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

}  // namespace

// Construction from a state.

TEST(StateNeuralNetwork, TwoVariablesAndThreeHiddenUnitsGiveNineAndFourWeights) {
  Network network(newRealState(2), 3);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 1);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 9);
  EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 4);
  EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 9);
  EXPECT_TRUE(network.hasAllArraysButTraces());
  network.initEligibilityTraces();
  EXPECT_EQ(network.tracesToHidden(), Numbers(9, 0.0));
  EXPECT_EQ(network.tracesToOutput(), Numbers(4, 0.0));
}

TEST(StateNeuralNetwork, SizesFollowTheVariablesAndTheHiddenUnits) {
  for (const unsigned int variables : {0U, 1U, 2U, 7U}) {
    for (const int units : {0, 1, 2, 9}) {
      const Network network(newRealState(variables), units);
      const int inputs = static_cast<int>(variables) + 1;
      EXPECT_EQ(network.INPUT_LAYER_NEURONS, inputs);
      EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, units + 1);
      EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, inputs * units);
      EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, units + 1);
      EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, inputs * units);
    }
  }
}

TEST(StateNeuralNetwork, FactorsAndBiasesAreOneAtFirst) {
  const Network network(newRealState(2), 3);
  EXPECT_THAT(network.factors(), ElementsAre(1.0, 1.0));
  EXPECT_EQ(network.inputValues[2], 1.0);
  EXPECT_EQ(network.hiddenValues[3], 1.0);
}

TEST(StateNeuralNetwork, BothSidesHoldTheSameState) {
  State* const state = newRealState(2);
  const Network network(state, 3);
  EXPECT_EQ(network.getStatePtr(), state);
  EXPECT_EQ(network.stateOfTheNetwork(), state);
}

TEST(StateNeuralNetwork, ConstructionNeitherDrawsNorInitialisesWeights) {
  std::unique_ptr<Network> network;
  EXPECT_EQ(countDraws([&] { network = std::make_unique<Network>(newRealState(2), 3); }), 0);
  EXPECT_EQ(countDraws([&] { network->create(); }), 0);
  EXPECT_EQ(network->getMinWeight(), 0.0) << "no memory of others shows through";
  EXPECT_EQ(network->getMaxWeight(), 0.0);
}

TEST(StateNeuralNetwork, ConstructionChoosesTheRandomInitialiser) {
  const Network network(newRealState(2), 3);
  EXPECT_EQ(network.initWeightsFunctionPtr, ValueFunction::getRandomInitializer());
}

TEST(StateNeuralNetwork, ConstructionSetsTheRangeOfRandomWeightsOfAllValueFunctions) {
  Network other(newRealState(1), 1);
  other.setRandomValueBoundaries(7.0, 9.0);
  const Network network(newRealState(2), 3);
  EXPECT_EQ(Network::minValue, -0.5);
  EXPECT_EQ(Network::maxValue, 0.5);
  const double expected = firstRandomWeight(-0.5, 0.5);
  std::srand(1);
  other.initWeights(ValueFunction::getRandomInitializer());
  EXPECT_EQ(other.toHidden().front(), expected);
}

TEST(StateNeuralNetwork, CreateMakesTheNetworkAnew) {
  Network network(newRealState(2), 3);
  network.initWeights(one);
  network.initEligibilityTraces();
  network.setScaleFactor(1, 3.0);
  network.setBias(4.0, 5.0);
  network.create();
  EXPECT_EQ(network.toHidden(), Numbers(9, 0.0));
  EXPECT_EQ(network.toOutput(), Numbers(4, 0.0));
  EXPECT_THAT(network.factors(), ElementsAre(1.0, 1.0));
  EXPECT_EQ(network.inputValues[2], 1.0);
  EXPECT_EQ(network.hiddenValues[3], 1.0);
  EXPECT_EQ(network.hiddenOutputTraces, nullptr);
  EXPECT_EQ(network.inputHiddenOutputTraces, nullptr);
}

TEST(StateNeuralNetwork, CreateCountsTheVariablesNoSecondTime) {
  Network network(newRealState(2), 3);
  network.getStatePtr()->registerVariable("late", 0.0, 1.0);
  network.create();
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 9);
}

TEST(StateNeuralNetwork, CreateFollowsTheLayers) {
  Network network(newRealState(2), 3);
  network.OUTPUT_LAYER_NEURONS = 2;
  network.create();
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 9);
  EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 8);
  EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 18);
  EXPECT_EQ(network.outputs().size(), 2U);
}

TEST(StateNeuralNetwork, CreateUsesTheVirtualMemoryOperations) {
  class Counting : public Network {
   public:
    using Network::Network;
    int calls = 0;
    void allocateMemory() override {
      ++calls;
      Network::allocateMemory();
    }
  };
  Counting network(newRealState(2), 3);
  network.create();
  EXPECT_EQ(network.calls, 1);
}

TEST(StateNeuralNetwork, WithoutArraysCreateSetsNoBias) {
  class WithoutMemory : public Network {
   public:
    using Network::Network;
    void allocateMemory() override { freeMemory(); }
  };
  WithoutMemory network(newRealState(2), 3);
  network.create();
  EXPECT_FALSE(network.hasArrays());
}

TEST(StateNeuralNetwork, ANumberOfHiddenUnitsBelowZeroIsRefused) {
  for (const int units : {-1, -2, INT_SMALLEST, INT_LARGEST}) {
    Reports reports;
    std::unique_ptr<Network> network;
    std::size_t largestRequest = 0;
    State* const state = newRealState(2);
    {
      const FailingNew memory;
      network = std::make_unique<Network>(state, units);
      largestRequest = memory.largestRequest();
    }
    EXPECT_EQ(reports.errors().size(), 1U) << units;
    EXPECT_LE(largestRequest, 1000U) << "of the network itself and the report";
    EXPECT_FALSE(network->hasArrays());
    EXPECT_EQ(network->getStateValue(), 0.0);
    callEverything(*network);
  }
}

TEST(StateNeuralNetwork, ARefusalNamesTheSize) {
  const auto refusal = [](unsigned int variables, int units) {
    Reports reports;
    const Network network(newRealState(variables), units);
    EXPECT_FALSE(network.hasArrays());
    return reports.errors();
  };
  EXPECT_EQ(refusal(2, -1), noMemoryReport("-3"));
  EXPECT_EQ(refusal(2, INT_LARGEST - 1), noMemoryReport("6442450938"));
  EXPECT_EQ(refusal(1, 1 << 30), noMemoryReport("2147483648"));
  EXPECT_EQ(refusal(3, 1 << 30), noMemoryReport("4294967296")) << "an int counts this as 0";
}

TEST(StateNeuralNetwork, WithoutAStateTheNetworkHasNoInputsButTheBias) {
  Reports reports;
  Network network(nullptr, 3);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 1);
  EXPECT_THAT(errors(reports), IsEmpty());
  network.setState();
  EXPECT_EQ(errors(reports), reportsOf("setState", {"statePtr == 0"}));
  EXPECT_EQ(network.getStateValue(), 0.5);
  callEverything(network);
}

TEST(StateNeuralNetwork, AnIntegerStateGivesInputsOfZero) {
  Reports reports;
  auto* const state = new State;
  state->registerVariable("x", 3, 9);
  Network network(state, 2);
  EXPECT_THAT(errors(reports), IsEmpty());
  network.setState();
  EXPECT_EQ(errors(reports), messages({"State::getValueDbl: Not a Double-State!"}));
  EXPECT_THAT(network.inputs(), ElementsAre(0.0, 1.0));
}

// Values.

TEST(StateNeuralNetwork, TheValueIsTheFirstOutputOfAPlainComputation) {
  Twins twins;
  for (unsigned int seed = 10; seed < 20; ++seed) {
    twins.observe(seed);
    twins.network.setState();
    twins.plain.forward();
    EXPECT_EQ(twins.network.getStateValue(), twins.plain.outputValues[0]);
    EXPECT_GT(twins.network.getStateValue(), 0.0);
    EXPECT_LT(twins.network.getStateValue(), 1.0);
  }
}

TEST(StateNeuralNetwork, TheValueIsThatOfTheLastSetState) {
  Twins twins;
  twins.observe(10);
  twins.network.setState();
  const double value = twins.network.getStateValue();
  twins.observe(11);
  EXPECT_EQ(twins.network.getStateValue(), value);
  twins.network.setState();
  EXPECT_NE(twins.network.getStateValue(), value);
}

TEST(StateNeuralNetwork, TheValueFollowsTheWeightsAtOnce) {
  Twins twins;
  twins.network.initWeights(zero);
  EXPECT_EQ(twins.network.getStateValue(), 0.5);
  twins.network.setToOutput({0.0, 0.0, 0.0, 2.0});
  EXPECT_EQ(twins.network.getStateValue(), 1 / (1 + std::exp(-2.0)));
}

TEST(StateNeuralNetwork, TheValueComesThroughTheSlotOfTheOutput) {
  class Fixed : public Network {
   public:
    using Network::Network;
    const double getOutputValue(int outputIndex) const override { return 40.0 + outputIndex; }
  };
  const Fixed network(newRealState(1), 1);
  EXPECT_EQ(network.getStateValue(), 40.0);
}

// One object behind several interfaces.

namespace {

// Drives the operations that all bases share and looks at what they did to the network.
template <typename Base>
void expectSharedOperationsThrough(Base& base) {
  Reports reports;
  auto& network = dynamic_cast<Network&>(base);
  network.create();
  Networks::initialised = 0;
  base.initWeights(nextNumber);
  EXPECT_EQ(Networks::initialised, 13);
  EXPECT_EQ(base.getMinWeight(), -6.0);
  EXPECT_EQ(base.getMaxWeight(), 6.5);
  EXPECT_EQ(base.getAvgWeight(false), 3.5 / 36);  // 0.5 - 1 + 1.5 - 2 + ... - 6 + 6.5
  EXPECT_EQ(base.getAvgWeight(true), 45.5 / 36);  // 0.5 + 1 + 1.5 + 2 + ... + 6 + 6.5

  Twins twins;
  network.setToHidden(twins.plain.inputHidden);
  network.setToOutput(twins.plain.hiddenOutput);
  twins.observe(20);
  network.set({twins.plain.inputValues[0], twins.plain.inputValues[1]});
  base.setState();
  EXPECT_EQ(network.inputs(), twins.plain.inputValues);
  network.getStateValue();
  twins.plain.forward();

  base.initEligibilityTraces();
  twins.plain.clearTraces();
  for (int i = 0; i < 2; ++i) {
    base.updateEligibilityTraces(0.25, 0.75);
    twins.plain.decay(0.75);
    base.accumulatingTraces(5.0);
    base.replacingTraces(5.0);
    base.storeState();
    base.initEpisodeStateHistory();
  }
  expectSame(network, twins.plain);
  EXPECT_THAT(errors(reports), IsEmpty());
  base.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), reportsOf("valueEpisode", {NOT_IMPLEMENTED}));
  expectSame(network, twins.plain);
}

}  // namespace

TEST(StateNeuralNetwork, TheSharedOperationsDoTheSameThroughEveryBase) {
  Network network(newRealState(2), 3);
  expectSharedOperationsThrough<Network>(network);
  expectSharedOperationsThrough<NeuralNetwork>(network);
  expectSharedOperationsThrough<StateValueFunction>(network);
  expectSharedOperationsThrough<ValueFunction>(network);
}

TEST(StateNeuralNetwork, TheLearnersUpdateTheWeightsThroughTheInterface) {
  for (const bool traces : {false, true}) {
    Twins twins;
    StateValueFunction& base = twins.network;
    if (traces) {
      base.initEligibilityTraces();
      twins.plain.clearTraces();
    }
    for (unsigned int seed = 30; seed < 40; ++seed) {
      twins.observe(seed);
      base.setState();
      twins.plain.forward();
      EXPECT_EQ(base.getStateValue(), twins.plain.outputValues[0]);
      if (traces) {
        base.updateEligibilityTraces(0.9, 0.6);
        twins.plain.decay(0.6);
      }
      base.updateWeights(0.4, 1.3);
      twins.plain.update(0.4, 1.3);
      expectSame(twins.network, twins.plain);
    }
  }
}

TEST(StateNeuralNetwork, LearningKeepsTheWeightsInTheLimitsOfTheValueFunction) {
  Twins twins;
  const auto learn = [&] {
    twins.network.setToHidden(twins.plain.inputHidden);
    twins.network.setToOutput(twins.plain.hiddenOutput);
    twins.network.getStateValue();
    twins.network.updateWeights(1.0, 50.0);
  };
  learn();
  EXPECT_LT(twins.network.getMinWeight(), -0.25);
  EXPECT_GT(twins.network.getMaxWeight(), 0.75);
  twins.network.setMinWeightLimit(-0.25);
  learn();
  EXPECT_EQ(twins.network.getMinWeight(), -0.25);
  EXPECT_GT(twins.network.getMaxWeight(), 0.75);
  twins.network.setMaxWeightLimit(0.75);
  learn();
  EXPECT_EQ(twins.network.getMinWeight(), -0.25);
  EXPECT_EQ(twins.network.getMaxWeight(), 0.75);
}

TEST(StateNeuralNetwork, TheLimitsAreThoseOfTheValueFunction) {
  Network network(newRealState(1), 1);
  network.setToHidden({-LARGEST, LARGEST});
  network.setToOutput({-1.0, 1.0});
  StateValueFunction& base = network;
  base.checkWeightLimit();
  EXPECT_THAT(network.toHidden(), ElementsAre(-LARGEST, LARGEST)) << "there are none at first";
  base.setMinWeightLimit(-2.0);
  base.setMaxWeightLimit(0.5);
  base.checkWeightLimit();
  EXPECT_THAT(network.toHidden(), ElementsAre(-2.0, 0.5));
  EXPECT_THAT(network.toOutput(), ElementsAre(-1.0, 0.5));
}

TEST(StateNeuralNetwork, LearningWithinLimitsChecksThemThroughTheSlotOfTheNetwork) {
  class Noting : public Network {
   public:
    using Network::checkWeightLimit;
    using Network::Network;
    void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) override {
      limits = {MIN_WEIGHT, MAX_WEIGHT};
    }
    Numbers limits;
  };
  Noting network(newRealState(1), 1);
  network.getStateValue();
  network.updateWeights(0.1, 1.0);
  EXPECT_THAT(network.limits, IsEmpty());
  network.setMaxWeightLimit(3.0);
  network.updateWeights(0.1, 1.0);
  EXPECT_THAT(network.limits, ElementsAre(-LARGEST, 3.0));
}

namespace {

// Every operation that both bases declare, overridden once more.
class Recording : public Network {
 public:
  using Network::Network;
  std::string calls;

  void initWeights(const double (*)()) override { calls += "initWeights "; }
  void initEligibilityTraces() override { calls += "initEligibilityTraces "; }
  void updateEligibilityTraces(double, double) override { calls += "updateEligibilityTraces "; }
  void accumulatingTraces(double) override { calls += "accumulatingTraces "; }
  void replacingTraces(double) override { calls += "replacingTraces "; }
  const double getMinWeight() const override { return 1; }
  const double getAvgWeight(bool) const override { return 2; }
  const double getMaxWeight() const override { return 3; }
  void setState() override { calls += "setState "; }
  void storeState() override { calls += "storeState "; }
  void initEpisodeStateHistory() override { calls += "initEpisodeStateHistory "; }
  void valueEpisode(double) override { calls += "valueEpisode "; }
};

template <typename Base>
std::string callsThrough(Base& base, Recording& recording) {
  recording.calls.clear();
  base.initWeights(one);
  base.initEligibilityTraces();
  base.updateEligibilityTraces(0, 0);
  base.accumulatingTraces(0);
  base.replacingTraces(0);
  base.setState();
  base.storeState();
  base.initEpisodeStateHistory();
  base.valueEpisode(0);
  EXPECT_EQ(base.getMinWeight(), 1);
  EXPECT_EQ(base.getAvgWeight(true), 2);
  EXPECT_EQ(base.getMaxWeight(), 3);
  return recording.calls;
}

}  // namespace

TEST(StateNeuralNetwork, OneOverrideServesAllBases) {
  Recording network(newRealState(1), 1);
  const std::string all =
      "initWeights initEligibilityTraces updateEligibilityTraces accumulatingTraces "
      "replacingTraces setState storeState initEpisodeStateHistory valueEpisode ";
  EXPECT_EQ(callsThrough<NeuralNetwork>(network, network), all);
  EXPECT_EQ(callsThrough<StateValueFunction>(network, network), all);
  EXPECT_EQ(callsThrough<ValueFunction>(network, network), all);
}

TEST(StateNeuralNetwork, DeletingItThroughAnyBaseDestroysTheWholeNetwork) {
  class Mortal : public Network {
   public:
    explicit Mortal(int& counter) : Network(newRealState(1), 1), deaths(counter) {}
    ~Mortal() override { ++deaths; }

   private:
    int& deaths;
  };
  int deaths = 0;
  NeuralNetwork* const core = new Mortal(deaths);
  delete core;
  EXPECT_EQ(deaths, 1);
  ValueFunction* const function = new Mortal(deaths);
  delete function;
  EXPECT_EQ(deaths, 2);
  StateValueFunction* const stateFunction = new Mortal(deaths);
  delete stateFunction;
  EXPECT_EQ(deaths, 3);
}

// The block in a file.

namespace {

// Makes a protected operation of the core callable as it is called there: virtually.
class Core : public NeuralNetwork {
 public:
  static const int load(NeuralNetwork& network, FILE* file) {
    const int (NeuralNetwork::*operation)(FILE*) = &Core::load;
    return (network.*operation)(file);
  }
  static const int save(const NeuralNetwork& network, FILE* file) {
    const int (NeuralNetwork::*operation)(FILE*) const = &Core::save;
    return (network.*operation)(file);
  }

 protected:
  using NeuralNetwork::load;
  using NeuralNetwork::save;
};

}  // namespace

TEST(StateNeuralNetwork, LoadGivesTheNetworkTheStateOfTheValueFunction) {
  Network network(newRealState(1), 1);
  const MemoryFile file(block(2, 2, 1, {1.0, 2.0}, {3.0, 4.0}, {5.0}));
  network.setStatePtr(nullptr);
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.stateOfTheNetwork(), network.getStatePtr());

  network.setStatePtr(nullptr);
  file.rewind();
  EXPECT_EQ(Core::load(network, file), 0) << "through the core's interface";
  EXPECT_EQ(network.stateOfTheNetwork(), network.getStatePtr());
}

TEST(StateNeuralNetwork, LoadGivesTheNetworkItsStateBeforeItReadsTheBlock) {
  Reports reports;
  Network network(newRealState(1), 1);
  network.setStatePtr(nullptr);
  const MemoryFile empty;
  EXPECT_EQ(network.load(empty), -1);
  EXPECT_EQ(network.stateOfTheNetwork(), network.getStatePtr());
}

TEST(StateNeuralNetwork, SavesTheBlockOfTheNetwork) {
  Network network(newRealState(2), 1);
  Networks::initialised = 0;
  network.initWeights(nextNumber);
  network.setScaleFactor(1, 7.0);
  network.setBias(0.1, 0.3);
  const MemoryFile file;
  EXPECT_EQ(network.save(file), 0);
  EXPECT_EQ(file.content(), block(3, 2, 1, {0.5, -1.0, 1.5}, {-2.0, 2.5}, {1.0, 7.0}, 0.1, 0.3));
  const MemoryFile throughTheCore;
  EXPECT_EQ(Core::save(network, throughTheCore), 0);
  EXPECT_EQ(throughTheCore.content(), file.content());
}

TEST(StateNeuralNetwork, LoadCreatesTheNetworkThroughItsSlot) {
  class Counting : public Network {
   public:
    using Network::Network;
    int calls = 0;
    void create() override {
      ++calls;
      Network::create();
    }
  };
  Counting network(newRealState(1), 1);
  const MemoryFile file(block(2, 2, 1, {1.0, 2.0}, {3.0, 4.0}, {5.0}));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.calls, 1);
}

// Named files.

TEST(StateNeuralNetwork, ANamedFileHoldsTheStateAndTheNetwork) {
  const TemporaryDirectory directory;
  auto* const state = new State;
  state->registerVariable("x", -1.0, 2.0);
  Network network(state, 1);
  network.setToHidden({1.0, -2.0});
  network.setToOutput({0.5, 4.0});
  network.setScaleFactor(0, 2.0);
  EXPECT_EQ(network.save(directory.file("v")), 0);
  EXPECT_EQ(readFile(directory.file("v")),
            std::string("\x01\x00\x00\x00"                  // one variable
                        "\x02\x00\x00\x00"                  // of real numbers
                        "\x01\x00\x00\x00"                  // with a name of one byte
                        "x"                                 //
                        "\x00\x00\x00\x00\x00\x00\xF0\xBF"  // from -1.0
                        "\x00\x00\x00\x00\x00\x00\x00\x40"  // to 2.0
                        "\x02\x00\x00\x00"                  // input units
                        "\x02\x00\x00\x00"                  // hidden units
                        "\x01\x00\x00\x00"                  // outputs
                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"  // 1.0
                        "\x00\x00\x00\x00\x00\x00\x00\xC0"  // -2.0
                        "\x00\x00\x00\x00\x00\x00\xE0\x3F"  // 0.5
                        "\x00\x00\x00\x00\x00\x00\x10\x40"  // 4.0
                        "\x00\x00\x00\x00\x00\x00\x00\x40"  // factor 2.0
                        "\x00\x00\x00\x00"                  // half of the bias 1.0
                        "\x00\x00\x00\x00",                 // and of the other one
                        89));
}

TEST(StateNeuralNetwork, ANetworkBuiltFromAFileEqualsTheSavedOne) {
  Reports reports;
  const TemporaryDirectory directory;
  Twins twins;
  twins.network.setScaleFactor(0, 0.1);
  twins.network.setScaleFactor(1, 10.0);
  ASSERT_EQ(twins.network.save(directory.file("v")), 0);

  Network copy(directory.file("v"));
  EXPECT_EQ(copy.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(copy.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(copy.OUTPUT_LAYER_NEURONS, 1);
  EXPECT_EQ(copy.INPUT_HIDDEN_ARRAY_SIZE, 9);
  EXPECT_EQ(copy.HIDDEN_OUTPUT_ARRAY_SIZE, 4);
  EXPECT_EQ(copy.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 9);
  EXPECT_EQ(copy.toHidden(), twins.network.toHidden());
  EXPECT_EQ(copy.toOutput(), twins.network.toOutput());
  EXPECT_THAT(copy.factors(), ElementsAre(0.1, 10.0));
  ASSERT_NE(copy.getStatePtr(), nullptr);
  EXPECT_EQ(copy.stateOfTheNetwork(), copy.getStatePtr());
  EXPECT_EQ(copy.getStatePtr()->getMaxValueDbl(1), 1.0);

  twins.observe(50);
  copy.set({twins.plain.inputValues[0], twins.plain.inputValues[1]});
  twins.network.setState();
  copy.setState();
  EXPECT_EQ(copy.getStateValue(), twins.network.getStateValue());
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateNeuralNetwork, SavingLoadingAndSavingGivesTheSameBytes) {
  const TemporaryDirectory directory;
  Twins twins;
  twins.network.setScaleFactor(0, 0.1);
  twins.network.setBias(1.0 + 1e-9, 1.0 + 1e-8);  // as 1.0 in the last four bytes
  ASSERT_EQ(twins.network.save(directory.file("first")), 0);
  const Network copy(directory.file("first"));
  EXPECT_EQ(copy.inputValues[2], 1.0 + 1e-9);
  EXPECT_EQ(copy.hiddenValues[3], 1.0 + 1e-8);
  ASSERT_EQ(copy.save(directory.file("second")), 0);
  EXPECT_EQ(readFile(directory.file("second")), readFile(directory.file("first")));

  Network other(newRealState(1), 7);
  ASSERT_EQ(other.load(directory.file("first")), 0);
  ASSERT_EQ(other.save(directory.file("third")), 0);
  EXPECT_EQ(readFile(directory.file("third")), readFile(directory.file("first")));
}

TEST(StateNeuralNetwork, ConstructionFromAFileLeavesTheInitialisersAlone) {
  const TemporaryDirectory directory;
  Network network(newRealState(1), 1);
  ASSERT_EQ(network.save(directory.file("v")), 0);
  network.setRandomValueBoundaries(7.0, 9.0);
  const Network copy(directory.file("v"));
  EXPECT_EQ(Network::minValue, 7.0);
  EXPECT_EQ(Network::maxValue, 9.0);
  EXPECT_EQ(copy.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
  network.setRandomValueBoundaries(-0.5, 0.5);
}

TEST(StateNeuralNetwork, AFileMayHoldANetworkForAnotherNumberOfVariables) {
  const TemporaryDirectory directory;
  for (const unsigned int variables : {1U, 2U, 3U, 5U}) {
    Reports reports;
    writeFile(directory.file("v"),
              realStateRecord(variables) +
                  block(4, 2, 1, roughNumbers(4, 1), roughNumbers(2, 2), {1.0, 1.0, 2.0}));
    Network network(directory.file("v"));
    EXPECT_THAT(errors(reports), IsEmpty());
    network.set(Numbers(variables, 0.5));
    network.setState();
    EXPECT_EQ(network.inputs(),
              (Numbers{0.5, variables > 1 ? 0.5 : 0.0, variables > 2 ? 1.0 : 0.0, 1.0}));
    std::vector<std::string> missing;
    for (unsigned int id = variables; id < 3; ++id) {
      missing.push_back("VarId out of bounds --> 0 <= " + std::to_string(id) + " < " +
                        std::to_string(variables));
    }
    EXPECT_EQ(reports.errors(), missing);
    EXPECT_GT(network.getStateValue(), 0.0);
    callEverything(network);
  }
}

TEST(StateNeuralNetwork, AFileMayHoldMoreOutputsOfWhichTheFirstIsTheValue) {
  Reports reports;
  Network network(newRealState(0), 0);
  const MemoryFile file(block(1, 1, 2, {}, {2.0, -2.0}, {}));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.getStateValue(), 1 / (1 + std::exp(-2.0)));
  EXPECT_EQ(network.getOutputValue(1), 1 / (1 + std::exp(2.0)));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateNeuralNetwork, AMissingFileGivesANetworkWithoutStateAndArrays) {
  Reports reports;
  const TemporaryDirectory directory;
  Network network(directory.file("none"));
  EXPECT_EQ(errors(reports),
            messages({"StateValueFunction::load: " + errnoMessage(ENOENT, " --> ")}));
  EXPECT_EQ(network.getStatePtr(), nullptr);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 0);
  EXPECT_FALSE(network.hasArrays());
  EXPECT_EQ(network.getStateValue(), 0.0);
  EXPECT_EQ(errors(reports),
            reportsOf("getOutputValue", {"outputIndex out of Bounds --> 0 <= 0 < 0"}));
  callEverything(network);
  network.create();
  EXPECT_FALSE(network.hasArrays()) << "there are no layers";
  callEverything(network);
}

TEST(StateNeuralNetwork, AFailedLoadOfAMissingFileChangesNothing) {
  Reports reports;
  const TemporaryDirectory directory;
  Twins twins;
  EXPECT_EQ(twins.network.load(directory.file("none")), -1);
  EXPECT_EQ(twins.network.toHidden(), twins.plain.inputHidden);
  EXPECT_EQ(twins.network.toOutput(), twins.plain.hiddenOutput);
}

TEST(StateNeuralNetwork, AFileCutAnywhereGivesANetworkThatBearsEveryCall) {
  const TemporaryDirectory directory;
  const std::string whole =
      realStateRecord(1) + block(2, 3, 1, roughNumbers(4, 1), roughNumbers(3, 2), {0.5});
  ASSERT_EQ(whole.size(), 29U + 12 + 8 * 8 + 8);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    writeFile(directory.file("v"), whole.substr(0, size));
    Network network(directory.file("v"));
    EXPECT_EQ(errors(reports).back(), "StateValueFunction::load: loading valuefunction failed")
        << size;
    callEverything(network);

    Network other(newRealState(3), 2);
    EXPECT_EQ(other.load(directory.file("v")), -1) << size;
    callEverything(other);
    reports.takeErrors();
  }
  Reports reports;
  writeFile(directory.file("v"), whole);
  const Network network(directory.file("v"));
  EXPECT_EQ(network.toHidden(), roughNumbers(4, 1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(StateNeuralNetwork, HostileLayersInAFileAskForNoMemory) {
  const TemporaryDirectory directory;
  for (const int hidden : {0, -1, INT_SMALLEST, INT_LARGEST, 1000000}) {
    Reports reports;
    const std::string text =
        realStateRecord(1) + block(2, hidden, 1, roughNumbers(4, 1), roughNumbers(3, 2), {0.5});
    writeFile(directory.file("v"), text);
    errno = 0;
    std::unique_ptr<Network> network;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      network = std::make_unique<Network>(directory.file("v"));
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 2000U) << "of the network, its state and the reports";
    EXPECT_EQ(errors(reports),
              messages({"NeuralNetwork::load: " + errnoMessage(0, "  -->  "),
                        "StateValueFunction::load: loading valuefunction failed"}));
    callEverything(*network);
  }
}

TEST(StateNeuralNetwork, AFullDiskFailsTheSave) {
  Reports reports;
  const Network network(newRealState(1), 1000);
  EXPECT_EQ(network.save(FULL_DEVICE), -1);
  EXPECT_EQ(errors(reports), messages({"NeuralNetwork::save: " + errnoMessage(ENOSPC, "  -->  "),
                                       "StateValueFunction::save: saving valuefunction failed"}));
}

// Short memory.

namespace {
class StateNeuralNetworkInShortMemory : public Tables::InShortMemory {};
}  // namespace

TEST_F(StateNeuralNetworkInShortMemory, ConstructionNeverThrows) {
  int call = 1;
  for (bool failed = true; failed;) {
    ++call;  // the network's own memory is the first request
    Reports reports;
    State* const state = newRealState(2);
    std::unique_ptr<Network> network;
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(network = std::make_unique<Network>(state, 3)) << call;
      failed = memory.failed();
    }
    ASSERT_NE(network, nullptr);
    EXPECT_EQ(reports.errors().size(), failed ? 1U : 0U) << call;
    EXPECT_EQ(network->hasArrays(), !failed) << call;
    callEverything(*network);
    network->create();
    EXPECT_TRUE(network->hasAllArraysButTraces());
  }
  EXPECT_EQ(call, 10) << "seven arrays and the scratch array";
}

TEST_F(StateNeuralNetworkInShortMemory, ConstructionFromAFileNeverThrows) {
  const TemporaryDirectory directory;
  const std::string name = directory.file("v");
  writeFile(name, realStateRecord(1) + block(2, 3, 1, roughNumbers(4, 1), roughNumbers(3, 2), {1}));
  int call = 1;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    std::unique_ptr<Network> network;
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(network = std::make_unique<Network>(name)) << call;
      failed = memory.failed();
    }
    ASSERT_NE(network, nullptr);
    EXPECT_EQ(reports.errors().empty(), !failed) << call;
    callEverything(*network);
  }
  EXPECT_GE(call, 10) << "state, variable and seven arrays at least";
}

TEST_F(StateNeuralNetworkInShortMemory, SizesAreRefusedFromOneMoreThanAnIntCanCountOn) {
  // Three times as many weights to the hidden layer: 2147483646, which an int can count, so that
  // memory is asked for, of the inputs first; and 2147483649.
  Reports reports;
  State* const state = newRealState(2);
  {
    const FailingNew memory(FailingNew::ONE, 1);
    const Network network(state, 715827882);
  }
  EXPECT_EQ(reports.errors(), noMemoryReport("3"));
  const Network network(newRealState(2), 715827883);
  EXPECT_EQ(reports.errors(), noMemoryReport("2147483649"));
}
