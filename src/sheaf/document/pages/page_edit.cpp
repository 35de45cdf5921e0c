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
  if (index < 0 || count < 0 || index > count || page.num < 1 || !pages_.push({page, -1}))
    return false;
  std::rotate(pages_.begin() + index, pages_.end() - 1, pages_.end());
  pages_changed_ = true;
  return true;
}

bool CPDFDoc::remove_page(int index) {
  if (index < 0 || index >= edit_pages())
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

// Brings a page into memory with all that it inherited. A page that is listed a second time becomes
// an object of its own, since a page has one parent.
bool CPDFDoc::detach_page(int index, bool listed_before) {
  const HeapWatch watch;
  PageEntry& entry = pages_[static_cast<std::size_t>(index)];
  CPDFPage page;
  if (!load_page(index, page))
    return false;
  PDF_INHERITED values = page.inherited != nullptr ? *page.inherited : PDF_INHERITED{};
  CPDFDictionary& dict = page.dict;
  if (dict.get_item(CPDFDictionary::sm_tag_res) == nullptr && values.resources.num != 0)
    dict.set_item_ref(CPDFDictionary::sm_tag_res, values.resources);
  if (dict.get_item("MediaBox") == nullptr && values.has_media_box)
    dict.set_item_rect("MediaBox", &values.media_box);
  if (dict.get_item("CropBox") == nullptr && values.has_crop_box)
    dict.set_item_rect("CropBox", &values.crop_box);
  if (dict.get_item(CPDFDictionary::sm_tag_rotate) == nullptr && values.rotate != 0)
    dict.set_item_int(CPDFDictionary::sm_tag_rotate, values.rotate);
  Freed<CPDFObj> value;
  value.take_dict(new (std::nothrow) CPDFDictionary);
  if (!watch.all_granted())
    return false;  // what there was memory for must not take the page's place
  std::swap(*value.as_dict(), dict);
  const PDF_REF ref = listed_before ? PDF_REF{table_.alloc_obj_num(), 0} : entry.ref;
  if (!table_.store_object(ref, value))
    return false;
  entry = {ref, -1};
  return true;
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
  for (int i = 0; i < page_count(); ++i) {
    // Where the document's only page stood in place of its tree, it must leave that place.
    const PDF_REF ref = page_ref(i);
    if (detach_page(i, ref.num == top.num || !listed.visit(ref.num)) && !level.push({page_ref(i), 1}))
      return false;
  }
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
  nodes_.clear();
  forget_resources();
  pages_changed_ = false;
  return true;
}
