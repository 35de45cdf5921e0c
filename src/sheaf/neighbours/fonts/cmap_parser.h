// Reads character map files and streams: codespace, cid, notdef and bf entries between their begin
// and end operators, and the keys by which a map describes itself. Everything else that a program in
// PostScript can hold is passed over. Work and memory follow the length of the input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/code_ranges.h"
#include "sheaf/neighbours/fonts/codespaces.h"

/// The values of text ranges: one character, or an index into a pool of longer texts. An entry of
/// the pool is: the code that the text is written for (two units, the upper half first), the count
/// of its units, the units. Further codes of a range raise the last character.
namespace TextPool {
constexpr std::uint32_t kPooled = 0x80000000;
constexpr std::size_t kHead = 3;
constexpr std::size_t kMostUnits = std::size_t{1} << 21;  ///< Of the whole pool.
}  // namespace TextPool

namespace sheaf {

/// What a map defines, in the order in which it does.
struct CMapContents {
  PDF_CMAP_INFO info{};
  bool has_wmode = false;
  char base_name[sizeof(PDF_CMAP_INFO::name)]{};  ///< What the first `usecmap` names; empty: none.
  Codespaces spaces;
  CodeRangeList cids;
  CodeRangeList notdefs;
  CodeRangeList texts;
  GrowArray<char16_t> pool;

  /// Whether there is anything of a map.
  bool has_any() const;
};

/// Largest CID (ISO 32000-1, annex C). Codes that would get a greater one stay unmapped.
constexpr std::uint32_t kMostCid = 0xFFFF;

/// As much of `text` as there is room for, and a NUL.
template <std::size_t kSize>
void copy_text(char (&out)[kSize], std::string_view text) {
  out[text.copy(out, kSize - 1)] = 0;
}

/// What finds no memory is left out; whoever calls this watches the heap.
void parse_cmap(const void* bytes, std::size_t len, CMapContents& contents);

/// The map, which is released, for null, when memory was refused since the watch began: a map that
/// lacks ranges would show wrong text as if it were right.
template <class Map>
Map* whole_map(Map* map, const HeapWatch& watch) {
  if (map == nullptr || watch.all_granted())
    return map;
  CPDFSharedCMap::release(map);
  return nullptr;
}

}  // namespace sheaf
