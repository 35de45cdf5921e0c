// Page labels (ISO 32000-1, 12.4.2): the document's own stay, and the pages of each source after them
// are labelled as they were.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/object/array.h"

namespace sheaf {

class MergeLabels {
public:
  explicit MergeLabels(MergeTarget& target) : target_(target), table_(target.table) {}
  MergeLabels(const MergeLabels&) = delete;
  MergeLabels& operator=(const MergeLabels&) = delete;

  /// `pages` are the source's indices of the `count` pages that are at the end of the document.
  void take(MergeSource& source, const std::int32_t* pages, std::int32_t count);
  void put(CPDFDictionary& catalog);

private:
  MergeTarget& target_;
  CPDFXRefTable& table_;
  Cleared<CPDFArray> labels_;
  std::int32_t first_ = -1;  // the first page that was taken
  bool has_any_ = false;
};

}  // namespace sheaf
