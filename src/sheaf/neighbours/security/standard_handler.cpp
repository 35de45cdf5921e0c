// Reads the encryption dictionary, tries the password as user and as owner, and decrypts with the
// file's key.
#include "sheaf/neighbours/security/standard_handler.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/crypt_filter.h"
#include "sheaf/neighbours/security/key_material.h"
#include "sheaf/neighbours/security/rc4.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

using namespace sheaf;

namespace {

using Method = CPDFStandardSecHand::Method;

constexpr std::int32_t kShortestKey = 5;  // bytes
constexpr std::int32_t kLongestKey = 16;

std::int32_t int_value(const CPDFDictionary& dict, const char* key, std::int32_t fallback) {
  const CPDFObj* item = dict.get_item(key);
  return item != nullptr && item->is_number() ? item->to_int() : fallback;
}

// A string entry into a fixed field: padded with zeros, or cut. False when it is no string.
bool take_bytes(const CPDFDictionary& dict, const char* key, unsigned char* field, std::size_t size) {
  const CPDFObj* item = dict.get_item(key);
  const PDF_String text = item != nullptr ? item->as_string() : PDF_String{0, nullptr};
  if (text.data == nullptr)
    return false;
  std::memset(field, 0, size);
  std::memcpy(field, text.data, std::min(size, static_cast<std::size_t>(text.len)));
  return true;
}

// "P" is a signed number of 32 bits, but some writers print it unsigned, which reads as a real.
std::uint32_t permission_bits(const CPDFDictionary& dict) {
  const CPDFObj* item = dict.get_item("P");
  if (item == nullptr)
    return 0;
  if (item->tag == kTagReal)
    return static_cast<std::uint32_t>(item->as_real() >> kFixBits);
  return static_cast<std::uint32_t>(item->as_int());
}

// A key length, stated in bits as it should be, or in bytes.
std::int32_t key_length_bytes(std::int32_t stated, std::int32_t fallback) {
  constexpr std::int32_t kLeastBits = 40;
  if (stated >= kLeastBits)
    return stated / 8;
  return stated > 0 ? stated : fallback;
}

Method method_by_name(const char* name) {
  if (name == nullptr || std::strcmp(name, "V2") == 0)
    return Method::kRC4;
  if (std::strcmp(name, "AESV2") == 0)
    return Method::kAES128;
  if (std::strcmp(name, "AESV3") == 0)
    return Method::kAES256;
  return Method::kIdentity;
}

bool is_known_method(const char* name) {
  for (const char* known : {"V2", "AESV2", "AESV3", "None", "Identity"}) {
    if (name == nullptr || std::strcmp(name, known) == 0)
      return true;
  }
  return false;
}

// Names are kept as far as their field goes.
bool is_called(const char (&kept)[32], const char* name) {
  return std::strncmp(kept, name, sizeof(kept) - 1) == 0;
}

bool has_type(const CPDFDictionary& dict, const char* name) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && type->is_name(name);
}

}  // namespace

namespace sheaf {

const char* named_crypt_filter(const CPDFDictionary& dict) {
  const CPDFObj* filter = dict.get_item(CPDFDictionary::sm_tag_filter);
  const CPDFObj* parms = dict.get_item("DecodeParms");
  if (filter == nullptr)
    return nullptr;
  const CPDFObj* own = parms;
  bool is_crypt = filter->is_name("Crypt");
  if (const CPDFArray* names = filter->as_array()) {
    const CPDFObj* first = names->get(0);
    is_crypt = first != nullptr && first->is_name("Crypt");
    own = parms != nullptr && parms->as_array() != nullptr ? parms->as_array()->get(0) : nullptr;
  }
  if (!is_crypt)
    return nullptr;
  const CPDFDictionary* settings = own != nullptr ? own->as_dict() : nullptr;
  const CPDFObj* name = settings != nullptr ? settings->get_item("Name") : nullptr;
  return name != nullptr && name->as_name() != nullptr ? name->as_name() : "Identity";
}

}  // namespace sheaf

struct CPDFStandardSecHand::Secrets {
  KeyParameters para;
  FileKey key;
};

CPDFStandardSecHand::CPDFStandardSecHand() : secrets_(*new (room_) Secrets), para_(secrets_.para), key_(secrets_.key) {
  static_assert(sizeof(Secrets) <= kRoom);
}

CPDFStandardSecHand::~CPDFStandardSecHand() {
  CPDFStandardSecHand::set_password(nullptr);
  secrets_.~Secrets();
}

const char* CPDFStandardSecHand::method_name(Method method) {
  switch (method) {
    case Method::kRC4:
      return "RC4";
    case Method::kAES128:
      return "AES-128";
    case Method::kAES256:
      return "AES-256";
    case Method::kIdentity:
      break;
  }
  return "none";
}

void CPDFStandardSecHand::set_password(const char* utf8) {
  if (password_ != nullptr)
    wipe(password_, std::strlen(password_));
  QVFree(password_);
  password_ = nullptr;
  if (utf8 == nullptr || *utf8 == 0)
    return;
  const std::size_t size = std::strlen(utf8) + 1;
  password_ = static_cast<char*>(QVAlloc(size));
  if (password_ != nullptr)
    std::memcpy(password_, utf8, size);
}

std::uint32_t CPDFStandardSecHand::get_permissions() const {
  return outcome_ == Outcome::kOpenedAsOwner ? UINT32_MAX : para_.permissions;
}

CPDFStandardSecHand::Method CPDFStandardSecHand::filter_method(const char* name) const {
  if (name == nullptr || std::strcmp(name, "Identity") == 0)
    return Method::kIdentity;
  for (const CryptFilter& filter : filters_) {
    if (is_called(filter.name, name))
      return filter.method;
  }
  return Method::kIdentity;
}

// "CF", "StmF", "StrF" and "EFF" (ISO 32000-1, 7.6.5).
bool CPDFStandardSecHand::read_crypt_filters(const CPDFDictionary& dict) {
  const CPDFObj* item = dict.get_item("CF");
  const CPDFDictionary* all = item != nullptr ? item->as_dict() : nullptr;
  filters_.clear();
  streams_ = strings_ = Method::kIdentity;
  for (std::int32_t i = 0; all != nullptr && i < all->count; ++i) {
    const CPDFDictionary* settings = all->items[i]->as_dict();
    if (settings == nullptr)
      continue;
    const CPDFObj* method = settings->get_item("CFM");
    const char* const method_text = method != nullptr ? method->as_name() : "None";
    if (!is_known_method(method_text))
      return false;
    CryptFilter filter{};
    std::strncpy(filter.name, all->items[i]->key(), sizeof(filter.name) - 1);
    filter.method = method_by_name(method_text);
    filters_.push(filter);
    if (filter.method == Method::kRC4 || filter.method == Method::kAES128)
      para_.key_bytes = 16;
    if (filter.method == Method::kRC4)
      para_.key_bytes = std::min(
          key_length_bytes(int_value(*settings, "Length", 0), key_length_bytes(int_value(dict, "Length", 0), 16)), 16);
  }
  return use_filter(dict, "StmF", streams_) && use_filter(dict, "StrF", strings_) &&
         use_filter(dict, "EFF", files_ = streams_);
}

// The method of the filter that `key` names. False when it names none that is there: to take that for
// clear text would let updates write clear text. Without the key there is nothing to change.
bool CPDFStandardSecHand::use_filter(const CPDFDictionary& dict, const char* key, Method& method) const {
  const CPDFObj* item = dict.get_item(key);
  if (item == nullptr || item->is_null())
    return true;
  if (item->as_name() == nullptr || !has_filter(item->as_name()))
    return false;
  method = filter_method(item->as_name());
  return true;
}

bool CPDFStandardSecHand::has_filter(const char* name) const {
  return std::strcmp(name, "Identity") == 0 ||
         std::any_of(filters_.begin(), filters_.end(),
                     [name](const CryptFilter& filter) { return is_called(filter.name, name); });
}

bool CPDFStandardSecHand::uses_aes() const {
  return std::any_of(filters_.begin(), filters_.end(), [](const CryptFilter& filter) {
    return filter.method == Method::kAES128 || filter.method == Method::kAES256;
  });
}

// Takes over the dictionary; sets the outcome and gives false when it cannot be used.
bool CPDFStandardSecHand::read_parameters(const PDF_String* id0, const CPDFDictionary& dict) {
  const auto refuse = [this](Outcome outcome) {
    outcome_ = outcome;
    return false;
  };
  para_ = KeyParameters{};
  named_.clear();
  const CPDFObj* filter = dict.get_item(CPDFDictionary::sm_tag_filter);
  if (filter == nullptr || filter->as_text() == nullptr || std::strcmp(filter->as_text(), "Standard") != 0)
    return refuse(Outcome::kUnsupported);
  para_.version = int_value(dict, "V", 0);
  para_.revision = int_value(dict, "R", 0);
  para_.permissions = permission_bits(dict);
  const CPDFObj* metadata = dict.get_item("EncryptMetadata");
  para_.encrypts_metadata = metadata == nullptr || metadata->tag != kTagBool || metadata->as_bool();
  encrypt_metadata = para_.encrypts_metadata ? 1 : 0;
  const bool known = (para_.version == 1 || para_.version == 2 || para_.version == 4 || para_.version == 5) &&
                     para_.revision >= 2 && para_.revision <= 6;
  if (!known)
    return refuse(para_.version == 0 && dict.get_item("V") == nullptr ? Outcome::kDamagedDictionary
                                                                      : Outcome::kUnsupported);
  streams_ = strings_ = files_ = Method::kRC4;
  filters_.clear();
  para_.key_bytes = para_.version == 1
                        ? kShortestKey
                        : std::min(key_length_bytes(int_value(dict, "Length", 0), kShortestKey), kLongestKey);
  if (para_.version >= 4 && !read_crypt_filters(dict))
    return refuse(Outcome::kUnsupported);
  const bool aes256 = para_.revision >= 5;
  if ((aes256 || uses_aes()) && !has_aes())
    return refuse(Outcome::kNoCipher);
  const std::size_t entry = aes256 ? 48 : 32;
  if (!take_bytes(dict, "O", para_.owner, entry) || !take_bytes(dict, "U", para_.user, entry))
    return refuse(Outcome::kDamagedDictionary);
  if (aes256 && (!take_bytes(dict, "OE", para_.owner_key, 32) || !take_bytes(dict, "UE", para_.user_key, 32)))
    return refuse(Outcome::kDamagedDictionary);
  if (aes256)
    take_bytes(dict, "Perms", para_.perms, sizeof(para_.perms));
  id_.clear();
  for (std::int32_t i = 0; id0 != nullptr && id0->data != nullptr && i < id0->len; ++i)
    id_.push(static_cast<unsigned char>(id0->data[i]));
  para_.id = id_.begin();
  para_.id_size = id_.size();
  return true;
}

// True, with the outcome set, when the password opens the document as user or owner.
bool CPDFStandardSecHand::try_password(const char* utf8) {
  const auto opened = [this](Outcome outcome) {
    outcome_ = outcome;
    return true;
  };
  if (para_.revision >= 5) {
    // Many writers take the bytes as they are typed, so these are tried where the prepared form fails.
    const PasswordBytes prepared = sasl_password(utf8);
    const PasswordBytes typed = typed_password(utf8);
    const bool differs = prepared.size != typed.size || std::memcmp(prepared.bytes, typed.bytes, typed.size) != 0;
    for (const PasswordBytes* password : {&prepared, &typed}) {
      if (password == &typed && !differs)
        continue;
      if (check_password_aes256(para_, *password, true, key_))
        return opened(Outcome::kOpenedAsOwner);
      if (check_password_aes256(para_, *password, false, key_))
        return opened(Outcome::kOpenedAsUser);
    }
    return false;
  }
  const PasswordBytes password = doc_password(utf8);
  if (check_user_password_rc4(para_, password, key_))
    return opened(Outcome::kOpenedAsUser);
  return check_user_password_rc4(para_, user_password_of_owner(para_, password), key_) &&
         opened(Outcome::kOpenedAsOwner);
}

// "Length" can be missing or false. The check of a password in the dictionary shows which length it was made with.
bool CPDFStandardSecHand::try_key_lengths(const char* utf8) {
  if (try_password(utf8))
    return true;
  const bool has_choice = para_.version == 2 || (para_.version == 4 && streams_ == Method::kRC4);
  const std::int32_t stated = para_.key_bytes;
  for (const std::int32_t usual : {kLongestKey, kShortestKey}) {
    para_.key_bytes = usual;
    if (has_choice && usual != stated && try_password(utf8))
      return true;
  }
  para_.key_bytes = stated;
  return false;
}

int CPDFStandardSecHand::authorize(const PDF_String* id0, const CPDFDictionary* encrypt_dict) {
  outcome_ = Outcome::kDamagedDictionary;
  if (encrypt_dict == nullptr || !read_parameters(id0, *encrypt_dict))
    return 0;
  if (password_ == nullptr) {
    outcome_ = Outcome::kNeedsPassword;
    return try_key_lengths("") ? 1 : 0;
  }
  outcome_ = Outcome::kWrongPassword;
  return try_key_lengths(password_) || try_key_lengths("") ? 1 : 0;
}

int CPDFStandardSecHand::get_dec_size(int len) {
  return len > INT32_MAX - 64 ? -1 : len + static_cast<int>(kAesBlock);
}

int CPDFStandardSecHand::prepare_stream(int num, int /*gen*/, const CPDFDictionary* dict) {
  if (has_type(*dict, "XRef"))
    return 1;
  if (const char* name = named_crypt_filter(*dict)) {
    const Method method = filter_method(name);
    if (method == Method::kIdentity)
      return 1;
    remember_method(num, method);
    return 0;
  }
  forget_method(num);
  const bool metadata = num == metadata_obj || has_type(*dict, "Metadata");
  if (!para_.encrypts_metadata && para_.version >= 4 && metadata)
    return 1;
  if (files_ != streams_ && has_type(*dict, "EmbeddedFile"))
    remember_method(num, files_);
  return streams_ == Method::kIdentity && method_of(num) == Method::kIdentity ? 1 : 0;
}

void CPDFStandardSecHand::remember_method(int num, Method method) {
  const auto index = object_index(num);
  if (num >= 0 && (index < named_.size() || named_.resize(index + index / 2 + 1)))
    named_[index] = static_cast<std::uint8_t>(static_cast<std::uint8_t>(method) + 1);
}

void CPDFStandardSecHand::forget_method(int num) {
  if (object_index(num) < named_.size())
    named_[object_index(num)] = 0;
}

CPDFStandardSecHand::Method CPDFStandardSecHand::method_of(int num) const {
  const auto index = object_index(num);
  return index < named_.size() && named_[index] != 0 ? static_cast<Method>(named_[index] - 1) : streams_;
}

void CPDFStandardSecHand::decrypt(Method method, int num, int gen, const unsigned char* src, int len,
                                  unsigned char* dst, int* out_len) {
  *out_len = 0;
  if (len < 1)
    return;
  if (method == Method::kIdentity) {
    std::memcpy(dst, src, static_cast<std::size_t>(len));
    *out_len = len;
    return;
  }
  const FileKey key = method == Method::kAES256 ? key_ : object_key(key_, num, gen, method == Method::kAES128);
  if (method == Method::kRC4) {
    CQVSecRC4(key.bytes, key.size).crypt(src, static_cast<std::size_t>(len), dst);
    *out_len = len;
    return;
  }
  // An initialisation vector, then whole blocks; what hangs after them is no data. Wrong padding
  // leaves out the last block only.
  constexpr int kBlock = static_cast<int>(kAesBlock);
  const int body = (len - kBlock) / kBlock * kBlock;
  if (body < kBlock)
    return;
  const std::size_t key_size = method == Method::kAES256 ? 32 : 16;
  AesCbc cipher(AesCbc::Direction::kDecrypt, key.bytes, key_size, src, AesCbc::Padding::kNone);
  const int count = cipher.update(src + kBlock, body, dst);
  const int padding = count > 0 ? dst[count - 1] : 0;
  *out_len = padding >= 1 && padding <= kBlock && padding <= count ? count - padding : count;
}

void CPDFStandardSecHand::decrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst,
                                       int* out_len) {
  decrypt(method_of(num), num, gen, src, len, dst, out_len);
}

void CPDFStandardSecHand::decrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst,
                                         int* out_len) {
  decrypt(strings_, num, gen, src, len, dst, out_len);
}
