// Rows are buffered only when a request ends within one.
#include "sheaf/neighbours/decoders/row_decoder.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"

using namespace sheaf;

void CPDFRowDecoder::release_rows() {
  QVFree(row_);
  row_ = nullptr;
  row_bytes_ = row_pos_ = row_end_ = 0;
  width_ = height_ = components_ = 0;
  state_ = State::kFresh;
}

void CPDFRowDecoder::close() {
  release_rows();
  CPDFStream::close();
}

bool CPDFRowDecoder::set_sizes(std::int64_t width, std::int64_t height, std::int64_t components) {
  constexpr std::int64_t kMostComponents = 256;
  const auto fits = [](std::int64_t value, std::int64_t most) { return value >= 1 && value <= most; };
  if (!fits(width, INT32_MAX) || !fits(height, INT32_MAX) || !fits(components, kMostComponents) ||
      width * components > INT32_MAX)
    return false;
  width_ = static_cast<std::int32_t>(width);
  height_ = static_cast<std::int32_t>(height);
  components_ = static_cast<std::int32_t>(components);
  row_bytes_ = width_ * components_;
  return true;
}

// Ahead of `begin`, since some decode the whole image there.
bool CPDFRowDecoder::is_too_large() const {
  return ceiling_ > 0 && height_ > ceiling_ / std::max(row_bytes_, 1);
}

bool CPDFRowDecoder::is_ready() {
  if (state_ != State::kFresh)
    return state_ == State::kRows;
  state_ = State::kEnd;
  if (width_ == 0 || is_too_large() || !begin() || is_too_large())
    return false;
  row_ = static_cast<std::uint8_t*>(QVAlloc(static_cast<std::size_t>(row_bytes_)));
  if (row_ != nullptr)
    state_ = State::kRows;
  return row_ != nullptr;
}

bool CPDFRowDecoder::fetch(std::uint8_t* row) {
  if (state_ == State::kRows && !next_row(row))
    state_ = State::kEnd;
  return state_ == State::kRows;
}

int CPDFRowDecoder::read_block(void* dst, int size) {
  auto* out = static_cast<std::uint8_t*>(dst);
  int total = 0;
  while (total < size) {
    if (row_pos_ < row_end_) {
      const int count = std::min(row_end_ - row_pos_, size - total);
      std::memcpy(out + total, row_ + row_pos_, static_cast<std::size_t>(count));
      row_pos_ += count;
      total += count;
    } else if (!is_ready()) {
      break;
    } else if (size - total >= row_bytes_) {
      if (!fetch(out + total))
        break;
      total += row_bytes_;
    } else {
      if (!fetch(row_))
        break;
      row_pos_ = 0;
      row_end_ = row_bytes_;
    }
  }
  return total;
}
