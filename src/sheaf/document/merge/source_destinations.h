// The named destinations of a source (ISO 32000-1, 12.3.2.3) on their way into the target: those whose
// page is taken keep their names, or get a number after them where a name is taken.
#pragma once

#include "sheaf/document/merge/merge_source.h"
#include "sheaf/document/merge/name_additions.h"
#include "sheaf/object/references.h"

namespace sheaf {

struct SourceDestination {
  std::int32_t entry;   ///< In the names.
  std::int32_t page;    ///< The source's number of its page; kUnknown while only its name is known.
  CPDFObj value;        ///< Owned; a reference until it was read, null when it stays behind.
  std::uint64_t place;  ///< Where a reference leads to in the file.

  static constexpr std::int32_t kUnknown = -2;
};

/// The named destinations of one source. Kept from one part of it to the next, all pages are known, and references
/// stay what they are.
class DestinationIndex : public QVHeapObject<DestinationIndex> {
public:
  DestinationIndex() = default;
  DestinationIndex(const DestinationIndex&) = delete;
  DestinationIndex& operator=(const DestinationIndex&) = delete;
  ~DestinationIndex() { clear(); }

  void clear();
  /// What is known of another table is forgotten.
  void start(const CPDFXRefTable& table);
  /// Makes `by_page` once all pages are known. False without memory.
  bool sort();
  /// Puts the indices of those that lead to `page` behind `found`.
  void find(std::int32_t page, GrowArray<std::int32_t>& found) const;

  NameList names;  ///< Value: index in the target's names or -1, and the page's number.
  GrowArray<SourceDestination> list;
  bool is_complete = false;

private:
  const CPDFXRefTable* table_ = nullptr;
  GrowArray<std::int32_t> by_page_;  // indices in the list, by their pages
};

class SourceDestinations {
public:
  SourceDestinations(MergeSource& source, NameAdditions& ours);
  SourceDestinations(const SourceDestinations&) = delete;
  SourceDestinations& operator=(const SourceDestinations&) = delete;
  ~SourceDestinations();

  /// Finds all names. To be called when the pages have their numbers.
  void list();
  /// Reads what is in the file no further than page `index`: names are in the order of their
  /// letters, and what they lead to is spread over the file; read in the file's order and along with
  /// the pages, most share the decoding of their object streams.
  void read_of_page(std::int32_t index);
  /// Brings along those whose page was taken.
  void take();

  /// The source's number of the page that a destination of the source leads to, whichever form it
  /// has; 0 when it leads nowhere, -1 for an unknown name.
  std::int32_t page_of(const CPDFObj* destination);
  /// The same for an action; -1 for one that is no GoTo.
  std::int32_t page_of_action(const CPDFObj* action);
  /// Whether what a document opens with, a destination or an action, needs no page that stays behind.
  bool opens_page_that_comes(const CPDFObj& opening);
  /// Turns a name of the source into the name that its destination has in the target. False when it
  /// was left out.
  bool rename(CPDFObj& value) const;

private:
  using Destination = SourceDestination;

  void add(const PDF_String& name, const CPDFObj& value);
  void list_all();
  void complete();
  void read_up_to(std::uint64_t place);
  void look_at(Destination& destination);
  bool refers_only_to_what_is_left_out(const PDF_REF& destination, ReferenceList& scratch);
  void take(Destination& destination);
  void take_value(const Destination& destination, CPDFObj& value);
  void take_of_pages();

  MergeSource& src_;
  NameAdditions& target_names_;
  DestinationIndex own_;  // where the caller keeps none
  DestinationIndex* known_ = &own_;
  GrowArray<std::int32_t> unread_;  // those of the list that are references, in the order of the file
  std::size_t next_unread_ = 0;
  GrowArray<std::int32_t> pages_;  // the numbers of those that are taken, where the caller keeps an index
  GrowArray<std::int32_t> taken_;  // those of the list that lead to them
};

}  // namespace sheaf
