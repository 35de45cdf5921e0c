// Sets a text of several scripts into a column of a page: words that run from the right, joined letters, marks.
//
//   set_text [FONT...]
#include <cstdio>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/text/text_setter.h"
#include "sheaf/neighbours/fonts/environment.h"

namespace {

constexpr double kSize = 18;
constexpr double kLeading = 1.5 * kSize;
constexpr double kLeft = 72;
constexpr double kTop = 740;
constexpr double kWidth = 300;

const char* const kText =
    "A line ends where there is no more room for another word.\n"
    "Ευ\u0301α, Ёлка, a\u0328\u0301, x\u0323\n"
    "\u05E9\u05DC\u05D5\u05DD \u05E2\u05D5\u05DC\u05DD\n"
    "\u0627\u0644\u0633\u0644\u0627\u0645 \u0639\u0644\u064A\u0643\u0645\n";

bool show_lines(sheaf::TextSetter& setter, sheaf::GrowArray<char>& content) {
  double y = kTop;
  for (const sheaf::TextLine& line : setter.lines()) {
    const double x = line.right_to_left ? kLeft + kWidth - line.width : kLeft;
    if (!setter.show(line, x, y, content))
      return false;
    y -= kLeading;
  }
  return true;
}

bool add_page(CPDFDoc& doc, std::string& content, CPDFDictionary& fonts) {
  CPDFXRefTable& table = doc.table();
  sheaf::Cleared<CPDFDictionary> resources;
  resources.set_item_dict(CPDFDictionary::sm_tag_font, &fonts);
  sheaf::Cleared<CPDFArray> box;
  for (const int side : {0, 0, 595, 842})
    box.append_int(side);
  const PDF_REF stream =
      table.adv_new_stream_flate(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  sheaf::Cleared<CPDFDictionary> page;
  page.set_item_name(CPDFDictionary::sm_tag_type, "Page");
  page.set_item_arr("MediaBox", &box);
  page.set_item_dict(CPDFDictionary::sm_tag_res, &resources);
  page.set_item_ref("Contents", stream);
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.store_dict(ref, &page);
  return stream.num != 0 && doc.insert_page(0, ref);
}

}  // namespace

int main(int argc, char** argv) {
  CQVStreamFile out;
  out.file = std::fopen("set_text.pdf", "w+b");
  CPDFDoc doc;
  if (out.file == nullptr || !doc.create(&out))
    return 2;
  CPDFEnviroment* const environment = new CPDFEnviroment;
  doc.table().set_envirment(environment, "demo");
  CPDFEnviroment::destroy(environment);

  sheaf::TextSetter setter(doc.table());
  for (int i = 1; i < argc; ++i)
    setter.add_font(argv[i]);
  sheaf::TextFormat format;
  format.size = kSize;
  format.width = kWidth;
  sheaf::GrowArray<char> lines;
  if (!setter.set(kText, format) || !show_lines(setter, lines)) {
    std::fprintf(stderr, "the text cannot be set in the fonts of this machine\n");
    return 2;
  }
  sheaf::Cleared<CPDFDictionary> fonts;
  setter.put_resources(fonts);
  std::string content = "BT\n" + std::string(lines.begin(), lines.size()) + "ET\n";
  const bool good = add_page(doc, content, fonts) && doc.save_update(PDF_SAVE_FORM::kStream, nullptr);
  std::printf("set_text.pdf: %zu lines, %zu characters without a glyph\n", setter.lines().size(), setter.missing());
  return good ? 0 : 2;
}
