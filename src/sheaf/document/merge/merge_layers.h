// Optional content (ISO 32000-1, 8.11): the groups of all sources after the document's own, with what
// each source shows and hides, its order and its other lists. A new document starts with all that the
// first source has.
#pragma once

#include "sheaf/document/merge/merge_source.h"

namespace sheaf {

class MergeLayers {
public:
  explicit MergeLayers(MergeTarget& target) : target_(target), table_(target.table) {}
  MergeLayers(const MergeLayers&) = delete;
  MergeLayers& operator=(const MergeLayers&) = delete;

  void take(MergeSource& source);
  void put(CPDFDictionary& catalog);

private:
  void take_list(MergeSource& source, const CPDFObj* item, const char* as);
  void take_shown_and_hidden(MergeSource& source, const CPDFDictionary* config, const CPDFObj* groups);
  void append_list(CPDFDictionary& dict, const char* key, const char* from);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  Freed<CPDFObj> first_;           // the entry of a new document: what the first source has
  Cleared<CPDFDictionary> added_;  // lists of what was taken; groups shown and hidden under "ON" and "OFF"
};

}  // namespace sheaf
