// The list itself, and taking it from a document's form.
#include "sheaf/document/forms/form_data.h"

#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/data/text_values_internal.h"
#include "sheaf/document/forms/fill/field_facts_internal.h"
#include "sheaf/document/forms/fill/field_names_internal.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/neighbours/page/acro_form.h"

using namespace sheaf;

bool CPDFFormData::keep(const char* text, std::size_t& place) {
  place = pool_.size();
  const std::size_t size = std::strlen(text) + 1;
  if (!pool_.resize(place + size)) {
    return false;
  }
  std::memcpy(pool_.begin() + place, text, size);
  return true;
}

bool CPDFFormData::add_field(const char* name) {
  Field field{0, values_.size()};
  return keep(name, field.name) && fields_.push(field);
}

bool CPDFFormData::add_value(const char* value, bool is_state) {
  Value kept{0, is_state};
  return !fields_.empty() && keep(value, kept.text) && values_.push(kept);
}

std::int32_t CPDFFormData::value_count(std::int32_t field) const {
  const auto index = static_cast<std::size_t>(field);
  const std::size_t end = index + 1 < fields_.size() ? fields_[index + 1].first_value : values_.size();
  return static_cast<std::int32_t>(end - fields_[index].first_value);
}

const char* CPDFFormData::value(std::int32_t field, std::int32_t index) const {
  return at(value_at(field, index).text);
}

bool CPDFFormData::is_state(std::int32_t field, std::int32_t index) const {
  return value_at(field, index).is_state;
}

bool CPDFFormData::read_form(CPDFDoc& doc) {
  const HeapWatch watch;
  CPDFAcroForm form(doc.table());
  const bool has_form = form.load();
  if (CPDFFormFiller::add_loose_fields(doc, form) == 0 && !has_form)
    return false;
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    const CPDFField& field = *form.field_at(i);
    if (!field.is_terminal())
      continue;  // its facts come from all the fields above it
    FieldFacts facts;
    facts.read(field);
    if (facts.kind == FieldKind::kSignature || facts.kind == FieldKind::kPushButton)
      continue;
    Freed<CPDFObj> value;
    field.get_value("V", value);
    const HeapBlock<char> name(utf8_name(field.name()));
    if (name && has_text(value) && add_field(name.get()))
      add_texts(doc.table(), value, *this);
  }
  return watch.all_granted();
}
