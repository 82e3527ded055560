#ifndef QUARNEL_TESTS_FORCED_DRAWS_H
#define QUARNEL_TESTS_FORCED_DRAWS_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <initializer_list>

/// Decides which numbers the next calls of `rand()` give, in the test and in the library. Exactly
/// those must be drawn while it lives.
///
/// The header defines `rand()` for the whole executable, so only one of its files may include it.
class ForcedDraws {
 public:
  ForcedDraws(std::initializer_list<int> numbers) : pending(numbers) { current = this; }

  ~ForcedDraws() {
    current = nullptr;
    EXPECT_TRUE(pending.empty()) << pending.size() << " numbers were not drawn";
  }

  ForcedDraws(const ForcedDraws&) = delete;
  ForcedDraws& operator=(const ForcedDraws&) = delete;

  /// What `rand()` gives now.
  static int next() {
    if (current == nullptr) {
      // In glibc random() and rand() are one generator, with one seed.
      return static_cast<int>(random());
    }
    if (current->pending.empty()) {
      ADD_FAILURE() << "more numbers were drawn than forced";
      return 0;
    }
    const int number = current->pending.front();
    current->pending.pop_front();
    return number;
  }

 private:
  std::deque<int> pending;
  static inline ForcedDraws* current = nullptr;
};

extern "C" int rand() noexcept { return ForcedDraws::next(); }

#endif
