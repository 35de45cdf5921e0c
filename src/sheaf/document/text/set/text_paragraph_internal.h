// One paragraph, taken apart: composed characters, and the pieces that are shaped for themselves.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/document/text/set/text_libraries_internal.h"
#include "sheaf/document/text/text_setter.h"

namespace sheaf {

/// Characters of one script and one direction, without a place in between where a line may end.
struct TextPiece {
  std::uint32_t from;
  std::uint32_t to;
  hb_script_t script;
  std::uint8_t level;  ///< Of embedding; odd ones run from right to left.
  bool is_space;       ///< Hangs over at the end of a line.
  bool may_break;      ///< A line may end after it.
};

class TextParagraph {
public:
  /// The characters, which `analyse` composes.
  GrowArray<std::uint32_t> text;

  /// False when there is no memory.
  bool analyse(const TextFormat& format, bool vertical);

  const GrowArray<TextPiece>& pieces() const { return pieces_; }
  std::uint8_t level() const { return level_; }
  /// Where the character, as it is read, that begins at `at` ends (UAX 29).
  std::uint32_t character_end(std::uint32_t at) const;

private:
  bool compose();
  bool find_levels(const TextFormat& format, bool vertical);
  bool find_scripts();
  bool find_breaks(const TextFormat& format);
  bool cut();

  GrowArray<TextPiece> pieces_;
  GrowArray<std::int8_t> levels_;   // empty: all 0
  GrowArray<std::uint8_t> starts_;  // whether a character as it is read begins here
  GrowArray<char> breaks_;
  GrowArray<hb_script_t> scripts_;
  std::uint8_t level_ = 0;
};

/// Spaces that hang over.
bool is_text_space(std::uint32_t character);
/// Whether a character without a glyph may be left out without a word: it has no shape of its own.
bool is_ignorable(std::uint32_t character);

}  // namespace sheaf
