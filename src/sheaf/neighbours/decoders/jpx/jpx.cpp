// OpenJPEG decodes the whole image at once; rows are then converted to 8 bits and, for YCC, to RGB.
#include "sheaf/neighbours/decoders/jpx/jpx.h"

#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

#include "sheaf/neighbours/decoders/jpx/jpx_header.h"
#include "sheaf/neighbours/decoders/jpx/jpx_source.h"

using namespace sheaf;

namespace {

constexpr int kSampleBits = 8;
constexpr std::int32_t kSampleMost = 255;

// Samples of one component as bytes.
class ToByte {
public:
  ToByte(const opj_image_comp_t& comp, bool is_index)
      : is_index_(is_index),
        precision_(std::clamp<std::uint32_t>(comp.prec, 1, 31)),
        offset_(comp.sgnd != 0 ? std::int64_t{1} << (precision_ - 1) : 0),
        most_((std::int64_t{1} << precision_) - 1) {}

  std::uint8_t operator()(std::int32_t sample) const {
    const std::int64_t value = std::clamp<std::int64_t>(sample + offset_, 0, most_);
    if (is_index_)
      return static_cast<std::uint8_t>(std::min<std::int64_t>(value, kSampleMost));
    if (precision_ >= kSampleBits)
      return static_cast<std::uint8_t>(value >> (precision_ - kSampleBits));
    return static_cast<std::uint8_t>((value * kSampleMost + most_ / 2) / most_);
  }

private:
  bool is_index_;
  std::uint32_t precision_;
  std::int64_t offset_;
  std::int64_t most_;
};

// The component's sample that covers position `at` of the image's grid: each stands for the
// `step` positions from its own on.
std::uint32_t sample_index(std::uint32_t at, std::uint32_t origin, std::uint32_t step, std::uint32_t count) {
  const std::uint64_t first = (std::uint64_t{origin} + step - 1) / step;
  const std::uint64_t sample = (std::uint64_t{origin} + at) / step;
  return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(sample, first, first + count - 1) - first);
}

// Luminance and chrominance of one pixel to red, green and blue (ITU-R BT.601), in 16 fraction bits.
void to_rgb(std::uint8_t* pixel) {
  constexpr std::int32_t kRed = 91881;     // 1.402
  constexpr std::int32_t kGreenB = 22554;  // 0.344136
  constexpr std::int32_t kGreenR = 46802;  // 0.714136
  constexpr std::int32_t kBlue = 116130;   // 1.772
  constexpr std::int32_t kHalf = 1 << 15;
  const std::int32_t y = pixel[0] * 65536 + kHalf;
  const std::int32_t cb = pixel[1] - 128;
  const std::int32_t cr = pixel[2] - 128;
  const auto byte = [](std::int32_t value) {
    return static_cast<std::uint8_t>(std::clamp(value >> 16, 0, kSampleMost));
  };
  pixel[0] = byte(y + kRed * cr);
  pixel[1] = byte(y - kGreenB * cb - kGreenR * cr);
  pixel[2] = byte(y + kBlue * cb);
}

// Whether the first three components are luminance and chrominance. A bare code stream does not say
// so, but nobody has fewer samples of green and blue than of red.
bool is_chrominance(const opj_image& image) {
  if (image.numcomps < 3)
    return false;
  if (image.color_space == OPJ_CLRSPC_SYCC || image.color_space == OPJ_CLRSPC_EYCC)
    return true;
  const opj_image_comp_t* comps = image.comps;
  return image.numcomps == 3 && comps[0].dx == comps[0].dy && comps[1].dx > comps[0].dx;
}

}  // namespace

CPDFStreamJPX::CPDFStreamJPX(std::uint8_t* block, std::int32_t len) : CPDFRowDecoder(block, len) {
  filter_type = kFilterJPX;
}

CPDFStreamJPX::~CPDFStreamJPX() {
  release();
}

void CPDFStreamJPX::opj_error_callback(const char*, void*) {}

void CPDFStreamJPX::opj_warning_callback(const char*, void*) {}

void CPDFStreamJPX::release() {
  delete source_;
  source_ = nullptr;
  row_index_ = -1;
  has_chrominance_ = is_cmyk_ = false;
  opacity_ = -1;
  release_rows();
}

void CPDFStreamJPX::close() {
  release();
  CPDFRowDecoder::close();
}

// Opens the image. When its boxes are damaged, or something precedes them, the code stream
// among them may still be whole.
bool CPDFStreamJPX::open_source() {
  constexpr std::string_view kCodeStream = "\xFF\x4F\xFF\x51";
  const auto len = static_cast<std::size_t>(std::max(left, 0));
  const auto opens = [this](std::uint8_t* from, std::size_t size) {
    JpxHeader header;
    if (!find_jpx(from, size, header) || !jpx_can_cost(header.decode_bytes, size))
      return false;
    // The decoder makes room for what a part claims; a length of 0 means up to the end.
    flaw = header.overlong_part != 0 ? kFlawEarlyEnd : kFlawNone;
    if (header.overlong_part != 0)
      std::memset(from + header.overlong_part, 0, 4);
    const JpxForm form{.is_bare = header.is_bare, .keeps_indexes = is_indexed_};
    return source_->open(from, size, form, opj_error_callback, opj_warning_callback);
  };
  if (opens(cursor, len))
    return true;
  const std::size_t found = std::string_view(reinterpret_cast<const char*>(cursor), len).find(kCodeStream);
  return found != std::string_view::npos && opens(cursor + found, len - found);
}

bool CPDFStreamJPX::take_sizes() {
  const opj_image& image = *source_->image();
  return image.numcomps <= kMostComponents && image.x1 > image.x0 && image.y1 > image.y0 &&
         set_sizes(image.x1 - image.x0, image.y1 - image.y0, image.numcomps);
}

void CPDFStreamJPX::open() {
  release();
  source_ = new (std::nothrow) JpxSource;
  if (source_ == nullptr || !open_source() || !take_sizes())
    release();
}

void CPDFStreamJPX::take_indexes() {
  is_indexed_ = true;
  open();
}

bool CPDFStreamJPX::has_all_planes() const {
  const opj_image& image = *source_->image();
  for (std::uint32_t i = 0; i < image.numcomps; ++i) {
    const opj_image_comp_t& comp = image.comps[i];
    if (comp.data == nullptr || comp.w == 0 || comp.h == 0 || comp.dx == 0 || comp.dy == 0)
      return false;
  }
  return true;
}

bool CPDFStreamJPX::begin() {
  if (!source_->decode() || !take_sizes() || !has_all_planes())
    return false;
  const opj_image& image = *source_->image();
  has_chrominance_ = !is_indexed_ && is_chrominance(image);
  is_cmyk_ = image.color_space == OPJ_CLRSPC_CMYK;
  const opj_image_comp_t* const end = image.comps + image.numcomps;
  const opj_image_comp_t* const found =
      std::find_if(image.comps + 0, image.comps + image.numcomps, [](const auto& comp) { return comp.alpha != 0; });
  opacity_ = found != end ? static_cast<std::int32_t>(found - image.comps) : -1;
  return true;
}

void CPDFStreamJPX::put_component(std::int32_t index, std::uint8_t* row) const {
  const opj_image& image = *source_->image();
  const opj_image_comp_t& comp = image.comps[index];
  const auto pixels = static_cast<std::uint32_t>(width());
  const auto step = static_cast<std::size_t>(components());
  const std::uint32_t y = sample_index(static_cast<std::uint32_t>(row_index_), image.y0, comp.dy, comp.h);
  const std::int32_t* plane = comp.data + std::size_t{y} * comp.w;
  const ToByte to_byte(comp, is_indexed_ && index == 0);  // what is after the indexes is opacity
  std::uint8_t* out = row + index;
  if (comp.dx == 1 && comp.w >= pixels) {
    for (std::uint32_t x = 0; x < pixels; ++x)
      out[x * step] = to_byte(plane[x]);
    return;
  }
  for (std::uint32_t x = 0; x < pixels; ++x)
    out[x * step] = to_byte(plane[sample_index(x, image.x0, comp.dx, comp.w)]);
}

bool CPDFStreamJPX::next_row(std::uint8_t* row) {
  if (++row_index_ >= height())
    return false;
  for (std::int32_t i = 0; i < components(); ++i)
    put_component(i, row);
  for (std::int32_t x = 0; has_chrominance_ && x < width(); ++x)
    to_rgb(row + static_cast<std::ptrdiff_t>(x) * components());
  return true;
}
