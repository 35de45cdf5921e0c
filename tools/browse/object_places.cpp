// Joins the scan's parts and the members of their object streams with the entries of the table.
#include "browse/object_places.h"

#include <algorithm>
#include <map>

#include "map/packed_members.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostVersions = 2;    // on average, of so many objects as are kept at most
constexpr std::uint32_t kOffsetSlack = 16;  // an entry may point this far in front of its object

}  // namespace

ObjectPlaces::ObjectPlaces(CPDFDoc& doc, const FileMap& map, std::size_t most)
    : doc_(doc), table_(doc.table()), map_(map), most_places_(most * kMostVersions) {
  find_last_num(most);
  const auto& parts = map_.scan.parts;
  places_.reserve(std::min(parts.size(), most));
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto part = static_cast<std::int32_t>(i);
    if (parts[i].num < 1)
      continue;
    ObjectPlace place{parts[i].num, part};
    place.size = (parts[i].end - parts[i].start) & kMostSize;
    place.is_current = is_current(place.num, part, -1);
    add(place);
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

// By what the table lists; objects that only a scan finds are few.
void ObjectPlaces::find_last_num(std::size_t most) {
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    if (table_.xref_items[num].is_known() && most-- == 0) {
      last_num_ = object_num(num) - 1;
      return;
    }
  }
}

// The current places are always kept.
void ObjectPlaces::add(const ObjectPlace& place) {
  if (place.num > last_num_)
    left_out_ += behind_.visit(place.num) ? 1 : 0;
  else if (place.is_current || places_.size() < most_places_)
    places_.push_back(place);
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
    ObjectPlace place{num, part, static_cast<std::int32_t>(offsets.size())};
    place.is_current = is_current(num, part, place.index);
    add(place);
    offsets.push_back(offset);
    return true;
  });
  if (places_.size() == first)
    return;
  const PDF_OBJSTM* const objstm = table_.get_objstm_references(place_in_stream(part), container);
  offsets.push_back(objstm != nullptr ? std::max(objstm->decoded - objstm->first, 0) : 0);
  for (std::size_t i = first; i < places_.size(); ++i) {
    const auto member = static_cast<std::size_t>(places_[i].index);
    places_[i].size = static_cast<std::uint32_t>(std::max(offsets[member + 1] - offsets[member], 0)) & kMostSize;
  }
}

// What the table knows, but the scan did not meet where the table has it.
void ObjectPlaces::add_missing() {
  VisitedSet current;
  for (const ObjectPlace& place : places_) {
    if (place.is_current)
      current.visit(place.num);
  }
  const std::size_t found = places_.size();
  for (std::uint32_t num = 1; num < table_.xref_count; ++num) {
    ObjectPlace place{object_num(num)};
    place.is_current = true;
    if (table_.xref_items[num].is_known() && !current.has(place.num))
      add(place);
  }
  if (places_.size() > found)
    find_streams(found);
}

// Finds the object streams of the places from `first` on.
void ObjectPlaces::find_streams(std::size_t first) {
  std::map<std::int32_t, std::int32_t> part_of;
  for (std::size_t i = first; i < places_.size(); ++i) {
    const PDF_XREF& entry = table_.xref_items[places_[i].num];
    if (entry.is_compressed())
      part_of[entry.container()] = -1;
  }
  for (std::size_t i = 0; i < map_.scan.parts.size(); ++i) {
    const auto part = static_cast<std::int32_t>(i);
    const auto container = part_of.find(map_.scan.parts[i].num);
    if (container != part_of.end() && is_current(container->first, part, -1))
      container->second = part;
  }
  for (std::size_t i = first; i < places_.size(); ++i) {
    const PDF_XREF& entry = table_.xref_items[places_[i].num];
    if (!entry.is_compressed() || part_of[entry.container()] < 0)
      continue;
    places_[i].part = part_of[entry.container()];
    places_[i].index = entry.gen;
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
