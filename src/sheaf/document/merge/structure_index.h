// What was read of a source's structure tree, so that parts of a long document that are taken one after the
// other cost what each holds: the root, the parent tree, elements with so many kids that a part has few of
// them, and, where the parent tree does not help, where everything is in the whole tree.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

struct SourceElement {
  PDF_REF ref;                  ///< In the source.
  std::int32_t parent;          ///< Index, -1 at the top.
  std::int32_t page;            ///< The source's number of the page of its content, its own or from above.
  bool holds_kept = false;      ///< Content of pages that are taken, here or below.
  bool holds_other = false;     ///< Content that stays behind.
  bool kept = false;            ///< It is taken.
  bool is_big = false;          ///< It has too many kids to read them all for empty ones.
  bool holds_elements = false;  ///< And nothing else that is taken.
  std::int32_t first_kid = -1;  ///< Index of an element right below it; -1 for none.
  std::int32_t next_kid = -1;   ///< Index of another one with the same parent.
};

/// Where content of an element is: a marked sequence or a whole object.
struct ContentPlace {
  std::int32_t page = 0;     ///< That it names itself; 0 for that of the element.
  std::int32_t object = -1;  ///< The whole object; 0 when the file names none, -1 for a marked sequence.
  std::int32_t stream = -1;  ///< Of the sequence, where that is not the page's content; 0 and -1 as above.
};

class StructureIndex : public QVHeapObject<StructureIndex> {
public:
  static constexpr std::int32_t kMostFewKids = 64;  ///< An element with more is big.

  struct Kid {
    std::int32_t num;  ///< The kid, where it is an object; otherwise the page that it names, or 0.
    std::int32_t at;   ///< Index in the array.
  };
  /// An element, or the root, whose kids are found without looking at all of them.
  struct BigElement : QVHeapObject<BigElement> {
    /// The kids that are the object `num`, appended to `places`.
    void find(std::int32_t num, GrowArray<std::int32_t>& places) const;

    Freed<CPDFObj> body;      ///< The dictionary without its kids.
    Freed<CPDFObj> kids;      ///< An array, or null.
    GrowArray<Kid> by_num;    ///< Kids that are objects, sorted.
    GrowArray<Kid> direct;    ///< The others.
    GrowArray<Kid> contents;  ///< Those of `by_num` that are no elements, once they were sorted out.
    bool is_sorted_out = false;
  };
  struct Content {
    std::int32_t element;  ///< Index in `walked`.
    ContentPlace place;
  };

  StructureIndex() = default;
  StructureIndex(const StructureIndex&) = delete;
  StructureIndex& operator=(const StructureIndex&) = delete;
  ~StructureIndex() { clear(); }

  void clear();
  /// What is known of another table is forgotten.
  void start(CPDFXRefTable& table);
  /// The root that `item` leads to; null when it is no dictionary or there is no memory. Borrowed; valid until
  /// `clear`, as all results are.
  const BigElement* root(const CPDFObj* item);
  /// The element `ref`, without its kids when it is big; else in `scratch`. Null when it is no dictionary.
  const CPDFDictionary* read(const PDF_REF& ref, CPDFObj& scratch);
  /// The big element `num`; null when it is not known as such.
  BigElement* big_element(std::int32_t num) const;
  /// Makes the element `num`, whose object is `obj`, a big one when `kids` says so; both then become null.
  bool take_big_element(std::int32_t num, CPDFObj& obj, CPDFObj& kids);
  /// Finds out which kids of `big_element` are content.
  void sort_out(BigElement& big_element);
  /// The values of `keys` in the parent tree of `root`, in the order of the tree.
  void find_parents(const CPDFDictionary& root, const GrowArray<std::int32_t>& keys, GrowArray<PDF_REF>& parents);

  // The whole tree, once it was walked.
  bool is_walked = false;
  std::int32_t walk_dropped = 0;  ///< Kids that are no elements or were found before.
  GrowArray<SourceElement> walked;
  GrowArray<Content> contents;

private:
  struct Entry {
    std::int32_t key;
    std::int32_t turn;   // in the tree
    PDF_REF value;       // of a key that has one, or whose list is an object
    std::int32_t first;  // in listed_
    std::int32_t count;  // of a list in the tree itself; -1 for a reference
  };

  static BigElement* make_big_element(CPDFObj& obj, CPDFObj& kids);
  void read_parent_tree(const CPDFDictionary& root);

  CPDFXRefTable* table_ = nullptr;
  BigElement* root_ = nullptr;
  GrowArray<BigElement*> big_elements_;  // owned
  NumberMap big_element_of_;             // index into big_elements_ plus one, by number
  bool has_parents_ = false;
  GrowArray<Entry> parents_;  // sorted by key and turn
  GrowArray<PDF_REF> listed_;
};

/// Whether a dictionary among the kids of an element is another element.
bool is_structure_element(const CPDFDictionary& item);
/// The number that the entry `key` refers to; 0 for none.
std::int32_t number_at(const CPDFDictionary& dict, const char* key);

}  // namespace sheaf
