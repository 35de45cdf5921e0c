// Another selection or order of a document's own pages, with what belongs to pages: labels, outline, form.
#pragma once

#include <cstdint>

class CPDFDoc;

/// What became of a document whose pages were arranged.
struct PDF_ARRANGE_REPORT {
  std::int32_t removed = 0;          ///< Pages that are listed no more.
  std::int32_t outline_gone = 0;     ///< Entries of the outline that led to them; those with others below stay.
  std::int32_t widgets_gone = 0;     ///< Widgets of the form on them,
  std::int32_t fields_gone = 0;      ///< and fields that had no others.
  std::int32_t signatures_gone = 0;  ///< How many of those fields were signed.
};

namespace sheaf {

/// Makes `pages` (indices from 0, in any order, also repeated) the pages of a readable document. Labels go with their
/// pages. Pages that are not among them become null objects, so that no link leads to them; entries of the outline and
/// fields of the form that belong to them alone go too. The change waits for a save. False when there is no page at
/// all, when an index is wrong, or when there is no memory; the document must not be saved then.
bool arrange_pages(CPDFDoc& doc, const std::int32_t* pages, std::int32_t count, PDF_ARRANGE_REPORT& report);

}  // namespace sheaf
