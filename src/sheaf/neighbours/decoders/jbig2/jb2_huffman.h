// Huffman tables (T.88, Annex B): canonical codes over lines that stand for ranges of values. The
// standard tables are built by the compiler, custom ones and those of symbol IDs from the data.
#pragma once

#include <array>
#include <cstdint>

#include "sheaf/neighbours/decoders/jbig2/jb2_arithmetic.h"
#include "sheaf/neighbours/decoders/jbig2/jb2_input.h"

namespace sheaf::jb2 {

enum class LineKind : std::uint8_t {
  kRange,    ///< `low` plus `range_bits` bits.
  kBelow,    ///< `low` minus 32 bits.
  kNoValue,  ///< kOutOfBand.
};

struct HuffmanLine {
  std::int32_t low;
  std::uint8_t code_bits;  ///< 0: no code.
  std::uint8_t range_bits;
  LineKind kind;
};

constexpr unsigned kMostCodeBits = 32;
constexpr unsigned kCodeLengths = kMostCodeBits + 1;  // 0 stands for no code
constexpr unsigned kOpenRangeBits = 32;

/// Where the codes of each length start, as a decoder needs it. All zero: no codes.
struct HuffmanCodes {
  std::array<std::uint64_t, kCodeLengths> behind_last;  ///< By length: the code behind the last, in 32 bits.
  std::array<std::uint32_t, kCodeLengths> first_line;   ///< By length: the index of its first line, sorted.
  unsigned least_bits;
  unsigned most_bits;
};

/// Sorts the `count` lines that have a code into `sorted` and fills `codes`. False when the lengths
/// ask for more codes than there are (B.3).
constexpr bool build_codes(const HuffmanLine* lines, std::uint32_t count, HuffmanLine* sorted, HuffmanCodes& codes) {
  std::array<std::uint32_t, kCodeLengths> per_length = {};
  for (std::uint32_t i = 0; i < count; ++i) {
    if (lines[i].code_bits > kMostCodeBits)
      return false;
    ++per_length[lines[i].code_bits];
  }
  codes = {};
  codes.least_bits = kMostCodeBits + 1;
  std::uint64_t code = 0;
  std::uint32_t line = 0;
  for (unsigned bits = 1; bits <= kMostCodeBits; ++bits) {
    codes.first_line[bits] = line;
    line += per_length[bits];
    code += static_cast<std::uint64_t>(per_length[bits]) << (kMostCodeBits - bits);
    codes.behind_last[bits] = code;
    if (per_length[bits] == 0)
      continue;
    codes.least_bits = bits < codes.least_bits ? bits : codes.least_bits;
    codes.most_bits = bits;
  }
  if (code > std::uint64_t{1} << kMostCodeBits)
    return false;
  std::array<std::uint32_t, kCodeLengths> next = codes.first_line;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (lines[i].code_bits != 0)
      sorted[next[lines[i].code_bits]++] = lines[i];
  }
  return true;
}

/// One table. Borrows its lines.
struct HuffmanTable {
  const HuffmanLine* lines;  ///< In the order of their codes.
  HuffmanCodes codes;

  /// The next value, kOutOfBand, or kDamaged for a code that is not assigned or past the data.
  std::int64_t decode(BitReader& bits) const;
};

/// The standard table `number`, 1 to 15 (B.1 to B.15).
const HuffmanTable& standard_table(int number);

/// What a tables segment produced. The lines can be released alone, which leaves no codes.
struct HuffmanRecord {
  std::int64_t count;
  HuffmanLine* lines;
  HuffmanCodes codes;
};

}  // namespace sheaf::jb2
