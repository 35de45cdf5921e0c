// The boxes of a JP2 file, one after the other (ISO/IEC 15444-1, I.4).
#pragma once

#include <cstddef>
#include <cstdint>

namespace sheaf {

/// The type of a box as its four characters make it.
constexpr std::uint32_t jp2_box_type(const char (&name)[5]) {
  std::uint32_t type = 0;
  for (int i = 0; i < 4; ++i)
    type = type << 8 | static_cast<unsigned char>(name[i]);
  return type;
}

/// A walk over boxes that lie in memory: `next`, then the members, until it is false. A box that
/// claims more than there is ends with the data and is the last one.
class Jp2Boxes {
public:
  std::uint32_t type = 0;
  const std::uint8_t* content = nullptr;
  std::size_t size = 0;  ///< Of the content.

  Jp2Boxes(const std::uint8_t* data, std::size_t len) : next_(data), left_(len) {}

  bool next() {
    if (left_ < kHead)
      return false;
    const std::uint64_t stated = number(0);
    const bool is_long = stated == 1 && left_ >= kLongHead;
    const std::uint64_t whole = is_long ? number(8) << 32 | number(12) : stated;
    const std::size_t head = is_long ? kLongHead : kHead;
    const bool is_sound = whole >= head && whole <= left_;
    const std::size_t len = is_sound ? static_cast<std::size_t>(whole) : left_;
    type = static_cast<std::uint32_t>(number(4));
    content = next_ + head;
    size = len - head;
    next_ += len;
    left_ -= len;
    return true;
  }
  /// Moves to the first box of that type from here on.
  bool find(std::uint32_t wanted) {
    while (next()) {
      if (type == wanted)
        return true;
    }
    return false;
  }

private:
  static constexpr std::size_t kHead = 8;
  static constexpr std::size_t kLongHead = 16;

  std::uint64_t number(std::size_t at) const {
    std::uint64_t value = 0;
    for (std::size_t i = at; i < at + 4; ++i)
      value = value << 8 | next_[i];
    return value;
  }

  const std::uint8_t* next_;
  std::size_t left_;
};

}  // namespace sheaf
