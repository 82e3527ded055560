#ifndef QUARNEL_BENCH_VALUE_FILE_H
#define QUARNEL_BENCH_VALUE_FILE_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "workloads/Digest.h"

/// A file of 10 million weights in a directory of its own, which goes with it.
class ValueFile {
 public:
  static constexpr int WEIGHTS = 10'000'000;

  ValueFile() {
    std::string name = (std::filesystem::temp_directory_path() / "bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary directory " + name);
    }
    directory = name;
  }

  ~ValueFile() {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
  }

  ValueFile(const ValueFile&) = delete;
  ValueFile& operator=(const ValueFile&) = delete;

  const std::string getName() const { return (directory / "values").string(); }

  /// @return the digest of the weights, which stand at the end of the file.
  const std::uint64_t getDigest() const {
    const std::size_t count = WEIGHTS;
    const std::unique_ptr<double[]> weights(new double[count]);
    std::FILE* const file = std::fopen(getName().c_str(), "r");
    if (file == nullptr) {
      return 0;
    }
    const bool read = std::fseek(file, -static_cast<long>(count * sizeof(double)), SEEK_END) == 0 &&
                      std::fread(weights.get(), sizeof(double), count, file) == count;
    std::fclose(file);
    Digest digest;
    digest.add(weights.get(), count);
    return read ? digest.get() : 0;
  }

 private:
  std::filesystem::path directory;
};

#endif
