// Where lines of text may end: behind spaces and hyphens, and between ideographs, but not so that a
// closing mark begins a line or an opening one ends it.
#pragma once

#include <cstddef>
#include <vector>

namespace sheaf::tool {

/// One glyph of a paragraph.
struct SetGlyph {
  int font;
  unsigned code;
  int advance;  ///< Thousandths of the size, along the line.
  int less;     ///< How much of it is taken back; 0 for most.
  wchar_t character;
};

/// The end of the line that begins at `start`: as much as goes into `room` (thousandths of the size),
/// at least one glyph. Spaces at its end hang over.
std::size_t end_of_line(const std::vector<SetGlyph>& glyphs, std::size_t start, int room);

/// Whether a character without a glyph may be left out without a word: it has no shape of its own.
bool is_ignorable(wchar_t character);

}  // namespace sheaf::tool
