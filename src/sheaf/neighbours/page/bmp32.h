// Bitmaps of the drawing layer.
#pragma once

#include <cstdint>

/// A view of pixels of four bytes each: three of colour, in the order red, green, blue or its
/// reverse, then alpha. The pixels stay their maker's.
class CQVBmp32 {
public:
  std::uint8_t* pixels = nullptr;  ///< First byte of the first row.
  std::int32_t width = 0;          ///< Pixels of a row.
  std::int32_t height = 0;         ///< Rows.
  std::int32_t stride = 0;         ///< Bytes from one row to the next; negative when rows go upwards in memory.
};
