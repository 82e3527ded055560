#ifndef QUARNEL_TESTS_FAILING_NEW_H
#define QUARNEL_TESTS_FAILING_NEW_H

#include <cstddef>
#include <cstdlib>
#include <new>

/// Watches the calls of `operator new` for as long as it lives, and lets chosen ones fail.
///
/// Including this header replaces the global `operator new` and `operator delete` of the program,
/// the library's calls among them, so it goes into a single source file of a program. Expectations
/// stand outside the life of the watch: they ask for memory themselves.
///
/// @code
/// FailingNew memory(FailingNew::ONE, 3);  // the third call from here on fails
/// @endcode
class FailingNew {
 public:
  /// Which calls fail.
  enum Failing {
    NONE,     ///< No call: they are only watched.
    ONE,      ///< A single one, as when memory is short for a moment.
    ALL_FROM  ///< A call and all that follow it, as when memory is used up.
  };

  /// @param failing which calls fail.
  /// @param call the number of the first call that fails; the next call is number 1.
  explicit FailingNew(Failing failing = NONE, int call = 0)
      : kind(failing), firstFailing(call), count(0), blocks(0), largest(0) {
    active = this;
  }

  ~FailingNew() { active = nullptr; }
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;

  /// Whether a call has failed.
  bool failed() const { return kind != NONE && count >= firstFailing; }

  /// The number of calls.
  int calls() const { return count; }

  /// The number of bytes that the largest request asked for.
  std::size_t largestRequest() const { return largest; }

  /// The number of blocks handed out that are still held, less those given back from before.
  int held() const { return blocks; }

  /// What all forms of `operator new` come down to; null where the call fails.
  static void* allocate(std::size_t size) {
    FailingNew* const watch = active;
    const bool granted = watch == nullptr || watch->grants(size);
    return granted ? std::malloc(size > 0 ? size : 1) : nullptr;
  }

  /// What all forms of `operator delete` come down to.
  static void release(void* memory) {
    FailingNew* const watch = active;
    if (watch != nullptr && memory != nullptr) {
      watch->blocks = watch->blocks - 1;
    }
    std::free(memory);
  }

 private:
  bool grants(std::size_t size) {
    count = count + 1;
    if (size > largest) {
      largest = size;
    }
    const bool granted =
        kind == NONE || (kind == ONE ? count != firstFailing : count < firstFailing);
    blocks = blocks + (granted ? 1 : 0);
    return granted;
  }

  // Compilers may assume that a new-expression reads and changes no variable, hence volatile.
  static inline FailingNew* volatile active = nullptr;

  const Failing kind;
  const int firstFailing;
  volatile int count;
  volatile int blocks;
  volatile std::size_t largest;
};

// Not inlined: where GCC sees only one half of a pair, it warns of a wrong partner.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = FailingNew::allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

// The other forms are replaced too: a sanitizer brings its own, which don't come down to the one
// above.
[[gnu::noinline]] void* operator new[](std::size_t size) { return operator new(size); }
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return FailingNew::allocate(size);
}
[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return FailingNew::allocate(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept { FailingNew::release(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { FailingNew::release(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
  FailingNew::release(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
  FailingNew::release(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
  FailingNew::release(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  FailingNew::release(memory);
}

#endif
