// MD5 and SHA-1 through EVP.
#include "sheaf/neighbours/security/digests.h"

#include <openssl/evp.h>

CQVSecDigest::CQVSecDigest(const evp_md_st* kind) : kind_(kind), context_(EVP_MD_CTX_new()) {}

CQVSecDigest::~CQVSecDigest() {
  EVP_MD_CTX_free(context_);
}

void CQVSecDigest::init() {
  EVP_DigestInit_ex(context_, kind_, nullptr);
}

void CQVSecDigest::update(const unsigned char* data, unsigned int size) {
  EVP_DigestUpdate(context_, data, size);
}

void CQVSecDigest::end(unsigned char* digest) {
  EVP_DigestFinal_ex(context_, digest, nullptr);
}

CQVSecMD5::CQVSecMD5() : CQVSecDigest(EVP_md5()) {}

CQVSecSHA1::CQVSecSHA1() : CQVSecDigest(EVP_sha1()) {}
