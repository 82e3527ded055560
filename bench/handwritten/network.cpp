#include <array>
#include <cmath>
#include <cstdlib>

#include "handwritten/Poll.h"
#include "workloads/Digest.h"
#include "workloads/Drift.h"
#include "workloads/Workloads.h"

namespace {

/// Three layers of logistic units, with a bias unit in the first two. Loops run over the hidden
/// units, which lie side by side, so that every sum keeps its order.
template <int VARIABLES, int UNITS>
class Network {
 public:
  static constexpr int INPUTS = VARIABLES + 1;

  using Observation = std::array<double, VARIABLES>;

  Network() {
    for (double& weight : inputHidden) {
      weight = Draw::unit() - 0.5;
    }
    for (double& weight : hiddenOutput) {
      weight = Draw::unit() - 0.5;
    }
    inputs[VARIABLES] = 1.0;
    hidden[UNITS] = 1.0;
  }

  void setInputs(const Observation& observation) {
    for (int i = 0; i < VARIABLES; ++i) {
      inputs[i] = observation[static_cast<std::size_t>(i)];
    }
  }

  const double computeOutput() {
    double nets[UNITS] = {};
    for (int i = 0; i < INPUTS; ++i) {
      for (int h = 0; h < UNITS; ++h) {
        nets[h] += inputHidden[i * UNITS + h] * inputs[i];
      }
    }
    for (int h = 0; h < UNITS; ++h) {
      nets[h] = std::exp(-nets[h]);
    }
    for (int h = 0; h < UNITS; ++h) {
      hidden[h] = 1.0 / (1.0 + nets[h]);
    }
    double net = 0.0;
    for (int h = 0; h <= UNITS; ++h) {
      net += hiddenOutput[h] * hidden[h];
    }
    output = 1.0 / (1.0 + std::exp(-net));
    return output;
  }

  void clearTraces() {
    for (double& trace : hiddenOutputTraces) {
      trace = 0.0;
    }
    for (double& trace : inputHiddenTraces) {
      trace = 0.0;
    }
  }

  void updateTraces(double lambda) {
    const double slope = (1.0 - output) * output;
    double gradients[UNITS];
    for (int h = 0; h < UNITS; ++h) {
      gradients[h] = hiddenOutput[h] * slope * hidden[h] * (1.0 - hidden[h]);
    }
    for (int h = 0; h <= UNITS; ++h) {
      hiddenOutputTraces[h] = lambda * hiddenOutputTraces[h] + hidden[h] * slope;
    }
    for (int i = 0; i < INPUTS; ++i) {
      for (int h = 0; h < UNITS; ++h) {
        double& trace = inputHiddenTraces[i * UNITS + h];
        trace = lambda * trace + gradients[h] * inputs[i];
      }
    }
  }

  void learnByTraces(double alpha, double delta) {
    for (int h = 0; h <= UNITS; ++h) {
      hiddenOutput[h] += hiddenOutputTraces[h] * (alpha * delta);
    }
    for (int k = 0; k < INPUTS * UNITS; ++k) {
      inputHidden[k] += alpha * (0.0 + delta * inputHiddenTraces[k]);
    }
  }

  void learn(double alpha, double delta) {
    const double error = delta * output * (1.0 - output);
    for (int h = 0; h <= UNITS; ++h) {
      hiddenOutput[h] += alpha * error * hidden[h];
    }
    // Passed back through weights that have already learnt, as the library does it.
    double errors[UNITS];
    for (int h = 0; h < UNITS; ++h) {
      errors[h] = 0.0 + hiddenOutput[h] * error * hidden[h] * (1.0 - hidden[h]);
    }
    for (int i = 0; i < INPUTS; ++i) {
      for (int h = 0; h < UNITS; ++h) {
        inputHidden[i * UNITS + h] += alpha * inputs[i] * errors[h];
      }
    }
  }

  const std::uint64_t getDigest() const {
    Digest digest;
    digest.add(inputHidden, INPUTS * UNITS);
    digest.add(hiddenOutput, UNITS + 1);
    return digest.get();
  }

 private:
  double inputs[INPUTS] = {};
  double hidden[UNITS + 1] = {};
  double output = 0.0;
  double inputHidden[INPUTS * UNITS];
  double hiddenOutput[UNITS + 1];
  double inputHiddenTraces[INPUTS * UNITS];
  double hiddenOutputTraces[UNITS + 1];
};

/// TD on drifting variables.
template <int VARIABLES, int UNITS, bool TRACES>
class DriftTraining final : public Training {
 public:
  void learn(int episodes) override {
    for (int i = 0; i < episodes && !stopped; ++i) {
      runEpisode();
    }
  }

  const std::int64_t getSteps() const override { return steps; }

  const std::uint64_t getDigest() const override { return network.getDigest(); }

 private:
  // Before the network draws its weights.
  struct Seed {
    Seed() { std::srand(1); }
  };

  void runEpisode() {
    const Parameters& p = Drift<VARIABLES>::PARAMETERS;
    if (TRACES) {
      network.clearTraces();
    }
    drift.reset();
    network.setInputs(drift.getVariables());
    double value = network.computeOutput();
    bool goesOn = true;
    while (goesOn && !stopped) {
      ++steps;
      if (TRACES) {
        network.updateTraces(p.lambda);
      }
      drift.step();
      goesOn = !drift.isAtEnd();
      network.setInputs(drift.getVariables());
      double delta = drift.getReward() - value;
      if (goesOn) {
        delta += p.gamma * network.computeOutput();
      }
      if (TRACES) {
        network.learnByTraces(p.alpha, delta);
      } else {
        network.learn(p.alpha, delta);
      }
      if (goesOn) {
        value = network.computeOutput();
      }
      stopped = poll.isToStop();
    }
  }

  Poll poll;
  Seed seed;
  Drift<VARIABLES> drift;
  Network<VARIABLES, UNITS> network;
  bool stopped = false;
  std::int64_t steps = 0;
};

}  // namespace

std::unique_ptr<Training> makeSmallNetwork() {
  return std::make_unique<DriftTraining<2, 20, false>>();
}

std::unique_ptr<Training> makeSmallNetworkTraces() {
  return std::make_unique<DriftTraining<2, 20, true>>();
}

std::unique_ptr<Training> makeLargeNetwork() {
  return std::make_unique<DriftTraining<8, 64, false>>();
}

std::unique_ptr<Training> makeLargeNetworkTraces() {
  return std::make_unique<DriftTraining<8, 64, true>>();
}
