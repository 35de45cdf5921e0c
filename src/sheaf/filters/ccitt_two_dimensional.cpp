// The two-dimensional lines of T.4 and T.6, which are coded by how they differ from the line above.
// The state of a line lives in registers while it is decoded and goes back into the decoder at
// its end.
#include <algorithm>
#include <utility>

#include "sheaf/filters/ccitt.h"
#include "sheaf/filters/ccitt_draw_internal.h"
#include "sheaf/filters/ccitt_tables.h"
#include "sheaf/filters/ccitt_window_internal.h"

using namespace sheaf;

namespace {

constexpr unsigned kModeBits = 7;
constexpr int kMostPosition = 1 << 28;  // positions and counts beyond this are damage

}  // namespace

class CPDFStreamFAX::TwoDimensional {
public:
  /// The line decoded last becomes the reference line.
  TwoDimensional(CPDFStreamFAX& fax, unsigned char* dst)
      : window(fax.data, fax.left, fax.position()),
        fax_(&fax),
        dst_(dst),
        columns_(fax.columns),
        ref_count_(fax.change_count),
        limit_(fax.change_limit),
        b1_(fax.b1),
        b2_(fax.b2) {
    std::swap(fax.ref_line, fax.cur_line);
    ref_ = fax.ref_line;
    cur_ = fax.cur_line;
  }

  /// The decoder takes over the state of the line, but not the count of its changes.
  void store() const {
    fax_->b1 = b1_;
    fax_->b2 = b2_;
    fax_->last_change = last_change_;
    fax_->set_position(window.position());
  }

  void put(int position) {
    if (index < limit_)
      cur_[index++] = position;
  }

  // The changing elements b1 and b2 (T.4, 4.2.1.3.1). Without one in reach they keep their values.
  void find_b() {
    int i = last_change_ > 0 ? last_change_ - 1 : 0;
    i = black ? i | 1 : i & ~1;
    while (i < ref_count_ && ref_[i] <= threshold)
      i += 2;
    if (i < ref_count_) {
      last_change_ = i;
      b1_ = ref_[i];
    }
    if (i + 1 < ref_count_)
      b2_ = ref_[i + 1];
  }

  unsigned take_mode() {
    window.need(kModeBits);
    mode_start_ = window.position();
    const unsigned entry = ms_twoDCodes[window.peek(kModeBits)];
    window.drop(entry & 7);
    return entry >> 3;
  }

  void vertical(unsigned mode, bool cut) {
    const int a1 = b1_ + static_cast<int>(mode) - static_cast<int>(ccitt::kVertical0);
    put(a1);
    to(a1, cut);
    black = !black;
  }

  void pass(bool cut) { to(b2_, cut); }

  void horizontal(bool cut) {
    window.need(ccitt::kPairBits);
    if (!black) {
      const int a1 = a0 + white_word();
      put(a1);
      a0 = a1;
      black_to_a0(cut);
    } else {
      black_to_a0(cut);
      put(a0);
      a0 += white_word();
    }
    put(a0);
  }

  /// A code that is no mode is taken with all the bits that were looked at.
  void pass_bad_mode() { window.refill(mode_start_ + kModeBits); }

  /// The bits after the extension code that stand for uncompressed mode.
  bool take_uncompressed_tag() {
    constexpr unsigned kTagBits = 3;
    constexpr unsigned kUncompressed = 7;
    window.need(kTagBits);
    const unsigned tag = window.peek(kTagBits);
    window.drop(kTagBits);
    return tag == kUncompressed;
  }

  bool uncompressed();

  ccitt::Window window;
  int a0 = 0;
  int threshold = -1;  // the a0 from which b1 is searched
  int index = 0;       // next entry of the line array
  bool black = false;

private:
  // T.6 cuts black at the line's end; white may go past it.
  void to(int position, bool cut) {
    if (black) {
      if (cut)
        position = std::min(position, columns_);
      ccitt::draw(dst_, a0, position - a0, columns_);
    }
    a0 = position;
  }

  void black_to_a0(bool cut) {
    int run = black_word();
    if (cut)
      run = std::min(run, columns_ - a0);
    ccitt::draw(dst_, a0, run, columns_);
    a0 += run;
  }

  int white_word() {
    const ccitt::PlainRun plain = ccitt::plain_white(window.bits());
    window.drop(plain.bits);
    return plain.bits != 0 ? plain.run : careful(&CPDFStreamFAX::decodeWhiteCodeWord);
  }

  int black_word() {
    const ccitt::PlainRun plain = ccitt::plain_black(window.bits());
    window.drop(plain.bits);
    return plain.bits != 0 ? plain.run : careful(&CPDFStreamFAX::dec_black_word);
  }

  int careful(int (CPDFStreamFAX::*word)()) {
    fax_->set_position(window.position());
    const int run = (fax_->*word)();
    window.refill(fax_->position());
    return run;
  }

  CPDFStreamFAX* fax_;
  unsigned char* dst_;
  const std::int32_t* ref_;
  std::int32_t* cur_;
  int columns_;
  int ref_count_;
  int limit_;
  int b1_;
  int b2_;
  int last_change_ = 0;
  std::int64_t mode_start_ = 0;
};

// Uncompressed mode (T.6, 2.2.5.2). The count of zeros runs on across the passes, and the pass that
// leaves the mode draws too, so that its n counts twice. False when the data end in it.
bool CPDFStreamFAX::TwoDimensional::uncompressed() {
  constexpr int kExitZeros = 6;
  constexpr int kWhiteOnly = 5;
  std::int64_t zeros = 0;
  for (bool leaves = false; !leaves;) {
    const std::int64_t one = fax_->next_one(window.position());
    zeros = std::min(zeros + one - window.position(), std::int64_t{kMostPosition});
    window.refill(one + 1);
    if (one >= std::int64_t{fax_->left} * 8)
      return false;
    auto n = static_cast<int>(zeros);
    leaves = n >= kExitZeros;
    if (leaves) {
      n -= kExitZeros;
      if (black && n > 0)
        put(a0);
      const bool black_next = window.peek(1) != 0;
      window.refill(one + 2);
      a0 += n;
      const bool any = !black || n > 0;
      if (any == black_next)
        put(a0);
      black = black_next;
    }
    if (n == kWhiteOnly) {
      if (black)
        put(a0);
      a0 += kWhiteOnly;
      black = false;
    } else {
      a0 += n;
      put(a0);
      ccitt::draw(dst_, a0, 1, columns_);
      ++a0;
      black = true;
    }
    a0 = std::min(a0, kMostPosition);
  }
  return true;
}

template <bool IsT6>
int CPDFStreamFAX::two_dimensional_line(unsigned char* dst) {
  TwoDimensional line(*this, dst);
  do {
    line.find_b();
    const unsigned mode = line.take_mode();
    if (mode >= ccitt::kFirstVertical && mode <= ccitt::kLastVertical) {
      line.vertical(mode, IsT6);
    } else if (mode == ccitt::kHorizontal) {
      line.horizontal(IsT6);
    } else if (mode == ccitt::kPass) {
      line.pass(IsT6);
    } else if (!IsT6) {
      line.pass_bad_mode();
      line.store();
      return 0;
    } else if (mode != ccitt::kExtension) {
      line.a0 = columns;  // a bad code word, or the end of the block: white from here on
    } else if (!line.take_uncompressed_tag()) {
      line.store();
      return 0;
    } else if (line.uncompressed()) {
      continue;  // the search for b1 goes on from before the extension
    } else {
      line.a0 = std::max(line.a0, columns);
    }
    line.threshold = line.a0;
  } while (line.a0 < columns);
  line.store();
  if (IsT6)
    align_to_byte();
  line.put(line.a0);  // always: a line that changes at every pixel and begins black has columns + 1 changes
  change_count = line.index;
  return 1;
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
  return two_dimensional_line<false>(dst);
}

int CPDFStreamFAX::decodeT6Line(unsigned char* dst, int /*size*/) {
  return two_dimensional_line<true>(dst);
}
