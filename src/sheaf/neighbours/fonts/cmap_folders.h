// Finding the file of a predefined character map in resource folders.
#pragma once

#include <cstddef>

#include "sheaf/base/grow_array.h"

namespace sheaf {

/// Whether `name` can be the name of a map's file: letters, digits and - _ + . with no dot in front.
/// Names come from documents, and none may lead out of the folders.
bool is_resource_name(const char* name);

/// Looks for the file of map `name` in `folders` and then in the system's: in each by itself, then in
/// its subfolders. Puts its path into `path`; false when no folder has it.
bool find_resource(const GrowArray<char*>& folders, const char* name, char* path, std::size_t path_size);

}  // namespace sheaf
