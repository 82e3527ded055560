#include "common/GridReport.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <map>
#include <string>

#include "common/Summary.h"

namespace {

const std::size_t LAST_EPISODES = 100;

}  // namespace

namespace GridReport {

void printPaths(const std::vector<Run>& runs, int optimum) {
  std::map<std::size_t, int> lengths;
  int lost = 0;
  Summary optimal;
  for (const Run& run : runs) {
    const std::size_t length = run.path.steps.size();
    if (run.path.arrived) {
      ++lengths[length];
    } else {
      ++lost;
    }
    optimal.add(run.path.arrived && length == static_cast<std::size_t>(optimum) ? 1.0 : 0.0);
  }
  std::cout << "Greedy paths:\n";
  for (const auto& [length, count] : lengths) {
    std::cout << "  " << length << " steps in " << count << " of " << runs.size() << " runs\n";
  }
  if (lost > 0) {
    std::cout << "  not reaching the goal in " << lost << " of " << runs.size() << " runs\n";
  }
  optimal.print("share of optimal greedy paths");
}

void printLastEpisodes(const std::vector<Run>& runs) {
  Summary steps;
  Summary returns;
  for (const Run& run : runs) {
    Summary stepsOfRun;
    Summary returnsOfRun;
    const std::size_t count = run.episodes.size();
    for (std::size_t i = count - std::min(count, LAST_EPISODES); i < count; ++i) {
      stepsOfRun.add(run.episodes[i].steps);
      returnsOfRun.add(run.episodes[i].totalReward);
    }
    steps.add(stepsOfRun.getMean());
    returns.add(returnsOfRun.getMean());
  }
  steps.print("steps per episode, last 100 episodes");
  returns.print("return per episode, last 100 episodes");
}

void printEpisodesWithin(const std::vector<Run>& runs, int steps) {
  Summary finished;
  for (const Run& run : runs) {
    int left = steps;
    int count = 0;
    for (const Episode& episode : run.episodes) {
      left -= episode.steps;
      if (left < 0) {
        break;
      }
      ++count;
    }
    if (left >= 0) {
      return;
    }
    finished.add(count);
  }
  finished.print("episodes within " + std::to_string(steps) + " steps");
}

}  // namespace GridReport
