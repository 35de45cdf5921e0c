// The elements of a source's structure tree (ISO 32000-1, 14.7.2), and which of them are taken: those that
// hold content of a page that does, and empty ones where nothing else of their parent stays behind.
#pragma once

#include "sheaf/document/merge/merge_source.h"

namespace sheaf {

struct SourceElement {
  PDF_REF ref;          ///< In the source.
  std::int32_t parent;  ///< Index, -1 at the top.
  std::int32_t page;    ///< The source's number of the page of its content, its own or from above.
  bool holds_kept;      ///< Content of pages that are taken, here or below.
  bool holds_other;     ///< Content that stays behind.
  bool kept;            ///< It is taken.
  bool is_crowded;      ///< It has so many kids that they are not read to find empty ones.
  bool holds_elements;  ///< And nothing else that is taken.
};

/// The number that the entry `key` refers to; 0 for none.
std::int32_t number_at(const CPDFDictionary& dict, const char* key);
/// Whether an item among the kids of an element is a whole object rather than a marked sequence.
bool is_whole_object(const CPDFDictionary& item);
/// Whether it is another element.
bool is_structure_element(const CPDFDictionary& item);
/// Whether such an item, below an element whose content is on `page`, is taken.
bool content_comes(const MergeSource& source, const CPDFDictionary& item, std::int32_t page);

/// Parents come before what they hold.
class SourceElements {
public:
  explicit SourceElements(MergeTarget& target) : target_(target), table_(target.table) {}
  SourceElements(const SourceElements&) = delete;
  SourceElements& operator=(const SourceElements&) = delete;

  void clear();
  /// Lists the elements below `root`, or, where most pages stay behind, those that its parent tree gives for
  /// what was taken. To be called behind the pages.
  void list(MergeSource& source, const CPDFDictionary& root);

  std::size_t size() const { return elements_.size(); }
  const SourceElement& at(std::int32_t index) const { return elements_[index]; }
  const SourceElement* begin() const { return elements_.begin(); }
  const SourceElement* end() const { return elements_.end(); }
  /// The index of the element with the number `num` in the source, or -1.
  std::int32_t find(std::int32_t num) const { return index_of_.get(num) - 1; }
  /// Whether it is taken.
  bool has_kept(std::int32_t num) const { return kept_.has(num); }
  std::int32_t kept_count() const { return kept_count_; }

private:
  void list_all(MergeSource& source, const CPDFDictionary& root);
  void look_at(MergeSource& source, const CPDFDictionary& holder, const PDF_REF& ref, std::int32_t index,
               GrowArray<SourceElement>& waiting);
  void look_at_kid(MergeSource& source, const CPDFObj& kid, std::int32_t index, GrowArray<SourceElement>& waiting);
  bool list_by_parent_tree(MergeSource& source, const CPDFDictionary& root);
  void find_wanted_keys(const MergeSource& source, NumberMap& wanted) const;
  void add_with_parents(MergeSource& source, const PDF_REF& element);
  bool add_empty_kids(MergeSource& source, std::int32_t index);
  void note_content(std::int32_t index, bool comes);
  void choose(const MergeSource& source);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  GrowArray<SourceElement> elements_;
  NumberMap index_of_;  // index into elements_ plus one, by the source's number
  VisitedSet kept_;
  std::int32_t kept_count_ = 0;
};

}  // namespace sheaf
