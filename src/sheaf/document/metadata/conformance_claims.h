// What a document's metadata say that it conforms to: PDF/A, PDF/UA, PDF/X and the like.
#pragma once

#include <cstdint>

#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// The claims as a number that is the same for documents which claim the same; 0 when a document claims nothing.
std::uint64_t conformance_claims(CPDFXRefTable& table);
/// Takes the claims out of the metadata, those of PDF/UA only with `also_ua`. How many properties that were, -1 when
/// the metadata cannot be stored.
int drop_conformance_claims(CPDFXRefTable& table, bool also_ua);

}  // namespace sheaf
