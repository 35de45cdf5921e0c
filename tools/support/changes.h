// The changes that both sheaf update and sheaf new make: document information and attachments.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/doc.h"

namespace CLI {
class App;
}

namespace sheaf::tool {

/// What is changed in a document.
struct ChangeOptions {
  std::vector<std::string> settings;  ///< "KEY=TEXT".
  std::vector<std::string> attachments;
};

/// Adds --set and --attach to a command.
void add_changes(CLI::App& command, ChangeOptions& changes);
/// Looks at what is asked for ahead of any change. False, with a message, when it cannot be done.
bool check_changes(const ChangeOptions& changes);
/// Makes the changes, which wait for a save. False, with a message, on failure.
bool apply_changes(CPDFDoc& doc, const ChangeOptions& changes);

}  // namespace sheaf::tool
