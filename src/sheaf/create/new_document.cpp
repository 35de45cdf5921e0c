// The smallest document: a header, a page tree without pages, a catalogue. The first save writes
// everything else.
#include "sheaf/base/scope_guard.h"
#include "sheaf/xref/pdf_header.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

void CPDFXRefTable::new_xref() {
  next_obj_num = 1;
  stream->SetPos(CQVStream::STR_SEEK_SET, 0);
  if (stream->Write(PDF_Header.data(), static_cast<unsigned>(PDF_Header.size())) != PDF_Header.size())
    write_failed = 1;
  append_offset = static_cast<std::uint32_t>(PDF_Header.size());

  Cleared<CPDFDictionary> dict;
  Cleared<CPDFArray> kids;
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Pages");
  dict.set_item_arr("Kids", &kids);
  dict.set_item_int(CPDFDictionary::sm_tag_count, 0);
  const PDF_REF pages{alloc_obj_num(), 0};
  store_dict(pages, &dict);

  dict.clear();
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Catalog");
  dict.set_item_ref("Pages", pages);
  const PDF_REF catalog{alloc_obj_num(), 0};
  store_dict(catalog, &dict);
  root.set_ref(catalog);
}
