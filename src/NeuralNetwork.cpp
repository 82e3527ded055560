#include "NeuralNetwork.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

#include "Allocation.h"
#include "BinaryFile.h"
#include "NeuralNetworkBlock.h"
#include "VectorLoops.h"
#include "WeightArray.h"
#include "WrapAround.h"

namespace {

// A file may ask for this many units in a layer whatever else it holds; a larger layer must have
// its weights in the file.
const int TRUSTED_UNITS = 65536;

// Networks of as many outputs always have fewer traces for each weight.
const long long TRACES_PER_WEIGHT = 64;

const double sigma(double net) { return 1.0 / (1.0 + std::exp(-net)); }

const long long product(long long a, long long b, long long c) {
  return WrapAround::multiplySaturated(WrapAround::multiplySaturated(a, b), c);
}

const char* const NEVER = " --> This should never happen!";
const char* const FORGOT_CREATE = " --> Maybe forgot to call create?";
const char* const NO_ADVICE = "";

const bool isPresent(const double* array, const char* name, const QuarnelUtility::Place& place,
                     const char* advice = NEVER) {
  if (array == nullptr) {
    QUARNEL_ERROR_AT(place, name << " == 0" << advice);
  }
  return array != nullptr;
}

// A derived class may have made an array itself, of which nothing is known here.
const double* biased(const double* units, int size) { return size > 0 ? units : nullptr; }

const bool allocate(double*& array, long long size, const QuarnelUtility::Place& place) {
  array = Allocation::zeroes<double>(size, place);
  return array != nullptr;
}

void release(double*& array) {
  delete[] array;
  array = nullptr;
}

// How many of `length` numbers from `first` on lie inside an array.
const std::size_t inside(int size, long long first, long long length) {
  return static_cast<std::size_t>(std::clamp(size - first, 0LL, length));
}

// Indices are formed from the sizes of the layers; an array need not be that long.
const double readAt(const double* array, int size, long long index) {
  return index < size ? array[index] : 0.0;
}

void addAt(double* array, int size, long long index, double amount) {
  if (index < size) {
    array[index] += amount;
  }
}

const double sumOnto(double sum, const double* weights, int size, bool abs) {
  for (int i = 0; i < size; ++i) {
    sum += abs ? std::fabs(weights[i]) : weights[i];
  }
  return sum;
}

// Only half of a bias is part of a file.
const bool saveBias(FILE* file, const double& bias, const QuarnelUtility::Place& place) {
  return BinaryFile::writeItems(file, &bias, sizeof(int), 1, place);
}

const bool loadBias(FILE* file, double& bias, const QuarnelUtility::Place& place) {
  int firstBytes = 0;
  if (!BinaryFile::read(file, firstBytes, place)) {
    return false;
  }
  std::memcpy(&bias, &firstBytes, sizeof(firstBytes));
  return true;
}

}  // namespace

NeuralNetwork::NeuralNetwork()
    : INPUT_LAYER_NEURONS(0),
      HIDDEN_LAYER_NEURONS(0),
      OUTPUT_LAYER_NEURONS(0),
      INPUT_HIDDEN_ARRAY_SIZE(0),
      HIDDEN_OUTPUT_ARRAY_SIZE(0),
      INPUT_HIDDEN_OUTPUT_ARRAY_SIZE(0),
      inputValues(nullptr),
      hiddenValues(nullptr),
      outputValues(nullptr),
      inputHiddenWeights(nullptr),
      hiddenOutputWeights(nullptr),
      inputHiddenOutputTraces(nullptr),
      hiddenOutputTraces(nullptr),
      tmp(nullptr),
      scaleFactor(nullptr),
      statePtr(nullptr),
      inputValuesSize(0),
      hiddenValuesSize(0),
      outputValuesSize(0),
      inputHiddenWeightsSize(0),
      hiddenOutputWeightsSize(0),
      inputHiddenOutputTracesSize(0),
      errors(nullptr),
      errorsSize(0),
      blockPtr(nullptr),
      layersKnown(true) {}

NeuralNetwork::NeuralNetwork(State* state, int hiddenNeurons) : NeuralNetwork() {
  const unsigned int variables = state != nullptr ? state->getNumberOfVariables() : 0;
  statePtr = state;
  // Numbers that wrap around become negative, which create() refuses.
  INPUT_LAYER_NEURONS = WrapAround::add(static_cast<int>(variables), 1);
  HIDDEN_LAYER_NEURONS = WrapAround::add(hiddenNeurons, 1);
  OUTPUT_LAYER_NEURONS = 1;
}

NeuralNetwork::~NeuralNetwork() { NeuralNetwork::freeMemory(); }

void NeuralNetwork::init() {
  freeMemory();
  INPUT_LAYER_NEURONS = 0;
  HIDDEN_LAYER_NEURONS = 0;
  OUTPUT_LAYER_NEURONS = 0;
  layersKnown = true;
}

void NeuralNetwork::layOut(int shares, const QuarnelUtility::Place& place) {
  const long long inputHidden = product(HIDDEN_LAYER_NEURONS - 1LL, INPUT_LAYER_NEURONS, shares);
  const long long hiddenOutput = product(HIDDEN_LAYER_NEURONS, OUTPUT_LAYER_NEURONS, shares);
  const long long inputHiddenOutput =
      WrapAround::multiplySaturated(inputHidden, OUTPUT_LAYER_NEURONS);
  for (const long long size : {inputHidden, hiddenOutput, inputHiddenOutput}) {
    if (!Allocation::isCount(size)) {
      freeMemory();
      INPUT_HIDDEN_ARRAY_SIZE = 0;
      HIDDEN_OUTPUT_ARRAY_SIZE = 0;
      INPUT_HIDDEN_OUTPUT_ARRAY_SIZE = 0;
      if (blockPtr != nullptr) {
        refuseBlock(blockPtr->file, blockPtr->place);
      } else {
        Allocation::reportFailure<double>(size, place);
      }
      return;
    }
  }
  INPUT_HIDDEN_ARRAY_SIZE = static_cast<int>(inputHidden);
  HIDDEN_OUTPUT_ARRAY_SIZE = static_cast<int>(hiddenOutput);
  INPUT_HIDDEN_OUTPUT_ARRAY_SIZE = static_cast<int>(inputHiddenOutput);
  allocateMemory();
  if (scaleFactor != nullptr) {
    std::fill_n(scaleFactor, std::max(inputValuesSize - 1, 0), 1.0);
  }
  if (inputValues != nullptr && inputValuesSize > 0) {
    inputValues[inputValuesSize - 1] = 1.0;
  }
  if (hiddenValues != nullptr && hiddenValuesSize > 0) {
    hiddenValues[hiddenValuesSize - 1] = 1.0;
  }
}

void NeuralNetwork::refuseBlock(FILE* file, const QuarnelUtility::Place& place) {
  BinaryFile::refuseCount(file, place);
  // Nothing must be made for these layers later on either.
  NeuralNetwork::init();
}

void NeuralNetwork::allocateMemory() {
  freeMemory();
  if (!layersKnown) {
    QUARNEL_ERROR("the layers come from a load that failed --> load again, or call init!");
    return;
  }
  if (INPUT_LAYER_NEURONS < 1 || HIDDEN_LAYER_NEURONS < 1 || OUTPUT_LAYER_NEURONS < 1) {
    QUARNEL_ERROR("layer without a unit --> INPUT_LAYER_NEURONS = "
                  << INPUT_LAYER_NEURONS << ", HIDDEN_LAYER_NEURONS = " << HIDDEN_LAYER_NEURONS
                  << ", OUTPUT_LAYER_NEURONS = " << OUTPUT_LAYER_NEURONS);
    return;
  }
  if (blockPtr != nullptr && !blockHoldsArrays()) {
    refuseBlock(blockPtr->file, blockPtr->place);
    return;
  }
  const int scaleFactorSize = INPUT_LAYER_NEURONS - 1;
  const long long backwardPaths = std::min<long long>(
      (HIDDEN_LAYER_NEURONS - 1LL) * OUTPUT_LAYER_NEURONS, std::max(HIDDEN_OUTPUT_ARRAY_SIZE, 0));
  const bool allocated = allocate(inputValues, INPUT_LAYER_NEURONS, QUARNEL_PLACE) &&
                         allocate(hiddenValues, HIDDEN_LAYER_NEURONS, QUARNEL_PLACE) &&
                         allocate(outputValues, OUTPUT_LAYER_NEURONS, QUARNEL_PLACE) &&
                         allocate(inputHiddenWeights, INPUT_HIDDEN_ARRAY_SIZE, QUARNEL_PLACE) &&
                         allocate(hiddenOutputWeights, HIDDEN_OUTPUT_ARRAY_SIZE, QUARNEL_PLACE) &&
                         allocate(tmp, OUTPUT_LAYER_NEURONS, QUARNEL_PLACE) &&
                         allocate(scaleFactor, scaleFactorSize, QUARNEL_PLACE) &&
                         allocate(errors, backwardPaths, QUARNEL_PLACE);
  if (!allocated) {
    freeMemory();
    return;
  }
  inputValuesSize = INPUT_LAYER_NEURONS;
  hiddenValuesSize = HIDDEN_LAYER_NEURONS;
  outputValuesSize = OUTPUT_LAYER_NEURONS;
  inputHiddenWeightsSize = INPUT_HIDDEN_ARRAY_SIZE;
  hiddenOutputWeightsSize = HIDDEN_OUTPUT_ARRAY_SIZE;
  inputHiddenOutputTracesSize = INPUT_HIDDEN_OUTPUT_ARRAY_SIZE;
  errorsSize = static_cast<int>(backwardPaths);
}

void NeuralNetwork::freeMemory() {
  release(inputValues);
  release(hiddenValues);
  release(outputValues);
  release(inputHiddenWeights);
  release(hiddenOutputWeights);
  release(inputHiddenOutputTraces);
  release(hiddenOutputTraces);
  release(tmp);
  release(scaleFactor);
  release(errors);
  inputValuesSize = 0;
  hiddenValuesSize = 0;
  outputValuesSize = 0;
  inputHiddenWeightsSize = 0;
  hiddenOutputWeightsSize = 0;
  inputHiddenOutputTracesSize = 0;
  errorsSize = 0;
}

void NeuralNetwork::setScaleFactor(int variableIndex, double factor) {
  if (!isPresent(scaleFactor, "scaleFactor", QUARNEL_PLACE, FORGOT_CREATE)) {
    return;
  }
  const int variables = inputValuesSize - 1;
  if (variableIndex < 0 || variableIndex >= variables) {
    QUARNEL_ERROR("variableIndex out of Bounds --> 0 <= " << variableIndex << " < " << variables);
    return;
  }
  scaleFactor[variableIndex] = factor;
}

void NeuralNetwork::setBias(double inputBias, double hiddenBias) {
  if (isPresent(biased(inputValues, inputValuesSize), "inputValues", QUARNEL_PLACE,
                FORGOT_CREATE)) {
    inputValues[inputValuesSize - 1] = inputBias;
  }
  if (isPresent(biased(hiddenValues, hiddenValuesSize), "hiddenValues", QUARNEL_PLACE,
                FORGOT_CREATE)) {
    hiddenValues[hiddenValuesSize - 1] = hiddenBias;
  }
}

void NeuralNetwork::setState() {
  if (statePtr == nullptr) {
    QUARNEL_ERROR("statePtr == 0");
    return;
  }
  if (!isPresent(inputValues, "inputValues", QUARNEL_PLACE) ||
      !isPresent(scaleFactor, "scaleFactor", QUARNEL_PLACE)) {
    return;
  }
  for (int i = 0; i < inputValuesSize - 1; ++i) {
    inputValues[i] = statePtr->getValueDbl(static_cast<unsigned int>(i)) * scaleFactor[i];
  }
}

void NeuralNetwork::initWeights(const double (*initFunctionPtr)()) {
  if (!isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE) ||
      !isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE)) {
    return;
  }
  WeightArray::initialise(inputHiddenWeights, inputHiddenWeightsSize, initFunctionPtr,
                          QUARNEL_PLACE);
  WeightArray::initialise(hiddenOutputWeights, hiddenOutputWeightsSize, initFunctionPtr,
                          QUARNEL_PLACE);
}

const double NeuralNetwork::getOutputValue(int outputIndex) const {
  if (outputIndex < 0 || outputIndex >= OUTPUT_LAYER_NEURONS) {
    QUARNEL_ERROR("outputIndex out of Bounds --> 0 <= " << outputIndex << " < "
                                                        << OUTPUT_LAYER_NEURONS);
    return 0.0;
  }
  if (!isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE) ||
      !isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE) ||
      !isPresent(inputValues, "inputValues", QUARNEL_PLACE) ||
      !isPresent(hiddenValues, "hiddenValues", QUARNEL_PLACE) ||
      !isPresent(outputValues, "outputValues", QUARNEL_PLACE)) {
    return 0.0;
  }
  computeHiddenValues();
  computeOutputValues();
  return readAt(outputValues, outputValuesSize, outputIndex);
}

void NeuralNetwork::computeHiddenValues() const {
  const int units = hiddenUnits();
  std::fill_n(hiddenValues, units, 0.0);
  // Input by input, so that neighbouring units are computed side by side; the sum of each unit still
  // runs over the inputs in their order.
  for (int i = 0; i < inputValuesSize; ++i) {
    const long long row = static_cast<long long>(i) * units;
    const std::size_t length = inside(inputHiddenWeightsSize, row, units);
    if (length > 0) {
      VectorLoops::addScaled(hiddenValues, inputHiddenWeights + row, length, inputValues[i]);
    }
  }
  for (int h = 0; h < units; ++h) {
    hiddenValues[h] = sigma(hiddenValues[h]);
  }
}

void NeuralNetwork::computeOutputValues() const {
  const long long outputs = outputValuesSize;
  for (int o = 0; o < outputs; ++o) {
    double net = 0.0;
    for (int h = 0; h < hiddenValuesSize && h * outputs + o < hiddenOutputWeightsSize; ++h) {
      net += hiddenOutputWeights[h * outputs + o] * hiddenValues[h];
    }
    outputValues[o] = sigma(net);
  }
}

void NeuralNetwork::initEligibilityTraces() {
  const bool allocated =
      (hiddenOutputTraces != nullptr ||
       allocate(hiddenOutputTraces, hiddenOutputWeightsSize, QUARNEL_PLACE)) &&
      (inputHiddenOutputTraces != nullptr ||
       allocate(inputHiddenOutputTraces, inputHiddenOutputTracesSize, QUARNEL_PLACE));
  if (!allocated) {
    // Half of the weights must not learn with traces and the other half without.
    release(hiddenOutputTraces);
    release(inputHiddenOutputTraces);
    return;
  }
  std::fill_n(hiddenOutputTraces, hiddenOutputWeightsSize, 0.0);
  std::fill_n(inputHiddenOutputTraces, inputHiddenOutputTracesSize, 0.0);
}

void NeuralNetwork::updateEligibilityTraces(double /*GAMMA*/, double LAMBDA) {
  if (isPresent(outputValues, "outputValues", QUARNEL_PLACE) &&
      isPresent(tmp, "tmp", QUARNEL_PLACE)) {
    for (int o = 0; o < outputValuesSize; ++o) {
      tmp[o] = (1.0 - outputValues[o]) * outputValues[o];
    }
  }
  updateHiddenOutputTraces(LAMBDA, QUARNEL_PLACE);
  updateInputHiddenTraces(LAMBDA, QUARNEL_PLACE);
}

void NeuralNetwork::updateHiddenOutputTraces(double LAMBDA, const QuarnelUtility::Place& place) {
  if (!isPresent(hiddenOutputTraces, "hiddenOutputTraces", place, NO_ADVICE) ||
      !isPresent(hiddenValues, "hiddenValues", place) || !isPresent(tmp, "tmp", place)) {
    return;
  }
  const long long outputs = outputValuesSize;
  for (int h = 0; h < hiddenValuesSize && h * outputs < hiddenOutputWeightsSize; ++h) {
    for (int o = 0; o < outputs; ++o) {
      const long long trace = h * outputs + o;
      if (trace < hiddenOutputWeightsSize) {
        hiddenOutputTraces[trace] = LAMBDA * hiddenOutputTraces[trace] + hiddenValues[h] * tmp[o];
      }
    }
  }
}

void NeuralNetwork::updateInputHiddenTraces(double LAMBDA, const QuarnelUtility::Place& place) {
  if (!isPresent(inputHiddenOutputTraces, "inputHiddenOutputTraces", place, NO_ADVICE) ||
      !isPresent(hiddenOutputWeights, "hiddenOutputWeights", place) ||
      !isPresent(inputValues, "inputValues", place) ||
      !isPresent(hiddenValues, "hiddenValues", place) || !isPresent(tmp, "tmp", place)) {
    return;
  }
  // What comes back to a unit from an output is the same for all of its inputs.
  const long long outputs = outputValuesSize;
  for (int h = 0, k = 0; k < errorsSize; ++h) {
    const double hiddenValue = hiddenValues[h];
    for (int o = 0; o < outputs && k < errorsSize; ++o, ++k) {
      errors[k] = hiddenOutputWeights[k] * tmp[o] * hiddenValue * (1.0 - hiddenValue);
    }
  }
  for (int i = 0; i < inputValuesSize; ++i) {
    const long long row = i * (hiddenUnits() * outputs);
    const std::size_t length = inside(inputHiddenOutputTracesSize, row, errorsSize);
    if (length > 0) {
      VectorLoops::decayAndAdd(inputHiddenOutputTraces + row, errors, length, LAMBDA,
                               inputValues[i]);
    }
  }
}

void NeuralNetwork::updateWeights(double ALPHA, double DELTA, double MIN_WEIGHT,
                                  double MAX_WEIGHT) {
  if (outputValues != nullptr && tmp != nullptr) {
    for (int o = 0; o < outputValuesSize; ++o) {
      tmp[o] = DELTA * outputValues[o] * (1.0 - outputValues[o]);
    }
  }
  updateHiddenOutputWeights(ALPHA, DELTA, QUARNEL_PLACE);
  // On purpose in this order: the error is passed back through weights that have already learnt.
  updateInputHiddenWeights(ALPHA, DELTA, QUARNEL_PLACE);
  if (MIN_WEIGHT > std::numeric_limits<double>::lowest() ||
      MAX_WEIGHT < std::numeric_limits<double>::max()) {
    checkWeightLimit(MIN_WEIGHT, MAX_WEIGHT);
  }
}

void NeuralNetwork::updateHiddenOutputWeights(double ALPHA, double DELTA,
                                              const QuarnelUtility::Place& place) {
  if (!isPresent(hiddenOutputWeights, "hiddenOutputWeights", place)) {
    return;
  }
  if (hiddenOutputTraces != nullptr) {
    WeightArray::addTraces(hiddenOutputWeights, hiddenOutputWeightsSize, hiddenOutputTraces,
                           ALPHA * DELTA);
    return;
  }
  if (!isPresent(outputValues, "outputValues", place) ||
      !isPresent(hiddenValues, "hiddenValues", place) || !isPresent(tmp, "tmp", place)) {
    return;
  }
  const long long outputs = outputValuesSize;
  for (int h = 0; h < hiddenValuesSize && h * outputs < hiddenOutputWeightsSize; ++h) {
    for (int o = 0; o < outputs; ++o) {
      addAt(hiddenOutputWeights, hiddenOutputWeightsSize, h * outputs + o,
            ALPHA * tmp[o] * hiddenValues[h]);
    }
  }
}

void NeuralNetwork::updateInputHiddenWeights(double ALPHA, double DELTA,
                                             const QuarnelUtility::Place& place) {
  if (!isPresent(inputHiddenWeights, "inputHiddenWeights", place)) {
    return;
  }
  if (inputHiddenOutputTraces != nullptr) {
    addInputHiddenTraces(ALPHA, DELTA);
    return;
  }
  // Without weights behind the hidden units, which has been reported, no error comes back to them.
  if (hiddenOutputWeights == nullptr || !isPresent(outputValues, "outputValues", place) ||
      !isPresent(inputValues, "inputValues", place) ||
      !isPresent(hiddenValues, "hiddenValues", place) || !isPresent(tmp, "tmp", place)) {
    return;
  }
  const int units = std::min(hiddenUnits(), errorsSize);
  for (int h = 0; h < units; ++h) {
    errors[h] = errorAtHidden(h);
  }
  for (int i = 0; i < inputValuesSize; ++i) {
    const long long row = static_cast<long long>(i) * hiddenUnits();
    const std::size_t length = inside(inputHiddenWeightsSize, row, units);
    if (length > 0) {
      VectorLoops::addScaled(inputHiddenWeights + row, errors, length, ALPHA * inputValues[i]);
    }
  }
}

const double NeuralNetwork::errorAtHidden(int hidden) const {
  const long long outputs = outputValuesSize;
  const double hiddenValue = hiddenValues[hidden];
  double error = 0.0;
  for (int o = 0; o < outputs; ++o) {
    error += readAt(hiddenOutputWeights, hiddenOutputWeightsSize, hidden * outputs + o) * tmp[o] *
             hiddenValue * (1.0 - hiddenValue);
  }
  return error;
}

void NeuralNetwork::addInputHiddenTraces(double ALPHA, double DELTA) {
  const long long outputs = outputValuesSize;
  if (outputs == 1) {
    VectorLoops::addScaledSums(inputHiddenWeights, inputHiddenOutputTraces,
                               inside(inputHiddenOutputTracesSize, 0, inputHiddenWeightsSize),
                               ALPHA, DELTA);
    return;
  }
  for (int k = 0; k < inputHiddenWeightsSize; ++k) {
    double change = 0.0;
    for (int o = 0; o < outputs; ++o) {
      change +=
          DELTA * readAt(inputHiddenOutputTraces, inputHiddenOutputTracesSize, k * outputs + o);
    }
    inputHiddenWeights[k] += ALPHA * change;
  }
}

void NeuralNetwork::accumulatingTraces(double /*VALUE*/) {}

void NeuralNetwork::replacingTraces(double /*VALUE*/) {}

void NeuralNetwork::storeState() {}

void NeuralNetwork::initEpisodeStateHistory() {}

void NeuralNetwork::valueEpisode(double /*amount*/) {
  QUARNEL_ERROR("Not implemented for NeuralNetwork!");
}

void NeuralNetwork::checkWeightLimit(double MIN_WEIGHT, double MAX_WEIGHT) {
  if (isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE)) {
    WeightArray::clamp(hiddenOutputWeights, hiddenOutputWeightsSize, MIN_WEIGHT, MAX_WEIGHT);
  }
  if (isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE)) {
    WeightArray::clamp(inputHiddenWeights, inputHiddenWeightsSize, MIN_WEIGHT, MAX_WEIGHT);
  }
}

const double NeuralNetwork::getMinWeight() const {
  const bool hiddenOutput = isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE);
  const bool inputHidden = isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE);
  return std::min(
      WeightArray::minimum(hiddenOutputWeights, hiddenOutput ? hiddenOutputWeightsSize : 0),
      WeightArray::minimum(inputHiddenWeights, inputHidden ? inputHiddenWeightsSize : 0));
}

const double NeuralNetwork::getAvgWeight(bool abs) const {
  const bool hiddenOutput = isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE);
  const bool inputHidden = isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE);
  if (!hiddenOutput && !inputHidden) {
    return 0.0;
  }
  double sum = sumOnto(0.0, hiddenOutputWeights, hiddenOutput ? hiddenOutputWeightsSize : 0, abs);
  sum = sumOnto(sum, inputHiddenWeights, inputHidden ? inputHiddenWeightsSize : 0, abs);
  // The product of both numbers, on purpose, and not their sum: results have always been given so.
  return sum / (static_cast<double>(HIDDEN_OUTPUT_ARRAY_SIZE) * INPUT_HIDDEN_ARRAY_SIZE);
}

const double NeuralNetwork::getMaxWeight() const {
  const bool hiddenOutput = isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE);
  const bool inputHidden = isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE);
  return std::max(
      WeightArray::maximum(hiddenOutputWeights, hiddenOutput ? hiddenOutputWeightsSize : 0),
      WeightArray::maximum(inputHiddenWeights, inputHidden ? inputHiddenWeightsSize : 0));
}

const int NeuralNetwork::save(FILE* file) const {
  if (!isPresent(inputHiddenWeights, "inputHiddenWeights", QUARNEL_PLACE) ||
      !isPresent(hiddenOutputWeights, "hiddenOutputWeights", QUARNEL_PLACE) ||
      !isPresent(scaleFactor, "scaleFactor", QUARNEL_PLACE) ||
      !isPresent(biased(inputValues, inputValuesSize), "inputValues", QUARNEL_PLACE) ||
      !isPresent(biased(hiddenValues, hiddenValuesSize), "hiddenValues", QUARNEL_PLACE)) {
    return -1;
  }
  const auto inputHidden = static_cast<std::size_t>(inputHiddenWeightsSize);
  const auto hiddenOutput = static_cast<std::size_t>(hiddenOutputWeightsSize);
  const auto variables = static_cast<std::size_t>(inputValuesSize - 1);
  // The layers as the arrays were made for them: a failed load() may have left others behind.
  const bool saved =
      BinaryFile::write(file, inputValuesSize, QUARNEL_PLACE) &&
      BinaryFile::write(file, hiddenValuesSize, QUARNEL_PLACE) &&
      BinaryFile::write(file, outputValuesSize, QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, inputHiddenWeights, sizeof(double), inputHidden,
                             QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, hiddenOutputWeights, sizeof(double), hiddenOutput,
                             QUARNEL_PLACE) &&
      BinaryFile::writeItems(file, scaleFactor, sizeof(double), variables, QUARNEL_PLACE) &&
      saveBias(file, inputValues[inputValuesSize - 1], QUARNEL_PLACE) &&
      saveBias(file, hiddenValues[hiddenValuesSize - 1], QUARNEL_PLACE);
  return saved ? 0 : -1;
}

const int NeuralNetwork::load(FILE* file) {
  layersKnown = false;
  if (!loadLayer(file, INPUT_LAYER_NEURONS, QUARNEL_PLACE) ||
      !loadLayer(file, HIDDEN_LAYER_NEURONS, QUARNEL_PLACE) ||
      !loadLayer(file, OUTPUT_LAYER_NEURONS, QUARNEL_PLACE)) {
    return -1;
  }
  if (!layersAreBelievable()) {
    refuseBlock(file, QUARNEL_PLACE);
    return -1;
  }
  layersKnown = true;
  Block block(file, QUARNEL_PLACE);
  blockPtr = &block;
  create();
  blockPtr = nullptr;
  return loadArrays(block) ? 0 : -1;
}

const bool NeuralNetwork::loadLayer(FILE* file, int& neurons, const QuarnelUtility::Place& place) {
  if (!BinaryFile::read(file, neurons, place)) {
    return false;
  }
  if (neurons <= TRUSTED_UNITS || BinaryFile::mayHold(file, neurons, sizeof(double))) {
    return true;
  }
  refuseBlock(file, place);
  return false;
}

const bool NeuralNetwork::layersAreBelievable() const {
  return INPUT_LAYER_NEURONS >= 1 && HIDDEN_LAYER_NEURONS >= 1 && OUTPUT_LAYER_NEURONS >= 1 &&
         Allocation::isCount(
             product(INPUT_LAYER_NEURONS, HIDDEN_LAYER_NEURONS - 1LL, OUTPUT_LAYER_NEURONS)) &&
         Allocation::isCount(product(HIDDEN_LAYER_NEURONS, OUTPUT_LAYER_NEURONS, 1)) &&
         tracesAreBelievable();
}

// A file holds no traces, and yet its sizes decide how many there will be.
const bool NeuralNetwork::tracesAreBelievable() const {
  const long long inputHidden = product(INPUT_LAYER_NEURONS, HIDDEN_LAYER_NEURONS - 1LL, 1);
  const long long hiddenOutput = product(HIDDEN_LAYER_NEURONS, OUTPUT_LAYER_NEURONS, 1);
  return inputHidden * OUTPUT_LAYER_NEURONS <= TRACES_PER_WEIGHT * (inputHidden + hiddenOutput);
}

const bool NeuralNetwork::blockHoldsArrays() {
  return std::max(HIDDEN_LAYER_NEURONS, OUTPUT_LAYER_NEURONS) <=
             std::max(HIDDEN_OUTPUT_ARRAY_SIZE, TRUSTED_UNITS) &&
         blockPtr->mayHold(
             {INPUT_HIDDEN_ARRAY_SIZE, HIDDEN_OUTPUT_ARRAY_SIZE, INPUT_LAYER_NEURONS - 1});
}

const bool NeuralNetwork::loadArrays(Block& block) {
  // Where create() has made no arrays it has reported why.
  return inputHiddenWeights != nullptr && hiddenOutputWeights != nullptr &&
         scaleFactor != nullptr && biased(inputValues, inputValuesSize) != nullptr &&
         biased(hiddenValues, hiddenValuesSize) != nullptr &&
         block.read(inputHiddenWeights, inputHiddenWeightsSize) &&
         block.read(hiddenOutputWeights, hiddenOutputWeightsSize) &&
         block.read(scaleFactor, inputValuesSize - 1) &&
         loadBias(block.file, inputValues[inputValuesSize - 1], block.place) &&
         loadBias(block.file, hiddenValues[hiddenValuesSize - 1], block.place);
}
