// The identifier of a document (ISO 32000-1, 14.4): kept where the keys hang on it, and half of it new
// with every save.
#pragma once

#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Puts the document's identifier into `id`, an empty one for a document without.
void keep_identifier(CPDFXRefTable& table, CPDFObj& id);

/// Puts the document's identifier with a new second half into `id`. False when there is no memory.
bool renew_identifier(CPDFXRefTable& table, CPDFObj& id);

}  // namespace sheaf
