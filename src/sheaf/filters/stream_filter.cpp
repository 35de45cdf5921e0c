// The base of the decoders, and the running of a decoder to its end.
#include "sheaf/filters/stream_filter.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"

using namespace sheaf;

namespace {

constexpr unsigned kRound = 0x400;            // the estimate is rounded up to a multiple of this
constexpr unsigned kFirstStep = 0x400;        // what is read after the estimate at first
constexpr unsigned kLargestStep = 0x10000;    // steps double up to here, which bounds the overshoot
constexpr int kMostEstimate = 0x40000000;     // sizes stay below 2^31 whatever the hint says
constexpr unsigned kSpare = 4;                // after the data, for the NUL
constexpr std::size_t kMostWhole = 16 << 20;  // data are in memory twice for a moment when they are decoded whole

// Reallocates or, on failure, releases: the caller then gives up with nothing held.
std::uint8_t* resized(std::uint8_t* block, unsigned size) {
  auto* grown = static_cast<std::uint8_t*>(QVRealloc(block, size));
  if (grown == nullptr)
    QVFree(block);
  return grown;
}

}  // namespace

CPDFStream::~CPDFStream() {
  CPDFStream::close();
}

void CPDFStream::close() {
  if (data == nullptr)
    return;
  if (borrowed == 0)
    QVFree(data);
  borrowed = 0;
  data = nullptr;
  cursor = nullptr;
  left = 0;
}

int CPDFStream::read_block(void* dst, int size) {
  if (left < 1 || size < 1)
    return 0;
  const int count = std::min(left, size);
  std::memcpy(dst, cursor, static_cast<std::size_t>(count));
  left -= count;
  cursor += count;
  return count;
}

int CPDFStream::most_text(int most) const {
  constexpr std::int64_t kFree = 64 * 1024;
  constexpr std::int64_t kPerByte = 64;
  const std::int64_t justified = kFree + std::max(left, 0) * kPerByte;
  return is_picture() ? static_cast<int>(std::min<std::int64_t>(most, justified)) : most;
}

bool CPDFStream::decode_whole(std::size_t) {
  return false;
}

std::uint8_t* CPDFStream::buffer_load(int max_len, int& len) {
  // What ends this far before `max_len` is never cut.
  if (max_len > static_cast<int>(2 * kLargestStep))
    decode_whole(std::min(static_cast<std::size_t>(max_len) - 2 * kLargestStep, kMostWhole));
  const auto estimate = static_cast<unsigned>(std::clamp(len > 0 ? len : size_hint, 0, kMostEstimate));
  len = 0;
  const unsigned first = (estimate + (kRound - 1)) & ~(kRound - 1);
  auto* block = static_cast<std::uint8_t*>(QVAlloc(first + kSpare));
  if (block == nullptr)
    return nullptr;
  unsigned total = 0;     // bytes delivered
  unsigned room = first;  // bytes the block is meant to hold
  unsigned step = first;
  for (;;) {
    const int got = read_block(block + total, static_cast<int>(step));
    const auto count = static_cast<unsigned>(std::max(got, 0));
    total += count;
    if (count < step)
      break;
    if (room == first) {
      step = kFirstStep;
    } else {
      step = step < kLargestStep ? step * 2 : step;
      if (room + step > static_cast<unsigned>(std::max(max_len, 0)))
        break;  // cut here; what the decoder still holds is lost
    }
    room += step;
    block = resized(block, room + kSpare);
    if (block == nullptr)
      return nullptr;
  }
  block[total] = 0;
  len = static_cast<int>(total);
  return block;
}
