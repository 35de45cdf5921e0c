// One character after the other, whatever the bytes are.
#include "support/utf8_steps.h"

namespace sheaf::tool {

Utf8Step utf8_step(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80)
    return {first, 1, true};
  const std::size_t bytes = first >= 0xF0 && first < 0xF5   ? 4
                            : first >= 0xE0 && first < 0xF0 ? 3
                            : first >= 0xC2 && first < 0xE0 ? 2
                                                            : 0;
  if (bytes == 0 || bytes > text.size())
    return {0, 1, false};
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  char32_t character = first & (0xFFu >> (bytes + 1));
  for (std::size_t i = 1; i < bytes; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80)
      return {0, 1, false};
    character = character << 6 | (next & 0x3Fu);
  }
  const bool is_surrogate = character >= 0xD800 && character < 0xE000;
  if (character < kLeast[bytes] || character > 0x10FFFF || is_surrogate)
    return {0, 1, false};
  return {character, bytes, true};
}

bool is_utf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Step step = utf8_step(text.substr(at));
    if (!step.is_valid)
      return false;
    at += step.bytes;
  }
  return true;
}

bool is_unprintable(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) || (character >= 0x200E && character <= 0x200F) ||
         (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

}  // namespace sheaf::tool
