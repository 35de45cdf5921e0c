// Names that are reserved but not used leave no entry.
#include "sheaf/document/merge/name_additions.h"

#include <cstring>

#include "sheaf/base/number_text.h"
#include "sheaf/document/names/name_tree.h"

namespace sheaf {

void find_free_key(const CPDFDictionary& taken, const char* key, CPDFObj& fresh) {
  const std::size_t len = std::strlen(key);
  const HeapBlock<char> text(static_cast<char*>(QVAlloc(len + 1 + kNumberTextSize)));
  if (!text)
    return;
  std::memcpy(text.get(), key, len);
  text[len] = '-';
  std::int32_t number = 2;
  do
    ansi_from_i32(text.get() + len + 1, number++);
  while (taken.get_item(text.get()) != nullptr);
  fresh.set_name(text.get());
}

void NameAdditions::reserve(const PDF_String& name) {
  if (list_.find(name) < 0 && list_.add(name, {0, 0}) >= 0)
    ++own_;
}

void NameAdditions::load(CPDFXRefTable& table, const CPDFDictionary* names) {
  if (names != nullptr)
    name_tree_walk(table, names->get_item(key_), [this](const PDF_String& name, const CPDFObj&) { reserve(name); });
}

void NameAdditions::put(CPDFXRefTable& table, CPDFDictionary& names) {
  if (list_.size() == own_)
    return;
  name_tree_walk(table, names.get_item(key_), [&](const PDF_String& name, const CPDFObj& value) {
    const std::int32_t index = list_.find(name);
    if (index < 0 || list_.at(index).value.num != 0)
      return;
    if (value.tag == kTagRef) {
      list_.set_value(index, value.as_ref());
      return;
    }
    Freed<CPDFObj> copy;
    copy.copy_from(&value);
    const PDF_REF ref{table.alloc_obj_num(), 0};
    if (table.store_object(ref, copy))
      list_.set_value(index, ref);
  });
  // Names outside the tree stay where they are.
  NameList all;
  for (std::int32_t i = 0; i < list_.size(); ++i) {
    if (list_.at(i).value.num != 0)
      all.add(list_.at(i).name, list_.at(i).value);
  }
  const PDF_REF tree = all.store_tree(table);
  if (tree.num != 0)
    names.set_item_ref(key_, tree);
}

}  // namespace sheaf
