// Bitmaps: making, pixels, and combination by words of 64 pixels (T.88, 6.1 and 7.4.1.5).
#pragma once

#include <utility>

#include "sheaf/neighbours/decoders/jbig2.h"

namespace sheaf::jb2 {

enum class Combine : std::uint8_t { kOr = 0, kAnd = 1, kXor = 2, kXnor = 3, kReplace = 4 };

/// Bytes behind the data that word-wise access may touch.
constexpr int kBitmapSlack = 16;

/// A white bitmap with one reference, or null: sizes that make no bitmap or pass the limits.
/// The caller owns the result and releases it with bitmap_release.
QVJB2_Bitmap* bitmap_new(Limits& limits, std::int64_t width, std::int64_t height);

/// Gives one reference back. Accepts null.
void bitmap_release(QVJB2_Bitmap* bitmap);

/// The same bitmap with `height` rows, new ones all black or all white; the block may move.
/// False, with nothing changed, when that cannot be had.
[[nodiscard]] bool bitmap_grow(Limits& limits, QVJB2_Bitmap*& bitmap, std::int64_t height, bool black);

/// Makes the rows from `first_row` on all black.
void bitmap_blacken(QVJB2_Bitmap& bitmap, std::int32_t first_row);

/// Makes the bits behind each row's last pixel 0, or 1.
void bitmap_clear_padding(const QVJB2_Bitmap& bitmap);
void bitmap_fill_padding(const QVJB2_Bitmap& bitmap);

/// Combines `src` into `dst` with its top left corner at (`x`, `y`); what is outside is cut off.
void bitmap_combine(QVJB2_Bitmap& dst, const QVJB2_Bitmap& src, std::int64_t x, std::int64_t y, Combine op);

/// The same with the `width` columns of `src` from `column` on, which lie within it.
void bitmap_combine_columns(QVJB2_Bitmap& dst, const QVJB2_Bitmap& src, std::int32_t column, std::int32_t width,
                            std::int64_t x, std::int64_t y, Combine op);

/// A copy of the rectangle at (`x`, `y`), white where it leaves `src`; null as bitmap_new.
QVJB2_Bitmap* bitmap_cut(Limits& limits, const QVJB2_Bitmap& src, std::int64_t x, std::int64_t y, std::int64_t width,
                         std::int64_t height);

/// The bytes that limits were charged for a bitmap.
std::int64_t bitmap_cost(const QVJB2_Bitmap& bitmap);

inline std::uint8_t* bitmap_row(const QVJB2_Bitmap& bitmap, std::int32_t y) {
  return bitmap.data + static_cast<std::ptrdiff_t>(bitmap.stride) * y;
}

/// A pixel; 0 outside.
inline unsigned bitmap_pixel(const QVJB2_Bitmap& bitmap, std::int32_t x, std::int32_t y) {
  if (x < 0 || y < 0 || x >= bitmap.width || y >= bitmap.height)
    return 0;
  return static_cast<unsigned>(bitmap_row(bitmap, y)[x >> 3] >> (7 - (x & 7)) & 1);
}

/// Owns one reference for the length of a scope and gives what the bitmap cost back to the limits.
class BitmapHold {
public:
  explicit BitmapHold(Limits& limits, QVJB2_Bitmap* bitmap = nullptr) : limits_(limits), bitmap_(bitmap) {}
  BitmapHold(const BitmapHold&) = delete;
  BitmapHold& operator=(const BitmapHold&) = delete;
  ~BitmapHold() { reset(); }
  QVJB2_Bitmap* get() const { return bitmap_; }
  QVJB2_Bitmap& operator*() const { return *bitmap_; }
  QVJB2_Bitmap* operator->() const { return bitmap_; }
  explicit operator bool() const { return bitmap_ != nullptr; }
  /// Hands the reference over to the caller.
  QVJB2_Bitmap* release() { return std::exchange(bitmap_, nullptr); }
  void reset(QVJB2_Bitmap* bitmap = nullptr) {
    if (bitmap_ != nullptr)
      limits_.give(bitmap_cost(*bitmap_));
    bitmap_release(std::exchange(bitmap_, bitmap));
  }

private:
  Limits& limits_;
  QVJB2_Bitmap* bitmap_;
};

}  // namespace sheaf::jb2
