// Lookups go from the map itself to the map that it builds on. Text is kept in UTF-16.
#include "sheaf/neighbours/fonts/cmap.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/cmap_parser.h"

using namespace sheaf;

namespace {

bool always_rises(std::uint32_t) {
  return true;
}
bool never_rises(std::uint32_t) {
  return false;
}
bool is_character(std::uint32_t value) {
  return (value & TextPool::kPooled) == 0;
}

// Lenient: a map without a codespace has the codes of all lengths that it maps.
void complete_spaces(Codespaces& spaces, const CodeRanges& ranges) {
  if (!spaces.empty())
    return;
  for (int bytes = 1; bytes <= kMostCodeBytes; ++bytes) {
    if (ranges.has_length(bytes))
      spaces.add(bytes, 0, UINT32_MAX);
  }
}

// A map in the making: one reference, the caller's.
template <class Map>
Map* new_map(CPDFSharedCMap* base) {
  auto* map = new (std::nothrow) Map;
  if (map == nullptr)
    CPDFSharedCMap::release(base);
  else
    map->ref_count = 1;
  return map;
}

void fill_identity(CMapContents& contents, const char* name) {
  constexpr std::uint32_t kLast = 0xFFFF;
  copy_text(contents.info.name, name);
  copy_text(contents.info.registry, "Adobe");
  copy_text(contents.info.ordering, "Identity");
  contents.info.wmode = name[std::strlen(name) - 1] == 'V' ? 1 : 0;
  contents.spaces.add(2, 0, kLast);
  contents.cids.add(2, {0, kLast, 0});
  contents.texts.add(2, {0, kLast, 0});
}

bool is_identity(const char* name) {
  return std::strcmp(name, "Identity-H") == 0 || std::strcmp(name, "Identity-V") == 0;
}

template <class Map>
Map* make_identity_map(const char* name) {
  if (!is_identity(name))
    return nullptr;
  const HeapWatch watch;
  CMapContents contents;
  fill_identity(contents, name);
  return whole_map(Map::make(contents, nullptr), watch);
}

// A character, raised by `offset`, as UTF-16.
int put_character(std::uint32_t character, char16_t* out, int most) {
  if (character <= 0xFFFF) {
    out[0] = static_cast<char16_t>(character);
    return 1;
  }
  if (character > kLastCharacter || most < 2)
    return 0;
  out[0] = static_cast<char16_t>(high_surrogate(character));
  out[1] = static_cast<char16_t>(low_surrogate(character));
  return 2;
}

// Raises the last character of a text by `offset`.
void raise_last(char16_t* text, int count, std::uint32_t offset) {
  char16_t& last = text[count - 1];
  const bool is_pair = count > 1 && is_low_surrogate(last) && is_high_surrogate(text[count - 2]);
  if (!is_pair) {
    last = static_cast<char16_t>(last + offset);
    return;
  }
  const std::uint32_t raised = from_surrogates(text[count - 2], last) + offset;
  text[count - 2] = static_cast<char16_t>(high_surrogate(raised));
  last = static_cast<char16_t>(low_surrogate(raised));
}

int put_pooled(const char16_t* entry, std::uint32_t code, char16_t* out, int most) {
  const std::uint32_t first = static_cast<std::uint32_t>(entry[0]) << 16 | entry[1];
  const int count = std::min<int>(entry[2], most);
  if (count == 0)
    return 0;
  std::copy_n(entry + TextPool::kHead, count, out);
  if (count == entry[2] && code != first)
    raise_last(out, count, code - first);
  return count;
}

}  // namespace

void CPDFSharedCMap::set_up(const CMapContents& contents, CPDFSharedCMap* base) {
  info_ = contents.info;
  spaces_.add_all(contents.spaces);
  if (base != nullptr && base->chain_ >= kMostChain) {
    release(base);
    base = nullptr;
  }
  if (base == nullptr)
    return;
  base_ = base;
  chain_ = base->chain_ + 1;
  spaces_.add_all(base->spaces_);
}

CPDFCMap* CPDFCMap::parse(const void* bytes, std::size_t len) {
  const HeapWatch watch;
  CMapContents contents;
  parse_cmap(bytes, len, contents);
  return whole_map(make(contents, nullptr), watch);
}

CPDFCMap* CPDFCMap::make(CMapContents& contents, CPDFCMap* base) {
  if (base == nullptr && !contents.has_any())
    return nullptr;
  const HeapWatch watch;
  auto* map = new_map<CPDFCMap>(base);
  if (map == nullptr)
    return nullptr;
  map->set_up(contents, base);
  if (!map->cids_.build(contents.cids, always_rises) || !map->notdefs_.build(contents.notdefs, never_rises)) {
    release(map);
    return nullptr;
  }
  complete_spaces(map->spaces_, map->cids_);
  map->spaces_.finish();
  return whole_map(map, watch);
}

CPDFCMap* CPDFCMap::make_identity(const char* name) {
  return make_identity_map<CPDFCMap>(name);
}

bool CPDFCMap::has_code(std::uint32_t code, int bytes) const {
  for (const CPDFCMap* map = this; map != nullptr; map = map->next_map()) {
    if (map->cids_.find(code, bytes) != nullptr)
      return true;
  }
  return false;
}

std::uint32_t CPDFCMap::cid_of(std::uint32_t code, int bytes) const {
  for (const CPDFCMap* map = this; map != nullptr; map = map->next_map()) {
    if (const PDF_CODE_RANGE* range = map->cids_.find(code, bytes); range != nullptr)
      return range->value + (code - range->lo);
  }
  return notdef_of(code, bytes);
}

std::uint32_t CPDFCMap::notdef_of(std::uint32_t code, int bytes) const {
  for (const CPDFCMap* map = this; map != nullptr; map = map->next_map()) {
    if (const PDF_CODE_RANGE* range = map->notdefs_.find(code, bytes); range != nullptr)
      return range->value;
  }
  return 0;
}

int CPDFCMap::next_cid(const std::uint8_t* text, int len, std::uint32_t& code, std::uint32_t& cid) const {
  bool valid = false;
  const int bytes = next_code(text, len, code, valid);
  cid = valid ? cid_of(code, bytes) : notdef_of(code, bytes);
  return bytes;
}

CPDFCMapToUnicode* CPDFCMapToUnicode::parse(const void* bytes, std::size_t len) {
  const HeapWatch watch;
  CMapContents contents;
  parse_cmap(bytes, len, contents);
  return whole_map(make(contents, nullptr), watch);
}

CPDFCMapToUnicode* CPDFCMapToUnicode::make(CMapContents& contents, CPDFCMapToUnicode* base) {
  if (base == nullptr && contents.texts.empty())
    return nullptr;
  const HeapWatch watch;
  auto* map = new_map<CPDFCMapToUnicode>(base);
  if (map == nullptr)
    return nullptr;
  map->set_up(contents, base);
  if (!map->texts_.build(contents.texts, is_character) || !map->pool_.resize(contents.pool.size())) {
    release(map);
    return nullptr;
  }
  std::copy(contents.pool.begin(), contents.pool.end(), map->pool_.begin());
  complete_spaces(map->spaces_, map->texts_);
  map->spaces_.finish();
  return whole_map(map, watch);
}

CPDFCMapToUnicode* CPDFCMapToUnicode::make_identity(const char* name) {
  return make_identity_map<CPDFCMapToUnicode>(name);
}

int CPDFCMapToUnicode::text_of(std::uint32_t code, int bytes, char16_t* out, int most) const {
  if (most < 1)
    return 0;
  if (const int count = text_at_length(code, bytes, out, most); count != 0)
    return count;
  for (int other = 1; other <= kMostCodeBytes; ++other) {
    const int count = other != bytes ? text_at_length(code, other, out, most) : 0;
    if (count != 0)
      return count;
  }
  return 0;
}

int CPDFCMapToUnicode::text_at_length(std::uint32_t code, int bytes, char16_t* out, int most) const {
  for (const CPDFCMapToUnicode* map = this; map != nullptr; map = map->next_map()) {
    const PDF_CODE_RANGE* range = map->texts_.find(code, bytes);
    if (range == nullptr)
      continue;
    if (is_character(range->value))
      return put_character(range->value + (code - range->lo), out, most);
    return put_pooled(map->pool_.begin() + (range->value & ~TextPool::kPooled), code, out, most);
  }
  return 0;
}
