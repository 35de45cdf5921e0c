// Runs of black pixels in a row, the first pixel of a byte its highest bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace sheaf::ccitt {

/// Sets `count` pixels from `pos` on, none at or behind `columns`.
inline void draw(unsigned char* row, int pos, int count, int columns) {
  constexpr int kWordBytes = 8;
  constexpr int kFewBytes = 4 * kWordBytes;
  constexpr std::uint64_t kBlackWord = ~std::uint64_t{0};
  if (pos < 0 || count < 1 || pos >= columns)
    return;
  const int end = count > columns - pos ? columns : pos + count;
  const int first = pos >> 3;
  const int last = end >> 3;
  const unsigned head = 0xFFu >> (pos & 7);
  const unsigned tail = 0xFFu & ~(0xFFu >> (end & 7));
  if (first == last) {
    row[first] |= static_cast<unsigned char>(head & tail);
    return;
  }
  row[first] |= static_cast<unsigned char>(head);
  unsigned char* at = row + first + 1;
  int bytes = last - first - 1;
  if (bytes > kFewBytes) {
    std::memset(at, 0xFF, static_cast<std::size_t>(bytes));
  } else {
    for (; bytes >= kWordBytes; bytes -= kWordBytes, at += kWordBytes)
      std::memcpy(at, &kBlackWord, sizeof kBlackWord);
    for (; bytes > 0; --bytes)
      *at++ = 0xFF;
  }
  if (tail != 0)
    row[last] |= static_cast<unsigned char>(tail);
}

}  // namespace sheaf::ccitt
