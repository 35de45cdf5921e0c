// What decoding one JBIG2 stream may cost. A few bytes can declare pages, symbols and instances
// without end; honest data need memory and work in proportion to their pages and their length. The
// end of the data does not end a region: encoders leave out what a decoder makes up. What is left out
// of honest data is white, repeats itself, or is little; so much may be made up, and no more.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sheaf/filters/picture_work.h"

namespace sheaf::jb2 {

/// The allowance left; it starts empty and grows with the data given and the pages declared. Work is
/// counted in pixels, or steps that take about as long. A segment has a share of it, by its length
/// and by the bitmaps that it makes, so that one of a damaged stream leaves enough to the others.
struct Limits {
  std::int64_t page_bytes;  ///< Bitmaps of pages that may still be declared.
  std::int64_t bytes;       ///< Memory that bitmaps and tables may still take, those of pages included.
  std::int64_t work;        ///< Work that the present segment may still do.
  std::int64_t made_up;     ///< Work that may still be done for what no data are there.
  std::int64_t reserve;     ///< Work beyond that, for what it makes and for the segments that follow.
  std::int64_t spent;       ///< Work done so far.
  std::int64_t ceiling;     ///< Most bytes of pages, set by the caller; 0: as the data justify.
  bool refused;             ///< Something was asked for beyond that, and not done.
  PictureWork* shared;      ///< Borrowed; what all pictures of the file may take beyond their data, or null.
  bool unjustified;         ///< With `shared`: the data have justified another picture's work already.
  std::int64_t lacking;     ///< What the segment's share is short of, which may come from `shared`.

  /// Of data. Dense pages come to some 20 pixels a byte, sparse ones to a few thousand beside their
  /// white rows, which cost next to nothing.
  static constexpr std::int64_t kWorkPerByte = 4096;
  static constexpr std::int64_t kWorkPerFileByte = 2048;  ///< Beyond that, of the file, for all its pictures.
  static constexpr std::int64_t kPixelsPerByte = 8;

  /// The allowance of `length` bytes of data.
  void allow_data(std::int64_t length) {
    // The largest sheets (A0 at 600 dpi, 70 MB) need no more than the base and the data of a sheet.
    constexpr std::int64_t kBasePages = std::int64_t{64} << 20;
    constexpr std::int64_t kMostPages = std::int64_t{1} << 30;
    constexpr std::int64_t kBaseBytes = std::int64_t{16} << 20;
    constexpr std::int64_t kBytesPerByte = 1024;
    constexpr std::int64_t kBaseWork = std::int64_t{48} << 20;  // a sheet of A4 at 600 dpi has 35 million pixels
    page_bytes = std::min(kBasePages + length * kBytesPerByte, kMostPages);
    bytes = kBaseBytes + length * kBytesPerByte;
    reserve = kBaseWork + length * kWorkPerByte;
    work = 0;
    constexpr std::int64_t kBaseMadeUp = std::int64_t{1} << 20;
    constexpr std::int64_t kMadeUpPerByte = 256;
    made_up = kBaseMadeUp + length * kMadeUpPerByte;
    if (shared != nullptr)
      allow_own_data(length);
    if (ceiling <= 0)
      return;
    page_bytes = std::min(page_bytes, ceiling);
    bytes = std::min(bytes, ceiling);
    reserve = std::min(reserve, ceiling * kPixelsPerByte);
  }

  /// Gives a segment of `length` bytes its share, and what the one before it has left back.
  void begin_segment(std::int64_t length) {
    constexpr std::int64_t kBaseShare = std::int64_t{1} << 20;
    reserve += work;
    work = lacking = 0;
    add_share(kBaseShare + length * kWorkPerByte);
  }

  /// The allowance of `size` bytes of a page: for itself, and for regions of its size. False, with
  /// nothing allowed, when such a page is more than the data can justify.
  [[nodiscard]] bool allow_page(std::int64_t size) {
    constexpr std::int64_t kCopies = 4;     // regions, intermediate ones, the planes of halftones
    constexpr std::int64_t kHandlings = 8;  // making, copying, combining it and regions of its size
    constexpr std::int64_t kOwnHandlings = 2;
    if (size < 0 || (size > page_bytes && !borrow_page(size)))
      return refuse();
    page_bytes -= size;
    bytes += (1 + kCopies) * size;
    reserve += (shared != nullptr ? kOwnHandlings : kHandlings) * handling(size);
    return true;
  }

  /// False, with nothing taken, when `size` bytes are more than is left.
  [[nodiscard]] bool take(std::int64_t size) {
    if (size < 0 || size > bytes)
      return refuse();
    bytes -= size;
    return true;
  }
  void give(std::int64_t size) { bytes += size; }

  /// The same for a bitmap, which also has its price in work and raises the segment's share by what
  /// its pixels may take.
  [[nodiscard]] bool take_bitmap(std::int64_t size) {
    constexpr std::int64_t kSharePerByte = 40;
    if (!take(size))
      return false;
    add_share(kSharePerByte * size);
    if (spend(handling(size)))
      return true;
    give(size);
    return false;
  }

  /// What clearing, copying or combining `size` bytes of a bitmap takes.
  static constexpr std::int64_t handling(std::int64_t size) { return size / 16 + 1; }

  /// False when `units` of work are more than is left; the segment decodes nothing more then.
  [[nodiscard]] bool spend(std::int64_t units) {
    if (units < 0 || (units > work && !borrow(units - work))) {
      work = 0;
      return refuse();
    }
    work -= units;
    spent += units;
    return true;
  }

  /// The same for `units` that follow from no data, which were spent, or are about to be.
  [[nodiscard]] bool make_up(std::int64_t units) {
    if (units > made_up) {
      made_up = 0;
      return refuse();
    }
    made_up -= units;
    return true;
  }

private:
  bool refuse() {
    refused = true;
    return false;
  }
  void add_share(std::int64_t units) {
    const std::int64_t given = std::min(units, reserve);
    lacking += units - given;
    reserve -= given;
    work += given;
  }

  // What a picture of a file has by itself: enough for a blank page of 10,000 by 10,000 pixels.
  void allow_own_data(std::int64_t length) {
    constexpr std::int64_t kOwnPages = std::int64_t{13} << 20;
    constexpr std::int64_t kPagesPerByte = 16 * 1024;
    constexpr std::int64_t kOwnWork = std::int64_t{1} << 18;
    page_bytes = std::min(kOwnPages + length * kPagesPerByte, page_bytes);
    made_up /= 2;
    reserve = unjustified ? 0 : kOwnWork + length * kWorkPerByte;
  }
  bool borrow(std::int64_t units) {
    constexpr std::int64_t kAtOnce = 64 * 1024;
    const std::int64_t ample = std::min(std::max(units, kAtOnce), lacking);
    if (shared == nullptr || units > lacking || !shared->take(ample))
      return false;
    lacking -= ample;
    work += ample;
    return true;
  }
  // A page that is larger than the data justify, at the price of making and reading it.
  bool borrow_page(std::int64_t size) {
    constexpr std::int64_t kLargest = std::int64_t{64} << 20;
    constexpr std::int64_t kBytesPerUnit = 32;  // as long as nothing is drawn, no memory is written
    if (shared == nullptr || size > kLargest || !shared->take((size - page_bytes) / kBytesPerUnit))
      return false;
    page_bytes = size;
    return true;
  }
};

}  // namespace sheaf::jb2
