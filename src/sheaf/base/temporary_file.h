// Temporary files for what is too large for memory.
#pragma once

#include <cstdio>

namespace sheaf {

/// A new file without a name in `folder` (null: TMPDIR, else /tmp), readable by its owner only, open for
/// reading and writing: no end of the process leaves it behind. Null on failure. The caller closes it.
std::FILE* open_unnamed_file(const char* folder);

/// A new file that has the name `pattern`, which ends in six X that are replaced, only while signals wait, so that none
/// leaves it behind: a handle open for reading and writing, -1 with `errno` on failure.
int open_and_unlink(char* pattern);

}  // namespace sheaf
