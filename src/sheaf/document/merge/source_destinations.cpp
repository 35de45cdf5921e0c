// Destinations are visited in the order of the file, since each may be in an object stream.
#include "sheaf/document/merge/source_destinations.h"

#include <algorithm>
#include <cstring>

#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/document/names/name_tree.h"

namespace sheaf {

namespace {

// Where an object is in the file, by itself or in its object stream.
std::uint64_t place_of(const CPDFXRefTable& table, const PDF_REF& ref) {
  const auto num = ref.index();
  if (num >= table.xref_count)
    return 0;
  const PDF_XREF& entry = table.xref_items[num];
  if (!entry.is_compressed())
    return std::uint64_t{entry.offset} << 32;
  const std::uint32_t container = entry.offset < table.xref_count ? table.objstm_place(entry.offset) : 0;
  return std::uint64_t{container} << 32 | static_cast<std::uint32_t>(entry.gen);
}

PDF_String text_or_name(const CPDFObj& value) {
  if (value.tag != kTagName)
    return value.as_string();
  auto* name = const_cast<char*>(value.as_name());
  return {name != nullptr ? static_cast<std::int32_t>(std::strlen(name)) : 0, name};
}

// Whether only the page of another name says which page this one leads to.
bool is_alias(const CPDFObj& place) {
  return place.tag == kTagString || place.tag == kTagName;
}

}  // namespace

void DestinationIndex::clear() {
  for (SourceDestination& destination : list)
    destination.value.free();
  list.clear();
  names.clear();
  by_page_.clear();
  is_complete = false;
}

void DestinationIndex::start(const CPDFXRefTable& table) {
  if (table_ != &table)
    clear();
  table_ = &table;
}

bool DestinationIndex::sort() {
  by_page_.clear();
  for (std::int32_t i = 0; i < list.count(); ++i) {
    if (!by_page_.push(i))
      return false;
  }
  const auto page = [this](std::int32_t index) { return list[index].page; };
  std::sort(by_page_.begin(), by_page_.end(),
            [&page](std::int32_t a, std::int32_t b) { return page(a) != page(b) ? page(a) < page(b) : a < b; });
  return true;
}

void DestinationIndex::find(std::int32_t page, GrowArray<std::int32_t>& found) const {
  const std::int32_t* at =
      std::lower_bound(by_page_.begin(), by_page_.end(), page,
                       [this](std::int32_t i, std::int32_t wanted) { return list[i].page < wanted; });
  for (; at != by_page_.end() && list[*at].page == page; ++at)
    found.push(*at);
}

SourceDestinations::SourceDestinations(MergeSource& source, NameAdditions& ours) : src_(source), target_names_(ours) {
  CPDFMergeIndex* const index = source.target.options.index;
  if (index != nullptr && index->destinations() != nullptr)
    known_ = index->destinations();
}

// What the target has of them is forgotten: the next part has another one.
SourceDestinations::~SourceDestinations() {
  for (const std::int32_t index : taken_) {
    const Destination& destination = known_->list[index];
    known_->names.set_value(destination.entry, {-1, std::max(destination.page, 0)});
  }
}

// The place alone, so that the values of destinations that stay behind need not be held.
void SourceDestinations::look_at(Destination& destination) {
  const CPDFObj* place = &destination.value;
  Freed<CPDFObj> inner;
  if (const CPDFDictionary* dict = place->as_dict()) {
    place = dict->get_item("D");
    if (place != nullptr && place->tag == kTagRef) {
      inner = src_.table.value(place);
      place = &inner;
    }
  }
  if (place != nullptr && is_alias(*place))
    return;
  const bool has_page = place != nullptr && place->as_array() != nullptr && place->as_array()->count > 0;
  destination.page = has_page ? place->as_array()->items[0].as_ref().num : 0;
  if (known_ == &own_ && !src_.wanted.has(destination.page))
    destination.value.free();
}

void SourceDestinations::add(const PDF_String& name, const CPDFObj& value) {
  if (name.data == nullptr || known_->names.find(name) >= 0)
    return;
  Destination destination{known_->names.add(name, {-1, 0}), Destination::kUnknown, {}, 0};
  if (destination.entry < 0)
    return;
  destination.value.copy_from(&value);
  if (value.tag == kTagRef)
    destination.place = place_of(src_.table, value.as_ref());
  else
    look_at(destination);
  const bool waits = destination.value.tag == kTagRef;
  const auto index = known_->list.count();
  if (!known_->list.push(destination))
    destination.value.free();
  else if (waits)
    unread_.push(index);
}

void SourceDestinations::list() {
  known_->start(src_.table);
  if (!known_->is_complete)
    list_all();
  if (known_ != &own_ && !known_->is_complete)
    complete();
}

void SourceDestinations::list_all() {
  known_->clear();
  Freed<CPDFObj> old;
  src_.read(old, "Dests");
  for (std::int32_t i = 0; old.as_dict() != nullptr && i < old.as_dict()->count; ++i) {
    const CPDFDictItem* item = old.as_dict()->items[i];
    auto* key = const_cast<char*>(item->key());
    add({static_cast<std::int32_t>(std::strlen(key)), key}, *item);
  }
  Freed<CPDFObj> names;
  src_.read(names, "Names");
  name_tree_walk(src_.table, names.item("Dests"),
                 [this](const PDF_String& name, const CPDFObj& value) { add(name, value); });
  const auto place = [this](std::int32_t index) { return known_->list[index].place; };
  std::sort(unread_.begin(), unread_.end(),
            [&place](std::int32_t a, std::int32_t b) { return place(a) != place(b) ? place(a) < place(b) : a < b; });
}

// Finds the page of each, for this part and all that follow.
void SourceDestinations::complete() {
  for (const std::int32_t index : unread_) {
    Destination& destination = known_->list[index];
    const PDF_REF ref = destination.value.as_ref();
    src_.table.get_entity(destination.value, ref);
    look_at(destination);
    if (destination.page == Destination::kUnknown)
      continue;
    destination.value.free();
    destination.value.set_ref(ref);
  }
  unread_.clear();
  for (Destination& destination : known_->list) {
    if (destination.page == Destination::kUnknown)
      destination.page = page_of(&destination.value);
    known_->names.set_value(destination.entry, {-1, std::max(destination.page, 0)});
  }
  known_->is_complete = known_->sort();
}

// Whether a destination refers to nothing but what is left out, which is found without making any
// value: of a part of a long document, most are so.
bool SourceDestinations::refers_only_to_what_is_left_out(const PDF_REF& destination, ReferenceList& scratch) {
  scratch.clear();
  src_.table.get_references(scratch, destination.num);
  return !scratch.empty() &&
         std::all_of(scratch.begin(), scratch.end(), [this](std::int32_t num) { return src_.is_left_out(num); });
}

void SourceDestinations::read_of_page(std::int32_t index) {
  if (known_ != &own_)
    pages_.push(src_.doc.page_ref(index).num);
  else if (!src_.takes_few)
    read_up_to(place_of(src_.table, src_.doc.page_ref(index)));
}

void SourceDestinations::read_up_to(std::uint64_t up_to) {
  ReferenceList scratch;
  for (; next_unread_ < unread_.size(); ++next_unread_) {
    Destination& destination = known_->list[unread_[next_unread_]];
    if (destination.place > up_to)
      return;
    const CPDFObj ref = destination.value;  // a reference owns nothing
    if (src_.takes_few && refers_only_to_what_is_left_out(ref.as_ref(), scratch)) {
      destination.page = 0;
      destination.value.free();
      continue;
    }
    src_.table.get_entity(destination.value, ref.as_ref());
    look_at(destination);
  }
}

void SourceDestinations::take(Destination& destination) {
  if (destination.page == Destination::kUnknown)
    destination.page = page_of(&destination.value);
  const std::int32_t page = destination.page;
  known_->names.set_value(destination.entry, {-1, std::max(page, 0)});
  if (page < 1 || !src_.wanted.has(page)) {
    src_.target.note(PDF_MERGE_FATE::kDropped, "destinations");
    return;
  }
  take_value(destination, destination.value);
}

void SourceDestinations::take_value(const Destination& destination, CPDFObj& value) {
  const PDF_REF ref = src_.import_object(value);
  if (ref.num == 0)
    return;
  const PDF_String& name = known_->names.at(destination.entry).name;
  const bool is_free = target_names_.list().find(name) < 0;
  known_->names.set_value(destination.entry, {target_names_.add(name, ref), destination.page});
  src_.target.note(is_free ? PDF_MERGE_FATE::kJoined : PDF_MERGE_FATE::kRenamed, "destinations");
}

// Those that lead to the pages of this part, in the order of the list.
void SourceDestinations::take_of_pages() {
  std::sort(pages_.begin(), pages_.end());
  const std::int32_t* const end = std::unique(pages_.begin(), pages_.end());
  for (const std::int32_t* page = pages_.begin(); page != end; ++page) {
    if (*page > 0 && src_.wanted.has(*page))
      known_->find(*page, taken_);
  }
  std::sort(taken_.begin(), taken_.end());
  const std::int32_t dropped = known_->list.count() - taken_.count();
  if (dropped > 0)
    src_.target.note(PDF_MERGE_FATE::kDropped, "destinations", dropped);
  for (const std::int32_t index : taken_) {
    const Destination& destination = known_->list[index];
    Freed<CPDFObj> value;
    if (destination.value.tag == kTagRef)
      src_.table.get_entity(value, destination.value.as_ref());
    else
      value.copy_from(&destination.value);
    take_value(destination, value);
  }
}

void SourceDestinations::take() {
  if (known_ != &own_)
    return take_of_pages();
  read_up_to(UINT64_MAX);
  for (Destination& destination : known_->list) {
    take(destination);
    destination.value.free();
  }
}

std::int32_t SourceDestinations::page_of(const CPDFObj* destination) {
  if (destination == nullptr)
    return -1;
  Freed<CPDFObj> value = src_.table.value(destination);
  Freed<CPDFObj> inner;
  if (value.as_dict() != nullptr) {
    inner = src_.table.value(value.as_dict(), "D");
    value.move_from(inner);
  }
  if (value.as_array() != nullptr)
    return value.as_array()->count > 0 ? value.as_array()->items[0].as_ref().num : 0;
  if (value.tag != kTagString && value.tag != kTagName)
    return 0;
  const std::int32_t entry = known_->names.find(text_or_name(value));
  return entry >= 0 ? known_->names.at(entry).value.gen : 0;
}

std::int32_t SourceDestinations::page_of_action(const CPDFObj* action) {
  Freed<CPDFObj> value = src_.table.value(action);
  const CPDFObj* const kind = value.item("S");
  return kind != nullptr && kind->is_name("GoTo") ? page_of(value.as_dict()->get_item("D")) : -1;
}

bool SourceDestinations::opens_page_that_comes(const CPDFObj& opening) {
  Freed<CPDFObj> value = src_.table.value(&opening);
  const CPDFArray* const place = value.as_array();
  if (place != nullptr && place->count > 0 && place->items[0].is_number())
    return true;  // a page by its index, which needs no page of the source
  const bool is_action = value.as_dict() != nullptr && value.as_dict()->get_item("S") != nullptr;
  const std::int32_t page = is_action ? page_of_action(&opening) : page_of(&opening);
  return page < 0 || src_.wanted.has(page);
}

bool SourceDestinations::rename(CPDFObj& value) const {
  const std::int32_t entry = known_->names.find(text_or_name(value));
  const std::int32_t ours = entry >= 0 ? known_->names.at(entry).value.num : -1;
  if (ours < 0)
    return false;
  const PDF_String& name = target_names_.list().at(ours).name;
  value.set_string(name.data, name.len);
  return true;
}

}  // namespace sheaf
