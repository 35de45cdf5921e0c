// Glyph metrics in the compact arrays of a CID font (ISO 32000-1, 9.7.4.3): glyphs in a row that
// differ are put in a list, those that agree in a range.
#pragma once

#include <array>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/array.h"

namespace sheaf {

struct GlyphMetrics {
  int code;
  std::array<int, 3> values;  ///< A width; or advance, origin x and origin y.
};

struct VerticalDefault {
  int origin_y;
  int advance;
};

/// Appends `items` (ascending codes) with their first `value_count` values.
void put_compact(CPDFArray& out, const GrowArray<GlyphMetrics>& items, unsigned value_count);

/// The pair that more than half of the items have; without one, a pair that some item has.
VerticalDefault most_frequent(const GrowArray<GlyphMetrics>& items);

/// Leaves out the items that "DW2" with `pair` describes.
void drop_default(GrowArray<GlyphMetrics>& items, const VerticalDefault& pair);

}  // namespace sheaf
