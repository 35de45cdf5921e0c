// Changes the dictionary where it is: in the page, in an object of its own, or as a copy of what is inherited.
#include "sheaf/document/forms/flatten/page_resources_internal.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

CPDFDictionary* edit_object(CPDFXRefTable& table, const PDF_REF& ref) {
  if (ref.num < 1)
    return nullptr;
  const PDF_XREF* const entry = table.entry(ref.num);
  const bool in_memory = entry != nullptr && entry->is_in_memory();
  if (!in_memory) {
    Freed<CPDFObj> obj = table.object(ref);
    if (obj.as_dict() == nullptr || !table.store_object(ref, obj))
      return nullptr;
  }
  const PDF_NEWOBJ* const slot = table.get_xref2(ref.num, ref.gen);
  return slot != nullptr ? slot->obj.as_dict() : nullptr;
}

CPDFDictionary* PageResources::edit() {
  const char* const kKey = CPDFDictionary::sm_tag_res;
  if (page_dict_.get_item(kKey) == nullptr && page_.dict.get_item(kKey) != nullptr)
    page_dict_.set_item(kKey, page_.dict.get_item(kKey));  // from above
  CPDFObj* const own = page_dict_.get_item(kKey);
  if (own != nullptr && own->as_dict() != nullptr)
    return own->as_dict();
  PDF_REF ref = ref_of(own);
  if (own == nullptr && page_.inherited != nullptr)
    ref = page_.inherited->resources;
  if (CPDFDictionary* const shared = edit_object(table_, ref))
    return shared;
  Cleared<CPDFDictionary> none;
  page_dict_.set_item_dict(kKey, &none);
  return page_dict_.get_item(kKey) != nullptr ? page_dict_.get_item(kKey)->as_dict() : nullptr;
}

CPDFDictionary* PageResources::edit_kind(const char* kind) {
  CPDFDictionary* const resources = edit();
  CPDFObj* const item = resources != nullptr ? resources->get_item(kind) : nullptr;
  if (item != nullptr && item->as_dict() != nullptr)
    return item->as_dict();
  const PDF_REF ref = ref_of(item);
  if (CPDFDictionary* const shared = edit_object(table_, ref))
    return shared;
  CPDFDictionary* const again = edit();  // an object that was stored may have moved it
  Cleared<CPDFDictionary> none;
  if (again == nullptr)
    return nullptr;
  again->set_item_dict(kind, &none);
  return again->get_item(kind) != nullptr ? again->get_item(kind)->as_dict() : nullptr;
}

bool PageResources::add(const char* kind, const char* name, const PDF_REF& value) {
  CPDFDictionary* const dict = edit_kind(kind);
  if (dict == nullptr)
    return false;
  dict->set_item_ref(name, value);
  return dict->get_item(name) != nullptr;
}

bool PageResources::has(const char* kind, const char* name) {
  const CPDFDictionary* const dict = edit_kind(kind);
  return dict != nullptr && dict->get_item(name) != nullptr;
}

PDF_REF PageResources::get(const char* kind, const char* name) {
  const CPDFDictionary* const dict = edit_kind(kind);
  const CPDFObj* const item = dict != nullptr ? dict->get_item(name) : nullptr;
  return ref_of(item);
}

}  // namespace sheaf
