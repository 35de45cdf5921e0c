// Outline items (ISO 32000-1, 12.3.3). The chain of the items and their counts are the caller's.
#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

void set_link(CPDFDictionary& item, const char* key, const PDF_REF& ref) {
  if (ref.num != 0)
    item.set_item_ref(key, ref);
}

}  // namespace

PDF_REF CPDFXRefTable::new_outline(const wchar_t* title, const PDF_REF& parent, const PDF_REF& prev,
                                   const PDF_REF& next, const PDF_REF& page, const QVFIX& top) {
  const HeapWatch watch;
  Cleared<CPDFDictionary> item;
  PDF_String text;
  text.init(title, 1);
  item.set_item_str("Title", text.data, text.len);
  QVFree(text.data);
  set_link(item, CPDFDictionary::sm_tag_parent, parent);
  set_link(item, CPDFDictionary::sm_tag_prev, prev);
  set_link(item, CPDFDictionary::sm_tag_next, next);

  Cleared<CPDFArray> destination;
  destination.append_ref(page);
  destination.append_name("FitH");
  destination.append_real(top);
  item.set_item_arr("Dest", &destination);

  const PDF_REF ref{alloc_obj_num(), 0};
  store_dict(ref, &item);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}
