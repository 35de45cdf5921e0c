// Puts the pages of several documents into a new one. Links, outlines, page labels, form fields and
// named destinations are taken over; what leads to other pages is removed.
//
//   merge FILE.pdf...
#include <cstdio>
#include <vector>

#include "sheaf/document/merge/doc_merge.h"

int main(int argc, char** argv) {
  // The new document starts in memory; the bytes of its streams wait in a temporary file.
  CQVStreamMem start;
  CPDFDoc into;
  if (argc < 2 || !into.create(&start) || !into.use_temp_file(nullptr))
    return 2;

  CPDFDocMerge merge(into);
  for (int i = 1; i < argc; ++i) {
    CPDFDoc source;  // needed no longer than its turn lasts
    if (!source.open(argv[i]) || !source.is_readable()) {
      std::fprintf(stderr, "%s cannot be read\n", argv[i]);
      return 2;
    }
    std::vector<std::int32_t> pages;  // any pages in any order: here all of them, the last one first
    for (int page = source.page_count(); page-- > 0;)
      pages.push_back(page);
    const auto wanted = static_cast<std::int32_t>(pages.size());
    const std::int32_t done = merge.append(source, pages.data(), wanted, argv[i]);
    std::printf("%s: %d of %d pages\n", argv[i], done, wanted);
  }

  // What was collected on the way goes into the catalogue, then everything into a complete new file.
  CQVStreamFile out;
  out.file = std::fopen("merged.pdf", "w+b");
  if (out.file == nullptr || !merge.finish())
    return 2;
  CPDFXRefTable target;
  target.stream = &out;
  into.save_complete(target, nullptr);
  if (target.write_failed != 0)
    return 2;
  std::printf("merged.pdf: %d pages, %lld bytes\n", into.page_count(), out.GetLen());
  return 0;
}
