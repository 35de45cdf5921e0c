// The CMap that leads from codes back to text (ISO 32000-1, 9.10.3).
#pragma once

#include "base/grow_array.h"
#include "neighbours/fonts/font_type0.h"
#include "neighbours/fonts/tt_bytes_internal.h"

/// Writes the map of all glyphs that stand for a character; `used` is ascending by glyph.
void write_to_unicode(TTBytes& out, const GrowArray<PDF_USED_GLYPH>& used);
