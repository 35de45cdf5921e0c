// Names are folded to lower case, and the ranks of their matches decide between faces.
#include "sheaf/neighbours/fonts/programs/font_names_internal.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/named_table.h"

namespace sheaf {

namespace {

// Ranks add up so that a whole name beats a family, and within a family the plainest face wins.
constexpr std::int32_t kOriginRank = 1 << 20;
constexpr std::int32_t kFamilyRank = 1 << 16;
constexpr std::int32_t kSlantRank = 2000;
constexpr std::int32_t kWidthRank = 10;  // for each per cent
constexpr std::int32_t kPlainWeight = 400;
constexpr std::int32_t kPlainWidth = 100;

std::int32_t style_rank(const FontStyle& style) {
  return std::min(std::abs(style.weight - kPlainWeight), 1000) +
         std::min(std::abs(style.width - kPlainWidth), 400) * kWidthRank + (style.slanted ? kSlantRank : 0);
}

}  // namespace

bool fold_font_name(const char* name, char (&folded)[kFontNameMost * 2]) {
  const std::size_t length = strnlen(name, kFontNameMost + 1);
  if (length == 0 || length > kFontNameMost)
    return false;
  const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(name);
  const auto* const end = at + length;
  std::size_t size = 0;
  while (at < end) {
    utf8proc_int32_t character = 0;
    const utf8proc_ssize_t used = utf8proc_iterate(at, end - at, &character);
    utf8proc_uint8_t bytes[4]{*at};
    // A byte that is not UTF-8 is kept.
    const utf8proc_ssize_t count = used > 0 ? utf8proc_encode_char(utf8proc_tolower(character), bytes) : 1;
    if (size + static_cast<std::size_t>(count) >= sizeof(folded))
      return false;
    std::memcpy(folded + size, bytes, static_cast<std::size_t>(count));
    size += static_cast<std::size_t>(count);
    at += used > 0 ? used : 1;
  }
  folded[size] = 0;
  return true;
}

void FontNames::clear() {
  for (const Name& name : names_)
    QVFree(name.folded);
  for (const File& file : files_)
    QVFree(file.path);
  names_.reset();
  files_.reset();
}

int FontNames::add_file(const char* path, int origin) {
  char* const copy = copy_name(path);
  if (copy == nullptr)
    return -1;
  if (files_.push({copy, origin}))
    return files_.count() - 1;
  QVFree(copy);
  return -1;
}

void FontNames::add_name(int file, int index, const char* name, bool is_family, const FontStyle& style) {
  char folded[kFontNameMost * 2];
  if (file < 0 || !fold_font_name(name, folded))
    return;
  char* const copy = copy_name(folded);
  const std::int32_t rank = files_[file].origin * kOriginRank + (is_family ? kFamilyRank : 0) + style_rank(style);
  if (copy != nullptr && !names_.push({copy, file, index, rank}))
    QVFree(copy);
}

void FontNames::sort() {
  std::sort(names_.begin(), names_.end(), [this](const Name& a, const Name& b) {
    if (const int order = std::strcmp(a.folded, b.folded); order != 0)
      return order < 0;
    if (a.rank != b.rank)
      return a.rank < b.rank;
    if (a.file != b.file) {
      // The system lists its files in no order of its own.
      const int order = std::strcmp(files_[a.file].path, files_[b.file].path);
      if (order != 0)
        return order < 0;
    }
    return a.index < b.index;
  });
}

bool FontNames::find(const char* folded, Place& place) const {
  const Name* const at = std::lower_bound(names_.begin(), names_.end(), folded, [](const Name& name, const char* key) {
    return std::strcmp(name.folded, key) < 0;
  });
  if (at == names_.end() || std::strcmp(at->folded, folded) != 0)
    return false;
  place = {files_[at->file].path, at->index};
  return true;
}

}  // namespace sheaf
