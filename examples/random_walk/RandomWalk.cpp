#include "random_walk/RandomWalk.h"

RandomWalk::RandomWalk(int newStates, double newLeftReward)
    : states(newStates), leftReward(newLeftReward), position((newStates + 1) / 2) {}

void RandomWalk::reset() { position = (states + 1) / 2; }

void RandomWalk::step(bool toTheRight) { position += toTheRight ? 1 : -1; }

const double RandomWalk::getReward() const {
  return position == 0 ? leftReward : position == states + 1 ? 1.0 : 0.0;
}

const bool RandomWalk::isAtEnd() const { return position == 0 || position == states + 1; }

const double RandomWalk::getTrueValue(int state) const {
  // The mean of what is to come changes by the same amount from each position to the next.
  return (leftReward * (states + 1 - state) + state) / (states + 1);
}
