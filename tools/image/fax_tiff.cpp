// CCITT data in the frame of a TIFF file, as they are.
#include <cmath>
#include <string>

#include "image/image_writer.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/images/image_colours.h"
#include "sheaf/filters/decode_parms.h"

namespace sheaf::tool {

namespace {

enum Tag : unsigned {
  kWidth = 256,
  kHeight = 257,
  kBits = 258,
  kCompression = 259,
  kPhotometric = 262,
  kStripOffset = 273,
  kSamples = 277,
  kRowsPerStrip = 278,
  kStripBytes = 279,
  kResolutionX = 282,
  kResolutionY = 283,
  kGroup3Options = 292,
  kResolutionUnit = 296,
};

constexpr unsigned kHeaderBytes = 8;

// One directory with its values after it, in the byte order "II".
class Directory {
public:
  explicit Directory(std::uint32_t at) : at_(at) {}

  void short_value(Tag tag, std::uint32_t value) { entry(tag, 3, value); }
  void long_value(Tag tag, std::uint32_t value) { entry(tag, 4, value); }
  void rational(Tag tag, double value, unsigned entries) {
    constexpr std::uint32_t kParts = 1000;
    const std::uint32_t behind = at_ + 2 + 12 * entries + 4;
    entry(tag, 5, behind + static_cast<std::uint32_t>(values_.size()));
    put(values_, static_cast<std::uint32_t>(std::lround(value * kParts)), 4);
    put(values_, kParts, 4);
  }
  std::string bytes() const {
    std::string out;
    put(out, count_, 2);
    out += entries_;
    put(out, 0, 4);
    return out + values_;
  }
  static void put(std::string& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
      out += static_cast<char>(value >> (8 * i));
  }

private:
  void entry(Tag tag, unsigned type, std::uint32_t value) {
    put(entries_, tag, 2);
    put(entries_, type, 2);
    put(entries_, 1, 4);
    put(entries_, value, 4);
    ++count_;
  }

  std::uint32_t at_;
  std::uint32_t count_ = 0;
  std::string entries_;
  std::string values_;
};

// Whether the first line begins with an end-of-line code, with fill before it or without.
bool begins_with_eol(const std::uint8_t* data, std::int32_t len) {
  constexpr int kZeros = 11;
  int zeros = 0;
  for (std::int32_t i = 0; i < len; ++i) {
    for (int bit = 7; bit >= 0; --bit, ++zeros) {
      if ((data[i] >> bit & 1) != 0)
        return zeros >= kZeros;
    }
  }
  return false;
}

}  // namespace

FaxTiff fax_tiff_of(CPDFXRefTable& table, const CPDFImage& image, const std::uint8_t* data, std::int32_t len) {
  FaxTiff tiff;
  Cleared<CPDFDictionary> parms;
  image.last_parms(parms);
  const ColourSpace space = read_colour_space(table, image);
  const std::int32_t k = parm_number(&table, &parms, "K", 0);
  const bool is_aligned = parm_flag(&table, &parms, "EncodedByteAlign");
  Freed<CPDFObj> first = table.value(image.decode.as_array() != nullptr ? image.decode.as_array()->get(0) : nullptr);
  const bool is_reversed = first.is_number() && first.to_int() != 0;
  tiff.white_is_zero = (parm_flag(&table, &parms, "BlackIs1") != is_reversed) == (space.family == ColourFamily::kTint);
  tiff.two_dimensional = k > 0;
  const bool is_grey = space.family == ColourFamily::kGrey || space.family == ColourFamily::kTint;
  if (!is_grey || space.is_indexed || parm_number(&table, &parms, "Columns", 1728) != image.width || image.height < 1)
    return tiff;
  if (k < 0)
    tiff.compression = is_aligned ? 0 : 4;
  else if (begins_with_eol(data, len))
    tiff.compression = 3;
  else if (k == 0 && is_aligned)
    tiff.compression = 2;
  return tiff;
}

bool write_fax_tiff(CQVStream* out, const FaxTiff& kind, const CPDFImage& image, const Dots& dots,
                    const std::uint8_t* data, std::int32_t len) {
  constexpr unsigned kInches = 2;
  const auto size = static_cast<std::uint32_t>(len);
  const std::uint32_t at = (kHeaderBytes + size + 1) / 2 * 2;
  const bool has_dots = dots.x > 0 && dots.y > 0;
  const unsigned entries = 9u + (has_dots ? 3 : 0) + (kind.compression == 3 ? 1 : 0);
  Directory directory(at);
  directory.long_value(kWidth, static_cast<std::uint32_t>(image.width));
  directory.long_value(kHeight, static_cast<std::uint32_t>(image.height));
  directory.short_value(kBits, 1);
  directory.short_value(kCompression, static_cast<std::uint32_t>(kind.compression));
  directory.short_value(kPhotometric, kind.white_is_zero ? 0 : 1);
  directory.long_value(kStripOffset, kHeaderBytes);
  directory.short_value(kSamples, 1);
  directory.long_value(kRowsPerStrip, static_cast<std::uint32_t>(image.height));
  directory.long_value(kStripBytes, size);
  if (has_dots) {
    directory.rational(kResolutionX, dots.x, entries);
    directory.rational(kResolutionY, dots.y, entries);
  }
  if (kind.compression == 3)
    directory.long_value(kGroup3Options, kind.two_dimensional ? 1 : 0);
  if (has_dots)
    directory.short_value(kResolutionUnit, kInches);
  std::string head("II*\0", 4);
  Directory::put(head, at, 4);
  std::string tail(at - kHeaderBytes - size, '\0');
  tail += directory.bytes();
  const auto write = [out](const void* bytes, std::size_t count) {
    return out->Write(bytes, static_cast<unsigned>(count)) == count;
  };
  return write(head.data(), head.size()) && write(data, size) && write(tail.data(), tail.size());
}

}  // namespace sheaf::tool
