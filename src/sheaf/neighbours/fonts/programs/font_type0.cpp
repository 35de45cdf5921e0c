// Characters are mapped to glyphs through the face, and what is used is kept by glyph for the next save.
#include "sheaf/neighbours/fonts/programs/font_type0.h"

#include <utf8proc.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/programs/ft_font.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kBold = 1;
constexpr int kItalic = 2;
constexpr int kMostWidth = 0xFFFF;  // of any glyph, font units
constexpr int kEmbed = 8;
constexpr int kThousand = 1000;

constexpr std::uint32_t kKnown = 0x10000;  // set in every entry that has been looked up
constexpr std::uint32_t kCodeMask = 0xFFFF;
constexpr std::uint32_t kMostCodes = 0x10000;

constexpr char kEmbeddedPrefix[] = "QVFONT+";

// What nobody types where there is another character of the same shape: compatibility forms, signs that are a letter
// by canonical equivalence, radicals, private characters, and those that are not seen, such as the soft hyphen.
bool is_second_choice(std::uint32_t character) {
  if (character >= 0x2E80 && character < 0x2FE0)
    return true;
  const utf8proc_property_t* const property = utf8proc_get_property(static_cast<utf8proc_int32_t>(character));
  if (property->category == UTF8PROC_CATEGORY_CF || property->category == UTF8PROC_CATEGORY_CO ||
      property->decomp_type != 0)
    return true;
  utf8proc_int32_t parts[4];
  int boundary = 0;
  const utf8proc_ssize_t count =
      utf8proc_decompose_char(static_cast<utf8proc_int32_t>(character), parts, 4, UTF8PROC_DECOMPOSE, &boundary);
  return count == 1 && parts[0] != static_cast<utf8proc_int32_t>(character);
}

// Of two characters with one glyph, the one that people type wins, else the older, lower number.
bool is_better(std::uint32_t character, std::uint32_t present) {
  const bool is_second = is_second_choice(character);
  if (is_second != is_second_choice(present))
    return !is_second;
  return character < present;
}

int fix_to_thousandths(QVFIX ems) {
  return fix_round(ems * kThousand);
}

int to_thousandths(int units, int units_per_em) {
  return static_cast<int>(std::lround(static_cast<double>(units) * kThousand / units_per_em));
}

// What the base font's name has around the name of the font: a tag when it is embedded, its style
// when it is not.
void bare_name(const char* base_font, int style, char* name, std::size_t size) {
  if ((style & kEmbed) != 0 && std::strncmp(base_font, kEmbeddedPrefix, sizeof(kEmbeddedPrefix) - 1) == 0)
    base_font += sizeof(kEmbeddedPrefix) - 1;
  std::size_t length = std::strlen(base_font);
  const char* const comma = std::strrchr(base_font, ',');
  if ((style & kEmbed) == 0 && (style & (kBold | kItalic)) != 0 && comma != nullptr)
    length = static_cast<std::size_t>(comma - base_font);
  if (length >= size)
    length = 0;
  std::memcpy(name, base_font, length);
  name[length] = 0;
}

}  // namespace

CPDFFontType0::~CPDFFontType0() {
  delete face_;
  for (std::uint32_t i = 0; pages_ != nullptr && i < kPageCount; ++i)
    QVFree(pages_[i]);
  QVFree(pages_);
  QVFree(text_of_);
  QVFree(first_further_);
  QVFree(first_composite_);
  QVFree(widths_);
}

void CPDFFontType0::set_font_style(int style) {
  style_ = style;
  if (face_ != nullptr)
    face_->set_style(style & kBold, style & kItalic, vertical_);
}

void CPDFFontType0::load_font() {
  if (table == nullptr)
    return;
  const Freed<CPDFObj> top = table->value(&source);
  const CPDFDictionary* dict = top.as_dict();
  if (dict == nullptr)
    return;
  const CPDFObj* const encoding = dict->get_item("Encoding");
  vertical_ = encoding != nullptr && encoding->is_name("Identity-V");
  if (const CPDFObj* map = dict->get_item("ToUnicode"))
    to_unicode_ = map->as_ref();
  const Freed<CPDFObj> descendants = table->value(dict, "DescendantFonts");
  const CPDFArray* const fonts = descendants.as_array();
  if (fonts != nullptr && fonts->count > 0)
    cid_font_ = fonts->items[0].as_ref();
  const Freed<CPDFObj> cid = table->object(cid_font_);
  const Freed<CPDFObj> descriptor = table->value(cid.as_dict(), CPDFDictionary::sm_tag_fdes);
  const CPDFObj* const cff = descriptor.item("FontFile3");
  is_cff_ = cff != nullptr;
  const CPDFObj* const file =
      descriptor.as_dict() != nullptr && !is_cff_ ? descriptor.as_dict()->get_item("FontFile2") : cff;
  font_file_ = ref_of(file);
  const CPDFObj* const base_font = dict->get_item(CPDFDictionary::sm_tag_base_font);
  char name[CPDFEnviroment::kPathSize];
  if (base_font == nullptr || base_font->as_name() == nullptr || table->env == nullptr)
    return;
  bare_name(base_font->as_name(), style_, name, sizeof(name));
  table->env->get_face_para(name, path_, index_);
  if (path_[0] == 0 || index_ < 0)
    return;
  face_ = table->env->new_face(path_, index_);
  if (face_ == nullptr)
    return;
  if (!make_tables()) {
    delete face_;
    face_ = nullptr;
    return;
  }
  face_->set_style(style_ & kBold, style_ & kItalic, vertical_);
  if (vertical_)
    layout.load(*face_);
}

bool CPDFFontType0::make_tables() {
  glyph_count_ = face_->glyph_count();
  pages_ = static_cast<std::uint32_t**>(QVCalloc(kPageCount, sizeof(std::uint32_t*)));
  text_of_ = static_cast<std::uint32_t*>(QVCalloc(glyph_count_, sizeof(std::uint32_t)));
  return pages_ != nullptr && text_of_ != nullptr;
}

std::uint32_t CPDFFontType0::find_glyph(std::uint32_t character) {
  if (character == 0 || character > kLastCharacter || is_surrogate(character))
    return 0;
  const std::uint32_t glyph = face_->glyph_index(character);
  return vertical_ ? layout.vertical_form(glyph) : glyph;
}

bool CPDFFontType0::has_glyph(wchar_t character) {
  return face_ != nullptr && find_glyph(static_cast<std::uint32_t>(character)) != 0;
}

// The entry of a character that is used for the first time; 0 when it cannot be remembered.
std::uint32_t CPDFFontType0::add_character(std::uint32_t character) {
  if (face_ == nullptr || character > kLastCharacter)
    return 0;
  std::uint32_t*& page = pages_[character / kPageSize];
  if (page == nullptr)
    page = static_cast<std::uint32_t*>(QVCalloc(kPageSize, sizeof(std::uint32_t)));
  if (page == nullptr)
    return 0;
  const std::uint32_t glyph = find_glyph(character);
  page[character % kPageSize] = kKnown | glyph;
  if (glyph == 0)
    return kKnown;
  std::uint32_t& text = text_of_[glyph];
  if (text == 0)
    ++used_count_;
  if (text == 0 || ((text & (kFixed | GlyphTexts::kLonger)) == 0 && is_better(character, text))) {
    text = character;
    changed_ = true;
  }
  return kKnown | glyph;
}

int CPDFFontType0::encode(const wchar_t* text, int count, unsigned char* codes) {
  int found = 0;
  for (int i = 0; i < count; ++i) {
    const char32_t character = static_cast<char32_t>(text[i]);
    const std::uint32_t* const page =
        face_ != nullptr && character <= kLastCharacter ? pages_[character / kPageSize] : nullptr;
    std::uint32_t entry = page != nullptr ? page[character % kPageSize] : 0;
    if (entry == 0)
      entry = add_character(character);
    codes[i * 2] = static_cast<unsigned char>(entry >> 8);
    codes[i * 2 + 1] = static_cast<unsigned char>(entry);
    found += (entry & kCodeMask) != 0;
  }
  return found;
}

std::uint32_t CPDFFontType0::glyph_of(unsigned code) const {
  return code >= glyph_count_ && code - glyph_count_ < further_.size() ? further_[code - glyph_count_].glyph : code;
}

bool CPDFFontType0::is_text(std::uint32_t kept, const std::uint32_t* text, int count) const {
  kept &= ~kFixed;
  if ((kept & GlyphTexts::kLonger) == 0)
    return count == 1 && kept == text[0];
  const std::uint32_t at = kept & ~GlyphTexts::kLonger;
  return longer_[at] == static_cast<std::uint32_t>(count) && std::equal(text, text + count, longer_.begin() + at + 1);
}

int CPDFFontType0::text_of(unsigned code, std::uint32_t (&text)[GlyphTexts::kMost]) const {
  std::uint32_t kept = 0;
  if (code >= glyph_count_)
    kept = code - glyph_count_ < further_.size() ? further_[code - glyph_count_].text : 0;
  else if (text_of_ != nullptr)
    kept = text_of_[code] & ~kFixed;
  if ((kept & GlyphTexts::kLonger) == 0) {
    text[0] = kept;
    return kept != 0 ? 1 : 0;
  }
  const std::size_t at = kept & ~GlyphTexts::kLonger;
  std::copy(longer_.begin() + at + 1, longer_.begin() + at + 1 + longer_[at], text);
  return static_cast<int>(longer_[at]);
}

// 0 when there is no memory.
std::uint32_t CPDFFontType0::keep_text(const std::uint32_t* text, int count) {
  if (count == 1)
    return text[0];
  const std::size_t at = longer_.size();
  bool kept = longer_.push(static_cast<std::uint32_t>(count));
  for (int i = 0; i < count; ++i)
    kept = kept && longer_.push(text[i]);
  return kept ? GlyphTexts::kLonger | static_cast<std::uint32_t>(at) : 0;
}

int CPDFFontType0::add_further(std::uint32_t glyph, std::uint32_t& first, const std::uint32_t* text, int count) {
  for (std::uint32_t at = first; at != 0; at = further_[at - 1].next) {
    if (is_text(further_[at - 1].text, text, count))
      return static_cast<int>(glyph_count_ + at - 1);
  }
  const auto place = static_cast<std::uint32_t>(further_.size());
  if ((style_ & kEmbed) == 0 || is_cff_ || glyph_count_ + place >= kMostCodes)
    return -1;
  const std::uint32_t kept = keep_text(text, count);
  if (kept == 0 || !further_.push({glyph, kept, first}))
    return -1;
  first = place + 1;
  changed_ = true;
  return static_cast<int>(glyph_count_ + place);
}

int CPDFFontType0::add_glyph(std::uint32_t glyph, const std::uint32_t* text, int count) {
  if (face_ == nullptr || glyph >= glyph_count_ || count < 1 || count > GlyphTexts::kMost)
    return -1;
  std::uint32_t& first = text_of_[glyph];
  // Glyph 0 is shown for whatever the font lacks.
  if (glyph == 0 || (first != 0 && !is_text(first, text, count))) {
    if (first_further_ == nullptr)
      first_further_ = static_cast<std::uint32_t*>(QVCalloc(glyph_count_, sizeof(std::uint32_t)));
    return first_further_ != nullptr ? add_further(glyph, first_further_[glyph], text, count) : -1;
  }
  if (first == 0) {
    const std::uint32_t kept = keep_text(text, count);
    if (kept == 0)
      return -1;
    first = kept;
    ++used_count_;
    changed_ = true;
  }
  first |= kFixed;
  return static_cast<int>(glyph);
}

const CPDFFontType0::Composite* CPDFFontType0::composite_of(std::uint32_t glyph) const {
  return glyph >= glyph_count_ && glyph - glyph_count_ < composites_.size() ? &composites_[glyph - glyph_count_]
                                                                            : nullptr;
}

bool CPDFFontType0::allows_composites() {
  if ((style_ & kEmbed) == 0 || is_cff_ || face_->needs_instructions() || !face_->allows_subsets())
    return false;
  if (first_composite_ == nullptr)
    first_composite_ = static_cast<std::uint32_t*>(QVCalloc(glyph_count_, sizeof(std::uint32_t)));
  return first_composite_ != nullptr;
}

// The place of a composite, which is made when it is first asked for; -1 when that fails.
int CPDFFontType0::find_composite(const PDF_TT_PART* parts, int count, int width, int down) {
  std::uint32_t& first = first_composite_[parts[0].glyph];
  for (std::uint32_t at = first; at != 0; at = composites_[at - 1].next) {
    const PDF_TT_COMPOSITE& known = composites_[at - 1].glyph;
    if (known.count == static_cast<std::uint32_t>(count) && known.width == width && known.down == down &&
        std::equal(parts, parts + count, parts_.begin() + known.first))
      return static_cast<int>(at - 1);
  }
  if (glyph_count_ + composites_.size() >= UINT16_MAX)
    return -1;
  const auto at = static_cast<std::uint32_t>(parts_.size());
  for (int i = 0; i < count; ++i) {
    if (!parts_.push(parts[i]))
      return -1;
  }
  const PDF_TT_COMPOSITE glyph{at, static_cast<std::uint32_t>(count), static_cast<std::uint16_t>(width),
                               static_cast<std::uint16_t>(down)};
  if (!composites_.push({glyph, first, 0}))
    return -1;
  first = static_cast<std::uint32_t>(composites_.size());
  return static_cast<int>(first - 1);
}

int CPDFFontType0::add_composite(const PDF_TT_PART* parts, int count, int width, int down, const std::uint32_t* text,
                                 int length) {
  if (face_ == nullptr || count < 1 || count > GlyphTexts::kMost || length < 1 || length > GlyphTexts::kMost ||
      width < 0 || width > UINT16_MAX || down < 0 || down > UINT16_MAX || !allows_composites() ||
      std::any_of(parts, parts + count, [this](const PDF_TT_PART& part) { return part.glyph >= glyph_count_; }))
    return -1;
  const int place = find_composite(parts, count, width, down);
  if (place < 0)
    return -1;
  const auto index = static_cast<std::size_t>(place);
  return add_further(glyph_count_ + static_cast<std::uint32_t>(place), composites_[index].first_further, text, length);
}

int CPDFFontType0::glyph_width(unsigned code) {
  const std::uint32_t glyph = glyph_of(code);
  if (const Composite* made = composite_of(glyph))
    return to_thousandths(made->glyph.width, face_->units_per_em());
  if (glyph >= glyph_count_)
    return fix_to_thousandths(default_width);
  return to_thousandths(face_width(glyph), face_->units_per_em());
}

// FreeType goes to the file for each.
int CPDFFontType0::face_width(std::uint32_t glyph) {
  if (widths_ == nullptr)
    widths_ = static_cast<std::uint32_t*>(QVCalloc(glyph_count_, sizeof(std::uint32_t)));
  if (widths_ == nullptr)
    return face_->advance(glyph);
  if (widths_[glyph] == 0)
    widths_[glyph] = kFixed | static_cast<std::uint32_t>(std::clamp(face_->advance(glyph), 0, kMostWidth));
  return static_cast<int>(widths_[glyph] & ~kFixed);
}

PDF_VERTICAL_METRICS CPDFFontType0::vertical_metrics(unsigned code) {
  PDF_VERTICAL_METRICS metrics{fix_to_thousandths(default_vertical_advance), fix_to_thousandths(default_origin_x),
                               fix_to_thousandths(default_origin_y)};
  const std::uint32_t glyph = glyph_of(code);
  if (const Composite* made = composite_of(glyph)) {
    metrics = vertical_metrics(parts_[made->glyph.first].glyph);
    metrics.advance = -to_thousandths(made->glyph.down, face_->units_per_em());
    return metrics;
  }
  if (glyph >= glyph_count_)
    return metrics;
  metrics.origin_x = glyph_width(glyph) / 2;
  int advance = 0;
  int origin = 0;
  if (face_->vertical_metrics(glyph, advance, origin)) {
    metrics.advance = -to_thousandths(advance, face_->units_per_em());
    metrics.origin_y = to_thousandths(origin, face_->units_per_em());
  }
  return metrics;
}
