// Arrays: a contiguous block of values.
#pragma once

#include <cstdint>

#include "sheaf/base/heap.h"
#include "sheaf/object/object.h"

/// Owned elements, element i being `items[i]`. Empty when value-initialised; released by `clear`.
class CPDFArray : public QVHeapObject<CPDFArray> {
public:
  CPDFObj* items = nullptr;   ///< From the QVAlloc family; may be null when `count` is 0.
  std::int32_t count = 0;     ///< Elements.
  std::int32_t capacity = 0;  ///< Elements that the block has room for.

  /// Element `index`, or null. Borrowed; valid until the array changes.
  CPDFObj* get(std::int32_t index) const { return index >= 0 && index < count ? items + index : nullptr; }

  /// Each appends a deep copy; a failed allocation appends nothing.
  void append(const CPDFObj* value);
  /// Appends `value` itself, which becomes null. 0 when there is no memory: `value` then stays.
  int append_moved(CPDFObj& value);
  void append_int(int value);
  void append_bool(int value);
  void append_real(const QVFIX& value);
  void append_str(const char* bytes, int len);
  void append_name(const char* name);
  void append_ref(const PDF_REF& ref);
  void append_arr(const CPDFArray* array);
  void append_dict(const CPDFDictionary* dict);

  /// Replaces all elements by deep copies of those of `src`; null leaves the array empty.
  void copy_from(const CPDFArray* src);
  /// Releases all elements and the block. Safe twice in a row.
  void clear();
};
