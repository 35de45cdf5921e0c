// Decimal integers without the locale of the C library, which would also be slower.
#include "sheaf/base/number_text.h"

#include "sheaf/base/chars.h"

using namespace sheaf;

std::int32_t ansi_to_i32(const char* text) {
  const bool negative = *text == '-';
  if (negative || *text == '+')
    ++text;
  std::uint32_t value = 0;  // wraps in 32 bits on purpose
  for (; is_digit(*text); ++text)
    value = value * 10 + static_cast<std::uint32_t>(*text - '0');
  return static_cast<std::int32_t>(negative ? 0 - value : value);
}

int ansi_from_u32(char* out, std::uint32_t value) {
  char reversed[kNumberTextSize];
  int count = 0;
  do {
    reversed[count++] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  for (int i = 0; i < count; ++i)
    out[i] = reversed[count - 1 - i];
  out[count] = 0;
  return count;
}

int ansi_from_i32(char* out, std::int32_t value) {
  if (value >= 0)
    return ansi_from_u32(out, static_cast<std::uint32_t>(value));
  *out = '-';
  return 1 + ansi_from_u32(out + 1, 0 - static_cast<std::uint32_t>(value));
}
