// A complete new file of a document that a command has changed, protected as it was.
#pragma once

#include "sheaf/document/doc.h"

namespace sheaf::tool {

/// Writes the document to `out`: encrypted as it was, under the same identifier's first half. False when the output
/// came short.
bool save_whole(CPDFDoc& doc, CQVStream& out);

}  // namespace sheaf::tool
