// The dictionary and body of a cross-reference stream (ISO 32000-1, 7.5.8).
#include <new>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/save/xref_stream_internal.h"

namespace sheaf {

void fill_xref_stream_dict(CPDFDictionary& dict, std::int32_t size, const CPDFArray& index, int offset_width,
                           int gen_width) {
  Cleared<CPDFArray> widths;
  widths.append_int(1);
  widths.append_int(offset_width);
  widths.append_int(gen_width);
  dict.set_item_name(CPDFDictionary::sm_tag_type, "XRef");
  dict.set_item_int("Size", size);
  dict.set_item_arr("Index", &index);
  dict.set_item_arr("W", &widths);
  dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
}

void write_xref_stream(CQVStream& out, std::int32_t num, const CPDFDictionary& dict, std::uint8_t* data,
                       std::uint32_t len) {
  auto* rec = new (std::nothrow) CPDFStreamRec;
  if (rec == nullptr)
    return;
  CQVStreamMemFix view;
  view.Open(data, static_cast<int>(len));
  rec->dict.copy_from(&dict);
  rec->dict.set_item_int(CPDFDictionary::sm_tag_length, static_cast<int>(len));
  rec->length = static_cast<std::int32_t>(len);
  rec->plain = 1;
  rec->source = &view;
  Freed<CPDFObj> obj;
  obj.take_stream(rec);
  PDF_ENC_PARA para{num, 0, 1, nullptr};
  obj.write(&out, &para);
}

}  // namespace sheaf
