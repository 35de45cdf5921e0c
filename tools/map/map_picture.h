// The picture of a file: its bytes in rows from start to end, and beside them what they amount to.
#pragma once

#include <string>

#include "map/file_map.h"
#include "map/map_heading.h"

namespace sheaf::tool {

/// The map as an SVG picture. Its size does not grow with the file: what is too small to be seen is
/// shown together.
std::string draw_file_map(const FileMap& map, const MapHeading& heading);

}  // namespace sheaf::tool
