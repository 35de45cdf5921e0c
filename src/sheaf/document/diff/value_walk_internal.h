// Two values side by side, with all that they refer to.
#pragma once

#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/object.h"

class CPDFDoc;
class CPDFDictionary;

namespace sheaf {

/// Whether two objects are stored alike: the same values, references by their numbers, and the same bytes of streams.
bool same_stored(CPDFDoc& doc_a, const CPDFObj& a, CPDFDoc& doc_b, const CPDFObj& b);

class ValueWalk {
public:
  ValueWalk(CPDFDoc& a, CPDFDoc& b) : a_(a), b_(b) {}
  ValueWalk(const ValueWalk&) = delete;
  ValueWalk& operator=(const ValueWalk&) = delete;
  ~ValueWalk();

  /// Hands every difference below `a` and `b` to `found`: the way from `name` on, and both values, null where there is
  /// none. Streams are compared decoded. Pages, the page tree and what leads upwards are left out. A pair of objects is
  /// looked at once in the life of the walk, and one object with a few others only.
  template <class Found>
  void compare(const char* name, const CPDFObj& a, const CPDFObj& b, const Found& found) {
    begin(name, a, b);
    while (step()) {
      if (differs_)
        found(path(), value_a(), value_b());
    }
  }
  /// Whether there is no difference.
  bool are_same(const CPDFObj& a, const CPDFObj& b) {
    begin("", a, b);
    while (step()) {
      if (differs_)
        return false;
    }
    return true;
  }

private:
  // A pair that waits to be looked at. The key is in keys_; the way upwards is that of `parent`.
  struct Node {
    std::int32_t parent;
    std::uint32_t key;
    std::uint32_t key_size;
    CPDFObj a;  // owned until it is looked at
    CPDFObj b;
  };

  void begin(const char* name, const CPDFObj& a, const CPDFObj& b);
  bool step();
  void push(std::int32_t parent, std::string_view key, const CPDFObj* a, const CPDFObj* b);
  bool was_seen(const CPDFObj& a, const CPDFObj& b);
  bool open(std::int32_t index);
  void open_dictionaries(std::int32_t index, const CPDFDictionary& a, const CPDFDictionary& b, bool streams);
  bool same_data() const;
  std::string_view path();
  const CPDFObj* value_a() const { return has_a_ ? &resolved_a_ : nullptr; }
  const CPDFObj* value_b() const { return has_b_ ? &resolved_b_ : nullptr; }

  CPDFDoc& a_;
  CPDFDoc& b_;
  GrowArray<Node> nodes_;
  GrowArray<std::int32_t> waiting_;
  GrowArray<char> keys_;
  GrowArray<char> path_;
  NumberMap seen_;   // the object of b that an object of a was compared with last
  NumberMap times_;  // how often it was compared
  std::int32_t at_ = -1;
  bool differs_ = false;
  bool has_a_ = false;
  bool has_b_ = false;
  Freed<CPDFObj> resolved_a_;
  Freed<CPDFObj> resolved_b_;
};

}  // namespace sheaf
