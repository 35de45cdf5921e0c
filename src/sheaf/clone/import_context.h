// What an import can be asked for, and what it reports, besides the map that every import has.
#pragma once

#include <cstdint>

#include "sheaf/base/heap.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Every context that import_start gives is one of these.
struct ImportContext : CPDFMergeContext, QVHeapObject<ImportContext> {
  /// A reference to object 0 is left as it is, and does not make the copy of the object around it fail.
  bool keeps_null_references = false;
  std::int32_t lost = 0;  ///< Streams whose bytes could not be read, and whose copies are missing.
};

}  // namespace sheaf
