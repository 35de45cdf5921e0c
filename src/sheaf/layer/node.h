// What values borrow from: one object of a document as it was read, kept as long as a value points into it. Part of
// value.h.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

namespace sheaf::layer {

class Core;

/// What every value asks of its document: whether the table was changed below the layer.
struct TableState {
  const std::uint64_t* changes = nullptr;  ///< The table's count of changes.
  std::uint64_t seen = 0;                  ///< What it was when the nodes were last compared.
};

struct Node : QVHeapObject<Node> {
  /// A trailer can hold the catalogue or the information itself. Such a node gets a number when it is changed.
  enum Owner : std::uint8_t { kObject, kRoot, kInfo };

  TableState* state = nullptr;
  Core* core = nullptr;
  std::int32_t users = 0;   ///< Values that point into it; 1 more while it waits among the changed.
  std::int32_t num = 0;     ///< Object number; 0: the trailer holds it.
  std::uint32_t epoch = 0;  ///< How often the object was read anew.
  Owner owner = kObject;
  bool changed = false;  ///< The table does not have this content yet.
  CPDFObj obj{};
  GrowArray<CPDFObj> buried;              ///< Values that were replaced while others pointed into them.
  GrowArray<CPDFDictItem*> buried_items;  ///< Removed entries of dictionaries.
};

/// Called when nothing points into `node` any more.
void release_node(Node* node);
/// Compares the nodes of the document with its table.
void refresh_nodes(Core& core);

}  // namespace sheaf::layer
