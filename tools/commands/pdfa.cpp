// sheaf pdfa: the verdict on header and trailer of a PDF/A-1 file, and what there is of its frame.
#include <cstdio>

#include "support/command_line.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct PdfaOptions {
  std::string file;
  PasswordOptions password;
};

// What the document has of the frame, a line each. False when it claims more than it has.
bool report_frame(CPDFDoc& doc, const std::string& name) {
  PDF_FRAME_FOUND found;
  if (doc.is_readable())
    doc.read_frame(found);
  if (found.output_intents == 0)
    std::printf("%s: no output intent\n", name.c_str());
  else
    std::printf("%s: %d output intents, %d of them for PDF/A with a profile\n", name.c_str(), found.output_intents,
                found.pdfa_intents);
  if (!found.has_metadata)
    std::printf("%s: no metadata\n", name.c_str());
  else if (!found.metadata_is_read)
    std::printf("%s: the metadata are no XMP that can be read\n", name.c_str());
  else if (found.claim[0] == 0)
    std::printf("%s: the metadata do not claim PDF/A\n", name.c_str());
  else
    std::printf("%s: the metadata claim PDF/A-%s\n", name.c_str(), shown(found.claim).c_str());
  const bool is_backed = found.pdfa_intents != 0 && !doc.is_encrypted();
  if (found.claim[0] != 0 && !is_backed)
    std::printf("%s: that claim is not backed: %s\n", name.c_str(),
                doc.is_encrypted() ? "the document is encrypted" : "there is no output intent for PDF/A");
  return found.claim[0] == 0 || is_backed;
}

int run_pdfa(const PdfaOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password, false))
    return kExitFailed;
  doc.table().drain_pending();
  const std::string name = shown(input_name(options.file));
  switch (doc.table().pdfa_verify()) {
    case 0:
      std::printf("%s: header and trailer are as PDF/A-1 asks\n", name.c_str());
      return report_frame(doc, name) ? kExitClean : kExitProblems;
    case 0x060102:
      std::printf("%s: the file header does not conform to PDF/A-1 (ISO 19005-1, 6.1.2)\n", name.c_str());
      report_frame(doc, name);
      return kExitProblems;
    default:
      std::printf("%s: the file trailer does not conform to PDF/A-1 (ISO 19005-1, 6.1.3): %s\n", name.c_str(),
                  doc.is_encrypted() ? "the document is encrypted" : "there is no file identifier");
      report_frame(doc, name);
      return kExitProblems;
  }
}

const Registration kPdfa("pdfa", "Look", "What a document has of PDF/A: header, trailer, output intent, claim",
                         [](Command& command) -> Run {
                           auto options = std::make_shared<PdfaOptions>();
                           add_file(command, options->file);
                           add_password(command, options->password);
                           return [options] { return run_pdfa(*options); };
                         });

}  // namespace

}  // namespace sheaf::tool
