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
#include "sheaf/object/dictionary.h"
#include "sheaf/xref/export_memory.h"
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
  std::int32_t ref_num;         // the object on the way, 0 for a direct value
  std::uint32_t values_before;  // the count of values when it was opened
  std::uint32_t levels;         // containers that stand in one another in it
  bool is_cut;                  // something was left out that an export from elsewhere would hold
};

class Flattening {
public:
  Flattening(CPDFXRefTable& table, ExportMemory& memory) : table_(table), memory_(memory) {
    memory_.begin(table.change_count, table.sec_hand);
  }
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
      frame.is_cut = frame.is_cut || values_ >= kMostValues;
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
    if (num > 0 && memory_.is_on_way(num)) {
      frame.is_cut = true;
      return;
    }
    if (num > 0 && put_known(frame, index, num))
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
          return open(value, num);
        break;
      case kTagStream:
        break;
      default:
        return;
    }
    if (frame.from_array != nullptr && num > 0 && is_as_in_file(num))
      memory_.leave_out(num);
  }

  // What an earlier export knows of an object. False: it has to be read.
  bool put_known(Frame& frame, std::int32_t index, std::int32_t num) {
    if (frame.from_array != nullptr && memory_.is_left_out(num))
      return true;
    const ExportMemory::Kept* const kept = memory_.find(num);
    if (kept == nullptr || values_ + kept->values >= kMostValues)
      return false;
    if (frame.from_array != nullptr && kept->value.tag == kTagDict)
      return true;
    const std::size_t levels = frames_.size() + kept->levels;
    if (table_.export_depth > 0 && levels > static_cast<std::size_t>(table_.export_depth))
      return false;
    Freed<CPDFObj> copy;
    copy.copy_from(&kept->value);
    values_ += kept->values;
    frame.levels = std::max(frame.levels, 1 + kept->levels);
    put(frame, index, copy);
    return true;
  }

  // Objects in memory can change unseen.
  bool is_as_in_file(std::int32_t num) const {
    const PDF_XREF* const entry = table_.entry(num);
    return entry != nullptr && !entry->is_in_memory();
  }

  void put(Frame& frame, std::int32_t index, CPDFObj& value) {
    if (frame.to_array != nullptr)
      frame.to_array->append_moved(value);
    else
      frame.to_dict->move_item(frame.from_dict->items[index]->key(), value);
  }

  void open(CPDFObj& value, std::int32_t num) {
    if (table_.export_depth > 0 && frames_.size() >= static_cast<std::size_t>(table_.export_depth)) {
      frames_.back().is_cut = true;
      return;
    }
    Frame frame{};
    frame.values_before = values_ - 1;
    frame.levels = 1;
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
    if (frame.ref_num > 0 && !memory_.set_on_way(frame.ref_num, true))
      return false;
    if (frames_.push(frame))
      return true;
    leave(frame);
    return false;
  }

  // Ends the last container, and puts what it gave into the one above.
  void close() {
    Frame frame = frames_.back();
    frames_.pop();
    leave(frame);
    frame.held.free();
    if (frames_.empty())
      return;
    Frame& above = frames_.back();
    above.is_cut = above.is_cut || frame.is_cut;
    above.levels = std::max(above.levels, 1 + frame.levels);
    CPDFObj made{};
    if (frame.to_array != nullptr)
      made.take_array(frame.to_array);
    else
      made.take_dict(frame.to_dict);
    if (frame.ref_num > 0 && !frame.is_cut && is_as_in_file(frame.ref_num))
      memory_.keep(frame.ref_num, made, frame.levels, values_ - frame.values_before);
    put(above, above.next - 1, made);
    made.free();
  }

  void leave(const Frame& frame) {
    if (frame.ref_num > 0)
      memory_.set_on_way(frame.ref_num, false);
  }

  CPDFXRefTable& table_;
  ExportMemory& memory_;
  GrowArray<Frame> frames_;
  std::uint32_t values_ = 0;
};

// False when there is no memory to begin with.
bool flatten(CPDFXRefTable& table, Frame& outermost) {
  if (table.export_memory == nullptr)
    table.export_memory = new (std::nothrow) ExportMemory;
  if (table.export_memory == nullptr)
    return false;
  Flattening(table, *table.export_memory).run(outermost);
  return true;
}

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
  return src == nullptr || flatten(*this, outermost) ? 1 : 0;
}

int CPDFXRefTable::export_array(CPDFArray& out, CPDFArray* src) {
  Frame outermost{};
  outermost.from_array = src;
  outermost.to_array = &out;
  return src == nullptr || flatten(*this, outermost) ? 1 : 0;
}
