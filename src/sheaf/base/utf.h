// The encoding forms of Unicode: surrogates of UTF-16, and characters as UTF-8 (ISO/IEC 10646, 9).
#pragma once

#include <cstddef>
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

/// Appends one character, or those of a wide text up to its 0, to a text that has `append`. The halves of a surrogate
/// pair may be elements of their own.
template <class Text>
void append_utf8(Text& out, std::uint32_t character) {
  char bytes[kMostUtf8Bytes];
  out.append(bytes, static_cast<std::size_t>(put_utf8(bytes, character) - bytes));
}
template <class Text>
void append_utf8(Text& out, const wchar_t* text) {
  for (; *text != 0; ++text) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wide one
    auto character = static_cast<std::uint32_t>(*text);
    if (is_high_surrogate(character) && is_low_surrogate(static_cast<std::uint32_t>(text[1])))
      character = from_surrogates(character, static_cast<std::uint32_t>(*++text));
    append_utf8(out, character);
  }
}

/// One character as it was read. Where the bytes are no character, `bytes` counts those before the one that does not
/// fit, at least 1.
struct Utf8Step {
  std::uint32_t character;
  std::size_t bytes;
  bool is_valid;
};

/// Reads the first character of `size` bytes, 1 at least: overlong forms, surrogates and numbers above U+10FFFF are no
/// characters (RFC 3629).
constexpr Utf8Step read_utf8(const char* text, std::size_t size) {
  constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const auto byte = [text](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
  const std::uint32_t first = byte(0);
  if (first < 0x80)
    return {first, 1, true};
  const std::size_t count = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
  if (count == 0)
    return {0, 1, false};
  std::uint32_t character = first & (0xFFu >> (count + 1));
  for (std::size_t i = 1; i < count; ++i) {
    if (i == size || (byte(i) & 0xC0) != 0x80)
      return {0, i, false};
    character = character << 6 | (byte(i) & 0x3F);
  }
  return {character, count, character >= kLeast[count] && character <= kLastCharacter && !is_surrogate(character)};
}

}  // namespace sheaf
