#include "common/Prediction.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>

#include "common/Summary.h"

namespace {

const std::size_t REPORTED_EPISODES[] = {0, 10, 50, 100, 500, 1000, 2000, 5000, 10000, 20000};
const std::size_t LAST_REPORTED = 20000;
const std::size_t FIRST_EPISODES = 10;

}  // namespace

namespace Prediction {

void note(Errors& errors, double error) {
  if (errors.size() <= LAST_REPORTED) {
    errors.push_back(error);
  }
}

void reportErrors(const std::vector<Errors>& runs) {
  for (const std::size_t episodes : REPORTED_EPISODES) {
    Summary summary;
    for (const Errors& errors : runs) {
      if (episodes < errors.size()) {
        summary.add(errors[episodes]);
      }
    }
    summary.print("RMS error after " + std::to_string(episodes) + " episodes");
  }
  Summary early;
  for (const Errors& errors : runs) {
    if (FIRST_EPISODES < errors.size()) {
      Summary run;
      for (std::size_t i = 1; i <= FIRST_EPISODES; ++i) {
        run.add(errors[i]);
      }
      early.add(run.getMean());
    }
  }
  early.print("RMS error, mean over the first " + std::to_string(FIRST_EPISODES) + " episodes");
}

const bool reportSecond(const std::string& fileName, double first, double second) {
  const bool same = first == second || (std::isnan(first) && std::isnan(second));
  std::cout << "The values are saved in " << fileName << ".\n"
            << "A second agent with the values from this file predicts "
            << (same ? "the same.\n" : "SOMETHING ELSE!\n") << std::endl;
  return same;
}

void drawValues(const std::string& title, const std::vector<Row>& rows, double low) {
  const double width = 50.0;
  const auto place = [&](double value) {
    // In this order, values that have become NaN end up on the right.
    const double part = std::max(0.0, std::min(1.0, (value - low) / (1.0 - low)));
    return static_cast<std::size_t>(width * part);
  };
  const int column = static_cast<int>(title.size());
  std::cout << '\n' << title << "  learnt    true\n" << std::fixed << std::setprecision(3);
  for (const Row& row : rows) {
    std::string bar(std::max(place(row.learnt), place(row.truth) + 1), ' ');
    bar.replace(0, place(row.learnt), place(row.learnt), '#');
    bar[place(row.truth)] = '|';
    std::cout << std::setw(column) << row.name << std::setw(8) << row.learnt << std::setw(8)
              << row.truth << "  " << bar << '\n';
  }
  std::cout << std::defaultfloat << std::endl;
}

}  // namespace Prediction
