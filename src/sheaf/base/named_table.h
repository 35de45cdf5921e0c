// The one table behind the three name-keyed caches: entries with an owned `name` first, in
// ascending order of strcmp, growing by fixed steps.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "sheaf/base/heap.h"
#include "sheaf/base/sorted_place.h"

namespace sheaf {

constexpr std::int32_t kNamedStep = 32;

/// The place of `name`.
template <class Item>
SortedPlace find_named(const Item* items, std::int32_t count, const char* name) {
  return find_sorted(count,
                     [=](std::int32_t i) { return items[i].name != nullptr ? std::strcmp(name, items[i].name) : 1; });
}

/// A copy of `name` in the QVAlloc family, or null.
inline char* copy_name(const char* name) {
  const std::size_t size = std::strlen(name) + 1;
  auto* copy = static_cast<char*>(QVAlloc(size));
  if (copy != nullptr)
    std::memcpy(copy, name, size);
  return copy;
}

/// Makes an entry at `index`; null, with the table as it was, when there is no memory.
template <class Cache>
auto insert_named(Cache& cache, int index, const char* name) -> decltype(cache.items) {
  using Item = std::remove_pointer_t<decltype(cache.items)>;
  if (cache.count >= cache.capacity) {
    void* grown = QVRealloc(cache.items, static_cast<std::size_t>(cache.capacity + kNamedStep) * sizeof(Item));
    if (grown == nullptr)
      return nullptr;
    cache.items = static_cast<Item*>(grown);
    cache.capacity += kNamedStep;
  }
  char* copy = copy_name(name);
  if (copy == nullptr)
    return nullptr;  // an entry without a name would break the order of the table
  Item* const place = cache.items + index;
  std::memmove(place + 1, place, static_cast<std::size_t>(cache.count - index) * sizeof(Item));
  *place = Item{};
  place->name = copy;
  ++cache.count;
  return place;
}

/// Gives every entry back by `give_back`, then releases the names and the table.
template <class Cache, class GiveBack>
void clear_named(Cache& cache, GiveBack give_back) {
  for (std::int32_t i = 0; i < cache.count; ++i) {
    give_back(cache.items[i]);
    QVFree(cache.items[i].name);
  }
  QVFree(cache.items);
  cache.items = nullptr;
  cache.count = cache.capacity = 0;
}

}  // namespace sheaf
