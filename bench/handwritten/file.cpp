#include <cstdio>

#include "workloads/Digest.h"
#include "workloads/Training.h"
#include "workloads/ValueFile.h"
#include "workloads/Workloads.h"

namespace {

/// Writes the weights with one call, or reads them with one into a new array; every weight counts
/// as a step.
template <bool LOADS>
class FileTraining final : public Training {
 public:
  FileTraining() : weights(new double[COUNT]) {
    double last = 0.0;
    for (std::size_t i = 0; i < COUNT; ++i) {
      weights[i] = last += 0.25;
    }
    save();
  }

  void learn(int episodes) override {
    for (int i = 0; i < episodes; ++i) {
      const bool succeeded = LOADS ? load() : save();
      weightsMoved += succeeded ? ValueFile::WEIGHTS : 0;
    }
  }

  const std::int64_t getSteps() const override { return weightsMoved; }

  const std::uint64_t getDigest() const override {
    Digest digest;
    digest.add(weights.get(), COUNT);
    return LOADS ? digest.get() : file.getDigest();
  }

 private:
  static constexpr std::size_t COUNT = ValueFile::WEIGHTS;

  const bool save() const {
    std::FILE* const stream = std::fopen(file.getName().c_str(), "w+");
    if (stream == nullptr) {
      return false;
    }
    const bool written = std::fwrite(weights.get(), sizeof(double), COUNT, stream) == COUNT;
    return std::fclose(stream) == 0 && written;
  }

  const bool load() {
    std::FILE* const stream = std::fopen(file.getName().c_str(), "r");
    if (stream == nullptr) {
      return false;
    }
    // Never two of them in memory.
    weights.reset();
    weights.reset(new double[COUNT]);
    const bool read = std::fread(weights.get(), sizeof(double), COUNT, stream) == COUNT;
    return std::fclose(stream) == 0 && read;
  }

  ValueFile file;
  std::unique_ptr<double[]> weights;
  std::int64_t weightsMoved = 0;
};

}  // namespace

std::unique_ptr<Training> makeSave() { return std::make_unique<FileTraining<false>>(); }

std::unique_ptr<Training> makeLoad() { return std::make_unique<FileTraining<true>>(); }
