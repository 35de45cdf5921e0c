// The decoded samples of an image, row by row: those of its colour space, and the opacity that JPEG 2000 data carry
// with them (ISO 32000-1, 7.4.9, 11.6.5.3).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sheaf/document/images/image_colours.h"

class CPDFRowDecoder;
class CPDFStream;

namespace sheaf {

/// Why an image makes no picture.
enum class NoPicture { kNone, kColourSpace, kSize, kData, kOtherSize };

class ColourRows {
public:
  ColourRows();
  ColourRows(const ColourRows&) = delete;
  ColourRows& operator=(const ColourRows&) = delete;
  ~ColourRows();

  /// Opens the data of `image`, which both it and the table outlive.
  NoPicture open(CPDFXRefTable& table, const CPDFImage& image);
  /// Without a colour space in the dictionary the data's own; a mask's is grey.
  const ColourSpace& space() const { return space_; }
  int bits() const { return bits_; }
  /// Whether the image has opacity of its own that counts ("SMaskInData").
  bool has_opacity() const { return opacity_at_ >= 0; }
  /// Reads the next `size` bytes, a row, into `colours`, and into `opacity`, where there is one and it is not null, a
  /// byte for each of its pixels. Colours that are stored already multiplied by it come as they were before. The result
  /// is how many bytes of colours there were.
  int read(std::uint8_t* colours, int size, std::uint8_t* opacity);

private:
  void take_components(const CPDFImage& image);
  void find_opacity(const CPDFImage& image);
  void restore(std::uint8_t* colours, const std::uint8_t* opacity, std::size_t pixels) const;

  std::unique_ptr<CPDFStream> decoder_;
  ColourSpace space_;
  int bits_ = 0;
  int stored_ = 0;  // components of the data where they are more than those of the colour space, else 0
  int opacity_at_ = -1;
  bool is_multiplied_ = false;
  std::vector<std::uint8_t> row_;
};

}  // namespace sheaf
