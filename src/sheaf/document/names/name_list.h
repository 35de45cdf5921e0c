// Names with a value each, collected in any order and written as one balanced name tree
// (ISO 32000-1, 7.9.6).
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFXRefTable;

namespace sheaf {

class NameList {
public:
  struct Entry {
    PDF_String name;  ///< Owned.
    PDF_REF value;
    std::int32_t next;         // in the chain of the index
    std::int32_t last_number;  // tried after this name
  };

  NameList() = default;
  NameList(const NameList&) = delete;
  NameList& operator=(const NameList&) = delete;
  ~NameList();

  /// Forgets all names.
  void clear();
  std::int32_t size() const { return entries_.count(); }
  const Entry& at(std::int32_t index) const { return entries_[index]; }
  /// The index of `name`, or -1.
  std::int32_t find(const PDF_String& name) const;
  /// Adds `name`, which must not be there yet. Its index, or -1 when there is no memory.
  std::int32_t add(const PDF_String& name, const PDF_REF& value);
  void set_value(std::int32_t index, const PDF_REF& value) { entries_[index].value = value; }
  /// Adds `name` or, where that is taken, the name with the first free number after it.
  std::int32_t add_unique(const PDF_String& name, const PDF_REF& value);
  /// Stores the tree in `table`; its root's reference, or {0, 0} when the list is empty or there is
  /// no memory. The list loses its order.
  PDF_REF store_tree(CPDFXRefTable& table);

private:
  bool grow_index();

  GrowArray<Entry> entries_;
  GrowArray<std::int32_t> buckets_;
};

}  // namespace sheaf
