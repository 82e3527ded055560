#ifndef QUARNEL_STATE_NEURAL_NETWORK_H
#define QUARNEL_STATE_NEURAL_NETWORK_H

#include <string>

#include "NeuralNetwork.h"
#include "StateValueFunction.h"

/// The state-value function V(s) as a network of three layers with one output. For `TD`, where the
/// state is continuous and returns lie in (0, 1).
///
/// The network is sized by the number of the state's variables when it is built, and all weights
/// are 0.0: call `initWeights()`, without which all hidden units learn the same.
///
/// @code
/// State* const state = new State;
/// state->registerVariable("x", -1.0, 1.0);
/// StateNeuralNetwork* const network = new StateNeuralNetwork(state, 10);
/// network->initWeights(ValueFunction::getRandomInitializer());
/// svfPtr = network;  // in the constructor of a class derived from TD
/// @endcode
class StateNeuralNetwork : public StateValueFunction, public NeuralNetwork {
 public:
  /// Builds the network for a state. Sets the range of the random initialiser of all value
  /// functions to [-0.5, 0.5).
  ///
  /// @param state holds real variables only; owned from now on.
  /// @param hiddenNeurons number of hidden units besides the bias unit, 0 or more; a number below,
  ///   or one that needs arrays of more than 2147483647 entries, is reported and gives a network
  ///   without arrays.
  explicit StateNeuralNetwork(State* state, int hiddenNeurons);

  /// Builds the network and its state from a file that `save()` has written. A file that is missing
  /// or damaged is reported and may give a network without arrays.
  ///
  /// @param fileName path of the file.
  explicit StateNeuralNetwork(const std::string& fileName);

  ~StateNeuralNetwork() override;

  using StateValueFunction::load;
  using StateValueFunction::save;

  void initWeights(const double (*initFunctionPtr)()) override;
  void initEligibilityTraces() override;
  using NeuralNetwork::updateWeights;

  /// Learns from a temporal-difference error, with the limits of the value function.
  ///
  /// @param ALPHA the step size.
  /// @param DELTA the temporal-difference error.
  void updateWeights(double ALPHA, double DELTA) override;

  void updateEligibilityTraces(double GAMMA, double LAMBDA) override;
  void accumulatingTraces(double VALUE) override;
  void replacingTraces(double VALUE) override;
  using NeuralNetwork::checkWeightLimit;
  void checkWeightLimit() override;
  const double getMinWeight() const override;
  const double getAvgWeight(bool abs) const override;
  const double getMaxWeight() const override;
  void setState() override;
  void storeState() override;
  void initEpisodeStateHistory() override;
  void valueEpisode(double amount) override;

 protected:
  using StateValueFunction::statePtr;

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

 public:
  /// @return the network's output, in (0, 1), computed anew for the inputs of the last `setState()`;
  ///   0.0 after a report where there are no arrays.
  const double getStateValue() const override;

  /// Makes the arrays anew, with scale factors and biases of 1.0 and weights of 0.0.
  void create() override;
};

#endif
