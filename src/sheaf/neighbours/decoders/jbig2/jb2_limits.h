// What decoding one JBIG2 stream may cost. A few bytes can declare pages, symbols and instances
// without end; honest data need memory and work in proportion to their pages and their length.
#pragma once

#include <algorithm>
#include <cstdint>

namespace sheaf::jb2 {

/// The allowance left; it starts empty and grows with the data given and the pages declared.
struct Limits {
  std::int64_t page_bytes;  ///< Bitmaps of pages that may still be declared.
  std::int64_t bytes;       ///< Memory that bitmaps and tables may still take, those of pages included.
  std::int64_t work;        ///< Pixels, or steps that take about as long, that may still be decoded.

  /// The allowance of `length` bytes of data.
  void allow_data(std::int64_t length) {
    // The largest sheets (A0 at 600 dpi, 70 MB) need no more than the base and the data of a sheet;
    // dense pages come to some 20 pixels a byte and sparse ones to a few thousand.
    constexpr std::int64_t kBasePages = std::int64_t{64} << 20;
    constexpr std::int64_t kMostPages = std::int64_t{1} << 30;
    constexpr std::int64_t kBaseBytes = std::int64_t{1} << 20;
    constexpr std::int64_t kBytesPerByte = 1024;
    constexpr std::int64_t kBaseWork = std::int64_t{4} << 20;
    constexpr std::int64_t kWorkPerByte = 16384;
    page_bytes = std::min(kBasePages + length * kBytesPerByte, kMostPages);
    bytes = kBaseBytes + length * kBytesPerByte;
    work = kBaseWork + length * kWorkPerByte;
  }

  /// The allowance of `size` bytes of a page: for itself, and for what is drawn on it. False, with
  /// nothing allowed, when such a page is more than the data can justify.
  [[nodiscard]] bool allow_page(std::int64_t size) {
    constexpr std::int64_t kLayers = 2;  // a page may be drawn whole and then refined whole
    constexpr std::int64_t kCopies = 4;  // regions, intermediate ones, the planes of halftones
    if (size < 0 || size > page_bytes)
      return false;
    page_bytes -= size;
    bytes += (1 + kCopies) * size;
    work += kLayers * 8 * size;
    return true;
  }

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

}  // namespace sheaf::jb2
