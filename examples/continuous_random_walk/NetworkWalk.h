#ifndef QUARNEL_EXAMPLES_NETWORK_WALK_H
#define QUARNEL_EXAMPLES_NETWORK_WALK_H

/// How networks see the walk.
namespace NetworkWalk {

constexpr int HIDDEN_NEURONS = 10;

/// Positions count from the middle of the stretch, so that they lie evenly about 0.
constexpr double ORIGIN = 0.5;
constexpr double FARTHEST = 0.5;

/// Brings positions to [-2, 2], over which a unit goes through most of its range.
constexpr double SCALE_FACTOR = 4.0;

}  // namespace NetworkWalk

#endif
