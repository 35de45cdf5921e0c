// Bits, code words and end-of-line codes of CCITT data.
#include <algorithm>
#include <bit>

#include "sheaf/filters/ccitt.h"
#include "sheaf/filters/ccitt_draw_internal.h"
#include "sheaf/filters/ccitt_tables.h"
#include "sheaf/filters/ccitt_window_internal.h"

using namespace sheaf;

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

std::int64_t CPDFStreamFAX::position() const {
  return std::int64_t{byte_pos} * 8 + bit_pos;
}

// After the end the place no longer matters; it must only not run away.
void CPDFStreamFAX::set_position(std::int64_t bit) {
  constexpr std::int64_t kBehindEnd = 16;
  const std::int64_t byte = std::min(std::min(bit >> 3, left + kBehindEnd), std::int64_t{INT32_MAX});
  byte_pos = static_cast<std::int32_t>(byte);
  bit_pos = static_cast<std::int32_t>(bit & 7);
}

// The first 1 at `bit` or after it; the end of the input without one.
std::int64_t CPDFStreamFAX::next_one(std::int64_t bit) const {
  std::int64_t byte = bit >> 3;
  unsigned mask = 0xFFu >> (bit & 7);
  for (; byte < left; ++byte, mask = 0xFF) {
    const unsigned value = data[byte] & mask;
    if (value != 0)
      return byte * 8 + std::countl_zero(static_cast<std::uint8_t>(value));
  }
  return std::max(bit, std::int64_t{left} * 8);
}

unsigned CPDFStreamFAX::next_bits(int n) {
  const std::uint64_t word = ccitt::word_at(data, left, byte_pos) << bit_pos;
  set_position(position() + n);
  return static_cast<unsigned>(word >> (64 - n));
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
  ccitt::draw(dst, pos, count, columns);
}

int CPDFStreamFAX::seekEOL() {
  constexpr int kCodeBits = 12;
  const std::int64_t last = std::int64_t{left} * 8 - 1;  // the last bit is never looked at
  std::int64_t zeros_from = position();
  if (zeros_from > last - kCodeBits)
    return 0;
  for (;;) {
    const std::int64_t one = next_one(zeros_from);
    if (one >= last) {
      set_position(last);
      return 0;
    }
    if (one - zeros_from >= kCodeBits - 1) {
      set_position(one - (kCodeBits - 1));
      return 1;
    }
    zeros_from = one + 1;
  }
}

void CPDFStreamFAX::skip_eol() {
  const unsigned code = next_bits(12);
  if (code == 0)
    set_position(next_one(position()) + 1);
  else if (code != 1)
    give_back(12);
}

std::int32_t CPDFStreamFAX::pass_end_of_block() {
  constexpr unsigned kEndOfBlock = 0x001001;
  const std::uint64_t word = ccitt::word_at(data, left, byte_pos) << bit_pos;
  if (word >> 40 == kEndOfBlock)
    set_position(position() + 24);
  if (bit_pos != 0)
    set_position(position() + 8 - bit_pos);
  return std::min(byte_pos, left);
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
