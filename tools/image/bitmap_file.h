// Picture files of plain pixels, PNG and the netpbm formats, as bitmaps.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sheaf::tool {

struct BitmapFile {
  std::vector<std::uint8_t> pixels;  ///< Four bytes each: red, green, blue, alpha.
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool has_alpha = false;
  double dots_x = 0;  ///< Dots an inch; 0 when the file states none.
  double dots_y = 0;
};

/// Reads the file. False when it cannot be read to its end or is too large for one image.
bool read_png(const std::string& bytes, BitmapFile& bitmap);
bool read_pnm(const std::string& bytes, BitmapFile& bitmap);

/// Makes room for the pixels. False when there is not one, or more than an image may have.
bool make_room(BitmapFile& bitmap, std::uint64_t width, std::uint64_t height);

}  // namespace sheaf::tool
