// What a file holds in its trailer although it should be an object of its own (ISO 32000-1, 7.5.5).
#pragma once

#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// A catalogue or document information that is written directly in the trailer becomes an object, which is what changes
/// of it need. Without effect where both are references. False when there is no memory.
bool give_trailer_values_numbers(CPDFXRefTable& table);

}  // namespace sheaf
