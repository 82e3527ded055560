#ifndef QUARNEL_TESTS_DRAWS_H
#define QUARNEL_TESTS_DRAWS_H

#include <functional>

/// Counts how many numbers an operation draws from `rand()`: it seeds the generator with `seed`,
/// runs the operation and finds the next number in the stream of that seed.
///
/// @return the count; -1 where it is above 1000.
int countDraws(const std::function<void()>& operation, unsigned int seed = 1);

/// The number that `rand()` gives after `skip` others in the stream of a seed.
int draw(unsigned int seed, int skip);

#endif
