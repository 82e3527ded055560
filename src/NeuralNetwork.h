#ifndef QUARNEL_NEURAL_NETWORK_H
#define QUARNEL_NEURAL_NETWORK_H

#include <cstdio>

#include "State.h"
#include "Utility.h"

/// The network representation: a fully connected network of three layers (input, hidden, output) of
/// logistic units, which learns by gradient steps on the temporal-difference error.
///
/// The inputs are the values of the real state variables, each times its scale factor. The last
/// unit of the input layer and that of the hidden layer are bias units: their values stay as they
/// were set, and the hidden one has no incoming weights. Outputs lie in (0, 1), so returns must be
/// scaled to that range.
///
/// A network knows nothing of what its outputs mean; `StateNeuralNetwork` and `ActionNeuralNetwork`
/// join it with the interface of a value function and decide the sizes of its arrays in `create()`.
/// An array may be shorter than the layers ask for: weights and traces beyond its end read as 0.0
/// and never change. All arrays are owned by the network.
///
/// An operation that needs an array which is not there reports that and does what it can without.
///
/// Source of the algorithm: Sutton and Barto, Reinforcement Learning, 2nd edition, sections 9.7
/// (networks as approximators) and 12.2 (eligibility traces of a gradient); Rumelhart, Hinton and
/// Williams 1986 (the gradient).
class NeuralNetwork {
 public:
  /// A network without layers, for `load()`.
  NeuralNetwork();

  /// A network of one output, which has no arrays until `create()`.
  ///
  /// @param state the state whose real variables are the inputs, as many as it has now; not owned.
  /// @param hiddenNeurons number of hidden units besides the bias unit; 0 leaves the bias unit
  ///   alone, and what is below is refused by `create()`.
  explicit NeuralNetwork(State* state, int hiddenNeurons);

  virtual ~NeuralNetwork();

  NeuralNetwork(const NeuralNetwork&) = delete;
  NeuralNetwork& operator=(const NeuralNetwork&) = delete;

  /// Sets the three array sizes, calls `allocateMemory()`, and sets bias units and scale factors;
  /// `layOut()` does all of that. Weights are left to `initWeights()`. Called again, it makes the
  /// network anew.
  virtual void create() = 0;

  /// Releases all arrays and sets the three layer sizes to 0.
  virtual void init();

  /// Sets every input-to-hidden weight and then every hidden-to-output weight, in the order of
  /// indices, to a fresh call of the function.
  ///
  /// @param initFunctionPtr gives the next weight; null is reported and changes nothing.
  virtual void initWeights(const double (*initFunctionPtr)());

  /// Makes all traces zero, and makes their arrays where there are none; from then on updates use
  /// traces. Call it again after `create()` or loading, which release them.
  virtual void initEligibilityTraces();

  /// Learns from a temporal-difference error. Without traces every weight gains ALPHA times DELTA
  /// times the gradient of the last forward pass, that of the input-to-hidden weights taken, on
  /// purpose, with the hidden-to-output weights as this update has just changed them; with traces,
  /// ALPHA times DELTA times its trace.
  /// Clamps the weights where a limit is set.
  ///
  /// @param ALPHA the learning rate.
  /// @param DELTA the temporal-difference error.
  /// @param MIN_WEIGHT lower limit of the weights; -1.7976931348623157e308 for none.
  /// @param MAX_WEIGHT upper limit of the weights; 1.7976931348623157e308 for none.
  virtual void updateWeights(double ALPHA, double DELTA, double MIN_WEIGHT, double MAX_WEIGHT);

  /// Decays every trace and adds the gradient of the last forward pass, so `getOutputValue()` comes
  /// first.
  ///
  /// @param GAMMA not used, on purpose: the traces of a network decay by LAMBDA alone.
  /// @param LAMBDA the trace decay, in [0, 1].
  virtual void updateEligibilityTraces(double GAMMA, double LAMBDA);

  /// Does nothing: `updateEligibilityTraces()` adds the gradient itself.
  ///
  /// @param VALUE not used.
  virtual void accumulatingTraces(double VALUE);

  /// Does nothing, as above.
  ///
  /// @param VALUE not used.
  virtual void replacingTraces(double VALUE);

  /// Computes all hidden and output units from the inputs of the last `setState()`.
  ///
  /// @param outputIndex which output, in [0, `OUTPUT_LAYER_NEURONS`).
  /// @return the output, in (0, 1); 0.0 after a report for another index, and where an array is
  ///   missing.
  virtual const double getOutputValue(int outputIndex) const;

  /// Clamps every weight into [MIN_WEIGHT, MAX_WEIGHT]; a weight that is not a number becomes
  /// MIN_WEIGHT.
  ///
  /// @param MIN_WEIGHT the lower limit.
  /// @param MAX_WEIGHT the upper limit.
  virtual void checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT);

  /// @return the smallest weight; 1.7976931348623157e308 after reports where there are none.
  virtual const double getMinWeight() const;

  /// @param abs true for the absolute values.
  /// @return the sum of all weights over the product of the two numbers of weights (not over their
  ///   sum); 0.0 after reports where there are no arrays of weights. Not finite where one of the
  ///   numbers is 0.
  virtual const double getAvgWeight(bool abs) const;

  /// @return the largest weight; -1.7976931348623157e308 after reports where there are none.
  virtual const double getMaxWeight() const;

  /// Sets the inputs to the state's current values, each times its scale factor. A variable that
  /// the state does not have, or has as an integer, is reported by the state and is an input of 0.0.
  virtual void setState();

  /// Does nothing: the inputs stay until the next `setState()`.
  virtual void storeState();

  /// Does nothing: a network has no history of the episode.
  virtual void initEpisodeStateHistory();

  /// Reports that networks can't do this.
  ///
  /// @param amount not used.
  virtual void valueEpisode(double amount);

 protected:
  /// Writes the network's block: the three layer sizes as 4-byte integers; the input-to-hidden
  /// weights, the hidden-to-output weights and the scale factors as 8-byte reals; and the first 4
  /// bytes of the input bias and of the hidden bias. Traces are not part of it.
  ///
  /// @param file open for writing.
  /// @return 0; -1 after a report.
  virtual const int save(FILE* file) const;

  /// Reads the network's block in place of what the network holds, calling `create()` for layers of
  /// the sizes read. Only the first 4 bytes of each bias are read, over those of the default. Layers
  /// without a unit, and arrays that the rest of the file can't hold, are a failed read and leave a
  /// network without layers.
  ///
  /// @param file open for reading, at a network's block.
  /// @return 0; -1 after a report, and the network then may be without arrays.
  virtual const int load(FILE* file);

  /// Makes all arrays but the traces, filled with 0.0, for the layer and array sizes; releases what
  /// the network held, traces too. Where one can't be had, that is reported and there are none.
  virtual void allocateMemory();

  /// Releases all arrays.
  virtual void freeMemory();

 public:
  /// Sets what a state variable is multiplied with before it enters the network; by default 1.0.
  ///
  /// @param variableIndex id of the variable; another than the network's inputs have is reported
  ///   and changes nothing.
  /// @param factor the factor; bring the variable to about [-1, 1], where the units are sensitive.
  void setScaleFactor(int variableIndex, double factor);

  /// Sets the values of the two bias units; by default 1.0. Reports where there are no units.
  ///
  /// @param inputBias value of the last input unit.
  /// @param hiddenBias value of the last hidden unit.
  void setBias(double inputBias, double hiddenBias);

  /// @param state the state to read from now on; not owned.
  void setStatePtr(State* state) { statePtr = state; }

 protected:
  /// Sets the array sizes to `shares` times what the layers ask for, makes the arrays, and sets
  /// scale factors and bias units to 1.0. Updates and outputs use the first share only. Sizes that
  /// no array can have are reported and leave a network without arrays.
  ///
  /// @param shares 1, or the number of actions.
  /// @param place where a report is said to come from.
  void layOut(int shares, const QuarnelUtility::Place& place);

  int INPUT_LAYER_NEURONS;             ///< Input units: the variables, and the bias unit.
  int HIDDEN_LAYER_NEURONS;            ///< Hidden units, with the bias unit.
  int OUTPUT_LAYER_NEURONS;            ///< Output units.
  int INPUT_HIDDEN_ARRAY_SIZE;         ///< Number of input-to-hidden weights.
  int HIDDEN_OUTPUT_ARRAY_SIZE;        ///< Number of hidden-to-output weights.
  int INPUT_HIDDEN_OUTPUT_ARRAY_SIZE;  ///< Number of traces of input-to-hidden weights.
  double* inputValues;                 ///< The inputs; the last one is the bias.
  double* hiddenValues;                ///< Hidden units after the last pass; the last is the bias.
  double* outputValues;                ///< The outputs of the last forward pass.
  double* inputHiddenWeights;          ///< By input, then by hidden unit without the bias unit.
  double* hiddenOutputWeights;         ///< By hidden unit with the bias unit, then by output.
  double* inputHiddenOutputTraces;     ///< As `inputHiddenWeights`, then by output; null at first.
  double* hiddenOutputTraces;          ///< As `hiddenOutputWeights`; null at first.
  double* tmp;                         ///< The derivative at each output, of the last update.
  double* scaleFactor;                 ///< What each state variable is multiplied with.
  State* statePtr;                     ///< The state; not owned.

  /// @name Lengths of the arrays
  /// What `allocateMemory()` made, whatever the sizes above have become since. `tmp` is as long as
  /// `outputValues`, `hiddenOutputTraces` as `hiddenOutputWeights`.
  /// @{
  int inputValuesSize;              ///< Of `inputValues`; `scaleFactor` is one shorter.
  int hiddenValuesSize;             ///< Of `hiddenValues`.
  int outputValuesSize;             ///< Of `outputValues`.
  int inputHiddenWeightsSize;       ///< Of `inputHiddenWeights`.
  int hiddenOutputWeightsSize;      ///< Of `hiddenOutputWeights`.
  int inputHiddenOutputTracesSize;  ///< Of `inputHiddenOutputTraces`.
  /// @}

  /// What an update passes back from the outputs to each hidden unit; `errorsSize` long.
  double* errors;
  int errorsSize;  ///< Length of `errors`.

 private:
  // The arrays in the file that load() is reading, which bounds what create() may ask for.
  class Block;
  Block* blockPtr;

  // False after a load that has not come to the end of the layers' sizes.
  bool layersKnown;

  // Hidden units that have incoming weights: all but the bias unit.
  const int hiddenUnits() const { return hiddenValuesSize - 1; }

  void refuseBlock(FILE* file, const QuarnelUtility::Place& place);
  const bool loadLayer(FILE* file, int& neurons, const QuarnelUtility::Place& place);
  const bool layersAreBelievable() const;
  const bool tracesAreBelievable() const;
  const bool blockHoldsArrays();
  const bool loadArrays(Block& block);
  void computeHiddenValues() const;
  void computeOutputValues() const;
  void updateHiddenOutputTraces(double LAMBDA, const QuarnelUtility::Place& place);
  void updateInputHiddenTraces(double LAMBDA, const QuarnelUtility::Place& place);
  void updateHiddenOutputWeights(double ALPHA, double DELTA, const QuarnelUtility::Place& place);
  void updateInputHiddenWeights(double ALPHA, double DELTA, const QuarnelUtility::Place& place);
  const double errorAtHidden(int hidden) const;
  void addInputHiddenTraces(double ALPHA, double DELTA);
};

#endif
