// Keys of revisions 5 and 6 (ISO 32000-2, 7.6.4.3.3 to 7.6.4.4.11).
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/crypto_calls.h"
#include "sheaf/neighbours/security/key_material.h"

namespace sheaf {

namespace {

constexpr std::size_t kHash = 32;
constexpr std::size_t kSalt = 8;
constexpr std::size_t kEntry = kHash + 2 * kSalt;  // hash, validation salt, key salt
constexpr unsigned char kZeroIv[kAesBlock] = {};

// A failure is one of memory.
void digest(const EVP_MD* kind, const unsigned char* data, std::size_t size, unsigned char* out) {
  if (EVP_Digest(data, size, out, nullptr, kind, nullptr) != 1)
    note_heap_refusal();
}

// Algorithm 2.B: the hash of revision 6, which is made costly by rounds of AES and three digests.
void hardened_hash(const PasswordBytes& password, const unsigned char* user_entry, unsigned char* k) {
  constexpr int kLeastRounds = 64;
  constexpr std::size_t kRepeats = 64;
  constexpr std::size_t kMostPart = kPasswordMost + 64 + kEntry;
  SecretBytes<kRepeats * kMostPart> input;
  SecretBytes<kRepeats * kMostPart + kAesBlock> coded;
  std::size_t k_size = kHash;
  const std::size_t user_size = user_entry != nullptr ? kEntry : 0;
  for (int round = 0;; ++round) {
    const std::size_t part = password.size + k_size + user_size;
    unsigned char* const at = input.bytes;
    std::memcpy(at, password.bytes, password.size);
    std::memcpy(at + password.size, k, k_size);
    if (user_entry != nullptr)
      std::memcpy(at + password.size + k_size, user_entry, kEntry);
    for (std::size_t i = 1; i < kRepeats; ++i)
      std::memcpy(input.bytes + i * part, input.bytes, part);
    AesCbc cipher(AesCbc::Direction::kEncrypt, k, 16, k + 16, AesCbc::Padding::kNone);
    const int size = cipher.update(input.bytes, static_cast<int>(part * kRepeats), coded.bytes);
    if (size == 0)
      return;
    int sum = 0;  // of the first sixteen bytes: their value modulo 3
    for (int i = 0; i < 16; ++i)
      sum += coded.bytes[i];
    const EVP_MD* const kinds[] = {EVP_sha256(), EVP_sha384(), EVP_sha512()};
    const EVP_MD* const kind = kinds[sum % 3];
    digest(kind, coded.bytes, static_cast<std::size_t>(size), k);
    k_size = static_cast<std::size_t>(EVP_MD_size(kind));
    if (round >= kLeastRounds - 1 && coded.bytes[size - 1] <= round + 1 - 32)
      return;
  }
}

// The hash of a password with a salt; `user_entry` (48 bytes) takes part for the owner.
void password_hash(std::int32_t revision, const PasswordBytes& password, const unsigned char* salt,
                   const unsigned char* user_entry, unsigned char* out) {
  SecretBytes<kPasswordMost + kSalt + kEntry> input;
  std::memcpy(input.bytes, password.bytes, password.size);
  std::memcpy(input.bytes + password.size, salt, kSalt);
  input.size = password.size + kSalt;
  if (user_entry != nullptr) {
    std::memcpy(input.bytes + input.size, user_entry, kEntry);
    input.size += kEntry;
  }
  SecretBytes<64> k;
  digest(EVP_sha256(), input.bytes, input.size, k.bytes);
  if (revision >= 6)
    hardened_hash(password, user_entry, k.bytes);
  std::memcpy(out, k.bytes, kHash);
}

// "Perms" repeats the permissions, so that they cannot be changed without the key (algorithm 10).
void make_perms(KeyParameters& para, const FileKey& key) {
  unsigned char block[kAesBlock];
  for (int i = 0; i < 4; ++i)
    block[i] = static_cast<unsigned char>(para.permissions >> (8 * i));
  std::memset(block + 4, 0xFF, 4);
  block[8] = para.encrypts_metadata ? 'T' : 'F';
  block[9] = 'a';
  block[10] = 'd';
  block[11] = 'b';
  secure_random(block + 12, 4);
  aes256_encrypt_block(key.bytes, block, para.perms);
}

// One of the two pairs of entries: "U" and "UE", or "O" and "OE".
void make_entry(const PasswordBytes& password, const unsigned char* user_entry, const FileKey& key,
                unsigned char* entry, unsigned char* coded_key) {
  SecretBytes<kHash> hash;
  unsigned char coded[kHash + kAesBlock];
  password_hash(6, password, entry + kHash, user_entry, entry);
  password_hash(6, password, entry + kHash + kSalt, user_entry, hash.bytes);
  AesCbc cipher(AesCbc::Direction::kEncrypt, hash.bytes, kHash, kZeroIv, AesCbc::Padding::kNone);
  cipher.update(key.bytes, kHash, coded);
  std::memcpy(coded_key, coded, kHash);
}

}  // namespace

bool check_password_aes256(const KeyParameters& para, const PasswordBytes& password, bool as_owner, FileKey& key) {
  if (!has_crypto())
    return false;
  const unsigned char* const entry = as_owner ? para.owner : para.user;
  const unsigned char* const user_entry = as_owner ? para.user : nullptr;
  SecretBytes<kHash> hash;
  password_hash(para.revision, password, entry + kHash, user_entry, hash.bytes);
  if (!equal_secret(hash.bytes, entry, kHash))
    return false;
  password_hash(para.revision, password, entry + kHash + kSalt, user_entry, hash.bytes);
  SecretBytes<kHash + kAesBlock> plain;
  AesCbc cipher(AesCbc::Direction::kDecrypt, hash.bytes, kHash, kZeroIv, AesCbc::Padding::kNone);
  cipher.update(as_owner ? para.owner_key : para.user_key, kHash, plain.bytes);
  key.size = kHash;
  std::memcpy(key.bytes, plain.bytes, kHash);
  return true;
}

bool make_aes256_entries(KeyParameters& para, const PasswordBytes& user, const PasswordBytes& owner, FileKey& key) {
  key.size = kHash;
  if (!has_crypto() || !secure_random(key.bytes, kHash) || !secure_random(para.user + kHash, 2 * kSalt) ||
      !secure_random(para.owner + kHash, 2 * kSalt))
    return false;
  make_entry(user, nullptr, key, para.user, para.user_key);
  make_entry(owner, para.user, key, para.owner, para.owner_key);
  make_perms(para, key);
  return true;
}

}  // namespace sheaf
