// A copy is updated under a name of its own and takes its target's place when it is whole; a file in place is cut back
// to what it was when the update does not come to its end.
#include "support/edit_run.h"

#include "support/changes.h"
#include "support/command_line.h"
#include "support/in_place.h"
#include "support/inputs.h"
#include "support/left_out.h"
#include "support/progress.h"
#include "support/safe_output.h"
#include "support/save_progress.h"
#include "support/signature_notes.h"
#include "support/tool_support.h"
#include "support/whole_file.h"

namespace sheaf::tool {

namespace {

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

// `path` is the file that grows, `name` what it is called.
bool save_changes(CPDFDoc& doc, const EditSaves& saves, const std::string& name, const std::string& path) {
  remark_trailer_keys(doc, output_name(name));
  PDF_SIGN_DATA sign;
  Progress progress("saves", saves.saves);
  const SaveProgress written(path, doc.file_size());
  for (int i = 0; i < saves.saves; ++i) {
    progress.show(i);
    const bool last = i + 1 == saves.saves;
    if (!doc.save_update(saves.form, last && saves.seal ? &sign : nullptr)) {
      complain(name, save_trouble(doc.last_save()));
      return false;
    }
  }
  sign.dict.clear();
  return true;
}

int result_of(CPDFDoc& doc, const std::string& name, int changed) {
  const bool clean = was_sound(doc, name) && !complain_of_metadata(doc, name);
  return clean ? changed : kExitProblems;
}

void report_sizes(const std::string& name, long long before, long long after) {
  report(output_name(name) + ": " + std::to_string(before) + " bytes before, " + std::to_string(after) + " after");
}

// Updates a private copy and gives it the name of the output when it is complete.
int update_copy(const EditTarget& target, const Change& change, const EditSaves& saves) {
  std::string source;
  SafeOutput output;
  if (!input_path(target.file, source) || !output.open(target.output) || !output.copy_of(source))
    return kExitFailed;
  CPDFDoc doc;
  if (!open_document_for_update(doc, output.path(), target.file, target.password))
    return kExitFailed;
  note_forbidden_change(doc, target.file);
  const int changed = change(doc, target.file);
  const long long before = doc.file_size();
  if (changed == kExitFailed || !save_changes(doc, saves, target.output, output.path()))
    return kExitFailed;
  const int code = result_of(doc, target.output, changed);
  doc.close();
  if (!output.commit())
    return kExitFailed;
  report_sizes(target.output, before, output.size());
  return code;
}

// Appends to the file itself. What is there stays; only the tail after it is new.
int update_in_place(const EditTarget& target, const Change& change, const EditSaves& saves) {
  InPlace place;
  if (!place.begin(target.file, !target.no_wait))
    return kExitFailed;
  CPDFDoc doc;
  if (!open_document_for_update(doc, target.file, target.file, target.password))
    return kExitFailed;
  note_forbidden_change(doc, target.file);
  const int changed = change(doc, target.file);
  if (changed == kExitFailed)
    return kExitFailed;
  const long long before = doc.file_size();
  if (!save_changes(doc, saves, target.file, target.file)) {
    if (!doc.undo_failed_save())
      complain(target.file, "could not be cut back to its " + std::to_string(doc.sound_end()) + " bytes");
    return kExitFailed;
  }
  const int code = result_of(doc, target.file, changed);
  const long long after = doc.table().stream->GetLen();
  const long long in_front = doc.table().stream->base_offset;
  doc.close();
  if (!place.finish(after + in_front))
    return kExitFailed;
  report_sizes(target.file, before, after);
  return code;
}

int write_new_file(const EditTarget& target, const Change& change) {
  CPDFDoc doc;
  if (!open_document(doc, target.file, target.password))
    return kExitFailed;
  doc.use_temp_file(nullptr);
  note_signatures_end(doc, target.file);
  const int changed = change(doc, target.file);
  SafeOutput output;
  if (changed == kExitFailed || !output.open(target.output))
    return kExitFailed;
  const long long before = doc.file_size();
  remark_trailer_keys(doc, output_name(target.output));
  if (!doc.store_page_tree() || !save_whole(doc, output.stream())) {
    complain(target.output, "could not be written to its end; is the disk full?");
    return kExitFailed;
  }
  const int code = result_of(doc, target.output, changed);
  if (!output.commit())
    return kExitFailed;
  report_sizes(target.output, before, output.size());
  return code;
}

}  // namespace

namespace {

Option* add_places(Command& command, EditTarget& target) {
  add_file(command, target.file);
  add_password(command, target.password);
  auto* output = command.add_option("-o,--output", target.output, "Change a copy");
  auto* in_place = command.add_flag("--in-place", target.in_place, "Change the file itself")->excludes(output);
  command.add_flag("--no-wait", target.no_wait, "Fail when another process changes the file now")->needs(in_place);
  return in_place;
}

}  // namespace

void add_edit_target(Command& command, EditTarget& target) {
  add_places(command, target);
}

void add_edit_or_rewrite(Command& command, EditTarget& target) {
  Option* const in_place = add_places(command, target);
  command.add_flag("--rewrite", target.rewrite, "A new file without what is no longer used, not an update")
      ->excludes(in_place);
}

bool has_source(const EditTarget& target, const std::string& source, const char* what) {
  if (source.empty())
    complain(target.file, std::string("give --set FILE with ") + what + " that it is to have");
  return !source.empty();
}

int run_edit(const EditTarget& target, const Change& change, const EditSaves& saves) {
  if (target.in_place)
    return update_in_place(target, change, saves);
  if (target.output.empty()) {
    complain(target.file, "is changed only when asked for: give -o OUT, or --in-place");
    return kExitFailed;
  }
  return target.rewrite ? write_new_file(target, change) : update_copy(target, change, saves);
}

}  // namespace sheaf::tool
