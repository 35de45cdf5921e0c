// What an object stream says that it holds, also one that no table leads to any more.
#pragma once

#include <cstdint>
#include <functional>

#include "sheaf/xref/xref_table.h"

namespace sheaf::tool {

/// Reads the object at `start` of the table's stream, which bears the number `num`. False when it is no object stream
/// (ISO 32000-1, 7.5.7); else `visit` gets the number of each member with its offset after "First", and ends the
/// reading by false.
bool visit_members(CPDFXRefTable& table, std::uint32_t start, std::int32_t num,
                   const std::function<bool(std::int32_t, std::int32_t)>& visit);

/// Reads the object at `start` of the table's stream, decrypted as object `num`.
void read_object_at(CPDFXRefTable& table, std::uint32_t start, std::int32_t num, CPDFObj& out);

}  // namespace sheaf::tool
