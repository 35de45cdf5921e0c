#include "neighbours/decoders/lzw.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "neighbours/decoders/predictor.h"

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
  for (int code = 0; code < kFirstEntry; ++code) {
    prefix_[code] = 0;
    length_[code] = 1;
    suffix_[code] = first_[code] = static_cast<std::uint8_t>(code);
  }
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
  ended_ = false;
  return 1;
}

int CPDFStreamLZW::next_code() {
  while (window_bits_ < width_) {
    if (left < 1)
      return kEnd;
    window_ = window_ << 8 | *cursor++;
    --left;
    window_bits_ += 8;
  }
  window_bits_ -= width_;
  return static_cast<int>(window_ >> window_bits_) & ((1 << width_) - 1);
}

// The string of the previous code and one more byte become a new entry; a full table stays as it is.
void CPDFStreamLZW::add_entry(std::uint8_t last) {
  if (next_entry_ >= kCodes)
    return;
  prefix_[next_entry_] = static_cast<std::uint16_t>(previous_);
  length_[next_entry_] = static_cast<std::uint16_t>(length_[previous_] + 1);
  suffix_[next_entry_] = last;
  first_[next_entry_] = first_[previous_];
  ++next_entry_;
  if (next_entry_ + early_ >= 1 << width_ && width_ < kLastWidth)
    ++width_;
}

// Decodes the next code into `string_`. False at the end of the data or at a code that cannot be.
bool CPDFStreamLZW::next_string() {
  string_pos_ = string_end_ = 0;
  if (ended_)
    return false;
  int code = next_code();
  while (code == kClear) {
    next_entry_ = kFirstEntry;
    width_ = kFirstWidth;
    previous_ = -1;
    code = next_code();
  }
  const bool is_new = previous_ >= 0 && code == next_entry_;
  if (code == kEnd || (code >= next_entry_ && !is_new) || (previous_ < 0 && code >= kClear)) {
    ended_ = true;
    return false;
  }
  if (previous_ >= 0)
    add_entry(is_new ? first_[previous_] : first_[code]);
  if (code >= next_entry_) {  // a full table has no room for the code that defines itself
    ended_ = true;
    return false;
  }
  string_end_ = length_[code];
  int at = code;
  for (int i = string_end_; i-- > 0; at = prefix_[at])
    string_[i] = suffix_[at];
  previous_ = code;
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
    if (string_pos_ >= string_end_ && !next_string())
      break;
    const int count = std::min(size - total, string_end_ - string_pos_);
    std::memcpy(out + total, string_ + string_pos_, static_cast<std::size_t>(count));
    string_pos_ += count;
    total += count;
  }
  return total;
}

int CPDFStreamLZW::read_block(void* dst, int size) {
  return predictor != nullptr ? predictor->read_block(dst, size) : read_block2(dst, size);
}
