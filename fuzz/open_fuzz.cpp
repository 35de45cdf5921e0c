// Any bytes as a file: opened however damaged, its pages walked, every object read and every stream
// decoded, all within limits. Opening the same bytes again must come to the same pages.
#include "document_walk.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostBytes = 1 << 18;

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
  expect(doc.open(&file) == opened && doc.page_count() == pages);
  return 0;
}
