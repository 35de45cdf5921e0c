// The scanlines of T.4 one-dimensional data, and what all lines share: a line array holds the
// positions at which the colour changes, beginning with white; the line decoded last is the
// reference of the next two-dimensional one.
#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/filters/ccitt.h"
#include "sheaf/filters/ccitt_draw_internal.h"
#include "sheaf/filters/ccitt_tables.h"
#include "sheaf/filters/ccitt_window_internal.h"

using namespace sheaf;

namespace {

constexpr int kSpareChanges = 128;              // entries of a line array beyond its columns
constexpr std::int32_t kMostColumns = 1 << 22;  // far beyond any page; the line arrays take eight bytes each
constexpr int kMostPosition = 1 << 28;          // runs that add up beyond this are damage

void invert(unsigned char* row, int size) {
  int i = 0;
  for (std::uint64_t word; i + 8 <= size; i += 8) {
    std::memcpy(&word, row + i, sizeof word);
    word = ~word;
    std::memcpy(row + i, &word, sizeof word);
  }
  for (; i < size; ++i)
    row[i] = static_cast<unsigned char>(~row[i]);
}

}  // namespace

CPDFStreamFAX::~CPDFStreamFAX() {
  QVFree(runs);
}

void CPDFStreamFAX::close() {
  QVFree(runs);
  runs = nullptr;
  change_limit = 0;
  CPDFStream::close();
}

void CPDFStreamFAX::open(int k_value, int columns_value, int rows_value, int align, int black_is_one) {
  k = k_value;
  columns = columns_value <= kMostColumns ? columns_value : 0;
  rows = rows_value;
  byte_align = align;
  black_is1 = black_is_one;
  eol_padded = b1 = b2 = bit_pos = byte_pos = change_count = last_change = 0;
  first_line = 1;
  QVFree(runs);
  const std::int32_t entries = std::max(columns, 0) + kSpareChanges;
  runs = static_cast<std::int32_t*>(QVCalloc(2 * static_cast<std::size_t>(entries), sizeof(std::int32_t)));
  if (runs == nullptr) {
    columns = change_limit = 0;
    return;
  }
  change_limit = entries;
  ref_line = runs;
  cur_line = runs + entries;
  if (k >= 0)
    return;
  // The imaginary white line above the first one.
  cur_line[0] = cur_line[1] = columns;
  change_count = 2;
}

int CPDFStreamFAX::read_block(void* dst, int size) {
  if (columns < 1 || runs == nullptr || size < (columns + 7) / 8)
    return 0;
  if (at_end())
    flaw = kFlawEarlyEnd;  // the rows from here on are made of nothing
  auto* line = static_cast<unsigned char*>(dst);
  std::memset(line, 0, static_cast<std::size_t>(size));
  if (k == 0) {
    skip_eol();
    dec_scanline(line, size);
  } else if (k < 0 ? decodeT6Line(line, size) == 0 : decodeT42DLine(line, size) == 0) {
    return 0;
  }
  if (black_is1 == 0)
    invert(line, size);
  return size;
}

// Damaged data can make more changes than a line has pixels; the array then stays as it is.
void CPDFStreamFAX::put_change(int a0) {
  if (change_count < change_limit)
    cur_line[change_count++] = a0;
}

void CPDFStreamFAX::align_to_byte() {
  if (byte_align != 0 && bit_pos != 0)
    set_position(position() + 8 - bit_pos);
}

// Whether an end-of-line code is next that fill lets end on a byte, so that its zeros begin within this one. Only the
// make-up codes of the longest white runs look the same.
bool CPDFStreamFAX::has_filled_eol() const {
  constexpr int kZeros = 11;
  constexpr int kLongestRuns = 1792;
  const std::int64_t one = next_one(position());
  return one - position() >= kZeros && one % 8 == 7 && (end_of_line != 0 || columns < kLongestRuns);
}

// A white run of a one-dimensional line. False at an end-of-line code, which stays in the input.
bool CPDFStreamFAX::white_run(int& a0) {
  for (;;) {
    const unsigned code = next_bits(10);
    const unsigned entry = ms_white[code];
    const auto length = static_cast<int>(entry >> 1 & 15);
    if (length == ccitt::kEndOfLine) {
      give_back(10);
      return false;
    }
    if (length == 0)
      continue;  // a bad code word: its ten bits are dropped
    if (length == ccitt::kExtendedMakeup) {
      const unsigned extended = ms_additionalMakeup[(code & 3) * 4 + next_bits(2)];
      a0 += static_cast<int>(extended >> 4);
      give_back(4 - static_cast<int>(extended >> 1 & 7));
    } else {
      a0 += static_cast<int>(entry >> 5);
      give_back(10 - length);
      if ((entry & 1) == 0)
        return true;
    }
    a0 = std::min(a0, kMostPosition);
  }
}

// A black run, drawn. False at an end-of-line code, of which the first four zeros are lost.
bool CPDFStreamFAX::black_run(unsigned char* dst, int& a0) {
  const auto draw = [&](int run) {
    set_bits(dst, a0, run);
    a0 = std::min(a0 + run, kMostPosition);
  };
  for (;;) {
    const unsigned first = ms_initBlack[next_bits(4)];
    const unsigned run = first >> 5;
    if (run == ccitt::kBehindOne) {
      const unsigned entry = ms_twoBitBlack[next_bits(2)];
      draw(static_cast<int>(entry >> 5));
      give_back(2 - static_cast<int>(entry >> 1 & 15));
      return true;
    }
    if (run != ccitt::kBehindFourZeros) {
      draw(static_cast<int>(run));
      give_back(4 - static_cast<int>(first >> 1 & 15));
      return true;
    }
    const unsigned entry = ms_black[next_bits(9)];
    const auto length = static_cast<int>(entry >> 1 & 15);
    if (length == ccitt::kEndOfLine) {
      give_back(9);
      return false;
    }
    if (length == ccitt::kExtendedMakeup) {
      give_back(5);
      const unsigned extended = ms_additionalMakeup[next_bits(4)];
      draw(static_cast<int>(extended >> 4));
      give_back(4 - static_cast<int>(extended >> 1 & 7));
      continue;
    }
    draw(static_cast<int>(entry >> 5));
    give_back(9 - length);
    if ((entry & 1) == 0)
      return true;
  }
}

void CPDFStreamFAX::dec_scanline(unsigned char* dst, int /*size*/) {
  change_count = 0;
  int a0 = 0;
  if (columns < 1) {
    put_change(0);
    return;
  }
  ccitt::Window window(data, left, position());
  while (a0 < columns) {
    window.need(ccitt::kPairBits);
    const ccitt::PlainRun white = ccitt::plain_white(window.bits());
    window.drop(white.bits);
    a0 += white.run;
    if (white.bits == 0) {
      set_position(window.position());
      if (!white_run(a0))
        return;
      window.refill(position());
    }
    put_change(a0);
    if (a0 >= columns)
      break;
    const ccitt::PlainRun black = ccitt::plain_black(window.bits());
    window.drop(black.bits);
    ccitt::draw(dst, a0, black.run, columns);
    a0 += black.run;
    if (black.bits == 0) {
      set_position(window.position());
      if (!black_run(dst, a0))
        return;
      window.refill(position());
    }
    put_change(a0);
  }
  set_position(window.position());
  if (k == 0 && !has_filled_eol())  // in mixed data the end-of-line code is searched for, over any fill
    align_to_byte();
  put_change(a0);
}
