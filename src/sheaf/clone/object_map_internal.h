// The map of the walks inside one document. Its bound runs ahead of its block by one a recording,
// which is part of how the walks behave; so the block's own size is kept beside it, words after
// the block count as 0, and a recording makes room for itself.
#pragma once

#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Builds an empty map for the objects of `table`. False when there is no memory.
bool open_map(CPDFCloneMap& map, const CPDFXRefTable& table);
/// Takes note of the size of a block that a caller has allocated. To be called by every entry point.
void adopt_map(CPDFCloneMap& map, const CPDFXRefTable& table);
/// Whether `num` lies below the bound and has an entry; `value` gets it.
bool map_lookup(const CPDFCloneMap& map, std::int32_t num, std::uint32_t& value);
/// Records `num`. False when there is no memory; the map then stays as it was.
bool map_record(CPDFCloneMap& map, std::int32_t num, std::uint32_t value);

}  // namespace sheaf
