// The encryption of a document that is written, as the object layer sees it.
#pragma once

#include <cstdint>

#include "sheaf/object/dictionary.h"

/// Encrypts strings and stream bodies of one document. Made and owned by the caller of a save.
class CPDFEncrypt {
public:
  CPDFEncrypt() = default;
  CPDFEncrypt(const CPDFEncrypt&) = delete;
  CPDFEncrypt& operator=(const CPDFEncrypt&) = delete;
  virtual ~CPDFEncrypt() { encrypt_dict.clear(); }

  /// The largest size that `len` bytes can take when encrypted.
  virtual int get_enc_size(int len) = 0;
  /// Encrypts a string of object (`num`, `gen`) into `dst`; `out_len` gets the count of bytes.
  virtual void encrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst,
                              int* out_len) = 0;
  /// False when the body of this stream stays in clear (metadata when excluded, "Crypt" Identity,
  /// cross-reference streams).
  virtual bool encrypts_stream(int num, int gen, const CPDFDictionary* dict) = 0;
  /// Encrypts a whole stream body in one go.
  virtual void encrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len) = 0;

  /// The exact size of an encrypted body of `len` bytes.
  virtual int get_stream_size(int len) = 0;
  /// Encrypts a body in pieces, so that a long one needs no memory: begin, then pieces in order,
  /// then finish. Each gives the count of bytes put into `dst`, which has room for `len` + 32.
  virtual int begin_stream(int num, int gen, unsigned char* dst) = 0;
  virtual int next_piece(const unsigned char* src, int len, unsigned char* dst) = 0;
  virtual int end_stream(unsigned char* dst) = 0;

  /// To be called in front of a file with object streams, in which strings are encrypted as parts of streams: strings
  /// and streams get one method where they had two, so that none loses its protection, and since few readers know two.
  virtual void use_one_method() {}

  /// The encryption dictionary that goes into the file, as a direct dictionary.
  CPDFDictionary encrypt_dict;
};
