// Headers of segments, their order, and what several types of segments need.
#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"

#include <cstring>

#include "sheaf/base/heap.h"

namespace sheaf::jb2 {
namespace {

constexpr std::uint32_t kUnknownLength = 0xFFFFFFFF;
constexpr std::size_t kRegionInfoBytes = 17;
constexpr std::size_t kRowCountBytes = 4;

constexpr std::uint8_t kFileId[] = {0x97, 'J', 'B', '2', '\r', '\n', 0x1A, '\n'};

// T.88, 7.2.2 to 7.2.7.
bool read_header(ByteReader& in, SegmentHeader& header) {
  constexpr unsigned kMostInShortForm = 4;
  constexpr unsigned kLongForm = 7;
  header = {};
  header.number = in.u32();
  header.flags = in.u8();
  const unsigned first = in.u8();
  header.referred_count = first >> 5;
  if (header.referred_count == kLongForm) {
    header.referred_count = (first & 31) << 24;
    header.referred_count |= std::uint32_t{in.u8()} << 16;
    header.referred_count |= in.u16();
    in.skip((header.referred_count + 8) / 8);  // one bit a segment and one for this: which to retain
  } else if (header.referred_count > kMostInShortForm) {
    return false;
  }
  header.referred_size = header.number <= 256 ? 1 : header.number <= 65536 ? 2 : 4;
  header.referred_at = in.cursor();
  in.skip(std::size_t{header.referred_count} * header.referred_size);
  constexpr unsigned kLargePage = 0x40;
  header.page = (header.flags & kLargePage) != 0 ? in.u32() : in.u8();
  header.length = in.u32();
  return !in.failed();
}

// The length of a generic region that did not know its own: to the end of the code and the row
// count behind it (7.2.7). 0 when the end cannot be found.
std::size_t find_length(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kFlagsAt = kRegionInfoBytes;
  if (size <= kFlagsAt)
    return 0;
  const unsigned flags = data[kFlagsAt];
  const bool is_mmr = (flags & 1) != 0;
  const std::size_t adaptive = is_mmr ? 0 : 2 * adaptive_count(flags >> 1 & 3, (flags & 0x10) != 0);
  const std::uint8_t end[2] = {static_cast<std::uint8_t>(is_mmr ? 0 : 0xFF),
                               static_cast<std::uint8_t>(is_mmr ? 0 : 0xAC)};
  for (std::size_t i = kFlagsAt + 1 + adaptive; i + sizeof end + kRowCountBytes <= size; ++i) {
    if (data[i] == end[0] && data[i + 1] == end[1])
      return i + sizeof end + kRowCountBytes;
  }
  return 0;
}

}  // namespace

SegmentWalk::SegmentWalk(const std::uint8_t* data, std::size_t size) : headers_(data, size), bodies_(data, size) {
  if (size < sizeof kFileId || std::memcmp(data, kFileId, sizeof kFileId) != 0)
    return;
  constexpr unsigned kSequential = 1;
  constexpr unsigned kUnknownPages = 2;
  headers_.skip(sizeof kFileId);
  const unsigned flags = headers_.u8();
  if ((flags & kUnknownPages) == 0)
    headers_.u32();
  random_access_ = (flags & kSequential) == 0;
  if (!random_access_)
    return;
  bodies_ = headers_;
  SegmentHeader header;
  while (read_header(bodies_, header)) {
    if (header.type() == kEndOfFile)
      return;
  }
}

bool SegmentWalk::next(SegmentHeader& header, SegmentBody& body) {
  if (!read_header(headers_, header) || (random_access_ && header.type() == kEndOfFile))
    return false;
  ByteReader& from = random_access_ ? bodies_ : headers_;
  body = {from.cursor(), std::min<std::size_t>(header.length, from.left()), false, false};
  const bool is_generic = header.type() == kImmediateGeneric || header.type() == kImmediateLosslessGeneric;
  if (header.length == kUnknownLength && is_generic) {
    const std::size_t length = find_length(from.cursor(), from.left());
    body.has_row_count = length != 0;
    body.size = length != 0 ? length : from.left();
  }
  body.is_cut = header.length != kUnknownLength && body.size < header.length;
  from.skip(body.size);
  return true;
}

RegionInfo read_region_info(ByteReader& in) {
  RegionInfo info = {};
  info.width = in.u32();
  info.height = in.u32();
  info.x = in.i32();
  info.y = in.i32();
  constexpr unsigned kColoured = 8;
  const unsigned flags = in.u8();
  const unsigned op = flags & 7;
  info.is_coloured = (flags & kColoured) != 0;
  info.op = op <= 4 ? static_cast<Combine>(op) : Combine::kOr;
  return info;
}

bool ContextBlock::make(std::uint64_t count) {
  if (count > INT32_MAX || !limits_.take(static_cast<std::int64_t>(count)))
    return false;
  size_ = static_cast<std::int64_t>(count);
  block_.reset(static_cast<std::uint8_t*>(QVCalloc(1, static_cast<std::size_t>(count))));
  return static_cast<bool>(block_);
}

void finish_region(Segment& segment, const RegionInfo& info, BitmapHold& region) {
  Limits& limits = segment.limits();
  const std::uint32_t type = segment.record.type();
  if (type == kIntermediateText || type == kIntermediateRefinement) {
    segment.record.result = region.release();
    return;
  }
  if (type == kIntermediateHalftone || type == kIntermediateGeneric) {
    segment.record.result = segment.decoder.keep(region.release());
    return;
  }
  QVJB2_Page* page = segment.decoder.page_of(segment.record.page);
  if (page == nullptr || info.is_coloured)
    return;
  const std::int64_t bottom = std::int64_t{info.y} + region->height;
  if (page->open_ended != 0 && bottom > page->bitmap->height && !grow_page(limits, *page, bottom))
    return;
  if (limits.spend(Limits::handling(std::int64_t{region->stride} * region->height)))
    bitmap_combine(*page->bitmap, *region, info.x, info.y, info.op);
}

QVJB2_Bitmap* page_for_region(Segment& segment, const RegionInfo& info) {
  const std::uint32_t type = segment.record.type();
  const QVJB2_Page* page = segment.decoder.page_of(segment.record.page);
  if (type == kIntermediateText || page == nullptr || page->open_ended != 0 || info.op != Combine::kOr ||
      info.is_coloured)
    return nullptr;
  const QVJB2_Bitmap& bitmap = *page->bitmap;
  const bool covers = info.x == 0 && info.y == 0 && info.width >= static_cast<std::uint32_t>(bitmap.width) &&
                      info.height >= static_cast<std::uint32_t>(bitmap.height);
  return covers ? page->bitmap : nullptr;
}

bool gather_symbols(Segment& segment, GrowArray<QVJB2_Bitmap*>& symbols) {
  for (std::uint32_t i = 0; i < segment.record.referred_count; ++i) {
    const QVJB2_Seg* referred = segment.decoder.find_segment(segment.record.referred[i]);
    if (referred == nullptr || referred->type() != kSymbolDictionary || referred->result == nullptr)
      continue;
    const auto& dictionary = *static_cast<const QVJB2_Symbols*>(referred->result);
    if (!segment.limits().take(dictionary.count * static_cast<std::int64_t>(sizeof(QVJB2_Bitmap*))))
      return false;
    for (std::int32_t k = 0; k < dictionary.count; ++k) {
      if (!symbols.push(dictionary.bitmaps[k]))
        return false;
    }
  }
  return true;
}

const HuffmanTable* TableChooser::next_custom() {
  const QVJB2_Seg& record = segment_.record;
  while (!failed_ && next_referred_ < record.referred_count && used_ < kMostCustom) {
    const QVJB2_Seg* referred = segment_.decoder.find_segment(record.referred[next_referred_++]);
    if (referred == nullptr || referred->type() != kTables || referred->result == nullptr)
      continue;
    const auto& table = *static_cast<const HuffmanRecord*>(referred->result);
    custom_[used_] = {table.lines, table.codes};
    return &custom_[used_++];
  }
  failed_ = true;
  return nullptr;
}

}  // namespace sheaf::jb2
