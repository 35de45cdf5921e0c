// The dictionary keeps each string as the code of its prefix and a last byte, and writes it backwards.
#include "sheaf/neighbours/decoders/lzw.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/filters/predictor.h"

using namespace sheaf;

namespace {

constexpr int kClear = 256;
constexpr int kEnd = 257;
constexpr int kFirstEntry = 258;
constexpr int kFirstWidth = 9;
constexpr int kLastWidth = 12;

}  // namespace

CPDFStreamLZW::CPDFStreamLZW(std::uint8_t* block, std::int32_t len) : CPDFStream2(block, len) {
  filter_type = kFilterLZW;
  size_hint = len > INT32_MAX / 2 ? INT32_MAX : len * 2;
  for (int code = 0; code < kFirstEntry; ++code)
    entries_[code] = {0, 1, static_cast<std::uint8_t>(code), static_cast<std::uint8_t>(code)};
}

CPDFStreamLZW::~CPDFStreamLZW() {
  delete predictor;
  predictor = nullptr;
}

void CPDFStreamLZW::close() {
  delete predictor;
  predictor = nullptr;
  ended_ = true;
  string_pos_ = string_end_ = 0;
  CPDFStream::close();
}

int CPDFStreamLZW::open(int predictor_kind, int columns, int colors, int bits_per_component, int early_change) {
  delete predictor;
  predictor = predictor_kind == 1 ? nullptr
                                  : new (std::nothrow)
                                        CPDFPredictor(this, predictor_kind, columns, colors, bits_per_component);
  early_ = early_change != 0 ? 1 : 0;
  next_entry_ = kFirstEntry;
  previous_ = -1;
  width_ = kFirstWidth;
  window_ = 0;
  window_bits_ = 0;
  string_pos_ = string_end_ = 0;
  ended_ = predictor_kind != 1 && predictor == nullptr;  // rows with the predictor still on are no data
  return 1;
}

// Takes in as many bytes as the window has room for. False when they make no whole code.
bool CPDFStreamLZW::fill_window() {
  constexpr int kWindowBits = 64;
  while (window_bits_ <= kWindowBits - 8 && left > 0) {
    window_ = window_ << 8 | *cursor++;
    --left;
    window_bits_ += 8;
  }
  return window_bits_ >= width_;
}

int CPDFStreamLZW::next_code() {
  if (window_bits_ < width_ && !fill_window()) {
    early_end = kEarlyEndData;
    return kEnd;
  }
  window_bits_ -= width_;
  return static_cast<int>(window_ >> window_bits_) & ((1 << width_) - 1);
}

// The string of the previous code and one more byte become a new entry; a full table stays as it is.
void CPDFStreamLZW::add_entry(std::uint8_t last) {
  if (next_entry_ >= kCodes)
    return;
  const Entry& before = entries_[previous_];
  entries_[next_entry_] = {static_cast<std::uint16_t>(previous_), static_cast<std::uint16_t>(before.length + 1), last,
                           before.first};
  ++next_entry_;
  if (next_entry_ + early_ >= 1 << width_ && width_ < kLastWidth)
    ++width_;
}

// The next code of a string. -1 at the end of the data or at a code that cannot be.
int CPDFStreamLZW::next_string_code() {
  if (ended_)
    return -1;
  int code = next_code();
  while (code == kClear) {
    next_entry_ = kFirstEntry;
    width_ = kFirstWidth;
    previous_ = -1;
    code = next_code();
  }
  // A code may name the entry that it completes, which ends in the byte that it begins with.
  const bool is_new = previous_ >= 0 && next_entry_ < kCodes && code == next_entry_;
  if (code == kEnd || (code >= next_entry_ && !is_new)) {
    ended_ = true;
    if (code != kEnd)
      early_end = kEarlyEndData;
    return -1;
  }
  if (previous_ >= 0)
    add_entry(entries_[is_new ? previous_ : code].first);
  previous_ = code;
  return code;
}

void CPDFStreamLZW::put_string(int code, std::uint8_t* dst) const {
  for (int i = entries_[code].length; i-- > 0; code = entries_[code].prefix)
    dst[i] = entries_[code].suffix;
}

bool CPDFStreamLZW::next_string() {
  string_pos_ = string_end_ = 0;
  const int code = next_string_code();
  if (code < 0)
    return false;
  put_string(code, string_);
  string_end_ = entries_[code].length;
  return true;
}

int CPDFStreamLZW::get_char2() {
  if (string_pos_ >= string_end_ && !next_string())
    return -1;
  return string_[string_pos_++];
}

int CPDFStreamLZW::read_block2(void* dst, int size) {
  auto* out = static_cast<std::uint8_t*>(dst);
  int total = 0;
  while (total < size) {
    if (string_pos_ < string_end_) {
      const int count = std::min(size - total, string_end_ - string_pos_);
      std::memcpy(out + total, string_ + string_pos_, static_cast<std::size_t>(count));
      string_pos_ += count;
      total += count;
      continue;
    }
    if (size - total < kCodes) {  // the next string might not fit
      if (!next_string())
        break;
      continue;
    }
    const int code = next_string_code();
    if (code < 0)
      break;
    put_string(code, out + total);
    total += entries_[code].length;
  }
  return total;
}

int CPDFStreamLZW::read_block(void* dst, int size) {
  return predictor != nullptr ? predictor->read_block(dst, size) : read_block2(dst, size);
}
