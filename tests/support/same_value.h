// Whether two values are the same throughout: tags, bits, bytes, keys and their order.
#pragma once

#include <cstring>

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

using namespace sheaf;

inline bool same_value(const CPDFObj& a, const CPDFObj& b);

inline bool same_items(const CPDFDictionary& a, const CPDFDictionary& b) {
  if (a.count != b.count)
    return false;
  for (int i = 0; i < a.count; ++i) {
    if (std::strcmp(a.items[i]->key(), b.items[i]->key()) != 0 || !same_value(*a.items[i], *b.items[i]))
      return false;
  }
  return true;
}

/// Streams are compared by their dictionaries. Recurses: for values as deep as the reader makes them.
inline bool same_value(const CPDFObj& a, const CPDFObj& b) {
  if (a.tag != b.tag)
    return false;
  switch (a.tag) {
    case kTagString: {
      const PDF_String x = a.as_string();
      const PDF_String y = b.as_string();
      return x.len == y.len && (x.len == 0 || std::memcmp(x.data, y.data, static_cast<std::size_t>(x.len)) == 0);
    }
    case kTagName:
      return std::strcmp(a.as_name(), b.as_name()) == 0;
    case kTagArray:
      if (a.as_array()->count != b.as_array()->count)
        return false;
      for (int i = 0; i < a.as_array()->count; ++i) {
        if (!same_value(*a.as_array()->get(i), *b.as_array()->get(i)))
          return false;
      }
      return true;
    case kTagDict:
    case kTagStream:
      return same_items(*a.as_dict_or_stream(), *b.as_dict_or_stream());
    default:
      return a.value == b.value;
  }
}
