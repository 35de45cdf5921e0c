// Two documents of any bytes, put into one: all their pages, some twice, with outlines, names and
// forms. The first bytes choose the order and where the first document ends. The result must save
// and open again with as many pages as were taken over.
#include <vector>

#include "document_walk.h"
#include "sheaf/document/merge/doc_merge.h"

using namespace sheaf;

namespace {

constexpr std::size_t kChoices = 8;
constexpr std::size_t kMostBytes = 1 << 16;

struct Source {
  Source(const std::uint8_t* data, std::size_t size) : file(data, size) {
    doc.set_password("user");
    is_open = doc.open(&file) && doc.is_readable();
    doc.table().decoded_ceiling = kMostDecoded;
  }
  CopiedFile file;
  CPDFDoc doc;
  bool is_open;
};

std::int32_t append(CPDFDocMerge& merge, Source& source, Choices& choices, const char* title) {
  if (!source.is_open)
    return 0;
  constexpr int kMostTaken = 50;
  std::vector<std::int32_t> pages;
  const int count = std::min(walked_count(source.doc), kMostTaken);
  for (int i = 0; i < count; ++i)
    pages.push_back(i);
  if (choices.next(2) != 0)
    pages.insert(pages.end(), pages.rbegin(), pages.rend());
  pages.push_back(choices.next_number());
  return merge.append(source.doc, pages.data(), static_cast<std::int32_t>(pages.size()), title);
}

// The object walk alone, from any number on, into a document that was opened.
void import_object(Source& target, Source& source, Choices& choices) {
  if (!target.is_open || !source.is_open)
    return;
  CPDFXRefTable& table = target.doc.table();
  CPDFMergeContext* context = table.import_start(&source.doc, &source.doc.table());
  if (context == nullptr)
    return;
  for (int i = 0; i < 2; ++i) {
    const PDF_REF ref = table.clone_obj(&source.doc.table(), context, {choices.next_number(), 0});
    Freed<CPDFObj> obj;
    table.get_entity(obj, ref);
  }
  table.clone_acro_form(&source.doc.table(), context);
  table.import_end(context);
  if (target.doc.set_info("Title", "merged"))
    target.doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kChoices || size > kMostBytes)
    return 0;
  Choices choices(data + 2, kChoices - 2);
  const std::size_t split = std::min<std::size_t>(data[0] * 256u + data[1], size - kChoices);
  Source first(data + kChoices, split);
  Source second(data + kChoices + split, size - kChoices - split);
  CQVStreamMem start;
  CQVStreamMem out;
  std::int32_t pages = 0;
  {
    CPDFDoc into;
    expect(into.create(&start));
    CPDFDocMerge merge(into);
    pages += append(merge, first, choices, "first");
    pages += append(merge, second, choices, nullptr);
    pages += append(merge, first, choices, "again");
    expect(merge.finish());
    CPDFXRefTable target;
    target.stream = &out;
    into.save_complete(target, nullptr);
  }
  CPDFDoc merged;
  expect(merged.open(&out));
  expect(walked_count(merged) == pages);
  read_objects(merged.table());
  import_object(first, second, choices);
  return 0;
}
