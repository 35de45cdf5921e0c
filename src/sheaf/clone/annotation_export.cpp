// Export of annotations: a dictionary in which no reference is left. Each reference is replaced by a
// copy of its target; an object that is reached twice is copied twice. What leads back to itself is
// left out, and a value that multiplies beyond all use ends where the bound is met.
#include <algorithm>
#include <memory>
#include <new>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/object/array.h"
#include "sheaf/object/stream_rec.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr std::uint32_t kMostValues = 4'000'000;  // in one export; sharing can double a graph at every level
constexpr int kMostRichText = 0x1000000;

// A container that is being flattened.
struct Frame {
  CPDFObj held;  // owned: the container as resolved; null for the outermost
  CPDFArray* from_array;
  CPDFDictionary* from_dict;
  CPDFArray* to_array;  // owned until it goes into the container above; the outermost is the caller's
  CPDFDictionary* to_dict;
  std::int32_t next;
  std::int32_t ref_num;  // the object on the way, 0 for a direct value
};

class Flattening {
public:
  explicit Flattening(CPDFXRefTable& table) : table_(table) {}
  Flattening(const Flattening&) = delete;
  Flattening& operator=(const Flattening&) = delete;
  ~Flattening() {
    while (!frames_.empty())
      close();
  }

  void run(const Frame& outermost) {
    if (!frames_.push(outermost))
      return;
    while (!frames_.empty()) {
      Frame& frame = frames_.back();
      const std::int32_t count = frame.from_array != nullptr ? frame.from_array->count : frame.from_dict->count;
      if (frame.next >= count || values_ >= kMostValues)
        close();
      else
        add_item(frame, frame.next++);
    }
  }

private:
  void add_item(Frame& frame, std::int32_t index) {
    const CPDFObj& item = frame.from_array != nullptr ? frame.from_array->items[index] : *frame.from_dict->items[index];
    const std::int32_t num = item.as_ref().num;
    if (num > 0 && is_on_way(num))
      return;
    ++values_;
    Freed<CPDFObj> value = table_.value(&item);
    switch (value.tag) {
      case kTagBool:
      case kTagInt:
      case kTagReal:
      case kTagString:
      case kTagName:
        put(frame, index, value);
        return;
      case kTagArray:
        open(value, num);
        return;
      case kTagDict:
        // Lists of dictionaries come out empty, where a dictionary under a key comes out whole.
        if (frame.from_dict != nullptr)
          open(value, num);
        return;
      default:
        return;
    }
  }

  void put(Frame& frame, std::int32_t index, CPDFObj& value) {
    if (frame.to_array != nullptr)
      frame.to_array->append_moved(value);
    else
      frame.to_dict->move_item(frame.from_dict->items[index]->key(), value);
  }

  void open(CPDFObj& value, std::int32_t num) {
    if (table_.export_depth > 0 && frames_.size() >= static_cast<std::size_t>(table_.export_depth))
      return;
    Frame frame{};
    frame.from_array = value.as_array();
    frame.from_dict = value.as_dict();
    frame.ref_num = num;
    if (frame.from_array != nullptr)
      frame.to_array = new (std::nothrow) CPDFArray;
    else if (frame.from_dict != nullptr)
      frame.to_dict = new (std::nothrow) CPDFDictionary;
    frame.held = value;
    if ((frame.to_array == nullptr && frame.to_dict == nullptr) || !begin(frame)) {
      delete frame.to_array;
      delete frame.to_dict;
      return;
    }
    value = CPDFObj{};
  }

  bool begin(const Frame& frame) {
    if (!mark(frame.ref_num, true))
      return false;
    if (frames_.push(frame))
      return true;
    mark(frame.ref_num, false);
    return false;
  }

  // Ends the last container, and puts what it gave into the one above.
  void close() {
    Frame frame = frames_.back();
    frames_.pop();
    mark(frame.ref_num, false);
    frame.held.free();
    if (frames_.empty())
      return;
    CPDFObj made{};
    if (frame.to_array != nullptr)
      made.take_array(frame.to_array);
    else
      made.take_dict(frame.to_dict);
    put(frames_.back(), frames_.back().next - 1, made);
    made.free();
  }

  bool is_on_way(std::int32_t num) const {
    return static_cast<std::size_t>(num) < on_way_.size() && on_way_[static_cast<std::size_t>(num)];
  }
  bool mark(std::int32_t num, bool on) {
    const auto index = static_cast<std::size_t>(num);
    if (num <= 0)
      return true;
    if (index >= on_way_.size() && !on_way_.resize(std::max<std::size_t>(index + 1, table_.xref_count)))
      return false;
    on_way_[index] = on;
    return true;
  }

  CPDFXRefTable& table_;
  GrowArray<Frame> frames_;
  GrowArray<bool> on_way_;
  std::uint32_t values_ = 0;
};

// Rich text that is kept in a stream becomes a string.
void take_rich_text(CPDFXRefTable& table, CPDFDictionary& dict) {
  const Freed<CPDFObj> text = table.value(&dict, "RC");
  if (text.as_stream() == nullptr)
    return;
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(text.as_stream()));
  int len = 0;
  const HeapBlock<std::uint8_t> bytes(decoder != nullptr ? decoder->buffer_load(decoder->most_text(kMostRichText), len)
                                                         : nullptr);
  dict.set_item_str("RC", reinterpret_cast<const char*>(bytes.get()), bytes ? len : 0);
}

}  // namespace

int CPDFXRefTable::export_annot(CPDFDictionary& out, const PDF_REF& ref) {
  const Freed<CPDFObj> obj = object(ref);
  CPDFDictionary* const dict = obj.as_dict();
  if (dict == nullptr)
    return 0;
  for (const char* key : {"P", "AP", "AS", "StructParent", "OC", "Popup", "IRT", "R"})
    dict->set_item(key, nullptr);
  take_rich_text(*this, *dict);
  return export_dict(out, dict);
}

int CPDFXRefTable::export_dict(CPDFDictionary& out, CPDFDictionary* src) {
  Frame outermost{};
  outermost.from_dict = src;
  outermost.to_dict = &out;
  if (src != nullptr)
    Flattening(*this).run(outermost);
  return 1;
}

int CPDFXRefTable::export_array(CPDFArray& out, CPDFArray* src) {
  Frame outermost{};
  outermost.from_array = src;
  outermost.to_array = &out;
  if (src != nullptr)
    Flattening(*this).run(outermost);
  return 1;
}
