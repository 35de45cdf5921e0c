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
    table.resolve(list, dict->get_item("Nums"));
    for (std::int32_t i = 0; list.as_array() != nullptr && i + 1 < list.as_array()->count; i += 2) {
      Freed<CPDFObj> key;
      Freed<CPDFObj> value;
      table.resolve(key, list.as_array()->get(i));
      table.resolve(value, list.as_array()->get(i + 1));
      if (key.tag != kTagInt || value.as_dict() == nullptr)
        continue;
      Entry entry{key.as_int(), value};
      if (entries_.push(entry))
        static_cast<CPDFObj&>(value) = CPDFObj{};
    }
    table.resolve(list, dict->get_item("Kids"));
    for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i)
      waiting.push(list.as_array()->items[i].as_ref());
  };
  table.resolve(node, root);
  take();
  while (!waiting.empty()) {
    const PDF_REF ref = waiting.back();
    waiting.pop();
    if (!visited.visit(ref.num))
      continue;
    table.get_entity(node, ref);
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

}  // namespace sheaf
