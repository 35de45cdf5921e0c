// Listing all pages with their sizes of a linearized file: by its hints and by its page tree, with
// the reads and bytes that each needs. PAGES_FILE names the file.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "../tests/support/counting_stream.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/stream_blocks.h"
#include "sheaf/document/doc.h"

using namespace sheaf;

namespace {

void by_hints(benchmark::State& state) {
  const char* path = std::getenv("PAGES_FILE");
  CQVStreamBlocks file;
  if (path == nullptr || !file.Open(path)) {
    state.SkipWithError("PAGES_FILE names no file");
    return;
  }
  CountingStream counted(file);
  std::int64_t pages = 0;
  for (auto _ : state) {
    PDF_PAGE_SET set{};
    pages = CPDFDoc::read_page_hints(&counted, set) ? set.count : 0;
    QVFree(set.pages);
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["pages"] = static_cast<double>(pages);
  state.counters["reads"] = static_cast<double>(counted.reads) / runs;
  state.counters["bytes"] = static_cast<double>(counted.bytes) / runs;
}
BENCHMARK(by_hints)->Unit(benchmark::kMillisecond);

void by_tree(benchmark::State& state) {
  const char* path = std::getenv("PAGES_FILE");
  CQVStreamBlocks file;
  if (path == nullptr || !file.Open(path)) {
    state.SkipWithError("PAGES_FILE names no file");
    return;
  }
  CountingStream counted(file);
  std::int64_t pages = 0;
  for (auto _ : state) {
    CPDFDoc doc;
    doc.open(&counted);
    pages = doc.page_count();
    for (int i = 0; i < doc.page_count(); ++i) {
      CPDFPage page;
      doc.load_page(i, page);
      benchmark::DoNotOptimize(page.box);
    }
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["pages"] = static_cast<double>(pages);
  state.counters["reads"] = static_cast<double>(counted.reads) / runs;
  state.counters["bytes"] = static_cast<double>(counted.bytes) / runs;
}
BENCHMARK(by_tree)->Unit(benchmark::kMillisecond);

}  // namespace
