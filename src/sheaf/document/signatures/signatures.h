// The signatures of a document (ISO 32000-1, 12.8): what each says of itself, what of the file it covers, whether the
// bytes that it covers are those that were signed, and whom its certificate leads to (12.8.3; RFC 5652).
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;
class CPDFField;

/// One signature. Texts are UTF-8, or null, and owned by the list, as the values are.
struct PDF_SIGNATURE {
  PDF_REF field;     ///< The field's object,
  PDF_REF value;     ///< and that of the signature; number 0: it is directly in the field.
  char* field_name;  ///< The full name.
  char* filter;
  char* sub_filter;  ///< How it is coded, such as "adbe.pkcs7.detached".
  char* name;        ///< The signer's name, reason, place and time, as the signature states them.
  char* reason;
  char* location;
  char* time;
  CPDFObj contents;        ///< The signature itself, a string.
  CPDFObj certificates;    ///< "Cert": a string, or an array of them; null otherwise.
  long long range[4];      ///< "ByteRange": two pairs of start and length, counted from the file's first byte.
  bool range_is_sound;     ///< The range begins with the file and leaves out nothing but the signature itself.
  bool covers_revision;    ///< The range ends where a revision ends.
  bool covers_file;        ///< The range ends with the file.
  std::int32_t certifies;  ///< What a certification permits (table 254): 1, 2 or 3; 0: it certifies nothing.
};

class CPDFSignatures {
public:
  CPDFSignatures() = default;
  CPDFSignatures(const CPDFSignatures&) = delete;
  CPDFSignatures& operator=(const CPDFSignatures&) = delete;
  ~CPDFSignatures() { clear(); }

  void clear();
  /// Reads the signatures of a readable document in the order of its fields. False when there was no memory for all.
  bool load(CPDFDoc& doc);
  std::int32_t size() const { return list_.count(); }
  const PDF_SIGNATURE& at(std::int32_t index) const { return list_[index]; }

private:
  bool add(CPDFDoc& doc, const CPDFField& field);

  sheaf::GrowArray<PDF_SIGNATURE> list_;
  sheaf::GrowArray<long long> ends_;  // of revisions, counted from the file's first byte
};

enum class PDF_SIGNATURE_STATE : std::int32_t {
  kValid,        ///< The covered bytes are those that were signed.
  kChanged,      ///< They are others.
  kInvalid,      ///< The signature is not one of its certificate.
  kUnreadable,   ///< There is no signature, no sound range of bytes, or neither can be read.
  kUnsupported,  ///< It is coded in a way that is not known here.
};

enum class PDF_SIGNER_TRUST : std::int32_t {
  kNotChecked,  ///< No certificates to trust were given, or the signature is not valid.
  kTrusted,     ///< The certificate leads to one of those.
  kUnknown,     ///< It does not.
  kExpired,     ///< It does, but one of the chain is not valid at this time.
  kRejected,    ///< The chain is broken, or a certificate may not be used so.
};

/// What was found about one signature. Texts are UTF-8 and cut to their room.
struct PDF_SIGNATURE_CHECK {
  PDF_SIGNATURE_STATE state = PDF_SIGNATURE_STATE::kUnreadable;
  PDF_SIGNER_TRUST trust = PDF_SIGNER_TRUST::kNotChecked;
  char signer[256] = {};      ///< The certificate's common name,
  char subject[512] = {};     ///< its full name,
  char issuer[512] = {};      ///< and that of its issuer.
  char digest[32] = {};       ///< The algorithm, such as "SHA256".
  char signed_time[32] = {};  ///< The time within the signature, such as "2024-01-31T12:00:00Z".
  bool is_timestamp = false;  ///< It is a time stamp of the document (RFC 3161).
  bool has_stamp = false;     ///< An authority stamped the signature with a time beside what was signed.
  PDF_SIGNATURE_STATE stamp = PDF_SIGNATURE_STATE::kUnreadable;  ///< Whether that stamp is one of this signature.
  char stamp_time[32] = {};                                      ///< What it says. Whose it is was not looked into.
};

/// Checks signatures. Certificates that are not trusted say who signed only in name.
class CPDFSignatureChecker {
public:
  CPDFSignatureChecker() = default;
  CPDFSignatureChecker(const CPDFSignatureChecker&) = delete;
  CPDFSignatureChecker& operator=(const CPDFSignatureChecker&) = delete;
  ~CPDFSignatureChecker();

  /// False when libcrypto, which a build may load when it is needed, is not there: nothing is checked then, and
  /// every signature counts as of an unknown coding.
  static bool can_check();
  /// Adds the certificates of a PEM text, or the one of a DER block, to those that are trusted. The count of them; 0
  /// when it holds none.
  int trust(const void* data, std::size_t size);
  /// Checks a signature of `doc`, over the bytes of the file that it is open on.
  void check(CPDFDoc& doc, const PDF_SIGNATURE& signature, PDF_SIGNATURE_CHECK& result) const;

private:
  void* store_ = nullptr;  // owned: the trusted certificates; null before the first
};

namespace sheaf {

/// Reads bytes of the file that `doc` is open on; `at` counts from the file's first byte. The count that was read.
unsigned read_file_bytes(CPDFDoc& doc, long long at, void* dst, unsigned size);

}  // namespace sheaf
