// The CMap that leads from codes back to text (ISO 32000-1, 9.10.3).
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"

namespace sheaf {

/// Writes the map of all glyphs that show a character; `used` is ascending by glyph.
void write_to_unicode(TTBytes& out, const GrowArray<PDF_USED_GLYPH>& used);

}  // namespace sheaf
