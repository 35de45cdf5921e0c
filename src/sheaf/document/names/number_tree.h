// Reading number trees whose values are dictionaries (ISO 32000-1, 7.9.7), such as page labels.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

class NumberTree {
public:
  NumberTree() = default;
  NumberTree(const NumberTree&) = delete;
  NumberTree& operator=(const NumberTree&) = delete;
  ~NumberTree();

  /// Reads the whole tree below `root`; loops and nulls in it do no harm. `root` may be null.
  void load(CPDFXRefTable& table, const CPDFObj* root);
  bool empty() const { return entries_.empty(); }
  /// The value of the greatest key that is not above `key`, with that key in `start`; null when
  /// there is none. Borrowed.
  const CPDFDictionary* find(std::int32_t key, std::int32_t& start) const;

private:
  struct Entry {
    std::int32_t key;
    CPDFObj value;  // owned
  };
  GrowArray<Entry> entries_;  // sorted by key
};

}  // namespace sheaf
