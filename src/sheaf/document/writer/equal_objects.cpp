// Digests find what may be equal, and a comparison of the bytes decides. Once two objects are one, those that refer to
// them can become equal too, which takes another round.
#include "sheaf/document/writer/equal_objects.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/reference_walk.h"

namespace sheaf {

namespace {

constexpr int kMostRounds = 4;

bool has_any(const CPDFDictionary& dict, std::initializer_list<const char*> keys) {
  return std::any_of(keys.begin(), keys.end(), [&dict](const char* key) { return dict.get_item(key) != nullptr; });
}

bool is_name_of(const CPDFObj* item, std::initializer_list<const char*> names) {
  return item != nullptr &&
         std::any_of(names.begin(), names.end(), [item](const char* name) { return item->is_name(name); });
}

// Numbers, such as widths, or a colour space.
bool is_plain_array(const CPDFArray& array) {
  if (array.count == 0)
    return false;
  if (is_name_of(array.get(0), {"ICCBased", "Indexed", "Separation", "DeviceN", "CalRGB", "CalGray", "Lab", "Pattern"}))
    return true;
  return std::all_of(array.items, array.items + array.count, [](const CPDFObj& item) { return item.is_number(); });
}

bool may_be_joined(const CPDFObj& value) {
  if (const CPDFStreamRec* const stream = value.as_stream())
    return !has_any(stream->dict, {"StructParent", "StructParents", "F"});
  if (const CPDFDictionary* const dict = value.as_dict())
    return is_name_of(dict->get_item(CPDFDictionary::sm_tag_type),
                      {"Font", "FontDescriptor", "ExtGState", "Encoding", "Halftone"}) ||
           has_any(*dict, {"FunctionType", "ShadingType"});
  return value.as_array() != nullptr && is_plain_array(*value.as_array());
}

void put_text(CPDFObj& value, CQVStreamMem& text) {
  if (CPDFStreamRec* const stream = value.as_stream())
    stream->dict.set_item(CPDFDictionary::sm_tag_length, nullptr);
  value.write(&text, nullptr);
}

}  // namespace

// The value, with references to the objects that take the place of others.
bool EqualObjects::read(CPDFObj& value, std::int32_t num) {
  doc_.table().get_stored(value, doc_.reference_to(num));
  each_reference(value, waiting_, [this](CPDFObj& ref) {
    const std::int32_t other = survey_.standing_for(ref.as_ref().num);
    ref.set_ref({other, 0});
  });
  return !value.is_null();
}

bool EqualObjects::digest_data(Candidate& candidate, const CPDFObj& value) {
  const CPDFStreamRec* const stream = value.as_stream();
  candidate.has_data = stream != nullptr;
  if (stream == nullptr)
    return true;
  int len = 0;
  const HeapBlock<unsigned char> data(doc_.table().load_raw_data(stream, len));
  if (!data)
    return false;  // nobody knows whether it is equal to anything
  CQVSecSHA1 digest;
  digest.init();
  digest.update(data.get(), static_cast<unsigned>(len));
  digest.end(candidate.data.bytes);
  return true;
}

bool EqualObjects::find_candidates() {
  for (const std::int32_t num : survey_.objects()) {
    Freed<CPDFObj> value;
    Candidate candidate{};
    candidate.num = num;
    if (read(value, num) && may_be_joined(value) && digest_data(candidate, value) && !candidates_.push(candidate))
      return false;
  }
  return true;
}

bool EqualObjects::digest_all(Candidate& candidate) {
  Freed<CPDFObj> value;
  CQVStreamMem text;
  if (!read(value, candidate.num))
    return false;
  put_text(value, text);
  CQVSecSHA1 digest;
  digest.init();
  digest.update(text.data, text.len);
  if (candidate.has_data)
    digest.update(candidate.data.bytes, sizeof(candidate.data.bytes));
  digest.end(candidate.digest.bytes);
  return true;
}

bool EqualObjects::is_same(std::int32_t a, std::int32_t b) {
  Freed<CPDFObj> values[2];
  CQVStreamMem texts[2];
  HeapBlock<unsigned char> data[2];
  int len[2] = {};
  for (int i = 0; i < 2; ++i) {
    if (!read(values[i], i == 0 ? a : b))
      return false;
    if (const CPDFStreamRec* const stream = values[i].as_stream())
      data[i].reset(doc_.table().load_raw_data(stream, len[i]));
    put_text(values[i], texts[i]);
  }
  return values[0].tag == values[1].tag && texts[0].len == texts[1].len && len[0] == len[1] &&
         std::memcmp(texts[0].data, texts[1].data, texts[0].len) == 0 &&
         (len[0] == 0 || std::memcmp(data[0].get(), data[1].get(), static_cast<std::size_t>(len[0])) == 0);
}

bool EqualObjects::join_round(std::int64_t& joined) {
  for (Candidate& candidate : candidates_) {
    if (!digest_all(candidate))
      return false;
  }
  std::sort(candidates_.begin(), candidates_.end(), [](const Candidate& a, const Candidate& b) {
    const int order = std::memcmp(a.digest.bytes, b.digest.bytes, sizeof(a.digest.bytes));
    return order != 0 ? order < 0 : a.num < b.num;
  });
  std::size_t kept = 0;
  for (const Candidate& candidate : candidates_) {
    const Candidate* const before = kept != 0 ? &candidates_[kept - 1] : nullptr;
    const bool same = before != nullptr &&
                      std::memcmp(before->digest.bytes, candidate.digest.bytes, sizeof(candidate.digest.bytes)) == 0 &&
                      is_same(before->num, candidate.num);
    if (same && !survey_.replace(candidate.num, before->num))
      return false;
    joined += same ? 1 : 0;
    if (!same)
      candidates_[kept++] = candidate;
  }
  while (candidates_.size() > kept)
    candidates_.pop();
  return true;
}

bool EqualObjects::join(std::int64_t& joined) {
  joined = 0;
  if (!find_candidates())
    return false;
  for (int round = 0; round < kMostRounds; ++round) {
    const std::int64_t before = joined;
    if (!join_round(joined))
      return false;
    if (joined == before)
      break;
  }
  survey_.forget_replaced();
  return true;
}

}  // namespace sheaf
