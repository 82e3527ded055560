#include "BinaryFile.h"

#include <cerrno>
#include <cstring>

namespace BinaryFile {

void reportErrno(const QuarnelUtility::Place& place, const char* separator) {
  const QuarnelUtility::Errno failure{errno, separator};
  QUARNEL_ERROR_AT(place, failure);
}

const std::int64_t remainingBytes(FILE* file) {
  // A report that follows shows the error of the transfer, not that of a question about the file.
  const int transferErrno = errno;
  std::int64_t remaining = -1;
  const off_t position = file == nullptr ? -1 : ftello(file);
  if (position >= 0 && fseeko(file, 0, SEEK_END) == 0) {
    const off_t end = ftello(file);
    if (fseeko(file, position, SEEK_SET) == 0 && end >= 0) {
      remaining = end > position ? end - position : 0;
    }
  }
  errno = transferErrno;
  return remaining;
}

void refuseCount(FILE* file, const QuarnelUtility::Place& place, const char* separator) {
  const int transferErrno = errno;
  reportErrno(place, separator);
  if (file != nullptr) {
    std::fseek(file, 0, SEEK_END);
  }
  errno = transferErrno;
}

const bool mayHold(FILE* file, std::int64_t count, std::int64_t size) {
  const std::int64_t remaining = remainingBytes(file);
  return remaining < 0 || count <= remaining / size;
}

const bool writeItems(FILE* file, const void* items, std::size_t size, std::size_t count,
                      const QuarnelUtility::Place& place, const char* separator) {
  if (file != nullptr &&
      (count == 0 || (items != nullptr && std::fwrite(items, size, count, file) == count))) {
    return true;
  }
  reportErrno(place, separator);
  return false;
}

const bool readItems(FILE* file, void* items, std::size_t size, std::size_t count,
                     const QuarnelUtility::Place& place, const char* separator) {
  const bool transferred = file != nullptr && count > 0;
  const std::size_t complete = transferred ? std::fread(items, size, count, file) : 0;
  if (file != nullptr && complete == count) {
    return true;
  }
  reportErrno(place, separator);
  if (count > 0) {
    std::memset(static_cast<char*>(items) + complete * size, 0, (count - complete) * size);
  }
  return false;
}

}  // namespace BinaryFile
