// Pages (T.88, 7.4.8 to 7.4.10). A page of unknown height grows with what is drawn on it, until the
// end of its last stripe settles where it ends.
#include <algorithm>

#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"

namespace sheaf::jb2 {

void decode_page_information(Segment& segment) {
  constexpr std::uint32_t kUnknownHeight = 0xFFFFFFFF;
  constexpr unsigned kDefaultBlack = 4;
  constexpr unsigned kMostStripe = 0x7FFF;
  Limits& limits = segment.limits();
  ByteReader in(segment.body.data, segment.body.size);
  const std::uint32_t width = in.u32();
  const std::uint32_t height = in.u32();
  in.skip(2 * sizeof(std::uint32_t));  // the resolution
  const bool is_black = (in.u8() & kDefaultBlack) != 0;
  if (in.failed())
    return;
  const bool is_open_ended = height == kUnknownHeight;
  const std::int64_t row_bytes = (std::int64_t{width} + 7) / 8;
  if (is_open_ended) {
    // Its regions come ahead of its rows: it is taken for a page of twice its width, or of one stripe.
    const std::int64_t rows = std::max<std::int64_t>(std::int64_t{width} * 2, in.u16() & kMostStripe);
    (void)!limits.allow_page(std::min(row_bytes * rows, limits.page_bytes / 2));
  } else if (!limits.allow_page(row_bytes * height)) {
    return;
  }
  BitmapHold bitmap(limits, bitmap_new(limits, width, is_open_ended ? 0 : height));
  // Unlike a white one it is written to its end.
  constexpr std::int64_t kBytesPerUnit = 8;
  if (is_black && !is_open_ended && !limits.spend(row_bytes * height / kBytesPerUnit))
    return;
  QVJB2_Page* page = bitmap ? segment.decoder.begin_page() : nullptr;
  if (page == nullptr)
    return;
  if (is_black)
    bitmap_blacken(*bitmap, 0);
  page->state = kPageBegun;
  page->number = segment.record.page;
  page->open_ended = is_open_ended ? 1 : 0;
  page->default_black = is_black ? 1 : 0;
  page->bitmap = bitmap.release();
}

void decode_end_of_stripe(Segment& segment) {
  ByteReader in(segment.body.data, segment.body.size);
  const std::int64_t end = std::int64_t{in.u32()} + 1;
  QVJB2_Page* page = segment.decoder.page_of(segment.record.page);
  if (!in.failed() && page != nullptr && end > page->stripes_end)
    page->stripes_end = end;
}

void decode_end_of_page(Segment& segment) {
  QVJB2_Page* page = segment.decoder.page_of(segment.record.page);
  if (page == nullptr)
    return;
  settle_page(segment.limits(), *page);
  page->state = kPageFinished;
}

void settle_page(Limits& limits, QVJB2_Page& page) {
  if (page.bitmap == nullptr || page.open_ended == 0 || page.stripes_end == 0)
    return;
  if (page.stripes_end <= page.bitmap->height)
    page.bitmap->height = static_cast<std::int32_t>(page.stripes_end);
  else
    (void)!grow_page(limits, page, page.stripes_end);  // a page that finds no memory stays short
}

bool grow_page(Limits& limits, QVJB2_Page& page, std::int64_t height) {
  const std::int64_t more = std::int64_t{page.bitmap->stride} * (height - page.bitmap->height);
  return limits.allow_page(more) && bitmap_grow(limits, page.bitmap, height, page.default_black != 0);
}

}  // namespace sheaf::jb2
