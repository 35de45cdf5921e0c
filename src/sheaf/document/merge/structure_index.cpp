// Kids are found by binary search, so that of a list of many only those that a part has are looked at.
#include "sheaf/document/merge/structure_index.h"

#include <algorithm>
#include <new>

#include "sheaf/document/names/number_tree.h"
#include "sheaf/object/array.h"

namespace sheaf {

std::int32_t number_at(const CPDFDictionary& dict, const char* key) {
  const CPDFObj* const item = dict.get_item(key);
  return ref_of(item).num;
}

bool is_structure_element(const CPDFDictionary& item) {
  return item.get_item("S") != nullptr && item.get_item("Obj") == nullptr && item.get_item("MCID") == nullptr;
}

void StructureIndex::BigElement::find(std::int32_t num, GrowArray<std::int32_t>& places) const {
  const Kid* kid = std::lower_bound(by_num.begin(), by_num.end(), num,
                                    [](const Kid& one, std::int32_t wanted) { return one.num < wanted; });
  for (; kid != by_num.end() && kid->num == num; ++kid)
    places.push(kid->at);
}

void StructureIndex::clear() {
  for (const BigElement* one : big_elements_)
    delete one;
  big_elements_.clear();
  big_element_of_.clear();
  delete root_;
  root_ = nullptr;
  has_parents_ = false;
  parents_.clear();
  listed_.clear();
  is_walked = false;
  walk_dropped = 0;
  walked.clear();
  contents.clear();
}

void StructureIndex::start(CPDFXRefTable& table) {
  if (table_ != &table)
    clear();
  table_ = &table;
}

// `obj` is a dictionary, `kids` an array or null; both become null.
StructureIndex::BigElement* StructureIndex::make_big_element(CPDFObj& obj, CPDFObj& kids) {
  auto* const made = new (std::nothrow) BigElement;
  if (made == nullptr)
    return nullptr;
  made->kids.move_from(kids);
  obj.as_dict()->set_item("K", nullptr);
  made->body.move_from(obj);
  const CPDFArray* const list = made->kids.as_array();
  for (std::int32_t i = 0; list != nullptr && i < list->count; ++i) {
    const CPDFObj& kid = list->items[i];
    if (kid.tag == kTagRef)
      made->by_num.push({kid.as_ref().num, i});
    else
      made->direct.push({kid.as_dict() != nullptr ? number_at(*kid.as_dict(), "Pg") : 0, i});
  }
  std::sort(made->by_num.begin(), made->by_num.end(),
            [](const Kid& a, const Kid& b) { return a.num != b.num ? a.num < b.num : a.at < b.at; });
  return made;
}

const StructureIndex::BigElement* StructureIndex::root(const CPDFObj* item) {
  if (root_ != nullptr)
    return root_;
  Freed<CPDFObj> obj = table_->value(item);
  if (obj.as_dict() == nullptr)
    return nullptr;
  const CPDFObj* const top = obj.as_dict()->get_item("K");
  Freed<CPDFObj> kids = table_->value(top);
  if (kids.as_array() == nullptr) {
    kids.take_array(new (std::nothrow) CPDFArray);
    if (top != nullptr && kids.as_array() != nullptr)
      kids.as_array()->append(top);
  }
  root_ = make_big_element(obj, kids);
  return root_;
}

StructureIndex::BigElement* StructureIndex::big_element(std::int32_t num) const {
  const std::int32_t index = big_element_of_.get(num);
  return index > 0 ? big_elements_[index - 1] : nullptr;
}

bool StructureIndex::take_big_element(std::int32_t num, CPDFObj& obj, CPDFObj& kids) {
  if (obj.as_dict() == nullptr || kids.as_array() == nullptr || kids.as_array()->count <= kMostFewKids ||
      !big_element_of_.set(num, 0))
    return false;
  BigElement* const made = make_big_element(obj, kids);
  if (made == nullptr || !big_elements_.push(made)) {
    delete made;
    return false;
  }
  return big_element_of_.set(num, big_elements_.count());
}

const CPDFDictionary* StructureIndex::read(const PDF_REF& ref, CPDFObj& scratch) {
  if (const BigElement* const known = big_element(ref.num))
    return known->body.as_dict();
  table_->get_entity(scratch, ref);
  CPDFObj* const item = scratch.as_dict() != nullptr ? scratch.as_dict()->get_item("K") : nullptr;
  if (item == nullptr || item->as_array() == nullptr || item->as_array()->count <= kMostFewKids)
    return scratch.as_dict();
  Freed<CPDFObj> kids;
  kids.move_from(*item);
  return take_big_element(ref.num, scratch, kids) ? big_element(ref.num)->body.as_dict() : nullptr;
}

void StructureIndex::sort_out(BigElement& big_element) {
  if (big_element.is_sorted_out)
    return;
  big_element.is_sorted_out = true;
  Freed<CPDFObj> obj;
  for (const Kid& kid : big_element.by_num) {
    table_->resolve(obj, &big_element.kids.as_array()->items[kid.at]);
    if (obj.as_dict() != nullptr && !is_structure_element(*obj.as_dict()))
      big_element.contents.push(kid);
  }
}

void StructureIndex::read_parent_tree(const CPDFDictionary& root) {
  has_parents_ = true;
  number_tree_walk(*table_, root.get_item("ParentTree"), [this](std::int32_t key, const CPDFObj& value) {
    Entry entry{key, parents_.count(), value.as_ref(), listed_.count(), -1};
    const CPDFArray* const list = value.as_array();
    for (std::int32_t i = 0; list != nullptr && i < list->count; ++i)
      listed_.push(list->items[i].as_ref());
    if (list != nullptr)
      entry.count = listed_.count() - entry.first;
    parents_.push(entry);
  });
  std::sort(parents_.begin(), parents_.end(),
            [](const Entry& a, const Entry& b) { return a.key != b.key ? a.key < b.key : a.turn < b.turn; });
}

void StructureIndex::find_parents(const CPDFDictionary& root, const GrowArray<std::int32_t>& keys,
                                  GrowArray<PDF_REF>& parents) {
  if (!has_parents_)
    read_parent_tree(root);
  GrowArray<const Entry*> found;
  for (const std::int32_t key : keys) {
    const Entry* entry =
        std::lower_bound(static_cast<const Entry*>(parents_.begin()), static_cast<const Entry*>(parents_.end()), key,
                         [](const Entry& one, std::int32_t wanted) { return one.key < wanted; });
    for (; entry != parents_.end() && entry->key == key; ++entry)
      found.push(entry);
  }
  std::sort(found.begin(), found.end(), [](const Entry* a, const Entry* b) { return a->turn < b->turn; });
  for (const Entry* const entry : found) {
    for (std::int32_t i = 0; i < entry->count; ++i)
      parents.push(listed_[entry->first + i]);
    if (entry->count >= 0)
      continue;
    CPDFObj item{};
    item.set_ref(entry->value);
    Freed<CPDFObj> list = table_->value(&item);
    if (list.as_array() == nullptr)
      parents.push(entry->value);
    for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i)
      parents.push(list.as_array()->items[i].as_ref());
  }
}

}  // namespace sheaf
