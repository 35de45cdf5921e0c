// Generic regions. A context is cut from windows of the two rows above and of the present row,
// which move along by shifting. Where all around is white and white is expected, whole runs of
// pixels cost one division. Adaptive pixels away from their nominal places are fetched singly.
#include "sheaf/neighbours/decoders/jbig2/jb2_generic.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "sheaf/filters/ccitt.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_words.h"

namespace sheaf::jb2 {
namespace {

// The pixels of a template, from `left` of the pixel being decoded to `right` of it, and the place
// of the window's last pixel in the context (T.88, Figures 3 to 6 and 8 to 11).
struct Window {
  int left;
  int right;
  unsigned shift;
  constexpr unsigned mask() const { return (1u << (left + right + 1)) - 1; }
};

struct Shape {
  Window two_up;
  Window one_up;
  unsigned before;  // pixels of the present row
  unsigned typical_context;
};

constexpr Shape kShapes[] = {
    {{2, 2, 11}, {3, 3, 4}, 4, 0x9B25},
    {{1, 2, 9}, {2, 3, 3}, 3, 0x0795},
    {{1, 1, 7}, {2, 2, 2}, 2, 0x00E5},
    {{-1, 0, 10}, {3, 2, 4}, 4, 0x0195},
};

// The nominal places of the adaptive pixels.
constexpr std::array<std::array<AdaptivePixel, 4>, 4> kNominal = {{
    {{{3, -1}, {-3, -1}, {2, -2}, {-2, -2}}},
    {{{3, -1}}},
    {{{2, -1}}},
    {{{2, -1}}},
}};
constexpr std::array<AdaptivePixel, kMostAdaptive> kNominalExtended = {
    {{-2, 0}, {0, -2}, {-2, -1}, {-1, -2}, {1, -2}, {2, -1}, {-3, 0}, {-4, 0}, {2, -2}, {3, -1}, {-2, -2}, {-3, -1}}};

constexpr unsigned context_bit(const Shape& shape, AdaptivePixel place) {
  if (place.dy == 0)
    return static_cast<unsigned>(-place.dx - 1);
  const Window& window = place.dy == -1 ? shape.one_up : shape.two_up;
  return window.shift + static_cast<unsigned>(window.right - place.dx);
}
static_assert(context_bit(kShapes[0], {-2, -2}) == 15 && context_bit(kShapes[0], {-3, -1}) == 10);
static_assert(context_bit(kShapes[3], {2, -1}) == 4 && context_bit(kShapes[1], {3, -1}) == 3);

// Adaptive pixels that are elsewhere, with the context bits that they fill.
struct Moved {
  std::array<AdaptivePixel, kMostAdaptive> place = {};
  std::array<unsigned, kMostAdaptive> bit = {};
  unsigned count = 0;
  unsigned kept = ~0u;  // the context's other bits
};

Moved moved_pixels(const GenericParams& params) {
  Moved moved;
  const unsigned count = adaptive_count(params.pixels_template, params.extended);
  for (unsigned i = 0; i < count; ++i) {
    const AdaptivePixel nominal = params.extended ? kNominalExtended[i] : kNominal[params.pixels_template][i];
    if (params.adaptive[i] == nominal)
      continue;
    const unsigned bit = context_bit(kShapes[params.pixels_template], nominal);
    moved.place[moved.count] = params.adaptive[i];
    moved.bit[moved.count++] = bit;
    moved.kept &= ~(1u << bit);
  }
  return moved;
}

struct Rows {
  const std::uint8_t* two_up;
  const std::uint8_t* one_up;
  std::uint8_t* present;
  std::int32_t width;
  std::int32_t stride;
};

// A byte of a row, which ends in white.
unsigned byte_at(const std::uint8_t* row, std::int32_t index, std::int32_t stride) {
  return index < stride ? row[index] : 0u;
}

// The index of the first byte from `index` on that is not 0 in both rows, or `stride`.
std::int32_t white_until(const Rows& rows, std::int32_t index) {
  for (; index + 8 <= rows.stride; index += 8) {
    if ((load_word(rows.one_up + index) | load_word(rows.two_up + index)) != 0)
      break;
  }
  while (index < rows.stride && (rows.one_up[index] | rows.two_up[index]) == 0)
    ++index;
  return index;
}

// The states of a context that ends in 0 and of the one that ends in 1.
class StatePair {
public:
  explicit StatePair(const std::uint8_t* contexts) { std::memcpy(&both_, contexts, sizeof both_); }
  unsigned operator[](unsigned value) const {
    const unsigned shift = std::endian::native == std::endian::little ? 8 * value : 8 - 8 * value;
    return both_ >> shift & 0xFFu;
  }

private:
  std::uint16_t both_;
};

// One row with all pixels at their nominal places, a byte at a time.
template <unsigned kTemplate>
class RowDecoder {
public:
  RowDecoder(const ArithmeticDecoder& decoder, std::uint8_t* contexts, const Rows& rows)
      : decoder_(decoder), contexts_(contexts), rows_(rows) {
    look_at(0);
  }

  /// The pixels that were decoded one by one; white runs count as a few.
  std::int32_t cost() const { return cost_; }

  [[gnu::always_inline]] inline ArithmeticDecoder run() {
    while (byte_ < rows_.stride) {
      look_at(byte_ + 1);
      int first = 0;
      if ((two_up_ | one_up_ | (present_ & kBefore)) == 0 && (contexts_[0] & 1) == 0 && pass_white(first))
        continue;
      decode_byte(first);
    }
    return decoder_;
  }

private:
  static constexpr Shape kShape = kShapes[kTemplate];
  static constexpr unsigned kBefore = (1u << kShape.before) - 1;
  static constexpr int kAhead = 15;  // the place of the present byte's first pixel in the windows
  static constexpr std::int32_t kRunCost = 8;

  // Moves the windows on, by a byte, to end in byte `index` of the rows above.
  [[gnu::always_inline]] inline void look_at(std::int32_t index) {
    two_up_ = (two_up_ << 8 | byte_at(rows_.two_up, index, rows_.stride)) & 0xFFFFFF;
    one_up_ = (one_up_ << 8 | byte_at(rows_.one_up, index, rows_.stride)) & 0xFFFFFF;
  }

  // Decodes white pixels as far as the rows above are white. True when the present byte is then one
  // that nothing is known of; false when a black pixel came in it, in front of pixel `first`.
  [[gnu::always_inline]] inline bool pass_white(int& first) {
    white_ = std::max(white_, byte_ + 2);
    if (white_ < rows_.stride)
      white_ = white_until(rows_, white_);
    // The last white byte above is still to be looked at from the byte below it.
    const std::int32_t bytes = white_ >= rows_.stride ? rows_.stride - byte_ : white_ - 1 - byte_;
    const auto most = static_cast<unsigned>(std::min(bytes * 8, rows_.width - byte_ * 8));
    bool has_one;
    const unsigned zeros = decoder_.zeros(contexts_[0], most, has_one);
    byte_ += has_one ? static_cast<std::int32_t>(zeros / 8) : bytes;
    cost_ += kRunCost;
    present_ = has_one ? 1 : 0;
    first = static_cast<int>(zeros % 8) + 1;
    two_up_ = one_up_ = 0;
    look_at(has_one ? byte_ + 1 : byte_);
    return !has_one;
  }

  // The part of a context that comes from the rows above, whose windows are shifted to the pixel.
  [[gnu::always_inline]] static inline unsigned above(unsigned two_up, unsigned one_up) {
    constexpr Window kTwo = kShape.two_up;
    constexpr Window kOne = kShape.one_up;
    const unsigned context = one_up >> (kAhead - kOne.right - static_cast<int>(kOne.shift)) & kOne.mask() << kOne.shift;
    if constexpr (kTemplate == 3)
      return context;
    return context | (two_up >> (kAhead - kTwo.right - static_cast<int>(kTwo.shift)) & kTwo.mask() << kTwo.shift);
  }

  // The pixels of a byte from `pixel` on. The states of both contexts that the next pixel may have
  // are fetched together, before this pixel is known: waiting for one load after the other would
  // take most of the time.
  [[gnu::always_inline]] inline void decode_byte(int pixel) {
    const int end = std::min(8, rows_.width - 8 * byte_);
    cost_ += end - pixel;
    unsigned two_up = two_up_ << pixel;
    unsigned one_up = one_up_ << pixel;
    unsigned context = above(two_up, one_up) | (present_ & kBefore);
    unsigned state = contexts_[context];
    for (; pixel < end; ++pixel) {
      two_up <<= 1;
      one_up <<= 1;
      const unsigned next = above(two_up, one_up) | (present_ << 1 & kBefore);
      StatePair states(contexts_ + next);
      unsigned value = state & 1;
      if (!decoder_.expected(state)) [[unlikely]] {
        value = decoder_.unexpected(contexts_[context]);
        states = StatePair(contexts_ + next);
      }
      present_ = present_ << 1 | value;
      context = next | value;
      state = states[value];
    }
    rows_.present[byte_++] = static_cast<std::uint8_t>(present_ << (8 - end));
  }

  ArithmeticDecoder decoder_;
  std::uint8_t* contexts_;
  Rows rows_;
  unsigned two_up_ = 0;
  unsigned one_up_ = 0;
  unsigned present_ = 0;
  std::int32_t byte_ = 0;
  std::int32_t cost_ = 0;
  std::int32_t white_ = 0;  // both rows above are white up to here, once that was looked at
};

template <unsigned kTemplate>
std::int32_t decode_row(ArithmeticDecoder& decoder, std::uint8_t* contexts, const Rows& rows) {
  RowDecoder<kTemplate> row(decoder, contexts, rows);
  decoder = row.run();
  return row.cost();
}

// One row with moved adaptive pixels or skipped ones.
std::int32_t decode_row_singly(ArithmeticDecoder& decoder, std::uint8_t* contexts, const Rows& rows, const Shape& shape,
                               const Moved& moved, const QVJB2_Bitmap* skip, const QVJB2_Bitmap& out, std::int32_t y) {
  constexpr int kAhead = 15;
  unsigned two_up = byte_at(rows.two_up, 0, rows.stride);
  unsigned one_up = byte_at(rows.one_up, 0, rows.stride);
  unsigned present = 0;
  for (std::int32_t x = 0; x < rows.width; ++x) {
    const std::int32_t i = x / 8;
    const int pixel = x % 8;
    if (pixel == 0) {
      two_up = (two_up << 8 | byte_at(rows.two_up, i + 1, rows.stride)) & 0xFFFFFF;
      one_up = (one_up << 8 | byte_at(rows.one_up, i + 1, rows.stride)) & 0xFFFFFF;
    }
    present <<= 1;
    if (skip == nullptr || bitmap_pixel(*skip, x, y) == 0) {
      unsigned context = (two_up >> (kAhead - pixel - shape.two_up.right) & shape.two_up.mask()) << shape.two_up.shift |
                         (one_up >> (kAhead - pixel - shape.one_up.right) & shape.one_up.mask()) << shape.one_up.shift |
                         (present >> 1 & ((1u << shape.before) - 1));
      context &= moved.kept;
      for (unsigned k = 0; k < moved.count; ++k)
        context |= bitmap_pixel(out, x + moved.place[k].dx, y + moved.place[k].dy) << moved.bit[k];
      present |= decoder.bit(contexts[context]);
    }
    // At once: an adaptive pixel of this row may be the one just decoded.
    rows.present[i] = static_cast<std::uint8_t>(present << (7 - pixel));
  }
  return rows.width;
}

constexpr std::int32_t kSinglyCost = 3;  // of such a pixel beside one of a plain row

using RowFunction = std::int32_t (*)(ArithmeticDecoder&, std::uint8_t*, const Rows&);
constexpr RowFunction kRowDecoders[] = {decode_row<0>, decode_row<1>, decode_row<2>, decode_row<3>};

// Finds out when a region's rows go on repeating: once the data are used up, rows whose contexts are
// all in their last state follow from the rows above alone. What was left out behind the data of a large even
// picture then costs a copy.
class Repetition {
public:
  Repetition(const GenericParams& params, const Moved& moved, const std::uint8_t* contexts, Limits& limits,
             const QVJB2_Bitmap& out)
      : shape_(kShapes[params.pixels_template]),
        moved_(moved),
        contexts_(contexts),
        limits_(limits),
        out_(out),
        // A row like the one above may be coded as such or not, which is all the same to it only.
        most_period_(params.skip != nullptr ? 0
                     : params.typical       ? 1
                                            : kMostPeriod) {
    for (unsigned i = 0; i < moved.count; ++i)
      reach_ = std::max<std::int32_t>(reach_, -moved.place[i].dy);
  }

  /// After how many rows all rows behind `y` repeat; 0 when that is not known. Asked for each row
  /// once the decoder is over.
  std::int32_t period_behind(std::int32_t y) {
    for (std::int32_t period = 1; period <= most_period_; ++period) {
      matches_[period] = y >= period && is_same_row(y, y - period) ? matches_[period] + 1 : 0;
      if (matches_[period] < reach_ || y < next_look_ || y < period + reach_)
        continue;
      if (are_settled(y, period))
        return period;
      next_look_ = y + wait_;
      wait_ *= 2;
    }
    return 0;
  }

private:
  static constexpr std::int32_t kMostPeriod = 64;  // screens and patterns repeat after fewer rows

  bool is_same_row(std::int32_t a, std::int32_t b) const {
    return std::memcmp(bitmap_row(out_, a), bitmap_row(out_, b), static_cast<std::size_t>(out_.stride)) == 0;
  }

  bool are_settled(std::int32_t last, std::int32_t period) {
    constexpr std::int64_t kPixelWork = 8;
    for (std::int32_t y = last - period + 1; y <= last; ++y) {
      if (!limits_.spend(kPixelWork * out_.width))
        return false;
      for (std::int32_t x = 0; x < out_.width; ++x) {
        if (!ArithmeticDecoder::is_settled(contexts_[context_of(x, y)]))
          return false;
      }
    }
    return true;
  }

  unsigned window_of(const Window& window, std::int32_t x, std::int32_t y) const {
    unsigned pixels = 0;
    for (int dx = -window.left; dx <= window.right; ++dx)
      pixels = pixels << 1 | bitmap_pixel(out_, x + dx, y);
    return pixels << window.shift;
  }

  unsigned context_of(std::int32_t x, std::int32_t y) const {
    unsigned context = window_of(shape_.two_up, x, y - 2) | window_of(shape_.one_up, x, y - 1);
    for (unsigned i = 0; i < shape_.before; ++i)
      context |= bitmap_pixel(out_, x - 1 - static_cast<std::int32_t>(i), y) << i;
    context &= moved_.kept;
    for (unsigned i = 0; i < moved_.count; ++i)
      context |= bitmap_pixel(out_, x + moved_.place[i].dx, y + moved_.place[i].dy) << moved_.bit[i];
    return context;
  }

  const Shape& shape_;
  const Moved& moved_;
  const std::uint8_t* contexts_;
  Limits& limits_;
  const QVJB2_Bitmap& out_;
  std::int32_t most_period_;
  std::int32_t reach_ = 2;  // rows above that a context looks at
  std::int32_t matches_[kMostPeriod + 1] = {};
  std::int32_t next_look_ = 0;
  std::int32_t wait_ = 16;
};

// The rows behind `y` repeat those above.
bool repeat_rows(Limits& limits, QVJB2_Bitmap& out, std::int32_t y, std::int32_t period) {
  for (++y; y < out.height; ++y) {
    if (!limits.spend(Limits::handling(out.stride)))
      return false;
    std::memcpy(bitmap_row(out, y), bitmap_row(out, y - period), static_cast<std::size_t>(out.stride));
  }
  return true;
}

}  // namespace

bool decode_generic(ArithmeticDecoder& decoder, std::uint8_t* contexts, const GenericParams& params, Limits& limits,
                    QVJB2_Bitmap& out) {
  if (out.width == 0 || out.height == 0)
    return true;
  const Shape& shape = kShapes[params.pixels_template];
  const Moved moved = moved_pixels(params);
  const bool singly = moved.count != 0 || params.skip != nullptr;
  Repetition repetition(params, moved, contexts, limits, out);
  bool is_typical = false;
  for (std::int32_t y = 0; y < out.height; ++y) {
    if (!limits.spend(Limits::handling(out.stride)))
      return false;
    std::uint8_t* present = bitmap_row(out, y);
    if (params.typical && decoder.bit(contexts[shape.typical_context]) != 0)
      is_typical = !is_typical;
    if (is_typical) {
      if (y > 0)
        std::memcpy(present, present - out.stride, static_cast<std::size_t>(out.stride));
    } else {
      // The present row, which is white ahead of the pixel, serves for the white rows above the bitmap.
      const Rows rows = {y > 1 ? bitmap_row(out, y - 2) : present, y > 0 ? bitmap_row(out, y - 1) : present, present,
                         out.width, out.stride};
      const std::int64_t cost = singly ? std::int64_t{kSinglyCost} * decode_row_singly(decoder, contexts, rows, shape,
                                                                                       moved, params.skip, out, y)
                                       : kRowDecoders[params.pixels_template](decoder, contexts, rows);
      if (!limits.spend(cost))
        return false;
      if (decoder.is_over() && !limits.make_up(cost)) {
        out.height = y + 1;
        return false;
      }
    }
    const std::int32_t period = decoder.is_over() ? repetition.period_behind(y) : 0;
    if (period > 0)
      return repeat_rows(limits, out, y, period);
  }
  return true;
}

bool decode_mmr(const std::uint8_t* data, std::size_t size, Limits& limits, QVJB2_Bitmap& out, std::size_t& taken) {
  taken = 0;
  if (out.width == 0 || out.height == 0)
    return true;
  constexpr std::size_t kMostInput = INT32_MAX / 16;  // the line decoder counts bits in 32 bits
  size = std::min(size, kMostInput);
  // Lent to the line decoder, which only reads it.
  CPDFStreamFAX lines(const_cast<std::uint8_t*>(data), static_cast<std::int32_t>(size));
  lines.borrowed = 1;
  lines.open(-1, out.width, out.height, 0, 1);
  for (std::int32_t y = 0; y < out.height; ++y) {
    if (!limits.spend(out.stride + 1) || lines.read_block(bitmap_row(out, y), out.stride) != out.stride)
      return false;
  }
  taken = static_cast<std::size_t>(lines.pass_end_of_block());
  return true;
}

}  // namespace sheaf::jb2
