// Opens a document and prints what it holds: its pages with their sizes, the beginning of the first
// page's content, and how many streams of which filter there are.
//
//   inspect FILE.pdf
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"

namespace {

// The stream's data with all its filters taken off, as far as they fit into one piece.
std::string beginning_of(CPDFXRefTable& table, const CPDFObj* item) {
  sheaf::Freed<CPDFObj> contents;
  table.resolve(contents, item);  // follows a reference; anything else is copied
  if (contents.as_array() != nullptr)
    table.resolve(contents, contents.as_array()->get(0));
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(contents.as_stream()));
  char piece[60];
  const int got = decoder != nullptr ? decoder->read_block(piece, sizeof(piece)) : 0;
  return std::string(piece, static_cast<std::size_t>(got));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: inspect FILE.pdf\n");
    return 2;
  }

  // The document owns its table; nothing is read beyond what opening needs.
  CPDFDoc doc;
  if (!doc.open(argv[1]) || !doc.is_readable()) {
    std::fprintf(stderr, "%s cannot be read\n", argv[1]);
    return 2;
  }
  std::printf("version %s, %d pages\n", doc.version(), doc.page_count());

  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    if (doc.load_page(i, page))
      std::printf("page %d is object %d, %.0f x %.0f points\n", i + 1, page.ref.num,
                  static_cast<double>(page.shown_width()) / static_cast<double>(sheaf::kFixOne),
                  static_cast<double>(page.shown_height()) / static_cast<double>(sheaf::kFixOne));
  }

  CPDFPage first;
  if (doc.load_page(0, first))
    std::printf("its content begins: %s\n", beginning_of(doc.table(), first.dict.get_item("Contents")).c_str());

  // Every object is fetched by its number. `Freed` releases the value at the end of the scope.
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  std::map<std::string, int> filters;
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    sheaf::Freed<CPDFObj> obj;
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    const CPDFStreamRec* rec = obj.as_stream();
    if (rec == nullptr)
      continue;
    const CPDFObj* filter = rec->dict.get_item(CPDFDictionary::sm_tag_filter);
    const char* name = filter != nullptr ? filter->as_name() : nullptr;
    ++filters[name != nullptr ? name : "none or several"];
  }
  for (const auto& [name, count] : filters)
    std::printf("%d streams with filter %s\n", count, name.c_str());
  return 0;
}
