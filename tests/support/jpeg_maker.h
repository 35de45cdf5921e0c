// JPEG files of any kind for tests, by libjpeg's compressor.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include <jpeglib.h>

struct JpegKind {
  int components = 3;
  J_COLOR_SPACE given = JCS_RGB;     ///< What the samples are.
  J_COLOR_SPACE stored = JCS_YCbCr;  ///< What the file holds.
  bool adobe_marker = false;
  bool jfif_marker = true;
  bool progressive = false;
  bool subsampled = false;
  int quality = 95;
  int restart_rows = 0;
  unsigned restart_blocks = 0;  ///< The restart interval itself, up to 65,535.
  bool arithmetic = false;      ///< Arithmetic coding instead of Huffman's.
  int density = 0;              ///< Dots an inch; 0: only an aspect ratio.
};

constexpr JpegKind kGreyJpeg{.components = 1, .given = JCS_GRAYSCALE, .stored = JCS_GRAYSCALE};

/// A picture in which neighbours are alike and every component differs.
inline std::string smooth_picture(int width, int height, int components) {
  std::string samples;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < components; ++c)
        samples += static_cast<char>((c % 2 == 0 ? x * 200 / width : y * 200 / height) + 10 * c);
    }
  }
  return samples;
}

inline std::string make_jpeg(const std::string& samples, int width, int height, const JpegKind& kind) {
  jpeg_compress_struct jpeg{};
  jpeg_error_mgr errors{};
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_compress(&jpeg);
  unsigned char* out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&jpeg, &out, &size);
  jpeg.image_width = static_cast<JDIMENSION>(width);
  jpeg.image_height = static_cast<JDIMENSION>(height);
  jpeg.input_components = kind.components;
  jpeg.in_color_space = kind.given;
  jpeg_set_defaults(&jpeg);
  jpeg_set_colorspace(&jpeg, kind.stored);
  jpeg_set_quality(&jpeg, kind.quality, TRUE);
  if (!kind.subsampled)
    jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
  if (kind.progressive)
    jpeg_simple_progression(&jpeg);
  jpeg.write_Adobe_marker = kind.adobe_marker ? TRUE : FALSE;
  jpeg.write_JFIF_header = kind.jfif_marker && !kind.adobe_marker && kind.components != 4 ? TRUE : FALSE;
  jpeg.density_unit = kind.density != 0 ? 1 : 0;
  jpeg.X_density = jpeg.Y_density = static_cast<UINT16>(kind.density != 0 ? kind.density : 1);
  jpeg.restart_in_rows = kind.restart_rows;
  jpeg.restart_interval = kind.restart_blocks;
  jpeg.arith_code = kind.arithmetic ? TRUE : FALSE;
  jpeg_start_compress(&jpeg, TRUE);
  const std::size_t row_bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(kind.components);
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    auto* row = reinterpret_cast<JSAMPROW>(const_cast<char*>(samples.data() + y * row_bytes));
    jpeg_write_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_compress(&jpeg);
  jpeg_destroy_compress(&jpeg);
  std::string file(reinterpret_cast<char*>(out), size);
  std::free(out);
  return file;
}
