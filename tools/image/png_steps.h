// libpng in steps that can fail. Its errors do not return, so each step is left by a jump; no object
// with a destructor lives in these functions.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdint>

#include <png.h>

#include "sheaf/base/stream.h"

namespace sheaf::tool {

/// A file being read from memory. Plain; value-initialise it.
struct PngInput {
  png_structp png;
  png_infop info;
  const std::uint8_t* data;
  std::size_t left;
  std::uint32_t width;
  std::uint32_t height;
  bool has_alpha;
  double dots_x;  ///< Dots an inch; 0 when the file states none.
  double dots_y;
};

/// Reads the header. False when there is no picture.
bool png_open(PngInput& input, const std::uint8_t* data, std::size_t len);
/// Reads all rows, four bytes a pixel: red, green, blue, alpha. `rows` are `height` pointers.
bool png_take_rows(PngInput& input, std::uint8_t** rows);
void png_close(PngInput& input);

/// A file being written. Plain; value-initialise it.
struct PngOutput {
  png_structp png;
  png_infop info;
};

/// What the header of a picture says. Plain; value-initialise it.
struct PngLayout {
  std::uint32_t width;
  std::uint32_t height;
  int components;               ///< 1 or 3.
  int bits;                     ///< A component: 1, 2, 4, 8 or 16; with three components 8 or 16.
  const std::uint8_t* palette;  ///< Red, green and blue of each index, borrowed; null: samples are greys or colours.
  int palette_size;             ///< Indexes.
  const std::uint8_t* profile;  ///< An ICC profile, borrowed, or null.
  std::uint32_t profile_len;
  double dots_x;  ///< Dots an inch; 0: not stated.
  double dots_y;
};

/// Writes the header. A profile that libpng does not take is left out. False on failure.
bool png_begin(PngOutput& output, CQVStream* out, const PngLayout& layout);
bool png_put_row(PngOutput& output, const std::uint8_t* row);
bool png_finish(PngOutput& output);
void png_close(PngOutput& output);

}  // namespace sheaf::tool
