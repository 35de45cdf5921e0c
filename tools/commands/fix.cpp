// sheaf fix: makes a file sound again that was changed in a text editor.
#include <fstream>
#include <iterator>
#include <memory>

#include "sheaf/document/writer/edited_file.h"
#include "support/command_line.h"
#include "support/document_check.h"
#include "support/inputs.h"
#include "support/safe_output.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct FixOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
};

std::string trouble_text(const PDF_FIX_RESULT& result) {
  switch (result.trouble) {
    case PDF_FIX_RESULT::kNoObjects:
      return "has no object or no trailer at the start of a line; try repair";
    case PDF_FIX_RESULT::kObjectStreams:
      return "object " + std::to_string(result.num) +
             " is an object stream or a cross-reference stream, which no editor can change; write the file with "
             "rewrite --uncompress first, or try repair";
    case PDF_FIX_RESULT::kOpenStream:
      return "the stream of object " + std::to_string(result.num) + " is not followed by endstream and endobj";
    case PDF_FIX_RESULT::kTooLarge:
      return "is too large to be fixed: 2 GiB at most";
    case PDF_FIX_RESULT::kNoMemory:
      return "there is not enough memory";
    default:
      return "could not be written to its end; is the disk full? Nothing was changed";
  }
}

// Opens what was written, and says what cannot be read of it.
int look_at(const std::string& path, const FixOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, path, options.password, false))
    return kExitProblems;
  if (!doc.is_readable())
    return kExitClean;
  CheckResult result;
  check_document(doc, result);
  for (const Problem& problem : result.problems)
    complain(output_name(options.output), "object " + std::to_string(problem.object) + ": " + problem.what);
  return result.problems.empty() ? kExitClean : kExitProblems;
}

int run_fix(FixOptions options) {
  std::string path;
  if (!fix_password(options.password) || !input_path(options.file, path))
    return kExitFailed;
  std::ifstream in(path, std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (!in.good() && text.empty()) {
    complain(options.file, "cannot be read, or is empty");
    return kExitFailed;
  }
  SafeOutput output;
  if (!output.open(options.output))
    return kExitFailed;
  PDF_FIX_RESULT result;
  if (!fix_edited_file(reinterpret_cast<const unsigned char*>(text.data()), text.size(), output.stream(), result)) {
    complain(options.file, trouble_text(result));
    return kExitFailed;
  }
  const int sound = look_at(output.path(), options);
  if (!output.commit())
    return kExitFailed;
  if (result.repeated != 0)
    remark(output_name(options.output),
           std::to_string(result.repeated) + " objects come again further on, and the last of each counts");
  report(output_name(options.output) + ": " + std::to_string(result.objects) + " objects, " +
         std::to_string(result.lengths) + " lengths set right");
  return sound;
}

const Registration kFix("fix", "Make", "A file changed in a text editor, sound again", [](Command& command) -> Run {
  auto options = std::make_shared<FixOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("OUT", options->output, "The file to write")->required();
  return [options] { return run_fix(*options); };
});

}  // namespace

}  // namespace sheaf::tool
