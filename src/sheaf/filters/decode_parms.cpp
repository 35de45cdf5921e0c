// Values of "DecodeParms" with a default. The static resolve is used because there may be no table.
#include "sheaf/filters/decode_parms.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

std::int32_t parm_number(CPDFXRefTable* table, const CPDFDictionary* parms, const char* key, std::int32_t fallback) {
  const CPDFObj* item = parms != nullptr ? parms->get_item(key) : nullptr;
  if (item == nullptr)
    return fallback;
  if (item->is_number())
    return item->to_int();
  Freed<CPDFObj> value;
  CPDFXRefTable::resolve(table, value, item);
  return value.is_number() ? value.to_int() : fallback;
}

bool parm_flag(CPDFXRefTable* table, const CPDFDictionary* parms, const char* key) {
  const CPDFObj* item = parms != nullptr ? parms->get_item(key) : nullptr;
  if (item == nullptr)
    return false;
  if (item->tag == kTagBool)
    return item->as_bool();
  Freed<CPDFObj> value;
  CPDFXRefTable::resolve(table, value, item);
  return value.as_bool();
}

}  // namespace sheaf
