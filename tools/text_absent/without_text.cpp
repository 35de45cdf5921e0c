// The tool of a build without fonts sets no text.
#include "support/exit_codes.h"
#include "support/tool_support.h"
#include "text/new_text.h"

namespace sheaf::tool {

int add_text_pages(CPDFDoc&, const TextOptions& options) {
  if (options.file.empty())
    return kExitClean;
  complain(options.file, "cannot be set into pages: this sheaf was built without fonts");
  return kExitFailed;
}

}  // namespace sheaf::tool
