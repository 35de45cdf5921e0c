// sheaf select, delete and insert: which pages a document has, and in which order.
#include <set>

#include "sheaf/document/pages/page_arrange.h"
#include "support/assembly.h"
#include "support/command_line.h"
#include "support/edit_run.h"
#include "support/inputs.h"
#include "support/left_out.h"
#include "support/merge_notes.h"
#include "support/page_ranges.h"
#include "support/signature_notes.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct ArrangeOptions {
  EditTarget target;
  std::string ranges;
  bool deletes = false;
};

struct InsertOptions {
  EditTarget target;
  std::string source;  ///< "FILE" or "FILE:RANGES".
  std::string password;
  int before = 0;
  int after = -1;
};

// The pages that the document is to have. False, with a message.
bool wanted_pages(const ArrangeOptions& options, const std::string& name, int count, std::vector<std::int32_t>& pages) {
  std::vector<std::int32_t> named;
  if (!select_pages(options.ranges, name, count, named))
    return false;
  if (!options.deletes) {
    pages = named;
    return true;
  }
  const std::set<std::int32_t> gone(named.begin(), named.end());
  for (std::int32_t page = 0; page < count; ++page) {
    if (!gone.contains(page))
      pages.push_back(page);
  }
  if (pages.empty())
    complain(name, "would have no page left, and a document needs one");
  return !pages.empty();
}

// What is gone with the pages.
int note_gone(const PDF_ARRANGE_REPORT& done, const std::string& name) {
  if (done.outline_gone != 0)
    remark(name, std::to_string(done.outline_gone) +
                     " entries of the outline led to removed pages, and went with them or lead nowhere now");
  if (done.fields_gone != 0)
    warn(name, std::to_string(done.fields_gone) + " form fields were on removed pages only and went with them");
  if (done.signatures_gone == 0)
    return kExitClean;
  complain(name, std::to_string(done.signatures_gone) + " signatures were on removed pages and are gone");
  return kExitProblems;
}

int arrange(CPDFDoc& doc, const std::string& name, const std::vector<std::int32_t>& pages) {
  PDF_ARRANGE_REPORT done;
  if (!arrange_pages(doc, pages.data(), static_cast<std::int32_t>(pages.size()), done)) {
    complain(name, "its pages cannot be listed anew; there is no catalogue that can be changed, or not enough memory");
    return kExitFailed;
  }
  return note_gone(done, name);
}

// A new document of the pages: what belongs to none of them is not in it at all.
int write_selection(const ArrangeOptions& options) {
  const EditTarget& target = options.target;
  CPDFDoc source;
  if (!open_document(source, target.file, target.password))
    return kExitFailed;
  std::vector<std::int32_t> pages;
  if (target.output.empty()) {
    complain(target.file, "is changed only when asked for: give -o OUT, or --in-place");
    return kExitFailed;
  }
  if (!wanted_pages(options, target.file, source.page_count(), pages))
    return kExitFailed;
  note_signatures_end(source, target.file);
  Assembly assembly;
  assembly.merge->set_options({PDF_MERGE_FILES::kAll, false, false});
  const auto wanted = static_cast<std::int32_t>(pages.size());
  const std::int32_t done = assembly.merge->append(source, pages.data(), wanted, nullptr);
  if (done != wanted)
    complain(target.file, std::to_string(wanted - done) + " pages could not be read and were left out");
  if (!assembly.write(target.output, source.is_encrypted() ? &source : nullptr))
    return kExitFailed;
  complain_about_losses(*assembly.merge, 0, target.file, source.is_encrypted());
  remark_trailer_keys(source, target.file);
  report(output_name(target.output) + ": " + std::to_string(done) + " pages, " + std::to_string(assembly.size) +
         " bytes");
  const bool was_healed = !was_sound(source, target.file);
  const bool clean = done == wanted && !assembly.has_unreadable() && !was_healed;
  return clean ? kExitClean : kExitProblems;
}

int run_arrange(const ArrangeOptions& options) {
  if (options.target.rewrite)
    return write_selection(options);
  return run_edit(options.target, [&options](CPDFDoc& doc, const std::string& name) -> int {
    std::vector<std::int32_t> pages;
    return wanted_pages(options, name, doc.page_count(), pages) ? arrange(doc, name, pages) : int{kExitFailed};
  });
}

// Where the pages go: before this index. -1, with a message, when there is no such page.
int place_of(const InsertOptions& options, const std::string& name, int count) {
  const int page = options.before > 0 ? options.before : options.after;
  const int place = options.before > 0 ? options.before - 1 : options.after < 0 ? count : options.after;
  if (page <= count)
    return place;
  complain(name, "has no page " + std::to_string(page) + "; it has " + std::to_string(count));
  return -1;
}

int insert(CPDFDoc& doc, const std::string& name, const InsertOptions& options) {
  const FileRanges from = parse_file_ranges(options.source);
  CPDFDoc source;
  std::vector<std::int32_t> pages;
  const int count = doc.page_count();
  const int place = place_of(options, name, count);
  if (place < 0 || !open_document(source, from.file, {options.password, ""}) ||
      !select_pages(from.ranges, from.file, source.page_count(), pages))
    return kExitFailed;
  doc.use_temp_file(nullptr);
  CPDFDocMerge merge(doc);
  merge.set_options({PDF_MERGE_FILES::kReferred, false, false});
  const auto wanted = static_cast<std::int32_t>(pages.size());
  const std::int32_t done = merge.append(source, pages.data(), wanted, nullptr);
  if (!merge.finish()) {
    complain(name, "there is not enough memory; nothing was written");
    return kExitFailed;
  }
  complain_about_losses(merge, 0, from.file, doc.is_encrypted());
  if (done != wanted)
    complain(from.file, std::to_string(wanted - done) + " pages could not be read and were left out");
  std::vector<std::int32_t> order;
  order.reserve(static_cast<std::size_t>(count + done));
  for (std::int32_t page = 0; page < count + done; ++page)
    order.push_back(page < place ? page : page < place + done ? count + page - place : page - done);
  const int code = arrange(doc, name, order);
  const bool was_healed = !was_sound(source, from.file);
  return code == kExitClean && (done != wanted || was_healed) ? int{kExitProblems} : code;
}

int run_insert(const InsertOptions& options) {
  if (!note_input(parse_file_ranges(options.source).file))
    return kExitFailed;
  return run_edit(options.target,
                  [&options](CPDFDoc& doc, const std::string& name) { return insert(doc, name, options); });
}

Run describe_arrange(Command& command, bool deletes) {
  auto options = std::make_shared<ArrangeOptions>();
  options->deletes = deletes;
  add_edit_or_rewrite(command, options->target);
  command.add_option("RANGES", options->ranges, "Pages, such as 1-5,8,r1,z-1 or odd")->required();
  return [options] { return run_arrange(*options); };
}

const Registration kSelect("select", "Change", "Keep pages, in this order, also repeated",
                           [](Command& command) -> Run { return describe_arrange(command, false); });

const Registration kDelete("delete", "Change", "Take pages out",
                           [](Command& command) -> Run { return describe_arrange(command, true); });

const Registration kInsert("insert", "Change", "Pages of another document at a place", [](Command& command) -> Run {
  auto options = std::make_shared<InsertOptions>();
  add_edit_or_rewrite(command, options->target);
  command.add_option("FROM", options->source, "FILE or FILE:RANGES, the pages to insert")->required();
  auto* before = command.add_option("--before", options->before, "In front of this page")->check(Range{1, INT32_MAX});
  command.add_option("--after", options->after, "Behind this page, 0 for the very front; without either at the end")
      ->check(Range{0, INT32_MAX})
      ->excludes(before);
  command.add_option("--from-password", options->password, "Password of the other document");
  return [options] { return run_insert(*options); };
});

}  // namespace

}  // namespace sheaf::tool
