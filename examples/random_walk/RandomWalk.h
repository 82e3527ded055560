#ifndef QUARNEL_EXAMPLES_RANDOM_WALK_H
#define QUARNEL_EXAMPLES_RANDOM_WALK_H

/// A row of states with an end on either side. Walks start in the middle; the right end is worth a
/// reward of +1, the left end another one, every other step nothing. Which way a step goes is the
/// walker's affair.
///
/// Source: Sutton and Barto, Reinforcement Learning, 2nd edition, example 6.2 (five states, 0 on
/// the left) and figures 7.2 and 12.6 (nineteen states, -1 on the left).
class RandomWalk {
 public:
  /// @param newStates an odd number of states, without the two ends.
  /// @param newLeftReward the reward at the left end.
  RandomWalk(int newStates, double newLeftReward);

  /// Puts the walker into the middle state.
  void reset();

  /// Takes a step; must not be called at an end.
  void step(bool toTheRight);

  /// @return where the walker is: 0 is the left end, getStates() + 1 the right one.
  const int getPosition() const { return position; }

  /// @return the number of states without the ends.
  const int getStates() const { return states; }

  /// @return the reward of the step that led here.
  const double getReward() const;

  const bool isAtEnd() const;

  /// @return the expected reward from a state on, where both directions are equally likely.
  const double getTrueValue(int state) const;

 private:
  int states;
  double leftReward;
  int position;
};

#endif
