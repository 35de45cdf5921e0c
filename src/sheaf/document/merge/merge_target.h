// The document that grows by a merge, as the parts of the merge see it.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/merge/doc_merge.h"

namespace sheaf {

struct MergeTarget {
  explicit MergeTarget(CPDFDoc& into) : doc(into), table(into.table()) {}

  /// Adds `count` to the record of this fate and entry of the present source.
  void note(PDF_MERGE_FATE fate, const char* entry, std::int32_t count = 1);
  /// The dictionary of an object that is in memory, for changes; null when it is not a dictionary. Borrowed;
  /// valid until the next object is stored.
  CPDFDictionary* stored_dict(const PDF_REF& ref) const;
  /// Whether the document gets its settings from the present source: the first one of a new document.
  bool takes_settings() const { return was_empty && source == 0; }

  CPDFDoc& doc;
  CPDFXRefTable& table;
  PDF_MERGE_OPTIONS options;
  std::int32_t left_out_num = 0;  ///< A number that no object ever gets: what must be left out is mapped to it.
  bool was_empty = false;         ///< The document had no pages before the first source.
  std::int32_t source = -1;       ///< Which append is under way, from 0.
  GrowArray<PDF_MERGE_RECORD> records;
};

}  // namespace sheaf
