// Growth of the map. Words after its block read as 0 and are allocated when one is recorded.
#include "sheaf/clone/object_map_internal.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"

namespace sheaf {

namespace {

constexpr std::uint32_t kStep = 256;
constexpr std::uint32_t kMostNum = 0x7FFFFE00;

constexpr std::uint32_t rounded_up(std::uint32_t num) {
  return (num + (kStep - 1)) & ~(kStep - 1);
}

// Makes the block at least `words` long, the new ones 0. Growth by half keeps recordings linear.
bool make_words(CPDFCloneMap& map, std::uint32_t words) {
  if (words <= map.capacity)
    return true;
  const std::uint64_t wanted = std::max<std::uint64_t>(words, std::uint64_t{map.capacity} + map.capacity / 2);
  void* grown = QVRealloc(map.entries, wanted * sizeof(std::uint32_t));
  if (grown == nullptr)
    return false;
  map.entries = static_cast<std::uint32_t*>(grown);
  std::memset(map.entries + map.capacity, 0, (wanted - map.capacity) * sizeof(std::uint32_t));
  map.capacity = static_cast<std::uint32_t>(wanted);
  return true;
}

}  // namespace

bool open_map(CPDFCloneMap& map, const CPDFXRefTable& table) {
  map = {nullptr, 0, 0};
  if (table.xref_count == 0)
    return true;
  if (!make_words(map, table.xref_count))
    return false;
  map.count = object_num(rounded_up(table.xref_count));
  return true;
}

void adopt_map(CPDFCloneMap& map, const CPDFXRefTable& table) {
  // The block has a word for each entry that the table had when it was made. The table may have grown
  // since; the count says no more than to which multiple that number was rounded up.
  if (map.entries != nullptr && map.capacity == 0) {
    const auto least = static_cast<std::uint32_t>(std::max(map.count - static_cast<std::int32_t>(kStep - 1), 0));
    map.capacity = std::min(table.xref_count, least);
  }
}

bool map_lookup(const CPDFCloneMap& map, std::int32_t num, std::uint32_t& value) {
  const auto index = object_index(num);
  if (index >= static_cast<std::uint32_t>(map.count) || index >= map.capacity || map.entries[index] == 0)
    return false;
  value = map.entries[index];
  return true;
}

bool map_record(CPDFCloneMap& map, std::int32_t num, std::uint32_t value) {
  const auto index = object_index(num);
  if (index > kMostNum || !make_words(map, index + 1))
    return false;
  map.count = std::max(map.count, static_cast<std::int32_t>(rounded_up(index)));
  map.entries[index] = value;
  ++map.count;
  return true;
}

}  // namespace sheaf
