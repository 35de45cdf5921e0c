// Editing the list of pages. Edits change the list alone; before a save the page tree is written
// anew from it, balanced and with right counts, so that any number of edits costs one tree. Pages
// are then complete in themselves: what they inherited from the old tree is written into them.
#include <algorithm>
#include <new>
#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/pages/page_list.h"
#include "sheaf/document/pages/page_tree_internal.h"
#include "sheaf/neighbours/page/trailer_values.h"
#include "sheaf/object/array.h"

namespace sheaf {

// A page, or a node with that many pages below it.
struct TreeBranch {
  PDF_REF ref;
  std::int32_t pages;
};

namespace {

constexpr std::size_t kMostKids = 32;

// The dictionary of an object in memory; null when it is something else.
CPDFDictionary* dict_in_memory(CPDFXRefTable& table, const PDF_REF& ref) {
  const PDF_NEWOBJ* slot = table.get_xref2(ref.num, ref.gen);
  return slot != nullptr ? slot->obj.as_dict() : nullptr;
}

// Stores a tree node over `kids`, which must be in memory, and makes it their parent.
bool store_node(CPDFXRefTable& table, const PDF_REF& ref, const TreeBranch* kids, std::size_t count) {
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

// Whether damage made the catalogue name another object as its page tree, which others may need.
bool is_something_else(CPDFXRefTable& table, const PDF_REF& top) {
  const Freed<CPDFObj> obj = table.object(top);
  if (obj.as_dict() == nullptr)
    return !obj.is_null();
  const CPDFObj* const type = obj.as_dict()->get_item(CPDFDictionary::sm_tag_type);
  return obj.as_dict()->count != 0 && obj.as_dict()->get_item("Kids") == nullptr &&
         (type == nullptr || !type->is_name("Pages")) && !is_page(table, *obj.as_dict());
}

// The object that is to be the top of the tree: the one that the catalogue names, unless others need it.
PDF_REF top_of_tree(CPDFXRefTable& table, Freed<CPDFObj>& catalog) {
  const CPDFObj* const item = catalog.as_dict()->get_item("Pages");
  const PDF_REF present = ref_of(item);
  if (present.num != 0 && !is_something_else(table, present))
    return present;
  const PDF_REF top{table.alloc_obj_num(), 0};
  catalog.as_dict()->set_item_ref("Pages", top);
  table.store_object(table.root.as_ref(), catalog);
  return top;
}

// Stores nodes over what is at one level, and over these, until they fit into one node.
bool store_branches(CPDFXRefTable& table, GrowArray<TreeBranch>& level) {
  while (level.size() > kMostKids) {
    std::size_t made = 0;
    for (std::size_t at = 0; at < level.size(); at += kMostKids) {
      const std::size_t count = std::min(kMostKids, level.size() - at);
      TreeBranch node{{table.alloc_obj_num(), 0}, 0};
      for (std::size_t i = at; i < at + count; ++i)
        node.pages += level[i].pages;
      if (!store_node(table, node.ref, &level[at], count))
        return false;
      level[made++] = node;
    }
    while (level.size() > made)
      level.pop();
  }
  return true;
}

}  // namespace

// From here on the list is what counts, and no longer the tree: a list that lacks pages must not
// take its place. -1 when there is no memory for all pages.
int PageList::start_edit() {
  if (incomplete_ || by_count_)
    walked_ = false;
  ensure();
  if (incomplete_)
    return -1;
  quick_count_ = -1;
  return static_cast<int>(pages_.size());
}

bool PageList::insert(int index, const PDF_REF& page) {
  const int count = start_edit();
  Freed<CPDFObj> obj = table_.object(page);
  if (obj.as_dict() == nullptr || !is_page(table_, *obj.as_dict()))
    return false;
  if (index < 0 || count < 0 || index > count || page.num < 1)
    return false;
  // A page that was taken off the list before still has what it inherited then; what others inherit is
  // found by their parents.
  if (!pages_.push({page, node_of_removed_.get(page.num) - 1}))
    return false;
  std::rotate(pages_.begin() + index, pages_.end() - 1, pages_.end());
  changed_ = true;
  return true;
}

bool PageList::remove(int index) {
  if (index < 0 || index >= start_edit())
    return false;
  const PageListEntry& entry = pages_[static_cast<std::size_t>(index)];
  if (entry.node >= 0 && !node_of_removed_.set(entry.ref.num, entry.node + 1))
    return false;
  std::rotate(pages_.begin() + index, pages_.begin() + index + 1, pages_.end());
  pages_.pop();
  changed_ = true;
  return true;
}

bool PageList::move(int from, int to) {
  const int count = start_edit();
  if (from < 0 || from >= count || to < 0 || to >= count)
    return false;
  PageListEntry* const first = pages_.begin();
  if (from < to)
    std::rotate(first + from, first + from + 1, first + to + 1);
  else
    std::rotate(first + to, first + from, first + from + 1);
  changed_ = true;
  return true;
}

// Brings a page into memory with all that it inherited. A page that is listed a second time becomes
// an object of its own, since a page has one parent.
bool PageList::detach(int index, bool listed_before) {
  const HeapWatch watch;
  CPDFPage page;
  if (!load_alone(index, page))
    return false;
  CPDFDictionary& dict = page.dict;
  nodes.hand_down(page.from_above, dict);
  Freed<CPDFObj> value;
  value.take_dict(new (std::nothrow) CPDFDictionary);
  if (!watch.all_granted())
    return false;  // what there was memory for must not take the page's place
  std::swap(*value.as_dict(), dict);
  PageListEntry& entry = pages_[static_cast<std::size_t>(index)];
  const PDF_REF ref = listed_before ? PDF_REF{table_.alloc_obj_num(), 0} : entry.ref;
  if (!table_.store_object(ref, value))
    return false;
  entry = {ref, -1};
  return true;
}

// Whether each page is listed once, by the node that it names as its parent.
bool PageList::is_sound_tree() {
  VisitedSet listed;
  bool sound = !changed_ && count_pages_by_nodes(table_) == this->listed();
  for (const PageListEntry& entry : pages_) {
    const Freed<CPDFObj> page = sound ? table_.object(entry.ref) : Freed<CPDFObj>();
    sound = page.as_dict() != nullptr && listed.visit(entry.ref.num) && nodes.is_below(*page.as_dict(), entry.node);
    if (!sound)
      return false;
  }
  return sound;
}

bool PageList::rebuild_tree() {
  if (start_edit() < 0)
    return false;
  if (is_sound_tree())
    return true;
  changed_ = true;
  return store_tree();
}

// Makes the pages complete in themselves, and copies of those that are in the list twice.
bool PageList::detach_all(const PDF_REF& top, GrowArray<TreeBranch>& pages) {
  VisitedSet listed;
  std::int32_t copies = 0;
  for (int i = 0; i < count(); ++i) {
    // A page that the catalogue names in place of a tree must leave that place.
    const PDF_REF page = ref(i);
    const bool needs_copy = page.num == top.num || !listed.visit(page.num);
    copies += needs_copy ? 1 : 0;
    const bool as_it_is = needs_copy && page.num != top.num && copies > CPDFDoc::kMostPageCopies;
    if ((as_it_is || detach(i, needs_copy)) && !pages.push({ref(i), 1}))
      return false;
  }
  return true;
}

bool PageList::store_tree() {
  if (!changed_)
    return true;
  const HeapWatch watch;
  if (!give_trailer_values_numbers(table_))
    return false;
  Freed<CPDFObj> catalog = table_.catalog();
  if (catalog.as_dict() == nullptr)
    return false;
  const PDF_REF top = top_of_tree(table_, catalog);
  GrowArray<TreeBranch> level;
  if (!detach_all(top, level))
    return false;
  // Pages that were taken off the list may come back, and then still inherit what the top held.
  if (!node_of_removed_.empty())
    nodes.keep_resources_of(top.num);
  if (!watch.all_granted())
    return false;  // pages that are still in the old tree need it
  if (!store_branches(table_, level) || !store_node(table_, top, level.begin(), level.size()) || !watch.all_granted())
    return false;
  nodes.forget_resources();
  nodes.add_empty(top.num);  // nobody inherits from the new top, also where the old one had its number
  changed_ = false;
  return true;
}

}  // namespace sheaf
