// sheaf pages: every page with its object, size and rotation, its label and boxes. A linearized file gives the first
// three from its start; otherwise the page tree does.
#include <cstdio>

#include "sheaf/base/heap.h"
#include "sheaf/base/stream_blocks.h"
#include "sheaf/document/pages/page_boxes.h"
#include "sheaf/document/pages/page_labels.h"
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
  bool all = false;  ///< Also labels and boxes, which only the page tree has.
};

constexpr const char* kBoxNames[kPageBoxCount] = {"media", "crop", "bleed", "trim", "art"};

class PageList {
public:
  PageList(const PagesOptions& options, const char* source) : json_form_(options.json) {
    if (json_form_) {
      begin_report(json_, options.file).key("source").text(source).key("pages").begin_array();
    } else {
      std::printf("%6s %8s %10s %10s %6s%s\n", "page", "object", "width", "height", "rotate",
                  options.all ? " label, boxes" : "");
    }
  }
  void add(int index, std::int64_t object, double width, double height, int rotate) {
    begin(index, object, width, height, rotate);
    end();
  }
  // With its label, and with the boxes that it has itself or inherits.
  void add(CPDFDoc& doc, int index, const CPDFPage& page, const CPDFPageLabels& labels) {
    GrowArray<char> text;
    labels.put_text(index, text);
    const std::string label(text.begin(), text.size());
    begin(index, page.ref.num, to_double(page.shown_width()), to_double(page.shown_height()), page.rotate);
    if (json_form_)
      json_.key("label").text(label).key("boxes").begin_object();
    else
      std::printf(" %s", shown(label.empty() ? std::to_string(index + 1) : label).c_str());
    for (int which = 0; which < kPageBoxCount; ++which) {
      _QVRECTF box{};
      if (read_page_box(doc, page, which, box))
        put_box(kBoxNames[which], box);
    }
    if (json_form_)
      json_.end_object();
    end();
  }
  void finish() {
    if (json_form_)
      std::printf("%s\n", json_.end_array().end_object().str().c_str());
  }

private:
  void begin(int index, std::int64_t object, double width, double height, int rotate) {
    if (json_form_) {
      json_.begin_object().key("page").number(index + 1).key("object").number(object);
      json_.key("width").real(width).key("height").real(height).key("rotate").number(rotate);
    } else {
      std::printf("%6d %8lld %10.2f %10.2f %6d", index + 1, static_cast<long long>(object), width, height, rotate);
    }
  }
  void put_box(const char* name, const _QVRECTF& box) {
    const double sides[] = {to_double(box.left), to_double(box.bottom), to_double(box.right), to_double(box.top)};
    if (!json_form_) {
      std::printf(", %s %.10g %.10g %.10g %.10g", name, sides[0], sides[1], sides[2], sides[3]);
      return;
    }
    json_.key(name).begin_array();
    for (const double side : sides)
      json_.real(side);
    json_.end_array();
  }
  void end() {
    if (json_form_)
      json_.end_object();
    else
      std::printf("\n");
  }

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
  if (!options.all && list_by_hints(options))
    return kExitClean;
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  CPDFPageLabels labels;
  if (options.all)
    labels.load(doc);
  PageList list(options, "tree");
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    if (!doc.load_page_alone(i, page))
      continue;
    if (options.all)
      list.add(doc, i, page, labels);
    else
      list.add(i, page.ref.num, to_double(page.shown_width()), to_double(page.shown_height()), page.rotate);
  }
  list.finish();
  return was_sound(doc, options.file) ? kExitClean : kExitProblems;
}

const Registration kPages("pages", "Look", "The pages with their sizes", [](Command& command) -> Run {
  auto options = std::make_shared<PagesOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_flag("--all", options->all, "Also labels and the boxes that pages have");
  command.add_flag("--json", options->json, "One JSON object");
  return [options] { return run_pages(*options); };
});

}  // namespace

}  // namespace sheaf::tool
