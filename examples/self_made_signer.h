// Signs bytes for the example `sign`, by libcrypto. Nothing here knows of PDF.
#pragma once

#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

// A key with a certificate that it signed itself. Real signers load theirs, or ask a device.
struct Signer {
  explicit Signer(const char* name) : key(EVP_RSA_gen(2048), EVP_PKEY_free), certificate(X509_new(), X509_free) {
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 365 * 24 * 3600);
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME* const subject = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    X509_set_issuer_name(certificate.get(), subject);
    X509_sign(certificate.get(), key.get(), EVP_sha256());
  }
  // A detached PKCS#7 signature over `bytes`.
  std::string sign(const std::string& bytes) const {
    const std::unique_ptr<BIO, decltype(&BIO_free)> in(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())),
                                                       BIO_free);
    const std::unique_ptr<PKCS7, decltype(&PKCS7_free)> signature(
        PKCS7_sign(certificate.get(), key.get(), nullptr, in.get(), PKCS7_DETACHED | PKCS7_BINARY), PKCS7_free);
    unsigned char* der = nullptr;
    const int size = signature != nullptr ? i2d_PKCS7(signature.get(), &der) : 0;
    std::string out(reinterpret_cast<const char*>(der), size > 0 ? static_cast<std::size_t>(size) : 0);
    OPENSSL_free(der);
    return out;
  }
  std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key;
  std::unique_ptr<X509, decltype(&X509_free)> certificate;
};
