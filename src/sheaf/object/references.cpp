// A walk over the grammar of values that keeps only references, and one over values that exist.
#include "sheaf/object/references.h"

#include <string_view>

#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/plain_scan_internal.h"
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

// Takes the references of a plain value and lets the rest pass.
struct PlainReferences {
  ReferenceList& found;

  bool name(std::string_view /*text*/) { return true; }
  bool key(std::string_view /*text*/) { return true; }
  bool string(std::string_view /*bytes*/) { return true; }
  bool hex_string() { return true; }
  bool integer(std::int32_t /*value*/) { return true; }
  bool real(QVFIX /*value*/) { return true; }
  bool word(std::string_view /*text*/) { return true; }
  bool reference(const PDF_REF& ref) { return found.push(ref.num); }
  bool open(bool /*dict*/) { return true; }
  bool close(bool /*dict*/) { return true; }
};

// The same as the collector finds, where the value is plain; false, with nothing passed, where it is not.
bool read_plain_references(CPDFBuf& buf, ReferenceList& found) {
  constexpr std::uint32_t kUsualSize = 512;
  if (!reads_plainly(buf))
    return false;
  if (buf.buf_len < buf.buf_pos + kUsualSize)
    buf.buf_need(kUsualSize);
  const std::size_t before = found.size();
  PlainReferences sink{found};
  PlainScan scan(buf, sink);
  const bool has_header = scan.header();
  if (!has_header)
    scan.skip_space();
  // A number without a header might be the beginning of one.
  if ((!has_header && is_digit(*scan.at())) || !scan.value()) {
    found.resize(before);
    return false;
  }
  buf.buf_pos = static_cast<std::uint32_t>(scan.at() - buf.buf_data);
  if (has_header)
    TokenReader(buf).skip_space();
  return true;
}

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
  if (read_plain_references(buf, found))
    return kTagNull;
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
