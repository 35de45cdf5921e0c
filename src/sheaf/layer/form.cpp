// The fields of a form, and flattening.

#include "sheaf/base/utf.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/layer/parts.h"
#include "sheaf/neighbours/page/acro_form.h"

namespace sheaf {

namespace {

std::string utf8_of(const wchar_t* text) {
  std::string out;
  append_utf8(out, text);
  return out;
}

Code code_of(PDF_FILL result) {
  switch (result) {
    case PDF_FILL::kDone:
      return Code::kNone;
    case PDF_FILL::kNoField:
      return Code::kNotFound;
    case PDF_FILL::kUnchanged:
    case PDF_FILL::kReadOnly:
    case PDF_FILL::kLocked:
    case PDF_FILL::kCertified:
      return Code::kNotAllowed;
    case PDF_FILL::kNoMemory:
      return Code::kNoMemory;
    case PDF_FILL::kNoKind:
    case PDF_FILL::kNotOffered:
    case PDF_FILL::kOneValue:
    case PDF_FILL::kTooLong:
    case PDF_FILL::kPassword:
    case PDF_FILL::kPushButton:
    case PDF_FILL::kSignature:
      return Code::kBadValue;
  }
  return Code::kBadValue;
}

Error no_field(const std::string& name) {
  return layer::error_of(Code::kNotFound, "the document has no field \"" + name + "\"");
}

// All values that the list has for the first field of that name.
std::vector<std::string> values_of(const CPDFFormData& data, const std::string& name) {
  std::vector<std::string> values;
  for (std::int32_t i = 0; i < data.count(); ++i) {
    if (name != data.name(i))
      continue;
    for (std::int32_t k = 0; k < data.value_count(i); ++k)
      values.emplace_back(data.value(i, k));
    break;
  }
  return values;
}

}  // namespace

std::vector<Field> Form::fields() const {
  std::vector<Field> found;
  if (!core_->is_open())
    return found;
  CPDFAcroForm form(core_->updated_doc().table());
  form.load();
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    if (form.field_at(i)->is_terminal())
      found.emplace_back(core_, utf8_of(form.field_at(i)->name()));
  }
  return found;
}

Expected<FieldState> Field::state() const {
  if (!core_->is_open())
    return core_->trouble();
  CPDFFormFiller* const filler = core_->filler();
  PDF_FIELD_TRAITS traits;
  CPDFFormData offers;
  if (filler == nullptr || !filler->describe(name_.c_str(), traits, offers))
    return no_field(name_);
  core_->filler_done();
  FieldState state;
  state.kind = traits.kind;
  state.read_only = traits.read_only;
  state.required = traits.required;
  state.locked = traits.locked;
  state.max_length = traits.max_len;
  for (std::int32_t i = 0; i < offers.count(); ++i)
    state.offers.emplace_back(offers.name(i));
  CPDFFormData data;
  data.read_form(core_->below());
  state.values = values_of(data, name_);
  return state;
}

std::string Field::value() const {
  if (!core_->is_open())
    return {};
  CPDFFormData data;
  data.read_form(core_->updated_doc());
  const std::vector<std::string> values = values_of(data, name_);
  return values.empty() ? std::string() : values.front();
}

Expected<void> Field::set(const std::string& value) {
  return set(std::vector<std::string>{value});
}

Expected<void> Field::set(const std::vector<std::string>& values) {
  if (!core_->is_open())
    return core_->trouble();
  CPDFFormFiller* const filler = core_->filler();
  if (filler == nullptr)
    return no_field(name_);
  std::vector<const char*> texts;
  texts.reserve(values.size());
  for (const std::string& value : values)
    texts.push_back(value.c_str());
  const PDF_FILL result = filler->set(name_.c_str(), texts.data(), static_cast<std::int32_t>(texts.size()));
  core_->filler_done();
  core_->refresh_touched();
  if (result == PDF_FILL::kDone)
    return {};
  if (result == PDF_FILL::kNoField)
    return no_field(name_);
  return layer::error_of(code_of(result), name_ + ": " + CPDFFormFiller::reason(result));
}

}  // namespace sheaf
