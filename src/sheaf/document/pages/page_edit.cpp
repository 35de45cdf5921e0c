// Editing the list of pages. Edits change the list alone; before a save the page tree is written
// anew from it, balanced and with right counts, so that any number of edits costs one tree. Pages
// are then complete in themselves: what they inherited from the old tree is written into them.
#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/object/array.h"

using namespace sheaf;

namespace {

constexpr std::size_t kMostKids = 32;

// The dictionary of an object in memory; null when it is something else.
CPDFDictionary* dict_in_memory(CPDFXRefTable& table, const PDF_REF& ref) {
  const PDF_NEWOBJ* slot = table.get_xref2(ref.num, ref.gen);
  return slot != nullptr ? slot->obj.as_dict() : nullptr;
}

struct Branch {
  PDF_REF ref;
  std::int32_t pages;
};

// Stores a tree node over `kids`, which must be in memory, and makes it their parent.
bool store_node(CPDFXRefTable& table, const PDF_REF& ref, const Branch* kids, std::size_t count) {
  Cleared<CPDFDictionary> node;
  Freed<CPDFObj> list;
  list.take_array(new (std::nothrow) CPDFArray);
  if (list.as_array() == nullptr)
    return false;
  std::int32_t pages = 0;
  for (std::size_t i = 0; i < count; ++i) {
    list.as_array()->append_ref(kids[i].ref);
    pages += kids[i].pages;
    if (CPDFDictionary* kid = dict_in_memory(table, kids[i].ref))
      kid->set_item_ref(CPDFDictionary::sm_tag_parent, ref);
  }
  node.set_item_name(CPDFDictionary::sm_tag_type, "Pages");
  node.move_item("Kids", list);
  node.set_item_int(CPDFDictionary::sm_tag_count, pages);
  table.store_dict(ref, &node);
  return true;
}

}  // namespace

// From here on the list is what counts, and no longer the tree: a list that lacks pages must not
// take its place. -1 when there is no memory for all pages.
int CPDFDoc::edit_pages() {
  if (pages_incomplete_ || believed_)
    walked_ = false;
  ensure_pages();
  if (pages_incomplete_)
    return -1;
  quick_count_ = -1;
  return static_cast<int>(pages_.size());
}

bool CPDFDoc::insert_page(int index, const PDF_REF& page) {
  const int count = edit_pages();
  Freed<CPDFObj> obj;
  table_.get_entity(obj, page);
  if (obj.as_dict() == nullptr || !is_page(*obj.as_dict()))
    return false;
  if (index < 0 || count < 0 || index > count || page.num < 1)
    return false;
  // A page that was taken off the list before still has what it inherited then; what others inherit is
  // found by their parents.
  if (!pages_.push({page, node_of_removed_.get(page.num) - 1}))
    return false;
  std::rotate(pages_.begin() + index, pages_.end() - 1, pages_.end());
  pages_changed_ = true;
  return true;
}

bool CPDFDoc::remove_page(int index) {
  if (index < 0 || index >= edit_pages())
    return false;
  const PageEntry& entry = pages_[static_cast<std::size_t>(index)];
  if (entry.node >= 0 && !node_of_removed_.set(entry.ref.num, entry.node + 1))
    return false;
  std::rotate(pages_.begin() + index, pages_.begin() + index + 1, pages_.end());
  pages_.pop();
  pages_changed_ = true;
  return true;
}

bool CPDFDoc::move_page(int from, int to) {
  const int count = edit_pages();
  if (from < 0 || from >= count || to < 0 || to >= count)
    return false;
  PageEntry* const first = pages_.begin();
  if (from < to)
    std::rotate(first + from, first + from + 1, first + to + 1);
  else
    std::rotate(first + to, first + from, first + from + 1);
  pages_changed_ = true;
  return true;
}

// Resources that stand directly in a node become an object, to which all its pages refer.
PDF_REF CPDFDoc::share_direct_resources(std::int32_t holder) {
  const std::int32_t key = holder > 0 ? holder : table_.root.as_ref().num;  // the top may stand in the catalogue
  if (shared_resources_.get(key) == 0) {
    Freed<CPDFObj> resources;
    read_direct_resources(resources, holder);
    const PDF_REF made{table_.alloc_obj_num(), 0};
    if (!table_.store_object(made, resources) || !shared_resources_.set(key, made.num))
      return {0, 0};
  }
  return {shared_resources_.get(key), 0};
}

// The node `top` is about to be written anew; pages that were taken off the list may come back, and
// then still inherit what it held.
void CPDFDoc::keep_resources_of(std::int32_t top) {
  for (PDF_INHERITED& node : nodes_) {
    if (node_of_removed_.empty() || !node.has_direct_resources || node.holder != top)
      continue;
    node.resources = share_direct_resources(top);
    node.has_direct_resources = false;
  }
}

// Brings a page into memory with all that it inherited. A page that is listed a second time becomes
// an object of its own, since a page has one parent.
bool CPDFDoc::detach_page(int index, bool listed_before) {
  const HeapWatch watch;
  CPDFPage page;
  if (!load_page_alone(index, page))
    return false;
  const PDF_INHERITED& values = page.from_above;
  CPDFDictionary& dict = page.dict;
  if (is_absent(dict.get_item(CPDFDictionary::sm_tag_res))) {
    const PDF_REF above = values.has_direct_resources ? share_direct_resources(values.holder) : values.resources;
    if (above.num != 0)
      dict.set_item_ref(CPDFDictionary::sm_tag_res, above);
  }
  if (values.has_media_box && is_absent(dict.get_item("MediaBox")))
    dict.set_item_rect("MediaBox", &values.media_box);
  if (values.has_crop_box && is_absent(dict.get_item("CropBox")))
    dict.set_item_rect("CropBox", &values.crop_box);
  if (values.rotate != 0 && is_absent(dict.get_item(CPDFDictionary::sm_tag_rotate)))
    dict.set_item_int(CPDFDictionary::sm_tag_rotate, values.rotate);
  Freed<CPDFObj> value;
  value.take_dict(new (std::nothrow) CPDFDictionary);
  if (!watch.all_granted())
    return false;  // what there was memory for must not take the page's place
  std::swap(*value.as_dict(), dict);
  PageEntry& entry = pages_[static_cast<std::size_t>(index)];
  const PDF_REF ref = listed_before ? PDF_REF{table_.alloc_obj_num(), 0} : entry.ref;
  if (!table_.store_object(ref, value))
    return false;
  entry = {ref, -1};
  return true;
}

bool CPDFDoc::rebuild_page_tree() {
  if (edit_pages() < 0)
    return false;
  pages_changed_ = true;
  return store_page_tree();
}

bool CPDFDoc::store_page_tree() {
  if (!pages_changed_)
    return true;
  const HeapWatch watch;
  Freed<CPDFObj> catalog;
  table_.resolve(catalog, &table_.root);
  if (catalog.as_dict() == nullptr || table_.root.tag != kTagRef)
    return false;
  const CPDFObj* item = catalog.as_dict()->get_item("Pages");
  PDF_REF top = item != nullptr ? item->as_ref() : PDF_REF{0, 0};
  if (top.num == 0) {
    top = {table_.alloc_obj_num(), 0};
    catalog.as_dict()->set_item_ref("Pages", top);
    table_.store_object(table_.root.as_ref(), catalog);
  }
  VisitedSet listed;
  GrowArray<Branch> level;
  std::int32_t copies = 0;
  for (int i = 0; i < page_count(); ++i) {
    // Where the document's only page stood in place of its tree, it must leave that place.
    const PDF_REF ref = page_ref(i);
    const bool needs_copy = ref.num == top.num || !listed.visit(ref.num);
    copies += needs_copy ? 1 : 0;
    const bool as_it_is = needs_copy && ref.num != top.num && copies > kMostPageCopies;
    if ((as_it_is || detach_page(i, needs_copy)) && !level.push({page_ref(i), 1}))
      return false;
  }
  keep_resources_of(top.num);
  if (!watch.all_granted())
    return false;  // pages that are still in the old tree need it
  while (level.size() > kMostKids) {
    std::size_t made = 0;
    for (std::size_t at = 0; at < level.size(); at += kMostKids) {
      const std::size_t count = std::min(kMostKids, level.size() - at);
      Branch node{{table_.alloc_obj_num(), 0}, 0};
      for (std::size_t i = at; i < at + count; ++i)
        node.pages += level[i].pages;
      if (!store_node(table_, node.ref, &level[at], count))
        return false;
      level[made++] = node;
    }
    while (level.size() > made)
      level.pop();
  }
  if (!store_node(table_, top, level.begin(), level.size()) || !watch.all_granted())
    return false;
  forget_resources();
  // Nobody inherits from the new top, also where the old one had its number.
  if (nodes_.push(PDF_INHERITED{}))
    node_by_number_.set(top.num, static_cast<std::int32_t>(nodes_.size()));
  pages_changed_ = false;
  return true;
}
