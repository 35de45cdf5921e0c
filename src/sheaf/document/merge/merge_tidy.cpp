// Walks over all objects that the append has stored, and mends each in place.
#include "sheaf/document/merge/merge_tidy.h"

#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/document/merge/form_fonts.h"
#include "sheaf/document/merge/merge_structure.h"
#include "sheaf/object/array.h"
#include "sheaf/object/destination.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

namespace {

bool is_action(const CPDFDictionary& dict, const char* name) {
  const CPDFObj* kind = dict.get_item("S");
  return kind != nullptr && kind->is_name(name);
}

// Lists of objects get shorter where other arrays get a null; an array that is an object of its own
// has no key, and is taken for a list.
bool is_list_of_objects(const char* key) {
  for (const char* name : {"Kids", "Annots", "Fields", "CO", "OCGs", "OFF", "ON", "Locked", "AF"}) {
    if (key == nullptr || std::strcmp(key, name) == 0)
      return true;
  }
  return false;
}

}  // namespace

// A full name begins with that of the top-level field.
void MergeTidy::rename_field(CPDFObj& value) {
  if (value.tag != kTagString)
    return;
  std::size_t len = 0;
  const HeapBlock<char> text(text_to_utf8(value.as_string(), len));
  if (!text)
    return;
  const void* const period = std::memchr(text.get(), '.', len);
  const std::size_t top =
      period != nullptr ? static_cast<std::size_t>(static_cast<const char*>(period) - text.get()) : len;
  const std::int32_t old = src_.old_field_names.find({static_cast<std::int32_t>(top), text.get()});
  if (old < 0)
    return;
  const PDF_String& name = src_.new_field_names.at(src_.old_field_names.at(old).value.num).name;
  const auto front = static_cast<std::size_t>(name.len);
  const HeapBlock<char> full(static_cast<char*>(QVAlloc(front + len - top + 1)));
  if (!full)
    return;
  std::memcpy(full.get(), name.data, front);
  std::memcpy(full.get() + front, text.get() + top, len - top);
  full[front + len - top] = 0;
  PDF_String renamed{0, nullptr};
  text_from_utf8(full.get(), renamed);
  value.set_string(renamed.data, renamed.len);
  QVFree(renamed.data);
}

void MergeTidy::tidy_action(CPDFDictionary& dict) {
  if (src_.old_field_names.size() == 0)
    return;
  const bool lists = is_action(dict, "ResetForm") || is_action(dict, "SubmitForm");
  if (!lists && !is_action(dict, "Hide"))
    return;
  CPDFObj* const fields = dict.get_item(lists ? "Fields" : "T");
  if (fields == nullptr)
    return;
  rename_field(*fields);
  for (std::int32_t i = 0; fields->as_array() != nullptr && i < fields->as_array()->count; ++i)
    rename_field(fields->as_array()->items[i]);
}

bool MergeTidy::tidy_value(CPDFObj& value, const char* key, bool in_goto) {
  if (value.as_array() != nullptr)
    return tidy_array(*value.as_array(), key);
  if (value.as_dict() != nullptr)
    return tidy_dict(*value.as_dict());
  if (value.tag == kTagRef) {
    const std::int32_t num = value.as_ref().num;
    return num > 0 && num != src_.target.left_out_num && (first_round_ || !emptied_.has(num));
  }
  const bool is_place = key != nullptr && (std::strcmp(key, "Dest") == 0 || (in_goto && std::strcmp(key, "D") == 0));
  if (first_round_ && is_place && (value.tag == kTagString || value.tag == kTagName))
    return destinations_.rename(value);
  return true;
}

bool MergeTidy::tidy_array(CPDFArray& array, const char* key) {
  std::int32_t first = 0;
  if (first_round_ && is_destination(array)) {
    const std::int32_t num = array.items[0].as_ref().num;
    const PDF_REF copy = src_.wanted.has(num) || structure_.has_element(num) ? src_.copy_of(num) : PDF_REF{0, 0};
    if (copy.num == 0)
      return false;
    array.items[0].set_ref(copy);
    first = 1;
  }
  std::int32_t kept = first;
  for (std::int32_t i = first; i < array.count; ++i) {
    CPDFObj& item = array.items[i];
    if (!tidy_value(item, "", false)) {
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

bool MergeTidy::tidy_dict(CPDFDictionary& dict) {
  if (first_round_) {
    if (dict.holds_signature()) {
      src_.target.note(PDF_MERGE_FATE::kDropped, "signatures");
      return false;
    }
    structure_.rename_headers(dict);
    tidy_action(dict);
    if (CPDFObj* const appearance = src_.new_font_names.count > 0 ? dict.get_item("DA") : nullptr)
      rename_fonts(*appearance, src_.new_font_names);
    dict.set_item("StructParent", nullptr);
    dict.set_item("StructParents", nullptr);
  }
  const bool in_goto = is_action(dict, "GoTo");
  for (std::int32_t i = dict.count; i-- > 0;) {
    CPDFDictItem& item = *dict.items[i];
    if (!tidy_value(item, item.key(), in_goto))
      dict.set_item(item.key(), nullptr);
  }
  return !in_goto || dict.get_item("D") != nullptr;
}

bool MergeTidy::tidy_slot(PDF_NEWOBJ& slot) {
  CPDFDictionary* const dict = slot.obj.as_dict_or_stream();
  if (dict == nullptr)
    return slot.obj.as_array() == nullptr || tidy_array(*slot.obj.as_array(), nullptr);
  const bool good = tidy_dict(*dict);
  if (first_round_)
    structure_.set_key(slot.num, *dict);
  const CPDFObj* const kind = dict->get_item(CPDFDictionary::sm_tag_type);
  if (kind != nullptr && kind->is_name("Page") && dict->get_item(CPDFDictionary::sm_tag_res) == nullptr) {
    const Cleared<CPDFDictionary> none;
    dict->set_item_dict(CPDFDictionary::sm_tag_res, &none);
  }
  return good;
}

// Objects of which nothing is left are emptied in the first round; the second takes out what refers
// to them, and rounds go on while that empties further ones. The document's own objects, which may
// have been stored meanwhile, have lower numbers.
void MergeTidy::run() {
  constexpr int kMostRounds = 8;
  bool found = true;
  for (int round = 0; round < kMostRounds && found; ++round) {
    found = false;
    for (std::uint32_t i = src_.first_slot; i < table_.new_obj_count; ++i) {
      PDF_NEWOBJ& slot = table_.new_objs[i];
      if (slot.num < src_.first_num || tidy_slot(slot))
        continue;
      slot.obj.free();
      found = emptied_.visit(slot.num) || found;
    }
    first_round_ = false;
  }
}

}  // namespace sheaf
