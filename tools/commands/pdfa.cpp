// sheaf pdfa: the verdict on header and trailer of a PDF/A-1 file.
#include <cstdio>

#include "support/command_line.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct PdfaOptions {
  std::string file;
  PasswordOptions password;
};

int run_pdfa(const PdfaOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password, false))
    return kExitFailed;
  doc.table().drain_pending();
  const std::string name = shown(input_name(options.file));
  switch (doc.table().pdfa_verify()) {
    case 0:
      std::printf("%s: header and trailer are as PDF/A-1 asks\n", name.c_str());
      return kExitClean;
    case 0x060102:
      std::printf("%s: the file header does not conform to PDF/A-1 (ISO 19005-1, 6.1.2)\n", name.c_str());
      return kExitProblems;
    default:
      std::printf("%s: the file trailer does not conform to PDF/A-1 (ISO 19005-1, 6.1.3): %s\n", name.c_str(),
                  doc.is_encrypted() ? "the document is encrypted" : "there is no file identifier");
      return kExitProblems;
  }
}

const Registration kPdfa("pdfa", "Look", "Whether header and trailer are as PDF/A-1 asks",
                         [](CLI::App& command) -> Run {
                           auto options = std::make_shared<PdfaOptions>();
                           add_file(command, options->file);
                           add_password(command, options->password);
                           return [options] { return run_pdfa(*options); };
                         });

}  // namespace

}  // namespace sheaf::tool
