// The sentences, and when they are printed.
#include "support/signature_notes.h"

#include "sheaf/document/signatures/signature_state.h"
#include "support/messages.h"

namespace sheaf::tool {

void note_signatures_end(CPDFDoc& doc, const std::string& file) {
  const std::int32_t count = count_signatures(doc);
  if (count > 0)
    complain(file, "note: " + std::to_string(count) +
                       (count == 1 ? " signature does not hold for the new file"
                                   : " signatures do not hold for the new file"));
}

void note_forbidden_change(CPDFDoc& doc, const std::string& file) {
  constexpr const char* kPermitted[] = {"", "no change", "only filling in forms and signing",
                                        "only filling in forms, signing and annotations"};
  const int level = certified_changes(doc);
  if (level > 0)
    complain(file, std::string("note: its certification permits ") + kPermitted[level] +
                       "; readers will call it broken by this change");
}

}  // namespace sheaf::tool
