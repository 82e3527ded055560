#ifndef QUARNEL_TESTS_NAMED_FILES_H
#define QUARNEL_TESTS_NAMED_FILES_H

#include <quarnel/State.h>
#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "Files.h"
#include "Reports.h"

/// Every write beyond what libc holds back fails on this device with ENOSPC.
inline const std::string FULL_DEVICE = "/dev/full";

/// How many bytes libc holds back before it writes them to the full device.
inline std::size_t heldBackBytes() {
  struct stat status {};
  EXPECT_EQ(stat(FULL_DEVICE.c_str(), &status), 0);
  return static_cast<std::size_t>(status.st_blksize);
}

/// A state of one integer variable "x" from -3 to 7, and the record of it in a file.
inline State* newState() {
  auto* const state = new State();
  state->registerVariable("x", -3, 7);
  return state;
}
inline const std::string STATE_RECORD(
    "\x01\0\0\0"
    "\x01\0\0\0"
    "\x01\0\0\0"
    "x"
    "\xfd\xff\xff\xff"
    "\x07\0\0\0",
    21);

/// A state whose record takes so many bytes, 20 at least.
inline State* newStateOf(std::size_t recordBytes) {
  auto* const state = new State();
  state->registerVariable(std::string(recordBytes - 20, 'x'), 0, 1);
  return state;
}

/// How many times this process has the file or folder open.
inline int openHandles(const std::string& fileName) {
  int handles = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) == fileName) {
      ++handles;
    }
  }
  return handles;
}

/// Reports as "State::load: message".
inline std::vector<std::string> withPlaces(const std::vector<Report>& reports) {
  std::vector<std::string> list;
  for (const Report& report : reports) {
    list.push_back(report.file + "::" + report.function + ": " + report.message);
  }
  return list;
}

#endif
