// Joins the scan's parts and the members of their object streams with the entries of the table.
#include "browse/object_places.h"

#include <algorithm>

#include "map/packed_members.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostPlaces = 1 << 20;
constexpr std::uint32_t kOffsetSlack = 16;  // an entry may point this far in front of its object

}  // namespace

ObjectPlaces::ObjectPlaces(CPDFDoc& doc, const FileMap& map) : doc_(doc), table_(doc.table()), map_(map) {
  const auto& parts = map_.scan.parts;
  places_.reserve(std::min(parts.size(), kMostPlaces));
  for (std::size_t i = 0; i < parts.size() && places_.size() < kMostPlaces; ++i) {
    const auto part = static_cast<std::int32_t>(i);
    if (parts[i].num < 1)
      continue;
    places_.push_back({parts[i].num, part, -1, parts[i].end - parts[i].start, is_current(parts[i].num, part, -1)});
    if (parts[i].is_stream && (parts[i].kind == PartKind::kPacked || parts[i].kind == PartKind::kOldObject))
      add_members(part);
  }
  add_missing();
  std::sort(places_.begin(), places_.end(), [](const ObjectPlace& a, const ObjectPlace& b) {
    if (a.num != b.num)
      return a.num < b.num;
    return a.is_current != b.is_current ? a.is_current : a.part != b.part ? a.part > b.part : a.index > b.index;
  });
}

std::uint32_t ObjectPlaces::place_in_stream(std::int32_t part) const {
  return map_.scan.parts[static_cast<std::size_t>(part)].start - static_cast<std::uint32_t>(doc_.header_offset());
}

bool ObjectPlaces::is_current(std::int32_t num, std::int32_t part, std::int32_t index) const {
  if (object_index(num) >= table_.xref_count)
    return false;
  const PDF_XREF& entry = table_.xref_items[num];
  const std::int32_t container = map_.scan.parts[static_cast<std::size_t>(part)].num;
  if (index >= 0)
    return entry.is_compressed() && entry.container() == container && entry.gen == index &&
           is_current(container, part, -1);
  const std::uint32_t start = place_in_stream(part);
  return entry.is_in_file() && entry.offset <= start && start - entry.offset <= kOffsetSlack;
}

void ObjectPlaces::add_members(std::int32_t part) {
  const std::int32_t container = map_.scan.parts[static_cast<std::size_t>(part)].num;
  const std::size_t first = places_.size();
  std::vector<std::int32_t> offsets;
  visit_members(table_, place_in_stream(part), container, [&](std::int32_t num, std::int32_t offset) {
    const auto index = static_cast<std::int32_t>(offsets.size());
    places_.push_back({num, part, index, 0, is_current(num, part, index)});
    offsets.push_back(offset);
    return places_.size() < kMostPlaces;
  });
  if (offsets.empty())
    return;
  const PDF_OBJSTM* const objstm = table_.get_objstm_references(place_in_stream(part), container);
  offsets.push_back(objstm != nullptr ? std::max(objstm->decoded - objstm->first, 0) : 0);
  for (std::size_t i = 0; i + 1 < offsets.size(); ++i)
    places_[first + i].size = static_cast<std::uint32_t>(std::max(offsets[i + 1] - offsets[i], 0));
}

// What the table knows, but the scan did not meet where the table has it.
void ObjectPlaces::add_missing() {
  VisitedSet current;
  std::vector<std::int32_t> part_of;
  for (const ObjectPlace& place : places_) {
    if (!place.is_current)
      continue;
    current.visit(place.num);
    const std::size_t num = object_index(place.num);
    if (place.index < 0 && num < table_.xref_count) {
      part_of.resize(std::max(part_of.size(), num + 1), -1);
      part_of[num] = place.part;
    }
  }
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    const PDF_XREF& entry = table_.xref_items[num];
    ObjectPlace place{object_num(num), -1, -1, 0, true};
    if (!entry.is_known() || current.has(place.num))
      continue;
    if (entry.is_compressed() && entry.offset < part_of.size() && part_of[entry.offset] >= 0) {
      place.part = part_of[entry.offset];
      place.index = entry.gen;
    }
    places_.push_back(place);
  }
}

void ObjectPlaces::read(const ObjectPlace& place, CPDFObj& out) {
  out.free();
  if (place.is_current) {
    table_.get_stored(out, doc_.reference_to(place.num));
    return;
  }
  const std::int32_t container = map_.scan.parts[static_cast<std::size_t>(place.part)].num;
  if (place.index < 0) {
    read_object_at(table_, place_in_stream(place.part), place.num, out);
    return;
  }
  const PDF_OBJSTM* const objstm = table_.get_objstm(place_in_stream(place.part), container, 0);
  if (objstm != nullptr && objstm->objs != nullptr && place.index < objstm->count)
    out.copy_from(objstm->objs + place.index);
}

int ObjectPlaces::revision(const ObjectPlace& place) const {
  const auto& revisions = map_.scan.revisions;
  if (place.part < 0)
    return 0;
  const std::uint32_t start = map_.scan.parts[static_cast<std::size_t>(place.part)].start;
  const auto next = std::upper_bound(revisions.begin(), revisions.end(), start,
                                     [](std::uint32_t at, const Revision& revision) { return at < revision.end; });
  return static_cast<int>(std::min<std::ptrdiff_t>(next - revisions.begin(), std::ssize(revisions) - 1));
}

}  // namespace sheaf::tool
