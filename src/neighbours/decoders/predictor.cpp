#include "neighbours/decoders/predictor.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/checked.h"
#include "base/heap.h"
#include "filters/stream_filter.h"

namespace {

constexpr int kTiff = 2;
constexpr int kFirstPng = 10;
// A row is held in memory twice. Pages are far narrower than this, whatever their resolution.
constexpr std::int64_t kMostRowBytes = 4 * 1024 * 1024;

constexpr bool is_depth(int bits) {
  return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
}

// The neighbour that is nearest to left + above - upper left (RFC 2083, 6.6).
constexpr int paeth(int left, int above, int corner) {
  const int estimate = left + above - corner;
  const int to_left = std::abs(estimate - left);
  const int to_above = std::abs(estimate - above);
  const int to_corner = std::abs(estimate - corner);
  if (to_left <= to_above && to_left <= to_corner)
    return left;
  return to_above <= to_corner ? above : corner;
}

}  // namespace

CPDFPredictor::CPDFPredictor(CPDFStream2* source, int predictor, int columns, int colors, int bits_per_component)
    : source_(source), predictor_(predictor), colors_(colors), bits_(bits_per_component) {
  if (columns < 1 || colors < 1 || !is_depth(bits_per_component))
    return;
  std::int64_t samples = 0;
  std::int64_t bits = 0;
  if (!checked_mul<std::int64_t>(columns, colors, samples) || !checked_mul<std::int64_t>(samples, bits_, bits) ||
      bits > kMostRowBytes * 8)
    return;
  samples_ = static_cast<int>(samples);
  row_bytes_ = static_cast<int>((bits + 7) / 8);
  pixel_bytes_ = static_cast<int>(std::max<std::int64_t>((static_cast<std::int64_t>(colors) * bits_ + 7) / 8, 1));
  const auto size = static_cast<std::size_t>(row_bytes_) + static_cast<std::size_t>(pixel_bytes_);
  row_ = static_cast<std::uint8_t*>(QVCalloc(size, 1));
  above_ = static_cast<std::uint8_t*>(QVCalloc(size, 1));
}

CPDFPredictor::~CPDFPredictor() {
  QVFree(row_);
  QVFree(above_);
}

// Decodes one row; a short last row counts with the bytes that it has.
bool CPDFPredictor::next_row() {
  pos_ = end_ = 0;
  if (row_ == nullptr || above_ == nullptr)
    return false;
  int kind = 0;
  if (predictor_ >= kFirstPng) {
    kind = source_->get_char2();
    if (kind < 0)
      return false;
    std::swap(row_, above_);
  }
  std::uint8_t* const bytes = row_ + pixel_bytes_;
  end_ = source_->read_block2(bytes, row_bytes_);
  if (end_ <= 0)
    return false;
  std::memset(bytes + end_, 0, static_cast<std::size_t>(row_bytes_ - end_));
  if (predictor_ >= kFirstPng)
    undo_png(kind);
  else if (predictor_ == kTiff)
    undo_tiff();
  return true;
}

void CPDFPredictor::undo_png(int kind) {
  std::uint8_t* const row = row_ + pixel_bytes_;
  const std::uint8_t* const above = above_ + pixel_bytes_;
  const std::uint8_t* const left = row_;  // zeros stand in front of the row
  const std::uint8_t* const corner = above_;
  const auto add = [](std::uint8_t& byte, int value) { byte = static_cast<std::uint8_t>(byte + value); };
  switch (kind) {
    case 1:
      for (int i = 0; i < row_bytes_; ++i)
        add(row[i], left[i]);
      return;
    case 2:
      for (int i = 0; i < row_bytes_; ++i)
        add(row[i], above[i]);
      return;
    case 3:
      for (int i = 0; i < row_bytes_; ++i)
        add(row[i], (left[i] + above[i]) / 2);
      return;
    case 4:
      for (int i = 0; i < row_bytes_; ++i)
        add(row[i], paeth(left[i], above[i], corner[i]));
      return;
    default:
      return;  // 0 is none; a tag that does not exist is read as none
  }
}

template <class Sample>
void CPDFPredictor::undo_tiff_samples() {
  std::uint8_t* const row = row_ + pixel_bytes_;
  for (int i = colors_; i < samples_; ++i) {
    if constexpr (sizeof(Sample) == 1) {
      row[i] = static_cast<std::uint8_t>(row[i] + row[i - colors_]);
    } else {
      std::uint8_t* const at = row + 2 * i;
      const std::uint8_t* const before = at - 2 * colors_;
      const int sum = (at[0] << 8 | at[1]) + (before[0] << 8 | before[1]);
      at[0] = static_cast<std::uint8_t>(sum >> 8);
      at[1] = static_cast<std::uint8_t>(sum);
    }
  }
}

// Samples of 1, 2 and 4 bits, which share bytes. The bits behind the last sample stay as they are.
void CPDFPredictor::undo_tiff_bits() {
  std::uint8_t* const row = row_ + pixel_bytes_;
  const int per_byte = 8 / bits_;
  const int mask = (1 << bits_) - 1;
  const auto shift_of = [&](std::int64_t index) { return (per_byte - 1 - static_cast<int>(index % per_byte)) * bits_; };
  for (std::int64_t i = colors_; i < samples_; ++i) {
    const std::int64_t j = i - colors_;
    const int before = row[j / per_byte] >> shift_of(j);
    std::uint8_t& byte = row[i / per_byte];
    const int sum = ((byte >> shift_of(i)) + before) & mask;
    byte = static_cast<std::uint8_t>((byte & ~(mask << shift_of(i))) | sum << shift_of(i));
  }
}

void CPDFPredictor::undo_tiff() {
  if (bits_ == 8)
    undo_tiff_samples<std::uint8_t>();
  else if (bits_ == 16)
    undo_tiff_samples<std::uint16_t>();
  else
    undo_tiff_bits();
}

int CPDFPredictor::read_block(void* dst, int size) {
  if (predictor_ != kTiff && predictor_ < kFirstPng)
    return source_->read_block2(dst, size);
  auto* out = static_cast<std::uint8_t*>(dst);
  int total = 0;
  while (total < size) {
    if (pos_ >= end_ && !next_row())
      break;
    const int count = std::min(size - total, end_ - pos_);
    std::memcpy(out + total, row_ + pixel_bytes_ + pos_, static_cast<std::size_t>(count));
    pos_ += count;
    total += count;
  }
  return total;
}
