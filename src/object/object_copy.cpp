// Deep copies. Containers nest at most as deep as the reader lets them, or as deep as a program
// builds them by hand, so the copy of a value recurses along its nesting.
#include <cstring>
#include <new>

#include "object/array.h"
#include "object/dictionary.h"
#include "object/object.h"
#include "object/stream_rec.h"

void CPDFObj::copy_from(const CPDFObj* src) {
  free();
  if (src == nullptr)
    return;
  switch (src->tag) {
    case kTagString:
      set_string(src->data, src->low_word());
      return;
    case kTagName:
      set_name(src->as_name());
      return;
    case kTagArray:
      if (auto* array = new (std::nothrow) CPDFArray) {
        array->copy_from(src->as_array());
        take_array(array);
      }
      return;
    case kTagDict:
      if (auto* dict = new (std::nothrow) CPDFDictionary) {
        dict->copy_from(src->as_dict());
        take_dict(dict);
      }
      return;
    case kTagStream:
      if (auto* rec = new (std::nothrow) CPDFStreamRec) {
        if (const CPDFStreamRec* from = src->as_stream()) {
          rec->dict.copy_from(&from->dict);
          rec->copy_location(*from);
        }
        take_stream(rec);
      }
      return;
    default:
      value = src->value;
      tag = src->tag;
      return;
  }
}
