// Glyph names, the widths of the standard Latin fonts (ISO 32000-1, 9.6.2.2) and the encodings of simple fonts
// (annex D): what is needed to set a value in a font that the document names but does not hold.
#pragma once

#include <cstdint>
#include <string_view>

namespace sheaf {

/// The standard fonts with widths of their own. Courier's are all alike, and the oblique forms of Helvetica have those
/// of the upright ones.
enum class StandardWidths : int { kHelvetica, kHelveticaBold, kTimes, kTimesBold, kTimesItalic, kTimesBoldItalic };

/// A row of the table, which is sorted by the bytes of the names.
struct StandardGlyph {
  const char* name;
  std::uint16_t character;
  std::uint16_t widths[6];  ///< By StandardWidths, in thousandths of the em; 0: the font has no such glyph.
};

extern const StandardGlyph kStandardGlyphs[];
extern const int kStandardGlyphCount;

/// Characters by code; 0 where a code has none.
extern const std::uint16_t kStandardEncoding[256];
extern const std::uint16_t kWinAnsiEncoding[256];
extern const std::uint16_t kMacRomanEncoding[256];

/// The character of a glyph name: of the table, of the Adobe Glyph List, "uniXXXX" or "uXXXX" to "uXXXXXX"; 0 for any
/// other. The table comes first: its Omega is the Greek letter.
std::uint32_t character_of_glyph(std::string_view name);

/// What the Adobe Glyph List has for a name: a character or several, for ever valid; empty for other names.
std::u16string_view listed_text_of_glyph(std::string_view name);

/// The glyph of a character; null when the table has none.
const StandardGlyph* glyph_of_character(std::uint32_t character);

}  // namespace sheaf
