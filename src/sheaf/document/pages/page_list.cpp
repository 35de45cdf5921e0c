// Listing pages and reading one with what it inherits.
#include "sheaf/document/pages/page_list.h"

#include <algorithm>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/pages/page_tree_internal.h"

namespace sheaf {

void PageList::ensure() {
  if (!walked_)
    list(false);
}

void PageList::list(bool by_count) {
  const HeapWatch watch;
  pages_.clear();
  nodes.clear();
  node_of_removed_.clear();
  proven_pages_.clear();
  PageWalk walk(table_, nodes, pages_, by_count);
  walk.run();
  strays_ = walk.passed_over();
  incomplete_ = !watch.all_granted();
  by_count_ = by_count;
  walked_ = true;
}

// A list that rests on counts lacks nothing that a walk meets once each thing on it turns out to be a page.
int PageList::strays() {
  for (int i = 0; by_count_ && i < listed(); ++i) {
    const PDF_REF page = ref(i);
    if (!proven_pages_.has(page.num) && !proves_page(page, table_.object(page)))
      list(false);
  }
  ensure();
  return strays_;
}

bool PageList::proves_page(const PDF_REF& ref, const CPDFObj& obj) {
  const bool is_proven = obj.as_dict() != nullptr && is_page(table_, *obj.as_dict());
  if (is_proven)
    proven_pages_.visit(ref.num);
  return is_proven;
}

void PageList::list_as_told() {
  constexpr int kProbes = 32;
  if (walked_)
    return;
  const int stated = count();
  if (walked_)
    return;
  table_.drain_pending();
  list(true);
  const int size = listed();
  bool good = !incomplete_ && size == stated;
  // Wrong counts are usually wrong everywhere, so a sample reveals them.
  for (int i = 0; good && i < std::min(size, kProbes); ++i) {
    const PDF_REF page = pages_[std::int64_t{i} * size / std::min(size, kProbes)].ref;
    good = proves_page(page, table_.object(page));
  }
  if (!good)
    list(false);
}

void PageList::reset() {
  pages_.reset();
  nodes.reset();
  node_of_removed_.reset();
  walked_ = by_count_ = changed_ = false;
  quick_count_ = -1;
}

int PageList::count() {
  if (!walked_ && quick_count_ < 0)
    quick_count_ = count_pages_by_nodes(table_);
  if (!walked_ && quick_count_ >= 0)
    return quick_count_;
  ensure();
  return listed();
}

PDF_REF PageList::ref(int index) const {
  return index >= 0 && index < listed() ? pages_[index].ref : PDF_REF{0, 0};
}

bool PageList::load_alone(int index, CPDFPage& page) {
  PDF_REF found = ref(index);
  Freed<CPDFObj> obj = table_.object(found);
  if (by_count_ && found.num != 0 && !proves_page(found, obj)) {
    list(false);
    found = ref(index);
    obj = table_.object(found);
  }
  const CPDFDictionary* dict = obj.as_dict();
  if (found.num == 0 || dict == nullptr)
    return false;
  constexpr _QVRECTF kLetter{0, 0, fix_from_int(612), fix_from_int(792)};
  PageListEntry& entry = pages_[index];
  if (entry.node < 0)
    entry.node = nodes.above(*dict);
  page.ref = found;
  page.dict.copy_from(dict);
  page.from_above = nodes.values(entry.node);
  page.inherited = entry.node >= 0 ? &page.from_above : nullptr;
  PDF_INHERITED values = page.from_above;
  nodes.take_values(*dict, values);
  page.box = values.has_crop_box ? values.crop_box : values.has_media_box ? values.media_box : kLetter;
  page.rotate = ((values.rotate % 360) + 360) % 360;
  return true;
}

}  // namespace sheaf
