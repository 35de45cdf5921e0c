// Breaking a value into lines.
#pragma once

#include "sheaf/document/forms/type/field_type_internal.h"

namespace sheaf {

/// Glyphs of one line; what hangs over its end, spaces and the line end, is left out.
struct FieldLine {
  std::size_t first;
  std::size_t count;
  std::int64_t width;  ///< Thousandths of the em.
};

/// The width of some glyphs, in thousandths of the em.
std::int64_t width_of(const FieldGlyph* glyphs, std::size_t count);

/// Appends lines that end at line ends and, where `room` (thousandths of the em) is not 0, after spaces and hyphens
/// and between ideographs so that they fit; a word that is too long is broken anywhere.
void break_lines(const GrowArray<FieldGlyph>& glyphs, std::int64_t room, GrowArray<FieldLine>& lines);

}  // namespace sheaf
