#ifndef QUARNEL_BENCH_PRODUCT_AGENT_H
#define QUARNEL_BENCH_PRODUCT_AGENT_H

#include <quarnel/Quarnel.h>

#include <cstdint>

#include "workloads/Parameters.h"
#include "workloads/Training.h"

/// What the library's learners of all workloads do alike: a number of episodes, in silence.
template <typename Learner>
class Agent : public Learner, public Training {
 public:
  // An empty configuration leaves the defaults.
  Agent(const Parameters& parameters, TRACE_TYPE traces) : Learner("/dev/null") {
    Learner::ALPHA = parameters.alpha;
    Learner::LAMBDA = parameters.lambda;
    Learner::GAMMA = parameters.gamma;
    Learner::EPSILON = parameters.epsilon;
    Learner::ACTION_SELECTION = EPSILON_GREEDY;
    Learner::TRACES = traces;
  }

  void learn(int count) override {
    episodesLeft = count;
    Learner::continueLearning = true;
    Learner::controlLoop();
  }

  const std::int64_t getSteps() const override { return stepsTaken; }

 protected:
  void finishEpisode() override {
    stepsTaken += Learner::steps;
    --episodesLeft;
    Learner::continueLearning = episodesLeft > 0;
  }

 private:
  int episodesLeft = 0;
  std::int64_t stepsTaken = 0;
};

#endif
