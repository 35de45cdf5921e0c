// Rows are decoded by the filter in front, several at a time, and each is undone by means of the one above.
#include "sheaf/filters/predictor.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/checked.h"
#include "sheaf/base/heap.h"
#include "sheaf/filters/png_rows.h"
#include "sheaf/filters/stream_filter.h"

using namespace sheaf;

namespace {

constexpr int kTiff = 2;
constexpr int kFirstPng = 10;
// Pages are far narrower than this, whatever their resolution.
constexpr std::int64_t kMostRowBytes = 4 * 1024 * 1024;
constexpr int kFetchBytes = 32 * 1024;  // rows are fetched together up to about this size

constexpr bool is_depth(int bits) {
  return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
}

void undo_tiff_bytes(std::uint8_t* row, int samples, int colors) {
  for (int i = colors; i < samples; ++i)
    row[i] = static_cast<std::uint8_t>(row[i] + row[i - colors]);
}

void undo_tiff_words(std::uint8_t* row, int samples, int colors) {
  for (int i = colors; i < samples; ++i) {
    std::uint8_t* const at = row + 2 * i;
    const std::uint8_t* const before = at - 2 * colors;
    const int sum = (at[0] << 8 | at[1]) + (before[0] << 8 | before[1]);
    at[0] = static_cast<std::uint8_t>(sum >> 8);
    at[1] = static_cast<std::uint8_t>(sum);
  }
}

// Samples of 1, 2 and 4 bits, which share bytes. The bits after the last sample stay as they are.
void undo_tiff_bits(std::uint8_t* row, int samples, int colors, int bits) {
  const int per_byte = 8 / bits;
  const int mask = (1 << bits) - 1;
  const auto shift_of = [=](int index) { return (per_byte - 1 - index % per_byte) * bits; };
  for (int i = colors; i < samples; ++i) {
    const int j = i - colors;
    const int before = row[j / per_byte] >> shift_of(j);
    std::uint8_t& byte = row[i / per_byte];
    const int sum = ((byte >> shift_of(i)) + before) & mask;
    byte = static_cast<std::uint8_t>((byte & ~(mask << shift_of(i))) | sum << shift_of(i));
  }
}

}  // namespace

CPDFPredictor::CPDFPredictor(CPDFStream2* source, int predictor, int columns, int colors, int bits_per_component)
    : source_(source), predictor_(predictor), colors_(colors), bits_(bits_per_component) {
  if ((predictor != kTiff && predictor < kFirstPng) || columns < 1 || colors < 1 || !is_depth(bits_per_component))
    return;
  std::int64_t samples = 0;
  std::int64_t bits = 0;
  if (!checked_mul<std::int64_t>(columns, colors, samples) || !checked_mul<std::int64_t>(samples, bits_, bits) ||
      bits > kMostRowBytes * 8)
    return;
  samples_ = static_cast<int>(samples);
  row_bytes_ = static_cast<int>((bits + 7) / 8);
  tag_bytes_ = predictor >= kFirstPng ? 1 : 0;
  pixel_bytes_ = std::max(colors * bits_ / 8 + (colors * bits_ % 8 != 0 ? 1 : 0), 1);
  const int stride = row_bytes_ + tag_bytes_;
  room_ = std::max(kFetchBytes / stride, 1) * stride;
  block_ = static_cast<std::uint8_t*>(QVAlloc(static_cast<std::size_t>(row_bytes_) + static_cast<std::size_t>(room_)));
  if (block_ == nullptr)
    return;
  std::memset(block_, 0, static_cast<std::size_t>(row_bytes_));
  row_ = block_;
  fetch_ = filled_ = block_ + row_bytes_;
}

CPDFPredictor::~CPDFPredictor() {
  QVFree(block_);
}

// Reads as many rows as there is room for. The last row of those before stays as the one above.
bool CPDFPredictor::fetch_rows() {
  if (row_ != block_)
    std::memcpy(block_, row_, static_cast<std::size_t>(row_bytes_));
  row_ = block_;
  std::uint8_t* const first = block_ + row_bytes_;
  const int got = source_->read_block2(first, room_);
  fetch_ = first;
  filled_ = first + std::max(got, 0);
  return got > 0;
}

// Undoes one row; a short last row counts with the bytes that it has.
bool CPDFPredictor::next_row() {
  pos_ = end_ = 0;
  if (block_ == nullptr || (fetch_ >= filled_ && !fetch_rows()))
    return false;
  const int tag = tag_bytes_ != 0 ? *fetch_ : 0;
  std::uint8_t* const row = fetch_ + tag_bytes_;
  const int count = static_cast<int>(std::min<std::ptrdiff_t>(row_bytes_, filled_ - row));
  fetch_ = std::min(row + row_bytes_, filled_);
  if (count <= 0)
    return false;
  if (count < row_bytes_)
    std::memset(row + count, 0, static_cast<std::size_t>(row_bytes_ - count));
  above_ = row_;
  row_ = row;
  end_ = count;
  if (tag_bytes_ != 0)
    undo_png_row(tag, row, above_, row_bytes_, pixel_bytes_);
  else
    undo_tiff(row);
  return true;
}

void CPDFPredictor::undo_tiff(std::uint8_t* row) const {
  if (bits_ == 8)
    undo_tiff_bytes(row, samples_, colors_);
  else if (bits_ == 16)
    undo_tiff_words(row, samples_, colors_);
  else
    undo_tiff_bits(row, samples_, colors_, bits_);
}

// Undoes whole rows of PNG's "Up" straight into `out`. Cross-reference streams are made of a million of
// them, a few bytes each. The bytes put there; other rows and pieces of rows are left to next_row.
int CPDFPredictor::copy_up_rows(std::uint8_t* out, int size) {
  const std::uint8_t* above = row_;
  int total = 0;
  while (size - total >= row_bytes_ && filled_ - fetch_ > row_bytes_ && *fetch_ == kPngUp) {
    copy_up_row(out + total, fetch_ + 1, above, row_bytes_);
    above = out + total;
    total += row_bytes_;
    fetch_ += row_bytes_ + 1;
  }
  if (total > 0) {
    row_ = fetch_ - row_bytes_;
    std::memcpy(row_, above, static_cast<std::size_t>(row_bytes_));
  }
  return total;
}

int CPDFPredictor::read_block(void* dst, int size) {
  if (predictor_ != kTiff && predictor_ < kFirstPng)
    return source_->read_block2(dst, size);
  auto* out = static_cast<std::uint8_t*>(dst);
  int total = 0;
  while (total < size) {
    if (pos_ >= end_ && tag_bytes_ != 0)
      total += copy_up_rows(out + total, size - total);
    if (total == size || (pos_ >= end_ && !next_row()))
      break;
    const int count = std::min(size - total, end_ - pos_);
    std::memcpy(out + total, row_ + pos_, static_cast<std::size_t>(count));
    pos_ += count;
    total += count;
  }
  return total;
}
