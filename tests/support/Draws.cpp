#include "Draws.h"

#include <array>
#include <cstdlib>

namespace {

std::array<int, 3> nextNumbers() { return {std::rand(), std::rand(), std::rand()}; }

}  // namespace

int countDraws(const std::function<void()>& operation, unsigned int seed) {
  std::srand(seed);
  operation();
  const std::array<int, 3> next = nextNumbers();
  for (int count = 0; count <= 1000; ++count) {
    std::srand(seed);
    for (int i = 0; i < count; ++i) {
      std::rand();
    }
    if (nextNumbers() == next) {
      return count;
    }
  }
  return -1;
}

int draw(unsigned int seed, int skip) {
  std::srand(seed);
  for (int i = 0; i < skip; ++i) {
    std::rand();
  }
  return std::rand();
}
