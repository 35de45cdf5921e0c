// A length byte below 128 precedes literal bytes, one above 128 a byte to repeat; 128 ends the data.
#include "sheaf/filters/run_length.h"

#include <algorithm>
#include <cstring>

using namespace sheaf;

namespace {

constexpr int kEndOfData = 128;

}  // namespace

void CPDFStreamRunlen::open() {
  run_start = run_end = run_buf;
  run_state = 0;
}

int CPDFStreamRunlen::fill_buf() {
  run_start = run_end = run_buf;
  if (run_state != 0)
    return 0;
  if (left < 1) {
    early_end = kEarlyEndData;
    return 0;
  }
  const int code = *cursor++;
  --left;
  if (code == kEndOfData) {
    run_state = 1;
    return 0;
  }
  if (code < kEndOfData) {
    const int count = std::min(code + 1, left);
    std::memcpy(run_buf, cursor, static_cast<std::size_t>(count));
    cursor += count;
    left -= count;
    run_end = run_buf + count;
    return count;
  }
  if (left < 1) {
    early_end = kEarlyEndData;
    return 0;
  }
  const int count = 257 - code;
  std::memset(run_buf, *cursor++, static_cast<std::size_t>(count));
  --left;
  run_end = run_buf + count;
  return count;
}

int CPDFStreamRunlen::read_block(void* dst, int size) {
  auto* out = static_cast<std::uint8_t*>(dst);
  int total = 0;
  auto available = static_cast<int>(run_end - run_start);
  // An exact fit decodes the next run too, one step early.
  while (available <= size) {
    if (available > 0)
      std::memcpy(out, run_start, static_cast<std::size_t>(available));
    run_start = run_end;
    total += available;
    if (fill_buf() == 0)
      return total;
    size -= available;
    out += available;
    available = static_cast<int>(run_end - run_start);
  }
  if (size > 0)
    std::memcpy(out, run_start, static_cast<std::size_t>(size));
  run_start += std::max(size, 0);
  return total + std::max(size, 0);
}
