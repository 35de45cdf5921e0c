// The mark walk: records everything that can be reached from a reference. It changes no object, and
// no key means anything to it. What is found waits as a number on a work list, so that a chain of a
// million objects holds one object in memory at a time.
#include "base/grow_array.h"
#include "base/scope_guard.h"
#include "clone/object_map_internal.h"
#include "object/array.h"

namespace {

// A direct container whose items are being looked at. Borrowed.
struct Frame {
  const CPDFArray* array;
  const CPDFDictionary* dict;
  std::int32_t next;
};

class MarkWalk {
public:
  MarkWalk(CPDFXRefTable& table, CPDFCloneMap& map) : table_(table), map_(map) { adopt_map(map, table); }

  void walk_ref(const PDF_REF& ref) {
    enter(ref);
    run();
  }
  void walk_container(const CPDFArray* array, const CPDFDictionary* dict) {
    scan({array, dict, 0});
    run();
  }

private:
  // Reads sections until the table knows the entry, or there are no more.
  bool know_entry(std::uint32_t num) {
    while (table_.xref_count <= num) {
      if (!table_.pop_pending())
        return false;
    }
    while (table_.xref_count > num && table_.xref_items[num].type == 0 && table_.pop_pending()) {
    }
    return table_.xref_count > num;
  }

  void enter(const PDF_REF& ref) {
    std::uint32_t ignored = 0;
    if (ref.num >= 0 && !map_lookup(map_, ref.num, ignored) && know_entry(static_cast<std::uint32_t>(ref.num)) &&
        map_record(map_, ref.num, 1))
      waiting_.push(ref);
  }

  void run() {
    Freed<CPDFObj> obj;
    while (!waiting_.empty()) {
      const PDF_REF ref = waiting_.back();
      waiting_.pop();
      // The object stream that holds an object is needed with it.
      if (table_.xref_items[ref.num].type == 2)
        enter({static_cast<std::int32_t>(table_.xref_items[ref.num].offset), 0});
      table_.get_stored(obj, ref);
      if (obj.tag == kTagRef)
        enter(obj.as_ref());
      else
        scan({obj.as_array(), obj.as_dict_or_stream(), 0});
    }
  }

  // Enters every reference below a container.
  void scan(const Frame& container) {
    if (container.array == nullptr && container.dict == nullptr)
      return;
    open_.push(container);
    while (!open_.empty()) {
      Frame& frame = open_.back();
      const std::int32_t count = frame.array != nullptr ? frame.array->count : frame.dict->count;
      if (frame.next >= count) {
        open_.pop();
        continue;
      }
      const std::int32_t index = frame.next++;
      const CPDFObj& item = frame.array != nullptr ? frame.array->items[index] : *frame.dict->items[index];
      if (item.tag == kTagRef)
        enter(item.as_ref());
      else if (item.as_array() != nullptr || item.as_dict_or_stream() != nullptr)
        open_.push({item.as_array(), item.as_dict_or_stream(), 0});
    }
  }

  CPDFXRefTable& table_;
  CPDFCloneMap& map_;
  GrowArray<PDF_REF> waiting_;
  GrowArray<Frame> open_;
};

}  // namespace

void CPDFXRefTable::rec_obj(CPDFCloneMap& map, const PDF_REF& ref) {
  MarkWalk(*this, map).walk_ref(ref);
}

void CPDFXRefTable::rec_array(CPDFCloneMap& map, const CPDFArray* arr) {
  if (arr != nullptr)
    MarkWalk(*this, map).walk_container(arr, nullptr);
}

void CPDFXRefTable::rec_dict(CPDFCloneMap& map, const CPDFDictionary* dict) {
  if (dict != nullptr)
    MarkWalk(*this, map).walk_container(nullptr, dict);
}
