// The pages of one source on their way into the target. A page is on its own there: what it
// inherited is written into it, so that every box is as it was; what pages share they still share.
#pragma once

#include "sheaf/document/merge/merge_source.h"

namespace sheaf {

class PageImport {
public:
  explicit PageImport(MergeSource& source) : src_(source), table_(source.target.table) {}
  PageImport(const PageImport&) = delete;
  PageImport& operator=(const PageImport&) = delete;

  /// Copies page `index`; {0, 0} when it cannot be read. A page that was taken before gets another
  /// copy, with annotations of its own; `repeated` says so. All else is shared.
  PDF_REF append(std::int32_t index, bool& repeated);

private:
  struct Mapping {
    std::int32_t num;
    std::uint32_t copy;
  };

  bool import_page(CPDFPage& page, const PDF_REF& copy);
  PDF_REF resources_of_node(std::int32_t holder);
  void mend(const CPDFPage& page, CPDFDictionary& dict);
  void restore_inherited(const CPDFPage& page, CPDFDictionary& dict);
  void forget_annotations(const CPDFPage& page, GrowArray<Mapping>& forgotten);

  MergeSource& src_;
  CPDFXRefTable& table_;
  VisitedSet done_;
  NumberMap resources_;  // the copy of resources that are directly in a node, by its number
  std::int32_t copies_ = 0;
};

}  // namespace sheaf
