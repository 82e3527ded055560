#ifndef QUARNEL_BENCH_PARAMETERS_H
#define QUARNEL_BENCH_PARAMETERS_H

/// What a learner is set to.
struct Parameters {
  double alpha;
  double lambda;
  double gamma;
  double epsilon;
};

#endif
