// Search by halves in what is in ascending order.
#pragma once

#include <cstdint>

namespace sheaf {

/// Where something is, or, with `found` false, where it would be put.
struct SortedPlace {
  std::int32_t index;
  bool found;
};

/// `compare(i)` says how what is wanted compares with item i of `count`: below 0, 0 or above.
template <class Compare>
constexpr SortedPlace find_sorted(std::int32_t count, const Compare& compare) {
  std::int32_t lo = 0;
  std::int32_t hi = count - 1;
  while (lo <= hi) {
    const std::int32_t mid = lo + (hi - lo) / 2;
    const int c = compare(mid);
    if (c == 0)
      return {mid, true};
    if (c < 0)
      hi = mid - 1;
    else
      lo = mid + 1;
  }
  return {lo, false};
}

}  // namespace sheaf
