// A document as a page for the browser: what `sheaf browse` writes.
#pragma once

#include <memory>
#include <string>

#include "sheaf/document/doc.h"
#include "support/safe_output.h"

namespace sheaf::tool {

/// What the writing of a page found.
struct PageOutcome {
  bool is_written = false;    ///< False: the output failed.
  bool has_problems = false;  ///< The document has problems or was repaired.
  std::int64_t left_out = 0;  ///< Objects for which the page had no room.
};

/// Writes the page of `doc`, which was read from `file` and can be read, in at most about `most_bytes`.
PageOutcome write_document_page(CPDFDoc& doc, const std::string& file, std::int64_t most_bytes, SafeOutput& out);

}  // namespace sheaf::tool
