// The appends of CPDFArray. Without memory an append leaves the array as it was.
#include "sheaf/object/array.h"

#include <new>
#include <utility>

#include "sheaf/base/heap.h"
#include "sheaf/object/dictionary.h"

using namespace sheaf;

namespace {

constexpr std::int32_t kFirstCapacity = 4;

// Makes room for one more element. Growth by half keeps long arrays linear.
bool make_room(CPDFArray& array) {
  if (array.count < array.capacity)
    return true;
  const std::int32_t wanted = array.capacity < kFirstCapacity ? kFirstCapacity : array.capacity + array.capacity / 2;
  if (wanted <= array.capacity)
    return false;
  void* grown = QVRealloc(array.items, static_cast<std::size_t>(wanted) * sizeof(CPDFObj));
  if (grown == nullptr)
    return false;
  array.items = static_cast<CPDFObj*>(grown);
  array.capacity = wanted;
  return true;
}

// A fresh null element at the end, or null.
CPDFObj* new_element(CPDFArray& array) {
  if (!make_room(array))
    return nullptr;
  CPDFObj* element = array.items + array.count++;
  *element = CPDFObj{};
  return element;
}

}  // namespace

int CPDFArray::append_moved(CPDFObj& value) {
  if (!make_room(*this))
    return 0;
  items[count++] = std::exchange(value, CPDFObj{});
  return 1;
}

void CPDFArray::append(const CPDFObj* value) {
  // The copy is made first: `value` may lie in the block that moves.
  CPDFObj copy{};
  copy.copy_from(value);
  if (append_moved(copy) == 0)
    copy.free();
}

void CPDFArray::append_int(int value) {
  if (CPDFObj* element = new_element(*this))
    element->set_int(value);
}

void CPDFArray::append_bool(int value) {
  if (CPDFObj* element = new_element(*this))
    element->set_bool(value);
}

void CPDFArray::append_real(const QVFIX& value) {
  if (CPDFObj* element = new_element(*this))
    element->set_real(value);
}

void CPDFArray::append_str(const char* bytes, int len) {
  if (CPDFObj* element = new_element(*this))
    element->set_string(bytes, len);
}

void CPDFArray::append_name(const char* name) {
  if (CPDFObj* element = new_element(*this))
    element->set_name(name);
}

void CPDFArray::append_ref(const PDF_REF& ref) {
  if (CPDFObj* element = new_element(*this))
    element->set_ref(ref);
}

void CPDFArray::append_arr(const CPDFArray* array) {
  if (CPDFObj* element = new_element(*this)) {
    if (auto* copy = new (std::nothrow) CPDFArray) {
      copy->copy_from(array);
      element->take_array(copy);
    }
  }
}

void CPDFArray::append_dict(const CPDFDictionary* dict) {
  if (CPDFObj* element = new_element(*this)) {
    if (auto* copy = new (std::nothrow) CPDFDictionary) {
      copy->copy_from(dict);
      element->take_dict(copy);
    }
  }
}

void CPDFArray::clear() {
  for (std::int32_t i = 0; i < count; ++i)
    items[i].free();
  QVFree(items);
  items = nullptr;
  count = capacity = 0;
}
