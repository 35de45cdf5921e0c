// Number trees (ISO 32000-1, 7.9.7): read where their values are dictionaries, as those of page labels
// are, and written where they are references, as in parent trees.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

class NumberTree {
public:
  NumberTree() = default;
  NumberTree(const NumberTree&) = delete;
  NumberTree& operator=(const NumberTree&) = delete;
  ~NumberTree();

  /// Reads the whole tree below `root`; loops and nulls in it do no harm. `root` may be null.
  void load(CPDFXRefTable& table, const CPDFObj* root);
  bool empty() const { return entries_.empty(); }
  /// The value of the greatest key that is not above `key`, with that key in `start`; null when
  /// there is none. Borrowed.
  const CPDFDictionary* find(std::int32_t key, std::int32_t& start) const;
  /// The entries in the order of their keys.
  std::int32_t size() const { return entries_.count(); }
  std::int32_t key_at(std::int32_t index) const { return entries_[index].key; }
  const CPDFDictionary* value_at(std::int32_t index) const { return entries_[index].value.as_dict(); }

private:
  struct Entry {
    std::int32_t key;
    CPDFObj value;  // owned
  };
  GrowArray<Entry> entries_;  // sorted by key
};

/// Calls `visit(key, value)` for every number of the tree below `root`, which may be null, in no order
/// to rely on; the value is borrowed for the call. Loops and nulls in the tree do no harm.
template <class Visit>
void number_tree_walk(CPDFXRefTable& table, const CPDFObj* root, const Visit& visit) {
  Freed<CPDFObj> list;
  Freed<CPDFObj> key;
  VisitedSet visited;
  GrowArray<PDF_REF> waiting;
  Freed<CPDFObj> node = table.value(root);
  while (true) {
    const CPDFDictionary* const dict = node.as_dict();
    list = table.value(dict, "Nums");
    for (std::int32_t i = 0; list.as_array() != nullptr && i + 1 < list.as_array()->count; i += 2) {
      key = table.value(list.as_array()->items + i);
      if (key.tag == kTagInt)
        visit(key.as_int(), list.as_array()->items[i + 1]);
    }
    list = table.value(dict, "Kids");
    for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i)
      waiting.push(list.as_array()->items[i].as_ref());
    while (!waiting.empty() && !visited.visit(waiting.back().num))
      waiting.pop();
    if (waiting.empty())
      return;
    node = table.object(waiting.back());
    waiting.pop();
  }
}

/// The least and the greatest key of the tree below `root`, of any values; untouched for an empty tree.
void number_tree_limits(CPDFXRefTable& table, const CPDFObj* root, std::int32_t& least, std::int32_t& greatest);

/// Collects numbers with a reference each, in ascending order, and writes them as a balanced tree.
class NumberTreeWriter {
public:
  explicit NumberTreeWriter(CPDFXRefTable& table) : table_(table) {}
  NumberTreeWriter(const NumberTreeWriter&) = delete;
  NumberTreeWriter& operator=(const NumberTreeWriter&) = delete;

  void add(std::int32_t key, const PDF_REF& value) { entries_.push({key, value}); }
  /// Stores the tree after the one that `own` (null for none) holds, whose keys are all lower and which
  /// stays as it is. The root of both; {0, 0} when nothing was added or there is no memory.
  PDF_REF store_after(const CPDFObj* own);

private:
  struct Entry {
    std::int32_t key;
    PDF_REF value;
  };
  struct Node {
    PDF_REF ref;
    std::int32_t least;
    std::int32_t greatest;
  };

  void store_leaf(const Node& node, std::size_t first, std::size_t end);
  void store_branch(const Node& node, const Node* kids, std::size_t count, bool is_root);
  bool take_own(const CPDFObj* own, Node& node);

  CPDFXRefTable& table_;
  GrowArray<Entry> entries_;
};

}  // namespace sheaf
