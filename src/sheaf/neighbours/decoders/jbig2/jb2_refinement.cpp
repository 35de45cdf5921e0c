// Refinement regions. As in generic regions the context comes from windows that move by shifting;
// here three rows of the reference, at any offset, and the row above.
#include "sheaf/neighbours/decoders/jbig2/jb2_refinement.h"

#include <algorithm>

namespace sheaf::jb2 {
namespace {

constexpr AdaptivePixel kNominal = {-1, -1};
constexpr unsigned kNominalBit[] = {12, 8};  // context bits of the two adaptive pixels

// The context in which a row's typicality is coded: only the pixel beneath is black (T.88, Figures 14 and 15).
constexpr unsigned kTypicalContext[] = {0x0010, 0x0008};

// Ten pixels from column `x` on, the first one highest; white outside.
unsigned ten_pixels(const QVJB2_Bitmap& bitmap, std::int32_t x, std::int32_t y) {
  if (y < 0 || y >= bitmap.height)
    return 0;
  const std::uint8_t* row = bitmap_row(bitmap, y);
  const std::int32_t first = x >> 3;
  unsigned bits = 0;
  for (std::int32_t i = first; i < first + 3; ++i)
    bits = bits << 8 | (i >= 0 && i < bitmap.stride ? row[i] : 0u);
  return bits >> (14 - (x & 7)) & 0x3FF;
}

// The windows of the pixel being decoded, three pixels each.
struct Around {
  unsigned up;
  unsigned left;  // one pixel
  unsigned reference[3];
  bool is_even() const {
    const unsigned first = reference[0];
    return (first == 0 || first == 7) && reference[1] == first && reference[2] == first;
  }
};

template <unsigned kTemplate>
unsigned context_of(const Around& a) {
  if constexpr (kTemplate == 0)
    return a.up << 10 | a.left << 9 | a.reference[0] << 6 | a.reference[1] << 3 | a.reference[2];
  return a.up << 7 | a.left << 6 | (a.reference[0] >> 1 & 1) << 5 | a.reference[1] << 2 | (a.reference[2] & 3);
}

struct Moved {
  bool any;
  bool is_moved[2];
};

unsigned with_moved(unsigned context, const Moved& moved, const RefinementParams& params, const QVJB2_Bitmap& out,
                    std::int32_t x, std::int32_t y) {
  const unsigned pixel[2] = {
      bitmap_pixel(out, x + params.adaptive[0].dx, y + params.adaptive[0].dy),
      bitmap_pixel(*params.reference, x - params.dx + params.adaptive[1].dx, y - params.dy + params.adaptive[1].dy)};
  for (int i = 0; i < 2; ++i) {
    if (moved.is_moved[i])
      context = (context & ~(1u << kNominalBit[i])) | pixel[i] << kNominalBit[i];
  }
  return context;
}

template <unsigned kTemplate>
void decode_row(ArithmeticDecoder& shared, std::uint8_t* contexts, const RefinementParams& params, const Moved& moved,
                bool is_typical, QVJB2_Bitmap& out, std::int32_t y) {
  constexpr int kLast = 7;  // the last of eight pixels has its window in the lowest three of ten bits
  ArithmeticDecoder decoder = shared;
  std::uint8_t* row = bitmap_row(out, y);
  unsigned present = 0;
  for (std::int32_t start = 0; start < out.width; start += 8) {
    const unsigned up = ten_pixels(out, start - 1, y - 1);
    unsigned reference[3];
    for (int k = 0; k < 3; ++k)
      reference[k] = ten_pixels(*params.reference, start - 1 - params.dx, y - params.dy - 1 + k);
    const std::int32_t count = std::min(8, out.width - start);
    for (std::int32_t pixel = 0; pixel < count; ++pixel) {
      const int shift = kLast - pixel;
      const Around around = {up >> shift & 7,
                             present & 1,
                             {reference[0] >> shift & 7, reference[1] >> shift & 7, reference[2] >> shift & 7}};
      unsigned value;
      if (is_typical && around.is_even()) {
        value = around.reference[1] & 1;
      } else {
        unsigned context = context_of<kTemplate>(around);
        if (kTemplate == 0 && moved.any)
          context = with_moved(context, moved, params, out, start + pixel, y);
        value = decoder.bit(contexts[context]);
      }
      present = present << 1 | value;
      // At once: the adaptive pixel may be the one just decoded.
      row[start / 8] = static_cast<std::uint8_t>(present << shift);
    }
  }
  shared = decoder;
}

}  // namespace

bool decode_refinement(ArithmeticDecoder& decoder, std::uint8_t* contexts, const RefinementParams& params,
                       Limits& limits, QVJB2_Bitmap& out) {
  if (out.width == 0 || out.height == 0)
    return true;
  const bool may_move = params.pixels_template == 0;
  const bool is_moved[] = {may_move && params.adaptive[0] != kNominal, may_move && params.adaptive[1] != kNominal};
  const Moved moved = {is_moved[0] || is_moved[1], {is_moved[0], is_moved[1]}};
  bool is_typical = false;
  for (std::int32_t y = 0; y < out.height; ++y) {
    constexpr std::int64_t kPixelWork = 4;
    if (!limits.spend(kPixelWork * out.width))
      return false;
    if (params.typical && decoder.bit(contexts[kTypicalContext[params.pixels_template]]) != 0)
      is_typical = !is_typical;
    constexpr std::int32_t kTypicalShare = 8;  // a typical row decides little anew
    if (decoder.is_over() && !limits.make_up(is_typical ? out.width / kTypicalShare : out.width))
      return false;
    if (params.pixels_template == 0)
      decode_row<0>(decoder, contexts, params, moved, is_typical, out, y);
    else
      decode_row<1>(decoder, contexts, params, moved, is_typical, out, y);
  }
  return true;
}

}  // namespace sheaf::jb2
