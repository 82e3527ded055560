// How the cost of a step grows with the size of the table and with the number of live traces. A
// learner goes round a ring of states in the middle of its table, so that every state of the ring
// has a trace, and no other.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <quarnel/StateLookupTable.h>
#include <quarnel/TD.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>

namespace {

const std::int64_t USUAL_TRACES = 136;

State* makeState(int cells) {
  auto* const state = new State;
  state->registerVariable("cell", 0, cells - 1);
  return state;
}

/// TD on a ring, over a table.
class RingAgent final : public TD {
 public:
  RingAgent(int cells, int newRing, Types::TRACE_STORAGE storage)
      : TD("/dev/null"), state(makeState(cells)), ring(newRing), start((cells - newRing) / 2) {
    auto* const table = new StateLookupTable(state);
    table->setTraceStorage(storage);
    svfPtr = table;
    ALPHA = 0.001;
    GAMMA = 1.0;
    // No trace becomes subnormal before its state is visited again.
    LAMBDA = 0.9999;
    initEpisode();
  }

  void takeStep() {
    step();
    checkPendingSignals();
  }

 protected:
  void setInitialState() override { show(); }

  void takeAction() override { position = position + 1 < ring ? position + 1 : 0; }

  const bool observeState() override {
    show();
    return true;
  }

  const double calculateReward() override { return -0.001; }

 private:
  void show() { state->setValueInt(0, start + position); }

  State* state;
  int ring;
  int start;
  int position = 0;
};

const double bytesInUse() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

void takeSteps(benchmark::State& state, std::int64_t cells, std::int64_t traces,
               Types::TRACE_STORAGE storage) {
  RingAgent agent(static_cast<int>(cells), static_cast<int>(traces), storage);
  const double before = bytesInUse();
  for (std::int64_t i = 0; i < 2 * traces; ++i) {
    agent.takeStep();
  }
  state.counters["bytes_per_trace"] = (bytesInUse() - before) / static_cast<double>(traces);
  for (auto _ : state) {
    agent.takeStep();
  }
}

void add(const char* name, std::int64_t size, std::int64_t cells, std::int64_t traces,
         Types::TRACE_STORAGE storage) {
  const std::int64_t entries = storage == Types::MAP ? traces : cells;
  // Some hundredths of a second each: a table is made for every single timing.
  const std::int64_t steps = std::max<std::int64_t>(20'000'000 / (200 + 2 * entries), 100);
  benchmark::RegisterBenchmark(
      (std::string(name) + "/" + std::to_string(size)).c_str(),
      [=](benchmark::State& state) { takeSteps(state, cells, traces, storage); })
      ->Iterations(steps);
}

const double availableBytes() {
  std::ifstream file("/proc/meminfo");
  std::string key;
  double kilobytes = 0.0;
  while (file >> key && key != "MemAvailable:") {
    file.ignore(256, '\n');
  }
  file >> kilobytes;
  return kilobytes * 1024.0;
}

}  // namespace

int main(int argc, char** argv) {
  const double bytes = availableBytes();
  for (std::int64_t cells = 1000; cells <= 100'000'000; cells *= 10) {
    // Half of the memory is enough for anybody.
    if (static_cast<double>(cells) * sizeof(double) < bytes / 2) {
      add("map_by_cells", cells, cells, USUAL_TRACES, Types::MAP);
    }
  }
  for (const std::int64_t traces : {1, 3, 10, 30, 100, 300, 1000, 3000, 10000}) {
    add("map_by_traces", traces, 100'000, traces, Types::MAP);
  }
  for (const std::int64_t cells : {10, 30, 100, 300, 1000, 3000, 10000, 30000, 100000}) {
    add("array_by_cells", cells, cells, 10, Types::ARRAY);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
