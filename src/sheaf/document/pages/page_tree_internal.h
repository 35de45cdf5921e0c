// Reading the page tree (ISO 32000-1, 7.7.3): what is a page, what a node, and the walk over all of them.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/pages/page_list.h"
#include "sheaf/document/pages/page_nodes.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// Fills `kids` with a node's array of kids. True when the dictionary is no node: it has no kids, or says that
/// it is a page.
bool is_tree_leaf(CPDFXRefTable& table, const CPDFDictionary& dict, Freed<CPDFObj>& kids);
/// Whether a leaf has what only pages have.
bool looks_like_page(const CPDFDictionary& dict);
/// Whether a dictionary is a page.
bool is_page(CPDFXRefTable& table, const CPDFDictionary& dict);
/// Adds up the counts of the nodes, without reading the pages below a node that has as many kids as it
/// counts. -1 when the sum is not what the top of the tree says.
int count_pages_by_nodes(CPDFXRefTable& table);

/// One walk over the tree, on a stack of its own. Each node is visited once, so that no loop can hold it up.
class PageWalk {
public:
  /// `by_count`: where a node counts each of its kids as one page, they are listed without being read.
  PageWalk(CPDFXRefTable& table, PageNodes& nodes, GrowArray<PageListEntry>& pages, bool by_count)
      : table_(table), nodes_(nodes), pages_(pages), by_count_(by_count) {}
  PageWalk(const PageWalk&) = delete;
  PageWalk& operator=(const PageWalk&) = delete;
  ~PageWalk();

  void run();
  /// How many kids of nodes were passed over.
  std::int32_t passed_over() const { return passed_over_; }

private:
  // A tree node whose kids are being visited. It owns the array.
  struct Frame {
    CPDFObj kids;
    std::int32_t next;
    std::int32_t node;
    PDF_REF ref;    // of the node
    bool is_taken;  // kids were made objects
  };

  void open_node(const CPDFDictionary& dict, const PDF_REF& ref, std::int32_t parent);
  bool counts_kids_as_pages(const CPDFDictionary& node, const CPDFArray& kids);
  void visit(CPDFObj& kid);
  void look_at(const PDF_REF& ref, std::int32_t parent);
  void leave_node();
  bool take_direct_kid(CPDFObj& kid, const PDF_REF& node);
  void store_kids(const PDF_REF& node, const CPDFObj& kids);

  CPDFXRefTable& table_;
  PageNodes& nodes_;
  GrowArray<PageListEntry>& pages_;
  bool by_count_;
  GrowArray<Frame> stack_;
  Freed<CPDFObj> kids_;  // of the node that is looked at
  // What a kid is gets looked up once, so that a list of one number over and over costs one reading.
  VisitedSet seen_nodes_;
  VisitedSet leaves_;
  VisitedSet strays_;
  std::int32_t passed_over_ = 0;
};

}  // namespace sheaf
