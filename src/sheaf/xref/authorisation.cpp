// Connects a security handler to an encrypted document (ISO 32000-1, 7.6).
#include <algorithm>
#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/security.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kMostLevels = 4;        // "CF", a crypt filter in it, and its entries
constexpr int kMostReferences = 256;  // of a dictionary that has no need of any

// Puts what the references inside `value` lead to in their place.
void resolve_inside(CPDFXRefTable& table, CPDFObj& value, int level, int& left) {
  const auto take = [&](CPDFObj& item) {
    if (item.tag == kTagRef && left-- > 0) {
      Freed<CPDFObj> target = table.value(&item);
      item.move_from(target);
    }
    if (level < kMostLevels)
      resolve_inside(table, item, level + 1, left);
  };
  if (CPDFDictionary* dict = value.as_dict()) {
    for (std::int32_t i = 0; i < dict->count; ++i)
      take(*dict->items[i]);
  } else if (CPDFArray* array = value.as_array()) {
    for (std::int32_t i = 0; i < array->count; ++i)
      take(array->items[i]);
  }
}

}  // namespace

void CPDFXRefTable::get_encryption(CPDFObj& out) {
  CPDFSecHand* const hand = sec_hand;
  sec_hand = nullptr;  // nothing in the dictionary is encrypted
  resolve(out, &encrypt);
  int left = kMostReferences;
  resolve_inside(*this, out, 1, left);
  sec_hand = hand;
}

int CPDFXRefTable::XRefAuthorize(CPDFSecHand* hand) {
  sec_filter[0] = 0;
  if (encrypt.is_null())
    return 1;
  Freed<CPDFObj> settings;
  get_encryption(settings);
  const CPDFDictionary* dict = settings.as_dict();
  const CPDFObj* filter = dict != nullptr ? dict->get_item(CPDFDictionary::sm_tag_filter) : nullptr;
  if (filter == nullptr)
    return 1;  // read as not encrypted
  const char* name = filter->as_text();
  const std::size_t len = name != nullptr ? std::min<std::size_t>(std::strlen(name), kSecFilterSize - 1) : 0;
  std::memcpy(sec_filter, name != nullptr ? name : "", len);
  sec_filter[len] = 0;

  const Freed<CPDFObj> ids = value(&id);
  sec_hand = hand;
  if (hand == nullptr)
    return 0;
  const CPDFArray* pair = ids.as_array();
  const CPDFObj* first = pair != nullptr ? pair->get(0) : nullptr;
  const PDF_String id0 = first != nullptr ? first->as_string() : PDF_String{0, nullptr};
  const bool has_id = first != nullptr && first->tag == kTagString;
  if (hand->authorize(has_id ? &id0 : nullptr, dict) == 0)
    return 0;
  if (hand->encrypt_metadata != 0)
    return 1;
  const Freed<CPDFObj> catalog = this->catalog();
  const CPDFDictionary* catalog_dict = catalog.as_dict();
  const CPDFObj* metadata = catalog_dict != nullptr ? catalog_dict->get_item("Metadata") : nullptr;
  if (metadata != nullptr && metadata->tag == kTagRef)
    hand->metadata_obj = metadata->as_ref().num;
  return 1;
}
