// Reads the tree into one sorted list; nodes are visited once, so that loops end.
#include "sheaf/document/names/number_tree.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

NumberTree::~NumberTree() {
  for (Entry& entry : entries_)
    entry.value.free();
}

void NumberTree::load(CPDFXRefTable& table, const CPDFObj* root) {
  Freed<CPDFObj> node;
  Freed<CPDFObj> list;
  VisitedSet visited;
  GrowArray<PDF_REF> waiting;
  const auto take = [&] {
    const CPDFDictionary* dict = node.as_dict();
    if (dict == nullptr)
      return;
    list = table.value(dict, "Nums");
    for (std::int32_t i = 0; list.as_array() != nullptr && i + 1 < list.as_array()->count; i += 2) {
      const Freed<CPDFObj> key = table.value(list.as_array(), i);
      Freed<CPDFObj> value = table.value(list.as_array(), i + 1);
      if (key.tag != kTagInt || value.as_dict() == nullptr)
        continue;
      Entry entry{key.as_int(), value};
      if (entries_.push(entry))
        static_cast<CPDFObj&>(value) = CPDFObj{};
    }
    list = table.value(dict, "Kids");
    for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i)
      waiting.push(list.as_array()->items[i].as_ref());
  };
  node = table.value(root);
  take();
  while (!waiting.empty()) {
    const PDF_REF ref = waiting.back();
    waiting.pop();
    if (!visited.visit(ref.num))
      continue;
    node = table.object(ref);
    take();
  }
  std::stable_sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) { return a.key < b.key; });
}

const CPDFDictionary* NumberTree::find(std::int32_t key, std::int32_t& start) const {
  const Entry* at = std::upper_bound(entries_.begin(), entries_.end(), key,
                                     [](std::int32_t wanted, const Entry& entry) { return wanted < entry.key; });
  if (at == entries_.begin())
    return nullptr;
  start = at[-1].key;
  return at[-1].value.as_dict();
}

namespace {

constexpr std::size_t kLeafNumbers = 64;
constexpr std::size_t kMostKids = 32;

void set_limits(CPDFDictionary& dict, std::int32_t least, std::int32_t greatest) {
  Cleared<CPDFArray> limits;
  limits.append_int(least);
  limits.append_int(greatest);
  dict.set_item_arr("Limits", &limits);
}

}  // namespace

void number_tree_limits(CPDFXRefTable& table, const CPDFObj* root, std::int32_t& least, std::int32_t& greatest) {
  bool found = false;
  number_tree_walk(table, root, [&](std::int32_t key, const CPDFObj&) {
    least = found ? std::min(least, key) : key;
    greatest = found ? std::max(greatest, key) : key;
    found = true;
  });
}

void NumberTreeWriter::store_leaf(const Node& node, std::size_t first, std::size_t end) {
  Cleared<CPDFDictionary> dict;
  Cleared<CPDFArray> numbers;
  for (std::size_t i = first; i < end; ++i) {
    numbers.append_int(entries_[i].key);
    numbers.append_ref(entries_[i].value);
  }
  dict.set_item_arr("Nums", &numbers);
  set_limits(dict, node.least, node.greatest);
  table_.store_dict(node.ref, &dict);
}

void NumberTreeWriter::store_branch(const Node& node, const Node* kids, std::size_t count, bool is_root) {
  Cleared<CPDFDictionary> dict;
  Cleared<CPDFArray> list;
  for (std::size_t i = 0; i < count; ++i)
    list.append_ref(kids[i].ref);
  dict.set_item_arr("Kids", &list);
  if (!is_root)
    set_limits(dict, node.least, node.greatest);
  table_.store_dict(node.ref, &dict);
}

// A root has no limits; as a branch it needs them.
bool NumberTreeWriter::take_own(const CPDFObj* own, Node& node) {
  Freed<CPDFObj> root = table_.value(own);
  node = {{0, 0}, INT32_MAX, INT32_MIN};
  if (root.as_dict() == nullptr)
    return false;
  number_tree_limits(table_, own, node.least, node.greatest);
  if (node.least > node.greatest)
    return false;
  set_limits(*root.as_dict(), node.least, node.greatest);
  node.ref = own->as_ref().num != 0 ? own->as_ref() : PDF_REF{table_.alloc_obj_num(), 0};
  return table_.store_object(node.ref, root);
}

PDF_REF NumberTreeWriter::store_after(const CPDFObj* own) {
  GrowArray<Node> level;
  Node node{};
  if (entries_.empty())
    return {0, 0};
  if (take_own(own, node) && !level.push(node))
    return {0, 0};
  for (std::size_t at = 0; at < entries_.size(); at += kLeafNumbers) {
    const std::size_t end = std::min(at + kLeafNumbers, entries_.size());
    const Node leaf{{table_.alloc_obj_num(), 0}, entries_[at].key, entries_[end - 1].key};
    store_leaf(leaf, at, end);
    if (!level.push(leaf))
      return {0, 0};
  }
  do {
    const std::size_t count = level.size();
    std::size_t made = 0;
    for (std::size_t at = 0; at < count; at += kMostKids) {
      const std::size_t end = std::min(at + kMostKids, count);
      const Node branch{{table_.alloc_obj_num(), 0}, level[at].least, level[end - 1].greatest};
      store_branch(branch, &level[at], end - at, count <= kMostKids);
      level[made++] = branch;
    }
    while (level.size() > made)
      level.pop();
  } while (level.size() > 1);
  return level[0].ref;
}

}  // namespace sheaf
