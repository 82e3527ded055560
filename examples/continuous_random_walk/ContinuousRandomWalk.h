#ifndef QUARNEL_EXAMPLES_CONTINUOUS_RANDOM_WALK_H
#define QUARNEL_EXAMPLES_CONTINUOUS_RANDOM_WALK_H

/// A stretch from 0 to 1 with an end on either side. Walks start in the middle; beyond the right
/// end lies a reward of +1, beyond the left end and on the way nothing.
///
/// It is the random walk of Sutton and Barto, Reinforcement Learning, 2nd edition, example 6.2,
/// with steps of any length up to a tenth of the stretch.
class ContinuousRandomWalk {
 public:
  /// The longest step.
  static constexpr double REACH = 0.1;

  /// Puts the walker into the middle.
  void reset() { place(0.5); }

  void place(double newPosition) { position = newPosition; }

  /// Takes a step.
  ///
  /// @param chance a number in [0, 1), from the longest step to the left to that to the right.
  void step(double chance) { position += REACH * (2.0 * chance - 1.0); }

  const double getPosition() const { return position; }

  /// @return the reward of the step that led here.
  const double getReward() const { return position >= 1.0 ? 1.0 : 0.0; }

  const bool isAtEnd() const { return position <= 0.0 || position >= 1.0; }

  /// @param from a position between the ends.
  /// @return the expected reward from there on, where all steps are equally likely, to about three
  /// digits: the solution, on a grid of 1,000 cells, of V(x) = the mean of V over [x - REACH,
  /// x + REACH], where V is 0 below 0 and 1 above 1.
  static const double getTrueValue(double from);

 private:
  double position = 0.5;
};

#endif
