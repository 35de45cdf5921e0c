// Any bytes as a character map and, behind a line of ====, as the map that it builds on. Codes are
// taken off any string with progress and within its bounds, and every lookup agrees with a plain
// search through what the maps define.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/cmap_parser.h"

using namespace sheaf;

namespace {

constexpr std::string_view kSeparator = "\n====\n";
constexpr std::size_t kMostChecked = 300;  // entries whose ends are looked up

void demand(bool holds) {
  if (!holds)
    std::abort();
}

// The entry that holds for a code, or null: the one defined last.
const CodeRangeList::Entry* slow_find(CodeRangeList& list, std::uint32_t code, std::uint32_t bytes) {
  const CodeRangeList::Entry* found = nullptr;
  for (const CodeRangeList::Entry& entry : list.entries()) {
    const bool holds = entry.bytes == bytes && entry.range.lo <= code && code <= entry.range.hi;
    if (holds && (found == nullptr || found->order < entry.order))
      found = &entry;
  }
  return found;
}

std::uint32_t slow_cid(CMapContents& own, CMapContents& base, std::uint32_t code, std::uint32_t bytes) {
  for (CMapContents* contents : {&own, &base}) {
    if (const auto* entry = slow_find(contents->cids, code, bytes); entry != nullptr)
      return entry->range.value + (code - entry->range.lo);
  }
  for (CMapContents* contents : {&own, &base}) {
    if (const auto* entry = slow_find(contents->notdefs, code, bytes); entry != nullptr)
      return entry->range.value;
  }
  return 0;
}

void check_text(const CPDFCMapToUnicode& map, CodeRangeList& list, std::uint32_t code, std::uint32_t bytes) {
  char16_t units[CPDFCMapToUnicode::kMostUnits];
  const int count = map.text_of(code, static_cast<int>(bytes), units, CPDFCMapToUnicode::kMostUnits);
  demand(count >= 0 && count <= CPDFCMapToUnicode::kMostUnits);
  char16_t one[1];
  demand(map.text_of(code, static_cast<int>(bytes), one, 1) <= 1);
  const auto* entry = slow_find(list, code, bytes);
  if (entry == nullptr || (entry->range.value & TextPool::kPooled) != 0)
    return;
  const std::uint32_t character = entry->range.value + (code - entry->range.lo);
  demand(count == (character > 0xFFFF ? 2 : 1) && (count == 2 || units[0] == character));
}

template <class Check>
void check_ends(CodeRangeList& list, Check check) {
  const std::size_t count = std::min(list.entries().size(), kMostChecked);
  for (std::size_t i = 0; i < count; ++i) {
    const CodeRangeList::Entry entry = list.entries()[i];
    for (const std::uint32_t code : {entry.range.lo - 1, entry.range.lo, entry.range.hi, entry.range.hi + 1})
      check(code, entry.bytes);
  }
}

void walk_codes(const CPDFSharedCMap& map, const std::uint8_t* data, int len) {
  while (len > 0) {
    std::uint32_t code = 0;
    bool valid = false;
    const int bytes = map.next_code(data, len, code, valid);
    demand(bytes >= 1 && bytes <= std::min(len, kMostCodeBytes));
    data += bytes;
    len -= bytes;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMostInput = 1 << 16;
  if (size > kMostInput)
    return 0;
  const std::string_view all(reinterpret_cast<const char*>(data), size);
  const std::size_t cut = std::min(all.find(kSeparator), size);
  const std::string_view rest = all.substr(std::min(cut + kSeparator.size(), size));
  CMapContents own;
  CMapContents base;
  parse_cmap(all.data(), cut, own);
  parse_cmap(rest.data(), rest.size(), base);
  CPDFCMap* map = CPDFCMap::make(own, CPDFCMap::make(base, nullptr));
  if (map != nullptr) {
    walk_codes(*map, data, static_cast<int>(size));
    const auto check = [&](std::uint32_t code, std::uint32_t bytes) {
      demand(map->cid_of(code, static_cast<int>(bytes)) == slow_cid(own, base, code, bytes));
    };
    for (CMapContents* contents : {&own, &base}) {
      check_ends(contents->cids, check);
      check_ends(contents->notdefs, check);
    }
  }
  CPDFCMapToUnicode* text = CPDFCMapToUnicode::make(own, nullptr);
  if (text != nullptr)
    check_ends(own.texts, [&](std::uint32_t code, std::uint32_t bytes) { check_text(*text, own.texts, code, bytes); });
  CPDFSharedCMap::release(map);
  CPDFSharedCMap::release(text);
  return 0;
}
