// Life of a CPDFObj: release, deep copy, typed access and setters.
#include "sheaf/object/object.h"

#include <cstring>
#include <utility>

#include "sheaf/base/heap.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

using namespace sheaf;

namespace {

// A copy of `len` bytes with a NUL after them, or null.
char* copy_bytes(const char* bytes, std::size_t len) {
  auto* block = static_cast<char*>(QVAlloc(len + 1));
  if (block == nullptr)
    return nullptr;
  std::memcpy(block, bytes, len);
  block[len] = 0;
  return block;
}

std::uint64_t pointer_word(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

bool is_container(const CPDFObj& obj) {
  return (obj.tag == kTagArray || obj.tag == kTagDict || obj.tag == kTagStream) && obj.value != 0;
}

// Releases leaves from the end of the array until a container comes up, which is returned.
CPDFObj* last_container(CPDFArray& array) {
  for (; array.count > 0; --array.count) {
    CPDFObj* element = array.items + array.count - 1;
    if (is_container(*element))
      return element;
    element->free();
  }
  return nullptr;
}

CPDFObj* last_container(CPDFDictionary& dict) {
  for (; dict.count > 0; --dict.count) {
    CPDFDictItem* item = dict.items[dict.count - 1];
    if (is_container(*item))
      return item;
    item->free();
    QVFree(item);
  }
  return nullptr;
}

CPDFObj* last_container(CPDFObj& obj) {
  return obj.tag == kTagArray ? last_container(*obj.as_array()) : last_container(*obj.as_dict_or_stream());
}

// Deletes the emptied container that `obj` holds and leaves it null.
void delete_container(CPDFObj& obj) {
  if (CPDFArray* array = obj.as_array()) {
    array->clear();
    delete array;
  } else if (CPDFDictionary* dict = obj.as_dict()) {
    dict->clear();
    delete dict;
  } else if (CPDFStreamRec* rec = obj.as_stream()) {
    rec->clear();
    delete rec;
  }
  obj = CPDFObj{};
}

// Releases a tree of containers without recursion and without memory, so that no depth of nesting
// can end the stack: a container has no use for its value's `data` word, and the way back up to
// the holder of its parent waits there.
void free_containers(CPDFObj* holder) {
  holder->data = nullptr;
  while (holder != nullptr) {
    if (CPDFObj* child = last_container(*holder)) {
      child->data = reinterpret_cast<char*>(holder);
      holder = child;
      continue;
    }
    auto* parent = reinterpret_cast<CPDFObj*>(holder->data);
    delete_container(*holder);
    holder = parent;
  }
}

}  // namespace

void CPDFObj::release() {
  if (tag == kTagString) {
    QVFree(data);
    data = nullptr;
  } else if (tag == kTagName) {
    QVFree(pointer<char>());
  } else if (is_container(*this)) {
    free_containers(this);
  }
}

void CPDFObj::move_from(CPDFObj& src) {
  if (this == &src)
    return;
  free();
  tag = std::exchange(src.tag, kTagNull);
  value = std::exchange(src.value, 0);
  data = std::exchange(src.data, nullptr);
}

bool CPDFObj::is_name(const char* name) const {
  return tag == kTagName && value != 0 && std::strcmp(pointer<char>(), name) == 0;
}

CPDFDictionary* CPDFObj::as_dict_or_stream() const {
  if (tag == kTagDict)
    return pointer<CPDFDictionary>();
  CPDFStreamRec* rec = as_stream();
  return rec != nullptr ? &rec->dict : nullptr;
}

const CPDFObj* CPDFObj::item(const char* key) const {
  const CPDFDictionary* const dict = as_dict();
  return dict != nullptr ? dict->get_item(key) : nullptr;
}

const char* CPDFObj::as_text() const {
  if (tag == kTagName)
    return pointer<char>();
  return tag == kTagString ? data : nullptr;
}

std::int32_t CPDFObj::to_int() const {
  if (tag == kTagInt)
    return low_word();
  return tag == kTagReal ? fix_round(static_cast<QVFIX>(value)) : 0;
}

QVFIX CPDFObj::to_real() const {
  if (tag == kTagInt)
    return fix_from_int(low_word());
  return tag == kTagReal ? static_cast<QVFIX>(value) : 0;
}

void CPDFObj::set_bool(int flag) {
  free();
  tag = kTagBool;
  value = flag != 0 ? 1 : 0;
}

void CPDFObj::set_int(std::int32_t number) {
  free();
  tag = kTagInt;
  value = static_cast<std::uint32_t>(number);
}

void CPDFObj::set_real(QVFIX number) {
  free();
  tag = kTagReal;
  value = static_cast<std::uint64_t>(number);
}

void CPDFObj::set_name(const char* name) {
  set_name(name, name != nullptr ? std::strlen(name) : 0);
}

void CPDFObj::set_name(const char* name, std::size_t len) {
  char* copy = name != nullptr ? copy_bytes(name, len) : nullptr;
  free();  // `name` may lie in what is released
  if (copy == nullptr)
    return;
  tag = kTagName;
  value = pointer_word(copy);
}

void CPDFObj::set_string(const char* bytes, int len) {
  char* copy = bytes != nullptr && len >= 0 ? copy_bytes(bytes, static_cast<std::size_t>(len)) : nullptr;
  free();  // `bytes` may lie in what is released
  tag = kTagString;
  data = copy;
  if (copy != nullptr)
    value = static_cast<std::uint32_t>(len);
}

void CPDFObj::set_ref(const PDF_REF& ref) {
  const auto word = std::bit_cast<std::uint64_t>(ref);  // `ref` may lie in what is released
  free();
  tag = kTagRef;
  value = word;
}

void CPDFObj::take_array(CPDFArray* array) {
  free();
  tag = kTagArray;
  value = pointer_word(array);
}

void CPDFObj::take_dict(CPDFDictionary* dict) {
  free();
  tag = kTagDict;
  value = pointer_word(dict);
}

void CPDFObj::take_stream(CPDFStreamRec* rec) {
  free();
  tag = kTagStream;
  value = pointer_word(rec);
}

void PDF_String::init(const wchar_t* text, int bom) {
  len = 0;
  data = nullptr;
  const std::size_t chars = ucs_len(text);
  const std::size_t mark = bom != 0 ? 2 : 0;
  if (chars > (INT32_MAX - 3) / 2)
    return;
  auto* block = static_cast<char*>(QVAlloc(mark + 2 * chars + 1));
  if (block == nullptr)
    return;
  char* out = block;
  if (mark != 0) {
    *out++ = '\xFE';
    *out++ = '\xFF';
  }
  for (std::size_t i = 0; i < chars; ++i) {
    // No surrogate pairs are made: what lies above 16 bits is cut.
    const char32_t c = static_cast<char32_t>(text[i]);
    *out++ = static_cast<char>(c >> 8);
    *out++ = static_cast<char>(c);
  }
  *out = 0;
  data = block;
  len = static_cast<std::int32_t>(mark + 2 * chars);
}
