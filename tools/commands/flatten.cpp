// sheaf flatten: a complete new file whose form, or all of whose annotations, are part of the pages.

#include "sheaf/document/forms/flattener.h"
#include "support/command_line.h"
#include "support/left_out.h"
#include "support/safe_output.h"
#include "support/tool_support.h"
#include "support/whole_file.h"

namespace sheaf::tool {

namespace {

struct FlattenOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  bool all = false;
  bool print = false;
};

// What is not in the result as it was.
void complain_about(const PDF_FLATTEN_REPORT& report, const std::string& file) {
  if (report.signatures != 0)
    complain(input_name(file),
             std::to_string(report.signatures) + " signatures end with the form; what they showed is drawn");
  if (report.kept != 0)
    complain(input_name(file),
             std::to_string(report.kept) + " annotations have no appearance that could be drawn, and stay");
}

int run_flatten(const FlattenOptions& options) {
  CPDFDoc doc;
  if (!open_document(doc, options.file, options.password))
    return kExitFailed;
  CPDFFlattener flattener(doc);
  flattener.for_print(options.print);
  if (!flattener.run(options.all ? PDF_FLATTEN::kAll : PDF_FLATTEN::kWidgets)) {
    complain(input_name(options.file), "there is not enough memory");
    return kExitFailed;
  }
  SafeOutput output;
  if (!output.open(options.output))
    return kExitFailed;
  if (!save_whole(doc, output.stream())) {
    complain(output_name(options.output), "could not be written to its end; is the disk full?");
    return kExitFailed;
  }
  if (!output.commit())
    return kExitFailed;
  const PDF_FLATTEN_REPORT& done = flattener.report();
  complain_about(done, options.file);
  remark_trailer_keys(doc, output_name(options.output));
  report(output_name(options.output) + ": " + std::to_string(done.drawn) + " annotations drawn, " +
         std::to_string(done.hidden) + " hidden and " + std::to_string(done.blank) + " blank ones removed, on " +
         std::to_string(done.pages) + " pages");
  const bool clean = was_sound(doc, options.file) && done.signatures == 0 && done.kept == 0;
  return clean ? kExitClean : kExitProblems;
}

const Registration kFlatten("flatten", "Make", "A file whose form is part of its pages", [](Command& command) -> Run {
  auto options = std::make_shared<FlattenOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("OUT", options->output, "The file to write")->required();
  command.add_flag("--all", options->all, "All annotations but links and attached files, sounds and films");
  command.add_flag("--print", options->print, "Draw what is printed; else what is shown on a screen");
  return [options] { return run_flatten(*options); };
});

}  // namespace

}  // namespace sheaf::tool
