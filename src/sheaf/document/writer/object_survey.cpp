// Waves of numbers, each in the order of the file, so that a chain of a million objects holds one of them in memory at
// a time, and members of one object stream are read together.
#include "sheaf/document/writer/object_survey.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/keyed_sort.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"

namespace sheaf {

namespace {

constexpr int kMostLinks = 32;

bool is_structure(const CPDFDictionary& dict) {
  const CPDFObj* const type = dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && (type->is_name("ObjStm") || type->is_name("XRef"));
}

}  // namespace

ObjectSurvey::ObjectSurvey(CPDFDoc& doc) : doc_(doc), table_(doc.table()) {}

bool ObjectSurvey::enter(std::int32_t num) {
  if (num < 1 || !table_.know_entry(object_index(num)))
    return true;
  const std::size_t at = object_index(num);
  if (at >= kinds_.size() && !kinds_.resize(table_.xref_count))
    return false;
  if (kinds_[at] != kUnknown)
    return true;
  kinds_[at] = kNothing;
  return waiting_.push(num);
}

ObjectSurvey::Kind ObjectSurvey::kind_of(std::int32_t num, const CPDFObj& value) {
  if (value.tag == kTagRef)
    return replace(num, value.as_ref().num) ? kOther : kNothing;
  if (const CPDFStreamRec* const stream = value.as_stream())
    return is_structure(stream->dict) ? kNothing : kStream;
  if (value.is_null() || value.tag == kTagNoValue)
    return kNothing;
  const CPDFDictionary* const dict = value.as_dict();
  const Freed<CPDFObj> type = table_.value(dict, CPDFDictionary::sm_tag_type);
  if (keeps_references_ && dict != nullptr) {
    if (type.is_name("Pages"))
      tree_nodes_.visit(num);
    if (dict->get_item("Thumb") != nullptr)
      thumbnails_.visit(num);
  }
  return type.is_name("Page") ? kPage : kValue;
}

bool ObjectSurvey::collect(std::int32_t num, const CPDFObj& value) {
  found_.clear();
  if (const CPDFStreamRec* const stream = value.as_stream()) {
    for (std::int32_t i = 0; i < stream->dict.count; ++i) {
      if (std::strcmp(stream->dict.items[i]->key(), CPDFDictionary::sm_tag_length) != 0)
        collect_references(*stream->dict.items[i], found_);
    }
  } else {
    collect_references(value, found_);
  }
  for (const std::int32_t to : found_) {
    if (!enter(to))
      return false;
  }
  if (!keeps_references_ || found_.empty())
    return true;
  const std::size_t at = object_index(num);
  if (edges_.empty() && !edges_.push(0))
    return false;
  if (at >= first_edge_.size() && !first_edge_.resize(std::max<std::size_t>(at + 1, table_.xref_count)))
    return false;
  first_edge_[at] = static_cast<std::uint32_t>(edges_.size());
  bool kept = push_edge(static_cast<std::uint32_t>(found_.size()));
  std::int32_t last = num;
  for (const std::int32_t to : found_) {
    const auto step = object_index(to) - object_index(last);
    kept = kept && push_edge(step << 1 ^ (0u - (step >> 31)));
    last = to;
  }
  return kept;
}

bool ObjectSurvey::push_edge(std::uint32_t value) {
  for (; value > kEdgeMask; value >>= kEdgeBits) {
    if (!edges_.push(static_cast<std::uint8_t>(value | (kEdgeMask + 1))))
      return false;
  }
  return edges_.push(static_cast<std::uint8_t>(value));
}

void ObjectSurvey::read(CPDFObj& out, std::int32_t num) const {
  if (ends_inheritance_)
    doc_.get_without_inheritance(out, num);
  else
    table_.get_stored(out, doc_.reference_to(num));
}

bool ObjectSurvey::visit(std::int32_t num) {
  Freed<CPDFObj> value;
  read(value, num);
  const Kind kind = kind_of(num, value);
  kinds_[object_index(num)] = kind;
  if (kind == kOther)
    return enter(value.as_ref().num);
  if (kind == kNothing)
    return true;
  return objects_.push(num) && collect(num, value);
}

void ObjectSurvey::sort_by_place(GrowArray<std::int32_t>& numbers) {
  const auto place = [this](std::int32_t num) {
    const PDF_XREF& entry = *table_.entry(num);
    if (entry.is_in_memory())
      return UINT32_MAX;  // its offset is that of a slot
    const bool has_container = entry.is_compressed() && entry.offset < table_.xref_count;
    return has_container ? table_.objstm_place(entry.offset) : entry.offset;
  };
  sort_by_key(numbers, place);
  // The members of one object stream, by their places in it.
  const auto index = [this](std::int32_t num) {
    const PDF_XREF& entry = *table_.entry(num);
    return entry.is_compressed() ? entry.gen : num;
  };
  const auto in_front = [&index](std::int32_t a, std::int32_t b) { return index(a) < index(b); };
  for (std::int32_t* first = numbers.begin(); first != numbers.end();) {
    const std::uint32_t here = place(*first);
    std::int32_t* const last = std::find_if(first, numbers.end(), [&](std::int32_t num) { return place(num) != here; });
    if (!std::is_sorted(first, last, in_front))
      std::sort(first, last, in_front);
    first = last;
  }
}

bool ObjectSurvey::run(bool keeps_references) {
  keeps_references_ = keeps_references;
  bool good = kinds_.resize(table_.xref_count);
  for (const CPDFObj* start : {&table_.root, &table_.info})
    good = good && (start->tag != kTagRef || enter(start->as_ref().num));
  GrowArray<std::int32_t> wave;
  while (good && !waiting_.empty()) {
    wave.swap(waiting_);
    sort_by_place(wave);
    for (std::size_t i = 0; good && i < wave.size(); ++i)
      good = visit(wave[i]);
    wave.clear();
  }
  waiting_.reset();
  if (good)
    sort_by_place(objects_);
  return good;
}

std::int32_t ObjectSurvey::standing_for(std::int32_t num) const {
  for (int step = 0; step < kMostLinks; ++step) {
    if (kind(num) != kOther)
      return kind(num) == kUnknown || kind(num) == kNothing ? 0 : num;
    num = stands_for_.get(num);
  }
  return 0;
}

bool ObjectSurvey::replace(std::int32_t num, std::int32_t other) {
  if (!stands_for_.set(num, other))
    return false;
  kinds_[object_index(num)] = kOther;
  return true;
}

void ObjectSurvey::forget_replaced() {
  std::size_t kept = 0;
  for (const std::int32_t num : objects_) {
    if (kind(num) != kOther)
      objects_[kept++] = num;
  }
  while (objects_.size() > kept)
    objects_.pop();
}

}  // namespace sheaf
