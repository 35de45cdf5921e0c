// A source document while it is appended to another: its objects, and what became of each.
#pragma once

#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/clone/import_context.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/merge/merge_target.h"
#include "sheaf/document/names/name_list.h"

namespace sheaf {

class MergeSource {
public:
  MergeSource(CPDFDoc& source, ImportContext* import, MergeTarget& target);
  MergeSource(const MergeSource&) = delete;
  MergeSource& operator=(const MergeSource&) = delete;

  /// Gives each page that is taken its number; the other pages, the page tree, and what is made
  /// anew are left out. `pages` are indices from 0.
  void reserve_pages(const std::int32_t* pages, std::int32_t count);

  /// An entry of the catalogue, or null. Borrowed.
  const CPDFObj* entry(const char* key) const;
  /// An entry of the catalogue, resolved; null without one.
  void read(CPDFObj& out, const char* key) const { table.resolve(out, entry(key)); }

  bool is_mapped(std::int32_t num) const { return object_index(num) < context->map_size; }
  /// Maps what `item` refers to, so that nothing brings it along.
  void leave_out(const CPDFObj* item);
  bool is_left_out(std::int32_t num) const {
    return is_mapped(num) && context->map[num] == object_index(target.left_out_num);
  }
  /// The copy of object `num`; {0, 0} when it was left out.
  PDF_REF copy_of(std::int32_t num) const;
  /// Turns a value of the source into one of the target, with all that it refers to. False when
  /// nothing comes of it.
  bool import(CPDFObj& value);
  /// The same, with the result as an object of its own; {0, 0} on failure. `value` becomes null.
  PDF_REF import_object(CPDFObj& value);

  /// Makes an object of the source of a value that is in another one. {0, 0} without memory; `value`
  /// becomes null else.
  PDF_REF make_object(CPDFObj& value);

  /// What became of an object of a page that is taken once more.
  struct Repeated {
    std::int32_t copy;  ///< Which further copy of a page, from 0.
    std::int32_t num;   ///< In the source: the page first, then its annotations.
    PDF_REF made;
  };

  CPDFDoc& doc;
  CPDFXRefTable& table;
  ImportContext* context;
  MergeTarget& target;
  Freed<CPDFObj> catalog;
  VisitedSet wanted;                       ///< Object numbers of the pages that are taken.
  bool takes_few = false;                  ///< Most pages stay behind.
  bool takes_all = false;                  ///< No page stays behind.
  PDF_REF first_page{0, 0};                ///< The first page appended.
  std::int32_t first_num = 0;              ///< Objects from this number on were made for this source.
  std::uint32_t first_slot = 0;            ///< Where the objects stored for it begin.
  GrowArray<Repeated> repeated;            ///< Pages that are taken more than once: all copies but the first of each.
  NameList old_field_names;                ///< Top-level fields that got other names: as they were, as UTF-8; `num` is
  Cleared<CPDFDictionary> new_font_names;  ///< Of the form's default resources, by the old ones.
  NameList new_field_names;                ///< the index here.

private:
  bool widen_map();
};

}  // namespace sheaf
