// Codes come from the base encoding and "Differences", widths from "Widths" or the standard fonts.
#include "sheaf/document/forms/type/field_font_internal.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/standard_glyphs.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kCodes = 256;
constexpr int kSymbolicFlag = 4;
constexpr int kCourierWidth = 600;
constexpr std::size_t kSubsetTag = 7;  // six letters and a plus

// Characters that may be shown by another one's glyph.
constexpr std::uint32_t kStandIns[][2] = {{0xA0, ' '}, {0xAD, '-'}, {0x2010, '-'}, {0x2011, '-'}, {0x202F, ' '}};

struct Heights {
  double ascent;
  double descent;
};
constexpr Heights kHeights[] = {{0.718, -0.207}, {0.683, -0.217}, {0.629, -0.157}};  // by FontFamily

bool is_embedded(const CPDFDictionary* descriptor) {
  return descriptor != nullptr &&
         (descriptor->get_item("FontFile") != nullptr || descriptor->get_item("FontFile2") != nullptr ||
          descriptor->get_item("FontFile3") != nullptr);
}

const std::uint16_t* encoding_named(const char* name) {
  if (name == nullptr)
    return nullptr;
  if (std::strcmp(name, "WinAnsiEncoding") == 0)
    return kWinAnsiEncoding;
  if (std::strcmp(name, "MacRomanEncoding") == 0)
    return kMacRomanEncoding;
  return std::strcmp(name, "StandardEncoding") == 0 ? kStandardEncoding : nullptr;
}

}  // namespace

bool FieldFont::load(CPDFXRefTable& table, const CPDFDictionary& font) {
  Freed<CPDFObj> item = table.value(&font, CPDFDictionary::sm_tag_subtype);
  if (!item.is_name("Type1") && !item.is_name("MMType1") && !item.is_name("TrueType"))
    return false;
  item = table.value(&font, CPDFDictionary::sm_tag_base_font);
  read_name(item.as_text());
  const Freed<CPDFObj> descriptor = table.value(&font, CPDFDictionary::sm_tag_fdes);
  descriptor_ = descriptor.as_dict();
  const ScopeGuard forget([this] { descriptor_ = nullptr; });
  if (symbols_ || !read_encoding(table, font))
    return false;
  read_heights(table);
  if (!read_widths(table, font))
    take_standard_widths();
  drop_glyphs_left_out(table);
  return code_of('0') >= 0 || code_of('e') >= 0;
}

void FieldFont::load_composite(CPDFXRefTable& table, const CPDFDictionary& font, const CompositeFont& composite) {
  composite_ = &composite;
  const Freed<CPDFObj> name = table.value(&font, CPDFDictionary::sm_tag_base_font);
  read_name(name.as_text());
  const Freed<CPDFObj> list = table.value(&font, "DescendantFonts");
  const Freed<CPDFObj> descendant = table.value(list.as_array(), 0);
  const Freed<CPDFObj> descriptor = table.value(descendant.as_dict(), CPDFDictionary::sm_tag_fdes);
  descriptor_ = descriptor.as_dict();
  read_heights(table);
  descriptor_ = nullptr;
}

void FieldFont::read_name(const char* name) {
  const std::string_view text = name != nullptr ? name : "";
  const auto has = [&text](std::string_view part) { return text.find(part) != std::string_view::npos; };
  symbols_ = has("Symbol") || has("ZapfDingbats") || has("Dingbats");
  traits_.bold = has("Bold") || has("Black") || has("Heavy");
  italic_ = has("Italic") || has("Oblique");
  if (has("Courier") || has("Mono") || has("Consol"))
    traits_.family = FontFamily::kMono;
  else if (has("Times") || has("Serif") || has("Roman") || has("Garamond") || has("Georgia") || has("Palatino"))
    traits_.family = FontFamily::kSerif;
}

bool FieldFont::read_encoding(CPDFXRefTable& table, const CPDFDictionary& font) {
  const Freed<CPDFObj> encoding = table.value(&font, "Encoding");
  const CPDFDictionary* const dict = encoding.as_dict();
  Freed<CPDFObj> named = table.value(dict != nullptr ? dict->get_item("BaseEncoding") : &encoding);
  const std::uint16_t* base = encoding_named(named.as_name());
  if (base == nullptr) {
    // The program's own encoding: of a font that is not symbolic it is the standard one, as a rule.
    const Freed<CPDFObj> flags = table.value(descriptor_, "Flags");
    const bool own = is_embedded(descriptor_) && (flags.to_int() & kSymbolicFlag) != 0;
    if (own && dict == nullptr)
      return false;
    base = own ? nullptr : kStandardEncoding;
  }
  for (int code = 0; base != nullptr && code < kCodes; ++code)
    characters_[code] = base[code];
  if (dict != nullptr)
    read_differences(table, dict->get_item("Differences"));
  return true;
}

void FieldFont::read_differences(CPDFXRefTable& table, const CPDFObj* item) {
  const Freed<CPDFObj> list = table.value(item);
  const CPDFArray* const array = list.as_array();
  int code = 0;
  for (std::int32_t i = 0; array != nullptr && i < array->count; ++i) {
    const Freed<CPDFObj> entry = table.value(array, i);
    if (entry.is_number())
      code = entry.to_int();
    else if (entry.as_name() != nullptr && code >= 0 && code < kCodes)
      characters_[code++] = character_of_glyph(entry.as_name());
  }
}

void FieldFont::read_heights(CPDFXRefTable& table) {
  const Heights& usual = kHeights[static_cast<int>(traits_.family)];
  ascent_ = usual.ascent;
  descent_ = usual.descent;
  const Freed<CPDFObj> up = table.value(descriptor_, "Ascent");
  const Freed<CPDFObj> down = table.value(descriptor_, "Descent");
  const double ascent = to_double(up.to_real()) / 1000;
  const double descent = to_double(down.to_real()) / 1000;
  // What no letter can have is not believed.
  if (ascent > 0.3 && ascent < 1.5 && descent <= 0 && descent > -1) {
    ascent_ = ascent;
    descent_ = descent;
  }
}

// False when the font has no widths of its own. A code without a width has no glyph.
bool FieldFont::read_widths(CPDFXRefTable& table, const CPDFDictionary& font) {
  const Freed<CPDFObj> first = table.value(&font, "FirstChar");
  const Freed<CPDFObj> list = table.value(&font, "Widths");
  const CPDFArray* const array = list.as_array();
  if (array == nullptr || array->count == 0)
    return false;
  for (int code = 0; code < kCodes; ++code) {
    const Freed<CPDFObj> width = table.value(array, code - first.to_int());
    widths_[code] = static_cast<std::uint16_t>(std::clamp(width.to_int(), 0, 10000));
    if (widths_[code] == 0)
      characters_[code] = 0;
  }
  return true;
}

void FieldFont::take_standard_widths() {
  using Row = StandardWidths;
  const bool serif = traits_.family == FontFamily::kSerif;
  const Row row = !serif    ? (traits_.bold ? Row::kHelveticaBold : Row::kHelvetica)
                  : italic_ ? (traits_.bold ? Row::kTimesBoldItalic : Row::kTimesItalic)
                            : (traits_.bold ? Row::kTimesBold : Row::kTimes);
  for (int code = 0; code < kCodes; ++code) {
    const StandardGlyph* const glyph = characters_[code] != 0 ? glyph_of_character(characters_[code]) : nullptr;
    const int width = glyph == nullptr ? 0 : glyph->widths[static_cast<int>(row)];
    widths_[code] =
        static_cast<std::uint16_t>(traits_.family == FontFamily::kMono && width != 0 ? kCourierWidth : width);
    if (width == 0)
      characters_[code] = 0;
  }
}

// A subset of a Type 1 font names its glyphs; whatever else the encoding has was left out.
void FieldFont::drop_glyphs_left_out(CPDFXRefTable& table) {
  const Freed<CPDFObj> names = table.value(descriptor_, "CharSet");
  const PDF_String list = names.as_string();
  if (!is_embedded(descriptor_) || list.len < static_cast<std::int32_t>(kSubsetTag))
    return;
  bool present[kCodes]{};
  std::string_view rest(list.data, static_cast<std::size_t>(list.len));
  while (!rest.empty()) {
    rest.remove_prefix(std::min(rest.find('/'), rest.size() - 1) + 1);
    const std::uint32_t character = character_of_glyph(rest.substr(0, rest.find('/')));
    for (int code = 0; character != 0 && code < kCodes; ++code)
      present[code] = present[code] || characters_[code] == character;
  }
  for (int code = 0; code < kCodes; ++code) {
    if (!present[code] && characters_[code] != ' ')
      characters_[code] = 0;
  }
}

int FieldFont::code_of(std::uint32_t character) const {
  if (composite_ != nullptr)
    return composite_->code_of(character);
  if (character == 0)
    return -1;
  const std::uint32_t* const found = std::find(characters_, characters_ + kCodes, character);
  if (found != characters_ + kCodes)
    return static_cast<int>(found - characters_);
  for (const auto& [wanted, shown] : kStandIns) {
    if (character == wanted)
      return code_of(shown);
  }
  return -1;
}

}  // namespace sheaf
