// Imports the page object, then puts back what the import of a single page leaves out.
#include "sheaf/document/merge/page_import.h"

#include <new>
#include <utility>

#include "sheaf/object/array.h"

namespace sheaf {

PDF_REF PageImport::append(std::int32_t index, bool& repeated) {
  CPDFPage page;
  repeated = false;
  if (!src_.doc.load_page_alone(index, page) || !src_.is_mapped(page.ref.num))
    return {0, 0};
  const PDF_REF first = PDF_REF::at(src_.context->map[page.ref.num]);
  if (done_.visit(page.ref.num))
    return import_page(page, first) ? first : PDF_REF{0, 0};
  if (++copies_ > CPDFDoc::kMostPageCopies)
    return first;
  repeated = true;
  const PDF_REF copy{table_.alloc_obj_num(), 0};
  GrowArray<Mapping> forgotten;
  forgotten.push({page.ref.num, src_.context->map[page.ref.num]});
  src_.context->map[page.ref.num] = copy.index();
  forget_annotations(page, forgotten);
  const bool good = import_page(page, copy);
  // Links lead to the first copy; the structure gets elements for this one.
  for (const Mapping& mapping : forgotten) {
    const auto made = object_num(src_.context->map[mapping.num]);
    if (good && made != 0)
      src_.repeated.push({copies_, mapping.num, {made, 0}});
    src_.context->map[mapping.num] = mapping.copy;
  }
  return good ? copy : PDF_REF{0, 0};
}

void PageImport::forget_annotations(const CPDFPage& page, GrowArray<Mapping>& forgotten) {
  const CPDFObj* item = page.dict.get_item("Annots");
  const auto forget = [&](const CPDFObj* value) {
    const std::int32_t num = ref_of(value).num;
    if (num < 1 || !src_.is_mapped(num) || src_.is_left_out(num) || src_.context->map[num] == 0)
      return;
    if (forgotten.push({num, src_.context->map[num]}))
      src_.context->map[num] = 0;
  };
  forget(item);
  Freed<CPDFObj> annots = src_.table.value(item);
  for (std::int32_t i = 0; annots.as_array() != nullptr && i < annots.as_array()->count; ++i)
    forget(annots.as_array()->items + i);
}

bool PageImport::import_page(CPDFPage& page, const PDF_REF& copy) {
  Freed<CPDFObj> made;
  made.take_dict(new (std::nothrow) CPDFDictionary);
  CPDFDictionary* const dict = made.as_dict();
  if (dict == nullptr)
    return false;
  const bool from_node = src_.doc.inherits_direct_resources(page);
  std::swap(*dict, page.dict);
  restore_inherited(page, *dict);
  mend(page, *dict);
  // The articles that a page's beads belong to, and the parts of the document, stay behind.
  for (const char* key : {CPDFDictionary::sm_tag_parent, "B", "DPart"})
    dict->set_item(key, nullptr);
  if (from_node)
    dict->set_item(CPDFDictionary::sm_tag_res, nullptr);
  if (table_.clone_dict(&src_.table, src_.context, dict) == 0)
    return false;
  if (from_node)
    dict->set_item_ref(CPDFDictionary::sm_tag_res, resources_of_node(page.from_above.holder));
  return table_.store_object(copy, made);
}

PDF_REF PageImport::resources_of_node(std::int32_t holder) {
  const std::int32_t key = holder > 0 ? holder : src_.table.root.as_ref().num;
  if (resources_.get(key) == 0) {
    Freed<CPDFObj> resources;
    src_.doc.read_direct_resources(resources, holder);
    resources_.set(key, src_.import_object(resources).num);
  }
  return {resources_.get(key), 0};
}

void PageImport::restore_inherited(const CPDFPage& page, CPDFDictionary& dict) {
  const PDF_INHERITED& above = page.from_above;
  if (above.resources.num != 0 && !above.has_direct_resources &&
      src_.doc.is_absent(dict.get_item(CPDFDictionary::sm_tag_res)))
    dict.set_item_ref(CPDFDictionary::sm_tag_res, above.resources);
  if (above.has_media_box && src_.doc.is_absent(dict.get_item("MediaBox")))
    dict.set_item_rect("MediaBox", &above.media_box);
  if (above.has_crop_box && src_.doc.is_absent(dict.get_item("CropBox")))
    dict.set_item_rect("CropBox", &above.crop_box);
  if (page.rotate != 0 && src_.doc.is_absent(dict.get_item(CPDFDictionary::sm_tag_rotate)))
    dict.set_item_int(CPDFDictionary::sm_tag_rotate, page.rotate);
}

// One damaged page must not keep readers from the pages after it: contents that are no streams go, and boxes that are
// no rectangles become those that the page is shown with.
void PageImport::mend(const CPDFPage& page, CPDFDictionary& dict) {
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Page");
  Freed<CPDFObj> value = src_.table.value(&dict, "Contents");
  if (value.as_stream() == nullptr && value.as_array() == nullptr)
    dict.set_item("Contents", nullptr);
  value = src_.table.value(&dict, "MediaBox");
  bool sound = value.as_array() != nullptr && value.as_array()->count >= 4;
  for (std::int32_t i = 0; sound && i < 4; ++i) {
    Freed<CPDFObj> side = src_.table.value(value.as_array()->items + i);
    sound = side.is_number();
  }
  if (!sound)
    dict.set_item_rect("MediaBox", &page.box);
}

}  // namespace sheaf
