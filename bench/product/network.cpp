#include <quarnel/StateNeuralNetwork.h>
#include <quarnel/TD.h>

#include <string>

#include "product/Agent.h"
#include "workloads/Digest.h"
#include "workloads/Drift.h"
#include "workloads/Workloads.h"

namespace {

/// A network that tells the digest of its weights.
class ReadableNetwork : public StateNeuralNetwork {
 public:
  using StateNeuralNetwork::StateNeuralNetwork;

  const std::uint64_t getDigest() const {
    Digest digest;
    digest.add(inputHiddenWeights, static_cast<std::size_t>(INPUT_HIDDEN_ARRAY_SIZE));
    digest.add(hiddenOutputWeights, static_cast<std::size_t>(HIDDEN_OUTPUT_ARRAY_SIZE));
    return digest.get();
  }
};

/// Builds the state, which has to be complete before the network.
State* makeState(int variables) {
  auto* const state = new State;
  for (int i = 0; i < variables; ++i) {
    state->registerVariable("x" + std::to_string(i), -1.0, 1.0);
  }
  return state;
}

/// TD on drifting variables, over a network.
template <int VARIABLES>
class DriftAgent final : public Agent<TD> {
 public:
  DriftAgent(int hiddenNeurons, TRACE_TYPE traces)
      : Agent(Drift<VARIABLES>::PARAMETERS, traces),
        state(makeState(VARIABLES)),
        network(new ReadableNetwork(state, hiddenNeurons)) {
    network->initWeights(ValueFunction::getRandomInitializer());
    svfPtr = network;
  }

  const std::uint64_t getDigest() const override { return network->getDigest(); }

 protected:
  void setInitialState() override {
    drift.reset();
    show();
  }

  void takeAction() override { drift.step(); }

  const bool observeState() override {
    show();
    return !drift.isAtEnd();
  }

  const double calculateReward() override { return drift.getReward(); }

 private:
  void show() {
    unsigned int id = 0;
    for (const double variable : drift.getVariables()) {
      state->setValueDbl(id, variable);
      ++id;
    }
  }

  Drift<VARIABLES> drift;
  State* state;
  ReadableNetwork* network;
};

}  // namespace

std::unique_ptr<Training> makeSmallNetwork() { return std::make_unique<DriftAgent<2>>(20, NONE); }

std::unique_ptr<Training> makeSmallNetworkTraces() {
  return std::make_unique<DriftAgent<2>>(20, ACCUMULATING);
}

std::unique_ptr<Training> makeLargeNetwork() { return std::make_unique<DriftAgent<8>>(64, NONE); }

std::unique_ptr<Training> makeLargeNetworkTraces() {
  return std::make_unique<DriftAgent<8>>(64, ACCUMULATING);
}
