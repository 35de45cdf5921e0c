// Recognises the format by its first bytes, and reads size, resolution and orientation from headers.
#include "image/image_probe.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include "sheaf/neighbours/decoders/jp2_boxes.h"

namespace sheaf::tool {

namespace {

constexpr double kInchesPerMetre = 39.3700787;
constexpr double kInchesPerCentimetre = 2.54;

// Numbers in a piece of a file; what lies after its end is 0.
class Bytes {
public:
  explicit Bytes(std::string_view data, bool little_endian = false) : data_(data), little_(little_endian) {}

  std::uint32_t at(std::size_t pos, std::size_t count) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t from = pos + (little_ ? count - 1 - i : i);
      value = value << 8 | (from < data_.size() ? static_cast<std::uint8_t>(data_[from]) : 0u);
    }
    return value;
  }
  std::string_view piece(std::size_t pos, std::size_t len) const {
    return pos < data_.size() ? data_.substr(pos, len) : std::string_view();
  }
  std::size_t size() const { return data_.size(); }

private:
  std::string_view data_;
  bool little_;
};

double ratio(double value, double by) {
  return by > 0 ? value / by : 0;
}

// The first directory of an Exif block (TIFF 6.0, 2): orientation and resolution.
void read_exif(std::string_view block, ImageFacts& facts) {
  constexpr std::uint32_t kOrientation = 0x0112;
  constexpr std::uint32_t kResolutionX = 0x011A;
  constexpr std::uint32_t kResolutionY = 0x011B;
  constexpr std::uint32_t kResolutionUnit = 0x0128;
  constexpr std::size_t kEntryLen = 12;
  const Bytes tiff(block, block.substr(0, 2) == "II");
  const std::size_t directory = tiff.at(4, 4);
  const std::size_t count = tiff.at(directory, 2);
  const auto rational = [&tiff](std::size_t at) { return ratio(tiff.at(at, 4), tiff.at(at + 4, 4)); };
  double x = 0;
  double y = 0;
  double per_unit = 1;
  for (std::size_t i = 0; i < count && directory + i * kEntryLen < tiff.size(); ++i) {
    const std::size_t entry = directory + 2 + i * kEntryLen;
    const std::uint32_t tag = tiff.at(entry, 2);
    const std::uint32_t number = tiff.at(entry + 8, 2);
    if (tag == kOrientation && number >= 1 && number <= 8)
      facts.orientation = static_cast<int>(number);
    if (tag == kResolutionX)
      x = rational(tiff.at(entry + 8, 4));
    if (tag == kResolutionY)
      y = rational(tiff.at(entry + 8, 4));
    if (tag == kResolutionUnit)
      per_unit = number == 3 ? kInchesPerCentimetre : number == 2 ? 1 : 0;
  }
  if (facts.dots_x == 0 && x > 0 && y > 0) {
    facts.dots_x = x * per_unit;
    facts.dots_y = y * per_unit;
  }
}

void read_jfif(const Bytes& segment, ImageFacts& facts) {
  const std::uint32_t unit = segment.at(7, 1);
  const double per_inch = unit == 1 ? 1 : unit == 2 ? kInchesPerCentimetre : 0;
  facts.dots_x = segment.at(8, 2) * per_inch;
  facts.dots_y = segment.at(10, 2) * per_inch;
}

bool is_frame(std::uint32_t marker) {
  return marker >= 0xFFC0 && marker <= 0xFFCF && marker != 0xFFC4 && marker != 0xFFC8 && marker != 0xFFCC;
}

void read_jpeg_segment(std::uint32_t marker, std::string_view data, ImageFacts& facts) {
  const Bytes segment(data);
  if (marker == 0xFFE0 && data.substr(0, 5) == std::string_view("JFIF\0", 5))
    read_jfif(segment, facts);
  else if (marker == 0xFFE1 && data.substr(0, 6) == std::string_view("Exif\0\0", 6))
    read_exif(data.substr(6), facts);
  else if (marker == 0xFFEE && data.substr(0, 5) == "Adobe")
    facts.has_adobe_marker = true;
  else if (is_frame(marker))
    facts.components = static_cast<int>(segment.at(5, 1));
}

// The segments up to the frame header (T.81, B.1).
void read_jpeg(const Bytes& file, ImageFacts& facts) {
  constexpr std::uint32_t kStartOfScan = 0xFFDA;
  std::size_t pos = 2;
  while (pos + 4 <= file.size()) {
    const std::uint32_t marker = file.at(pos, 2);
    if (marker == 0xFFFF) {
      ++pos;
      continue;
    }
    const std::size_t size = file.at(pos + 2, 2);
    if (marker < 0xFF00 || marker == kStartOfScan || size < 2)
      return;
    read_jpeg_segment(marker, file.piece(pos + 4, size - 2), facts);
    pos += 2 + size;
  }
}

// The content of the first box of a type; empty without one.
std::string_view find_box(std::string_view boxes, std::uint32_t type) {
  Jp2Boxes walk(reinterpret_cast<const std::uint8_t*>(boxes.data()), boxes.size());
  return walk.find(type) ? std::string_view(reinterpret_cast<const char*>(walk.content), walk.size)
                         : std::string_view();
}

void read_jpx(std::string_view data, ImageFacts& facts) {
  constexpr std::size_t kComponents = 40;  // in a code stream, after its size segment's other numbers
  if (facts.is_bare) {
    facts.components = static_cast<int>(Bytes(data).at(kComponents, 2));
    return;
  }
  const std::string_view resolution = find_box(find_box(data, jp2_box_type("jp2h")), jp2_box_type("res "));
  std::string_view box = find_box(resolution, jp2_box_type("resd"));
  if (box.empty())
    box = find_box(resolution, jp2_box_type("resc"));
  const Bytes numbers(box);
  const auto dots = [&numbers](std::size_t at, std::size_t exponent) {
    const auto power = static_cast<std::int8_t>(numbers.at(exponent, 1));
    return ratio(numbers.at(at, 2), numbers.at(at + 2, 2)) * std::pow(10.0, power) / kInchesPerMetre;
  };
  facts.dots_y = dots(0, 8);
  facts.dots_x = dots(4, 9);
}

}  // namespace

ImageFacts probe_image(const std::string& bytes) {
  using namespace std::string_view_literals;
  const std::string_view data(bytes);
  ImageFacts facts;
  if (data.substr(0, 2) == "\xFF\xD8"sv) {
    facts.kind = ImageKind::kJpeg;
    read_jpeg(Bytes(data), facts);
  } else if (data.substr(0, 4) == "\xFF\x4F\xFF\x51"sv || Bytes(data).piece(4, 8) == "jP  \r\n\x87\n"sv) {
    facts.kind = ImageKind::kJpx;
    facts.is_bare = data[0] == '\xFF';
    read_jpx(data, facts);
  } else if (data.substr(0, 8) == "\x89PNG\r\n\x1A\n"sv) {
    facts.kind = ImageKind::kPng;
  } else if (data.size() > 2 && data[0] == 'P' && data[1] >= '1' && data[1] <= '7') {
    facts.kind = ImageKind::kPnm;
  }
  return facts;
}

}  // namespace sheaf::tool
