// Reading of segment data: big-endian fields, and bits for what is Huffman coded. Reads past the
// end give zeros and are remembered, so that a parser checks once, behind its last field.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sheaf/neighbours/decoders/jbig2/jb2_words.h"

namespace sheaf::jb2 {

class ByteReader {
public:
  ByteReader(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  std::uint8_t u8() {
    if (next_ == end_) {
      failed_ = true;
      return 0;
    }
    return *next_++;
  }
  std::uint16_t u16() {
    const unsigned high = u8();
    return static_cast<std::uint16_t>(high << 8 | u8());
  }
  std::uint32_t u32() {
    const std::uint32_t high = u16();
    return high << 16 | u16();
  }
  std::int8_t i8() { return static_cast<std::int8_t>(u8()); }
  std::int32_t i32() { return static_cast<std::int32_t>(u32()); }
  void skip(std::size_t count) {
    failed_ = failed_ || count > left();
    next_ += std::min(count, left());
  }
  const std::uint8_t* cursor() const { return next_; }
  std::size_t left() const { return static_cast<std::size_t>(end_ - next_); }
  bool failed() const { return failed_; }

private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
  bool failed_ = false;
};

class BitReader {
public:
  BitReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  /// The next 32 bits, without taking them.
  std::uint32_t peek() const {
    const std::size_t byte = bit_ / 8;
    std::uint64_t word = 0;
    if (byte + sizeof word <= size_) {
      word = load_word(data_ + byte);
    } else {
      for (std::size_t i = byte; i < byte + sizeof word; ++i)
        word = word << 8 | (i < size_ ? data_[i] : 0u);
    }
    return static_cast<std::uint32_t>(word << bit_ % 8 >> 32);
  }
  void skip(unsigned count) { bit_ += count; }
  /// The next `count` bits, 0 to 32.
  std::uint32_t bits(unsigned count) {
    const std::uint32_t value = count == 0 ? 0 : peek() >> (32 - count);
    skip(count);
    return value;
  }
  void align() { bit_ = (bit_ + 7) / 8 * 8; }
  /// The rest from the present byte on; the reader is at the start of a byte.
  const std::uint8_t* cursor() const { return data_ + std::min(bit_ / 8, size_); }
  std::size_t left() const { return size_ - std::min(bit_ / 8, size_); }
  void skip_bytes(std::size_t count) { bit_ += std::min(count, left()) * 8; }
  /// More has been taken than there was.
  bool failed() const { return bit_ > size_ * 8; }

private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t bit_ = 0;
};

}  // namespace sheaf::jb2
