// Lines are broken at the last place that fits, and within a word only where a line holds nothing else.
#include "sheaf/document/forms/draw/text_lines_internal.h"

namespace sheaf {

namespace {

bool is_ideograph(std::uint32_t character) {
  return (character >= 0x3040 && character <= 0x30FF) || (character >= 0x3400 && character <= 0x9FFF) ||
         (character >= 0xAC00 && character <= 0xD7A3) || (character >= 0xF900 && character <= 0xFAFF) ||
         (character >= 0x20000 && character <= 0x3FFFF);
}

// Marks that close something do not begin a line.
bool closes(std::uint32_t character) {
  switch (character) {
    case '.':
    case ',':
    case ')':
    case '!':
    case '?':
    case 0x3001:
    case 0x3002:
    case 0x300D:
    case 0x300F:
    case 0xFF01:
    case 0xFF09:
    case 0xFF0C:
    case 0xFF1F:
      return true;
    default:
      return false;
  }
}

bool may_break_between(std::uint32_t before, std::uint32_t behind) {
  if (before == ' ' || before == '-' || before == 0x2010 || before == 0x200B)
    return behind != ' ';
  return (is_ideograph(before) || is_ideograph(behind)) && !closes(behind) && behind != ' ';
}

// One line from `first` on; the result is where the next one begins.
std::size_t one_line(const GrowArray<FieldGlyph>& glyphs, std::size_t first, std::int64_t room) {
  std::int64_t width = 0;
  std::size_t end = first;
  std::size_t good = first;  // the last place where the line may end
  for (; end < glyphs.size() && glyphs[end].character != '\n'; ++end) {
    if (end > first && may_break_between(glyphs[end - 1].character, glyphs[end].character))
      good = end;
    width += glyphs[end].width;
    const bool hangs = glyphs[end].character == ' ';
    if (room > 0 && width > room && !hangs && end > first)
      return good > first ? good : end;
  }
  return end;
}

}  // namespace

std::int64_t width_of(const FieldGlyph* glyphs, std::size_t count) {
  std::int64_t width = 0;
  for (std::size_t i = 0; i < count; ++i)
    width += glyphs[i].width;
  return width;
}

void break_lines(const GrowArray<FieldGlyph>& glyphs, std::int64_t room, GrowArray<FieldLine>& lines) {
  std::size_t first = 0;
  bool ends_in_line_end = true;
  while (first < glyphs.size()) {
    const std::size_t next = one_line(glyphs, first, room);
    ends_in_line_end = next < glyphs.size() && glyphs[next].character == '\n';
    std::size_t end = next;
    while (end > first && glyphs[end - 1].character == ' ' && !ends_in_line_end && next < glyphs.size())
      --end;
    lines.push({first, end - first, width_of(glyphs.begin() + first, end - first)});
    first = ends_in_line_end ? next + 1 : next;
  }
  if (ends_in_line_end)
    lines.push({glyphs.size(), 0, 0});
}

}  // namespace sheaf
