// The tool of a build without fonts sets no text.
#include "commands.h"
#include "new_text.h"
#include "tool_support.h"

int add_text_pages(CPDFDoc&, const TextOptions& options) {
  if (options.file.empty())
    return kExitClean;
  complain(options.file, "cannot be set into pages: this sheaf was built without fonts");
  return kExitFailed;
}
