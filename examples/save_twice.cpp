// Changes one key, saves twice without sealing and once sealed, and says what happened to the file
// at each step: plain saves go over the same update section, a sealed one stays as it is.
//
//   save_twice FILE.pdf
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "sheaf/document/doc.h"

namespace {

void tell(const char* step, CPDFDoc& doc) {
  const CPDFXRefTable& table = doc.table();
  std::printf("%-22s %6lld bytes; the next section starts at %u, the last sealed one is at %u\n", step,
              table.stream->GetLen(), table.append_offset, table.last_xref_offset);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: save_twice FILE.pdf\n");
    return 2;
  }
  // Work on a copy: the original is never touched.
  const std::string copy = "save_twice_copy.pdf";
  std::error_code failure;
  std::filesystem::copy_file(argv[1], copy, std::filesystem::copy_options::overwrite_existing, failure);

  CPDFDoc doc;
  if (!doc.open_for_update(copy.c_str())) {
    std::fprintf(stderr, "%s cannot be opened\n", copy.c_str());
    return 2;
  }
  tell("opened", doc);

  bool good = doc.set_info("Title", "First title") && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
  tell("plain save", doc);

  good = good && doc.set_info("Title", "Second title") && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
  tell("plain save again", doc);

  // The presence of PDF_SIGN_DATA seals the save: these bytes will not be written over again.
  PDF_SIGN_DATA sign;
  good = good && doc.set_info("Title", "Third title") && doc.save_update(PDF_SAVE_FORM::kAsFile, &sign);
  sign.dict.clear();
  tell("sealed save", doc);
  return good ? 0 : 2;
}
