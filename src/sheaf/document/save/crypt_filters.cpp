// Crypt filters that streams name themselves (ISO 32000-1, 7.4.10), in a new file that has other ones
// than the document or none.
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/save/new_file_internal.h"
#include "sheaf/neighbours/security/crypt_filter.h"
#include "sheaf/object/array.h"
#include "sheaf/object/security.h"

namespace sheaf {
namespace {

constexpr std::int32_t kFirstVersionWithFilters = 4;

bool knows_filter(const CPDFEncrypt* enc, const char* name) {
  const CPDFObj* const version = enc != nullptr ? enc->encrypt_dict.get_item("V") : nullptr;
  if (version == nullptr || version->as_int() < kFirstVersionWithFilters)
    return false;
  const CPDFObj* const filters = enc->encrypt_dict.get_item("CF");
  const CPDFDictionary* const all = filters != nullptr ? filters->as_dict() : nullptr;
  return std::strcmp(name, "Identity") == 0 || (all != nullptr && all->get_item(name) != nullptr);
}

// Takes the first element off the array under `key`; anything else goes as a whole.
void drop_first(CPDFDictionary& dict, const char* key) {
  const CPDFObj* const item = dict.get_item(key);
  const CPDFArray* const array = item != nullptr ? item->as_array() : nullptr;
  Cleared<CPDFArray> rest;
  for (std::int32_t i = 1; array != nullptr && i < array->count; ++i)
    rest.append(array->get(i));
  if (rest.count != 0)
    dict.set_item_arr(key, &rest);
  else
    dict.set_item(key, nullptr);
}

// Whether the name of the stream's crypt filter is only implied.
bool names_no_filter(const CPDFDictionary& dict) {
  const CPDFObj* const parms = dict.get_item("DecodeParms");
  return parms == nullptr || parms->is_null();
}

// Some readers take a crypt filter without parameters for that of all streams, so that it says its name.
void name_identity(CPDFDictionary& dict) {
  Cleared<CPDFDictionary> own;
  own.set_item_name("Type", "CryptFilterDecodeParms");
  own.set_item_name("Name", "Identity");
  const CPDFArray* const filters = dict.get_item(CPDFDictionary::sm_tag_filter)->as_array();
  if (filters == nullptr)
    return dict.set_item_dict("DecodeParms", &own);
  Cleared<CPDFArray> all;
  all.append_dict(&own);
  const CPDFObj none{};
  for (std::int32_t i = 1; i < filters->count; ++i)
    all.append(&none);
  dict.set_item_arr("DecodeParms", &all);
}

}  // namespace

// Data under a filter that is not there could not be read, and data left in clear under one that is
// there neither: without the name they are treated as all streams are.
void fit_crypt_filters(CPDFDoc& doc, const CPDFEncrypt* enc) {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> obj;
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    const PDF_XREF entry = table.xref_items[num];
    if (!entry.is_known() || entry.is_compressed())
      continue;
    const PDF_REF ref = doc.reference_to(object_num(num));
    table.get_stored(obj, ref);
    CPDFStreamRec* const rec = obj.as_stream();
    const char* const name = rec != nullptr ? named_crypt_filter(rec->dict) : nullptr;
    if (name == nullptr)
      continue;
    const bool stays = knows_filter(enc, name);
    if (stays && !names_no_filter(rec->dict))
      continue;
    int len = 0;
    unsigned char* const data = table.load_raw_data(rec, len);
    if (data == nullptr)
      continue;
    if (stays) {
      name_identity(rec->dict);
    } else {
      drop_first(rec->dict, CPDFDictionary::sm_tag_filter);
      drop_first(rec->dict, "DecodeParms");
    }
    table.write_stream_autofree(ref, rec, data, static_cast<unsigned>(len));
    table.store_object(ref, obj);
  }
}

}  // namespace sheaf
