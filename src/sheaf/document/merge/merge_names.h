// The names of a document besides its destinations (ISO 32000-1, table 31): embedded files, scripts,
// appearances, templates and the rest. Those of the sources join the document's own, with a number
// after them where a name is taken.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/name_additions.h"

namespace sheaf {

class MergeNames {
public:
  explicit MergeNames(MergeTarget& target);
  MergeNames(const MergeNames&) = delete;
  MergeNames& operator=(const MergeNames&) = delete;

  /// Takes note of the document's own names.
  void load();
  /// Takes the names of a source. To be called after its pages.
  void take(MergeSource& source);
  void put(CPDFDictionary& catalog);

  NameAdditions& destinations() { return destinations_; }

private:
  void take_kind(MergeSource& source, NameAdditions& ours, const CPDFObj* tree, const char* entry);
  void take_files(MergeSource& source, const CPDFObj* tree);
  void find_targets(MergeSource& source, NameList& targets) const;
  void find_elsewhere(MergeSource& source, VisitedSet& elsewhere) const;
  void add(MergeSource& source, NameAdditions& ours, const PDF_String& name, const CPDFObj& value, const char* entry);

  static constexpr int kKinds = 8;
  struct Kind {
    NameAdditions names;
    const char* entry;  // as records call it
  };
  MergeTarget& target_;
  CPDFXRefTable& table_;
  NameAdditions destinations_{"Dests"};
  NameAdditions files_{"EmbeddedFiles"};
  Kind kinds_[kKinds];
};

}  // namespace sheaf
