// sheaf split: one document into several.
#include <cstdio>
#include <memory>

#include "support/assembly.h"
#include "support/changes.h"
#include "support/command_line.h"
#include "support/encryption.h"
#include "support/left_out.h"
#include "support/merge_notes.h"
#include "support/part_names.h"
#include "support/progress.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct SplitOptions {
  std::string file;
  PasswordOptions password;
  std::string pattern;  ///< As part_name takes it.
  int every = 1;        ///< Pages a part.
  bool dry_run = false;
  std::string attachments;       ///< "all", "none", or empty: where they belong.
  EncryptionOptions encryption;  ///< Without an algorithm: none.
};

// Files that no page refers to are in the first part only.
PDF_MERGE_FILES files_of_part(const SplitOptions& options, int part) {
  if (!options.attachments.empty())
    return options.attachments == "all" ? PDF_MERGE_FILES::kAll : PDF_MERGE_FILES::kNone;
  return part == 0 ? PDF_MERGE_FILES::kReferredAndLoose : PDF_MERGE_FILES::kReferred;
}

int run_split(const SplitOptions& options) {
  CPDFDoc source;
  if (!check_encryption(options.encryption) || !open_document(source, options.file, options.password))
    return kExitFailed;
  const int parts = (source.page_count() + options.every - 1) / options.every;
  if (options.pattern == "-" && parts > 1) {
    complain("standard output",
             "takes one document, but there are several parts; give -o a pattern such as part-%d.pdf");
    return kExitFailed;
  }
  int code = kExitClean;
  Progress progress("parts", parts);
  CPDFMergeIndex index;
  for (int part = 0; part < parts; ++part) {
    const std::string name = part_name(options.pattern, part + 1, parts);
    progress.show(part + 1);
    std::vector<std::int32_t> pages;
    for (int page = part * options.every; page < (part + 1) * options.every && page < source.page_count(); ++page)
      pages.push_back(page);
    Assembly assembly;
    assembly.merge->set_options({files_of_part(options, part), false, false, &index});
    const auto wanted = static_cast<std::int32_t>(pages.size());
    if (assembly.merge->append(source, pages.data(), wanted, nullptr) != wanted || assembly.has_unreadable())
      code = kExitProblems;
    if (part == 0)
      complain_about_losses(*assembly.merge, 0, options.file, !options.encryption.algorithm.empty());
    if (options.dry_run) {
      std::fputs(shown_lines(merge_table(*assembly.merge, {name})).c_str(), stdout);
      continue;
    }
    if (!assembly.write(name, options.encryption))
      return kExitFailed;
  }
  remark_trailer_keys(source, options.file);
  if (!was_sound(source, options.file))
    code = kExitProblems;
  if (!options.dry_run)
    report(input_name(options.file) + ": " + std::to_string(source.page_count()) + " pages in " +
           std::to_string(parts) + " parts");
  return code;
}

const Registration kSplit("split", "Make", "One document into several", [](Command& command) -> Run {
  auto options = std::make_shared<SplitOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  command.add_option("-o,--output", options->pattern, "Name of the parts, %d or %03d for their number")->required();
  command.add_option("--every", options->every, "Pages a part")->check(Range{1, 1000000});
  command
      .add_option("--attachments", options->attachments,
                  "Files embedded in each part: all or none, instead of those that its pages refer to")
      ->check(IsMember({"all", "none"}));
  command.add_flag("--dry-run", options->dry_run, "Say what becomes of everything, and write nothing");
  add_encryption(command, options->encryption);
  return [options] { return run_split(*options); };
});

}  // namespace

}  // namespace sheaf::tool
