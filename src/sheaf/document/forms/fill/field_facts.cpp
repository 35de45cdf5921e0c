// Reads "FT", "Ff", "MaxLen", "Opt" and the like, each inherited from the fields above.
#include "sheaf/document/forms/fill/field_facts_internal.h"

#include <algorithm>
#include <cstring>

#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/text_utf8.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

FieldKind kind_of(const CPDFObj& type, const FieldFacts& facts) {
  if (type.is_name("Tx"))
    return FieldKind::kText;
  if (type.is_name("Sig"))
    return FieldKind::kSignature;
  if (type.is_name("Ch"))
    return facts.has(kChoiceCombo) ? FieldKind::kCombo : FieldKind::kList;
  if (!type.is_name("Btn"))
    return FieldKind::kUnknown;
  if (facts.has(kButtonPush))
    return FieldKind::kPushButton;
  return facts.has(kButtonRadio) ? FieldKind::kRadio : FieldKind::kCheckBox;
}

}  // namespace

void FieldFacts::read(const CPDFField& field) {
  Freed<CPDFObj> item;
  field.get_value("Ff", item);
  flags = static_cast<std::uint32_t>(item.to_int());
  field.get_value("FT", item);
  kind = kind_of(item, *this);
  field.get_value("MaxLen", item);
  max_len = std::max(0, item.to_int());
}

int FieldFacts::comb_cells() const {
  const bool comb = kind == FieldKind::kText && has(kTextComb) && !has(kTextMultiLine | kTextPassword | kTextFile);
  return comb ? max_len : 0;
}

void collect_widgets(CPDFXRefTable& table, const PDF_REF& field, GrowArray<PDF_REF>& widgets) {
  Freed<CPDFObj> obj = table.object(field);
  const CPDFDictionary* const dict = obj.as_dict();
  if (dict == nullptr)
    return;
  if (dict->get_item("Rect") != nullptr)
    widgets.push(field);
  const Freed<CPDFObj> kids = table.value(dict, "Kids");
  for (std::int32_t i = 0; kids.as_array() != nullptr && i < kids.as_array()->count; ++i) {
    const PDF_REF ref = kids.as_array()->get(i)->as_ref();
    Freed<CPDFObj> kid = table.object(ref);
    if (kid.as_dict() != nullptr && kid.as_dict()->get_item("T") == nullptr)
      widgets.push(ref);
  }
}

void FieldOptions::read(CPDFXRefTable& table, const CPDFField& field) {
  field.get_value("Opt", list_);
  CPDFArray* const list = list_.as_array();
  // References go, so that the texts can be handed out.
  for (std::int32_t i = 0; list != nullptr && i < list->count; ++i) {
    Freed<CPDFObj> option = table.value(list, i);
    CPDFArray* const pair = option.as_array();
    for (std::int32_t k = 0; pair != nullptr && k < pair->count; ++k) {
      Freed<CPDFObj> text = table.value(pair, k);
      pair->get(k)->move_from(text);
    }
    list->get(i)->move_from(option);
  }
}

PDF_String FieldOptions::part(std::int32_t index, std::int32_t which) const {
  const CPDFObj* const option = list_.as_array() != nullptr ? list_.as_array()->get(index) : nullptr;
  if (option == nullptr)
    return {0, nullptr};
  const CPDFArray* const pair = option->as_array();
  if (pair == nullptr)
    return option->as_string();
  const CPDFObj* const item = pair->get(std::min(which, pair->count - 1));
  return item != nullptr ? item->as_string() : PDF_String{0, nullptr};
}

std::int32_t FieldOptions::find(const char* utf8) const {
  for (const std::int32_t which : {0, 1}) {
    for (std::int32_t i = 0; i < count(); ++i) {
      if (says(part(i, which), utf8))
        return i;
    }
  }
  return -1;
}

bool says(const PDF_String& text, const char* utf8) {
  std::size_t len = 0;
  const HeapBlock<char> bytes(text_to_utf8(text, len));
  return bytes && len == std::strlen(utf8) && std::memcmp(bytes.get(), utf8, len) == 0;
}

}  // namespace sheaf
