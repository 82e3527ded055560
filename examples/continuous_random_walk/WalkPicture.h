#ifndef QUARNEL_EXAMPLES_WALK_PICTURE_H
#define QUARNEL_EXAMPLES_WALK_PICTURE_H

#include <sstream>
#include <vector>

#include "common/Prediction.h"
#include "continuous_random_walk/ContinuousRandomWalk.h"

/// Shows what an agent has learnt about the walk.
///
/// @tparam Agent a `WalkingAgent`.
template <class Agent>
void drawWalk(Agent& agent) {
  std::vector<Prediction::Row> rows;
  for (int i = 1; i <= Agent::POSITIONS; ++i) {
    const double position = Agent::getPosition(i);
    std::ostringstream name;
    name << position;
    rows.push_back(
        {name.str(), agent.getStateValue(position), ContinuousRandomWalk::getTrueValue(position)});
  }
  Prediction::drawValues("position", rows, 0.0);
}

#endif
