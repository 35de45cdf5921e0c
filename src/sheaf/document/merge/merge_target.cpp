// The notes on what became of each part, and changes of dictionaries in memory.
#include "sheaf/document/merge/merge_target.h"

#include <cstring>

namespace sheaf {

void MergeTarget::note(PDF_MERGE_FATE fate, const char* entry, std::int32_t count) {
  if (count < 1)
    return;
  // Those of the present source are at the end.
  for (std::size_t i = records.size(); i-- > 0 && records[i].source == source;) {
    if (records[i].fate == fate && std::strcmp(records[i].entry, entry) == 0) {
      records[i].count += count;
      return;
    }
  }
  records.push({fate, entry, source, count});
}

CPDFDictionary* MergeTarget::stored_dict(const PDF_REF& ref) const {
  const PDF_NEWOBJ* slot = ref.num > 0 ? table.get_xref2(ref.num, ref.gen) : nullptr;
  return slot != nullptr ? slot->obj.as_dict() : nullptr;
}

}  // namespace sheaf
