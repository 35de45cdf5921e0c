// Nothing is read for it unless it is asked for.
#include "support/left_out.h"

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/paths/file_trailer.h"
#include "support/messages.h"

namespace sheaf::tool {

void remark_trailer_keys(CPDFDoc& doc, const std::string& output) {
  if (!manner().verbose || manner().quiet)
    return;
  Cleared<CPDFDictionary> others;
  read_other_trailer_keys(doc, others);
  std::string names;
  for (std::int32_t i = 0; i < others.count; ++i)
    names += (names.empty() ? "" : ", ") + std::string(others.items[i]->key());
  if (!names.empty())
    remark(output, "left out: keys of the trailer that no reader needs: " + names);
}

}  // namespace sheaf::tool
