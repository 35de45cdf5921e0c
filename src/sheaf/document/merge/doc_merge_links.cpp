// The look over what an append has stored. The import leaves the page of a destination as the
// source's number, once in each array, and what was left out as a reference to nothing. Here
// destinations get the new page's number; those of pages that did not come along go, with the action
// or the entry that held them, so that a link does nothing rather than lead to a wrong place.
#include <cstring>

#include "sheaf/document/merge/doc_merge_internal.h"
#include "sheaf/object/stream_rec.h"

using namespace sheaf;

namespace {

constexpr const char* kFitNames[] = {"XYZ", "Fit", "FitH", "FitV", "FitR", "FitB", "FitBH", "FitBV"};

bool is_destination(const CPDFArray& array) {
  if (array.count < 2 || array.items[0].tag != kTagRef || array.items[1].tag != kTagName)
    return false;
  for (const char* name : kFitNames) {
    if (array.items[1].is_name(name))
      return true;
  }
  return false;
}

bool is_goto(const CPDFDictionary& dict) {
  const CPDFObj* kind = dict.get_item("S");
  return kind != nullptr && kind->is_name("GoTo");
}

bool is_list_of_objects(const char* key) {
  for (const char* name : {"Kids", "Annots", "Fields", "CO", "OCGs", "OFF", "ON", "Locked"}) {
    if (key == nullptr || std::strcmp(key, name) == 0)
      return true;
  }
  return false;
}

PDF_String text_or_name(const CPDFObj& value) {
  if (value.tag != kTagName)
    return value.as_string();
  auto* name = const_cast<char*>(value.as_name());
  return {name != nullptr ? static_cast<std::int32_t>(std::strlen(name)) : 0, name};
}

}  // namespace

// The source's number of the page that a destination of the source leads to, whichever form it has;
// 0 when it leads nowhere, -1 when it is none that could be told.
std::int32_t CPDFDocMerge::page_of(Source& src, const CPDFObj* destination) {
  if (destination == nullptr)
    return -1;
  Freed<CPDFObj> value;
  src.table.resolve(value, destination);
  Freed<CPDFObj> inner;
  if (value.as_dict() != nullptr) {
    src.table.resolve(inner, value.as_dict()->get_item("D"));
    value.move_from(inner);
  }
  if (value.as_array() != nullptr)
    return value.as_array()->count > 0 ? value.as_array()->items[0].as_ref().num : 0;
  if (value.tag != kTagString && value.tag != kTagName)
    return 0;
  const std::int32_t entry = src.names.find(text_or_name(value));
  return entry >= 0 ? src.names.at(entry).value.gen : 0;
}

std::int32_t CPDFDocMerge::page_of_action(Source& src, const CPDFObj* action) {
  Freed<CPDFObj> value;
  src.table.resolve(value, action);
  if (value.as_dict() == nullptr || !is_goto(*value.as_dict()))
    return -1;
  return page_of(src, value.as_dict()->get_item("D"));
}

// A name of the source becomes the name that its destination has here. False when it has none.
bool CPDFDocMerge::tidy_named(Source& src, CPDFObj& value) {
  const std::int32_t entry = src.names.find(text_or_name(value));
  const std::int32_t ours = entry >= 0 ? src.names.at(entry).value.num : -1;
  if (ours < 0)
    return false;
  const PDF_String& name = destinations_.at(ours).name;
  value.set_string(name.data, name.len);
  return true;
}

// Lists of objects get shorter where other arrays get a null; an array that is an object of its own
// has no key, and is taken for a list.
// Each of the three puts its value in order, and gives false when nothing is left of it.
bool CPDFDocMerge::tidy_value(Source& src, CPDFObj& value, const char* key, bool in_goto) {
  if (value.as_array() != nullptr)
    return tidy_array(src, *value.as_array(), key);
  if (value.as_dict() != nullptr)
    return tidy_dict(src, *value.as_dict());
  if (value.tag == kTagRef) {
    const std::int32_t num = value.as_ref().num;
    return num > 0 && num != hole_ && !(src.has_dead && src.dead.has(num));
  }
  const bool is_place = key != nullptr && (std::strcmp(key, "Dest") == 0 || (in_goto && std::strcmp(key, "D") == 0));
  if (!src.has_dead && is_place && (value.tag == kTagString || value.tag == kTagName))
    return tidy_named(src, value);
  return true;
}

bool CPDFDocMerge::tidy_array(Source& src, CPDFArray& array, const char* key) {
  std::int32_t first = 0;
  if (!src.has_dead && is_destination(array)) {
    const std::int32_t num = array.items[0].as_ref().num;
    if (!src.is_mapped(num) || !src.wanted.has(num))
      return false;
    array.items[0].set_ref({static_cast<std::int32_t>(src.context->map[num]), 0});
    first = 1;
  }
  std::int32_t kept = first;
  for (std::int32_t i = first; i < array.count; ++i) {
    CPDFObj& item = array.items[i];
    if (!tidy_value(src, item, "", false)) {
      item.free();
      if (is_list_of_objects(key))
        continue;
    }
    if (kept != i)
      array.items[kept].move_from(item);
    ++kept;
  }
  array.count = kept;
  return true;
}

bool CPDFDocMerge::tidy_dict(Source& src, CPDFDictionary& dict) {
  const bool in_goto = is_goto(dict);
  for (std::int32_t i = dict.count; i-- > 0;) {
    CPDFDictItem& item = *dict.items[i];
    if (!tidy_value(src, item, item.key(), in_goto))
      dict.set_item(item.key(), nullptr);
  }
  return !in_goto || dict.get_item("D") != nullptr;
}

// Objects of which nothing is left are emptied in the first round; the second takes out what refers
// to them, and rounds go on while that empties further ones.
void CPDFDocMerge::look_over(Source& src, std::uint32_t first_slot) {
  constexpr int kMostRounds = 8;
  bool found = true;
  for (int round = 0; round < kMostRounds && found; ++round) {
    found = false;
    for (std::uint32_t i = first_slot; i < table_.new_obj_count; ++i) {
      PDF_NEWOBJ& slot = table_.new_objs[i];
      CPDFDictionary* const dict = slot.obj.as_dict_or_stream();
      const CPDFObj* kind = dict != nullptr ? dict->get_item(CPDFDictionary::sm_tag_type) : nullptr;
      bool good = true;
      if (dict != nullptr)
        good = tidy_dict(src, *dict);
      else if (slot.obj.as_array() != nullptr)
        good = tidy_array(src, *slot.obj.as_array(), nullptr);
      if (kind != nullptr && kind->is_name("Page") && dict->get_item(CPDFDictionary::sm_tag_res) == nullptr) {
        const Cleared<CPDFDictionary> none;
        dict->set_item_dict(CPDFDictionary::sm_tag_res, &none);
      }
      if (!good) {
        slot.obj.free();
        found = src.dead.visit(slot.num) || found;
      }
    }
    src.has_dead = true;
  }
}
