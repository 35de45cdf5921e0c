// Connects a security handler to an encrypted document (ISO 32000-1, 7.6).
#include <algorithm>
#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/sec_hand.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

int CPDFXRefTable::XRefAuthorize(CPDFSecHand* hand) {
  sec_filter[0] = 0;
  if (encrypt.is_null())
    return 1;
  const Freed<CPDFObj> settings = value(&encrypt);
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
