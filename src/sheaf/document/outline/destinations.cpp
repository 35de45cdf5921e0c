// A name may lead to another name; a few steps are followed.
#include "sheaf/document/outline/destinations.h"

#include <cstring>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/names/name_tree.h"

namespace sheaf {

namespace {

constexpr int kMostSteps = 8;

PDF_String text_of(const CPDFObj& value) {
  if (value.tag != kTagName)
    return value.as_string();
  auto* const name = const_cast<char*>(value.as_name());
  return {name != nullptr ? static_cast<std::int32_t>(std::strlen(name)) : 0, name};
}

}  // namespace

Destinations::~Destinations() {
  for (CPDFObj& value : values_)
    value.free();
}

void Destinations::add(const PDF_String& name, const CPDFObj& value) {
  if (name.data == nullptr || names_.find(name) >= 0)
    return;
  CPDFObj copy{};
  copy.copy_from(&value);
  if (!values_.push(copy)) {
    copy.free();
    return;
  }
  names_.add(name, {values_.count() - 1, 0});
}

void Destinations::list_names() {
  if (listed_)
    return;
  listed_ = true;
  CPDFXRefTable& table = doc_.table();
  const Freed<CPDFObj> catalog = table.catalog();
  const Freed<CPDFObj> old = table.value(catalog.as_dict(), "Dests");
  for (std::int32_t i = 0; old.as_dict() != nullptr && i < old.as_dict()->count; ++i) {
    const CPDFDictItem* const item = old.as_dict()->items[i];
    auto* const key = const_cast<char*>(item->key());
    add({static_cast<std::int32_t>(std::strlen(key)), key}, *item);
  }
  const Freed<CPDFObj> names = table.value(catalog.as_dict(), "Names");
  name_tree_walk(table, names.item("Dests"),
                 [this](const PDF_String& name, const CPDFObj& value) { add(name, value); });
}

// The array at the end of names and of dictionaries with "D".
bool Destinations::find_explicit(const CPDFObj* destination, CPDFObj& place) {
  CPDFXRefTable& table = doc_.table();
  table.resolve(place, destination);
  for (int step = 0; step < kMostSteps; ++step) {
    if (place.as_array() != nullptr)
      return true;
    Freed<CPDFObj> next;
    if (place.as_dict() != nullptr) {
      next = table.value(place.as_dict(), "D");
    } else if (text_of(place).data != nullptr) {
      list_names();
      const std::int32_t found = names_.find(text_of(place));
      if (found >= 0)
        next = table.value(&values_[names_.at(found).value.num]);
    }
    place.move_from(next);
  }
  place.free();
  return false;
}

std::int32_t Destinations::page_of(const CPDFObj* destination, CPDFObj* place) {
  Freed<CPDFObj> found;
  if (destination == nullptr || !find_explicit(destination, found) || found.as_array()->count == 0)
    return 0;
  const CPDFObj& page = found.as_array()->items[0];
  // A page by its index is meant for other documents, but is met in this one too.
  const std::int32_t num = page.tag == kTagInt ? doc_.page_ref(page.as_int()).num : page.as_ref().num;
  if (place != nullptr)
    place->move_from(found);
  return num;
}

bool Destinations::has_destination(const CPDFDictionary& holder) {
  if (holder.get_item("Dest") != nullptr)
    return true;
  const Freed<CPDFObj> action = doc_.table().value(&holder, "A");
  const Freed<CPDFObj> kind = doc_.table().value(action.as_dict(), "S");
  return kind.is_name("GoTo");
}

std::int32_t Destinations::page_of_holder(const CPDFDictionary& holder, CPDFObj* place) {
  if (const CPDFObj* const destination = holder.get_item("Dest"))
    return page_of(destination, place);
  const Freed<CPDFObj> action = doc_.table().value(&holder, "A");
  const CPDFDictionary* const dict = action.as_dict();
  return dict != nullptr && has_destination(holder) ? page_of(dict->get_item("D"), place) : 0;
}

int Destinations::index_of(std::int32_t page) {
  if (!counted_) {
    counted_ = true;
    for (int i = doc_.page_count(); i-- > 0;)
      indices_.set(doc_.page_ref(i).num, i + 1);
  }
  return page > 0 ? indices_.get(page) - 1 : -1;
}

}  // namespace sheaf
