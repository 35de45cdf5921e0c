// Comparison of values with a list of what is still to be compared, as containers can be nested deeply.
#include "sheaf/layer/same_value_internal.h"

#include <cstring>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

namespace sheaf::layer {

namespace {

struct Pair {
  const CPDFObj* a;
  const CPDFObj* b;
};
using Pairs = GrowArray<Pair>;

bool same_dictionary(const CPDFDictionary& a, const CPDFDictionary& b, Pairs& waiting) {
  if (a.count != b.count)
    return false;
  for (std::int32_t i = 0; i < a.count; ++i) {
    if (std::strcmp(a.items[i]->key(), b.items[i]->key()) != 0 || !waiting.push({a.items[i], b.items[i]}))
      return false;
  }
  return true;
}

bool same_array(const CPDFArray& a, const CPDFArray& b, Pairs& waiting) {
  if (a.count != b.count)
    return false;
  for (std::int32_t i = 0; i < a.count; ++i) {
    if (!waiting.push({a.items + i, b.items + i}))
      return false;
  }
  return true;
}

bool same_stream(const CPDFStreamRec& a, const CPDFStreamRec& b, Pairs& waiting) {
  return a.offset == b.offset && a.length == b.length && a.source == b.source && a.ref == b.ref && a.plain == b.plain &&
         same_dictionary(a.dict, b.dict, waiting);
}

bool same_bytes(const PDF_String& a, const PDF_String& b) {
  return a.len == b.len && (a.len == 0 || std::memcmp(a.data, b.data, static_cast<std::size_t>(a.len)) == 0);
}

bool same_top(const CPDFObj& a, const CPDFObj& b, Pairs& waiting) {
  if (a.tag != b.tag)
    return false;
  switch (a.tag) {
    case kTagString:
      return same_bytes(a.as_string(), b.as_string());
    case kTagName:
      return a.is_name(b.as_name());
    case kTagArray:
      return same_array(*a.as_array(), *b.as_array(), waiting);
    case kTagDict:
      return same_dictionary(*a.as_dict(), *b.as_dict(), waiting);
    case kTagStream:
      return same_stream(*a.as_stream(), *b.as_stream(), waiting);
    default:
      return a.value == b.value;
  }
}

}  // namespace

bool same_value(const CPDFObj& a, const CPDFObj& b) {
  Pairs waiting;
  Pair next{&a, &b};
  while (same_top(*next.a, *next.b, waiting)) {
    if (waiting.empty())
      return true;
    next = waiting.back();
    waiting.pop();
  }
  return false;
}

}  // namespace sheaf::layer
