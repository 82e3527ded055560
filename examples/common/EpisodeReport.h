#ifndef QUARNEL_EXAMPLES_EPISODE_REPORT_H
#define QUARNEL_EXAMPLES_EPISODE_REPORT_H

#include <cstddef>
#include <vector>

#include "common/EpisodeLog.h"

/// What the episodes of many runs came to, in lines on standard output: steps and return of an
/// episode, means over some episodes of every run.
namespace EpisodeReport {

using Runs = std::vector<std::vector<Episode>>;

/// Over the first episodes; nothing is printed where a run is shorter.
void printFirst(const Runs& runs, std::size_t count);

/// Over the last episodes.
void printLast(const Runs& runs, std::size_t count);

}  // namespace EpisodeReport

#endif
