// Big-endian values of font tables: read from blocks, and collected into a growing block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "sheaf/base/heap.h"

namespace sheaf {

constexpr std::uint16_t tt_u16(const std::uint8_t* at) {
  return static_cast<std::uint16_t>(at[0] << 8 | at[1]);
}
constexpr std::int16_t tt_i16(const std::uint8_t* at) {
  return static_cast<std::int16_t>(tt_u16(at));
}
constexpr std::uint32_t tt_u32(const std::uint8_t* at) {
  return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}
inline void tt_put16(std::uint8_t* at, std::uint32_t value) {
  at[0] = static_cast<std::uint8_t>(value >> 8);
  at[1] = static_cast<std::uint8_t>(value);
}
inline void tt_put32(std::uint8_t* at, std::uint32_t value) {
  tt_put16(at, value >> 16);
  tt_put16(at + 2, value);
}

/// A tag of four characters as the number that a directory holds.
constexpr std::uint32_t tt_tag(const char (&text)[5]) {
  return std::uint32_t{static_cast<std::uint8_t>(text[0])} << 24 |
         std::uint32_t{static_cast<std::uint8_t>(text[1])} << 16 |
         std::uint32_t{static_cast<std::uint8_t>(text[2])} << 8 | static_cast<std::uint8_t>(text[3]);
}

/// Bytes up to the next multiple of four.
constexpr std::uint32_t tt_padding(std::uint32_t length) {
  return (4 - (length & 3)) & 3;
}

/// A table being built. A failed allocation is remembered: later bytes are dropped, and `ok` says so.
class TTBytes {
public:
  TTBytes() = default;
  TTBytes(const TTBytes&) = delete;
  TTBytes& operator=(const TTBytes&) = delete;
  ~TTBytes() { QVFree(data_); }

  bool ok() const { return !failed_; }
  std::uint32_t size() const { return size_; }
  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }

  void u8(std::uint32_t value) {
    if (std::uint8_t* at = extend(1))
      at[0] = static_cast<std::uint8_t>(value);
  }
  void u16(std::uint32_t value) {
    if (std::uint8_t* at = extend(2))
      tt_put16(at, value);
  }
  void i16(std::int32_t value) { u16(static_cast<std::uint32_t>(value)); }
  void u32(std::uint32_t value) {
    if (std::uint8_t* at = extend(4))
      tt_put32(at, value);
  }
  void bytes(const void* from, std::uint32_t count) {
    std::uint8_t* at = extend(count);
    if (at != nullptr && count != 0)
      std::memcpy(at, from, count);
  }
  void zeros(std::uint32_t count) {
    std::uint8_t* at = extend(count);
    if (at != nullptr && count != 0)
      std::memset(at, 0, count);
  }
  void align4() { zeros(tt_padding(size_)); }

private:
  static constexpr std::uint32_t kFirst = 256;
  static constexpr std::uint32_t kMost = 0x40000000;  // no font comes near; keeps the doubling in 32 bits

  std::uint8_t* extend(std::uint32_t count) {
    if (failed_ || count > kMost - size_) {
      failed_ = true;
      return nullptr;
    }
    if (size_ + count > capacity_ && !grow(size_ + count))
      return nullptr;
    std::uint8_t* at = data_ + size_;
    size_ += count;
    return at;
  }
  bool grow(std::uint32_t least) {
    std::uint32_t room = capacity_ < kFirst ? kFirst : capacity_ * 2;
    room = room < least ? least : room;
    void* grown = QVRealloc(data_, room);
    failed_ = grown == nullptr;
    if (failed_)
      return false;
    data_ = static_cast<std::uint8_t*>(grown);
    capacity_ = room;
    return true;
  }

  std::uint8_t* data_ = nullptr;
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = 0;
  bool failed_ = false;
};

}  // namespace sheaf
