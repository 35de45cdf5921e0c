// Images of documents written as files that keep what they are: depth, palette, profile, resolution.
#pragma once

#include <cstdint>

#include "image/image_placements.h"
#include "sheaf/base/stream.h"
#include "sheaf/document/images/image.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf::tool {

/// Writes the image as a PNG file. Why that failed, or null. `is_whole` is false when the data end
/// early, which leaves the rest of the picture empty. With `shrink` above 1 each square of that many pixels a side
/// becomes one of eight bits a component; pictures of fewer bits a pixel stay as they are.
const char* write_png(CQVStream* out, CPDFXRefTable& table, const CPDFImage& image, const Dots& dots, bool& is_whole,
                      int shrink = 1);

/// Writes the opacity that the data of the image have of their own ("SMaskInData") as a grey PNG file. Why that failed,
/// or null. Nothing is written when `has_opacity` is false: such an image has none.
const char* write_opacity_png(CQVStream* out, CPDFXRefTable& table, const CPDFImage& image, const Dots& dots,
                              bool& has_opacity);

/// How CCITT data lie in a TIFF file (TIFF 6.0, sections 10 and 11).
struct FaxTiff {
  int compression = 0;  ///< 2, 3 or 4; 0: TIFF has no such coding.
  bool two_dimensional = false;
  bool white_is_zero = true;
};

/// How a TIFF file takes over the data of `image`, which are `len` bytes at `data`.
FaxTiff fax_tiff_of(CPDFXRefTable& table, const CPDFImage& image, const std::uint8_t* data, std::int32_t len);

/// Writes them with a header around. False when the output came short.
bool write_fax_tiff(CQVStream* out, const FaxTiff& kind, const CPDFImage& image, const Dots& dots,
                    const std::uint8_t* data, std::int32_t len);

}  // namespace sheaf::tool
