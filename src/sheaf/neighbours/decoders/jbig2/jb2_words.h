// Words of 64 bits at any byte, the first bit highest.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace sheaf::jb2 {

inline std::uint64_t in_bit_order(std::uint64_t word) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(word) : word;
}

inline std::uint64_t load_word(const std::uint8_t* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return in_bit_order(word);
}

inline void store_word(std::uint8_t* bytes, std::uint64_t word) {
  word = in_bit_order(word);
  std::memcpy(bytes, &word, sizeof word);
}

}  // namespace sheaf::jb2
