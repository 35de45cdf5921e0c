// Any bytes through the decoders of whole images, and into a document as an image. The first two
// bytes are the decoder with its parameter and the size of the pieces. Read in pieces and at once, a
// decoder must give the same bytes, and whole rows as long as it has any. A header's claim may not
// cost memory that the data cannot justify, which -malloc_limit_mb watches.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/decoders/row_decoder.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::size_t kHeader = 2;
constexpr std::size_t kMostBytes = 1 << 22;  // compared; images that give more are only begun

using DecoderPtr = std::unique_ptr<CPDFRowDecoder>;

DecoderPtr make(const std::uint8_t* data, std::size_t size) {
  Cleared<CPDFDictionary> parms;
  if ((data[0] & 0x30) != 0)
    parms.set_item_int("ColorTransform", (data[0] >> 4 & 3) - 1);
  const std::size_t len = size - kHeader;
  auto* block = static_cast<unsigned char*>(QVAlloc(len));
  std::memcpy(block, data + kHeader, len);
  const char* name = (data[0] & 1) != 0 ? "JPXDecode" : "DCTDecode";
  return DecoderPtr(
      static_cast<CPDFRowDecoder*>(CPDFXRefTable::make_stream2(nullptr, block, static_cast<int>(len), name, &parms)));
}

std::vector<std::uint8_t> read(CPDFStream& decoder, std::size_t step) {
  std::vector<std::uint8_t> all;
  std::vector<std::uint8_t> piece(step);
  while (all.size() < kMostBytes) {
    const int got = decoder.read_block(piece.data(), static_cast<int>(step));
    if (got < 0 || static_cast<std::size_t>(got) > step)
      std::abort();
    if (got == 0)
      break;
    all.insert(all.end(), piece.begin(), piece.begin() + got);
  }
  all.resize(std::min(all.size(), kMostBytes));
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kHeader + 1 || size > 1 << 20)
    return 0;
  const DecoderPtr decoder = make(data, size);
  const auto whole = read(*decoder, kMostBytes);
  const auto pieces = read(*make(data, size), std::size_t{data[1]} * 16 + 1);
  const std::int64_t row = std::int64_t{decoder->width()} * decoder->components();
  if (pieces != whole || (row > 0 && whole.size() < kMostBytes && static_cast<std::int64_t>(whole.size()) % row != 0))
    std::abort();
  if (whole.size() < kMostBytes && static_cast<std::int64_t>(whole.size()) > row * decoder->height())
    std::abort();

  CPDFXRefTable table;
  table.next_obj_num = 1;
  const PDF_REF image = table.new_image_jpeg_mem(data + kHeader, static_cast<int>(size - kHeader));
  if (image.num != static_cast<std::int32_t>(table.next_obj_num) - 1)
    std::abort();
  table.XRefFree();
  return 0;
}
