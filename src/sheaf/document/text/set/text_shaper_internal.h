// Turns pieces of text into glyphs of the fonts that have them, each with the text that it stands for.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/document/text/set/text_libraries_internal.h"
#include "sheaf/document/text/set/text_paragraph_internal.h"

namespace sheaf {

/// A glyph in the order of reading. Positions are thousandths of the size, from the left (upper) end of its piece.
struct ShapedGlyph {
  std::int16_t font;
  std::uint16_t code;
  float x;
  float y;
  float advance;  ///< As the font object says it.
};

struct ShapedPiece {
  std::uint32_t first = 0;  ///< Of the shaper's glyphs.
  std::uint32_t count = 0;
  float advance = 0;
};

class TextShaper {
public:
  TextShaper(SystemFonts& system, const TextFontOptions& options) : system_(system), options_(options) {}
  TextShaper(const TextShaper&) = delete;
  TextShaper& operator=(const TextShaper&) = delete;
  ~TextShaper();

  /// To be called between paragraphs: forgets glyphs when they have become many.
  void tidy();
  void set_format(const TextFormat& format);
  /// False when no font can be used or there is no memory.
  bool shape(const TextParagraph& paragraph, const TextPiece& piece, ShapedPiece& shaped);
  const ShapedGlyph* glyphs(const ShapedPiece& piece) const { return glyphs_.begin() + piece.first; }

  std::size_t missing = 0;
  std::uint32_t first_missing = 0;

private:
  struct Known {
    std::uint32_t hash;
    std::uint32_t text;  // of `texts_`
    std::uint32_t length;
    hb_script_t script;
    bool right_to_left;
    ShapedPiece shaped;
    std::uint32_t missing;
  };
  std::int32_t* find_slot(std::uint32_t hash, const std::uint32_t* text, std::uint32_t length, const TextPiece& piece);
  bool grow_slots();
  bool shape_anew(const TextParagraph& paragraph, const TextPiece& piece, ShapedPiece& shaped);
  bool shape_run(const std::uint32_t* text, std::uint32_t length, std::uint32_t from, std::uint32_t to, int font,
                 const TextPiece& piece, double& pen);
  int font_of(const std::uint32_t* text, std::uint32_t count);
  void note_missing(std::uint32_t character);
  hb_font_t* shaper_font(int font);

  SystemFonts& system_;
  TextFontOptions options_;
  hb_buffer_t* buffer_ = nullptr;
  hb_language_t language_ = HB_LANGUAGE_INVALID;
  bool kerning_ = true;
  GrowArray<hb_font_t*> fonts_;  // by index of the font
  GrowArray<ShapedGlyph> glyphs_;
  GrowArray<std::uint32_t> texts_;
  GrowArray<Known> known_;
  GrowArray<std::int32_t> slots_;  // of `known_`, 1 more than the place; 0: free
};

}  // namespace sheaf
