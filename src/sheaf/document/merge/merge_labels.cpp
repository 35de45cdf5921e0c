// Labels are collected by page while sources are appended, and written once as one number tree.
#include "sheaf/document/merge/merge_labels.h"

#include <algorithm>

#include "sheaf/document/names/number_tree.h"

namespace sheaf {

// One entry for each run of pages that the source numbers onwards.
void MergeLabels::take(MergeSource& source, const std::int32_t* pages, std::int32_t count) {
  NumberTree tree;
  tree.load(source.table, source.entry("PageLabels"));
  has_any_ = has_any_ || !tree.empty();
  if (!tree.empty())
    target_.note(PDF_MERGE_FATE::kJoined, "page labels");
  const std::int32_t first = target_.doc.page_count() - count;
  first_ = first_ < 0 ? first : first_;
  std::int32_t last_start = -2;
  for (std::int32_t i = 0; i < count; ++i) {
    std::int32_t start = -1;
    const CPDFDictionary* label = tree.find(pages[i], start);
    const bool goes_on = i > 0 && start == last_start && pages[i] == pages[i - 1] + 1;
    last_start = start;
    if (goes_on)
      continue;
    Cleared<CPDFDictionary> fresh;
    Freed<CPDFObj> value;
    if (label == nullptr)
      fresh.set_item_name("S", "D");
    for (const char* key : {"S", "P"}) {
      value = source.table.value(label, key);
      if (value.tag == kTagName || value.tag == kTagString)
        fresh.move_item(key, value);
    }
    value = source.table.value(label, "St");
    const std::int64_t number = std::int64_t{std::max(value.to_int(), 1)} + pages[i] - std::max(start, 0);
    if (number > 1 && number <= INT32_MAX)
      fresh.set_item_int("St", static_cast<int>(number));
    labels_.append_int(first + i);
    labels_.append_dict(&fresh);
  }
}

void MergeLabels::put(CPDFDictionary& catalog) {
  NumberTree own;
  own.load(table_, catalog.get_item("PageLabels"));
  if (first_ < 0 || (!has_any_ && own.empty()))
    return;
  Cleared<CPDFArray> all;
  Cleared<CPDFDictionary> plain;
  plain.set_item_name("S", "D");
  if (first_ > 0 && (own.empty() || own.key_at(0) > 0)) {
    all.append_int(0);
    all.append_dict(&plain);
  }
  for (std::int32_t i = 0; i < own.size() && own.key_at(i) < first_; ++i) {
    all.append_int(own.key_at(i));
    all.append_dict(own.value_at(i));
  }
  for (std::int32_t i = 0; i < labels_.count; ++i)
    all.append(labels_.items + i);
  Cleared<CPDFDictionary> tree;
  tree.set_item_arr("Nums", &all);
  catalog.set_item_dict("PageLabels", &tree);
}

}  // namespace sheaf
