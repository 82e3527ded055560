#include "common/Progress.h"

#include <algorithm>
#include <iomanip>
#include <iostream>

namespace {

const int LINES = 10;
const double LONGEST_BAR = 60.0;

}  // namespace

Progress::Progress(const std::string& newTitle, double newUnit, int newLastEpisode)
    : title(newTitle),
      unit(newUnit),
      lastEpisode(newLastEpisode),
      count(0),
      sum(0.0),
      lineTime(std::chrono::steady_clock::now()) {}

void Progress::add(int episode, double number) {
  ++count;
  sum += number;
  if (isLineDue(episode)) {
    printLine(episode);
  }
}

const bool Progress::isLineDue(int episode) const {
  if (lastEpisode == 0) {
    return std::chrono::steady_clock::now() - lineTime >= std::chrono::seconds(1);
  }
  return episode == lastEpisode || episode % std::max(1, lastEpisode / LINES) == 0;
}

void Progress::printLine(int episode) {
  const double mean = sum / count;
  // In this order, a mean that is not a number gives the longest bar.
  const auto marks = static_cast<std::size_t>(std::max(0.0, std::min(LONGEST_BAR, mean / unit)));
  std::cout << "episode " << std::setw(8) << episode << "   " << title << std::setw(8) << std::fixed
            << std::setprecision(unit < 1.0 ? 3 : 1) << mean << std::defaultfloat << "  "
            << std::string(marks, '#') << std::endl;
  count = 0;
  sum = 0.0;
  lineTime = std::chrono::steady_clock::now();
}
