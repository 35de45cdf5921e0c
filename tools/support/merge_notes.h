// What a merge made of its sources, for people: lines about what was left out, and a table.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/merge/doc_merge.h"

namespace sheaf::tool {

/// One line to standard error for each kind of thing that no merge can bring along and that source
/// `index`, called `file`, had: signatures, encryption and the like. With --verbose also what the others of its
/// records left out. `encrypts`: the result is encrypted.
void complain_about_losses(const CPDFDocMerge& merge, std::int32_t index, const std::string& file, bool encrypts);

/// The table of all records: source, entry, what became of it, how many. `files` are the sources' names.
std::string merge_table(const CPDFDocMerge& merge, const std::vector<std::string>& files);

}  // namespace sheaf::tool
