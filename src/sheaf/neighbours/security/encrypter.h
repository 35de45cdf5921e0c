// The standard security handler for writing (ISO 32000-2, 7.6.4).
#pragma once

#include "sheaf/neighbours/security/standard_handler.h"
#include "sheaf/object/security.h"

class CQVSecRC4;

namespace sheaf {
class AesCbc;
}

/// Encrypts with fresh passwords, or with the keys of a document that was opened.
class CPDFStandardEncrypt : public CPDFEncrypt {
public:
  enum class Algorithm { kAES256, kAES128, kRC4 };

  struct Settings {
    Algorithm algorithm = Algorithm::kAES256;
    const char* user_password = "";   ///< UTF-8.
    const char* owner_password = "";  ///< UTF-8; empty: the user password opens everything.
    std::uint32_t permissions = UINT32_MAX;
    bool clear_metadata = false;
  };

  CPDFStandardEncrypt();
  ~CPDFStandardEncrypt() override;

  /// Makes keys and dictionary for `settings`. `id0` is the first element of the identifier that
  /// the new file will have; the older algorithms depend on it. False without random numbers or memory.
  bool create(const Settings& settings, const PDF_String& id0);
  /// Goes on with the keys of an opened document. `hand` must outlive this object; `dict` is the
  /// document's encryption dictionary, copied. False without memory: what would be encrypted could not be opened.
  [[nodiscard]] bool continue_with(const CPDFStandardSecHand& hand, const CPDFDictionary& dict);

  /// Gives the permissions of an encryption dictionary the form that they must have: some writers print
  /// these 32 bits as an unsigned number, which is no integer to others.
  static void sign_permissions(CPDFDictionary& dict);

  int get_enc_size(int len) override;
  void encrypt_string(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len) override;
  bool encrypts_stream(int num, int gen, const CPDFDictionary* dict) override;
  void encrypt_data(int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len) override;
  int get_stream_size(int len) override;
  int begin_stream(int num, int gen, unsigned char* dst) override;
  int next_piece(const unsigned char* src, int len, unsigned char* dst) override;
  int end_stream(unsigned char* dst) override;
  void use_one_method() override;

private:
  using Method = CPDFStandardSecHand::Method;

  void fill_dict(const Settings& settings, const sheaf::KeyParameters& para);
  int begin(Method method, int num, int gen, unsigned char* dst);
  void encrypt(Method method, int num, int gen, const unsigned char* src, int len, unsigned char* dst, int* out_len);

  static constexpr std::size_t kKeyRoom = 48;
  alignas(std::max_align_t) unsigned char key_room_[kKeyRoom];
  sheaf::FileKey& key_;  // made in `key_room_`; wiped when it goes
  Method strings_ = Method::kAES256;
  Method streams_ = Method::kAES256;
  Method files_ = Method::kAES256;
  Method present_ = Method::kAES256;  // of the stream that is being encrypted
  bool clear_metadata_ = false;
  const CPDFStandardSecHand* hand_ = nullptr;
  sheaf::AesCbc* aes_ = nullptr;
  CQVSecRC4* rc4_ = nullptr;
};
