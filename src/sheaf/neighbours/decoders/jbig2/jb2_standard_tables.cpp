// The standard Huffman tables as printed in T.88, Annex B.5, with their codes made by the compiler.
#include <cstddef>

#include "sheaf/neighbours/decoders/jbig2/jb2_huffman.h"

namespace sheaf::jb2 {
namespace {

constexpr HuffmanLine range(std::int32_t low, std::uint8_t code_bits, std::uint8_t range_bits) {
  return {low, code_bits, range_bits, LineKind::kRange};
}
constexpr HuffmanLine below(std::int32_t high, std::uint8_t code_bits) {
  return {high, code_bits, kOpenRangeBits, LineKind::kBelow};
}
constexpr HuffmanLine above(std::int32_t low, std::uint8_t code_bits) {
  return {low, code_bits, kOpenRangeBits, LineKind::kRange};
}
constexpr HuffmanLine out_of_band(std::uint8_t code_bits) {
  return {0, code_bits, 0, LineKind::kNoValue};
}

constexpr std::array kB1 = {range(0, 1, 4), range(16, 2, 8), range(272, 3, 16), above(65808, 3)};
constexpr std::array kB2 = {range(0, 1, 0),  range(1, 2, 0), range(2, 3, 0), range(3, 4, 3),
                            range(11, 5, 6), above(75, 6),   out_of_band(6)};
constexpr std::array kB3 = {range(-256, 8, 8), range(0, 1, 0), range(1, 2, 0), range(2, 3, 0), range(3, 4, 3),
                            range(11, 5, 6),   below(-257, 8), above(75, 7),   out_of_band(6)};
constexpr std::array kB4 = {range(1, 1, 0), range(2, 2, 0),  range(3, 3, 0),
                            range(4, 4, 3), range(12, 5, 6), above(76, 5)};
constexpr std::array kB5 = {range(-255, 7, 8), range(1, 1, 0),  range(2, 2, 0), range(3, 3, 0),
                            range(4, 4, 3),    range(12, 5, 6), below(-256, 7), above(76, 6)};
constexpr std::array kB6 = {range(-2048, 5, 10), range(-1024, 4, 9), range(-512, 4, 8), range(-256, 4, 7),
                            range(-128, 5, 6),   range(-64, 5, 5),   range(-32, 4, 5),  range(0, 2, 7),
                            range(128, 3, 7),    range(256, 3, 8),   range(512, 4, 9),  range(1024, 4, 10),
                            below(-2049, 6),     above(2048, 6)};
constexpr std::array kB7 = {range(-1024, 4, 9), range(-512, 3, 8), range(-256, 4, 7), range(-128, 5, 6),
                            range(-64, 5, 5),   range(-32, 4, 5),  range(0, 4, 5),    range(32, 5, 5),
                            range(64, 5, 6),    range(128, 4, 7),  range(256, 3, 8),  range(512, 3, 9),
                            range(1024, 3, 10), below(-1025, 5),   above(2048, 5)};
constexpr std::array kB8 = {range(-15, 8, 3), range(-7, 9, 1),  range(-5, 8, 1),   range(-3, 9, 0), range(-2, 7, 0),
                            range(-1, 4, 0),  range(0, 2, 1),   range(2, 5, 0),    range(3, 6, 0),  range(4, 3, 4),
                            range(20, 6, 1),  range(22, 4, 4),  range(38, 4, 5),   range(70, 5, 6), range(134, 5, 7),
                            range(262, 6, 7), range(390, 7, 8), range(646, 6, 10), below(-16, 9),   above(1670, 9),
                            out_of_band(2)};
constexpr std::array kB9 = {range(-31, 8, 4), range(-15, 9, 2), range(-11, 8, 2), range(-7, 9, 1),    range(-5, 7, 1),
                            range(-3, 4, 1),  range(-1, 3, 1),  range(1, 3, 1),   range(3, 5, 1),     range(5, 6, 1),
                            range(7, 3, 5),   range(39, 6, 2),  range(43, 4, 5),  range(75, 4, 6),    range(139, 5, 7),
                            range(267, 5, 8), range(523, 6, 8), range(779, 7, 9), range(1291, 6, 11), below(-32, 9),
                            above(3339, 9),   out_of_band(2)};
constexpr std::array kB10 = {
    range(-21, 7, 4), range(-5, 8, 0),  range(-4, 7, 0),  range(-3, 5, 0),  range(-2, 2, 2),    range(2, 5, 0),
    range(3, 6, 0),   range(4, 7, 0),   range(5, 8, 0),   range(6, 2, 6),   range(70, 5, 5),    range(102, 6, 5),
    range(134, 6, 6), range(198, 6, 7), range(326, 6, 8), range(582, 6, 9), range(1094, 6, 10), range(2118, 7, 11),
    below(-22, 8),    above(4166, 8),   out_of_band(2)};
constexpr std::array kB11 = {range(1, 1, 0),  range(2, 2, 1),  range(4, 4, 0),  range(5, 4, 1),  range(7, 5, 1),
                             range(9, 5, 2),  range(13, 6, 2), range(17, 7, 2), range(21, 7, 3), range(29, 7, 4),
                             range(45, 7, 5), range(77, 7, 6), above(141, 7)};
constexpr std::array kB12 = {range(1, 1, 0),  range(2, 2, 0),  range(3, 3, 1),  range(5, 5, 0),  range(6, 5, 1),
                             range(8, 6, 1),  range(10, 7, 0), range(11, 7, 1), range(13, 7, 2), range(17, 7, 3),
                             range(25, 7, 4), range(41, 8, 5), above(73, 8)};
constexpr std::array kB13 = {range(1, 1, 0),  range(2, 3, 0),  range(3, 4, 0),  range(4, 5, 0),  range(5, 4, 1),
                             range(7, 3, 3),  range(15, 6, 1), range(17, 6, 2), range(21, 6, 3), range(29, 6, 4),
                             range(45, 6, 5), range(77, 7, 6), above(141, 7)};
constexpr std::array kB14 = {range(-2, 3, 0), range(-1, 3, 0), range(0, 1, 0), range(1, 3, 0), range(2, 3, 0)};
constexpr std::array kB15 = {range(-24, 7, 4), range(-8, 6, 2), range(-4, 5, 1), range(-2, 4, 0), range(-1, 3, 0),
                             range(0, 1, 0),   range(1, 3, 0),  range(2, 4, 0),  range(3, 5, 1),  range(5, 6, 2),
                             range(9, 7, 4),   below(-25, 7),   above(25, 7)};

template <std::size_t N>
struct BuiltTable {
  std::array<HuffmanLine, N> sorted;
  HuffmanCodes codes;
};

// A complete code: every sequence of bits begins with one of its words.
template <std::size_t N>
consteval bool is_complete(const BuiltTable<N>& table) {
  return table.codes.behind_last[kMostCodeBits] == std::uint64_t{1} << kMostCodeBits;
}

template <std::size_t N>
consteval BuiltTable<N> build(const std::array<HuffmanLine, N>& lines) {
  BuiltTable<N> table = {};
  build_codes(lines.data(), N, table.sorted.data(), table.codes);
  return table;
}

// Ranges that follow on each other cover every value in between once.
template <std::size_t N>
consteval bool is_seamless(const std::array<HuffmanLine, N>& lines) {
  for (std::size_t i = 1; i < N; ++i) {
    const HuffmanLine& line = lines[i - 1];
    if (lines[i].kind != LineKind::kRange || line.kind != LineKind::kRange)
      continue;
    if (lines[i].low != line.low + (1 << line.range_bits) && lines[i].low != lines[i - 1].low)
      return false;
  }
  return true;
}

template <const auto& kLines>
struct Built {
  static constexpr auto kTable = build(kLines);
  static_assert(is_complete(kTable));
  static_assert(is_seamless(kLines));
};

template <const auto& kLines>
constexpr HuffmanTable table_of() {
  return {Built<kLines>::kTable.sorted.data(), Built<kLines>::kTable.codes};
}

constexpr int kTables = 15;
constexpr HuffmanTable kStandard[kTables] = {
    table_of<kB1>(),  table_of<kB2>(),  table_of<kB3>(),  table_of<kB4>(),  table_of<kB5>(),
    table_of<kB6>(),  table_of<kB7>(),  table_of<kB8>(),  table_of<kB9>(),  table_of<kB10>(),
    table_of<kB11>(), table_of<kB12>(), table_of<kB13>(), table_of<kB14>(), table_of<kB15>(),
};

}  // namespace

const HuffmanTable& standard_table(int number) {
  return kStandard[number - 1];
}

std::int64_t HuffmanTable::decode(BitReader& bits) const {
  const std::uint32_t window = bits.peek();
  unsigned length = codes.least_bits;
  while (length <= codes.most_bits && window >= codes.behind_last[length])
    ++length;
  if (length > codes.most_bits)
    return kDamaged;
  const std::uint64_t first = length > 1 ? codes.behind_last[length - 1] : 0;
  const auto offset = static_cast<std::uint32_t>((window - first) >> (kMostCodeBits - length));
  const HuffmanLine& line = lines[codes.first_line[length] + offset];
  bits.skip(length);
  const std::int64_t within = bits.bits(line.range_bits);
  if (bits.failed())
    return kDamaged;
  if (line.kind == LineKind::kNoValue)
    return kOutOfBand;
  return line.kind == LineKind::kBelow ? line.low - within : line.low + within;
}

}  // namespace sheaf::jb2
