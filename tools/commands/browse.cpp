// sheaf browse: a document as one page in which a browser shows every object, without a network.
#include "browse/document_page.h"
#include "support/command_line.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr std::uint64_t kMebibyte = 1 << 20;

struct BrowseOptions {
  std::string file;
  PasswordOptions password;
  std::string output = "-";
  std::uint64_t most = 64 * kMebibyte;
};

int run_browse(const BrowseOptions& options) {
  CPDFDoc doc;
  SafeOutput out;
  if (!open_document(doc, options.file, options.password) || !out.open_for_data(options.output))
    return kExitFailed;
  const PageOutcome outcome = write_document_page(doc, options.file, static_cast<std::int64_t>(options.most), out);
  if (!outcome.is_written) {
    complain(output_name(options.output), "could not be written to its end; is its reader gone, or the disk full?");
    return kExitFailed;
  }
  if (outcome.left_out > 0)
    warn(options.file,
         std::to_string(outcome.left_out) + " objects have no room in a page of this size; give it more with --most");
  if (!out.commit())
    return kExitFailed;
  return outcome.has_problems ? kExitProblems : kExitClean;
}

const Registration kBrowse("browse", "Look", "A page for the browser to look inside: objects, streams, versions",
                           [](Command& command) -> Run {
                             auto options = std::make_shared<BrowseOptions>();
                             add_file(command, options->file);
                             add_password(command, options->password);
                             command.add_option("-o,--output", options->output,
                                                "The HTML file to write; else standard output");
                             command.add_size("--most", options->most, {kMebibyte, 1024 * kMebibyte},
                                              "The most bytes of the page; 64MiB, or 1MiB and up");
                             return [options] { return run_browse(*options); };
                           });

}  // namespace

}  // namespace sheaf::tool
