// What would not protect as it seems to is refused before anything is written.
#include "support/encryption.h"

#include <algorithm>

#include "sheaf/neighbours/security/aes.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/object/array.h"
#include "support/command_line.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

struct Permission {
  const char* name;
  std::uint32_t bits;
};

constexpr Permission kPermissions[] = {
    {"print", 1u << 2},  {"modify", 1u << 3},    {"copy", 1u << 4},        {"annotate", 1u << 5}, {"fill", 1u << 8},
    {"access", 1u << 9}, {"assemble", 1u << 10}, {"print-high", 1u << 11}, {"all", 0xF3Cu},       {"none", 0}};

// Adds what a list of names grants. The first name that is unknown, or empty.
std::string read_permissions(const std::string& names, std::uint32_t& bits) {
  for (std::size_t at = 0; at <= names.size();) {
    const std::size_t end = std::min(names.find(',', at), names.size());
    const std::string name = names.substr(at, end - at);
    const auto* known = std::find_if(std::begin(kPermissions), std::end(kPermissions),
                                     [&name](const Permission& row) { return name == row.name; });
    if (known == std::end(kPermissions))
      return name.empty() ? "," : name;
    bits |= known->bits;
    at = end + 1;
  }
  return "";
}

// The bits of "P" (ISO 32000-2, table 22).
std::uint32_t permission_bits(const EncryptionOptions& encryption) {
  std::uint32_t bits = 0;
  read_permissions(encryption.permissions.empty() ? "all" : encryption.permissions, bits);
  return bits;
}

bool refuse(const std::string& option, const std::string& why) {
  complain(option, why + ". Nothing was written");
  return false;
}

}  // namespace

Option* add_encryption(Command& command, EncryptionOptions& encryption) {
  Option* const encrypt = command.add_option("--encrypt", encryption.algorithm, "Encrypt anew")
                              ->type_name("aes256|aes128|rc4")
                              ->check(IsMember({"aes256", "aes128", "rc4"}));
  command.add_option("--user-password", encryption.user_password, "Opens the new file")->needs(encrypt);
  command.add_option("--owner-password", encryption.owner_password, "Grants everything")->needs(encrypt);
  command
      .add_option("--permissions", encryption.permissions,
                  "Names with commas: print, modify, copy, annotate, fill, access, assemble, print-high, all or none")
      ->needs(encrypt);
  command.add_flag("--clear-metadata", encryption.clear_metadata, "Leave metadata readable")->needs(encrypt);
  return encrypt;
}

bool check_encryption(const EncryptionOptions& encryption) {
  if (encryption.algorithm.empty())
    return true;
  if (encryption.user_password.empty() && encryption.owner_password.empty())
    return refuse("--encrypt",
                  "without a password everybody could open the file as its owner; give --user-password, "
                  "--owner-password, or both");
  std::uint32_t bits = 0;
  const std::string unknown = encryption.permissions.empty() ? "" : read_permissions(encryption.permissions, bits);
  if (!unknown.empty())
    return refuse("--permissions " + encryption.permissions,
                  "\"" + unknown +
                      "\" is no permission; give names with commas between them: print, modify, copy, "
                      "annotate, fill, access, assemble, print-high, all or none");
  if (!encryption.permissions.empty() && encryption.owner_password.empty())
    return refuse("--permissions", "bind nobody without --owner-password, since who opens the file is then its owner");
  if (encryption.owner_password == encryption.user_password && !encryption.permissions.empty())
    return refuse("--permissions", "bind nobody when the owner password is the user password; choose another");
  if (encryption.clear_metadata && encryption.algorithm == "rc4")
    return refuse("--clear-metadata", "RC4 encrypts the metadata in any case; use --encrypt aes256 or aes128");
  return true;
}

void set_identifier(CPDFObj& id, const unsigned char* digest) {
  auto* pair = new CPDFArray;
  pair->append_str(reinterpret_cast<const char*>(digest), CQVSecMD5::kSize);
  pair->append_str(reinterpret_cast<const char*>(digest), CQVSecMD5::kSize);
  id.take_array(pair);
}

bool start_encryption(const EncryptionOptions& encryption, CPDFObj& id, const std::string& output,
                      CPDFStandardEncrypt& enc) {
  using Algorithm = CPDFStandardEncrypt::Algorithm;
  CPDFStandardEncrypt::Settings settings;
  settings.algorithm = encryption.algorithm == "aes256"   ? Algorithm::kAES256
                       : encryption.algorithm == "aes128" ? Algorithm::kAES128
                                                          : Algorithm::kRC4;
  if (settings.algorithm == Algorithm::kRC4)
    warn(output_name(output), "RC4 is broken; use aes256 unless an old reader needs it");
  settings.user_password = encryption.user_password.c_str();
  settings.owner_password = encryption.owner_password.c_str();
  settings.permissions = permission_bits(encryption);
  settings.clear_metadata = encryption.clear_metadata;
  if (id.is_null()) {
    unsigned char digest[CQVSecMD5::kSize];
    secure_random(digest, sizeof(digest));
    set_identifier(id, digest);
  }
  const CPDFObj* const first = id.as_array() != nullptr ? id.as_array()->get(0) : nullptr;
  if (enc.create(settings, first != nullptr ? first->as_string() : PDF_String{0, nullptr}))
    return true;
  complain(output_name(output),
           settings.algorithm != Algorithm::kRC4 && !has_aes()
               ? "libcrypto, which has AES, cannot be loaded; install it (libssl3). Nothing was written"
               : "the system gives no random numbers; nothing was written");
  return false;
}

}  // namespace sheaf::tool
