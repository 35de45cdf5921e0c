// Layout tables of a face, as far as text is set without shaping: the vertical forms of glyphs
// (brackets, long vowel marks, small kana) that the "vert" feature names.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"

class CQVFTFont;

class CQVTTLayout {
public:
  CQVTTLayout() = default;
  CQVTTLayout(const CQVTTLayout&) = delete;
  CQVTTLayout& operator=(const CQVTTLayout&) = delete;

  /// Takes the vertical forms of `face`; without them every glyph stays as it is.
  void load(CQVFTFont& face);
  /// The glyph that replaces `glyph` in vertical text.
  std::uint32_t vertical_form(std::uint32_t glyph) const;

  struct Form {
    std::uint16_t glyph;
    std::uint16_t vertical;
  };

private:
  sheaf::GrowArray<Form> forms_;  // ascending by glyph
};
