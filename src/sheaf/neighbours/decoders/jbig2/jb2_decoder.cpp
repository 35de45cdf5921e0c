// The decoder: segments in their order, each to the decoder of its type, and what they leave.
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/decoders/jbig2.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"

using namespace sheaf;

namespace {

using namespace jb2;

constexpr std::int32_t kFirstPages = 4;
constexpr std::int32_t kFirstSegments = 16;

void decode_segment(Segment& segment) {
  switch (static_cast<SegmentType>(segment.record.type())) {
    case kSymbolDictionary:
      return decode_symbol_dictionary(segment);
    case kIntermediateText:
    case kImmediateText:
    case kImmediateLosslessText:
      return decode_text_segment(segment);
    case kPatternDictionary:
      return decode_pattern_dictionary(segment);
    case kIntermediateHalftone:
    case kImmediateHalftone:
    case kImmediateLosslessHalftone:
      return decode_halftone_segment(segment);
    case kIntermediateGeneric:
    case kImmediateGeneric:
    case kImmediateLosslessGeneric:
      return decode_generic_segment(segment);
    case kIntermediateRefinement:
    case kImmediateRefinement:
    case kImmediateLosslessRefinement:
      return decode_refinement_segment(segment);
    case kPageInformation:
      return decode_page_information(segment);
    case kEndOfPage:
      return decode_end_of_page(segment);
    case kEndOfStripe:
      return decode_end_of_stripe(segment);
    case kTables:
      return decode_tables(segment);
    case kEndOfFile:
      return;
  }
  // Profiles, extensions, and types to come: nothing that is drawn.
}

// `block` with room for `capacity` elements, new ones zeroed; null, with nothing changed, on failure.
template <class T>
T* grown(T* block, std::int32_t count, std::int32_t capacity) {
  auto* larger = static_cast<T*>(QVRealloc(block, static_cast<std::size_t>(capacity) * sizeof(T)));
  if (larger != nullptr)
    std::memset(larger + count, 0, static_cast<std::size_t>(capacity - count) * sizeof(T));
  return larger;
}

// The numbers of the segments referred to, or null.
std::uint32_t* read_referred(const SegmentHeader& header) {
  auto* numbers = static_cast<std::uint32_t*>(QVCalloc(header.referred_count, sizeof(std::uint32_t)));
  const std::size_t size = std::size_t{header.referred_count} * header.referred_size;
  ByteReader in(header.referred_at, size);
  for (std::uint32_t i = 0; i < header.referred_count && numbers != nullptr; ++i)
    numbers[i] = header.referred_size == 1 ? in.u8() : header.referred_size == 2 ? in.u16() : in.u32();
  return numbers;
}

// The record of a new segment at the end of the list, or null.
QVJB2_Seg* new_record(CQVJBIG2& decoder, const SegmentHeader& header) {
  if (decoder.segment_count == decoder.segment_cap) {
    const std::int32_t capacity = decoder.segment_cap == 0 ? kFirstSegments : decoder.segment_cap * 2;
    QVJB2_Seg* segments = grown(decoder.segments, decoder.segment_count, capacity);
    if (segments == nullptr)
      return nullptr;
    decoder.segments = segments;
    decoder.segment_cap = capacity;
  }
  QVJB2_Seg& record = decoder.segments[decoder.segment_count];
  record = {};
  record.flags = header.flags;
  record.number = header.number;
  record.page = header.page;
  if (header.referred_count > 0) {
    record.referred = read_referred(header);
    if (record.referred == nullptr)
      return nullptr;
    record.referred_count = header.referred_count;
  }
  ++decoder.segment_count;
  return &record;
}

void release_symbols(const QVJB2_Symbols& symbols) {
  for (std::int32_t i = 0; i < symbols.count; ++i)
    bitmap_release(symbols.bitmaps[i]);
}

}  // namespace

void QVJB2_Seg::release() {
  QVFree(referred);
  referred = nullptr;
  referred_count = 0;
  if (result == nullptr)
    return;
  switch (type()) {
    case kSymbolDictionary:
      release_symbols(*static_cast<QVJB2_Symbols*>(result));
      QVFree(result);
      break;
    case kIntermediateText:
    case kIntermediateRefinement:
      QVFree(result);
      break;
    case kTables: {
      auto* table = static_cast<HuffmanRecord*>(result);
      QVFree(table->lines);
      table->lines = nullptr;
      break;
    }
    default:
      break;
  }
  result = nullptr;
}

bool CQVJBIG2::init() {
  if (pages != nullptr)
    return true;
  pages = static_cast<QVJB2_Page*>(QVCalloc(kFirstPages, sizeof(QVJB2_Page)));
  page_cap = pages != nullptr ? kFirstPages : 0;
  return pages != nullptr;
}

int CQVJBIG2::dec_data(unsigned char* data, int len) {
  if (data == nullptr || len < 1 || pages == nullptr)
    return 0;
  limits.allow_data(len);
  SegmentWalk walk(data, static_cast<std::size_t>(len));
  SegmentHeader header;
  SegmentBody body;
  while (walk.next(header, body)) {
    QVJB2_Seg* record = new_record(*this, header);
    if (record == nullptr)
      break;
    is_cut = is_cut || body.is_cut;
    limits.begin_segment(static_cast<std::int64_t>(body.size));
    Segment segment = {*this, *record, body};
    decode_segment(segment);
  }
  limits.begin_segment(len);
  for (std::int32_t i = 0; i <= page_last; ++i) {
    settle_page(limits, pages[i]);
    if (pages[i].bitmap != nullptr)
      bitmap_fill_padding(*pages[i].bitmap);
  }
  return pages[page_last].bitmap != nullptr ? 1 : 0;
}

void CQVJBIG2::clear() {
  for (std::int32_t i = 0; i < segment_count; ++i)
    segments[i].release();
  QVFree(segments);
  segments = nullptr;
  segment_count = segment_cap = 0;
  // A page's bitmap goes whatever its count says: all other holders have given theirs back by now.
  for (std::int32_t i = 0; i <= page_last && pages != nullptr; ++i)
    QVFree(pages[i].bitmap);
  QVFree(pages);
  pages = nullptr;
  page_last = page_cap = 0;
  page_flag = 0;
  parent = nullptr;
  for (void* block : kept)
    QVFree(block);
  kept.reset();
}

const QVJB2_Seg* CQVJBIG2::find_segment(std::uint32_t number) {
  const CQVJBIG2* places[] = {this, parent};
  for (const CQVJBIG2* place : places) {
    if (place == nullptr)
      continue;
    for (std::int32_t i = place->segment_count - 1; i >= 0 && limits.spend(1); --i) {
      if (place->segments[i].number == number)
        return &place->segments[i];
    }
  }
  return nullptr;
}

void* CQVJBIG2::keep(void* block) {
  if (block == nullptr || kept.push(block))
    return block;
  QVFree(block);
  return nullptr;
}

QVJB2_Page* CQVJBIG2::page_of(std::uint32_t number) {
  for (std::int32_t i = page_last; i >= 0; --i) {
    if (pages[i].bitmap != nullptr && pages[i].number == number)
      return &pages[i];
  }
  return pages[page_last].bitmap != nullptr ? &pages[page_last] : nullptr;
}

QVJB2_Page* CQVJBIG2::begin_page() {
  if (pages[page_last].bitmap == nullptr)
    return &pages[page_last];
  if (page_last + 1 == page_cap) {
    QVJB2_Page* more = grown(pages, page_cap, page_cap * 2);
    if (more == nullptr)
      return nullptr;
    pages = more;
    page_cap *= 2;
  }
  return &pages[++page_last];
}
