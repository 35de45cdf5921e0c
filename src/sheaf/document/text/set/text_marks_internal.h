// What readers that sort glyphs by place make of a character, and the text that keeps them right.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/document/text/text_setter.h"

namespace sheaf {

class SystemFonts;

enum class TextKind : int {
  kRightToLeft,  ///< A letter.
  kNumber,       ///< A digit, or a sign that may belong to a number, such as comma and full stop (UAX 9, ES, ET, CS).
};

/// Whether a glyph shows one character alone, which is of this kind.
bool has_text_kind(const SystemFonts& fonts, const TextGlyph& glyph, TextKind kind);

/// Appends the ActualText of a glyph with a mark, and what opens its span. False when there is no memory; nothing is
/// appended, with true, where the glyph shows no text.
bool open_marked(const SystemFonts& fonts, const TextGlyph& glyph, GrowArray<char>& out, bool& is_open);

}  // namespace sheaf
