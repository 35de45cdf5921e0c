// CCITT lines of any data and parameters, with a bound on the rows: no overrun, no hang, and every
// line is whole. The first four bytes choose the parameters.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/filters/ccitt.h"

using namespace sheaf;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kHead = 4;
  constexpr int kMostRows = 200;
  if (size < kHead || size > 1 << 16)
    return 0;
  const int k = static_cast<signed char>(data[0]);
  const int columns = data[1] * 16 + data[2] % 16;
  const int stride = (columns + 7) / 8;
  const auto len = static_cast<int>(size - kHead);
  auto* block = static_cast<std::uint8_t*>(QVAlloc(static_cast<std::size_t>(len)));
  std::memcpy(block, data + kHead, static_cast<std::size_t>(len));
  CPDFStreamFAX fax(block, len);
  fax.open(k, columns, 0, data[3] & 1, data[3] >> 1 & 1);
  std::vector<unsigned char> row(static_cast<std::size_t>(stride));
  for (int i = 0; i < kMostRows; ++i) {
    const int got = fax.read_block(row.data(), stride);
    if (got == 0)
      break;
    if (got != stride)
      std::abort();
  }
  return 0;
}
