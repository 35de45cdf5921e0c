// Names of a source: its named destinations (ISO 32000-1, 12.3.2.3) and its embedded files.
#include <algorithm>
#include <cstring>

#include "neighbours/page/doc_merge_internal.h"
#include "neighbours/page/name_tree.h"

// A named destination of a source on its way over.
struct CPDFDocMerge::Destination {
  std::int32_t entry;   // in the source's names
  std::int32_t page;    // the source's number of its page; kUnknown while only its name is known
  CPDFObj value;        // owned; a reference until it was read, null when it stays behind
  std::uint64_t place;  // where a reference leads to in the file, for reading in order
};

namespace {

constexpr std::int32_t kUnknown = -2;

// By the place in the file of the object or of its object stream.
std::uint64_t place_of(const CPDFXRefTable& table, const PDF_REF& ref) {
  const auto num = static_cast<std::uint32_t>(ref.num);
  if (num >= table.xref_count)
    return 0;
  const PDF_XREF& entry = table.xref_items[num];
  if (entry.type != 2)
    return std::uint64_t{entry.offset} << 32;
  const std::uint32_t container = entry.offset < table.xref_count ? table.xref_items[entry.offset].offset : 0;
  return std::uint64_t{container} << 32 | static_cast<std::uint32_t>(entry.gen);
}

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

void CPDFDocMerge::list_destinations(Source& src, GrowArray<Destination>& list) {
  const auto add = [&](const PDF_String& name, const CPDFObj& value) {
    if (name.data == nullptr || src.names.find(name) >= 0)
      return;
    Destination destination{src.names.add(name, {-1, 0}), kUnknown, {}, 0};
    if (destination.entry < 0)
      return;
    destination.value.copy_from(&value);
    if (value.tag == kTagRef)
      destination.place = place_of(src.table, value.as_ref());
    else
      look_at_destination(src, destination);
    if (!list.push(destination))
      destination.value.free();
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
}

// Names are in the order of their letters, and what they lead to is spread over the file: read in
// the file's order, each object stream is decoded once.
void CPDFDocMerge::read_destinations(Source& src, GrowArray<Destination>& list) {
  GrowArray<std::int32_t> order;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i].value.tag == kTagRef)
      order.push(static_cast<std::int32_t>(i));
  }
  const auto at = [&list](std::int32_t index) -> Destination& { return list[static_cast<std::size_t>(index)]; };
  std::sort(order.begin(), order.end(), [&at](std::int32_t a, std::int32_t b) {
    return at(a).place != at(b).place ? at(a).place < at(b).place : a < b;
  });
  for (const std::int32_t index : order) {
    const CPDFObj ref = at(index).value;  // a reference owns nothing
    src.table.get_entity(at(index).value, ref.as_ref());
    look_at_destination(src, at(index));
  }
}

void CPDFDocMerge::take_destination(Source& src, Destination& destination) {
  if (destination.page == kUnknown)
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
  GrowArray<Destination> list;
  list_destinations(src, list);
  read_destinations(src, list);
  for (Destination& destination : list) {
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
