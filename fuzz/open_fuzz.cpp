// Any bytes as a file: opened however damaged, its pages walked, every object read and every stream
// decoded, all within limits. Opening the same bytes again must come to the same pages.
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "base/scope_guard.h"
#include "filters/stream_filter.h"
#include "neighbours/page/doc.h"

namespace {

constexpr std::size_t kMostBytes = 1 << 18;
constexpr std::uint32_t kMostObjects = 20000;
constexpr std::int64_t kMostDecoded = 1 << 22;  // of one file

void walk_pages(CPDFDoc& doc) {
  const int count = doc.page_count();
  for (int i = 0; i < std::min(count, 200); ++i) {
    CPDFPage page;
    if (!doc.load_page(i, page))
      continue;
    if (page.ref.num < 1 || page.rotate < 0 || page.rotate > 359 || page.shown_width() < 0)
      std::abort();
  }
  if (doc.page_ref(-1).num != 0 || doc.page_ref(INT32_MAX).num != 0)
    std::abort();
}

void decode(CPDFXRefTable& table, const CPDFStreamRec& rec, std::int64_t& budget) {
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(&rec));
  unsigned char block[8192];
  while (decoder != nullptr && budget > 0) {
    const int got = decoder->read_block(block, sizeof(block));
    if (got > static_cast<int>(sizeof(block)))
      std::abort();
    if (got <= 0)
      return;
    budget -= got;
  }
}

void read_objects(CPDFXRefTable& table) {
  table.drain_pending();
  std::int64_t budget = kMostDecoded;
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 0; num < std::min(table.xref_count, kMostObjects); ++num) {
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    if (obj.tag == kTagRef)
      std::abort();
    if (const CPDFStreamRec* rec = obj.as_stream())
      decode(table, *rec, budget);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > kMostBytes)
    return 0;
  CQVStreamMemFix file;
  file.Open(const_cast<std::uint8_t*>(data), static_cast<int>(size));  // only read from
  CPDFDoc doc;
  const bool opened = doc.open(&file);
  const int pages = doc.page_count();
  doc.table().decoded_ceiling = kMostDecoded;
  walk_pages(doc);
  if (doc.is_readable())
    read_objects(doc.table());
  doc.repairs();
  if (doc.open(&file) != opened || doc.page_count() != pages)
    std::abort();
  return 0;
}
