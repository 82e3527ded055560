#ifndef QUARNEL_EXAMPLES_EPISODE_LOG_H
#define QUARNEL_EXAMPLES_EPISODE_LOG_H

#include <fstream>
#include <functional>
#include <string>

/// What an episode came to.
struct Episode {
  int number;          ///< From 1.
  int steps;           ///< Its length.
  double totalReward;  ///< The sum of its rewards, not discounted.
};

/// What an agent calls after every complete episode.
using EpisodeListener = std::function<void(const Episode&)>;

/// Writes episodes to a CSV file with the columns episode, steps and return.
class EpisodeLog {
 public:
  /// Creates or replaces the file.
  ///
  /// @param newFileName empty for a log that writes nothing.
  explicit EpisodeLog(const std::string& newFileName);

  void add(const Episode& episode);

  /// Completes the file.
  ///
  /// @return false after a message on standard error where not everything was written.
  const bool close();

 private:
  void noteFailure();

  std::string fileName;
  std::ofstream file;
  int failure;
};

#endif
