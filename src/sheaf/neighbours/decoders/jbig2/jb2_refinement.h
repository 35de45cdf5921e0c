// Refinement regions (T.88, 6.3): a bitmap coded by its differences from a reference bitmap.
#pragma once

#include <array>
#include <cstdint>

#include "sheaf/neighbours/decoders/jbig2/jb2_generic.h"

namespace sheaf::jb2 {

struct RefinementParams {
  unsigned pixels_template;               ///< 0 or 1.
  bool typical;                           ///< Rows may be coded by one decision where the reference is even.
  std::array<AdaptivePixel, 2> adaptive;  ///< Of template 0: in the bitmap, and in the reference.
  const QVJB2_Bitmap* reference;
  std::int32_t dx;  ///< Where the reference's corner lies in the bitmap.
  std::int32_t dy;
};

/// Contexts that a template needs.
constexpr std::uint32_t refinement_contexts(unsigned pixels_template) {
  return pixels_template == 0 ? 1u << 13 : 1u << 10;
}

/// Offsets of a reference beyond this are damage: no bitmap is as large.
constexpr std::int64_t kMostOffset = 1 << 30;

/// Decodes into `out`, which is white and of the region's size. False as decode_generic.
bool decode_refinement(ArithmeticDecoder& decoder, std::uint8_t* contexts, const RefinementParams& params,
                       Limits& limits, QVJB2_Bitmap& out);

}  // namespace sheaf::jb2
