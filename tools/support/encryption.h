// How a new file is to be encrypted, as the command line says it.
#pragma once

#include <cstdint>
#include <string>

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
/// The bits of "P" (ISO 32000-2, table 22) of options that were checked.
std::uint32_t permission_bits(const EncryptionOptions& encryption);

}  // namespace sheaf::tool
