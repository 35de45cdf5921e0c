// The common fonts of Debian and of other systems, and the Type 0 fonts made of those that are needed.
#include <cstring>
#include <new>

#include "sheaf/create/type0_font.h"
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kBold = 1;
constexpr int kItalic = 2;
constexpr int kEmbed = 8;

// Asked one after the other; those that are not installed are skipped.
struct Common {
  const char* name;
  FontFamily family;
  bool any_family;
};
constexpr Common kCommon[] = {
    {"DejaVu Sans", FontFamily::kSans, false},
    {"DejaVu Serif", FontFamily::kSerif, false},
    {"DejaVu Sans Mono", FontFamily::kMono, false},
    {"Liberation Sans", FontFamily::kSans, false},
    {"Liberation Serif", FontFamily::kSerif, false},
    {"Liberation Mono", FontFamily::kMono, false},
    {"Noto Sans", FontFamily::kSans, false},
    {"Noto Serif", FontFamily::kSerif, false},
    {"Arial", FontFamily::kSans, false},
    {"Times New Roman", FontFamily::kSerif, false},
    {"Courier New", FontFamily::kMono, false},
    {"WenQuanYi Zen Hei", FontFamily::kSans, true},
    {"IPAGothic", FontFamily::kSans, true},
    {"UnDotum", FontFamily::kSans, true},
    {"Noto Sans Arabic", FontFamily::kSans, true},
    {"Noto Sans Hebrew", FontFamily::kSans, true},
    {"Noto Sans Devanagari", FontFamily::kSans, true},
    {"Noto Sans Bengali", FontFamily::kSans, true},
    {"Noto Sans Gurmukhi", FontFamily::kSans, true},
    {"Noto Sans Gujarati", FontFamily::kSans, true},
    {"Noto Sans Tamil", FontFamily::kSans, true},
    {"Noto Sans Telugu", FontFamily::kSans, true},
    {"Noto Sans Kannada", FontFamily::kSans, true},
    {"Noto Sans Malayalam", FontFamily::kSans, true},
    {"Noto Sans Sinhala", FontFamily::kSans, true},
    {"Noto Sans Thai", FontFamily::kSans, true},
    {"Noto Sans Lao", FontFamily::kSans, true},
    {"Noto Sans Khmer", FontFamily::kSans, true},
    {"Noto Sans Myanmar", FontFamily::kSans, true},
    {"Noto Sans Georgian", FontFamily::kSans, true},
    {"Noto Sans Armenian", FontFamily::kSans, true},
    {"Noto Sans Ethiopic", FontFamily::kSans, true},
    {"Nirmala UI", FontFamily::kSans, true},
    {"Leelawadee UI", FontFamily::kSans, true},
    {"Symbola", FontFamily::kSans, true},
};

// In columns the ideographs come first, whose fonts have vertical forms of all signs.
constexpr const char* kVerticalCommon[] = {"IPAGothic", "WenQuanYi Zen Hei", "UnDotum", "DejaVu Sans", "Arial",
                                           "Symbola"};

}  // namespace

SystemFonts::~SystemFonts() {
  for (const Entry& entry : entries_)
    QVFree(entry.name);
}

bool SystemFonts::add(const char* name) {
  open();
  if (!append(name, FontFamily::kSans, true))
    return false;
  const Entry added = entries_.back();
  for (std::size_t i = entries_.size() - 1; i > 0; --i)
    entries_[i] = entries_[i - 1];
  entries_[0] = added;
  return true;
}

void SystemFonts::open() {
  if (is_open_)
    return;
  is_open_ = true;
  if (table_.env == nullptr) {
    if (auto* const fonts = new (std::nothrow) CPDFEnviroment) {
      table_.set_envirment(fonts, "form");
      CPDFEnviroment::destroy(fonts);
    }
  }
  if (options_.vertical) {
    for (const char* name : kVerticalCommon)
      append(name, FontFamily::kSans, true);
    return;
  }
  for (const Common& font : kCommon)
    append(font.name, font.family, font.any_family);
}

bool SystemFonts::add_only(const char* name) {
  is_open_ = true;
  return append(name, FontFamily::kSans, true);
}

std::size_t SystemFonts::count() {
  open();
  return entries_.size();
}

CPDFFontType0* SystemFonts::made(std::size_t index, bool bold) const {
  return entries_[index].fonts[bold];
}

bool SystemFonts::append(const char* name, FontFamily family, bool any_family) {
  auto* const face = static_cast<CQVFTFont*>(table_.get_font_ext(name));
  const std::size_t size = std::strlen(name) + 1;
  auto* const copy = face != nullptr ? static_cast<char*>(QVAlloc(size)) : nullptr;
  if (copy == nullptr)
    return false;
  std::memcpy(copy, name, size);
  if (entries_.push({copy, family, any_family, face, {nullptr, nullptr}, FontRefusal::kNone}))
    return true;
  QVFree(copy);
  return false;
}

bool SystemFonts::has(int found, std::uint32_t character) const {
  return face(found).glyph_index(character) != 0;
}

bool SystemFonts::has_all(const Entry& entry, const std::uint32_t* characters, std::size_t count) const {
  for (std::size_t i = 0; i < count; ++i) {
    if (entry.face->glyph_index(characters[i]) == 0)
      return false;
  }
  return true;
}

FontRefusal SystemFonts::refusal_of(const Entry& entry) const {
  if (!options_.embeds || options_.insists)
    return FontRefusal::kNone;
  switch (entry.face->licence()) {
    case PDF_FONT_LICENCE::kRestricted:
      return FontRefusal::kRestricted;
    case PDF_FONT_LICENCE::kBitmapsOnly:
      return FontRefusal::kBitmapsOnly;
    case PDF_FONT_LICENCE::kEmbed:
      break;
  }
  return FontRefusal::kNone;
}

bool SystemFonts::need(Entry& entry, bool bold) {
  if (entry.fonts[bold] == nullptr && entry.refusal == FontRefusal::kNone)
    entry.refusal = refusal_of(entry);
  if (entry.fonts[bold] == nullptr && entry.refusal == FontRefusal::kNone) {
    const int style = (bold ? kBold : 0) | (options_.italic ? kItalic : 0) | (options_.embeds ? kEmbed : 0);
    CPDFFontType0* const font = make_subset_font(table_, entry.name, style, options_.vertical);
    entry.fonts[bold] = font;
    if (font == nullptr)
      entry.refusal = FontRefusal::kOutlines;
  }
  return entry.fonts[bold] != nullptr;
}

int SystemFonts::find(const std::uint32_t* characters, std::size_t count, const FontTraits& traits) {
  open();
  for (const bool fitting : {true, false}) {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      Entry& entry = entries_[i];
      if ((entry.any_family || entry.family == traits.family) == fitting && has_all(entry, characters, count) &&
          need(entry, traits.bold))
        return static_cast<int>(i * 2 + (traits.bold ? 1 : 0));
    }
  }
  return -1;
}

unsigned SystemFonts::code_of(int font, std::uint32_t character) {
  const auto wide = static_cast<wchar_t>(character);
  unsigned char code[2]{};
  this->font(font)->encode(&wide, 1, code);
  return static_cast<unsigned>(code[0] << 8 | code[1]);
}

int SystemFonts::width(int font, unsigned code) {
  return this->font(font)->glyph_width(code);
}

PDF_REF SystemFonts::ref(int font) const {
  return this->font(font)->ref();
}

}  // namespace sheaf
