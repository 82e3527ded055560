#include "common/Picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <sstream>

namespace {

const std::array<const char*, 9> BARS = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
const std::array<const char*, 5> SHADES = {" ", "░", "▒", "▓", "█"};

// The place of a number between two others, from 0 to `steps`. In this order, a number that is not
// one comes out on top.
int placeOf(double number, double low, double high, int steps) {
  const double part = high > low ? (number - low) / (high - low) : 0.0;
  return static_cast<int>(std::lround(steps * std::max(0.0, std::min(1.0, part))));
}

// The means of as many runs of neighbours as there are columns.
std::vector<double> bundle(const std::vector<double>& numbers, int columns) {
  const std::size_t count = std::min(numbers.size(), static_cast<std::size_t>(columns));
  std::vector<double> means;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t begin = i * numbers.size() / count;
    const std::size_t end = (i + 1) * numbers.size() / count;
    double sum = 0.0;
    for (std::size_t j = begin; j < end; ++j) {
      sum += numbers[j];
    }
    means.push_back(sum / static_cast<double>(end - begin));
  }
  return means;
}

const std::string NO_LABEL(7, ' ');

std::string label(double number) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(0) << std::setw(static_cast<int>(NO_LABEL.size()))
       << number;
  return text.str();
}

}  // namespace

namespace Picture {

std::vector<std::string> drawCurve(const std::vector<double>& numbers, int columns, int rows) {
  const std::vector<double> means = bundle(numbers, columns);
  if (means.empty()) {
    return {};
  }
  const auto [lowest, highest] = std::minmax_element(means.begin(), means.end());
  // The lowest bar is an eighth of a character high, so that there is something to see.
  const int eighths = 8 * rows - 1;
  std::vector<std::string> lines;
  for (int row = rows - 1; row >= 0; --row) {
    std::string line = row == rows - 1 ? label(*highest) : row == 0 ? label(*lowest) : NO_LABEL;
    line += " |";
    for (const double mean : means) {
      const int height =
          1 + placeOf(std::log(mean), std::log(*lowest), std::log(*highest), eighths);
      line += BARS[static_cast<std::size_t>(std::clamp(height - 8 * row, 0, 8))];
    }
    lines.push_back(line);
  }
  return lines;
}

std::vector<std::string> drawField(const std::vector<std::vector<double>>& field) {
  if (field.empty() || field.front().empty()) {
    return {};
  }
  double lowest = field.front().front();
  double highest = lowest;
  for (const std::vector<double>& line : field) {
    for (const double number : line) {
      lowest = std::min(lowest, number);
      highest = std::max(highest, number);
    }
  }
  std::vector<std::string> lines;
  for (const std::vector<double>& numbers : field) {
    std::string line;
    for (const double number : numbers) {
      const int shade = placeOf(number, lowest, highest, static_cast<int>(SHADES.size()) - 1);
      line += SHADES[static_cast<std::size_t>(shade)];
      line += SHADES[static_cast<std::size_t>(shade)];
    }
    lines.push_back(line);
  }
  return lines;
}

void print(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    std::cout << "    " << line << '\n';
  }
  std::cout << std::flush;
}

}  // namespace Picture
