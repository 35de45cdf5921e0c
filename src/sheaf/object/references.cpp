// A walk over the grammar of values that keeps only references, and one over values that exist.
#include "sheaf/object/references.h"

#include <string_view>

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/value_grammar_internal.h"
#include "sheaf/object/work_stack_internal.h"

namespace sheaf {

namespace {

// Knows of an open container only what comes next in it.
class ReferenceCollector {
public:
  static constexpr bool kTexts = false;

  explicit ReferenceCollector(ReferenceList& found) : found_(found) {}

  CPDFObj& root() { return root_; }
  bool empty() const { return depth_ == 0; }
  bool full() const { return depth_ == kMostNested; }
  bool in_array() const { return !empty() && top() == Next::kElement; }
  bool wants_key() const { return !empty() && top() == Next::kKey; }

  bool open(bool dict) {
    open_[depth_++] = dict ? Next::kKey : Next::kElement;
    return true;
  }
  void set_key(std::string_view /*key*/) { top() = Next::kValue; }
  void set_name(CPDFObj& value, std::string_view /*name*/) { value.free(); }
  void deliver(CPDFObj& value) {
    if (value.tag == kTagRef && top() != Next::kKey)
      found_.push(value.as_ref().num);
    if (top() == Next::kValue)
      top() = Next::kKey;
    value.free();
  }
  bool finish() {
    --depth_;
    if (empty())
      return true;
    CPDFObj container{};
    deliver(container);
    return false;
  }

private:
  enum class Next : std::uint8_t { kElement, kKey, kValue };

  Next& top() { return open_[depth_ - 1]; }
  const Next& top() const { return open_[depth_ - 1]; }

  ReferenceList& found_;
  CPDFObj root_{};  // a scalar without bytes of its own
  std::size_t depth_ = 0;
  Next open_[kMostNested];
};

// A container whose items are being looked at. Borrowed.
struct Frame {
  const CPDFArray* array;
  const CPDFDictionary* dict;
  std::int32_t next;
};

// The next item of the container; null after the last.
const CPDFObj* next_item(Frame& frame) {
  const std::int32_t index = frame.next++;
  if (frame.array != nullptr)
    return frame.array->get(index);
  return frame.dict != nullptr && index < frame.dict->count ? frame.dict->items[index] : nullptr;
}

}  // namespace

CPDFTag read_references(CPDFBuf& buf, ReferenceList& found) {
  ReferenceCollector collector(found);
  ValueGrammar grammar(buf, collector);
  PDF_REF ref{};
  if (grammar.read(ref))
    grammar.skip_space();
  const CPDFObj& root = collector.root();
  if (root.tag == kTagRef)
    found.push(root.as_ref().num);
  return static_cast<CPDFTag>(root.tag);
}

void collect_references(const CPDFObj& value, ReferenceList& found) {
  if (value.tag == kTagRef)
    found.push(value.as_ref().num);
  else
    collect_references(value.as_array(), value.as_dict_or_stream(), found);
}

void collect_references(const CPDFArray* array, const CPDFDictionary* dict, ReferenceList& found) {
  constexpr std::size_t kLocal = 16;
  WorkStack<Frame, kLocal> open;
  if (!open.push({array, dict, 0}))
    return;
  while (!open.empty()) {
    const CPDFObj* const item = next_item(open.top());
    if (item == nullptr)
      open.pop();
    else if (item->tag == kTagRef)
      found.push(item->as_ref().num);
    else if (item->as_array() != nullptr || item->as_dict_or_stream() != nullptr)
      open.push({item->as_array(), item->as_dict_or_stream(), 0});
  }
}

}  // namespace sheaf
