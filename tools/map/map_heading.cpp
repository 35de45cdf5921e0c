// Counts as people write them.
#include "map/map_heading.h"

#include "map/map_style.h"

namespace sheaf::tool {

namespace {

const char* how_it_opened(CPDFDoc& doc) {
  switch (doc.status()) {
    case PDF_OPEN::kRebuilt:
      return "damaged, its table was rebuilt";
    case PDF_OPEN::kRecovered:
      return "damaged, recovered by scanning";
    default:
      return doc.repairs().empty() ? "sound" : "healed in places";
  }
}

}  // namespace

MapHeading heading_of(CPDFDoc& doc, const std::string& file, const FileMap& map) {
  std::int64_t objects = 0;
  for (const MapTotal& total : map.kinds)
    objects += total.packed;
  for (const FilePart& part : map.scan.parts)
    objects += part.num != 0 && part.kind != PartKind::kOldObject ? 1 : 0;
  MapHeading heading;
  heading.title = file.substr(file.rfind('/') + 1);
  heading.facts = doc.version()[0] != '\0' ? std::string("PDF ") + doc.version() : "PDF";
  for (const std::string& fact :
       {size_text(map.size), counted(doc.page_count(), "page", "pages"), counted(objects, "object", "objects")})
    heading.facts += ", " + fact;
  if (doc.is_encrypted())
    heading.facts += ", encrypted";
  if (doc.is_linearized())
    heading.facts += ", linearized";
  heading.facts += std::string(", ") + how_it_opened(doc);
  return heading;
}

}  // namespace sheaf::tool
