// What the page tree says of itself: which dictionaries are pages, what its nodes count, and whether it can be
// believed at a glance.
#include <algorithm>
#include <new>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/pages/page_tree_internal.h"
#include "sheaf/object/array.h"

namespace sheaf {

// Without a type, or with a wrong one, a dictionary is a page when it has what only pages have.
bool looks_like_page(const CPDFDictionary& dict) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  if (type != nullptr && type->is_name("Page"))
    return true;
  if (type != nullptr && type->is_name("Pages"))
    return false;
  return dict.get_item("Contents") != nullptr || dict.get_item("MediaBox") != nullptr ||
         dict.get_item(CPDFDictionary::sm_tag_res) != nullptr ||
         dict.get_item(CPDFDictionary::sm_tag_parent) != nullptr;
}

bool is_tree_leaf(CPDFXRefTable& table, const CPDFDictionary& dict, Freed<CPDFObj>& kids) {
  const CPDFObj* item = dict.get_item("Kids");
  kids = table.value(item);
  if (kids.as_dict() != nullptr && item->tag == kTagRef) {
    // A single kid without its brackets.
    kids.take_array(new (std::nothrow) CPDFArray);
    if (kids.as_array() != nullptr)
      kids.as_array()->append_ref(item->as_ref());
  }
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  return (type != nullptr && type->is_name("Page")) || kids.as_array() == nullptr;
}

bool is_page(CPDFXRefTable& table, const CPDFDictionary& dict) {
  Freed<CPDFObj> kids;
  return is_tree_leaf(table, dict, kids) && looks_like_page(dict);
}

namespace {

// Goes down by the first kid of each node. True when a page is reached.
bool reaches_a_page(CPDFXRefTable& table, Freed<CPDFObj>& kids, GrowArray<PDF_REF>& met) {
  constexpr int kMostLevels = 64;
  Freed<CPDFObj> obj;
  for (int level = 0; level < kMostLevels; ++level) {
    const CPDFObj* first = kids.as_array() != nullptr ? kids.as_array()->get(0) : nullptr;
    const PDF_REF ref = ref_of(first);
    const bool leads_back =
        std::any_of(met.begin(), met.end(), [&ref](const PDF_REF& one) { return one.num == ref.num; });
    if (ref.num < 1 || leads_back)
      return false;
    obj = table.object(ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      return false;
    met.push(ref);
    if (is_tree_leaf(table, *dict, kids))
      return looks_like_page(*dict);
  }
  return false;
}

}  // namespace

void PageList::look_at_tree(PageTreeLook& look) {
  walked_ = false;
  quick_count_ = -1;
  pages_.clear();
  Freed<CPDFObj> kids;
  Freed<CPDFObj> catalog = table_.catalog();
  const CPDFObj* top = catalog.item("Pages");
  Freed<CPDFObj> tree = table_.value(top);
  look.is_tree = top != nullptr && tree.as_dict() != nullptr;
  if (!look.is_tree)
    return;
  look.met.push(table_.root.as_ref());
  look.met.push(top->as_ref());
  const bool leaf = is_tree_leaf(table_, *tree.as_dict(), kids);
  look.has_no_pages = !leaf && kids.as_array()->count == 0;
  look.has_pages = !leaf && reaches_a_page(table_, kids, look.met);
  if (!look.has_pages && !look.has_no_pages) {
    ensure();
    look.has_pages = !pages_.empty();
  }
}

int count_pages_by_nodes(CPDFXRefTable& table) {
  Freed<CPDFObj> kids;
  Freed<CPDFObj> count;
  Freed<CPDFObj> obj = table.catalog();
  const CPDFObj* top = obj.item("Pages");
  GrowArray<PDF_REF> waiting;
  VisitedSet visited;
  waiting.push(ref_of(top));
  std::int64_t total = 0;
  std::int64_t stated = -1;
  while (!waiting.empty()) {
    const PDF_REF ref = waiting.back();
    waiting.pop();
    if (!visited.visit(ref.num))
      return -1;
    obj = table.object(ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      return -1;
    if (is_tree_leaf(table, *dict, kids)) {
      total += 1;
      continue;
    }
    count = table.value(dict, CPDFDictionary::sm_tag_count);
    if (count.tag != kTagInt || count.as_int() < 0)
      return -1;
    if (stated < 0)
      stated = count.as_int();
    const CPDFArray& array = *kids.as_array();
    if (array.count == count.as_int()) {
      total += array.count;
      continue;
    }
    for (std::int32_t i = 0; i < array.count; ++i)
      waiting.push(array.items[i].as_ref());
  }
  return total == stated && total <= INT32_MAX ? static_cast<int>(total) : -1;
}

bool PageList::misses_pages() {
  ensure();
  Freed<CPDFObj> value = table_.catalog();
  Freed<CPDFObj> top = table_.value(value.as_dict(), "Pages");
  value = table_.value(top.as_dict(), CPDFDictionary::sm_tag_count);
  return value.tag == kTagInt && value.as_int() > static_cast<std::int64_t>(pages_.size());
}

}  // namespace sheaf
