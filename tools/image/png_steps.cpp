// The steps of libpng, each with its own setjmp.
#include "image/png_steps.h"

#include <cmath>
#include <cstring>

namespace sheaf::tool {

namespace {

constexpr double kInchesPerMetre = 39.3700787;

void read_data(png_structp png, png_bytep dst, std::size_t size) {
  auto* input = static_cast<PngInput*>(png_get_io_ptr(png));
  if (size > input->left)
    png_error(png, "the file ends early");
  std::memcpy(dst, input->data, size);
  input->data += size;
  input->left -= size;
}

void write_data(png_structp png, png_bytep src, std::size_t size) {
  if (static_cast<CQVStream*>(png_get_io_ptr(png))->Write(src, static_cast<unsigned>(size)) != size)
    png_error(png, "the output came short");
}

[[noreturn]] void give_up(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}

void ignore(png_structp, png_const_charp) {}

}  // namespace

bool png_open(PngInput& input, const std::uint8_t* data, std::size_t len) {
  input.data = data;
  input.left = len;
  input.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, give_up, ignore);
  input.info = input.png != nullptr ? png_create_info_struct(input.png) : nullptr;
  if (input.info == nullptr || setjmp(png_jmpbuf(input.png)) != 0)
    return false;
  png_set_read_fn(input.png, &input, read_data);
  png_read_info(input.png, input.info);
  input.width = png_get_image_width(input.png, input.info);
  input.height = png_get_image_height(input.png, input.info);
  input.has_alpha = (png_get_color_type(input.png, input.info) & PNG_COLOR_MASK_ALPHA) != 0 ||
                    png_get_valid(input.png, input.info, PNG_INFO_tRNS) != 0;
  input.dots_x = png_get_x_pixels_per_meter(input.png, input.info) / kInchesPerMetre;
  input.dots_y = png_get_y_pixels_per_meter(input.png, input.info) / kInchesPerMetre;
  png_set_expand(input.png);
  png_set_scale_16(input.png);
  png_set_gray_to_rgb(input.png);
  png_set_add_alpha(input.png, 0xFF, PNG_FILLER_AFTER);
  png_set_interlace_handling(input.png);
  png_read_update_info(input.png, input.info);
  return png_get_rowbytes(input.png, input.info) == std::size_t{input.width} * 4;
}

bool png_take_rows(PngInput& input, std::uint8_t** rows) {
  if (setjmp(png_jmpbuf(input.png)) != 0)
    return false;
  png_read_image(input.png, rows);
  return true;
}

void png_close(PngInput& input) {
  png_destroy_read_struct(&input.png, &input.info, nullptr);
}

bool png_begin(PngOutput& output, CQVStream* out, const PngLayout& layout) {
  output.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, give_up, ignore);
  output.info = output.png != nullptr ? png_create_info_struct(output.png) : nullptr;
  if (output.info == nullptr || setjmp(png_jmpbuf(output.png)) != 0)
    return false;
  png_set_user_limits(output.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_benign_errors(output.png, 1);
  png_set_write_fn(output.png, out, write_data, nullptr);
  const int colour_type = layout.palette != nullptr ? PNG_COLOR_TYPE_PALETTE
                          : layout.components == 1  ? PNG_COLOR_TYPE_GRAY
                                                    : PNG_COLOR_TYPE_RGB;
  png_set_IHDR(output.png, output.info, layout.width, layout.height, layout.bits, colour_type, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_color colours[PNG_MAX_PALETTE_LENGTH];
  for (int i = 0; layout.palette != nullptr && i < layout.palette_size; ++i)
    colours[i] = {layout.palette[3 * i], layout.palette[3 * i + 1], layout.palette[3 * i + 2]};
  if (layout.palette != nullptr)
    png_set_PLTE(output.png, output.info, colours, layout.palette_size);
  if (layout.profile != nullptr)
    png_set_iCCP(output.png, output.info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, layout.profile, layout.profile_len);
  if (layout.dots_x > 0 && layout.dots_y > 0)
    png_set_pHYs(output.png, output.info, static_cast<png_uint_32>(std::lround(layout.dots_x * kInchesPerMetre)),
                 static_cast<png_uint_32>(std::lround(layout.dots_y * kInchesPerMetre)), PNG_RESOLUTION_METER);
  png_write_info(output.png, output.info);
  return true;
}

bool png_put_row(PngOutput& output, const std::uint8_t* row) {
  if (setjmp(png_jmpbuf(output.png)) != 0)
    return false;
  png_write_row(output.png, row);
  return true;
}

bool png_finish(PngOutput& output) {
  if (setjmp(png_jmpbuf(output.png)) != 0)
    return false;
  png_write_end(output.png, output.info);
  return true;
}

void png_close(PngOutput& output) {
  png_destroy_write_struct(&output.png, &output.info);
}

}  // namespace sheaf::tool
