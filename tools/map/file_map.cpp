// Joins the scan with the table: which parts are current, reached, packed, and of what kind.
#include "map/file_map.h"

#include "map/packed_members.h"
#include "map/part_kinds.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/object/array.h"

namespace sheaf::tool {

namespace {

constexpr std::uint32_t kOffsetSlack = 16;  // an entry may point this far before its object

class MapMaker {
public:
  MapMaker(CPDFDoc& doc, FileMap& map) : doc_(doc), table_(doc.table()), map_(map), kinds_(doc.table(), map.scan) {}

  void run();

private:
  bool is_object(const FilePart& part) const { return part.num > 0 && part.frame != FrameKind::kXrefStream; }
  bool is_current(const FilePart& part) const;
  void mark_old_objects();
  void heal_entries();
  void mark_reached();
  void add_packed();
  void decide_kinds();
  void count_saves();
  bool add_members(const FilePart& part, Revision& revision, VisitedSet& seen);
  void add_totals();
  void show_front();
  bool reached(std::uint32_t num) const { return num < map_.reached.size() && map_.reached[num]; }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  FileMap& map_;
  PartClassifier kinds_;
  VisitedSet placed_;  // objects that the table finds where the scan does
};

void MapMaker::run() {
  table_.drain_pending();
  map_.scan = scan_file(table_, doc_.linearized_length());
  mark_old_objects();
  mark_reached();
  add_packed();
  decide_kinds();
  count_saves();
  show_front();
  add_totals();
}

bool MapMaker::is_current(const FilePart& part) const {
  if (object_index(part.num) >= table_.xref_count)
    return false;
  const PDF_XREF& entry = table_.xref_items[part.num];
  return entry.is_in_file() && entry.offset <= part.start && part.start - entry.offset <= kOffsetSlack;
}

void MapMaker::mark_old_objects() {
  for (const FilePart& part : map_.scan.parts) {
    if (is_object(part) && is_current(part))
      placed_.visit(part.num);
  }
  heal_entries();
  for (FilePart& part : map_.scan.parts) {
    if (part.frame == FrameKind::kNone && is_object(part) && !is_current(part))
      part.kind = PartKind::kOldObject;
  }
}

// The table corrects the entries that point to a wrong place when their objects are asked for.
void MapMaker::heal_entries() {
  VisitedSet tried;
  Freed<CPDFObj> obj;
  for (const FilePart& part : map_.scan.parts) {
    const auto num = object_index(part.num);
    if (is_object(part) && num < table_.xref_count && !table_.xref_items[num].is_compressed() &&
        !placed_.has(part.num) && tried.visit(part.num))
      obj = table_.object(part.num);
  }
}

void MapMaker::mark_reached() {
  CPDFCloneMap marks{};
  const ScopeGuard release([&marks] { QVFree(marks.entries); });
  for (const CPDFObj* start : {&table_.root, &table_.info, &table_.encrypt, &table_.id}) {
    if (start->tag == kTagRef)
      table_.rec_obj(marks, start->as_ref());
    else if (start->as_dict() != nullptr)
      table_.rec_dict(marks, start->as_dict());
    else if (start->as_array() != nullptr)
      table_.rec_array(marks, start->as_array());
  }
  map_.reached.resize(marks.capacity);
  for (std::uint32_t num = 0; num < marks.capacity; ++num)
    map_.reached[num] = marks.entries[num] != 0;
}

void MapMaker::add_packed() {
  map_.packed_kinds.assign(table_.xref_count, PartKind::kUnknown);
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 1; num < map_.packed_kinds.size(); ++num) {
    if (!table_.xref_items[num].is_compressed())
      continue;
    table_.get_stored(obj, PDF_REF::at(num));
    map_.packed_kinds[num] = kinds_.kind_of(obj);
  }
}

// What an object is by itself weighs more than what others say of it.
void MapMaker::decide_kinds() {
  const std::vector<PartKind>& hints = map_.scan.hints;
  const auto hinted = [&hints](PartKind kind, std::size_t num) {
    const bool open = kind == PartKind::kStream || kind == PartKind::kObject;
    return open && num < hints.size() && hints[num] != PartKind::kUnknown ? hints[num] : kind;
  };
  for (FilePart& part : map_.scan.parts) {
    if (!is_object(part) || part.kind == PartKind::kOldObject)
      continue;
    if (part.start == static_cast<std::uint32_t>(map_.scan.hint_stream) && part.is_stream) {
      part.kind = PartKind::kFrame;
      part.frame = FrameKind::kHints;
    }
    part.kind = hinted(part.kind, object_index(part.num));
    part.unused = part.kind != PartKind::kFrame && !reached(object_index(part.num));
  }
  for (std::size_t num = 0; num < map_.packed_kinds.size(); ++num)
    map_.packed_kinds[num] = hinted(map_.packed_kinds[num], num);
}

// Which numbers each save wrote for the first time, and which again.
void MapMaker::count_saves() {
  VisitedSet seen;
  auto revision = map_.scan.revisions.begin();
  for (const FilePart& part : map_.scan.parts) {
    while (part.start >= revision->end && revision + 1 != map_.scan.revisions.end())
      ++revision;
    if (!is_object(part))
      continue;
    if (!add_members(part, *revision, seen))
      ++(seen.visit(part.num) ? revision->added : revision->changed);
  }
}

// Counts what an object stream holds, also one that the table no longer refers to. False for other objects.
bool MapMaker::add_members(const FilePart& part, Revision& revision, VisitedSet& seen) {
  if (!part.is_stream || (part.kind != PartKind::kPacked && part.kind != PartKind::kOldObject))
    return false;
  return visit_members(table_, part.start, part.num, [&](std::int32_t num, std::int32_t) {
    ++(seen.visit(num) ? revision.added : revision.changed);
    return true;
  });
}

// Bytes before the header, where a file has them: offsets do not count them, the picture does.
void MapMaker::show_front() {
  const auto front = static_cast<std::uint32_t>(doc_.header_offset());
  map_.size = static_cast<std::uint32_t>(table_.stream->GetLen()) + front;
  if (front == 0)
    return;
  for (FilePart& part : map_.scan.parts) {
    part.start += front;
    part.end += front;
  }
  for (Revision& revision : map_.scan.revisions) {
    revision.start += revision.start != 0 ? front : 0;
    revision.end += front;
  }
  FilePart part;
  part.end = front;
  map_.scan.parts.insert(map_.scan.parts.begin(), part);
}

void MapMaker::add_totals() {
  map_.filters.resize(map_.scan.filters.size());
  for (const FilePart& part : map_.scan.parts) {
    const std::int64_t bytes = std::int64_t{part.end} - part.start;
    MapTotal& kind = map_.kinds[static_cast<std::size_t>(part.kind)];
    ++kind.objects;
    kind.bytes += bytes;
    if (part.is_stream) {
      ++map_.filters[part.filter].objects;
      map_.filters[part.filter].bytes += bytes;
    }
    if (part.unused) {
      ++map_.unused.objects;
      map_.unused.bytes += bytes;
    }
  }
  for (std::uint32_t num = 1; num < map_.packed_kinds.size(); ++num) {
    if (!table_.xref_items[num].is_compressed())
      continue;
    ++map_.kinds[static_cast<std::size_t>(map_.packed_kinds[num])].packed;
    map_.unused.packed += reached(num) ? 0 : 1;
  }
}

const char* frame_name(FrameKind kind) {
  switch (kind) {
    case FrameKind::kHeader:
      return "header";
    case FrameKind::kTable:
      return "cross-reference table";
    case FrameKind::kTrailer:
      return "trailer";
    case FrameKind::kXrefStream:
      return "cross-reference stream";
    case FrameKind::kEndMarker:
      return "end marker";
    case FrameKind::kLinearized:
      return "linearization dictionary";
    case FrameKind::kHints:
      return "hint stream";
    case FrameKind::kNone:
      break;
  }
  return "structure";
}

}  // namespace

const char* kind_name(PartKind kind) {
  static const char* const names[] = {"Pages",         "Page content",    "Fonts",
                                      "Images",        "Other streams",   "Object streams",
                                      "Other objects", "Structure",       "Earlier versions",
                                      "Unknown bytes", "Blanks, comments"};
  static_assert(std::size(names) == kPartKinds);
  return names[static_cast<std::size_t>(kind)];
}

std::string FileMap::name_of(const FilePart& part) const {
  static const char* const names[] = {"page ",
                                      "page content ",
                                      "font ",
                                      "image ",
                                      "stream ",
                                      "object stream ",
                                      "object ",
                                      "",
                                      "earlier version of ",
                                      "unknown bytes",
                                      "blanks or comments"};
  static_assert(std::size(names) == kPartKinds);
  if (part.kind == PartKind::kFrame)
    return frame_name(part.frame);
  const std::string name = names[static_cast<std::size_t>(part.kind)];
  return part.num > 0 ? name + std::to_string(part.num) : name;
}

FileMap make_file_map(CPDFDoc& doc) {
  FileMap map;
  MapMaker(doc, map).run();
  return map;
}

}  // namespace sheaf::tool
