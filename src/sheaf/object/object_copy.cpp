// Deep copies, with a work stack of their own, so that no depth of nesting can end the C stack. A
// container that finds no memory on the way stays empty, and the copy goes on after it.
#include <cstring>
#include <new>

#include "sheaf/base/heap.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/object/work_stack_internal.h"

using namespace sheaf;

namespace {

// A container whose items are being copied; one of the two pairs is set.
struct OpenCopy {
  const CPDFArray* from_array;
  CPDFArray* to_array;
  const CPDFDictionary* from_dict;
  CPDFDictionary* to_dict;
  std::int32_t next;
};

class Copier {
public:
  void copy_value(CPDFObj& to, const CPDFObj& from);
  void open(CPDFArray& to, const CPDFArray* from);
  void open(CPDFDictionary& to, const CPDFDictionary* from);
  /// Copies the items of all containers that are open.
  void run();

private:
  void copy_elements(OpenCopy& copy);
  void copy_items(OpenCopy& copy);

  static constexpr std::size_t kLocal = 16;
  WorkStack<OpenCopy, kLocal> stack_;
};

bool holds_others(const CPDFObj& obj) {
  return obj.tag == kTagArray || obj.tag == kTagDict || obj.tag == kTagStream;
}

// `to` is null. The items of a container are left to `run`.
void Copier::copy_value(CPDFObj& to, const CPDFObj& from) {
  switch (from.tag) {
    case kTagString:
      to.set_string(from.data, from.low_word());
      return;
    case kTagName:
      to.set_name(from.as_name());
      return;
    case kTagArray:
      if (auto* array = new (std::nothrow) CPDFArray) {
        to.take_array(array);
        open(*array, from.as_array());
      }
      return;
    case kTagDict:
      if (auto* dict = new (std::nothrow) CPDFDictionary) {
        to.take_dict(dict);
        open(*dict, from.as_dict());
      }
      return;
    case kTagStream:
      if (auto* rec = new (std::nothrow) CPDFStreamRec) {
        to.take_stream(rec);
        if (const CPDFStreamRec* source = from.as_stream()) {
          rec->copy_location(*source);
          open(rec->dict, &source->dict);
        }
      }
      return;
    default:
      to.value = from.value;
      to.tag = from.tag;
      return;
  }
}

void Copier::open(CPDFArray& to, const CPDFArray* from) {
  if (from == nullptr || from->count < 1)
    return;
  to.items = static_cast<CPDFObj*>(QVAlloc(static_cast<std::size_t>(from->count) * sizeof(CPDFObj)));
  if (to.items == nullptr)
    return;
  to.capacity = from->count;
  stack_.push({from, &to, nullptr, nullptr, 0});
}

void Copier::open(CPDFDictionary& to, const CPDFDictionary* from) {
  if (from == nullptr || from->count < 1)
    return;
  to.items = static_cast<CPDFDictItem**>(QVAlloc(static_cast<std::size_t>(from->count) * sizeof(*to.items)));
  if (to.items == nullptr)
    return;
  to.capacity = from->count;
  stack_.push({nullptr, nullptr, from, &to, 0});
}

// Up to the next element that holds others, which is then on top of the stack.
void Copier::copy_elements(OpenCopy& copy) {
  const CPDFArray& from = *copy.from_array;
  CPDFArray& to = *copy.to_array;
  while (copy.next < from.count) {
    const CPDFObj& element = from.items[copy.next++];
    CPDFObj& place = to.items[to.count++];
    place = CPDFObj{};
    const bool deeper = holds_others(element);
    copy_value(place, element);
    if (deeper)
      return;
  }
  stack_.pop();
}

void Copier::copy_items(OpenCopy& copy) {
  const CPDFDictionary& from = *copy.from_dict;
  while (copy.next < from.count) {
    const CPDFDictItem& item = *from.items[copy.next++];
    CPDFObj* const place = copy.to_dict->append_unsorted(item.key(), std::strlen(item.key()));
    if (place == nullptr)
      continue;  // the source is in order, so what is left stays so
    const bool deeper = holds_others(item);
    copy_value(*place, item);
    if (deeper)
      return;
  }
  stack_.pop();
}

void Copier::run() {
  while (!stack_.empty()) {
    OpenCopy& copy = stack_.top();
    if (copy.from_array != nullptr)
      copy_elements(copy);
    else
      copy_items(copy);
  }
}

}  // namespace

void CPDFObj::copy_from(const CPDFObj* src) {
  free();
  if (src == nullptr)
    return;
  Copier copier;
  copier.copy_value(*this, *src);
  copier.run();
}

void CPDFArray::copy_from(const CPDFArray* src) {
  clear();
  Copier copier;
  copier.open(*this, src);
  copier.run();
}

void CPDFDictionary::copy_from(const CPDFDictionary* src) {
  clear();
  Copier copier;
  copier.open(*this, src);
  copier.run();
}
