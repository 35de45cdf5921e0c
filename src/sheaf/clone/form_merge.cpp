// The interactive form of an imported document: as a whole in place of the destination's, or field
// by field after the fields that are there.
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/array.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostNameChars = 255;              // with the terminating 0
constexpr int kNameBuffer = kMostNameChars + 2;  // a digit and its 0 fit after

bool is_imported(const CPDFMergeContext& ctx, std::int32_t num) {
  return object_index(num) >= ctx.map_size || ctx.map[num] != 0;
}

// The field's partial name or, without one, its description.
PDF_String field_name(CPDFXRefTable& src, const CPDFDictionary& field, Freed<CPDFObj>& scratch) {
  scratch = src.value(&field, "T");
  if (scratch.tag != kTagString)
    scratch = src.value(&field, "TU");
  return scratch.as_string();
}

// The first free name of the eleventh and later fields of one name would be longer: those keep it.
void rename_field(CPDFAcroForm& form, CPDFField* field, wchar_t* name) {
  wchar_t* const end = name + ucs_len(name);
  end[1] = 0;
  for (wchar_t digit = L'0'; digit <= L'9'; ++digit) {
    end[0] = digit;
    if (form.get_field(name) != nullptr)
      continue;
    if (field != nullptr)
      field->set_name(name);
    return;
  }
}

void merge_field(CPDFXRefTable& table, CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFAcroForm& form,
                 const PDF_REF& ref) {
  const Freed<CPDFObj> field = src->object(ref);
  if (field.as_dict() == nullptr)
    return;
  Freed<CPDFObj> scratch;
  const PDF_String name = field_name(*src, *field.as_dict(), scratch);
  if (scratch.tag != kTagString || form.get_field(name) == nullptr) {
    form.append_field(table.clone_obj(src, ctx, ref));
    return;
  }
  wchar_t wide[kNameBuffer];
  table.cvt_text_to_ucs(&name, wide, kMostNameChars);
  rename_field(form, form.append_field(table.clone_obj(src, ctx, ref)), wide);
}

}  // namespace

int CPDFXRefTable::clone_acro_form(CPDFXRefTable* src, CPDFMergeContext* ctx) {
  if (src == nullptr || src->root.tag != kTagRef || root.tag != kTagRef)
    return 0;
  const Freed<CPDFObj> source_root = src->catalog();
  Freed<CPDFObj> own_root = catalog();
  CPDFDictionary* const own = own_root.as_dict();
  if (source_root.as_dict() == nullptr || own == nullptr)
    return 1;
  // Lenient: a form that is a direct value of the catalogue is not copied.
  const CPDFObj* form = source_root.as_dict()->get_item(CPDFDictionary::sm_tag_acro_form);
  if (form == nullptr || form->tag != kTagRef)
    return 1;
  own->set_item_ref(CPDFDictionary::sm_tag_acro_form, clone_obj(src, ctx, form->as_ref()));
  if (root.as_ref().num != 0)
    store_object(root.as_ref(), own_root);
  return 1;
}

int CPDFXRefTable::merge_acro_form(CPDFXRefTable* src, CPDFMergeContext* ctx, CPDFAcroForm* form) {
  if (src == nullptr || ctx == nullptr || form == nullptr || src->root.is_null())
    return 0;
  const Freed<CPDFObj> source_root = src->catalog();
  const Freed<CPDFObj> source_form = src->value(source_root.as_dict(), CPDFDictionary::sm_tag_acro_form);
  if (source_form.as_dict() == nullptr)
    return 0;
  const Freed<CPDFObj> fields = src->value(source_form.as_dict(), "Fields");
  const CPDFArray* list = fields.as_array();
  for (std::int32_t i = 0; list != nullptr && i < list->count; ++i) {
    const CPDFObj& item = list->items[i];
    if (item.tag == kTagRef && !is_imported(*ctx, item.as_ref().num))
      merge_field(*this, src, ctx, *form, item.as_ref());
  }
  return 1;
}
