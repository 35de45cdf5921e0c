// What decoding one JBIG2 stream may cost. A few bytes can declare pages, symbols and instances
// without end; honest data need memory and work in proportion to their pages and their length.
#pragma once

#include <cstdint>

namespace jb2 {

/// The allowance left; it starts empty and grows with the data given and the pages declared.
struct Limits {
  std::int64_t bytes;  ///< Memory that bitmaps and tables may still take.
  std::int64_t work;   ///< Pixels, or steps that take about as long, that may still be decoded.

  /// The allowance of `length` bytes of data.
  void allow_data(std::int64_t length);
  /// The additional work that a page of so many pixels justifies.
  void allow_page(std::int64_t pixels);
  /// False, with nothing taken, when `size` bytes are more than is left.
  [[nodiscard]] bool take(std::int64_t size) {
    if (size < 0 || size > bytes)
      return false;
    bytes -= size;
    return true;
  }
  void give(std::int64_t size) { bytes += size; }
  /// False when `units` of work are more than is left; nothing more is decoded then.
  [[nodiscard]] bool spend(std::int64_t units) {
    if (units < 0 || units > work) {
      work = 0;
      return false;
    }
    work -= units;
    return true;
  }
};

inline void Limits::allow_data(std::int64_t length) {
  // The largest sheets (A0 at 600 dpi, 70 MB) need no more than the base and the data of a sheet;
  // dense pages come to some 20 pixels a byte and blank ones to a few thousand.
  constexpr std::int64_t kBaseBytes = std::int64_t{64} << 20;
  constexpr std::int64_t kBytesPerByte = 1024;
  constexpr std::int64_t kMostBytes = std::int64_t{1} << 30;
  constexpr std::int64_t kBaseWork = std::int64_t{4} << 20;
  constexpr std::int64_t kWorkPerByte = 16384;
  bytes = kBaseBytes + length * kBytesPerByte;
  bytes = bytes < kMostBytes ? bytes : kMostBytes;
  work = kBaseWork + length * kWorkPerByte;
}

inline void Limits::allow_page(std::int64_t pixels) {
  constexpr std::int64_t kLayers = 2;  // a page may be drawn whole and then refined whole
  work += kLayers * pixels;
}

}  // namespace jb2
