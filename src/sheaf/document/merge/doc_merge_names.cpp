// Names of a source: its named destinations (ISO 32000-1, 12.3.2.3) and its embedded files.
#include <algorithm>
#include <cstring>

#include "sheaf/document/merge/doc_merge_internal.h"
#include "sheaf/document/names/name_tree.h"

using namespace sheaf;

// Where an object stands in the file, by itself or in its object stream.
std::uint64_t CPDFDocMerge::place_of(const CPDFXRefTable& table, const PDF_REF& ref) {
  const auto num = static_cast<std::uint32_t>(ref.num);
  if (num >= table.xref_count)
    return 0;
  const PDF_XREF& entry = table.xref_items[num];
  if (!entry.is_compressed())
    return std::uint64_t{entry.offset} << 32;
  const std::uint32_t container = entry.offset < table.xref_count ? table.xref_items[entry.offset].offset : 0;
  return std::uint64_t{container} << 32 | static_cast<std::uint32_t>(entry.gen);
}

namespace {

// Whether the page can only be told by another name's.
bool is_alias(const CPDFObj& place) {
  return place.tag == kTagString || place.tag == kTagName;
}

}  // namespace

// The place alone, so that the values of destinations that stay behind need not be held.
void CPDFDocMerge::look_at_destination(Source& src, Destination& destination) {
  const CPDFObj* place = &destination.value;
  Freed<CPDFObj> inner;
  if (const CPDFDictionary* dict = place->as_dict()) {
    place = dict->get_item("D");
    if (place != nullptr && place->tag == kTagRef) {
      src.table.resolve(inner, place);
      place = &inner;
    }
  }
  if (place != nullptr && is_alias(*place))
    return;
  const bool has_page = place != nullptr && place->as_array() != nullptr && place->as_array()->count > 0;
  destination.page = has_page ? place->as_array()->items[0].as_ref().num : 0;
  if (!src.wanted.has(destination.page))
    destination.value.free();
}

void CPDFDocMerge::list_destinations(Source& src) {
  const auto add = [&](const PDF_String& name, const CPDFObj& value) {
    if (name.data == nullptr || src.names.find(name) >= 0)
      return;
    Destination destination{src.names.add(name, {-1, 0}), Destination::kUnknown, {}, 0};
    if (destination.entry < 0)
      return;
    destination.value.copy_from(&value);
    if (value.tag == kTagRef)
      destination.place = place_of(src.table, value.as_ref());
    else
      look_at_destination(src, destination);
    const bool waits = destination.value.tag == kTagRef;
    const auto index = static_cast<std::int32_t>(src.destinations.size());
    if (!src.destinations.push(destination))
      destination.value.free();
    else if (waits)
      src.unread.push(index);
  };
  Freed<CPDFObj> catalog;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr)
    return;
  Freed<CPDFObj> old;
  src.table.resolve(old, catalog.as_dict()->get_item("Dests"));
  for (std::int32_t i = 0; old.as_dict() != nullptr && i < old.as_dict()->count; ++i) {
    const CPDFDictItem* item = old.as_dict()->items[i];
    auto* key = const_cast<char*>(item->key());
    add({static_cast<std::int32_t>(std::strlen(key)), key}, *item);
  }
  Freed<CPDFObj> names;
  src.table.resolve(names, catalog.as_dict()->get_item("Names"));
  name_tree_walk(src.table, names.as_dict() != nullptr ? names.as_dict()->get_item("Dests") : nullptr, add);
  const auto place = [&src](std::int32_t index) { return src.destinations[static_cast<std::size_t>(index)].place; };
  std::sort(src.unread.begin(), src.unread.end(),
            [&place](std::int32_t a, std::int32_t b) { return place(a) != place(b) ? place(a) < place(b) : a < b; });
}

// Whether a destination refers to nothing but what is left out, which is found without making any
// value: of a part of a long document, most are so.
bool CPDFDocMerge::leads_away(Source& src, const PDF_REF& destination, ReferenceList& scratch) {
  scratch.clear();
  src.table.get_references(scratch, destination.num);
  const auto hole = static_cast<std::uint32_t>(hole_);
  return !scratch.empty() && std::all_of(scratch.begin(), scratch.end(), [&src, hole](std::int32_t num) {
    return src.is_mapped(num) && src.context->map[num] == hole;
  });
}

// Names are in the order of their letters, and what they lead to is spread over the file: read in
// the file's order and along with the pages, most share the decoding of their object streams.
void CPDFDocMerge::read_destinations(Source& src, std::uint64_t up_to) {
  ReferenceList scratch;
  for (; src.next_unread < src.unread.size(); ++src.next_unread) {
    Destination& destination = src.destinations[static_cast<std::size_t>(src.unread[src.next_unread])];
    if (destination.place > up_to)
      return;
    const CPDFObj ref = destination.value;  // a reference owns nothing
    if (src.takes_few && leads_away(src, ref.as_ref(), scratch)) {
      destination.page = 0;
      destination.value.free();
      continue;
    }
    src.table.get_entity(destination.value, ref.as_ref());
    look_at_destination(src, destination);
  }
}

void CPDFDocMerge::take_destination(Source& src, Destination& destination) {
  if (destination.page == Destination::kUnknown)
    destination.page = page_of(src, &destination.value);
  CPDFObj& value = destination.value;
  const std::int32_t page = destination.page;
  src.names.set_value(destination.entry, {-1, std::max(page, 0)});
  if (page < 1 || !src.wanted.has(page))
    return;
  const int good = value.as_array() != nullptr ? table_.clone_array(&src.table, src.context, value.as_array())
                                               : table_.clone_dict(&src.table, src.context, value.as_dict());
  if (good == 0)
    return;
  const PDF_REF ref{table_.alloc_obj_num(), 0};
  const PDF_String& name = src.names.at(destination.entry).name;
  if (table_.store_object(ref, value))
    src.names.set_value(destination.entry, {destinations_.add_unique(name, ref), page});
}

void CPDFDocMerge::collect_destinations(Source& src) {
  read_destinations(src, UINT64_MAX);
  for (Destination& destination : src.destinations) {
    take_destination(src, destination);
    destination.value.free();
  }
}

void CPDFDocMerge::collect_files(Source& src) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> names;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr)
    return;
  src.table.resolve(names, catalog.as_dict()->get_item("Names"));
  const CPDFObj* tree = names.as_dict() != nullptr ? names.as_dict()->get_item("EmbeddedFiles") : nullptr;
  name_tree_walk(src.table, tree, [&](const PDF_String& name, const CPDFObj& value) {
    PDF_REF file = value.as_ref();
    if (file.num != 0) {
      file = table_.clone_obj(&src.table, src.context, file);
    } else {
      Freed<CPDFObj> copy;
      copy.copy_from(&value);
      if (copy.as_dict() == nullptr || table_.clone_dict(&src.table, src.context, copy.as_dict()) == 0)
        return;
      file = {table_.alloc_obj_num(), 0};
      table_.store_object(file, copy);
    }
    if (file.num != 0)
      files_.add_unique(name, file);
  });
}
