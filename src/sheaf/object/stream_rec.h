// The value of a stream object: its dictionary and where its raw data lie.
#pragma once

#include <cstdint>

#include "sheaf/object/dictionary.h"

class CQVStream;

/// Record of a stream object (tag 9). Copies share the data: `source` is never owned.
struct CPDFStreamRec : QVHeapObject<CPDFStreamRec> {
  CPDFDictionary dict;            ///< First member, so that a record can be used as its dictionary.
  std::uint32_t offset = 0;       ///< Where the raw data start in `source`.
  std::int32_t length = 0;        ///< Raw bytes; 0 not known, negative unusable.
  PDF_REF ref{0, 0};              ///< Key of the decryption of the data.
  std::int32_t decoded_hint = 0;  ///< Expected decoded size; 0 not known.
  std::int32_t plain = 0;         ///< Not 0: the bytes in `source` are not encrypted.
  CQVStream* source = nullptr;    ///< Borrowed; null makes the record unreadable.

  /// Copies the words behind the dictionary, bit for bit.
  void copy_location(const CPDFStreamRec& from) {
    offset = from.offset;
    length = from.length;
    ref = from.ref;
    decoded_hint = from.decoded_hint;
    plain = from.plain;
    source = from.source;
  }
  void clear() { dict.clear(); }
};
