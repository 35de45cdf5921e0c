// Insertion keeps the order of the names and widens "Limits" on the way up (ISO 32000-1, 7.9.6).
#include "sheaf/document/names/name_tree.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/xref_table.h"

namespace sheaf {

namespace {

constexpr int kMostLevels = 32;
constexpr int kMostNumbers = 1000;  // tried after a name that is taken

// Names are ordered by their bytes, a prefix before what it begins.
int compare(const PDF_String& a, const PDF_String& b) {
  const int order = std::memcmp(a.data, b.data, static_cast<std::size_t>(std::min(a.len, b.len)));
  return order != 0 ? order : a.len - b.len;
}

PDF_String element_text(CPDFXRefTable& table, const CPDFArray& array, std::int32_t index, Freed<CPDFObj>& scratch) {
  scratch = table.value(&array, index);
  const PDF_String text = scratch.as_string();
  return text.data != nullptr ? text : PDF_String{0, const_cast<char*>("")};
}

// Inserts a name with its value before `index`.
void insert_at(CPDFArray& array, std::int32_t index, CPDFObj& name, CPDFObj& value) {
  if (array.append_moved(name) != 0 && array.append_moved(value) != 0)
    std::rotate(array.items + index, array.items + array.count - 2, array.items + array.count);
}

enum class Insert { kDone, kTaken, kFailed };

class TreeInserter {
public:
  TreeInserter(CPDFXRefTable& table, const PDF_String& name, const PDF_REF& value)
      : table_(table), name_(name), value_(value) {}

  Insert insert(CPDFDictionary& node, int level) {
    if (level == kMostLevels)
      return Insert::kFailed;
    Freed<CPDFObj> kids = table_.value(&node, "Kids");
    CPDFArray* const array = kids.as_array();
    const Insert result =
        array != nullptr && array->count > 0 ? insert_into_kid(*array, level) : insert_into_leaf(node);
    if (result != Insert::kDone)
      return result;
    if (array != nullptr && array->count > 0)
      node.move_item("Kids", kids);
    if (level > 0)
      widen_limits(node);
    return watch_.all_granted() ? result : Insert::kFailed;  // no level is stored of which something is missing
  }

private:
  Insert insert_into_leaf(CPDFDictionary& node) {
    Freed<CPDFObj> names = table_.value(&node, "Names");
    if (names.as_array() == nullptr)
      names.take_array(new (std::nothrow) CPDFArray);
    CPDFArray* const array = names.as_array();
    if (array == nullptr)
      return Insert::kFailed;
    Freed<CPDFObj> scratch;
    std::int32_t at = 0;
    for (; at + 1 < array->count; at += 2) {
      const int order = compare(name_, element_text(table_, *array, at, scratch));
      if (order == 0)
        return Insert::kTaken;
      if (order < 0)
        break;
    }
    Freed<CPDFObj> key;
    Freed<CPDFObj> value;
    key.set_string(name_.data, name_.len);
    value.set_ref(value_);
    insert_at(*array, at, key, value);
    node.move_item("Names", names);
    return Insert::kDone;
  }

  // The last kid whose names begin at or before the name, or the first.
  Insert insert_into_kid(CPDFArray& kids, int level) {
    std::int32_t chosen = 0;
    Freed<CPDFObj> kid;
    Freed<CPDFObj> limits;
    Freed<CPDFObj> scratch;
    for (std::int32_t i = 0; i < kids.count; ++i) {
      kid = table_.value(kids.items + i);
      const CPDFDictionary* dict = kid.as_dict();
      limits = table_.value(dict, "Limits");
      if (limits.as_array() != nullptr && compare(element_text(table_, *limits.as_array(), 0, scratch), name_) <= 0)
        chosen = i;
    }
    CPDFObj& slot = kids.items[chosen];
    const PDF_REF ref = slot.as_ref();
    kid = table_.value(&slot);
    if (kid.as_dict() == nullptr)
      return Insert::kFailed;
    const Insert result = insert(*kid.as_dict(), level + 1);
    if (result != Insert::kDone)
      return result;
    if (ref.num != 0)
      table_.store_object(ref, kid);
    else
      slot.move_from(kid);
    return result;
  }

  void widen_limits(CPDFDictionary& node) {
    Freed<CPDFObj> least;
    Freed<CPDFObj> most;
    Freed<CPDFObj> limits = table_.value(&node, "Limits");
    const CPDFArray* old = limits.as_array();
    const bool known = old != nullptr && old->count >= 2;
    const bool before = !known || compare(name_, element_text(table_, *old, 0, least)) < 0;
    const bool behind = !known || compare(name_, element_text(table_, *old, 1, most)) > 0;
    if (before)
      least.set_string(name_.data, name_.len);
    if (behind)
      most.set_string(name_.data, name_.len);
    Cleared<CPDFArray> fresh;
    fresh.append(&least);
    fresh.append(&most);
    node.set_item_arr("Limits", &fresh);
  }

  const HeapWatch watch_;
  CPDFXRefTable& table_;
  PDF_String name_;
  PDF_REF value_;
};

}  // namespace

bool name_tree_insert(CPDFXRefTable& table, CPDFDictionary& root, PDF_String& name, const PDF_REF& value) {
  Insert result = TreeInserter(table, name, value).insert(root, 0);
  const std::int32_t plain_len = name.len;
  for (int number = 2; result == Insert::kTaken && number < kMostNumbers; ++number) {
    char digits[kNumberTextSize];
    const int count = ansi_from_i32(digits, number);
    auto* grown = static_cast<char*>(
        QVRealloc(name.data, static_cast<std::size_t>(plain_len) + static_cast<std::size_t>(count) + 2));
    if (grown == nullptr)
      return false;
    name.data = grown;
    name.data[plain_len] = '-';
    std::memcpy(name.data + plain_len + 1, digits, static_cast<std::size_t>(count) + 1);
    name.len = plain_len + 1 + count;
    result = TreeInserter(table, name, value).insert(root, 0);
  }
  return result == Insert::kDone;
}

}  // namespace sheaf
