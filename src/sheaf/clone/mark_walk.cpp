// The mark walk: records everything that can be reached from a reference. It changes no object, and
// no key means anything to it. What is found waits as a number on a work list and makes the next wave, so
// that a chain of a million objects holds one object in memory at a time.
#include <algorithm>

#include "sheaf/clone/object_map_internal.h"
#include "sheaf/object/references.h"

using namespace sheaf;

namespace {

class MarkWalk {
public:
  MarkWalk(CPDFXRefTable& table, CPDFCloneMap& map) : table_(table), map_(map) { adopt_map(map, table); }

  void walk_ref(const PDF_REF& ref) {
    enter(ref.num);
    run();
  }
  void walk_container(const CPDFArray* array, const CPDFDictionary* dict) {
    collect_references(array, dict, found_);
    enter_found();
    run();
  }

private:
  void enter(std::int32_t num) {
    std::uint32_t ignored = 0;
    if (num >= 0 && !map_lookup(map_, num, ignored) && table_.know_entry(object_index(num)) && map_record(map_, num, 1))
      waiting_.push(num);
  }

  void enter_found() {
    for (const std::int32_t num : found_)
      enter(num);
    found_.clear();
  }

  void run() {
    while (!waiting_.empty()) {
      wave_.swap(waiting_);
      sort_by_place();
      for (const std::int32_t num : wave_)
        visit(num);
      wave_.clear();
    }
  }

  void visit(std::int32_t num) {
    // The object stream that holds an object is needed with it.
    const PDF_XREF& entry = *table_.entry(num);
    if (entry.is_compressed())
      enter(entry.container());
    table_.get_references(found_, num);
    enter_found();
  }

  // Objects are read fastest in the order of the file, those of one object stream
  // together.
  void sort_by_place() {
    const auto place = [this](std::int32_t num) {
      const PDF_XREF& entry = *table_.entry(num);
      const bool has_container = entry.is_compressed() && entry.offset < table_.xref_count;
      return has_container ? table_.objstm_place(entry.offset) : entry.offset;
    };
    const auto in_front = [place](std::int32_t a, std::int32_t b) { return place(a) < place(b); };
    if (!std::is_sorted(wave_.begin(), wave_.end(), in_front))
      std::sort(wave_.begin(), wave_.end(), in_front);
  }

  CPDFXRefTable& table_;
  CPDFCloneMap& map_;
  ReferenceList waiting_;
  ReferenceList wave_;  // what was waiting when its turn came
  ReferenceList found_;
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
