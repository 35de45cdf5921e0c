// Files without a name: nobody else can open them, and they are gone when the process ends, however it ends.
#pragma once

#include <string>

namespace sheaf::tool {

/// The folder for temporary files: TMPDIR, else /tmp.
std::string temporary_folder();
/// A new file without a name in `folder`, with `mode` less the process's mask; a descriptor open for reading and
/// writing, -1 where the file system cannot make one that could be named later.
int make_unnamed_file(const std::string& folder, unsigned mode);
/// A new file in the folder for temporary files that has no name; -1, with a message, on failure.
int make_temporary_file();
/// A path that opens the file behind a descriptor anew while the descriptor is open.
std::string path_of_handle(int handle);

/// Copies what can be read from `from` to its end, and shows how far it is. The count of bytes, -1 on failure (errno
/// says why).
long long copy_bytes(int from, int to);
/// Writes all of it at the position of the descriptor. False on failure.
bool write_all(int handle, const void* data, std::size_t size);

}  // namespace sheaf::tool
