#include "KeyIndex.h"

#include <algorithm>
#include <utility>

namespace {

const std::size_t FEWEST_SLOTS = 32;
const unsigned int FIRST_SHIFT = 59;

}  // namespace

const KeyIndex::Slot KeyIndex::NO_SLOT = {0, ABSENT};

KeyIndex::KeyIndex() : table(&NO_SLOT), mask(0), shift(FIRST_SHIFT) {}

KeyIndex::~KeyIndex() = default;

KeyIndex::KeyIndex(const KeyIndex& other)
    : keys(other.keys), slots(other.slots), table(&NO_SLOT), mask(0), shift(other.shift) {
  useSlots();
}

KeyIndex& KeyIndex::operator=(const KeyIndex& other) {
  KeyIndex copy(other);
  swap(copy);
  return *this;
}

void KeyIndex::swap(KeyIndex& other) noexcept {
  keys.swap(other.keys);
  slots.swap(other.slots);
  std::swap(shift, other.shift);
  useSlots();
  other.useSlots();
}

void KeyIndex::useSlots() {
  table = slots.empty() ? &NO_SLOT : slots.data();
  mask = slots.empty() ? 0 : slots.size() - 1;
}

void KeyIndex::clear() {
  // A long episode may have left far more slots than a short one has keys.
  if (slots.size() <= 16 * keys.size()) {
    std::fill(slots.begin(), slots.end(), Slot{0, ABSENT});
  } else {
    for (const int key : keys) {
      release(slotOf(key));
    }
  }
  keys.clear();
}

void KeyIndex::release(std::size_t slot) {
  // Keys that stand behind a freed slot because it was taken move up, or they would not be found.
  for (std::size_t behind = next(slot); slots[behind].position != ABSENT; behind = next(behind)) {
    const std::size_t wanted = home(slots[behind].key);
    if (((behind - wanted) & mask) >= ((behind - slot) & mask)) {
      slots[slot] = slots[behind];
      slot = behind;
    }
  }
  slots[slot].position = ABSENT;
}

void KeyIndex::grow() {
  if (keys.size() == keys.capacity()) {
    keys.reserve(std::max(FEWEST_SLOTS / SLOTS_PER_KEY, 2 * keys.size()));
  }
  if (SLOTS_PER_KEY * (keys.size() + 1) > slots.size()) {
    growSlots();
  }
}

void KeyIndex::growSlots() {
  std::vector<Slot> larger(std::max(FEWEST_SLOTS, 2 * slots.size()), Slot{0, ABSENT});
  // From here on there is memory, and nothing can fail.
  shift = slots.empty() ? FIRST_SHIFT : shift - 1;
  slots.swap(larger);
  useSlots();
  for (std::size_t i = 0; i < keys.size(); ++i) {
    slots[freeSlot(keys[i])] = {keys[i], static_cast<std::uint32_t>(i)};
  }
}
