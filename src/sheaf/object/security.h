// Encryption as the object layer sees it: the handler that opens an encrypted document and decrypts it, and what
// encrypts a document that is written.
#pragma once

#include <cstdint>

#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"

/// Decrypts one document's strings and streams. Made by the embedding layer, which owns it.
class CPDFSecHand {
public:
  CPDFSecHand() = default;
  CPDFSecHand(const CPDFSecHand&) = delete;
  CPDFSecHand& operator=(const CPDFSecHand&) = delete;
  virtual ~CPDFSecHand() = default;

  /// Sets the password that `authorize` will try, as UTF-8; null or "" is the empty one. Copied.
  virtual void set_password(const char* utf8) = 0;
  /// The permission bits, as under "P" (ISO 32000-1, table 22); all ones for the owner.
  virtual std::uint32_t get_permissions() const = 0;

  /// Size of the buffer that `decrypt_data` needs for `len` bytes.
  virtual int get_dec_size(int len) = 0;
  /// Checks the password against the encryption dictionary. `id0` is the first element of the
  /// file identifier, or null. 0 means refused.
  virtual int authorize(const PDF_String* id0, const CPDFDictionary* encrypt_dict) = 0;
  /// Decrypts a stream of object (`num`, `gen`). `out_len` gets the count of bytes in `dst`.
  virtual void decrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len) = 0;

  /// Decrypts a string of object (`num`, `gen`); the same contract as `decrypt_data`.
  virtual void decrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst,
                              int* out_len) = 0;
  /// Called for each stream object as it is read, before its data. 1 when its data are in clear
  /// (cross-reference streams, metadata when excluded, the crypt filter Identity). A crypt filter
  /// that the dictionary names is remembered for (`num`, `gen`), and `decrypt_data` goes by it.
  virtual int prepare_stream(int num, int gen, const CPDFDictionary* dict) = 0;

  std::int32_t encrypt_metadata = 1;  ///< 0: metadata streams are in clear.
  std::int32_t metadata_obj = 0;      ///< Object number of the document's metadata stream, or 0.
};

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

  /// To be called before a file with object streams, in which strings are encrypted as parts of streams: strings
  /// and streams get one method where they had two, so that none loses its protection, and since few readers know two.
  virtual void use_one_method() {}

  /// The encryption dictionary that goes into the file, as a direct dictionary.
  CPDFDictionary encrypt_dict;
};
