// The contexts of libmd are plain memory, made in the room of the classes.
#include "sheaf/neighbours/security/digests.h"

#include <sys/types.h>

#include <md5.h>
#include <sha1.h>

#include <new>

namespace {

template <class Context, std::size_t Room>
Context* context_in(unsigned char (&room)[Room]) {
  static_assert(sizeof(Context) <= Room && alignof(Context) <= alignof(std::uint64_t));
  return std::launder(reinterpret_cast<Context*>(room));
}

}  // namespace

void CQVSecMD5::init() {
  MD5Init(new (state_) MD5_CTX);
}

void CQVSecMD5::update(const unsigned char* data, unsigned int size) {
  MD5Update(context_in<MD5_CTX>(state_), data, size);
}

void CQVSecMD5::end(unsigned char* digest) {
  MD5Final(digest, context_in<MD5_CTX>(state_));
}

void CQVSecSHA1::init() {
  SHA1Init(new (state_) SHA1_CTX);
}

void CQVSecSHA1::update(const unsigned char* data, unsigned int size) {
  SHA1Update(context_in<SHA1_CTX>(state_), data, size);
}

void CQVSecSHA1::end(unsigned char* digest) {
  SHA1Final(digest, context_in<SHA1_CTX>(state_));
}
