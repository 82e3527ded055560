#ifndef QUARNEL_TESTS_FILES_H
#define QUARNEL_TESTS_FILES_H

#include <cstddef>
#include <cstdio>
#include <string>

/// A folder of its own for a test, gone with everything in it when the test ends.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  /// The path of a file in it.
  std::string file(const std::string& name) const;

 private:
  std::string path;
};

/// The bytes of a binary file, put together field by field: `bytes(2u) + bytes(1) + "xy"`.
template <typename Number>
std::string bytes(Number number) {
  return std::string(reinterpret_cast<const char*>(&number), sizeof(number));
}

std::string readFile(const std::string& fileName);
void writeFile(const std::string& fileName, const std::string& content);

/// A binary file in memory, to hand to the operations that take a FILE*.
class MemoryFile {
 public:
  /// An empty file, for writing and then reading.
  MemoryFile();

  /// A file with content, at its beginning.
  explicit MemoryFile(const std::string& content);

  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  operator FILE*() const { return file; }

  /// All bytes of the file.
  std::string content() const;

  /// Goes back to the beginning.
  void rewind() const { std::rewind(file); }

 private:
  FILE* file;
};

/// A file whose transfers fail with EIO from a byte on, unbuffered, so that the failure meets the
/// transfer that reaches it. It can't tell its size, as a pipe can't.
class FailingFile {
 public:
  /// @param source what can be read.
  /// @param bytesToFail the number of bytes that can be read or written before transfers fail.
  /// @param mode "r" or "w".
  FailingFile(const std::string& source, std::size_t bytesToFail, const char* mode);

  ~FailingFile();
  FailingFile(const FailingFile&) = delete;
  FailingFile& operator=(const FailingFile&) = delete;

  operator FILE*() const { return file; }

  /// What has been written.
  const std::string& written() const { return content; }

 private:
  static ssize_t readSome(void* cookie, char* buffer, std::size_t size);
  static ssize_t writeSome(void* cookie, const char* buffer, std::size_t size);

  std::string content;
  std::size_t limit;
  std::size_t position;
  FILE* file;
};

#endif
