// The names of one kind that a document gets besides its own (ISO 32000-1, table 31).
#pragma once

#include "sheaf/document/names/name_list.h"

class CPDFDictionary;

namespace sheaf {

/// Makes `fresh` the name `key` with the first number after it that `taken` does not have as a key. It stays as it is
/// without memory.
void find_free_key(const CPDFDictionary& taken, const char* key, CPDFObj& fresh);

class NameAdditions {
public:
  /// `key` is that of the name tree; a literal.
  explicit NameAdditions(const char* key) : key_(key) {}

  const char* key() const { return key_; }
  /// Takes note of the names that are in the document's own tree. `names` is the catalogue's
  /// dictionary of them and may be null.
  void load(CPDFXRefTable& table, const CPDFDictionary* names);
  /// Takes note of one name that the document has outside that tree.
  void reserve(const PDF_String& name);
  /// Adds `name`, with a number after it where it is taken. Its index in `list`, or -1.
  std::int32_t add(const PDF_String& name, const PDF_REF& value) { return list_.add_unique(name, value); }
  const NameList& list() const { return list_; }
  /// Puts a tree of all names, the document's own with their values as they are, into `names`, when
  /// some were added.
  void put(CPDFXRefTable& table, CPDFDictionary& names);

private:
  const char* key_;
  NameList list_;
  std::int32_t own_ = 0;  // how many are the document's
};

}  // namespace sheaf
