// Template 0 with its nominal adaptive pixels, and rows that are like the row above said so in one decision. The
// sixteen pixels of a context are kept in three windows that move with the pixel:
//
//   two rows above      . 5 5 5 5 5 .         bits 15 to 11
//   the row above       7 7 7 7 7 7 7         bits 10 to 4
//   this row            4 4 4 4 X             bits 3 to 0
#include "sheaf/document/writer/jbig2_encoder.h"

#include <cstring>

#include "sheaf/neighbours/decoders/jbig2/jb2_arithmetic.h"

namespace sheaf {

namespace {

constexpr unsigned kPageInformation = 48;
constexpr unsigned kLosslessRegion = 39;
constexpr std::uint32_t kPageInformationSize = 19;
constexpr std::size_t kSizeBytes = 4;
constexpr unsigned kTypicalRows = 0x08;  // template 0 is 0
constexpr unsigned char kAdaptive[] = {3, 0xFF, 0xFD, 0xFF, 2, 0xFE, 0xFE, 0xFE};
constexpr std::size_t kTypicalContext = 0x9B25;
constexpr std::size_t kMargin = 1;  // blank bytes in front of each row and behind it

constexpr std::uint32_t kHalf = 0x8000;
constexpr std::uint32_t kCarry = 0x8000000;
constexpr unsigned kAfterFull = 20;  // a byte of ones is followed by seven bits, so that no carry runs on
constexpr unsigned kAfterOther = 19;

unsigned pixel_at(const unsigned char* line, std::int32_t x) {
  const std::int32_t at = x + static_cast<std::int32_t>(kMargin) * 8;
  return static_cast<unsigned>(line[at / 8] >> (7 - at % 8)) & 1u;
}

}  // namespace

Jbig2Encoder::Jbig2Encoder(std::int32_t columns, std::int32_t rows)
    : columns_(columns), rows_(rows), row_size_(static_cast<std::size_t>(columns + 7) / 8) {
  for (GrowArray<unsigned char>& line : lines_)
    failed_ = !line.resize(row_size_ + 2 * kMargin) || failed_;
  put_segment(kPageInformation, kPageInformationSize);
  put(static_cast<std::uint32_t>(columns_), 4);
  put(static_cast<std::uint32_t>(rows_), 4);
  put(0, 4);  // no resolution
  put(0, 4);
  put(1, 1);  // without loss
  put(0, 2);  // no stripes
  put_segment(kLosslessRegion, 0);
  region_at_ = data_.size();
  put(static_cast<std::uint32_t>(columns_), 4);
  put(static_cast<std::uint32_t>(rows_), 4);
  put(0, 4);
  put(0, 4);
  put(0, 1);
  put(kTypicalRows, 1);
  for (const unsigned char byte : kAdaptive)
    put(byte, 1);
}

void Jbig2Encoder::put(std::uint32_t value, unsigned bytes) {
  for (unsigned i = bytes; i-- > 0;)
    failed_ = !data_.push(static_cast<unsigned char>(value >> (8 * i))) || failed_;
}

// The segments are numbered as they come, belong to page 1 and refer to no others.
void Jbig2Encoder::put_segment(unsigned type, std::uint32_t size) {
  put(type == kPageInformation ? 0 : 1, 4);
  put(type, 1);
  put(0, 1);
  put(1, 1);
  put(size, kSizeBytes);
}

bool Jbig2Encoder::add_row(const unsigned char* row) {
  if (failed_)
    return false;
  lines_[2].swap(lines_[1]);
  lines_[1].swap(lines_[0]);
  unsigned char* const line = lines_[0].begin() + kMargin;
  for (std::size_t i = 0; i < row_size_; ++i)
    line[i] = static_cast<unsigned char>(~row[i]);
  if (columns_ % 8 != 0)
    line[row_size_ - 1] &= static_cast<unsigned char>(0xFF00 >> (columns_ % 8));
  const bool is_typical = std::memcmp(line, lines_[1].begin() + kMargin, row_size_) == 0;
  code(contexts_[kTypicalContext], is_typical != was_typical_ ? 1 : 0);
  was_typical_ = is_typical;
  if (!is_typical)
    code_row(lines_[0].begin());
  return !failed_;
}

void Jbig2Encoder::code_row(const unsigned char* row) {
  constexpr unsigned kFive = 0x1F;
  constexpr unsigned kSeven = 0x7F;
  constexpr unsigned kFour = 0x0F;
  const unsigned char* const above = lines_[1].begin();
  const unsigned char* const above_that = lines_[2].begin();
  unsigned top = pixel_at(above_that, 0) << 1 | pixel_at(above_that, 1);
  unsigned middle = pixel_at(above, 0) << 2 | pixel_at(above, 1) << 1 | pixel_at(above, 2);
  unsigned left = 0;
  for (std::int32_t x = 0; x < columns_; ++x) {
    top = (top << 1 | pixel_at(above_that, x + 2)) & kFive;
    middle = (middle << 1 | pixel_at(above, x + 3)) & kSeven;
    const unsigned pixel = pixel_at(row, x);
    code(contexts_[top << 11 | middle << 4 | left], pixel);
    left = (left << 1 | pixel) & kFour;
  }
}

// E.2.3: codes one decision.
void Jbig2Encoder::code(std::uint8_t& context, unsigned pixel) {
  const jb2::Estimate& estimate = jb2::kEstimates[context];
  const std::uint32_t share = estimate.qe;
  const bool is_expected = pixel == (context & 1u);
  a_ -= share;
  if (is_expected && a_ >= kHalf) {
    c_ += share;
    return;
  }
  // The larger part of the interval goes to the value that is expected.
  if (is_expected == (a_ < share))
    a_ = share;
  else
    c_ += share;
  context = is_expected ? estimate.after_more : estimate.after_less;
  do {
    a_ <<= 1;
    c_ <<= 1;
    if (--ct_ == 0)
      put_coded_byte();
  } while (a_ < kHalf);
}

void Jbig2Encoder::put_coded_byte() {
  if (last_ != 0xFF && c_ >= kCarry) {
    ++last_;
    c_ &= kCarry - 1;
  }
  const unsigned shift = last_ == 0xFF ? kAfterFull : kAfterOther;
  if (has_last_)
    put(last_, 1);
  has_last_ = true;
  last_ = c_ >> shift;
  c_ &= (1u << shift) - 1;
  ct_ = shift == kAfterFull ? 7 : 8;
}

// E.2.9: as many ones as fit, so that the last bytes say the least.
bool Jbig2Encoder::finish() {
  const std::uint32_t limit = c_ + a_;
  c_ |= 0xFFFF;
  if (c_ >= limit)
    c_ -= kHalf;
  for (int i = 0; i < 2; ++i) {
    c_ <<= ct_;
    put_coded_byte();
  }
  put(last_, 1);
  if (last_ != 0xFF)
    put(0xFF, 1);
  put(0xAC, 1);
  const auto size = static_cast<std::uint32_t>(data_.size() - region_at_);
  for (std::size_t i = 0; !failed_ && i < kSizeBytes; ++i)
    data_[region_at_ - kSizeBytes + i] = static_cast<unsigned char>(size >> (8 * (kSizeBytes - 1 - i)));
  return !failed_;
}

}  // namespace sheaf
