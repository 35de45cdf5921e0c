// The new file keeps the encryption and the first half of the identifier; the second half names this version.
#include "support/whole_file.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/array.h"

namespace sheaf::tool {

namespace {

constexpr int kIdentifierSize = 16;

// The second half of the identifier differs from version to version of a document (ISO 32000-1, 14.4).
void set_new_version(CPDFXRefTable& target) {
  unsigned char fresh[kIdentifierSize];
  CPDFArray* const pair = target.id.as_array();
  if (pair == nullptr || pair->count < 2 || pair->get(0)->as_string().len == 0 || !secure_random(fresh, sizeof(fresh)))
    return;
  pair->get(1)->set_string(reinterpret_cast<const char*>(fresh), kIdentifierSize);
}

// The identifier of `doc`, on which its keys hang, and its encryption.
bool keep_protection(CPDFDoc& doc, CPDFXRefTable& target, CPDFStandardEncrypt& enc, CPDFEncrypt*& chosen) {
  CPDFXRefTable& table = doc.table();
  doc.keep_identifier(target.id);
  if (doc.is_encrypted() && table.sec_filter[0] != 0) {
    CPDFSecHand* const hand = table.sec_hand;
    table.sec_hand = nullptr;  // the dictionary's own strings are in clear
    Freed<CPDFObj> settings = table.value(&table.encrypt);
    table.sec_hand = hand;
    if (settings.as_dict() == nullptr)
      return false;
    if (!enc.continue_with(doc.handler(), *settings.as_dict()))
      return false;
    chosen = &enc;
  } else if (target.id.as_array() != nullptr && target.id.as_array()->count > 0 &&
             target.id.as_array()->get(0)->as_string().len == 0) {
    target.id.free();  // it had none, and nothing hangs on it
  }
  return true;
}

}  // namespace

bool save_whole(CPDFDoc& doc, CQVStream& out) {
  return save_whole_as(doc, out, &doc);
}

bool save_whole_as(CPDFDoc& doc, CQVStream& out, CPDFDoc* protection) {
  CPDFXRefTable target;
  target.stream = &out;
  CPDFStandardEncrypt enc;
  CPDFEncrypt* chosen = nullptr;
  if (protection != nullptr && !keep_protection(*protection, target, enc, chosen))
    return false;
  set_new_version(target);
  doc.save_complete(target, chosen);
  return target.write_failed == 0 && target.xref_items != nullptr;
}

}  // namespace sheaf::tool
