// Groups of five digits make four bytes; a short last group makes fewer.
#include "sheaf/neighbours/decoders/ascii85.h"

#include "sheaf/base/chars.h"

using namespace sheaf;

void CPDFStreamASCII85::open() {
  group_pos_ = group_end_ = 0;
  ended_ = false;
  while (left > 0 && is_wide_space(static_cast<char>(*cursor))) {
    ++cursor;
    --left;
  }
  if (left >= 2 && cursor[0] == '<' && cursor[1] == '~') {
    cursor += 2;
    left -= 2;
  }
}

// Decodes the next five characters, or what there is of them before the end marker.
bool CPDFStreamASCII85::next_group() {
  constexpr int kDigits = 5;
  constexpr char kLowest = '!';
  constexpr char kHighest = 'u';
  group_pos_ = group_end_ = 0;
  std::uint32_t value = 0;
  int digits = 0;
  while (!ended_ && digits < kDigits) {
    if (left < 1) {
      ended_ = true;
      flaw = kFlawEarlyEnd;
      break;
    }
    const char c = static_cast<char>(*cursor++);
    --left;
    if (c == '~') {
      ended_ = true;
    } else if (c == 'z' && digits == 0) {
      digits = kDigits;
    } else if (c >= kLowest && c <= kHighest) {
      value = value * 85 + static_cast<std::uint32_t>(c - kLowest);  // wraps for groups beyond 2^32
      ++digits;
    }
    // Anything else, white space as a rule, is passed over.
  }
  if (digits < 2)
    return false;
  for (int i = digits; i < kDigits; ++i)
    value = value * 85 + 84;
  for (int i = 0; i < 4; ++i)
    group_[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
  group_end_ = digits - 1;
  return true;
}

int CPDFStreamASCII85::read_block(void* dst, int size) {
  auto* out = static_cast<std::uint8_t*>(dst);
  int count = 0;
  while (count < size) {
    if (group_pos_ >= group_end_ && !next_group())
      break;
    out[count++] = group_[group_pos_++];
  }
  return count;
}
