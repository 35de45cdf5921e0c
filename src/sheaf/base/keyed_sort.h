// Numbers in the order of keys that take some work to find out: each is asked for once.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sheaf/base/grow_array.h"

namespace sheaf {

/// Brings `numbers`, none of them negative, into the order of their keys of 32 bits; those of one key into their own.
/// Takes eight bytes for each unless they are in order already; without memory for these it takes longer.
template <class KeyOf>
void sort_by_key(GrowArray<std::int32_t>& numbers, const KeyOf& key_of) {
  constexpr unsigned kKeyShift = 32;
  const auto keyed = [&key_of](std::int32_t num) {
    return std::uint64_t{key_of(num)} << kKeyShift | static_cast<std::uint32_t>(num);
  };
  const auto in_front = [&keyed](std::int32_t a, std::int32_t b) { return keyed(a) < keyed(b); };
  if (std::is_sorted(numbers.begin(), numbers.end(), in_front))
    return;
  GrowArray<std::uint64_t> keys;
  if (!keys.resize(numbers.size())) {
    std::sort(numbers.begin(), numbers.end(), in_front);
    return;
  }
  std::transform(numbers.begin(), numbers.end(), keys.begin(), keyed);
  std::sort(keys.begin(), keys.end());
  std::transform(keys.begin(), keys.end(), numbers.begin(),
                 [](std::uint64_t key) { return static_cast<std::int32_t>(key & UINT32_MAX); });
}

}  // namespace sheaf
