#ifndef QUARNEL_KEY_INDEX_H
#define QUARNEL_KEY_INDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

/// Distinct numbers in a dense array, and for each the position at which it stands.
///
/// This is what `TraceMap` and `IndexSet` are made of: who works on all entries walks the dense
/// array, who asks for one finds its position by hashing. The memory is in proportion to the
/// largest number of keys so far, whatever their values; it is kept when keys go, so that nothing
/// is allocated once an episode has been as long as they get.
class KeyIndex {
 public:
  /// Stands for the position of a key that is not there.
  static constexpr std::uint32_t ABSENT = 0xFFFFFFFF;

  /// No keys yet, and no memory taken.
  KeyIndex();

  ~KeyIndex();

  /// Copies all keys, in their positions.
  KeyIndex(const KeyIndex&);

  /// Copies all keys, in their positions. @return this index.
  KeyIndex& operator=(const KeyIndex&);

  /// @return the number of keys.
  std::size_t size() const { return keys.size(); }

  /// @return the keys, in no particular order.
  const int* data() const { return keys.data(); }

  /// @param key any number.
  /// @return the position of a key; `ABSENT` where it is not there.
  std::size_t find(int key) const {
    std::size_t slot = home(key);
    while (table[slot].position != ABSENT && table[slot].key != key) {
      slot = next(slot);
    }
    return table[slot].position;
  }

  /// Makes room for one more key.
  ///
  /// @throws std::bad_alloc where there is no memory, and then nothing has changed.
  void reserveOne() {
    if (keys.size() == keys.capacity() || SLOTS_PER_KEY * (keys.size() + 1) > slots.size()) {
      grow();
    }
  }

  /// Puts a key that is not there behind the others, after `reserveOne()`.
  ///
  /// @param key any number.
  void append(int key) {
    const std::size_t slot = freeSlot(key);
    slots[slot] = {key, static_cast<std::uint32_t>(keys.size())};
    keys.push_back(key);
  }

  /// Takes the key at a position out; the last one takes its place.
  ///
  /// @param position a position, below `size()`.
  void removeAt(std::size_t position) {
    const int last = keys.back();
    slots[slotOf(last)].position = static_cast<std::uint32_t>(position);
    release(slotOf(keys[position]));
    keys[position] = last;
    keys.pop_back();
  }

  /// Brings the keys into ascending order, by heapsort: it needs no memory, so that it can't fail.
  ///
  /// @tparam Swap a function of two positions.
  /// @param swap is called with the two positions of every exchange, so that what belongs to the
  ///   keys can follow them.
  template <typename Swap>
  void sort(const Swap& swap) {
    for (std::size_t root = size() / 2; root > 0; --root) {
      siftDown(root - 1, size(), swap);
    }
    for (std::size_t last = size(); last > 1; --last) {
      exchange(0, last - 1, swap);
      siftDown(0, last - 1, swap);
    }
    for (std::size_t i = 0; i < size(); ++i) {
      slots[slotOf(keys[i])].position = static_cast<std::uint32_t>(i);
    }
  }

  /// Exchanges the keys with those of another.
  ///
  /// @param other the other index.
  void swap(KeyIndex& other) noexcept;

  /// Takes all keys out, in a time in proportion to their number.
  void clear();

 private:
  /// @cond
  struct Slot {
    int key;
    std::uint32_t position;
  };
  /// @endcond

  // With this many a key that is not there is nearly always found missing at the first look.
  static constexpr std::size_t SLOTS_PER_KEY = 4;

  std::size_t next(std::size_t slot) const { return (slot + 1) & mask; }

  // Neighbouring keys are spread over the slots by multiplying with 2^64 over the golden ratio
  // (Knuth, The Art of Computer Programming, volume 3, section 6.4). That alone crowds keys at some
  // equal distances, as tiles and cells lie, so the higher bits are folded onto the lower ones first.
  std::size_t home(int key) const {
    const auto number = static_cast<std::uint32_t>(key);
    const std::uint64_t spread = (number ^ (number >> 15)) * 0x9E3779B97F4A7C15ULL;
    return static_cast<std::size_t>(spread >> shift) & mask;
  }

  // The slot of a key that is there.
  std::size_t slotOf(int key) const {
    std::size_t slot = home(key);
    while (slots[slot].key != key || slots[slot].position == ABSENT) {
      slot = next(slot);
    }
    return slot;
  }

  std::size_t freeSlot(int key) const {
    std::size_t slot = home(key);
    while (slots[slot].position != ABSENT) {
      slot = next(slot);
    }
    return slot;
  }

  template <typename Swap>
  void exchange(std::size_t a, std::size_t b, const Swap& swap) {
    const int key = keys[a];
    keys[a] = keys[b];
    keys[b] = key;
    swap(a, b);
  }

  // Lets a key sink below larger ones in the heap of the first `end` keys.
  template <typename Swap>
  void siftDown(std::size_t root, std::size_t end, const Swap& swap) {
    while (2 * root + 1 < end) {
      std::size_t child = 2 * root + 1;
      if (child + 1 < end && keys[child] < keys[child + 1]) {
        ++child;
      }
      if (keys[child] <= keys[root]) {
        return;
      }
      exchange(root, child, swap);
      root = child;
    }
  }

  void release(std::size_t slot);
  void grow();
  void growSlots();

  void useSlots();

  // Where keys are looked for while there are no slots.
  static const Slot NO_SLOT;

  std::vector<int> keys;
  std::vector<Slot> slots;  // a power of two, most of them free
  const Slot* table;        // the slots, or `NO_SLOT`
  std::size_t mask;         // number of slots, less one
  unsigned int shift;       // takes a product of 64 bits to the number of a slot
};

#endif
