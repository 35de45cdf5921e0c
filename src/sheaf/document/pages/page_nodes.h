// What the nodes of a page tree hand down to the pages below them (ISO 32000-1, 7.7.3.4).
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// The nodes met so far, each with its own values over those from above. Nodes are named by their index,
/// from 0; -1 names no node. The table must outlive it.
class PageNodes {
public:
  explicit PageNodes(CPDFXRefTable& table) : table_(table) {}
  PageNodes(const PageNodes&) = delete;
  PageNodes& operator=(const PageNodes&) = delete;

  /// Adds the node `ref` below `parent`; of two resources the nearer ones count. -1 without memory.
  std::int32_t add(const CPDFDictionary& dict, const PDF_REF& ref, std::int32_t parent);
  /// Adds a node that hands down nothing, in place of one that had the number `num`.
  void add_empty(std::int32_t num);
  /// The node above a page, found by its chain of parents, which are added where they are new.
  std::int32_t above(const CPDFDictionary& page);
  /// What `node` hands down; nothing for -1.
  PDF_INHERITED values(std::int32_t node) const;
  /// Puts the boxes and the rotation of a dictionary over `values`.
  void take_values(const CPDFDictionary& dict, PDF_INHERITED& values);

  /// The resources that are directly in the node `holder`, as PDF_INHERITED names it.
  void read_direct_resources(CPDFObj& resources, std::int32_t holder);
  /// Makes an object of them, once for each node. {0, 0} without memory.
  PDF_REF share_direct_resources(std::int32_t holder);
  /// Does so for all nodes that have theirs from `holder`, which is about to be written anew.
  void keep_resources_of(std::int32_t holder);
  void forget_resources();

  /// Puts what `values` has into a page that lacks it.
  void hand_down(const PDF_INHERITED& values, CPDFDictionary& page);
  /// Gives the page or the node `dict`, object `num`, the form in which nobody inherits: a page has all that comes from
  /// above it, a node hands down nothing.
  void complete(CPDFDictionary& dict, std::int32_t num);
  /// Whether the page names `node` as its parent.
  bool is_below(const CPDFDictionary& page, std::int32_t node) const;

  /// Whether an item is missing, null, or a reference to nothing.
  bool is_absent(const CPDFObj* item);
  /// Forgets all nodes; objects made of resources stay known.
  void clear();
  /// Forgets everything and releases its memory.
  void reset();

private:
  CPDFXRefTable& table_;
  GrowArray<PDF_INHERITED> nodes_;
  NumberMap by_number_;         // index into nodes_ plus one, by object number
  NumberMap shared_resources_;  // the object with a node's direct resources, by the node's number
  Freed<CPDFObj> direct_resources_;
  std::int32_t resources_from_ = 0;  // the node that holds them
};

}  // namespace sheaf
