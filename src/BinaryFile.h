#ifndef QUARNEL_BINARY_FILE_H
#define QUARNEL_BINARY_FILE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "Allocation.h"
#include "Utility.h"

// No part of the interface.
#pragma GCC visibility push(hidden)
/// Numbers in binary files, as the host holds them: no markers, no padding. A transfer that moves
/// fewer items than asked is reported with libc's error at the caller's place.
namespace BinaryFile {

/// What stands between number and text of libc's error in the reports of binary blocks.
const char* const SEPARATOR = "  -->  ";

/// Reports libc's last error at `place`.
void reportErrno(const QuarnelUtility::Place& place, const char* separator = SEPARATOR);

/// @return the number of bytes between the file's position and its end; -1 where the file can't
///   tell, as a pipe can't.
const std::int64_t remainingBytes(FILE* file);

/// Takes a count that the file can't hold for the short read it would end in: reports libc's last
/// error at `place` and leaves the file at its end.
void refuseCount(FILE* file, const QuarnelUtility::Place& place, const char* separator = SEPARATOR);

/// @return false when the file tells that fewer than `count` items of `size` bytes are left in it.
const bool mayHold(FILE* file, std::int64_t count, std::int64_t size);

/// Writes `count` items of `size` bytes. @return true, or false after the report.
const bool writeItems(FILE* file, const void* items, std::size_t size, std::size_t count,
                      const QuarnelUtility::Place& place, const char* separator = SEPARATOR);

/// Reads `count` items of `size` bytes; those that are not there become zero.
/// @return true, or false after the report.
const bool readItems(FILE* file, void* items, std::size_t size, std::size_t count,
                     const QuarnelUtility::Place& place, const char* separator = SEPARATOR);

/// Writes one number.
template <typename Number>
const bool write(FILE* file, const Number& number, const QuarnelUtility::Place& place,
                 const char* separator = SEPARATOR) {
  return writeItems(file, &number, sizeof(Number), 1, place, separator);
}

/// Reads one number; a short read leaves `number` as it was.
template <typename Number>
const bool read(FILE* file, Number& number, const QuarnelUtility::Place& place,
                const char* separator = SEPARATOR) {
  Number item{};
  const bool complete = readItems(file, &item, sizeof(Number), 1, place, separator);
  if (complete) {
    number = item;
  }
  return complete;
}

/// Reads `count` items into an empty container that grows with what arrives, so that a count which
/// the file can't bear asks for no memory. @return true, or false after the report.
template <typename Container>
const bool readGrowing(FILE* file, Container& items, std::size_t count,
                       const QuarnelUtility::Place& place) {
  const std::size_t CHUNK = 65536;
  while (items.size() < count) {
    const std::size_t start = items.size();
    const std::size_t chunk = std::min(CHUNK, count - start);
    if (!Allocation::succeeds([&] { items.resize(start + chunk); }, "what a file holds", place) ||
        !readItems(file, &items[start], sizeof(items[start]), chunk, place)) {
      return false;
    }
  }
  return true;
}

}  // namespace BinaryFile
#pragma GCC visibility pop

#endif
