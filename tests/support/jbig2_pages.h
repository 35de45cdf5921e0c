// Pages out of JBIG2 data, as the tests look at them.
#pragma once

#include "sheaf/neighbours/decoders/jbig2/jb2_bitmap.h"
#include "support/jbig2_encoder.h"

using namespace sheaf;

namespace jb2_test {

inline Picture picture_of(const QVJB2_Bitmap& bitmap) {
  Picture picture(bitmap.width, bitmap.height);
  for (int y = 0; y < bitmap.height; ++y)
    for (int x = 0; x < bitmap.width; ++x)
      picture.set(x, y, jb2::bitmap_pixel(bitmap, x, y));
  return picture;
}

/// A decoder that has decoded `bytes`.
struct Decoded : CQVJBIG2 {
  int result = 0;
  explicit Decoded(std::string bytes, CQVJBIG2* global = nullptr) {
    parent = global;
    if (init())
      result = dec_data(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
  }
  Picture page(int index = 0) const {
    return result != 0 && pages[index].bitmap != nullptr ? picture_of(*pages[index].bitmap) : Picture();
  }
};

/// One page of that size with these segments on it.
inline std::string page_of(const Picture& size, const std::string& segments, unsigned flags = 0) {
  return segment(0, 48, {},
                 page_info(static_cast<std::uint32_t>(size.width), static_cast<std::uint32_t>(size.height), flags)) +
         segments;
}

/// Draws the plain way.
inline void combine(Picture& page, const Picture& part, int x0, int y0, unsigned op) {
  for (int y = 0; y < part.height; ++y) {
    for (int x = 0; x < part.width; ++x) {
      const unsigned old = page.get(x0 + x, y0 + y);
      const unsigned own = part.get(x, y);
      const unsigned results[] = {old | own, old & own, old ^ own, 1 ^ old ^ own, own};
      page.set(x0 + x, y0 + y, results[op]);
    }
  }
}

}  // namespace jb2_test
