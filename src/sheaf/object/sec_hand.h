// The security handler as the object layer sees it: it opens an encrypted document and decrypts.
#pragma once

#include <cstdint>

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
  /// Told of each stream object as it is read, in front of its data. 1 when its data are in clear
  /// (cross-reference streams, metadata when excluded, the crypt filter Identity). A crypt filter
  /// that the dictionary names is remembered for (`num`, `gen`), and `decrypt_data` goes by it.
  virtual int prepare_stream(int num, int gen, const CPDFDictionary* dict) = 0;

  std::int32_t encrypt_metadata = 1;  ///< 0: metadata streams are in clear.
  std::int32_t metadata_obj = 0;      ///< Object number of the document's metadata stream, or 0.
};
