// Bits, code words and end-of-line codes of CCITT data.
#include <algorithm>
#include <cstring>

#include "filters/ccitt.h"
#include "filters/ccitt_tables.h"

namespace {

constexpr std::array<std::uint32_t, 9> make_masks(bool high) {
  std::array<std::uint32_t, 9> masks{};
  for (unsigned i = 0; i <= 8; ++i)
    masks[i] = high ? 0xFFu & ~(0xFFu >> i) : (1u << i) - 1;
  return masks;
}

struct Entry {
  unsigned bits;
  bool is_makeup() const { return (bits & 1) != 0; }
  int length() const { return static_cast<int>(bits >> 1 & 15); }
  int run() const { return static_cast<int>(bits >> 5); }
};

constexpr int kMostRun = 1 << 28;  // make-up codes may repeat; sums stay far from overflow

int sum_of(int a, int b) {
  return std::min(a + b, kMostRun);
}

}  // namespace

constexpr std::array<std::uint16_t, 1024> CPDFStreamFAX::ms_white = ccitt::make_white();
constexpr std::array<std::uint16_t, 16> CPDFStreamFAX::ms_initBlack = ccitt::make_init_black();
constexpr std::array<std::uint16_t, 512> CPDFStreamFAX::ms_black = ccitt::make_black();
constexpr std::array<std::uint16_t, 4> CPDFStreamFAX::ms_twoBitBlack = ccitt::make_black_behind<4>("0001", 2);
constexpr std::array<std::uint16_t, 16> CPDFStreamFAX::ms_additionalMakeup = ccitt::make_additional();
constexpr std::array<std::uint8_t, 128> CPDFStreamFAX::ms_twoDCodes = ccitt::make_modes();
constexpr std::array<std::uint32_t, 9> CPDFStreamFAX::ms_table1 = make_masks(false);
constexpr std::array<std::uint32_t, 9> CPDFStreamFAX::ms_table2 = make_masks(true);

unsigned CPDFStreamFAX::next_bits(int n) {
  std::uint32_t window = 0;
  for (int i = 0; i < 3; ++i) {
    const std::int32_t at = byte_pos + i;
    window = window << 8 | (at >= 0 && at < left ? data[at] : 0u);
  }
  const unsigned value = window >> (24 - bit_pos - n) & ((1u << n) - 1);
  const int bits = bit_pos + n;
  // Behind the end the place no longer matters; it must only not run away.
  byte_pos = std::min(byte_pos + bits / 8, left + 16);
  bit_pos = bits % 8;
  return value;
}

void CPDFStreamFAX::give_back(int n) {
  if (n > 8) {
    byte_pos -= n / 8;
    n %= 8;
  }
  bit_pos -= n;
  if (bit_pos < 0) {
    bit_pos += 8;
    --byte_pos;
  }
  if (byte_pos < 0)
    byte_pos = bit_pos = 0;
}

int CPDFStreamFAX::decodeWhiteCodeWord() {
  int run = 0;
  while (!at_end()) {
    const unsigned code = next_bits(10);
    const Entry entry{ms_white[code]};
    if (entry.length() == 0 || entry.length() == ccitt::kEndOfLine)
      continue;  // a broken code, or an end of line in the middle of a run, is passed over
    if (entry.length() == ccitt::kExtendedMakeup) {
      const unsigned extended = ms_additionalMakeup[(code & 3) * 4 + next_bits(2)];
      run = sum_of(run, static_cast<int>(extended >> 4));
      give_back(4 - static_cast<int>(extended >> 1 & 7));
      continue;
    }
    run = sum_of(run, entry.run());
    give_back(10 - entry.length());
    if (!entry.is_makeup())
      break;
  }
  return run;
}

int CPDFStreamFAX::dec_black_word() {
  int run = 0;
  while (!at_end()) {
    const Entry first{ms_initBlack[next_bits(4)]};
    if (first.run() == ccitt::kBehindOne) {
      const Entry entry{ms_twoBitBlack[next_bits(2)]};
      give_back(2 - entry.length());
      return sum_of(run, entry.run());
    }
    if (first.run() != ccitt::kBehindFourZeros) {
      give_back(4 - first.length());
      return sum_of(run, first.run());
    }
    const Entry entry{ms_black[next_bits(9)]};
    if (entry.length() == ccitt::kEndOfLine)
      continue;
    if (entry.length() == ccitt::kExtendedMakeup) {
      give_back(5);
      const unsigned extended = ms_additionalMakeup[next_bits(4)];
      run = sum_of(run, static_cast<int>(extended >> 4));
      give_back(4 - static_cast<int>(extended >> 1 & 7));
      continue;
    }
    run = sum_of(run, entry.run());
    give_back(9 - entry.length());
    if (!entry.is_makeup())
      break;
  }
  return run;
}

void CPDFStreamFAX::set_bits(unsigned char* dst, int pos, int count) const {
  if (pos < 0 || count < 1 || pos >= columns)
    return;
  const int end = count > columns - pos ? columns : pos + count;
  const int first = pos / 8;
  const int last = end / 8;
  const auto head = static_cast<unsigned char>(0xFF >> (pos % 8));
  const auto tail = static_cast<unsigned char>(0xFF & ~(0xFF >> (end % 8)));
  if (first == last) {
    dst[first] |= head & tail;
    return;
  }
  dst[first] |= head;
  std::memset(dst + first + 1, 0xFF, static_cast<std::size_t>(last - first - 1));
  if (tail != 0)
    dst[last] |= tail;
}

int CPDFStreamFAX::seekEOL() {
  constexpr unsigned kLow11 = 0x7FF;
  const long long size_bits = static_cast<long long>(left) * 8;
  long long pos = static_cast<long long>(byte_pos) * 8 + bit_pos;
  if (pos > size_bits - 13)
    return 0;
  unsigned word = next_bits(12);
  pos += 12;
  while (pos < size_bits - 1 && word != 1) {
    word = (word & kLow11) << 1 | next_bits(1);
    ++pos;
  }
  if (word != 1)
    return 0;
  give_back(12);
  return 1;
}

void CPDFStreamFAX::skip_eol() {
  unsigned code = next_bits(12);
  while (code == 0) {
    if (at_end())
      return;
    code = next_bits(1);
  }
  if (code != 1)
    give_back(12);
}

int CPDFStreamFAX::readEOL(int is_first) {
  if (seekEOL() == 0)
    return 0;
  if (eol_padded == 0) {
    const unsigned code = next_bits(12);
    if (is_first != 0 && code == 0) {
      if (next_bits(4) != 1)
        return 0;
      // The tag bit of this one line stays in the input.
      eol_padded = 1;
      return 1;
    }
    return code == 1 ? static_cast<int>(next_bits(1)) : 0;
  }
  const int rest = 8 - bit_pos;
  if (next_bits(rest) != 0)
    return 0;
  if (rest < 4 && next_bits(8) != 0)
    return 0;
  unsigned byte = next_bits(8);
  if (is_first != 0 && byte >> 4 == 1) {
    eol_padded = 0;  // fill does not apply after all
    give_back(4);
  } else {
    while (byte == 0 && !at_end())
      byte = next_bits(8);
    if (byte != 1)
      return 0;
  }
  return static_cast<int>(next_bits(1));
}
