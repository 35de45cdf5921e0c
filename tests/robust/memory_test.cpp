// Memory in proportion: what a file makes the library allocate stays within a bound that follows
// from the file's size, and a ceiling for decoded data holds wherever data are decoded into memory.
#include <gtest/gtest.h>

#include <malloc.h>

#include <cstdlib>
#include <memory>

#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/string_stream.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr long long kMiB = 1024 * 1024;

// Counts what the heap family holds.
class MeasuredHeap {
public:
  MeasuredHeap() {
    const QVHeapHooks hooks{alloc, realloc, free, this};
    set_heap_hooks(&hooks);
  }
  MeasuredHeap(const MeasuredHeap&) = delete;
  MeasuredHeap& operator=(const MeasuredHeap&) = delete;
  ~MeasuredHeap() { set_heap_hooks(nullptr); }
  long long held = 0;
  long long peak = 0;

private:
  static long long size_of(void* block) { return static_cast<long long>(malloc_usable_size(block)); }
  void count(long long change) {
    held += change;
    peak = std::max(peak, held);
  }
  static void* alloc(void* context, std::size_t size) {
    void* const block = std::malloc(size);
    if (block != nullptr)
      static_cast<MeasuredHeap*>(context)->count(size_of(block));
    return block;
  }
  static void* realloc(void* context, void* block, std::size_t size) {
    const long long before = block != nullptr ? size_of(block) : 0;
    void* const grown = std::realloc(block, size);
    if (grown != nullptr)
      static_cast<MeasuredHeap*>(context)->count(size_of(grown) - before);
    return grown;
  }
  static void free(void* context, void* block) {
    static_cast<MeasuredHeap*>(context)->count(-size_of(block));
    std::free(block);
  }
};

void decode_all(CPDFDoc& doc) {
  std::vector<unsigned char> block(64 * 1024);
  Freed<CPDFObj> obj;
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    const std::unique_ptr<CPDFStream> stream(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
    for (int i = 0; stream != nullptr && i < 1000; ++i) {
      if (stream->read_block(block.data(), static_cast<int>(block.size())) <= 0)
        break;
    }
  }
}

TEST(Memory, EveryCorpusFileKeepsWithinItsLimit) {
  const char* folder = std::getenv("SHEAF_CORPUS");
  if (folder == nullptr)
    GTEST_SKIP() << "SHEAF_CORPUS names no folder of PDFs";
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".pdf")
      continue;
    MeasuredHeap heap;
    {
      StringStream out("");
      CPDFDoc doc;
      if (doc.open(entry.path().c_str()) && doc.is_readable()) {
        doc.page_ref(0);
        decode_all(doc);
        CPDFXRefTable target;
        target.stream = &out;
        doc.save_complete(target, nullptr);
      }
    }
    EXPECT_LE(heap.peak, 64 * kMiB + 8 * static_cast<long long>(entry.file_size())) << entry.path().filename();
    EXPECT_EQ(heap.held, 0) << entry.path().filename();
  }
}

// Data that grow a thousandfold at each of two filters.
std::string bomb() {
  return PdfBuilder::deflated(PdfBuilder::deflated(std::string(64 * kMiB, ' ')));
}

TEST(Memory, ACeilingHoldsForEveryStageAndForObjectStreams) {
  constexpr long long kCeiling = kMiB;
  const std::string zeros = PdfBuilder::deflated(std::string(30 * kMiB, ' '));
  PdfBuilder builder;
  builder.pages(1).stream(4, "/Filter[/FlateDecode/FlateDecode]", bomb());
  builder.stream(5, "/Type/ObjStm/N 100/First 0/Filter/FlateDecode", zeros);
  builder.stream(6, "/Filter[/FlateDecode/ASCIIHexDecode]", zeros).classic();
  for (const long long ceiling : {kCeiling, 0LL}) {
    StringStream file(builder.str());
    MeasuredHeap heap;
    {
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&file));
      doc.table().decoded_ceiling = ceiling;
      decode_all(doc);
      doc.table().get_objstm(static_cast<unsigned>(builder.offset_of(5)), 5, 0);
    }
    if (ceiling != 0)
      EXPECT_LE(heap.peak, 4 * kCeiling);
    else
      EXPECT_GT(heap.peak, 8 * kCeiling);  // so that the ceiling is what made the difference
  }
}

}  // namespace
