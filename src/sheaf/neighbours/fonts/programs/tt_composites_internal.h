// Composite glyphs (ISO/IEC 14496-22, 5.3.3) put after the glyphs of a font.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"

namespace sheaf {

/// The sides of a glyph, font units.
struct GlyphBox {
  int left = 0;
  int bottom = 0;
  int right = 0;
  int top = 0;
};

/// Writes the outline of a composite whose parts have these boxes, up to a multiple of four bytes, and gives its own
/// box.
GlyphBox put_composite(TTBytes& glyf, const PDF_TT_PART* parts, std::uint32_t count, const GrowArray<GlyphBox>& boxes);

/// A table in memory.
struct LoadedTable {
  std::uint32_t tag;
  std::uint32_t length;
  std::uint8_t* block;  ///< Owned by whoever holds the list.
};

/// Puts the composites of `codes` into a font's tables, which are replaced. False when there is no memory or a table
/// that is needed is missing or too short.
bool add_composites(GrowArray<LoadedTable>& tables, const CQVTTCodesRec& codes);

}  // namespace sheaf
