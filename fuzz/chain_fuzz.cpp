// Any bytes as one stream object in a file that has helpers to refer to: the chain of its filters
// with their parameters. What comes out must not depend on the size of the requests, and a ceiling
// for decoded data must hold for every stage in front of the last.
#include <vector>

#include "../tests/support/pdf_builder.h"
#include "../tests/support/test_table.h"
#include "document_walk.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostBytes = 1 << 16;
constexpr std::size_t kMostCompared = 1 << 18;
constexpr std::int64_t kCeiling = 1 << 16;

// Object 1 is the stream; the others are what its dictionary may name.
std::string file_with(const std::string& text) {
  PdfBuilder builder;
  builder.raw("1 0 obj\n" + text + "\nendobj\n").obj(2, std::to_string(text.size() / 2)).obj(3, "/FlateDecode");
  builder.obj(4, "[/ASCIIHexDecode /LZWDecode]").obj(5, "<</Predictor 12/Columns 4>>");
  builder.stream(6, "/Filter/JBIG2Decode/DecodeParms<</JBIG2Globals 1 0 R>>", "globals");
  return builder.obj(7, "[null 5 0 R]").str();
}

std::vector<std::uint8_t> decoded(CPDFXRefTable& table, const CPDFStreamRec& rec, int step) {
  std::vector<std::uint8_t> all;
  std::vector<std::uint8_t> piece(static_cast<std::size_t>(step));
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  // A scan line is delivered whole or not at all, so that its reader chooses the size.
  if (decoder == nullptr || decoder->filter_type == kFilterCCITTFax)
    return all;
  while (all.size() < kMostCompared) {
    const int got = decoder->read_block(piece.data(), step);
    expect(got <= step);
    if (got <= 0)
      break;
    all.insert(all.end(), piece.begin(), piece.begin() + got);
  }
  all.resize(std::min(all.size(), kMostCompared));
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMostBytes)
    return 0;
  const std::string bytes = file_with(std::string(reinterpret_cast<const char*>(data), size));
  TestTable t(bytes);
  if (t.table.XRefCreate() == 0 && t.table.xref_count < 2)
    return 0;
  t.table.decoded_ceiling = kMostDecoded;
  Freed<CPDFObj> obj;
  t.table.get_entity(obj, {1, 0});
  const CPDFStreamRec* rec = obj.as_stream();
  if (rec == nullptr)
    return 0;
  expect(decoded(t.table, *rec, 1 << 16) == decoded(t.table, *rec, 61));
  t.table.decoded_ceiling = kCeiling;
  std::int64_t budget = kMostDecoded;
  decode(t.table, *rec, budget);
  return 0;
}
