// sheaf update: changes saved behind the old content.
#include "support/changes.h"
#include "support/command_line.h"
#include "support/in_place.h"
#include "support/inputs.h"
#include "support/progress.h"
#include "support/safe_output.h"
#include "support/signature_notes.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

struct UpdateOptions {
  std::string file;
  std::string output;
  PasswordOptions password;
  ChangeOptions changes;
  bool in_place = false;
  bool no_wait = false;  ///< For another process that changes the file.
  bool classic = false;
  bool stream = false;
  bool seal = false;
  bool pdfa = false;
  int saves = 1;
};

std::string save_trouble(PDF_SAVE ended) {
  switch (ended) {
    case PDF_SAVE::kFileChanged:
      return "another program has changed or replaced the file meanwhile; nothing was written. Try again";
    case PDF_SAVE::kRefused:
      return "there is no catalogue that can be changed, or not enough memory; nothing was written";
    default:
      return "the update could not be written to its end; is the disk full?";
  }
}

bool save_changes(CPDFDoc& doc, const UpdateOptions& options, const std::string& name) {
  const PDF_SAVE_FORM form = options.classic  ? PDF_SAVE_FORM::kClassic
                             : options.stream ? PDF_SAVE_FORM::kStream
                                              : PDF_SAVE_FORM::kAsFile;
  PDF_SIGN_DATA sign;
  Progress progress("saves", options.saves);
  for (int i = 0; i < options.saves; ++i) {
    progress.show(i);
    const bool last = i + 1 == options.saves;
    if (!doc.save_update(form, last && options.seal ? &sign : nullptr)) {
      complain(name, save_trouble(doc.last_save()));
      return false;
    }
  }
  sign.dict.clear();
  return true;
}

int result_of(CPDFDoc& doc, const std::string& name) {
  return doc.status() == PDF_OPEN::kClean && !complain_of_metadata(doc, name) ? kExitClean : kExitProblems;
}

// What is to be changed, made ready for the save.
bool make_changes(CPDFDoc& doc, const UpdateOptions& options, const std::string& name) {
  note_forbidden_change(doc, options.file);
  return apply_changes(doc, options.changes) && (!options.pdfa || ask_for_pdfa(doc, name, doc.is_encrypted()));
}

void report_sizes(const std::string& name, long long before, long long after) {
  report(output_name(name) + ": " + std::to_string(before) + " bytes before, " + std::to_string(after) + " after");
}

// Updates a private copy and gives it the name `target` when it is complete.
int update_copy(const UpdateOptions& options, const std::string& target) {
  std::string source;
  SafeOutput output;
  if (!input_path(options.file, source) || !output.open(target) || !output.copy_of(source))
    return kExitFailed;
  CPDFDoc doc;
  if (!open_document_for_update(doc, output.path(), options.file, options.password) ||
      !make_changes(doc, options, target))
    return kExitFailed;
  const long long before = doc.file_size();
  if (!save_changes(doc, options, target))
    return kExitFailed;
  const int code = result_of(doc, target);
  doc.close();
  if (!output.commit())
    return kExitFailed;
  report_sizes(target, before, output.size());
  return code;
}

// Appends to the file itself. What is there stays; only the tail behind it is new.
int update_in_place(const UpdateOptions& options) {
  InPlace place;
  if (!place.begin(options.file, !options.no_wait))
    return kExitFailed;
  CPDFDoc doc;
  if (!open_document_for_update(doc, options.file, options.file, options.password) ||
      !make_changes(doc, options, options.file))
    return kExitFailed;
  const long long before = doc.file_size();
  if (!save_changes(doc, options, options.file)) {
    if (!doc.undo_failed_save())
      complain(options.file, "could not be cut back to its " + std::to_string(doc.sound_end()) + " bytes");
    return kExitFailed;
  }
  const int code = result_of(doc, options.file);
  const long long after = doc.table().stream->GetLen();
  const long long in_front = doc.table().stream->base_offset;
  doc.close();
  if (!place.finish(after + in_front))
    return kExitFailed;
  report_sizes(options.file, before, after);
  return code;
}

int run_update(const UpdateOptions& options) {
  if (!check_changes(options.changes))
    return kExitFailed;
  if (options.in_place)
    return update_in_place(options);
  if (options.output.empty()) {
    complain(options.file, "is changed only when asked for: give -o OUT, or --in-place");
    return kExitFailed;
  }
  return update_copy(options, options.output);
}

const Registration kUpdate("update", "Change", "Change a document behind its old content", [](Command& command) -> Run {
  auto options = std::make_shared<UpdateOptions>();
  add_file(command, options->file);
  add_password(command, options->password);
  auto* output = command.add_option("-o,--output", options->output, "Change a copy");
  auto* in_place = command.add_flag("--in-place", options->in_place, "Change the file itself")->excludes(output);
  command.add_flag("--no-wait", options->no_wait, "Fail when another process changes the file now")->needs(in_place);
  auto* classic = command.add_flag("--classic", options->classic, "End in a classic table");
  command.add_flag("--stream", options->stream, "End in a cross-reference stream")->excludes(classic);
  command.add_flag("--seal", options->seal, "Seal the update, as for a signature");
  add_pdfa(command, options->pdfa);
  command.add_option("--saves", options->saves, "Save this many times in one run")->check(Range(1, 100000));
  add_changes(command, options->changes);
  return [options] { return run_update(*options); };
});

}  // namespace

}  // namespace sheaf::tool
