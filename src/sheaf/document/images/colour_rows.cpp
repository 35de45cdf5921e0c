// JPEG 2000 data say themselves how many components there are, and which of them is opacity.
#include "sheaf/document/images/colour_rows.h"

#include <algorithm>
#include <cstring>

#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/decoders/row_decoder.h"

namespace sheaf {

namespace {

constexpr std::int64_t kMostRowBits = 1 << 28;
constexpr int kMultiplied = 2;  // "SMaskInData": colours are stored multiplied by the opacity

bool is_depth(int bits) {
  return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
}

bool is_filter(const CPDFImage& image, const char* name) {
  return std::strcmp(image.filter, name) == 0;
}

}  // namespace

ColourRows::ColourRows() = default;
ColourRows::~ColourRows() = default;

NoPicture ColourRows::open(CPDFXRefTable& table, const CPDFImage& image) {
  space_ = read_colour_space(table, image);
  decoder_.reset(image.open_samples());
  const bool is_jpx = is_filter(image, "JPXDecode");
  auto* const jpx = is_jpx ? static_cast<CPDFRowDecoder*>(decoder_.get()) : nullptr;
  if (space_.family == ColourFamily::kNone && (jpx == nullptr || !image.colour_space.is_null()))
    return NoPicture::kColourSpace;
  bits_ = is_filter(image, "CCITTFaxDecode") || is_filter(image, "JBIG2Decode") ? 1 : is_jpx ? 8 : image.bits;
  const std::int64_t row_bits = std::int64_t{image.width} * std::max(space_.components, 1) * bits_;
  if (image.width < 1 || image.height < 1 || !is_depth(bits_) || row_bits > kMostRowBits)
    return NoPicture::kSize;
  if (decoder_ == nullptr)
    return NoPicture::kData;
  if (jpx == nullptr)
    return NoPicture::kNone;
  if (space_.is_indexed)
    jpx->take_indexes();
  if (jpx->width() != image.width || jpx->height() != image.height)
    return NoPicture::kOtherSize;
  if (!jpx->prepare())
    return NoPicture::kData;
  take_components(image);
  return jpx->components() < space_.components ? NoPicture::kOtherSize : NoPicture::kNone;
}

// OpenJPEG forgets which component is opacity where it sets the colours in their order; writers forget to say it. It is
// after the colours then.
void ColourRows::find_opacity(const CPDFImage& image) {
  const auto& jpx = static_cast<const CPDFRowDecoder&>(*decoder_);
  const bool is_behind = jpx.components() == space_.components + 1;
  opacity_at_ = image.opacity_in_data == 0 ? -1 : jpx.opacity() < 0 && is_behind ? space_.components : jpx.opacity();
}

void ColourRows::take_components(const CPDFImage& image) {
  const auto& jpx = static_cast<const CPDFRowDecoder&>(*decoder_);
  if (space_.family == ColourFamily::kNone) {
    const int colours = jpx.components() - (jpx.opacity() >= 0 ? 1 : 0);
    space_.family = jpx.is_cmyk() && colours >= 4 ? ColourFamily::kCmyk
                    : colours < 3                 ? ColourFamily::kGrey
                                                  : ColourFamily::kRgb;
    space_.components = colours < 3 ? 1 : space_.family == ColourFamily::kCmyk ? 4 : 3;
  }
  find_opacity(image);
  is_multiplied_ = image.opacity_in_data == kMultiplied && !space_.is_indexed;
  if (jpx.components() == space_.components)
    return;
  stored_ = jpx.components();
  row_.resize(static_cast<std::size_t>(image.width) * static_cast<std::size_t>(stored_));
}

int ColourRows::read(std::uint8_t* colours, int size, std::uint8_t* opacity) {
  if (stored_ == 0) {
    int total = 0;
    for (int got = 1; total < size && got > 0; total += std::max(got, 0))
      got = decoder_->read_block(colours + total, size - total);
    return total;
  }
  const auto row_size = static_cast<int>(row_.size());
  if (decoder_->read_block(row_.data(), row_size) != row_size)
    return 0;
  const auto stored = static_cast<std::size_t>(stored_);
  const auto wanted = static_cast<std::size_t>(space_.components);
  const auto skipped = static_cast<const CPDFRowDecoder&>(*decoder_).opacity();
  const std::size_t pixels = static_cast<std::size_t>(size) / wanted;
  for (std::size_t x = 0; x < pixels; ++x) {
    const std::uint8_t* from = row_.data() + x * stored;
    for (std::size_t c = 0; c < wanted; ++c) {
      const bool is_behind = skipped >= 0 && c >= static_cast<std::size_t>(skipped);
      colours[x * wanted + c] = from[std::min(c + (is_behind ? 1 : 0), stored - 1)];
    }
    if (has_opacity() && opacity != nullptr)
      opacity[x] = from[opacity_at_];
  }
  if (has_opacity() && opacity != nullptr && is_multiplied_)
    restore(colours, opacity, pixels);
  return size;
}

void ColourRows::restore(std::uint8_t* colours, const std::uint8_t* opacity, std::size_t pixels) const {
  const auto wanted = static_cast<std::size_t>(space_.components);
  for (std::size_t i = 0; i < pixels * wanted; ++i) {
    const unsigned by = opacity[i / wanted];
    if (by != 0)
      colours[i] = static_cast<std::uint8_t>(std::min(255u, (colours[i] * 255u + by / 2) / by));
  }
}

}  // namespace sheaf
