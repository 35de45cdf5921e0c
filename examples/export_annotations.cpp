// Writes the annotations of a document to a text file, one after the other in PDF syntax with nothing
// left that refers to other objects, and puts them back onto the first page of a copy.
//
//   export_annotations FILE.pdf
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/document/doc.h"
#include "sheaf/object/parse_buf.h"

namespace {

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

// A value in PDF syntax.
std::string syntax_of(const CPDFDictionary& dict) {
  sheaf::Freed<CPDFObj> value;
  value.take_dict(new CPDFDictionary);
  value.as_dict()->copy_from(&dict);
  CQVStreamMem text;
  value.write(&text, nullptr);
  return std::string(reinterpret_cast<const char*>(text.data), text.len);
}

int export_all(CPDFDoc& doc, std::ofstream& out) {
  int count = 0;
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    sheaf::Freed<CPDFObj> annots;
    if (doc.load_page(i, page))
      doc.table().resolve(annots, page.dict.get_item("Annots"));
    for (std::int32_t k = 0; annots.as_array() != nullptr && k < annots.as_array()->count; ++k) {
      sheaf::Cleared<CPDFDictionary> flat;
      if (doc.table().export_annot(flat, annots.as_array()->get(k)->as_ref()) == 0)
        continue;
      const std::string text = syntax_of(flat);
      std::printf("page %d: %s\n", i + 1, text.c_str());
      out << text << "\n";
      ++count;
    }
  }
  return count;
}

// Makes `annotation` one of the page whose object is `page`.
bool add_annotation(CPDFDoc& doc, const PDF_REF& page, CPDFObj& annotation) {
  CPDFXRefTable& table = doc.table();
  const PDF_REF ref{table.alloc_obj_num(), 0};
  sheaf::Freed<CPDFObj> holder;
  sheaf::Freed<CPDFObj> annots;
  table.get_entity(holder, page);
  if (holder.as_dict() == nullptr || !table.store_object(ref, annotation))
    return false;
  table.resolve(annots, holder.as_dict()->get_item("Annots"));
  if (annots.as_array() == nullptr)
    annots.take_array(new CPDFArray);
  annots.as_array()->append_ref(ref);
  holder.as_dict()->move_item("Annots", annots);
  return table.store_object(page, holder);
}

// Reads the values back, up to the end of the text.
int import_all(CPDFDoc& doc, const std::string& text) {
  CPDFBufMem buf;
  buf.buf_init_mem(text.data(), static_cast<std::uint32_t>(text.size()));
  sheaf::Freed<CPDFObj> annotation;
  int count = 0;
  for (annotation.read(&buf, nullptr); annotation.as_dict() != nullptr; annotation.read(&buf, nullptr))
    count += add_annotation(doc, doc.page_ref(0), annotation) ? 1 : 0;
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  CPDFDoc doc;
  if (argc != 2 || !doc.open(argv[1]) || !doc.is_readable()) {
    std::fprintf(stderr, "usage: export_annotations FILE.pdf\n");
    return 2;
  }
  std::ofstream out("annotations.txt", std::ios::binary);
  const int count = export_all(doc, out);
  out.close();

  const std::string copy = "annotated.pdf";
  std::error_code failure;
  std::filesystem::copy_file(argv[1], copy, std::filesystem::copy_options::overwrite_existing, failure);
  CPDFDoc target;
  if (!target.open_for_update(copy.c_str()))
    return 2;
  const std::string text = bytes_of("annotations.txt");
  const int imported = import_all(target, text);
  std::printf("%d exported to annotations.txt, %d put into %s\n", count, imported, copy.c_str());
  return imported == count && target.save_update(PDF_SAVE_FORM::kAsFile, nullptr) ? 0 : 2;
}
