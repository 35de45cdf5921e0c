// sheaf update: changes saved after the old content.
#include "support/changes.h"
#include "support/command_line.h"
#include "support/edit_run.h"

namespace sheaf::tool {

namespace {

struct UpdateOptions {
  EditTarget target;
  ChangeOptions changes;
  bool classic = false;
  bool stream = false;
  EditSaves saves;
  bool pdfa = false;
};

int run_update(UpdateOptions& options) {
  if (!check_changes(options.changes))
    return kExitFailed;
  options.saves.form = options.classic  ? PDF_SAVE_FORM::kClassic
                       : options.stream ? PDF_SAVE_FORM::kStream
                                        : PDF_SAVE_FORM::kAsFile;
  const auto change = [&options](CPDFDoc& doc, const std::string& name) -> int {
    const bool done =
        apply_changes(doc, options.changes) && (!options.pdfa || ask_for_pdfa(doc, name, doc.is_encrypted()));
    return done ? kExitClean : kExitFailed;
  };
  return run_edit(options.target, change, options.saves);
}

const Registration kUpdate("update", "Change", "Change a document, after its old content", [](Command& command) -> Run {
  auto options = std::make_shared<UpdateOptions>();
  add_edit_target(command, options->target);
  auto* classic = command.add_flag("--classic", options->classic, "End in a classic table");
  command.add_flag("--stream", options->stream, "End in a cross-reference stream")->excludes(classic);
  command.add_flag("--seal", options->saves.seal, "Seal the update, as for a signature");
  add_pdfa(command, options->pdfa);
  command.add_option("--saves", options->saves.saves, "Save this many times in one run")->check(Range{1, 100000});
  add_changes(command, options->changes);
  return [options] { return run_update(*options); };
});

}  // namespace

}  // namespace sheaf::tool
