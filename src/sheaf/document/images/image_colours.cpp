// Colour spaces are reduced to a family with its ranges and palette; samples are converted pixel by pixel.
#include "sheaf/document/images/image_colours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr int kMostDepth = 4;  // of colour spaces with others for their base

struct Named {
  const char* name;
  ColourFamily family;
  int components;
};

constexpr std::array kNamed = {
    Named{"DeviceGray", ColourFamily::kGrey, 1}, Named{"G", ColourFamily::kGrey, 1},
    Named{"CalGray", ColourFamily::kGrey, 1},    Named{"DeviceRGB", ColourFamily::kRgb, 3},
    Named{"RGB", ColourFamily::kRgb, 3},         Named{"CalRGB", ColourFamily::kRgb, 3},
    Named{"DeviceCMYK", ColourFamily::kCmyk, 4}, Named{"CMYK", ColourFamily::kCmyk, 4},
    Named{"Lab", ColourFamily::kLab, 3},         Named{"Separation", ColourFamily::kTint, 1},
};

// What a family makes of one colour, its components in their natural ranges: 0 to 255.
struct Rgb {
  double red, green, blue;
};

double gamma(double linear) {
  const double c = std::clamp(linear, 0.0, 1.0);
  return 255 * (c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1 / 2.4) - 0.055);
}

// By the white of daylight (IEC 61966-2-1).
Rgb rgb_of_lab(const double* lab) {
  constexpr double kWhite[] = {0.9505, 1.0, 1.089};
  const double l = (lab[0] + 16) / 116;
  const double m[] = {l + lab[1] / 500, l, l - lab[2] / 200};
  double xyz[3];
  for (int i = 0; i < 3; ++i)
    xyz[i] = kWhite[i] * (m[i] >= 6.0 / 29 ? m[i] * m[i] * m[i] : 108.0 / 841 * (m[i] - 4.0 / 29));
  return {gamma(3.2406 * xyz[0] - 1.5372 * xyz[1] - 0.4986 * xyz[2]),
          gamma(-0.9689 * xyz[0] + 1.8758 * xyz[1] + 0.0415 * xyz[2]),
          gamma(0.0557 * xyz[0] - 0.2040 * xyz[1] + 1.0570 * xyz[2])};
}

Rgb rgb_of(ColourFamily family, const double* c) {
  switch (family) {
    case ColourFamily::kRgb:
      return {c[0] * 255, c[1] * 255, c[2] * 255};
    case ColourFamily::kCmyk:
      return {255 * (1 - c[0]) * (1 - c[3]), 255 * (1 - c[1]) * (1 - c[3]), 255 * (1 - c[2]) * (1 - c[3])};
    case ColourFamily::kLab:
      return rgb_of_lab(c);
    case ColourFamily::kTint:
      return {255 * (1 - c[0]), 255 * (1 - c[0]), 255 * (1 - c[0])};
    default:
      return {c[0] * 255, c[0] * 255, c[0] * 255};
  }
}

std::uint8_t byte_of(double value) {
  return static_cast<std::uint8_t>(std::clamp(value + 0.5, 0.0, 255.0));
}

// The range of a component when there is no "Decode".
void natural_range(const ColourSpace& space, int component, double& low, double& high) {
  low = 0;
  high = 1;
  if (space.family == ColourFamily::kLab) {
    low = component == 0 ? 0 : space.lab_range[2 * (component - 1)];
    high = component == 0 ? 100 : space.lab_range[2 * (component - 1) + 1];
  }
}

double number_at(CPDFXRefTable& table, const CPDFArray* array, int index, double fallback) {
  Freed<CPDFObj> value = table.value(array != nullptr ? array->get(index) : nullptr);
  return value.is_number() ? to_double(value.to_real()) : fallback;
}

void read_lab(CPDFXRefTable& table, const CPDFArray& array, ColourSpace& space) {
  Freed<CPDFObj> parms = table.value(array.get(1));
  Freed<CPDFObj> range = table.value(parms.as_dict(), "Range");
  for (int i = 0; i < 4; ++i)
    space.lab_range[i] = number_at(table, range.as_array(), i, space.lab_range[i]);
}

ColourSpace space_of(CPDFXRefTable& table, const CPDFObj& obj, int depth);

// The bytes of a string or of a stream.
std::vector<std::uint8_t> lookup_bytes(CPDFXRefTable& table, const CPDFObj* item) {
  Freed<CPDFObj> value = table.value(item);
  const PDF_String text = value.as_string();
  if (text.len > 0)
    return {text.data, text.data + text.len};
  const std::unique_ptr<CPDFStream> decoder(value.as_stream() != nullptr ? table.make_stream(value.as_stream())
                                                                         : nullptr);
  int len = 0;
  const HeapBlock<std::uint8_t> block(decoder != nullptr ? decoder->buffer_load(1 << 16, len) : nullptr);
  return block ? std::vector<std::uint8_t>(block.get(), block.get() + len) : std::vector<std::uint8_t>();
}

ColourSpace read_indexed(CPDFXRefTable& table, const CPDFArray& array, int depth) {
  constexpr int kMostIndex = 255;
  Freed<CPDFObj> base = table.value(array.get(1));
  ColourSpace space = space_of(table, base, depth + 1);
  if (space.family == ColourFamily::kNone || space.is_indexed)
    return {};
  const int last = std::clamp(static_cast<int>(number_at(table, &array, 2, 0)), 0, kMostIndex);
  std::vector<std::uint8_t> bytes = lookup_bytes(table, array.get(3));
  const auto entry_bytes = static_cast<std::size_t>(space.components);
  bytes.resize((static_cast<std::size_t>(last) + 1) * entry_bytes);
  for (std::size_t at = 0; at < bytes.size(); at += entry_bytes) {
    double colour[4] = {};
    for (int c = 0; c < space.components; ++c) {
      double low = 0;
      double high = 0;
      natural_range(space, c, low, high);
      colour[c] = low + bytes[at + static_cast<std::size_t>(c)] * (high - low) / 255;
    }
    const Rgb rgb = rgb_of(space.family, colour);
    space.palette.insert(space.palette.end(), {byte_of(rgb.red), byte_of(rgb.green), byte_of(rgb.blue)});
  }
  space.is_indexed = true;
  space.components = 1;
  if (space.family == ColourFamily::kGrey || space.family == ColourFamily::kTint)
    space.profile.clear();  // the palette is red, green and blue
  return space;
}

int profile_components(CPDFXRefTable& table, const CPDFObj& profile) {
  const CPDFDictionary* dict = profile.as_dict_or_stream();
  Freed<CPDFObj> count = table.value(dict, "N");
  return count.to_int();
}

// The bytes of an ICC profile that says what it is for (ICC.1:2010, 7.2); empty for one that a file
// of grey or of red, green and blue could not bear.
std::vector<std::uint8_t> profile_bytes(CPDFXRefTable& table, const CPDFObj& obj, ColourFamily family) {
  constexpr int kMostProfile = 4 << 20;
  constexpr int kHeaderBytes = 128;
  constexpr int kSpaceAt = 16;
  constexpr int kSignatureAt = 36;
  const char* const wanted = family == ColourFamily::kGrey ? "GRAY" : family == ColourFamily::kRgb ? "RGB " : nullptr;
  const std::unique_ptr<CPDFStream> decoder(
      wanted != nullptr && obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
  int len = 0;
  const HeapBlock<std::uint8_t> block(decoder ? decoder->buffer_load(decoder->most_text(kMostProfile), len) : nullptr);
  if (!block || len < kHeaderBytes || std::memcmp(block.get() + kSignatureAt, "acsp", 4) != 0 ||
      std::memcmp(block.get() + kSpaceAt, wanted, 4) != 0)
    return {};
  return {block.get(), block.get() + len};
}

ColourSpace read_profile(CPDFXRefTable& table, const CPDFArray& array) {
  Freed<CPDFObj> profile = table.value(array.get(1));
  ColourSpace space;
  space.components = profile_components(table, profile);
  space.family = space.components == 1   ? ColourFamily::kGrey
                 : space.components == 3 ? ColourFamily::kRgb
                 : space.components == 4 ? ColourFamily::kCmyk
                                         : ColourFamily::kNone;
  space.profile = profile_bytes(table, profile, space.family);
  return space;
}

ColourSpace space_of(CPDFXRefTable& table, const CPDFObj& obj, int depth) {
  const CPDFArray* array = obj.as_array();
  Freed<CPDFObj> first = table.value(array != nullptr ? array->get(0) : &obj);
  const char* name = first.as_text();
  if (name == nullptr || depth > kMostDepth)
    return {};
  if (array != nullptr && (std::strcmp(name, "Indexed") == 0 || std::strcmp(name, "I") == 0))
    return read_indexed(table, *array, depth);
  if (array != nullptr && std::strcmp(name, "ICCBased") == 0)
    return read_profile(table, *array);
  ColourSpace space;
  for (const Named& known : kNamed) {
    if (std::strcmp(name, known.name) == 0) {
      space.family = known.family;
      space.components = known.components;
    }
  }
  if (array != nullptr && space.family == ColourFamily::kLab)
    read_lab(table, *array, space);
  return space;
}

// The base of an indexed space is not indexed itself, so nothing nests deeper than that.
std::string name_of_space(CPDFXRefTable& table, const CPDFObj& obj, bool is_base) {
  const CPDFArray* array = obj.as_array();
  Freed<CPDFObj> first = table.value(array != nullptr ? array->get(0) : &obj);
  if (first.as_text() == nullptr)
    return "-";
  std::string name = first.as_text();
  if (array == nullptr)
    return name;
  Freed<CPDFObj> second = table.value(array, 1);
  if (name == "ICCBased")
    name.append(" ").append(std::to_string(profile_components(table, second)));
  else if (name == "Separation" && second.as_text() != nullptr)
    name.append(" ").append(second.as_text());
  else if (name == "Indexed" && !is_base)
    name.append(" ").append(name_of_space(table, second, true));
  else if (name == "DeviceN" && second.as_array() != nullptr)
    name.append(" ").append(std::to_string(second.as_array()->count));
  return name;
}

}  // namespace

ColourSpace read_colour_space(CPDFXRefTable& table, const CPDFImage& image) {
  ColourSpace grey;
  grey.family = ColourFamily::kGrey;
  grey.components = 1;
  return image.is_mask ? grey : space_of(table, image.colour_space, 0);
}

std::string colour_space_name(CPDFXRefTable& table, const CPDFObj& obj) {
  return name_of_space(table, obj, false);
}

PixelRows::PixelRows(CPDFXRefTable& table, const CPDFImage& image, const ColourSpace& space, int bits)
    : space_(space),
      width_(image.width),
      bits_(bits),
      source_bytes_(static_cast<int>((std::int64_t{image.width} * space.components * bits + 7) / 8)),
      is_grey_(!space.is_indexed && (space.family == ColourFamily::kGrey || space.family == ColourFamily::kTint)) {
  const double most = std::pow(2.0, bits) - 1;
  for (int c = 0; c < space.components; ++c) {
    double low = 0;
    double high = most;
    if (!space.is_indexed)
      natural_range(space, c, low, high);
    low = number_at(table, image.decode.as_array(), 2 * c, low);
    high = number_at(table, image.decode.as_array(), 2 * c + 1, high);
    low_.push_back(low);
    step_.push_back((high - low) / most);
  }
  choose_copying();
}

// Whether "Decode" says nothing, or only turns the samples of one component round.
bool PixelRows::decodes_to(bool reversed) const {
  const double most = std::pow(2.0, bits_) - 1;
  for (std::size_t c = 0; c < low_.size(); ++c) {
    const double range = space_.is_indexed ? most : 1;
    const double high = low_[c] + step_[c] * most;
    if (low_[c] != (reversed ? range : 0) || std::abs(high - (reversed ? 0 : range)) > 1e-9)
      return false;
  }
  return true;
}

void PixelRows::choose_copying() {
  if (space_.is_indexed) {
    is_copied_ = bits_ <= 8 && decodes_to(false);
  } else if (is_grey_) {
    const bool is_reversed = decodes_to(true);
    is_copied_ = is_reversed || decodes_to(false);
    flipped_ = is_reversed != (space_.family == ColourFamily::kTint) ? 0xFF : 0;
  } else {
    is_copied_ = space_.family == ColourFamily::kRgb && bits_ >= 8 && decodes_to(false);
  }
}

void PixelRows::put(double value, std::uint8_t*& out) const {
  if (bits() == 8) {
    *out++ = byte_of(value);
    return;
  }
  const auto deep = static_cast<unsigned>(std::clamp(value * 257 + 0.5, 0.0, 65535.0));
  *out++ = static_cast<std::uint8_t>(deep >> 8);
  *out++ = static_cast<std::uint8_t>(deep);
}

void PixelRows::put_pixel(const double* values, std::uint8_t*& out) const {
  if (space_.is_indexed) {
    const std::size_t last = space_.palette.size() / 3 - 1;
    const auto index = static_cast<std::size_t>(std::clamp(values[0] + 0.5, 0.0, static_cast<double>(last)));
    out = std::copy_n(space_.palette.begin() + static_cast<std::ptrdiff_t>(3 * index), 3, out);
    return;
  }
  const Rgb rgb = rgb_of(space_.family, values);
  put(rgb.red, out);
  if (is_grey_)
    return;
  put(rgb.green, out);
  put(rgb.blue, out);
}

void PixelRows::convert(const std::uint8_t* source, std::uint8_t* out) const {
  if (is_copied_) {
    std::transform(source, source + source_bytes_, out,
                   [this](std::uint8_t byte) { return static_cast<std::uint8_t>(byte ^ flipped_); });
    return;
  }
  std::size_t bit = 0;
  const auto sample = [&] {
    const std::size_t at = bit / 8;
    const unsigned value = bits_ == 16  ? static_cast<unsigned>(source[at] << 8 | source[at + 1])
                           : bits_ == 8 ? source[at]
                                        : source[at] >> (8 - static_cast<int>(bit % 8) - bits_) & ((1u << bits_) - 1);
    bit += static_cast<std::size_t>(bits_);
    return value;
  };
  for (int x = 0; x < width_; ++x) {
    double values[4] = {};
    for (std::size_t c = 0; c < low_.size(); ++c)
      values[c] = low_[c] + sample() * step_[c];
    put_pixel(values, out);
  }
}

}  // namespace sheaf
