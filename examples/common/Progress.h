#ifndef QUARNEL_EXAMPLES_PROGRESS_H
#define QUARNEL_EXAMPLES_PROGRESS_H

#include <chrono>
#include <string>

/// Prints how learning goes on, a line for every tenth of the episodes: the mean of a number that
/// every episode gives, and a bar as long as it. Without a last episode it prints a line a second.
class Progress {
 public:
  /// @param newTitle what the numbers are.
  /// @param newUnit how much of it one character of the bar stands for.
  /// @param newLastEpisode 0 where there is none.
  Progress(const std::string& newTitle, double newUnit, int newLastEpisode);

  void add(int episode, double number);

 private:
  const bool isLineDue(int episode) const;
  void printLine(int episode);

  std::string title;
  double unit;
  int lastEpisode;
  int count;
  double sum;
  std::chrono::steady_clock::time_point lineTime;
};

#endif
