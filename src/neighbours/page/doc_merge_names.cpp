// Names of a source: its named destinations (ISO 32000-1, 12.3.2.3) and its embedded files.
#include <algorithm>

#include "neighbours/page/doc_merge_internal.h"
#include "neighbours/page/name_tree.h"

void CPDFDocMerge::add_destination(Source& src, const PDF_String& name, const CPDFObj& value) {
  if (name.data == nullptr || src.names.find(name) >= 0)
    return;
  Freed<CPDFObj> copy;
  src.table.resolve(copy, &value);
  const std::int32_t page = page_of(src, &copy);
  const std::int32_t entry = src.names.add(name, {-1, std::max(page, 0)});
  if (entry < 0 || page < 1 || !src.wanted.has(page))
    return;
  const int good = copy.as_array() != nullptr ? table_.clone_array(&src.table, src.context, copy.as_array())
                                              : table_.clone_dict(&src.table, src.context, copy.as_dict());
  if (good == 0)
    return;
  const PDF_REF ref{table_.alloc_obj_num(), 0};
  if (table_.store_object(ref, copy))
    src.names.set_value(entry, {destinations_.add_unique(name, ref), page});
}

void CPDFDocMerge::collect_destinations(Source& src) {
  Freed<CPDFObj> catalog;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr)
    return;
  Freed<CPDFObj> old;
  src.table.resolve(old, catalog.as_dict()->get_item("Dests"));
  for (std::int32_t i = 0; old.as_dict() != nullptr && i < old.as_dict()->count; ++i) {
    const CPDFDictItem* item = old.as_dict()->items[i];
    auto* key = const_cast<char*>(item->key());
    std::int32_t len = 0;
    while (key[len] != 0)
      ++len;
    add_destination(src, {len, key}, *item);
  }
  Freed<CPDFObj> names;
  src.table.resolve(names, catalog.as_dict()->get_item("Names"));
  const CPDFObj* tree = names.as_dict() != nullptr ? names.as_dict()->get_item("Dests") : nullptr;
  name_tree_walk(src.table, tree,
                 [&](const PDF_String& name, const CPDFObj& value) { add_destination(src, name, value); });
}

void CPDFDocMerge::collect_files(Source& src) {
  Freed<CPDFObj> catalog;
  Freed<CPDFObj> names;
  src.table.resolve(catalog, &src.table.root);
  if (catalog.as_dict() == nullptr)
    return;
  src.table.resolve(names, catalog.as_dict()->get_item("Names"));
  const CPDFObj* tree = names.as_dict() != nullptr ? names.as_dict()->get_item("EmbeddedFiles") : nullptr;
  name_tree_walk(src.table, tree, [&](const PDF_String& name, const CPDFObj& value) {
    PDF_REF file = value.as_ref();
    if (file.num != 0) {
      file = table_.clone_obj(&src.table, src.context, file);
    } else {
      Freed<CPDFObj> copy;
      copy.copy_from(&value);
      if (copy.as_dict() == nullptr || table_.clone_dict(&src.table, src.context, copy.as_dict()) == 0)
        return;
      file = {table_.alloc_obj_num(), 0};
      table_.store_object(file, copy);
    }
    if (file.num != 0)
      files_.add_unique(name, file);
  });
}
