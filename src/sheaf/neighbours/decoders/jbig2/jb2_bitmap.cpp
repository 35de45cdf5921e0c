// Bitmaps and their combination. A word of the destination starts at a byte; the source's bits are
// shifted to meet it, so that every offset costs the same.
#include "sheaf/neighbours/decoders/jbig2/jb2_bitmap.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_words.h"

namespace sheaf::jb2 {
namespace {

constexpr unsigned kWordBits = 64;
constexpr std::int64_t kMostBytes = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kMostExtent = 1 << 30;  // eight times a row's bytes still fit 32 bits

// 64 bits from any bit of a row on; up to nine bytes are touched.
std::uint64_t load_bits(const std::uint8_t* row, std::size_t bit) {
  const std::uint8_t* bytes = row + bit / 8;
  const unsigned shift = bit % 8;
  if (shift == 0)
    return load_word(bytes);
  return load_word(bytes) << shift | static_cast<std::uint64_t>(bytes[8] >> (8 - shift));
}

template <Combine kOp>
std::uint64_t combined(std::uint64_t dst, std::uint64_t src) {
  switch (kOp) {
    case Combine::kOr:
      return dst | src;
    case Combine::kAnd:
      return dst & src;
    case Combine::kXor:
      return dst ^ src;
    case Combine::kXnor:
      return ~(dst ^ src);
    case Combine::kReplace:
      return src;
  }
  return dst;
}

struct Overlap {
  const std::uint8_t* src;
  std::uint8_t* dst;
  std::ptrdiff_t src_stride;
  std::ptrdiff_t dst_stride;
  std::size_t src_bit;  // first bit within a row
  std::size_t dst_bit;
  std::size_t width;
  std::size_t height;
};

template <Combine kOp>
void combine_row(const Overlap& o, const std::uint8_t* src, std::uint8_t* dst) {
  std::size_t from = o.src_bit;
  std::size_t left = o.width;
  unsigned skip = o.dst_bit % 8;  // bits of the first word in front of the overlap
  for (dst += o.dst_bit / 8; left > 0; dst += 8, skip = 0) {
    const std::size_t count = std::min<std::size_t>(kWordBits - skip, left);
    std::uint64_t mask = ~std::uint64_t{0} >> skip;
    const auto behind = static_cast<unsigned>(kWordBits - skip - count);
    mask = mask >> behind << behind;
    const std::uint64_t old = load_word(dst);
    store_word(dst, (old & ~mask) | (combined<kOp>(old, load_bits(src, from) >> skip) & mask));
    from += count;
    left -= count;
  }
}

template <Combine kOp>
void combine_rows(const Overlap& o) {
  const std::uint8_t* src = o.src;
  std::uint8_t* dst = o.dst;
  for (std::size_t y = 0; y < o.height; ++y, src += o.src_stride, dst += o.dst_stride)
    combine_row<kOp>(o, src, dst);
}

constexpr std::int64_t stride_of(std::int64_t width) {
  return (width + 7) / 8;
}

constexpr std::int64_t block_size(std::int64_t stride, std::int64_t height) {
  return static_cast<std::int64_t>(sizeof(QVJB2_Bitmap)) + stride * height + kBitmapSlack;
}

std::uint8_t* data_after(QVJB2_Bitmap* bitmap) {
  return reinterpret_cast<std::uint8_t*>(bitmap + 1);
}

// The bits of a row's last byte that are behind the last pixel.
std::uint8_t padding_of(const QVJB2_Bitmap& bitmap) {
  return static_cast<std::uint8_t>((1u << (bitmap.stride * std::int64_t{8} - bitmap.width)) - 1);
}

}  // namespace

std::int64_t bitmap_cost(const QVJB2_Bitmap& bitmap) {
  return block_size(bitmap.stride, bitmap.room);
}

QVJB2_Bitmap* bitmap_new(Limits& limits, std::int64_t width, std::int64_t height) {
  if (width < 0 || height < 0 || width > kMostExtent || height > kMostExtent)
    return nullptr;
  const std::int64_t size = block_size(stride_of(width), height);  // no overflow: both fit 32 bits
  if (size > kMostBytes || !limits.take_bitmap(size))
    return nullptr;
  auto* bitmap = static_cast<QVJB2_Bitmap*>(QVCalloc(1, static_cast<std::size_t>(size)));
  if (bitmap == nullptr) {
    limits.give(size);
    return nullptr;
  }
  bitmap->refs = 1;
  bitmap->width = static_cast<std::int32_t>(width);
  bitmap->stride = static_cast<std::int32_t>(stride_of(width));
  bitmap->height = bitmap->room = static_cast<std::int32_t>(height);
  bitmap->data = data_after(bitmap);
  return bitmap;
}

void bitmap_release(QVJB2_Bitmap* bitmap) {
  if (bitmap != nullptr && --bitmap->refs <= 0)
    QVFree(bitmap);
}

bool bitmap_grow(Limits& limits, QVJB2_Bitmap*& bitmap, std::int64_t height, bool black) {
  const std::int64_t stride = bitmap->stride;
  if (height < 0 || height > kMostExtent || block_size(stride, height) > kMostBytes)
    return false;
  if (height > bitmap->room) {
    // By half at least: a page of many low stripes must not be copied at each of them.
    const std::int64_t ample = bitmap->room + bitmap->room / 2;
    const std::int64_t room = ample > height && block_size(stride, ample) <= kMostBytes ? ample : height;
    const std::int64_t more = stride * (room - bitmap->room);
    if (!limits.take_bitmap(more))
      return false;
    auto* grown = static_cast<QVJB2_Bitmap*>(QVRealloc(bitmap, static_cast<std::size_t>(block_size(stride, room))));
    if (grown == nullptr) {
      limits.give(more);
      return false;
    }
    bitmap = grown;
    bitmap->data = data_after(bitmap);
    bitmap->room = static_cast<std::int32_t>(room);
  }
  const std::int32_t before = bitmap->height;
  bitmap->height = static_cast<std::int32_t>(height);
  if (height <= before)
    return true;
  std::memset(bitmap_row(*bitmap, before), 0, static_cast<std::size_t>(stride * (height - before)));
  if (black)
    bitmap_blacken(*bitmap, before);
  return true;
}

void bitmap_blacken(QVJB2_Bitmap& bitmap, std::int32_t first_row) {
  const std::int64_t rows = bitmap.height - first_row;
  std::memset(bitmap_row(bitmap, first_row), 0xFF, static_cast<std::size_t>(bitmap.stride * rows));
  bitmap_clear_padding(bitmap);
}

void bitmap_clear_padding(const QVJB2_Bitmap& bitmap) {
  const std::uint8_t padding = padding_of(bitmap);
  for (std::int32_t y = 0; y < bitmap.height && padding != 0; ++y)
    bitmap_row(bitmap, y)[bitmap.stride - 1] &= static_cast<std::uint8_t>(~padding);
}

void bitmap_fill_padding(const QVJB2_Bitmap& bitmap) {
  const std::uint8_t padding = padding_of(bitmap);
  for (std::int32_t y = 0; y < bitmap.height && padding != 0; ++y)
    bitmap_row(bitmap, y)[bitmap.stride - 1] |= padding;
}

void bitmap_combine(QVJB2_Bitmap& dst, const QVJB2_Bitmap& src, std::int64_t x, std::int64_t y, Combine op) {
  bitmap_combine_columns(dst, src, 0, src.width, x, y, op);
}

void bitmap_combine_columns(QVJB2_Bitmap& dst, const QVJB2_Bitmap& src, std::int32_t column, std::int32_t width,
                            std::int64_t x, std::int64_t y, Combine op) {
  const std::int64_t left = std::max<std::int64_t>(x, 0);
  const std::int64_t top = std::max<std::int64_t>(y, 0);
  const std::int64_t right = std::min<std::int64_t>(x + width, dst.width);
  const std::int64_t bottom = std::min<std::int64_t>(y + src.height, dst.height);
  if (left >= right || top >= bottom)
    return;
  const Overlap o = {bitmap_row(src, static_cast<std::int32_t>(top - y)),
                     bitmap_row(dst, static_cast<std::int32_t>(top)),
                     src.stride,
                     dst.stride,
                     static_cast<std::size_t>(left - x + column),
                     static_cast<std::size_t>(left),
                     static_cast<std::size_t>(right - left),
                     static_cast<std::size_t>(bottom - top)};
  switch (op) {
    case Combine::kOr:
      return combine_rows<Combine::kOr>(o);
    case Combine::kAnd:
      return combine_rows<Combine::kAnd>(o);
    case Combine::kXor:
      return combine_rows<Combine::kXor>(o);
    case Combine::kXnor:
      return combine_rows<Combine::kXnor>(o);
    case Combine::kReplace:
      return combine_rows<Combine::kReplace>(o);
  }
}

QVJB2_Bitmap* bitmap_cut(Limits& limits, const QVJB2_Bitmap& src, std::int64_t x, std::int64_t y, std::int64_t width,
                         std::int64_t height) {
  QVJB2_Bitmap* cut = bitmap_new(limits, width, height);
  if (cut != nullptr)
    bitmap_combine(*cut, src, -x, -y, Combine::kReplace);
  return cut;
}

}  // namespace sheaf::jb2
