#include "common/EpisodeLog.h"

#include <cerrno>
#include <cstring>
#include <iomanip>
#include <iostream>

EpisodeLog::EpisodeLog(const std::string& newFileName) : fileName(newFileName), failure(0) {
  if (!fileName.empty()) {
    errno = 0;
    file.open(fileName);
    // Returns of many digits are not rounded.
    file << std::setprecision(15) << "episode,steps,return\n";
    noteFailure();
  }
}

void EpisodeLog::add(const Episode& episode) {
  if (!fileName.empty() && failure == 0) {
    errno = 0;
    file << episode.number << ',' << episode.steps << ',' << episode.totalReward << '\n';
    noteFailure();
  }
}

const bool EpisodeLog::close() {
  if (fileName.empty()) {
    return true;
  }
  if (failure == 0) {
    // A full disk may show only now.
    errno = 0;
    file.close();
    noteFailure();
  }
  if (failure != 0) {
    std::cerr << "can not write '" << fileName << "': " << std::strerror(failure) << std::endl;
  }
  return failure == 0;
}

void EpisodeLog::noteFailure() {
  if (!file.good()) {
    failure = errno != 0 ? errno : EIO;
  }
}
