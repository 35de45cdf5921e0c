// Which characters of names and strings are printed as they are.
#pragma once

#include <array>
#include <cstdint>

#include "sheaf/base/chars.h"

namespace sheaf {

constexpr bool is_printable(char c) {
  return c >= ' ' && c <= '~';
}

// The letter behind the backslash for the characters that have one, or 0.
constexpr char escape_letter(char c) {
  switch (c) {
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '(':
    case ')':
    case '\\':
      return c;
    default:
      return 0;
  }
}

/// How many characters each byte takes in a literal string.
inline constexpr std::array<std::uint8_t, 256> kLiteralSizes = []() {
  std::array<std::uint8_t, 256> table{};
  for (unsigned c = 0; c < table.size(); ++c) {
    const auto byte = static_cast<char>(c);
    table[c] = escape_letter(byte) != 0 ? 2 : is_printable(byte) ? 1 : 4;
  }
  return table;
}();

constexpr unsigned literal_size(char c) {
  return kLiteralSizes[static_cast<unsigned char>(c)];
}

inline constexpr std::array<bool, 256> kPlainInNames = []() {
  std::array<bool, 256> table{};
  for (unsigned c = 0; c < table.size(); ++c)
    table[c] = is_regular(static_cast<char>(c)) && is_printable(static_cast<char>(c)) && c != '#';
  return table;
}();

/// Whether a name is printed with the character itself and not with its code (ISO 32000-1, 7.3.5).
constexpr bool is_plain_in_name(char c) {
  return kPlainInNames[static_cast<unsigned char>(c)];
}

}  // namespace sheaf
