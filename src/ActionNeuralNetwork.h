#ifndef QUARNEL_ACTION_NEURAL_NETWORK_H
#define QUARNEL_ACTION_NEURAL_NETWORK_H

#include <string>

#include "ActionValueFunction.h"
#include "NeuralNetwork.h"

/// The action-value function Q(s, a) as a network of three layers. For `Sarsa` and `Watkins`.
///
/// The network has one output, on purpose, and so learns the value of action 0 only: every further
/// action is reported as an output out of bounds and has the value 0.0. Only a file can give it
/// more outputs, each of which then is the value of the action of its index.
///
/// Register the actions first, then call `create()`, which leaves all weights at 0.0, and
/// `initWeights()`, without which all hidden units learn the same.
///
/// @code
/// State* const state = new State;
/// state->registerVariable("x", -1.0, 1.0);
/// ActionNeuralNetwork* const network = new ActionNeuralNetwork(state, 10);
/// network->registerAction(new AbstractAction);
/// network->create();
/// network->initWeights(ValueFunction::getRandomInitializer());
/// avfPtr = network;  // in the constructor of a class derived from Sarsa or Watkins
/// @endcode
class ActionNeuralNetwork : public ActionValueFunction, public NeuralNetwork {
 public:
  /// A network that has no arrays until `create()`. Sets the range of the random initialiser of all
  /// value functions to [-0.5, 0.5).
  ///
  /// @param state holds real variables only, all registered before this; owned from now on.
  /// @param hiddenNeurons number of hidden units besides the bias unit, 0 or more.
  explicit ActionNeuralNetwork(State* state, int hiddenNeurons);

  /// Builds the network and its state from a file that `save()` has written; it needs no
  /// `create()`. A file that is missing or damaged is reported and may give a network without
  /// arrays.
  ///
  /// @param fileName path of the file.
  explicit ActionNeuralNetwork(const std::string& fileName);

  ~ActionNeuralNetwork() override;

  using ActionValueFunction::load;
  using ActionValueFunction::save;

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
  using ActionValueFunction::statePtr;

  const int save(FILE* file) const override;
  const int load(FILE* file) override;

 public:
  /// @param actionIndex the action's index.
  /// @return the output of the action's index, in (0, 1), computed anew for the inputs of the last
  ///   `setState()`. An index outside [0, `getNumberOfActions()`), or without an output of its own,
  ///   is reported and gives 0.0, and so do missing arrays.
  const double getActionValue(int actionIndex) const override;

 protected:
  /// Reports that actions can't be taken out of a network, which stays as it is.
  ///
  /// @param actionIndex the action's index.
  void removeAction(int actionIndex) override;

 public:
  /// Makes the arrays anew, with scale factors and biases of 1.0 and weights of 0.0. Weights and
  /// traces get a share for each registered action, of which the first is used. Sizes that no array
  /// can have (a negative number of hidden units, more than 2147483647 entries) are reported and
  /// leave a network without arrays.
  void create() override;
};

#endif
