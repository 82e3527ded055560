#include <quarnel/StateLookupTable.h>

#include "product/Readable.h"
#include "workloads/Training.h"
#include "workloads/ValueFile.h"
#include "workloads/Workloads.h"

namespace {

State* makeState() {
  auto* const state = new State;
  state->registerVariable("cell", 0, ValueFile::WEIGHTS - 1);
  return state;
}

double lastWeight = 0.0;

const double nextWeight() { return lastWeight += 0.25; }

/// Saves a table, or loads it; every weight counts as a step.
template <bool LOADS>
class FileTraining final : public Training {
 public:
  FileTraining() : table(makeState()) {
    lastWeight = 0.0;
    table.initWeights(nextWeight);
    table.save(file.getName());
  }

  void learn(int episodes) override {
    for (int i = 0; i < episodes; ++i) {
      const int status = LOADS ? table.load(file.getName()) : table.save(file.getName());
      weightsMoved += status == 0 ? ValueFile::WEIGHTS : 0;
    }
  }

  const std::int64_t getSteps() const override { return weightsMoved; }

  const std::uint64_t getDigest() const override {
    return LOADS ? table.getDigest() : file.getDigest();
  }

 private:
  ValueFile file;
  Readable<StateLookupTable> table;
  std::int64_t weightsMoved = 0;
};

}  // namespace

std::unique_ptr<Training> makeSave() { return std::make_unique<FileTraining<false>>(); }

std::unique_ptr<Training> makeLoad() { return std::make_unique<FileTraining<true>>(); }
