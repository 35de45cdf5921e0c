// sheaf merge: pages of several documents in one.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "support/assembly.h"
#include "support/changes.h"
#include "support/command_line.h"
#include "support/encryption.h"
#include "support/left_out.h"
#include "support/merge_notes.h"
#include "support/page_ranges.h"
#include "support/progress.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct MergeOptions {
  std::string output;
  std::vector<std::string> inputs;     ///< "FILE" or "FILE:RANGES".
  std::vector<std::string> passwords;  ///< One for each input, in order; the last one for the rest.
  std::string password_file;           ///< A file with a password on each line.
  bool dry_run = false;
  bool no_file_outline = false;
  bool keep_equal_streams = false;
  bool pdfa = false;
  EncryptionOptions encryption;  ///< Without an algorithm: none.
  int collate = 0;               ///< Pages of each input in turn; 0: one input after the other.
};

std::string stem_of(const std::string& file) {
  return std::filesystem::path(file).stem().string();
}

PasswordOptions password_for(const MergeOptions& options, std::size_t index) {
  PasswordOptions password;
  if (!options.passwords.empty())
    password.password = options.passwords[std::min(index, options.passwords.size() - 1)];
  return password;
}

// The order of pages that come in `blocks`, `group` pages of each in turn.
std::vector<std::int32_t> collated(const std::vector<std::int32_t>& blocks, int group) {
  std::vector<std::int32_t> order;
  bool more = true;
  for (std::int32_t round = 0; more; round += group) {
    std::int32_t start = 0;
    more = false;
    for (const std::int32_t block : blocks) {
      for (std::int32_t i = round; i < std::min(block, round + group); ++i)
        order.push_back(start + i);
      more = more || round + group < block;
      start += block;
    }
  }
  return order;
}

// Appends the pages that were asked for of the input `index`, and their count to `blocks`. An exit code.
int append_input(Assembly& assembly, const MergeOptions& options, std::size_t index, const FileRanges& input,
                 std::vector<std::int32_t>& blocks) {
  CPDFDoc source;
  if (!open_document(source, input.file, password_for(options, index)))
    return kExitFailed;
  std::vector<std::int32_t> pages;
  if (!select_pages(input.ranges, input.file, source.page_count(), pages))
    return kExitFailed;
  const auto wanted = static_cast<std::int32_t>(pages.size());
  const std::int32_t done = assembly.merge->append(source, pages.data(), wanted, stem_of(input.file).c_str());
  blocks.push_back(done);
  if (done != wanted)
    complain(input.file, std::to_string(wanted - done) + " pages could not be read and were left out");
  complain_about_losses(*assembly.merge, static_cast<std::int32_t>(index), input.file,
                        !options.encryption.algorithm.empty());
  remark_trailer_keys(source, input.file);
  const bool sound = was_sound(source, input.file);
  return sound && done == wanted && !assembly.has_unreadable() ? kExitClean : kExitProblems;
}

int run_merge(MergeOptions options) {
  if (!check_encryption(options.encryption))
    return kExitFailed;
  if (!options.password_file.empty() && !read_password_lines(options.password_file, options.passwords))
    return kExitFailed;
  Assembly assembly;
  PDF_MERGE_OPTIONS how;
  how.entry_for_source = !options.no_file_outline;
  how.share_streams = !options.keep_equal_streams;
  assembly.merge->set_options(how);
  int code = kExitClean;
  Progress progress("documents", static_cast<std::int64_t>(options.inputs.size()));
  std::vector<std::string> files;
  std::vector<std::int32_t> blocks;
  if (options.pdfa && !ask_for_pdfa(assembly.doc, options.output, !options.encryption.algorithm.empty()))
    return kExitFailed;
  for (std::size_t i = 0; i < options.inputs.size(); ++i) {
    const FileRanges input = parse_file_ranges(options.inputs[i]);
    files.push_back(input.file);
    code = std::max(code, append_input(assembly, options, i, input, blocks));
    if (code == kExitFailed)
      return code;
    progress.show(static_cast<std::int64_t>(i) + 1);
  }
  if (options.dry_run) {
    assembly.merge->finish();
    std::fputs(shown_lines(merge_table(*assembly.merge, files)).c_str(), stdout);
    return code;
  }
  if (options.collate > 0)
    assembly.order = collated(blocks, options.collate);
  if (!assembly.write(options.output, options.encryption))
    return kExitFailed;
  if (complain_of_metadata(assembly.doc, options.output))
    code = kExitProblems;
  report(output_name(options.output) + ": " + std::to_string(assembly.doc.page_count()) + " pages of " +
         std::to_string(options.inputs.size()) + " documents, " + std::to_string(assembly.size) + " bytes");
  return code;
}

const Registration kMerge("merge", "Make", "Pages of several documents in one", [](Command& command) -> Run {
  auto options = std::make_shared<MergeOptions>();
  command.add_option("OUT", options->output, "The file to write")->required();
  command.add_option("IN", options->inputs, "FILE or FILE:RANGES, such as a.pdf:1-5,8,r1,z-1 or odd")->required();
  auto* direct =
      command
          .add_option("--password", options->passwords, "One for each input, in order; the last one serves the rest")
          ->one_at_a_time();
  command
      .add_option("--password-file", options->password_file, "File with a password on each line, - for standard input")
      ->excludes(direct);
  command.add_flag("--no-file-outline", options->no_file_outline, "No entry for each file above its outline");
  command.add_flag("--keep-equal-streams", options->keep_equal_streams, "Write equal streams as often as they came");
  command.add_flag("--dry-run", options->dry_run, "Say what becomes of everything, and write nothing");
  command.add_option("--collate", options->collate, "So many pages of each input in turn; 1: page by page")
      ->check(Range{1, 1000000});
  add_pdfa(command, options->pdfa);
  add_encryption(command, options->encryption);
  return [options] { return run_merge(*options); };
});

}  // namespace

}  // namespace sheaf::tool
