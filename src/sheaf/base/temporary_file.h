// Temporary files for what is too large for memory.
#pragma once

#include <cstdio>

namespace sheaf {

/// A new file without a name in `folder` (null: TMPDIR, else /tmp), readable by its owner only, open for
/// reading and writing: no end of the process leaves it behind. Null on failure. The caller closes it.
std::FILE* open_unnamed_file(const char* folder);

}  // namespace sheaf
