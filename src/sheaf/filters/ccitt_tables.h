// The code tables of ITU-T T.4 and T.6, built by the compiler from the code words as the standards
// print them. Layout of an entry, bit 0 the lowest:
//
//   run tables            bit 0 make-up, bits 1-4 code length, bits 5-15 run
//   additional make-up    bits 1-3 code length, bits 4-15 run
//   two-dimensional       bits 0-2 code length, bits 3-6 mode
//   wide run tables       bits 0-3 code length, bits 4-15 run
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sheaf::ccitt {

constexpr unsigned kExtendedMakeup = 12;  // code length that says: look into the additional make-up codes
constexpr unsigned kEndOfLine = 15;       // code length that says: an end-of-line code

/// Modes of a two-dimensional line (T.6, table 1). A vertical mode less kVertical0 is the distance.
enum Mode : unsigned {
  kPass = 0,
  kHorizontal = 1,
  kFirstVertical = 2,
  kVertical0 = 5,
  kLastVertical = 8,
  kExtension = 11,
  kNoMode = 15
};

struct CodeWord {
  std::string_view bits;
  unsigned run;
};

/// Terminating codes of white runs, then their make-up codes (T.4, tables 2 and 3a).
constexpr CodeWord kWhiteCodes[] = {
    {"00110101", 0},     {"000111", 1},       {"0111", 2},         {"1000", 3},         {"1011", 4},
    {"1100", 5},         {"1110", 6},         {"1111", 7},         {"10011", 8},        {"10100", 9},
    {"00111", 10},       {"01000", 11},       {"001000", 12},      {"000011", 13},      {"110100", 14},
    {"110101", 15},      {"101010", 16},      {"101011", 17},      {"0100111", 18},     {"0001100", 19},
    {"0001000", 20},     {"0010111", 21},     {"0000011", 22},     {"0000100", 23},     {"0101000", 24},
    {"0101011", 25},     {"0010011", 26},     {"0100100", 27},     {"0011000", 28},     {"00000010", 29},
    {"00000011", 30},    {"00011010", 31},    {"00011011", 32},    {"00010010", 33},    {"00010011", 34},
    {"00010100", 35},    {"00010101", 36},    {"00010110", 37},    {"00010111", 38},    {"00101000", 39},
    {"00101001", 40},    {"00101010", 41},    {"00101011", 42},    {"00101100", 43},    {"00101101", 44},
    {"00000100", 45},    {"00000101", 46},    {"00001010", 47},    {"00001011", 48},    {"01010010", 49},
    {"01010011", 50},    {"01010100", 51},    {"01010101", 52},    {"00100100", 53},    {"00100101", 54},
    {"01011000", 55},    {"01011001", 56},    {"01011010", 57},    {"01011011", 58},    {"01001010", 59},
    {"01001011", 60},    {"00110010", 61},    {"00110011", 62},    {"00110100", 63},    {"11011", 64},
    {"10010", 128},      {"010111", 192},     {"0110111", 256},    {"00110110", 320},   {"00110111", 384},
    {"01100100", 448},   {"01100101", 512},   {"01101000", 576},   {"01100111", 640},   {"011001100", 704},
    {"011001101", 768},  {"011010010", 832},  {"011010011", 896},  {"011010100", 960},  {"011010101", 1024},
    {"011010110", 1088}, {"011010111", 1152}, {"011011000", 1216}, {"011011001", 1280}, {"011011010", 1344},
    {"011011011", 1408}, {"010011000", 1472}, {"010011001", 1536}, {"010011010", 1600}, {"011000", 1664},
    {"010011011", 1728}};

/// The same for black runs.
constexpr CodeWord kBlackCodes[] = {{"0000110111", 0},
                                    {"010", 1},
                                    {"11", 2},
                                    {"10", 3},
                                    {"011", 4},
                                    {"0011", 5},
                                    {"0010", 6},
                                    {"00011", 7},
                                    {"000101", 8},
                                    {"000100", 9},
                                    {"0000100", 10},
                                    {"0000101", 11},
                                    {"0000111", 12},
                                    {"00000100", 13},
                                    {"00000111", 14},
                                    {"000011000", 15},
                                    {"0000010111", 16},
                                    {"0000011000", 17},
                                    {"0000001000", 18},
                                    {"00001100111", 19},
                                    {"00001101000", 20},
                                    {"00001101100", 21},
                                    {"00000110111", 22},
                                    {"00000101000", 23},
                                    {"00000010111", 24},
                                    {"00000011000", 25},
                                    {"000011001010", 26},
                                    {"000011001011", 27},
                                    {"000011001100", 28},
                                    {"000011001101", 29},
                                    {"000001101000", 30},
                                    {"000001101001", 31},
                                    {"000001101010", 32},
                                    {"000001101011", 33},
                                    {"000011010010", 34},
                                    {"000011010011", 35},
                                    {"000011010100", 36},
                                    {"000011010101", 37},
                                    {"000011010110", 38},
                                    {"000011010111", 39},
                                    {"000001101100", 40},
                                    {"000001101101", 41},
                                    {"000011011010", 42},
                                    {"000011011011", 43},
                                    {"000001010100", 44},
                                    {"000001010101", 45},
                                    {"000001010110", 46},
                                    {"000001010111", 47},
                                    {"000001100100", 48},
                                    {"000001100101", 49},
                                    {"000001010010", 50},
                                    {"000001010011", 51},
                                    {"000000100100", 52},
                                    {"000000110111", 53},
                                    {"000000111000", 54},
                                    {"000000100111", 55},
                                    {"000000101000", 56},
                                    {"000001011000", 57},
                                    {"000001011001", 58},
                                    {"000000101011", 59},
                                    {"000000101100", 60},
                                    {"000001011010", 61},
                                    {"000001100110", 62},
                                    {"000001100111", 63},
                                    {"0000001111", 64},
                                    {"000011001000", 128},
                                    {"000011001001", 192},
                                    {"000001011011", 256},
                                    {"000000110011", 320},
                                    {"000000110100", 384},
                                    {"000000110101", 448},
                                    {"0000001101100", 512},
                                    {"0000001101101", 576},
                                    {"0000001001010", 640},
                                    {"0000001001011", 704},
                                    {"0000001001100", 768},
                                    {"0000001001101", 832},
                                    {"0000001110010", 896},
                                    {"0000001110011", 960},
                                    {"0000001110100", 1024},
                                    {"0000001110101", 1088},
                                    {"0000001110110", 1152},
                                    {"0000001110111", 1216},
                                    {"0000001010010", 1280},
                                    {"0000001010011", 1344},
                                    {"0000001010100", 1408},
                                    {"0000001010101", 1472},
                                    {"0000001011010", 1536},
                                    {"0000001011011", 1600},
                                    {"0000001100100", 1664},
                                    {"0000001100101", 1728}};

/// Make-up codes of both colours (T.4, table 3b).
constexpr CodeWord kExtendedCodes[] = {{"00000001000", 1792},  {"00000001100", 1856},  {"00000001101", 1920},
                                       {"000000010010", 1984}, {"000000010011", 2048}, {"000000010100", 2112},
                                       {"000000010101", 2176}, {"000000010110", 2240}, {"000000010111", 2304},
                                       {"000000011100", 2368}, {"000000011101", 2432}, {"000000011110", 2496},
                                       {"000000011111", 2560}};

/// Modes by their number: pass, horizontal, three left to three right, extension.
constexpr CodeWord kModeCodes[] = {{"0001", kPass}, {"001", kHorizontal},   {"0000010", 2}, {"000010", 3},
                                   {"010", 4},      {"1", kVertical0},      {"011", 6},     {"000011", 7},
                                   {"0000011", 8},  {"0000001", kExtension}};

constexpr unsigned kFirstMakeup = 64;

constexpr unsigned value_of(std::string_view bits) {
  unsigned value = 0;
  for (const char c : bits)
    value = value * 2 + static_cast<unsigned>(c - '0');
  return value;
}

template <std::size_t Count>
constexpr bool is_prefix_free(const CodeWord (&codes)[Count]) {
  for (std::size_t i = 0; i < Count; ++i) {
    for (std::size_t k = 0; k < Count; ++k) {
      if (i != k && codes[k].bits.substr(0, codes[i].bits.size()) == codes[i].bits)
        return false;
    }
  }
  return true;
}
static_assert(is_prefix_free(kWhiteCodes) && is_prefix_free(kBlackCodes) && is_prefix_free(kExtendedCodes) &&
              is_prefix_free(kModeCodes));
static_assert(std::size(kWhiteCodes) == 91 && std::size(kBlackCodes) == 91 && std::size(kExtendedCodes) == 13);

constexpr std::uint16_t run_entry(unsigned run, unsigned length) {
  return static_cast<std::uint16_t>((run >= kFirstMakeup ? 1u : 0u) | length << 1 | run << 5);
}

// Fills every index of a table of `bits` index bits that begins with `code`.
template <std::size_t Size, class Entry>
constexpr void fill(std::array<Entry, Size>& table, std::string_view code, unsigned bits, Entry entry) {
  const unsigned free_bits = bits - static_cast<unsigned>(code.size());
  const unsigned first = value_of(code) << free_bits;
  for (unsigned i = 0; i < 1u << free_bits; ++i)
    table[first + i] = entry;
}

constexpr std::array<std::uint16_t, 1024> make_white() {
  std::array<std::uint16_t, 1024> table{};
  for (const CodeWord& code : kWhiteCodes)
    fill(table, code.bits, 10, run_entry(code.run, static_cast<unsigned>(code.bits.size())));
  table[0] = run_entry(0, kEndOfLine);
  for (unsigned i = 4; i < 8; ++i)
    table[i] = run_entry(0, kExtendedMakeup);
  return table;
}

constexpr unsigned kBehindFourZeros = 100;  // run that says: nine more bits
constexpr unsigned kBehindOne = 200;        // run that says: two more bits

constexpr std::array<std::uint16_t, 16> make_init_black() {
  std::array<std::uint16_t, 16> table{};
  for (const CodeWord& code : kBlackCodes) {
    if (code.bits.size() <= 4)
      fill(table, code.bits, 4, run_entry(code.run, static_cast<unsigned>(code.bits.size())));
  }
  table[0] = run_entry(kBehindFourZeros, 4);
  table[1] = run_entry(kBehindOne, 4);
  return table;
}

// Codes that begin with `prefix`, by the bits after it.
template <std::size_t Size>
constexpr std::array<std::uint16_t, Size> make_black_behind(std::string_view prefix, unsigned bits) {
  std::array<std::uint16_t, Size> table{};
  for (const CodeWord& code : kBlackCodes) {
    if (code.bits.size() <= prefix.size() || code.bits.substr(0, prefix.size()) != prefix)
      continue;
    const std::string_view rest = code.bits.substr(prefix.size());
    fill(table, rest, bits, run_entry(code.run, static_cast<unsigned>(rest.size())));
  }
  return table;
}

constexpr std::array<std::uint16_t, 512> make_black() {
  std::array<std::uint16_t, 512> table = make_black_behind<512>("0000", 9);
  for (unsigned i = 0; i < 4; ++i)
    table[i] = run_entry(0, kEndOfLine);
  for (unsigned i = 32; i < 64; ++i)
    table[i] = run_entry(0, kExtendedMakeup);
  return table;
}

constexpr std::array<std::uint16_t, 16> make_additional() {
  std::array<std::uint16_t, 16> table{};
  for (const CodeWord& code : kExtendedCodes) {
    const std::string_view rest = code.bits.substr(8);  // after their common start 00000001
    fill(table, rest, 4, static_cast<std::uint16_t>(rest.size() << 1 | code.run << 4));
  }
  return table;
}

constexpr std::array<std::uint8_t, 128> make_modes() {
  std::array<std::uint8_t, 128> table{};
  for (const CodeWord& code : kModeCodes)
    fill(table, code.bits, 7, static_cast<std::uint8_t>(code.bits.size() | code.run << 3));
  table[0] = kNoMode << 3;  // the end of a block; a length of 0 keeps the reader in place
  return table;
}

// The wide tables hold every code of a colour by itself, extended make-up codes too, so that the
// usual run takes one look-up. What needs more care than that has kIrregular.
constexpr unsigned kWideWhiteBits = 12;
constexpr unsigned kWideBlackBits = 13;
constexpr std::uint16_t kIrregular = 0xFFF0;  // no length, and a run that no code has

constexpr std::uint16_t wide_entry(unsigned run, std::size_t length) {
  return static_cast<std::uint16_t>(run << 4 | length);
}

template <unsigned Bits, std::size_t Count>
constexpr std::array<std::uint16_t, 1u << Bits> make_wide(const CodeWord (&codes)[Count]) {
  std::array<std::uint16_t, 1u << Bits> table{};
  table.fill(kIrregular);
  for (const CodeWord& code : codes)
    fill(table, code.bits, Bits, wide_entry(code.run, code.bits.size()));
  for (const CodeWord& code : kExtendedCodes)
    fill(table, code.bits, Bits, wide_entry(code.run, code.bits.size()));
  return table;
}

inline constexpr auto kWideWhite = make_wide<kWideWhiteBits>(kWhiteCodes);
inline constexpr auto kWideBlack = make_wide<kWideBlackBits>(kBlackCodes);

constexpr std::uint16_t widened(unsigned entry, unsigned bits_in_front) {
  return wide_entry(entry >> 5, (entry >> 1 & 15) + bits_in_front);
}

constexpr std::uint16_t widened_extended(unsigned entry) {
  return wide_entry(entry >> 4, (entry >> 1 & 7) + 8);
}

// Both ways through the tables give the same: the steps with bits given back, and the wide look-up.
inline constexpr auto kStepWhite = make_white();
inline constexpr auto kStepFirstBlack = make_init_black();
inline constexpr auto kStepBlackBehindZeros = make_black();
inline constexpr auto kStepBlackBehindOne = make_black_behind<4>("0001", 2);
inline constexpr auto kStepAdditional = make_additional();

constexpr bool wide_white_agrees() {
  for (unsigned i = 0; i < kWideWhite.size(); ++i) {
    const unsigned entry = kStepWhite[i >> 2];
    const unsigned length = entry >> 1 & 15;
    const bool irregular = length == 0 || length == kEndOfLine;
    const std::uint16_t expected =
        length == kExtendedMakeup ? widened_extended(kStepAdditional[i & 15]) : widened(entry, 0);
    if (kWideWhite[i] != (irregular ? kIrregular : expected))
      return false;
  }
  return true;
}

constexpr std::uint16_t black_by_steps(unsigned index) {
  const unsigned entry = kStepFirstBlack[index >> 9];
  if (entry >> 5 == kBehindOne)
    return widened(kStepBlackBehindOne[index >> 7 & 3], 4);
  if (entry >> 5 != kBehindFourZeros)
    return widened(entry, 0);
  const unsigned second = kStepBlackBehindZeros[index & 511];
  const unsigned length = second >> 1 & 15;
  if (length == kExtendedMakeup)
    return widened_extended(kStepAdditional[index >> 1 & 15]);
  return length == 0 || length == kEndOfLine ? kIrregular : widened(second, 4);
}

// By quarters, each of which stays within the steps that compilers grant to one evaluation.
constexpr bool wide_black_agrees(unsigned quarter) {
  constexpr unsigned kSize = kWideBlack.size() / 4;
  for (unsigned i = quarter * kSize; i < (quarter + 1) * kSize; ++i) {
    if (kWideBlack[i] != black_by_steps(i))
      return false;
  }
  return true;
}
static_assert(wide_white_agrees());
static_assert(wide_black_agrees(0));
static_assert(wide_black_agrees(1));
static_assert(wide_black_agrees(2));
static_assert(wide_black_agrees(3));

constexpr bool only_zeros_are_no_mode() {
  constexpr auto modes = make_modes();
  for (unsigned i = 1; i < modes.size(); ++i) {
    if ((modes[i] & 7) == 0 || modes[i] >> 3 == kNoMode)
      return false;
  }
  return modes[0] == kNoMode << 3;
}
static_assert(only_zeros_are_no_mode());

}  // namespace sheaf::ccitt
