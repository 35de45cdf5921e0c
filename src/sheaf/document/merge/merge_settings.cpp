// Each setting has its rule: the target keeps its own, takes that of a source, or joins the two.
#include "sheaf/document/merge/merge_settings.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "sheaf/document/metadata/conformance_claims.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr const char* kIntents = "OutputIntents";
constexpr const char* kHeaderVersion = "1.7";  // of new files
constexpr const char* kOpening = "OpenAction";
constexpr const char* kUnknown = "other entries of the catalogue";

struct Setting {
  const char* key;
  const char* entry;  // as records call it
};

constexpr Setting kSettings[] = {{"Metadata", "metadata"},
                                 {"Lang", "language"},
                                 {"ViewerPreferences", "viewer preferences"},
                                 {"PageMode", "page mode"},
                                 {"PageLayout", "page layout"},
                                 {kOpening, "opening action"},
                                 {"AA", "document actions"},
                                 {"URI", "base address"},
                                 {"Extensions", "extensions"},
                                 {"PieceInfo", "private data"},
                                 {"Requirements", "requirements"},
                                 {"Collection", "portfolio"}};

// What has no place in a document that is made of others.
constexpr Setting kEnding[] = {{"Threads", "articles"},
                               {"DSS", "validation data"},
                               {"DPartRoot", "document parts"},
                               {"SpiderInfo", "web capture"},
                               {"Legal", "legal attestation"}};

// What other parts of the merge see to, and NeedsRendering, which is of the XFA form that stays behind.
constexpr const char* kOfOthers[] = {"Type",     "Version",  "Pages",          "PageLabels", "Names",  "Dests",
                                     "Outlines", "AcroForm", "StructTreeRoot", "MarkInfo",   kIntents, "OCProperties",
                                     "Perms",    "AF",       "NeedsRendering"};

// Whether nothing here knows what an entry of a catalogue means.
bool is_unknown(const char* key) {
  const auto is_it = [key](const Setting& setting) { return std::strcmp(setting.key, key) == 0; };
  return std::none_of(std::begin(kOfOthers), std::end(kOfOthers),
                      [key](const char* other) { return std::strcmp(other, key) == 0; }) &&
         std::none_of(std::begin(kSettings), std::end(kSettings), is_it) &&
         std::none_of(std::begin(kEnding), std::end(kEnding), is_it);
}

bool same_text(const PDF_String& a, const PDF_String& b) {
  return a.len == b.len && a.len > 0 && std::memcmp(a.data, b.data, static_cast<std::size_t>(a.len)) == 0;
}

// What the first intent of `list` is called; null without one.
void find_identifier(CPDFXRefTable& table, const CPDFArray& list, Freed<CPDFObj>& identifier) {
  Freed<CPDFObj> intent = table.value(list.get(0));
  identifier = table.value(intent.as_dict(), "OutputConditionIdentifier");
}

}  // namespace

void MergeSettings::take(MergeSource& source, SourceDestinations& destinations) {
  note_what_ends(source);
  take_intents(source);
  compare_claims(source);
  const char* const version = source.doc.version();
  if (std::strcmp(version, kHeaderVersion) > 0 && std::strcmp(version, version_) > 0 &&
      std::strlen(version) < sizeof(version_))
    std::memcpy(version_, version, std::strlen(version) + 1);
  if (!target_.takes_settings()) {
    for (const Setting& setting : kSettings) {
      if (source.entry(setting.key) != nullptr)
        target_.note(PDF_MERGE_FATE::kDropped, setting.entry);
    }
    if (!source.table.info.is_null())
      target_.note(PDF_MERGE_FATE::kDropped, "document information");
    const CPDFDictionary* const catalog = source.catalog.as_dict();
    for (std::int32_t i = 0; catalog != nullptr && i < catalog->count; ++i) {
      if (is_unknown(catalog->items[i]->key()))
        target_.note(PDF_MERGE_FATE::kDropped, kUnknown);
    }
    return;
  }
  take_information(source);
  take_entries(source, destinations);
}

void MergeSettings::take_entries(MergeSource& source, SourceDestinations& destinations) {
  Cleared<CPDFDictionary> holder;
  for (const Setting& setting : kSettings) {
    Freed<CPDFObj> value;
    value.copy_from(source.entry(setting.key));
    if (value.is_null())
      continue;
    if (std::strcmp(setting.key, kOpening) == 0 && !destinations.opens_page_that_comes(value)) {
      target_.note(PDF_MERGE_FATE::kDropped, setting.entry);
      continue;
    }
    if (source.import(value)) {
      holder.move_item(setting.key, value);
      target_.note(PDF_MERGE_FATE::kKept, setting.entry);
    }
  }
  const CPDFDictionary* const catalog = source.catalog.as_dict();
  for (std::int32_t i = 0; catalog != nullptr && i < catalog->count; ++i) {
    const CPDFDictItem& item = *catalog->items[i];
    if (!is_unknown(item.key()))
      continue;
    Freed<CPDFObj> value;
    value.copy_from(&item);
    const bool is_kept = source.import(value);
    target_.note(is_kept ? PDF_MERGE_FATE::kKept : PDF_MERGE_FATE::kDropped, kUnknown);
    if (is_kept)
      holder.move_item(item.key(), value);
  }
  take_associated_files(source, holder);
  holder_ = {table_.alloc_obj_num(), 0};
  table_.store_dict(holder_, &holder);
}

void MergeSettings::take_information(MergeSource& source) {
  Freed<CPDFObj> theirs = source.table.value(&source.table.info);
  if (theirs.as_dict() == nullptr || theirs.as_dict()->count == 0 || !source.import(theirs))
    return;
  Freed<CPDFObj> ours = table_.value(&table_.info);
  for (std::int32_t i = 0; ours.as_dict() != nullptr && i < ours.as_dict()->count; ++i)
    theirs.as_dict()->set_item(ours.as_dict()->items[i]->key(), ours.as_dict()->items[i]);
  if (table_.info.as_ref().num < 1)
    table_.info.set_ref({table_.alloc_obj_num(), 0});
  table_.store_object(table_.info.as_ref(), theirs);
  target_.note(PDF_MERGE_FATE::kKept, "document information");
}

// Those that were taken among the embedded files or with the pages; all, where all attachments are.
void MergeSettings::take_associated_files(MergeSource& source, CPDFDictionary& holder) {
  Freed<CPDFObj> list;
  source.read(list, "AF");
  if (list.as_array() == nullptr)
    return;
  Cleared<CPDFArray> kept;
  for (std::int32_t i = 0; i < list.as_array()->count; ++i) {
    Freed<CPDFObj> file;
    file.copy_from(list.as_array()->items + i);
    const bool comes = target_.options.files == PDF_MERGE_FILES::kAll || source.copy_of(file.as_ref().num).num != 0;
    if (comes && source.import(file))
      kept.append_moved(file);
  }
  // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): the guard has made its array empty
  target_.note(PDF_MERGE_FATE::kKept, "associated files", kept.count);
  target_.note(PDF_MERGE_FATE::kDropped, "associated files", list.as_array()->count - kept.count);
  if (kept.count > 0)
    holder.set_item_arr("AF", &kept);
}

void MergeSettings::note_what_ends(MergeSource& source) {
  if (source.doc.is_encrypted())
    target_.note(PDF_MERGE_FATE::kDropped, "encryption");
  for (const Setting& ending : kEnding) {
    if (source.entry(ending.key) != nullptr)
      target_.note(PDF_MERGE_FATE::kDropped, ending.entry);
  }
  Freed<CPDFObj> permissions;
  source.read(permissions, "Perms");
  if (permissions.as_dict() == nullptr)
    return;
  if (permissions.as_dict()->get_item("UR") != nullptr || permissions.as_dict()->get_item("UR3") != nullptr)
    target_.note(PDF_MERGE_FATE::kDropped, "usage rights");
  if (permissions.as_dict()->get_item("DocMDP") != nullptr)
    target_.note(PDF_MERGE_FATE::kDropped, "certification");
}

// A document made of others conforms to what all of them claim, and only while they claim the same.
void MergeSettings::compare_claims(MergeSource& source) {
  if (target_.takes_settings())
    return;
  const std::uint64_t claims = conformance_claims(source.table);
  claims_broken_ = claims_broken_ || (has_claims_ && claims != claims_);
  claims_ = claims;
  has_claims_ = true;
}

bool MergeSettings::drop_broken_claims() {
  const std::uint64_t ours = has_claims_ ? conformance_claims(table_) : 0;
  if (ours == 0 || (ours == claims_ && !claims_broken_))
    return true;
  target_.note(PDF_MERGE_FATE::kDropped, "conformance claims");
  return drop_conformance_claims(table_, true) >= 0;
}

void MergeSettings::take_intents(MergeSource& source) {
  Freed<CPDFObj> list;
  Freed<CPDFObj> identifier;
  source.read(list, kIntents);
  if (list.as_array() != nullptr)
    find_identifier(source.table, *list.as_array(), identifier);
  if (target_.takes_settings()) {
    if (identifier.tag != kTagString || !source.import(list))
      return;
    intents_.move_from(list);
    identifier_.move_from(identifier);
    target_.note(PDF_MERGE_FATE::kKept, "output intents");
    return;
  }
  if (same_text(identifier.as_string(), identifier_.as_string()))
    return;
  if (!intents_.is_null() || !list.is_null())
    target_.note(PDF_MERGE_FATE::kDropped, "output intents");
  claims_broken_ = claims_broken_ || !intents_.is_null();
  intents_.free();
}

void MergeSettings::put(CPDFDictionary& catalog) {
  const CPDFObj* const version = catalog.get_item("Version");
  if (version_[0] != 0 &&
      (version == nullptr || version->as_name() == nullptr || std::strcmp(version->as_name(), version_) < 0))
    catalog.set_item_name("Version", version_);
  if (CPDFDictionary* const holder = target_.stored_dict(holder_)) {
    for (std::int32_t i = 0; i < holder->count; ++i) {
      if (catalog.get_item(holder->items[i]->key()) == nullptr)
        catalog.set_item(holder->items[i]->key(), holder->items[i]);
    }
    holder->clear();
  }
  if (intents_.as_array() != nullptr && intents_.as_array()->count > 0)
    catalog.move_item(kIntents, intents_);
}

}  // namespace sheaf
