#include "Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

TemporaryDirectory::TemporaryDirectory()
    : path((std::filesystem::temp_directory_path() / "quarnel-XXXXXX").string()) {
  if (mkdtemp(path.data()) == nullptr) {
    ADD_FAILURE() << "can't make a temporary folder: " << path;
  }
}

TemporaryDirectory::~TemporaryDirectory() { std::filesystem::remove_all(path); }

std::string TemporaryDirectory::file(const std::string& name) const { return path + "/" + name; }

std::string readFile(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  EXPECT_TRUE(file.good()) << fileName;
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void writeFile(const std::string& fileName, const std::string& content) {
  std::ofstream file(fileName, std::ios::binary);
  file << content;
  EXPECT_TRUE(file.good()) << fileName;
}

MemoryFile::MemoryFile() : file(std::tmpfile()) { EXPECT_NE(file, nullptr); }

MemoryFile::MemoryFile(const std::string& content) : MemoryFile() {
  EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), file), content.size());
  rewind();
}

MemoryFile::~MemoryFile() { std::fclose(file); }

std::string MemoryFile::content() const {
  const long position = std::ftell(file);
  std::string text;
  std::rewind(file);
  for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file)) {
    text.push_back(static_cast<char>(byte));
  }
  std::fseek(file, position, SEEK_SET);
  return text;
}

FailingFile::FailingFile(const std::string& source, std::size_t bytesToFail, const char* mode)
    : content(mode[0] == 'r' ? source : std::string()),
      limit(bytesToFail),
      position(0),
      file(nullptr) {
  cookie_io_functions_t functions{};
  functions.read = readSome;
  functions.write = writeSome;
  file = fopencookie(this, mode, functions);
  EXPECT_NE(file, nullptr);
  std::setvbuf(file, nullptr, _IONBF, 0);
}

FailingFile::~FailingFile() { std::fclose(file); }

ssize_t FailingFile::readSome(void* cookie, char* buffer, std::size_t size) {
  auto& self = *static_cast<FailingFile*>(cookie);
  const std::size_t end = std::min(self.limit, self.content.size());
  const std::size_t count = std::min(size, end - std::min(end, self.position));
  if (count == 0 && size > 0 && self.position >= self.limit) {
    errno = EIO;
    return -1;
  }
  std::copy_n(self.content.data() + self.position, count, buffer);
  self.position += count;
  return static_cast<ssize_t>(count);
}

ssize_t FailingFile::writeSome(void* cookie, const char* buffer, std::size_t size) {
  auto& self = *static_cast<FailingFile*>(cookie);
  const std::size_t count = std::min(size, self.limit - std::min(self.limit, self.position));
  if (count == 0 && size > 0) {
    errno = EIO;
    return 0;  // libc takes 0 from a writer as the error
  }
  self.content.append(buffer, count);
  self.position += count;
  return static_cast<ssize_t>(count);
}
