// Any bytes through any of the byte decoders. The first eight bytes are the decoder, the size of
// the pieces and the parameters; the rest is its input. Read in pieces, at once, and through
// buffer_load, a decoder must give the same bytes.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::size_t kHeader = 8;
constexpr int kMostBytes = 1 << 20;  // compared; decoders that give more are only begun

const char* const kNames[] = {"FlateDecode",   "LZWDecode",       "ASCIIHexDecode",
                              "ASCII85Decode", "RunLengthDecode", "Crypt"};

void set_parms(CPDFDictionary& parms, const std::uint8_t* header) {
  constexpr int kPredictors[] = {1, 0, 2, 10, 12, 15, -1, 9};
  constexpr int kDepths[] = {8, 1, 2, 4, 16, 0, 3, -8};
  constexpr int kHuge[] = {INT32_MAX, INT32_MIN, 0x10000000, -1};
  parms.set_item_int("Predictor", kPredictors[header[2] % 8]);
  parms.set_item_int("BitsPerComponent", kDepths[header[3] % 8]);
  parms.set_item_int("Colors", header[4] < 252 ? header[4] % 9 : kHuge[header[4] - 252]);
  parms.set_item_int("Columns", header[5] < 252 ? header[5] * (header[6] % 16) : kHuge[header[5] - 252]);
  parms.set_item_int("EarlyChange", header[7] & 1);
}

using StreamPtr = std::unique_ptr<CPDFStream>;

StreamPtr make(const std::uint8_t* data, std::size_t size) {
  Cleared<CPDFDictionary> parms;
  set_parms(parms, data);
  const std::size_t len = size - kHeader;
  auto* block = static_cast<unsigned char*>(QVAlloc(len));
  std::memcpy(block, data + kHeader, len);
  return StreamPtr(CPDFXRefTable::make_stream2(nullptr, block, static_cast<int>(len), kNames[data[0] % 6], &parms));
}

std::vector<std::uint8_t> read(CPDFStream& decoder, int step) {
  std::vector<std::uint8_t> all;
  std::vector<std::uint8_t> piece(static_cast<std::size_t>(step));
  while (all.size() < kMostBytes) {
    const int got = decoder.read_block(piece.data(), step);
    if (got < 0 || got > step)
      std::abort();
    if (got == 0)
      break;
    all.insert(all.end(), piece.begin(), piece.begin() + got);
  }
  all.resize(std::min<std::size_t>(all.size(), kMostBytes));
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHeader || size > 1 << 20)
    return 0;
  const auto pieces = read(*make(data, size), data[1] + 1);
  const auto whole = read(*make(data, size), kMostBytes);
  int len = 0;
  const HeapBlock<std::uint8_t> loaded(make(data, size)->buffer_load(kMostBytes, len));
  if (pieces != whole || !loaded || loaded[static_cast<std::size_t>(len)] != 0)
    std::abort();
  const std::size_t common = std::min(static_cast<std::size_t>(len), whole.size());
  if (!std::equal(loaded.get(), loaded.get() + common, whole.data()))
    std::abort();
  return 0;
}
