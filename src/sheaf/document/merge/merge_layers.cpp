// Groups are imported with the lists of the default configuration that name them.
#include "sheaf/document/merge/merge_layers.h"

#include <new>

#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr const char* kLists[] = {"Order", "Locked", "RBGroups", "AS"};

}  // namespace

void MergeLayers::take_list(MergeSource& source, const CPDFObj* item, const char* as) {
  Freed<CPDFObj> list = source.table.value(item);
  if (list.as_array() == nullptr || !source.import(list))
    return;
  CPDFObj* const all = added_.get_item(as);
  if (all == nullptr) {
    added_.move_item(as, list);
    return;
  }
  for (std::int32_t i = 0; i < list.as_array()->count; ++i)
    all->as_array()->append_moved(list.as_array()->items[i]);
}

// Where a source hides its groups unless it says otherwise, those that it does not show are hidden.
void MergeLayers::take_shown_and_hidden(MergeSource& source, const CPDFDictionary* config, const CPDFObj* groups) {
  Freed<CPDFObj> base = source.table.value(config, "BaseState");
  const bool hides = base.is_name("OFF");
  Freed<CPDFObj> named = source.table.value(config, hides ? "ON" : "OFF");
  VisitedSet is_named;
  for (std::int32_t i = 0; named.as_array() != nullptr && i < named.as_array()->count; ++i)
    is_named.visit(named.as_array()->items[i].as_ref().num);
  Freed<CPDFObj> lists[2];  // shown, hidden
  for (CPDFObj& list : lists)
    list.take_array(new (std::nothrow) CPDFArray);
  for (std::int32_t i = 0; groups->as_array() != nullptr && i < groups->as_array()->count; ++i) {
    const bool hidden = is_named.has(groups->as_array()->items[i].as_ref().num) != hides;
    if (CPDFArray* const list = lists[hidden ? 1 : 0].as_array())
      list->append(groups->as_array()->items + i);
  }
  take_list(source, &lists[0], "ON");
  take_list(source, &lists[1], "OFF");
}

void MergeLayers::take(MergeSource& source) {
  Freed<CPDFObj> content;
  source.read(content, "OCProperties");
  if (content.as_dict() == nullptr)
    return;
  if (target_.takes_settings()) {
    if (source.import(content))
      first_.move_from(content);
    target_.note(PDF_MERGE_FATE::kKept, "layers");
    return;
  }
  Freed<CPDFObj> groups = source.table.value(content.as_dict(), "OCGs");
  Freed<CPDFObj> config = source.table.value(content.as_dict(), "D");
  take_list(source, &groups, "OCGs");
  groups = source.table.value(content.as_dict(), "OCGs");
  take_shown_and_hidden(source, config.as_dict(), &groups);
  for (const char* key : kLists)
    take_list(source, config.item(key), key);
  target_.note(PDF_MERGE_FATE::kJoined, "layers");
  Freed<CPDFObj> others = source.table.value(content.as_dict(), "Configs");
  if (others.as_array() != nullptr)
    target_.note(PDF_MERGE_FATE::kDropped, "layer configurations", others.as_array()->count);
}

// Moves the list `from` of what was taken after the list `key` of `dict`.
void MergeLayers::append_list(CPDFDictionary& dict, const char* key, const char* from) {
  CPDFObj* const more = added_.get_item(from);
  if (more == nullptr || more->as_array()->count == 0)
    return;
  Freed<CPDFObj> list = table_.value(&dict, key);
  if (list.as_array() == nullptr) {
    dict.move_item(key, *more);
    return;
  }
  for (std::int32_t i = 0; i < more->as_array()->count; ++i)
    list.as_array()->append_moved(more->as_array()->items[i]);
  dict.move_item(key, list);
}

void MergeLayers::put(CPDFDictionary& catalog) {
  if (first_.as_dict() == nullptr && added_.get_item("OCGs") == nullptr)
    return;
  const CPDFObj* const item = catalog.get_item("OCProperties");
  const PDF_REF place = ref_of(item);
  Freed<CPDFObj> content = table_.value(item != nullptr ? item : &first_);
  if (content.as_dict() == nullptr)
    content.take_dict(new (std::nothrow) CPDFDictionary);
  if (content.as_dict() == nullptr)
    return;
  const CPDFObj* const own = content.as_dict()->get_item("D");
  const PDF_REF config_place = ref_of(own);
  Freed<CPDFObj> config = table_.value(own);
  if (config.as_dict() == nullptr)
    config.take_dict(new (std::nothrow) CPDFDictionary);
  if (config.as_dict() == nullptr)
    return;
  Freed<CPDFObj> base = table_.value(config.as_dict(), "BaseState");
  const char* const named = base.is_name("OFF") ? "ON" : "OFF";
  append_list(*content.as_dict(), "OCGs", "OCGs");
  append_list(*config.as_dict(), named, named);
  for (const char* key : kLists)
    append_list(*config.as_dict(), key, key);
  if (config_place.num != 0)
    table_.store_object(config_place, config);
  else
    content.as_dict()->move_item("D", config);
  if (place.num != 0)
    table_.store_object(place, content);
  else
    catalog.move_item("OCProperties", content);
}

}  // namespace sheaf
