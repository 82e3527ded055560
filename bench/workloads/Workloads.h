#ifndef QUARNEL_BENCH_WORKLOADS_H
#define QUARNEL_BENCH_WORKLOADS_H

#include <memory>

#include "workloads/Training.h"

/// @name The trainings
/// Both libraries of workloads, the one over the product and the hand-written one, have all of them.
/// @{
std::unique_ptr<Training> makeTableMap();
std::unique_ptr<Training> makeTilesMap();
std::unique_ptr<Training> makeWalkMap();
std::unique_ptr<Training> makeLongWalkMap();
std::unique_ptr<Training> makeTable();
std::unique_ptr<Training> makeTiles();
std::unique_ptr<Training> makeTableArray();
std::unique_ptr<Training> makeTilesArray();
std::unique_ptr<Training> makeSave();
std::unique_ptr<Training> makeLoad();
std::unique_ptr<Training> makeSmallNetwork();
std::unique_ptr<Training> makeSmallNetworkTraces();
std::unique_ptr<Training> makeLargeNetwork();
std::unique_ptr<Training> makeLargeNetworkTraces();
/// @}

/// One line of the table of results.
struct Workload {
  const char* name;

  /// Long enough to be timed, and short enough to be repeated often.
  int episodes;

  /// For counting instructions, which takes fifty times as long as running them.
  int fewEpisodes;

  std::unique_ptr<Training> (*make)();
};

inline constexpr Workload WORKLOADS[] = {
    {"table_map", 100, 5, makeTableMap},
    {"tiles_map", 100, 5, makeTilesMap},
    {"walk_map", 1000, 100, makeWalkMap},
    {"walk_470_map", 60, 3, makeLongWalkMap},
    {"table_none", 100, 10, makeTable},
    {"tiles_none", 200, 10, makeTiles},
    {"table_array", 5, 1, makeTableArray},
    {"tiles_array", 20, 2, makeTilesArray},
    {"network_2_20", 1000, 100, makeSmallNetwork},
    {"network_2_20_traces", 1000, 100, makeSmallNetworkTraces},
    {"network_8_64", 400, 30, makeLargeNetwork},
    {"network_8_64_traces", 400, 30, makeLargeNetworkTraces},
    {"save", 3, 1, makeSave},
    {"load", 3, 1, makeLoad},
};

#endif
