// Classes of direction (UAX 9), and spans with the text of one glyph (ISO 32000-1, 14.9.4).
#include "sheaf/document/text/set/text_marks_internal.h"

#include <cstdio>

#include "sheaf/base/utf.h"
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/document/text/set/text_libraries_internal.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"

namespace sheaf {

namespace {

constexpr std::uint32_t kLeftToRightMark = 0x200E;
constexpr std::uint32_t kRightToLeftMark = 0x200F;

bool put(GrowArray<char>& out, const char* text) {
  bool is_complete = true;
  for (; *text != 0; ++text)
    is_complete = out.push(*text) && is_complete;
  return is_complete;
}

bool put_utf16(GrowArray<char>& out, std::uint32_t character) {
  char digits[12];
  if (character > 0xFFFF)
    std::snprintf(digits, sizeof(digits), "%04X%04X", high_surrogate(character), low_surrogate(character));
  else
    std::snprintf(digits, sizeof(digits), "%04X", character);
  return put(out, digits);
}

}  // namespace

bool has_text_kind(const SystemFonts& fonts, const TextGlyph& glyph, TextKind kind) {
  std::uint32_t text[GlyphTexts::kMost];
  if (!directions().complete || fonts.font(glyph.font)->text_of(glyph.code, text) != 1)
    return false;
  FriBidiCharType type = 0;
  directions().get_bidi_types(text, 1, &type);
  if (kind == TextKind::kRightToLeft)
    return FRIBIDI_IS_STRONG(type) && FRIBIDI_IS_RTL(type);
  return FRIBIDI_IS_NUMBER(type) || FRIBIDI_IS_NUMBER_SEPARATOR_OR_TERMINATOR(type);
}

bool open_marked(const SystemFonts& fonts, const TextGlyph& glyph, GrowArray<char>& out, bool& is_open) {
  std::uint32_t text[GlyphTexts::kMost];
  const int count = fonts.font(glyph.font)->text_of(glyph.code, text);
  is_open = count != 0;
  if (!is_open)
    return true;
  bool is_complete = put(out, "/Span<</ActualText<FEFF");
  if (glyph.mark != TextMark::kLeftToRightBehind)
    is_complete = put_utf16(out, kRightToLeftMark) && is_complete;
  for (int i = 0; i < count; ++i)
    is_complete = put_utf16(out, text[i]) && is_complete;
  if (glyph.mark != TextMark::kRightToLeftBefore)
    is_complete =
        put_utf16(out, glyph.mark == TextMark::kRightToLeftAround ? kRightToLeftMark : kLeftToRightMark) && is_complete;
  return put(out, ">>>BDC\n") && is_complete;
}

}  // namespace sheaf
