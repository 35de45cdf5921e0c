// Objects pass hints on to what they refer to, which decides where an object has no type of its own.
#include "map/part_kinds.h"

#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

namespace sheaf::tool {

namespace {

constexpr std::int32_t kMostHinted = 1 << 23;  // object numbers; no file that is looked at has more
constexpr std::uint16_t kMostFilters = 200;    // names that are distinguished; further ones count as the last
constexpr std::int32_t kMostFiltersInChain = 8;
constexpr std::size_t kMostNameBytes = 30;

// What a font or its descriptor refers to and has for itself.
const char* const kFontKeys[] = {
    "FontDescriptor", "DescendantFonts", "ToUnicode", "Encoding",  "Widths",    "W",      "CIDToGIDMap",
    "CIDSystemInfo",  "CharProcs",       "FontFile",  "FontFile2", "FontFile3", "CIDSet", "W2"};
const char* const kImageKeys[] = {"SMask", "Mask", "Alternates"};

bool is_named(const CPDFDictionary& dict, const char* key, const char* name) {
  const CPDFObj* item = dict.get_item(key);
  return item != nullptr && item->is_name(name);
}

bool is_any_name(const CPDFDictionary& dict, const char* key, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (is_named(dict, key, name))
      return true;
  }
  return false;
}

// Names come from the file: what XML or a terminal would not take is shown as a question mark.
std::string short_name(const char* text) {
  std::string name(text, strnlen(text, kMostNameBytes));
  for (char& c : name)
    c = c < 0x21 || c > 0x7E ? '?' : c;
  return name;
}

}  // namespace

void PartClassifier::classify(const CPDFObj& value, FilePart& part) {
  part.kind = PartKind::kObject;
  if (const CPDFStreamRec* rec = value.as_stream()) {
    part.is_stream = true;
    part.kind = kind_of_stream(rec->dict, part.frame);
    part.filter = filter_index(rec->dict);
  } else if (const CPDFDictionary* dict = value.as_dict()) {
    part.kind = kind_of_dict(*dict);
    if (dict->get_item("Linearized") != nullptr) {
      part.kind = PartKind::kFrame;
      part.frame = FrameKind::kLinearized;
      const CPDFObj* const hints = dict->get_item("H");
      if (hints != nullptr && hints->as_array() != nullptr && hints->as_array()->count > 0)
        scan_.hint_stream = hints->as_array()->items[0].to_int();
    }
  }
}

PartKind PartClassifier::kind_of(const CPDFObj& value) {
  return value.as_dict() != nullptr ? kind_of_dict(*value.as_dict()) : PartKind::kObject;
}

PartKind PartClassifier::kind_of_dict(const CPDFDictionary& dict) {
  constexpr const char* kType = "Type";
  if (is_any_name(dict, kType, {"Page", "Pages"})) {
    hint_below(dict.get_item("Contents"), PartKind::kContent);
    return PartKind::kPage;
  }
  if (is_any_name(dict, kType, {"Font", "FontDescriptor"})) {
    hint_all(dict, kFontKeys, std::size(kFontKeys), PartKind::kFont);
    hint_below(dict.get_item("CharProcs"), PartKind::kFont);
    return PartKind::kFont;
  }
  return PartKind::kObject;
}

PartKind PartClassifier::kind_of_stream(const CPDFDictionary& dict, FrameKind& frame) {
  if (is_named(dict, "Type", "XRef")) {
    frame = FrameKind::kXrefStream;
    return PartKind::kFrame;
  }
  if (is_named(dict, "Type", "ObjStm"))
    return PartKind::kPacked;
  if (is_any_name(dict, "Subtype", {"Image"})) {
    hint_all(dict, kImageKeys, std::size(kImageKeys), PartKind::kImage);
    return PartKind::kImage;
  }
  if (is_named(dict, "Type", "CMap") || is_any_name(dict, "Subtype", {"Type1C", "CIDFontType0C", "OpenType"}))
    return PartKind::kFont;
  return PartKind::kStream;
}

void PartClassifier::hint_all(const CPDFDictionary& dict, const char* const* keys, std::size_t count, PartKind kind) {
  for (std::size_t i = 0; i < count; ++i)
    hint(dict.get_item(keys[i]), kind);
}

// A reference, or an array of references.
void PartClassifier::hint(const CPDFObj* item, PartKind kind) {
  if (item == nullptr)
    return;
  hint_item(*item, kind);
  const CPDFArray* const array = item->as_array();
  for (std::int32_t i = 0; array != nullptr && i < array->count; ++i)
    hint_item(array->items[i], kind);
}

// The same, also where the items are in an object of their own: the pieces of a page's content,
// the glyphs of a font.
void PartClassifier::hint_below(const CPDFObj* item, PartKind kind) {
  hint(item, kind);
  Freed<CPDFObj> value = table_.value(item);
  if (value.as_array() != nullptr)
    hint(&value, kind);
  const CPDFDictionary* const dict = value.as_dict();
  for (std::int32_t i = 0; dict != nullptr && i < dict->count; ++i)
    hint_item(*dict->items[i], kind);
}

void PartClassifier::hint_item(const CPDFObj& item, PartKind kind) {
  const std::int32_t num = item.as_ref().num;
  if (num < 1 || num > kMostHinted)
    return;
  const auto index = object_index(num);
  if (index >= scan_.hints.size())
    scan_.hints.resize(index + index / 2 + 1, PartKind::kUnknown);
  scan_.hints[index] = kind;
}

// The filters of a stream by name, in the order in which they are taken off.
std::uint16_t PartClassifier::filter_index(const CPDFDictionary& dict) {
  Freed<CPDFObj> filter = table_.value(&dict, CPDFDictionary::sm_tag_filter);
  std::string name = filter.as_name() != nullptr ? short_name(filter.as_name()) : "";
  const CPDFArray* const chain = filter.as_array();
  for (std::int32_t i = 0; chain != nullptr && i < chain->count && i < kMostFiltersInChain; ++i) {
    const char* const next = chain->items[i].as_name();
    name += (name.empty() ? "" : " ") + (next != nullptr ? short_name(next) : "?");
  }
  if (name.empty())
    return 0;
  const auto known = filters_.find(name);
  if (known != filters_.end())
    return known->second;
  if (scan_.filters.size() == kMostFilters)
    return kMostFilters - 1;
  scan_.filters.push_back(name);
  return filters_[name] = static_cast<std::uint16_t>(scan_.filters.size() - 1);
}

}  // namespace sheaf::tool
