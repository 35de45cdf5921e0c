// A complete new file of a document that a command has changed, protected as it was.
#pragma once

#include "sheaf/document/doc.h"

namespace sheaf::tool {

/// Writes the document to `out`: encrypted as it was, under the same identifier's first half. False when the output
/// came short.
bool save_whole(CPDFDoc& doc, CQVStream& out);
/// The same for a document made of `protection`, encrypted as that is and with its identifier; with null in clear and
/// with a new one.
bool save_whole_as(CPDFDoc& doc, CQVStream& out, CPDFDoc* protection);

}  // namespace sheaf::tool
