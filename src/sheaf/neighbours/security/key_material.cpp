// Keys of revisions 2 to 4, and what all revisions share.
#include "sheaf/neighbours/security/key_material.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/doc_encoding.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/neighbours/security/rc4.h"

namespace sheaf {

namespace {

constexpr std::size_t kPadded = 32;

// What fills passwords up to 32 bytes (ISO 32000-1, 7.6.3.3).
constexpr unsigned char kPadding[kPadded] = {0x28, 0xBF, 0x4E, 0x5E, 0x4E, 0x75, 0x8A, 0x41, 0x64, 0x00, 0x4E,
                                             0x56, 0xFF, 0xFA, 0x01, 0x08, 0x2E, 0x2E, 0x00, 0xB6, 0xD0, 0x68,
                                             0x3E, 0x80, 0x2F, 0x0C, 0xA9, 0xFE, 0x64, 0x53, 0x69, 0x7A};

void pad_password(const PasswordBytes& password, unsigned char* out) {
  const std::size_t count = std::min(password.size, kPadded);
  std::memcpy(out, password.bytes, count);
  std::memcpy(out + count, kPadding, kPadded - count);
}

void md5(const unsigned char* data, std::size_t size, unsigned char* digest) {
  CQVSecMD5 hash;
  hash.init();
  hash.update(data, static_cast<unsigned>(size));
  hash.end(digest);
}

std::size_t key_size(const KeyParameters& para) {
  return static_cast<std::size_t>(std::clamp<std::int32_t>(para.key_bytes, 5, 16));
}

// Algorithm 2: the file's key from the user password.
void compute_key(const KeyParameters& para, const PasswordBytes& password, FileKey& key) {
  unsigned char padded[kPadded];
  unsigned char digest[CQVSecMD5::kSize];
  pad_password(password, padded);
  const unsigned char permissions[4] = {
      static_cast<unsigned char>(para.permissions), static_cast<unsigned char>(para.permissions >> 8),
      static_cast<unsigned char>(para.permissions >> 16), static_cast<unsigned char>(para.permissions >> 24)};
  CQVSecMD5 hash;
  hash.init();
  hash.update(padded, kPadded);
  hash.update(para.owner, kPadded);
  hash.update(permissions, sizeof(permissions));
  hash.update(para.id, static_cast<unsigned>(para.id_size));
  if (para.revision >= 4 && !para.encrypts_metadata)
    hash.update(reinterpret_cast<const unsigned char*>("\xFF\xFF\xFF\xFF"), 4);
  hash.end(digest);
  const std::size_t size = para.revision == 2 ? 5 : key_size(para);
  for (int i = 0; para.revision >= 3 && i < 50; ++i)
    md5(digest, size, digest);
  key.size = size;
  std::memcpy(key.bytes, digest, size);
  wipe(padded, sizeof(padded));
  wipe(digest, sizeof(digest));
}

void rc4(const unsigned char* key, std::size_t size, const unsigned char* src, std::size_t count, unsigned char* dst) {
  CQVSecRC4 cipher(key, size);
  cipher.crypt(src, count, dst);
}

// The rounds of revision 3 and later: the key with each byte combined with the number of the round.
void rc4_round(const unsigned char* key, std::size_t size, int round, unsigned char* data, std::size_t count) {
  SecretBytes<32> mixed;
  for (std::size_t i = 0; i < size; ++i)
    mixed.bytes[i] = static_cast<unsigned char>(key[i] ^ round);
  rc4(mixed.bytes, size, data, count, data);
}

// Algorithms 4 and 5: the value of "U". Revision 2 fills 32 bytes, later ones 16.
std::size_t compute_user_entry(const KeyParameters& para, const FileKey& key, unsigned char* out) {
  if (para.revision == 2) {
    rc4(key.bytes, key.size, kPadding, kPadded, out);
    return kPadded;
  }
  CQVSecMD5 hash;
  hash.init();
  hash.update(kPadding, kPadded);
  hash.update(para.id, static_cast<unsigned>(para.id_size));
  hash.end(out);
  for (int round = 0; round < 20; ++round)
    rc4_round(key.bytes, key.size, round, out, CQVSecMD5::kSize);
  return CQVSecMD5::kSize;
}

// The key under which "O" hides the user password (algorithm 3, steps a to d).
void compute_owner_key(const KeyParameters& para, const PasswordBytes& owner, FileKey& key) {
  unsigned char padded[kPadded];
  unsigned char digest[CQVSecMD5::kSize];
  pad_password(owner, padded);
  md5(padded, kPadded, digest);
  for (int i = 0; para.revision >= 3 && i < 50; ++i)
    md5(digest, CQVSecMD5::kSize, digest);
  key.size = para.revision == 2 ? 5 : key_size(para);
  std::memcpy(key.bytes, digest, key.size);
  wipe(padded, sizeof(padded));
  wipe(digest, sizeof(digest));
}

}  // namespace

void wipe(void* bytes, std::size_t size) {
  explicit_bzero(bytes, size);
}

bool equal_secret(const void* a, const void* b, std::size_t size) {
  const auto* const left = static_cast<const volatile unsigned char*>(a);
  const auto* const right = static_cast<const volatile unsigned char*>(b);
  unsigned difference = 0;
  for (std::size_t i = 0; i < size; ++i)
    difference |= static_cast<unsigned>(left[i] ^ right[i]);
  return difference == 0;
}

PasswordBytes doc_password(const char* utf8) {
  PasswordBytes out;
  const auto* at = reinterpret_cast<const unsigned char*>(utf8 != nullptr ? utf8 : "");
  while (*at != 0 && out.size < kPasswordMost) {
    wchar_t code = 0;
    const int used = cvt_char_UTF8_To_UCS4(at, code);
    const int byte = doc_encoding_byte(static_cast<std::uint32_t>(code));
    out.bytes[out.size++] = byte >= 0 ? static_cast<unsigned char>(byte) : *at;
    at += byte >= 0 ? used : 1;
  }
  return out;
}

bool check_user_password_rc4(const KeyParameters& para, const PasswordBytes& password, FileKey& key) {
  compute_key(para, password, key);
  unsigned char entry[kPadded];
  const std::size_t size = compute_user_entry(para, key, entry);
  return equal_secret(entry, para.user, size);
}

PasswordBytes user_password_of_owner(const KeyParameters& para, const PasswordBytes& owner) {
  FileKey key;
  compute_owner_key(para, owner, key);
  PasswordBytes user;
  user.size = kPadded;
  std::memcpy(user.bytes, para.owner, kPadded);
  if (para.revision == 2) {
    rc4(key.bytes, key.size, user.bytes, kPadded, user.bytes);
    return user;
  }
  for (int round = 19; round >= 0; --round)
    rc4_round(key.bytes, key.size, round, user.bytes, kPadded);
  return user;
}

void make_rc4_entries(KeyParameters& para, const PasswordBytes& user, const PasswordBytes& owner, FileKey& key) {
  FileKey hiding;
  compute_owner_key(para, owner, hiding);
  pad_password(user, para.owner);
  for (int round = 0; round < (para.revision == 2 ? 1 : 20); ++round)
    rc4_round(hiding.bytes, hiding.size, round, para.owner, kPadded);
  compute_key(para, user, key);
  std::memset(para.user, 0, sizeof(para.user));
  compute_user_entry(para, key, para.user);
}

FileKey object_key(const FileKey& key, int num, int gen, bool aes) {
  const auto n = static_cast<std::uint32_t>(num);
  const auto g = static_cast<std::uint32_t>(gen);
  const unsigned char tail[9] = {static_cast<unsigned char>(n),
                                 static_cast<unsigned char>(n >> 8),
                                 static_cast<unsigned char>(n >> 16),
                                 static_cast<unsigned char>(g),
                                 static_cast<unsigned char>(g >> 8),
                                 's',
                                 'A',
                                 'l',
                                 'T'};
  unsigned char digest[CQVSecMD5::kSize];
  CQVSecMD5 hash;
  hash.init();
  hash.update(key.bytes, static_cast<unsigned>(key.size));
  hash.update(tail, aes ? 9 : 5);
  hash.end(digest);
  FileKey out;
  out.size = std::min<std::size_t>(key.size + 5, CQVSecMD5::kSize);
  std::memcpy(out.bytes, digest, out.size);
  wipe(digest, sizeof(digest));
  return out;
}

}  // namespace sheaf
