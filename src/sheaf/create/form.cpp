// Form XObjects (ISO 32000-1, 8.10). Their content stays in memory until the next save, also when
// the table has a temporary file: it is short, and the layer above reads it back at once.
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

void set_form_items(CPDFDictionary& dict, const _QVRECTF& box) {
  dict.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_xobj);
  dict.set_item_name(CPDFDictionary::sm_tag_subtype, "Form");
  dict.set_item_rect(CPDFDictionary::sm_tag_bbok, &box);
  dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
}

// Hands compressed content over to the memory streams. Without content the form is stored empty.
void hold_content(CPDFXRefTable& table, const PDF_REF& form, CPDFStreamRec& rec, unsigned char* compressed, int size) {
  rec.source = table.set_mem_stream(form, compressed, size);
  rec.offset = 0;
  rec.length = size;
  rec.ref = form;
  rec.decoded_hint = 0;
  rec.plain = 1;
}

}  // namespace

CPDFForm* CPDFXRefTable::new_form() {
  const HeapWatch watch;
  const PDF_REF form{alloc_obj_num(), 0};
  CPDFStreamRec rec;
  const ScopeGuard clear([&rec] { rec.clear(); });
  set_form_items(rec.dict, {0, 0, 0, 0});
  int size = 0;
  unsigned char* const compressed = compress_data("%empty\r\n", 8, size);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, size);
  const PDF_REF resources{alloc_obj_num(), 0};
  rec.dict.set_item_ref(CPDFDictionary::sm_tag_res, resources);
  store_dict(resources, nullptr);
  hold_content(*this, form, rec, compressed, size);

  Freed<CPDFObj> object;
  if (auto* copy = new (std::nothrow) CPDFStreamRec) {
    copy->dict.copy_from(&rec.dict);
    copy->copy_location(rec);
    object.take_stream(copy);
  }
  store_stream(form, rec);

  auto* loaded = new (std::nothrow) CPDFForm;
  if (loaded != nullptr) {
    loaded->pre_load(this, &object);
    loaded->load();
  }
  if (watch.all_granted())
    return loaded;
  delete loaded;
  return nullptr;
}

PDF_REF CPDFXRefTable::new_form(const _QVRECTF& bbox, const char* content, int len, const PDF_REF& resources) {
  const HeapWatch watch;
  const PDF_REF form{alloc_obj_num(), 0};
  CPDFStreamRec rec;
  set_form_items(rec.dict, bbox);
  int size = 0;
  unsigned char* const compressed = compress_data(content, len, size);
  rec.dict.set_item_int(CPDFDictionary::sm_tag_length, size);
  if (resources.num != 0)
    rec.dict.set_item_ref(CPDFDictionary::sm_tag_res, resources);
  hold_content(*this, form, rec, compressed, size);
  store_stream(form, rec);
  return watch.all_granted() ? form : PDF_REF{0, 0};
}
