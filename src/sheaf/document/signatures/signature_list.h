// The signatures of a document (ISO 32000-1, 12.8): what each says of itself, and what of the file it covers.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;
class CPDFField;

/// One signature. Texts are UTF-8, null where there is none, and owned by the list, as the values are.
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

namespace sheaf {

/// Reads bytes of the file that `doc` is open on; `at` counts from the file's first byte. The count that was read.
unsigned read_file_bytes(CPDFDoc& doc, long long at, void* dst, unsigned size);

}  // namespace sheaf
