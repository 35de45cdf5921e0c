// A walk over the references that a value holds, which may change each of them.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

namespace sheaf {

/// Calls `visit` with each reference in `value`, itself or within containers. `waiting` is scratch space.
template <class Visit>
void each_reference(CPDFObj& value, GrowArray<CPDFObj*>& waiting, const Visit& visit) {
  waiting.clear();
  waiting.push(&value);
  while (!waiting.empty()) {
    CPDFObj& at = *waiting.back();
    waiting.pop();
    if (at.tag == kTagRef) {
      visit(at);
    } else if (CPDFArray* const array = at.as_array()) {
      for (std::int32_t i = 0; i < array->count; ++i) {
        if (array->items[i].tag >= kTagArray)
          waiting.push(array->items + i);
      }
    } else if (CPDFDictionary* const dict = at.as_dict_or_stream()) {
      for (std::int32_t i = 0; i < dict->count; ++i) {
        if (dict->items[i]->tag >= kTagArray)
          waiting.push(dict->items[i]);
      }
    }
  }
}

}  // namespace sheaf
