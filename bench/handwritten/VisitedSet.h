#ifndef QUARNEL_BENCH_HANDWRITTEN_VISITED_SET_H
#define QUARNEL_BENCH_HANDWRITTEN_VISITED_SET_H

#include <cstddef>
#include <vector>

/// The weights visited in an episode, each once: a mark for every weight and a list of the marked.
class VisitedSet {
 public:
  explicit VisitedSet(int weights)
      : marks(static_cast<std::size_t>(weights), 0), list(marks.size()) {}

  void clear() {
    for (int i = 0; i < size; ++i) {
      marks[static_cast<std::size_t>(list[static_cast<std::size_t>(i)])] = 0;
    }
    size = 0;
  }

  void insert(int key) {
    char& mark = marks[static_cast<std::size_t>(key)];
    if (mark == 0) {
      mark = 1;
      list[static_cast<std::size_t>(size)] = key;
      ++size;
    }
  }

 private:
  std::vector<char> marks;
  std::vector<int> list;
  int size = 0;
};

#endif
