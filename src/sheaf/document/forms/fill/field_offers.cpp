// What fields offer to those who fill them.
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/fill/filler_parts_internal.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/object/text_utf8.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kFieldRequired = 1u << 1;

const char* name_of(FieldKind kind) {
  switch (kind) {
    case FieldKind::kText:
      return "text";
    case FieldKind::kPushButton:
      return "push button";
    case FieldKind::kCheckBox:
      return "check box";
    case FieldKind::kRadio:
      return "radio group";
    case FieldKind::kCombo:
      return "combo box";
    case FieldKind::kList:
      return "list box";
    case FieldKind::kSignature:
      return "signature";
    case FieldKind::kUnknown:
      return "";
  }
  return "";
}

void add_offer(CPDFFormData& offers, const char* value, const PDF_String& text) {
  std::size_t len = 0;
  const HeapBlock<char> shown(text_to_utf8(text, len));
  if (shown && offers.add_field(value) && len != 0)
    offers.add_value(shown.get(), false);
}

void add_options(CPDFFormData& offers, const FieldOptions& options) {
  for (std::int32_t i = 0; i < options.count(); ++i) {
    std::size_t len = 0;
    const HeapBlock<char> value(text_to_utf8(options.value(i), len));
    if (value)
      add_offer(offers, value.get(), options.text(i));
  }
}

PDF_FIELD_TRAITS traits_of(const FieldFacts& facts) {
  PDF_FIELD_TRAITS traits;
  const bool text = facts.kind == FieldKind::kText;
  traits.kind = name_of(facts.kind);
  traits.read_only = facts.has(kFieldReadOnly);
  traits.required = facts.has(kFieldRequired);
  traits.multi_line = text && facts.has(kTextMultiLine);
  traits.takes_several = facts.kind == FieldKind::kList && facts.has(kChoiceMultiSelect);
  traits.takes_any = text || (facts.kind == FieldKind::kCombo && facts.has(kChoiceEdit));
  traits.max_len = text ? facts.max_len : 0;
  return traits;
}

}  // namespace

bool CPDFFormFiller::describe(const char* name, PDF_FIELD_TRAITS& traits, CPDFFormData& offers) {
  const HeapBlock<wchar_t> wide(wide_name(doc_.table(), name));
  FieldNames::Range range = wide ? parts_->names.find(wide.get()) : FieldNames::Range{0, 0};
  if (wide && range.first == range.end && add_loose_fields())
    range = parts_->names.find(wide.get());
  for (std::size_t place = range.first; place < range.end; ++place) {
    const std::int32_t index = parts_->names.at(place);
    const CPDFField& field = *parts_->form.field_at(index);
    if (!field.is_terminal())
      continue;
    FieldFacts facts;
    facts.read(field);
    traits = traits_of(facts);
    traits.locked = parts_->locks.forbids_changes() || parts_->locks.locks(index);
    FieldOptions options;
    if (facts.is_choice())
      options.read(doc_.table(), field);
    add_options(offers, options);
    ButtonStates states;
    if (facts.is_button())
      states.read(doc_.table(), field, facts);
    for (std::int32_t i = 0; i < states.count(); ++i)
      add_offer(offers, states.state(i), states.export_value(i));
    return true;
  }
  return false;
}
