// Pattern dictionaries and halftone regions (T.88, 6.6, 6.7, Annex C): a grid of grey values, coded
// as bit planes, each drawn as its pattern.
#include <bit>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_segment.h"

namespace sheaf::jb2 {
namespace {

// Patterns side by side. Lives as long as the decoder.
struct Patterns {
  QVJB2_Bitmap* bitmap;
  std::uint32_t count;
  std::int32_t width;
  std::int32_t height;
};

constexpr unsigned kMostPlanes = 32;

// The templates of patterns and grey values are at the nominal places but for the first pixel.
GenericParams plain_params(unsigned pixels_template, AdaptivePixel first) {
  GenericParams params = {};
  params.pixels_template = pixels_template;
  params.adaptive[0] = first;
  params.adaptive[1] = {-3, -1};
  params.adaptive[2] = {2, -2};
  params.adaptive[3] = {-2, -2};
  return params;
}

// Grey values of the cells of a grid.
class GreyPlanes {
public:
  explicit GreyPlanes(Limits& limits) : limits_(limits) {}
  ~GreyPlanes() {
    for (unsigned i = 0; i < count_; ++i)
      BitmapHold(limits_, planes_[i]);
  }
  GreyPlanes(const GreyPlanes&) = delete;
  GreyPlanes& operator=(const GreyPlanes&) = delete;

  bool add(QVJB2_Bitmap* plane) {
    if (plane != nullptr)
      planes_[count_++] = plane;
    return plane != nullptr;
  }
  unsigned count() const { return count_; }
  QVJB2_Bitmap& last() { return *planes_[count_ - 1]; }
  // Planes come in Gray code, the highest bit first: each is the difference from the one before.
  void undo_gray_code() {
    if (count_ > 1)
      bitmap_combine(last(), *planes_[count_ - 2], 0, 0, Combine::kXor);
  }
  std::uint32_t value(std::int32_t x, std::int32_t y) const {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < count_; ++i)
      value = value << 1 | bitmap_pixel(*planes_[i], x, y);
    return value;
  }

private:
  Limits& limits_;
  QVJB2_Bitmap* planes_[kMostPlanes] = {};
  unsigned count_ = 0;
};

class HalftoneSegment {
public:
  explicit HalftoneSegment(Segment& segment)
      : segment_(segment), limits_(segment.limits()), in_(segment.body.data, segment.body.size) {}

  void run() {
    const RegionInfo info = read_region_info(in_);
    read_grid();
    patterns_ = find_patterns();
    if (in_.failed() || patterns_ == nullptr)
      return;
    BitmapHold region(limits_, bitmap_new(limits_, info.width, info.height));
    if (!region)
      return;
    if (is_black_)
      bitmap_blacken(*region, 0);
    GreyPlanes planes(limits_);
    if (decode_planes(*region, planes))
      draw(*region, planes);
    finish_region(segment_, info, region);
  }

private:
  void read_grid() {
    const unsigned flags = in_.u8();
    is_mmr_ = (flags & 1) != 0;
    template_ = flags >> 1 & 3;
    skips_ = (flags & 8) != 0;
    const unsigned op = flags >> 4 & 7;
    op_ = op <= 4 ? static_cast<Combine>(op) : Combine::kOr;
    is_black_ = (flags & 0x80) != 0;
    width_ = in_.u32();
    height_ = in_.u32();
    x_ = in_.i32();
    y_ = in_.i32();
    step_x_ = in_.u16();
    step_y_ = in_.u16();
  }

  const Patterns* find_patterns() {
    for (std::uint32_t i = 0; i < segment_.record.referred_count; ++i) {
      const QVJB2_Seg* referred = segment_.decoder.find_segment(segment_.record.referred[i]);
      if (referred != nullptr && referred->type() == kPatternDictionary && referred->result != nullptr)
        return static_cast<const Patterns*>(referred->result);
    }
    return nullptr;
  }

  // The corner of a cell's pattern (6.6.5.2).
  std::int64_t cell_x(std::int64_t column, std::int64_t row) const {
    return (x_ + row * step_y_ + column * step_x_) >> 8;
  }
  std::int64_t cell_y(std::int64_t column, std::int64_t row) const {
    return (y_ + row * step_x_ - column * step_y_) >> 8;
  }

  bool is_outside(const QVJB2_Bitmap& region, std::int64_t x, std::int64_t y) const {
    return x + patterns_->width <= 0 || x >= region.width || y + patterns_->height <= 0 || y >= region.height;
  }

  // The cells that do not reach the region and are not coded (6.6.5.1). Null when it is too large.
  QVJB2_Bitmap* skip_mask(const QVJB2_Bitmap& region) {
    QVJB2_Bitmap* mask = bitmap_new(limits_, width_, height_);
    if (mask == nullptr || !limits_.spend(std::int64_t{mask->width} * mask->height))
      return mask;
    for (std::int32_t row = 0; row < mask->height; ++row) {
      std::uint8_t* bits = bitmap_row(*mask, row);
      for (std::int32_t column = 0; column < mask->width; ++column) {
        if (is_outside(region, cell_x(column, row), cell_y(column, row)))
          bits[column / 8] = static_cast<std::uint8_t>(bits[column / 8] | 0x80 >> column % 8);
      }
    }
    return mask;
  }

  bool decode_planes(const QVJB2_Bitmap& region, GreyPlanes& planes) {
    const BitmapHold skip(limits_, skips_ ? skip_mask(region) : nullptr);
    const ContextBlock contexts(limits_, is_mmr_ ? 0 : generic_contexts(template_));
    if (!contexts || (skips_ && !skip))
      return false;
    GenericParams params = plain_params(template_, {static_cast<std::int8_t>(template_ <= 1 ? 3 : 2), -1});
    params.skip = skip.get();
    ArithmeticDecoder arithmetic(in_.cursor(), in_.left());
    const auto count = static_cast<unsigned>(std::bit_width(patterns_->count - 1));
    for (unsigned i = 0; i < count; ++i) {
      if (!planes.add(bitmap_new(limits_, width_, height_)))
        return false;
      std::size_t taken = 0;
      const bool done = is_mmr_ ? decode_mmr(in_.cursor(), in_.left(), limits_, planes.last(), taken)
                                : decode_generic(arithmetic, contexts.get(), params, limits_, planes.last());
      if (!done)
        return false;
      in_.skip(taken);
      planes.undo_gray_code();
    }
    return true;
  }

  void draw(QVJB2_Bitmap& region, const GreyPlanes& planes) {
    // With a single pattern there are no planes that could have bounded the grid.
    constexpr std::int32_t kWordBits = 32;
    constexpr std::int64_t kEachCell = 8;
    const std::int64_t pattern_words = std::int64_t{patterns_->height} * (1 + patterns_->width / kWordBits);
    const std::int64_t cell_work = kEachCell + std::int64_t{planes.count()} + pattern_words;
    for (std::int64_t row = 0; row < height_; ++row) {
      for (std::int64_t column = 0; column < width_; ++column) {
        if (!limits_.spend(cell_work))
          return;
        const std::int64_t x = cell_x(column, row);
        const std::int64_t y = cell_y(column, row);
        if (is_outside(region, x, y))
          continue;
        const std::uint32_t value = planes.value(static_cast<std::int32_t>(column), static_cast<std::int32_t>(row));
        const std::uint32_t pattern = std::min(value, patterns_->count - 1);
        bitmap_combine_columns(region, *patterns_->bitmap, static_cast<std::int32_t>(pattern) * patterns_->width,
                               patterns_->width, x, y, op_);
      }
    }
  }

  Segment& segment_;
  Limits& limits_;
  ByteReader in_;
  const Patterns* patterns_ = nullptr;
  bool is_mmr_ = false;
  unsigned template_ = 0;
  bool skips_ = false;
  Combine op_ = Combine::kOr;
  bool is_black_ = false;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  std::int64_t x_ = 0;  // of the grid's corner, in 256ths of a pixel, like the steps
  std::int64_t y_ = 0;
  std::int64_t step_x_ = 0;
  std::int64_t step_y_ = 0;
};

}  // namespace

void decode_pattern_dictionary(Segment& segment) {
  Limits& limits = segment.limits();
  ByteReader in(segment.body.data, segment.body.size);
  const unsigned flags = in.u8();
  const unsigned width = in.u8();
  const unsigned height = in.u8();
  const std::uint64_t count = std::uint64_t{in.u32()} + 1;
  const unsigned pixels_template = flags >> 1 & 3;
  const std::uint64_t total_width = count * width;
  if (in.failed() || width == 0 || height == 0 || total_width > INT32_MAX)
    return;
  BitmapHold bitmap(limits, bitmap_new(limits, static_cast<std::int64_t>(total_width), height));
  const ContextBlock contexts(limits, generic_contexts(pixels_template));
  if (!bitmap || !contexts)
    return;
  std::size_t taken;
  if ((flags & 1) != 0) {
    if (!decode_mmr(in.cursor(), in.left(), limits, *bitmap, taken))
      return;
  } else {
    ArithmeticDecoder decoder(in.cursor(), in.left());
    const GenericParams params = plain_params(pixels_template, {static_cast<std::int8_t>(-static_cast<int>(width)), 0});
    if (!decode_generic(decoder, contexts.get(), params, limits, *bitmap))
      return;
  }
  auto* patterns = static_cast<Patterns*>(segment.decoder.keep(QVCalloc(1, sizeof(Patterns))));
  if (patterns == nullptr)
    return;
  *patterns = {static_cast<QVJB2_Bitmap*>(segment.decoder.keep(bitmap.release())), static_cast<std::uint32_t>(count),
               static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
  segment.record.result = patterns->bitmap != nullptr ? patterns : nullptr;
}

void decode_halftone_segment(Segment& segment) {
  HalftoneSegment(segment).run();
}

}  // namespace sheaf::jb2
