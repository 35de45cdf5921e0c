// A document in a line: its name, and what it is.
#pragma once

#include <string>

#include "map/file_map.h"

namespace sheaf::tool {

/// The title above the picture.
struct MapHeading {
  std::string title;
  std::string facts;
};

/// The heading of `doc`, which was read from `file`.
MapHeading heading_of(CPDFDoc& doc, const std::string& file, const FileMap& map);

}  // namespace sheaf::tool
