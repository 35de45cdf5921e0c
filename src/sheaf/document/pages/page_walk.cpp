// Walking the page tree from its top, kid by kid.
#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/pages/page_tree_internal.h"
#include "sheaf/object/array.h"

namespace sheaf {

PageWalk::~PageWalk() {
  while (!stack_.empty())
    leave_node();
}

void PageWalk::leave_node() {
  stack_.back().kids.free();
  stack_.pop();
}

// Whether a node says that each of its kids is one page, and the table has an entry for each.
bool PageWalk::counts_kids_as_pages(const CPDFDictionary& node, const CPDFArray& kids) {
  Freed<CPDFObj> count = table_.value(&node, CPDFDictionary::sm_tag_count);
  if (count.tag != kTagInt || count.as_int() != kids.count)
    return false;
  return std::all_of(kids.items, kids.items + kids.count, [this](const CPDFObj& kid) {
    const auto num = kid.as_ref().index();
    return num > 0 && num < table_.xref_count && table_.xref_items[num].is_known();
  });
}

// A kid that is a direct dictionary becomes an object, which the node then refers to.
bool PageWalk::take_direct_kid(CPDFObj& kid, const PDF_REF& node) {
  if (node.num < 1)
    return false;
  const PDF_REF ref{table_.alloc_obj_num(), 0};
  if (kid.as_dict()->get_item(CPDFDictionary::sm_tag_parent) == nullptr)
    kid.as_dict()->set_item_ref(CPDFDictionary::sm_tag_parent, node);
  const bool stored = table_.store_object(ref, kid);
  if (stored)
    kid.set_ref(ref);
  return stored;
}

void PageWalk::store_kids(const PDF_REF& node, const CPDFObj& kids) {
  Freed<CPDFObj> value = table_.object(node);
  if (value.as_dict() == nullptr)
    return;
  value.as_dict()->set_item("Kids", &kids);
  table_.store_object(node, value);
}

// Takes over the kids that were read with the node.
void PageWalk::open_node(const CPDFDictionary& dict, const PDF_REF& ref, std::int32_t parent) {
  const std::int32_t node = nodes_.add(dict, ref, parent);
  if (node < 0)
    return;
  if (!by_count_ || !counts_kids_as_pages(dict, *kids_.as_array())) {
    Frame frame{kids_, 0, node, ref, false};
    static_cast<CPDFObj&>(kids_) = CPDFObj{};
    if (!stack_.push(frame))
      frame.kids.free();
    return;
  }
  for (std::int32_t i = 0; i < kids_.as_array()->count; ++i)
    pages_.push({kids_.as_array()->items[i].as_ref(), node});
}

void PageWalk::look_at(const PDF_REF& ref, std::int32_t parent) {
  Freed<CPDFObj> obj = table_.object(ref);
  const CPDFDictionary* dict = obj.as_dict();
  if (dict != nullptr && !is_tree_leaf(table_, *dict, kids_)) {
    if (seen_nodes_.visit(ref.num))
      open_node(*dict, ref, parent);
  } else if (dict != nullptr && looks_like_page(*dict)) {
    leaves_.visit(ref.num);
    pages_.push({ref, parent});
  } else {
    strays_.visit(ref.num);
    ++passed_over_;
  }
}

void PageWalk::visit(CPDFObj& kid) {
  Frame& frame = stack_.back();
  if (kid.as_dict() != nullptr)
    frame.is_taken = take_direct_kid(kid, frame.ref) || frame.is_taken;
  const PDF_REF ref = kid.as_ref();
  // A page may be listed twice, but a node that comes up again is a loop.
  if (ref.num < 1 || seen_nodes_.has(ref.num) || strays_.has(ref.num)) {
    ++passed_over_;
    return;
  }
  if (leaves_.has(ref.num))
    pages_.push({ref, frame.node});
  else
    look_at(ref, frame.node);
}

void PageWalk::run() {
  Freed<CPDFObj> catalog = table_.catalog();
  const CPDFObj* top = catalog.item("Pages");
  const Freed<CPDFObj> tree = table_.value(top);
  if (tree.as_dict() == nullptr)
    return;
  const PDF_REF top_ref = top->as_ref();
  if (is_tree_leaf(table_, *tree.as_dict(), kids_)) {
    // Some writers leave out the tree where there is one page only.
    if (looks_like_page(*tree.as_dict()) && top_ref.num > 0)
      pages_.push({top_ref, -1});
    return;
  }
  seen_nodes_.visit(top_ref.num);
  open_node(*tree.as_dict(), top_ref, -1);
  while (!stack_.empty()) {
    Frame& frame = stack_.back();
    CPDFObj* kid = frame.kids.as_array()->get(frame.next++);
    if (kid != nullptr) {
      visit(*kid);
      continue;
    }
    if (frame.is_taken)
      store_kids(frame.ref, frame.kids);
    leave_node();
  }
}

}  // namespace sheaf
