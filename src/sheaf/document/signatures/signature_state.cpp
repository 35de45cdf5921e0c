// Counts signed fields, and reads the permissions of a certification (DocMDP).
#include "sheaf/document/signatures/signature_state.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/array.h"

namespace sheaf {

std::int32_t count_signatures(CPDFDoc& doc) {
  CPDFAcroForm form(doc.table());
  form.load();
  std::int32_t count = 0;
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    Freed<CPDFObj> value;
    if (field.is_terminal())
      field.get_value("V", value);
    count += value.as_dict() != nullptr && value.as_dict()->holds_signature() ? 1 : 0;
  }
  return count;
}

int certified_changes(CPDFDoc& doc) {
  constexpr int kDefault = 2;
  constexpr int kMost = 3;
  CPDFXRefTable& table = doc.table();
  const Freed<CPDFObj> catalog = table.catalog();
  const Freed<CPDFObj> permissions = table.value(catalog.as_dict(), "Perms");
  const Freed<CPDFObj> signature = table.value(permissions.as_dict(), "DocMDP");
  if (signature.as_dict() == nullptr)
    return 0;
  const Freed<CPDFObj> references = table.value(signature.as_dict(), "Reference");
  const Freed<CPDFObj> first = table.value(references.as_array() != nullptr ? references.as_array()->get(0) : nullptr);
  const Freed<CPDFObj> parameters = table.value(first.as_dict(), "TransformParams");
  const Freed<CPDFObj> level = table.value(parameters.as_dict(), "P");
  return level.to_int() >= 1 && level.to_int() <= kMost ? level.to_int() : kDefault;
}

}  // namespace sheaf
