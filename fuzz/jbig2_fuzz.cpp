// JBIG2 streams of any bytes: no overrun, no hang, no memory out of proportion. The first byte is
// the length of the global segments, in sixteenths of the rest.
#include <cstdlib>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/decoders/jbig2_filter.h"

using namespace sheaf;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1 || size > 1 << 16)
    return 0;
  const std::size_t global = (size - 1) * (data[0] & 15) / 16;
  const std::size_t len = size - 1 - global;
  auto* block = static_cast<std::uint8_t*>(QVAlloc(len));
  std::memcpy(block, data + 1 + global, len);
  CPDFStreamJBIG2 filter(block, static_cast<std::int32_t>(len));
  if (!filter.init())
    return 0;
  filter.open(global != 0 ? data + 1 : nullptr, static_cast<int>(global));
  std::int64_t total = 0;
  std::uint8_t piece[4096];
  for (int got = filter.read_block(piece, sizeof piece); got > 0; got = filter.read_block(piece, sizeof piece))
    total += got;
  if (total != filter.page_size)
    std::abort();
  return 0;
}
