#ifndef QUARNEL_EXAMPLES_GRID_REPORT_H
#define QUARNEL_EXAMPLES_GRID_REPORT_H

#include <vector>

#include "common/EpisodeLog.h"
#include "common/GridPath.h"

/// What many trainings came to, in lines on standard output.
namespace GridReport {

/// An agent's training from the first episode to the last.
struct Run {
  std::vector<Episode> episodes;
  GridPath path;  ///< The greedy walk afterwards.
};

/// How long the greedy walks are, and how many of them are optimal.
void printPaths(const std::vector<Run>& runs, int optimum);

/// Steps and return of an episode while the agent still explores: means over the last hundred
/// episodes of every run.
void printLastEpisodes(const std::vector<Run>& runs);

/// How many episodes come to their end within a number of steps. Runs that are shorter don't tell;
/// nothing is printed where there is one.
void printEpisodesWithin(const std::vector<Run>& runs, int steps);

}  // namespace GridReport

#endif
