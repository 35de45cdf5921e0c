// The netpbm formats: PBM, PGM and PPM as text or binary, and PAM. Read here, as the library of that
// name ends the program when a file is damaged.
#include <algorithm>
#include <string_view>

#include "image/bitmap_file.h"

namespace sheaf::tool {

namespace {

constexpr std::uint32_t kMostSample = 65535;

class PnmReader {
public:
  explicit PnmReader(std::string_view bytes) : bytes_(bytes) {}

  bool read(BitmapFile& bitmap) {
    if (!read_header() || most_ < 1 || most_ > kMostSample || depth_ < 1 || depth_ > 4)
      return false;
    const std::uint64_t samples = width_ * height_ * depth_;
    if (width_ > INT32_MAX || height_ > INT32_MAX || samples / 8 > bytes_.size() || !make_room(bitmap, width_, height_))
      return false;
    bitmap.has_alpha = depth_ == 2 || depth_ == 4;
    return is_text_ ? put_samples(bitmap, [this] { return next_text(); }) : read_binary(bitmap);
  }

private:
  bool at_end() const { return pos_ >= bytes_.size(); }

  static bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  void skip_space() {
    while (!at_end() && (is_space(bytes_[pos_]) || bytes_[pos_] == '#')) {
      if (bytes_[pos_] == '#')
        pos_ = std::min(bytes_.find('\n', pos_), bytes_.size() - 1);
      ++pos_;
    }
  }

  // The next number; 0, and the end, when no digit follows.
  std::uint64_t number() {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 32;
    skip_space();
    std::uint64_t value = 0;
    const std::size_t start = pos_;
    for (; !at_end() && bytes_[pos_] >= '0' && bytes_[pos_] <= '9'; ++pos_)
      value = std::min(value * 10 + static_cast<std::uint64_t>(bytes_[pos_] - '0'), kMost);
    if (pos_ == start)
      pos_ = bytes_.size();
    return value;
  }

  std::string_view word() {
    skip_space();
    const std::size_t start = pos_;
    while (!at_end() && !is_space(bytes_[pos_]))
      ++pos_;
    return bytes_.substr(start, pos_ - start);
  }

  bool read_header() {
    const char kind = bytes_[1];
    pos_ = 2;
    if (kind == '7')
      return read_pam_header();
    is_text_ = kind <= '3';
    is_bitmap_ = kind == '1' || kind == '4';
    depth_ = kind == '3' || kind == '6' ? 3 : 1;
    width_ = number();
    height_ = number();
    most_ = is_bitmap_ ? 1 : number();
    ++pos_;
    return pos_ <= bytes_.size();
  }

  bool read_pam_header() {
    for (std::string_view key = word(); !key.empty(); key = word()) {
      if (key == "ENDHDR") {
        ++pos_;
        return pos_ <= bytes_.size();
      }
      if (key == "WIDTH")
        width_ = number();
      else if (key == "HEIGHT")
        height_ = number();
      else if (key == "DEPTH")
        depth_ = number();
      else if (key == "MAXVAL")
        most_ = number();
      else
        word();
    }
    return false;
  }

  // Samples of a text; the digits of a bitmap may follow one another directly.
  std::uint32_t next_text() {
    if (!is_bitmap_)
      return static_cast<std::uint32_t>(number());
    skip_space();
    return at_end() ? ++pos_, 0u : static_cast<std::uint32_t>(bytes_[pos_++] == '1');
  }

  bool read_binary(BitmapFile& bitmap) {
    const std::uint64_t row_bits = width_ * depth_ * (is_bitmap_ ? 1 : most_ > 255 ? 16 : 8);
    const std::uint64_t row_bytes = (row_bits + 7) / 8;
    if (row_bytes * height_ > bytes_.size() - pos_)
      return false;
    std::uint64_t column = 0;
    return put_samples(bitmap, [&]() -> std::uint32_t {
      if (!is_bitmap_)
        return most_ > 255 ? byte() << 8 | byte() : byte();
      const auto bits = static_cast<std::uint8_t>(bytes_[pos_]);
      const std::uint32_t sample = bits >> (7 - column % 8) & 1u;
      ++column;
      if (column == width_ || column % 8 == 0)
        ++pos_;
      column = column == width_ ? 0 : column;
      return sample;
    });
  }

  std::uint32_t byte() { return static_cast<std::uint8_t>(bytes_[pos_++]); }

  template <class Next>
  bool put_samples(BitmapFile& bitmap, const Next& next) {
    std::uint8_t* pixel = bitmap.pixels.data();
    const auto pixels = static_cast<std::uint64_t>(bitmap.width) * static_cast<std::uint64_t>(bitmap.height);
    std::uint8_t sample[4];
    for (std::uint64_t i = 0; i < pixels; ++i, pixel += 4) {
      for (std::uint64_t c = 0; c < depth_; ++c) {
        const std::uint64_t value = std::min<std::uint64_t>(next(), most_);
        sample[c] = static_cast<std::uint8_t>((value * 255 + most_ / 2) / most_);
        if (is_bitmap_)
          sample[c] = sample[c] != 0 ? 0 : 255;  // a bitmap's 1 is black
      }
      const bool is_colour = depth_ >= 3;
      pixel[0] = sample[0];
      pixel[1] = sample[is_colour ? 1 : 0];
      pixel[2] = sample[is_colour ? 2 : 0];
      pixel[3] = bitmap.has_alpha ? sample[depth_ - 1] : 255;
    }
    return pos_ <= bytes_.size();
  }

  std::string_view bytes_;
  std::size_t pos_ = 0;
  std::uint64_t width_ = 0;
  std::uint64_t height_ = 0;
  std::uint64_t depth_ = 0;
  std::uint64_t most_ = 0;
  bool is_text_ = false;
  bool is_bitmap_ = false;
};

}  // namespace

bool read_pnm(const std::string& bytes, BitmapFile& bitmap) {
  return PnmReader(bytes).read(bitmap);
}

}  // namespace sheaf::tool
