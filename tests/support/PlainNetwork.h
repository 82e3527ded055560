#ifndef QUARNEL_TESTS_PLAIN_NETWORK_H
#define QUARNEL_TESTS_PLAIN_NETWORK_H

#include <cmath>
#include <cstddef>
#include <vector>

/// The three-layer network, written down once more with nothing of the library, to compare with.
///
/// Every product is taken from the left to the right and every sum from the first unit to the last,
/// so that the results are those of the library to the last bit.
class PlainNetwork {
 public:
  using Numbers = std::vector<double>;

  /// @param variables the number of inputs besides the bias.
  /// @param units the number of hidden units besides the bias.
  PlainNetwork(std::size_t variables, std::size_t units, std::size_t outputUnits)
      : inputs(variables + 1),
        hidden(units + 1),
        outputs(outputUnits),
        inputValues(inputs, 1.0),
        hiddenValues(hidden, 1.0),
        outputValues(outputs, 0.0),
        inputHidden(inputs * (hidden - 1), 0.0),
        hiddenOutput(hidden * outputs, 0.0) {}

  void forward() {
    for (std::size_t h = 0; h < hidden - 1; ++h) {
      double net = 0.0;
      for (std::size_t i = 0; i < inputs; ++i) {
        net += toHidden(i, h) * inputValues[i];
      }
      hiddenValues[h] = logistic(net);
    }
    for (std::size_t o = 0; o < outputs; ++o) {
      double net = 0.0;
      for (std::size_t h = 0; h < hidden; ++h) {
        net += toOutput(h, o) * hiddenValues[h];
      }
      outputValues[o] = logistic(net);
    }
  }

  void clearTraces() {
    inputHiddenTraces.assign(inputs * (hidden - 1) * outputs, 0.0);
    hiddenOutputTraces.assign(hidden * outputs, 0.0);
  }

  void decay(double LAMBDA) {
    for (std::size_t o = 0; o < outputs; ++o) {
      const double slope = (1 - outputValues[o]) * outputValues[o];
      for (std::size_t h = 0; h < hidden; ++h) {
        double& trace = hiddenOutputTraces[h * outputs + o];
        trace = LAMBDA * trace + hiddenValues[h] * slope;
      }
      for (std::size_t i = 0; i < inputs; ++i) {
        for (std::size_t h = 0; h < hidden - 1; ++h) {
          double& trace = inputHiddenTraces[(i * (hidden - 1) + h) * outputs + o];
          trace = LAMBDA * trace +
                  toOutput(h, o) * slope * hiddenValues[h] * (1 - hiddenValues[h]) * inputValues[i];
        }
      }
    }
  }

  void update(double ALPHA, double DELTA) {
    if (hiddenOutputTraces.empty()) {
      updateWithoutTraces(ALPHA, DELTA);
    } else {
      updateWithTraces(ALPHA, DELTA);
    }
  }

  double& toHidden(std::size_t i, std::size_t h) { return inputHidden[i * (hidden - 1) + h]; }
  double& toOutput(std::size_t h, std::size_t o) { return hiddenOutput[h * outputs + o]; }

  static double logistic(double x) { return 1 / (1 + std::exp(-x)); }

  std::size_t inputs;   ///< The bias unit included.
  std::size_t hidden;   ///< The bias unit included.
  std::size_t outputs;  ///< There is no bias unit.

  Numbers inputValues;
  Numbers hiddenValues;
  Numbers outputValues;
  Numbers inputHidden;
  Numbers hiddenOutput;
  Numbers inputHiddenTraces;   ///< Empty as long as there are no traces.
  Numbers hiddenOutputTraces;  ///< Empty as long as there are no traces.

 private:
  void updateWithoutTraces(double ALPHA, double DELTA) {
    Numbers slopes;
    for (const double output : outputValues) {
      slopes.push_back(DELTA * output * (1 - output));
    }
    for (std::size_t h = 0; h < hidden; ++h) {
      for (std::size_t o = 0; o < outputs; ++o) {
        toOutput(h, o) += ALPHA * slopes[o] * hiddenValues[h];
      }
    }
    for (std::size_t i = 0; i < inputs; ++i) {
      for (std::size_t h = 0; h < hidden - 1; ++h) {
        double sum = 0.0;
        for (std::size_t o = 0; o < outputs; ++o) {
          // With the weight as the loop above has left it.
          sum += toOutput(h, o) * slopes[o] * hiddenValues[h] * (1 - hiddenValues[h]);
        }
        toHidden(i, h) += ALPHA * inputValues[i] * sum;
      }
    }
  }

  void updateWithTraces(double ALPHA, double DELTA) {
    for (std::size_t k = 0; k < hiddenOutput.size(); ++k) {
      hiddenOutput[k] += ALPHA * DELTA * hiddenOutputTraces[k];
    }
    for (std::size_t k = 0; k < inputHidden.size(); ++k) {
      double sum = 0.0;
      for (std::size_t o = 0; o < outputs; ++o) {
        sum += DELTA * inputHiddenTraces[k * outputs + o];
      }
      inputHidden[k] += ALPHA * sum;
    }
  }
};

#endif
