// First all content is read and its names are noted, then the dictionaries are gone over.
#include "sheaf/document/writer/resource_pruner.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_reader.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/filters/stream_flaw.h"

namespace sheaf {

namespace {

constexpr const char* kParts[] = {"Font", "XObject", "ExtGState", "ColorSpace", "Pattern", "Shading", "Properties"};
constexpr std::int32_t kEverywhere = 0;  // the holder of names that are kept in all dictionaries
// The most that all content together may come to: this, and kMostGrowth times the file. Shared content counts once for
// each page.
constexpr std::int64_t kLeastWork = std::int64_t{64} * 1024 * 1024;
constexpr std::int64_t kMostGrowth = 100;
constexpr std::size_t kFirstSort = 1 << 16;

std::uint64_t hash_of(std::string_view name) {
  std::uint64_t hash = 0xCBF29CE484222325u;  // FNV-1a
  for (const char c : name)
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
  return hash;
}

bool is_default_space(const char* name) {
  return std::strncmp(name, "Default", 7) == 0;
}

}  // namespace

ResourcePruner::ResourcePruner(CPDFDoc& doc, const ObjectSurvey& survey)
    : doc_(doc), table_(doc.table()), survey_(survey), work_left_(kLeastWork + kMostGrowth * table_.stream->GetLen()) {}

bool ResourcePruner::add_use(std::int32_t holder, std::string_view name) {
  if (uses_.size() >= std::max(kFirstSort, 2 * sorted_)) {
    std::sort(uses_.begin(), uses_.end());
    const auto end = static_cast<std::size_t>(std::unique(uses_.begin(), uses_.end()) - uses_.begin());
    while (uses_.size() > end)
      uses_.pop();
    sorted_ = end;
  }
  return uses_.push({holder, hash_of(name)});
}

// Every name in an operand counts: of fonts and images, in the dictionaries of marked content and inline images.
bool ResourcePruner::add_names(const CPDFObj& operand, const GrowArray<std::int32_t>& holders) {
  GrowArray<const CPDFObj*> waiting;
  bool good = waiting.push(&operand);
  while (good && !waiting.empty()) {
    const CPDFObj& at = *waiting.back();
    waiting.pop();
    if (const char* const name = at.as_name()) {
      for (const std::int32_t holder : holders)
        good = good && add_use(holder, name);
    } else if (const CPDFArray* const array = at.as_array()) {
      for (std::int32_t i = 0; i < array->count; ++i)
        good = good && waiting.push(array->items + i);
    } else if (const CPDFDictionary* const dict = at.as_dict()) {
      for (std::int32_t i = 0; i < dict->count; ++i)
        good = good && waiting.push(dict->items[i]);
    }
  }
  return good;
}

void ResourcePruner::keep_all(const GrowArray<std::int32_t>& holders) {
  for (const std::int32_t holder : holders)
    kept_.visit(holder);
}

// False when there is no memory.
bool ResourcePruner::take_content(std::string_view text, const GrowArray<std::int32_t>& holders) {
  ContentReader reader(text);
  while (reader.next()) {
    if (reader.fault() != ContentFault::kNone && reader.fault() != ContentFault::kStray)
      keep_all(holders);
    for (std::int32_t i = 0; i < reader.operands().count; ++i) {
      if (!add_names(reader.operands().items[i], holders))
        return false;
    }
  }
  return true;
}

// Decodes the stream `value` behind `text`. False when it cannot be read to its end.
bool ResourcePruner::append_data(const CPDFObj& value, GrowArray<char>& text) {
  const CPDFStreamRec* const stream = value.as_stream();
  if (stream == nullptr)
    return value.is_null();
  const std::unique_ptr<CPDFStream> decoder(table_.make_stream(stream));
  if (decoder == nullptr)
    return stream->source == nullptr || table_.value(stream->dict.get_item("Length")).to_int() == 0;
  char block[4096];
  const std::size_t begin = text.size();
  const auto most = static_cast<std::size_t>(decoder->most_text(INT32_MAX));
  for (int got = decoder->read_block(block, sizeof(block)); got > 0; got = decoder->read_block(block, sizeof(block))) {
    for (int i = 0; i < got; ++i) {
      if (!text.push(block[i]))
        return false;
    }
    work_left_ -= got;
    if (work_left_ < 0 || text.size() - begin >= most)
      return false;
  }
  text.push('\n');
  return find_flaw(*decoder) == kFlawNone;
}

void ResourcePruner::add_holder(std::int32_t num, std::int32_t role, GrowArray<std::int32_t>& holders) {
  holders.push(num);
  const std::int32_t before = roles_.get(num);
  if (before == kNoHolder && roles_.set(num, role))
    all_holders_.push(num);
  else if (before != role)
    kept_.visit(num);  // nobody can say which of its keys are names
}

// The dictionaries in which names of content with these resources are looked up: `owner` is the object that holds
// `resources`, directly or by reference.
void ResourcePruner::find_holders(std::int32_t owner, const CPDFObj* resources, GrowArray<std::int32_t>& holders) {
  const Freed<CPDFObj> value = table_.value(resources);
  const CPDFDictionary* const dict = value.as_dict();
  if (dict == nullptr) {
    holders.push(kEverywhere);
    return;
  }
  add_holder(resources->tag == kTagRef ? survey_.standing_for(resources->as_ref().num) : owner, kResources, holders);
  for (const char* key : kParts) {
    const CPDFObj* const part = dict->get_item(key);
    if (part != nullptr && part->tag == kTagRef)
      add_holder(survey_.standing_for(part->as_ref().num), kPart, holders);
  }
}

// The same for what the nodes above a page hand down. Large resources of many pages are read once.
void ResourcePruner::find_holders_above(const PDF_INHERITED& above, GrowArray<std::int32_t>& holders) {
  const std::int32_t node = above.holder > 0 ? above.holder : table_.root.as_ref().num;
  const std::int32_t key = above.has_direct_resources ? node : above.resources.num;
  if (key == 0 || key != shared_) {
    Freed<CPDFObj> resources;
    if (above.has_direct_resources) {
      doc_.read_direct_resources(resources, above.holder);
      owners_.visit(node);
    } else if (above.resources.num != 0) {
      resources.set_ref(above.resources);
    }
    shared_ = key;
    shared_holders_.clear();
    find_holders(node, &resources, shared_holders_);
  }
  for (const std::int32_t holder : shared_holders_)
    holders.push(holder);
}

bool ResourcePruner::look_at_page(std::int32_t num, const CPDFDictionary& page,
                                  const GrowArray<std::int32_t>& holders) {
  owners_.visit(num);
  GrowArray<char> text;
  const Freed<CPDFObj> contents = table_.value(&page, "Contents");
  bool whole = true;
  if (const CPDFArray* const list = contents.as_array()) {
    for (std::int32_t i = 0; i < list->count; ++i)
      whole = append_data(table_.value(list, i), text) && whole;
  } else {
    whole = append_data(contents, text);
  }
  if (!whole)
    keep_all(holders);
  return take_content({text.begin(), text.size()}, holders);
}

bool ResourcePruner::look_at_pages() {
  for (int i = 0; i < doc_.page_count(); ++i) {
    CPDFPage page;
    GrowArray<std::int32_t> holders;
    if (!doc_.load_page_alone(i, page))
      continue;
    const CPDFObj* const own = page.dict.get_item(CPDFDictionary::sm_tag_res);
    PDF_INHERITED above = page.from_above;
    if (!doc_.is_absent(own))
      above = PDF_INHERITED{};
    if (above.has_direct_resources || above.resources.num != 0 || own == nullptr) {
      find_holders_above(above, holders);
    } else if (own->tag == kTagRef) {
      above.resources = own->as_ref();
      find_holders_above(above, holders);
    } else {
      find_holders(page.ref.num, own, holders);
    }
    if (!look_at_page(page.ref.num, page.dict, holders))
      return false;
  }
  return true;
}

bool ResourcePruner::look_at_stream(std::int32_t num, const CPDFObj& value) {
  const CPDFDictionary& dict = value.as_stream()->dict;
  const bool is_form = table_.value(&dict, CPDFDictionary::sm_tag_subtype).is_name("Form");
  if (!is_form && table_.value(&dict, "PatternType").to_int() != 1)
    return true;
  owners_.visit(num);
  GrowArray<std::int32_t> holders;
  GrowArray<char> text;
  find_holders(num, dict.get_item(CPDFDictionary::sm_tag_res), holders);
  if (!append_data(value, text))
    keep_all(holders);
  return take_content({text.begin(), text.size()}, holders);
}

bool ResourcePruner::look_at_font(std::int32_t num, const CPDFDictionary& font) {
  owners_.visit(num);
  GrowArray<std::int32_t> holders;
  find_holders(num, font.get_item(CPDFDictionary::sm_tag_res), holders);
  const Freed<CPDFObj> glyphs = table_.value(&font, "CharProcs");
  const CPDFDictionary* const dict = glyphs.as_dict();
  for (std::int32_t i = 0; dict != nullptr && i < dict->count; ++i) {
    GrowArray<char> text;
    if (!append_data(table_.value(dict->items[i]), text))
      keep_all(holders);
    if (!take_content({text.begin(), text.size()}, holders))
      return false;
  }
  return true;
}

bool ResourcePruner::look_at_objects() {
  GrowArray<std::int32_t> everywhere;
  if (!everywhere.push(kEverywhere))
    return false;
  for (const std::int32_t num : survey_.objects()) {
    Freed<CPDFObj> value;
    table_.get_stored(value, doc_.reference_to(num));
    if (value.as_stream() != nullptr) {
      if (!look_at_stream(num, value))
        return false;
      continue;
    }
    const CPDFDictionary* const dict = value.as_dict();
    if (dict == nullptr)
      continue;
    const CPDFObj* const type = dict->get_item(CPDFDictionary::sm_tag_type);
    if (type != nullptr && type->is_name("Pages"))
      owners_.visit(num);  // its pages have been asked
    const bool is_template = survey_.kind(num) == ObjectSurvey::kPage && !owners_.has(num);
    GrowArray<std::int32_t> holders;
    if (is_template)
      find_holders(num, dict->get_item(CPDFDictionary::sm_tag_res), holders);
    if (is_template && !look_at_page(num, *dict, holders))
      return false;
    const CPDFObj* const subtype = dict->get_item(CPDFDictionary::sm_tag_subtype);
    if (subtype != nullptr && subtype->is_name("Type3") && !look_at_font(num, *dict))
      return false;
    const CPDFObj* const appearance = dict->get_item("DA");
    const PDF_String text = appearance != nullptr ? appearance->as_string() : PDF_String{0, nullptr};
    if (text.data != nullptr && !take_content({text.data, static_cast<std::size_t>(text.len)}, everywhere))
      return false;
  }
  return true;
}

// A dictionary to which anything but an owner refers, the form's default resources for one, has users that are not
// known. Parts are referred to by their dictionary, which is then a holder.
void ResourcePruner::keep_shared_with_others() {
  for (const std::int32_t num : survey_.objects()) {
    if (owners_.has(num) || roles_.get(num) == kResources)
      continue;
    survey_.each_reference(num, [this](std::int32_t named) {
      const std::int32_t to = survey_.standing_for(named);
      if (roles_.get(to) != kNoHolder && !owners_.has(to))
        kept_.visit(to);
    });
  }
}

bool ResourcePruner::is_used(std::int32_t holder, const char* name) const {
  const std::uint64_t hash = hash_of(name);
  return std::binary_search(uses_.begin(), uses_.end(), Use{holder, hash}) ||
         std::binary_search(uses_.begin(), uses_.end(), Use{kEverywhere, hash});
}

bool ResourcePruner::prune_part(CPDFDictionary& part, std::int32_t holder) {
  const std::int64_t before = count_;
  for (std::int32_t i = part.count - 1; i >= 0; --i) {
    const char* const name = part.items[i]->key();
    if (is_default_space(name) || is_used(holder, name))
      continue;
    part.set_item(name, nullptr);
    ++count_;
  }
  return count_ != before;
}

bool ResourcePruner::prune_resources(CPDFDictionary& resources, std::int32_t owner) {
  bool changed = false;
  for (const char* key : kParts) {
    CPDFObj* const part = resources.get_item(key);
    if (part != nullptr && part->as_dict() != nullptr)
      changed = prune_part(*part->as_dict(), owner) || changed;
  }
  return changed;
}

// An owner of direct resources, resources, or a part of them.
bool ResourcePruner::prune_object(std::int32_t num) {
  Freed<CPDFObj> value;
  const PDF_REF ref = doc_.reference_to(num);
  table_.get_stored(value, ref);
  CPDFDictionary* const dict = value.as_dict_or_stream();
  if (dict == nullptr || kept_.has(num))
    return true;
  bool changed = false;
  if (owners_.has(num)) {
    CPDFObj* const resources = dict->get_item(CPDFDictionary::sm_tag_res);
    changed = resources != nullptr && resources->as_dict() != nullptr && prune_resources(*resources->as_dict(), num);
  } else {
    changed = roles_.get(num) == kPart ? prune_part(*dict, num) : prune_resources(*dict, num);
  }
  return !changed || table_.store_object(ref, value);
}

std::int64_t ResourcePruner::prune() {
  if (!look_at_pages() || !look_at_objects())
    return -1;
  keep_shared_with_others();
  std::sort(uses_.begin(), uses_.end());
  for (const std::int32_t num : all_holders_) {
    if (!prune_object(num))
      return -1;
  }
  return count_;
}

}  // namespace sheaf
