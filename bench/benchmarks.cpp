// Times every workload. Linked twice: with the library's trainings and with the hand-written ones.

#include <benchmark/benchmark.h>

#include <iomanip>
#include <sstream>
#include <string>

#include "workloads/Workloads.h"

namespace {

std::string hexadecimal(std::uint64_t number) {
  std::ostringstream text;
  text << std::hex << std::setw(16) << std::setfill('0') << number;
  return text.str();
}

void measure(benchmark::State& state, const Workload& workload) {
  std::int64_t steps = 0;
  for (auto _ : state) {
    state.PauseTiming();
    std::unique_ptr<Training> training = workload.make();
    state.ResumeTiming();
    training->learn(workload.episodes);
    state.PauseTiming();
    steps += training->getSteps();
    state.SetLabel(hexadecimal(training->getDigest()));
    state.counters["live_traces"] = training->getMeanTraces();
    training.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(steps);
  state.counters["steps"] = static_cast<double>(steps);
}

}  // namespace

int main(int argc, char** argv) {
  for (const Workload& workload : WORKLOADS) {
    benchmark::RegisterBenchmark(workload.name, [&workload](benchmark::State& state) {
      measure(state, workload);
    })->Unit(benchmark::kMillisecond);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
