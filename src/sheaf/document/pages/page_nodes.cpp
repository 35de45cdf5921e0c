// What the nodes of a page tree hand down: boxes, rotation and resources.
#include "sheaf/document/pages/page_nodes.h"

#include "sheaf/object/array.h"

namespace sheaf {

void PageNodes::take_values(const CPDFDictionary& dict, PDF_INHERITED& values) {
  Freed<CPDFObj> value;
  const auto take_box = [&](const char* key, _QVRECTF& box, bool& has) {
    value = table_.value(&dict, key);
    const CPDFArray* array = value.as_array();
    if (array == nullptr || array->count < 4)
      return;
    table_.read_obj_rect(box, &value);
    has = true;
  };
  take_box("MediaBox", values.media_box, values.has_media_box);
  take_box("CropBox", values.crop_box, values.has_crop_box);
  value = table_.value(&dict, CPDFDictionary::sm_tag_rotate);
  if (value.is_number()) {
    values.rotate = value.to_int();
    values.has_rotate = true;
  }
}

bool PageNodes::is_absent(const CPDFObj* item) {
  if (item == nullptr || item->is_null())
    return true;
  if (item->tag != kTagRef)
    return false;
  // What is in memory need not be copied: it can be the resources of all pages.
  const auto num = item->as_ref().index();
  const PDF_NEWOBJ* const slot = item->as_ref().num > 0 && table_.know_entry(num) ? table_.slot_of(num) : nullptr;
  if (slot != nullptr && slot->obj.tag != kTagRef)
    return slot->obj.is_null();
  Freed<CPDFObj> value = table_.value(item);
  return value.is_null();
}

PDF_INHERITED PageNodes::values(std::int32_t node) const {
  return node >= 0 ? nodes_[node] : PDF_INHERITED{};
}

std::int32_t PageNodes::add(const CPDFDictionary& dict, const PDF_REF& ref, std::int32_t parent) {
  PDF_INHERITED own = values(parent);
  take_values(dict, own);
  const CPDFObj* const resources = dict.get_item(CPDFDictionary::sm_tag_res);
  if (resources != nullptr && !resources->is_null()) {
    own.resources = resources->as_ref();
    own.has_direct_resources = resources->tag != kTagRef;
    own.holder = !own.has_direct_resources ? 0 : ref.num > 0 ? ref.num : -1;
  }
  if (!nodes_.push(own))
    return -1;
  const auto node = nodes_.count() - 1;
  by_number_.set(ref.num, node + 1);
  return node;
}

void PageNodes::add_empty(std::int32_t num) {
  if (nodes_.push(PDF_INHERITED{}))
    by_number_.set(num, nodes_.count());
}

// The chain is read up to a node that is known, then added from the top down.
std::int32_t PageNodes::above(const CPDFDictionary& page) {
  constexpr std::size_t kMostLevels = 64;
  GrowArray<PDF_REF> chain;
  Freed<CPDFObj> node;
  const CPDFObj* item = page.get_item(CPDFDictionary::sm_tag_parent);
  PDF_REF parent = ref_of(item);
  while (parent.num > 0 && by_number_.get(parent.num) == 0 && chain.size() < kMostLevels) {
    node = table_.object(parent);
    if (node.as_dict() == nullptr || !chain.push(parent))
      break;
    item = node.as_dict()->get_item(CPDFDictionary::sm_tag_parent);
    parent = ref_of(item);
  }
  std::int32_t known = by_number_.get(parent.num) - 1;
  while (!chain.empty()) {
    node = table_.object(chain.back());
    if (node.as_dict() != nullptr)
      known = add(*node.as_dict(), chain.back(), known);
    chain.pop();
  }
  return known;
}

// Those of the last node are kept, since a node can be as long as all its pages together.
void PageNodes::read_direct_resources(CPDFObj& resources, std::int32_t holder) {
  if (holder != resources_from_) {
    forget_resources();
    Freed<CPDFObj> node;
    if (holder > 0) {
      node = table_.object(holder);
    } else {
      const Freed<CPDFObj> catalog = table_.catalog();
      node = table_.value(catalog.as_dict(), "Pages");
    }
    if (node.as_dict() != nullptr)
      direct_resources_.copy_from(node.as_dict()->get_item(CPDFDictionary::sm_tag_res));
    resources_from_ = holder;
  }
  resources.free();
  resources.copy_from(&direct_resources_);
}

void PageNodes::forget_resources() {
  direct_resources_.free();
  resources_from_ = 0;
}

PDF_REF PageNodes::share_direct_resources(std::int32_t holder) {
  const std::int32_t key = holder > 0 ? holder : table_.root.as_ref().num;  // the top may be in the catalogue
  if (shared_resources_.get(key) == 0) {
    Freed<CPDFObj> resources;
    read_direct_resources(resources, holder);
    const PDF_REF made{table_.alloc_obj_num(), 0};
    if (!table_.store_object(made, resources) || !shared_resources_.set(key, made.num))
      return {0, 0};
  }
  return {shared_resources_.get(key), 0};
}

void PageNodes::keep_resources_of(std::int32_t holder) {
  for (PDF_INHERITED& node : nodes_) {
    if (!node.has_direct_resources || node.holder != holder)
      continue;
    node.resources = share_direct_resources(holder);
    node.has_direct_resources = false;
  }
}

void PageNodes::hand_down(const PDF_INHERITED& values, CPDFDictionary& page) {
  if (is_absent(page.get_item(CPDFDictionary::sm_tag_res))) {
    const PDF_REF above = values.has_direct_resources ? share_direct_resources(values.holder) : values.resources;
    if (above.num != 0)
      page.set_item_ref(CPDFDictionary::sm_tag_res, above);
  }
  if (values.has_media_box && is_absent(page.get_item("MediaBox")))
    page.set_item_rect("MediaBox", &values.media_box);
  if (values.has_crop_box && is_absent(page.get_item("CropBox")))
    page.set_item_rect("CropBox", &values.crop_box);
  if (values.rotate != 0 && is_absent(page.get_item(CPDFDictionary::sm_tag_rotate)))
    page.set_item_int(CPDFDictionary::sm_tag_rotate, values.rotate);
}

void PageNodes::complete(CPDFDictionary& dict, std::int32_t num) {
  const Freed<CPDFObj> type = table_.value(&dict, CPDFDictionary::sm_tag_type);
  if (type.is_name("Page")) {
    hand_down(values(above(dict)), dict);
  } else if (by_number_.get(num) != 0 && dict.get_item("Kids") != nullptr) {
    for (const char* key : {CPDFDictionary::sm_tag_res, "MediaBox", "CropBox", CPDFDictionary::sm_tag_rotate})
      dict.set_item(key, nullptr);
  }
}

bool PageNodes::is_below(const CPDFDictionary& page, std::int32_t node) const {
  return node >= 0 && by_number_.get(ref_of(page.get_item(CPDFDictionary::sm_tag_parent)).num) == node + 1;
}

void PageNodes::clear() {
  forget_resources();
  nodes_.clear();
  by_number_.clear();
}

void PageNodes::reset() {
  forget_resources();
  nodes_.reset();
  by_number_.reset();
  shared_resources_.reset();
}

}  // namespace sheaf
