// A look at JPEG 2000 data ahead of the decoder (ISO/IEC 15444-1, A.5 and I.4): which form they have
// and what it would cost to decode them. The decoder makes room for whatever a header claims.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sheaf {

/// The form of the data, and the costs that the headers claim.
struct JpxHeader {
  bool is_bare;               ///< A code stream without the boxes of a JP2 file.
  std::size_t start;          ///< Where the code stream starts.
  std::int64_t header_bytes;  ///< Memory that the tiles' parameters take once the header is read.
  std::int64_t decode_bytes;  ///< Memory that decoding takes.
  std::size_t overlong_part;  ///< Offset of the length of a tile-part that claims more than there is, or 0.
};

/// Finds the code stream of a JP2 file, or a bare one at the start of the data, and reads its size
/// segment. False when it has none.
bool find_jpx(const std::uint8_t* data, std::size_t len, JpxHeader& header);

/// Whether `len` bytes of data justify `cost` bytes of memory. Small images are free: blank paper
/// compresses to nothing.
bool jpx_can_cost(std::int64_t cost, std::size_t len);

}  // namespace sheaf
