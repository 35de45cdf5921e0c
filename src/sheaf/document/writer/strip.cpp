// Each object is examined with all that it holds. Actions may be anywhere, so they are recognised by their entries.
#include "sheaf/document/writer/strip.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/writer/doc_writer.h"
#include "sheaf/document/writer/object_survey.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

// A key that goes wherever it is found, or from the catalogue or its "Names" only.
struct StrippedKey {
  const char* key;
  std::uint32_t part;
  enum Where { kAnywhere, kCatalog, kNames, kPage } where;
};

constexpr StrippedKey kKeys[] = {
    {"Metadata", kStripMetadata, StrippedKey::kAnywhere},
    {"EmbeddedFiles", kStripAttachments, StrippedKey::kNames},
    {"AF", kStripAttachments, StrippedKey::kAnywhere},
    {"Collection", kStripAttachments, StrippedKey::kCatalog},
    {"JavaScript", kStripJavaScript, StrippedKey::kNames},
    {"Thumb", kStripThumbnails, StrippedKey::kPage},
    {"PieceInfo", kStripPrivate, StrippedKey::kAnywhere},
    {"SpiderInfo", kStripPrivate, StrippedKey::kCatalog},
    {"Outlines", kStripOutline, StrippedKey::kCatalog},
    {"StructTreeRoot", kStripStructure, StrippedKey::kCatalog},
    {"MarkInfo", kStripStructure, StrippedKey::kCatalog},
    {"StructParents", kStripStructure, StrippedKey::kAnywhere},
    {"StructParent", kStripStructure, StrippedKey::kAnywhere},
};

class Stripper {
public:
  Stripper(CPDFDoc& doc, std::uint32_t wanted) : doc_(doc), table_(doc.table()), wanted_(wanted) {
    const Freed<CPDFObj> catalog = table_.catalog();
    const CPDFObj* const names = catalog.item("Names");
    names_ = ref_of(names).num;
  }

  std::int64_t count() const { return count_; }
  bool strip(std::int32_t num);

private:
  bool wants(std::uint32_t part) const { return (wanted_ & part) != 0; }
  void strip_dictionary(CPDFDictionary& dict, bool is_catalog, bool is_names);
  void strip_scripts(CPDFDictionary& dict);
  void strip_action(CPDFObj& item);
  bool strip_annotations(CPDFDictionary& page);
  bool is_script(const CPDFObj& item);
  void remove(CPDFDictionary& dict, const char* key) {
    dict.set_item(key, nullptr);
    ++count_;
  }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  std::uint32_t wanted_;
  std::int32_t names_ = 0;
  std::int64_t count_ = 0;
  GrowArray<CPDFObj*> waiting_;
};

bool Stripper::is_script(const CPDFObj& item) {
  const Freed<CPDFObj> value = table_.value(&item);
  const CPDFDictionary* const dict = value.as_dict();
  return dict != nullptr && table_.value(dict, "S").is_name("JavaScript");
}

// Keys that can hold an action: of annotations and outline items, of the catalogue, of actions, and the
// triggers of ISO 32000-1, 12.6.3.
bool is_action_key(const char* key) {
  constexpr const char* kActionKeys[] = {"A",  "OpenAction", "Next", "PA", "E", "X", "D", "U",  "Fo", "Bl", "PO", "PC",
                                         "PV", "PI",         "O",    "C",  "K", "F", "V", "WC", "WS", "DS", "WP", "DP"};
  return std::any_of(std::begin(kActionKeys), std::end(kActionKeys),
                     [key](const char* other) { return std::strcmp(key, other) == 0; });
}

// An action that is a script gives way to what follows it, if one action does.
void Stripper::strip_action(CPDFObj& item) {
  constexpr int kMostActions = 64;
  for (int step = 0; step < kMostActions && is_script(item); ++step) {
    const Freed<CPDFObj> action = table_.value(&item);
    const CPDFObj* const next = action.as_dict()->get_item("Next");
    Freed<CPDFObj> follower;
    if (next != nullptr && table_.value(next).as_array() == nullptr)
      follower.copy_from(next);
    item.move_from(follower);
    ++count_;
  }
}

void Stripper::strip_scripts(CPDFDictionary& dict) {
  if (dict.get_item("JS") != nullptr)
    remove(dict, "JS");
  for (std::int32_t i = 0; i < dict.count; ++i) {
    CPDFDictItem& item = *dict.items[i];
    if (!is_action_key(item.key()))
      continue;
    strip_action(item);
    CPDFArray* const list = std::strcmp(item.key(), "Next") == 0 ? item.as_array() : nullptr;
    for (std::int32_t k = 0; list != nullptr && k < list->count; ++k)
      strip_action(list->items[k]);
  }
}

bool Stripper::strip_annotations(CPDFDictionary& page) {
  CPDFObj* const item = page.get_item("Annots");
  const Freed<CPDFObj> list = table_.value(item);
  const CPDFArray* const annots = list.as_array();
  Cleared<CPDFArray> kept;
  for (std::int32_t i = 0; annots != nullptr && i < annots->count; ++i) {
    const Freed<CPDFObj> annot = table_.value(annots, i);
    if (!table_.value(annot.as_dict(), CPDFDictionary::sm_tag_subtype).is_name("FileAttachment"))
      kept.append(annots->get(i));
  }
  if (annots == nullptr || kept.count == annots->count)
    return false;
  count_ += annots->count - kept.count;
  page.set_item_arr("Annots", &kept);
  return true;
}

void Stripper::strip_dictionary(CPDFDictionary& dict, bool is_catalog, bool is_names) {
  const CPDFObj* const type = dict.get_item(CPDFDictionary::sm_tag_type);
  const bool is_page = type != nullptr && type->is_name("Page");
  for (const StrippedKey& stripped : kKeys) {
    const bool here =
        stripped.where == StrippedKey::kAnywhere || (stripped.where == StrippedKey::kCatalog && is_catalog) ||
        (stripped.where == StrippedKey::kNames && is_names) || (stripped.where == StrippedKey::kPage && is_page);
    if (here && wants(stripped.part) && dict.get_item(stripped.key) != nullptr)
      remove(dict, stripped.key);
  }
  if (wants(kStripOutline) && is_catalog && table_.value(&dict, "PageMode").is_name("UseOutlines"))
    remove(dict, "PageMode");
  if (wants(kStripAttachments)) {
    if (is_page)
      strip_annotations(dict);
    if (dict.get_item("EF") != nullptr)
      remove(dict, "EF");
  }
  if (wants(kStripJavaScript))
    strip_scripts(dict);
}

bool Stripper::strip(std::int32_t num) {
  Freed<CPDFObj> value;
  const PDF_REF ref = doc_.reference_to(num);
  table_.get_stored(value, ref);
  const std::int64_t before = count_;
  const bool is_catalog = num == table_.root.as_ref().num;
  waiting_.clear();
  waiting_.push(&value);
  while (!waiting_.empty()) {
    CPDFObj& at = *waiting_.back();
    waiting_.pop();
    if (CPDFDictionary* const dict = at.as_dict_or_stream()) {
      const bool top = &at == &value;
      const CPDFDictionary* const catalog = is_catalog ? value.as_dict() : nullptr;
      const bool is_names = (top && num == names_) || (catalog != nullptr && &at == catalog->get_item("Names"));
      strip_dictionary(*dict, top && is_catalog, is_names);
      for (std::int32_t i = 0; i < dict->count; ++i)
        waiting_.push(dict->items[i]);
    } else if (CPDFArray* const array = at.as_array()) {
      for (std::int32_t i = 0; i < array->count; ++i) {
        if (array->items[i].tag >= kTagArray)
          waiting_.push(array->items + i);
      }
    }
  }
  return count_ == before || table_.store_object(ref, value);
}

}  // namespace

std::int64_t strip_document(CPDFDoc& doc, const ObjectSurvey& survey, std::uint32_t wanted) {
  Stripper stripper(doc, wanted);
  for (const std::int32_t num : survey.objects()) {
    if (!stripper.strip(num))
      return -1;
  }
  if ((wanted & kStripMetadata) != 0)
    doc.table().info.free();
  return stripper.count();
}

}  // namespace sheaf
