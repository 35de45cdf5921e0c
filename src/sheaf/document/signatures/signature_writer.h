// Signing: where the bytes lie that a signature covers, and where the signature itself goes. The
// signature, such as a detached one of PKCS#7, is the caller's (ISO 32000-1, 12.8.1).
//
//   reserve -> store the dictionary -> seal -> read_signed (digest) -> put
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/document/doc.h"

class CPDFSignatureWriter {
public:
  /// `doc` is borrowed and must outlive the writer.
  explicit CPDFSignatureWriter(CPDFDoc& doc) : doc_(doc) {}

  /// Gives a signature dictionary room for the byte range and for a signature of `room` bytes.
  static void reserve(CPDFDictionary& signature, int room);
  /// Seals a section with the signature dictionary `num`, and fills in its byte range. False when the
  /// save failed, or when `num` is no dictionary with that room.
  bool seal(PDF_SAVE_FORM form, std::int32_t num);

  /// "ByteRange", set by `seal`: two pairs of start and length, counted from the first byte of the file,
  /// also where the header is some way after it.
  const long long* byte_range() const { return range_; }
  /// Hands all bytes that the signature covers to `take`, piece by piece, until that gives false. False
  /// when it did, or when they cannot be read.
  bool read_signed(bool (*take)(void* context, const unsigned char* bytes, unsigned size), void* context) const;
  /// Writes the signature of `size` bytes into its place. False when there is no room for it, or when the
  /// write came short.
  bool put(const unsigned char* signature, std::size_t size);

private:
  bool find_places(long long object, long long& range_at, int& range_room);
  bool write_range(long long at, int room);

  CPDFDoc& doc_;
  long long range_[4]{};  // the gap between the two is "Contents" with its brackets
};
