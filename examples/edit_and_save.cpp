// Changes a copy of a document and saves the changes behind the old content: a title, a page turned
// over, a line drawn on top of a page, another order of the pages.
//
//   edit_and_save FILE.pdf
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"

namespace {

// get_entity gives a copy of an object; store_object makes the copy the object's new value.
bool turn_over(CPDFDoc& doc, int index) {
  CPDFPage shown;  // with what the page inherits, such as its rotation
  sheaf::Freed<CPDFObj> page;
  doc.table().get_entity(page, doc.page_ref(index));
  if (page.as_dict() == nullptr || !doc.load_page(index, shown))
    return false;
  page.as_dict()->set_item_int(CPDFDictionary::sm_tag_rotate, (shown.rotate + 180) % 360);
  return doc.table().store_object(shown.ref, page);
}

PDF_REF new_content(CPDFXRefTable& table, std::string operators) {
  return table.adv_new_stream_flate(reinterpret_cast<unsigned char*>(operators.data()),
                                    static_cast<int>(operators.size()));
}

// Draws on top of a page. What is there already goes between "q" and "Q", since it may leave the
// graphics state changed.
bool draw_line(CPDFDoc& doc, int index) {
  CPDFXRefTable& table = doc.table();
  sheaf::Freed<CPDFObj> page;
  sheaf::Freed<CPDFObj> old;
  table.get_entity(page, doc.page_ref(index));
  if (page.as_dict() == nullptr)
    return false;
  const CPDFObj* const item = page.as_dict()->get_item("Contents");
  table.resolve(old, item);

  sheaf::Cleared<CPDFArray> contents;
  contents.append_ref(new_content(table, "q\n"));
  if (old.as_array() != nullptr) {
    for (std::int32_t i = 0; i < old.as_array()->count; ++i)
      contents.append(old.as_array()->get(i));
  } else if (item != nullptr) {
    contents.append(item);
  }
  contents.append_ref(new_content(table, "Q\nq 3 w 0.8 0.1 0.1 RG 72 710 m 330 710 l S Q\n"));
  page.as_dict()->set_item_arr("Contents", &contents);
  return table.store_object(doc.page_ref(index), page);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string copy = "edited.pdf";
  std::error_code failure;
  if (argc != 2 ||
      !std::filesystem::copy_file(argv[1], copy, std::filesystem::copy_options::overwrite_existing, failure)) {
    std::fprintf(stderr, "usage: edit_and_save FILE.pdf\n");
    return 2;
  }

  CPDFDoc doc;
  if (!doc.open_for_update(copy.c_str()) || !doc.is_readable()) {
    std::fprintf(stderr, "%s cannot be opened\n", copy.c_str());
    return 2;
  }
  const int last = doc.page_count() - 1;
  bool good = doc.set_info("Title", "Edited – by sheaf");
  good = good && turn_over(doc, last) && draw_line(doc, 0) && doc.move_page(last, 0);

  // The changes wait in memory until they are saved; the old bytes of the file stay as they are.
  const long long before = doc.file_size();
  if (!good || !doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr)) {
    std::fprintf(stderr, "%s could not be changed\n", copy.c_str());
    doc.undo_failed_save();  // a full disk leaves half a section
    return 2;
  }
  std::printf("%s: %lld bytes, %lld of them new\n", copy.c_str(), doc.file_size(), doc.file_size() - before);
  return 0;
}
