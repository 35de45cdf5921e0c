// Each row filter has a version for the usual pixel sizes, which keeps the neighbours in registers.
#include "sheaf/filters/png_rows.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace sheaf {

namespace {

enum PngTag : int { kSub = 1, kUp = kPngUp, kAverage = 3, kPaeth = 4 };

constexpr std::uint8_t sum(int a, int b) {
  return static_cast<std::uint8_t>(a + b);
}

constexpr int guess_left(int left, int, int) {
  return left;
}

constexpr int guess_average(int left, int above, int) {
  return (left + above) / 2;
}

// The neighbour that is nearest to left + above - corner; ties go to left, then to above.
constexpr int guess_paeth(int left, int above, int corner) {
  const int to_left = std::abs(above - corner);
  const int to_above = std::abs(left - corner);
  const int to_corner = std::abs(left + above - 2 * corner);
  const int vertical = to_above <= to_corner ? above : corner;
  return to_left <= to_above && to_left <= to_corner ? left : vertical;
}

using Guess = int (*)(int left, int above, int corner);

template <Guess guess>
void undo_any(std::uint8_t* row, const std::uint8_t* above, int from, int size, int pixel) {
  for (int i = from; i < size; ++i)
    row[i] = sum(row[i], guess(row[i - pixel], above[i], above[i - pixel]));
}

// A pixel's bytes do not depend on each other, so whole pixels, with the neighbours in registers,
// are several times as fast as one byte after the other.
template <Guess guess, int pixel>
void undo_pixels(std::uint8_t* row, const std::uint8_t* above, int size) {
  int left[pixel];
  int corner[pixel];
  for (int k = 0; k < pixel; ++k) {
    left[k] = row[k];
    corner[k] = above[k];
  }
  int i = pixel;
  for (; i + pixel <= size; i += pixel) {
    for (int k = 0; k < pixel; ++k) {
      const int over = above[i + k];
      left[k] = sum(row[i + k], guess(left[k], over, corner[k]));
      corner[k] = over;
      row[i + k] = static_cast<std::uint8_t>(left[k]);
    }
  }
  undo_any<guess>(row, above, i, size, pixel);
}

template <Guess guess>
void undo_row(std::uint8_t* row, const std::uint8_t* above, int size, int pixel) {
  // There is nothing left of the first pixel.
  const int first = std::min(pixel, size);
  for (int i = 0; i < first; ++i)
    row[i] = sum(row[i], guess(0, above[i], 0));
  if (size <= pixel)
    return;
  switch (pixel) {
    case 1:
      return undo_pixels<guess, 1>(row, above, size);
    case 2:
      return undo_pixels<guess, 2>(row, above, size);
    case 3:
      return undo_pixels<guess, 3>(row, above, size);
    case 4:
      return undo_pixels<guess, 4>(row, above, size);
    case 6:
      return undo_pixels<guess, 6>(row, above, size);
    case 8:
      return undo_pixels<guess, 8>(row, above, size);
    default:
      return undo_any<guess>(row, above, pixel, size, pixel);
  }
}

void undo_up(std::uint8_t* __restrict row, const std::uint8_t* __restrict above, int size) {
  for (int i = 0; i < size; ++i)
    row[i] = sum(row[i], above[i]);
}

// Adds bytes of two words without a carry from one byte to the next.
template <class Word>
void add_bytes(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b) {
  constexpr auto kLow = static_cast<Word>(0x7F7F7F7F7F7F7F7F);
  Word left{};
  Word right{};
  std::memcpy(&left, a, sizeof(Word));
  std::memcpy(&right, b, sizeof(Word));
  const auto total = static_cast<Word>(((left & kLow) + (right & kLow)) ^ ((left ^ right) & ~kLow));
  std::memcpy(dst, &total, sizeof(Word));
}

}  // namespace

void copy_up_row(std::uint8_t* __restrict dst, const std::uint8_t* __restrict row, const std::uint8_t* __restrict above,
                 int size) {
  constexpr int kShort = 64;  // longer rows are worth the compiler's vectors
  if (size >= kShort) {
    for (int i = 0; i < size; ++i)
      dst[i] = sum(row[i], above[i]);
    return;
  }
  // The next row reads the same words again: where they overlapped, it would have to wait for them.
  int i = 0;
  for (; i + 8 <= size; i += 8)
    add_bytes<std::uint64_t>(dst + i, row + i, above + i);
  if ((size & 4) != 0) {
    add_bytes<std::uint32_t>(dst + i, row + i, above + i);
    i += 4;
  }
  if ((size & 2) != 0) {
    add_bytes<std::uint16_t>(dst + i, row + i, above + i);
    i += 2;
  }
  if ((size & 1) != 0)
    dst[i] = sum(row[i], above[i]);
}

void undo_png_row(int tag, std::uint8_t* row, const std::uint8_t* above, int size, int pixel) {
  switch (tag) {
    case kSub:
      return undo_row<guess_left>(row, above, size, pixel);
    case kUp:
      return undo_up(row, above, size);
    case kAverage:
      return undo_row<guess_average>(row, above, size, pixel);
    case kPaeth:
      return undo_row<guess_paeth>(row, above, size, pixel);
    default:
      return;
  }
}

}  // namespace sheaf
