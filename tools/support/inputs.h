// The files that a command reads. Each is remembered by device and inode, so that no output is written over one,
// whatever name or link leads to it.
#pragma once

#include <sys/stat.h>

#include <string>

namespace sheaf::tool {

/// Remembers a file that the command reads; "-" is standard input. False, with a message, when standard output goes
/// to the same file. A file that is not there is left to the one who opens it.
bool note_input(const std::string& file);
/// Whether `file` was remembered. Terminals, pipes and other devices may be both.
bool is_input(const struct stat& file);

/// Remembers `file` and puts the path to open it by into `path`: `file` itself, or for "-" and pipes that of a
/// temporary file without a name that has all they gave. False, with a message, on failure and for a directory.
bool input_path(const std::string& file, std::string& path);
/// The bytes of `file`, remembered as by `input_path`. False, with a message, when it cannot be read to its end.
bool read_input(const std::string& file, std::string& bytes);

}  // namespace sheaf::tool
