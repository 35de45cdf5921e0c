// Makes the encryption dictionary and encrypts strings and streams with the file's key.
#include "sheaf/neighbours/security/encrypter.h"

#include <cstring>
#include <new>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/crypt_filter.h"
#include "sheaf/neighbours/security/key_material.h"
#include "sheaf/neighbours/security/rc4.h"
#include "sheaf/object/dictionary.h"

using namespace sheaf;

namespace {

constexpr char kFilterName[] = "StdCF";
constexpr char kStreamFilter[] = "StmF";
constexpr char kStringFilter[] = "StrF";
constexpr int kVersionOfLengths = 2;  // the "V" of a dictionary with a "Length" and without crypt filters
constexpr int kByteBits = 8;
constexpr int kBlock = static_cast<int>(kAesBlock);

// Bits that are always set, and the two that are always clear (ISO 32000-2, table 22).
constexpr std::uint32_t kReservedSet = 0xFFFFF0C0;
constexpr std::uint32_t kReservedClear = 3;

}  // namespace

CPDFStandardEncrypt::CPDFStandardEncrypt() : key_(*new (key_room_) FileKey) {
  static_assert(sizeof(FileKey) <= kKeyRoom);
}

CPDFStandardEncrypt::~CPDFStandardEncrypt() {
  key_.~FileKey();
  delete aes_;
  delete rc4_;
}

bool CPDFStandardEncrypt::create(const Settings& settings, const PDF_String& id0) {
  if (settings.algorithm != Algorithm::kRC4 && !has_aes())
    return false;
  const HeapWatch watch;
  KeyParameters para;
  para.permissions = (settings.permissions | kReservedSet) & ~kReservedClear;
  para.encrypts_metadata = !settings.clear_metadata;
  para.key_bytes = 16;
  para.id = reinterpret_cast<const unsigned char*>(id0.data);
  para.id_size = id0.data != nullptr ? static_cast<std::size_t>(id0.len) : 0;
  const char* const owner = settings.owner_password[0] != 0 ? settings.owner_password : settings.user_password;
  clear_metadata_ = settings.clear_metadata && settings.algorithm != Algorithm::kRC4;
  switch (settings.algorithm) {
    case Algorithm::kAES256:
      para.version = 5;
      para.revision = 6;
      streams_ = Method::kAES256;
      if (!make_aes256_entries(para, sasl_password(settings.user_password), sasl_password(owner), key_))
        return false;
      break;
    case Algorithm::kAES128:
      para.version = para.revision = 4;
      streams_ = Method::kAES128;
      make_rc4_entries(para, doc_password(settings.user_password), doc_password(owner), key_);
      break;
    case Algorithm::kRC4:
      para.version = 2;
      para.revision = 3;
      streams_ = Method::kRC4;
      make_rc4_entries(para, doc_password(settings.user_password), doc_password(owner), key_);
      break;
  }
  strings_ = streams_;
  fill_dict(settings, para);
  return watch.all_granted();
}

void CPDFStandardEncrypt::fill_dict(const Settings& settings, const KeyParameters& para) {
  const auto set_bytes = [this](const char* key, const unsigned char* bytes, int size) {
    encrypt_dict.set_item_str(key, reinterpret_cast<const char*>(bytes), size);
  };
  const bool aes256 = settings.algorithm == Algorithm::kAES256;
  encrypt_dict.clear();
  encrypt_dict.set_item_name(CPDFDictionary::sm_tag_filter, "Standard");
  encrypt_dict.set_item_int("V", para.version);
  encrypt_dict.set_item_int("R", para.revision);
  encrypt_dict.set_item_int(CPDFDictionary::sm_tag_length, aes256 ? 256 : 128);
  encrypt_dict.set_item_int("P", static_cast<int>(para.permissions));
  set_bytes("O", para.owner, aes256 ? 48 : 32);
  set_bytes("U", para.user, aes256 ? 48 : 32);
  if (aes256) {
    set_bytes("OE", para.owner_key, 32);
    set_bytes("UE", para.user_key, 32);
    set_bytes("Perms", para.perms, 16);
  }
  if (settings.algorithm == Algorithm::kRC4)
    return;
  CPDFDictionary filter;
  CPDFDictionary filters;
  filter.set_item_name("CFM", aes256 ? "AESV3" : "AESV2");
  filter.set_item_name("AuthEvent", "DocOpen");
  filter.set_item_int(CPDFDictionary::sm_tag_length, aes256 ? 32 : 16);
  filters.set_item_dict(kFilterName, &filter);
  encrypt_dict.set_item_dict("CF", &filters);
  encrypt_dict.set_item_name(kStreamFilter, kFilterName);
  encrypt_dict.set_item_name(kStringFilter, kFilterName);
  if (clear_metadata_)
    encrypt_dict.set_item_bool("EncryptMetadata", 0);
  filter.clear();
  filters.clear();
}

bool CPDFStandardEncrypt::continue_with(const CPDFStandardSecHand& hand, const CPDFDictionary& dict) {
  const HeapWatch watch;
  hand_ = &hand;
  key_ = hand.file_key();
  strings_ = hand.string_method();
  streams_ = hand.stream_method();
  files_ = hand.file_method();
  clear_metadata_ = hand.encrypt_metadata == 0;
  encrypt_dict.copy_from(&dict);
  sign_permissions(encrypt_dict);
  // Without crypt filters "Length" is what readers go by, and it can be missing or false.
  if (hand.parameters().version == kVersionOfLengths)
    encrypt_dict.set_item_int(CPDFDictionary::sm_tag_length, hand.parameters().key_bytes * kByteBits);
  return watch.all_granted();
}

void CPDFStandardEncrypt::use_one_method() {
  if (strings_ == streams_)
    return;
  const bool takes_strings = streams_ == Method::kIdentity;
  Cleared<CPDFDictionary> chosen;
  chosen.set_item(kStreamFilter, encrypt_dict.get_item(takes_strings ? kStringFilter : kStreamFilter));
  encrypt_dict.set_item(kStringFilter, chosen.get_item(kStreamFilter));
  encrypt_dict.set_item(kStreamFilter, chosen.get_item(kStreamFilter));
  streams_ = strings_ = takes_strings ? strings_ : streams_;
  if (encrypt_dict.get_item("EFF") == nullptr)
    files_ = streams_;
}

void CPDFStandardEncrypt::sign_permissions(CPDFDictionary& dict) {
  const CPDFObj* const item = dict.get_item("P");
  if (item != nullptr && item->tag == kTagReal)
    dict.set_item_int("P", static_cast<int>(static_cast<std::uint32_t>(item->as_real() >> kFixBits)));
}

int CPDFStandardEncrypt::get_enc_size(int len) {
  const bool aes = strings_ == Method::kAES128 || strings_ == Method::kAES256;
  return aes ? kBlock + (len / kBlock + 1) * kBlock : len;
}

int CPDFStandardEncrypt::get_stream_size(int len) {
  const bool aes = present_ == Method::kAES128 || present_ == Method::kAES256;
  return aes ? kBlock + (len / kBlock + 1) * kBlock : len;
}

bool CPDFStandardEncrypt::encrypts_stream(int num, int /*gen*/, const CPDFDictionary* dict) {
  present_ = streams_;
  const CPDFObj* type = dict->get_item(CPDFDictionary::sm_tag_type);
  if (type != nullptr && type->is_name("XRef"))
    return false;
  const char* const name = named_crypt_filter(*dict);
  if (name != nullptr && hand_ != nullptr)
    present_ = hand_->filter_method(name);
  else if (name != nullptr)
    present_ = std::strcmp(name, kFilterName) == 0 ? streams_ : Method::kIdentity;
  else if (hand_ != nullptr && type != nullptr && type->is_name("EmbeddedFile"))
    present_ = files_;
  const bool metadata = (type != nullptr && type->is_name("Metadata")) ||
                        (hand_ != nullptr && hand_->metadata_obj != 0 && hand_->metadata_obj == num);
  return present_ != Method::kIdentity && !(clear_metadata_ && metadata);
}

// The cipher for one string or stream; gives the count of bytes that come before the data.
int CPDFStandardEncrypt::begin(Method method, int num, int gen, unsigned char* dst) {
  delete aes_;
  delete rc4_;
  aes_ = nullptr;
  rc4_ = nullptr;
  if (method == Method::kIdentity)
    return 0;
  const FileKey key = method == Method::kAES256 ? key_ : object_key(key_, num, gen, method == Method::kAES128);
  if (method == Method::kRC4) {
    rc4_ = new (std::nothrow) CQVSecRC4(key.bytes, key.size);
    return 0;
  }
  secure_random(dst, kAesBlock);
  const std::size_t key_size = method == Method::kAES256 ? 32 : 16;
  aes_ = new (std::nothrow) AesCbc(AesCbc::Direction::kEncrypt, key.bytes, key_size, dst, AesCbc::Padding::kPkcs7);
  return kBlock;
}

int CPDFStandardEncrypt::begin_stream(int num, int gen, unsigned char* dst) {
  return begin(present_, num, gen, dst);
}

int CPDFStandardEncrypt::next_piece(const unsigned char* src, int len, unsigned char* dst) {
  if (aes_ != nullptr)
    return aes_->update(src, len, dst);
  if (rc4_ != nullptr)
    rc4_->crypt(src, static_cast<std::size_t>(len), dst);
  else
    std::memcpy(dst, src, static_cast<std::size_t>(len));
  return len;
}

int CPDFStandardEncrypt::end_stream(unsigned char* dst) {
  const int count = aes_ != nullptr ? aes_->finish(dst) : 0;
  return count > 0 ? count : 0;
}

void CPDFStandardEncrypt::encrypt(Method method, int num, int gen, const unsigned char* src, int len,
                                  unsigned char* dst, int* out_len) {
  int count = begin(method, num, gen, dst);
  count += next_piece(src, len, dst + count);
  count += end_stream(dst + count);
  *out_len = count;
}

void CPDFStandardEncrypt::encrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst,
                                         int* out_len) {
  encrypt(strings_, num, gen, src, len, dst, out_len);
}

void CPDFStandardEncrypt::encrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst,
                                       int* out_len) {
  encrypt(present_, num, gen, src, len, dst, out_len);
}
