// The encoding forms of Unicode: surrogates of UTF-16, and characters as UTF-8 (ISO/IEC 10646, 9).
#pragma once

#include <cstdint>

namespace sheaf {

constexpr std::uint32_t kLastCharacter = 0x10FFFF;
constexpr std::uint32_t kReplacementCharacter = 0xFFFD;
constexpr int kMostUtf8Bytes = 4;

constexpr bool is_high_surrogate(std::uint32_t unit) {
  return (unit & ~0x3FFu) == 0xD800;
}
constexpr bool is_low_surrogate(std::uint32_t unit) {
  return (unit & ~0x3FFu) == 0xDC00;
}
constexpr bool is_surrogate(std::uint32_t unit) {
  return (unit & ~0x7FFu) == 0xD800;
}
/// The character of a pair.
constexpr std::uint32_t from_surrogates(std::uint32_t high, std::uint32_t low) {
  return 0x10000 + ((high & 0x3FF) << 10) + (low & 0x3FF);
}
/// The units of a character above U+FFFF.
constexpr std::uint32_t high_surrogate(std::uint32_t character) {
  return 0xD800 | ((character - 0x10000) >> 10 & 0x3FF);
}
constexpr std::uint32_t low_surrogate(std::uint32_t character) {
  return 0xDC00 | (character & 0x3FF);
}
static_assert(from_surrogates(high_surrogate(0x1F600), low_surrogate(0x1F600)) == 0x1F600);

/// Writes one character, at most kMostUtf8Bytes, and returns the end. What is no character, a
/// surrogate among others, becomes the replacement character.
constexpr char* put_utf8(char* out, std::uint32_t character) {
  if (is_surrogate(character) || character > kLastCharacter)
    character = kReplacementCharacter;
  const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
  const auto put_trailing = [&put, character](int shift) { put(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | character >> 6);
    put_trailing(0);
  } else if (character < 0x10000) {
    put(0xE0 | character >> 12);
    put_trailing(6);
    put_trailing(0);
  } else {
    put(0xF0 | character >> 18);
    put_trailing(12);
    put_trailing(6);
    put_trailing(0);
  }
  return out;
}

}  // namespace sheaf
