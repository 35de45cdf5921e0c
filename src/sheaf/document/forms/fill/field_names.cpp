// The names are sorted once; ranges are found by bisection.
#include "sheaf/document/forms/fill/field_names_internal.h"

#include <algorithm>
#include <cwchar>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

bool FieldNames::load(const CPDFAcroForm& form) {
  form_ = &form;
  order_.clear();
  for (std::int32_t i = 0; i < form.field_count(); ++i) {
    if (!order_.push(i))
      return false;
  }
  std::sort(order_.begin(), order_.end(), [&form](std::int32_t a, std::int32_t b) {
    const int order = std::wcscmp(form.field_at(a)->name(), form.field_at(b)->name());
    return order != 0 ? order < 0 : a < b;
  });
  return true;
}

FieldNames::Range FieldNames::find(const wchar_t* name) const {
  const auto first = std::lower_bound(
      order_.begin(), order_.end(), name,
      [this](std::int32_t index, const wchar_t* key) { return std::wcscmp(form_->field_at(index)->name(), key) < 0; });
  auto end = first;
  while (end != order_.end() && std::wcscmp(form_->field_at(*end)->name(), name) == 0)
    ++end;
  return {static_cast<std::size_t>(first - order_.begin()), static_cast<std::size_t>(end - order_.begin())};
}

FieldNames::Range FieldNames::below(const wchar_t* name) const {
  const std::size_t len = ucs_len(name);
  // How a field's name compares with `name` and the period after it, as far as these reach.
  const auto compare = [this, name, len](std::int32_t index) {
    const wchar_t* const other = form_->field_at(index)->name();
    const int order = std::wcsncmp(other, name, len);
    if (order != 0)
      return order;
    return other[len] < L'.' ? -1 : other[len] > L'.' ? 1 : 0;
  };
  const auto first =
      std::partition_point(order_.begin(), order_.end(), [&](std::int32_t index) { return compare(index) < 0; });
  const auto end = std::partition_point(first, order_.end(), [&](std::int32_t index) { return compare(index) == 0; });
  return {static_cast<std::size_t>(first - order_.begin()), static_cast<std::size_t>(end - order_.begin())};
}

wchar_t* wide_name(const CPDFXRefTable& table, const PDF_String& text) {
  const auto most = static_cast<std::size_t>(std::max(0, text.data != nullptr ? text.len : 0));
  auto* const wide = static_cast<wchar_t*>(QVCalloc(most + 1, sizeof(wchar_t)));
  if (wide != nullptr)
    table.cvt_text_to_ucs(&text, wide, static_cast<int>(std::min<std::size_t>(most + 1, INT32_MAX)));
  return wide;
}

wchar_t* wide_name(const CPDFXRefTable& table, const char* utf8) {
  PDF_String text{0, nullptr};
  text_from_utf8(utf8, text);
  const HeapBlock<char> owned(text.data);
  return wide_name(table, text);
}

char* utf8_name(const wchar_t* name) {
  PDF_String text{0, nullptr};
  text.init(name, 1);
  const HeapBlock<char> owned(text.data);
  std::size_t len = 0;
  return text_to_utf8(text, len);
}

}  // namespace sheaf
