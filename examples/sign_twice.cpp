// Signs a copy of a document twice, with two keys that it makes itself. The second signature comes behind the first,
// which goes on covering its revision. `pdfsig OUT.pdf` confirms it from outside.
//
//   sign_twice FILE.pdf [OUT.pdf]
#include <cstdio>
#include <filesystem>

#include "self_made_signer.h"
#include "sheaf/sheaf.hpp"

namespace {

bool sign(sheaf::Document& doc, const char* field, const char* who, const sheaf::Rect& rect) {
  auto seal = doc.seal_signature(
      {.page = 0, .room = 4096, .field = field, .rect = rect, .name = who, .sub_filter = "adbe.pkcs7.detached"});
  if (!seal) {
    std::fprintf(stderr, "%s\n", seal.error().message.c_str());
    return false;
  }
  std::string bytes;
  const auto read = seal->digest([&bytes](auto piece) { bytes.append(piece.begin(), piece.end()); });
  const std::string signature = Signer(who).sign(bytes);
  return read && seal->write({reinterpret_cast<const unsigned char*>(signature.data()), signature.size()});
}

}  // namespace

int main(int argc, char** argv) {
  const std::string out = argc > 2 ? argv[2] : "signed_twice.pdf";
  std::filesystem::copy_file(argv[1], out, std::filesystem::copy_options::overwrite_existing);
  auto doc = sheaf::Document::open(out);
  if (!doc || !sign(*doc, "Author", "The author", {72, 72, 272, 102}) || !sign(*doc, "Reviewer", "The reviewer", {}))
    return 2;
  std::printf("%s: %d signatures\n", out.c_str(), doc->signature_count());
  return 0;
}
