// sheaf pages: every page with its object, size and rotation.
#include <cstdio>

#include "json_writer.h"
#include "tool_support.h"

int run_pages(const PagesOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  JsonWriter json;
  json.begin_object().key("file").text(options.file).key("pages").begin_array();
  if (!options.json)
    std::printf("%6s %8s %10s %10s %6s\n", "page", "object", "width", "height", "rotate");
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    if (!doc.load_page(i, page))
      continue;
    const double width = to_double(page.shown_width());
    const double height = to_double(page.shown_height());
    if (options.json) {
      json.begin_object().key("index").number(i).key("object").number(page.ref.num);
      json.key("width").real(width).key("height").real(height).key("rotate").number(page.rotate).end_object();
    } else {
      std::printf("%6d %8d %10.2f %10.2f %6d\n", i + 1, page.ref.num, width, height, page.rotate);
    }
  }
  json.end_array().end_object();
  if (options.json)
    std::printf("%s\n", json.str().c_str());
  return doc.status() == PDF_OPEN::kClean ? kExitClean : kExitProblems;
}
