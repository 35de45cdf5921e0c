// The outline (ISO 32000-1, 12.3.3): those of the sources after the document's own, each under an
// open entry of its title. Entries whose page was left out stay only where entries below them do.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/source_destinations.h"

namespace sheaf {

class MergeOutline {
public:
  explicit MergeOutline(MergeTarget& target) : target_(target), table_(target.table) {}
  MergeOutline(const MergeOutline&) = delete;
  MergeOutline& operator=(const MergeOutline&) = delete;

  /// Takes the outline of a source. `title` (UTF-8) may be null: then it gets no entry above it.
  void take(MergeSource& source, SourceDestinations& destinations, const char* title);
  /// Puts all that was taken after the last entry of the document's own outline.
  void put(CPDFDictionary& catalog);

private:
  struct Node {
    PDF_REF source;
    std::int32_t parent;  // -1 at the top
    bool kept;
    std::int32_t shown;  // entries visible below, when open
    PDF_REF made;
    PDF_REF first;
    PDF_REF last;
    PDF_REF prev;
    PDF_REF next;
  };
  // An entry at the top of the outline. That of a source leads to the source's first page.
  struct TopEntry {
    PDF_REF ref;
    PDF_REF page;
  };

  void list(MergeSource& source, SourceDestinations& destinations, GrowArray<Node>& nodes);
  bool link(GrowArray<Node>& nodes, Node& top);
  void store(MergeSource& source, Node& node, Node& parent);
  void add_tops(const GrowArray<Node>& nodes);
  bool add_entry(const char* title, const Node& top, const PDF_REF& page);
  PDF_REF last_of(const CPDFDictionary& root);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  PDF_REF root_{0, 0};
  GrowArray<TopEntry> tops_;
  std::int32_t shown_ = 0;  // entries visible at the top and below, of all that were taken
};

}  // namespace sheaf
