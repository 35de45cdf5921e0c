// A plain encoder of T.4 and T.6 rows for tests: each changing element is searched from the pixels,
// as the standards define it, so that it shares nothing with the decoder but the printed code words.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sheaf/filters/ccitt_tables.h"

using namespace sheaf;

namespace fax_test {

using Row = std::vector<std::uint8_t>;  ///< A pixel each, 1 for black.

/// A row of `width` pixels from the low bits of `pixels`, the highest of them first.
inline Row row_of(unsigned pixels, int width) {
  Row row(static_cast<std::size_t>(width));
  for (int x = 0; x < width; ++x)
    row[static_cast<std::size_t>(x)] = static_cast<std::uint8_t>(pixels >> (width - 1 - x) & 1);
  return row;
}

/// The bytes that a decoder gives for the row when black is 1.
inline std::string packed(const Row& row) {
  std::string bytes((row.size() + 7) / 8, '\0');
  for (std::size_t x = 0; x < row.size(); ++x) {
    if (row[x] != 0)
      bytes[x / 8] = static_cast<char>(bytes[x / 8] | 0x80 >> x % 8);
  }
  return bytes;
}

/// A grey ramp from left to right as an ordered dither of 4 x 4 thresholds.
inline std::vector<Row> dithered_ramp(int width, int height) {
  static constexpr int kThresholds[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  std::vector<Row> rows;
  for (int y = 0; y < height; ++y) {
    Row row;
    for (int x = 0; x < width; ++x)
      row.push_back(x * 17 / width > kThresholds[y % 4][x % 4] ? 1 : 0);
    rows.push_back(row);
  }
  return rows;
}

/// Rows of up to 1,791 pixels.
class FaxEncoder {
public:
  /// A T.6 row behind `above`.
  void t6_row(const Row& row, const Row& above) { two_dimensional(row, above); }
  void end_of_block() { put("000000000001000000000001"); }

  /// A row of T.4 after an end-of-line code, all of one dimension.
  void plain_row(const Row& row) {
    put("000000000001");
    one_dimensional(row);
  }
  /// Rows of T.4 with the end-of-line code in front and its tag bit.
  void tagged_row(const Row& row) {
    put("0000000000011");
    one_dimensional(row);
  }
  void tagged_row(const Row& row, const Row& above) {
    put("0000000000010");
    two_dimensional(row, above);
  }

  void one_dimensional(const Row& row) {
    const int width = static_cast<int>(row.size());
    bool black = false;
    for (int a0 = 0; a0 < width; black = !black) {
      const int a1 = end_of_run(row, a0, black);
      run(a1 - a0, black);
      a0 = a1;
    }
  }

  /// Fill before an end-of-line code that is to end on a byte.
  void fill_for_end_of_line() {
    while (used_ % 8 != 4)
      put("0");
  }
  /// Fill before a line that begins on a byte.
  void align() { used_ = (used_ + 7) / 8 * 8; }

  /// The bytes so far, with zeros after the last bit.
  std::string bytes() const { return out_; }

private:
  static unsigned pixel(const Row& row, int x) {
    return x < 0 || x >= static_cast<int>(row.size()) ? 0u : row[static_cast<std::size_t>(x)];
  }

  static int end_of_run(const Row& row, int from, bool black) {
    const int width = static_cast<int>(row.size());
    while (from < width && pixel(row, from) == (black ? 1u : 0u))
      ++from;
    return from;
  }

  // The first changing element right of `from` that changes to the colour opposite to `black`.
  static int change(const Row& row, int from, bool black) {
    const int width = static_cast<int>(row.size());
    for (int x = from + 1; x < width; ++x) {
      if (pixel(row, x) != pixel(row, x - 1) && pixel(row, x) == (black ? 0u : 1u))
        return x;
    }
    return width;
  }

  void two_dimensional(const Row& row, const Row& above) {
    static constexpr const char* kVertical[] = {"0000010", "000010", "010", "1", "011", "000011", "0000011"};
    const int width = static_cast<int>(row.size());
    int a0 = -1;
    bool black = false;
    while (a0 < width) {
      const int a1 = end_of_run(row, a0 < 0 ? 0 : a0, black);
      const int b1 = change(above, a0, black);
      const int b2 = change(above, b1, !black);
      if (b2 < a1) {
        put("0001");
        a0 = b2;
      } else if (a1 - b1 >= -3 && a1 - b1 <= 3) {
        put(kVertical[a1 - b1 + 3]);
        a0 = a1;
        black = !black;
      } else {
        const int a2 = end_of_run(row, a1, !black);
        put("001");
        run(a1 - (a0 < 0 ? 0 : a0), black);
        run(a2 - a1, !black);
        a0 = a2;
      }
    }
  }

  void run(int length, bool black) {
    if (length >= 64) {
      code(length / 64 * 64, black);
      length %= 64;
    }
    code(length, black);
  }

  void code(int length, bool black) {
    if (black) {
      for (const ccitt::CodeWord& word : ccitt::kBlackCodes) {
        if (static_cast<int>(word.run) == length)
          return put(word.bits);
      }
    } else {
      for (const ccitt::CodeWord& word : ccitt::kWhiteCodes) {
        if (static_cast<int>(word.run) == length)
          return put(word.bits);
      }
    }
  }

  void put(std::string_view bits) {
    for (const char bit : bits) {
      if (used_ % 8 == 0)
        out_ += '\0';
      if (bit == '1')
        out_.back() = static_cast<char>(out_.back() | 0x80 >> used_ % 8);
      ++used_;
    }
  }

  std::string out_;
  std::size_t used_ = 0;
};

}  // namespace fax_test
