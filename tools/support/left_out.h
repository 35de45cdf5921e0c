// What a save has no place for, however sound the document is, said with --verbose.
#pragma once

#include <string>

class CPDFDoc;

namespace sheaf::tool {

/// Names the keys of the document's trailer that the file `output` will not have.
void remark_trailer_keys(CPDFDoc& doc, const std::string& output);

}  // namespace sheaf::tool
