// Fonts of folders that the application names: every TrueType and OpenType file below them, identified by
// its own tables. This is all that a device without fontconfig needs.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_names_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_parser.h"

namespace sheaf {

namespace {

constexpr int kMostDepth = 8;  // folders in folders; ends loops of links
constexpr std::uint32_t kMostFaces = 256;
constexpr std::uint32_t kMostRecords = 2048;
constexpr std::uint32_t kNameHead = 6;
constexpr std::uint32_t kNameRecord = 12;
constexpr std::uint32_t kVariationHead = 16;
constexpr std::uint32_t kMostInstances = 1024;
constexpr int kInstanceShift = 16;

// Percentages of the nine width classes (ISO/IEC 14496-22, 5.2.7).
constexpr std::array<int, 9> kWidths{50, 63, 75, 88, 100, 113, 125, 150, 200};

bool is_font_file(const char* name) {
  const char* const dot = std::strrchr(name, '.');
  if (dot == nullptr)
    return false;
  for (const char* known : {".ttf", ".otf", ".ttc", ".otc"}) {
    if (strcasecmp(dot, known) == 0)
      return true;
  }
  return false;
}

FontStyle read_style(const CQVTTParser& parser) {
  FontStyle style;
  std::uint8_t value[4];
  if (parser.read(tt_tag("OS/2"), 4, value, 4)) {
    style.weight = tt_u16(value);
    const unsigned width = tt_u16(value + 2);
    if (width >= 1 && width <= kWidths.size())
      style.width = kWidths[width - 1];
  }
  if (parser.read(tt_tag("head"), 44, value, 2))
    style.slanted = (value[1] & 2) != 0;
  return style;
}

// One record's text as UTF-8 into `text`. False for encodings other than UTF-16 and ASCII.
bool name_text(const std::uint8_t* record, const std::uint8_t* from, std::uint32_t length,
               char (&text)[kFontNameMost + 4]) {
  const unsigned platform = tt_u16(record);
  std::size_t size = 0;
  if (platform == 1) {
    for (std::uint32_t i = 0; i < length && size < kFontNameMost; ++i) {
      if (from[i] >= 0x80)
        return false;
      text[size++] = static_cast<char>(from[i]);
    }
    text[size] = 0;
    return size != 0;
  }
  if (platform != 0 && platform != 3)
    return false;
  for (std::uint32_t i = 0; i + 1 < length && size < kFontNameMost; i += 2) {
    const unsigned unit = tt_u16(from + i);
    if (unit == 0 || is_surrogate(unit))
      return false;
    size = static_cast<std::size_t>(put_utf8(text + size, unit) - text);
  }
  text[size] = 0;
  return size != 0;
}

// The names of one face ("name").
class NameTable {
public:
  explicit NameTable(const CQVTTParser& parser) : table_(parser.load(tt_tag("name"), length_)) {
    if (table_ && length_ >= kNameHead)
      count_ = std::min({std::uint32_t{tt_u16(table_.get() + 2)}, (length_ - kNameHead) / kNameRecord, kMostRecords});
  }

  std::uint32_t count() const { return count_; }
  unsigned id(std::uint32_t i) const { return tt_u16(record(i) + 6); }
  bool text(std::uint32_t i, char (&text)[kFontNameMost + 4]) const {
    const std::uint32_t size = tt_u16(record(i) + 8);
    const std::uint32_t offset = std::uint32_t{tt_u16(table_.get() + 4)} + tt_u16(record(i) + 10);
    return offset <= length_ && size <= length_ - offset && name_text(record(i), table_.get() + offset, size, text);
  }
  /// The first name of this number.
  bool find(unsigned wanted, char (&found)[kFontNameMost + 4]) const {
    for (std::uint32_t i = 0; i < count_; ++i) {
      if (id(i) == wanted && text(i, found))
        return true;
    }
    return false;
  }

private:
  const std::uint8_t* record(std::uint32_t i) const { return table_.get() + kNameHead + i * kNameRecord; }

  std::uint32_t length_ = 0;
  HeapBlock<std::uint8_t> table_;
  std::uint32_t count_ = 0;
};

// Instances of a variable font are known by its family with their own name, and by their PostScript name (ISO/IEC
// 14496-22, 7.3.3).
void add_instances(FontNames& names, int file, int index, const CQVTTParser& parser, const NameTable& table) {
  char family[kFontNameMost + 4];
  std::uint8_t head[kVariationHead];
  if (!parser.read(tt_tag("fvar"), 0, head, kVariationHead) || !(table.find(16, family) || table.find(1, family)))
    return;
  const std::uint32_t coordinates = tt_u16(head + 8) * 4U;
  const std::uint32_t first = tt_u16(head + 4) + std::uint32_t{tt_u16(head + 8)} * tt_u16(head + 10);
  const std::uint32_t count = std::min<std::uint32_t>(tt_u16(head + 12), kMostInstances);
  const std::uint32_t size = tt_u16(head + 14);
  for (std::uint32_t i = 0; i < count; ++i) {
    const int number = index | static_cast<int>((i + 1) << kInstanceShift);
    std::uint8_t id[2];
    char own[kFontNameMost + 4];
    char whole[sizeof(family) + sizeof(own)];
    if (parser.read(tt_tag("fvar"), first + i * size, id, 2) && table.find(tt_u16(id), own)) {
      std::snprintf(whole, sizeof(whole), "%s %s", family, own);
      names.add_name(file, number, whole, false, {});
    }
    if (size >= coordinates + 6 && parser.read(tt_tag("fvar"), first + i * size + 4 + coordinates, id, 2) &&
        table.find(tt_u16(id), own))
      names.add_name(file, number, own, false, {});
  }
}

void add_face_names(FontNames& names, int file, int index, const CQVTTParser& parser) {
  const NameTable table(parser);
  const FontStyle style = read_style(parser);
  for (std::uint32_t i = 0; i < table.count(); ++i) {
    const unsigned id = table.id(i);
    const bool is_family = id == 1 || id == 16;
    char text[kFontNameMost + 4];
    if ((is_family || id == 4 || id == 6) && table.text(i, text))
      names.add_name(file, index, text, is_family, style);
  }
  add_instances(names, file, index, parser, table);
}

void add_font_file(FontNames& names, const char* path, int origin) {
  CQVStreamFile stream;
  stream.Open(path);
  CQVTTParser parser;
  if (stream.file == nullptr || parser.TT_Open(&stream) != 0)
    return;
  const int file = names.add_file(path, origin);
  for (std::uint32_t i = 0; i < std::min(parser.face_count, kMostFaces); ++i) {
    if (parser.TT_Select(i) == 0)
      add_face_names(names, file, static_cast<int>(i), parser);
  }
}

void add_folder(FontNames& names, const char* folder, int origin, int depth) {
  DIR* const listing = opendir(folder);
  if (listing == nullptr)
    return;
  const ScopeGuard close_listing([listing] { closedir(listing); });
  char path[CPDFEnviroment::kPathSize];
  while (const dirent* entry = readdir(listing)) {
    const int size = std::snprintf(path, sizeof(path), "%s/%s", folder, entry->d_name);
    struct stat info = {};
    if (entry->d_name[0] == '.' || size < 0 || static_cast<std::size_t>(size) >= sizeof(path) || stat(path, &info) != 0)
      continue;
    if (S_ISDIR(info.st_mode) && depth < kMostDepth)
      add_folder(names, path, origin, depth + 1);
    else if (S_ISREG(info.st_mode) && is_font_file(path))
      add_font_file(names, path, origin);
  }
}

}  // namespace

void add_folder_fonts(FontNames& names, const char* folder, int origin) {
  add_folder(names, folder, origin, 0);
}

}  // namespace sheaf
