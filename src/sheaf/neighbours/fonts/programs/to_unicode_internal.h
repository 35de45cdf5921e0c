// The CMap that leads from codes back to text (ISO 32000-1, 9.10.3).
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"

namespace sheaf {

/// Writes the map of all codes that show text; `used` is ascending by code, `longer` holds the texts of several
/// characters.
void write_to_unicode(TTBytes& out, const GrowArray<PDF_USED_GLYPH>& used, const GrowArray<std::uint32_t>& longer);

}  // namespace sheaf
