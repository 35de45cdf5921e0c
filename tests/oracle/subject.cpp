// The document under test, and each operation on it and on the model.
#include "oracle/subject.h"

#include "sheaf/object/array.h"
#include "support/external_tool.h"

namespace oracle {

namespace {

std::string text_of(const CQVStreamMem& stream) {
  return std::string(reinterpret_cast<const char*>(stream.data), stream.len);
}

bool make_encrypter(CPDFStandardEncrypt& encrypter, Encryption kind, const std::string& password, const CPDFObj& id) {
  CPDFStandardEncrypt::Settings settings;
  settings.algorithm = kind == Encryption::kRC4      ? CPDFStandardEncrypt::Algorithm::kRC4
                       : kind == Encryption::kAES128 ? CPDFStandardEncrypt::Algorithm::kAES128
                                                     : CPDFStandardEncrypt::Algorithm::kAES256;
  settings.user_password = password.c_str();
  settings.owner_password = "owner";
  return encrypter.create(settings, id.as_array()->get(0)->as_string());
}

}  // namespace

bool Subject::replace(const std::string& bytes, const std::string& password) {
  doc_.reset();
  if (!path_.empty()) {
    write_file(path_, bytes);
    return reopen(password);
  }
  memory_ = std::make_unique<CQVStreamMem>();
  memory_->Write(bytes.data(), static_cast<unsigned>(bytes.size()));
  return reopen(password);
}

bool Subject::reopen(const std::string& password) {
  doc_ = std::make_unique<CPDFDoc>();
  doc_->set_password(password.c_str());
  const bool good = path_.empty() ? doc_->open(memory_.get()) : doc_->open_for_update(path_.c_str());
  return good && doc_->is_readable() && (temp_folder_ == nullptr || doc_->use_temp_file(temp_folder_));
}

std::string Subject::bytes() {
  return path_.empty() ? text_of(*memory_) : read_file(path_);
}

bool Subject::save_complete(Encryption kind, const std::string& password, std::string& made) {
  CQVStreamMem out;
  CPDFXRefTable target;
  target.stream = &out;
  doc_->keep_identifier(target.id);
  CPDFStandardEncrypt encrypter;
  CPDFEncrypt* enc = nullptr;
  if (kind == Encryption::kAsBefore && doc_->is_encrypted()) {
    CPDFXRefTable& table = doc_->table();
    sheaf::Freed<CPDFObj> settings;
    CPDFSecHand* const hand = table.sec_hand;
    table.sec_hand = nullptr;  // the dictionary's own strings are in clear
    table.resolve(settings, &table.encrypt);
    table.sec_hand = hand;
    if (!encrypter.continue_with(doc_->handler(), *settings.as_dict()))
      return false;
    enc = &encrypter;
  } else if (kind != Encryption::kNone && kind != Encryption::kAsBefore) {
    if (!make_encrypter(encrypter, kind, password, target.id))
      return false;
    enc = &encrypter;
  }
  doc_->save_complete(target, enc);
  made = text_of(out);
  return target.write_failed == 0;
}

}  // namespace oracle
