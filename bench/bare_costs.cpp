// Times the calls that every step is made of, whoever writes it.

#include <benchmark/benchmark.h>

#include <cmath>
#include <csignal>
#include <cstdlib>

namespace {

void sigpendingCall(benchmark::State& state) {
  sigset_t pending;
  for (auto _ : state) {
    benchmark::DoNotOptimize(sigpending(&pending));
  }
}

void randCall(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::rand());
  }
}

void expCall(benchmark::State& state) {
  double argument = -1.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(argument);
    benchmark::DoNotOptimize(std::exp(argument));
  }
}

void cosCall(benchmark::State& state) {
  double argument = -1.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(argument);
    benchmark::DoNotOptimize(std::cos(argument));
  }
}

BENCHMARK(sigpendingCall)->Name("sigpending");
BENCHMARK(randCall)->Name("rand");
BENCHMARK(expCall)->Name("exp");
BENCHMARK(cosCall)->Name("cos");

}  // namespace

BENCHMARK_MAIN();
