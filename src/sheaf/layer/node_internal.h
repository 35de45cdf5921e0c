// What values borrow from: one object of a document as it was read, kept as long as a value points into it.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"
#include "sheaf/layer/value.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

namespace sheaf::layer {

struct Node : NodeHead, QVHeapObject<Node> {
  /// A trailer can hold the catalogue or the information itself. Such a node gets a number when it is changed.
  enum Owner : std::uint8_t { kObject, kRoot, kInfo };

  Owner owner = kObject;
  bool changed = false;                   ///< The table does not have this content yet.
  GrowArray<CPDFObj> buried;              ///< Values that were replaced while others pointed into them.
  GrowArray<CPDFDictItem*> buried_items;  ///< Removed entries of dictionaries.
};

}  // namespace sheaf::layer
