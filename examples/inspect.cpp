// Opens a document and prints what it holds: its pages with their sizes, and how many streams of
// which filter there are.
//
//   inspect FILE.pdf
#include <cstdio>
#include <map>
#include <string>

#include "base/scope_guard.h"
#include "neighbours/page/doc.h"

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
                  static_cast<double>(page.shown_width()) / static_cast<double>(kFixOne),
                  static_cast<double>(page.shown_height()) / static_cast<double>(kFixOne));
  }

  // Every object is fetched by its number. `Freed` releases the value at the end of the scope.
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  std::map<std::string, int> filters;
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    Freed<CPDFObj> obj;
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
