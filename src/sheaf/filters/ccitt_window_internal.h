// The next bits of CCITT data in a register. The line decoders take whole runs from it; whatever is
// not a plain run (a bad code word, an end of line, repeated make-up codes) is left to the bit
// reader of the decoder, from the place where that run begins.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "sheaf/filters/ccitt_tables.h"

namespace sheaf::ccitt {

/// The 64 bits from the byte `at` on, the first one highest; 0 for bits outside the data.
inline std::uint64_t word_near_end(const std::uint8_t* data, std::int64_t len, std::int64_t at) {
  std::uint64_t word = 0;
  for (std::int64_t i = at; i < at + 8; ++i)
    word = word << 8 | (i >= 0 && i < len ? data[i] : 0u);
  return word;
}

inline std::uint64_t word_at(const std::uint8_t* data, std::int64_t len, std::int64_t at) {
  if (at < 0 || at > len - 8)
    return word_near_end(data, len, at);
  std::uint64_t word;
  std::memcpy(&word, data + at, sizeof word);
  if constexpr (std::endian::native == std::endian::little)
    word = __builtin_bswap64(word);
  return word;
}

class Window {
public:
  static constexpr unsigned kFullBits = 57;  // what a refill gives at least

  Window(const std::uint8_t* data, std::int32_t len, std::int64_t bit) : data_(data), len_(len) { refill(bit); }

  /// Puts the window at `bit`, counted from the start of the data.
  void refill(std::int64_t bit) {
    const auto used = static_cast<unsigned>(bit & 7);
    bits_ = word_at(data_, len_, bit >> 3) << used;
    held_ = 64 - used;
    end_ = bit + held_;
  }
  void need(unsigned count) {
    if (held_ < count)
      refill(position());
  }
  std::uint64_t bits() const { return bits_; }
  unsigned peek(unsigned count) const { return static_cast<unsigned>(bits_ >> (64 - count)); }
  void drop(unsigned count) {
    bits_ <<= count;
    held_ -= count;
  }
  std::int64_t position() const { return end_ - held_; }

private:
  const std::uint8_t* data_;
  std::int64_t len_;
  std::int64_t end_ = 0;  // bit after the window
  std::uint64_t bits_ = 0;
  unsigned held_ = 0;
};

/// A run with at most one make-up code. `bits` 0: not of that kind.
struct PlainRun {
  int run;
  unsigned bits;
};

template <unsigned Bits, std::size_t Size>
inline PlainRun plain_run(const std::array<std::uint16_t, Size>& table, std::uint64_t window) {
  static_assert(Size == 1u << Bits);
  const unsigned first = table[window >> (64 - Bits)];
  if (first >> 4 < kFirstMakeup)
    return {static_cast<int>(first >> 4), first & 15};
  if (first == kIrregular)
    return {0, 0};
  const unsigned second = table[window << (first & 15) >> (64 - Bits)];
  if (second >> 4 >= kFirstMakeup)
    return {0, 0};
  return {static_cast<int>((first >> 4) + (second >> 4)), (first & 15) + (second & 15)};
}

inline PlainRun plain_white(std::uint64_t window) {
  return plain_run<kWideWhiteBits>(kWideWhite, window);
}

inline PlainRun plain_black(std::uint64_t window) {
  return plain_run<kWideBlackBits>(kWideBlack, window);
}

/// Bits that a white and a black plain run take at most.
constexpr unsigned kPairBits = 2 * (kWideWhiteBits + kWideBlackBits);
static_assert(kPairBits <= Window::kFullBits);

}  // namespace sheaf::ccitt
