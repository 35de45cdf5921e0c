// Reading and changing values. What is replaced while other values point into it is buried, not released.
#include "sheaf/layer/value.h"

#include <algorithm>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/filters/picture_budget.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/layer/core_internal.h"
#include "sheaf/object/text_utf8.h"

namespace sheaf {

namespace {

constexpr std::int32_t kMostDecoded = 1 << 30;  // bytes of one stream

// A key that ends in a NUL, as the layer below takes it.
class Key {
public:
  explicit Key(std::string_view key) {
    if (key.size() < sizeof(small_)) {
      key.copy(small_, key.size());
      small_[key.size()] = 0;
    } else {
      large_ = key;
    }
  }
  operator const char*() const { return large_.empty() ? small_ : large_.c_str(); }

private:
  char small_[48];
  std::string large_;
};

Error not_a_stream(const Value& value) {
  return layer::error_of(Code::kWrongKind, "the value is no stream", value.number());
}

}  // namespace

// ---- reading ----

Kind Value::kind() const {
  const std::int32_t tag = raw().tag;
  return tag <= kTagDict || tag == kTagStream ? static_cast<Kind>(tag) : Kind::kNull;
}

Value Value::follow(CPDFObj* item) const {
  if (item == nullptr)
    return missing();
  return item->tag == kTagRef ? node_->core->object(item->as_ref().num) : Value(*this, *item, item, -1);
}

layer::Node& Value::node() const {
  return static_cast<layer::Node&>(*node_);
}

// What is not there: null, but of the same document, which keeps the failure of changes.
Value Value::missing() const {
  static CPDFObj nothing{};  // never changed
  return node_ != nullptr ? Value(*this, nothing, &nothing, -1) : Value();
}

// An array or dictionary that is no longer where it was: another element of its array, or replaced.
const CPDFObj& Value::moved() const {
  static constexpr CPDFObj kNull{};
  const auto is_it = [this](const CPDFObj& value) {
    return (value.tag == kTagArray || value.tag == kTagDict) && value.value == content_;
  };
  if (index_ >= 0) {
    const CPDFArray& array = *static_cast<const CPDFArray*>(place_);
    const CPDFObj* const found = std::find_if(array.items, array.items + array.count, is_it);
    if (found != array.items + array.count)
      return *found;
  }
  const CPDFObj* const buried = std::find_if(node().buried.begin(), node().buried.end(), is_it);
  return buried != node().buried.end() ? *buried : kNull;
}

Value Value::operator[](const char* key) const {
  const CPDFDictionary* const dict = raw().as_dict_or_stream();
  return dict != nullptr ? follow(dict->get_item(key)) : missing();
}

Value Value::operator[](std::string_view key) const {
  return (*this)[static_cast<const char*>(Key(key))];
}

Value Value::operator[](std::int32_t index) const {
  CPDFArray* const array = raw().as_array();
  CPDFObj* const item = array != nullptr ? array->get(index) : nullptr;
  if (item == nullptr || item->tag == kTagRef)
    return follow(item);
  return Value(*this, *item, array, index);
}

std::int32_t Value::size() const {
  const CPDFObj& value = raw();
  if (value.as_array() != nullptr)
    return value.as_array()->count;
  return value.as_dict_or_stream() != nullptr ? value.as_dict_or_stream()->count : 0;
}

std::int32_t Value::reference(std::string_view key) const {
  const CPDFDictionary* const dict = raw().as_dict_or_stream();
  const CPDFObj* const item = dict != nullptr ? dict->get_item(Key(key)) : nullptr;
  return ref_of(item).num;
}

std::int32_t Value::reference(std::int32_t index) const {
  const CPDFArray* const array = raw().as_array();
  const CPDFObj* const item = array != nullptr ? array->get(index) : nullptr;
  return ref_of(item).num;
}

std::string_view Value::bytes() const {
  const CPDFObj& value = raw();
  if (value.tag == kTagString)
    return {value.data, static_cast<std::size_t>(value.as_string().len)};
  return value.as_name() != nullptr ? std::string_view(value.as_name()) : std::string_view();
}

std::string Value::text() const {
  const CPDFObj& value = raw();
  if (value.tag != kTagString)
    return std::string(bytes());
  std::size_t len = 0;
  const HeapBlock<char> utf8(text_to_utf8(value.as_string(), len));
  return utf8 ? std::string(utf8.get(), len) : std::string();
}

std::string Value::print() const {
  CQVStreamMem out;
  raw().write(&out, nullptr);
  return {reinterpret_cast<const char*>(out.data), out.len};
}

Entries::Entries(Value holder) : holder_(std::move(holder)), count_(holder_.is_array() ? 0 : holder_.size()) {}

Entry Entries::at(std::int32_t index) const {
  const CPDFDictionary* const dict = holder_.raw().as_dict_or_stream();
  if (dict == nullptr || index >= dict->count)
    return {};
  CPDFDictItem* const item = dict->items[index];
  return {item->key(), holder_.follow(item)};
}

// ---- changing ----

bool Value::refuse(Code code, const char* message) const {
  if (node_ == nullptr)
    return false;
  return node_->core->note(code, message, node_->num);
}

Error Value::refusal() const {
  if (node_ == nullptr)
    return layer::error_of(Code::kWrongKind, "the value is null and belongs to nothing");
  return node_->core->trouble();
}

// What the value is, ready to be changed; null, with the failure noted, when it cannot be.
CPDFObj* Value::begin_change() {
  if (node_ == nullptr)
    return nullptr;
  const CPDFObj* const value = &raw();
  if (!node_->core->is_open()) {
    refuse(Code::kClosed, "the document is closed");
    return nullptr;
  }
  if (place_ != &node_->obj && epoch_ != node_->epoch) {
    refuse(Code::kStale, "another operation changed the object; its values have to be asked for again");
    return nullptr;
  }
  if (value >= node().buried.begin() && value < node().buried.end()) {
    refuse(Code::kStale, "the value was replaced or removed, and is no part of the document any more");
    return nullptr;
  }
  return const_cast<CPDFObj*>(value);
}

CPDFDictionary* Value::change_dictionary() {
  const CPDFObj* const value = begin_change();
  if (value == nullptr)
    return nullptr;
  CPDFDictionary* const dict = value->as_dict_or_stream();
  if (dict == nullptr)
    refuse(Code::kWrongKind, "the value is no dictionary");
  return dict;
}

CPDFArray* Value::change_array() {
  const CPDFObj* const value = begin_change();
  if (value == nullptr)
    return nullptr;
  if (value->as_array() == nullptr)
    refuse(Code::kWrongKind, "the value is no array");
  return value->as_array();
}

CPDFObj* Value::change_element(std::int32_t index) {
  CPDFArray* const array = change_array();
  CPDFObj* const element = array != nullptr ? array->get(index) : nullptr;
  if (array != nullptr && element == nullptr)
    refuse(Code::kNotFound, "the array has no such element");
  return element;
}

void Value::end_change() {
  node_->core->note_change(node());
}

// Leaves `old` null. Values that point into it keep what they had.
void Value::keep_replaced(CPDFObj& old) {
  const std::int32_t own = node().changed ? 2 : 1;
  if (old.tag < kTagString || node_->users <= own)
    old.free();
  else if (node().buried.push(old))
    old = CPDFObj{};
}

bool Value::fits(const Value& value, Object& as_object) const {
  if (node_ != nullptr && value.node_ != nullptr && value.node_->core != node_->core)
    return refuse(Code::kOtherDocument, "a value of another document cannot be put in; copy it or append its pages");
  as_object = value.is_object() ? Object::reference(value.number()) : Object(value);
  return true;
}

bool Value::set(std::string_view key, Object value) {
  if (!value.is_whole())
    return refuse(Code::kNoMemory, "there is no memory for a value");
  if (value.is_null())
    return remove(key);
  CPDFDictionary* const dict = change_dictionary();
  if (dict == nullptr)
    return false;
  const HeapWatch watch;
  const Key name(key);
  if (CPDFObj* const old = dict->get_item(name))
    keep_replaced(*old);
  dict->move_item(name, value.raw());
  end_change();
  return watch.all_granted() || refuse(Code::kNoMemory, "there is no memory for a change");
}

bool Value::set(std::string_view key, const Value& value) {
  Object object;
  return fits(value, object) && set(key, std::move(object));
}

bool Value::remove(std::string_view key) {
  CPDFDictionary* const dict = change_dictionary();
  const Key name(key);
  const CPDFObj* const old = dict != nullptr ? dict->get_item(name) : nullptr;
  if (old == nullptr)
    return dict != nullptr;
  CPDFDictItem** const place = std::find(dict->items, dict->items + dict->count, old);
  if (node_->users <= (node().changed ? 2 : 1)) {
    (*place)->free();
    QVFree(*place);
  } else if (!node().buried_items.push(*place)) {
    return refuse(Code::kNoMemory, "there is no memory for a change");
  }
  --dict->count;
  std::copy(place + 1, dict->items + dict->count + 1, place);
  end_change();
  return true;
}

bool Value::set(std::int32_t index, Object value) {
  if (!value.is_whole())
    return refuse(Code::kNoMemory, "there is no memory for a value");
  CPDFObj* const old = change_element(index);
  if (old == nullptr)
    return false;
  keep_replaced(*old);
  old->move_from(value.raw());
  end_change();
  return true;
}

bool Value::set(std::int32_t index, const Value& value) {
  Object object;
  return fits(value, object) && set(index, std::move(object));
}

bool Value::insert(std::int32_t index, Object value) {
  if (!value.is_whole())
    return refuse(Code::kNoMemory, "there is no memory for a value");
  CPDFArray* const array = change_array();
  if (array == nullptr)
    return false;
  if (index < 0 || index > array->count)
    return refuse(Code::kNotFound, "the array has no such place");
  if (array->append_moved(value.raw()) == 0)
    return refuse(Code::kNoMemory, "there is no memory for a change");
  std::rotate(array->items + index, array->items + array->count - 1, array->items + array->count);
  end_change();
  return true;
}

bool Value::insert(std::int32_t index, const Value& value) {
  Object object;
  return fits(value, object) && insert(index, std::move(object));
}

bool Value::append(Object value) {
  return insert(size(), std::move(value));
}

bool Value::append(const Value& value) {
  return insert(size(), value);
}

bool Value::remove(std::int32_t index) {
  CPDFObj* const old = change_element(index);
  if (old == nullptr)
    return false;
  CPDFArray& array = *raw().as_array();
  keep_replaced(*old);
  std::copy(old + 1, array.items + array.count, old);
  --array.count;
  end_change();
  return true;
}

// ---- streams ----

Expected<Data> Value::decoded() const {
  const CPDFStreamRec* const rec = raw().as_stream();
  if (rec == nullptr || !node_->core->is_open())
    return not_a_stream(*this);
  CPDFXRefTable& table = node_->core->table();
  const std::unique_ptr<CPDFStream> decoder(table.make_stream(rec));
  if (decoder == nullptr)
    return layer::error_of(Code::kDamaged, "the data of the stream cannot be decoded", number(), rec->offset);
  const bool is_text = decoder->most_text(kMostDecoded) == kMostDecoded;
  const std::int64_t most = is_text ? kMostDecoded : picture_budget(rec->length, table.picture_ceiling);
  int len = 0;
  HeapBlock<std::uint8_t> block(
      decoder->buffer_load(static_cast<int>(std::min<std::int64_t>(most, kMostDecoded)), len));
  if (!block)
    return layer::error_of(Code::kNoMemory, "there is no memory for the data of the stream", number());
  std::uint8_t more = 0;
  if (is_text && len > kMostDecoded / 2 && decoder->read_block(&more, 1) > 0)
    return layer::error_of(Code::kTooLarge, "the stream decodes to more than 1 GiB", number(), rec->offset);
  return Data(block.release(), static_cast<std::size_t>(len));
}

Expected<Data> Value::stored() const {
  const CPDFStreamRec* const rec = raw().as_stream();
  if (rec == nullptr || !node_->core->is_open())
    return not_a_stream(*this);
  int len = 0;
  std::uint8_t* const block = node_->core->table().load_raw_data(rec, len);
  if (block == nullptr || len < 0) {
    QVFree(block);
    return layer::error_of(Code::kDamaged, "the data of the stream cannot be read", number(), rec->offset);
  }
  return Data(block, static_cast<std::size_t>(len));
}

bool Value::write(std::string_view data, Coding coding) {
  const CPDFObj* const value = begin_change();
  const CPDFDictionary* const dict = value != nullptr ? value->as_dict_or_stream() : nullptr;
  if (dict == nullptr || place_ != &node_->obj)
    return refuse(Code::kWrongKind, "the value is neither a stream nor a dictionary that is an object");
  if (data.size() > static_cast<std::size_t>(kMostDecoded))
    return refuse(Code::kTooLarge, "a stream takes at most 1 GiB");
  const HeapWatch watch;
  CPDFXRefTable& table = node_->core->updated_doc().table();
  const PDF_REF ref = node_->core->below().reference_to(node_->num);
  Cleared<CPDFStreamRec> rec;
  rec.dict.copy_from(node_->obj.as_dict_or_stream());
  rec.dict.set_item("Filter", nullptr);
  rec.dict.set_item("DecodeParms", nullptr);
  int size = static_cast<int>(data.size());
  if (coding == Coding::kFlate) {
    std::uint8_t* const compressed = CPDFXRefTable::compress_data(data.data(), size, size);
    if (compressed == nullptr)
      return refuse(Code::kNoMemory, "there is no memory for the data of a stream");
    table.write_stream_autofree(ref, &rec, compressed, static_cast<unsigned>(size));
    rec.dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  } else {
    table.write_stream(ref, &rec, data.data(), static_cast<unsigned>(size));
  }
  table.store_stream(ref, rec);
  node_->core->refresh_touched();
  return watch.all_granted() || refuse(Code::kNoMemory, "there is no memory for the data of a stream");
}

}  // namespace sheaf
