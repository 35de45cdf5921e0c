// The structure tree (ISO 32000-1, 14.7): the parts of each source's tree that belong to pages that come
// along, below the document's own root. An element comes along with something that it holds; one that
// holds nothing stays with its parent when nothing else of the parent stays behind.
//
//   take: elements listed, all of them or, where most pages stay behind, those that the source's parent
//         tree gives for the pages -> which stay -> each gets its number -> each is stored
//         -> a key of the parent tree for each page, form and object that has content in the tree
//   set_key: while the objects are looked over, each gets its key
//   put: root, parent tree, role map, class map and identifiers of all sources
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/structure_names.h"

namespace sheaf {

class MergeStructure {
public:
  explicit MergeStructure(MergeTarget& target) : target_(target), table_(target.table), names_(target) {}
  MergeStructure(const MergeStructure&) = delete;
  MergeStructure& operator=(const MergeStructure&) = delete;

  /// Takes note of the document's own tree.
  void load();
  /// Brings along what belongs to the pages of a source. To be called behind them.
  void take(MergeSource& source);
  /// Gives the object `num` of the target, whose dictionary is `dict`, its key in the parent tree.
  void set_key(std::int32_t num, CPDFDictionary& dict) const;
  /// Whether the element `num` of the source at hand came along.
  bool has_element(std::int32_t num) const { return kept_.has(num); }
  /// Makes the headers that attributes of a table cell name those of the target.
  void rename_headers(CPDFDictionary& attributes) const { names_.rename_headers(attributes); }
  void put(CPDFDictionary& catalog);

private:
  struct Element {
    PDF_REF ref;          // in the source
    std::int32_t parent;  // index, -1 at the top
    std::int32_t page;    // the source's number of the page of its content, its own or from above
    bool holds_kept;      // content of pages that come along, here or below
    bool holds_other;     // content that stays behind
    bool kept;
  };
  // Content of an element: a marked sequence of a page or a form, or a whole object.
  struct Content {
    std::int32_t owner;     // our number of the page, the form or the object
    std::int32_t sequence;  // its marked-content identifier; -1 for a whole object
    PDF_REF element;
  };
  struct Entry {
    std::int32_t key;
    PDF_REF value;
  };
  struct Top {
    PDF_REF ref;
    std::int32_t source;
  };

  bool is_element(const CPDFDictionary& dict) const;
  void list(MergeSource& source, const CPDFObj* top);
  bool list_by_parent_tree(MergeSource& source, const CPDFDictionary& root);
  void add_with_parents(MergeSource& source, const PDF_REF& element);
  void add_empty_kids(MergeSource& source, std::int32_t index);
  void look_at_kid(MergeSource& source, const CPDFObj& kid, std::int32_t index, GrowArray<Element>& waiting);
  void note_content(std::int32_t index, bool comes);
  bool content_comes(const MergeSource& source, const CPDFDictionary& item, std::int32_t page) const;
  void choose(const MergeSource& source);
  void store(MergeSource& source, const Element& element);
  void store_kids(MergeSource& source, const CPDFObj& kids, const Element& element, const PDF_REF& made,
                  CPDFDictionary& entry);
  bool take_content(MergeSource& source, const CPDFDictionary& item, std::int32_t page, const PDF_REF& made,
                    CPDFArray& list);
  void take_tops(MergeSource& source);
  void enter_contents();
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
  std::int32_t untagged_ = 0;  // sources without tags throughout
  bool is_marked_ = false;

  // Of the source at hand.
  GrowArray<Element> elements_;  // parents in front of what they hold
  NumberMap index_of_;           // index into elements_ plus one, by the source's number
  VisitedSet kept_;
  GrowArray<Content> contents_;
  struct ObjectKey {
    std::int32_t key;
    bool whole;  // "StructParent"; else "StructParents"
  };
  NumberMap object_keys_;  // index into keys_ plus one, by our number less first_num_
  GrowArray<ObjectKey> keys_;
  std::int32_t first_num_ = 0;
};

}  // namespace sheaf
