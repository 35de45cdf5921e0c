// AES in CBC mode, on libcrypto.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/heap.h"

struct evp_cipher_ctx_st;

namespace sheaf {

constexpr std::size_t kAesBlock = 16;

/// Whether AES can be had: a build that loads libcrypto when it is needed may not find it.
bool has_aes();

/// A running encryption or decryption. Without libcrypto nothing comes out of it, so has_aes is asked first; where it
/// fails, that counts as a refusal of memory, which is what makes it fail.
class AesCbc : public QVHeapObject<AesCbc> {
public:
  enum class Direction { kEncrypt, kDecrypt };
  enum class Padding { kNone, kPkcs7 };

  /// `key` has 16 or 32 bytes, `iv` kAesBlock.
  AesCbc(Direction direction, const unsigned char* key, std::size_t key_size, const unsigned char* iv, Padding padding);
  ~AesCbc();
  AesCbc(const AesCbc&) = delete;
  AesCbc& operator=(const AesCbc&) = delete;

  /// Gives the count of bytes put into `dst`, which has room for `size` + kAesBlock.
  int update(const unsigned char* src, int size, unsigned char* dst);
  /// The last block; -1 when the padding is wrong.
  int finish(unsigned char* dst);

private:
  evp_cipher_ctx_st* context_;
  bool decrypts_;
  bool is_ready_ = false;
};

/// Encrypts one block without chaining; the permissions entry is coded so.
void aes256_encrypt_block(const unsigned char* key, const unsigned char* src, unsigned char* dst);

/// Random bytes of the operating system's generator. False when the system has none to give.
bool secure_random(unsigned char* dst, std::size_t size);

}  // namespace sheaf
