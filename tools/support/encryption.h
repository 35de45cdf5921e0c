// How a new file is to be encrypted, as the command line says it.
#pragma once

#include <cstdint>
#include <string>

#include "sheaf/neighbours/security/encrypter.h"

namespace sheaf::tool {

class Command;
class Option;

struct EncryptionOptions {
  std::string algorithm;  ///< "aes256", "aes128", "rc4", or empty: none is asked for.
  std::string user_password;
  std::string owner_password;
  std::string permissions;  ///< Names with commas between them; empty: all.
  bool clear_metadata = false;
};

/// Adds --encrypt and what belongs to it. The result is --encrypt itself.
Option* add_encryption(Command& command, EncryptionOptions& encryption);
/// Whether what is asked for would protect as it says. False, with a message, when not.
bool check_encryption(const EncryptionOptions& encryption);
/// Makes the encryption of a new file from options that were checked and ask for one. `id` is the file's
/// identifier, which is made where it is null. False, with a message that names `output`, when that fails.
bool start_encryption(const EncryptionOptions& encryption, CPDFObj& id, const std::string& output,
                      CPDFStandardEncrypt& enc);
/// Makes `digest`, of 16 bytes, both halves of a file's identifier.
void set_identifier(CPDFObj& id, const unsigned char* digest);

}  // namespace sheaf::tool
