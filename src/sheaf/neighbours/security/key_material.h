// Keys and passwords of the standard security handler (ISO 32000-1, 7.6.3; ISO 32000-2, 7.6.4).
// Everything here is wiped when it goes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sheaf {

/// Bytes that are wiped on destruction.
template <std::size_t Size>
struct SecretBytes {
  unsigned char bytes[Size] = {};
  std::size_t size = 0;
  SecretBytes() = default;
  SecretBytes(const SecretBytes&) = default;
  SecretBytes& operator=(const SecretBytes&) = default;
  ~SecretBytes();
};

void wipe(void* bytes, std::size_t size);
/// Whether two blocks are equal, in a time that does not depend on where they differ.
bool equal_secret(const void* a, const void* b, std::size_t size);

template <std::size_t Size>
SecretBytes<Size>::~SecretBytes() {
  wipe(bytes, Size);
}

/// A password as the handler takes it: padded by the algorithm, cut at 127 bytes for AES-256.
constexpr std::size_t kPasswordMost = 127;
using PasswordBytes = SecretBytes<kPasswordMost + 1>;
using FileKey = SecretBytes<32>;

/// What the encryption dictionary says, as far as keys depend on it. Short entries are padded with
/// zeros, long ones cut.
struct KeyParameters {
  std::int32_t version = 0;
  std::int32_t revision = 0;
  std::int32_t key_bytes = 5;
  std::uint32_t permissions = 0;
  bool encrypts_metadata = true;
  unsigned char owner[48] = {};
  unsigned char user[48] = {};
  unsigned char owner_key[32] = {};
  unsigned char user_key[32] = {};
  unsigned char perms[16] = {};
  const unsigned char* id = nullptr;  ///< First element of the file identifier, borrowed.
  std::size_t id_size = 0;
};

/// `utf8` in PDFDocEncoding, what it lacks left as it is: for revisions 2 to 4.
PasswordBytes doc_password(const char* utf8);
/// `utf8` prepared by SASLprep (RFC 4013) as far as normalisation goes: for revisions 5 and 6.
PasswordBytes sasl_password(const char* utf8);
/// `utf8` byte for byte.
PasswordBytes typed_password(const char* utf8);

/// Revisions 2 to 4. True, with `key` filled, when `password` is the user's (algorithm 6).
bool check_user_password_rc4(const KeyParameters& para, const PasswordBytes& password, FileKey& key);
/// The user password that an owner password hides (algorithm 7).
PasswordBytes user_password_of_owner(const KeyParameters& para, const PasswordBytes& owner);
/// Fills `owner` and `user` and gives the key, for writing (algorithms 2 to 5).
void make_rc4_entries(KeyParameters& para, const PasswordBytes& user, const PasswordBytes& owner, FileKey& key);

/// Revisions 5 and 6 (algorithm 2.A). `as_owner` picks the entries.
bool check_password_aes256(const KeyParameters& para, const PasswordBytes& password, bool as_owner, FileKey& key);
/// Fills all entries for revision 6 from a fresh random key (algorithms 8 to 10). False without
/// random numbers.
bool make_aes256_entries(KeyParameters& para, const PasswordBytes& user, const PasswordBytes& owner, FileKey& key);

/// Key of object (`num`, `gen`) for RC4 and, `aes` true, for AES-128 (algorithm 1).
FileKey object_key(const FileKey& key, int num, int gen, bool aes);

}  // namespace sheaf
