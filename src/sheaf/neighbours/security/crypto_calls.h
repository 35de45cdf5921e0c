// The calls of libcrypto, in namespace sheaf under their own names. Half of what a small program does at its start
// would be the relocations of a library that only encrypted and signed documents need, so a build that says so
// loads it at the first call of has_crypto. Code that uses them is in namespace sheaf: there their names hide those
// of the library itself.
#pragma once

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/stack.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

#define SHEAF_CRYPTO_CALLS(CALL)      \
  CALL(ASN1_OCTET_STRING_free)        \
  CALL(ASN1_STRING_get0_data)         \
  CALL(ASN1_STRING_length)            \
  CALL(ASN1_STRING_to_UTF8)           \
  CALL(ASN1_TIME_to_tm)               \
  CALL(BIO_free_all)                  \
  CALL(BIO_get_data)                  \
  CALL(BIO_get_new_index)             \
  CALL(BIO_meth_new)                  \
  CALL(BIO_meth_set_ctrl)             \
  CALL(BIO_meth_set_read)             \
  CALL(BIO_new)                       \
  CALL(BIO_new_mem_buf)               \
  CALL(BIO_read)                      \
  CALL(BIO_s_mem)                     \
  CALL(BIO_set_data)                  \
  CALL(BIO_set_init)                  \
  CALL(CMS_ContentInfo_free)          \
  CALL(CMS_SignerInfo_cert_cmp)       \
  CALL(CMS_SignerInfo_get0_algs)      \
  CALL(CMS_SignerInfo_get0_signature) \
  CALL(CMS_get0_SignerInfos)          \
  CALL(CMS_get0_type)                 \
  CALL(CMS_get1_certs)                \
  CALL(CMS_signed_get_attr)           \
  CALL(CMS_signed_get_attr_by_NID)    \
  CALL(CMS_unsigned_get_attr)         \
  CALL(CMS_unsigned_get_attr_by_NID)  \
  CALL(CMS_verify)                    \
  CALL(CRYPTO_free)                   \
  CALL(ERR_clear_error)               \
  CALL(ERR_get_error)                 \
  CALL(EVP_CIPHER_CTX_free)           \
  CALL(EVP_CIPHER_CTX_new)            \
  CALL(EVP_CIPHER_CTX_set_padding)    \
  CALL(EVP_CipherFinal_ex)            \
  CALL(EVP_CipherInit_ex)             \
  CALL(EVP_CipherUpdate)              \
  CALL(EVP_Digest)                    \
  CALL(EVP_DigestFinal_ex)            \
  CALL(EVP_DigestInit_ex)             \
  CALL(EVP_DigestUpdate)              \
  CALL(EVP_DigestVerifyFinal)         \
  CALL(EVP_DigestVerifyInit)          \
  CALL(EVP_DigestVerifyUpdate)        \
  CALL(EVP_EncryptInit_ex)            \
  CALL(EVP_EncryptUpdate)             \
  CALL(EVP_MD_CTX_free)               \
  CALL(EVP_MD_CTX_new)                \
  CALL(EVP_MD_get_size)               \
  CALL(EVP_aes_128_cbc)               \
  CALL(EVP_aes_256_cbc)               \
  CALL(EVP_aes_256_ecb)               \
  CALL(EVP_get_digestbyname)          \
  CALL(EVP_sha1)                      \
  CALL(EVP_sha256)                    \
  CALL(EVP_sha384)                    \
  CALL(EVP_sha512)                    \
  CALL(OBJ_nid2sn)                    \
  CALL(OBJ_obj2nid)                   \
  CALL(OPENSSL_sk_new_null)           \
  CALL(OPENSSL_sk_num)                \
  CALL(OPENSSL_sk_pop_free)           \
  CALL(OPENSSL_sk_push)               \
  CALL(OPENSSL_sk_value)              \
  CALL(PEM_read_bio_X509)             \
  CALL(TS_MSG_IMPRINT_get_algo)       \
  CALL(TS_MSG_IMPRINT_get_msg)        \
  CALL(TS_TST_INFO_free)              \
  CALL(TS_TST_INFO_get_msg_imprint)   \
  CALL(TS_TST_INFO_get_time)          \
  CALL(X509_ALGOR_get0)               \
  CALL(X509_ATTRIBUTE_get0_type)      \
  CALL(X509_NAME_ENTRY_get_data)      \
  CALL(X509_NAME_get_entry)           \
  CALL(X509_NAME_get_index_by_NID)    \
  CALL(X509_NAME_print_ex)            \
  CALL(X509_STORE_CTX_free)           \
  CALL(X509_STORE_CTX_get_error)      \
  CALL(X509_STORE_CTX_init)           \
  CALL(X509_STORE_CTX_new)            \
  CALL(X509_STORE_CTX_set_flags)      \
  CALL(X509_STORE_add_cert)           \
  CALL(X509_STORE_free)               \
  CALL(X509_STORE_new)                \
  CALL(X509_free)                     \
  CALL(X509_get0_pubkey)              \
  CALL(X509_get_issuer_name)          \
  CALL(X509_get_subject_name)         \
  CALL(X509_verify_cert)              \
  CALL(d2i_ASN1_OCTET_STRING)         \
  CALL(d2i_CMS_ContentInfo)           \
  CALL(d2i_TS_TST_INFO_bio)           \
  CALL(d2i_X509)

namespace sheaf {

#ifdef SHEAF_LOADS_LIBRARIES

/// Whether the calls below may be made: the library was found, and has them all. To be asked before them.
bool has_crypto();

#define SHEAF_CRYPTO_CALL(name) extern decltype(&::name) name;

#else

inline bool has_crypto() {
  return true;
}

#define SHEAF_CRYPTO_CALL(name) using ::name;

#endif

SHEAF_CRYPTO_CALLS(SHEAF_CRYPTO_CALL)

#undef SHEAF_CRYPTO_CALL

}  // namespace sheaf
