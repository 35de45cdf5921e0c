// The elements of a source's structure tree (ISO 32000-1, 14.7.2), and which of them are taken: those that
// hold content of a page that does, and empty ones where nothing else of their parent stays behind.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/structure_index.h"

namespace sheaf {

/// What an item among the kids of an element that is no element says of the content.
ContentPlace content_place(const CPDFDictionary& item);
/// Whether content below an element whose content is on `page` is taken.
bool content_comes(const MergeSource& source, const ContentPlace& place, std::int32_t page);

/// Parents come before what they hold.
class SourceElements {
public:
  explicit SourceElements(MergeTarget& target) : target_(target), table_(target.table) {}
  SourceElements(const SourceElements&) = delete;
  SourceElements& operator=(const SourceElements&) = delete;

  void clear();
  /// Lists the elements of the source, or, where most pages stay behind, those that its parent tree gives for
  /// what was taken. To be called after the pages. What `index` knows of the source is not read again, and
  /// what is read becomes part of it.
  void list(MergeSource& source, StructureIndex& index);

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
  void list_all(MergeSource& source);
  void list_walked(const MergeSource& source);
  void look_at(MergeSource& source, const CPDFDictionary& holder, const PDF_REF& ref, std::int32_t index,
               GrowArray<SourceElement>& waiting);
  void look_at_kid(MergeSource& source, const CPDFObj& kid, std::int32_t index, GrowArray<SourceElement>& waiting);
  bool take_direct_kids(MergeSource& source, CPDFObj& kids, const PDF_REF& holder);
  bool list_by_parent_tree(MergeSource& source);
  void find_wanted_keys(const MergeSource& source, GrowArray<std::int32_t>& keys) const;
  void add_with_parents(const PDF_REF& element);
  bool add_empty_kids(MergeSource& source, std::int32_t index);
  void take_content(const MergeSource& source, std::int32_t index, const ContentPlace& place);
  void note_content(std::int32_t index, bool comes);
  void choose(const MergeSource& source);

  MergeTarget& target_;
  CPDFXRefTable& table_;
  StructureIndex* index_ = nullptr;  // of the present source
  bool records_walk_ = false;
  GrowArray<SourceElement> elements_;
  NumberMap index_of_;  // index into elements_ plus one, by the source's number
  VisitedSet kept_;
  std::int32_t kept_count_ = 0;
};

}  // namespace sheaf
