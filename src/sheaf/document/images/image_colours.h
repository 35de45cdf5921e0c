// The colour space of an image, as far as pictures can be made of it, and its samples as pixels.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sheaf/document/images/image.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// How the components of a colour make grey or red, green and blue.
enum class ColourFamily { kNone, kGrey, kRgb, kCmyk, kLab, kTint };

struct ColourSpace {
  ColourFamily family = ColourFamily::kNone;  ///< Of the base for an indexed one; kNone: cannot be shown.
  int components = 0;                         ///< Samples of a pixel; 1 for an indexed one.
  bool is_indexed = false;
  std::vector<std::uint8_t> palette;  ///< Red, green, blue of each index.
  std::vector<std::uint8_t> profile;  ///< The ICC profile of grey or of red, green and blue; empty: none.
  double lab_range[4] = {-100, 100, -100, 100};
};

/// The colour space of `image`; a mask's is grey.
ColourSpace read_colour_space(CPDFXRefTable& table, const CPDFImage& image);

/// The name for people: "DeviceRGB", "ICCBased 3", "Indexed DeviceRGB"; "-" without one.
std::string colour_space_name(CPDFXRefTable& table, const CPDFObj& space);

/// Turns rows of samples as the filters give them into rows of a PNG file. Samples that mean there
/// what they mean here stay as they are: black and white at one bit, greys and indexes of any depth.
class PixelRows {
public:
  PixelRows(CPDFXRefTable& table, const CPDFImage& image, const ColourSpace& space, int bits);

  int source_row_bytes() const { return source_bytes_; }
  /// Whether samples are indexes into the colour space's palette, which is as long as their bits can count.
  bool has_palette() const { return is_copied_ && space_.is_indexed; }
  int components() const { return is_grey_ || has_palette() ? 1 : 3; }
  int bits() const { return is_copied_ ? bits_ : bits_ == 16 && !space_.is_indexed ? 16 : 8; }
  std::int64_t row_bytes() const { return (std::int64_t{width_} * components() * bits() + 7) / 8; }
  void convert(const std::uint8_t* source, std::uint8_t* out) const;

private:
  void choose_copying();
  bool decodes_to(bool reversed) const;
  void put_pixel(const double* values, std::uint8_t*& out) const;
  void put(double value, std::uint8_t*& out) const;

  const ColourSpace& space_;
  int width_;
  int bits_;
  int source_bytes_;
  bool is_grey_;
  bool is_copied_ = false;
  std::uint8_t flipped_ = 0;  // what copied bytes are combined with, by exclusive or
  std::vector<double> low_;   // of each component, by "Decode"
  std::vector<double> step_;  // for each step of a sample
};

}  // namespace sheaf
