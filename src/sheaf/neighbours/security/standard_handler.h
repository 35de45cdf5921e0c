// The standard security handler for reading (ISO 32000-1, 7.6; ISO 32000-2, 7.6): RC4 of 40 to 128
// bits, crypt filters with RC4 and AES-128, and AES-256 of revisions 5 and 6.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/security.h"

namespace sheaf {
template <std::size_t Size>
struct SecretBytes;
using FileKey = SecretBytes<32>;
struct KeyParameters;
}  // namespace sheaf

class CPDFStandardSecHand : public CPDFSecHand {
public:
  enum class Outcome {
    kNotTried,
    kOpenedAsUser,
    kOpenedAsOwner,
    kNeedsPassword,      ///< The empty password does not open it, and no other was given.
    kWrongPassword,      ///< Neither password is the one that was given.
    kUnsupported,        ///< Another handler, or a version or filter that is not known.
    kDamagedDictionary,  ///< Entries that a key needs are missing or of the wrong kind.
    kNoCipher            ///< It is encrypted by AES, and libcrypto, which has that, could not be loaded.
  };
  enum class Method : std::uint8_t { kIdentity, kRC4, kAES128, kAES256 };

  CPDFStandardSecHand();
  ~CPDFStandardSecHand() override;

  void set_password(const char* utf8) override;
  std::uint32_t get_permissions() const override;
  int get_dec_size(int len) override;
  /// Tries the empty password first, then the one that was set, as user's and as owner's.
  int authorize(const PDF_String* id0, const CPDFDictionary* encrypt_dict) override;
  void decrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len) override;
  void decrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len) override;
  int prepare_stream(int num, int gen, const CPDFDictionary* dict) override;

  Outcome outcome() const { return outcome_; }
  Method stream_method() const { return streams_; }
  Method string_method() const { return strings_; }
  /// Of embedded files.
  Method file_method() const { return files_; }
  /// Of the crypt filter with that name; unknown names mean none.
  Method filter_method(const char* name) const;
  const sheaf::KeyParameters& parameters() const { return para_; }
  const sheaf::FileKey& file_key() const { return key_; }

  /// "RC4", "AES-128", "AES-256" or "none".
  static const char* method_name(Method method);

private:
  struct CryptFilter {
    char name[32];
    Method method;
  };

  bool read_parameters(const PDF_String* id0, const CPDFDictionary& dict);
  bool read_crypt_filters(const CPDFDictionary& dict);
  bool use_filter(const CPDFDictionary& dict, const char* key, Method& method) const;
  bool has_filter(const char* name) const;
  bool uses_aes() const;
  bool try_password(const char* utf8);
  bool try_key_lengths(const char* utf8);
  void remember_method(int num, Method method);
  void forget_method(int num);
  Method method_of(int num) const;
  void decrypt(Method method, int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len);

  // Made in `room_`; wiped when it goes.
  struct Secrets;
  static constexpr std::size_t kRoom = 256;
  alignas(std::max_align_t) unsigned char room_[kRoom];
  Secrets& secrets_;
  sheaf::KeyParameters& para_;
  sheaf::FileKey& key_;
  sheaf::GrowArray<unsigned char> id_;
  Outcome outcome_ = Outcome::kNotTried;
  Method streams_ = Method::kRC4;
  Method strings_ = Method::kRC4;
  Method files_ = Method::kRC4;
  sheaf::GrowArray<CryptFilter> filters_;
  // Streams with a method of their own, by object number: 0 for the others, else the method plus 1. A
  // caller may decode a stream long after it was read.
  sheaf::GrowArray<std::uint8_t> named_;
  char* password_ = nullptr;
};
