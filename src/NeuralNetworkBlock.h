#ifndef QUARNEL_NEURAL_NETWORK_BLOCK_H
#define QUARNEL_NEURAL_NETWORK_BLOCK_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <vector>

#include "Allocation.h"
#include "BinaryFile.h"
#include "NeuralNetwork.h"

/// The arrays of a network in the file that `load()` reads. Their lengths follow from numbers in
/// the same file, so they are held against what is there before there is memory for them.
///
/// No part of the interface.
class __attribute__((visibility("hidden"))) NeuralNetwork::Block {
 public:
  /// @param theFile the file, at the first array.
  /// @param thePlace where failures are reported.
  Block(FILE* theFile, const QuarnelUtility::Place& thePlace)
      : file(theFile), place(thePlace), taken(0) {}

  /// @return false where one of the arrays, in the order of the file, is longer than what is left of
  ///   the file. A file that ends behind the longest is read as far as it goes.
  const bool mayHold(std::initializer_list<int> sizes) {
    std::int64_t available = BinaryFile::remainingBytes(file);
    if (available >= 0) {
      available /= static_cast<std::int64_t>(sizeof(double));
    } else {
      fetch(sizes);
      available = static_cast<std::int64_t>(arrived.size());
    }
    return available >= std::max(sizes);
  }

  /// Reads the next array; what is not there becomes zero.
  /// @return true, or false after a report.
  const bool read(double* array, int size) {
    const auto count = static_cast<std::size_t>(size);
    const std::size_t ready = std::min(count, arrived.size() - taken);
    std::copy_n(arrived.data() + taken, ready, array);
    taken += ready;
    return ready == count ||
           BinaryFile::readItems(file, array + ready, sizeof(double), count - ready, place);
  }

  FILE* const file;
  const QuarnelUtility::Place place;

 private:
  // Takes what arrives in a stream that can't tell its size, up to the end of the last array.
  void fetch(std::initializer_list<int> sizes) {
    const std::size_t CHUNK = 65536;
    std::size_t wanted = 0;
    for (const int size : sizes) {
      wanted += static_cast<std::size_t>(std::max(size, 0));
    }
    bool flowing = true;
    while (flowing && arrived.size() < wanted) {
      const std::size_t start = arrived.size();
      const std::size_t chunk = std::min(CHUNK, wanted - start);
      if (!Allocation::succeeds([&] { arrived.resize(start + chunk); }, "what a file holds",
                                place)) {
        return;
      }
      const std::size_t read = std::fread(&arrived[start], sizeof(double), chunk, file);
      arrived.resize(start + read);
      flowing = read == chunk;
    }
  }

  std::vector<double> arrived;
  std::size_t taken;
};

#endif
