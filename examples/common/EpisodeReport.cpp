#include "common/EpisodeReport.h"

#include <algorithm>
#include <string>

#include "common/Summary.h"

namespace {

void print(const EpisodeReport::Runs& runs, bool first, std::size_t count) {
  Summary steps;
  Summary returns;
  for (const std::vector<Episode>& episodes : runs) {
    if (first && episodes.size() < count) {
      return;
    }
    const std::size_t begin = first ? 0 : episodes.size() - std::min(count, episodes.size());
    const std::size_t end = first ? count : episodes.size();
    Summary stepsOfRun;
    Summary returnsOfRun;
    for (std::size_t i = begin; i < end; ++i) {
      stepsOfRun.add(episodes[i].steps);
      returnsOfRun.add(episodes[i].totalReward);
    }
    steps.add(stepsOfRun.getMean());
    returns.add(returnsOfRun.getMean());
  }
  const std::string which = (first ? "first " : "last ") + std::to_string(count) + " episodes";
  steps.print("steps per episode, " + which);
  returns.print("return per episode, " + which);
}

}  // namespace

namespace EpisodeReport {

void printFirst(const Runs& runs, std::size_t count) { print(runs, true, count); }

void printLast(const Runs& runs, std::size_t count) { print(runs, false, count); }

}  // namespace EpisodeReport
