// sheaf rewrite and sheaf repair: a complete new file of what the document still uses.
#include <algorithm>
#include <memory>

#include "batch/packed_ahead.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/writer/doc_writer.h"
#include "sheaf/neighbours/security/digests.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/array.h"
#include "support/changes.h"
#include "support/command_line.h"
#include "support/document_check.h"
#include "support/encryption.h"
#include "support/left_out.h"
#include "support/progress_stream.h"
#include "support/safe_output.h"
#include "support/signature_notes.h"
#include "support/tool_support.h"
#include "support/writing.h"

namespace sheaf::tool {

namespace {

struct RewriteOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  bool deterministic_id = false;
  bool decrypt = false;
  EncryptionOptions encryption;  ///< Without an algorithm: as the source.
  bool pdfa = false;
  WritingOptions writing;
};

// An identifier that follows from the source alone, so that two runs give the same bytes.
void set_content_id(CQVStream& source, CPDFObj& id) {
  CQVSecMD5 digest;
  unsigned char block[16 * 1024];
  digest.init();
  source.SetPos(CQVStream::STR_SEEK_SET, 0);
  for (unsigned got = source.Read(block, sizeof(block)); got != 0; got = source.Read(block, sizeof(block)))
    digest.update(block, got);
  digest.end(block);
  set_identifier(id, block);
}

// The encryption of the new file; null for none. False, with a message, when it cannot be made.
bool make_encryption(CPDFDoc& doc, CPDFObj& id, const RewriteOptions& options,
                     std::unique_ptr<CPDFStandardEncrypt>& enc) {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> scratch;
  if (!options.encryption.algorithm.empty()) {
    enc = std::make_unique<CPDFStandardEncrypt>();
    return start_encryption(options.encryption, id, options.output, *enc);
  }
  if (options.decrypt || !doc.is_encrypted() || table.sec_filter[0] == 0)
    return true;
  // Protection is never dropped silently: keys, passwords and the identifier that they hang on stay.
  const HeapWatch watch;
  table.get_encryption(scratch);
  if (scratch.as_dict() == nullptr && watch.all_granted())
    return true;
  enc = std::make_unique<CPDFStandardEncrypt>();
  if (scratch.as_dict() != nullptr && enc->continue_with(doc.handler(), *scratch.as_dict())) {
    doc.keep_identifier(id);
    return true;
  }
  complain(output_name(options.output), "there is no memory for the keys; nothing was written");
  return false;
}

struct Counts {
  std::int64_t kept = 0;
  std::int64_t dropped = 0;
  std::int64_t unreadable = 0;
};

Counts count_objects(const CPDFXRefTable& before, const CPDFXRefTable& after) {
  Counts counts;
  const auto next = [&](std::uint32_t num) { return std::min(before.next_entry(num), after.next_entry(num)); };
  for (std::uint32_t num = next(1); num < after.xref_count; num = next(num + 1)) {
    const bool was = num < before.xref_count && before.xref_items[num].is_known();
    const bool is = after.xref_items[num].is_known();
    counts.kept += is ? 1 : 0;
    counts.dropped += was && !is ? 1 : 0;
  }
  return counts;
}

// Other readers stumble over kids of the page tree that are no pages, or take them for empty ones.
int heal_page_tree(CPDFDoc& doc) {
  const int strays = doc.is_readable() ? doc.page_tree_strays() : 0;
  return strays > 0 && doc.page_count() > 0 && doc.rebuild_page_tree() ? strays : 0;
}

void report_repairs(CPDFDoc& doc, int strays) {
  if (strays != 0)
    report("healed (pages): " + std::to_string(strays) + " things in the page tree that are no pages were left out");
  for (const PDF_DOC_REPAIR& repair : doc.repairs())
    report(std::string("healed (") + repair.code + "): object " + std::to_string(repair.num) + ", offset " +
           std::to_string(repair.offset) + ": " + repair.action);
}

// What a complete new file has no place for, however sound the old one was.
void remark_left_out(CPDFDoc& doc, const Counts& counts, const std::string& output) {
  const CPDFXRefTable& table = doc.table();
  std::int64_t generations = 0;
  for (std::uint32_t num = table.next_entry(1); num < table.xref_count; num = table.next_entry(num + 1))
    generations += table.xref_items[num].type == 1 && table.xref_items[num].gen > 0 ? 1 : 0;
  if (counts.dropped != 0)
    remark(output, "left out: " + std::to_string(counts.dropped) + " objects that nothing refers to");
  remark(output, "left out: the older versions of changed objects, and the sections that list them");
  remark_trailer_keys(doc, output);
  if (generations != 0)
    remark(output, "left out: the generations of " + std::to_string(generations) + " objects, which now have 0");
}

// Reads the new file, and says what it lacks and what cannot be read of it.
int report_losses(CPDFDoc& doc, const RewriteOptions& options, const std::string& path) {
  CPDFDoc copy;
  if (!open_document(copy, path, options.password))
    return kExitProblems;
  std::vector<Problem> lost = find_losses(doc, copy);
  CheckResult result;
  check_document(copy, result);
  lost.insert(lost.end(), result.problems.begin(), result.problems.end());
  for (const Problem& loss : lost)
    complain(output_name(options.output), "object " + std::to_string(loss.object) + ": " + loss.what);
  return lost.empty() ? kExitClean : kExitProblems;
}

bool complain_of_output(const std::string& output) {
  complain(output, "could not be written to its end; is the disk full? Nothing was changed");
  return false;
}

// With the object numbers and the object streams of the source. False, with a message, on failure.
bool write_plain(CPDFDoc& doc, const RewriteOptions& options, SafeOutput& output, Counts& counts) {
  ProgressStream progress(output.stream());
  CPDFXRefTable target;
  target.stream = &progress;
  if (options.deterministic_id)
    set_content_id(*doc.table().stream, target.id);
  std::unique_ptr<CPDFStandardEncrypt> enc;
  if (!make_encryption(doc, target.id, options, enc))
    return false;
  doc.save_complete(target, enc.get());
  if (target.write_failed != 0 || target.xref_items == nullptr)
    return complain_of_output(options.output);
  counts = count_objects(doc.table(), target);
  return true;
}

// What the writer did, beyond writing.
void remark_work(const PDF_WRITE_RESULT& result, const std::string& output) {
  const auto say = [&output](std::int64_t count, const char* what) {
    if (count != 0)
      remark(output, std::to_string(count) + " " + what);
  };
  say(result.streams_changed, "streams have other filters now");
  say(result.streams_left, "streams stay as they are: all would decode to too much for a file of this size");
  say(result.joined, "objects were equal to others and are written once");
  say(result.resources, "resources that nothing uses were left out");
  say(result.images, "images of one bit a pixel were packed");
  say(result.stripped, "values were stripped");
}

// The same by the writer.
bool write_as_asked(CPDFDoc& doc, const RewriteOptions& options, SafeOutput& output, Counts& counts) {
  ProgressStream progress(output.stream());
  Freed<CPDFObj> id;
  if (options.deterministic_id)
    set_content_id(*doc.table().stream, id);
  std::unique_ptr<CPDFStandardEncrypt> enc;
  if (!make_encryption(doc, id, options, enc))
    return false;
  if (enc != nullptr && options.writing.uncompress)
    warn(output_name(options.output), "stays encrypted, which is nothing for a text editor; add --decrypt");
  PDF_WRITE_OPTIONS wanted = options.writing.write;
  PackedAhead packed;
  if (options.writing.jobs > 1 && packs(wanted)) {
    if (!packed.run(doc, options.file, wanted, options.writing.jobs))
      return false;
    wanted.packer = &packed;
  }
  CPDFDocWriter writer(doc);
  writer.set_id(id);
  if (!writer.write(progress, enc.get(), wanted))
    return complain_of_output(options.output);
  const PDF_WRITE_RESULT& result = writer.result();
  remark_work(result, output_name(options.output));
  if (result.has_no_pages)
    complain(output_name(options.output), "has no page, and so is not linearized");
  if (result.hints_are_cut)
    remark(output_name(options.output), "its pages share so much that the hints do not name all of it");
  counts = {result.objects, result.left_out, result.unreadable + (result.has_no_pages ? 1 : 0)};
  return true;
}

int rewrite(RewriteOptions options, bool repair) {
  if (!check_encryption(options.encryption) || !read_writing(options.writing))
    return kExitFailed;
  CPDFDoc doc;
  if (!fix_password(options.password) || !open_document(doc, options.file, options.password))
    return kExitFailed;
  note_signatures_end(doc, options.file);
  const bool stays_encrypted = doc.is_encrypted() && !options.decrypt;
  if (options.pdfa && !ask_for_pdfa(doc, options.output, stays_encrypted || !options.encryption.algorithm.empty()))
    return kExitFailed;
  SafeOutput output;
  if (!output.open(options.output))
    return kExitFailed;
  const int strays = repair ? heal_page_tree(doc) : 0;
  Counts counts;
  if (!(needs_writer(options.writing) ? write_as_asked : write_plain)(doc, options, output, counts))
    return kExitFailed;
  const int losses = repair ? report_losses(doc, options, output.path()) : int{kExitClean};
  if (!output.commit())
    return kExitFailed;
  remark_left_out(doc, counts, output_name(options.output));
  if (repair)
    report_repairs(doc, strays);
  report(output_name(options.output) + ": " + std::to_string(counts.kept) + " objects kept, " +
         std::to_string(counts.dropped) + " dropped, " + std::to_string(doc.file_size()) + " bytes before, " +
         std::to_string(output.size()) + " after");
  const bool metadata_left = complain_of_metadata(doc, options.output);
  if (counts.unreadable != 0)
    complain(output_name(options.output), "lacks " + std::to_string(counts.unreadable) +
                                              " objects whose bytes could not be read; repair says which");
  if (repair)
    return doc.status() == PDF_OPEN::kClean && doc.repairs().empty() && strays == 0 ? losses : int{kExitProblems};
  if (doc.has_lost_encryption())
    complain(output_name(options.output),
             "holds data as they were stored, since the encryption dictionary could not "
             "be read: keep the old file, these may be encrypted");
  const bool is_whole = was_sound(doc, options.file) && !doc.has_lost_encryption() && !metadata_left;
  return is_whole && counts.unreadable == 0 ? kExitClean : kExitProblems;
}

int run_rewrite(const RewriteOptions& options) {
  return rewrite(options, false);
}

int run_repair(const RewriteOptions& options) {
  return rewrite(options, true);
}

void add_output(Command& command, RewriteOptions& options) {
  command.add_option("OUT", options.output, "The file to write")->required();
  command.add_flag("--deterministic-id", options.deterministic_id, "The same input gives the same bytes");
}

const Registration kRewrite("rewrite", "Make", "A complete new file of what is still used",
                            [](Command& command) -> Run {
                              auto options = std::make_shared<RewriteOptions>();
                              add_file(command, options->file);
                              add_password(command, options->password);
                              add_output(command, *options);
                              add_pdfa(command, options->pdfa);
                              auto* decrypt =
                                  command.add_flag("--decrypt", options->decrypt, "Take the encryption off");
                              add_encryption(command, options->encryption)->excludes(decrypt);
                              add_writing(command, options->writing);
                              return [options] { return run_rewrite(*options); };
                            });

const Registration kRepair("repair", "Make", "A sound new file of a damaged one", [](Command& command) -> Run {
  auto options = std::make_shared<RewriteOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  add_output(command, *options);
  return [options] { return run_repair(*options); };
});

}  // namespace

}  // namespace sheaf::tool
