// The parts of a file in their order: objects, cross-reference sections, end
// markers, and what lies between them. A scan reads the bytes themselves and not the table, so that
// it also finds what the table has forgotten, and copes with damage.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sheaf/xref/xref_table.h"

namespace sheaf::tool {

/// What a part of the file is.
enum class PartKind : std::uint8_t {
  kPage,       ///< A page, or a node of the page tree.
  kContent,    ///< What a page draws.
  kFont,       ///< A font, with its descriptor, program and maps.
  kImage,      ///< An image, with its mask and shared data.
  kStream,     ///< Any other stream.
  kPacked,     ///< An object stream.
  kObject,     ///< Any other object.
  kFrame,      ///< Header, sections, trailers, end markers, and what linearization added.
  kOldObject,  ///< An object that the table no longer leads to.
  kUnknown,    ///< Bytes that belong to nothing.
  kFiller,     ///< White space, zeros, comments.
  kCount,
};
constexpr int kPartKinds = static_cast<int>(PartKind::kCount);

/// What a part of kind kFrame is.
enum class FrameKind : std::uint8_t { kNone, kHeader, kTable, kTrailer, kXrefStream, kEndMarker, kLinearized, kHints };

struct FilePart {
  std::uint32_t start = 0;
  std::uint32_t end = 0;
  std::int32_t num = 0;      ///< Object number; 0: no object.
  std::uint16_t filter = 0;  ///< Of a stream, an index into FileScan::filters.
  PartKind kind = PartKind::kUnknown;
  FrameKind frame = FrameKind::kNone;
  bool is_stream = false;
  bool unused = false;  ///< Nothing refers to it.
};

/// The bytes that one save wrote, from the end of the one before it.
struct Revision {
  std::uint32_t start = 0;
  std::uint32_t end = 0;
  std::int64_t added = 0;    ///< Objects whose number was new.
  std::int64_t changed = 0;  ///< Objects whose number was there before.
};

struct FileScan {
  std::vector<FilePart> parts;       ///< Without gaps from the first byte to the last.
  std::vector<Revision> revisions;   ///< At least one.
  std::vector<std::string> filters;  ///< Names as in the file; the first one is "" for none.
  std::int32_t hint_stream = 0;      ///< Where a linearized file says that its hints begin.
  std::vector<PartKind> hints;       ///< By object number: what those that refer to it make of it.
};

/// Scans `table.stream` from its start. `first_end` is the length of the part that linearization
/// covers, 0 without: no save ended before it.
FileScan scan_file(CPDFXRefTable& table, std::uint32_t first_end);

}  // namespace sheaf::tool
