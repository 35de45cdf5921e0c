// Name trees (ISO 32000-1, 7.9.6), read whole and added to.
#pragma once

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Puts `value` under `name` into the tree whose root node `root` holds (a dictionary, empty for a
/// new tree). Nodes that are objects of their own are stored as changed objects; `root` itself is
/// the caller's to store. A name that is taken gets a number after it; `name` becomes what was used.
/// False when the tree is damaged, or memory was refused: what is stored then is whole.
bool name_tree_insert(CPDFXRefTable& table, CPDFDictionary& root, PDF_String& name, const PDF_REF& value);

/// Calls `visit(name, value)` for every name of the tree below `root`, which may be null; both are
/// borrowed for the call. Loops and nulls in the tree do no harm.
template <class Visit>
void name_tree_walk(CPDFXRefTable& table, const CPDFObj* root, const Visit& visit) {
  GrowArray<PDF_REF> waiting;
  VisitedSet visited;
  Freed<CPDFObj> node = table.value(root);
  while (true) {
    Freed<CPDFObj> name;
    const CPDFDictionary* dict = node.as_dict();
    Freed<CPDFObj> names = table.value(dict, "Names");
    Freed<CPDFObj> kids = table.value(dict, "Kids");
    for (std::int32_t i = 0; names.as_array() != nullptr && i + 1 < names.as_array()->count; i += 2) {
      name = table.value(names.as_array()->items + i);
      if (name.tag == kTagString)
        visit(name.as_string(), names.as_array()->items[i + 1]);
    }
    for (std::int32_t i = kids.as_array() != nullptr ? kids.as_array()->count : 0; i-- > 0;)
      waiting.push(kids.as_array()->items[i].as_ref());
    bool found = false;
    while (!found && !waiting.empty()) {
      const PDF_REF ref = waiting.back();
      waiting.pop();
      found = visited.visit(ref.num);
      if (found)
        node = table.object(ref);
    }
    if (!found)
      return;
  }
}

}  // namespace sheaf
