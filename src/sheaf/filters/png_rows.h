// The row filters of PNG, undone (RFC 2083, 6).
#pragma once

#include <cstdint>

namespace sheaf {

constexpr int kPngUp = 2;  ///< The filter that adds the row above.

/// Undoes one row of `size` bytes in place. `tag` is the kind of its filter; one that does not exist
/// is read as none. `above` is the row before it, as long, undone, or zeros for the first;
/// `pixel` (1 to `size`, or more) is the distance in bytes of the left neighbour.
void undo_png_row(int tag, std::uint8_t* row, const std::uint8_t* above, int size, int pixel);

/// Undoes one row of kPngUp into `dst`, which overlaps neither of the others.
void copy_up_row(std::uint8_t* dst, const std::uint8_t* row, const std::uint8_t* above, int size);

}  // namespace sheaf
