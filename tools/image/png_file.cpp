// A PNG file as a bitmap.
#include "image/bitmap_file.h"
#include "image/png_steps.h"
#include "sheaf/base/scope_guard.h"

namespace sheaf::tool {

bool make_room(BitmapFile& bitmap, std::uint64_t width, std::uint64_t height) {
  constexpr std::uint64_t kMostPixels = INT32_MAX / 3;  // an image's samples have 31 bits
  if (width == 0 || height == 0 || width > kMostPixels || height > kMostPixels / width)
    return false;
  bitmap.width = static_cast<std::int32_t>(width);
  bitmap.height = static_cast<std::int32_t>(height);
  bitmap.pixels.resize(static_cast<std::size_t>(width * height) * 4);
  return true;
}

bool read_png(const std::string& bytes, BitmapFile& bitmap) {
  constexpr std::uint64_t kPixelsPerByte = 8 * 1032;  // one bit each, compressed as well as deflate can
  PngInput input{};
  const ScopeGuard close([&input] { png_close(input); });
  if (!png_open(input, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()) ||
      std::uint64_t{input.width} * input.height > bytes.size() * kPixelsPerByte ||
      !make_room(bitmap, input.width, input.height))
    return false;
  bitmap.has_alpha = input.has_alpha;
  bitmap.dots_x = input.dots_x;
  bitmap.dots_y = input.dots_y;
  std::vector<std::uint8_t*> rows;
  for (std::uint32_t y = 0; y < input.height; ++y)
    rows.push_back(bitmap.pixels.data() + std::size_t{y} * input.width * 4);
  return png_take_rows(input, rows.data());
}

}  // namespace sheaf::tool
