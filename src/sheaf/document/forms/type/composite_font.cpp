// Codes come from the font's map to text, widths from "W" (ISO 32000-1, 9.7.4.3).
#include "sheaf/document/forms/type/composite_font_internal.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::uint32_t kCodes = 0x10000;
constexpr std::uint32_t kMostWidths = 4 * kCodes;  // at most this many are set, however often ranges name a code

std::uint16_t width_in(const CPDFObj& value) {
  return static_cast<std::uint16_t>(std::clamp(to_double(value.to_real()), 0.0, 65535.0));
}

// The character that a text in UTF-16 is; 0 when it is more than one.
std::uint32_t only_character(const char16_t* units, int count) {
  if (count == 1 && !is_surrogate(units[0]))
    return units[0];
  if (count == 2 && is_high_surrogate(units[0]) && is_low_surrogate(units[1]))
    return from_surrogates(units[0], units[1]);
  return 0;
}

}  // namespace

bool CompositeFont::load(CPDFXRefTable& table, const CPDFDictionary& font) {
  if (!table.value(&font, "Encoding").is_name("Identity-H"))
    return false;
  const Freed<CPDFObj> list = table.value(&font, "DescendantFonts");
  const Freed<CPDFObj> descendant = table.value(list.as_array(), 0);
  if (descendant.as_dict() == nullptr)
    return false;
  const Freed<CPDFObj> descriptor = table.value(descendant.as_dict(), CPDFDictionary::sm_tag_fdes);
  const CPDFDictionary* const dict = descriptor.as_dict();
  if (dict == nullptr || (dict->get_item("FontFile2") == nullptr && dict->get_item("FontFile3") == nullptr))
    return false;
  read_widths(table, *descendant.as_dict());
  return read_codes(table, font);
}

// Of several codes for one character the first is taken.
bool CompositeFont::read_codes(CPDFXRefTable& table, const CPDFDictionary& font) {
  CPDFCMapToUnicode* const map = CPDFCMapToUnicode::load(table, font.get_item("ToUnicode"));
  if (map == nullptr)
    return false;
  const ScopeGuard release([map] { CPDFSharedCMap::release(map); });
  char16_t units[2];
  for (std::uint32_t code = 1; code < kCodes; ++code) {
    const std::uint32_t character = only_character(units, map->text_of(code, 2, units, 2));
    if (character >= ' ' && !codes_.push({character, code}))
      return false;
  }
  std::stable_sort(codes_.begin(), codes_.end(),
                   [](const Code& a, const Code& b) { return a.character < b.character; });
  return !codes_.empty();
}

void CompositeFont::read_widths(CPDFXRefTable& table, const CPDFDictionary& descendant) {
  const Freed<CPDFObj> usual = table.value(&descendant, "DW");
  if (usual.is_number())
    default_width_ = width_in(usual);
  const Freed<CPDFObj> list = table.value(&descendant, "W");
  const CPDFArray* const array = list.as_array();
  std::uint32_t count = 0;
  const auto set = [this, &count](std::int64_t code, const CPDFObj& width) {
    if (code < 0 || code >= kCodes || ++count > kMostWidths)
      return;
    const auto at = static_cast<std::size_t>(code);
    const std::size_t before = widths_.size();
    if (at >= before && !widths_.resize(at + 1))
      return;
    for (std::size_t i = before; i < at; ++i)
      widths_[i] = static_cast<std::uint16_t>(default_width_);
    widths_[at] = width_in(width);
  };
  for (std::int32_t i = 0; array != nullptr && i + 1 < array->count && count < kMostWidths;) {
    const std::int64_t first = table.value(array, i).to_int();
    const Freed<CPDFObj> second = table.value(array, i + 1);
    if (const CPDFArray* const each = second.as_array()) {
      for (std::int32_t k = 0; k < each->count; ++k)
        set(first + k, table.value(each, k));
      i += 2;
    } else {
      const Freed<CPDFObj> width = table.value(array, i + 2);
      const std::int64_t last = std::min<std::int64_t>(second.to_int(), kCodes - 1);
      for (std::int64_t code = std::max<std::int64_t>(first, 0); code <= last; ++code)
        set(code, width);
      i += 3;
    }
  }
}

int CompositeFont::code_of(std::uint32_t character) const {
  const Code* const found =
      std::lower_bound(codes_.begin(), codes_.end(), character,
                       [](const Code& code, std::uint32_t wanted) { return code.character < wanted; });
  return found != codes_.end() && found->character == character ? static_cast<int>(found->code) : -1;
}

int CompositeFont::width(int code) const {
  const auto at = static_cast<std::size_t>(code);
  return at < widths_.size() ? widths_[at] : default_width_;
}

}  // namespace sheaf
