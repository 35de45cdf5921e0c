// Generic regions (T.88, 6.2): bitmaps coded pixel by pixel, each with the pixels around it as
// its context, or as T.6 lines.
#pragma once

#include <array>
#include <cstdint>

#include "sheaf/neighbours/decoders/jbig2/jb2_arithmetic.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_bitmap.h"

namespace sheaf::jb2 {

/// An adaptive pixel's place relative to the pixel being decoded.
struct AdaptivePixel {
  std::int8_t dx;
  std::int8_t dy;
  friend bool operator==(const AdaptivePixel&, const AdaptivePixel&) = default;
};

constexpr std::size_t kMostAdaptive = 12;

struct GenericParams {
  unsigned pixels_template;  ///< 0 to 3.
  bool extended;             ///< Template 0 with twelve adaptive pixels.
  bool typical;              ///< Rows equal to the one above are coded by one decision.
  std::array<AdaptivePixel, kMostAdaptive> adaptive;
  const QVJB2_Bitmap* skip;  ///< Pixels that are 0 and not coded, or null; as large as the bitmap.
};

/// Adaptive pixels of a template, by its number and kind.
constexpr unsigned adaptive_count(unsigned pixels_template, bool extended) {
  return pixels_template != 0 ? 1 : extended ? 12 : 4;
}

/// Contexts that a template needs.
constexpr std::uint32_t generic_contexts(unsigned pixels_template) {
  return pixels_template == 0 ? 1u << 16 : pixels_template == 1 ? 1u << 13 : 1u << 10;
}

/// Decodes into `out`, which is white and of the region's size. False when the limits end early: the rows so far are
/// there, the others white, or cut off where they would have been made up.
bool decode_generic(ArithmeticDecoder& decoder, std::uint8_t* contexts, const GenericParams& params, Limits& limits,
                    QVJB2_Bitmap& out);

/// Decodes T.6 lines into `out`; `size` bytes at most are taken, their count goes to `taken`, with
/// an end-of-block code that follows. False when the limits or memory forbid it.
bool decode_mmr(const std::uint8_t* data, std::size_t size, Limits& limits, QVJB2_Bitmap& out, std::size_t& taken);

}  // namespace sheaf::jb2
