// Writes a copy of a document that is encrypted with AES-256, and opens it again: without a
// password, with a wrong one and with the right one. Then writes a copy in clear.
//
//   encrypt FILE.pdf
#include <cstdio>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/neighbours/security/encrypter.h"

namespace {

// A complete new file of what the document still uses; `enc` null writes it in clear.
bool write_file(CPDFDoc& doc, const char* path, CPDFEncrypt* enc) {
  CQVStreamFile out;
  out.file = std::fopen(path, "w+b");
  if (out.file == nullptr)
    return false;
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, enc);
  return target.write_failed == 0;
}

bool encrypt(const char* path, const char* encrypted) {
  CPDFDoc doc;
  if (!doc.open(path) || !doc.is_readable())
    return false;
  CPDFStandardEncrypt::Settings settings;  // AES-256 unless another algorithm is asked for
  settings.user_password = "open sesame";
  settings.owner_password = "the owner's secret";
  settings.permissions = 1u << 2;  // to print, and nothing else
  CPDFStandardEncrypt enc;
  const PDF_String no_identifier{0, nullptr};  // which only the older algorithms need
  return enc.create(settings, no_identifier) && write_file(doc, encrypted, &enc);
}

// Opens with `password` and prints how that went.
bool try_password(CPDFDoc& doc, const char* path, const char* password) {
  using Outcome = CPDFStandardSecHand::Outcome;
  doc.set_password(password);
  if (!doc.open(path))
    return false;
  const Outcome outcome = doc.handler().outcome();
  const char* const said = outcome == Outcome::kOpenedAsUser    ? "opened, with the user's rights"
                           : outcome == Outcome::kOpenedAsOwner ? "opened, with all rights"
                           : outcome == Outcome::kNeedsPassword ? "needs a password"
                           : outcome == Outcome::kWrongPassword ? "the password is wrong"
                           : outcome == Outcome::kUnsupported   ? "this handler is not known"
                                                                : "the dictionary is damaged";
  std::printf("%-20s %s\n", password != nullptr ? password : "(none)", said);
  return doc.is_readable();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || !encrypt(argv[1], "encrypted.pdf")) {
    std::fprintf(stderr, "usage: encrypt FILE.pdf\n");
    return 2;
  }
  CPDFDoc doc;
  const bool refused = !try_password(doc, "encrypted.pdf", nullptr) && !try_password(doc, "encrypted.pdf", "guess");
  const bool opened = try_password(doc, "encrypted.pdf", "the owner's secret");
  // Objects of a readable document come decrypted, so that this copy is in clear.
  return refused && opened && write_file(doc, "decrypted.pdf", nullptr) ? 0 : 2;
}
