// Differences are reported at the deepest level where they are: a value of another kind, one that is missing, or other
// data.
#include "sheaf/document/diff/value_walk_internal.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostSteps = std::size_t{1} << 24;
constexpr int kMostStoredDepth = 600;  // nothing is read that is nested deeper

// Leads upwards or sideways, or is compared page by page.
constexpr const char* kLeftOut[] = {"Parent", "Prev", "Pages"};
// Says how a stream is stored.
constexpr const char* kStoring[] = {"Length", "Filter", "DecodeParms", "DL"};

template <std::size_t N>
bool is_among(const char* const (&keys)[N], const char* key) {
  return std::any_of(std::begin(keys), std::end(keys), [key](const char* one) { return std::strcmp(one, key) == 0; });
}

bool same_text(const PDF_String& a, const PDF_String& b) {
  return a.len == b.len && (a.len == 0 || std::memcmp(a.data, b.data, static_cast<std::size_t>(a.len)) == 0);
}

// Of values that hold no others; a reference is compared by its number.
bool same_plain(const CPDFObj& a, const CPDFObj& b) {
  if (a.is_number() && b.is_number())
    return a.to_real() == b.to_real();
  if (a.tag != b.tag)
    return false;
  switch (a.tag) {
    case kTagBool:
      return a.as_bool() == b.as_bool();
    case kTagString:
      return same_text(a.as_string(), b.as_string());
    case kTagName:
      return a.as_name() != nullptr && b.as_name() != nullptr && std::strcmp(a.as_name(), b.as_name()) == 0;
    case kTagRef:
      return a.as_ref() == b.as_ref();
    default:
      return true;
  }
}

const CPDFDictionary* dictionary_of(const CPDFObj& value) {
  return value.as_stream() != nullptr ? &value.as_stream()->dict : value.as_dict();
}

bool same_nested(const CPDFObj& a, const CPDFObj& b, int depth);

bool same_dictionaries(const CPDFDictionary& a, const CPDFDictionary& b, int depth) {
  if (a.count != b.count)
    return false;
  for (std::int32_t i = 0; i < a.count; ++i) {
    if (std::strcmp(a.items[i]->key(), b.items[i]->key()) != 0 || !same_nested(*a.items[i], *b.items[i], depth))
      return false;
  }
  return true;
}

bool same_nested(const CPDFObj& a, const CPDFObj& b, int depth) {
  const CPDFDictionary* const dict_a = dictionary_of(a);
  const CPDFDictionary* const dict_b = dictionary_of(b);
  if (a.tag != b.tag || depth > kMostStoredDepth)
    return a.is_number() && same_plain(a, b);
  if (dict_a != nullptr && dict_b != nullptr)
    return same_dictionaries(*dict_a, *dict_b, depth + 1);
  if (a.as_array() == nullptr)
    return same_plain(a, b);
  if (a.as_array()->count != b.as_array()->count)
    return false;
  for (std::int32_t i = 0; i < a.as_array()->count; ++i) {
    if (!same_nested(a.as_array()->items[i], b.as_array()->items[i], depth + 1))
      return false;
  }
  return true;
}

bool same_raw(CPDFDoc& doc_a, const CPDFStreamRec& a, CPDFDoc& doc_b, const CPDFStreamRec& b) {
  int size_a = 0;
  int size_b = 0;
  const HeapBlock<unsigned char> bytes_a(doc_a.table().load_raw_data(&a, size_a));
  const HeapBlock<unsigned char> bytes_b(doc_b.table().load_raw_data(&b, size_b));
  return size_a == size_b && static_cast<bool>(bytes_a) == static_cast<bool>(bytes_b) &&
         (size_a == 0 || std::memcmp(bytes_a.get(), bytes_b.get(), static_cast<std::size_t>(size_a)) == 0);
}

}  // namespace

bool same_stored(CPDFDoc& doc_a, const CPDFObj& a, CPDFDoc& doc_b, const CPDFObj& b) {
  if (!same_nested(a, b, 0))
    return false;
  return a.as_stream() == nullptr || same_raw(doc_a, *a.as_stream(), doc_b, *b.as_stream());
}

ValueWalk::~ValueWalk() {
  for (Node& node : nodes_) {
    node.a.free();
    node.b.free();
  }
  resolved_a_.free();
  resolved_b_.free();
}

void ValueWalk::begin(const char* name, const CPDFObj& a, const CPDFObj& b) {
  push(-1, name, &a, &b);
}

void ValueWalk::push(std::int32_t parent, std::string_view key, const CPDFObj* a, const CPDFObj* b) {
  Node node{parent, static_cast<std::uint32_t>(keys_.size()), static_cast<std::uint32_t>(key.size()), {}, {}};
  if (nodes_.size() >= kMostSteps)
    return;
  for (const char c : key)
    keys_.push(c);
  if (a != nullptr)
    node.a.copy_from(a);
  if (b != nullptr)
    node.b.copy_from(b);
  const auto index = nodes_.count();
  if (!nodes_.push(node)) {
    node.a.free();
    node.b.free();
    return;
  }
  waiting_.push(index);
}

// Whether this pair of objects was compared already, or one of them with too many others to go on.
bool ValueWalk::was_seen(const CPDFObj& a, const CPDFObj& b) {
  constexpr std::int32_t kMostTimes = 4;
  const std::int32_t num_a = a.as_ref().num;
  const std::int32_t num_b = b.as_ref().num;
  if (num_a == 0 || num_b == 0)
    return false;
  const std::int32_t times = times_.get(num_a);
  if (seen_.get(num_a) == num_b || times == kMostTimes)
    return true;
  return !seen_.set(num_a, num_b) || !times_.set(num_a, times + 1);
}

bool ValueWalk::step() {
  differs_ = false;
  if (waiting_.empty())
    return false;
  at_ = waiting_.back();
  waiting_.pop();
  Node& node = nodes_[at_];
  Freed<CPDFObj> a;
  Freed<CPDFObj> b;
  a.move_from(node.a);
  b.move_from(node.b);
  if (was_seen(a, b))
    return true;
  resolved_a_ = a_.table().value(&a);
  resolved_b_ = b_.table().value(&b);
  has_a_ = !resolved_a_.is_null();
  has_b_ = !resolved_b_.is_null();
  differs_ = !open(at_);
  return true;
}

// Puts what the present values hold among the waiting. False when they differ themselves.
bool ValueWalk::open(std::int32_t index) {
  const CPDFDictionary* const dict_a = dictionary_of(resolved_a_);
  const CPDFDictionary* const dict_b = dictionary_of(resolved_b_);
  if (resolved_a_.tag != resolved_b_.tag)
    return resolved_a_.is_number() && resolved_b_.is_number() && same_plain(resolved_a_, resolved_b_);
  if (dict_a != nullptr && dict_b != nullptr) {
    const CPDFObj* const type = dict_a->get_item(CPDFDictionary::sm_tag_type);
    if (type != nullptr && (type->is_name("Page") || type->is_name("Pages")))
      return true;
    const bool streams = resolved_a_.as_stream() != nullptr;
    open_dictionaries(index, *dict_a, *dict_b, streams);
    return !streams || same_data();
  }
  const CPDFArray* const list_a = resolved_a_.as_array();
  const CPDFArray* const list_b = resolved_b_.as_array();
  if (list_a == nullptr || list_b == nullptr)
    return same_plain(resolved_a_, resolved_b_);
  for (std::int32_t i = std::max(list_a->count, list_b->count); i-- > 0;) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof(digits), i).ptr;
    push(index, {digits, static_cast<std::size_t>(end - digits)}, list_a->get(i), list_b->get(i));
  }
  return true;
}

void ValueWalk::open_dictionaries(std::int32_t index, const CPDFDictionary& a, const CPDFDictionary& b, bool streams) {
  const auto takes = [streams](const char* key) {
    return !is_among(kLeftOut, key) && !(streams && is_among(kStoring, key));
  };
  for (std::int32_t i = b.count; i-- > 0;) {
    const char* const key = b.items[i]->key();
    if (takes(key) && a.get_item(key) == nullptr)
      push(index, key, nullptr, b.items[i]);
  }
  for (std::int32_t i = a.count; i-- > 0;) {
    const char* const key = a.items[i]->key();
    if (takes(key))
      push(index, key, a.items[i], b.get_item(key));
  }
}

// Whether two streams decode to the same bytes; those that do not decode are compared as they are stored.
bool ValueWalk::same_data() const {
  const CPDFStreamRec& rec_a = *resolved_a_.as_stream();
  const CPDFStreamRec& rec_b = *resolved_b_.as_stream();
  if (same_raw(a_, rec_a, b_, rec_b) &&
      same_nested(a_.table().value(&rec_a.dict, "Filter"), b_.table().value(&rec_b.dict, "Filter"), 0))
    return true;
  const std::unique_ptr<CPDFStream> data_a(a_.table().make_stream(&rec_a));
  const std::unique_ptr<CPDFStream> data_b(b_.table().make_stream(&rec_b));
  if (data_a == nullptr || data_b == nullptr)
    return false;
  constexpr int kBlock = 8192;
  constexpr std::int64_t kMost = std::int64_t{1} << 28;
  char block_a[kBlock];
  char block_b[kBlock];
  for (std::int64_t total = 0; total < kMost; total += kBlock) {
    const auto fill = [](CPDFStream& from, char* to) {
      int size = 0;
      for (int got = 1; size < kBlock && got > 0; size += std::max(got, 0))
        got = from.read_block(to + size, kBlock - size);
      return size;
    };
    const int size_a = fill(*data_a, block_a);
    const int size_b = fill(*data_b, block_b);
    if (size_a != size_b || std::memcmp(block_a, block_b, static_cast<std::size_t>(size_a)) != 0)
      return false;
    if (size_a < kBlock)
      return true;
  }
  return false;
}

std::string_view ValueWalk::path() {
  GrowArray<std::int32_t> way;
  for (std::int32_t at = at_; at >= 0; at = nodes_[at].parent)
    way.push(at);
  path_.clear();
  for (std::size_t i = way.size(); i-- > 0;) {
    const Node& node = nodes_[way[i]];
    if (!path_.empty())
      path_.push('/');
    for (std::uint32_t k = 0; k < node.key_size; ++k)
      path_.push(keys_[node.key + k]);
  }
  return {path_.begin(), path_.size()};
}

}  // namespace sheaf
