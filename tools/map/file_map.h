// A file's parts with what the document makes of them, and their sums.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "map/file_scan.h"
#include "sheaf/document/doc.h"

namespace sheaf::tool {

/// How much there is of something.
struct MapTotal {
  std::int64_t objects = 0;  ///< With bytes of their own.
  std::int64_t packed = 0;   ///< In object streams.
  std::int64_t bytes = 0;
  std::int64_t count() const { return objects + packed; }
};

struct FileMap {
  std::uint32_t size = 0;  ///< Of the file, in bytes.
  FileScan scan;
  std::array<MapTotal, kPartKinds> kinds{};
  std::vector<MapTotal> filters;       ///< As scan.filters; `objects` counts streams.
  MapTotal unused;                     ///< What nothing refers to.
  std::vector<PartKind> packed_kinds;  ///< By object number: of those in object streams; kUnknown for others.
  std::vector<bool> reached;           ///< By object number: something refers to it.

  /// "page 12", "end marker": a part in words, without its place.
  std::string name_of(const FilePart& part) const;
};

/// The map of an open document that can be read.
FileMap make_file_map(CPDFDoc& doc);

/// "pages", "fonts": a kind in words.
const char* kind_name(PartKind kind);

}  // namespace sheaf::tool
