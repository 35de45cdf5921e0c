// Looking up glyph names and characters.
#include <algorithm>
#include <cstring>

#include "sheaf/base/chars.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/standard_glyphs.h"

namespace sheaf {

namespace {

// The number behind `prefix`, of `least` to `most` digits to the end of the name; 0 when it is not one.
std::uint32_t hex_behind(const char* name, const char* prefix, int least, int most) {
  const std::size_t len = std::strlen(prefix);
  if (std::strncmp(name, prefix, len) != 0)
    return 0;
  std::uint32_t value = 0;
  int digits = 0;
  for (const char* at = name + len; *at != 0; ++at, ++digits) {
    const int digit = hex_value(*at);
    if (digit < 0 || digits == most)
      return 0;
    value = value * 16 + static_cast<std::uint32_t>(digit);
  }
  return digits >= least && value <= kLastCharacter ? value : 0;
}

// Cyrillic letters have numbered names: the alphabet in order, with IO behind its sixth letter.
std::uint32_t cyrillic(const char* name) {
  if (std::strncmp(name, "afii", 4) != 0 || std::strlen(name) != 9)
    return 0;
  int number = 0;
  for (const char* at = name + 4; *at != 0; ++at) {
    if (!is_digit(*at))
      return 0;
    number = number * 10 + (*at - '0');
  }
  const auto letter = [number](int first, std::uint32_t alphabet, std::uint32_t io) -> std::uint32_t {
    constexpr int kIo = 6;
    constexpr int kLetters = 33;
    const int index = number - first;
    if (index < 0 || index >= kLetters)
      return 0;
    if (index == kIo)
      return io;
    return alphabet + static_cast<std::uint32_t>(index < kIo ? index : index - 1);
  };
  const std::uint32_t capital = letter(10017, 0x410, 0x401);
  return capital != 0 ? capital : letter(10065, 0x430, 0x451);
}

}  // namespace

std::uint32_t character_of_glyph(const char* name) {
  const StandardGlyph* const end = kStandardGlyphs + kStandardGlyphCount;
  const StandardGlyph* const found =
      std::lower_bound(kStandardGlyphs, end, name,
                       [](const StandardGlyph& row, const char* key) { return std::strcmp(row.name, key) < 0; });
  if (found != end && std::strcmp(found->name, name) == 0)
    return found->character;
  if (const std::uint32_t letter = cyrillic(name))
    return letter;
  const std::uint32_t number = hex_behind(name, "uni", 4, 4);
  return number != 0 ? number : hex_behind(name, "u", 4, 6);
}

const StandardGlyph* glyph_of_character(std::uint32_t character) {
  for (int i = 0; i < kStandardGlyphCount; ++i) {
    if (kStandardGlyphs[i].character == character)
      return &kStandardGlyphs[i];
  }
  return nullptr;
}

}  // namespace sheaf
