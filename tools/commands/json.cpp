// sheaf json: a whole document as JSON, and back.
#include "json/json_document.h"
#include "support/command_line.h"
#include "support/json_file.h"
#include "support/safe_names.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct JsonOptions {
  std::string file;
  std::string output = "-";
  PasswordOptions password;
  JsonManner manner;
  bool qpdf = false;
  bool to_pdf = false;
};

int make_pdf(const JsonOptions& options) {
  JsonValue json;
  SafeOutput output;
  if (!read_json_file(options.file, json) || !output.open(options.output) ||
      !write_pdf_of_json(json, options.file, output.stream()) || !output.commit())
    return kExitFailed;
  report(output_name(options.output) + ": " + std::to_string(output.size()) + " bytes");
  return kExitClean;
}

int run_json(JsonOptions& options) {
  if (options.to_pdf)
    return make_pdf(options);
  options.manner.form = options.qpdf ? JsonForm::kQpdf : JsonForm::kOwn;
  if (options.manner.streams == JsonStreams::kApart && options.manner.folder.empty()) {
    complain("--streams apart", "needs a folder for the streams; give one with -d");
    return kExitFailed;
  }
  CPDFDoc doc;
  SafeOutput output;
  if (!open_document(doc, options.file, options.password) || !make_folder(options.manner.folder) ||
      !output.open_for_data(options.output))
    return kExitFailed;
  const int code = write_json_document(doc, options.file, options.manner, output);
  if (code == kExitFailed || !output.commit())
    return kExitFailed;
  return was_sound(doc, options.file) ? code : int{kExitProblems};
}

const Registration kJson("json", "Look", "The whole document as JSON, and back", [](Command& command) -> Run {
  auto options = std::make_shared<JsonOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("-o,--output", options->output, "Write to this file");
  command.add_choice<JsonStreams>(
      "--streams", options->manner.streams,
      {{"inline", JsonStreams::kInline}, {"apart", JsonStreams::kApart}, {"none", JsonStreams::kNone}},
      "Their data in the JSON, as files of their own, or left out");
  command.add_option("-d,--directory", options->manner.folder, "The folder for streams apart");
  auto* qpdf = command.add_flag("--qpdf", options->qpdf, "In the form of qpdf's JSON, version 2");
  command.add_flag("--to-pdf", options->to_pdf, "Read FILE as JSON, of either form, and write the document")
      ->excludes(qpdf);
  return [options] { return run_json(*options); };
});

}  // namespace

}  // namespace sheaf::tool
