// AES in CBC mode through EVP, with 128 and 256 bit keys.
#include "sheaf/neighbours/security/aes.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <unistd.h>

#include <algorithm>

namespace sheaf {

AesCbc::AesCbc(Direction direction, const unsigned char* key, std::size_t key_size, const unsigned char* iv,
               Padding padding)
    : context_(EVP_CIPHER_CTX_new()), decrypts_(direction == Direction::kDecrypt) {
  const EVP_CIPHER* cipher = key_size == 32 ? EVP_aes_256_cbc() : EVP_aes_128_cbc();
  EVP_CipherInit_ex(context_, cipher, nullptr, key, iv, decrypts_ ? 0 : 1);
  EVP_CIPHER_CTX_set_padding(context_, padding == Padding::kPkcs7 ? 1 : 0);
}

AesCbc::~AesCbc() {
  EVP_CIPHER_CTX_free(context_);
}

int AesCbc::update(const unsigned char* src, int size, unsigned char* dst) {
  int count = 0;
  return EVP_CipherUpdate(context_, dst, &count, src, size) == 1 ? count : 0;
}

int AesCbc::finish(unsigned char* dst) {
  int count = 0;
  return EVP_CipherFinal_ex(context_, dst, &count) == 1 ? count : -1;
}

void aes256_encrypt_block(const unsigned char* key, const unsigned char* src, unsigned char* dst) {
  EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
  int count = 0;
  EVP_EncryptInit_ex(context, EVP_aes_256_ecb(), nullptr, key, nullptr);
  EVP_CIPHER_CTX_set_padding(context, 0);
  EVP_EncryptUpdate(context, dst, &count, src, kAesBlock);
  EVP_CIPHER_CTX_free(context);
}

bool secure_random(unsigned char* dst, std::size_t size) {
  // The system has them at once; the library behind RAND_bytes takes longer to start than a small file to write.
  constexpr std::size_t kMostAtOnce = 256;
  std::size_t done = 0;
  while (done < size && getentropy(dst + done, std::min(size - done, kMostAtOnce)) == 0)
    done += std::min(size - done, kMostAtOnce);
  return done == size || RAND_bytes(dst, static_cast<int>(size)) == 1;
}

}  // namespace sheaf
