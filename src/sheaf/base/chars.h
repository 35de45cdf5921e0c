// Character classes of PDF syntax (ISO 32000-1, 7.2.2), from one table and free of any locale.
#pragma once

#include <array>
#include <cstdint>

namespace sheaf {

enum CharClass : std::uint8_t {
  kStrictSpace = 1,  // TAB, LF, VT, FF, CR, SPACE: VT counts here, other than in the standard
  kNul = 2,          // white space in the wide set only
  kDigit = 4,
  kHexDigit = 8,
  kDelimiter = 16,  // ( ) < > [ ] { } / %
};

constexpr std::array<std::uint8_t, 256> kCharClasses = []() {
  std::array<std::uint8_t, 256> table{};
  for (unsigned c = 9; c <= 13; ++c)
    table[c] = kStrictSpace;
  table[' '] = kStrictSpace;
  table[0] = kNul;
  for (unsigned c = '0'; c <= '9'; ++c)
    table[c] = kDigit | kHexDigit;
  for (unsigned c = 0; c < 6; ++c) {
    table['a' + c] = kHexDigit;
    table['A' + c] = kHexDigit;
  }
  for (const char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'})
    table[static_cast<unsigned char>(c)] = kDelimiter;
  return table;
}();

constexpr bool has_class(char c, unsigned classes) {
  return (kCharClasses[static_cast<unsigned char>(c)] & classes) != 0;
}
constexpr bool is_strict_space(char c) {
  return has_class(c, kStrictSpace);
}
constexpr bool is_wide_space(char c) {
  return has_class(c, kStrictSpace | kNul);
}
constexpr bool is_digit(char c) {
  return has_class(c, kDigit);
}
/// Neither white space (wide set) nor a delimiter.
constexpr bool is_regular(char c) {
  return !has_class(c, kStrictSpace | kNul | kDelimiter);
}
/// The value of a hexadecimal digit, or -1.
constexpr int hex_value(char c) {
  if (!has_class(c, kHexDigit))
    return -1;
  return is_digit(c) ? c - '0' : (c | 0x20) - 'a' + 10;
}

}  // namespace sheaf
