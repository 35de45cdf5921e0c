// The structure tree (ISO 32000-1, 14.7): the parts of each source's tree that belong to pages that are
// taken, below the document's own root. An element is taken with something that it holds; one that
// holds nothing stays with its parent when nothing else of the parent stays behind.
//
//   take: elements listed (SourceElements) -> each that is taken gets its number -> each is stored
//         -> once more for each further copy of a page
//         -> a key of the parent tree for each page, form and object that has content in the tree
//   set_key: while the objects are examined, each gets its key
//   put: root, parent tree, role map, class map and identifiers of all sources
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/source_elements.h"
#include "sheaf/document/merge/structure_names.h"

namespace sheaf {

class MergeStructure {
public:
  explicit MergeStructure(MergeTarget& target) : target_(target), table_(target.table), names_(target) {}
  MergeStructure(const MergeStructure&) = delete;
  MergeStructure& operator=(const MergeStructure&) = delete;

  /// Takes note of the document's own tree.
  void load();
  /// Takes what belongs to the pages of a source. To be called after them.
  void take(MergeSource& source);
  /// Gives the object `num` of the target, whose dictionary is `dict`, its key in the parent tree.
  void set_key(std::int32_t num, CPDFDictionary& dict) const;
  /// Whether the element `num` of the present source was taken.
  bool has_element(std::int32_t num) const { return elements_.has_kept(num); }
  /// Makes the headers that attributes of a table cell name those of the target.
  void rename_headers(CPDFDictionary& attributes) const { names_.rename_headers(attributes); }
  void put(CPDFDictionary& catalog);

private:
  static constexpr const char* kRoot = "StructTreeRoot";

  // Content of an element: a marked sequence of a page or a form, or a whole object.
  struct Content {
    std::int32_t owner;     // our number of the page, the form or the object
    std::int32_t sequence;  // its marked-content identifier; -1 for a whole object
    PDF_REF element;
    std::int32_t index;  // of the element in the source
  };
  struct Entry {
    std::int32_t key;
    PDF_REF value;
  };
  struct Top {
    PDF_REF ref;
    std::int32_t source;
  };

  void take_root(MergeSource& source, const CPDFDictionary& root);
  void store(MergeSource& source, const SourceElement& element);
  void find_kids(const MergeSource& source, const SourceElement& element, StructureIndex::BigElement& big_element);
  void store_kids(MergeSource& source, const CPDFObj& kids, const SourceElement& element, const PDF_REF& made,
                  CPDFDictionary& entry);
  void take_content(MergeSource& source, const CPDFDictionary& item, std::int32_t page, const PDF_REF& made,
                    std::int32_t index, CPDFArray& list);
  bool takes_page(const MergeSource& source, std::int32_t page) const;
  void take_repeated(MergeSource& source);
  void choose_for_copy(const MergeSource& source, std::size_t at, std::size_t end, std::size_t first_contents,
                       GrowArray<std::int32_t>& chosen);
  void store_copies(MergeSource& source, std::size_t at, std::size_t end, const GrowArray<std::int32_t>& chosen);
  void add_kid(const PDF_REF& parent, const PDF_REF& kid);
  void take_tops(MergeSource& source, const StructureIndex::BigElement& root);
  void enter_contents(std::size_t first);
  void put_parent_tree(CPDFDictionary& root);
  void put_tops(CPDFDictionary& root);
  void put_marks(CPDFDictionary& catalog);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  PDF_REF root_{0, 0};
  bool has_own_ = false;  // the document had a tree
  std::int32_t next_key_ = 0;
  StructureNames names_;
  GrowArray<Entry> entries_;  // of the parent tree
  GrowArray<Top> tops_;
  Freed<CPDFObj> namespaces_;
  Freed<CPDFObj> language_;    // of the document
  std::int32_t untagged_ = 0;  // sources that may not be tagged throughout
  bool is_marked_ = false;
  bool has_user_properties_ = false;

  // Of the present source.
  StructureIndex own_index_;  // where the caller keeps none
  StructureIndex* index_ = nullptr;
  SourceElements elements_{target_};
  GrowArray<std::int32_t> places_;  // of kids of the present big element
  GrowArray<Content> contents_;     // sorted by owner once they are entered
  std::int32_t copied_page_ = 0;    // the page whose further copy gets its elements; 0 while all get theirs
  VisitedSet copied_objects_;       // that page and its annotations
  VisitedSet chosen_;               // the elements for that copy, by index plus one
  std::size_t copied_ = 0;          // elements for further copies
  struct ObjectKey {
    std::int32_t key;
    bool whole;  // "StructParent"; else "StructParents"
  };
  NumberMap object_keys_;  // index into keys_ plus one, by our number less first_num_
  GrowArray<ObjectKey> keys_;
  std::int32_t first_num_ = 0;
};

}  // namespace sheaf
