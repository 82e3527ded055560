#ifndef QUARNEL_TESTS_OPEN_NETWORKS_H
#define QUARNEL_TESTS_OPEN_NETWORKS_H

#include <gtest/gtest.h>
#include <quarnel/NeuralNetwork.h>
#include <quarnel/State.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "Files.h"
#include "PlainNetwork.h"
#include "Reports.h"

/// What the tests of the networks share: their messages, the bytes of their files, and a network
/// whose parts a test may look into.
namespace Networks {

using Numbers = std::vector<double>;

const double LARGEST = std::numeric_limits<double>::max();
const int INT_LARGEST = std::numeric_limits<int>::max();
const int INT_SMALLEST = std::numeric_limits<int>::min();

const char* const NO_TO_HIDDEN = "inputHiddenWeights == 0 --> This should never happen!";
const char* const NO_TO_OUTPUT = "hiddenOutputWeights == 0 --> This should never happen!";
const char* const NO_OUTPUTS = "outputValues == 0 --> This should never happen!";
const char* const NO_TRACES_TO_HIDDEN = "inputHiddenOutputTraces == 0";
const char* const NO_TRACES_TO_OUTPUT = "hiddenOutputTraces == 0";
const char* const NOT_IMPLEMENTED = "Not implemented for NeuralNetwork!";

/// The errors since the last call, each as "Class::function: message".
inline std::vector<std::string> errors(Reports& reports) {
  std::vector<std::string> list;
  for (const Report& report : reports.takeErrors()) {
    list.push_back(report.file + "::" + report.function + ": " + report.message);
  }
  return list;
}

/// The same messages from one function of the network.
inline std::vector<std::string> reportsOf(const std::string& function,
                                          const std::vector<std::string>& list) {
  std::vector<std::string> reports;
  for (const std::string& message : list) {
    reports.push_back("NeuralNetwork::" + function + ": " + message);
  }
  return reports;
}

/// The numbers of an initialiser that never gives the same twice: 0.5, -1.0, 1.5, -2.0, ...
/// Set `initialised` to 0 to begin anew.
inline int initialised = 0;
inline const double nextNumber() {
  ++initialised;
  return (initialised % 2 == 0 ? -0.5 : 0.5) * initialised;
}

inline const double one() { return 1.0; }
inline const double zero() { return 0.0; }

/// Numbers between -1 and 1 without short binary fractions, so that another order of operations
/// gives other bits.
inline Numbers roughNumbers(std::size_t count, unsigned int seed) {
  Numbers numbers;
  for (std::size_t i = 0; i < count; ++i) {
    seed = seed * 1664525U + 1013904223U;
    numbers.push_back((static_cast<double>(seed >> 8U) - 8388607.5) / 8388613.0);
  }
  return numbers;
}

/// A state of so many real variables, each in [-1, 1].
inline State* newRealState(unsigned int variables) {
  auto* const state = new State;
  for (unsigned int i = 0; i < variables; ++i) {
    state->registerVariable(std::string(1, static_cast<char>('a' + i % 26)), -1.0, 1.0);
  }
  return state;
}

/// The record of that state in a file.
inline std::string realStateRecord(unsigned int variables) {
  std::string text = bytes(variables) + bytes(2);
  for (unsigned int i = 0; i < variables; ++i) {
    text += bytes(1U) + static_cast<char>('a' + i % 26) + bytes(-1.0) + bytes(1.0);
  }
  return text;
}

/// The first four bytes of a number, which are all that a file keeps of a bias.
inline std::string firstHalf(double bias) { return bytes(bias).substr(0, 4); }

/// A network's block.
inline std::string block(int inputs, int hidden, int outputs, const Numbers& toHidden,
                         const Numbers& toOutput, const Numbers& factors, double inputBias = 1.0,
                         double hiddenBias = 1.0) {
  std::string text = bytes(inputs) + bytes(hidden) + bytes(outputs);
  for (const Numbers& numbers : {toHidden, toOutput, factors}) {
    for (const double number : numbers) {
      text += bytes(number);
    }
  }
  return text + firstHalf(inputBias) + firstHalf(hiddenBias);
}

/// A network whose parts a test may look into; `Network` is `StateNeuralNetwork`,
/// `ActionNeuralNetwork` or a network of the test's own.
template <typename Network>
class OpenNetwork : public Network {
 public:
  using Network::Network;

  using Network::allocateMemory;
  using Network::freeMemory;
  using Network::load;
  using Network::save;
  using Network::setBias;
  using Network::setScaleFactor;
  using Network::setStatePtr;

  using Network::HIDDEN_LAYER_NEURONS;
  using Network::HIDDEN_OUTPUT_ARRAY_SIZE;
  using Network::hiddenOutputTraces;
  using Network::hiddenOutputWeights;
  using Network::hiddenValues;
  using Network::INPUT_HIDDEN_ARRAY_SIZE;
  using Network::INPUT_HIDDEN_OUTPUT_ARRAY_SIZE;
  using Network::INPUT_LAYER_NEURONS;
  using Network::inputHiddenOutputTraces;
  using Network::inputHiddenWeights;
  using Network::inputValues;
  using Network::OUTPUT_LAYER_NEURONS;
  using Network::outputValues;
  using Network::scaleFactor;
  using Network::tmp;

  State* stateOfTheNetwork() const { return this->NeuralNetwork::statePtr; }

  Numbers inputs() const { return list(inputValues, INPUT_LAYER_NEURONS); }
  Numbers hidden() const { return list(hiddenValues, HIDDEN_LAYER_NEURONS); }
  Numbers outputs() const { return list(outputValues, OUTPUT_LAYER_NEURONS); }
  Numbers toHidden() const { return list(inputHiddenWeights, INPUT_HIDDEN_ARRAY_SIZE); }
  Numbers toOutput() const { return list(hiddenOutputWeights, HIDDEN_OUTPUT_ARRAY_SIZE); }
  Numbers factors() const { return list(scaleFactor, INPUT_LAYER_NEURONS - 1); }
  Numbers tracesToHidden() const {
    return list(inputHiddenOutputTraces, INPUT_HIDDEN_OUTPUT_ARRAY_SIZE);
  }
  Numbers tracesToOutput() const { return list(hiddenOutputTraces, HIDDEN_OUTPUT_ARRAY_SIZE); }

  void setToHidden(const Numbers& weights) {
    std::copy(weights.begin(), weights.end(), inputHiddenWeights);
  }
  void setToOutput(const Numbers& weights) {
    std::copy(weights.begin(), weights.end(), hiddenOutputWeights);
  }
  void setInputs(const Numbers& values) { std::copy(values.begin(), values.end(), inputValues); }

  // Takes one array away.
  static void lose(double*& array) {
    delete[] array;
    array = nullptr;
  }

  /// Whether there is any array.
  bool hasArrays() const {
    return inputValues != nullptr || hiddenValues != nullptr || outputValues != nullptr ||
           inputHiddenWeights != nullptr || hiddenOutputWeights != nullptr ||
           inputHiddenOutputTraces != nullptr || hiddenOutputTraces != nullptr || tmp != nullptr ||
           scaleFactor != nullptr;
  }

  /// Whether every array is there that allocateMemory() makes.
  bool hasAllArraysButTraces() const {
    return inputValues != nullptr && hiddenValues != nullptr && outputValues != nullptr &&
           inputHiddenWeights != nullptr && hiddenOutputWeights != nullptr && tmp != nullptr &&
           scaleFactor != nullptr;
  }

 private:
  static Numbers list(const double* numbers, int count) {
    return numbers != nullptr ? Numbers(numbers, numbers + count) : Numbers();
  }
};

/// Expects the same numbers, bit for bit, in the library's network and the plain one.
template <typename Network>
void expectSame(const Network& network, const PlainNetwork& plain) {
  EXPECT_EQ(network.toHidden(), plain.inputHidden);
  EXPECT_EQ(network.toOutput(), plain.hiddenOutput);
  EXPECT_EQ(network.tracesToHidden(), plain.inputHiddenTraces);
  EXPECT_EQ(network.tracesToOutput(), plain.hiddenOutputTraces);
}

}  // namespace Networks

#endif
