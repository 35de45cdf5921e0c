// Follows signed fields to their "Lock" dictionaries and the FieldMDP and DocMDP transforms.
#include "sheaf/document/forms/fill/field_locks_internal.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/forms/fill/field_names_internal.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr std::size_t kWorkAtLeast = std::size_t{1} << 20;  // marks
constexpr std::size_t kWorkPerField = 64;

// Calls `found` with the parameters of each reference of a signature that has this transform method.
template <class Found>
void each_transform(CPDFXRefTable& table, const CPDFDictionary& signature, const char* method, const Found& found) {
  const Freed<CPDFObj> list = table.value(&signature, "Reference");
  for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i) {
    const Freed<CPDFObj> reference = table.value(list.as_array(), i);
    const Freed<CPDFObj> name = table.value(reference.as_dict(), "TransformMethod");
    const Freed<CPDFObj> parameters = table.value(reference.as_dict(), "TransformParams");
    if (name.is_name(method))
      found(parameters.as_dict());
  }
}

}  // namespace

void FieldLocks::load(CPDFXRefTable& table, const CPDFAcroForm& form, const FieldNames& names) {
  locked_.clear();
  locked_.resize(static_cast<std::size_t>(form.field_count()));
  signatures_ = 0;
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    if (!field.is_terminal())
      continue;
    Freed<CPDFObj> item;
    field.get_value("FT", item);
    if (!item.is_name("Sig"))
      continue;
    Freed<CPDFObj> signature;
    field.get_value("V", signature);
    if (signature.as_dict() == nullptr)
      continue;  // a lock takes effect when the field is signed
    ++signatures_;
    field.get_value("Lock", item);
    if (item.as_dict() != nullptr)
      read_lock(table, *item.as_dict(), names);
    read_signature(table, *signature.as_dict(), names);
  }
  read_certification(table);
}

void FieldLocks::read_signature(CPDFXRefTable& table, const CPDFDictionary& signature, const FieldNames& names) {
  each_transform(table, signature, "FieldMDP", [&](const CPDFDictionary* parameters) {
    if (parameters != nullptr)
      read_lock(table, *parameters, names);
  });
}

void FieldLocks::read_lock(CPDFXRefTable& table, const CPDFDictionary& lock, const FieldNames& names) {
  const Freed<CPDFObj> action = table.value(&lock, "Action");
  all_locked_ = all_locked_ || action.is_name("All");
  if (action.is_name("Include")) {
    mark(lock, table, names, locked_);
  } else if (action.is_name("Exclude") && !all_locked_) {
    GrowArray<std::uint8_t> spared;
    spared.resize(locked_.size());
    mark(lock, table, names, spared);
    for (std::size_t i = 0; i < spared.size(); ++i)
      locked_[i] |= spared[i] == 0;
    work_ += spared.size();
  }
  // Locks beyond all reason cost no more time: the safe side is that everything is locked.
  all_locked_ = all_locked_ || work_ > kWorkAtLeast + kWorkPerField * locked_.size();
}

// Marks the fields that a lock names, with all that is below them.
void FieldLocks::mark(const CPDFDictionary& lock, CPDFXRefTable& table, const FieldNames& names,
                      GrowArray<std::uint8_t>& marks) {
  const Freed<CPDFObj> list = table.value(&lock, "Fields");
  for (std::int32_t i = 0; list.as_array() != nullptr && i < list.as_array()->count; ++i) {
    const Freed<CPDFObj> text = table.value(list.as_array(), i);
    const HeapBlock<wchar_t> name(wide_name(table, text.as_string()));
    if (!name || work_ > kWorkAtLeast + kWorkPerField * locked_.size())
      continue;
    for (const FieldNames::Range range : {names.find(name.get()), names.below(name.get())}) {
      work_ += range.end - range.first + 1;
      for (std::size_t place = range.first; place < range.end; ++place)
        marks[names.at(place)] = 1;
    }
  }
}

void FieldLocks::read_certification(CPDFXRefTable& table) {
  const Freed<CPDFObj> catalog = table.catalog();
  const Freed<CPDFObj> permissions = table.value(catalog.as_dict(), "Perms");
  const Freed<CPDFObj> signature = table.value(permissions.as_dict(), "DocMDP");
  if (signature.as_dict() == nullptr)
    return;
  each_transform(table, *signature.as_dict(), "DocMDP", [&](const CPDFDictionary* parameters) {
    const Freed<CPDFObj> level = table.value(parameters, "P");
    forbids_changes_ = forbids_changes_ || level.to_int() == 1;
  });
}

}  // namespace sheaf
