// The look over what an append has stored. The import leaves the page of a destination as the
// source's number, once in each array, and what was left out as a reference to nothing. Here
// destinations get the new page's number; those of pages that were left out go, with the action
// or the entry that held them, so that a link does nothing rather than lead to a wrong place. Names of
// fields in actions and the keys of the structure follow, and signatures end.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/source_destinations.h"

namespace sheaf {

class MergeStructure;

class MergeTidy {
public:
  MergeTidy(MergeSource& source, const SourceDestinations& destinations, const MergeStructure& structure)
      : src_(source), table_(source.target.table), destinations_(destinations), structure_(structure) {}
  MergeTidy(const MergeTidy&) = delete;
  MergeTidy& operator=(const MergeTidy&) = delete;

  void run();

private:
  // Each puts its value in order, and gives false when nothing is left of it.
  bool tidy_value(CPDFObj& value, const char* key, bool in_goto);
  bool tidy_array(CPDFArray& array, const char* key);
  bool tidy_dict(CPDFDictionary& dict);
  bool tidy_slot(PDF_NEWOBJ& slot);
  void tidy_action(CPDFDictionary& dict);
  void rename_field(CPDFObj& value);

  MergeSource& src_;
  CPDFXRefTable& table_;
  const SourceDestinations& destinations_;
  const MergeStructure& structure_;
  VisitedSet emptied_;  // our objects of which nothing is left
  bool first_round_ = true;
};

}  // namespace sheaf
