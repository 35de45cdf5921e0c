// The page tree (ISO 32000-1, 7.7.3), walked on a stack of its own. Each node is visited once, so
// that no loop can hold the walk up.
#include <algorithm>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/open/entry_places_internal.h"
#include "sheaf/object/array.h"

using namespace sheaf;

namespace {

// A tree node whose kids are being visited. The array is owned by the frame.
struct Frame {
  CPDFObj kids;
  std::int32_t next;
  std::int32_t node;
  PDF_REF ref;    // of the node
  bool is_taken;  // kids were made objects
};

class FrameStack {
public:
  FrameStack() = default;
  FrameStack(const FrameStack&) = delete;
  FrameStack& operator=(const FrameStack&) = delete;
  ~FrameStack() {
    while (!frames_.empty())
      pop();
  }
  bool empty() const { return frames_.empty(); }
  Frame& top() { return frames_.back(); }
  // Takes over the array in `kids`.
  void push(CPDFObj& kids, std::int32_t node, const PDF_REF& ref) {
    Frame frame{kids, 0, node, ref, false};
    kids = CPDFObj{};
    if (!frames_.push(frame))
      frame.kids.free();
  }
  void pop() {
    frames_.back().kids.free();
    frames_.pop();
  }

private:
  GrowArray<Frame> frames_;
};

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

}  // namespace

void CPDFDoc::take_inherited(const CPDFDictionary& dict, PDF_INHERITED& values) {
  Freed<CPDFObj> value;
  const auto take_box = [&](const char* key, _QVRECTF& box, bool& has) {
    table_.resolve(value, dict.get_item(key));
    const CPDFArray* array = value.as_array();
    if (array == nullptr || array->count < 4)
      return;
    table_.read_obj_rect(box, &value);
    has = true;
  };
  take_box("MediaBox", values.media_box, values.has_media_box);
  take_box("CropBox", values.crop_box, values.has_crop_box);
  table_.resolve(value, dict.get_item(CPDFDictionary::sm_tag_rotate));
  if (value.is_number()) {
    values.rotate = value.to_int();
    values.has_rotate = true;
  }
}

bool CPDFDoc::is_absent(const CPDFObj* item) {
  if (item == nullptr || item->is_null())
    return true;
  if (item->tag != kTagRef)
    return false;
  // What is in memory need not be copied: it can be the resources of all pages.
  const auto num = static_cast<std::uint32_t>(item->as_ref().num);
  const PDF_NEWOBJ* const slot = item->as_ref().num > 0 && table_.know_entry(num) ? table_.slot_of(num) : nullptr;
  if (slot != nullptr && slot->obj.tag != kTagRef)
    return slot->obj.is_null();
  Freed<CPDFObj> value;
  table_.resolve(value, item);
  return value.is_null();
}

// The node's own values over those from above; of two resources the nearer ones count.
std::int32_t CPDFDoc::add_node(const CPDFDictionary& dict, const PDF_REF& ref, std::int32_t parent) {
  PDF_INHERITED values = parent >= 0 ? nodes_[static_cast<std::size_t>(parent)] : PDF_INHERITED{};
  take_inherited(dict, values);
  const CPDFObj* const resources = dict.get_item(CPDFDictionary::sm_tag_res);
  if (resources != nullptr && !resources->is_null()) {
    values.resources = resources->as_ref();
    values.has_direct_resources = resources->tag != kTagRef;
    values.holder = !values.has_direct_resources ? 0 : ref.num > 0 ? ref.num : -1;
  }
  if (!nodes_.push(values))
    return -1;
  const auto node = static_cast<std::int32_t>(nodes_.size()) - 1;
  node_by_number_.set(ref.num, node + 1);
  return node;
}

// The node above a page that is not from the walk: its chain of parents is read up to a node that is
// known, then added from the top down. -1 for a page without a parent.
std::int32_t CPDFDoc::node_above(const CPDFDictionary& page) {
  constexpr std::size_t kMostLevels = 64;
  GrowArray<PDF_REF> chain;
  Freed<CPDFObj> node;
  const CPDFObj* item = page.get_item(CPDFDictionary::sm_tag_parent);
  PDF_REF above = item != nullptr ? item->as_ref() : PDF_REF{0, 0};
  while (above.num > 0 && node_by_number_.get(above.num) == 0 && chain.size() < kMostLevels) {
    table_.get_entity(node, above);
    if (node.as_dict() == nullptr || !chain.push(above))
      break;
    item = node.as_dict()->get_item(CPDFDictionary::sm_tag_parent);
    above = item != nullptr ? item->as_ref() : PDF_REF{0, 0};
  }
  std::int32_t known = node_by_number_.get(above.num) - 1;
  while (!chain.empty()) {
    table_.get_entity(node, chain.back());
    if (node.as_dict() != nullptr)
      known = add_node(*node.as_dict(), chain.back(), known);
    chain.pop();
  }
  return known;
}

// Fills `kids` with the node's array of kids; true when the dictionary is a page instead.
bool CPDFDoc::is_leaf(const CPDFDictionary& dict, CPDFObj& kids) {
  const CPDFObj* item = dict.get_item("Kids");
  table_.resolve(kids, item);
  if (kids.as_dict() != nullptr && item->tag == kTagRef) {
    // A single kid without its brackets.
    kids.take_array(new (std::nothrow) CPDFArray);
    if (kids.as_array() != nullptr)
      kids.as_array()->append_ref(item->as_ref());
  }
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  return (type != nullptr && type->is_name("Page")) || kids.as_array() == nullptr;
}

// Goes down by the first kid of each node. True when a page is reached.
bool CPDFDoc::reaches_a_page(Attempt& attempt, CPDFObj& kids) {
  constexpr int kMostLevels = 64;
  Freed<CPDFObj> obj;
  for (int level = 0; level < kMostLevels; ++level) {
    const CPDFObj* first = kids.as_array() != nullptr ? kids.as_array()->get(0) : nullptr;
    const PDF_REF ref = first != nullptr ? first->as_ref() : PDF_REF{0, 0};
    table_.get_entity(obj, ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (ref.num < 1 || dict == nullptr)
      return false;
    attempt.trusted = attempt.trusted && header_stands_at(table_, ref);
    if (is_leaf(*dict, kids))
      return looks_like_page(*dict);
  }
  return false;
}

// Enough of the tree to believe it or not. Pages are walked when somebody asks for them.
bool CPDFDoc::look_at_tree(Attempt& attempt) {
  walked_ = false;
  quick_count_ = -1;
  pages_.clear();
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> tree;
  Freed<CPDFObj> kids;
  table_.resolve(catalog, &table_.root);
  const CPDFObj* top = catalog.as_dict() != nullptr ? catalog.as_dict()->get_item("Pages") : nullptr;
  table_.resolve(tree, top);
  if (top == nullptr || tree.as_dict() == nullptr)
    return false;
  attempt.trusted = header_stands_at(table_, table_.root.as_ref()) && header_stands_at(table_, top->as_ref());
  const bool leaf = is_leaf(*tree.as_dict(), kids);
  attempt.has_no_pages = !leaf && kids.as_array()->count == 0;
  attempt.has_pages = !leaf && reaches_a_page(attempt, kids);
  if (!attempt.has_pages && !attempt.has_no_pages) {
    ensure_pages();
    attempt.has_pages = !pages_.empty();
  }
  return true;
}

void CPDFDoc::ensure_pages() {
  if (!walked_)
    list_pages(false);
}

void CPDFDoc::list_pages(bool believing) {
  const HeapWatch watch;
  walk_pages(believing);
  pages_incomplete_ = !watch.all_granted();
  believed_ = believing;
  walked_ = true;
}

// Whether a node says that each of its kids is one page, and the table has an entry for each.
bool CPDFDoc::counts_kids_as_pages(const CPDFDictionary& node, const CPDFArray& kids) {
  Freed<CPDFObj> count;
  table_.resolve(count, node.get_item(CPDFDictionary::sm_tag_count));
  if (count.tag != kTagInt || count.as_int() != kids.count)
    return false;
  return std::all_of(kids.items, kids.items + kids.count, [this](const CPDFObj& kid) {
    const auto num = static_cast<std::uint32_t>(kid.as_ref().num);
    return num > 0 && num < table_.xref_count && table_.xref_items[num].is_known();
  });
}

bool CPDFDoc::is_page(const CPDFDictionary& dict) {
  Freed<CPDFObj> kids;
  return is_leaf(dict, kids) && looks_like_page(dict);
}

bool CPDFDoc::list_pages_as_told() {
  constexpr int kProbes = 32;
  if (walked_ || status_ != PDF_OPEN::kClean || !is_readable())
    return believed_;
  const int told = page_count();
  if (walked_)
    return believed_;
  table_.drain_pending();
  list_pages(true);
  const auto size = static_cast<int>(pages_.size());
  bool good = !pages_incomplete_ && size == told;
  // Wrong counts are usually wrong everywhere, so a sample reveals them.
  Freed<CPDFObj> page;
  for (int i = 0; good && i < std::min(size, kProbes); ++i) {
    table_.get_entity(page, pages_[static_cast<std::size_t>(std::int64_t{i} * size / std::min(size, kProbes))].ref);
    good = page.as_dict() != nullptr && is_page(*page.as_dict());
  }
  if (!good)
    list_pages(false);
  return believed_;
}

// A kid that stands in its node itself becomes an object, which the node then refers to.
bool CPDFDoc::take_direct_kid(CPDFObj& kid, const PDF_REF& node) {
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

void CPDFDoc::store_kids(const PDF_REF& node, const CPDFObj& kids) {
  Freed<CPDFObj> value;
  table_.get_entity(value, node);
  if (value.as_dict() == nullptr)
    return;
  value.as_dict()->set_item("Kids", &kids);
  table_.store_object(node, value);
}

bool CPDFDoc::walk_pages(bool believing) {
  forget_resources();
  pages_.clear();
  nodes_.clear();
  node_by_number_.clear();
  node_of_removed_.clear();
  Freed<CPDFObj> obj;
  table_.resolve(obj, &table_.root);
  const CPDFDictionary* catalog = obj.as_dict();
  const CPDFObj* top = catalog != nullptr ? catalog->get_item("Pages") : nullptr;
  if (top == nullptr)
    return false;
  const PDF_REF top_ref = top->as_ref();
  Freed<CPDFObj> tree;
  Freed<CPDFObj> kids;
  table_.resolve(tree, top);
  if (tree.as_dict() == nullptr)
    return false;

  // What a kid is gets looked up once, so that a list of one number over and over costs one reading.
  VisitedSet nodes;
  VisitedSet leaves;
  VisitedSet strays;
  FrameStack stack;
  nodes.visit(top_ref.num);
  const auto open_node = [&](const CPDFDictionary& dict, const PDF_REF& ref, std::int32_t parent) {
    const std::int32_t node = add_node(dict, ref, parent);
    if (node < 0)
      return;
    if (!believing || !counts_kids_as_pages(dict, *kids.as_array())) {
      stack.push(kids, node, ref);
      return;
    }
    for (std::int32_t i = 0; i < kids.as_array()->count; ++i)
      pages_.push({kids.as_array()->items[i].as_ref(), node});
  };
  if (is_leaf(*tree.as_dict(), kids)) {
    // Some writers leave out the tree where there is one page only.
    if (looks_like_page(*tree.as_dict()) && top_ref.num > 0)
      pages_.push({top_ref, -1});
    return true;
  }
  open_node(*tree.as_dict(), top_ref, -1);

  while (!stack.empty()) {
    Frame& frame = stack.top();
    CPDFObj* kid = frame.kids.as_array()->get(frame.next++);
    if (kid == nullptr) {
      if (frame.is_taken)
        store_kids(frame.ref, frame.kids);
      stack.pop();
      continue;
    }
    if (kid->as_dict() != nullptr)
      frame.is_taken = take_direct_kid(*kid, frame.ref) || frame.is_taken;
    const PDF_REF ref = kid->as_ref();
    const std::int32_t parent = frame.node;
    // A page may be listed twice, but a node that comes up again is a loop.
    if (ref.num < 1 || nodes.has(ref.num) || strays.has(ref.num))
      continue;
    if (leaves.has(ref.num)) {
      pages_.push({ref, parent});
      continue;
    }
    table_.get_entity(obj, ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict != nullptr && !is_leaf(*dict, kids)) {
      if (nodes.visit(ref.num))
        open_node(*dict, ref, parent);
    } else if (dict != nullptr && looks_like_page(*dict)) {
      leaves.visit(ref.num);
      pages_.push({ref, parent});
    } else {
      strays.visit(ref.num);
    }
  }
  return true;
}

// Adds up the counts of the nodes, without reading the pages below a node that has as many kids as
// it counts. -1 when the sum is not what the top of the tree says.
int CPDFDoc::count_by_nodes() {
  Freed<CPDFObj> obj;
  Freed<CPDFObj> kids;
  Freed<CPDFObj> count;
  table_.resolve(obj, &table_.root);
  const CPDFObj* top = obj.as_dict() != nullptr ? obj.as_dict()->get_item("Pages") : nullptr;
  GrowArray<PDF_REF> waiting;
  VisitedSet visited;
  waiting.push(top != nullptr ? top->as_ref() : PDF_REF{0, 0});
  std::int64_t total = 0;
  std::int64_t told = -1;
  while (!waiting.empty()) {
    const PDF_REF ref = waiting.back();
    waiting.pop();
    if (!visited.visit(ref.num))
      return -1;
    table_.get_entity(obj, ref);
    const CPDFDictionary* dict = obj.as_dict();
    if (dict == nullptr)
      return -1;
    if (is_leaf(*dict, kids)) {
      total += 1;
      continue;
    }
    table_.resolve(count, dict->get_item(CPDFDictionary::sm_tag_count));
    if (count.tag != kTagInt || count.as_int() < 0)
      return -1;
    if (told < 0)
      told = count.as_int();
    const CPDFArray& array = *kids.as_array();
    if (array.count == count.as_int()) {
      total += array.count;
      continue;
    }
    for (std::int32_t i = 0; i < array.count; ++i)
      waiting.push(array.items[i].as_ref());
  }
  return total == told && total <= INT32_MAX ? static_cast<int>(total) : -1;
}

// Whether the top of the tree counts more pages than can be reached.
bool CPDFDoc::misses_pages() {
  if (waits_for_password())
    return false;
  ensure_pages();
  Freed<CPDFObj> value;
  table_.resolve(value, &table_.root);
  Freed<CPDFObj> top;
  table_.resolve(top, value.as_dict() != nullptr ? value.as_dict()->get_item("Pages") : nullptr);
  table_.resolve(value, top.as_dict() != nullptr ? top.as_dict()->get_item(CPDFDictionary::sm_tag_count) : nullptr);
  return value.tag == kTagInt && value.as_int() > static_cast<std::int64_t>(pages_.size());
}

int CPDFDoc::page_count() {
  if (!is_open() || !is_readable())
    return static_cast<int>(pages_.size());
  if (!walked_ && quick_count_ < 0)
    quick_count_ = count_by_nodes();
  if (!walked_ && quick_count_ >= 0)
    return quick_count_;
  ensure_pages();
  return static_cast<int>(pages_.size());
}

PDF_REF CPDFDoc::page_ref(int index) {
  if (is_open() && is_readable())
    ensure_pages();
  if (index < 0 || static_cast<std::size_t>(index) >= pages_.size())
    return {0, 0};
  return pages_[static_cast<std::size_t>(index)].ref;
}

// Those of the last node are kept, since a node can be as long as all its pages together.
void CPDFDoc::read_direct_resources(CPDFObj& resources, std::int32_t holder) {
  if (holder != resources_from_) {
    forget_resources();
    Freed<CPDFObj> node;
    if (holder > 0) {
      table_.get_entity(node, {holder, 0});
    } else {
      Freed<CPDFObj> catalog;
      table_.resolve(catalog, &table_.root);
      table_.resolve(node, catalog.as_dict() != nullptr ? catalog.as_dict()->get_item("Pages") : nullptr);
    }
    if (node.as_dict() != nullptr)
      direct_resources_.copy_from(node.as_dict()->get_item(CPDFDictionary::sm_tag_res));
    resources_from_ = holder;
  }
  resources.free();
  resources.copy_from(&direct_resources_);
}

void CPDFDoc::forget_resources() {
  direct_resources_.free();
  resources_from_ = 0;
}

bool CPDFDoc::inherits_direct_resources(const CPDFPage& page) {
  return page.inherited != nullptr && page.inherited->has_direct_resources &&
         is_absent(page.dict.get_item(CPDFDictionary::sm_tag_res));
}

// Resources that stand directly in a node of the tree have no reference to hand down: the page gets
// a copy.
bool CPDFDoc::load_page(int index, CPDFPage& page) {
  if (!load_page_alone(index, page))
    return false;
  if (!inherits_direct_resources(page))
    return true;
  Freed<CPDFObj> resources;
  read_direct_resources(resources, page.inherited->holder);
  page.dict.move_item(CPDFDictionary::sm_tag_res, resources);
  return true;
}

bool CPDFDoc::load_page_alone(int index, CPDFPage& page) {
  PDF_REF ref = page_ref(index);
  Freed<CPDFObj> obj;
  table_.get_entity(obj, ref);
  if (believed_ && ref.num != 0 && (obj.as_dict() == nullptr || !is_page(*obj.as_dict()))) {
    list_pages(false);
    ref = page_ref(index);
    table_.get_entity(obj, ref);
  }
  const CPDFDictionary* dict = obj.as_dict();
  if (ref.num == 0 || dict == nullptr)
    return false;
  constexpr _QVRECTF kLetter{0, 0, fix_from_int(612), fix_from_int(792)};
  PageEntry& entry = pages_[static_cast<std::size_t>(index)];
  if (entry.node < 0)
    entry.node = node_above(*dict);
  page.ref = ref;
  page.dict.copy_from(dict);
  page.from_above = entry.node >= 0 ? nodes_[static_cast<std::size_t>(entry.node)] : PDF_INHERITED{};
  page.inherited = entry.node >= 0 ? &page.from_above : nullptr;
  PDF_INHERITED values = page.from_above;
  take_inherited(*dict, values);
  page.box = values.has_crop_box ? values.crop_box : values.has_media_box ? values.media_box : kLetter;
  page.rotate = ((values.rotate % 360) + 360) % 360;
  return true;
}
