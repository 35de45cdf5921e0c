// Whether the content of pages, and of the forms that they draw, can be carried out: its syntax, its operators with
// their operands, what is opened and closed, and the resources that it names (ISO 32000-1, 7.8.2, annex A).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/content/content_text.h"
#include "sheaf/object/object.h"

class CPDFDictionary;
class CPDFDoc;
class CPDFPage;

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

  /// Whether object `num` is a stream that was read to the end of its data, so that nobody need decode it again: how
  /// many bytes there are, more than 0, and how they end.
  bool has_read(std::int32_t num, std::size_t& size, CPDFStreamFlaw& flaw) const;

private:
  struct State;
  struct StreamEnd {
    std::size_t size;
    CPDFStreamFlaw flaw;
  };

  const CPDFDictionary* resources_of(int index, const CPDFPage& page);
  const CPDFDictionary* share(std::int32_t num, const CPDFObj* value);
  void check_text(const CPDFObj* contents, const CPDFDictionary* resources, GrowArray<ContentFinding>& findings);
  void note_streams();
  void check_operator(State& state);
  void check_nesting(State& state);
  void check_resource(State& state);
  bool is_absent(State& state, std::string_view name);
  void note_form(const CPDFObj& item);

  CPDFDoc& doc_;
  long long left_;  // bytes of content that are still looked at
  VisitedSet pages_;
  VisitedSet forms_;
  GrowArray<PDF_REF> waiting_;  // forms that were drawn and not looked at yet
  ContentText text_;
  GrowArray<StreamEnd> ends_;
  NumberMap end_of_;             // index into ends_ plus one, by object number
  Freed<CPDFObj> shared_;        // resources that several pages have
  std::int32_t shared_num_ = 0;  // their object; below 0 the node that holds them directly, and one less
};

}  // namespace sheaf
