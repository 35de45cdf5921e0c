// Page ranges of the command line: "1-5,8,r1,z-1". Pages count from 1; r1 is the last page, r2 the
// one before; z is the last page too. A range from a higher to a lower page runs backwards; "3-" runs to
// the last page; "odd" and "even" are every second page of the document.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sheaf::tool {

/// Appends the pages (from 0) that `ranges` names in a document of `count` pages. False when it is
/// not understood or names a page that is not there; `trouble` then says which part.
bool read_page_ranges(const std::string& ranges, int count, std::vector<std::int32_t>& pages, std::string& trouble);

/// The same for the document `file`; an empty text names all pages. False, with a message.
bool select_pages(const std::string& ranges, const std::string& file, int count, std::vector<std::int32_t>& pages);

/// A file on the command line, with pages of it.
struct FileRanges {
  std::string file;
  std::string ranges;  ///< Empty: all pages.
};
/// "FILE" or "FILE:RANGES". A name that exists is taken whole, so that colons in it do no harm.
FileRanges parse_file_ranges(const std::string& text);

}  // namespace sheaf::tool
