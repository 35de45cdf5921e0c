// Pages from another document. An imported page is complete in itself: what it inherited is written
// into it, and it has no place in a page tree until the caller gives it one.
#include <new>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

// The copy of the resources that apply to a page; {0, 0} for none.
PDF_REF import_resources(CPDFXRefTable& table, CPDFXRefTable* src, CPDFMergeContext* ctx, const CPDFPage& page) {
  Freed<CPDFObj> resources = src->value(&page.dict, CPDFDictionary::sm_tag_res);
  // Resources of a wrong type do not fall back on inherited ones.
  if (resources.is_null() && page.inherited != nullptr && page.inherited->resources.num != 0)
    resources = src->object(page.inherited->resources);
  return resources.as_dict() != nullptr ? table.clone_resources(src, ctx, resources.as_dict()) : PDF_REF{0, 0};
}

}  // namespace

int CPDFXRefTable::clone_page(CPDFXRefTable* src, CPDFMergeContext* ctx, const CPDFPage* page) {
  if (page == nullptr || page->ref.num == 0 || src == nullptr || ctx == nullptr || page->ref.index() >= ctx->map_size)
    return 0;
  // The page has its number before anything below it is copied, so that its annotations find it.
  std::uint32_t& mapped = ctx->map[page->ref.num];
  if (mapped == 0)
    mapped = object_index(alloc_obj_num());
  const PDF_REF copy_ref = PDF_REF::at(mapped);

  Freed<CPDFObj> copy;
  copy.take_dict(new (std::nothrow) CPDFDictionary);
  CPDFDictionary* const dict = copy.as_dict();
  if (dict == nullptr)
    return 0;
  dict->copy_from(&page->dict);
  for (const char* key : {CPDFDictionary::sm_tag_parent, "Group", "StructParents", "B"})
    dict->set_item(key, nullptr);
  const PDF_REF resources = import_resources(*this, src, ctx, *page);
  dict->set_item(CPDFDictionary::sm_tag_res, nullptr);
  if (dict->get_item("CropBox") == nullptr && dict->get_item("MediaBox") == nullptr) {
    dict->set_item_rect("MediaBox", &page->box);
    dict->set_item_rect("CropBox", &page->box);
  }
  if (dict->get_item(CPDFDictionary::sm_tag_rotate) == nullptr && page->rotate != 0)
    dict->set_item_int(CPDFDictionary::sm_tag_rotate, page->rotate);
  if (clone_dict(src, ctx, dict) == 0)
    return 0;
  // Only now, since the walk would take the reference for one of the source. A page without
  // resources refers to object 0, which reads as null.
  dict->set_item_ref(CPDFDictionary::sm_tag_res, resources);
  store_object(copy_ref, copy);
  return copy_ref.num;
}

PDF_REF CPDFXRefTable::clone_resources(CPDFXRefTable* src, CPDFMergeContext* ctx, const CPDFDictionary* res) {
  if (res == nullptr || res->count == 0)
    return {0, 0};
  Freed<CPDFObj> made;
  made.take_dict(new (std::nothrow) CPDFDictionary);
  for (std::int32_t i = 0; i < res->count && made.as_dict() != nullptr; ++i) {
    Freed<CPDFObj> value = src->value(res->items[i]);
    if (value.as_stream() != nullptr)
      continue;
    // Each category ends up directly in the new dictionary; as much of it as could be rewritten.
    if (value.as_dict() != nullptr)
      clone_dict(src, ctx, value.as_dict());
    made.as_dict()->move_item(res->items[i]->key(), value);
  }
  const PDF_REF ref{alloc_obj_num(), 0};
  store_object(ref, made);
  return ref;
}
