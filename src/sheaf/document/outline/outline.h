// The outline of a document (ISO 32000-1, 12.3.3) as a list of entries with levels: read, thinned out, and set.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/object/object.h"

class CPDFDoc;
class CPDFXRefTable;
class CPDFArray;
class CPDFDictionary;

namespace sheaf {
class VisitedSet;
}

/// One entry. What it owns is released with the outline.
struct PDF_OUTLINE_ENTRY {
  PDF_REF ref;         ///< The item's object; number 0: it has none yet.
  std::int32_t level;  ///< 0 at the top.
  PDF_String title;    ///< A text string; owned.
  std::int32_t page;   ///< Index, from 0, of the page that it leads to; -1: it leads to none of this document.
  CPDFObj place;       ///< The explicit destination, an array whose first element is the page; null without one. Owned.
  CPDFObj uri;         ///< The address as a string where it leads to one; null otherwise. Owned.
  bool open;           ///< The entries below it are shown.
  bool has_target;     ///< It has a destination or an action.
  bool sets_target;    ///< `place` or `uri` goes into the item, in place of what it had.
};

class CPDFOutline {
public:
  CPDFOutline() = default;
  CPDFOutline(const CPDFOutline&) = delete;
  CPDFOutline& operator=(const CPDFOutline&) = delete;
  ~CPDFOutline() { clear(); }

  void clear();
  /// Reads the outline of a readable document in the order in which it is shown. Loops do no harm. False when there was
  /// no memory for all of it.
  bool load(CPDFDoc& doc);
  bool empty() const { return entries_.empty(); }
  std::int32_t size() const { return entries_.count(); }
  const PDF_OUTLINE_ENTRY& at(std::int32_t index) const { return entries_[index]; }

  /// Appends an entry, at most one level below the last one; `title` is UTF-8. `from` names an item of the document
  /// whose looks and target it keeps, number 0 for none. False when it is too deep, or there is no memory.
  bool add(std::int32_t level, const char* title, bool open, const PDF_REF& from);
  /// Makes the last entry lead to a page (from 0) of `doc`, shown as `view` says: the name and the numbers of an
  /// explicit destination without its page. False when there is no such page, or no memory.
  bool lead_to_page(CPDFDoc& doc, std::int32_t page, const CPDFArray& view);
  /// Makes it lead to an address.
  bool lead_to_uri(const char* uri);

  /// Takes out the entries that lead to pages whose object numbers `gone` has; one with others below it stays, without
  /// its target. The result is the number of entries that are gone or have lost their target.
  std::int32_t remove_pages(const sheaf::VisitedSet& gone);
  /// Stores the entries as the document's outline, in place of what it has. The change waits for a save. False when the
  /// catalogue cannot be changed, or there is no memory.
  bool store(CPDFDoc& doc) const;

private:
  struct Links;

  bool push(PDF_OUTLINE_ENTRY& entry);
  void link(sheaf::GrowArray<Links>& links) const;
  void number(CPDFXRefTable& table, sheaf::GrowArray<Links>& links) const;
  bool store_entry(CPDFDoc& doc, const PDF_OUTLINE_ENTRY& entry, const Links& links) const;
  static bool store_links(CPDFXRefTable& table, const sheaf::GrowArray<Links>& links, const Links& mine,
                          const PDF_REF& root);
  bool store_items(CPDFDoc& doc, const sheaf::GrowArray<Links>& links, const PDF_REF& root, CPDFDictionary& top) const;

  sheaf::GrowArray<PDF_OUTLINE_ENTRY> entries_;
};
