// The run of a command that changes a document: the change goes after the old content, of a copy or of the file
// itself, or into a complete new file.
#pragma once

#include <functional>
#include <string>

#include "sheaf/document/doc.h"
#include "support/command_line.h"
#include "support/password_options.h"

namespace sheaf::tool {

class Command;

/// Where a change goes.
struct EditTarget {
  std::string file;
  std::string output;
  PasswordOptions password;
  bool in_place = false;
  bool no_wait = false;  ///< For another process that changes the file.
  bool rewrite = false;  ///< A complete new file, without what is not used any more.
};

/// How the update sections of a run are written.
struct EditSaves {
  PDF_SAVE_FORM form = PDF_SAVE_FORM::kAsFile;
  bool seal = false;
  int saves = 1;
};

/// Makes the changes, which wait for a save; messages name `name`. The result is an ExitCode: kExitFailed, with a
/// message, when nothing must be saved.
using Change = std::function<int(CPDFDoc& doc, const std::string& name)>;

/// Adds FILE, the passwords, -o, --in-place and --no-wait.
void add_edit_target(Command& command, EditTarget& target);
/// The same and --rewrite.
void add_edit_or_rewrite(Command& command, EditTarget& target);

/// Whether the target says where a change goes.
inline bool has_output(const EditTarget& target) {
  return target.in_place || !target.output.empty();
}

/// Whether a command that lists something, or sets it from the file `source`, only lists it.
inline bool only_lists(const EditTarget& target, const std::string& source) {
  return source.empty() && !has_output(target);
}
/// Whether there is a `source` to set it from; otherwise a message names `what`.
bool has_source(const EditTarget& target, const std::string& source, const char* what);

/// Opens the document, changes it and saves it. The result is an ExitCode.
int run_edit(const EditTarget& target, const Change& change, const EditSaves& saves = {});

}  // namespace sheaf::tool
