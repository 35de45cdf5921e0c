// The pages of a document in their order: found by walking the page tree (ISO 32000-1, 7.7.3), edited as a
// list, and written back as a tree.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/pages/page_nodes.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

/// What a glance at the page tree finds.
struct PageTreeLook {
  bool is_tree = false;       ///< The catalogue has a dictionary as its page tree.
  bool has_pages = false;     ///< It leads to a page.
  bool has_no_pages = false;  ///< It says itself that it has no pages.
  GrowArray<PDF_REF> met;     ///< The catalogue and the objects on the way to the first page.
};

/// A page, and the node that it was found below: its index in PageNodes, -1 when that is unknown.
struct PageListEntry {
  PDF_REF ref;
  std::int32_t node;
};

struct TreeBranch;

/// The page list of one document. The tree is walked when somebody asks for more than a count that the nodes
/// agree on; edits change the list alone, and `store_tree` writes the tree anew. The table must outlive it.
class PageList {
public:
  explicit PageList(CPDFXRefTable& table) : nodes(table), table_(table) {}
  PageList(const PageList&) = delete;
  PageList& operator=(const PageList&) = delete;

  /// Reads enough of the tree to believe it or not, and forgets what was listed before.
  void look_at_tree(PageTreeLook& look);
  /// Walks the tree unless that was done.
  void ensure();
  /// Builds the list from "Count" alone and checks a sample of it; walks the tree where that fails.
  void list_as_told();
  bool is_by_count() const { return by_count_; }
  /// Whether the top of the tree counts more pages than can be reached.
  bool misses_pages();
  /// How many kids of the tree are neither page nor node, or a node that came up before. Walks the tree, or reads the
  /// pages that were not loaded yet.
  int strays();
  /// Forgets everything and releases its memory.
  void reset();

  /// How many pages there are, by the nodes' counts where they agree and else by walking.
  int count();
  /// How many are listed at this moment, without walking.
  int listed() const { return pages_.count(); }
  /// The object of page `index` among those listed, or {0, 0}.
  PDF_REF ref(int index) const;
  /// Reads page `index` without resources that are directly in a node above. False when there is no such page.
  bool load_alone(int index, CPDFPage& page);

  /// See the members of like names in CPDFDoc.
  bool insert(int index, const PDF_REF& page);
  bool remove(int index);
  bool move(int from, int to);
  bool store_tree();
  bool rebuild_tree();

  PageNodes nodes;

private:
  void list(bool by_count);
  bool proves_page(const PDF_REF& ref, const CPDFObj& obj);
  int start_edit();
  bool detach(int index, bool listed_before);
  bool detach_all(const PDF_REF& top, GrowArray<TreeBranch>& pages);
  bool is_sound_tree();

  CPDFXRefTable& table_;
  GrowArray<PageListEntry> pages_;
  NumberMap node_of_removed_;  // index into `nodes` plus one, by the number of a page that was taken off the list
  VisitedSet proven_pages_;    // of a believed list, what was seen to be pages
  int quick_count_ = -1;       // by the nodes' counts; -1 unknown or contradictory
  int strays_ = 0;
  bool walked_ = false;
  bool by_count_ = false;    // the list rests on the counts of the nodes
  bool changed_ = false;     // and is no longer what the tree has
  bool incomplete_ = false;  // there was no memory for all pages
};

}  // namespace sheaf
