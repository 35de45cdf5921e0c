// Segments of generic and of refinement regions (T.88, 7.4.6 and 7.4.7), and of Huffman tables
// (B.2).
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_refinement.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"

namespace sheaf::jb2 {
namespace {

// The bitmap of the intermediate region that the segment refers to, borrowed, or null.
const QVJB2_Bitmap* referred_region(Segment& segment) {
  for (std::uint32_t i = 0; i < segment.record.referred_count; ++i) {
    const QVJB2_Seg* referred = segment.decoder.find_segment(segment.record.referred[i]);
    if (referred == nullptr || referred->result == nullptr)
      continue;
    const std::uint32_t type = referred->type();
    if (type == kIntermediateText || type == kIntermediateHalftone || type == kIntermediateGeneric ||
        type == kIntermediateRefinement)
      return static_cast<const QVJB2_Bitmap*>(referred->result);
  }
  return nullptr;
}

// What the page shows where the region lies, or null without a page.
QVJB2_Bitmap* page_region(Segment& segment, const RegionInfo& info) {
  const QVJB2_Page* page = segment.decoder.page_of(segment.record.page);
  if (page == nullptr)
    return nullptr;
  return bitmap_cut(segment.limits(), *page->bitmap, info.x, info.y, info.width, info.height);
}

// The lines of a table: ranges of values from `low` on until `high`, then the two open ones, then
// perhaps none. False at the end of the data.
bool read_lines(BitReader& bits, unsigned flags, std::int64_t low, std::int64_t high, GrowArray<HuffmanLine>& lines) {
  const unsigned code_size = (flags >> 1 & 7) + 1;
  const unsigned range_size = (flags >> 4 & 7) + 1;
  const auto code_bits = [&] { return static_cast<std::uint8_t>(bits.bits(code_size)); };
  std::int64_t next = low;
  while (next < high) {
    const std::uint8_t code = code_bits();
    const std::uint32_t range = bits.bits(range_size);
    if (bits.failed() || range > kOpenRangeBits ||
        !lines.push({static_cast<std::int32_t>(next), code, static_cast<std::uint8_t>(range), LineKind::kRange}))
      return false;
    next += std::int64_t{1} << range;
  }
  // Intended wrap-around: below the least number there is nothing that a line could stand for.
  const auto below = static_cast<std::int32_t>(static_cast<std::uint32_t>(low) - 1);
  const HuffmanLine open[] = {{below, code_bits(), kOpenRangeBits, LineKind::kBelow},
                              {static_cast<std::int32_t>(high), code_bits(), kOpenRangeBits, LineKind::kRange}};
  if (!lines.push(open[0]) || !lines.push(open[1]))
    return false;
  const bool has_out_of_band = (flags & 1) != 0;
  return (!has_out_of_band || lines.push({0, code_bits(), 0, LineKind::kNoValue})) && !bits.failed();
}

}  // namespace

void decode_generic_segment(Segment& segment) {
  Limits& limits = segment.limits();
  constexpr std::size_t kEndBytes = 2;  // behind a region of unknown length: the end's mark and the row count
  constexpr std::size_t kRowCountBytes = 4;
  const SegmentBody& body = segment.body;
  std::size_t size = body.size;
  ByteReader in(body.data, size);
  RegionInfo info = read_region_info(in);
  if (body.has_row_count) {
    size -= kRowCountBytes;
    const std::uint32_t rows = ByteReader(body.data + size, kRowCountBytes).u32();
    info.height = std::min(info.height, rows);
    size -= kEndBytes;
  }
  const unsigned flags = in.u8();
  const bool is_mmr = (flags & 1) != 0;
  GenericParams params = {};
  params.pixels_template = flags >> 1 & 3;
  params.typical = (flags & 8) != 0;
  params.extended = (flags & 0x10) != 0 && params.pixels_template == 0;
  if (!is_mmr)
    read_adaptive(in, params.adaptive, adaptive_count(params.pixels_template, params.extended));
  BitmapHold region(limits, bitmap_new(limits, info.width, info.height));
  if (in.failed() || !region)
    return;
  const std::size_t coded = in.left() - (body.size - size);
  if (is_mmr) {
    std::size_t taken;
    decode_mmr(in.cursor(), coded, limits, *region, taken);
  } else {
    const ContextBlock contexts(limits, generic_contexts(params.pixels_template));
    if (!contexts)
      return;
    ArithmeticDecoder decoder(in.cursor(), coded);
    decode_generic(decoder, contexts.get(), params, limits, *region);
  }
  finish_region(segment, info, region);
}

void decode_refinement_segment(Segment& segment) {
  Limits& limits = segment.limits();
  ByteReader in(segment.body.data, segment.body.size);
  const RegionInfo info = read_region_info(in);
  const unsigned flags = in.u8();
  RefinementParams params = {};
  params.pixels_template = flags & 1;
  params.typical = (flags & 2) != 0;
  if (params.pixels_template == 0)
    read_adaptive(in, params.adaptive, 2);
  params.reference = referred_region(segment);
  BitmapHold of_page(limits);
  if (params.reference == nullptr && segment.record.referred_count == 0) {
    of_page.reset(page_region(segment, info));
    params.reference = of_page.get();
  }
  BitmapHold region(limits, bitmap_new(limits, info.width, info.height));
  const ContextBlock contexts(limits, refinement_contexts(params.pixels_template));
  if (in.failed() || params.reference == nullptr || !region || !contexts)
    return;
  ArithmeticDecoder decoder(in.cursor(), in.left());
  decode_refinement(decoder, contexts.get(), params, limits, *region);
  finish_region(segment, info, region);
}

void decode_tables(Segment& segment) {
  ByteReader in(segment.body.data, segment.body.size);
  const unsigned flags = in.u8();
  const std::int32_t low = in.i32();
  const std::int32_t high = in.i32();
  BitReader bits(in.cursor(), in.left());
  GrowArray<HuffmanLine> lines;
  if (in.failed() || !read_lines(bits, flags, low, high, lines) ||
      !segment.limits().take(static_cast<std::int64_t>(lines.size() * sizeof(HuffmanLine) + sizeof(HuffmanRecord))))
    return;
  auto* record = static_cast<HuffmanRecord*>(segment.decoder.keep(QVCalloc(1, sizeof(HuffmanRecord))));
  if (record == nullptr)
    return;
  HeapBlock<HuffmanLine> sorted(static_cast<HuffmanLine*>(QVCalloc(lines.size(), sizeof(HuffmanLine))));
  const auto count = static_cast<std::uint32_t>(lines.size());
  if (!sorted || !build_codes(lines.begin(), count, sorted.get(), record->codes))
    return;
  record->count = count;
  record->lines = sorted.release();
  segment.record.result = record;
}

}  // namespace sheaf::jb2
