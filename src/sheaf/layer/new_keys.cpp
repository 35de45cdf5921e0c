// Keys of new files.
#include "sheaf/layer/new_keys_internal.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/object/array.h"

namespace sheaf::layer {

bool NewKeys::make(CPDFDoc& doc, CPDFXRefTable& target, const SaveOptions& options) {
  if (options.encrypt)
    return make_fresh(target, *options.encrypt);
  if (options.decrypt || !doc.is_encrypted() || doc.table().sec_filter[0] == 0)
    return true;
  Freed<CPDFObj> dict;
  doc.table().get_encryption(dict);
  if (dict.as_dict() == nullptr)
    return false;
  enc_ = std::make_unique<CPDFStandardEncrypt>();
  const bool done = enc_->continue_with(doc.handler(), *dict.as_dict());
  doc.keep_identifier(target.id);
  return done;
}

bool NewKeys::make_fresh(CPDFXRefTable& target, const Encryption& wanted) {
  using Algorithm = CPDFStandardEncrypt::Algorithm;
  unsigned char random[CQVSecMD5::kSize];
  if (!secure_random(random, sizeof(random)))
    return false;
  Object id = Object::array(Bytes(std::span<const std::uint8_t>(random)), Bytes(std::span<const std::uint8_t>(random)));
  if (!id.is_whole())
    return false;
  const PDF_String first = id.raw().as_array()->items[0].as_string();
  CPDFStandardEncrypt::Settings settings;
  settings.algorithm = wanted.cipher == Cipher::kAes256   ? Algorithm::kAES256
                       : wanted.cipher == Cipher::kAes128 ? Algorithm::kAES128
                                                          : Algorithm::kRC4;
  settings.user_password = wanted.user_password.c_str();
  settings.owner_password = wanted.owner_password.c_str();
  settings.permissions = wanted.permissions;
  settings.clear_metadata = wanted.clear_metadata;
  enc_ = std::make_unique<CPDFStandardEncrypt>();
  const bool done = enc_->create(settings, first);
  target.id.move_from(id.raw());
  return done;
}

}  // namespace sheaf::layer
