// Whether the content of pages, and of the forms that they draw, can be carried out: its syntax, its operators with
// their operands, what is opened and closed, and the resources that it names (ISO 32000-1, 7.8.2, annex A).
#pragma once

#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;

namespace sheaf {

/// One thing that is wrong.
struct ContentFinding {
  PDF_REF stream;      ///< The stream that it is in.
  std::size_t offset;  ///< Where in its decoded bytes.
  const char* what;    ///< A sentence fragment; a literal.
  char name[48];       ///< The operator, or the resource, that is meant; cut to this room.
};

class ContentChecker {
public:
  /// Findings of one page beyond this many are left out.
  static constexpr std::size_t kMostFindings = 20;

  explicit ContentChecker(CPDFDoc& doc);
  ContentChecker(const ContentChecker&) = delete;
  ContentChecker& operator=(const ContentChecker&) = delete;

  /// Appends what is wrong with page `index`. A page that is listed again is not looked at again, and a form that
  /// several pages draw only with the first of them. Content beyond all proportion to the file is a finding, and no
  /// further page is looked at then.
  void check_page(int index, GrowArray<ContentFinding>& findings);

private:
  struct State;

  void check_text(const CPDFObj* contents, const CPDFDictionary* resources, GrowArray<ContentFinding>& findings);
  void check_operator(State& state);
  void check_nesting(State& state);
  void check_resource(State& state);
  void note_form(const CPDFObj& item);

  CPDFDoc& doc_;
  long long left_;  // bytes of content that are still looked at
  VisitedSet pages_;
  VisitedSet forms_;
  GrowArray<PDF_REF> waiting_;  // forms that were drawn and not looked at yet
};

}  // namespace sheaf
