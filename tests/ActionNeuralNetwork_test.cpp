#include <gmock/gmock.h>
#include <quarnel/AbstractAction.h>
#include <quarnel/ActionNeuralNetwork.h>
#include <quarnel/State.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
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

const char* const NOT_REMOVED =
    "ActionNeuralNetwork::removeAction: Removing actions isn't implemented yet for "
    "NeuralNetworks!";

class Network : public Networks::OpenNetwork<ActionNeuralNetwork> {
 public:
  using OpenNetwork::OpenNetwork;

  // A network with so many actions, created.
  Network(State* state, int units, int actions) : OpenNetwork(state, units) {
    addActions(actions);
    create();
  }

  using ActionNeuralNetwork::removeAction;
  using ActionValueFunction::ACTIONS;
  using ActionValueFunction::registeredActions;
  using ValueFunction::initWeightsFunctionPtr;
  using ValueFunction::maxValue;
  using ValueFunction::minValue;

  void addActions(int count) {
    for (int i = 0; i < count; ++i) {
      registerAction(new AbstractAction);
    }
  }

  void set(const Numbers& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      getStatePtr()->setValueDbl(static_cast<unsigned int>(i), values[i]);
    }
  }
};

// A network of two variables and three hidden units, and a plain one with the same weights. The
// weights beyond the first share are 7.0.
class Twins {
 public:
  explicit Twins(int actions) : network(newRealState(2), 3, actions), plain(2, 3, 1) {
    network.initWeights([]() -> const double { return 7.0; });
    plain.inputHidden = roughNumbers(9, 1);
    plain.hiddenOutput = roughNumbers(4, 2);
    network.setToHidden(plain.inputHidden);
    network.setToOutput(plain.hiddenOutput);
  }

  // Other inputs for every seed.
  void observe(unsigned int seed) {
    const Numbers values = roughNumbers(2, seed);
    network.set(values);
    network.setState();
    std::copy(values.begin(), values.end(), plain.inputValues.begin());
  }

  // Expects the plain network in the first share, and in the others what stood there.
  void expectSameInFirstShare() const {
    const auto expectFirst = [](const Numbers& numbers, const Numbers& first, double others) {
      ASSERT_GE(numbers.size(), first.size());
      const auto end = numbers.begin() + static_cast<std::ptrdiff_t>(first.size());
      EXPECT_EQ(Numbers(numbers.begin(), end), first);
      EXPECT_THAT(Numbers(end, numbers.end()), Each(others));
    };
    expectFirst(network.toHidden(), plain.inputHidden, 7.0);
    expectFirst(network.toOutput(), plain.hiddenOutput, 7.0);
    expectFirst(network.tracesToHidden(), plain.inputHiddenTraces, 0.0);
    expectFirst(network.tracesToOutput(), plain.hiddenOutputTraces, 0.0);
  }

  Network network;
  PlainNetwork plain;
};

std::vector<std::string> actionReport(int index, int actions) {
  return messages({"ActionNeuralNetwork::getActionValue: actionIndex[" + std::to_string(index) +
                   "] out of bounds [ 0, " + std::to_string(actions) + ")"});
}

std::vector<std::string> outputReport(int index, int outputs = 1) {
  return reportsOf("getOutputValue", {"outputIndex out of Bounds --> 0 <= " +
                                      std::to_string(index) + " < " + std::to_string(outputs)});
}

std::vector<std::string> noMemoryReport(const std::string& entries) {
  return messages({"Can not allocate memory for " + entries + " entries of 8 bytes!"});
}

// A call of every operation; none may mind what is missing.
void callEverything(Network& network) {
  network.setState();
  for (const int index : {-1, 0, 1, 2}) {
    network.getActionValue(index);
  }
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
  network.removeAction(0);
  const MemoryFile file;
  network.save(file);
}

}  // namespace

// Construction from a state.

TEST(ActionNeuralNetwork, ConstructionLeavesTheArraysToCreate) {
  Reports reports;
  State* const state = newRealState(2);
  const Network network(state, 3);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 1);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 0);
  EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 0);
  EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 0);
  EXPECT_FALSE(network.hasArrays());
  EXPECT_EQ(network.getStatePtr(), state);
  EXPECT_EQ(network.stateOfTheNetwork(), state);
  EXPECT_EQ(network.getNumberOfActions(), 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionNeuralNetwork, ConstructionSetsTheInitialiserAndTheRangeOfRandomWeights) {
  Network other(newRealState(1), 1);
  other.setRandomValueBoundaries(7.0, 9.0);
  const Network network(newRealState(2), 3);
  EXPECT_EQ(network.initWeightsFunctionPtr, ValueFunction::getRandomInitializer());
  EXPECT_EQ(Network::minValue, -0.5);
  EXPECT_EQ(Network::maxValue, 0.5);
}

TEST(ActionNeuralNetwork, NothingIsDrawnBeforeInitWeights) {
  std::unique_ptr<Network> network;
  EXPECT_EQ(countDraws([&] { network = std::make_unique<Network>(newRealState(2), 3, 4); }), 0);
  EXPECT_EQ(network->getMinWeight(), 0.0) << "no memory of others shows through";
  EXPECT_EQ(network->getMaxWeight(), 0.0);
}

TEST(ActionNeuralNetwork, BeforeCreateEveryOperationIsSafe) {
  Reports reports;
  Network network(newRealState(2), 3);
  network.addActions(2);
  EXPECT_EQ(network.getActionValue(0), 0.0);
  EXPECT_EQ(errors(reports), reportsOf("getOutputValue", {Networks::NO_TO_HIDDEN}));
  callEverything(network);
  network.setGreedyActionIndex();
  network.setSoftMaxActionIndex(1.0);
}

TEST(ActionNeuralNetwork, FourActionsGiveFourTimesTheArrays) {
  Network network(newRealState(2), 3, 4);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 36);
  EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 16);
  EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 36);
  EXPECT_EQ(network.INPUT_LAYER_NEURONS, 3);
  EXPECT_EQ(network.HIDDEN_LAYER_NEURONS, 4);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 1);
  network.initEligibilityTraces();
  EXPECT_EQ(network.toHidden().size(), 36U);
  EXPECT_EQ(network.toOutput().size(), 16U);
  EXPECT_EQ(network.tracesToHidden(), Numbers(36, 0.0));
  EXPECT_EQ(network.tracesToOutput(), Numbers(16, 0.0));
}

TEST(ActionNeuralNetwork, SizesFollowLayersOutputsAndActions) {
  for (const int actions : {1, 2, 5}) {
    for (const int outputs : {1, 3}) {
      Network network(newRealState(4), 6, actions);
      network.OUTPUT_LAYER_NEURONS = outputs;
      network.create();
      EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 6 * 5 * actions);
      EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 7 * outputs * actions);
      EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 6 * 5 * outputs * actions);
      EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, outputs);
    }
  }
}

TEST(ActionNeuralNetwork, FactorsAndBiasesAreOneAfterCreate) {
  Network network(newRealState(2), 3, 4);
  EXPECT_THAT(network.factors(), ElementsAre(1.0, 1.0));
  EXPECT_EQ(network.inputValues[2], 1.0);
  EXPECT_EQ(network.hiddenValues[3], 1.0);
}

TEST(ActionNeuralNetwork, CreateMakesTheNetworkAnewForTheActionsThereAre) {
  Network network(newRealState(2), 3, 2);
  network.initWeights(one);
  network.initEligibilityTraces();
  network.setScaleFactor(1, 3.0);
  network.setBias(4.0, 5.0);
  network.addActions(1);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 18) << "not before create";
  network.create();
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 27);
  EXPECT_EQ(network.toHidden(), Numbers(27, 0.0));
  EXPECT_EQ(network.toOutput(), Numbers(12, 0.0));
  EXPECT_THAT(network.factors(), ElementsAre(1.0, 1.0));
  EXPECT_EQ(network.inputValues[2], 1.0);
  EXPECT_EQ(network.hiddenValues[3], 1.0);
  EXPECT_EQ(network.hiddenOutputTraces, nullptr);
  EXPECT_EQ(network.inputHiddenOutputTraces, nullptr);
}

TEST(ActionNeuralNetwork, WithoutActionsTheArraysOfWeightsAreEmpty) {
  Reports reports;
  Network network(newRealState(2), 3, 0);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 0);
  EXPECT_EQ(network.HIDDEN_OUTPUT_ARRAY_SIZE, 0);
  EXPECT_EQ(network.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 0);
  EXPECT_EQ(network.getActionValue(0), 0.0);
  EXPECT_EQ(errors(reports), actionReport(0, 0));
  callEverything(network);
  network.getOutputValue(0);
  EXPECT_EQ(network.getMinWeight(), LARGEST);
  EXPECT_EQ(network.getMaxWeight(), -LARGEST);
}

TEST(ActionNeuralNetwork, AnActionRegisteredTooLateHasNoWeightsOfItsOwn) {
  Reports reports;
  Network network(newRealState(2), 3, 0);
  network.addActions(2);
  network.getActionValue(0);
  callEverything(network);
  EXPECT_THAT(network.toHidden(), IsEmpty());
  network.create();
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 18);
}

TEST(ActionNeuralNetwork, SizesThatAnIntCanNotCountAreRefused) {
  const auto refusal = [](unsigned int variables, int units, int actions) {
    Reports reports;
    Network network(newRealState(variables), units);
    network.addActions(actions);
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      network.create();
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, 1000U) << "of the report";
    EXPECT_FALSE(network.hasArrays());
    const std::vector<std::string> list = reports.errors();
    callEverything(network);
    return list;
  };
  EXPECT_EQ(refusal(1, 1 << 29, 2), noMemoryReport("2147483648"));
  EXPECT_EQ(refusal(1, 1 << 29, 4), noMemoryReport("4294967296")) << "an int counts this as 0";
  EXPECT_EQ(refusal(2, -1, 4), noMemoryReport("-12"));
  EXPECT_EQ(refusal(2, -1, 0).size(), 1U) << "a layer without a unit needs no action for that";
  EXPECT_EQ(refusal(2, INT_SMALLEST, 1).size(), 1U);
  EXPECT_EQ(refusal(2, INT_LARGEST, 1).size(), 1U);
}

// Values.

TEST(ActionNeuralNetwork, TheValueOfActionZeroIsTheOutputOfAPlainComputation) {
  Reports reports;
  for (const int actions : {1, 4}) {
    Twins twins(actions);
    for (unsigned int seed = 10; seed < 20; ++seed) {
      twins.observe(seed);
      twins.plain.forward();
      EXPECT_EQ(twins.network.getActionValue(0), twins.plain.outputValues[0]);
    }
  }
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionNeuralNetwork, EveryFurtherActionIsReportedByTheNetworkAndWorthNothing) {
  Reports reports;
  Twins twins(4);
  for (const int action : {1, 2, 3}) {
    EXPECT_EQ(twins.network.getActionValue(action), 0.0);
    EXPECT_EQ(errors(reports), outputReport(action));
  }
}

TEST(ActionNeuralNetwork, AnActionIndexOutOfBoundsIsReportedAndWorthNothing) {
  Reports reports;
  for (const int actions : {1, 4}) {
    Twins twins(actions);
    for (const int index : {INT_SMALLEST, -1, actions, actions + 1, INT_LARGEST}) {
      EXPECT_EQ(twins.network.getActionValue(index), 0.0);
      EXPECT_EQ(errors(reports), actionReport(index, actions)) << "and not by the network, too";
    }
  }
}

TEST(ActionNeuralNetwork, TheValueComesThroughTheSlotOfTheOutput) {
  class Fixed : public Network {
   public:
    using Network::Network;
    const double getOutputValue(int outputIndex) const override { return 40.0 + outputIndex; }
  };
  const Fixed network(newRealState(1), 1, 3);
  EXPECT_EQ(network.getActionValue(0), 40.0);
  EXPECT_EQ(network.getActionValue(2), 42.0);
}

TEST(ActionNeuralNetwork, TheGreedyChoiceIsTheOneActionThatHasAValue) {
  Reports reports;
  Twins twins(3);
  twins.observe(20);
  twins.plain.forward();
  double best = 0.0;
  EXPECT_EQ(countDraws([&] { best = twins.network.setGreedyActionIndex(); }), 1);
  EXPECT_EQ(best, twins.plain.outputValues[0]);
  EXPECT_EQ(twins.network.getActiveActionIndex(), 0);
  std::vector<std::string> expected = outputReport(1);
  expected.push_back(outputReport(2).front());
  EXPECT_EQ(errors(reports), expected) << "each further action is reported";
}

TEST(ActionNeuralNetwork, WithOneActionEverySelectionChoosesItWithoutAReport) {
  Reports reports;
  Twins twins(1);
  twins.observe(21);
  twins.plain.forward();
  EXPECT_EQ(twins.network.setGreedyActionIndex(), twins.plain.outputValues[0]);
  EXPECT_EQ(twins.network.setRandomActionIndex(), twins.plain.outputValues[0]);
  EXPECT_EQ(twins.network.setSoftMaxActionIndex(0.5), twins.plain.outputValues[0]);
  EXPECT_EQ(twins.network.getActiveActionIndex(), 0);
  EXPECT_THAT(errors(reports), IsEmpty());
}

// Learning.

TEST(ActionNeuralNetwork, LearningUsesTheFirstShareOnly) {
  for (const int actions : {1, 2, 4}) {
    for (const bool traces : {false, true}) {
      Twins twins(actions);
      ActionValueFunction& base = twins.network;
      if (traces) {
        base.initEligibilityTraces();
        twins.plain.clearTraces();
      }
      for (unsigned int seed = 30; seed < 40; ++seed) {
        twins.observe(seed);
        base.getActionValue(0);
        twins.plain.forward();
        if (traces) {
          base.updateEligibilityTraces(0.9, 0.6);
          twins.plain.decay(0.6);
        }
        base.updateWeights(0.4, -1.3);
        twins.plain.update(0.4, -1.3);
        twins.expectSameInFirstShare();
      }
    }
  }
}

TEST(ActionNeuralNetwork, TheActiveActionDoesNotMatterForLearning) {
  Reports reports;
  Twins first(3);
  Twins second(3);
  for (Twins* const twins : {&first, &second}) {
    twins->observe(40);
  }
  first.network.setGreedyActionIndex();
  while (second.network.getActiveActionIndex() < 1) {
    second.network.setRandomActionIndex();
  }
  second.network.getActionValue(0);
  for (Twins* const twins : {&first, &second}) {
    twins->network.storeState();
    twins->network.updateWeights(0.4, 1.3);
  }
  EXPECT_EQ(first.network.toHidden(), second.network.toHidden());
  EXPECT_EQ(first.network.toOutput(), second.network.toOutput());
}

TEST(ActionNeuralNetwork, InitWeightsLimitsAndStatisticsTakeEveryShare) {
  Network network(newRealState(2), 3, 4);
  Networks::initialised = 0;
  network.initWeights(nextNumber);
  EXPECT_EQ(Networks::initialised, 36 + 16);
  EXPECT_EQ(network.toHidden()[35], -18.0);
  EXPECT_EQ(network.toOutput()[15], -26.0);
  EXPECT_EQ(network.getMinWeight(), -26.0);
  EXPECT_EQ(network.getMaxWeight(), 25.5);
  network.initWeights(one);
  EXPECT_EQ(network.getAvgWeight(false), 52.0 / (36 * 16));
  network.hiddenOutputWeights[15] = -9.0;
  network.inputHiddenWeights[35] = 9.0;
  EXPECT_EQ(network.getAvgWeight(true), 68.0 / (36 * 16));
  network.setMinWeightLimit(-2.0);
  network.setMaxWeightLimit(3.0);
  network.checkWeightLimit();
  EXPECT_EQ(network.toOutput()[15], -2.0);
  EXPECT_EQ(network.toHidden()[35], 3.0);
}

TEST(ActionNeuralNetwork, LearningKeepsTheWeightsInTheLimitsOfTheValueFunction) {
  Twins twins(2);
  twins.network.getActionValue(0);
  twins.network.setMinWeightLimit(-0.25);
  twins.network.setMaxWeightLimit(0.75);
  twins.network.updateWeights(1.0, 50.0);
  EXPECT_EQ(twins.network.getMinWeight(), -0.25);
  EXPECT_EQ(twins.network.getMaxWeight(), 0.75);
}

// Removing actions.

TEST(ActionNeuralNetwork, RemoveActionIsReportedAndChangesNothing) {
  Reports reports;
  Twins twins(2);
  const MemoryFile before;
  ASSERT_EQ(twins.network.save(before), 0);
  for (const int index : {-1, 0, 1, 2}) {
    twins.network.removeAction(index);
    EXPECT_EQ(errors(reports), messages({NOT_REMOVED}));
  }
  EXPECT_EQ(twins.network.getNumberOfActions(), 2);
  EXPECT_EQ(twins.network.INPUT_HIDDEN_ARRAY_SIZE, 18);
  const MemoryFile after;
  ASSERT_EQ(twins.network.save(after), 0);
  EXPECT_EQ(after.content(), before.content());
}

TEST(ActionNeuralNetwork, UnregisteringIsReportedAndLowersTheNumberOfActionsByOne) {
  Reports reports;
  Twins twins(3);
  const std::unique_ptr<const AbstractAction> first(twins.network.getAction(0));
  const std::unique_ptr<const AbstractAction> last(twins.network.getAction(2));
  twins.network.unregisterAction(2);
  EXPECT_EQ(errors(reports), messages({NOT_REMOVED}));
  EXPECT_EQ(twins.network.getNumberOfActions(), 2);
  EXPECT_EQ(twins.network.registeredActions.size(), 2U);
  twins.network.unregisterAction(first.get());
  EXPECT_EQ(errors(reports), messages({NOT_REMOVED}));
  EXPECT_EQ(twins.network.getNumberOfActions(), 1);
  EXPECT_EQ(twins.network.INPUT_HIDDEN_ARRAY_SIZE, 27);

  twins.observe(50);
  twins.plain.forward();
  EXPECT_EQ(twins.network.getActionValue(0), twins.plain.outputValues[0]);
  twins.network.updateWeights(0.4, 1.3);
  twins.plain.update(0.4, 1.3);
  twins.expectSameInFirstShare();
  EXPECT_EQ(twins.network.getActionValue(1), 0.0);
  EXPECT_EQ(errors(reports), actionReport(1, 1));

  const std::unique_ptr<const AbstractAction> middle(twins.network.getAction(0));
  twins.network.unregisterAction(0);
  EXPECT_EQ(errors(reports), messages({NOT_REMOVED}));
  EXPECT_EQ(twins.network.getActionValue(0), 0.0);
  EXPECT_EQ(errors(reports), actionReport(0, 0));
}

// One object behind several interfaces.

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

// Drives the operations that all bases share and looks at what they did to the network.
template <typename Base>
void expectSharedOperationsThrough(Base& base, Twins& twins) {
  Reports reports;
  Network& network = twins.network;
  base.initWeights(one);
  EXPECT_THAT(network.toHidden(), Each(1.0));
  EXPECT_THAT(network.toOutput(), Each(1.0));
  EXPECT_EQ(base.getMinWeight(), 1.0);
  EXPECT_EQ(base.getMaxWeight(), 1.0);
  EXPECT_EQ(base.getAvgWeight(false), 13.0 / 36);
  network.setToHidden(twins.plain.inputHidden);
  network.setToOutput(twins.plain.hiddenOutput);
  twins.observe(60);
  network.getActionValue(0);
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
  twins.expectSameInFirstShare();
  EXPECT_THAT(errors(reports), IsEmpty());
  base.valueEpisode(1.0);
  EXPECT_EQ(errors(reports), reportsOf("valueEpisode", {NOT_IMPLEMENTED}));
  twins.expectSameInFirstShare();
}

}  // namespace

TEST(ActionNeuralNetwork, TheSharedOperationsDoTheSameThroughEveryBase) {
  Twins twins(1);
  expectSharedOperationsThrough<Network>(twins.network, twins);
  expectSharedOperationsThrough<NeuralNetwork>(twins.network, twins);
  expectSharedOperationsThrough<ActionValueFunction>(twins.network, twins);
  expectSharedOperationsThrough<ValueFunction>(twins.network, twins);
}

TEST(ActionNeuralNetwork, OneOverrideServesAllBases) {
  Recording network(newRealState(1), 1);
  const std::string all =
      "initWeights initEligibilityTraces updateEligibilityTraces accumulatingTraces "
      "replacingTraces setState storeState initEpisodeStateHistory valueEpisode ";
  EXPECT_EQ(callsThrough<NeuralNetwork>(network, network), all);
  EXPECT_EQ(callsThrough<ActionValueFunction>(network, network), all);
  EXPECT_EQ(callsThrough<ValueFunction>(network, network), all);
}

TEST(ActionNeuralNetwork, LearningWithinLimitsChecksThemThroughTheSlotOfTheNetwork) {
  class Noting : public Network {
   public:
    using Network::checkWeightLimit;
    using Network::Network;
    void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) override {
      limits = {MIN_WEIGHT, MAX_WEIGHT};
    }
    Numbers limits;
  };
  Noting network(newRealState(1), 1, 1);
  network.getActionValue(0);
  network.updateWeights(0.1, 1.0);
  EXPECT_THAT(network.limits, IsEmpty());
  network.setMinWeightLimit(-3.0);
  network.updateWeights(0.1, 1.0);
  EXPECT_THAT(network.limits, ElementsAre(-3.0, LARGEST));
}

// The block in a file.

TEST(ActionNeuralNetwork, SavesEveryShareInTheBlock) {
  Network network(newRealState(1), 1, 2);
  Networks::initialised = 0;
  network.initWeights(nextNumber);
  network.setScaleFactor(0, 7.0);
  network.setBias(0.1, 0.3);
  const MemoryFile file;
  EXPECT_EQ(network.save(file), 0);
  EXPECT_EQ(file.content(),
            block(2, 2, 1, {0.5, -1.0, 1.5, -2.0}, {2.5, -3.0, 3.5, -4.0}, {7.0}, 0.1, 0.3));
}

TEST(ActionNeuralNetwork, LoadGivesTheNetworkTheStateOfTheValueFunction) {
  Network network(newRealState(1), 1, 1);
  network.setStatePtr(nullptr);
  const MemoryFile file(block(2, 2, 1, {1.0, 2.0}, {3.0, 4.0}, {5.0}));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.stateOfTheNetwork(), network.getStatePtr());
  EXPECT_THAT(network.toOutput(), ElementsAre(3.0, 4.0));
}

TEST(ActionNeuralNetwork, LoadReadsAShareForEveryAction) {
  Network network(newRealState(1), 1, 2);
  const MemoryFile file(block(2, 2, 1, {1, 2, 3, 4}, {5, 6, 7, 8}, {9}) + "behind");
  EXPECT_EQ(network.load(file), 0);
  EXPECT_THAT(network.toHidden(), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(network.toOutput(), ElementsAre(5, 6, 7, 8));
  EXPECT_THAT(network.factors(), ElementsAre(9));
  EXPECT_EQ(std::ftell(file), 12 + 9 * 8 + 8);
}

TEST(ActionNeuralNetwork, OnlyALoadedBlockGivesFurtherActionsValues) {
  Reports reports;
  Network network(newRealState(0), 0, 3);
  const MemoryFile file(block(1, 1, 2, {}, {2.0, -2.0, 7.0, 7.0, 7.0, 7.0}, {}));
  EXPECT_EQ(network.load(file), 0);
  EXPECT_EQ(network.OUTPUT_LAYER_NEURONS, 2);
  EXPECT_EQ(network.getActionValue(0), 1 / (1 + std::exp(-2.0)));
  EXPECT_EQ(network.getActionValue(1), 1 / (1 + std::exp(2.0)));
  EXPECT_THAT(errors(reports), IsEmpty());
  EXPECT_EQ(network.getActionValue(2), 0.0);
  EXPECT_EQ(errors(reports), outputReport(2, 2));
}

TEST(ActionNeuralNetwork, ALoadedNetworkOfSeveralOutputsLearnsInItsFirstShare) {
  Network network(newRealState(2), 3, 2);
  const Numbers toHidden = roughNumbers(18, 1);
  const Numbers toOutput = roughNumbers(16, 2);
  const MemoryFile file(block(3, 4, 2, toHidden, toOutput, {1.0, 1.0}));
  ASSERT_EQ(network.load(file), 0);
  PlainNetwork plain(2, 3, 2);
  std::copy_n(toHidden.begin(), 9, plain.inputHidden.begin());
  std::copy_n(toOutput.begin(), 8, plain.hiddenOutput.begin());
  network.set({0.3, -0.7});
  network.setState();
  plain.inputValues = {0.3, -0.7, 1.0};
  network.initEligibilityTraces();
  plain.clearTraces();
  EXPECT_EQ(network.tracesToHidden().size(), 36U);
  plain.forward();
  EXPECT_EQ(network.getActionValue(1), plain.outputValues[1]);
  network.updateEligibilityTraces(0.9, 0.5);
  plain.decay(0.5);
  network.updateWeights(0.4, 1.3);
  plain.update(0.4, 1.3);
  plain.inputHidden.insert(plain.inputHidden.end(), toHidden.begin() + 9, toHidden.end());
  plain.hiddenOutput.insert(plain.hiddenOutput.end(), toOutput.begin() + 8, toOutput.end());
  EXPECT_EQ(network.toHidden(), plain.inputHidden);
  EXPECT_EQ(network.toOutput(), plain.hiddenOutput);
}

TEST(ActionNeuralNetwork, SavingBeforeCreateFailsBehindTheNumberOfActions) {
  Reports reports;
  const TemporaryDirectory directory;
  Network network(newRealState(1), 1);
  network.addActions(2);
  EXPECT_EQ(network.save(directory.file("q")), -1);
  EXPECT_EQ(errors(reports), messages({"NeuralNetwork::save: inputHiddenWeights == 0 --> This "
                                       "should never happen!",
                                       "ActionValueFunction::save: saving valuefunction failed"}));
  EXPECT_EQ(readFile(directory.file("q")), realStateRecord(1) + bytes(2));
}

// Named files.

TEST(ActionNeuralNetwork, ANamedFileHoldsTheStateTheNumberOfActionsAndTheNetwork) {
  const TemporaryDirectory directory;
  auto* const state = new State;
  state->registerVariable("x", -1.0, 2.0);
  Network network(state, 0, 2);
  network.setToOutput({1.0, -2.0});
  network.setScaleFactor(0, 0.5);
  EXPECT_EQ(network.save(directory.file("q")), 0);
  EXPECT_EQ(readFile(directory.file("q")),
            std::string("\x01\x00\x00\x00"                  // one variable
                        "\x02\x00\x00\x00"                  // of real numbers
                        "\x01\x00\x00\x00"                  // with a name of one byte
                        "x"                                 //
                        "\x00\x00\x00\x00\x00\x00\xF0\xBF"  // from -1.0
                        "\x00\x00\x00\x00\x00\x00\x00\x40"  // to 2.0
                        "\x02\x00\x00\x00"                  // actions
                        "\x02\x00\x00\x00"                  // input units
                        "\x01\x00\x00\x00"                  // hidden units
                        "\x01\x00\x00\x00"                  // outputs
                        "\x00\x00\x00\x00\x00\x00\xF0\x3F"  // 1.0, of the first share
                        "\x00\x00\x00\x00\x00\x00\x00\xC0"  // -2.0, of the second
                        "\x00\x00\x00\x00\x00\x00\xE0\x3F"  // factor 0.5
                        "\x00\x00\x00\x00"                  // half of the bias 1.0
                        "\x00\x00\x00\x00",                 // and of the other one
                        77));
}

TEST(ActionNeuralNetwork, ANetworkBuiltFromAFileNeedsNoCreate) {
  Reports reports;
  const TemporaryDirectory directory;
  Twins twins(4);
  twins.network.setScaleFactor(0, 0.1);
  ASSERT_EQ(twins.network.save(directory.file("q")), 0);

  Network copy(directory.file("q"));
  EXPECT_EQ(copy.getNumberOfActions(), 4);
  EXPECT_EQ(copy.getAction(0), nullptr);
  EXPECT_EQ(copy.INPUT_HIDDEN_ARRAY_SIZE, 36);
  EXPECT_EQ(copy.HIDDEN_OUTPUT_ARRAY_SIZE, 16);
  EXPECT_EQ(copy.INPUT_HIDDEN_OUTPUT_ARRAY_SIZE, 36);
  EXPECT_EQ(copy.OUTPUT_LAYER_NEURONS, 1);
  EXPECT_EQ(copy.toHidden(), twins.network.toHidden());
  EXPECT_EQ(copy.toOutput(), twins.network.toOutput());
  EXPECT_THAT(copy.factors(), ElementsAre(0.1, 1.0));
  ASSERT_NE(copy.getStatePtr(), nullptr);
  EXPECT_EQ(copy.stateOfTheNetwork(), copy.getStatePtr());
  copy.set({0.3, -0.7});
  twins.network.set({0.3, -0.7});
  copy.setState();
  twins.network.setState();
  EXPECT_EQ(copy.getActionValue(0), twins.network.getActionValue(0));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionNeuralNetwork, SavingLoadingAndSavingGivesTheSameBytes) {
  const TemporaryDirectory directory;
  Twins twins(3);
  ASSERT_EQ(twins.network.save(directory.file("first")), 0);
  const Network copy(directory.file("first"));
  ASSERT_EQ(copy.save(directory.file("second")), 0);
  EXPECT_EQ(readFile(directory.file("second")), readFile(directory.file("first")));

  Network other(newRealState(1), 7, 1);
  ASSERT_EQ(other.load(directory.file("first")), 0);
  ASSERT_EQ(other.save(directory.file("third")), 0);
  EXPECT_EQ(readFile(directory.file("third")), readFile(directory.file("first")));
}

TEST(ActionNeuralNetwork, ConstructionFromAFileLeavesTheInitialisersAlone) {
  const TemporaryDirectory directory;
  Network network(newRealState(1), 1, 1);
  ASSERT_EQ(network.save(directory.file("q")), 0);
  network.setRandomValueBoundaries(7.0, 9.0);
  const Network copy(directory.file("q"));
  EXPECT_EQ(Network::minValue, 7.0);
  EXPECT_EQ(Network::maxValue, 9.0);
  EXPECT_EQ(copy.initWeightsFunctionPtr, ValueFunction::getConstantInitializer());
  network.setRandomValueBoundaries(-0.5, 0.5);
}

TEST(ActionNeuralNetwork, AMissingFileGivesANetworkWithoutStateAndArrays) {
  Reports reports;
  const TemporaryDirectory directory;
  Network network(directory.file("none"));
  EXPECT_EQ(errors(reports),
            messages({"ActionValueFunction::load: " + errnoMessage(ENOENT, " --> ")}));
  EXPECT_EQ(network.getStatePtr(), nullptr);
  EXPECT_EQ(network.getNumberOfActions(), 0);
  EXPECT_FALSE(network.hasArrays());
  callEverything(network);
  network.addActions(1);
  network.create();
  EXPECT_FALSE(network.hasArrays()) << "there are no layers";
  callEverything(network);
}

TEST(ActionNeuralNetwork, AFileCutAnywhereGivesANetworkThatBearsEveryCall) {
  const TemporaryDirectory directory;
  const std::string beforeBlock = realStateRecord(1) + bytes(2);
  const std::string whole =
      beforeBlock + block(2, 2, 1, roughNumbers(4, 1), roughNumbers(4, 2), {0.5});
  ASSERT_EQ(whole.size(), 29U + 4 + 12 + 9 * 8 + 8);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    Reports reports;
    writeFile(directory.file("q"), whole.substr(0, size));
    errno = 0;
    Network network(directory.file("q"));
    EXPECT_EQ(errors(reports).back(),
              size >= beforeBlock.size() ? "ActionValueFunction::load: loading valuefunction failed"
                                         : "ActionValueFunction::load: " + errnoMessage(0, " --> "))
        << size;
    callEverything(network);

    Network other(newRealState(3), 2, 3);
    EXPECT_EQ(other.load(directory.file("q")), -1) << size;
    callEverything(other);
    reports.takeErrors();
  }
  Reports reports;
  writeFile(directory.file("q"), whole);
  const Network network(directory.file("q"));
  EXPECT_EQ(network.toHidden(), roughNumbers(4, 1));
  EXPECT_THAT(errors(reports), IsEmpty());
}

TEST(ActionNeuralNetwork, SharesThatTheFileCanNotHoldAskForNoMemory) {
  const TemporaryDirectory directory;
  struct Hostile {
    int actions;
    int inputs;
    int hidden;
    int outputs;
  };
  for (const Hostile& hostile : std::vector<Hostile>{{65536, 2, 2, 1},
                                                     {3, 2, 2, 1},
                                                     {65536, 256, 129, 1},  // 2^31 weights
                                                     {65536, 256, 257, 1},  // 2^32
                                                     {65536, 1, 256, 256},  // 2^32 to the output
                                                     {65536, 100000, 1000, 1000},
                                                     {2, 0, 2, 1},
                                                     {2, 2, -1, 1},
                                                     {2, 2, 2, INT_SMALLEST},
                                                     {0, 0, 0, 0},
                                                     {0, 2, INT_LARGEST, 1},
                                                     {0, INT_LARGEST, 1, 1},
                                                     {0, 1, 1, INT_LARGEST}}) {
    Reports reports;
    writeFile(directory.file("q"), realStateRecord(1) + bytes(hostile.actions) +
                                       block(hostile.inputs, hostile.hidden, hostile.outputs,
                                             roughNumbers(4, 1), roughNumbers(4, 2), {0.5}));
    errno = 0;
    std::unique_ptr<Network> network;
    std::size_t largestRequest = 0;
    {
      const FailingNew memory;
      network = std::make_unique<Network>(directory.file("q"));
      largestRequest = memory.largestRequest();
    }
    EXPECT_LE(largestRequest, static_cast<std::size_t>(hostile.actions) * 8 + 2000U)
        << "of the places for actions, the network, its state and the reports";
    EXPECT_EQ(errors(reports),
              messages({"NeuralNetwork::load: " + errnoMessage(0, "  -->  "),
                        "ActionValueFunction::load: loading valuefunction failed"}));
    callEverything(*network);
  }
}

TEST(ActionNeuralNetwork, AFileWithoutActionsHoldsNoWeights) {
  Reports reports;
  const TemporaryDirectory directory;
  writeFile(directory.file("q"), realStateRecord(1) + bytes(0) + block(2, 2, 1, {}, {}, {0.5}));
  Network network(directory.file("q"));
  EXPECT_THAT(errors(reports), IsEmpty());
  EXPECT_EQ(network.getNumberOfActions(), 0);
  EXPECT_EQ(network.INPUT_HIDDEN_ARRAY_SIZE, 0);
  EXPECT_THAT(network.factors(), ElementsAre(0.5));
  EXPECT_EQ(network.getActionValue(0), 0.0);
  EXPECT_EQ(errors(reports), actionReport(0, 0));
  callEverything(network);
}

TEST(ActionNeuralNetwork, AFullDiskFailsTheSave) {
  Reports reports;
  const Network network(newRealState(1), 1000, 1);
  EXPECT_EQ(network.save(FULL_DEVICE), -1);
  EXPECT_EQ(errors(reports), messages({"NeuralNetwork::save: " + errnoMessage(ENOSPC, "  -->  "),
                                       "ActionValueFunction::save: saving valuefunction failed"}));
}

// Short memory.

namespace {
class ActionNeuralNetworkInShortMemory : public Tables::InShortMemory {};
}  // namespace

TEST_F(ActionNeuralNetworkInShortMemory, ACreateThatFailsIsReportedAndCanBeRepeated) {
  int call = 0;
  for (bool failed = true; failed;) {
    ++call;
    Reports reports;
    Twins twins(2);
    {
      const FailingNew memory(FailingNew::ONE, call);
      EXPECT_NO_THROW(twins.network.create()) << call;
      failed = memory.failed();
    }
    EXPECT_EQ(reports.errors().size(), failed ? 1U : 0U) << call;
    EXPECT_EQ(twins.network.hasArrays(), !failed) << call;
    callEverything(twins.network);
    twins.network.create();
    EXPECT_EQ(twins.network.toHidden(), Numbers(18, 0.0));
  }
  EXPECT_EQ(call, 9) << "seven arrays and the scratch array";
}

TEST_F(ActionNeuralNetworkInShortMemory, ConstructionFromAFileNeverThrows) {
  const TemporaryDirectory directory;
  const std::string name = directory.file("q");
  writeFile(name, realStateRecord(1) + bytes(2) +
                      block(2, 2, 1, roughNumbers(4, 1), roughNumbers(4, 2), {1.0}));
  int call = 1;
  for (bool failed = true; failed;) {
    ++call;  // the network's own memory is the first request
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
  EXPECT_GE(call, 11) << "state, variable, actions and seven arrays at least";
}
