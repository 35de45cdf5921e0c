// Search, insertion and removal in the sorted table of items, and the keys as constants.
#include "sheaf/object/dictionary.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/base/sorted_place.h"
#include "sheaf/object/array.h"

using namespace sheaf;

const char* const CPDFDictionary::sm_tag_acro_form = "AcroForm";
const char* const CPDFDictionary::sm_tag_base_font = "BaseFont";
const char* const CPDFDictionary::sm_tag_bbok = "BBox";
const char* const CPDFDictionary::sm_tag_bpc = "BitsPerComponent";
const char* const CPDFDictionary::sm_tag_count = "Count";
const char* const CPDFDictionary::sm_tag_cs = "ColorSpace";
const char* const CPDFDictionary::sm_tag_extgs = "ExtGState";
const char* const CPDFDictionary::sm_tag_fdec = "FlateDecode";
const char* const CPDFDictionary::sm_tag_fdes = "FontDescriptor";
const char* const CPDFDictionary::sm_tag_filter = "Filter";
const char* const CPDFDictionary::sm_tag_first = "First";
const char* const CPDFDictionary::sm_tag_font = "Font";
const char* const CPDFDictionary::sm_tag_height = "Height";
const char* const CPDFDictionary::sm_tag_length = "Length";
const char* const CPDFDictionary::sm_tag_next = "Next";
const char* const CPDFDictionary::sm_tag_parent = "Parent";
const char* const CPDFDictionary::sm_tag_prev = "Prev";
const char* const CPDFDictionary::sm_tag_res = "Resources";
const char* const CPDFDictionary::sm_tag_rotate = "Rotate";
const char* const CPDFDictionary::sm_tag_subtype = "Subtype";
const char* const CPDFDictionary::sm_tag_type = "Type";
const char* const CPDFDictionary::sm_tag_width = "Width";
const char* const CPDFDictionary::sm_tag_xobj = "XObject";

namespace {

constexpr std::int32_t kFirstCapacity = 8;
constexpr std::int32_t kInsertionSortLimit = 32;  // most dictionaries are far below

// As strcmp. Most keys differ in their first character.
int compare_keys(const char* a, const char* b) {
  const int first = static_cast<unsigned char>(*a) - static_cast<unsigned char>(*b);
  return first != 0 ? first : std::strcmp(a, b);
}

SortedPlace find_key(const CPDFDictionary& dict, const char* key) {
  return find_sorted(dict.count, [&dict, key](std::int32_t i) { return compare_keys(key, dict.items[i]->key()); });
}

// An item with a null value and a copy of `key`, or null.
CPDFDictItem* new_item(const char* key, std::size_t len) {
  char* block = static_cast<char*>(QVAlloc(sizeof(CPDFDictItem) + len + 1));
  if (block == nullptr)
    return nullptr;
  char* text = block + sizeof(CPDFDictItem);
  std::memcpy(text, key, len);
  text[len] = 0;
  return new (block) CPDFDictItem{};
}

void free_item(CPDFDictItem* item) {
  item->free();
  QVFree(item);
}

bool make_room(CPDFDictionary& dict) {
  if (dict.count < dict.capacity)
    return true;
  const std::int32_t wanted = dict.capacity < kFirstCapacity ? kFirstCapacity : dict.capacity + dict.capacity / 2;
  if (wanted <= dict.capacity)
    return false;
  void* grown = QVRealloc(dict.items, static_cast<std::size_t>(wanted) * sizeof(CPDFDictItem*));
  if (grown == nullptr)
    return false;
  dict.items = static_cast<CPDFDictItem**>(grown);
  dict.capacity = wanted;
  return true;
}

// The item of `key`, made with a null value if it is new; null without memory.
CPDFObj* item_for(CPDFDictionary& dict, const char* key) {
  const SortedPlace place = find_key(dict, key);
  if (place.found)
    return dict.items[place.index];
  if (!make_room(dict))
    return nullptr;
  CPDFDictItem* item = new_item(key, std::strlen(key));
  if (item == nullptr)
    return nullptr;
  CPDFDictItem** slot = dict.items + place.index;
  std::memmove(slot + 1, slot, static_cast<std::size_t>(dict.count - place.index) * sizeof(*slot));
  *slot = item;
  ++dict.count;
  return item;
}

void remove_key(CPDFDictionary& dict, const char* key) {
  const SortedPlace place = find_key(dict, key);
  if (!place.found)
    return;
  CPDFDictItem** slot = dict.items + place.index;
  free_item(*slot);
  --dict.count;
  std::memmove(slot, slot + 1, static_cast<std::size_t>(dict.count - place.index) * sizeof(*slot));
}

}  // namespace

CPDFObj* CPDFDictionary::get_item(const char* key) const {
  const SortedPlace place = find_key(*this, key);
  return place.found ? items[place.index] : nullptr;
}

bool CPDFDictionary::holds_signature() const {
  const CPDFObj* type = get_item(sm_tag_type);
  const bool typed = type == nullptr || type->is_name("Sig") || type->is_name("DocTimeStamp");
  return typed && get_item("ByteRange") != nullptr;
}

void CPDFDictionary::set_item(const char* key, const CPDFObj* value) {
  if (value == nullptr) {
    remove_key(*this, key);
    return;
  }
  // The copy is made first: `value` may lie inside the item that it replaces.
  CPDFObj copy{};
  copy.copy_from(value);
  move_item(key, copy);
}

void CPDFDictionary::move_item(const char* key, CPDFObj& value) {
  if (CPDFObj* item = item_for(*this, key))
    item->move_from(value);
  value.free();
}

void CPDFDictionary::set_item_int(const char* key, int value) {
  if (CPDFObj* item = item_for(*this, key))
    item->set_int(value);
}

void CPDFDictionary::set_item_bool(const char* key, int value) {
  if (CPDFObj* item = item_for(*this, key))
    item->set_bool(value);
}

void CPDFDictionary::set_item_real(const char* key, const QVFIX& value) {
  if (CPDFObj* item = item_for(*this, key))
    item->set_real(value);
}

void CPDFDictionary::set_item_str(const char* key, const char* bytes, int len) {
  CPDFObj copy{};
  copy.set_string(bytes, len);
  move_item(key, copy);
}

void CPDFDictionary::set_item_name(const char* key, const char* name) {
  CPDFObj copy{};
  copy.set_name(name);
  move_item(key, copy);
}

void CPDFDictionary::set_item_ref(const char* key, const PDF_REF& ref) {
  if (CPDFObj* item = item_for(*this, key))
    item->set_ref(ref);
}

void CPDFDictionary::set_item_arr(const char* key, const CPDFArray* array) {
  auto* copy = new (std::nothrow) CPDFArray;
  if (copy == nullptr)
    return;
  copy->copy_from(array);
  CPDFObj value{};
  value.take_array(copy);
  move_item(key, value);
}

void CPDFDictionary::set_item_dict(const char* key, const CPDFDictionary* dict) {
  auto* copy = new (std::nothrow) CPDFDictionary;
  if (copy == nullptr)
    return;
  copy->copy_from(dict);
  CPDFObj value{};
  value.take_dict(copy);
  move_item(key, value);
}

void CPDFDictionary::set_item_rect(const char* key, const _QVRECTF* rect) {
  CPDFArray array;
  for (const QVFIX side : {rect->left, rect->bottom, rect->right, rect->top})
    array.append_real(side);
  set_item_arr(key, &array);
  array.clear();
}

CPDFObj* CPDFDictionary::append_unsorted(const char* key, std::size_t key_len) {
  if (!make_room(*this))
    return nullptr;
  CPDFDictItem* item = new_item(key, key_len);
  if (item == nullptr)
    return nullptr;
  items[count++] = item;
  return item;
}

void CPDFDictionary::sort_items() {
  const auto in_front = [](const CPDFDictItem* a, const CPDFDictItem* b) {
    return compare_keys(a->key(), b->key()) < 0;
  };
  if (count <= kInsertionSortLimit) {
    for (std::int32_t i = 1; i < count; ++i) {
      CPDFDictItem* const item = items[i];
      std::int32_t at = i;
      for (; at > 0 && in_front(item, items[at - 1]); --at)
        items[at] = items[at - 1];
      items[at] = item;
    }
  } else {
    std::stable_sort(items, items + count, in_front);
  }
  std::int32_t kept = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    if (i + 1 < count && compare_keys(items[i]->key(), items[i + 1]->key()) == 0)
      free_item(items[i]);
    else
      items[kept++] = items[i];
  }
  count = kept;
}

void CPDFDictionary::clear() {
  for (std::int32_t i = 0; i < count; ++i)
    free_item(items[i]);
  QVFree(items);
  items = nullptr;
  count = capacity = 0;
}
