// Two digits make a byte; white space and stray characters are skipped, and ">" ends the data.
#include "sheaf/filters/ascii_hex.h"

#include "sheaf/base/chars.h"

using namespace sheaf;

// The next digit of the input, or -1 at its end.
int CPDFStreamASCIIHex::next_digit() {
  while (left > 0) {
    const char character = static_cast<char>(*cursor++);
    const int digit = hex_value(character);
    --left;
    ends_ = ends_ || character == '>';
    if (digit >= 0)
      return digit;
  }
  if (!ends_)
    early_end = kEarlyEndData;
  return -1;
}

int CPDFStreamASCIIHex::read_block(void* dst, int size) {
  auto* out = static_cast<std::uint8_t*>(dst);
  int count = 0;
  while (count < size) {
    const int high = next_digit();
    if (high < 0)
      break;
    const int low = next_digit();
    out[count++] = static_cast<std::uint8_t>(high * 16 + (low < 0 ? 0 : low));
  }
  return count;
}
