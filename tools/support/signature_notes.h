// What a command says about signatures that its work ends.
#pragma once

#include <string>

class CPDFDoc;

namespace sheaf::tool {

/// A line to standard error when the signatures of `doc` do not hold for the new file made of it.
void note_signatures_end(CPDFDoc& doc, const std::string& file);

/// A line to standard error when the certification of `doc` forbids changes other than those it names.
void note_forbidden_change(CPDFDoc& doc, const std::string& file);

}  // namespace sheaf::tool
