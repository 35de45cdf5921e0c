// The changes that both sheaf update and sheaf new make: document information and attachments.
#pragma once

#include <string>
#include <vector>

#include "sheaf/document/doc.h"

namespace sheaf::tool {

class Command;

/// What is changed in a document.
struct ChangeOptions {
  std::vector<std::string> settings;  ///< "KEY=TEXT".
  std::vector<std::string> attachments;
};

/// Adds --set and --attach to a command.
void add_changes(Command& command, ChangeOptions& changes);
/// Looks at what is asked for ahead of any change. False, with a message, when it cannot be done.
bool check_changes(const ChangeOptions& changes);
/// Adds --pdfa to a command.
void add_pdfa(Command& command, bool& pdfa);
/// Asks the document's saves for frame and claim. False, with a message, for a file that is to be encrypted.
bool ask_for_pdfa(CPDFDoc& doc, const std::string& name, bool encrypted);
/// Says so when a packet of metadata was left as it was. The result is whether there was one.
bool complain_of_metadata(const CPDFDoc& doc, const std::string& name);
/// Makes the changes, which wait for a save. False, with a message, on failure.
bool apply_changes(CPDFDoc& doc, const ChangeOptions& changes);

}  // namespace sheaf::tool
