// AES in CBC mode through EVP, with 128 and 256 bit keys.
#include "sheaf/neighbours/security/aes.h"

#include <sys/random.h>

#include <cerrno>

#include "sheaf/base/heap.h"
#include "sheaf/neighbours/security/crypto_calls.h"

namespace sheaf {

bool has_aes() {
  return has_crypto();
}

AesCbc::AesCbc(Direction direction, const unsigned char* key, std::size_t key_size, const unsigned char* iv,
               Padding padding)
    : context_(has_crypto() ? EVP_CIPHER_CTX_new() : nullptr), decrypts_(direction == Direction::kDecrypt) {
  is_ready_ = context_ != nullptr &&
              EVP_CipherInit_ex(context_, key_size == 32 ? EVP_aes_256_cbc() : EVP_aes_128_cbc(), nullptr, key, iv,
                                decrypts_ ? 0 : 1) == 1 &&
              EVP_CIPHER_CTX_set_padding(context_, padding == Padding::kPkcs7 ? 1 : 0) == 1;
  if (!is_ready_)
    note_heap_refusal();
}

AesCbc::~AesCbc() {
  if (context_ != nullptr)
    EVP_CIPHER_CTX_free(context_);
}

int AesCbc::update(const unsigned char* src, int size, unsigned char* dst) {
  int count = 0;
  if (is_ready_ && EVP_CipherUpdate(context_, dst, &count, src, size) == 1)
    return count;
  note_heap_refusal();
  return 0;
}

int AesCbc::finish(unsigned char* dst) {
  int count = 0;
  return is_ready_ && EVP_CipherFinal_ex(context_, dst, &count) == 1 ? count : -1;
}

void aes256_encrypt_block(const unsigned char* key, const unsigned char* src, unsigned char* dst) {
  EVP_CIPHER_CTX* context = has_crypto() ? EVP_CIPHER_CTX_new() : nullptr;
  int count = 0;
  if (context == nullptr || EVP_EncryptInit_ex(context, EVP_aes_256_ecb(), nullptr, key, nullptr) != 1 ||
      EVP_CIPHER_CTX_set_padding(context, 0) != 1 || EVP_EncryptUpdate(context, dst, &count, src, kAesBlock) != 1)
    note_heap_refusal();
  if (context != nullptr)
    EVP_CIPHER_CTX_free(context);
}

bool secure_random(unsigned char* dst, std::size_t size) {
  while (size > 0) {
    const ssize_t got = getrandom(dst, size, 0);
    if (got < 0 && errno != EINTR)
      return false;
    const std::size_t count = got > 0 ? static_cast<std::size_t>(got) : 0;
    dst += count;
    size -= count;
  }
  return true;
}

}  // namespace sheaf
