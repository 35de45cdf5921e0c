// The names that the elements of a structure tree use: roles, classes and identifiers (ISO 32000-1,
// 14.7.3, 14.7.5.2). Where two documents mean different things by one name, the later one gets another.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/name_additions.h"

namespace sheaf {

class StructureNames {
public:
  explicit StructureNames(MergeTarget& target) : target_(target), table_(target.table) {}
  StructureNames(const StructureNames&) = delete;
  StructureNames& operator=(const StructureNames&) = delete;

  /// Takes note of what the document's own root `root` has.
  void load(const CPDFDictionary& root);
  /// Starts with a source whose root is `root`: its roles and classes join the document's.
  void start(MergeSource& source, const CPDFDictionary& root);
  /// Takes note of the identifier of an element that is taken.
  void take_identifier(const PDF_String& id, const PDF_REF& element);
  /// Starts with the elements of a further copy of a page.
  void start_copy() { copied_identifiers_.clear(); }
  /// Gives the further copy `made` of an element an identifier of its own in place of that in `entry`.
  void give_identifier(CPDFDictionary& entry, const PDF_REF& made);
  /// Puts what an element, already one of the target, calls things into the target's names.
  void rename(CPDFDictionary& element) const;
  void rename_headers(CPDFDictionary& attributes) const;
  /// Makes the headers that the copy `cell` of an element names those of the same copy.
  void rename_copied_headers(CPDFDictionary& cell) const;
  void put(CPDFDictionary& root);

private:
  void take_roles(MergeSource& source, const CPDFDictionary& root);
  void take_classes(MergeSource& source, const CPDFDictionary& root);
  bool rename_headers(CPDFDictionary& attributes, const NameList& names) const;
  bool rename_identifier(CPDFObj& value, const NameList& names) const;

  MergeTarget& target_;
  CPDFXRefTable& table_;
  Cleared<CPDFDictionary> roles_;
  Cleared<CPDFDictionary> classes_;
  NameAdditions identifiers_{"IDTree"};
  // Of the present source: the names that changed.
  Cleared<CPDFDictionary> new_roles_;
  Cleared<CPDFDictionary> new_classes_;
  // `num` is the index in identifiers_.
  NameList new_identifiers_;
  NameList copied_identifiers_;  // of the present copy
};

}  // namespace sheaf
