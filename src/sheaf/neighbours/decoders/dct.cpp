// libjpeg decodes row by row. Its guess at the colour transform is corrected by "ColorTransform" where
// the data have no marker that says.
#include "sheaf/neighbours/decoders/dct.h"

#include <algorithm>
#include <new>
#include <string_view>

#include "sheaf/neighbours/decoders/jpeg_steps.h"

using namespace sheaf;

namespace {

// Where the image starts: some writers leave a line end before it.
const std::uint8_t* find_image(const std::uint8_t* data, std::size_t len) {
  constexpr std::string_view kStartOfImage = "\xFF\xD8";
  return data + std::min(std::string_view(reinterpret_cast<const char*>(data), len).find(kStartOfImage), len);
}

J_COLOR_SPACE output_space(J_COLOR_SPACE stored) {
  switch (stored) {
    case JCS_YCbCr:
      return JCS_RGB;
    case JCS_YCCK:
      return JCS_CMYK;
    default:
      return stored;
  }
}

// Only without Adobe's marker does the filter's parameter count. Without either, three components are
// what libjpeg takes them for (by their numbers, too), and four are inks.
void choose_transform(jpeg_decompress_struct& cinfo, int color_transform) {
  if (cinfo.saw_Adobe_marker == FALSE && color_transform >= 0) {
    if (cinfo.num_components == 3)
      cinfo.jpeg_color_space = color_transform == 0 ? JCS_RGB : JCS_YCbCr;
    if (cinfo.num_components == 4)
      cinfo.jpeg_color_space = color_transform == 0 ? JCS_CMYK : JCS_YCCK;
  }
  cinfo.out_color_space = output_space(cinfo.jpeg_color_space);
}

}  // namespace

CPDFStreamDCT::CPDFStreamDCT(std::uint8_t* block, std::int32_t len) : CPDFRowDecoder(block, len) {
  filter_type = kFilterDCT;
  constexpr std::int32_t kExpansion = 4;
  size_hint = len > INT32_MAX / kExpansion ? INT32_MAX : len * kExpansion;
}

CPDFStreamDCT::~CPDFStreamDCT() {
  release();
}

void CPDFStreamDCT::release() {
  if (jpeg_ != nullptr)
    jpeg_close(*jpeg_);
  delete jpeg_;
  jpeg_ = nullptr;
  release_rows();
}

void CPDFStreamDCT::close() {
  release();
  CPDFRowDecoder::close();
}

void CPDFStreamDCT::error_reporter(jpeg_common_struct* cinfo) {
  jpeg_give_up(cinfo);
}

int CPDFStreamDCT::open(int color_transform) {
  release();
  const std::uint8_t* const end = cursor + std::max(left, 0);
  const std::uint8_t* image = find_image(cursor, static_cast<std::size_t>(end - cursor));
  jpeg_ = new (std::nothrow) JpegSteps{};
  if (jpeg_ == nullptr || !jpeg_open(*jpeg_, image, static_cast<std::size_t>(end - image), error_reporter, this))
    return 0;
  choose_transform(jpeg_->cinfo, color_transform);
  return set_sizes(jpeg_->cinfo.image_width, jpeg_->cinfo.image_height, jpeg_->cinfo.num_components) ? 1 : 0;
}

bool CPDFStreamDCT::begin() {
  if (!jpeg_begin(*jpeg_))
    flaw = kFlawEarlyEnd;
  return flaw == kFlawNone;
}

bool CPDFStreamDCT::next_row(std::uint8_t* row) {
  const bool is_last = jpeg_->cinfo.output_scanline >= jpeg_->cinfo.output_height;
  const bool has_row = jpeg_next_row(*jpeg_, row);
  if (!has_row && !is_last)
    flaw = kFlawEarlyEnd;
  return has_row;
}
