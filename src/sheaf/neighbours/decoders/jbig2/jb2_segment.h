// Segments (T.88, 7.2): their headers, the order in which they lie in the data, and what the
// decoders of the single types share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_bitmap.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_generic.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_huffman.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_input.h"

namespace sheaf::jb2 {

enum SegmentType : std::uint32_t {
  kSymbolDictionary = 0,
  kIntermediateText = 4,
  kImmediateText = 6,
  kImmediateLosslessText = 7,
  kPatternDictionary = 16,
  kIntermediateHalftone = 20,
  kImmediateHalftone = 22,
  kImmediateLosslessHalftone = 23,
  kIntermediateGeneric = 36,
  kImmediateGeneric = 38,
  kImmediateLosslessGeneric = 39,
  kIntermediateRefinement = 40,
  kImmediateRefinement = 42,
  kImmediateLosslessRefinement = 43,
  kPageInformation = 48,
  kEndOfPage = 49,
  kEndOfStripe = 50,
  kEndOfFile = 51,
  kTables = 53,
};

struct SegmentHeader {
  std::uint32_t number;
  std::uint32_t flags;
  std::uint32_t page;
  std::uint32_t length;
  std::uint32_t referred_count;
  unsigned referred_size;           ///< Bytes of each number.
  const std::uint8_t* referred_at;  ///< Borrowed from the data.
  std::uint32_t type() const { return flags & 63; }
};

/// A segment's data.
struct SegmentBody {
  const std::uint8_t* data;
  std::size_t size;
  bool has_row_count;  ///< The length was unknown, a row count is at the end.
  bool is_cut;         ///< Shorter than the header says.
};

/// Goes through the segments of an embedded stream or of a file, in the order of their data.
class SegmentWalk {
public:
  SegmentWalk(const std::uint8_t* data, std::size_t size);
  /// The next segment; false at the end or where no header can be read. Data that are cut off
  /// give a body that is shorter than declared.
  bool next(SegmentHeader& header, SegmentBody& body);

private:
  ByteReader headers_;
  ByteReader bodies_;
  bool random_access_ = false;  // all headers are in front of all bodies
};

/// What the decoder of a segment works on.
struct Segment {
  CQVJBIG2& decoder;
  QVJB2_Seg& record;
  SegmentBody body;
  Limits& limits() const { return decoder.limits; }
};

/// The common start of all regions (7.4.1).
struct RegionInfo {
  std::uint32_t width;
  std::uint32_t height;
  std::int32_t x;
  std::int32_t y;
  Combine op;
  bool is_coloured;  ///< Of the colour extension (T.88, Amendment 3), which no PDF can show.
};
RegionInfo read_region_info(ByteReader& in);

/// Adaptive pixels, `count` of them, into the front of `pixels`.
template <std::size_t N>
void read_adaptive(ByteReader& in, std::array<AdaptivePixel, N>& pixels, unsigned count) {
  for (unsigned i = 0; i < count && i < N; ++i) {
    const std::int8_t dx = in.i8();
    pixels[i] = {dx, in.i8()};
  }
}

/// Draws a finished region on its page, or stores it when the segment is an intermediate one.
void finish_region(Segment& segment, const RegionInfo& info, BitmapHold& region);

/// The page's own bitmap when black pixels drawn on it are the same as a white region drawn and then
/// combined: an immediate region by OR, as large as the page or larger. Else null.
QVJB2_Bitmap* page_for_region(Segment& segment, const RegionInfo& info);

/// A zeroed array of contexts, charged to the limits as long as it lives.
class ContextBlock {
public:
  explicit ContextBlock(Limits& limits) : limits_(limits) {}
  ContextBlock(Limits& limits, std::uint64_t count) : limits_(limits) { make(count); }
  ContextBlock(const ContextBlock&) = delete;
  ContextBlock& operator=(const ContextBlock&) = delete;
  ~ContextBlock() { limits_.give(size_); }
  /// False when `count` contexts are too many. Once only.
  bool make(std::uint64_t count);
  std::uint8_t* get() const { return block_.get(); }
  explicit operator bool() const { return static_cast<bool>(block_); }

private:
  Limits& limits_;
  HeapBlock<std::uint8_t> block_;
  std::int64_t size_ = 0;
};

// The decoders of the single types. Damage leaves `record.result` null, or draws less.
void decode_symbol_dictionary(Segment& segment);
void decode_text_segment(Segment& segment);
void decode_pattern_dictionary(Segment& segment);
void decode_halftone_segment(Segment& segment);
void decode_generic_segment(Segment& segment);
void decode_refinement_segment(Segment& segment);
void decode_tables(Segment& segment);
void decode_page_information(Segment& segment);
void decode_end_of_page(Segment& segment);
void decode_end_of_stripe(Segment& segment);

/// Gives a page of unknown height more rows. False, with nothing changed, when they are too many.
[[nodiscard]] bool grow_page(Limits& limits, QVJB2_Page& page, std::int64_t height);

/// Gives a page of unknown height the height that its stripes came to.
void settle_page(Limits& limits, QVJB2_Page& page);

/// The symbols of all dictionaries that the segment refers to, in their order. False when there is
/// no memory. Borrowed from the dictionaries.
bool gather_symbols(Segment& segment, GrowArray<QVJB2_Bitmap*>& symbols);

/// Hands out the Huffman tables that a segment's flags choose; custom ones come from the tables
/// segments that it refers to, each used once and in their order (7.4.2.1.6, 7.4.3.1.6).
class TableChooser {
public:
  explicit TableChooser(Segment& segment) : segment_(segment) {}
  /// A field of the flags: the standard table of that choice; 0 means reserved. The last choice is
  /// the custom table. Null, for good, when there is no such table.
  template <std::size_t N>
  const HuffmanTable* choose(unsigned choice, const int (&standard)[N]) {
    if (choice == N)
      return next_custom();
    if (choice < N && standard[choice] != 0)
      return &standard_table(standard[choice]);
    failed_ = true;
    return nullptr;
  }
  bool failed() const { return failed_; }

private:
  static constexpr std::size_t kMostCustom = 8;
  const HuffmanTable* next_custom();

  Segment& segment_;
  std::array<HuffmanTable, kMostCustom> custom_ = {};
  std::size_t used_ = 0;
  std::uint32_t next_referred_ = 0;
  bool failed_ = false;
};

}  // namespace sheaf::jb2
