// The scanlines of CCITT data. A line array holds the positions at which the colour changes,
// beginning with white; the line decoded last is the reference of the next two-dimensional one.
#include <algorithm>
#include <cstring>

#include "base/heap.h"
#include "filters/ccitt.h"
#include "filters/ccitt_tables.h"

namespace {

constexpr int kSpareChanges = 128;              // entries of a line array beyond its columns
constexpr std::int32_t kMostColumns = 1 << 22;  // far beyond any page; the line arrays take eight bytes each
constexpr int kMostPosition = 1 << 28;          // runs that add up beyond this are damage

}  // namespace

// Where a two-dimensional line stands.
struct CPDFStreamFAX::TwoDimensional {
  int a0 = 0;
  int threshold = -1;
  int index = 0;  // next entry of the line array
  bool black = false;
};

CPDFStreamFAX::~CPDFStreamFAX() {
  QVFree(runs);
}

void CPDFStreamFAX::close() {
  QVFree(runs);
  runs = nullptr;
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
  const auto width = static_cast<std::size_t>(std::max(columns, 0));
  runs = static_cast<std::int32_t*>(QVCalloc(2 * (width + kSpareChanges), sizeof(std::int32_t)));
  if (runs == nullptr) {
    columns = 0;
    return;
  }
  ref_line = runs;
  cur_line = runs + width + kSpareChanges;
  if (k >= 0)
    return;
  // The imaginary white line above the first one.
  cur_line[0] = cur_line[1] = columns;
  change_count = 2;
}

int CPDFStreamFAX::read_block(void* dst, int size) {
  if (columns < 1 || runs == nullptr || size < (columns + 7) / 8)
    return 0;
  auto* line = static_cast<unsigned char*>(dst);
  std::memset(line, 0, static_cast<std::size_t>(size));
  if (k == 0) {
    skip_eol();
    dec_scanline(line, size);
  } else if (k < 0 ? decodeT6Line(line, size) == 0 : decodeT42DLine(line, size) == 0) {
    return 0;
  }
  if (black_is1 == 0) {
    for (int i = 0; i < size; ++i)
      line[i] = static_cast<unsigned char>(~line[i]);
  }
  return size;
}

// Damaged data can make more changes than a line has pixels; the array then stays full.
void CPDFStreamFAX::put_change(int index, int position) {
  if (index < columns + kSpareChanges)
    cur_line[index] = position;
}

void CPDFStreamFAX::align_to_byte() {
  if (byte_align == 0 || bit_pos == 0)
    return;
  ++byte_pos;
  bit_pos = 0;
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
  const auto put = [this](int position) {
    put_change(change_count, position);
    change_count = std::min(change_count + 1, columns + kSpareChanges);
  };
  if (columns < 1) {
    put(0);
    return;
  }
  while (a0 < columns) {
    if (!white_run(a0))
      return;
    put(a0);
    if (a0 >= columns)
      break;
    const int before = change_count;
    if (!black_run(dst, a0))
      return;
    put(a0);
    if (change_count == before)
      break;  // the array is full of runs without length
  }
  align_to_byte();
  put(a0);
}

// The changing elements b1 and b2 (T.4, 4.2.1.3.1). Without one in reach they keep their values.
void CPDFStreamFAX::find_b(bool black, int threshold) {
  int i = last_change > 0 ? last_change - 1 : 0;
  i = black ? i | 1 : i & ~1;
  for (; i < change_count; i += 2) {
    if (ref_line[i] <= threshold)
      continue;
    last_change = i;
    b1 = ref_line[i];
    break;
  }
  if (i + 1 < change_count)
    b2 = ref_line[i + 1];
}

void CPDFStreamFAX::start_two_dimensional() {
  std::swap(ref_line, cur_line);
  last_change = 0;
}

void CPDFStreamFAX::horizontal(unsigned char* dst, TwoDimensional& line, bool cut) {
  const auto fitting = [&](int run, int from) { return cut ? std::min(run, columns - from) : run; };
  if (!line.black) {
    const int a1 = decodeWhiteCodeWord() + line.a0;
    put_change(line.index, a1);
    const int run = fitting(dec_black_word(), a1);
    set_bits(dst, a1, run);
    line.a0 = a1 + run;
  } else {
    const int run = fitting(dec_black_word(), line.a0);
    set_bits(dst, line.a0, run);
    put_change(line.index, line.a0 + run);
    line.a0 += run + decodeWhiteCodeWord();
  }
  put_change(line.index + 1, line.a0);
  line.index += 2;
}

int CPDFStreamFAX::decodeT42DLine(unsigned char* dst, int size) {
  if (first_line != 0) {
    if (readEOL(1) != 1)
      return 0;
    dec_scanline(dst, size);
    first_line = 0;
    return 1;
  }
  if (readEOL(0) != 0) {
    dec_scanline(dst, size);
    return 1;
  }
  start_two_dimensional();
  TwoDimensional line;
  do {
    find_b(line.black, line.threshold);
    const unsigned entry = ms_twoDCodes[next_bits(7)];
    const unsigned mode = entry >> 3;
    if (mode > ccitt::kLastVertical)
      return 0;
    give_back(7 - static_cast<int>(entry & 7));
    if (mode == ccitt::kHorizontal) {
      horizontal(dst, line, false);
    } else if (mode == ccitt::kPass) {
      if (line.black)
        set_bits(dst, line.a0, b2 - line.a0);
      line.a0 = b2;
    } else {
      const int a1 = b1 + static_cast<int>(mode) - static_cast<int>(ccitt::kVertical0);
      put_change(line.index++, a1);
      if (line.black)
        set_bits(dst, line.a0, a1 - line.a0);
      line.black = !line.black;
      line.a0 = a1;
    }
    line.threshold = line.a0;
    if (line.index >= columns + kSpareChanges || (at_end() && line.a0 < columns))
      return 0;  // changes without end, or data that are over
  } while (line.a0 < columns);
  put_change(line.index, line.a0);
  change_count = std::min(line.index + 1, columns + kSpareChanges);
  return 1;
}

// Uncompressed mode (T.6, 2.2.5.2). The count of zeros runs on across the passes.
void CPDFStreamFAX::uncompressed(unsigned char* dst, TwoDimensional& line) {
  constexpr int kExitZeros = 6;
  int zeros = 0;
  for (bool leaves = false; !leaves && !at_end() && line.index < columns + kSpareChanges;) {
    while (!at_end() && next_bits(1) == 0)
      ++zeros;
    int n = zeros;
    if (zeros >= kExitZeros) {
      n = zeros - kExitZeros;
      if (line.black && n > 0)
        put_change(line.index++, line.a0);
      const bool black_next = next_bits(1) != 0;
      line.a0 += n;
      const bool any = !line.black || n > 0;
      if (any == black_next)
        put_change(line.index++, line.a0);
      line.black = black_next;
      leaves = true;
    }
    if (n == 5) {
      if (line.black)
        put_change(line.index++, line.a0);
      line.a0 += 5;
      line.black = false;
    } else {
      // In the pass that leaves the mode too: n counts a second time and one pixel is drawn.
      line.a0 += n;
      put_change(line.index++, line.a0);
      set_bits(dst, line.a0, 1);
      ++line.a0;
      line.black = true;
    }
    line.a0 = std::min(line.a0, columns + kSpareChanges);
  }
}

int CPDFStreamFAX::decodeT6Line(unsigned char* dst, int /*size*/) {
  start_two_dimensional();
  TwoDimensional line;
  do {
    find_b(line.black, line.threshold);
    const unsigned entry = ms_twoDCodes[next_bits(7)];
    const unsigned mode = entry >> 3;
    give_back(7 - static_cast<int>(entry & 7));
    if (mode == ccitt::kHorizontal) {
      horizontal(dst, line, true);
    } else if (mode == ccitt::kPass) {
      const int target = line.black ? std::min(b2, columns) : b2;
      if (line.black)
        set_bits(dst, line.a0, target - line.a0);
      line.a0 = target;
    } else if (mode <= ccitt::kLastVertical) {
      const int a1 = b1 + static_cast<int>(mode) - static_cast<int>(ccitt::kVertical0);
      const int target = line.black ? std::min(a1, columns) : a1;
      put_change(line.index++, a1);
      if (line.black)
        set_bits(dst, line.a0, target - line.a0);
      line.black = !line.black;
      line.a0 = target;
    } else if (mode == ccitt::kExtension) {
      if (next_bits(3) != 7)
        return 0;
      const int threshold = line.threshold;
      uncompressed(dst, line);
      line.threshold = threshold;  // the search for b1 goes on from in front of the extension
      if (line.a0 < columns && !at_end())
        continue;
      line.a0 = std::max(line.a0, columns);
    } else {
      line.a0 = columns;  // a bad code word, or the end of the block: white from here on
    }
    line.threshold = line.a0;
    if (line.index >= columns + kSpareChanges)
      line.a0 = std::max(line.a0, columns);
  } while (line.a0 < columns);
  align_to_byte();
  if (line.index <= columns)
    put_change(line.index++, line.a0);
  change_count = std::min(line.index, columns + kSpareChanges);
  return 1;
}
