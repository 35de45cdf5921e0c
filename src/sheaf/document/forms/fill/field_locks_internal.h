// Which fields the signatures of a document lock (ISO 32000-1, 12.7.4.5, 12.8.2).
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"

class CPDFAcroForm;
class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

class FieldNames;

class FieldLocks {
public:
  /// Looks at all signatures that the form has.
  void load(CPDFXRefTable& table, const CPDFAcroForm& form, const FieldNames& names);
  /// Whether field `index` of the form is locked.
  bool locks(std::int32_t index) const {
    const auto at = static_cast<std::size_t>(index);
    return all_locked_ || (at < locked_.size() && locked_[at] != 0);
  }
  /// Whether a certification forbids every change.
  bool forbids_changes() const { return forbids_changes_; }
  /// How many fields are signed.
  std::int32_t signature_count() const { return signatures_; }

private:
  void read_signature(CPDFXRefTable& table, const CPDFDictionary& signature, const FieldNames& names);
  void read_lock(CPDFXRefTable& table, const CPDFDictionary& lock, const FieldNames& names);
  void read_certification(CPDFXRefTable& table);
  void mark(const CPDFDictionary& lock, CPDFXRefTable& table, const FieldNames& names, GrowArray<std::uint8_t>& marks);

  GrowArray<std::uint8_t> locked_;
  std::int32_t signatures_ = 0;
  std::size_t work_ = 0;
  bool all_locked_ = false;
  bool forbids_changes_ = false;
};

}  // namespace sheaf
