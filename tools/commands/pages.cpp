// sheaf pages: every page with its object, size and rotation. A linearized file tells them from its
// start; otherwise the page tree does.
#include <cstdio>

#include "sheaf/base/heap.h"
#include "support/command_line.h"
#include "support/inputs.h"
#include "support/json_values.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct PagesOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};

class PageList {
public:
  PageList(const PagesOptions& options, const char* source) : json_form_(options.json) {
    if (json_form_) {
      begin_report(json_, options.file).key("source").text(source).key("pages").begin_array();
    } else {
      std::printf("%6s %8s %10s %10s %6s\n", "page", "object", "width", "height", "rotate");
    }
  }
  void add(int index, std::int64_t object, double width, double height, int rotate) {
    if (json_form_) {
      json_.begin_object().key("page").number(index + 1).key("object").number(object);
      json_.key("width").real(width).key("height").real(height).key("rotate").number(rotate).end_object();
    } else {
      std::printf("%6d %8lld %10.2f %10.2f %6d\n", index + 1, static_cast<long long>(object), width, height, rotate);
    }
  }
  void finish() {
    if (json_form_)
      std::printf("%s\n", json_.end_array().end_object().str().c_str());
  }

private:
  bool json_form_;
  JsonWriter json_;
};

// Lists the pages by the hints of a linearized file. False when there are none that hold.
bool list_by_hints(const PagesOptions& options) {
  CQVStreamBlocks file;
  PDF_PAGE_SET set{};
  std::string path;
  if (!input_path(options.file, path) || !file.Open(path.c_str()) || !CPDFDoc::read_page_hints(&file, set))
    return false;
  PageList list(options, "hints");
  for (int i = 0; i < set.count; ++i) {
    const PDF_PAGE_ITEM& page = set.pages[i];
    list.add(i, page.obj, page.width / 100.0, page.height / 100.0, ((page.rotate % 360) + 360) % 360);
  }
  list.finish();
  QVFree(set.pages);
  return true;
}

int run_pages(const PagesOptions& options) {
  if (list_by_hints(options))
    return kExitClean;
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  PageList list(options, "tree");
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    if (doc.load_page_alone(i, page))
      list.add(i, page.ref.num, to_double(page.shown_width()), to_double(page.shown_height()), page.rotate);
  }
  list.finish();
  return doc.status() == PDF_OPEN::kClean ? kExitClean : kExitProblems;
}

const Registration kPages("pages", "Look", "The pages with their sizes", [](CLI::App& command) -> Run {
  auto options = std::make_shared<PagesOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_pages(*options); };
});

}  // namespace

}  // namespace sheaf::tool
