// Text regions. S runs along a strip and T across; transposed regions swap them.
#include "sheaf/neighbours/decoders/jbig2/jb2_text_region.h"

#include <bit>

namespace sheaf::jb2 {
namespace {

// Positions beyond this are damage: no region is as large, and sums stay far from overflow.
constexpr std::int64_t kMostPosition = std::int64_t{1} << 40;

bool is_position(std::int64_t value) {
  return value >= -kMostPosition && value <= kMostPosition;
}

class TextRegion {
public:
  TextRegion(const TextCoder& coder, const TextParams& params, Limits& limits, QVJB2_Bitmap& out)
      : coder_(coder), params_(params), tables_(params.tables), limits_(limits), out_(out) {}

  bool run() {
    strip_t_ = -value(tables_.delta_t, &TextStatistics::delta_t) * strip_size();
    if (!is_position(strip_t_))
      return false;
    while (done_ < params_.instances) {
      const std::int64_t delta = value(tables_.delta_t, &TextStatistics::delta_t);
      if (!is_position(delta))
        return false;
      strip_t_ += delta * strip_size();
      if (!is_position(strip_t_) || !draw_strip())
        return false;
    }
    return true;
  }

private:
  std::int64_t strip_size() const { return std::int64_t{1} << params_.strip_bits; }

  std::int64_t value(const HuffmanTable* table, IntegerDecoder TextStatistics::*integer) {
    const std::int64_t value =
        params_.huffman ? table->decode(*coder_.bits) : (coder_.statistics->*integer).decode(*coder_.arithmetic);
    return value == kOutOfBand || value == kDamaged ? kMostPosition * 2 : value;
  }

  bool is_exhausted() const { return params_.huffman && coder_.bits->failed(); }

  bool spend(std::int64_t units) {
    const bool is_made_up = !params_.huffman && coder_.arithmetic->is_over();
    return limits_.spend(units) && (!is_made_up || limits_.make_up(units));
  }

  // False for damage. The end of the strip is coded also behind the last instance.
  bool draw_strip() {
    const std::int64_t first = value(tables_.first_s, &TextStatistics::first_s);
    if (!is_position(first))
      return false;
    first_s_ += first;
    s_ = first_s_;
    while (is_position(s_) && done_ < params_.instances) {
      if (is_exhausted() || !spend(kInstanceWork) || !draw_instance())
        return false;
      ++done_;
      const std::int64_t delta = params_.huffman ? tables_.delta_s->decode(*coder_.bits)
                                                 : coder_.statistics->delta_s.decode(*coder_.arithmetic);
      if (delta == kOutOfBand)
        return true;
      if (delta == kDamaged)
        return false;
      s_ += delta + params_.s_offset;
    }
    return is_position(s_);
  }

  std::int64_t in_strip_t() {
    if (params_.strip_bits == 0)
      return 0;
    return params_.huffman ? coder_.bits->bits(params_.strip_bits)
                           : coder_.statistics->in_strip_t.decode(*coder_.arithmetic);
  }

  std::int64_t symbol_id() {
    if (!params_.huffman)
      return decode_id(*coder_.arithmetic, coder_.id_contexts, params_.id_bits);
    return tables_.id != nullptr ? tables_.id->decode(*coder_.bits) : coder_.bits->bits(params_.id_bits);
  }

  bool is_refined() {
    if (!params_.refines)
      return false;
    return params_.huffman ? coder_.bits->bits(1) != 0 : coder_.statistics->refines.decode(*coder_.arithmetic) == 1;
  }

  bool draw_instance() {
    const std::int64_t in_strip = in_strip_t();
    const std::int64_t t = strip_t_ + (is_position(in_strip) ? in_strip : 0);
    const std::int64_t id = symbol_id();
    if (!is_position(in_strip) || id < 0 || id >= params_.symbol_count || params_.symbols[id] == nullptr)
      return false;
    const QVJB2_Bitmap& symbol = *params_.symbols[id];
    if (!is_refined())
      return place(symbol, t);
    const BitmapHold refined(limits_, refined_symbol(symbol));
    return refined && place(*refined, t);
  }

  QVJB2_Bitmap* refined_symbol(const QVJB2_Bitmap& symbol) {
    const std::int64_t width = value(tables_.width, &TextStatistics::width);
    const std::int64_t height = value(tables_.height, &TextStatistics::height);
    const std::int64_t x = value(tables_.x, &TextStatistics::x);
    const std::int64_t y = value(tables_.y, &TextStatistics::y);
    const std::int64_t size = params_.huffman ? tables_.size->decode(*coder_.bits) : 0;
    if (!is_position(width) || !is_position(height) || !is_position(x) || !is_position(y))
      return nullptr;
    return refine_symbol(coder_, params_, symbol, symbol.width + width, symbol.height + height, (width >> 1) + x,
                         (height >> 1) + y, size, limits_);
  }

  // Where S passes over the symbol before it is placed and where behind, depends on the corner.
  bool place(const QVJB2_Bitmap& symbol, std::int64_t t) {
    const bool is_right = params_.corner == Corner::kBottomRight || params_.corner == Corner::kTopRight;
    const bool is_bottom = params_.corner == Corner::kBottomLeft || params_.corner == Corner::kBottomRight;
    const std::int64_t extent = (params_.transposed ? symbol.height : symbol.width) - 1;
    const bool passes_first = params_.transposed ? is_bottom : is_right;
    if (passes_first)
      s_ += extent;
    std::int64_t x = params_.transposed ? t : s_;
    std::int64_t y = params_.transposed ? s_ : t;
    x -= is_right ? symbol.width - 1 : 0;
    y -= is_bottom ? symbol.height - 1 : 0;
    if (!passes_first)
      s_ += extent;
    // By words: a row of a symbol costs about as much as a few pixels.
    if (!spend(symbol.height * (std::int64_t{1} + symbol.stride / 8)))
      return false;
    bitmap_combine(out_, symbol, x, y, params_.op);
    return true;
  }

  static constexpr std::int64_t kInstanceWork = 64;

  const TextCoder& coder_;
  const TextParams& params_;
  const TextHuffman& tables_;
  Limits& limits_;
  QVJB2_Bitmap& out_;
  std::int64_t strip_t_ = 0;
  std::int64_t first_s_ = 0;
  std::int64_t s_ = 0;
  std::uint32_t done_ = 0;
};

}  // namespace

bool decode_text(const TextCoder& coder, const TextParams& params, Limits& limits, QVJB2_Bitmap& out) {
  return TextRegion(coder, params, limits, out).run();
}

QVJB2_Bitmap* refine_symbol(const TextCoder& coder, const TextParams& params, const QVJB2_Bitmap& reference,
                            std::int64_t width, std::int64_t height, std::int64_t dx, std::int64_t dy,
                            std::int64_t size, Limits& limits) {
  if (dx < -kMostOffset || dx > kMostOffset || dy < -kMostOffset || dy > kMostOffset)
    return nullptr;
  BitmapHold refined(limits, bitmap_new(limits, width, height));
  if (!refined)
    return nullptr;
  const RefinementParams refinement = {params.refinement_template,    false,
                                       params.refinement_adaptive,    &reference,
                                       static_cast<std::int32_t>(dx), static_cast<std::int32_t>(dy)};
  if (!params.huffman) {
    const bool done = decode_refinement(*coder.arithmetic, coder.refinement_contexts, refinement, limits, *refined);
    return done ? refined.release() : nullptr;
  }
  coder.bits->align();
  if (size < 0 || static_cast<std::uint64_t>(size) > coder.bits->left())
    return nullptr;
  ArithmeticDecoder decoder(coder.bits->cursor(), static_cast<std::size_t>(size));
  const bool done = decode_refinement(decoder, coder.refinement_contexts, refinement, limits, *refined);
  coder.bits->skip_bytes(static_cast<std::size_t>(size));
  return done ? refined.release() : nullptr;
}

unsigned id_bits_for(std::uint64_t symbol_count) {
  return symbol_count <= 1 ? 0 : static_cast<unsigned>(std::bit_width(symbol_count - 1));
}

}  // namespace sheaf::jb2
