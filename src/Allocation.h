#ifndef QUARNEL_ALLOCATION_H
#define QUARNEL_ALLOCATION_H

#include <algorithm>
#include <exception>
#include <limits>
#include <new>

#include "Utility.h"

// No part of the interface.
#pragma GCC visibility push(hidden)
/// Memory that is asked for without an exception: what can't be had is reported at the caller's
/// place.
namespace Allocation {

/// @return true when an array may have so many entries.
inline const bool isCount(long long count) {
  return count >= 0 && count <= std::numeric_limits<int>::max();
}

/// Reports that there is no memory for `count` entries.
template <typename T>
void reportFailure(long long count, const QuarnelUtility::Place& place) {
  QUARNEL_ERROR_AT(
      place, "Can not allocate memory for " << count << " entries of " << sizeof(T) << " bytes!");
}

/// @return a new array of `count` entries, not initialised, which the caller releases with
///   `delete[]`; null after a report when `count` is negative or more than there is memory for.
template <typename T>
T* array(long long count, const QuarnelUtility::Place& place) {
  T* entries = nullptr;
  if (isCount(count)) {
    entries = new (std::nothrow) T[static_cast<std::size_t>(count)];
  }
  if (entries == nullptr) {
    reportFailure<T>(count, place);
  }
  return entries;
}

/// @return the same with every entry zero.
template <typename T>
T* zeroes(long long count, const QuarnelUtility::Place& place) {
  T* const entries = array<T>(count, place);
  if (entries != nullptr) {
    std::fill_n(entries, count, T());
  }
  return entries;
}

/// Runs an operation that may run out of memory inside the standard library.
///
/// @return true when it went through; false after a report that names `what` it was for.
template <typename Operation>
const bool succeeds(const Operation& operation, const char* what,
                    const QuarnelUtility::Place& place) {
  try {
    operation();
    return true;
  } catch (const std::exception&) {
    QUARNEL_ERROR_AT(place, "Can not allocate memory for " << what << "!");
    return false;
  }
}

}  // namespace Allocation
#pragma GCC visibility pop

#endif
