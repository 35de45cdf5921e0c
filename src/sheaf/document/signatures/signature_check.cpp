// The covered bytes are read from the file piece by piece, so that signatures of long files take no memory.
#include "sheaf/document/signatures/signatures.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string_view>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/crypto_calls.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

struct Release {
  void operator()(BIO* bio) const { BIO_free_all(bio); }
  void operator()(CMS_ContentInfo* cms) const { CMS_ContentInfo_free(cms); }
  void operator()(X509* certificate) const { X509_free(certificate); }
  void operator()(X509_STORE* store) const { X509_STORE_free(store); }
  void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
  void operator()(ASN1_OCTET_STRING* text) const { ASN1_OCTET_STRING_free(text); }
  void operator()(TS_TST_INFO* info) const { TS_TST_INFO_free(info); }
  void operator()(STACK_OF(X509) * list) const { sk_X509_pop_free(list, X509_free); }
};
template <class T>
using Owned = std::unique_ptr<T, Release>;

const unsigned char* bytes_of(const PDF_String& text) {
  return reinterpret_cast<const unsigned char*>(text.data);
}

// The covered bytes of a file, one after the other.
struct Covered {
  CPDFDoc* doc;
  const long long* range;
  long long passed = 0;

  int read(char* out, int size) {
    const bool in_first = passed < range[1];
    const long long at = in_first ? range[0] + passed : range[2] + passed - range[1];
    const long long left = in_first ? range[1] - passed : range[1] + range[3] - passed;
    const auto wanted = static_cast<unsigned>(std::min<long long>(left, size));
    const unsigned got = read_file_bytes(*doc, at, out, wanted);
    passed += got;
    return static_cast<int>(got);
  }
};

int read_covered(BIO* bio, char* out, int size) {
  return static_cast<Covered*>(BIO_get_data(bio))->read(out, size);
}

long control_covered(BIO* bio, int command, long, void*) {
  const auto* const covered = static_cast<Covered*>(BIO_get_data(bio));
  if (command == BIO_CTRL_EOF)
    return covered->passed >= covered->range[1] + covered->range[3] ? 1 : 0;
  return command == BIO_CTRL_FLUSH || command == BIO_CTRL_PUSH || command == BIO_CTRL_POP ? 1 : 0;
}

// A source of OpenSSL's over the covered bytes; null without memory.
BIO* open_covered(Covered& covered) {
  static BIO_METHOD* const kind = [] {
    BIO_METHOD* const made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "signed bytes");
    if (made != nullptr) {
      BIO_meth_set_read(made, read_covered);
      BIO_meth_set_ctrl(made, control_covered);
    }
    return made;
  }();
  BIO* const bio = kind != nullptr ? BIO_new(kind) : nullptr;
  if (bio == nullptr)
    return nullptr;
  BIO_set_data(bio, &covered);
  BIO_set_init(bio, 1);
  return bio;
}

// The digest of the covered bytes. The size, 0 on failure.
unsigned digest_covered(CPDFDoc& doc, const PDF_SIGNATURE& signature, const EVP_MD* kind,
                        unsigned char (&digest)[EVP_MAX_MD_SIZE]) {
  Covered covered{&doc, signature.range};
  const Owned<EVP_MD_CTX> context(EVP_MD_CTX_new());
  if (kind == nullptr || !context || EVP_DigestInit_ex(context.get(), kind, nullptr) != 1)
    return 0;
  char block[16 * 1024];
  for (int got = covered.read(block, sizeof(block)); got > 0; got = covered.read(block, sizeof(block)))
    EVP_DigestUpdate(context.get(), block, static_cast<std::size_t>(got));
  unsigned size = 0;
  const bool whole = covered.passed == signature.range[1] + signature.range[3];
  return whole && EVP_DigestFinal_ex(context.get(), digest, &size) == 1 ? size : 0;
}

void put_name(X509_NAME* name, char* out, std::size_t room) {
  const Owned<BIO> bio(BIO_new(BIO_s_mem()));
  if (!bio || name == nullptr)
    return;
  X509_NAME_print_ex(bio.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
  const int got = BIO_read(bio.get(), out, static_cast<int>(room) - 1);
  out[got > 0 ? got : 0] = 0;
}

void put_common_name(X509_NAME* name, char* out, std::size_t room) {
  const int at = X509_NAME_get_index_by_NID(name, NID_commonName, -1);
  unsigned char* text = nullptr;
  const int size = at >= 0 ? ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at))) : -1;
  if (size >= 0)
    std::snprintf(out, room, "%.*s", size, reinterpret_cast<const char*>(text));
  OPENSSL_free(text);
}

void describe_signer(X509* certificate, PDF_SIGNATURE_CHECK& result) {
  if (certificate == nullptr)
    return;
  put_common_name(X509_get_subject_name(certificate), result.signer, sizeof(result.signer));
  put_name(X509_get_subject_name(certificate), result.subject, sizeof(result.subject));
  put_name(X509_get_issuer_name(certificate), result.issuer, sizeof(result.issuer));
}

void put_time(const ASN1_TIME* time, char (&out)[32]) {
  std::tm when{};
  if (time != nullptr && ASN1_TIME_to_tm(time, &when) == 1)
    std::strftime(out, sizeof(out), "%Y-%m-%dT%H:%M:%SZ", &when);
}

void put_digest_name(int kind, PDF_SIGNATURE_CHECK& result) {
  const char* const name = OBJ_nid2sn(kind);
  std::snprintf(result.digest, sizeof(result.digest), "%s", name != nullptr ? name : "");
}

void describe_attributes(CMS_SignerInfo* signer, PDF_SIGNATURE_CHECK& result) {
  const int at = CMS_signed_get_attr_by_NID(signer, NID_pkcs9_signingTime, -1);
  X509_ATTRIBUTE* const attribute = at >= 0 ? CMS_signed_get_attr(signer, at) : nullptr;
  const ASN1_TYPE* const value = attribute != nullptr ? X509_ATTRIBUTE_get0_type(attribute, 0) : nullptr;
  if (value != nullptr && (value->type == V_ASN1_UTCTIME || value->type == V_ASN1_GENERALIZEDTIME))
    put_time(value->value.asn1_string, result.signed_time);
  X509_ALGOR* digest = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, nullptr);
  const ASN1_OBJECT* kind = nullptr;
  if (digest != nullptr)
    X509_ALGOR_get0(&kind, nullptr, nullptr, digest);
  put_digest_name(OBJ_obj2nid(kind), result);
}

PDF_SIGNER_TRUST chain_verdict(X509_STORE* store, X509* certificate, STACK_OF(X509) * others) {
  const Owned<X509_STORE_CTX> context(X509_STORE_CTX_new());
  if (store == nullptr || certificate == nullptr || !context ||
      X509_STORE_CTX_init(context.get(), store, certificate, others) != 1)
    return PDF_SIGNER_TRUST::kNotChecked;
  X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_PARTIAL_CHAIN);
  if (X509_verify_cert(context.get()) == 1)
    return PDF_SIGNER_TRUST::kTrusted;
  switch (X509_STORE_CTX_get_error(context.get())) {
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
      return PDF_SIGNER_TRUST::kUnknown;
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
      return PDF_SIGNER_TRUST::kExpired;
    default:
      return PDF_SIGNER_TRUST::kRejected;
  }
}

// Whether the failure was that of the digest, and not that of the signature.
bool is_digest_failure() {
  for (unsigned long error = ERR_get_error(); error != 0; error = ERR_get_error()) {
    const int reason = ERR_GET_REASON(error);
    if (ERR_GET_LIB(error) == ERR_LIB_CMS &&
        (reason == CMS_R_VERIFICATION_FAILURE || reason == CMS_R_MESSAGEDIGEST_WRONG_LENGTH))
      return true;
  }
  return false;
}

class CmsCheck {
public:
  CmsCheck(CPDFDoc& doc, const PDF_SIGNATURE& signature, X509_STORE* store, PDF_SIGNATURE_CHECK& result)
      : doc_(doc), signature_(signature), store_(store), result_(result) {}

  void run() {
    const PDF_String text = signature_.contents.as_string();
    const unsigned char* at = bytes_of(text);
    const Owned<CMS_ContentInfo> cms(d2i_CMS_ContentInfo(nullptr, &at, text.len));
    if (!cms || OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed)
      return;
    const Owned<STACK_OF(X509)> certificates(CMS_get1_certs(cms.get()));
    CMS_SignerInfo* const signer = first_signer(cms.get());
    if (signer == nullptr)
      return;
    X509* const certificate = find_signer(signer, certificates.get());
    describe_signer(certificate, result_);
    describe_attributes(signer, result_);
    const std::string_view coding = signature_.sub_filter != nullptr ? signature_.sub_filter : "";
    ERR_clear_error();
    if (coding == "adbe.pkcs7.sha1")
      result_.state = check_digest_inside(cms.get());
    else if (coding == "ETSI.RFC3161")
      result_.state = check_timestamp(cms.get());
    else
      result_.state = check_detached(cms.get());
    if (result_.state == PDF_SIGNATURE_STATE::kValid)
      result_.trust = chain_verdict(store_, certificate, certificates.get());
    check_stamp(signer);
    ERR_clear_error();
  }

private:
  static constexpr unsigned kFlags = CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY;

  static CMS_SignerInfo* first_signer(CMS_ContentInfo* cms) {
    STACK_OF(CMS_SignerInfo)* const signers = CMS_get0_SignerInfos(cms);
    return sk_CMS_SignerInfo_num(signers) > 0 ? sk_CMS_SignerInfo_value(signers, 0) : nullptr;
  }
  static X509* find_signer(CMS_SignerInfo* signer, STACK_OF(X509) * certificates) {
    for (int i = 0; i < sk_X509_num(certificates); ++i) {
      if (CMS_SignerInfo_cert_cmp(signer, sk_X509_value(certificates, i)) == 0)
        return sk_X509_value(certificates, i);
    }
    return nullptr;
  }

  PDF_SIGNATURE_STATE check_detached(CMS_ContentInfo* cms) {
    Covered covered{&doc_, signature_.range};
    const Owned<BIO> data(open_covered(covered));
    if (!data)
      return PDF_SIGNATURE_STATE::kUnreadable;
    if (CMS_verify(cms, nullptr, nullptr, data.get(), nullptr, kFlags | CMS_DETACHED) == 1)
      return PDF_SIGNATURE_STATE::kValid;
    return is_digest_failure() ? PDF_SIGNATURE_STATE::kChanged : PDF_SIGNATURE_STATE::kInvalid;
  }

  // What is signed is within.
  static bool verify_content(CMS_ContentInfo* cms, BIO* out) {
    return CMS_verify(cms, nullptr, nullptr, nullptr, out, kFlags) == 1;
  }

  PDF_SIGNATURE_STATE check_digest_inside(CMS_ContentInfo* cms) {
    const Owned<BIO> out(BIO_new(BIO_s_mem()));
    if (!out || !verify_content(cms, out.get()))
      return PDF_SIGNATURE_STATE::kInvalid;
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned char stated[EVP_MAX_MD_SIZE];
    const unsigned size = digest_covered(doc_, signature_, EVP_sha1(), digest);
    const int got = BIO_read(out.get(), stated, sizeof(stated));
    const bool same = size != 0 && got == static_cast<int>(size) && std::memcmp(digest, stated, size) == 0;
    return same ? PDF_SIGNATURE_STATE::kValid : PDF_SIGNATURE_STATE::kChanged;
  }

  // What a time stamp says, once its own signature holds; null and `state` else.
  static Owned<TS_TST_INFO> read_stamp(CMS_ContentInfo* cms, PDF_SIGNATURE_STATE& state) {
    const Owned<BIO> out(BIO_new(BIO_s_mem()));
    state = PDF_SIGNATURE_STATE::kInvalid;
    if (!out || !verify_content(cms, out.get()))
      return nullptr;
    state = PDF_SIGNATURE_STATE::kUnreadable;
    return Owned<TS_TST_INFO>(d2i_TS_TST_INFO_bio(out.get(), nullptr));
  }
  static const ASN1_OBJECT* digest_of(TS_TST_INFO* info) {
    const ASN1_OBJECT* kind = nullptr;
    X509_ALGOR_get0(&kind, nullptr, nullptr, TS_MSG_IMPRINT_get_algo(TS_TST_INFO_get_msg_imprint(info)));
    return kind;
  }
  static PDF_SIGNATURE_STATE compare(TS_TST_INFO* info, const unsigned char* digest, unsigned size) {
    const ASN1_OCTET_STRING* const stated = TS_MSG_IMPRINT_get_msg(TS_TST_INFO_get_msg_imprint(info));
    const bool same = size != 0 && ASN1_STRING_length(stated) == static_cast<int>(size) &&
                      std::memcmp(ASN1_STRING_get0_data(stated), digest, size) == 0;
    return same ? PDF_SIGNATURE_STATE::kValid : PDF_SIGNATURE_STATE::kChanged;
  }

  PDF_SIGNATURE_STATE check_timestamp(CMS_ContentInfo* cms) {
    result_.is_timestamp = true;
    PDF_SIGNATURE_STATE state{};
    const Owned<TS_TST_INFO> info = read_stamp(cms, state);
    if (!info)
      return state;
    put_time(TS_TST_INFO_get_time(info.get()), result_.signed_time);
    put_digest_name(OBJ_obj2nid(digest_of(info.get())), result_);
    unsigned char digest[EVP_MAX_MD_SIZE];
    const unsigned size = digest_covered(doc_, signature_, EVP_get_digestbyobj(digest_of(info.get())), digest);
    return compare(info.get(), digest, size);
  }

  // The time stamp that an authority gave the signature itself, beside what was signed (RFC 3161, Appendix A).
  void check_stamp(CMS_SignerInfo* signer) {
    const int at = CMS_unsigned_get_attr_by_NID(signer, NID_id_smime_aa_timeStampToken, -1);
    X509_ATTRIBUTE* const attribute = at >= 0 ? CMS_unsigned_get_attr(signer, at) : nullptr;
    const ASN1_TYPE* const value = attribute != nullptr ? X509_ATTRIBUTE_get0_type(attribute, 0) : nullptr;
    if (value == nullptr)
      return;
    result_.has_stamp = true;
    if (value->type != V_ASN1_SEQUENCE)
      return;
    const unsigned char* bytes = value->value.sequence->data;
    const Owned<CMS_ContentInfo> cms(d2i_CMS_ContentInfo(nullptr, &bytes, value->value.sequence->length));
    if (!cms || OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed)
      return;
    const Owned<TS_TST_INFO> info = read_stamp(cms.get(), result_.stamp);
    if (!info)
      return;
    put_time(TS_TST_INFO_get_time(info.get()), result_.stamp_time);
    const ASN1_OCTET_STRING* const signature = CMS_SignerInfo_get0_signature(signer);
    const EVP_MD* const kind = EVP_get_digestbyobj(digest_of(info.get()));
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    if (kind == nullptr ||
        EVP_Digest(ASN1_STRING_get0_data(signature), static_cast<std::size_t>(ASN1_STRING_length(signature)), digest,
                   &size, kind, nullptr) != 1)
      return;
    result_.stamp = compare(info.get(), digest, size);
  }

  CPDFDoc& doc_;
  const PDF_SIGNATURE& signature_;
  X509_STORE* store_;
  PDF_SIGNATURE_CHECK& result_;
};

// adbe.x509.rsa_sha1: the bare signature in an octet string, the certificates under "Cert".
class BareCheck {
public:
  BareCheck(CPDFDoc& doc, const PDF_SIGNATURE& signature, X509_STORE* store, PDF_SIGNATURE_CHECK& result)
      : doc_(doc), signature_(signature), store_(store), result_(result) {}

  void run() {
    const Owned<STACK_OF(X509)> certificates(sk_X509_new_null());
    if (!certificates || !read_certificates(certificates.get()) || sk_X509_num(certificates.get()) == 0)
      return;
    X509* const certificate = sk_X509_value(certificates.get(), 0);
    describe_signer(certificate, result_);
    put_digest_name(NID_sha1, result_);
    const PDF_String text = signature_.contents.as_string();
    const unsigned char* at = bytes_of(text);
    const Owned<ASN1_OCTET_STRING> value(d2i_ASN1_OCTET_STRING(nullptr, &at, text.len));
    if (!value)
      return;
    result_.state = verify(certificate, value.get());
    if (result_.state == PDF_SIGNATURE_STATE::kValid)
      result_.trust = chain_verdict(store_, certificate, certificates.get());
    ERR_clear_error();
  }

private:
  bool read_certificates(STACK_OF(X509) * list) {
    const CPDFArray* const array = signature_.certificates.as_array();
    const std::int32_t count = array != nullptr ? array->count : 1;
    for (std::int32_t i = 0; i < count; ++i) {
      const Freed<CPDFObj> item = doc_.table().value(array != nullptr ? array->items + i : &signature_.certificates);
      const PDF_String text = item.as_string();
      const unsigned char* at = bytes_of(text);
      X509* const certificate = at != nullptr ? d2i_X509(nullptr, &at, text.len) : nullptr;
      if (certificate != nullptr && sk_X509_push(list, certificate) == 0) {
        X509_free(certificate);
        return false;
      }
    }
    return true;
  }
  PDF_SIGNATURE_STATE verify(X509* certificate, const ASN1_OCTET_STRING* value) {
    Covered covered{&doc_, signature_.range};
    const Owned<EVP_MD_CTX> context(EVP_MD_CTX_new());
    if (!context ||
        EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha1(), nullptr, X509_get0_pubkey(certificate)) != 1)
      return PDF_SIGNATURE_STATE::kUnreadable;
    char block[16 * 1024];
    for (int got = covered.read(block, sizeof(block)); got > 0; got = covered.read(block, sizeof(block)))
      EVP_DigestVerifyUpdate(context.get(), block, static_cast<std::size_t>(got));
    const int verdict = EVP_DigestVerifyFinal(context.get(), ASN1_STRING_get0_data(value),
                                              static_cast<std::size_t>(ASN1_STRING_length(value)));
    return verdict == 1 ? PDF_SIGNATURE_STATE::kValid : PDF_SIGNATURE_STATE::kChanged;
  }

  CPDFDoc& doc_;
  const PDF_SIGNATURE& signature_;
  X509_STORE* store_;
  PDF_SIGNATURE_CHECK& result_;
};

// Passwords are not asked for.
int no_password(char*, int, int, void*) {
  return 0;
}

// Adds the certificates to the store, which is made for the first. The count of them.
int trust_certificates(void*& kept, const void* data, std::size_t size) {
  auto* const store = kept != nullptr ? static_cast<X509_STORE*>(kept) : X509_STORE_new();
  kept = store;
  const Owned<BIO> bio(size <= INT_MAX ? BIO_new_mem_buf(data, static_cast<int>(size)) : nullptr);
  if (store == nullptr || !bio)
    return 0;
  int count = 0;
  for (Owned<X509> certificate(PEM_read_bio_X509(bio.get(), nullptr, no_password, nullptr)); certificate;
       certificate.reset(PEM_read_bio_X509(bio.get(), nullptr, no_password, nullptr)))
    count += X509_STORE_add_cert(store, certificate.get());
  if (count == 0) {
    const auto* at = static_cast<const unsigned char*>(data);
    const Owned<X509> certificate(d2i_X509(nullptr, &at, static_cast<long>(size)));
    count = certificate ? X509_STORE_add_cert(store, certificate.get()) : 0;
  }
  ERR_clear_error();
  return count;
}

void release_store(void* kept) {
  if (kept != nullptr)
    X509_STORE_free(static_cast<X509_STORE*>(kept));
}

void check_signature(CPDFDoc& doc, const PDF_SIGNATURE& signature, void* kept, PDF_SIGNATURE_CHECK& result) {
  auto* const store = static_cast<X509_STORE*>(kept);
  const std::string_view coding = signature.sub_filter != nullptr ? signature.sub_filter : "";
  if (coding == "adbe.x509.rsa_sha1")
    BareCheck(doc, signature, store, result).run();
  else if (coding == "adbe.pkcs7.detached" || coding == "adbe.pkcs7.sha1" || coding == "ETSI.CAdES.detached" ||
           coding == "ETSI.RFC3161")
    CmsCheck(doc, signature, store, result).run();
  else
    result.state = PDF_SIGNATURE_STATE::kUnsupported;
}

}  // namespace

}  // namespace sheaf

using namespace sheaf;

bool CPDFSignatureChecker::can_check() {
  return has_crypto();
}

CPDFSignatureChecker::~CPDFSignatureChecker() {
  release_store(store_);
}

int CPDFSignatureChecker::trust(const void* data, std::size_t size) {
  return has_crypto() ? trust_certificates(store_, data, size) : 0;
}

void CPDFSignatureChecker::check(CPDFDoc& doc, const PDF_SIGNATURE& signature, PDF_SIGNATURE_CHECK& result) const {
  result = PDF_SIGNATURE_CHECK{};
  if (!has_crypto())
    result.state = PDF_SIGNATURE_STATE::kUnsupported;
  else if (signature.range_is_sound)
    check_signature(doc, signature, store_, result);
}
