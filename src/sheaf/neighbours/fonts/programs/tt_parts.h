// Glyphs made of other glyphs, as a font that is embedded can have them.
#pragma once

#include <cstdint>

/// A glyph as a part of another, moved by font units.
struct PDF_TT_PART {
  std::uint16_t glyph;
  std::int16_t x;
  std::int16_t y;

  bool operator==(const PDF_TT_PART&) const = default;
};

/// A glyph that the font lacks, made of glyphs that it has.
struct PDF_TT_COMPOSITE {
  std::uint32_t first;  ///< Of the list of parts.
  std::uint32_t count;
  std::uint16_t width;  ///< Horizontal advance, font units.
  std::uint16_t down;   ///< Vertical advance.
};
