// What an application that embeds the library decides: where memory comes from, where bytes come
// from, which thread uses which document, and what it makes of failures.
//
//   embed FILE.pdf
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/document/doc.h"

namespace {

// A heap of the application's own: here the C library's with a count of blocks. The functions are
// called from every thread that uses the library.
std::atomic<long> blocks_held = 0;

void* counted_alloc(void*, std::size_t size) {
  void* const block = std::malloc(size);
  blocks_held += block != nullptr ? 1 : 0;
  return block;
}

void* counted_realloc(void*, void* block, std::size_t size) {
  void* const grown = std::realloc(block, size);
  blocks_held += block == nullptr && grown != nullptr ? 1 : 0;
  return grown;
}

void counted_free(void*, void* block) {
  blocks_held -= block != nullptr ? 1 : 0;
  std::free(block);
}

// Each thread has a document of its own over bytes that all of them only read. The stream borrows
// the bytes, and the document borrows the stream: they go in the opposite order.
int count_readable_pages(std::string& bytes) {
  CQVStreamMemFix stream;
  stream.Open(bytes.data(), static_cast<int>(bytes.size()));
  CPDFDoc doc;
  if (!doc.open(&stream) || !doc.is_readable())
    return -1;
  int readable = 0;
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    readable += doc.load_page(i, page) ? 1 : 0;
  }
  return readable;
}

// Nothing throws. What cannot be had is a null object, a null pointer, false or 0, and the document
// stays usable.
bool failures_are_results(CPDFDoc& doc) {
  sheaf::Freed<CPDFObj> missing;
  doc.table().get_entity(missing, {999999, 0});
  CPDFPage page;
  const bool has_page = doc.load_page(999999, page);
  return missing.is_null() && missing.as_dict() == nullptr && !has_page;
}

// All bytes of a file; none of a folder or of a file that cannot be read.
std::string bytes_of(const char* path) {
  CQVStreamFile in;
  in.Open(path);
  std::string bytes;
  char block[4096];
  for (unsigned got = 1; got != 0;) {
    got = in.Read(block, sizeof(block));
    bytes.append(block, got);
  }
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  std::string bytes = bytes_of(argc > 1 ? argv[1] : "");
  if (bytes.empty())
    return 2;

  // To be set while the library holds no block, as at the start of the program.
  const QVHeapHooks hooks{counted_alloc, counted_realloc, counted_free, nullptr};
  sheaf::set_heap_hooks(&hooks);

  std::atomic<int> pages = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] { pages += count_readable_pages(bytes); });
  for (std::thread& thread : threads)
    thread.join();
  std::printf("four threads have read %d pages\n", pages.load());

  bool good = false;
  {
    CPDFDoc doc;
    good = doc.open(argv[1]) && failures_are_results(doc);
    std::printf("%ld blocks are held while the document is open,", blocks_held.load());
  }
  std::printf(" %ld when it is gone\n", blocks_held.load());
  sheaf::set_heap_hooks(nullptr);
  return good && pages > 0 && blocks_held == 0 ? 0 : 2;
}
